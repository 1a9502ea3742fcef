#pragma once

/// How the pieces of a trace line become text.
///
/// Pieces are written one after the other with nothing between them, as an output stream prints
/// them; one-byte integers print as numbers. `hex( value )` prints lower-case hexadecimal digits
/// without a prefix.

#include "agent/base/BaseTypes.h"

#include <concepts>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

namespace Agent {

/// An integer that prints in hexadecimal.
struct Hex
{
    U64 value; ///< the number, 64 bits wide

    /// Prints it without a prefix; the stream's flags stay as they were.
    friend std::ostream& operator<<( std::ostream& stream, Hex number )
    {
        const std::ios_base::fmtflags flags =
            stream.setf( std::ios_base::hex, std::ios_base::basefield );
        stream << number.value;
        stream.flags( flags );
        return stream;
    }
};

/// A non-negative integer, or the two's complement of a negative one in its own width.
template< std::integral Integer >
constexpr Hex hex( Integer value )
{
    return { static_cast< std::make_unsigned_t< Integer > >( value ) };
}

/// Prints a piece of a text; a number of 8 bits as a number, not as a character.
template< class Piece >
void appendPiece( std::ostream& stream, const Piece& piece )
{
    if constexpr ( std::same_as< Piece, unsigned char > || std::same_as< Piece, signed char > ) {
        stream << static_cast< int >( piece );
    } else {
        stream << piece;
    }
}

/// The pieces as one text.
template< class... Pieces >
std::string joinPieces( const Pieces&... pieces )
{
    std::ostringstream stream;
    // Texts are the same whatever locale the agent has set.
    stream.imbue( std::locale::classic() );
    ( appendPiece( stream, pieces ), ... );
    return std::move( stream ).str();
}

} // namespace Agent
