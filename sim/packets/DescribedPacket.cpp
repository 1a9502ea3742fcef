#include "sim/packets/DescribedPacket.h"

#include "sim/packets/InternetChecksum.h"
#include "sim/packets/PacketNumbers.h"

#include <algorithm>
#include <utility>

namespace Sim {

namespace {

using Bytes = std::vector< std::uint8_t >;

/// What stands in an Ethernet frame, or is one.
struct Content
{
    Bytes bytes;
    std::uint16_t etherType = 0; ///< that of a frame is EtherTypes::ethernet
};

// ---- Writing -----------------------------------------------------------------------------------

void put8( Bytes& bytes, unsigned number )
{
    bytes.push_back( static_cast< std::uint8_t >( number ) );
}

void put16( Bytes& bytes, std::size_t number )
{
    put8( bytes, static_cast< unsigned >( number >> 8 ) & 0xFF );
    put8( bytes, static_cast< unsigned >( number ) & 0xFF );
}

void put32( Bytes& bytes, std::uint32_t number )
{
    put16( bytes, number >> 16 );
    put16( bytes, number & 0xFFFF );
}

void put( Bytes& bytes, std::span< const std::uint8_t > more )
{
    bytes.insert( bytes.end(), more.begin(), more.end() );
}

void set16( Bytes& bytes, std::size_t at, std::uint16_t number )
{
    bytes[ at ] = static_cast< std::uint8_t >( number >> 8 );
    bytes[ at + 1 ] = static_cast< std::uint8_t >( number );
}

// ---- Layer 4 -----------------------------------------------------------------------------------

/// The sum of the pseudo header (RFC 9293, RFC 8200).
InternetChecksum
pseudoHeader( const DescribedLayer& layer, std::uint8_t protocol, std::size_t size )
{
    InternetChecksum sum;
    sum.add( layer.source.bytes() );
    sum.add( layer.destination.bytes() );
    sum.add( std::uint32_t{ protocol } );
    sum.add( static_cast< std::uint32_t >( size ) );
    return sum;
}

std::uint16_t
checksumWithPseudoHeader( const DescribedLayer& layer, std::uint8_t protocol, const Bytes& bytes )
{
    InternetChecksum sum = pseudoHeader( layer, protocol, bytes.size() );
    sum.add( bytes );
    return sum.value();
}

/// CRC32c, as SCTP has it (RFC 9260, appendix A).
std::uint32_t crc32c( const Bytes& bytes )
{
    std::uint32_t crc = 0xFFFFFFFF;
    for ( const std::uint8_t byte : bytes ) {
        crc ^= byte;
        for ( int bit = 0; bit < 8; ++bit ) {
            crc = crc >> 1 ^ ( ( crc & 1 ) != 0 ? 0x82F63B78 : 0 );
        }
    }
    return ~crc;
}

Bytes tcpSegment( const DescribedLayer& layer, const Bytes& payload )
{
    constexpr unsigned headerWords = 5;
    Bytes bytes;
    put16( bytes, layer.sourcePort );
    put16( bytes, layer.destinationPort );
    put32( bytes, 0 ); // sequence number
    put32( bytes, 0 ); // acknowledgment number
    put16( bytes, headerWords << 12 | layer.tcpFlags );
    put16( bytes, layer.window );
    put32( bytes, 0 ); // checksum, urgent pointer
    put( bytes, payload );
    set16( bytes, 16, checksumWithPseudoHeader( layer, IpProtocols::tcp, bytes ) );
    return bytes;
}

enum class UdpChecksum
{
    filledIn,
    zeroInIp4, ///< as tunnels send it (RFC 7348, RFC 8926)
};

Bytes udpDatagram( const DescribedLayer& layer, const Bytes& payload, UdpChecksum checksum )
{
    Bytes bytes;
    put16( bytes, layer.sourcePort );
    put16( bytes, layer.destinationPort );
    put16( bytes, 8 + payload.size() );
    put16( bytes, 0 );
    put( bytes, payload );
    if ( checksum == UdpChecksum::filledIn || isIp6( layer ) ) {
        const std::uint16_t sum = checksumWithPseudoHeader( layer, IpProtocols::udp, bytes );
        set16( bytes, 6, sum == 0 ? 0xFFFF : sum ); // 0 says that there is none (RFC 768)
    }
    return bytes;
}

Bytes sctpPacket( const DescribedLayer& layer, const Bytes& payload )
{
    Bytes bytes;
    put16( bytes, layer.sourcePort );
    put16( bytes, layer.destinationPort );
    put32( bytes, 0 ); // verification tag
    put32( bytes, 0 );
    put( bytes, payload );
    const std::uint32_t crc = crc32c( bytes );
    for ( std::size_t i = 0; i < 4; ++i ) {
        bytes[ 8 + i ] = static_cast< std::uint8_t >( crc >> 8 * i ); // the least significant first
    }
    return bytes;
}

Bytes icmpMessage( const DescribedLayer& layer, const Bytes& payload )
{
    Bytes bytes;
    put8( bytes, layer.type );
    put8( bytes, layer.code );
    put16( bytes, 0 );
    put32( bytes, 0 ); // identifier and sequence number, or as the type has it
    put( bytes, payload );
    InternetChecksum sum;
    if ( layer.kind == PacketKind::icmp6 ) {
        sum = pseudoHeader( layer, IpProtocols::icmp6, bytes.size() );
    }
    sum.add( bytes );
    set16( bytes, 2, sum.value() );
    return bytes;
}

Bytes greTunnel( const DescribedLayer& layer, const Content& content )
{
    constexpr unsigned hasKey = 0x2000;
    Bytes bytes;
    put16( bytes, layer.key ? hasKey : 0 );
    put16( bytes, content.etherType );
    if ( layer.key ) {
        put32( bytes, *layer.key );
    }
    put( bytes, content.bytes );
    return bytes;
}

Bytes vxlanTunnel( const DescribedLayer& layer, const Bytes& frame )
{
    constexpr std::uint32_t vniIsValid = 0x08000000;
    Bytes bytes;
    put32( bytes, vniIsValid );
    put32( bytes, layer.vni << 8 );
    put( bytes, frame );
    return bytes;
}

Bytes geneveTunnel( const DescribedLayer& layer, const Bytes& frame )
{
    Bytes bytes;
    put32( bytes, EtherTypes::ethernet );
    put32( bytes, layer.vni << 8 );
    put( bytes, frame );
    return bytes;
}

std::uint8_t protocolOf( const DescribedLayer& layer, const Content& content )
{
    switch ( layer.kind ) {
    case PacketKind::tcp:
        return IpProtocols::tcp;
    case PacketKind::udp:
    case PacketKind::vxlan:
    case PacketKind::geneve:
        return IpProtocols::udp;
    case PacketKind::sctp:
        return IpProtocols::sctp;
    case PacketKind::icmp:
        return IpProtocols::icmp;
    case PacketKind::icmp6:
        return IpProtocols::icmp6;
    case PacketKind::gre:
        return IpProtocols::gre;
    case PacketKind::ipInIp:
        return content.etherType == EtherTypes::ip6 ? IpProtocols::ip6 : IpProtocols::ip4;
    default:
        return layer.protocol;
    }
}

/// What stands behind the IP header.
Bytes layer4Of( const DescribedLayer& layer, const Content& content )
{
    if ( layer.fragmentOffset != 0 ) {
        return content.bytes;
    }
    switch ( layer.kind ) {
    case PacketKind::tcp:
        return tcpSegment( layer, content.bytes );
    case PacketKind::udp:
        return udpDatagram( layer, content.bytes, UdpChecksum::filledIn );
    case PacketKind::sctp:
        return sctpPacket( layer, content.bytes );
    case PacketKind::icmp:
    case PacketKind::icmp6:
        return icmpMessage( layer, content.bytes );
    case PacketKind::gre:
        return greTunnel( layer, content );
    case PacketKind::vxlan:
        return udpDatagram( layer, vxlanTunnel( layer, content.bytes ), UdpChecksum::zeroInIp4 );
    case PacketKind::geneve:
        return udpDatagram( layer, geneveTunnel( layer, content.bytes ), UdpChecksum::zeroInIp4 );
    default:
        return content.bytes;
    }
}

// ---- Layers 3 and 2 ----------------------------------------------------------------------------

Bytes ip4Packet( const DescribedLayer& layer, std::uint8_t protocol, const Bytes& layer4 )
{
    const std::size_t headerLength = 20 + layer.options.size();
    const unsigned flags =
        ( layer.dontFragment ? 0x4000U : 0U ) | ( layer.moreFragments ? 0x2000U : 0U );
    Bytes bytes;
    put8( bytes, 0x40U | static_cast< unsigned >( headerLength / 4 ) );
    put8( bytes, unsigned{ layer.dscp } << 2 | layer.ecn );
    put16( bytes, headerLength + layer4.size() );
    put16( bytes, layer.identification );
    put16( bytes, flags | layer.fragmentOffset / 8 );
    put8( bytes, layer.ttl );
    put8( bytes, protocol );
    put16( bytes, 0 );
    put( bytes, layer.source.bytes() );
    put( bytes, layer.destination.bytes() );
    put( bytes, layer.options );
    InternetChecksum sum;
    sum.add( bytes );
    set16( bytes, 10, sum.value() );
    put( bytes, layer4 );
    return bytes;
}

Bytes ip6Packet( const DescribedLayer& layer, std::uint8_t protocol, const Bytes& layer4 )
{
    const unsigned trafficClass = unsigned{ layer.dscp } << 2 | layer.ecn;
    Bytes bytes;
    put32( bytes, 6U << 28 | trafficClass << 20 | layer.flowLabel );
    put16( bytes, layer4.size() + ( layer.isFragment ? 8 : 0 ) );
    put8( bytes, layer.isFragment ? IpProtocols::fragment : protocol );
    put8( bytes, layer.ttl );
    put( bytes, layer.source.bytes() );
    put( bytes, layer.destination.bytes() );
    if ( layer.isFragment ) {
        put8( bytes, protocol );
        put8( bytes, 0 );
        put16( bytes, layer.fragmentOffset | ( layer.moreFragments ? 1U : 0U ) );
        put32( bytes, layer.identification );
    }
    put( bytes, layer4 );
    return bytes;
}

/// The MAC address that a group has (RFC 1112, RFC 2464), or the one of every other destination.
PacketMac destinationMacOf( const DescribedLayer& layer )
{
    const auto& to = layer.destination.all;
    constexpr PacketMac station{ 0x02, 0, 0, 0, 0, 0x02 };
    constexpr PacketMac everybody{ 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF };
    if ( layer.destinationMac ) {
        return *layer.destinationMac;
    }
    if ( isWithoutIp( layer ) ) {
        return layer.kind == PacketKind::arp && layer.arpOperation == 1 ? everybody : station;
    }
    if ( isIp6( layer ) ) {
        return to[ 0 ] == 0xFF ? PacketMac{ 0x33, 0x33, to[ 12 ], to[ 13 ], to[ 14 ], to[ 15 ] }
                               : station;
    }
    if ( std::ranges::all_of( layer.destination.bytes(), []( auto b ) { return b == 0xFF; } ) ) {
        return everybody;
    }
    const auto second = static_cast< std::uint8_t >( to[ 1 ] & 0x7F );
    return to[ 0 ] >> 4 == 0xE ? PacketMac{ 0x01, 0x00, 0x5E, second, to[ 2 ], to[ 3 ] } : station;
}

PacketMac sourceMacOf( const DescribedLayer& layer )
{
    return layer.sourceMac.value_or( PacketMac{ 0x02, 0, 0, 0, 0, 0x01 } );
}

Content arpMessage( const DescribedLayer& layer, const Bytes& trailer )
{
    const bool isAnswer = layer.arpOperation == 2;
    Bytes bytes;
    put16( bytes, 1 ); // Ethernet
    put16( bytes, EtherTypes::ip4 );
    put16( bytes, 0x0604 ); // how long their addresses are
    put16( bytes, layer.arpOperation );
    put( bytes, sourceMacOf( layer ) );
    put( bytes, layer.source.bytes() );
    put( bytes, isAnswer ? destinationMacOf( layer ) : PacketMac{} );
    put( bytes, layer.destination.bytes() );
    put( bytes, trailer );
    return { bytes, EtherTypes::arp };
}

Content layer3Of( const DescribedLayer& layer, const Content& content )
{
    if ( layer.kind == PacketKind::ethernet ) {
        return { content.bytes, layer.etherType };
    }
    if ( layer.kind == PacketKind::arp ) {
        return arpMessage( layer, content.bytes );
    }
    const std::uint8_t protocol = protocolOf( layer, content );
    const Bytes layer4 = layer4Of( layer, content );
    return isIp6( layer ) ? Content{ ip6Packet( layer, protocol, layer4 ), EtherTypes::ip6 }
                          : Content{ ip4Packet( layer, protocol, layer4 ), EtherTypes::ip4 };
}

Content withLabels( const DescribedLayer& layer, Content content )
{
    if ( layer.labels.empty() ) {
        return content;
    }
    Bytes bytes;
    for ( std::size_t i = 0; i < layer.labels.size(); ++i ) {
        const bool isBottom = i + 1 == layer.labels.size();
        put32( bytes, layer.labels[ i ] << 12 | ( isBottom ? 0x100U : 0U ) | layer.ttl );
    }
    put( bytes, content.bytes );
    return { bytes, EtherTypes::mpls };
}

Content frameOf( const DescribedLayer& layer, const Content& content )
{
    Bytes bytes;
    put( bytes, destinationMacOf( layer ) );
    put( bytes, sourceMacOf( layer ) );
    for ( std::size_t i = 0; i < layer.tags.size(); ++i ) {
        const bool isLast = i + 1 == layer.tags.size();
        put16( bytes, isLast ? EtherTypes::customerTag : EtherTypes::serviceTag );
        put16( bytes, std::size_t{ layer.tags[ i ].priority } << 13 | layer.tags[ i ].vlan );
    }
    put16( bytes, content.etherType );
    put( bytes, content.bytes );
    return { bytes, EtherTypes::ethernet };
}

/// Whether a layer goes into a tunnel, or out to the wire, as an Ethernet frame.
bool isFramed( const DescribedLayer& layer, const DescribedLayer* around )
{
    if ( around == nullptr || around->kind == PacketKind::vxlan ||
         around->kind == PacketKind::geneve ) {
        return true;
    }
    return around->kind == PacketKind::gre && needsEthernet( layer );
}

} // namespace

std::vector< std::uint8_t > bytesOf( const DescribedPacket& packet )
{
    Content content{ packet.payload, 0 };
    for ( std::size_t i = 0; i < packet.layers.size(); ++i ) {
        const DescribedLayer& layer = packet.layers[ i ];
        const DescribedLayer* const around =
            i + 1 < packet.layers.size() ? &packet.layers[ i + 1 ] : nullptr;
        content = withLabels( layer, layer3Of( layer, content ) );
        if ( isFramed( layer, around ) ) {
            content = frameOf( layer, content );
        }
    }
    return content.bytes;
}

} // namespace Sim
