#include "agent/tcam/CompressionHelper.h"

#include "agent/base/TextPieces.h"

#include <gtest/gtest.h>

namespace PeloraTcam {
namespace {

using TableType = PeloraCompressionTableType;

struct TableRow
{
    int number;
    const char* name;
};

class CompressionTableTest : public ::testing::TestWithParam< TableRow >
{};

TEST_P( CompressionTableTest, Print_EachTable_IsItsNameOrNumber )
{
    EXPECT_EQ( Agent::joinPieces( static_cast< TableType >( GetParam().number ) ),
               GetParam().name );
}

INSTANTIATE_TEST_SUITE_P( Table,
                          CompressionTableTest,
                          ::testing::Values( TableRow{ 0, "invalid" },
                                             TableRow{ 1, "etherType" },
                                             TableRow{ 2, "ipProto" },
                                             TableRow{ 3, "l4SrcPort" },
                                             TableRow{ 4, "l4DstPort" },
                                             TableRow{ 5, "srcIp" },
                                             TableRow{ 6, "dstIp" },
                                             TableRow{ 7, "PeloraCompressionTableType(7)" },
                                             TableRow{ 255, "PeloraCompressionTableType(255)" } ) );

TEST( CompressionGroupsTest, Ids_AreFixed )
{
    EXPECT_EQ( compressionGroupL4SrcPort(), 241 );
    EXPECT_EQ( compressionGroupL4DstPort(), 242 );
    EXPECT_EQ( compressionGroupSrcIp(), 243 );
    EXPECT_EQ( compressionGroupDstIp(), 244 );
    EXPECT_EQ( compressionGroupIpProto(), 245 );
    EXPECT_EQ( compressionGroupEtherType(), 246 );
}

TEST( CompressionKeyTest, OfANumber_HasTheNumber )
{
    const CompressionData data( CompressionKey( 0x86DD ) );
    EXPECT_EQ( data.key().getU32Key(), 0x86DDU );
    EXPECT_EQ( data.key().prefixLength(), 0U );
    EXPECT_EQ( Agent::joinPieces( data ), "34525" );
}

TEST( CompressionKeyTest, OfAPrefix_HasAddressAndLength )
{
    const CompressionData data( CompressionKey( IpAddress::v4( 0xC0000200 ), 24 ) );
    EXPECT_EQ( data.key().getU32Key(), 0U );
    EXPECT_EQ( data.key().getIpAddress(), IpAddress::v4( 0xC0000200 ) );
    EXPECT_EQ( data.key().prefixLength(), 24U );
    EXPECT_EQ( Agent::joinPieces( data ), "192.0.2.0/24" );
}

TEST( CompressionKeyTest, Equality_EachPart_Counts )
{
    const CompressionKey key( IpAddress::v4( 1 ), 24 );
    EXPECT_EQ( key, CompressionKey( IpAddress::v4( 1 ), 24 ) );
    EXPECT_NE( key, CompressionKey( IpAddress::v4( 2 ), 24 ) );
    EXPECT_NE( key, CompressionKey( IpAddress::v4( 1 ), 25 ) );
    EXPECT_NE( CompressionKey( 0 ), CompressionKey( IpAddress::v4( 0 ), 0 ) );
    EXPECT_NE( CompressionKey( 0 ), CompressionKey( 1 ) );
}

} // namespace
} // namespace PeloraTcam
