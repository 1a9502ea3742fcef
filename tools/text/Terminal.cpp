#include "tools/text/Terminal.h"

#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Tool {

namespace {

std::string_view environmentValue( const char* name )
{
    const char* value = std::getenv( name );
    return value == nullptr ? "" : value;
}

std::string_view startOf( Colour colour )
{
    switch ( colour ) {
    case Colour::good:
        return "\033[32m";
    case Colour::warning:
        return "\033[33m";
    case Colour::bad:
        return "\033[1;31m";
    case Colour::quiet:
        return "\033[2m";
    }
    return "";
}

} // namespace

bool isTerminal( int descriptor )
{
    return ::isatty( descriptor ) == 1;
}

bool mayColour( int descriptor )
{
    const std::string_view terminal = environmentValue( "TERM" );
    return isTerminal( descriptor ) && environmentValue( "NO_COLOR" ).empty() &&
           !terminal.empty() && terminal != "dumb";
}

std::size_t terminalWidth( int descriptor )
{
    winsize size{};
    const bool known = isTerminal( descriptor ) && ::ioctl( descriptor, TIOCGWINSZ, &size ) == 0;
    return known ? size.ws_col : 0;
}

std::vector< std::string > folded( std::string_view text, std::size_t width )
{
    std::vector< std::string > lines;
    while ( width != 0 && text.size() > width ) {
        std::size_t blank = text.rfind( ' ', width );
        if ( blank == std::string_view::npos || blank == 0 ) {
            blank = text.find( ' ', 1 );
        }
        if ( blank == std::string_view::npos ) {
            break;
        }
        lines.emplace_back( text.substr( 0, blank ) );
        text.remove_prefix( blank + 1 );
    }
    lines.emplace_back( text );
    return lines;
}

std::string Painter::operator()( Colour colour, std::string_view text ) const
{
    if ( !coloured_ ) {
        return std::string( text );
    }
    return std::string( startOf( colour ) ) + std::string( text ) + "\033[0m";
}

} // namespace Tool
