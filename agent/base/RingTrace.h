#pragma once

/// The ring-buffer trace: what happened last, always on, unformatted.
///
/// One block of memory of a fixed size holds everything: a header, the descriptions of the trace
/// statements (source position and the literal pieces of their text), and the records, the oldest
/// of which are overwritten. A record is the number of its description, a time stamp and the
/// raw bytes of its arguments; recording formats nothing and allocates nothing. Because the block
/// holds no pointers, its image can be decoded by another program, from a dump file or from a core
/// (`RingTraceDecoder.h`). `docs/tracing.md` has its format.
///
/// The time is the monotonic clock's. Where the processor has a steady counter of ticks, which is
/// read sooner, a record has the last reading of the clock and the ticks since then; the clock is
/// read again about ten times a second.
///
/// One thread writes: the one that holds the agent's activity lock.
///
///     Agent::traceBoth( handle, 4, "createUdf", " mod:", unit );   // into the ring, and to text
///
/// What an argument may be, and how a type of one's own becomes one, is told in `RingPacker.h`.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/base/RingPacker.h"
#include "agent/base/TickCounter.h"
#include "agent/base/Trace.h"

#include <array>
#include <atomic>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string_view>
#include <type_traits>

namespace Agent {

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
    U64 ticks;                    ///< between two readings of the clock; 0: none counted yet
    U64 nanoseconds;              ///< between the same two readings
};

/// What a block begins with.
inline constexpr std::array< char, 16 > ringMagic = { 'P', 'E', 'L', 'O', 'R', 'A', '-',  'R',
                                                      'I', 'N', 'G', '-', 'V', '2', '\n', '\0' };

/// The start of a record; the packed arguments follow. Records start at multiples of 8 bytes and
/// do not wrap: a record with description `ringPadding` fills the end of the room.
struct RingRecord
{
    U32 size;          ///< bytes of the whole record, a multiple of 8
    U32 description;   ///< offset of its description
    U64 nanoseconds;   ///< of the monotonic clock when it was last read
    U32 argumentsSize; ///< of the packed arguments
    U32 ticks;         ///< since the clock was read
};

/// The description of a record that only fills the room up to its end.
inline constexpr U32 ringPadding = 0xFFFFFFFF;

/// A block of fixed size that keeps the newest records; see the top of this header.
class AGENT_EXPORT RingTrace
{
  public:
    /// A ring with room for that many bytes of records (at least 2048) and of descriptions (at
    /// least 16), both rounded up to a multiple of 8. Without counting ticks, the clock is read for
    /// each record.
    RingTrace( U32 recordBytes, U32 descriptionBytes, bool countsTicks = tickCounterIsSteady() );
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

    /// The same for arguments that `put( place )` writes to their place in the ring. They are of so
    /// many bytes, at most `RingPacker::room`.
    template< class Put >
    void record( U32 description, std::size_t argumentsSize, Put put ) noexcept
    {
        const U32 size = sizeWith( argumentsSize );
        if ( size > recordsSize_ - nextPlace_ ) [[unlikely]] {
            pad();
        }
        makeRoomFor( size );
        const U32 ticks = ticksSinceReading();
        std::byte* place = records_ + nextPlace_;
        // The ring is larger than the nearest cache: the lines of the next records are fetched now.
        prefetch( reinterpret_cast< std::uintptr_t >( place ) + prefetchDistance );
        new ( place ) RingRecord{ size, description, readingTime_,
                                  static_cast< U32 >( argumentsSize ), ticks };
        put( place + sizeof( RingRecord ) );
        added( size );
        ++header().count;
    }

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

    /// Some records further on. Behind the end of the room it fetches in vain, and does no harm.
    static constexpr std::uintptr_t prefetchDistance = 256;

    /// Fetches an address that is going to be written, and need not be one of ours.
    static void prefetch( std::uintptr_t address ) noexcept
    {
        __builtin_prefetch( reinterpret_cast< const void* >( address ), 1 );
    }

    /// Bytes of a record with arguments of that size.
    static constexpr U32 sizeWith( std::size_t argumentsSize )
    {
        constexpr std::size_t alignment = 8;
        const std::size_t size = sizeof( RingRecord ) + argumentsSize;
        return static_cast< U32 >( ( size + alignment - 1 ) / alignment * alignment );
    }

