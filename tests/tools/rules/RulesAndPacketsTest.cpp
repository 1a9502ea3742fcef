// Rules and the packets that hit them, on each kind of chip.

#include "sim/PacketDescription.h"
#include "sim/PacketPath.h"
#include "tests/reference/RuleScene.h"
#include "tools/rules/FilterRules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using Reference::RuleScene;
using Reference::RuleSetReport;

/// A rule of the form of ClassBench, without prefixes and ports.
std::string rule( const std::string& protocol, const std::string& flags )
{
    return "@0.0.0.0/0 0.0.0.0/0 0 : 65535 0 : 65535 " + protocol + " " + flags + "\n";
}

class RulesAndPackets : public testing::TestWithParam< const char* >
{
  protected:
    void program( const std::string& rules )
    {
        report = scene.programmer().program(
            Tool::filterRulesOf( Tool::parseRuleSet( rules, "a.rules" ) ), {} );
        scene.audit();
    }

    /// Whether the packet hits the only rule that there is.
    [[nodiscard]] bool hits( const std::string& packet )
    {
        const Sim::PacketPath path( scene.tcam().chip(), scene.tcam().chips.numbering() );
        const auto found = path.find( Sim::packetFromDescription( packet ) );
        return found.size() == 1 && found.front().entry.has_value();
    }

    RuleScene scene{ Sim::builtInProfile( GetParam() ) };
    RuleSetReport report;
};

INSTANTIATE_TEST_SUITE_P( Chips,
                          RulesAndPackets,
                          testing::Values( "sdk6-udf", "sdk6-flex", "hsdk" ),
                          []( const auto& test ) {
                              std::string name = test.param;
                              std::ranges::replace( name, '-', '_' );
                              return name;
                          } );

