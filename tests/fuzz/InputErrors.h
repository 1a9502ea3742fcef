#pragma once

/// What every reader of files has in common: it reads a text, or refuses it with a position.

#include "input/InputError.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>
#include <optional>

namespace Fuzz {

/// How many bytes the line of a text has, counted from 1. Only a line feed ends a line.
inline std::optional< std::size_t > bytesOfLine( std::string_view text, int line )
{
    for ( int before = 1; before < line; ++before ) {
        const std::size_t end = text.find( '\n' );
        if ( end == std::string_view::npos ) {
            return std::nullopt;
        }
        text.remove_prefix( end + 1 );
    }
    return std::min( text.find( '\n' ), text.size() );
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
    } catch ( const Input::InputError& error ) {
        if ( otherFiles == OtherFiles::named && error.file() != file ) {
            return;
        }
        require( error.file() == file, "an input error names the file" );
        const auto bytes = bytesOfLine( text, error.line() );
        require( error.line() >= 1 && bytes, "an input error stands in a line of the file" );
        require( error.column() >= 1 && static_cast< std::size_t >( error.column() ) <= *bytes + 1,
                 "an input error stands in a column of its line" );
        require( !error.message().empty(), "an input error says what is wrong" );
    }
}

} // namespace Fuzz
