#include "reference/RuleFlags.h"

#include "tests/reference/TcamScene.h"

#include <gtest/gtest.h>

namespace Reference {
namespace {

using PeloraTcam::QualifierType;

constexpr Masked< Agent::U8 > tcp{ 6, 0xFF };
constexpr Masked< Agent::U8 > icmp{ 1, 0xFF };
constexpr Masked< Agent::U8 > icmp6{ 58, 0xFF };
constexpr Masked< Agent::U8 > udp{ 17, 0xFF };
constexpr Masked< Agent::U8 > any{ 0, 0 };

/// What an entry for IPv4 asks for.
FlagsMatch flags( Masked< Agent::U8 > protocol, Agent::U16 data, Agent::U16 mask )
{
    return flagsMatch( protocol, { data, mask }, false );
}

QualifierMatch asked( QualifierType qualifier, Agent::U32 data, Agent::U32 mask )
{
    return { qualifier, Masked< Agent::U32 >{ data, mask } };
}

TEST( RuleFlagsTest, Tcp_FlagsOfTheHighByte_AreTcpControl )
{
    const FlagsMatch synWithoutAck = flags( tcp, 0x0200, 0x1200 );
    EXPECT_EQ( synWithoutAck.refusal, "" );
    EXPECT_EQ( synWithoutAck.match, asked( QualifierType::tcpControl, 0x02, 0x12 ) );
    EXPECT_EQ( flags( tcp, 0x0000, 0x0200 ).match, asked( QualifierType::tcpControl, 0, 0x02 ) );
    EXPECT_EQ( flags( tcp, 0xFF00, 0xFF00 ).match, asked( QualifierType::tcpControl, 0xFF, 0xFF ) );
}

TEST( RuleFlagsTest, Tcp_DataOutsideOfTheMask_DoesNotCount )
{
    EXPECT_EQ( flags( tcp, 0x1234, 0x0200 ).match, asked( QualifierType::tcpControl, 2, 2 ) );
}

TEST( RuleFlagsTest, Tcp_AnyBitOfTheLowByte_IsRefused )
{
    constexpr Agent::U16 masks[] = { 0x0001, 0x0080, 0x0201, 0xFFFF };
    for ( const Agent::U16 mask : masks ) {
        const FlagsMatch match = flags( tcp, 0, mask );
        EXPECT_EQ( match.refusal, "bits that are no TCP flags" ) << mask;
        EXPECT_FALSE( match.match );
    }
}

TEST( RuleFlagsTest, Icmp_AllBits_AreTypeAndCode )
{
    EXPECT_EQ( flags( icmp, 0x0800, 0xFF00 ).match,
               asked( QualifierType::icmpTypeCode, 0x0800, 0xFF00 ) );
    EXPECT_EQ( flags( icmp, 0x0301, 0xFFFF ).match,
               asked( QualifierType::icmpTypeCode, 0x0301, 0xFFFF ) );
    EXPECT_EQ( flags( icmp, 0x0000, 0xFF00 ).match,
               asked( QualifierType::icmpTypeCode, 0, 0xFF00 ) );
}

TEST( RuleFlagsTest, Icmp_EachVersionOfIp_HasItsOwn )
{
    const auto echo = asked( QualifierType::icmpTypeCode, 0x8000, 0xFF00 );
    EXPECT_EQ( flagsMatch( icmp6, { 0x8000, 0xFF00 }, true ).match, echo );
    EXPECT_EQ( flagsMatch( icmp, { 0x8000, 0xFF00 }, true ).refusal, flagsOfNoPacket );
    EXPECT_EQ( flagsMatch( icmp6, { 0x8000, 0xFF00 }, false ).refusal, flagsOfNoPacket );
}

TEST( RuleFlagsTest, AnotherProtocol_HasZeros )
{
    const FlagsMatch zeros = flags( udp, 0x1200, 0x00FF ); // All that counts is 0.
    EXPECT_EQ( zeros.refusal, "" );
    EXPECT_FALSE( zeros.match );
    const FlagsMatch ones = flags( udp, 0x0200, 0x0200 );
    EXPECT_EQ( ones.refusal, "flags that no packet of its protocol has" );
    EXPECT_FALSE( ones.match );
}

TEST( RuleFlagsTest, SeveralProtocols_AskingForFlags_AreRefused )
{
    constexpr Masked< Agent::U8 > tcpOrNext{ 6, 0xFE };
    for ( const Masked< Agent::U8 > protocol : { any, tcpOrNext } ) {
        EXPECT_EQ( flags( protocol, 0x0200, 0x0200 ).refusal, "flags without an exact protocol" );
        EXPECT_EQ( flags( protocol, 0, 0x0001 ).refusal, flagsOfSeveralProtocols );
    }
}

TEST( RuleFlagsTest, NoMask_AnyProtocol_AsksForNothing )
{
    for ( const Masked< Agent::U8 > protocol : { any, tcp, icmp, udp } ) {
        const FlagsMatch match = flags( protocol, 0xFFFF, 0 );
        EXPECT_EQ( match.refusal, "" );
        EXPECT_FALSE( match.match );
    }
}

TEST( RuleFlagsTest, IsUnmatchable_WhatTheChipLacks_IsNot )
{
    EXPECT_TRUE( isUnmatchable( noTcpFlags ) );
    EXPECT_TRUE( isUnmatchable( flagsOfSeveralProtocols ) );
    EXPECT_TRUE( isUnmatchable( flagsOfNoPacket ) );
    EXPECT_FALSE( isUnmatchable( "range checker" ) );
    EXPECT_FALSE( isUnmatchable( "" ) );
}

TEST( RuleFlagsTest, EveryPacketOfIp_EachVersion_IsTheSdksType )
{
    TcamScene scene( "sdk6-udf" );
    const Sim::SdkNumbering& numbering = scene.chips.numbering();
    const auto type = []( bcm_field_IpType_t value ) {
        return QualifierMatch{ QualifierType::ipType,
                               SdkEnumerator{ static_cast< Agent::U32 >( value ) } };
    };
    EXPECT_EQ( everyPacketOfIp( false ), type( numbering.bcmFieldIpTypeIpv4Any ) );
    EXPECT_EQ( everyPacketOfIp( true ), type( numbering.bcmFieldIpTypeIpv6 ) );
}

} // namespace
} // namespace Reference
