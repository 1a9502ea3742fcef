// The abstract packet formats of the simulated flexible parser, and what there is in them.

#include "tests/sim/chip/SimFlexParserScene.h"

#include <array>
#include <string>
#include <vector>

namespace Sim {

namespace {

using ::testing::ElementsAre;

class SimFlexParserFormatsTest : public SimFlexParserScene
{};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          SimFlexParserFormatsTest,
                          testing::Values( "default", "shuffled:1", "shuffled:20240229" ) );

// ---- Abstract packet formats -----------------------------------------------------------------

TEST_P( SimFlexParserFormatsTest, GetFormat_WithAndWithoutFields_TellsUsedAndUnavailable )
{
    EXPECT_EQ( infoOf( ipv4 ).num_chunks_max(), 16U );
    EXPECT_EQ( infoOf( ipv4 ).chunk_bmap_used(), 0U );
    EXPECT_EQ( infoOf( ipv4 ).unavail_chunk_bmap(), 0b1011U );
    made( 0b0000100, ipv4 );
    made( 0b1100000, ipv4 );
    made( 0b1, ipv6 );
    EXPECT_EQ( infoOf( ipv4 ).chunk_bmap_used(), 0b1100100U );
    EXPECT_EQ( infoOf( ipv4 ).unavail_chunk_bmap(), 0b1011U );
    EXPECT_EQ( infoOf( ipv6 ).chunk_bmap_used(), 0b1U );
    EXPECT_EQ( infoOf( arp ).unavail_chunk_bmap(), 0xFFFFU );
}

TEST_P( SimFlexParserFormatsTest, GetMultiFormat_WithAndWithoutFields_TellsTheFreeOnes )
{
    EXPECT_THAT( freeIn( arp ), ElementsAre() );
    EXPECT_THAT( freeIn( ipv4 ), ElementsAre( 2, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 ) );
    made( 0b1111'1111'0001'0000, ipv4 );
    EXPECT_THAT( freeIn( ipv4 ), ElementsAre( 2, 5, 6, 7 ) );
    EXPECT_EQ( freeIn( ipv6 ).size(), 16U );
}

TEST_P( SimFlexParserFormatsTest, GetFormat_BadArguments_AreRefused )
{
    bcm_udf_abstract_pkt_format_info_t info;
    info.chunk_bmap_usedIs( 77 );
    bcm_udf_multi_abstract_pkt_format_info_t multi;
    multi.num_chunks_availableIs( 77 );
    EXPECT_EQ( parser.getFormat( ipv6, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.getMultiFormat( ipv6, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.getFormat( unknown, &info ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.getMultiFormat( unknown, &multi ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.getFormat( absent, &info ), ReturnCode::BCM_E_UNAVAIL );
    EXPECT_EQ( parser.getMultiFormat( absent, &multi ), ReturnCode::BCM_E_UNAVAIL );
    EXPECT_EQ( info.chunk_bmap_used(), 77U );
    EXPECT_EQ( multi.num_chunks_available(), 77U );
}

TEST_P( SimFlexParserFormatsTest, GetUdfs_OfAFormat_AreTheFirstOfItsFields )
{
    made( 0b0001 );
    made( 0b0100, ipv4 );
    made( 0b0010 );
    made( 0b0100 );
    std::array< bcm_udf_id_t, 4 > ids{};
    int actual = -1;
    EXPECT_EQ( parser.getUdfs( ipv6, 0, nullptr, &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 3 ) << "how many there are";
    EXPECT_EQ( parser.getUdfs( ipv6, 2, ids.data(), &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 2 );
    EXPECT_THAT( ids, ElementsAre( 1, 3, 0, 0 ) );
    EXPECT_EQ( parser.getUdfs( ipv6, 4, ids.data(), &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 3 );
    EXPECT_THAT( ids, ElementsAre( 1, 3, 4, 0 ) );
}

TEST_P( SimFlexParserFormatsTest, GetUdfs_OfAFormatWithoutFields_IsNotFound )
{
    bcm_udf_id_t id = 4711;
    int actual = 4712;
    made( 0b1 );
    EXPECT_EQ( parser.getUdfs( ipv4, 1, &id, &actual ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( parser.getUdfs( ipv4, 0, nullptr, &actual ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( id, 4711 );
    EXPECT_EQ( actual, 4712 );
}

TEST_P( SimFlexParserFormatsTest, GetUdfs_BadArguments_AreRefused )
{
    bcm_udf_id_t id = 4711;
    int actual = 4712;
    made( 0b1 );
    EXPECT_EQ( parser.getUdfs( ipv6, 1, &id, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.getUdfs( ipv6, 1, nullptr, &actual ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.getUdfs( ipv6, -1, &id, &actual ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.getUdfs( unknown, 1, &id, &actual ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.getUdfs( absent, 1, &id, &actual ), ReturnCode::BCM_E_UNAVAIL );
    EXPECT_EQ( id, 4711 );
    EXPECT_EQ( actual, 4712 );
}

// ---- What there is ---------------------------------------------------------------------------

TEST_P( SimFlexParserFormatsTest, Formats_OfTheProfile_AreInTheSdksOrder )
{
    std::vector< std::string > names;
    for ( const SimFlexParser::Format& format : parser.formats() ) {
        names.push_back( format.shortName() );
        EXPECT_EQ( numbering.nameOf( format.number ), format.name );
    }
    EXPECT_THAT( names, ElementsAre( "L3Ipv4WithoutOptions", "L3Ipv6", "Arp" ) );
}

TEST_P( SimFlexParserFormatsTest, Formats_OfAProfileWithout_AreNone )
{
    SimFlexParser none( numbering, {} );
    EXPECT_TRUE( none.formats().empty() );
    const bcm_udf_chunk_info_t info = recordOf( 0b1 );
    bcm_udf_id_t id = 0;
    EXPECT_EQ( none.createChunk( nullptr, &info, &id ), ReturnCode::BCM_E_UNAVAIL );
}

TEST_P( SimFlexParserFormatsTest, Chunks_UsedAndCapacity_AreCountedByFormat )
{
    made( 0b110000, ipv4 );
    made( 0b000100, ipv4 );
    const std::vector< SimFlexParser::Format >& formats = parser.formats();
    EXPECT_EQ( parser.chunksUsed( formats[ 0 ] ), 3U );
    EXPECT_EQ( SimFlexParser::chunkCapacity( formats[ 0 ] ), 13U );
    EXPECT_EQ( parser.chunksUsed( formats[ 1 ] ), 0U );
    EXPECT_EQ( SimFlexParser::chunkCapacity( formats[ 1 ] ), 16U );
    EXPECT_EQ( SimFlexParser::chunkCapacity( formats[ 2 ] ), 0U );
}

TEST_P( SimFlexParserFormatsTest, Snapshot_OfFields_IsReadable )
{
    made( 0b10'0001 );
    made( 0b100, ipv4 );
    EXPECT_EQ( text(),
               "udf 1: format=bcmUdfAbstractPktFormatL3Ipv6 offset=112 width=16 chunks=0,5\n"
               "udf 2: format=bcmUdfAbstractPktFormatL3Ipv4WithoutOptions offset=112 width=16 "
               "chunks=2\n" );
}

TEST_P( SimFlexParserFormatsTest, StateIs_EarlierState_PutsItBackButNoIds )
{
    const SimFlexParser::State earlier = parser.state();
    EXPECT_EQ( made( 0b1 ), 1 );
    parser.stateIs( earlier );
    EXPECT_EQ( text(), "" );
    EXPECT_EQ( made( 0b1 ), 2 );
}

} // namespace

} // namespace Sim
