#pragma once

/// How the arguments of a record of the ring-buffer trace are packed.
///
/// Arguments may be integers, enumerations, characters, bool, double, `Hex`, and strings. A type of
/// one's own says how it is packed by a function in its namespace, which packs its values one by
/// one; they stand together, with blanks between, at the place of the piece:
///
///     void packForRing( Agent::RingPacker& packer, const Range& range )
///     {
///         packForRing( packer, range.low );
///         packForRing( packer, range.high );
///     }
///
/// One that is a text of a fixed length may give it, besides, by a function `ringText` in its
/// namespace, as an array of at most 255 characters. A statement of numbers, strings and such types
/// alone is recorded sooner than others.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/TextPieces.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>

namespace Agent {

/// What a packed argument is: one byte before its bytes.
enum class RingKind : U8
{
    unsigned8 = 1,
    unsigned16,
    unsigned32,
    unsigned64,
    signed64,
    hexadecimal,
    boolean,
    real,
    text,  ///< one byte of length, then the characters
    group, ///< two bytes of length, then the values of one piece, none of them a group
};

namespace Detail {

/// Writes kind, length and characters of a text of at most 255 characters. Not inline: of a copy
/// that is known to be small, g++ makes a loop of its own that takes longer than the library's.
AGENT_EXPORT void putText( std::byte* place, std::string_view text ) noexcept;

} // namespace Detail

/// Collects the packed arguments of one record. From the first value that does not fit on, all
/// are cut off, so that none stands in the place of another.
class RingPacker
{
  public:
    /// The most bytes that the arguments of one record take.
    static constexpr std::size_t room = 1024;

    /// The most characters that are kept of a text.
    static constexpr std::size_t mostCharacters = 255;

    /// Packs a value of that kind, of so many bytes.
    void pack( RingKind kind, const void* bytes, std::size_t size ) noexcept
    {
        if ( hasRoomFor( 1 + size ) ) {
            append( &kind, sizeof( kind ) );
            append( bytes, size );
        }
    }

    /// Packs the first 255 characters.
    void packText( std::string_view text ) noexcept
    {
        const std::string_view kept = text.substr( 0, mostCharacters );
        if ( hasRoomFor( 2 + kept.size() ) ) {
            Detail::putText( &bytes_[ size_ ], kept );
            size_ += 2 + kept.size();
        }
    }

    /// Makes one piece of the values that `packValues()` packs. Groups do not nest.
    template< class PackValues >
    void packGroup( PackValues packValues )
    {
        U16 length = 0;
        pack( RingKind::group, &length, sizeof( length ) );
        if ( cutOff_ ) {
            return;
        }
        const std::size_t start = size_;
        packValues();
        length = static_cast< U16 >( size_ - start );
        std::memcpy( &bytes_[ start - sizeof( length ) ], &length, sizeof( length ) );
    }

    /// What has been packed.
    [[nodiscard]] std::span< const std::byte > bytes() const { return { bytes_.data(), size_ }; }

  private:
    [[nodiscard]] bool hasRoomFor( std::size_t size ) noexcept
    {
        cutOff_ = cutOff_ || size_ + size > room;
        return !cutOff_;
    }

    void append( const void* bytes, std::size_t size ) noexcept
    {
        if ( size != 0 ) {
            std::memcpy( &bytes_[ size_ ], bytes, size );
            size_ += size;
        }
    }

