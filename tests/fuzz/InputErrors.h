#pragma once

/// What every reader of files has in common: it reads a text, or refuses it with a position.

#include "sim/InputError.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>

namespace Fuzz {

/// How many lines a text has, counted as readers of YAML do: a line feed and a carriage return end
/// one each, so this is never too few.
inline int mostLinesOf( std::string_view text )
{
    const auto ends = []( char letter ) { return letter == '\n' || letter == '\r'; };
    // NEL, LS and PS, which YAML 1.1 counts as line ends too, all have one of these bytes.
    const auto mayEnd = [ & ]( char letter ) {
        return ends( letter ) || letter == '\x85' || letter == '\xA8' || letter == '\xA9';
    };
    return 2 + static_cast< int >( std::ranges::count_if( text, mayEnd ) );
}

/// Whether a file may name others, which can then be what is wrong.
enum class OtherFiles
{
    none,
    named,
};

/// Lets a reader read a text. An input error must name the file and a place that the text can
/// have, and say something; any other exception is a fault and ends the process.
template< class Reader >
void acceptsOrRefuses( const std::string& file,
                       std::string_view text,
                       const Reader& reader,
                       OtherFiles otherFiles = OtherFiles::none )
{
    try {
        reader();
    } catch ( const Sim::InputError& error ) {
        if ( otherFiles == OtherFiles::named && error.file() != file ) {
            return;
        }
        require( error.file() == file, "an input error names the file" );
        require( error.line() >= 1 && error.line() <= mostLinesOf( text ),
                 "an input error stands in a line of the file" );
        require( error.column() >= 1 && error.column() <= static_cast< int >( text.size() ) + 1,
                 "an input error stands in a column of the file" );
        require( !error.message().empty(), "an input error says what is wrong" );
    }
}

} // namespace Fuzz
