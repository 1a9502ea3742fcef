// What is read of tunnels written by hand, and of what is inside of them.

#include "tests/sim/packets/HandPackets.h"
#include "tests/sim/packets/SamePrefix.h"

#include <gtest/gtest.h>

namespace SimPacketTest {
namespace {

using Sim::absentOffset;
using Sim::L2Format;
using Sim::L3Kind;
using Sim::PacketHeaders;
using Sim::TunnelKind;

/// An Ethernet frame with a tag, and UDP to port 53.
const std::string frame = "020000000004 020000000003 8100 0007 " + isIp4 + ip4( "11" ) + udp;

/// Nothing inside.
bool isAbsent( const Sim::LayerHeaders& layer )
{
    return layer.l2 == absentOffset && layer.l3 == absentOffset && layer.etherType == 0;
}

// ---- GRE ---------------------------------------------------------------------------------------

TEST( PacketTunnelsTest, ReadHeaders_Gre_CarriesIp )
{
    const PacketHeaders headers =
        headersOf( macs + isIp4 + ip4( "2f" ) + "0000 86dd " + ip6( "06" ) + tcp );
    EXPECT_EQ( headers.tunnel.kind, TunnelKind::gre );
    EXPECT_EQ( headers.tunnel.header, 34 );
    EXPECT_EQ( headers.tunnel.protocol, 0x86DD );
    EXPECT_EQ( headers.tunnel.payload, 38 );
    EXPECT_FALSE( headers.tunnel.greHasKey() );
    EXPECT_EQ( headers.outer.l3Kind, L3Kind::ip4 );
    EXPECT_EQ( headers.outer.protocol, 47 );
    EXPECT_EQ( headers.inner.l2, absentOffset );
    EXPECT_EQ( headers.inner.etherType, 0x86DD );
    EXPECT_EQ( headers.inner.l3, 38 );
    EXPECT_EQ( headers.inner.l3Kind, L3Kind::ip6 );
    EXPECT_EQ( headers.inner.l4, 78 );
    EXPECT_EQ( headers.inner.destinationPort, 80 );
}

TEST( PacketTunnelsTest, ReadHeaders_GreWithAllFields_HasThem )
{
    const PacketHeaders headers = headersOf(
        macs + isIp6 + ip6( "2f" ) + "b000 0800 aabb0000 0000004d 00000009 " + ip4( "11" ) + udp );
    EXPECT_TRUE( headers.tunnel.greHasChecksum() );
    EXPECT_EQ( headers.tunnel.greFlags, 0xB000 );
    EXPECT_EQ( headers.tunnel.greKey, 77U );
    EXPECT_EQ( headers.tunnel.greSequence, 9U );
    EXPECT_EQ( headers.tunnel.payload, 70 );
    EXPECT_EQ( headers.inner.l3, 70 );
    EXPECT_EQ( headers.inner.destinationPort, 53 );
}

TEST( PacketTunnelsTest, ReadHeaders_GreWithSequenceOnly_HasNoKey )
{
    const PacketHeaders headers =
        headersOf( macs + isIp4 + ip4( "2f" ) + "1000 0800 00000009 " + ip4( "11" ) + udp );
    EXPECT_EQ( headers.tunnel.greKey, 0U );
    EXPECT_EQ( headers.tunnel.greSequence, 9U );
    EXPECT_EQ( headers.inner.destinationPort, 53 );
}

TEST( PacketTunnelsTest, ReadHeaders_GreOfEthernet_HasAnInnerFrame )
{
    const PacketHeaders headers =
        headersOf( macs + isIp4 + ip4( "2f" ) + "2000 6558 00000001 " + frame );
    EXPECT_EQ( headers.inner.l2, 42 );
    EXPECT_EQ( headers.inner.vlanTag[ 0 ].vlan(), 7 );
    EXPECT_EQ( headers.inner.destinationPort, 53 );
}

TEST( PacketTunnelsTest, ReadHeaders_GreOfLabels_HasThemInside )
{
    const PacketHeaders headers =
        headersOf( macs + isIp4 + ip4( "2f" ) + "0000 8847 00064140 " + ip4( "11" ) + udp );
    EXPECT_EQ( headers.inner.mpls, 38 );
    EXPECT_EQ( headers.inner.mplsLabel( 0 ), 100U );
    EXPECT_EQ( headers.inner.destinationPort, 53 );
    EXPECT_EQ( headers.outer.mplsDepth, 0 );
}

TEST( PacketTunnelsTest, ReadHeaders_GreOfSomethingElse_HasNothingInside )
{
    const std::string before = macs + isIp4 + ip4( "2f" );
    const PacketHeaders mirrored =
        headersOf( before + "1000 88be 00000001 0000000000000000 " + frame );
    EXPECT_EQ( mirrored.tunnel.protocol, 0x88BE );
    EXPECT_EQ( mirrored.tunnel.payload, 42 );
    EXPECT_TRUE( isAbsent( mirrored.inner ) );
    const PacketHeaders pointToPoint =
        headersOf( before + "2001 880b 00040001 " + ip4( "06" ) + tcp );
    EXPECT_EQ( pointToPoint.tunnel.greVersion(), 1 );
    EXPECT_TRUE( isAbsent( pointToPoint.inner ) );
    const PacketHeaders routed = headersOf( before + "4000 0800 " + ip4( "06" ) + tcp );
    EXPECT_TRUE( isAbsent( routed.inner ) );
}

// ---- IP in IP ----------------------------------------------------------------------------------

TEST( PacketTunnelsTest, ReadHeaders_IpInIp_OfEachVersion_HasBoth )
{
    struct Case
    {
        std::string hex;
        L3Kind outer;
        L3Kind inner;
    };

    const Case cases[] = {
        { macs + isIp4 + ip4( "04" ) + ip4( "06" ) + tcp, L3Kind::ip4, L3Kind::ip4 },
        { macs + isIp4 + ip4( "29" ) + ip6( "06" ) + tcp, L3Kind::ip4, L3Kind::ip6 },
        { macs + isIp6 + ip6( "04" ) + ip4( "06" ) + tcp, L3Kind::ip6, L3Kind::ip4 },
        { macs + isIp6 + ip6( "29" ) + ip6( "06" ) + tcp, L3Kind::ip6, L3Kind::ip6 },
    };
    for ( const Case& one : cases ) {
        const PacketHeaders headers = headersOf( one.hex );
        EXPECT_EQ( headers.tunnel.kind, TunnelKind::ipInIp );
        EXPECT_EQ( headers.outer.l3Kind, one.outer );
        EXPECT_EQ( headers.inner.l3Kind, one.inner );
        EXPECT_EQ( headers.inner.l3, one.outer == L3Kind::ip4 ? 34 : 54 );
        EXPECT_EQ( headers.inner.l2, absentOffset );
        EXPECT_EQ( headers.inner.destinationPort, 80 );
        EXPECT_FALSE( headers.outer.hasPorts );
    }
}

TEST( PacketTunnelsTest, ReadHeaders_TunnelInALaterFragment_IsNone )
{
    const PacketHeaders headers = headersOf(
        macs + isIp4 + "45 00 0064 0001 00b9 40 04 0000 0a000001 0a000002 " + ip4( "06" ) + tcp );
    EXPECT_EQ( headers.tunnel.kind, TunnelKind::none );
    EXPECT_TRUE( isAbsent( headers.inner ) );
}

TEST( PacketTunnelsTest, ReadHeaders_TunnelInATunnel_IsNamedOnly )
{
    const PacketHeaders headers =
        headersOf( macs + isIp4 + ip4( "04" ) + ip4( "2f" ) + "0000 0800 " + ip4( "06" ) + tcp );
    EXPECT_EQ( headers.tunnel.kind, TunnelKind::ipInIp );
    EXPECT_EQ( headers.inner.protocol, 47 );
    EXPECT_EQ( headers.inner.l4, 54 );
    EXPECT_FALSE( headers.inner.hasPorts );
    EXPECT_EQ( headers.tunnel.header, absentOffset );
}

// ---- Tunnels over UDP --------------------------------------------------------------------------

TEST( PacketTunnelsTest, ReadHeaders_Vxlan_HasAnInnerFrame )
{
    const PacketHeaders headers =
        headersOf( macs + isIp4 + ip4( "11" ) + udpTo( "12b5" ) + "08 010203 001388 ff " + frame );
    EXPECT_EQ( headers.tunnel.kind, TunnelKind::vxlan );
    EXPECT_EQ( headers.tunnel.header, 42 );
    EXPECT_EQ( headers.tunnel.flags, 8 );
    EXPECT_EQ( headers.tunnel.reserved, 0x010203U );
    EXPECT_EQ( headers.tunnel.vni, 5000U );
    EXPECT_EQ( headers.tunnel.lastReserved, 0xFF );
    EXPECT_EQ( headers.tunnel.payload, 50 );
    EXPECT_EQ( headers.outer.destinationPort, 4789 );
    EXPECT_EQ( headers.inner.l2, 50 );
    EXPECT_EQ( headers.inner.l2Format, L2Format::ethernet2 );
    EXPECT_EQ( headers.inner.vlanTag[ 0 ].vlan(), 7 );
    EXPECT_EQ( headers.inner.l3, 68 );
    EXPECT_EQ( headers.inner.sourceAddress, 80 );
    EXPECT_EQ( headers.inner.destinationPort, 53 );
}

TEST( PacketTunnelsTest, ReadHeaders_GeneveWithOptions_HasAnInnerFrame )
{
    const PacketHeaders headers = headersOf( macs + isIp6 + ip6( "11" ) + udpTo( "17c1" ) +
                                             "02 40 6558 011170 00 0102800100000001 " + frame );
    EXPECT_EQ( headers.tunnel.kind, TunnelKind::geneve );
    EXPECT_EQ( headers.tunnel.flags, 0x40 );
    EXPECT_EQ( headers.tunnel.protocol, 0x6558 );
    EXPECT_EQ( headers.tunnel.vni, 70000U );
    EXPECT_EQ( headers.tunnel.optionsLength, 8 );
    EXPECT_EQ( headers.tunnel.options, 70 );
    EXPECT_EQ( headers.tunnel.payload, 78 );
    EXPECT_EQ( headers.inner.l2, 78 );
    EXPECT_EQ( headers.inner.destinationPort, 53 );
}

TEST( PacketTunnelsTest, ReadHeaders_GeneveOfIp_HasNoInnerFrame )
{
    const PacketHeaders headers = headersOf( macs + isIp4 + ip4( "11" ) + udpTo( "17c1" ) +
                                             "00 00 0800 000001 00 " + ip4( "06" ) + tcp );
    EXPECT_EQ( headers.tunnel.options, absentOffset );
    EXPECT_EQ( headers.inner.l2, absentOffset );
    EXPECT_EQ( headers.inner.etherType, 0x0800 );
    EXPECT_EQ( headers.inner.l3, 50 );
    EXPECT_EQ( headers.inner.destinationPort, 80 );
}

TEST( PacketTunnelsTest, ReadHeaders_GeneveOfAnotherVersion_HasNothingInside )
{
    const PacketHeaders headers = headersOf( macs + isIp4 + ip4( "11" ) + udpTo( "17c1" ) +
                                             "40 00 0800 000001 00 " + ip4( "06" ) + tcp );
    EXPECT_EQ( headers.tunnel.kind, TunnelKind::geneve );
    EXPECT_TRUE( isAbsent( headers.inner ) );
}

TEST( PacketTunnelsTest, ReadHeaders_MplsInUdp_HasLabelsInside )
{
    const PacketHeaders headers =
        headersOf( macs + isIp4 + ip4( "11" ) + udpTo( "19eb" ) + "00064140 " + ip6( "06" ) + tcp );
    EXPECT_EQ( headers.tunnel.kind, TunnelKind::mplsInUdp );
    EXPECT_EQ( headers.tunnel.payload, 42 );
    EXPECT_EQ( headers.inner.mplsLabel( 0 ), 100U );
    EXPECT_EQ( headers.inner.l3, 46 );
    EXPECT_EQ( headers.inner.destinationPort, 80 );
}

TEST( PacketTunnelsTest, ReadHeaders_SourcePortOfATunnel_IsNoTunnel )
{
    const PacketHeaders headers = headersOf( macs + isIp4 + ip4( "11" ) + "12b5 c000 0020 0000 " +
                                             "08 000000 001388 00 " + frame );
    EXPECT_EQ( headers.tunnel.kind, TunnelKind::none );
    EXPECT_TRUE( isAbsent( headers.inner ) );
}

// ---- Ethernet over MPLS ------------------------------------------------------------------------

TEST( PacketTunnelsTest, ReadHeaders_PseudowireWithControlWord_HasAnInnerFrame )
{
    const PacketHeaders headers = headersOf( macs + "8847 00064140 00000001 " + frame );
    EXPECT_EQ( headers.tunnel.kind, TunnelKind::pseudowire );
    EXPECT_EQ( headers.inner.l2, 22 );
    EXPECT_EQ( headers.inner.destinationPort, 53 );
    EXPECT_EQ( headers.outer.l3, absentOffset );
}

TEST( PacketTunnelsTest, ReadHeaders_PseudowireWithout_HasAnInnerFrame )
{
    const PacketHeaders small = headersOf( macs + "8847 00064140 " + frame );
    EXPECT_EQ( small.inner.l2, 18 );
    EXPECT_EQ( small.inner.destinationPort, 53 );
    // Sixteen zero bits, and no EtherType where one would be behind a control word.
    const PacketHeaders zeros =
        headersOf( macs + "8847 00064140 000000000004 020000000003 " + isIp4 + ip4( "11" ) + udp );
    EXPECT_EQ( zeros.inner.l2, 18 );
    const PacketHeaders great =
        headersOf( macs + "8847 00064140 fe0000000004 020000000003 " + isIp4 + ip4( "11" ) + udp );
    EXPECT_EQ( great.inner.l2, 18 );
    EXPECT_EQ( great.inner.destinationPort, 53 );
}

// Both places have an EtherType, or neither has one that tells.
TEST( PacketTunnelsTest, ReadHeaders_AmbiguousPseudowire_HasNothingInside )
{
    for ( const char* behind : { "000000000000 000000000000 0800 0000 0800 000000000000",
                                 "020000000004 020000000003 88cc 0207 0400 000000000000",
                                 "10000000 0001 0203 0405 0607 0809 0800 0a0b0c0d 0e0f" } ) {
        const PacketHeaders headers = headersOf( macs + "8847 00064140 " + behind );
        EXPECT_EQ( headers.outer.mplsDepth, 1 );
        EXPECT_TRUE( isAbsent( headers.inner ) ) << behind;
        EXPECT_EQ( headers.tunnel.kind, TunnelKind::none ) << behind;
    }
}

// ---- Cut packets -------------------------------------------------------------------------------

TEST( PacketTunnelsTest, ReadHeaders_OfEachBeginning_AgreeWithTheWhole )
{
    for ( const std::string& hex : {
              macs + isIp4 + ip4( "2f" ) + "b000 6558 aabb0000 0000004d 00000009 " + frame,
              macs + isIp4 + ip4( "29" ) + ip6( "2c" ) + "11 00 0001 00011170 " + udp,
              macs + isIp4 + ip4( "11" ) + udpTo( "12b5" ) + "08 010203 001388 ff " + frame,
              macs + isIp6 + ip6( "11" ) + udpTo( "17c1" ) +
                  "02 40 6558 011170 00 0102800100000001 " + frame,
              macs + isIp4 + ip4( "11" ) + udpTo( "19eb" ) + "00064140 " + ip6( "06" ) + tcp,
              macs + "8847 00064140 00000001 " + frame,
              macs + "8847 00064140 " + frame,
          } ) {
        EXPECT_EQ( faultOfPrefixes( bytesOf( hex ) ), "" );
    }
}

TEST( PacketTunnelsTest, ReadHeaders_CutInnerHeader_IsTruncated )
{
    const Bytes whole =
        bytesOf( macs + isIp4 + ip4( "11" ) + udpTo( "12b5" ) + "08 010203 001388 ff " + frame );
    EXPECT_FALSE( Sim::readHeaders( whole ).truncated );
    for ( std::size_t size = 42; size < whole.size(); ++size ) {
        EXPECT_TRUE( Sim::readHeaders( std::span( whole ).first( size ) ).truncated ) << size;
    }
}

} // namespace
} // namespace SimPacketTest
