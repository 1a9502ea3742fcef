#include "tools/traffic/TraceFile.h"

#include "input/InputError.h"
#include "input/InputText.h"
#include "sim/packets/InternetChecksum.h"
#include "sim/packets/PacketNumbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <span>

namespace Tool {

namespace {

// ---- Reading -----------------------------------------------------------------------------------

/// Reads one line of a trace, column by column.
class TraceLine
{
  public:
    TraceLine( std::string_view text, const std::string& file, int number )
        : text_( text )
        , file_( file )
        , number_( number )
    {}

    /// Reads the next column into `value`, which is called `what`.
    template< class Number >
    void read( Number& value, const char* what )
    {
        skipBlanks();
        const char* const begin = text_.data() + at_;
        const char* const end = text_.data() + text_.size();
        const auto result = std::from_chars( begin, end, value );
        const bool isWhole = result.ptr == end || isBlank( *result.ptr );
        if ( result.ec != std::errc() || !isWhole ) {
            fail( what, std::numeric_limits< Number >::max() );
        }
        at_ += static_cast< std::size_t >( result.ptr - begin );
    }

    /// Whether there is one more column.
    [[nodiscard]] bool hasMore()
    {
        skipBlanks();
        return at_ != text_.size();
    }

  private:
    static bool isBlank( char letter ) { return letter == ' ' || letter == '\t'; }

    void skipBlanks()
    {
        while ( at_ != text_.size() && isBlank( text_[ at_ ] ) ) {
            ++at_;
        }
    }

    [[noreturn]] void fail( const char* what, std::uint64_t greatest ) const
    {
        throw Input::InputError( file_, number_, static_cast< int >( at_ ) + 1,
                                 std::string( "expected " ) + what + ", a number from 0 to " +
                                     std::to_string( greatest ) );
    }

    std::string_view text_;
    const std::string& file_;
    int number_;
    std::size_t at_ = 0;
};

TracePacket packetOfLine( TraceLine line )
{
    TracePacket packet;
    line.read( packet.source, "the source address" );
    line.read( packet.destination, "the destination address" );
    line.read( packet.sourcePort, "the source port" );
    line.read( packet.destinationPort, "the destination port" );
    line.read( packet.protocol, "the protocol" );
    packet.hasFlags = line.hasMore();
    if ( packet.hasFlags ) {
        line.read( packet.flags, "the flags" );
    }
    return packet;
}

// ---- Bytes -------------------------------------------------------------------------------------

using Bytes = std::vector< std::uint8_t >;

constexpr std::size_t ipOffset = 14;
constexpr std::size_t layer4Offset = 34;
constexpr std::size_t ipHeaderLength = layer4Offset - ipOffset;

/// What every packet begins with: MAC addresses, EtherType, and an IPv4 header without length,
/// protocol, checksum and addresses.
constexpr std::array< std::uint8_t, layer4Offset > beginning{
    0x02, 0, 0, 0, 0, 0x02, 0x02, 0, 0,  0, 0, 0x01, 0x08, 0x00, // Ethernet
    0x45, 0, 0, 0, 0, 0,    0,    0, 64,                         // up to the time to live
};

void set16( Bytes& bytes, std::size_t at, std::size_t number )
{
    bytes[ at ] = static_cast< std::uint8_t >( number >> 8 );
    bytes[ at + 1 ] = static_cast< std::uint8_t >( number );
}

void set32( Bytes& bytes, std::size_t at, std::uint32_t number )
{
    set16( bytes, at, number >> 16 );
    set16( bytes, at + 2, number );
}

std::size_t layer4Length( std::uint8_t protocol )
{
    switch ( protocol ) {
    case Sim::IpProtocols::tcp:
        return 20;
    case Sim::IpProtocols::sctp:
        return 12;
    case Sim::IpProtocols::udp:
    case Sim::IpProtocols::icmp:
        return 8;
    default:
        return 0;
    }
}

void writeLayer4( const TracePacket& from, Bytes& bytes )
{
    if ( from.protocol == Sim::IpProtocols::icmp ) {
        set16( bytes, layer4Offset, from.flags );
        return;
    }
    if ( layer4Length( from.protocol ) == 0 ) {
        return;
    }
    set16( bytes, layer4Offset, from.sourcePort );
    set16( bytes, layer4Offset + 2, from.destinationPort );
    if ( from.protocol == Sim::IpProtocols::udp ) {
        set16( bytes, layer4Offset + 4, 8 );
    }
    if ( from.protocol == Sim::IpProtocols::tcp ) {
        constexpr std::size_t fiveWords = 0x5000;
        set16( bytes, layer4Offset + 12, fiveWords | from.flags >> 8 );
    }
}

} // namespace

std::vector< TracePacket > parseTrace( std::string_view text, const std::string& file )
{
    std::vector< TracePacket > packets;
    constexpr std::size_t shortLine = 32;
    packets.reserve( text.size() / shortLine );
    int number = 0;
    while ( !text.empty() ) {
        const std::size_t end = std::min( text.find( '\n' ), text.size() );
        std::string_view line = text.substr( 0, end );
        line.remove_suffix( line.ends_with( '\r' ) ? 1 : 0 );
        packets.push_back( packetOfLine( { line, file, ++number } ) );
        text.remove_prefix( std::min( end + 1, text.size() ) );
    }
    return packets;
}

std::vector< TracePacket > readTrace( const std::string& path )
{
    return parseTrace( Input::inputFileText( path ), path );
}

void writePacket( const TracePacket& from, Sim::Packet& packet )
{
    Bytes& bytes = packet.bytes;
    const std::size_t length = layer4Length( from.protocol );
    bytes.assign( beginning.begin(), beginning.end() );
    bytes.resize( layer4Offset + length );
    set16( bytes, ipOffset + 2, ipHeaderLength + length );
    bytes[ ipOffset + 9 ] = from.protocol;
    set32( bytes, ipOffset + 12, from.source );
    set32( bytes, ipOffset + 16, from.destination );
    Sim::InternetChecksum sum;
    sum.add( std::span( bytes ).subspan( ipOffset, ipHeaderLength ) );
    set16( bytes, ipOffset + 10, sum.value() );
    writeLayer4( from, bytes );
    packet.wireLength = static_cast< std::uint32_t >( bytes.size() );
}

Sim::Packet packetOf( const TracePacket& from )
{
    Sim::Packet packet;
    writePacket( from, packet );
    return packet;
}

} // namespace Tool
