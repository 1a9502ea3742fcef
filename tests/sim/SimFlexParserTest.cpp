#include "sim/SimFlexParser.h"

#include "sim/ReturnCode.h"
#include "sim/SimSets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

namespace Sim {

namespace {

using ::testing::ElementsAre;

/// Room for 18 fields, in three formats: the first has all chunks, the second chunks 2 and 4 to 15,
/// the third none.
const ChipProfile::FlexParser capacities{
    .udfs = 18,
    .unavailableChunks = { { "bcmUdfAbstractPktFormatL3Ipv6", 0 },
                           { "bcmUdfAbstractPktFormatL3Ipv4WithoutOptions", 0b1011 },
                           { "bcmUdfAbstractPktFormatArp", 0xFFFF } } };

class SimFlexParserTest : public testing::TestWithParam< const char* >
{
  protected:
    /// A record of the IPv6 format, offset 14 bytes, width 2 bytes.
    bcm_udf_chunk_info_t recordOf( uint32_t chunks ) const
    {
        bcm_udf_chunk_info_t info;
        info.offsetIs( 112 );
        info.widthIs( 16 );
        info.chunk_bmapIs( chunks );
        info.abstract_pkt_formatIs( ipv6 );
        return info;
    }

    bcm_udf_multi_chunk_info_t multiRecordOf( const std::vector< int >& chunks ) const
    {
        bcm_udf_multi_chunk_info_t info;
        info.offsetIs( 112 );
        for ( const int chunk : chunks ) {
            addChunk( info.two_byte_chunk_bmap(), chunk );
        }
        info.abstract_pkt_formatIs( ipv6 );
        return info;
    }

    bcm_udf_id_t made( uint32_t chunks ) { return made( chunks, ipv6 ); }

    bcm_udf_id_t made( uint32_t chunks, bcm_udf_abstract_pkt_format_t format )
    {
        bcm_udf_chunk_info_t info = recordOf( chunks );
        info.abstract_pkt_formatIs( format );
        bcm_udf_id_t id = 0;
        EXPECT_EQ( parser.createChunk( nullptr, &info, &id ), ReturnCode::BCM_E_NONE );
        return id;
    }

    bcm_udf_abstract_pkt_format_info_t infoOf( bcm_udf_abstract_pkt_format_t format ) const
    {
        bcm_udf_abstract_pkt_format_info_t info;
        EXPECT_EQ( parser.getFormat( format, &info ), ReturnCode::BCM_E_NONE );
        return info;
    }

    /// The free chunks of a format, as HSDK gives them.
    std::vector< int > freeIn( bcm_udf_abstract_pkt_format_t format ) const
    {
        bcm_udf_multi_abstract_pkt_format_info_t info;
        EXPECT_EQ( parser.getMultiFormat( format, &info ), ReturnCode::BCM_E_NONE );
        std::vector< int > chunks;
        for ( int chunk = 0; chunk < 32; ++chunk ) {
            if ( hasChunk( info.chunk_2b_bmap_avail(), chunk ) ) {
                chunks.push_back( chunk );
            }
        }
        EXPECT_EQ( info.num_chunks_available(), chunks.size() );
        return chunks;
    }

    std::string text() const
    {
        ChipSnapshot now;
        parser.addTo( now );
        return now.text();
    }

    void expectCreateRefused( int rc,
                              const bcm_udf_chunk_info_t& info,
                              const bcm_udf_chunk_hints_t* hints = nullptr )
    {
        const std::string before = text();
        bcm_udf_id_t id = 4711;
        EXPECT_EQ( parser.createChunk( hints, &info, &id ), rc );
        EXPECT_EQ( id, 4711 );
        EXPECT_EQ( text(), before );
    }

    void expectMultiCreateRefused( int rc,
                                   const bcm_udf_multi_chunk_info_t& info,
                                   const bcm_udf_chunk_hints_t* hints = nullptr )
    {
        const std::string before = text();
        bcm_udf_id_t id = 4711;
        EXPECT_EQ( parser.createMultiChunk( hints, &info, &id ), rc );
        EXPECT_EQ( id, 4711 );
        EXPECT_EQ( text(), before );
    }

