#include "agent/base/RingTrace.h"

#include "agent/base/Assert.h"

#include <algorithm>
#include <chrono>
#include <string>

namespace Agent {

namespace {

constexpr U32 recordAlignment = 8;
constexpr U32 recordRoomOfAgent = 1U << 20;
constexpr U32 descriptionRoomOfAgent = 1U << 16;

constexpr U32 roundUp( std::size_t size )
{
    return static_cast< U32 >( ( size + recordAlignment - 1 ) / recordAlignment * recordAlignment );
}

/// A description as it stands in the block: size of the whole, line, then file, function and
/// pieces as terminated strings; the piece "\1" stands for an argument.
std::string descriptionBytes( const CallLocation& location, RingPieces pieces )
{
    std::string text;
    const auto addString = [ &text ]( const char* string ) {
        text.append( string );
        text.push_back( '\0' );
    };
    addString( location.file );
    addString( location.function );
    for ( const char* piece : pieces ) {
        addString( piece == nullptr ? "\1" : piece );
    }
    const U32 size = roundUp( 2 * sizeof( U32 ) + text.size() );
    text.resize( size - 2 * sizeof( U32 ) );
    std::string bytes( 2 * sizeof( U32 ), '\0' );
    std::memcpy( bytes.data(), &size, sizeof( size ) );
    std::memcpy( bytes.data() + sizeof( size ), &location.line, sizeof( location.line ) );
    return bytes + text;
}

U64 nowInNanoseconds()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast< U64 >( std::chrono::nanoseconds( now ).count() );
}

/// Ticks for which a reading of the clock is good: at first, and at most, some tenth of a second.
constexpr U64 shortestLifetime = 1U << 10;
constexpr U64 longestLifetime = 1U << 28;

/// A reading of the clock and of the counter of ticks.
struct Reading
{
    U64 nanoseconds;
    U64 ticks;
};

/// Reads both together: again, but not for ever, when something came between the two.
Reading readBoth()
{
    constexpr U64 together = 1U << 12;
    Reading reading{};
    for ( int attempts = 4; attempts > 0; --attempts ) {
        const U64 before = tickCount();
        reading.nanoseconds = nowInNanoseconds();
        reading.ticks = tickCount();
        if ( reading.ticks - before <= together ) {
            break;
        }
    }
    return reading;
}

} // namespace

namespace Detail {

constinit std::atomic< RingTrace* > agentRing_{ nullptr };

RingTrace& makeAgentRing()
{
    static RingTrace& instance = *new RingTrace( recordRoomOfAgent, descriptionRoomOfAgent );
    agentRing_.store( &instance, std::memory_order_release );
    return instance;
}

} // namespace Detail

RingTrace::RingTrace( U32 recordBytes, U32 descriptionRoom, bool countsTicks )
    : size_( sizeof( RingHeader ) + roundUp( descriptionRoom ) + roundUp( recordBytes ) )
    , block_( std::make_unique< std::byte[] >( size_ ) )
    , records_( block_.get() + sizeof( RingHeader ) + roundUp( descriptionRoom ) )
    , recordsSize_( roundUp( recordBytes ) )
    , room_( recordsSize_ )
{
    AGENT_ASSERT( recordBytes >= 2048 && descriptionRoom >= 16 );
    new ( block_.get() ) RingHeader{ ringMagic,
                                     sizeof( RingHeader ),
                                     roundUp( descriptionRoom ),
                                     0,
                                     roundUp( recordBytes ),
                                     0,
                                     0,
                                     0,
                                     0,
                                     0 };
    if ( countsTicks ) {
        const Reading first = readBoth();
        readingTime_ = first.nanoseconds;
        readingTicks_ = first.ticks;
        readingLifetime_ = shortestLifetime;
    }
    // Offset 0: the statement that stands for those there is no room to describe.
    static_cast< void >( describe( { "?", 0, "?" }, {} ) );
}

RingTrace::~RingTrace() = default;

U32 RingTrace::describe( const CallLocation& location, RingPieces pieces )
{
    const std::string bytes = descriptionBytes( location, pieces );
    std::byte* descriptions = block_.get() + sizeof( RingHeader );
    U32 offset = 0;
    while ( offset < header().descriptionsUsed ) {
        U32 size = 0;
        std::memcpy( &size, descriptions + offset, sizeof( size ) );
        if ( size == bytes.size() &&
             std::memcmp( descriptions + offset, bytes.data(), size ) == 0 ) {
            return offset;
        }
        offset += size;
    }
    if ( offset + bytes.size() > header().descriptionsSize ) {
        return 0;
    }
    std::memcpy( descriptions + offset, bytes.data(), bytes.size() );
    header().descriptionsUsed = offset + static_cast< U32 >( bytes.size() );
    return offset;
}

void RingTrace::record( U32 description, std::span< const std::byte > arguments ) noexcept
{
    AGENT_ASSERT( arguments.size() <= RingPacker::room );
    record( description, arguments.size(), [ arguments ]( std::byte* place ) {
        if ( !arguments.empty() ) {
            std::memcpy( place, arguments.data(), arguments.size() );
        }
    } );
}

void RingTrace::pad() noexcept
{
    const U32 size = recordsSize_ - nextPlace_;
    makeRoomFor( size );
    // Only the first two members: there may be room for no more than 8 bytes.
    const std::array< U32, 2 > start = { size, ringPadding };
    std::memcpy( records_ + nextPlace_, start.data(), sizeof( start ) );
    added( size );
}

void RingTrace::readClock() noexcept
{
    if ( readingLifetime_ == 0 ) {
        readingTime_ = nowInNanoseconds();
        return;
    }
    const Reading reading = readBoth();
    RingHeader& ring = header();
    ring.ticks = reading.ticks - readingTicks_;
    ring.nanoseconds = reading.nanoseconds - readingTime_;
    // No longer than twice what was measured: what is measured badly would be far off in the end.
    readingLifetime_ = std::clamp( 2 * ring.ticks, shortestLifetime, longestLifetime );
    readingTime_ = reading.nanoseconds;
    readingTicks_ = reading.ticks;
}

std::span< const std::byte > RingTrace::image() const noexcept
{
    return { block_.get(), size_ };
}

} // namespace Agent
