#pragma once

/// The ring-buffer trace: what happened last, always on, unformatted.
///
/// One block of memory of a fixed size holds everything: a header, the descriptions of the trace
/// statements (source position and the literal pieces of their text), and the records, the oldest
/// of which are overwritten. A record is the number of its description, a time stamp and the
/// raw bytes of its arguments; recording formats nothing and allocates nothing. Because the block
/// holds no pointers, its image can be decoded by another program, from a dump file or from a core
/// (`RingTraceDecoder.h`).
///
/// One thread writes: the one that holds the agent's activity lock.
///
///     Agent::traceBoth( handle, 4, "createUdf", " mod:", unit );   // into the ring, and to text
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

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/Trace.h"

#include <array>
#include <atomic>
#include <concepts>
#include <cstring>
#include <memory>
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

/// Collects the packed arguments of one record. From the first value that does not fit on, all
/// are cut off, so that none stands in the place of another.
class RingPacker
{
  public:
    /// The most bytes that the arguments of one record take.
    static constexpr std::size_t room = 1024;

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
        const U8 length = static_cast< U8 >( text.size() < 0xFF ? text.size() : 0xFF );
        if ( hasRoomFor( 2 + length ) ) {
            constexpr RingKind kind = RingKind::text;
            append( &kind, sizeof( kind ) );
            append( &length, sizeof( length ) );
            append( text.data(), length );
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

/// Packs an integer in its own width.
template< std::unsigned_integral Integer >

requires( !std::same_as< Integer, bool > ) void packForRing( RingPacker& packer,
                                                             Integer value ) noexcept
{
    constexpr RingKind kind = sizeof( Integer ) == 1   ? RingKind::unsigned8
                              : sizeof( Integer ) == 2 ? RingKind::unsigned16
                              : sizeof( Integer ) == 4 ? RingKind::unsigned32
                                                       : RingKind::unsigned64;
    packer.pack( kind, &value, sizeof( value ) );
}

/// Packs an integer.
template< std::signed_integral Integer >
void packForRing( RingPacker& packer, Integer value ) noexcept
{
    const std::int64_t wide = value;
    packer.pack( RingKind::signed64, &wide, sizeof( wide ) );
}

template< class Enumeration >
/// Packs the number of an enumerator.
requires std::is_enum_v< Enumeration >

void packForRing( RingPacker& packer, Enumeration value ) noexcept
{
    packForRing( packer, static_cast< std::underlying_type_t< Enumeration > >( value ) );
}

/// A statement's literal pieces; a null piece stands for an argument.
using RingPieces = std::span< const char* const >;

/// The start of the block. All offsets are in bytes.
struct RingHeader
{
    std::array< char, 16 > magic; ///< `ringMagic`
    U32 headerSize;               ///< of this structure
    U32 descriptionsSize;         ///< room for descriptions, after the header
    U32 descriptionsUsed;         ///< how much of that room is used
    U32 recordsSize;              ///< room for records, after the descriptions
    U64 oldest;                   ///< position of the oldest record, counted since the start
    U64 next;                     ///< position of the next record, counted since the start
    U64 count;                    ///< records ever written
};

/// What a block begins with.
inline constexpr std::array< char, 16 > ringMagic = {
    'P', 'E', 'L', 'O', 'R', 'A', '-', 'R', 'I', 'N', 'G', '-', 'V', '1', '\n', '\0' };

/// The start of a record; the packed arguments follow. Records start at multiples of 8 bytes and
/// do not wrap: a record with description `ringPadding` fills the end of the room.
struct RingRecord
{
    U32 size;          ///< bytes of the whole record, a multiple of 8
    U32 description;   ///< offset of its description
    U64 nanoseconds;   ///< of the monotonic clock
    U32 argumentsSize; ///< of the packed arguments
    U32 reserved;      ///< always 0
};

/// The description of a record that only fills the room up to its end.
inline constexpr U32 ringPadding = 0xFFFFFFFF;

/// A block of fixed size that keeps the newest records; see the top of this header.
class AGENT_EXPORT RingTrace
{
  public:
    /// A ring with room for that many bytes of records (at least 2048) and of descriptions (at
    /// least 16), both rounded up to a multiple of 8.
    RingTrace( U32 recordBytes, U32 descriptionBytes );
    RingTrace( const RingTrace& ) = delete;
    RingTrace& operator=( const RingTrace& ) = delete;
    ~RingTrace();

    /// Describes a statement and gives the description's offset; the same statement gives the
    /// same offset again. When there is no more room it gives the description of an unknown
    /// statement.
    [[nodiscard]] U32 describe( const CallLocation& location, RingPieces pieces );

    /// Appends a record, overwriting the oldest ones if need be. More than `RingPacker::room`
    /// bytes of arguments are an assertion failure.
    void record( U32 description, std::span< const std::byte > arguments ) noexcept;

    /// Records ever written.
    [[nodiscard]] U64 count() const noexcept { return header().count; }

    /// The whole block, as it would stand in a dump file.
    [[nodiscard]] std::span< const std::byte > image() const noexcept;

  private:
    // Within the class, so that nothing is called on the way of a record.
    [[nodiscard]] RingHeader& header() noexcept
    {
        return *reinterpret_cast< RingHeader* >( block_.get() );
    }

    [[nodiscard]] const RingHeader& header() const noexcept
    {
        return *reinterpret_cast< const RingHeader* >( block_.get() );
    }

    /// `place`: bytes from the start of the room for records.
    [[nodiscard]] std::byte* recordAt( U32 place ) noexcept
    {
        return block_.get() + sizeof( RingHeader ) + header().descriptionsSize + place;
    }

    /// The place of what follows a record of that size.
    [[nodiscard]] U32 placeAfter( U32 place, U32 size ) const noexcept
    {
        return place + size == header().recordsSize ? 0 : place + size;
    }

    void dropOldestUntil( U64 position ) noexcept;
    void pad() noexcept;

    std::size_t size_;
    std::unique_ptr< std::byte[] > block_;
    // Where the positions of the header are in the room: kept, as finding out takes a division.
    U32 oldestPlace_ = 0;
    U32 nextPlace_ = 0;
};

/// The agent's ring-buffer trace.
[[nodiscard]] AGENT_EXPORT RingTrace& ringTrace();

namespace Detail {

/// An array of constant characters; one that can change is an argument like any other string.
template< class Piece >
concept LiteralPiece = std::is_array_v< Piece > && std::is_const_v< Piece >;

/// A type of several values: one that says itself how it is packed.
template< class Piece >
concept GroupPiece = std::is_class_v< Piece > && !std::convertible_to< Piece, std::string_view > &&
                     !std::same_as< std::remove_cv_t< Piece >, Hex >;

template< class Piece >
constexpr const char* literalOf( Piece& piece )
{
    if constexpr ( LiteralPiece< Piece > ) {
        return piece;
    } else {
        return nullptr;
    }
}

template< class Piece >
void packPiece( RingPacker& packer, Piece& piece )
{
    // A literal stands in the description.
    if constexpr ( GroupPiece< Piece > ) {
        packer.packGroup( [ & ] { packForRing( packer, piece ); } );
    } else if constexpr ( !LiteralPiece< Piece > ) {
        packForRing( packer, piece );
    }
}

} // namespace Detail

/// Writes one statement to the ring-buffer trace, always, and as text if the handle's level is on.
/// String literals among the pieces are described once; all other pieces are packed. `Statement`
/// is different for each call, which is what gives every call its own description.
template< class Statement = decltype( [] {} ), class... Pieces >
void traceBoth( const TraceHandle& handle, TraceLevel level, Pieces&&... pieces )
{
    static std::atomic< U32 > description{ ringPadding };
    U32 offset = description.load( std::memory_order_relaxed );
    if ( offset == ringPadding ) {
        const std::array< const char*, sizeof...( pieces ) > literals = {
            Detail::literalOf( pieces )... };
        offset = ringTrace().describe( level.location, literals );
        description.store( offset, std::memory_order_relaxed );
    }
    RingPacker packer;
    ( Detail::packPiece( packer, pieces ), ... );
    ringTrace().record( offset, packer.bytes() );
    trace( handle, level, pieces... );
}

} // namespace Agent
