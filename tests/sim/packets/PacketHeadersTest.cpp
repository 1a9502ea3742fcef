// What is read of packets written by hand: layers 2 to 4. Tunnels have a file of their own.

#include "sim/packets/PacketHeaders.h"

#include "tests/sim/packets/HandPackets.h"
#include "tests/sim/packets/SamePrefix.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace SimPacketTest {
namespace {

using Sim::absentOffset;
using Sim::L2Format;
using Sim::L3Kind;
using Sim::LayerHeaders;
using Sim::PacketHeaders;

LayerHeaders outerOf( const std::string& hex )
{
    return headersOf( hex ).outer;
}

// ---- Layer 2 -----------------------------------------------------------------------------------

TEST( PacketHeadersTest, ReadHeaders_EthernetII_HaveTheEtherType )
{
    const LayerHeaders outer = outerOf( macs + "88b5 0102" );
    EXPECT_EQ( outer.l2, 0 );
    EXPECT_EQ( outer.l2Format, L2Format::ethernet2 );
    EXPECT_EQ( outer.etherType, 0x88B5 );
    EXPECT_EQ( outer.vlanTags, 0 );
    EXPECT_EQ( outer.l3, 14 );
    EXPECT_EQ( outer.l3Kind, L3Kind::none );
    EXPECT_EQ( outer.l4, absentOffset );
}

TEST( PacketHeadersTest, ReadHeaders_TwoTags_AreReadOutermostFirst )
{
    const LayerHeaders outer = outerOf( macs + "88a8 b0c8 8100 2064 88b5 0102" );
    EXPECT_EQ( outer.vlanTags, 2 );
    EXPECT_EQ( outer.vlanTag[ 0 ].tpid, 0x88A8 );
    EXPECT_EQ( outer.vlanTag[ 0 ].vlan(), 200 );
    EXPECT_EQ( outer.vlanTag[ 0 ].priority(), 5 );
    EXPECT_TRUE( outer.vlanTag[ 0 ].dropEligible() );
    EXPECT_EQ( outer.vlanTag[ 1 ].tpid, 0x8100 );
    EXPECT_EQ( outer.vlanTag[ 1 ].vlan(), 100 );
    EXPECT_EQ( outer.vlanTag[ 1 ].priority(), 1 );
    EXPECT_FALSE( outer.vlanTag[ 1 ].dropEligible() );
    EXPECT_EQ( outer.etherType, 0x88B5 );
    EXPECT_EQ( outer.l3, 22 );
}

TEST( PacketHeadersTest, ReadHeaders_OlderServiceTag_IsATag )
{
    EXPECT_EQ( outerOf( macs + "9100 0001 88b5 00" ).vlanTag[ 0 ].tpid, 0x9100 );
}

TEST( PacketHeadersTest, ReadHeaders_ThirdTag_IsAnEtherType )
{
    const LayerHeaders outer =
        outerOf( macs + "8100 0001 8100 0002 8100 0003 " + isIp4 + ip4( "06" ) + tcp );
    EXPECT_EQ( outer.vlanTags, 2 );
    EXPECT_EQ( outer.etherType, 0x8100 );
    EXPECT_EQ( outer.l3, 22 );
    EXPECT_EQ( outer.l3Kind, L3Kind::none );
}

TEST( PacketHeadersTest, ReadHeaders_LengthAndLlc_AreRead )
{
    const LayerHeaders outer = outerOf( macs + "0026 42 43 03 0000" );
    EXPECT_EQ( outer.l2Format, L2Format::llc );
    EXPECT_EQ( outer.ieeeLength, 0x26 );
    EXPECT_EQ( outer.etherType, 0 );
    EXPECT_EQ( outer.llc, 14 );
    EXPECT_EQ( outer.llcDestination, 0x42 );
    EXPECT_EQ( outer.llcSource, 0x43 );
    EXPECT_EQ( outer.llcControl, 3 );
    EXPECT_EQ( outer.l3, absentOffset );
}

TEST( PacketHeadersTest, ReadHeaders_LengthBehindATag_IsRead )
{
    const LayerHeaders outer = outerOf( macs + "8100 0005 0026 424203 0000" );
    EXPECT_EQ( outer.l2Format, L2Format::llc );
    EXPECT_EQ( outer.vlanTags, 1 );
    EXPECT_EQ( outer.llc, 18 );
}

TEST( PacketHeadersTest, ReadHeaders_LengthWithoutLlc_IsRaw )
{
    const LayerHeaders outer = outerOf( macs + "0026 ffff 0022" );
    EXPECT_EQ( outer.l2Format, L2Format::ieee802dot3 );
    EXPECT_EQ( outer.llc, absentOffset );
}

TEST( PacketHeadersTest, ReadHeaders_SnapOfEtherTypes_CarriesWhatTheseDo )
{
    for ( const char* organisation : { "000000", "0000f8" } ) {
        const LayerHeaders outer =
            outerOf( macs + "0064 aaaa03 " + organisation + " 0800 " + ip4( "11" ) + udp );
        EXPECT_EQ( outer.l2Format, L2Format::snap );
        EXPECT_EQ( outer.etherType, 0x0800 );
        EXPECT_EQ( outer.l3, 22 );
        EXPECT_EQ( outer.l3Kind, L3Kind::ip4 );
        EXPECT_EQ( outer.destinationPort, 53 );
    }
}

TEST( PacketHeadersTest, ReadHeaders_SnapOfOthers_HasNoEtherType )
{
    const LayerHeaders outer = outerOf( macs + "0064 aaaa03 00000c 0800 " + ip4( "11" ) );
    EXPECT_EQ( outer.snapOrganisation, 0xCU );
    EXPECT_EQ( outer.snapProtocol, 0x0800 );
    EXPECT_EQ( outer.etherType, 0 );
    EXPECT_EQ( outer.l3Kind, L3Kind::none );
}

TEST( PacketHeadersTest, ReadHeaders_NeitherTypeNorLength_HasNoFormat )
{
    for ( const char* type : { "05dd", "05ff" } ) {
        const LayerHeaders outer = outerOf( macs + type + "4242030000" );
        EXPECT_EQ( outer.l2Format, L2Format::none );
        EXPECT_EQ( outer.l2, 0 );
    }
    EXPECT_EQ( outerOf( macs + "05dc 4242030000" ).l2Format, L2Format::llc );
    EXPECT_EQ( outerOf( macs + "0600 4242030000" ).l2Format, L2Format::ethernet2 );
}

// ---- MPLS --------------------------------------------------------------------------------------

TEST( PacketHeadersTest, ReadHeaders_LabelStack_IsReadToItsBottom )
{
    const LayerHeaders outer = outerOf( macs + "8847 000640ff 000c8140 " + ip4( "06" ) + tcp );
    EXPECT_EQ( outer.etherType, 0x8847 );
    EXPECT_EQ( outer.mpls, 14 );
    EXPECT_EQ( outer.mplsDepth, 2 );
    EXPECT_TRUE( outer.mplsBottom );
    EXPECT_EQ( outer.mplsLabel( 0 ), 100U );
    EXPECT_EQ( outer.mplsLabel( 1 ), 200U );
    EXPECT_EQ( outer.mplsEntry[ 1 ], 0x000C8140U );
    EXPECT_EQ( outer.l3, 22 );
    EXPECT_EQ( outer.l3Kind, L3Kind::ip4 );
    EXPECT_EQ( outer.destinationPort, 80 );
}

TEST( PacketHeadersTest, ReadHeaders_LabelsBeforeIp6_AreRead )
{
    const LayerHeaders outer = outerOf( macs + "8848 00002140 " + ip6( "11" ) + udp );
    EXPECT_EQ( outer.mplsDepth, 1 );
    EXPECT_EQ( outer.mplsLabel( 0 ), 2U );
    EXPECT_EQ( outer.l3Kind, L3Kind::ip6 );
    EXPECT_EQ( outer.destinationPort, 53 );
}

TEST( PacketHeadersTest, ReadHeaders_MoreLabelsThanAreKept_AreCounted )
{
    std::string hex = macs + "8847 ";
    for ( int entry = 0; entry < 9; ++entry ) {
        hex += "00010040 ";
    }
    const LayerHeaders outer = outerOf( hex + "00011140 " + ip4( "11" ) + udp );
    EXPECT_EQ( outer.mplsDepth, 10 );
    EXPECT_EQ( outer.mplsLabel( 7 ), 16U );
    EXPECT_EQ( outer.l3, 54 );
    EXPECT_EQ( outer.l3Kind, L3Kind::ip4 );
}

TEST( PacketHeadersTest, ReadHeaders_StackWithoutBottom_IsTruncated )
{
    const PacketHeaders headers = headersOf( macs + "8847 00010040 00010040" );
    EXPECT_TRUE( headers.truncated );
    EXPECT_FALSE( headers.outer.mplsBottom );
    EXPECT_EQ( headers.outer.mplsDepth, 2 );
}

// ---- ARP ---------------------------------------------------------------------------------------

TEST( PacketHeadersTest, ReadHeaders_Arp_HasAddresses )
{
    const LayerHeaders outer = outerOf( macs + "0806 0001 0800 06 04 0002 020000000002 0a000002 "
                                               "020000000001 0a000001" );
    EXPECT_EQ( outer.l3Kind, L3Kind::arp );
    EXPECT_EQ( outer.arpOperation, 2 );
    EXPECT_EQ( outer.arpSourceMac, 22 );
    EXPECT_EQ( outer.sourceAddress, 28 );
    EXPECT_EQ( outer.arpTargetMac, 32 );
    EXPECT_EQ( outer.destinationAddress, 38 );
    EXPECT_FALSE( outer.isIp() );
}

TEST( PacketHeadersTest, ReadHeaders_ArpOfOtherAddresses_HasTheOperationOnly )
{
    const LayerHeaders outer =
        outerOf( macs + "8035 0006 0800 08 04 0003 " + std::string( 60, '0' ) );
    EXPECT_EQ( outer.l3Kind, L3Kind::rarp );
    EXPECT_EQ( outer.arpOperation, 3 );
    EXPECT_EQ( outer.sourceAddress, absentOffset );
}

// ---- IPv4 --------------------------------------------------------------------------------------

TEST( PacketHeadersTest, ReadHeaders_Ip4_HasAllFields )
{
    const LayerHeaders outer = outerOf( macs + isIp4 + ip4( "06" ) + tcp + payload );
    EXPECT_EQ( outer.l3, 14 );
    EXPECT_EQ( outer.l3Kind, L3Kind::ip4 );
    EXPECT_EQ( outer.ipHeaderLength, 20 );
    EXPECT_FALSE( outer.hasIpOptions );
    EXPECT_EQ( outer.typeOfService, 0xB9 );
    EXPECT_EQ( outer.dscp(), 46 );
    EXPECT_EQ( outer.ecn(), 1 );
    EXPECT_EQ( outer.ipLength, 100 );
    EXPECT_EQ( outer.identification, 1U );
    EXPECT_EQ( outer.ipFlags, 2 );
    EXPECT_EQ( outer.fragmentOffset, 0 );
    EXPECT_FALSE( outer.isFragment() );
    EXPECT_TRUE( outer.isFirstFragment() );
    EXPECT_EQ( outer.ttl, 64 );
    EXPECT_EQ( outer.nextHeader, 6 );
    EXPECT_EQ( outer.protocol, 6 );
    EXPECT_EQ( outer.sourceAddress, 26 );
    EXPECT_EQ( outer.destinationAddress, 30 );
    EXPECT_EQ( outer.l3End, 34 );
    EXPECT_EQ( outer.l4, 34 );
}

// The sum of all words but the checksum is 0x991D.
TEST( PacketHeadersTest, ReadHeaders_Ip4Checksum_IsRightOrWrong )
{
    const std::string before = macs + isIp4 + "4500 0014 0000 0000 4006 ";
    EXPECT_TRUE( outerOf( before + "66e2 0a000001 0a000002" ).ipChecksumRight );
    EXPECT_FALSE( outerOf( before + "66e1 0a000001 0a000002" ).ipChecksumRight );
    EXPECT_FALSE( outerOf( before + "0000 0a000001 0a000002" ).ipChecksumRight );
}

TEST( PacketHeadersTest, ReadHeaders_Ip4Options_StandBeforeLayer4 )
{
    const LayerHeaders outer = outerOf(
        macs + isIp4 + "46 00 0064 0001 0000 40 11 0000 0a000001 0a000002 94040000 " + udp );
    EXPECT_TRUE( outer.hasIpOptions );
    EXPECT_EQ( outer.ipHeaderLength, 24 );
    EXPECT_EQ( outer.l3End, 38 );
    EXPECT_EQ( outer.destinationPort, 53 );
}

TEST( PacketHeadersTest, ReadHeaders_Ip4FirstFragment_HasLayer4 )
{
    const LayerHeaders outer =
        outerOf( macs + isIp4 + "45 00 0064 0001 2000 40 11 0000 0a000001 0a000002 " + udp );
    EXPECT_TRUE( outer.isFragment() );
    EXPECT_TRUE( outer.isFirstFragment() );
    EXPECT_TRUE( outer.moreFragments );
    EXPECT_TRUE( outer.hasPorts );
}

TEST( PacketHeadersTest, ReadHeaders_Ip4LaterFragment_HasNoLayer4 )
{
    const LayerHeaders outer =
        outerOf( macs + isIp4 + "45 00 0064 0001 00b9 40 11 0000 0a000001 0a000002 " + udp );
    EXPECT_EQ( outer.fragmentOffset, 185 );
    EXPECT_TRUE( outer.isFragment() );
    EXPECT_FALSE( outer.isFirstFragment() );
    EXPECT_EQ( outer.protocol, 17 );
    EXPECT_EQ( outer.l3End, 34 );
    EXPECT_EQ( outer.l4, absentOffset );
    EXPECT_FALSE( outer.hasPorts );
}

TEST( PacketHeadersTest, ReadHeaders_ContradictingIp_IsMalformed )
{
    for ( const std::string& hex :
          { macs + isIp4 + "44 00 0064 0001 0000 40 06 0000 0a000001 0a000002 " + tcp,
            macs + isIp4 + ip6( "06" ) + tcp, macs + isIp6 + ip4( "06" ) + tcp + payload } ) {
        const PacketHeaders headers = headersOf( hex );
        EXPECT_TRUE( headers.malformed );
        EXPECT_EQ( headers.outer.l3, 14 );
        EXPECT_EQ( headers.outer.l3Kind, L3Kind::none );
        EXPECT_FALSE( headers.outer.hasPorts );
    }
}

// ---- IPv6 --------------------------------------------------------------------------------------

TEST( PacketHeadersTest, ReadHeaders_Ip6_HasAllFields )
{
    const LayerHeaders outer = outerOf( macs + isIp6 + ip6( "06" ) + tcp );
    EXPECT_EQ( outer.l3Kind, L3Kind::ip6 );
    EXPECT_EQ( outer.typeOfService, 0xB9 );
    EXPECT_EQ( outer.flowLabel, 0x12345U );
    EXPECT_EQ( outer.ipLength, 64 );
    EXPECT_EQ( outer.nextHeader, 6 );
    EXPECT_EQ( outer.protocol, 6 );
    EXPECT_EQ( outer.ttl, 63 );
    EXPECT_EQ( outer.ipHeaderLength, 40 );
    EXPECT_EQ( outer.sourceAddress, 22 );
    EXPECT_EQ( outer.destinationAddress, 38 );
    EXPECT_EQ( outer.extensionHeaders, 0 );
    EXPECT_EQ( outer.l4, 54 );
    EXPECT_EQ( outer.destinationPort, 80 );
}

TEST( PacketHeadersTest, ReadHeaders_ExtensionHeaders_AreWalked )
{
    const LayerHeaders outer =
        outerOf( macs + isIp6 + ip6( "00" ) +
                 "3c 00 05 02 0000 0100 "                // hop by hop: router alert
                 "33 01 01 0c 000000000000000000000000 " // destination options
                 "11 01 0000 00000001 00000002 " +       // authentication
                 udp );
    EXPECT_EQ( outer.nextHeader, 0 );
    EXPECT_EQ( outer.protocol, 17 );
    EXPECT_EQ( outer.extensionHeaders, 3 );
    EXPECT_EQ( outer.extensionHeader[ 0 ].type, 0 );
    EXPECT_EQ( outer.extensionHeader[ 0 ].subCode, 5 );
    EXPECT_EQ( outer.extensionHeader[ 0 ].offset, 54 );
    EXPECT_EQ( outer.extensionHeader[ 1 ].type, 60 );
    EXPECT_EQ( outer.extensionHeader[ 1 ].subCode, 1 );
    EXPECT_EQ( outer.extensionHeader[ 1 ].offset, 62 );
    EXPECT_EQ( outer.extensionHeader[ 2 ].type, 51 );
    EXPECT_EQ( outer.extensionHeader[ 2 ].offset, 78 );
    EXPECT_EQ( outer.l3End, 90 );
    EXPECT_EQ( outer.destinationPort, 53 );
}

TEST( PacketHeadersTest, ReadHeaders_SegmentRouting_HasSegmentsLeft )
{
    const LayerHeaders outer =
        outerOf( macs + isIp6 + ip6( "2b" ) +
                 "3a 02 04 01 01 00 0000 20010db8000000000000000000000003 8000 0000" );
    EXPECT_EQ( outer.routingHeader, 54 );
    EXPECT_EQ( outer.routingType, 4 );
    EXPECT_EQ( outer.segmentsLeft, 1 );
    EXPECT_EQ( outer.extensionHeader[ 0 ].subCode, 4 );
    EXPECT_EQ( outer.protocol, 58 );
    EXPECT_EQ( outer.type, 128 );
}

TEST( PacketHeadersTest, ReadHeaders_Ip6FirstFragment_HasLayer4 )
{
    const LayerHeaders outer = outerOf( macs + isIp6 + ip6( "2c" ) + "11 00 0001 00011170 " + udp );
    EXPECT_TRUE( outer.isFirstFragment() );
    EXPECT_TRUE( outer.moreFragments );
    EXPECT_EQ( outer.identification, 70000U );
    EXPECT_EQ( outer.destinationPort, 53 );
}

TEST( PacketHeadersTest, ReadHeaders_Ip6LaterFragment_NamesWhatIsNotThere )
{
    const LayerHeaders outer =
        outerOf( macs + isIp6 + ip6( "2c" ) + "3c 00 05c8 00011170 " + udp + payload );
    EXPECT_EQ( outer.fragmentOffset, 185 );
    EXPECT_FALSE( outer.moreFragments );
    EXPECT_EQ( outer.protocol, 60 );
    EXPECT_EQ( outer.extensionHeaders, 1 );
    EXPECT_EQ( outer.l3End, 62 );
    EXPECT_EQ( outer.l4, absentOffset );
}

TEST( PacketHeadersTest, ReadHeaders_SecondFragmentHeader_IsMalformed )
{
    const PacketHeaders headers = headersOf( macs + isIp6 + ip6( "2c" ) + "2c 00 0001 00000001 " +
                                             "11 00 0001 00000002 " + udp );
    EXPECT_TRUE( headers.malformed );
    EXPECT_EQ( headers.outer.identification, 1U );
    EXPECT_EQ( headers.outer.extensionHeaders, 1 );
    EXPECT_FALSE( headers.outer.hasPorts );
}

TEST( PacketHeadersTest, ReadHeaders_EncryptedPayload_EndsTheHeaders )
{
    const LayerHeaders outer = outerOf( macs + isIp6 + ip6( "32" ) + "11000001 00000001 " + udp );
    EXPECT_EQ( outer.protocol, 50 );
    EXPECT_EQ( outer.l4, 54 );
    EXPECT_EQ( outer.extensionHeaders, 0 );
    EXPECT_FALSE( outer.hasPorts );
}

TEST( PacketHeadersTest, ReadHeaders_NoNextHeader_IsNoLayer4 )
{
    const LayerHeaders outer = outerOf( macs + isIp6 + ip6( "3b" ) + payload );
    EXPECT_EQ( outer.protocol, 59 );
    EXPECT_EQ( outer.l3End, 54 );
    EXPECT_EQ( outer.l4, absentOffset );
}

TEST( PacketHeadersTest, ReadHeaders_MoreExtensionHeadersThanAreKept_AreCounted )
{
    std::string hex = macs + isIp6 + ip6( "3c" );
    for ( int header = 0; header < 9; ++header ) {
        hex += "3c 00 01 04 00000000 ";
    }
    const LayerHeaders outer = outerOf( hex + "11 00 01 04 00000000 " + udp );
    EXPECT_EQ( outer.extensionHeaders, 10 );
    EXPECT_EQ( outer.destinationPort, 53 );
}

// ---- Layer 4 -----------------------------------------------------------------------------------

TEST( PacketHeadersTest, ReadHeaders_Tcp_HasControlBitsAndLength )
{
    const LayerHeaders outer = outerOf(
        macs + isIp4 + ip4( "06" ) +
        "0400 0050 00000001 00000002 8112 2000 0000 0000 020405b401010402 0103 0307 " + payload );
    EXPECT_TRUE( outer.hasTcpControl );
    EXPECT_EQ( outer.tcpControl, 0x8112 );
    EXPECT_EQ( outer.tcpFlags(), 0x12 );
    EXPECT_EQ( outer.tcpWindow, 0x2000 );
    EXPECT_EQ( outer.l4HeaderLength, 32 );
    EXPECT_EQ( outer.l4Payload, 66 );
    EXPECT_EQ( outer.sourcePort, 1024 );
    EXPECT_EQ( outer.destinationPort, 80 );
}

TEST( PacketHeadersTest, ReadHeaders_TcpOfFourWords_IsMalformed )
{
    const PacketHeaders headers =
        headersOf( macs + isIp4 + ip4( "06" ) + "0400 0050 00000001 00000002 4012 2000 0000 0000" );
    EXPECT_TRUE( headers.malformed );
    EXPECT_EQ( headers.outer.destinationPort, 80 );
    EXPECT_EQ( headers.outer.l4HeaderLength, 0 );
}

TEST( PacketHeadersTest, ReadHeaders_OtherProtocolsWithPorts_HavePorts )
{
    const std::pair< const char*, int > protocols[] = {
        { "11", 8 }, { "88", 8 }, { "84", 12 }, { "21", 0 } };
    for ( const auto& [ protocol, length ] : protocols ) {
        const LayerHeaders outer = outerOf( macs + isIp4 + ip4( protocol ) + udp + payload );
        EXPECT_TRUE( outer.hasPorts ) << protocol;
        EXPECT_EQ( outer.sourcePort, 1024 ) << protocol;
        EXPECT_EQ( outer.destinationPort, 53 ) << protocol;
        EXPECT_EQ( outer.l4HeaderLength, length ) << protocol;
        EXPECT_FALSE( outer.hasTcpControl ) << protocol;
    }
}

TEST( PacketHeadersTest, ReadHeaders_TypeAndCode_AreThoseOfIcmpAndIgmp )
{
    for ( const std::string& before :
          { macs + isIp4 + ip4( "01" ), macs + isIp6 + ip6( "3a" ), macs + isIp4 + ip4( "02" ) } ) {
        const LayerHeaders outer = outerOf( before + "0301 0000 00000000" );
        EXPECT_TRUE( outer.hasTypeCode );
        EXPECT_EQ( outer.type, 3 );
        EXPECT_EQ( outer.code, 1 );
        EXPECT_FALSE( outer.hasPorts );
    }
}

TEST( PacketHeadersTest, ReadHeaders_UnknownProtocol_HasItsPlaceOnly )
{
    const PacketHeaders headers = headersOf( macs + isIp4 + ip4( "59" ) + payload );
    EXPECT_EQ( headers.outer.protocol, 89 );
    EXPECT_EQ( headers.outer.l4, 34 );
    EXPECT_FALSE( headers.outer.hasPorts );
    EXPECT_FALSE( headers.truncated );
}

// ---- Cut packets -------------------------------------------------------------------------------

TEST( PacketHeadersTest, ReadHeaders_CutTcp_HasWhatIsThere )
{
    const Bytes whole = bytesOf( macs + isIp4 + ip4( "06" ) + tcp );
    const auto cut = [ & ]( std::size_t size ) {
        return Sim::readHeaders( std::span( whole ).first( size ) );
    };
    EXPECT_FALSE( cut( 54 ).truncated );
    EXPECT_TRUE( cut( 53 ).truncated );
    EXPECT_EQ( cut( 53 ).outer.l4HeaderLength, 0 );
    EXPECT_TRUE( cut( 48 ).outer.hasTcpControl );
    EXPECT_FALSE( cut( 47 ).outer.hasTcpControl );
    EXPECT_TRUE( cut( 38 ).outer.hasPorts );
    EXPECT_FALSE( cut( 37 ).outer.hasPorts );
    EXPECT_EQ( cut( 35 ).outer.l4, 34 );
    EXPECT_EQ( cut( 34 ).outer.l4, absentOffset );
    EXPECT_EQ( cut( 34 ).outer.protocol, 6 );
    EXPECT_EQ( cut( 33 ).outer.l3Kind, L3Kind::none );
    EXPECT_EQ( cut( 33 ).outer.etherType, 0x0800 );
    EXPECT_EQ( cut( 13 ).outer.l2, absentOffset );
}

TEST( PacketHeadersTest, ReadHeaders_Nothing_IsTruncated )
{
    EXPECT_TRUE( Sim::readHeaders( {} ).truncated );
}

TEST( PacketHeadersTest, ReadHeaders_OfEachBeginning_AgreeWithTheWhole )
{
    for ( const std::string& hex : {
              macs + "88a8 b0c8 8100 2064 " + isIp4 + ip4( "06" ) + tcp + payload,
              macs + "0064 aaaa03 000000 0800 " + ip4( "11" ) + udp,
              macs + "0026 424203 0000",
              macs + "8847 000640ff 000c8140 " + ip4( "06" ) + tcp,
              macs + "0806 0001 0800 06 04 0002 020000000002 0a000002 020000000001 0a000001",
              macs + isIp6 + ip6( "00" ) +
                  "2b 00 05 02 0000 0100 2c 00 04 01 00000000 "
                  "33 00 0001 00011170 11 01 0000 00000001 00000002 " +
                  udp + payload,
          } ) {
        EXPECT_EQ( faultOfPrefixes( bytesOf( hex ) ), "" );
    }
}

// Longer than offsets reach: extension headers of 2048 bytes each, up to the end. Of the last one
// only the beginning is within 65535 bytes.
TEST( PacketHeadersTest, ReadHeaders_OfAHugePacket_EndWhereOffsetsDo )
{
    Bytes bytes = bytesOf( macs + isIp6 + ip6( "3c" ) );
    while ( bytes.size() < 70000 ) {
        const std::size_t at = bytes.size();
        bytes.resize( at + 2048 );
        bytes[ at ] = 60;
        bytes[ at + 1 ] = 255;
    }
    const PacketHeaders headers = Sim::readHeaders( bytes );
    EXPECT_TRUE( headers.truncated );
    EXPECT_EQ( headers.outer.extensionHeaders, ( 65535 - 54 ) / 2048 + 1 );
    EXPECT_EQ( headers.outer.l4, absentOffset );
}

} // namespace
} // namespace SimPacketTest
