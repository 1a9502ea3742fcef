#include "tests/library/ElfFile.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <cxxabi.h>

namespace LibraryTest {

namespace {

std::string contentsOf( const std::string& path )
{
    std::ifstream file( path, std::ios::binary );
    if ( !file ) {
        throw std::runtime_error( path + " cannot be read" );
    }
    std::ostringstream contents;
    contents << file.rdbuf();
    return std::move( contents ).str();
}

std::string demangled( const std::string& name )
{
    int status = 0;
    const std::unique_ptr< char, decltype( &std::free ) > text(
        abi::__cxa_demangle( name.c_str(), nullptr, nullptr, &status ), &std::free );
    return status == 0 ? text.get() : name;
}

bool isExported( const Elf64_Sym& symbol )
{
    const unsigned visibility = ELF64_ST_VISIBILITY( symbol.st_other );
    return symbol.st_shndx != SHN_UNDEF && ELF64_ST_BIND( symbol.st_info ) != STB_LOCAL &&
           ( visibility == STV_DEFAULT || visibility == STV_PROTECTED );
}

} // namespace

ElfFile::ElfFile( const std::string& path )
    : bytes_( contentsOf( path ) )
{
    if ( !bytes_.starts_with( ELFMAG ) || bytes_[ EI_CLASS ] != ELFCLASS64 ) {
        throw std::runtime_error( path + " is no 64-bit ELF file" );
    }
    header_ = valueAt< Elf64_Ehdr >( 0 );
    for ( std::size_t i = 0; i < header_.e_shnum; ++i ) {
        sections_.push_back( valueAt< Elf64_Shdr >( header_.e_shoff + i * header_.e_shentsize ) );
    }
}

template< class Value >
Value ElfFile::valueAt( std::size_t offset ) const
{
    if ( offset + sizeof( Value ) > bytes_.size() ) {
        throw std::runtime_error( "the ELF file is cut off" );
    }
    Value value;
    std::memcpy( &value, bytes_.data() + offset, sizeof( Value ) );
    return value;
}

template< class Entry >
std::vector< Entry > ElfFile::entriesOf( const Elf64_Shdr& section ) const
{
    std::vector< Entry > entries;
    for ( std::size_t offset = 0; offset < section.sh_size; offset += sizeof( Entry ) ) {
        entries.push_back( valueAt< Entry >( section.sh_offset + offset ) );
    }
    return entries;
}

std::string ElfFile::textAt( std::size_t offset ) const
{
    return bytes_.substr( offset, bytes_.find( '\0', offset ) - offset );
}

const Elf64_Shdr* ElfFile::section( std::string_view name ) const
{
    const Elf64_Shdr& names = sections_.at( header_.e_shstrndx );
    const auto found = std::ranges::find_if( sections_, [ & ]( const Elf64_Shdr& candidate ) {
        return textAt( names.sh_offset + candidate.sh_name ) == name;
    } );
    return found == sections_.end() ? nullptr : &*found;
}

const Elf64_Shdr& ElfFile::requiredSection( std::string_view name ) const
{
    const Elf64_Shdr* found = section( name );
    if ( found == nullptr ) {
        throw std::runtime_error( "the ELF file has no section " + std::string( name ) );
    }
    return *found;
}

std::vector< ElfFile::Symbol > ElfFile::exportedSymbols() const
{
    const Elf64_Shdr& table = requiredSection( ".dynsym" );
    const Elf64_Shdr& names = sections_.at( table.sh_link );
    std::vector< Symbol > symbols;
    for ( const Elf64_Sym& entry : entriesOf< Elf64_Sym >( table ) ) {
        if ( isExported( entry ) ) {
            const std::string name = textAt( names.sh_offset + entry.st_name );
            const auto binding = static_cast< unsigned >( ELF64_ST_BIND( entry.st_info ) );
            symbols.push_back( { name, demangled( name ), binding, entry.st_size } );
        }
    }
    std::ranges::sort( symbols, {}, &Symbol::name );
    return symbols;
}

std::vector< std::string > ElfFile::neededLibraries() const
{
    const Elf64_Shdr& table = requiredSection( ".dynamic" );
    const Elf64_Shdr& names = sections_.at( table.sh_link );
    std::vector< std::string > libraries;
    for ( const Elf64_Dyn& entry : entriesOf< Elf64_Dyn >( table ) ) {
        if ( entry.d_tag == DT_NEEDED ) {
            libraries.push_back( textAt( names.sh_offset + entry.d_un.d_val ) );
        }
    }
    return libraries;
}

std::optional< std::size_t > ElfFile::sectionSize( std::string_view name ) const
{
    const Elf64_Shdr* found = section( name );
    return found == nullptr ? std::nullopt : std::optional( std::size_t{ found->sh_size } );
}

uint32_t ElfFile::numberIn( std::string_view name, std::size_t offset ) const
{
    return valueAt< uint32_t >( requiredSection( name ).sh_offset + offset );
}

std::optional< std::string > ElfFile::textBehindPointerIn( std::string_view name,
                                                           std::size_t offset ) const
{
    const auto address = relocatedPointer( requiredSection( name ).sh_addr + offset );
    return address ? std::optional( textAt( fileOffset( *address ) ) ) : std::nullopt;
}

/// Where in the file the byte is that has that address in the loaded file.
std::size_t ElfFile::fileOffset( Elf64_Addr address ) const
{
    for ( std::size_t i = 0; i < header_.e_phnum; ++i ) {
        const auto segment = valueAt< Elf64_Phdr >( header_.e_phoff + i * header_.e_phentsize );
        if ( segment.p_type == PT_LOAD && address >= segment.p_vaddr &&
             address < segment.p_vaddr + segment.p_filesz ) {
            return address - segment.p_vaddr + segment.p_offset;
        }
    }
    throw std::runtime_error( "no segment of the ELF file holds the address" );
}

/// What the loader writes to a place, relative to where it loads the file. A pointer into the file
/// itself is a relocation that adds the load address to the number given with it.
std::optional< Elf64_Addr > ElfFile::relocatedPointer( Elf64_Addr place ) const
{
    for ( const Elf64_Rela& relocation :
          entriesOf< Elf64_Rela >( requiredSection( ".rela.dyn" ) ) ) {
        if ( relocation.r_offset == place ) {
            return static_cast< Elf64_Addr >( relocation.r_addend );
        }
    }
    return std::nullopt;
}

} // namespace LibraryTest
