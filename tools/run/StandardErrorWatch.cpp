#include "tools/run/StandardErrorWatch.h"

#include <algorithm>
#include <cerrno> // program_invocation_short_name
#include <utility>

namespace Tool {

namespace {

bool isApiError( std::string_view line )
{
    return line.find( " API ERROR:" ) != std::string_view::npos;
}

bool isAssertion( std::string_view line )
{
    return line.find( ": Assertion `" ) != std::string_view::npos && line.ends_with( "' failed." );
}

/// Whether the line names what the library cannot translate, which the assertion behind it does
/// not.
bool isErrorLine( std::string_view line )
{
    constexpr std::string_view beginnings[] = {
        "Unmapped actionType: ",
        "Unmapped action: ",
        "Unsupported qualifier ",
        " Unsupported action: ",
    };
    return std::ranges::any_of( beginnings, [ line ]( std::string_view beginning ) {
        return line.starts_with( beginning );
    } );
}

/// The assertion without the name of the program, which is this one.
std::string_view withoutProgram( std::string_view line )
{
    const std::string program = std::string( program_invocation_short_name ) + ": ";
    if ( line.starts_with( program ) ) {
        line.remove_prefix( program.size() );
    }
    return line;
}

} // namespace

StandardErrorWatch::StandardErrorWatch( PassOn passOn )
    : passOn_( std::move( passOn ) )
{}

void StandardErrorWatch::take( std::string_view bytes )
{
    for ( std::size_t end = bytes.find( '\n' ); end != std::string_view::npos;
          end = bytes.find( '\n' ) ) {
        unfinished_ += bytes.substr( 0, end );
        takeLine( std::exchange( unfinished_, {} ) );
        bytes.remove_prefix( end + 1 );
    }
    unfinished_ += bytes;
}

LastWords StandardErrorWatch::lastWords()
{
    takeUnfinishedLine();
    heldBack_.clear();
    return std::exchange( lastWords_, {} );
}

void StandardErrorWatch::passOnLastWords()
{
    if ( !heldBack_.empty() ) {
        passOn_( std::exchange( heldBack_, {} ) );
    }
    lastWords_ = {};
}

void StandardErrorWatch::takeLine( std::string_view line )
{
    const std::string text = std::string( line ) + "\n";
    if ( isApiError( line ) ) {
        lastWords_.apiError = line;
        heldBack_ += text;
    } else if ( isAssertion( line ) ) {
        lastWords_.assertion = withoutProgram( line );
        heldBack_ += text;
    } else if ( isErrorLine( line ) ) {
        lastWords_.errorLine = line.substr( line.find_first_not_of( ' ' ) );
        heldBack_ += text;
    } else {
        passOn_( text );
    }
}

void StandardErrorWatch::takeUnfinishedLine()
{
    if ( !unfinished_.empty() ) {
        takeLine( std::exchange( unfinished_, {} ) );
    }
}

} // namespace Tool
