#include "tests/tools/traffic/ComparedFields.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>

namespace TrafficTest {

namespace {

using Sim::L2Format;
using Sim::L3Kind;
using Sim::LayerHeaders;
using Sim::TunnelKind;

// ---- Which headers there are -------------------------------------------------------------------

bool isIp4( const LayerHeaders& layer )
{
    return layer.l3Kind == L3Kind::ip4;
}

bool isIp6( const LayerHeaders& layer )
{
    return layer.l3Kind == L3Kind::ip6;
}

bool isArp( const LayerHeaders& layer )
{
    return layer.arpSourceMac != Sim::absentOffset;
}

bool hasL2( const LayerHeaders& layer )
{
    return layer.l2Format != L2Format::none;
}

bool hasLlc( const LayerHeaders& layer )
{
    return layer.llc != Sim::absentOffset;
}

bool isIp6Fragment( const LayerHeaders& layer )
{
    return isIp6( layer ) && std::ranges::any_of( layer.extensionHeader, []( const auto& header ) {
               return header.type == 44 && header.offset != Sim::absentOffset;
           } );
}

bool hasRouting( const LayerHeaders& layer )
{
    return layer.routingHeader != Sim::absentOffset;
}

template< int protocol >
bool hasPorts( const LayerHeaders& layer )
{
    return layer.hasPorts && layer.protocol == protocol;
}

template< int protocol >
bool hasTypeCode( const LayerHeaders& layer )
{
    return layer.hasTypeCode && layer.protocol == protocol;
}

bool isTcp( const LayerHeaders& layer )
{
    return layer.hasTcpControl;
}

// ---- Values ------------------------------------------------------------------------------------

/// The number that `read` gives, of each layer that has it.
template< auto has, auto read >
FieldValues numbers( const ReadPacket& packet )
{
    FieldValues values;
    for ( const LayerHeaders* layer : { &packet.headers.outer, &packet.headers.inner } ) {
        if ( has( *layer ) ) {
            values.push_back( std::to_string( +read( *layer ) ) );
        }
    }
    return values;
}

std::string macText( std::span< const std::uint8_t > mac )
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for ( const std::uint8_t byte : mac ) {
        text += text.empty() ? "" : ":";
        text += digits[ byte >> 4 ];
        text += digits[ byte & 0xF ];
    }
    return text;
}

/// The MAC address that stands where `read` says, of each layer that has it.
template< auto has, auto read >
FieldValues macs( const ReadPacket& packet )
{
    FieldValues values;
    for ( const LayerHeaders* layer : { &packet.headers.outer, &packet.headers.inner } ) {
        if ( has( *layer ) ) {
            values.push_back( macText( packet.bytes.subspan( read( *layer ), 6 ) ) );
        }
    }
    return values;
}

/// The same for IP addresses.
template< auto has, auto read >
FieldValues addresses( const ReadPacket& packet )
{
    FieldValues values;
    for ( const LayerHeaders* layer : { &packet.headers.outer, &packet.headers.inner } ) {
        if ( has( *layer ) ) {
            std::array< char, INET6_ADDRSTRLEN > text{};
            ::inet_ntop( isIp6( *layer ) ? AF_INET6 : AF_INET, &packet.bytes[ read( *layer ) ],
                         text.data(), text.size() );
            values.emplace_back( text.data() );
        }
    }
    return values;
}

/// What `read` gives of the tags with that TPID.
template< int tpid, auto read >
FieldValues tags( const ReadPacket& packet )
{
    FieldValues values;
    for ( const LayerHeaders* layer : { &packet.headers.outer, &packet.headers.inner } ) {
        for ( std::size_t i = 0; i < layer->vlanTags; ++i ) {
            if ( layer->vlanTag[ i ].tpid == tpid ) {
                values.push_back( std::to_string( +read( layer->vlanTag[ i ] ) ) );
            }
        }
    }
    return values;
}

FieldValues labels( const ReadPacket& packet )
{
    FieldValues values;
    for ( const LayerHeaders* layer : { &packet.headers.outer, &packet.headers.inner } ) {
        for ( std::size_t i = 0; i < layer->mplsDepth; ++i ) {
            values.push_back( std::to_string( layer->mplsLabel( i ) ) );
        }
    }
    return values;
}

/// The number that `read` gives of the tunnel, if it is of that kind and has it.
template< TunnelKind kind, auto read >
FieldValues ofTunnel( const ReadPacket& packet )
{
    const Sim::TunnelHeader& tunnel = packet.headers.tunnel;
    return tunnel.kind == kind ? FieldValues{ std::to_string( +read( tunnel ) ) } : FieldValues();
}

FieldValues greKey( const ReadPacket& packet )
{
    return packet.headers.tunnel.greHasKey()
               ? ofTunnel< TunnelKind::gre, []( const auto& t ) { return t.greKey; } >( packet )
               : FieldValues();
}

bool hasTypeOnWire( const LayerHeaders& layer )
{
    return hasL2( layer ) && ( layer.vlanTags != 0 || layer.l2Format == L2Format::ethernet2 );
}

bool hasLengthOnWire( const LayerHeaders& layer )
{
    return hasL2( layer ) && layer.vlanTags == 0 && layer.l2Format != L2Format::ethernet2;
}

/// What stands behind the source address.
std::uint16_t typeOnWire( const LayerHeaders& layer )
{
    return layer.vlanTags != 0 ? layer.vlanTag[ 0 ].tpid : layer.etherType;
}

// clang-format off
#define NUMBER( name, has, expression ) \
    { name, numbers< has, []( const LayerHeaders& layer ) { return ( expression ); } > }
#define MAC( name, has, expression ) \
    { name, macs< has, []( const LayerHeaders& layer ) { return ( expression ); } > }
#define ADDRESS( name, has, expression ) \
    { name, addresses< has, []( const LayerHeaders& layer ) { return ( expression ); } > }
#define TAG( name, tpid, expression ) \
    { name, tags< tpid, []( const Sim::VlanTag& tag ) { return ( expression ); } > }
#define TUNNEL( name, kind, expression ) \
    { name, ofTunnel< TunnelKind::kind, []( const Sim::TunnelHeader& tunnel ) { return ( expression ); } > }

const std::vector< ComparedField > fields{
    MAC( "eth.dst", hasL2, layer.l2 ),
    MAC( "eth.src", hasL2, layer.l2 + 6U ),
    NUMBER( "eth.type", hasTypeOnWire, typeOnWire( layer ) ),
    NUMBER( "eth.len", hasLengthOnWire, layer.ieeeLength ),
    TAG( "vlan.id", 0x8100, tag.vlan() ),
    TAG( "vlan.priority", 0x8100, tag.priority() ),
    TAG( "vlan.dei", 0x8100, tag.dropEligible() ),
    TAG( "ieee8021ad.id", 0x88A8, tag.vlan() ),
    TAG( "ieee8021ad.priority", 0x88A8, tag.priority() ),
    NUMBER( "llc.dsap", hasLlc, layer.llcDestination ),
    NUMBER( "llc.ssap", hasLlc, layer.llcSource ),
    { "mpls.label", labels },
    NUMBER( "arp.opcode", isArp, layer.arpOperation ),
    MAC( "arp.src.hw_mac", isArp, layer.arpSourceMac ),
    MAC( "arp.dst.hw_mac", isArp, layer.arpTargetMac ),
    ADDRESS( "arp.src.proto_ipv4", isArp, layer.sourceAddress ),
    ADDRESS( "arp.dst.proto_ipv4", isArp, layer.destinationAddress ),
    NUMBER( "ip.hdr_len", isIp4, layer.ipHeaderLength ),
    NUMBER( "ip.dsfield", isIp4, layer.typeOfService ),
    NUMBER( "ip.len", isIp4, layer.ipLength ),
    NUMBER( "ip.id", isIp4, layer.identification ),
    NUMBER( "ip.flags", isIp4, layer.ipFlags ),
    NUMBER( "ip.frag_offset", isIp4, layer.fragmentOffset ),
    NUMBER( "ip.ttl", isIp4, layer.ttl ),
    NUMBER( "ip.proto", isIp4, layer.protocol ),
    NUMBER( "ip.checksum.status", isIp4, layer.ipChecksumRight ),
    ADDRESS( "ip.src", isIp4, layer.sourceAddress ),
    ADDRESS( "ip.dst", isIp4, layer.destinationAddress ),
    NUMBER( "ipv6.tclass", isIp6, layer.typeOfService ),
    NUMBER( "ipv6.flow", isIp6, layer.flowLabel ),
    NUMBER( "ipv6.plen", isIp6, layer.ipLength ),
    NUMBER( "ipv6.nxt", isIp6, layer.nextHeader ),
    NUMBER( "ipv6.hlim", isIp6, layer.ttl ),
    ADDRESS( "ipv6.src", isIp6, layer.sourceAddress ),
    ADDRESS( "ipv6.dst", isIp6, layer.destinationAddress ),
    NUMBER( "ipv6.fraghdr.offset", isIp6Fragment, layer.fragmentOffset ),
    NUMBER( "ipv6.fraghdr.more", isIp6Fragment, layer.moreFragments ),
    NUMBER( "ipv6.fraghdr.ident", isIp6Fragment, layer.identification ),
    NUMBER( "ipv6.routing.type", hasRouting, layer.routingType ),
    NUMBER( "ipv6.routing.segleft", hasRouting, layer.segmentsLeft ),
    NUMBER( "tcp.srcport", hasPorts< 6 >, layer.sourcePort ),
    NUMBER( "tcp.dstport", hasPorts< 6 >, layer.destinationPort ),
    NUMBER( "tcp.flags", isTcp, layer.tcpControl & 0xFFF ),
    NUMBER( "tcp.hdr_len", isTcp, layer.l4HeaderLength ),
    NUMBER( "tcp.window_size_value", isTcp, layer.tcpWindow ),
    NUMBER( "udp.srcport", hasPorts< 17 >, layer.sourcePort ),
    NUMBER( "udp.dstport", hasPorts< 17 >, layer.destinationPort ),
    NUMBER( "sctp.srcport", hasPorts< 132 >, layer.sourcePort ),
    NUMBER( "sctp.dstport", hasPorts< 132 >, layer.destinationPort ),
    NUMBER( "icmp.type", hasTypeCode< 1 >, layer.type ),
    NUMBER( "icmp.code", hasTypeCode< 1 >, layer.code ),
    NUMBER( "icmpv6.type", hasTypeCode< 58 >, layer.type ),
    NUMBER( "icmpv6.code", hasTypeCode< 58 >, layer.code ),
    NUMBER( "igmp.type", hasTypeCode< 2 >, layer.type ),
    TUNNEL( "gre.flags_and_version", gre, tunnel.greFlags ),
    TUNNEL( "gre.proto", gre, tunnel.protocol ),
    { "gre.key", greKey },
    TUNNEL( "vxlan.flags", vxlan, unsigned{ tunnel.flags } << 8 | tunnel.reserved >> 16 ),
    TUNNEL( "vxlan.vni", vxlan, tunnel.vni ),
    TUNNEL( "geneve.proto_type", geneve, tunnel.protocol ),
    TUNNEL( "geneve.vni", geneve, tunnel.vni ),
};

#undef NUMBER
#undef MAC
#undef ADDRESS
#undef TAG
#undef TUNNEL
// clang-format on

} // namespace

const std::vector< ComparedField >& comparedFields()
{
    return fields;
}

std::vector< std::string > comparedFieldNames()
{
    std::vector< std::string > names;
    for ( const ComparedField& field : fields ) {
        names.push_back( field.name );
    }
    return names;
}

std::string comparable( const std::string& value )
{
    return value.starts_with( "0x" ) ? std::to_string( std::stoull( value, nullptr, 16 ) ) : value;
}

} // namespace TrafficTest
