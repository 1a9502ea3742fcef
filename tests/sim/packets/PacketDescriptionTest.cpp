#include "sim/packets/PacketDescription.h"

#include "input/InputError.h"
#include "tests/sim/packets/HandPackets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace SimPacketTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Bytes describedBytes( const std::string& description )
{
    return Sim::packetFromDescription( description ).bytes;
}

Sim::PacketHeaders described( const std::string& description )
{
    const Bytes bytes = describedBytes( description );
    const Sim::PacketHeaders headers = Sim::readHeaders( bytes );
    EXPECT_FALSE( headers.truncated ) << description;
    EXPECT_FALSE( headers.malformed ) << description;
    return headers;
}

/// "column: message"
std::string errorOf( const std::string& description )
{
    try {
        static_cast< void >( Sim::packetFromDescription( description ) );
    } catch ( const Input::InputError& error ) {
        EXPECT_EQ( error.file(), "packet" );
        EXPECT_EQ( error.line(), 1 );
        return std::to_string( error.column() ) + ": " + error.message();
    }
    return "none";
}

// ---- Whole packets, by hand --------------------------------------------------------------------

// The words of the IPv4 header add up to 0x52EB, those of UDP with its pseudo header to 0x94C1.
TEST( PacketDescriptionTest, Udp_WithAPayload_HasTheseBytes )
{
    EXPECT_EQ( describedBytes( "udp 10.0.0.1:1024 > 192.0.2.1:53 payload 616263 ttl 1 dscp 46 df" ),
               bytesOf( "020000000002 020000000001 0800 "
                        "45b8 001f 0000 4000 0111 ad14 0a000001 c0000201 "
                        "0400 0035 000b 6b3e 616263" ) );
}

TEST( PacketDescriptionTest, Arp_Request_HasTheseBytes )
{
    EXPECT_EQ( describedBytes( "arp 10.0.0.1 > 10.0.0.2 request" ),
               bytesOf( "ffffffffffff 020000000001 0806 0001 0800 06 04 0001 "
                        "020000000001 0a000001 000000000000 0a000002" ) );
}

TEST( PacketDescriptionTest, Arp_Reply_GoesToWhoAsked )
{
    EXPECT_EQ( describedBytes( "arp 10.0.0.1 > 10.0.0.2 reply" ),
               bytesOf( "020000000002 020000000001 0806 0001 0800 06 04 0002 "
                        "020000000001 0a000001 020000000002 0a000002" ) );
}

TEST( PacketDescriptionTest, Ethernet_WithTags_HasTheseBytes )
{
    EXPECT_EQ( describedBytes( "ethernet 02:00:00:00:00:0a > 02:00:00:00:00:0B type 0x88cc "
                               "vlan 200 vlan 100 prio 5 payload 0102" ),
               bytesOf( "02000000000b 02000000000a 88a8 00c8 8100 a064 88cc 0102" ) );
}

TEST( PacketDescriptionTest, Hexadecimal_WithOrWithoutTheWord_IsTheBytes )
{
    EXPECT_THAT( describedBytes( "hex 0011 22" ), ElementsAre( 0x00, 0x11, 0x22 ) );
    EXPECT_THAT( describedBytes( " aA bb\tCC" ), ElementsAre( 0xAA, 0xBB, 0xCC ) );
}

TEST( PacketDescriptionTest, Packet_OfADescription_HasItsLengthAndNothingElse )
{
    const Sim::Packet packet = Sim::packetFromDescription( "0011" );
    EXPECT_EQ( packet.wireLength, 2U );
    EXPECT_EQ( packet.timestamp, 0U );
    EXPECT_EQ( packet.port, 0U );
    EXPECT_THAT( packet.given, IsEmpty() );
}

// ---- Words, by what is read of the bytes -------------------------------------------------------

