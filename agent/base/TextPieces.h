#pragma once

/// How the pieces of a trace line become text.
///
/// Pieces are written one after the other with nothing between them, as an output stream prints
/// them in the classic locale; one-byte integers print as numbers. `hex( value )` prints lower-case
/// hexadecimal digits without a prefix. Each piece is printed by itself: what a type's `operator<<`
/// leaves behind in its stream does not reach the next piece. A null string prints nothing.
///
/// Numbers, characters and strings are written without a stream, and nothing is allocated unless
/// the text is long. Any other piece is printed by its own `operator<<`.
///
///     Agent::TextBuffer text;
///     Agent::appendPiece( text, 17U );
///     Agent::appendPiece( text, " udfs" );
///     use( text.view() );                            // 17 udfs
///     Agent::joinPieces( "0x", Agent::hex( 255 ) );  // 0xff

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"

#include <array>
#include <concepts>
#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

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

/// A text that grows at its end: in place while it is short, on the heap from then on.
class AGENT_EXPORT TextBuffer
{
  public:
    TextBuffer() = default;
    TextBuffer( const TextBuffer& ) = delete;
    TextBuffer& operator=( const TextBuffer& ) = delete;

    /// Appends characters, whichever they are.
    void append( std::string_view text )
    {
        if ( !text.empty() ) {
            std::memcpy( roomFor( text.size() ), text.data(), text.size() );
            size_ += text.size();
        }
    }

    /// Appends decimal digits, for a negative number with a minus sign before them.
    void appendSigned( std::int64_t number );

    /// Appends decimal digits.
    void appendUnsigned( U64 number );

    /// Appends lower-case hexadecimal digits.
    void appendHexadecimal( U64 number );

    /// Lets `print( stream, piece )` print to the end of the text, through a stream in the state of
    /// a new one. What `print` throws is passed on.
    void appendPrinted( void ( *print )( std::ostream& stream, const void* piece ),
                        const void* piece );

    /// The text, until it grows or the buffer ends.
    [[nodiscard]] std::string_view view() const noexcept { return { start_, size_ }; }

  private:
    /// Where so many more characters can be put.
    char* roomFor( std::size_t more )
    {
        if ( more > capacity_ - size_ ) [[unlikely]] {
            grow( more );
        }
        return start_ + size_;
    }

    void grow( std::size_t more );

    template< class Number >
    void appendDigits( Number number, int base );

    static constexpr std::size_t roomInPlace = 512;

    std::array< char, roomInPlace > inPlace_; // Not initialised: only what is written is read.
    std::unique_ptr< char[] > onHeap_;
    char* start_ = inPlace_.data();
    std::size_t size_ = 0;
    std::size_t capacity_ = roomInPlace;
};

namespace Detail {

/// The integers that are numbers to a stream, and those of 8 bits.
template< class Piece >
concept NumberPiece =
    std::integral< Piece > && !std::same_as< Piece, bool > && !std::same_as< Piece, char > &&
    !std::same_as< Piece, wchar_t > && !std::same_as< Piece, char8_t > &&
    !std::same_as< Piece, char16_t > && !std::same_as< Piece, char32_t >;

/// A pointer to characters.
template< class Piece >
concept CharacterPointer = std::same_as< Piece, char* > || std::same_as< Piece, const char* >;

/// The strings of characters, with their length or with a null character at the end.
template< class Piece >
concept StringPiece = std::same_as< Piece, std::string > ||
    std::same_as< Piece, std::string_view > || CharacterPointer< std::decay_t< Piece > >;

} // namespace Detail

/// Prints a piece to the end of a text; a number of 8 bits as a number, not as a character.
template< class Piece >
void appendPiece( TextBuffer& text, const Piece& piece )
{
    if constexpr ( std::same_as< Piece, bool > ) {
        text.append( piece ? "1" : "0" );
    } else if constexpr ( std::same_as< Piece, char > ) {
        text.append( { &piece, 1 } );
    } else if constexpr ( std::same_as< Piece, Hex > ) {
        text.appendHexadecimal( piece.value );
    } else if constexpr ( Detail::NumberPiece< Piece > && std::is_signed_v< Piece > ) {
        text.appendSigned( piece );
    } else if constexpr ( Detail::NumberPiece< Piece > ) {
        text.appendUnsigned( piece );
    } else if constexpr ( Detail::StringPiece< Piece > && std::is_pointer_v< Piece > ) {
        text.append( piece == nullptr ? std::string_view() : std::string_view( piece ) );
    } else if constexpr ( Detail::StringPiece< Piece > ) {
        text.append( piece );
    } else {
        const auto print = []( std::ostream& stream, const void* printed ) {
            stream << *static_cast< const Piece* >( printed );
        };
        text.appendPrinted( print, std::addressof( piece ) );
    }
}

/// The pieces as one text.
template< class... Pieces >
std::string joinPieces( const Pieces&... pieces )
{
    TextBuffer text;
    ( appendPiece( text, pieces ), ... );
    return std::string( text.view() );
}

} // namespace Agent
