#include "tests/packets/PacketHeaders.h"

#include <stdexcept>

namespace PacketTest {

namespace {

/// The packet, read with a check that it is long enough.
class Reader
{
  public:
    struct Truncated : std::runtime_error
    {
        Truncated()
            : std::runtime_error( "the packet ends within a header" )
        {}
    };

    explicit Reader( std::span< const std::uint8_t > packet )
        : packet_( packet )
    {}

    [[nodiscard]] std::uint8_t byte( std::size_t at ) const
    {
        if ( at >= packet_.size() ) {
            throw Truncated();
        }
        return packet_[ at ];
    }

    [[nodiscard]] std::uint16_t number( std::size_t at ) const
    {
        return static_cast< std::uint16_t >( byte( at ) << 8 | byte( at + 1 ) );
    }

    void require( std::size_t end ) const
    {
        if ( end > packet_.size() ) {
            throw Truncated();
        }
    }

  private:
    std::span< const std::uint8_t > packet_;
};

bool isVlanTag( std::uint16_t ethType )
{
    return ethType == 0x8100 || ethType == 0x88A8 || ethType == 0x9100;
}

void walkL4( const Reader& packet, LayerHeaders& layer )
{
    layer.l4 = layer.l3End;
    if ( layer.ipProto == 6 ) {
        const std::size_t length = ( packet.byte( *layer.l4 + 12 ) >> 4 ) * std::size_t{ 4 };
        if ( length < 20 ) {
            return;
        }
        layer.l4Extra = length - 20;
        layer.l4End = *layer.l4 + length;
    }
    if ( layer.ipProto == 17 ) {
        layer.l4End = *layer.l4 + 8;
    }
    packet.require( layer.l4End.value_or( *layer.l4 ) );
}

void walkIp4( const Reader& packet, LayerHeaders& layer )
{
    const std::size_t length = ( packet.byte( layer.l3 ) & 0xF ) * std::size_t{ 4 };
    if ( packet.byte( layer.l3 ) >> 4 != 4 || length < 20 ) {
        return;
    }
    packet.require( layer.l3 + length );
    layer.l3End = layer.l3 + length;
    layer.l3Extra = length - 20;
    layer.ipProto = packet.byte( layer.l3 + 9 );
    const bool isLaterFragment = ( packet.number( layer.l3 + 6 ) & 0x1FFF ) != 0;
    if ( !isLaterFragment ) {
        walkL4( packet, layer );
    }
}

void walkIp6( const Reader& packet, LayerHeaders& layer )
{
    if ( packet.byte( layer.l3 ) >> 4 != 6 ) {
        return;
    }
    constexpr std::uint8_t hopByHop = 0;
    constexpr std::uint8_t routing = 43;
    constexpr std::uint8_t fragment = 44;
    constexpr std::uint8_t destination = 60;
    std::size_t at = layer.l3 + 40;
    packet.require( at );
    std::uint8_t next = packet.byte( layer.l3 + 6 );
    bool isLaterFragment = false;
    while ( next == hopByHop || next == routing || next == fragment || next == destination ) {
        isLaterFragment |= next == fragment && packet.number( at + 2 ) >> 3 != 0;
        const std::size_t units = next == fragment ? 0 : packet.byte( at + 1 );
        next = packet.byte( at );
        at += ( units + 1 ) * 8;
    }
    packet.require( at );
    layer.l3End = at;
    layer.l3Extra = at - layer.l3 - 40;
    layer.ipProto = next;
    if ( !isLaterFragment ) {
        walkL4( packet, layer );
    }
}

void walkLayer( const Reader& packet, LayerHeaders& layer )
{
    if ( layer.ethType == 0x0800 ) {
        walkIp4( packet, layer );
    } else if ( layer.ethType == 0x86DD ) {
        walkIp6( packet, layer );
    }
}

void walkGre( const Reader& packet, PacketHeaders& headers )
{
    const std::size_t gre = *headers.outer.l4;
    const std::uint16_t flags = packet.number( gre );
    headers.greEthType = packet.number( gre + 2 );
    if ( headers.greEthType != 0x0800 && headers.greEthType != 0x86DD ) {
        return;
    }
    std::size_t length = 4;
    for ( const unsigned flag : { 0x8000U, 0x2000U, 0x1000U } ) { // checksum, key, sequence
        length += ( flags & flag ) != 0 ? 4 : 0;
    }
    LayerHeaders inner;
    inner.ethType = *headers.greEthType;
    inner.l3 = gre + length;
    walkLayer( packet, inner );
    headers.inner = inner;
}

PacketHeaders walk( const Reader& packet )
{
    PacketHeaders headers;
    std::size_t at = 12;
    while ( isVlanTag( packet.number( at ) ) ) {
        ++headers.vlanTags;
        at += 4;
    }
    headers.outer.ethType = packet.number( at );
    headers.outer.l3 = at + 2;
    walkLayer( packet, headers.outer );
    if ( headers.outer.l4 && headers.outer.ipProto == 47 ) {
        walkGre( packet, headers );
    }
    return headers;
}

} // namespace

std::optional< PacketHeaders > headersOf( std::span< const std::uint8_t > packet )
{
    constexpr std::uint16_t firstEthType = 0x0600; // Smaller ones are lengths.
    try {
        const PacketHeaders headers = walk( Reader( packet ) );
        return headers.outer.ethType < firstEthType ? std::nullopt : std::optional( headers );
    } catch ( const Reader::Truncated& ) {
        return std::nullopt;
    }
}

} // namespace PacketTest