    std::array< std::byte, room > bytes_;
    std::size_t size_ = 0;
    bool cutOff_ = false;
};

// Only bool itself: a pointer, which converts to it, is packed as the string it points to.
/// Packs a truth value.
template< std::same_as< bool > Boolean >
void packForRing( RingPacker& packer, Boolean value ) noexcept
{
    packer.pack( RingKind::boolean, &value, sizeof( value ) );
}

/// Packs a character as a text.
inline void packForRing( RingPacker& packer, char character ) noexcept
{
    packer.packText( { &character, 1 } );
}

/// Packs a number with a fraction.
inline void packForRing( RingPacker& packer, double value ) noexcept
{
    packer.pack( RingKind::real, &value, sizeof( value ) );
}

/// Packs an integer that is to be read in hexadecimal.
inline void packForRing( RingPacker& packer, Hex value ) noexcept
{
    packer.pack( RingKind::hexadecimal, &value.value, sizeof( value.value ) );
}

/// Packs the first 255 characters.
inline void packForRing( RingPacker& packer, std::string_view text ) noexcept
{
    packer.packText( text );
}

/// An unsigned integer; `bool` is none.
template< class Piece >
concept UnsignedNumber = std::unsigned_integral< Piece > && !std::same_as< Piece, bool >;

/// An enumeration, scoped or not.
template< class Piece >
concept AnyEnumeration = std::is_enum_v< Piece >;

/// The kind of an unsigned integer of that type.
template< std::unsigned_integral Integer >
inline constexpr RingKind unsignedKind = sizeof( Integer ) == 1   ? RingKind::unsigned8
                                         : sizeof( Integer ) == 2 ? RingKind::unsigned16
                                         : sizeof( Integer ) == 4 ? RingKind::unsigned32
                                                                  : RingKind::unsigned64;

/// Packs an integer in its own width.
template< UnsignedNumber Integer >
void packForRing( RingPacker& packer, Integer value ) noexcept
{
    packer.pack( unsignedKind< Integer >, &value, sizeof( value ) );
}

/// Packs an integer.
template< std::signed_integral Integer >
void packForRing( RingPacker& packer, Integer value ) noexcept
{
    const std::int64_t wide = value;
    packer.pack( RingKind::signed64, &wide, sizeof( wide ) );
}

/// Packs the number of an enumerator.
template< AnyEnumeration Enumeration >
void packForRing( RingPacker& packer, Enumeration value ) noexcept
{
    packForRing( packer, static_cast< std::underlying_type_t< Enumeration > >( value ) );
}

namespace Detail {

/// An array of constant characters; one that can change is an argument like any other string.
template< class Piece >
concept LiteralPiece = std::is_array_v< Piece > && std::is_const_v< Piece >;

/// A type of several values: one that says itself how it is packed.
template< class Piece >
concept GroupPiece = std::is_class_v< Piece > && !std::convertible_to< Piece, std::string_view > &&
                     !std::same_as< std::remove_cv_t< Piece >, Hex >;

/// What a string holds; nothing where it is a null pointer.
template< StringPiece Text >
std::string_view textOf( const Text& text ) noexcept
{
    if constexpr ( std::is_pointer_v< Text > ) {
        return text == nullptr ? std::string_view() : std::string_view( text );
    } else {
        return text;
    }
}

template< class Piece >
void packPiece( RingPacker& packer, Piece& piece )
{
    // A literal stands in the description.
    if constexpr ( GroupPiece< Piece > ) {
        packer.packGroup( [ & ] { packForRing( packer, piece ); } );
    } else if constexpr ( std::is_pointer_v< Piece > && StringPiece< std::remove_cv_t< Piece > > ) {
        packForRing( packer, textOf( piece ) );
    } else if constexpr ( !LiteralPiece< Piece > ) {
        packForRing( packer, piece );
    }
}

/// A type that gives its text as an array of characters.
template< class Piece >
concept CharactersPiece = requires( const Piece& piece )
{
    ringText( piece );
};

/// A piece whose packed bytes are known without packing it: a literal, which has none, a number, a
/// string, or a type that gives its text.
template< class Piece >
concept DirectPiece = LiteralPiece< Piece > || NumberPiece< std::remove_cv_t< Piece > > ||
    StringPiece< std::remove_cv_t< Piece > > || CharactersPiece< std::remove_cv_t< Piece > > ||
    std::same_as< std::remove_cv_t< Piece >, Hex >;

/// What is left of a literal: nothing.
struct NoArgument
{
    static constexpr std::size_t size = 0;

    std::byte* putTo( std::byte* place ) const noexcept { return place; }
};

/// A number as `packForRing` packs it.
template< RingKind kind, class Number >
struct NumberArgument
{
    static constexpr std::size_t size = 1 + sizeof( Number );

    std::byte* putTo( std::byte* place ) const noexcept
    {
        *place = static_cast< std::byte >( kind );
        std::memcpy( place + 1, &number, sizeof( number ) );
        return place + size;
    }

    Number number;
};

/// A text as `RingPacker` packs it.
struct TextArgument
{
    explicit TextArgument( std::string_view whole ) noexcept
        : text( whole.substr( 0, RingPacker::mostCharacters ) )
        , size( 2 + text.size() )
    {}

    std::byte* putTo( std::byte* place ) const noexcept
    {
        putText( place, text );
        return place + size;
    }

    std::string_view text;
    std::size_t size;
};

/// A text of a fixed length.
template< std::size_t count >
struct CharactersArgument
{
    static_assert( count <= RingPacker::mostCharacters );
    static constexpr std::size_t size = 2 + count;

    std::byte* putTo( std::byte* place ) const noexcept
    {
        place[ 0 ] = static_cast< std::byte >( RingKind::text );
        place[ 1 ] = static_cast< std::byte >( count );
        std::memcpy( place + 2, text.data(), count );
        return place + size;
    }

    std::array< char, count > text;
};

template< class Piece >
auto argumentOf( Piece& piece ) noexcept
{
    using Value = std::remove_cv_t< Piece >;
    if constexpr ( LiteralPiece< Piece > ) {
        return NoArgument();
    } else if constexpr ( std::same_as< Value, Hex > ) {
        return NumberArgument< RingKind::hexadecimal, U64 >{ piece.value };
    } else if constexpr ( StringPiece< Value > ) {
        return TextArgument( textOf( piece ) );
    } else if constexpr ( CharactersPiece< Value > ) {
        const auto text = ringText( piece );
        return CharactersArgument< text.size() >{ text };
    } else if constexpr ( std::is_signed_v< Value > ) {
        return NumberArgument< RingKind::signed64, std::int64_t >{ piece };
    } else {
        return NumberArgument< unsignedKind< Value >, Value >{ piece };
    }
}

} // namespace Detail

} // namespace Agent