TEST_P( RulesAndPackets, SynWithoutAck_TcpPackets_HitByTheirFlags )
{
    program( rule( "0x06/0xFF", "0x0200/0x1200" ) );
    EXPECT_TRUE( hits( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags syn" ) );
    EXPECT_TRUE( hits( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags syn,urg" ) );
    EXPECT_FALSE( hits( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags syn,ack" ) );
    EXPECT_FALSE( hits( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags ack" ) );
    EXPECT_FALSE( hits( "udp 10.0.0.1:1 > 10.0.0.2:2" ) );
}

TEST_P( RulesAndPackets, NotSyn_TcpPackets_HitWithoutTheFlag )
{
    program( rule( "0x06/0xFF", "0x0000/0x0200" ) );
    EXPECT_TRUE( hits( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags ack" ) );
    EXPECT_FALSE( hits( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags syn" ) );
}

TEST_P( RulesAndPackets, IcmpType_IcmpPackets_HitByTheirType )
{
    program( rule( "0x01/0xFF", "0x0800/0xff00" ) );
    EXPECT_TRUE( hits( "icmp 10.0.0.1 > 10.0.0.2 type 8 code 0" ) );
    EXPECT_TRUE( hits( "icmp 10.0.0.1 > 10.0.0.2 type 8 code 5" ) );
    EXPECT_FALSE( hits( "icmp 10.0.0.1 > 10.0.0.2 type 3 code 0" ) );
    EXPECT_FALSE( hits( "icmp6 2001:db8::1 > 2001:db8::2 type 8 code 0" ) );
}

TEST_P( RulesAndPackets, IcmpTypeAndCode_IcmpPackets_HitByBoth )
{
    program( rule( "0x01/0xFF", "0x0301/0xffff" ) );
    EXPECT_TRUE( hits( "icmp 10.0.0.1 > 10.0.0.2 type 3 code 1" ) );
    EXPECT_FALSE( hits( "icmp 10.0.0.1 > 10.0.0.2 type 3 code 0" ) );
}

TEST_P( RulesAndPackets, AnotherProtocolWithoutFlags_ItsPackets_Hit )
{
    program( rule( "0x11/0xFF", "0x0000/0x1200" ) );
    EXPECT_TRUE( hits( "udp 10.0.0.1:1 > 10.0.0.2:2" ) );
    EXPECT_FALSE( hits( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags ack" ) );
}

TEST_P( RulesAndPackets, NoPrefix_PacketsThatAreNotIpv4_DoNotHit )
{
    program( rule( "0x00/0x00", "0x0000/0x0000" ) );
    EXPECT_TRUE( hits( "ip 10.0.0.1 > 10.0.0.2 protocol 89" ) );
    EXPECT_FALSE( hits( "ip 2001:db8::1 > 2001:db8::2 protocol 89" ) );
    EXPECT_FALSE( hits( "arp 10.0.0.1 > 10.0.0.2" ) );
    EXPECT_FALSE( hits( "ethernet 02:00:00:00:00:01 > 02:00:00:00:00:02 type 0x88b5" ) );
}

TEST_P( RulesAndPackets, NoPrefixButAProtocol_PacketsOfIpv6_DoNotHit )
{
    program( rule( "0x06/0xFF", "0x0000/0x0000" ) );
    EXPECT_TRUE( hits( "tcp 10.0.0.1:1 > 10.0.0.2:2" ) );
    EXPECT_FALSE( hits( "tcp [2001:db8::1]:1 > [2001:db8::2]:2" ) );
}

TEST_P( RulesAndPackets, APrefix_PacketsOfIpv6_DoNotHit )
{
    program( "@128.0.0.0/1 0.0.0.0/0 0 : 65535 0 : 65535 0x06/0xFF 0x0000/0x0000\n" );
    EXPECT_TRUE( hits( "tcp 192.0.2.1:1 > 10.0.0.2:2" ) );
    EXPECT_FALSE( hits( "tcp 10.0.0.1:1 > 10.0.0.2:2" ) );
    EXPECT_FALSE( hits( "tcp [2001:db8::1]:1 > [2001:db8::2]:2" ) );
    EXPECT_FALSE( hits( "arp 192.0.2.1 > 192.0.2.2" ) );
}

/// A prefix of zeros: a packet without an address has zeros there, too.
TEST_P( RulesAndPackets, APrefixOfZeros_PacketsThatAreNotIpv4_DoNotHit )
{
    program( "@0.0.0.0/1 0.0.0.0/0 0 : 65535 0 : 65535 0x00/0x00 0x0000/0x0000\n" );
    EXPECT_TRUE( hits( "ip 10.0.0.1 > 10.0.0.2 protocol 89" ) );
    EXPECT_FALSE( hits( "ip 192.0.2.1 > 10.0.0.2 protocol 89" ) );
    EXPECT_FALSE( hits( "ip 2001:db8::1 > 2001:db8::2 protocol 89" ) );
    EXPECT_FALSE( hits( "arp 10.0.0.1 > 10.0.0.2" ) );
}

TEST_P( RulesAndPackets, PortsForAProtocolWithoutPorts_AreCompared )
{
    program( "@10.0.0.0/8 0.0.0.0/0 0 : 65535 80 : 80 0x59/0xFF 0x0000/0x0000\n" );
    EXPECT_EQ( report.programmed, 1U );
    EXPECT_FALSE( hits( "ip 10.0.0.1 > 10.0.0.2 protocol 89" ) );
}

TEST_P( RulesAndPackets, RulesThatNoEntryCanMatch_NoPacket_Hits )
{
    program( rule( "0x00/0x00", "0x0200/0x0200" ) + rule( "0x06/0xFF", "0x0000/0x0001" ) +
             rule( "0x11/0xFF", "0x0100/0x0100" ) );
    EXPECT_EQ( report.programmed, 0U );
    EXPECT_FALSE( hits( "tcp 10.0.0.1:1 > 10.0.0.2:2 flags syn" ) );
    EXPECT_FALSE( hits( "udp 10.0.0.1:1 > 10.0.0.2:2" ) );
}

TEST_P( RulesAndPackets, RuleOfIpv6WithoutAPrefix_PacketsOfIpv4_DoNotHit )
{
    Reference::FilterRule ipv6;
    ipv6.destination = { PeloraTcam::IpAddress::v6( {} ), 0 };
    ipv6.protocol = { 58, 0xFF };
    ipv6.flags = { 0x8000, 0xFF00 };
    const Reference::FilterRule rules[] = { ipv6 };
    report = scene.programmer().program( rules, {} );
    scene.audit();
    EXPECT_TRUE( hits( "icmp6 2001:db8::1 > 2001:db8::2 type 128" ) );
    EXPECT_FALSE( hits( "icmp6 2001:db8::1 > 2001:db8::2 type 129" ) );
    EXPECT_FALSE( hits( "ip 10.0.0.1 > 10.0.0.2 protocol 58 payload 80000000" ) );
}

} // namespace
