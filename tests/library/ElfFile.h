#pragma once

/// A built binary as it stands in the file: what it exports, what it needs, what a section holds.
///
/// Reads 64-bit ELF files of this machine. Nothing is loaded or run. A file that cannot be read or
/// is none throws std::runtime_error.
///
///     const ElfFile library( PATH );
///     for ( const ElfFile::Symbol& symbol : library.exportedSymbols() ) ...

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <elf.h>

namespace LibraryTest {

class ElfFile
{
  public:
    explicit ElfFile( const std::string& path );

    struct Symbol
    {
        std::string name;      ///< mangled
        std::string demangled; ///< the same as the name if it is no C++ name
        unsigned binding = 0;  ///< STB_GLOBAL, STB_WEAK, STB_GNU_UNIQUE
        std::size_t size = 0;
    };

    /// The symbols that others can link against: defined, global and not hidden, sorted by name.
    [[nodiscard]] std::vector< Symbol > exportedSymbols() const;

    /// The names of the libraries that it needs, in their order.
    [[nodiscard]] std::vector< std::string > neededLibraries() const;

    /// The size of a section in bytes; nothing if there is none of that name.
    [[nodiscard]] std::optional< std::size_t > sectionSize( std::string_view name ) const;

    /// A 32-bit number in a section, at an offset in bytes.
    [[nodiscard]] uint32_t numberIn( std::string_view section, std::size_t offset ) const;

    /// The text that a pointer in a section points to once the file is loaded; nothing for a null
    /// pointer.
    [[nodiscard]] std::optional< std::string > textBehindPointerIn( std::string_view section,
                                                                    std::size_t offset ) const;

  private:
    template< class Value >
    [[nodiscard]] Value valueAt( std::size_t offset ) const;
    template< class Entry >
    [[nodiscard]] std::vector< Entry > entriesOf( const Elf64_Shdr& section ) const;

    [[nodiscard]] std::string textAt( std::size_t offset ) const;
    [[nodiscard]] const Elf64_Shdr* section( std::string_view name ) const;
    [[nodiscard]] const Elf64_Shdr& requiredSection( std::string_view name ) const;
    [[nodiscard]] std::size_t fileOffset( Elf64_Addr address ) const;
    [[nodiscard]] std::optional< Elf64_Addr > relocatedPointer( Elf64_Addr place ) const;

    std::string bytes_;
    Elf64_Ehdr header_{};
    std::vector< Elf64_Shdr > sections_;
};

} // namespace LibraryTest