    const SdkNumbering numbering = SdkNumbering::fromText( GetParam() );
    const bcm_udf_abstract_pkt_format_t ipv6 = numbering.bcmUdfAbstractPktFormatL3Ipv6;
    const bcm_udf_abstract_pkt_format_t ipv4 =
        numbering.bcmUdfAbstractPktFormatL3Ipv4WithoutOptions;
    const bcm_udf_abstract_pkt_format_t arp = numbering.bcmUdfAbstractPktFormatArp;
    const bcm_udf_abstract_pkt_format_t absent = numbering.bcmUdfAbstractPktFormatKnownNonIp;
    const bcm_udf_abstract_pkt_format_t unknown{ 4711 };
    SimFlexParser parser{ numbering, capacities };
};

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

// ---- Abstract packet formats -----------------------------------------------------------------

TEST_P( SimFlexParserTest, GetFormat_WithAndWithoutFields_TellsUsedAndUnavailable )
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

TEST_P( SimFlexParserTest, GetMultiFormat_WithAndWithoutFields_TellsTheFreeOnes )
{
    EXPECT_THAT( freeIn( arp ), ElementsAre() );
    EXPECT_THAT( freeIn( ipv4 ), ElementsAre( 2, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 ) );
    made( 0b1111'1111'0001'0000, ipv4 );
    EXPECT_THAT( freeIn( ipv4 ), ElementsAre( 2, 5, 6, 7 ) );
    EXPECT_EQ( freeIn( ipv6 ).size(), 16U );
}

TEST_P( SimFlexParserTest, GetFormat_BadArguments_AreRefused )
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

TEST_P( SimFlexParserTest, GetUdfs_OfAFormat_AreTheFirstOfItsFields )
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

TEST_P( SimFlexParserTest, GetUdfs_OfAFormatWithoutFields_IsNotFound )
{
    bcm_udf_id_t id = 4711;
    int actual = 4712;
    made( 0b1 );
    EXPECT_EQ( parser.getUdfs( ipv4, 1, &id, &actual ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( parser.getUdfs( ipv4, 0, nullptr, &actual ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( id, 4711 );
    EXPECT_EQ( actual, 4712 );
}

TEST_P( SimFlexParserTest, GetUdfs_BadArguments_AreRefused )
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

TEST_P( SimFlexParserTest, Formats_OfTheProfile_AreInTheSdksOrder )
{
    std::vector< std::string > names;
    for ( const SimFlexParser::Format& format : parser.formats() ) {
        names.push_back( format.shortName() );
        EXPECT_EQ( numbering.nameOf( format.number ), format.name );
    }
    EXPECT_THAT( names, ElementsAre( "L3Ipv4WithoutOptions", "L3Ipv6", "Arp" ) );
}

TEST_P( SimFlexParserTest, Formats_OfAProfileWithout_AreNone )
{
    SimFlexParser none( numbering, {} );
    EXPECT_TRUE( none.formats().empty() );
    const bcm_udf_chunk_info_t info = recordOf( 0b1 );
    bcm_udf_id_t id = 0;
    EXPECT_EQ( none.createChunk( nullptr, &info, &id ), ReturnCode::BCM_E_UNAVAIL );
}

TEST_P( SimFlexParserTest, Chunks_UsedAndCapacity_AreCountedByFormat )
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

TEST_P( SimFlexParserTest, Snapshot_OfFields_IsReadable )
{
    made( 0b10'0001 );
    made( 0b100, ipv4 );
    EXPECT_EQ( text(),
               "udf 1: format=bcmUdfAbstractPktFormatL3Ipv6 offset=112 width=16 chunks=0,5\n"
               "udf 2: format=bcmUdfAbstractPktFormatL3Ipv4WithoutOptions offset=112 width=16 "
               "chunks=2\n" );
}

TEST_P( SimFlexParserTest, StateIs_EarlierState_PutsItBackButNoIds )
{
    const SimFlexParser::State earlier = parser.state();
    EXPECT_EQ( made( 0b1 ), 1 );
    parser.stateIs( earlier );
    EXPECT_EQ( text(), "" );
    EXPECT_EQ( made( 0b1 ), 2 );
}

} // namespace

} // namespace Sim
