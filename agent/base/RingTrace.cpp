#include "agent/base/RingTrace.h"

#include "agent/base/Assert.h"

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

} // namespace

RingTrace::RingTrace( U32 recordBytes, U32 descriptionRoom )
    : size_( sizeof( RingHeader ) + roundUp( descriptionRoom ) + roundUp( recordBytes ) )
    , block_( std::make_unique< std::byte[] >( size_ ) )
{
    AGENT_ASSERT( recordBytes >= 2048 && descriptionRoom >= 16 );
    new ( block_.get() ) RingHeader{ ringMagic,
                                     sizeof( RingHeader ),
                                     roundUp( descriptionRoom ),
                                     0,
                                     roundUp( recordBytes ),
                                     0,
                                     0,
                                     0 };
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
    RingHeader& ring = header();
    const U32 size = roundUp( sizeof( RingRecord ) + arguments.size() );
    if ( nextPlace_ + size > ring.recordsSize ) {
        pad();
    }
    dropOldestUntil( ring.next + size );
    const RingRecord start{
        size, description, nowInNanoseconds(), static_cast< U32 >( arguments.size() ), 0 };
    std::byte* place = recordAt( nextPlace_ );
    std::memcpy( place, &start, sizeof( start ) );
    if ( !arguments.empty() ) {
        std::memcpy( place + sizeof( start ), arguments.data(), arguments.size() );
    }
    nextPlace_ = placeAfter( nextPlace_, size );
    ring.next += size;
    ++ring.count;
}

void RingTrace::pad() noexcept
{
    RingHeader& ring = header();
    const U32 size = ring.recordsSize - nextPlace_;
    dropOldestUntil( ring.next + size );
    // Only the first two members: there may be room for no more than 8 bytes.
    const std::array< U32, 2 > start = { size, ringPadding };
    std::memcpy( recordAt( nextPlace_ ), start.data(), sizeof( start ) );
    nextPlace_ = 0;
    ring.next += size;
}

void RingTrace::dropOldestUntil( U64 position ) noexcept
{
    RingHeader& ring = header();
    while ( position - ring.oldest > ring.recordsSize ) {
        U32 size = 0;
        std::memcpy( &size, recordAt( oldestPlace_ ), sizeof( size ) );
        oldestPlace_ = placeAfter( oldestPlace_, size );
        ring.oldest += size;
    }
}

std::span< const std::byte > RingTrace::image() const noexcept
{
    return { block_.get(), size_ };
}

RingTrace& ringTrace()
{
    static RingTrace& instance = *new RingTrace( recordRoomOfAgent, descriptionRoomOfAgent );
    return instance;
}

} // namespace Agent
