// Which packets the SDK's enumerators stand for.

#include "sim/packets/PacketFields.h"

#include <algorithm>
#include <string_view>

namespace Sim {

namespace {

using N = SdkNumbering;

/// The packets of one enumerator. Those that are not in the table are told by what the packet was
/// given alone.
template< class Enumeration >
struct NamedPackets
{
    Enumeration N::*enumerator;
    bool ( *isOne )( const LayerHeaders& layer );
};

using Layer = LayerHeaders;

bool isIp4( const Layer& layer )
{
    return layer.l3Kind == L3Kind::ip4;
}

bool isIp6( const Layer& layer )
{
    return layer.l3Kind == L3Kind::ip6;
}

bool hasExtensions( const Layer& layer, unsigned count )
{
    return isIp6( layer ) && layer.extensionHeaders == count;
}

bool isArp( const Layer& layer, unsigned operation )
{
    return layer.l3Kind == L3Kind::arp && layer.arpOperation == operation;
}

constexpr unsigned arpRequest = 1;
constexpr unsigned arpReply = 2;
// EtherTypes of the registry of IEEE 802: MPLS (RFC 3032, RFC 5332) and TRILL (RFC 6325).
constexpr unsigned mplsUnicast = 0x8847;
constexpr unsigned mplsMulticast = 0x8848;
constexpr unsigned trill = 0x22F3;

// An assumption: IP behind MPLS labels is of the types of IP as well as of those of MPLS.
const NamedPackets< bcm_field_IpType_t > ipTypes[] = {
    { &N::bcmFieldIpTypeAny, []( const Layer& ) { return true; } },
    { &N::bcmFieldIpTypeNonIp, []( const Layer& l ) { return !l.isIp(); } },
    { &N::bcmFieldIpTypeIpv4Not, []( const Layer& l ) { return !isIp4( l ); } },
    { &N::bcmFieldIpTypeIpv4NoOpts,
      []( const Layer& l ) { return isIp4( l ) && !l.hasIpOptions; } },
    { &N::bcmFieldIpTypeIpv4WithOpts,
      []( const Layer& l ) { return isIp4( l ) && l.hasIpOptions; } },
    { &N::bcmFieldIpTypeIpv4Any, &isIp4 },
    { &N::bcmFieldIpTypeIpv6Not, []( const Layer& l ) { return !isIp6( l ); } },
    { &N::bcmFieldIpTypeIpv6NoExtHdr, []( const Layer& l ) { return hasExtensions( l, 0 ); } },
    { &N::bcmFieldIpTypeIpv6OneExtHdr, []( const Layer& l ) { return hasExtensions( l, 1 ); } },
    { &N::bcmFieldIpTypeIpv6TwoExtHdr,
      []( const Layer& l ) { return isIp6( l ) && l.extensionHeaders >= 2; } },
    { &N::bcmFieldIpTypeIpv6, &isIp6 },
    { &N::bcmFieldIpTypeIpNot, []( const Layer& l ) { return !l.isIp(); } },
    { &N::bcmFieldIpTypeIp, []( const Layer& l ) { return l.isIp(); } },
    { &N::bcmFieldIpTypeArpRequest, []( const Layer& l ) { return isArp( l, arpRequest ); } },
    { &N::bcmFieldIpTypeArpReply, []( const Layer& l ) { return isArp( l, arpReply ); } },
    { &N::bcmFieldIpTypeMplsUnicast, []( const Layer& l ) { return l.etherType == mplsUnicast; } },
    { &N::bcmFieldIpTypeMplsMulticast,
      []( const Layer& l ) { return l.etherType == mplsMulticast; } },
    { &N::bcmFieldIpTypeTrill, []( const Layer& l ) { return l.etherType == trill; } },
};

bool isSnap( const Layer& layer )
{
    return layer.l2Format == L2Format::snap;
}

const NamedPackets< bcm_field_L2Format_t > l2Formats[] = {
    { &N::bcmFieldL2FormatAny, []( const Layer& ) { return true; } },
    { &N::bcmFieldL2FormatEthII,
      []( const Layer& l ) { return l.l2Format == L2Format::ethernet2; } },
    { &N::bcmFieldL2Format802dot3,
      []( const Layer& l ) { return l.l2Format == L2Format::ieee802dot3; } },
    { &N::bcmFieldL2FormatSnap, &isSnap },
    { &N::bcmFieldL2FormatSnapPrivate,
      []( const Layer& l ) { return isSnap( l ) && l.snapOrganisation != 0; } },
    { &N::bcmFieldL2FormatSnapNonPrivate,
      []( const Layer& l ) { return isSnap( l ) && l.snapOrganisation == 0; } },
    { &N::bcmFieldL2FormatLlc, []( const Layer& l ) { return l.l2Format == L2Format::llc; } },
    { &N::bcmFieldL2FormatEthIINot,
      []( const Layer& l ) { return l.l2Format != L2Format::ethernet2; } },
};

// An assumption: what is not IP is no fragment and no whole packet either, only "any".
const NamedPackets< bcm_field_IpFrag_t > fragments[] = {
    { &N::bcmFieldIpFragAny, []( const Layer& ) { return true; } },
    { &N::bcmFieldIpFragNon, []( const Layer& l ) { return l.isIp() && !l.isFragment(); } },
    { &N::bcmFieldIpFragFirst,
      []( const Layer& l ) { return l.isFragment() && l.isFirstFragment(); } },
    { &N::bcmFieldIpFragNonOrFirst, []( const Layer& l ) { return l.isFirstFragment(); } },
    { &N::bcmFieldIpFragNonFirst,
      []( const Layer& l ) { return l.isIp() && l.fragmentOffset != 0; } },
};

/// What the table says of an enumerator; nothing for one that is not in it.
template< class Enumeration, std::size_t size >
std::optional< bool > lookUp( const NamedPackets< Enumeration > ( &table )[ size ],
                              const SdkNumbering& numbering,
                              uint32_t enumerator,
                              const LayerHeaders& layer )
{
    for ( const auto& row : table ) {
        if ( static_cast< uint32_t >( numbering.*row.enumerator ) == enumerator ) {
            return row.isOne( layer );
        }
    }
    return std::nullopt;
}

bool isBroadcast( std::span< const uint8_t > address )
{
    return std::ranges::all_of( address, []( uint8_t byte ) { return byte == 0xFF; } );
}

/// The destination address tells the type (IEEE 802): the lowest bit of its first byte.
std::optional< bool >
l2PktType( const PacketView& view, const LayerHeaders& layer, uint32_t enumerator )
{
    const N& numbering = view.numbering;
    if ( enumerator == numbering.bcmFieldL2PktTypeAny ) {
        return true;
    }
    const bool isThere =
        layer.l2 != absentOffset && layer.l2 + sizeof( bcm_mac_t ) <= view.packet.bytes.size();
    if ( enumerator == numbering.bcmFieldL2PktTypeUnknownUnicast || !isThere ) {
        return false;
    }
    const std::span< const uint8_t > address( view.packet.bytes.data() + layer.l2,
                                              sizeof( bcm_mac_t ) );
    const bool isGroup = ( address[ 0 ] & 1 ) != 0;
    if ( enumerator == numbering.bcmFieldL2PktTypeBroadcast ) {
        return isBroadcast( address );
    }
    if ( enumerator == numbering.bcmFieldL2PktTypeMulticast ) {
        return isGroup && !isBroadcast( address );
    }
    return enumerator == numbering.bcmFieldL2PktTypeUnicast ? !isGroup : false;
}

std::optional< bool > tunnelType( const PacketView& view, uint32_t enumerator )
{
    const N& numbering = view.numbering;
    const TunnelKind kind = view.headers.tunnel.kind;
    const bool isMpls = view.headers.outer.mpls != absentOffset || kind == TunnelKind::mplsInUdp;
    if ( enumerator == numbering.bcmFieldTunnelTypeAny ) {
        return true;
    }
    if ( enumerator == numbering.bcmFieldTunnelTypeNone ) {
        return kind == TunnelKind::none && !isMpls;
    }
    if ( enumerator == numbering.bcmFieldTunnelTypeMpls ) {
        return isMpls;
    }
    return ( enumerator == numbering.bcmFieldTunnelTypeIp && kind == TunnelKind::ipInIp ) ||
           ( enumerator == numbering.bcmFieldTunnelTypeVxlan && kind == TunnelKind::vxlan ) ||
           ( enumerator == numbering.bcmFieldTunnelTypeGre && kind == TunnelKind::gre );
}

/// What the bytes say; nothing for a qualifier that they do not tell.
std::optional< bool >
told( const PacketView& view, bcm_field_qualify_t qualifier, uint32_t enumerator )
{
    const N& numbering = view.numbering;
    const LayerHeaders& outer = view.headers.outer;
    if ( qualifier == numbering.bcmFieldQualifyIpType ) {
        return lookUp( ipTypes, numbering, enumerator, outer );
    }
    if ( qualifier == numbering.bcmFieldQualifyInnerIpType ) {
        return lookUp( ipTypes, numbering, enumerator, view.headers.inner );
    }
    if ( qualifier == numbering.bcmFieldQualifyL2Format ) {
        return lookUp( l2Formats, numbering, enumerator, outer );
    }
    if ( qualifier == numbering.bcmFieldQualifyIpFrag ) {
        return lookUp( fragments, numbering, enumerator, outer );
    }
    if ( qualifier == numbering.bcmFieldQualifyL2PktType ) {
        return l2PktType( view, outer, enumerator );
    }
    if ( qualifier == numbering.bcmFieldQualifyOverlayL2PktType &&
         view.headers.inner.l2 != absentOffset ) {
        return l2PktType( view, view.headers.inner, enumerator );
    }
    if ( qualifier == numbering.bcmFieldQualifyTunnelType ) {
        return tunnelType( view, enumerator );
    }
    return std::nullopt;
}

/// Enumerators that stand for all packets.
constexpr std::string_view anyNames[] = { "bcmFieldIpTypeAny",         "bcmFieldIpFragAny",
                                          "bcmFieldL2FormatAny",       "bcmFieldL2PktTypeAny",
                                          "bcmFieldPktFwdTypeAny",     "bcmFieldTunnelTypeAny",
                                          "bcmFieldForwardingTypeAny", "bcmFieldDropReasonAny" };

/// Those that stand for packets of which nothing is known.
constexpr std::string_view noneNames[] = { "bcmFieldDropReasonNone", "bcmFieldTunnelTypeNone",
                                           "bcmFieldPktTypeUnknown" };

bool isOneOf( std::span< const std::string_view > names, std::string_view name )
{
    return std::ranges::find( names, name ) != names.end();
}

} // namespace

bool isNamed( const PacketView& view, bcm_field_qualify_t qualifier, const NamedValue& value )
{
    if ( isOneOf( anyNames, value.name ) ) {
        return true;
    }
    const auto given = view.packet.given.find( qualifier );
    if ( given != view.packet.given.end() ) {
        return given->second == value.number;
    }
    const std::optional< bool > isTold = told( view, qualifier, value.number );
    return isTold ? *isTold : isOneOf( noneNames, value.name );
}

} // namespace Sim
