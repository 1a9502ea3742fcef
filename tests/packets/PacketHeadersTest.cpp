// The header walk, on packets written by hand.

#include "tests/packets/PacketHeaders.h"

#include "tests/packets/HandPackets.h"

#include <gtest/gtest.h>

namespace PacketTest {
namespace {

PacketHeaders walked( const std::string& hex )
{
    const std::optional< PacketHeaders > headers = headersOf( packetOf( hex ) );
    EXPECT_TRUE( headers );
    return headers.value_or( PacketHeaders() );
}

TEST( PacketHeadersTest, HeadersOf_TcpOverIp4_AreBehindEachOther )
{
    const PacketHeaders headers = walked( macs + isIp4 + ip4Header( "06" ) + tcpHeader + payload );
    EXPECT_EQ( headers.vlanTags, 0U );
    EXPECT_EQ( headers.outer.ethType, 0x0800 );
    EXPECT_EQ( headers.outer.l3, 14U );
    EXPECT_EQ( headers.outer.l3End, 34U );
    EXPECT_EQ( headers.outer.l3Extra, 0U );
    EXPECT_EQ( headers.outer.ipProto, 6 );
    EXPECT_EQ( headers.outer.l4, 34U );
    EXPECT_EQ( headers.outer.l4End, 54U );
    EXPECT_EQ( headers.outer.l4Extra, 0U );
    EXPECT_FALSE( headers.greEthType );
    EXPECT_FALSE( headers.inner );
}

TEST( PacketHeadersTest, HeadersOf_Options_AreCounted )
{
    const LayerHeaders outer =
        walked( macs + isIp4 + ip4HeaderWithOption( "06" ) + tcpHeaderWithOptions ).outer;
    EXPECT_EQ( outer.l3End, 38U );
    EXPECT_EQ( outer.l3Extra, 4U );
    EXPECT_EQ( outer.l4, 38U );
    EXPECT_EQ( outer.l4End, 70U );
    EXPECT_EQ( outer.l4Extra, 12U );
}

TEST( PacketHeadersTest, HeadersOf_TaggedArp_StartBehindTheTags )
{
    const PacketHeaders headers = walked( macs + serviceTag + tag + isArp + arpRequest );
    EXPECT_EQ( headers.vlanTags, 2U );
    EXPECT_EQ( headers.outer.ethType, 0x0806 );
    EXPECT_EQ( headers.outer.l3, 22U );
    EXPECT_FALSE( headers.outer.l3End );
    EXPECT_FALSE( headers.outer.l4 );
}

TEST( PacketHeadersTest, HeadersOf_Ip6WithARoutingHeader_GoBehindIt )
{
    const LayerHeaders outer =
        walked( macs + isIp6 + ip6Header( "2b" ) + ip6Routing( "11" ) + udpHeader ).outer;
    EXPECT_EQ( outer.l3End, 78U );
    EXPECT_EQ( outer.l3Extra, 24U );
    EXPECT_EQ( outer.ipProto, 17 );
    EXPECT_EQ( outer.l4, 78U );
    EXPECT_EQ( outer.l4End, 86U );
}

TEST( PacketHeadersTest, HeadersOf_Gre_HaveAnInnerLayer )
{
    const PacketHeaders plain = walked( macs + isIp4 + ip4Header( "2f" ) + greOfIp4 +
                                        ip4Header( "11" ) + udpHeader + payload );
    EXPECT_EQ( plain.greEthType, 0x0800 );
    EXPECT_EQ( plain.outer.l4, 34U );
    EXPECT_FALSE( plain.outer.l4End );
    ASSERT_TRUE( plain.inner );
    EXPECT_EQ( plain.inner->l3, 38U );
    EXPECT_EQ( plain.inner->l4, 58U );
    EXPECT_EQ( plain.inner->ipProto, 17 );
    const PacketHeaders keyed =
        walked( macs + isIp6 + ip6Header( "2f" ) + greOfIp6WithKeyAndSequence + ip6Header( "06" ) +
                tcpHeader );
    ASSERT_TRUE( keyed.inner );
    EXPECT_EQ( keyed.inner->l3, 66U );
    EXPECT_EQ( keyed.inner->l4, 106U );
    const PacketHeaders ethernet =
        walked( macs + isIp4 + ip4Header( "2f" ) + greOfEthernet + payload );
    EXPECT_EQ( ethernet.greEthType, 0x6558 );
    EXPECT_FALSE( ethernet.inner );
}

TEST( PacketHeadersTest, HeadersOf_LaterFragment_HaveNoLayer4 )
{
    const LayerHeaders outer =
        walked( macs + isIp4 + "45 00 0064 0001 0010 40 11 0000 0a000001 0a000002 " + payload )
            .outer;
    EXPECT_EQ( outer.l3End, 34U );
    EXPECT_FALSE( outer.l4 );
}

TEST( PacketHeadersTest, HeadersOf_WhatIsNoEthernet2OrTooShort_AreNone )
{
    EXPECT_FALSE( headersOf( {} ) );
    EXPECT_FALSE( headersOf( packetOf( macs + "0026 424203 " + payload ) ) );
    EXPECT_FALSE( headersOf( packetOf( macs + isIp4 + "45 00 0064" ) ) );
    EXPECT_FALSE( headersOf( packetOf( macs + isIp4 + ip4Header( "06" ) + "0016 c000" ) ) );
}

} // namespace
} // namespace PacketTest