TEST( PacketDescriptionTest, Tcp_WithoutMore_OpensAConnection )
{
    const Sim::LayerHeaders tcp = described( "tcp 10.0.0.1:1024 > 192.0.2.1:80" ).outer;
    EXPECT_EQ( tcp.protocol, 6 );
    EXPECT_EQ( tcp.sourcePort, 1024 );
    EXPECT_EQ( tcp.destinationPort, 80 );
    EXPECT_EQ( tcp.tcpControl, 0x5002 );
    EXPECT_EQ( tcp.tcpWindow, 65535 );
    EXPECT_EQ( tcp.ttl, 64 );
    EXPECT_TRUE( tcp.ipChecksumRight );
}

TEST( PacketDescriptionTest, Flags_AsNamesLettersOrNumber_AreTheSame )
{
    for ( const char* flags : { "syn,ack", "SA", "0x12", "18" } ) {
        EXPECT_EQ( described( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags " + std::string( flags ) )
                       .outer.tcpControl,
                   0x5012 );
    }
    EXPECT_EQ(
        described( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags fin,rst,psh,urg,ece,cwr" ).outer.tcpControl,
        0x50ED );
    EXPECT_EQ( described( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags 0xfff" ).outer.tcpControl, 0x5FFF );
}

TEST( PacketDescriptionTest, Ip4_Words_AreInTheHeader )
{
    const Sim::LayerHeaders ip =
        described( "ip 10.0.0.1 > 10.0.0.2 protocol 89 ttl 2 dscp 63 ecn 3 id 4660 df "
                   "options 94040000" )
            .outer;
    EXPECT_EQ( ip.protocol, 89 );
    EXPECT_EQ( ip.ttl, 2 );
    EXPECT_EQ( ip.typeOfService, 0xFF );
    EXPECT_EQ( ip.identification, 0x1234U );
    EXPECT_EQ( ip.ipFlags, 2 );
    EXPECT_EQ( ip.ipHeaderLength, 24 );
    EXPECT_TRUE( ip.ipChecksumRight );
}

TEST( PacketDescriptionTest, Ip6_Words_AreInTheHeader )
{
    const Sim::LayerHeaders ip =
        described( "udp [2001:db8::1]:5 > [2001:db8::2]:6 ttl 3 dscp 1 ecn 2 flow 0xabcde" ).outer;
    EXPECT_EQ( ip.l3Kind, Sim::L3Kind::ip6 );
    EXPECT_EQ( ip.ttl, 3 );
    EXPECT_EQ( ip.typeOfService, 6 );
    EXPECT_EQ( ip.flowLabel, 0xABCDEU );
    EXPECT_EQ( ip.ipLength, 8 );
    EXPECT_EQ( ip.destinationPort, 6 );
}

TEST( PacketDescriptionTest, Icmp_TypeAndCode_AreThoseGivenOrAnEcho )
{
    EXPECT_EQ( described( "icmp 10.0.0.1 > 10.0.0.2" ).outer.type, 8 );
    EXPECT_EQ( described( "icmp6 2001:db8::1 > 2001:db8::2" ).outer.type, 128 );
    const Sim::LayerHeaders icmp = described( "icmp 10.0.0.1 > 10.0.0.2 code 1 type 3" ).outer;
    EXPECT_EQ( icmp.type, 3 );
    EXPECT_EQ( icmp.code, 1 );
}

TEST( PacketDescriptionTest, Sctp_HasPorts )
{
    const Sim::LayerHeaders sctp = described( "sctp 10.0.0.1:7 > 10.0.0.2:8" ).outer;
    EXPECT_EQ( sctp.protocol, 132 );
    EXPECT_EQ( sctp.destinationPort, 8 );
}

TEST( PacketDescriptionTest, Fragments_HaveLayer4InTheFirstOnly )
{
    for ( const std::string& addresses : { std::string( "10.0.0.1:1 > 10.0.0.2:2" ),
                                           std::string( "[2001:db8::1]:1 > [2001:db8::2]:2" ) } ) {
        const Sim::LayerHeaders first =
            described( "udp " + addresses + " fragment 0+ id 9 payload 00" ).outer;
        EXPECT_TRUE( first.moreFragments );
        EXPECT_EQ( first.identification, 9U );
        EXPECT_TRUE( first.hasPorts );
        const Sim::LayerHeaders last =
            described( "udp " + addresses + " id 9 fragment 1480 payload aabb" ).outer;
        EXPECT_FALSE( last.moreFragments );
        EXPECT_EQ( last.fragmentOffset, 185 );
        EXPECT_EQ( last.protocol, 17 );
        EXPECT_FALSE( last.hasPorts );
    }
}

TEST( PacketDescriptionTest, Length_OfTheWholeFrame_IsFilledUp )
{
    const Bytes bytes =
        describedBytes( "udp 10.0.0.1:1 > 10.0.0.2:2 payload ff length 1500 vlan 2" );
    const Sim::LayerHeaders udp = Sim::readHeaders( bytes ).outer;
    EXPECT_EQ( bytes.size(), 1500U );
    EXPECT_EQ( udp.ipLength, 1482 );
    EXPECT_TRUE( udp.ipChecksumRight );
    EXPECT_EQ( bytes[ 46 ], 0xFF );
    EXPECT_EQ( bytes[ 47 ], 0 );
    EXPECT_EQ( describedBytes( "arp 10.0.0.1 > 10.0.0.2 length 60" ).size(), 60U );
    EXPECT_EQ(
        describedBytes( "tcp 10.0.0.1:1 > 10.0.0.2:2 in vxlan 1 10.0.0.3 > 10.0.0.4 length 200" )
            .size(),
        200U );
}

TEST( PacketDescriptionTest, Macs_OfGroups_AreTheirs )
{
    const auto destination = []( const std::string& description ) {
        const Bytes bytes = describedBytes( description );
        return Bytes( bytes.begin(), bytes.begin() + 6 );
    };
    EXPECT_EQ( destination( "ip 10.0.0.1 > 239.129.2.3 protocol 103" ), bytesOf( "01005e010203" ) );
    EXPECT_EQ( destination( "ip 2001:db8::1 > ff02::1:ff01:203 protocol 103" ),
               bytesOf( "3333ff010203" ) );
    EXPECT_EQ( destination( "ip 10.0.0.1 > 255.255.255.255 protocol 103" ),
               bytesOf( "ffffffffffff" ) );
    EXPECT_EQ( destination( "ip 10.0.0.1 > 239.1.2.3 protocol 1 "
                            "mac 02:00:00:00:00:09 > 02:00:00:00:00:08" ),
               bytesOf( "020000000008" ) );
}

TEST( PacketDescriptionTest, Labels_StandBeforeIp )
{
    const Sim::LayerHeaders outer = described( "tcp 10.0.0.1:1 > 10.0.0.2:2 mpls 100,200" ).outer;
    EXPECT_EQ( outer.etherType, 0x8847 );
    EXPECT_EQ( outer.mplsDepth, 2 );
    EXPECT_EQ( outer.mplsLabel( 0 ), 100U );
    EXPECT_EQ( outer.mplsLabel( 1 ), 200U );
    EXPECT_EQ( outer.destinationPort, 2 );
}

// ---- Tunnels -----------------------------------------------------------------------------------

TEST( PacketDescriptionTest, Vxlan_HasWordsOfBothSides )
{
    const Sim::PacketHeaders headers =
        described( "tcp 10.0.0.1:1 > 10.0.0.2:2 vlan 3 ttl 5 in vxlan 5000 10.1.1.1 > 10.2.2.2 "
                   "vlan 4 ttl 6" );
    EXPECT_EQ( headers.tunnel.kind, Sim::TunnelKind::vxlan );
    EXPECT_EQ( headers.tunnel.vni, 5000U );
    EXPECT_EQ( headers.tunnel.flags, 8 );
    EXPECT_EQ( headers.outer.vlanTag[ 0 ].vlan(), 4 );
    EXPECT_EQ( headers.outer.ttl, 6 );
    EXPECT_EQ( headers.outer.sourcePort, 49152 );
    EXPECT_EQ( headers.inner.vlanTag[ 0 ].vlan(), 3 );
    EXPECT_EQ( headers.inner.ttl, 5 );
    EXPECT_EQ( headers.inner.destinationPort, 2 );
}

TEST( PacketDescriptionTest, Geneve_CarriesAFrame )
{
    const Sim::PacketHeaders headers =
        described( "arp 10.0.0.1 > 10.0.0.2 in geneve 16777215 2001:db8::1 > 2001:db8::2" );
    EXPECT_EQ( headers.tunnel.kind, Sim::TunnelKind::geneve );
    EXPECT_EQ( headers.tunnel.vni, 0xFFFFFFU );
    EXPECT_EQ( headers.inner.l3Kind, Sim::L3Kind::arp );
}

TEST( PacketDescriptionTest, Gre_CarriesIpOrAFrame )
{
    const Sim::PacketHeaders ip =
        described( "tcp 10.0.0.1:1 > 10.0.0.2:2 in gre 10.1.1.1 > 10.2.2.2 key 7" );
    EXPECT_EQ( ip.tunnel.protocol, 0x0800 );
    EXPECT_TRUE( ip.tunnel.greHasKey() );
    EXPECT_EQ( ip.tunnel.greKey, 7U );
    EXPECT_EQ( ip.inner.destinationPort, 2 );
    const Sim::PacketHeaders frame =
        described( "tcp 10.0.0.1:1 > 10.0.0.2:2 vlan 3 in gre 10.1.1.1 > 10.2.2.2" );
    EXPECT_EQ( frame.tunnel.protocol, 0x6558 );
    EXPECT_FALSE( frame.tunnel.greHasKey() );
    EXPECT_EQ( frame.inner.vlanTag[ 0 ].vlan(), 3 );
}

TEST( PacketDescriptionTest, IpInIp_OfOtherVersions_NamesTheInnerOne )
{
    EXPECT_EQ( described( "tcp [2001:db8::1]:1 > [2001:db8::2]:2 in ip 10.1.1.1 > 10.2.2.2" )
                   .outer.protocol,
               41 );
    EXPECT_EQ(
        described( "tcp 10.0.0.1:1 > 10.0.0.2:2 in ip 2001:db8::1 > 2001:db8::2" ).outer.protocol,
        4 );
}

TEST( PacketDescriptionTest, Tunnels_InTunnels_AreWritten )
{
    const Sim::PacketHeaders headers = described( "tcp 10.0.0.1:1 > 10.0.0.2:2 in ip 10.1.1.1 > "
                                                  "10.2.2.2 in vxlan 9 10.3.3.3 > 10.4.4.4" );
    EXPECT_EQ( headers.tunnel.vni, 9U );
    EXPECT_EQ( headers.inner.protocol, 4 );
    EXPECT_EQ( headers.inner.ipLength, 60 );
}

// ---- Faults ------------------------------------------------------------------------------------

struct Fault
{
    std::string description;
    std::string error;
};

// clang-format off
const std::vector< Fault > faults{
    { "", "1: the description ends, expected a kind of packet" },
    { "tpc 10.0.0.1:1 > 10.0.0.2:2", "1: 'tpc' is not a kind of packet, did you mean 'tcp'?" },
    { "tcp", "4: the description ends, expected an address and a port, like '10.0.0.1:80' or '[2001:db8::1]:80'" },
    { "tcp 10.0.0.1 > 10.0.0.2:2", "5: expected an address and a port, like '10.0.0.1:80' or '[2001:db8::1]:80', found '10.0.0.1'" },
    { "tcp 2001:db8::1:1 > 10.0.0.2:2", "5: expected an address and a port, like '10.0.0.1:80' or '[2001:db8::1]:80', found '2001:db8::1:1'" },
    { "tcp 10.0.0.300:1 > 10.0.0.2:2", "5: expected an IPv4 address, found '10.0.0.300'" },
    { "tcp [10.0.0.1]:1 > 10.0.0.2:2", "6: expected an IPv6 address, found '10.0.0.1'" },
    { "tcp 10.0.0.1:65536 > 10.0.0.2:2", "14: expected a number from 0 to 65535, found '65536'" },
    { "tcp [2001:db8::1]:x > [2001:db8::2]:2", "19: expected a number from 0 to 65535, found 'x'" },
    { "tcp 10.0.0.1:1 10.0.0.2:2", "16: expected '>', found '10.0.0.2:2'" },
    { "tcp 10.0.0.1:1 >", "17: the description ends, expected an address and a port, like '10.0.0.1:80' or '[2001:db8::1]:80'" },
    { "tcp 10.0.0.1:1 > [2001:db8::2]:2", "18: the source is of IPv4, the destination is not" },
    { "ip 10.0.0.1 > 2001:db8::2 protocol 1", "15: the source is of IPv4, the destination is not" },
    { "ip 10.0.0.1:1 > 10.0.0.2 protocol 1", "4: expected an IP address, found '10.0.0.1:1'" },
    { "icmp 2001:db8::1 > 2001:db8::2", "6: expected an IPv4 address" },
    { "icmp6 10.0.0.1 > 10.0.0.2", "7: expected an IPv6 address" },
    { "arp 2001:db8::1 > 2001:db8::2", "5: expected an IPv4 address" },
    { "ip 10.0.0.1 > 10.0.0.2", "1: 'ip' needs 'protocol'" },
    { "ethernet 02:00:00:00:00:01 > 02:00:00:00:00:02", "1: 'ethernet' needs 'type'" },
    { "ethernet 02:00:00:00:00 > 02:00:00:00:00:02 type 0x88cc", "10: expected a MAC address like '02:00:00:00:00:01', found '02:00:00:00:00'" },
    { "ethernet 02:00:00:00:00:01 > 02-00-00-00-00-02 type 0x88cc", "30: expected a MAC address like '02:00:00:00:00:01', found '02-00-00-00-00-02'" },
    { "ethernet 02:00:00:00:00:01 > 02:00:00:00:00:02 type 1500", "53: expected a number from 1536 to 65535, found '1500'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 ttll 1", "29: unknown word 'ttll', did you mean 'ttl'?" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 flags S", "29: 'flags' is not for 'udp'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 ttl", "32: the description ends, expected a number" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 ttl 256", "33: expected a number from 0 to 255, found '256'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 ttl 010", "33: expected a number from 0 to 255, found '010'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 dscp 64", "34: expected a number from 0 to 63, found '64'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 ecn 4", "33: expected a number from 0 to 3, found '4'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 ttl 1 ttl 1", "35: 'ttl' is given twice" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 flow 1", "29: 'flow' is for IPv6" },
    { "udp [2001:db8::1]:1 > [2001:db8::2]:2 df", "39: 'df' is for IPv4" },
    { "udp [2001:db8::1]:1 > [2001:db8::2]:2 options 00000000", "39: 'options' is for IPv4" },
    { "udp [2001:db8::1]:1 > [2001:db8::2]:2 id 1", "39: 'id' is for IPv4 and for fragments" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 options 000000", "37: expected a multiple of 4 bytes, 40 at most" },
    { "tcp 10.0.0.1:1 > 10.0.0.2:2 flags syn,akc", "39: unknown flag 'akc', did you mean 'ack'?" },
    { "tcp 10.0.0.1:1 > 10.0.0.2:2 flags 4096", "35: expected a number from 0 to 4095, found '4096'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 fragment 7+", "38: a fragment begins at a multiple of 8 bytes" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 fragment +", "38: expected a number from 0 to 65528, found ''" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 vlan 4096", "34: expected a number from 0 to 4095, found '4096'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 vlan 1 prio 8", "41: expected a number from 0 to 7, found '8'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 vlan 1 vlan 2 vlan 3", "43: a packet has two tags at most" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 mpls 1,1048576", "36: expected a number from 0 to 1048575, found '1048576'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 mpls 1,", "36: expected a number from 0 to 1048575, found ''" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 payload 01x2", "39: expected a hexadecimal digit" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 payload 012", "40: expected a second hexadecimal digit of the byte" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 length 41", "36: the packet has 42 bytes without padding" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 length 65536", "36: expected a number from 14 to 65535, found '65536'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 length 60 length 60", "39: 'length' is given twice" },
    { "arp 10.0.0.1 > 10.0.0.2 request reply", "33: 'request' or 'reply' is given twice" },
    { "arp 10.0.0.1 > 10.0.0.2 ttl 1", "25: 'ttl' is not for 'arp'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 in", "31: the description ends, expected a kind of tunnel" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 in vxlam", "32: 'vxlam' is not a kind of tunnel, did you mean 'vxlan'?" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 in vxlan 16777216 10.1.1.1 > 10.2.2.2", "38: expected a number from 0 to 16777215, found '16777216'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 in ip 10.1.1.1 > 10.2.2.2 key 1", "55: 'key' is not for 'ip'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 in ip 10.1.1.1 > 10.2.2.2 payload 00", "55: 'payload' is not for 'ip'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 vlan 1 in ip 10.1.1.1 > 10.2.2.2", "39: only IP goes into 'ip', without 'mac', 'vlan' and 'mpls'" },
    { "arp 10.0.0.1 > 10.0.0.2 in ip 10.1.1.1 > 10.2.2.2", "28: only IP goes into 'ip', without 'mac', 'vlan' and 'mpls'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 mpls 5 in ip 10.1.1.1 > 10.2.2.2", "39: only IP goes into 'ip', without 'mac', 'vlan' and 'mpls'" },
    { "hex", "4: the description ends, expected bytes in hexadecimal" },
    { "hex 00 1", "9: expected a second hexadecimal digit of the byte" },
    { "hex 00 0g", "9: expected a second hexadecimal digit of the byte" },
    { "hex 00 g0", "8: expected a hexadecimal digit" },
    { "\xC3\xA4 \xC3\xB6", "1: '\xC3\xA4' is not a kind of packet, expected 'tcp', 'udp', 'sctp', 'icmp', 'icmp6', 'ip', 'arp' or 'ethernet'" },
    { "tcp \xC3\xA4:1 > \xC3\xB6", "5: expected an IPv4 address, found '\xC3\xA4'" },
    { "udp 10.0.0.1:1 > 10.0.0.2:2 \xC3\xA4 1", "29: unknown word '\xC3\xA4'" },
};

// clang-format on

TEST( PacketDescriptionTest, Description_WithAFault_IsRefusedThere )
{
    for ( const Fault& fault : faults ) {
        EXPECT_EQ( errorOf( fault.description ), fault.error ) << fault.description;
    }
}

TEST( PacketDescriptionTest, Fault_BehindLettersOfSeveralBytes_IsCountedInLetters )
{
    EXPECT_EQ( errorOf( "tcp \xC3\xA4\xC3\xB6:x > 10.0.0.1:1" ).substr( 0, 2 ), "5:" );
    EXPECT_EQ( errorOf( "hex \xC3\xA4" ), "5: expected a hexadecimal digit" );
}

TEST( PacketDescriptionTest, Fault_OfAPlaceInAFile_IsThere )
{
    try {
        static_cast< void >(
            Sim::packetFromDescription( "udp 10.0.0.1", { "office.yaml", 7, 20 } ) );
        ADD_FAILURE() << "no error";
    } catch ( const Input::InputError& error ) {
        EXPECT_EQ( error.file(), "office.yaml" );
        EXPECT_EQ( error.line(), 7 );
        EXPECT_EQ( error.column(), 24 );
    }
}

TEST( PacketDescriptionTest, Packet_TooLong_IsRefused )
{
    const std::string payload( std::size_t{ 2 } * 65494, '0' );
    EXPECT_EQ( errorOf( "udp 10.0.0.1:1 > 10.0.0.2:2 payload " + payload ),
               std::to_string( 37 + payload.size() ) +
                   ": the packet has 65536 bytes, the most are 65535" );
}

} // namespace
} // namespace SimPacketTest