    /// The place of what follows a record of that size.
    [[nodiscard]] U32 placeAfter( U32 place, U32 size ) const noexcept
    {
        return place + size == recordsSize_ ? 0 : place + size;
    }

    /// Drops the oldest records until there is room for one of that size.
    void makeRoomFor( U32 size ) noexcept
    {
        while ( room_ < size ) {
            U32 oldest = 0;
            std::memcpy( &oldest, records_ + oldestPlace_, sizeof( oldest ) );
            oldestPlace_ = placeAfter( oldestPlace_, oldest );
            room_ += oldest;
            header().oldest += oldest;
        }
    }

    /// What was written to the next place counts from now on.
    void added( U32 size ) noexcept
    {
        nextPlace_ = placeAfter( nextPlace_, size );
        room_ -= size;
        header().next += size;
    }

    /// The ticks since the last reading of the clock, which is read again when that is long ago.
    [[nodiscard]] U32 ticksSinceReading() noexcept
    {
        const U64 ticks = readingLifetime_ == 0 ? 0 : tickCount() - readingTicks_;
        // A counter that went back counts as one that went far ahead.
        if ( ticks >= readingLifetime_ ) [[unlikely]] {
            readClock();
            return 0;
        }
        return static_cast< U32 >( ticks );
    }

    void pad() noexcept;
    void readClock() noexcept;

    std::size_t size_;
    std::unique_ptr< std::byte[] > block_;
    std::byte* records_; ///< the room for records, in the block
    U32 recordsSize_;    ///< its size in bytes
    U32 room_;           ///< bytes of it that hold no record
    // Where the positions of the header are in the room: kept, as finding out takes a division.
    U32 oldestPlace_ = 0;
    U32 nextPlace_ = 0;
    U64 readingTime_ = 0;     ///< nanoseconds of the clock when it was last read
    U64 readingTicks_ = 0;    ///< ticks at that time
    U64 readingLifetime_ = 0; ///< ticks for which a reading is good; 0: ticks are not counted
};

namespace Detail {

/// The agent's ring-buffer trace, once there is one.
AGENT_EXPORT extern std::atomic< RingTrace* > agentRing_;

[[nodiscard]] AGENT_EXPORT RingTrace& makeAgentRing();

} // namespace Detail

/// The agent's ring-buffer trace, which is made at first use.
[[nodiscard]] inline RingTrace& ringTrace()
{
    RingTrace* ring = Detail::agentRing_.load( std::memory_order_acquire );
    return ring != nullptr ? *ring : Detail::makeAgentRing();
}

namespace Detail {

template< class Piece >
constexpr const char* literalOf( Piece& piece )
{
    if constexpr ( LiteralPiece< Piece > ) {
        return piece;
    } else {
        return nullptr;
    }
}

/// Records the arguments straight into the ring, if they fit.
template< class... Arguments >
[[nodiscard]] bool recordArguments( U32 description, const Arguments&... arguments ) noexcept
{
    const std::size_t size = ( std::size_t{ 0 } + ... + arguments.size );
    if ( size > RingPacker::room ) {
        return false;
    }
    ringTrace().record( description, size, [ & ]( [[maybe_unused]] std::byte* place ) {
        ( ( place = arguments.putTo( place ) ), ... );
    } );
    return true;
}

/// Records pieces of any kind, those that do not fit cut off.
template< class... Pieces >
void recordPacked( U32 description, Pieces&... pieces )
{
    RingPacker packer;
    ( packPiece( packer, pieces ), ... );
    ringTrace().record( description, packer.bytes() );
}

/// Records the pieces of a statement.
template< class... Pieces >
void recordPieces( U32 description, Pieces&... pieces )
{
    if constexpr ( ( DirectPiece< Pieces > && ... ) ) {
        if ( recordArguments( description, argumentOf( pieces )... ) ) [[likely]] {
            return;
        }
    }
    recordPacked( description, pieces... );
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
    Detail::recordPieces( offset, pieces... );
    trace( handle, level, pieces... );
}

} // namespace Agent
