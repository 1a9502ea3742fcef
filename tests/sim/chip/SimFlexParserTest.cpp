#include "sim/SimFlexParser.h"

#include "tests/sim/chip/SimFlexParserScene.h"

#include <string>
#include <vector>

namespace Sim {

namespace {

using ::testing::ElementsAre;

class SimFlexParserTest : public SimFlexParserScene
{};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          SimFlexParserTest,
                          testing::Values( "default", "shuffled:1", "shuffled:20240229" ) );

// ---- User-defined fields ---------------------------------------------------------------------

TEST_P( SimFlexParserTest, GetChunk_WrittenInBits_IsReadBackInBytes )
{
    bcm_udf_chunk_info_t info = recordOf( 0b10'0000'0001 );
    info.widthIs( 32 );
    bcm_udf_id_t id = 0;
    ASSERT_EQ( parser.createChunk( nullptr, &info, &id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( id, 1 );
    bcm_udf_chunk_info_t readBack;
    ASSERT_EQ( parser.getChunk( id, &readBack ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( readBack.offset(), 14U );
    EXPECT_EQ( readBack.width(), 4U );
    EXPECT_EQ( readBack.chunk_bmap(), 0b10'0000'0001U );
    EXPECT_EQ( readBack.abstract_pkt_format(), ipv6 );
}

TEST_P( SimFlexParserTest, GetChunk_WiderThanItsChunks_HasTheWidthAsGiven )
{
    bcm_udf_chunk_info_t info = recordOf( 0b1 );
    info.widthIs( 24 );
    bcm_udf_id_t id = 0;
    ASSERT_EQ( parser.createChunk( nullptr, &info, &id ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( parser.getChunk( id, &info ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( info.width(), 3U );
    EXPECT_EQ( info.chunk_bmap(), 0b1U );
}

TEST_P( SimFlexParserTest, GetMultiChunk_ReadBack_HasOffsetInBitsAndTwoBytesForEachChunk )
{
    const bcm_udf_multi_chunk_info_t info = multiRecordOf( { 3, 15 } );
    bcm_udf_id_t id = 0;
    ASSERT_EQ( parser.createMultiChunk( nullptr, &info, &id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( id, 1 );
    bcm_udf_multi_chunk_info_t readBack;
    ASSERT_EQ( parser.getMultiChunk( id, &readBack ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( readBack.offset(), 112U );
    EXPECT_EQ( readBack.width(), 4U );
    for ( int chunk = 0; chunk < 32; ++chunk ) {
        EXPECT_EQ( hasChunk( readBack.two_byte_chunk_bmap(), chunk ), chunk == 3 || chunk == 15 );
    }
    EXPECT_EQ( readBack.abstract_pkt_format(), ipv6 );
}

TEST_P( SimFlexParserTest, CreateMultiChunk_Width_IsNotRead )
{
    bcm_udf_multi_chunk_info_t info = multiRecordOf( { 0 } );
    info.widthIs( 777 );
    bcm_udf_id_t id = 0;
    ASSERT_EQ( parser.createMultiChunk( nullptr, &info, &id ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( parser.getMultiChunk( id, &info ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( info.width(), 2U );
}

TEST_P( SimFlexParserTest, CreateMultiChunk_AllSixteen_AreTaken )
{
    const bcm_udf_multi_chunk_info_t info =
        multiRecordOf( { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 } );
    bcm_udf_id_t id = 0;
    EXPECT_EQ( parser.createMultiChunk( nullptr, &info, &id ), ReturnCode::BCM_E_NONE );
    EXPECT_THAT( freeIn( ipv6 ), ElementsAre() );
    bcm_udf_multi_chunk_info_t readBack;
    ASSERT_EQ( parser.getMultiChunk( id, &readBack ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( readBack.width(), 32U );
}

TEST_P( SimFlexParserTest, Create_Hints_AreNoneOrWithoutFlags )
{
    const bcm_udf_chunk_hints_t none;
    const bcm_udf_chunk_hints_t some{ .flags = 1 };
    const bcm_udf_chunk_info_t info = recordOf( 0b1 );
    bcm_udf_id_t id = 0;
    EXPECT_EQ( parser.createChunk( &none, &info, &id ), ReturnCode::BCM_E_NONE );
    expectCreateRefused( ReturnCode::BCM_E_PARAM, recordOf( 0b10 ), &some );
    expectMultiCreateRefused( ReturnCode::BCM_E_PARAM, multiRecordOf( { 1 } ), &some );
}

TEST_P( SimFlexParserTest, CreateChunk_BadOffsetOrWidth_IsRefused )
{
    for ( const uint32_t offset : { 1U, 7U, 113U } ) {
        bcm_udf_chunk_info_t info = recordOf( 0b1 );
        info.offsetIs( offset );
        expectCreateRefused( ReturnCode::BCM_E_PARAM, info );
        bcm_udf_multi_chunk_info_t multi = multiRecordOf( { 0 } );
        multi.offsetIs( offset );
        expectMultiCreateRefused( ReturnCode::BCM_E_PARAM, multi );
    }
    for ( const uint32_t width : { 0U, 4U, 17U, 264U } ) {
        bcm_udf_chunk_info_t info = recordOf( 0b1 );
        info.widthIs( width );
        expectCreateRefused( ReturnCode::BCM_E_PARAM, info );
    }
    bcm_udf_chunk_info_t widest = recordOf( 0b1 );
    widest.widthIs( 256 );
    bcm_udf_id_t id = 0;
    EXPECT_EQ( parser.createChunk( nullptr, &widest, &id ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimFlexParserTest, Create_NoChunkOrOneBeyondTheSixteen_IsRefused )
{
    for ( const uint32_t chunks : { 0U, 0x10000U, 0x10001U, 0x80000000U } ) {
        expectCreateRefused( ReturnCode::BCM_E_PARAM, recordOf( chunks ) );
    }
    expectMultiCreateRefused( ReturnCode::BCM_E_PARAM, multiRecordOf( {} ) );
    expectMultiCreateRefused( ReturnCode::BCM_E_PARAM, multiRecordOf( { 16 } ) );
    expectMultiCreateRefused( ReturnCode::BCM_E_PARAM, multiRecordOf( { 0, 31 } ) );
    EXPECT_EQ( made( 0x8000 ), 1 );
}

TEST_P( SimFlexParserTest, Create_FormatThatIsNoneOrNotThere_IsRefused )
{
    bcm_udf_chunk_info_t info = recordOf( 0b1 );
    bcm_udf_multi_chunk_info_t multi = multiRecordOf( { 0 } );
    for ( const bcm_udf_abstract_pkt_format_t none :
          { unknown, bcm_udf_abstract_pkt_format_t{} } ) {
        info.abstract_pkt_formatIs( none );
        multi.abstract_pkt_formatIs( none );
        expectCreateRefused( ReturnCode::BCM_E_PARAM, info );
        expectMultiCreateRefused( ReturnCode::BCM_E_PARAM, multi );
    }
    info.abstract_pkt_formatIs( absent );
    multi.abstract_pkt_formatIs( absent );
    expectCreateRefused( ReturnCode::BCM_E_UNAVAIL, info );
    expectMultiCreateRefused( ReturnCode::BCM_E_UNAVAIL, multi );
}

TEST_P( SimFlexParserTest, Create_NullPointers_AreRefused )
{
    const bcm_udf_chunk_info_t info = recordOf( 0b1 );
    const bcm_udf_multi_chunk_info_t multi = multiRecordOf( { 0 } );
    bcm_udf_id_t id = 4711;
    EXPECT_EQ( parser.createChunk( nullptr, nullptr, &id ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.createChunk( nullptr, &info, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.createMultiChunk( nullptr, nullptr, &id ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.createMultiChunk( nullptr, &multi, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( id, 4711 );
    EXPECT_EQ( parser.used(), 0U );
}

TEST_P( SimFlexParserTest, Create_ChunkInUse_IsOutOfResources )
{
    made( 0b0110 );
    expectCreateRefused( ReturnCode::BCM_E_RESOURCE, recordOf( 0b0010 ) );
    expectCreateRefused( ReturnCode::BCM_E_RESOURCE, recordOf( 0b1100 ) );
    expectMultiCreateRefused( ReturnCode::BCM_E_RESOURCE, multiRecordOf( { 0, 1 } ) );
    EXPECT_EQ( made( 0b1001 ), 2 );
    EXPECT_EQ( made( 0b0100, ipv4 ), 3 ) << "the chunks of another format are others";
}

TEST_P( SimFlexParserTest, Create_ChunkUnavailable_IsOutOfResources )
{
    bcm_udf_chunk_info_t info = recordOf( 0b1 );
    info.abstract_pkt_formatIs( ipv4 );
    expectCreateRefused( ReturnCode::BCM_E_RESOURCE, info );
    info.chunk_bmapIs( 0b1100 );
    expectCreateRefused( ReturnCode::BCM_E_RESOURCE, info );
    info.abstract_pkt_formatIs( arp );
    info.chunk_bmapIs( 0x8000 );
    expectCreateRefused( ReturnCode::BCM_E_RESOURCE, info );
    EXPECT_EQ( made( 0b10100, ipv4 ), 1 );
}

TEST_P( SimFlexParserTest, Create_AllChunksOfAFormatInUse_IsOutOfResources )
{
    for ( uint32_t chunk = 0; chunk < 16; ++chunk ) {
        made( 1U << chunk );
    }
    for ( uint32_t chunk = 0; chunk < 16; ++chunk ) {
        expectCreateRefused( ReturnCode::BCM_E_RESOURCE, recordOf( 1U << chunk ) );
    }
    made( 0x8000, ipv4 );
}

TEST_P( SimFlexParserTest, Create_AllFieldsInUse_IsOutOfResources )
{
    for ( uint32_t chunk = 0; chunk < 15; ++chunk ) {
        made( 1U << chunk );
    }
    for ( uint32_t chunk = 4; chunk < 7; ++chunk ) {
        made( 1U << chunk, ipv4 );
    }
    EXPECT_EQ( parser.used(), 18U );
    expectCreateRefused( ReturnCode::BCM_E_RESOURCE, recordOf( 0x8000 ) );
    expectMultiCreateRefused( ReturnCode::BCM_E_RESOURCE, multiRecordOf( { 15 } ) );
    ASSERT_EQ( parser.destroy( 18 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( made( 0x8000 ), 19 );
}

TEST_P( SimFlexParserTest, Destroy_AField_FreesItsChunksButNotItsId )
{
    EXPECT_EQ( made( 0b11 ), 1 );
    EXPECT_TRUE( parser.has( 1 ) );
    EXPECT_EQ( parser.destroy( 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_FALSE( parser.has( 1 ) );
    EXPECT_EQ( infoOf( ipv6 ).chunk_bmap_used(), 0U );
    EXPECT_EQ( made( 0b11 ), 2 );
}

TEST_P( SimFlexParserTest, Destroy_UsedByOthers_IsBusyUntilItIsNot )
{
    const bcm_udf_id_t inUse = made( 0b1 );
    const bcm_udf_id_t other = made( 0b10 );
    bool used = true;
    parser.useChecks().add( [ & ]( bcm_udf_id_t id ) { return used && id == inUse; } );
    EXPECT_EQ( parser.destroy( inUse ), ReturnCode::BCM_E_BUSY );
    EXPECT_EQ( infoOf( ipv6 ).chunk_bmap_used(), 0b11U );
    EXPECT_EQ( parser.destroy( other ), ReturnCode::BCM_E_NONE );
    used = false;
    EXPECT_EQ( parser.destroy( inUse ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimFlexParserTest, Destroy_Unknown_IsNotFound )
{
    made( 0b1 );
    for ( const bcm_udf_id_t id : { 0, -1, 2 } ) {
        EXPECT_EQ( parser.destroy( id ), ReturnCode::BCM_E_NOT_FOUND );
    }
    EXPECT_EQ( parser.destroy( 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( parser.destroy( 1 ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimFlexParserTest, Get_UnknownOrNull_ChangesNothing )
{
    made( 0b1 );
    bcm_udf_chunk_info_t info = recordOf( 0b111 );
    bcm_udf_multi_chunk_info_t multi = multiRecordOf( { 5 } );
    for ( const bcm_udf_id_t id : { 0, -1, 2 } ) {
        EXPECT_EQ( parser.getChunk( id, &info ), ReturnCode::BCM_E_NOT_FOUND );
        EXPECT_EQ( parser.getMultiChunk( id, &multi ), ReturnCode::BCM_E_NOT_FOUND );
    }
    EXPECT_EQ( info.chunk_bmap(), 0b111U );
    EXPECT_TRUE( hasChunk( multi.two_byte_chunk_bmap(), 5 ) );
    EXPECT_EQ( parser.getChunk( 1, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( parser.getMultiChunk( 1, nullptr ), ReturnCode::BCM_E_PARAM );
}

} // namespace

} // namespace Sim
