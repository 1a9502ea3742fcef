// Layer 4, and the tunnels that begin there.

#include "sim/packets/HeaderReader.h"
#include "sim/packets/PacketNumbers.h"

namespace Sim {

void HeaderReader::readLayer4( LayerHeaders& layer, std::size_t at )
{
    layer.l4 = offset( at );
    switch ( layer.protocol ) {
    case IpProtocols::tcp:
        return readTcp( layer, at );
    case IpProtocols::udp:
    case IpProtocols::udpLite:
        return readFixedLayer4( layer, at, 8 );
    case IpProtocols::sctp:
        return readFixedLayer4( layer, at, 12 );
    case IpProtocols::dccp:
        return readPorts( layer, at );
    case IpProtocols::icmp:
    case IpProtocols::icmp6:
    case IpProtocols::igmp:
        return readTypeCode( layer, at );
    default:
        return;
    }
}

void HeaderReader::readTypeCode( LayerHeaders& layer, std::size_t at )
{
    if ( require( at, 2 ) ) {
        layer.hasTypeCode = true;
        layer.type = byte( at );
        layer.code = byte( at + 1 );
    }
}

void HeaderReader::readPorts( LayerHeaders& layer, std::size_t at )
{
    if ( require( at, 4 ) ) {
        layer.hasPorts = true;
        layer.sourcePort = number16( at );
        layer.destinationPort = number16( at + 2 );
    }
}

void HeaderReader::readTcp( LayerHeaders& layer, std::size_t at )
{
    readPorts( layer, at );
    if ( !require( at, 14 ) ) {
        return;
    }
    layer.hasTcpControl = true;
    layer.tcpControl = number16( at + 12 );
    if ( !require( at, 16 ) ) {
        return;
    }
    layer.tcpWindow = number16( at + 14 );
    const std::size_t headerLength = ( layer.tcpControl >> 12 ) * std::size_t{ 4 };
    if ( headerLength < 20 ) {
        headers_.malformed = true;
    } else if ( require( at, headerLength ) ) {
        layer.l4HeaderLength = static_cast< std::uint16_t >( headerLength );
        layer.l4Payload = offset( at + headerLength );
    }
}

void HeaderReader::readFixedLayer4( LayerHeaders& layer, std::size_t at, std::uint16_t length )
{
    readPorts( layer, at );
    if ( require( at, length ) ) {
        layer.l4HeaderLength = length;
        layer.l4Payload = offset( at + length );
    }
}

// ---- Tunnels -----------------------------------------------------------------------------------

void HeaderReader::readTunnel()
{
    const LayerHeaders& outer = headers_.outer;
    if ( outer.l4 == absentOffset ) {
        return;
    }
    switch ( outer.protocol ) {
    case IpProtocols::gre:
        return readGre( outer.l4 );
    case IpProtocols::ip4:
        headers_.tunnel.kind = TunnelKind::ipInIp;
        headers_.tunnel.payload = outer.l4;
        return readIp4( headers_.inner, outer.l4 );
    case IpProtocols::ip6:
        headers_.tunnel.kind = TunnelKind::ipInIp;
        headers_.tunnel.payload = outer.l4;
        return readIp6( headers_.inner, outer.l4 );
    case IpProtocols::udp:
        return readUdpTunnel( std::size_t{ outer.l4 } + 8 );
    default:
        return;
    }
}

// RFC 2784 and RFC 2890. Version 1 is that of PPTP (RFC 2637), which carries PPP.
void HeaderReader::readGre( std::size_t at )
{
    TunnelHeader& tunnel = headers_.tunnel;
    if ( !require( at, 4 ) ) {
        return;
    }
    tunnel.kind = TunnelKind::gre;
    tunnel.header = offset( at );
    tunnel.greFlags = number16( at );
    tunnel.protocol = number16( at + 2 );
    constexpr unsigned hasRouting = 0x4000; // RFC 1701
    if ( tunnel.greVersion() != 0 || ( tunnel.greFlags & hasRouting ) != 0 ) {
        return;
    }
    const std::size_t key = at + 4 + ( tunnel.greHasChecksum() ? 4 : 0 );
    const std::size_t sequence = key + ( tunnel.greHasKey() ? 4 : 0 );
    const std::size_t payload = sequence + ( tunnel.greHasSequence() ? 4 : 0 );
    if ( !require( at, payload - at ) ) {
        return;
    }
    tunnel.greKey = tunnel.greHasKey() ? number32( key ) : 0;
    tunnel.greSequence = tunnel.greHasSequence() ? number32( sequence ) : 0;
    readTunnelPayload( payload );
}

void HeaderReader::readUdpTunnel( std::size_t at )
{
    const LayerHeaders& outer = headers_.outer;
    if ( outer.l4HeaderLength == 0 ) {
        return;
    }
    switch ( outer.destinationPort ) {
    case UdpPorts::vxlan:
        return readVxlan( at );
    case UdpPorts::geneve:
        return readGeneve( at );
    case UdpPorts::mpls:
        headers_.tunnel.kind = TunnelKind::mplsInUdp;
        headers_.tunnel.payload = offset( at );
        return readMpls( headers_.inner, at );
    default:
        return;
    }
}

void HeaderReader::readVxlan( std::size_t at )
{
    TunnelHeader& tunnel = headers_.tunnel;
    if ( !require( at, 8 ) ) {
        return;
    }
    tunnel.kind = TunnelKind::vxlan;
    tunnel.header = offset( at );
    tunnel.flags = byte( at );
    tunnel.reserved = number24( at + 1 );
    tunnel.vni = number24( at + 4 );
    tunnel.lastReserved = byte( at + 7 );
    tunnel.payload = offset( at + 8 );
    readEthernet( headers_.inner, at + 8 );
}

void HeaderReader::readGeneve( std::size_t at )
{
    TunnelHeader& tunnel = headers_.tunnel;
    if ( !require( at, 8 ) ) {
        return;
    }
    tunnel.kind = TunnelKind::geneve;
    tunnel.header = offset( at );
    tunnel.flags = byte( at + 1 );
    tunnel.protocol = number16( at + 2 );
    tunnel.vni = number24( at + 4 );
    tunnel.lastReserved = byte( at + 7 );
    tunnel.optionsLength = static_cast< std::uint16_t >( ( byte( at ) & 0x3F ) * 4 );
    const unsigned version = byte( at ) >> 6;
    if ( version != 0 || !require( at, 8 + std::size_t{ tunnel.optionsLength } ) ) {
        return;
    }
    tunnel.options = tunnel.optionsLength != 0 ? offset( at + 8 ) : absentOffset;
    readTunnelPayload( at + 8 + tunnel.optionsLength );
}

// Other protocols have a header of their own, in which nothing here looks for packets.
void HeaderReader::readTunnelPayload( std::size_t at )
{
    TunnelHeader& tunnel = headers_.tunnel;
    tunnel.payload = offset( at );
    switch ( tunnel.protocol ) {
    case EtherTypes::ethernet:
        return readEthernet( headers_.inner, at );
    case EtherTypes::ip4:
    case EtherTypes::ip6:
    case EtherTypes::arp:
    case EtherTypes::mpls:
    case EtherTypes::mplsMulticast:
        headers_.inner.etherType = tunnel.protocol;
        return readPayload( headers_.inner, tunnel.protocol, at );
    default:
        return;
    }
}

} // namespace Sim
