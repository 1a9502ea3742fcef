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
/// Arguments may be integers, enumerations, bool, double, `Hex`, and strings; a type of one's own
/// says how it is packed by a function `packForRing( RingPacker&, const Type& )` in its namespace.

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
    text, ///< one byte of length, then the characters
};

/// Collects the packed arguments of one record; what does not fit is cut off.
class RingPacker
{
  public:
    void pack( RingKind kind, const void* bytes, std::size_t size ) noexcept
    {
        if ( size_ + 1 + size > room ) {
            return;
        }
        bytes_[ size_++ ] = static_cast< std::byte >( kind );
        std::memcpy( &bytes_[ size_ ], bytes, size );
        size_ += size;
    }

    void packText( std::string_view text ) noexcept
    {
        const std::size_t length = text.size() < 0xFF ? text.size() : 0xFF;
        if ( size_ + 2 + length > room ) {
            return;
        }
        bytes_[ size_++ ] = static_cast< std::byte >( RingKind::text );
        bytes_[ size_++ ] = static_cast< std::byte >( length );
        std::memcpy( &bytes_[ size_ ], text.data(), length );
        size_ += length;
    }

    [[nodiscard]] std::span< const std::byte > bytes() const { return { bytes_.data(), size_ }; }

  private:
    static constexpr std::size_t room = 1024;

    std::array< std::byte, room > bytes_;
    std::size_t size_ = 0;
};

inline void packForRing( RingPacker& packer, bool value ) noexcept
{
    packer.pack( RingKind::boolean, &value, sizeof( value ) );
}

inline void packForRing( RingPacker& packer, double value ) noexcept
{
    packer.pack( RingKind::real, &value, sizeof( value ) );
}

inline void packForRing( RingPacker& packer, Hex value ) noexcept
{
    packer.pack( RingKind::hexadecimal, &value.value, sizeof( value.value ) );
}

inline void packForRing( RingPacker& packer, std::string_view text ) noexcept
{
    packer.packText( text );
}

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

template< std::signed_integral Integer >
void packForRing( RingPacker& packer, Integer value ) noexcept
{
    const std::int64_t wide = value;
    packer.pack( RingKind::signed64, &wide, sizeof( wide ) );
}

template< class Enumeration >
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
    U32 headerSize;
    U32 descriptionsSize; ///< room for descriptions, after the header
    U32 descriptionsUsed;
    U32 recordsSize; ///< room for records, after the descriptions
    U64 oldest;      ///< position of the oldest record, counted since the start
    U64 next;        ///< position of the next record, counted since the start
    U64 count;       ///< records ever written
};

inline constexpr std::array< char, 16 > ringMagic = {
    'P', 'E', 'L', 'O', 'R', 'A', '-', 'R', 'I', 'N', 'G', '-', 'V', '1', '\n', '\0' };

/// The start of a record; the packed arguments follow. Records start at multiples of 8 bytes and
/// do not wrap: a record with description `ringPadding` fills the end of the room.
struct RingRecord
{
    U32 size;        ///< bytes of the whole record, a multiple of 8
    U32 description; ///< offset of its description
    U64 nanoseconds; ///< of the monotonic clock
    U32 argumentsSize;
    U32 reserved;
};

inline constexpr U32 ringPadding = 0xFFFFFFFF;

class AGENT_EXPORT RingTrace
{
  public:
    /// A ring with room for that many bytes of records (at least 2048; rounded up to a multiple of
    /// 8) and of descriptions.
    RingTrace( U32 recordBytes, U32 descriptionBytes );
    RingTrace( const RingTrace& ) = delete;
    RingTrace& operator=( const RingTrace& ) = delete;
    ~RingTrace();

    /// Describes a statement and gives the description's offset; the same statement gives the
    /// same offset again. When there is no more room it gives the description of an unknown
    /// statement.
    [[nodiscard]] U32 describe( const CallLocation& location, RingPieces pieces );

    /// Appends a record, overwriting the oldest ones if need be.
    void record( U32 description, std::span< const std::byte > arguments ) noexcept;

    /// Records ever written.
    [[nodiscard]] U64 count() const noexcept { return header().count; }

    /// The whole block, as it would stand in a dump file.
    [[nodiscard]] std::span< const std::byte > image() const noexcept;

  private:
    [[nodiscard]] RingHeader& header() noexcept;
    [[nodiscard]] const RingHeader& header() const noexcept;
    [[nodiscard]] std::byte* recordAt( U64 position ) noexcept;
    void dropOldestUntil( U64 position ) noexcept;
    void pad() noexcept;

    std::size_t size_;
    std::unique_ptr< std::byte[] > block_;
};

/// The agent's ring-buffer trace.
[[nodiscard]] AGENT_EXPORT RingTrace& ringTrace();

namespace Detail {

template< class Piece >
constexpr const char* literalOf( const Piece& piece )
{
    if constexpr ( std::is_array_v< Piece > ) {
        return piece;
    } else {
        return nullptr;
    }
}

template< class Piece >
void packPiece( RingPacker& packer, const Piece& piece )
{
    // A literal stands in the description.
    if constexpr ( !std::is_array_v< Piece > ) {
        packForRing( packer, piece );
    }
}

} // namespace Detail

/// Writes one statement to the ring-buffer trace, always, and as text if the handle's level is on.
/// String literals among the pieces are described once; all other pieces are packed. `Statement`
/// is different for each call, which is what gives every call its own description.
template< class Statement = decltype( [] {} ), class... Pieces >
void traceBoth( const TraceHandle& handle, TraceLevel level, const Pieces&... pieces )
{
    static std::atomic< U32 > description{ ringPadding };
    U32 offset = description.load( std::memory_order_relaxed );
    if ( offset == ringPadding ) {
        const std::array literals = { Detail::literalOf( pieces )... };
        offset = ringTrace().describe( level.location, literals );
        description.store( offset, std::memory_order_relaxed );
    }
    RingPacker packer;
    ( Detail::packPiece( packer, pieces ), ... );
    ringTrace().record( offset, packer.bytes() );
    trace( handle, level, pieces... );
}

} // namespace Agent
