#include "sim/packets/PacketFields.h"

#include <algorithm>

namespace Sim {

namespace {

using N = SdkNumbering;
using View = PacketView;

// ---- Reading ---------------------------------------------------------------------------------

const LayerHeaders& outer( const View& view )
{
    return view.headers.outer;
}

const LayerHeaders& inner( const View& view )
{
    return view.headers.inner;
}

uint32_t ip4At( const View& view, PacketOffset offset )
{
    const auto& bytes = view.packet.bytes;
    if ( offset == absentOffset || offset + std::size_t{ 4 } > bytes.size() ) {
        return 0;
    }
    return uint32_t{ bytes[ offset ] } << 24 | uint32_t{ bytes[ offset + 1U ] } << 16 |
           uint32_t{ bytes[ offset + 2U ] } << 8 | bytes[ offset + 3U ];
}

uint32_t sourceIp4( const View& view, const LayerHeaders& layer )
{
    return layer.l3Kind == L3Kind::ip4 ? ip4At( view, layer.sourceAddress ) : 0;
}

uint32_t destinationIp4( const View& view, const LayerHeaders& layer )
{
    return layer.l3Kind == L3Kind::ip4 ? ip4At( view, layer.destinationAddress ) : 0;
}

PacketOffset sourceIp6( const LayerHeaders& layer )
{
    return layer.l3Kind == L3Kind::ip6 ? layer.sourceAddress : absentOffset;
}

PacketOffset destinationIp6( const LayerHeaders& layer )
{
    return layer.l3Kind == L3Kind::ip6 ? layer.destinationAddress : absentOffset;
}

uint32_t vlanOf( const LayerHeaders& layer, uint8_t tag )
{
    return tag < layer.vlanTags ? layer.vlanTag[ tag ].vlan() : 0U;
}

constexpr uint8_t icmp = 1;
constexpr uint8_t icmp6 = 58;

uint32_t icmpTypeCode( const LayerHeaders& layer )
{
    const bool isIcmp = layer.protocol == icmp || layer.protocol == icmp6;
    return isIcmp && layer.hasTypeCode ? uint32_t{ layer.type } << 8 | layer.code : 0;
}

bool isTunnel( const View& view, TunnelKind kind )
{
    return view.headers.tunnel.kind == kind;
}

uint32_t ip6Only( const LayerHeaders& layer, uint32_t value )
{
    return layer.l3Kind == L3Kind::ip6 ? value : 0;
}

template< std::size_t field >
uint32_t classOf( const View& view )
{
    return view.findings.classes[ field ];
}

// ---- Numbers ---------------------------------------------------------------------------------

using P = FieldPresence;

// A null reader: only stages before the field processor know.
const NumberField numbers[] = {
    { &N::bcmFieldQualifyDrop, 1, []( const View& v ) -> uint32_t { return v.findings.drop; },
      P::always, true },
    { &N::bcmFieldQualifyDSCP, 1, []( const View& v ) -> uint32_t { return outer( v ).dscp(); } },
    { &N::bcmFieldQualifyDstIp, 4, []( const View& v ) { return destinationIp4( v, outer( v ) ); },
      P::outerIp4 },
    { &N::bcmFieldQualifyEtherType, 2,
      []( const View& v ) -> uint32_t { return outer( v ).etherType; } },
    { &N::bcmFieldQualifyForwardingStatus, 4, nullptr },
    { &N::bcmFieldQualifyFrontPanelPkt, 1, nullptr },
    { &N::bcmFieldQualifyGreKey, 4,
      []( const View& v ) {
          return isTunnel( v, TunnelKind::gre ) ? v.headers.tunnel.greKey : 0;
      } },
    { &N::bcmFieldQualifyGreProtocol, 2,
      []( const View& v ) -> uint32_t {
          return isTunnel( v, TunnelKind::gre ) ? v.headers.tunnel.protocol : 0;
      } },
    { &N::bcmFieldQualifyIcmpTypeCode, 2,
      []( const View& v ) { return icmpTypeCode( outer( v ) ); } },
    { &N::bcmFieldQualifyIngressL2InterfaceOpaqueCtrlId, 1, nullptr },
    { &N::bcmFieldQualifyIngressStpState, 1, nullptr },
    { &N::bcmFieldQualifyInPort, 4, []( const View& v ) { return v.packet.port; } },
    { &N::bcmFieldQualifyInnerDscp, 1,
      []( const View& v ) -> uint32_t { return inner( v ).dscp(); } },
    { &N::bcmFieldQualifyInnerDstIp, 4,
      []( const View& v ) { return destinationIp4( v, inner( v ) ); }, P::innerIp4 },
    { &N::bcmFieldQualifyInnerEtherType, 2,
      []( const View& v ) -> uint32_t { return inner( v ).etherType; } },
    { &N::bcmFieldQualifyInnerIpProtocol, 1,
      []( const View& v ) -> uint32_t { return inner( v ).protocol; } },
    { &N::bcmFieldQualifyInnerL4DstPort, 2,
      []( const View& v ) -> uint32_t { return inner( v ).destinationPort; } },
    { &N::bcmFieldQualifyInnerL4SrcPort, 2,
      []( const View& v ) -> uint32_t { return inner( v ).sourcePort; } },
    { &N::bcmFieldQualifyInnerSrcIp, 4, []( const View& v ) { return sourceIp4( v, inner( v ) ); },
      P::innerIp4 },
    { &N::bcmFieldQualifyInnerTtl, 1, []( const View& v ) -> uint32_t { return inner( v ).ttl; } },
    { &N::bcmFieldQualifyInnerVlanId, 2, []( const View& v ) { return vlanOf( outer( v ), 1 ); } },
    { &N::bcmFieldQualifyIp6FlowLabel, 4,
      []( const View& v ) { return ip6Only( outer( v ), outer( v ).flowLabel ); } },
    { &N::bcmFieldQualifyIp6HopLimit, 1,
      []( const View& v ) { return ip6Only( outer( v ), outer( v ).ttl ); } },
    { &N::bcmFieldQualifyIp6NextHeader, 1,
      []( const View& v ) { return ip6Only( outer( v ), outer( v ).nextHeader ); } },
    { &N::bcmFieldQualifyIp6TrafficClass, 1,
      []( const View& v ) { return ip6Only( outer( v ), outer( v ).typeOfService ); } },
    { &N::bcmFieldQualifyIpEcn, 1, []( const View& v ) -> uint32_t { return outer( v ).ecn(); } },
    { &N::bcmFieldQualifyIpFlags, 1,
      []( const View& v ) -> uint32_t { return outer( v ).ipFlags; } },
    { &N::bcmFieldQualifyIpInfo, 4, nullptr },
    { &N::bcmFieldQualifyIpProtocol, 1,
      []( const View& v ) -> uint32_t { return outer( v ).protocol; } },
    { &N::bcmFieldQualifyL2InterfaceMatch, 1, nullptr },
    { &N::bcmFieldQualifyL2SrcHit, 1, nullptr },
    { &N::bcmFieldQualifyL2SrcStatic, 1, nullptr },
    { &N::bcmFieldQualifyL2StationMove, 1, nullptr },
    { &N::bcmFieldQualifyL4DstPort, 2,
      []( const View& v ) -> uint32_t { return outer( v ).destinationPort; } },
    { &N::bcmFieldQualifyL4SrcPort, 2,
      []( const View& v ) -> uint32_t { return outer( v ).sourcePort; } },
    { &N::bcmFieldQualifyMirrorPktType, 4, nullptr },
    { &N::bcmFieldQualifyMplsLabel, 4,
      []( const View& v ) {
          return outer( v ).mpls == absentOffset ? 0 : outer( v ).mplsLabel( 0 );
      } },
    { &N::bcmFieldQualifyOuterVlanId, 2, []( const View& v ) { return vlanOf( outer( v ), 0 ); } },
    { &N::bcmFieldQualifyPacketLength, 2, []( const View& v ) { return v.packet.wireLength; } },
    { &N::bcmFieldQualifyPortGroupClassId, 1, nullptr },
    { &N::bcmFieldQualifyProtocolPktOpaqueCtrlId, 1, nullptr },
    { &N::bcmFieldQualifySrcIp, 4, []( const View& v ) { return sourceIp4( v, outer( v ) ); },
      P::outerIp4 },
    { &N::bcmFieldQualifyTcpControl, 1,
      []( const View& v ) -> uint32_t { return outer( v ).tcpFlags(); } },
    { &N::bcmFieldQualifyTtl, 1, []( const View& v ) -> uint32_t { return outer( v ).ttl; } },
    { &N::bcmFieldQualifyTunnelTerminated, 1, nullptr },
    { &N::bcmFieldQualifyVrf, 4, nullptr },
    { &N::bcmFieldQualifyVxlanFlags, 1,
      []( const View& v ) -> uint32_t {
          return isTunnel( v, TunnelKind::vxlan ) ? v.headers.tunnel.flags : 0;
      } },
    { &N::bcmFieldQualifyVxlanNetworkId, 4,
      []( const View& v ) { return isTunnel( v, TunnelKind::vxlan ) ? v.headers.tunnel.vni : 0; } },
    { &N::bcmFieldQualifyDstClassField, 4, &classOf< 0 >, P::always, true },
    { &N::bcmFieldQualifySrcClassField, 4, &classOf< 1 >, P::always, true },
    { &N::bcmFieldQualifyInterfaceClassL2, 4, &classOf< 2 >, P::always, true },
    { &N::bcmFieldQualifyInterfaceClassL3, 4, &classOf< 3 >, P::always, true },
    { &N::bcmFieldQualifyInterfaceClassPort, 4, &classOf< 4 >, P::always, true },
    { &N::bcmFieldQualifyInterfaceClassVPort, 4, &classOf< 5 >, P::always, true },
};

// ---- Runs of bytes ---------------------------------------------------------------------------

using Headers = PacketHeaders;

PacketOffset macAt( const Headers& headers, unsigned behind )
{
    return headers.outer.l2 == absentOffset
               ? absentOffset
               : static_cast< PacketOffset >( headers.outer.l2 + behind );
}

constexpr unsigned macWidth = sizeof( bcm_mac_t );
constexpr unsigned ip6Width = sizeof( bcm_ip6_t );

const BytesField runs[] = {
    { &N::bcmFieldQualifyDstIp6, ip6Width,
      []( const Headers& from ) { return destinationIp6( from.outer ); }, P::outerIp6 },
    { &N::bcmFieldQualifyDstMac, macWidth, []( const Headers& from ) { return macAt( from, 0 ); } },
    { &N::bcmFieldQualifyInnerDstIp6, ip6Width,
      []( const Headers& from ) { return destinationIp6( from.inner ); }, P::innerIp6 },
    { &N::bcmFieldQualifyInnerSrcIp6, ip6Width,
      []( const Headers& from ) { return sourceIp6( from.inner ); }, P::innerIp6 },
    { &N::bcmFieldQualifySrcIp6, ip6Width,
      []( const Headers& from ) { return sourceIp6( from.outer ); }, P::outerIp6 },
    { &N::bcmFieldQualifySrcMac, macWidth,
      []( const Headers& from ) { return macAt( from, macWidth ); } },
};

/// What the packet was given for a qualifier; null if nothing.
const uint64_t* givenFor( const Packet& packet, bcm_field_qualify_t qualifier )
{
    if ( packet.given.empty() ) {
        return nullptr;
    }
    const auto found = packet.given.find( qualifier );
    return found == packet.given.end() ? nullptr : &found->second;
}

uint32_t ofWidth( uint64_t value, unsigned bytes )
{
    return static_cast< uint32_t >( value & ( ~uint64_t{ 0 } >> ( 64 - 8 * bytes ) ) );
}

} // namespace

bool isPresent( FieldPresence presence, const PacketHeaders& headers )
{
    switch ( presence ) {
    case FieldPresence::always:
        return true;
    case FieldPresence::outerIp4:
        return headers.outer.l3Kind == L3Kind::ip4;
    case FieldPresence::outerIp6:
        return headers.outer.l3Kind == L3Kind::ip6;
    case FieldPresence::innerIp4:
        return headers.inner.l3Kind == L3Kind::ip4;
    case FieldPresence::innerIp6:
        return headers.inner.l3Kind == L3Kind::ip6;
    }
    return false;
}

std::span< const NumberField > numberFields()
{
    return numbers;
}

std::span< const BytesField > bytesFields()
{
    return runs;
}

const NumberField* findNumberField( const SdkNumbering& numbering, bcm_field_qualify_t qualifier )
{
    const auto* found = std::ranges::find_if( numbers, [ & ]( const NumberField& field ) {
        return numbering.*field.qualifier == qualifier;
    } );
    return found == std::end( numbers ) ? nullptr : found;
}

const BytesField* findBytesField( const SdkNumbering& numbering, bcm_field_qualify_t qualifier )
{
    const auto* found = std::ranges::find_if( runs, [ & ]( const BytesField& field ) {
        return numbering.*field.qualifier == qualifier;
    } );
    return found == std::end( runs ) ? nullptr : found;
}

uint32_t numberOf( const NumberField& field, const PacketView& view )
{
    const uint64_t* given = givenFor( view.packet, view.numbering.*field.qualifier );
    if ( given != nullptr ) {
        return ofWidth( *given, field.width );
    }
    return field.read == nullptr ? 0 : ofWidth( field.read( view ), field.width );
}

std::span< const uint8_t > bytesOf( const BytesField& field, const PacketView& view )
{
    const PacketOffset offset = field.find( view.headers );
    const auto& bytes = view.packet.bytes;
    if ( offset == absentOffset || std::size_t{ offset } + field.width > bytes.size() ) {
        return {};
    }
    return { bytes.data() + offset, field.width };
}

RangeValues::RangeValues( const PacketView& view )
{
    const N& numbering = view.numbering;
    const auto value = [ & ]( bcm_range_type_t type, bcm_field_qualify_t N::*qualifier ) -> Value {
        const auto* field = std::ranges::find( numbers, qualifier, &NumberField::qualifier );
        return { type, numberOf( *field, view ) };
    };
    values_ = { value( numbering.bcmRangeTypeL4SrcPort, &N::bcmFieldQualifyL4SrcPort ),
                value( numbering.bcmRangeTypeL4DstPort, &N::bcmFieldQualifyL4DstPort ),
                value( numbering.bcmRangeTypeOuterVlan, &N::bcmFieldQualifyOuterVlanId ),
                value( numbering.bcmRangeTypePacketLength, &N::bcmFieldQualifyPacketLength ) };
}

bool RangeValues::areIn( const bcm_range_config_t& range ) const
{
    const std::optional< uint32_t > value = valueFor( range.rtype );
    return value && range.min <= *value && *value <= range.max;
}

std::optional< uint32_t > RangeValues::valueFor( bcm_range_type_t type ) const
{
    for ( const Value& value : values_ ) {
        if ( value.type == type ) {
            return value.value;
        }
    }
    return std::nullopt;
}

} // namespace Sim
