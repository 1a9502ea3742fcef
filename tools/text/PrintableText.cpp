#include "tools/text/PrintableText.h"

#include "input/InputText.h"

#include <fmt/format.h>

namespace Tool {

namespace {

std::string escaped( unsigned control )
{
    constexpr unsigned firstBeyondAscii = 0x80;
    if ( control == '\t' ) {
        return "\\t";
    }
    return control < firstBeyondAscii ? fmt::format( "\\x{:02x}", control )
                                      : fmt::format( "\\u{:04x}", control );
}

std::string printableLetter( std::string_view letter )
{
    if ( letter == "\n" ) {
        return "\\n";
    }
    const std::optional< unsigned > control = Input::controlCharacter( letter );
    return control ? escaped( *control ) : std::string( letter );
}

/// The parts between the tabs, and the tabs as they are.
std::string printableLine( std::string_view line )
{
    std::string shown;
    for ( std::size_t tab = line.find( '\t' ); tab != std::string_view::npos;
          tab = line.find( '\t' ) ) {
        shown += printable( line.substr( 0, tab ) ) + '\t';
        line.remove_prefix( tab + 1 );
    }
    return shown + printable( line );
}

} // namespace

std::string printable( std::string_view text )
{
    std::string shown;
    for ( std::size_t at = 0; at < text.size(); ) {
        const std::size_t size = Input::letterSize( text, at );
        if ( size == 0 ) {
            shown += fmt::format( "\\x{:02x}", static_cast< unsigned char >( text[ at ] ) );
            ++at;
        } else {
            shown += printableLetter( text.substr( at, size ) );
            at += size;
        }
    }
    return shown;
}

std::string printableLines( std::string_view text )
{
    std::string shown;
    while ( !text.empty() ) {
        const std::size_t end = text.find( '\n' );
        std::string_view line = text.substr( 0, end );
        if ( end != std::string_view::npos && line.ends_with( '\r' ) ) {
            line.remove_suffix( 1 );
        }
        shown += printableLine( line );
        shown += end == std::string_view::npos ? "" : "\n";
        text.remove_prefix( end == std::string_view::npos ? text.size() : end + 1 );
    }
    return shown;
}

} // namespace Tool
