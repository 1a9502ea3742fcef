// What a packet has for each qualifier: for each one a packet that an entry hits and one that it
// does not, and the same of preselectors.

#include "sim/packets/PacketFields.h"

#include "tests/sim/packets/PathScene.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>

namespace SimPacketTest {
namespace {

/// A packet, and what it is given for the qualifier of the case.
struct Sample
{
    std::string description = "tcp 10.0.0.1:1024 > 10.0.0.2:80";
    std::optional< std::uint64_t > given = {};
    std::string givenName = {}; ///< the same, an enumerator
    std::uint32_t port = 0;
};

/// What is asked for, a packet that has it and one that has not.
struct Case
{
    Asked asked;
    Sample hit;
    Sample miss;
};

Case told( const Asked& asked, const std::string& hit, const std::string& miss )
{
    return { asked, { .description = hit }, { .description = miss } };
}

/// For a qualifier that the bytes do not tell.
Case given( const Asked& asked, std::uint64_t hit, std::uint64_t miss )
{
    return { asked, { .given = hit }, { .given = miss } };
}

Case givenName( const Asked& asked, const std::string& hit, const std::string& miss )
{
    return { asked, { .givenName = hit }, { .givenName = miss } };
}

const std::string tcp4 = "tcp 10.0.0.1:1024 > 10.0.0.2:80";
const std::string tcp6 = "tcp [2001:db8::1]:1024 > [2001:db8::2]:80";
const std::string arp4 = "arp 10.0.0.1 > 10.0.0.2";
const std::string ethernet = "ethernet 02:00:00:00:00:01 > 02:00:00:00:00:02 type 0x88b5";
const std::string inVxlan = " in vxlan 5000 10.1.1.1 > 10.2.2.2";
const std::string inGre = " in gre 10.1.1.1 > 10.2.2.2";
const std::string ones6 = "ffffffffffffffffffffffffffffffff";

std::vector< Case > numberCases()
{
    return {
        given( number( "Drop", 1, 1 ), 1, 0 ),
        told( number( "DSCP", 46, 0x3F ), tcp4 + " dscp 46 ecn 3", tcp4 + " dscp 47" ),
        told( number( "DSCP", 46, 0x3F ), tcp6 + " dscp 46 ecn 3", tcp6 + " dscp 45" ),
        told( number( "DstIp", 0x0A000002, 0xFFFFFFFF ), tcp4, "udp 10.0.0.2:1 > 10.0.0.3:2" ),
        told( number( "DstIp", 0x0A000000, 0xFFFFFFF0 ), "udp 10.0.0.2:1 > 10.0.0.15:2",
              "udp 10.0.0.2:1 > 10.0.0.16:2" ),
        told( number( "DstIp", 0, 0xFFFFFFFF ), "udp 10.0.0.2:1 > 0.0.0.0:2", tcp6 ),
        told( number( "DstIp", 0, 0x80000000 ), tcp4, arp4 ),
        told( number( "EtherType", 0x88B5, 0xFFFF ), ethernet, arp4 ),
        told( number( "EtherType", 0x0800, 0xFFFF ), tcp4 + " vlan 3 vlan 4", tcp6 + " vlan 3" ),
        given( number( "ForwardingStatus", 0x12345678, 0xFFFFFFFF ), 0x12345678, 0x12345679 ),
        given( number( "FrontPanelPkt", 1, 1 ), 1, 0 ),
        told( number( "GreKey", 7, 0xFFFFFFFF ), tcp4 + inGre + " key 7", tcp4 + inGre + " key 8" ),
        told( number( "GreProtocol", 0x86DD, 0xFFFF ), tcp6 + inGre, tcp4 + inGre ),
        told( number( "GreProtocol", 0x6558, 0xFFFF ), tcp4 + " vlan 3" + inGre, ethernet ),
        told( number( "IcmpTypeCode", 0x0301, 0xFFFF ), "icmp 10.0.0.1 > 10.0.0.2 type 3 code 1",
              "icmp 10.0.0.1 > 10.0.0.2 type 1 code 3" ),
        told( number( "IcmpTypeCode", 0x8000, 0xFFFF ), "icmp6 ::1 > ::2", tcp6 ),
        given( number( "IngressL2InterfaceOpaqueCtrlId", 0x80, 0xFF ), 0x80, 0x40 ),
        given( number( "IngressStpState", 2, 0xFF ), 2, 3 ),
        told( number( "InnerDscp", 10, 0x3F ), tcp4 + " dscp 10" + inGre + " dscp 20",
              tcp4 + " dscp 20" + inGre + " dscp 10" ),
        told( number( "InnerDstIp", 0x0A000002, 0xFFFFFFFF ), tcp4 + inVxlan, tcp4 ),
        told( number( "InnerDstIp", 0, 0x000000FF ), "udp 1.1.1.1:1 > 10.0.0.0:2" + inGre,
              tcp6 + inGre ),
        told( number( "InnerEtherType", 0x0806, 0xFFFF ), arp4 + inVxlan, tcp4 + inVxlan ),
        told( number( "InnerIpProtocol", 6, 0xFF ), tcp4 + inVxlan,
              "udp 10.0.0.1:1024 > 10.0.0.2:80" + inVxlan ),
        told( number( "InnerL4DstPort", 80, 0xFFFF ), tcp4 + inVxlan, tcp4 ),
        told( number( "InnerL4SrcPort", 1024, 0xFFFF ), tcp6 + inVxlan,
              "tcp 10.0.0.1:80 > 10.0.0.2:1024" + inVxlan ),
        told( number( "InnerSrcIp", 0x0A000001, 0xFFFFFFFF ), tcp4 + " in ip 10.1.1.1 > 10.2.2.2",
              "tcp 10.0.0.2:1024 > 10.0.0.1:80 in ip 10.1.1.1 > 10.2.2.2" ),
        told( number( "InnerTtl", 9, 0xFF ), tcp4 + " ttl 9" + inGre + " ttl 8",
              tcp4 + " ttl 8" + inGre + " ttl 9" ),
        told( number( "InnerVlanId", 20, 0xFFF ), tcp4 + " vlan 10 vlan 20 prio 7",
              tcp4 + " vlan 20 vlan 10" ),
        told( number( "InnerVlanId", 20, 0xFFF ), tcp4 + " vlan 10 vlan 20", tcp4 + " vlan 20" ),
        { number( "InPort", 5, 0xFFFFFFFF ), { .port = 5 }, { .port = 4 } },
        told( number( "Ip6FlowLabel", 0xABCDE, 0xFFFFF ), tcp6 + " flow 0xABCDE",
              tcp6 + " flow 0xABCDF" ),
        told( number( "Ip6HopLimit", 9, 0xFF ), tcp6 + " ttl 9", tcp4 + " ttl 9" ),
        told( number( "Ip6NextHeader", 44, 0xFF ), tcp6 + " fragment 0+", tcp6 ),
        told( number( "Ip6NextHeader", 6, 0xFF ), tcp6, tcp4 ),
        told( number( "Ip6TrafficClass", 21, 0xFF ), tcp6 + " dscp 5 ecn 1",
              tcp4 + " dscp 5 ecn 1" ),
        told( number( "IpEcn", 3, 3 ), tcp4 + " ecn 3 dscp 1", tcp4 + " ecn 2 dscp 3" ),
        told( number( "IpFlags", 2, 7 ), tcp4 + " df", tcp4 ),
        told( number( "IpFlags", 1, 1 ), tcp4 + " fragment 0+", tcp4 + " df" ),
        given( number( "IpInfo", 0x80000001, 0xFFFFFFFF ), 0x80000001, 1 ),
        told( number( "IpProtocol", 6, 0xFF ), tcp4, "udp 10.0.0.1:1 > 10.0.0.2:2" ),
        told( number( "IpProtocol", 6, 0xFF ), tcp6 + " fragment 0+", "icmp6 ::1 > ::2" ),
        given( number( "L2InterfaceMatch", 1, 1 ), 1, 0 ),
        given( number( "L2SrcHit", 1, 1 ), 1, 0 ),
        given( number( "L2SrcStatic", 1, 1 ), 1, 0 ),
        given( number( "L2StationMove", 1, 1 ), 1, 0 ),
        told( number( "L4DstPort", 80, 0xFFFF ), tcp4, "tcp 10.0.0.1:80 > 10.0.0.2:1024" ),
        told( number( "L4DstPort", 0x50, 0xFF ), "udp [::1]:1 > [::2]:0xFF50",
              "udp [::1]:1 > [::2]:0x5050 fragment 8" ),
        told( number( "L4SrcPort", 1024, 0xFFFF ), "sctp 10.0.0.1:1024 > 10.0.0.2:80",
              "tcp 10.0.0.1:80 > 10.0.0.2:1024" ),
        given( number( "MirrorPktType", 0x00010000, 0xFFFFFFFF ), 0x00010000, 0 ),
        told( number( "MplsLabel", 100, 0xFFFFF ), tcp4 + " mpls 100,200", tcp4 + " mpls 200,100" ),
        told( number( "OuterVlanId", 10, 0xFFF ), tcp4 + " vlan 10 vlan 20",
              tcp4 + " vlan 20 vlan 10" ),
        told( number( "OuterVlanId", 10, 0xFFF ), arp4 + " vlan 10 prio 5", arp4 ),
        told( number( "PacketLength", 1500, 0xFFFF ), tcp4 + " length 1500",
              tcp4 + " length 1499" ),
        given( number( "PortGroupClassId", 0x7F, 0xFF ), 0x7F, 0xFF ),
        given( number( "ProtocolPktOpaqueCtrlId", 3, 0xFF ), 3, 2 ),
        told( number( "SrcIp", 0x0A000001, 0xFFFFFFFF ), tcp4, "udp 10.0.0.2:1 > 10.0.0.1:2" ),
        told( number( "SrcIp", 0, 1 ), "udp 10.0.0.2:1 > 10.0.0.1:2", tcp6 ),
        told( number( "TcpControl", 0x12, 0x3F ), tcp4 + " flags syn,ack", tcp4 + " flags syn" ),
        told( number( "TcpControl", 0x02, 0x12 ), tcp6 + " flags syn,ece",
              tcp6 + " flags syn,ack" ),
        told( number( "Ttl", 1, 0xFF ), tcp4 + " ttl 1", tcp4 + " ttl 2" ),
        told( number( "Ttl", 1, 0xFF ), tcp6 + " ttl 1", arp4 ),
        given( number( "TunnelTerminated", 1, 1 ), 1, 0 ),
        given( number( "Vrf", 0x00ABCDEF, 0xFFFFFFFF ), 0x00ABCDEF, 0xABCDEE ),
        told( number( "VxlanFlags", 8, 0xFF ), tcp4 + inVxlan,
              tcp4 + " in geneve 5000 10.1.1.1 > 10.2.2.2" ),
        told( number( "VxlanNetworkId", 5000, 0xFFFFFF ), tcp4 + inVxlan,
              tcp4 + " in geneve 5000 10.1.1.1 > 10.2.2.2" ),
    };
}

std::vector< Case > enumeratorCases()
{
    const std::string toAll = "arp 10.0.0.1 > 10.0.0.2 mac 02:00:00:00:00:09 > ff:ff:ff:ff:ff:ff";
    const std::string toSome = "tcp 10.0.0.1:1 > 10.0.0.2:2 mac 02:00:00:00:00:09 > "
                               "01:00:5e:00:00:05";
    const std::string withOptions = tcp4 + " options 94040000";
    const std::string length3 = "hex 020000000002 020000000001 0003 424203";
    const std::string snap = "hex 020000000002 020000000001 0008 aaaa03 000000 88b5";
    const std::string privateSnap = "hex 020000000002 020000000001 0008 aaaa03 00000c 2000";
    const std::string twoExtensions =
        "hex 020000000002 020000000001 86dd 60000000 0010 00 40 "
        "20010db8000000000000000000000001 20010db8000000000000000000000002 "
        "3c 00 010400000000 3b 00 010400000000";
    const std::string oneExtension =
        "hex 020000000002 020000000001 86dd 60000000 0008 00 40 "
        "20010db8000000000000000000000001 20010db8000000000000000000000002 3b 00 010400000000";
    const std::string mplsMulticast = "hex 020000000002 020000000001 8848 00064140 45000014";
    const std::string trill = "hex 020000000002 020000000001 22f3 0000 0001 0002";
    const std::string inIp = " in ip 10.1.1.1 > 10.2.2.2";
    const auto ipType = []( const char* end ) {
        return named( "IpType", std::string( "bcmFieldIpType" ) + end );
    };
    const auto innerIpType = []( const char* end ) {
        return named( "InnerIpType", std::string( "bcmFieldIpType" ) + end );
    };
    const auto format = []( const char* end ) {
        return named( "L2Format", std::string( "bcmFieldL2Format" ) + end );
    };
    const auto fragment = []( const char* end ) {
        return named( "IpFrag", std::string( "bcmFieldIpFrag" ) + end );
    };
    const auto tunnel = []( const char* end ) {
        return named( "TunnelType", std::string( "bcmFieldTunnelType" ) + end );
    };
    const auto packetType = []( const char* end ) {
        return named( "L2PktType", std::string( "bcmFieldL2PktType" ) + end );
    };
    return {
        told( ipType( "NonIp" ), arp4, tcp4 ),
        told( ipType( "Ipv4Not" ), tcp6, tcp4 ),
        told( ipType( "Ipv4NoOpts" ), tcp4, withOptions ),
        told( ipType( "Ipv4WithOpts" ), withOptions, tcp4 ),
        told( ipType( "Ipv4Any" ), withOptions, tcp6 ),
        told( ipType( "Ipv6Not" ), arp4, tcp6 ),
        told( ipType( "Ipv6NoExtHdr" ), tcp6, oneExtension ),
        told( ipType( "Ipv6OneExtHdr" ), oneExtension, twoExtensions ),
        told( ipType( "Ipv6OneExtHdr" ), tcp6 + " fragment 8", tcp6 ),
        told( ipType( "Ipv6TwoExtHdr" ), twoExtensions, oneExtension ),
        told( ipType( "Ipv6" ), oneExtension, tcp4 ),
        told( ipType( "IpNot" ), ethernet, tcp6 ),
        told( ipType( "Ip" ), tcp6, arp4 ),
        told( ipType( "ArpRequest" ), arp4, arp4 + " reply" ),
        told( ipType( "ArpReply" ), arp4 + " reply", arp4 + " request" ),
        told( ipType( "MplsUnicast" ), tcp4 + " mpls 100", tcp4 ),
        told( ipType( "MplsMulticast" ), mplsMulticast, tcp4 + " mpls 100" ),
        told( ipType( "Trill" ), trill, ethernet ),
        told( innerIpType( "Ipv6" ), tcp6 + inVxlan, tcp4 + inVxlan ),
        told( innerIpType( "Ipv4Any" ), tcp4 + inIp, tcp4 ),
        told( innerIpType( "ArpReply" ), arp4 + " reply" + inVxlan, arp4 + " reply" ),
        told( format( "EthII" ), tcp4, snap ),
        told( format( "802dot3" ), "hex 020000000002 020000000001 0003 ffff00", length3 ),
        told( format( "Snap" ), privateSnap, length3 ),
        told( format( "SnapPrivate" ), privateSnap, snap ),
        told( format( "SnapNonPrivate" ), snap, privateSnap ),
        told( format( "Llc" ), length3, snap ),
        told( format( "EthIINot" ), length3, tcp4 ),
        told( fragment( "Non" ), tcp6, tcp6 + " fragment 0+" ),
        told( fragment( "Non" ), tcp4 + " df", arp4 ),
        told( fragment( "First" ), tcp4 + " fragment 0+", tcp4 ),
        told( fragment( "First" ), tcp4 + " fragment 0+", tcp4 + " fragment 8+" ),
        told( fragment( "NonOrFirst" ), tcp4, tcp4 + " fragment 8" ),
        told( fragment( "NonFirst" ), tcp6 + " fragment 8", tcp6 + " fragment 0+" ),
        told( packetType( "Broadcast" ), toAll, toSome ),
        told( packetType( "Multicast" ), toSome, toAll ),
        told( packetType( "Unicast" ), tcp4, toSome ),
        givenName( packetType( "UnknownUnicast" ), "bcmFieldL2PktTypeUnknownUnicast",
                   "bcmFieldL2PktTypeUnicast" ),
        told( named( "OverlayL2PktType", "bcmFieldL2PktTypeBroadcast" ), toAll + inVxlan, toAll ),
        told( tunnel( "None" ), tcp4, tcp4 + inIp ),
        told( tunnel( "None" ), arp4, tcp4 + " mpls 100" ),
        told( tunnel( "Ip" ), tcp4 + inIp, tcp4 + inGre ),
        told( tunnel( "Mpls" ), tcp4 + " mpls 100", tcp4 ),
        givenName( tunnel( "Mim" ), "bcmFieldTunnelTypeMim", "bcmFieldTunnelTypeIp" ),
        told( tunnel( "Vxlan" ), tcp4 + inVxlan, tcp4 + inGre ),
        told( tunnel( "Gre" ), tcp4 + inGre, tcp4 + inVxlan ),
        givenName( named( "DropReason", "bcmFieldDropReasonTtlExpired" ),
                   "bcmFieldDropReasonTtlExpired", "bcmFieldDropReasonUnknownVlan" ),
        givenName( named( "DropReason", "bcmFieldDropReasonNone" ), "bcmFieldDropReasonNone",
                   "bcmFieldDropReasonUnknownVlan" ),
        givenName( named( "ForwardingType", "bcmFieldForwardingTypeIp6Ucast" ),
                   "bcmFieldForwardingTypeIp6Ucast", "bcmFieldForwardingTypeL2" ),
        givenName( named( "PktFwdType", "bcmFieldPktFwdTypeMpls" ), "bcmFieldPktFwdTypeMpls",
                   "bcmFieldPktFwdTypeL2" ),
        givenName( named( "PktType", "bcmFieldPktTypeBpdu" ), "bcmFieldPktTypeBpdu",
                   "bcmFieldPktTypeOam" ),
        { named( "PktType", "bcmFieldPktTypeMplsUnknown" ),
          { .givenName = "bcmFieldPktTypeMplsUnknown" },
          {} },
        { named( "PktType", "bcmFieldPktTypeUnknown" ),
          {},
          { .givenName = "bcmFieldPktTypeMplsUnknown" } },
        { named( "OverlayPktType", "bcmFieldPktTypeL2Bcast" ),
          { .givenName = "bcmFieldPktTypeL2Bcast" },
          {} },
        // What was given counts before what the bytes say.
        { ipType( "Ipv4Any" ),
          { .description = tcp6, .givenName = "bcmFieldIpTypeIpv4Any" },
          { .description = tcp4, .givenName = "bcmFieldIpTypeIpv6" } },
    };
}

std::vector< Case > runCases()
{
    return {
        told( bytes( "DstIp6", "20010db8000000000000000000000002", ones6 ), tcp6,
              "tcp [2001:db8::2]:1024 > [2001:db8::1]:80" ),
        told( bytes( "DstIp6", "00000000000000000000000000000000",
                     "80000000000000000000000000000000" ),
              tcp6, tcp4 ),
        told( bytes( "SrcIp6", "20010db8000000000000000000000000",
                     "fffffffffffffffffffffffffffffff0" ),
              "tcp [2001:db8::f]:1024 > [2001:db8::2]:80",
              "tcp [2001:db8::10]:1024 > [2001:db8::2]:80" ),
        told( bytes( "InnerDstIp6", "20010db8000000000000000000000002", ones6 ), tcp6 + inGre,
              tcp6 ),
        told( bytes( "InnerSrcIp6", "20010db8000000000000000000000001", ones6 ), tcp6 + inVxlan,
              tcp4 + inVxlan ),
        told( bytes( "DstMac", "020000000008", "ffffffffffff" ),
              tcp4 + " mac 02:00:00:00:00:09 > 02:00:00:00:00:08",
              tcp4 + " mac 02:00:00:00:00:08 > 02:00:00:00:00:09" ),
        told( bytes( "SrcMac", "020000000000", "ffffff000000" ),
              arp4 + " mac 02:00:00:12:34:56 > 02:00:00:00:00:08",
              arp4 + " mac 02:00:01:12:34:56 > 02:00:00:00:00:08" ),
        { inPorts( { 1, 33, 511 }, { 0, 1, 2, 33, 511 } ), { .port = 33 }, { .port = 2 } },
        { inPorts( { 1, 33, 511 }, { 0, 1, 2, 33, 511 } ), { .port = 511 }, { .port = 0 } },
        // A port that does not count matches.
        { inPorts( { 1 }, { 0, 1 } ), { .port = 7 }, { .port = 0 } },
    };
}

std::vector< Case > allCases()
{
    std::vector< Case > all = numberCases();
    std::ranges::copy( enumeratorCases(), std::back_inserter( all ) );
    std::ranges::copy( runCases(), std::back_inserter( all ) );
    return all;
}

// ---- Tables ----------------------------------------------------------------------------------

TEST( PacketFieldsTest, Tables_EachQualifierOfTheSdk_HasARowOfItsWidth )
{
    const Sim::SdkNumbering numbering = Sim::SdkNumbering::defaults();
#define FIELD_QUALIFIER_NUMBER( name, type, users )                                                \
    {                                                                                              \
        const bcm_field_qualify_t qualifier = numbering.bcmFieldQualify##name;                     \
        const Sim::NumberField* row = Sim::findNumberField( numbering, qualifier );                \
        ASSERT_NE( row, nullptr ) << #name;                                                        \
        EXPECT_EQ( row->width, sizeof( type ) ) << #name;                                          \
        EXPECT_EQ( Sim::findBytesField( numbering, qualifier ), nullptr );                         \
    }
#define FIELD_QUALIFIER_BYTES( name, type, users )                                                 \
    {                                                                                              \
        const bcm_field_qualify_t qualifier = numbering.bcmFieldQualify##name;                     \
        const Sim::BytesField* row = Sim::findBytesField( numbering, qualifier );                  \
        ASSERT_NE( row, nullptr ) << #name;                                                        \
        EXPECT_EQ( row->width, sizeof( type ) ) << #name;                                          \
        EXPECT_EQ( Sim::findNumberField( numbering, qualifier ), nullptr );                        \
    }
#define FIELD_QUALIFIER_NAMED( name, type, users )                                                 \
    EXPECT_EQ( Sim::findNumberField( numbering, numbering.bcmFieldQualify##name ), nullptr )       \
        << #name;
#include "sim/access/FieldQualifiers.def"
}

TEST( PacketFieldsTest, Cases_EachQualifierOfTheSdk_IsInOne )
{
    std::set< std::string > tried;
    for ( const Case& one : allCases() ) {
        tried.insert( one.asked.qualifier );
    }
    for ( const std::string& name : qualifierNames() ) {
        EXPECT_TRUE( tried.contains( name ) ) << name;
    }
}

// ---- Each qualifier, under each numbering ----------------------------------------------------

class EachQualifierTest : public testing::TestWithParam< const char* >
{
  protected:
    Sim::Packet packetOf( const Sample& sample, const std::string& qualifier ) const
    {
        Sim::Packet packet = Sim::packetFromDescription( sample.description );
        packet.port = sample.port;
        if ( sample.given ) {
            packet.given[ scene.qualifier( qualifier ) ] = *sample.given;
        }
        if ( !sample.givenName.empty() ) {
            packet.given[ scene.qualifier( qualifier ) ] =
                scene.sdk.numbering().valueOf( sample.givenName ).value();
        }
        return packet;
    }

    /// What `mismatchesOf` says of an entry.
    std::vector< Sim::Mismatch > mismatches( bcm_field_entry_t entry,
                                             const Sim::Packet& packet ) const
    {
        const Sim::PacketHeaders headers = Sim::readHeaders( packet.bytes );
        const Sim::PacketFindings findings;
        return Sim::mismatchesOf( scene.chip.field().entries().find( entry )->criteria, scene.chip,
                                  { scene.sdk.numbering(), packet, headers, findings } );
    }

    PathScene scene{ "sdk6-udf", GetParam() };
};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          EachQualifierTest,
                          testing::Values( "default", "shuffled:1" ),
                          []( const auto& test ) {
                              return std::string( test.index == 0 ? "default" : "shuffled" );
                          } );

TEST_P( EachQualifierTest, Find_EntryThatAsksForIt_HitsWhatHasItOnly )
{
    const bcm_field_group_t group = scene.group();
    for ( const Case& one : allCases() ) {
        SCOPED_TRACE( one.asked.qualifier + " " + one.asked.enumerator );
        const bcm_field_entry_t entry = scene.entry( group, 1, { one.asked } );
        const Sim::Packet hit = packetOf( one.hit, one.asked.qualifier );
        const Sim::Packet miss = packetOf( one.miss, one.asked.qualifier );
        EXPECT_EQ( scene.found( hit ), entry ) << one.hit.description;
        EXPECT_EQ( scene.found( miss ), std::nullopt ) << one.miss.description;
        EXPECT_EQ( mismatches( entry, hit ).size(), 0U ) << one.hit.description;
        const std::vector< Sim::Mismatch > all = mismatches( entry, miss );
        ASSERT_EQ( all.size(), 1U ) << one.miss.description;
        EXPECT_EQ( all.front().qualifier, one.asked.qualifier );
        scene.destroy( entry );
    }
}

TEST_P( EachQualifierTest, Selects_PreselectorThatAsksForIt_SelectsWhatHasItOnly )
{
    const std::vector< std::string > names = qualifierNames( true );
    std::set< std::string > tried;
    for ( const Case& one : allCases() ) {
        if ( std::ranges::find( names, one.asked.qualifier ) == names.end() ) {
            continue;
        }
        SCOPED_TRACE( one.asked.qualifier + " " + one.asked.enumerator );
        bcm_field_presel_t preselector = 0;
        PathScene::expectDone( scene.sdk.bcm_field_presel_create( unit, &preselector ) );
        scene.ask( preselector | preselectorBit, { one.asked } );
        EXPECT_EQ( scene.path.selects( preselector, packetOf( one.hit, one.asked.qualifier ) ),
                   true );
        EXPECT_EQ( scene.path.selects( preselector, packetOf( one.miss, one.asked.qualifier ) ),
                   false );
        PathScene::expectDone( scene.sdk.bcm_field_presel_destroy( unit, preselector ) );
        EXPECT_EQ( scene.path.selects( preselector, packetOf( one.hit, one.asked.qualifier ) ),
                   std::nullopt );
        tried.insert( one.asked.qualifier );
    }
    EXPECT_EQ( tried.size(), names.size() );
}

TEST_P( EachQualifierTest, Find_EnumeratorThatIsAny_HitsEverything )
{
    const bcm_field_group_t group = scene.group();
    const Asked all[] = { named( "IpType", "bcmFieldIpTypeAny" ),
                          named( "InnerIpType", "bcmFieldIpTypeAny" ),
                          named( "IpFrag", "bcmFieldIpFragAny" ),
                          named( "L2Format", "bcmFieldL2FormatAny" ),
                          named( "L2PktType", "bcmFieldL2PktTypeAny" ),
                          named( "OverlayL2PktType", "bcmFieldL2PktTypeAny" ),
                          named( "TunnelType", "bcmFieldTunnelTypeAny" ),
                          named( "DropReason", "bcmFieldDropReasonAny" ),
                          named( "ForwardingType", "bcmFieldForwardingTypeAny" ),
                          named( "PktFwdType", "bcmFieldPktFwdTypeAny" ) };
    for ( const Asked& asked : all ) {
        SCOPED_TRACE( asked.qualifier );
        const bcm_field_entry_t entry = scene.entry( group, 1, { asked } );
        for ( const std::string& packet : { tcp4, tcp6, arp4, ethernet, tcp4 + inVxlan } ) {
            EXPECT_EQ( scene.found( packet ), entry ) << packet;
        }
        Sim::Packet given = Sim::packetFromDescription( tcp4 );
        given.given[ scene.qualifier( asked.qualifier ) ] = 2;
        EXPECT_EQ( scene.found( given ), entry );
        scene.destroy( entry );
    }
}

TEST_P( EachQualifierTest, Find_MaskOfNothing_HitsAlsoWhatIsAbsent )
{
    const bcm_field_group_t group = scene.group();
    const std::string zeros = "00000000000000000000000000000000";
    const std::vector< Asked > nothing = { number( "SrcIp", 7, 0 ),
                                           number( "InnerDstIp", 7, 0 ),
                                           number( "Vrf", 7, 0 ),
                                           bytes( "DstIp6", ones6, zeros ),
                                           bytes( "SrcMac", "ffffffffffff", "000000000000" ),
                                           inPorts( { 1 }, {} ) };
    const bcm_field_entry_t entry = scene.entry( group, 1, nothing );
    for ( const std::string& packet : { tcp4, tcp6, arp4, ethernet, std::string( "hex 01" ) } ) {
        EXPECT_EQ( scene.found( packet ), entry ) << packet;
    }
}

TEST_P( EachQualifierTest, Find_NumberThatWasGiven_CountsBeforeTheBytes )
{
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t entry = scene.entry( group, 1, { number( "L4DstPort", 443, 0xFFFF ) } );
    Sim::Packet packet = Sim::packetFromDescription( tcp4 );
    EXPECT_EQ( scene.found( packet ), std::nullopt );
    packet.given[ scene.qualifier( "L4DstPort" ) ] = 443;
    EXPECT_EQ( scene.found( packet ), entry );
    packet.given[ scene.qualifier( "L4DstPort" ) ] = 0x100000000 + 443; // As wide as the field.
    EXPECT_EQ( scene.found( packet ), entry );
}

} // namespace
} // namespace SimPacketTest
