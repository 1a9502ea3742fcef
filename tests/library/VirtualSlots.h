#pragma once

/// The table of virtual operations of a helper, as the built library has it.
///
///     EXPECT_THAT( virtualSlots( *helper ), ElementsAre( "~Helper", ... ) );

#include "agent/base/Node.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <memory>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <link.h>

namespace LibraryTest {

/// "PeloraTcam::Helper::get(int)" as "Helper::get"
inline std::string classAndName( const std::string& signature )
{
    const std::string qualified = signature.substr( 0, signature.find( '(' ) );
    const std::size_t name = qualified.rfind( "::" );
    const std::size_t outer = qualified.rfind( "::", name - 1 );
    return outer == std::string::npos ? qualified : qualified.substr( outer + 2 );
}

/// The class and name of the function that starts at an address; "?" if none does.
inline std::string functionAt( const void* address )
{
    Dl_info info{};
    if ( dladdr( address, &info ) == 0 || info.dli_sname == nullptr || info.dli_saddr != address ) {
        return "?";
    }
    int status = 0;
    const std::unique_ptr< char, decltype( &std::free ) > name(
        abi::__cxa_demangle( info.dli_sname, nullptr, nullptr, &status ), &std::free );
    return name ? classAndName( name.get() ) : info.dli_sname;
}

/// The words of an object's table, by the size that the library's symbol has for it. A sanitizer
/// adds a zone of zeros behind the table, to the symbol's size too: it is left out.
__attribute__( ( no_sanitize( "address" ) ) ) inline std::vector< const void* >
tableOf( const Agent::Node& object )
{
    // Before the slots stand the offset to the top and the type information.
    constexpr std::size_t wordsBeforeSlots = 2;
    void* const* slots = nullptr;
    std::memcpy( &slots, static_cast< const void* >( &object ), sizeof( slots ) );
    Dl_info info{};
    ElfW( Sym )* symbol = nullptr;
    void** const symbolAddress = reinterpret_cast< void** >( &symbol );
    if ( dladdr1( slots - wordsBeforeSlots, &info, symbolAddress, RTLD_DL_SYMENT ) == 0 ||
         symbol == nullptr ) {
        return {};
    }
    std::size_t count = symbol->st_size / sizeof( void* ) - wordsBeforeSlots;
#ifdef PELORA_SANITIZED
    while ( count > 0 && slots[ count - 1 ] == nullptr ) {
        --count;
    }
#endif
    std::vector< const void* > table;
    for ( std::size_t slot = 0; slot < count; ++slot ) {
        table.push_back( slots[ slot ] );
    }
    return table;
}

/// The functions behind all slots of the object's table, in their order. The two destructors bear
/// the same name.
inline std::vector< std::string > virtualSlots( const Agent::Node& object )
{
    std::vector< std::string > names;
    for ( const void* function : tableOf( object ) ) {
        names.push_back( functionAt( function ) );
    }
    return names;
}

} // namespace LibraryTest
