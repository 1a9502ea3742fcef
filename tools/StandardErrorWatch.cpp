#include "tools/StandardErrorWatch.h"

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
