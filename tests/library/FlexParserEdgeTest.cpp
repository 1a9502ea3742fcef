// The edges of the flexible parser, on both variants: chunks beyond the sixteen, UDFs on no chunk,
// the longest UDF, return codes that are no failure and no success, and which of several wrong
// things ends the process.

#include "tests/library/FlexParserScene.h"

namespace LibraryTest {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

template< class Parser >
class FlexParserEdgeTest : public FlexParserScene< Parser >
{
  protected:
    /// From now on a UDF reads back with that offset, in the unit of the variant, that width and
    /// these chunks.
    void readBackIs( Agent::U32 offset, Agent::U32 width, Agent::U32 chunks )
    {
        this->sdk.on.bcm_udf_chunk_info_get = [ =, this ]( int, int, bcm_udf_chunk_info_t* info ) {
            info->offsetIs( offset );
            info->widthIs( width );
            info->chunk_bmapIs( chunks );
            info->abstract_pkt_formatIs( this->format() );
            return 0;
        };
        this->sdk.on.bcm_udf_multi_chunk_info_get =
            [ =, this ]( int, int, bcm_udf_multi_chunk_info_t* info ) {
                info->offsetIs( offset );
                info->widthIs( width );
                info->two_byte_chunk_bmap().w[ 0 ] = chunks;
                info->abstract_pkt_formatIs( this->format() );
                return 0;
            };
    }

    /// An offset as the SDK of the variant reads it back.
    static Agent::U32 readOffset( Agent::U32 bytes ) { return Parser::isHsdk ? bytes * 8 : bytes; }

    /// Programs one chunk, chosen by the test, of the format.
    void programChunk( const UdfDesc& desc, Agent::U32 chunk )
    {
        UdfHwProgrammingFootprint footprint;
        QualIdList quals;
        int rc = 99;
        if constexpr ( Parser::isHsdk ) {
            const Agent::Bitmap::Ptr bitmap( new Agent::Bitmap( 16 ) );
            bitmap->bitIs( chunk, true );
            program_abstract_pkt_type_hsdk( this->unit, desc, this->format(), bitmap, rc, quals,
                                            footprint );
        } else {
            program_abstract_pkt_type( this->unit, desc, this->format(), 1U << chunk, rc, quals,
                                       footprint );
        }
    }

    static constexpr const char* sameChunks = Parser::isHsdk
                                                  ? "areBitmapEqual( progChunkBmap, chunkBmap )"
                                                  : "progChunkBmap == chunkBmap";
};

TYPED_TEST_SUITE( FlexParserEdgeTest, Parsers );

// ---- Chunks beyond the sixteen ---------------------------------------------------------------

TYPED_TEST( FlexParserEdgeTest, Positions_ChunkBeyondTheSixteen_IsNotSeen )
{
    this->readChunksAre( { 0x80018001 } );
    EXPECT_THAT( TypeParam::positions( this->unit, qualsOf( { 1 } ) ), ElementsAre( 0, 15 ) );
}

TYPED_TEST( FlexParserEdgeTest, Verify_ChunkBeyondTheSixteen_IsNotCounted )
{
    this->readChunksAre( { 0x80010001 } );
    this->verify( udfDescOf( 2, 2 ), qualsOf( { 1 } ) );
    this->readChunksAre( { 0x10000 } );
    const std::string function = "PeloraTcam::" + this->named( "udfQualProgrammedInHwFlex" );
    this->expectAssertion( { TypeParam::source, function.c_str(), "" }, "chunks == setChunks",
                           [ this ] { this->verify( udfDescOf( 2, 2 ), qualsOf( { 1 } ) ); } );
}

// Chunk 5 is the only one there is room in.
TYPED_TEST( FlexParserEdgeTest, Create_ChunkBeyondTheSixteen_IsNoRoomAndNotShown )
{
    this->sdk.on.bcm_udf_abstract_pkt_format_info_get =
        []( int, Format, bcm_udf_abstract_pkt_format_info_t* info ) {
            info->chunk_bmap_usedIs( 0x1FFDE );
            info->unavail_chunk_bmapIs( 0x20001 );
            return 0;
        };
    this->sdk.on.bcm_udf_multi_abstract_pkt_format_info_get =
        []( int, Format, bcm_udf_multi_abstract_pkt_format_info_t* info ) {
            info->num_chunks_availableIs( 3 );
            info->chunk_2b_bmap_avail().w[ 0 ] = 0x30020;
            return 0;
        };
    this->createdUdfIs( 7 );
    EXPECT_EQ( this->create( udfDescOf( 2, 3 ) ), QualIdList() );
    this->sdk.clear();
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 4 );
    EXPECT_EQ( this->create( udfDescOf( 2, 2 ) ), qualsOf( { 7 } ) );
    EXPECT_THAT( this->sdk.calls().at( 2 ),
                 HasSubstr( TypeParam::isHsdk ? "{w: 32}" : "chunk_bmap: 32," ) );
    EXPECT_THAT( traces.texts(),
                 Contains( HasSubstr( TypeParam::isHsdk ? " is now: 0000000000100000"
                                                        : " is now: 1111111111011111" ) ) );
}

using Sdk6FlexParserEdgeTest = FlexParserEdgeTest< Sdk6Parser >;

TEST_F( Sdk6FlexParserEdgeTest, Reserved_ChunkBeyondTheSixteen_IsNotInTheBitmap )
{
    sdk.on.bcm_udf_abstract_pkt_format_info_get = []( int, Format,
                                                      bcm_udf_abstract_pkt_format_info_t* info ) {
        info->chunk_bmap_usedIs( 0x80010004 );
        info->unavail_chunk_bmapIs( 0x18000 );
        return 0;
    };
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 8 );
    const Agent::Bitmap::Ptr reserved = PeloraTcam::getUdfReservedBitmap( unit, format() );
    EXPECT_EQ( reserved->size(), 16U );
    EXPECT_EQ( reserved->numBitsInSetState(), 2U );
    EXPECT_TRUE( reserved->isBitSet( 2 ) );
    EXPECT_TRUE( reserved->isBitSet( 15 ) );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( ::testing::EndsWith( " used bmap 0000000000000100 unavailBitmap "
                                                   "1000000000000000 reserved bitmap "
                                                   "1000000000000100" ) ) );
}

// Chunk 0 was free, and 16 is none of the format's.
TEST_F( Sdk6FlexParserEdgeTest, Remove_FreeChunkAndOneBeyond_DiesByTheFreeOne )
{
    freeChunksAre( 0b1 );
    readChunksAre( { 0x10001 } );
    sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
    expectAssertion( { Sdk6Parser::source, "assertChunksWereReserved", "" },
                     "udfBmap->isBitSet( i )", [ this ] { destroy( qualsOf( { 1 } ) ); } );
}

// ---- The highest chunk -----------------------------------------------------------------------

TYPED_TEST( FlexParserEdgeTest, Verify_HighestChunk_IsCounted )
{
    this->readBackIs( this->readOffset( 2 ), 4, 0x8001 );
    this->verify( udfDescOf( 2, 4 ), qualsOf( { 1 } ) );
    EXPECT_EQ( this->sdk.countOf( TypeParam::chunksCall ), 1U );
}

TYPED_TEST( FlexParserEdgeTest, Remove_HighestChunkThatWasFree_Dies )
{
    this->freeChunksAre( 0x8000 );
    this->readChunksAre( { 0x8000 } );
    this->sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
    this->expectAssertion(
        { TypeParam::source,
          TypeParam::isHsdk ? "assertChunksWereTaken" : "assertChunksWereReserved", "" },
        TypeParam::isHsdk ? "!BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), i )"
                          : "udfBmap->isBitSet( i )",
        [ this ] { this->destroy( qualsOf( { 1 } ) ); } );
}

// ---- UDFs on no chunk ------------------------------------------------------------------------

TYPED_TEST( FlexParserEdgeTest, Remove_SecondUdfOnNoChunk_Dies )
{
    this->freeChunksAre( 0 );
    this->readChunksAre( { 0b1, 0 } );
    this->sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
    this->expectAssertion( { TypeParam::source, "removeUdfs", "" }, this->sameChunks, [ this ] {
        this->destroy( qualsOf( { 1, 2 } ) );
    } );
}

TYPED_TEST( FlexParserEdgeTest, Verify_SecondUdfOnNoChunk_DiesByTheComparison )
{
    this->readChunksAre( { 0b1, 0 } );
    const std::string function = "PeloraTcam::" + this->named( "udfQualProgrammedInHwFlex" );
    this->expectAssertion( { TypeParam::source, function.c_str(), "" }, this->sameChunks, [ this ] {
        this->verify( udfDescOf( 2, 2 ), qualsOf( { 1, 2 } ) );
    } );
}

TYPED_TEST( FlexParserEdgeTest, Verify_UdfsOfNoBytesOnNoChunk_Pass )
{
    this->readBackIs( 0, 0, 0 );
    this->verify( udfDescOf( 0, 0 ), qualsOf( { 1, 2 } ) );
    EXPECT_EQ( this->sdk.countOf( TypeParam::chunksCall ), 2U );
}

// ---- Long UDFs -------------------------------------------------------------------------------

// What creation does not make passes all the same.
TYPED_TEST( FlexParserEdgeTest, Verify_AsManyChunksAsAreNeeded_Passes )
{
    for ( const Agent::U8 length : std::initializer_list< Agent::U8 >{ 3, 4 } ) {
        this->readBackIs( this->readOffset( 6 ), length, 0b1000'0010 );
        this->verify( udfDescOf( 6, length ), qualsOf( { 1 } ) );
    }
    EXPECT_EQ( this->sdk.countOf( TypeParam::chunksCall ), 2U );
}

TYPED_TEST( FlexParserEdgeTest, Program_LargestOffsetAndLength_AreGivenInBits )
{
    this->createdUdfIs( 7 );
    this->programChunk( udfDescOf( 255, 255 ), 4 );
    const std::string record = TypeParam::isHsdk
                                   ? "{offset: 2040, width: 0, two_byte_chunk_bmap: {w: 16}, "
                                   : "{offset: 2040, width: 2040, chunk_bmap: 16, ";
    EXPECT_THAT( this->sdk.calls().at( 1 ), HasSubstr( record ) );
}

TYPED_TEST( FlexParserEdgeTest, Verify_LargestOffset_IsCompared )
{
    this->readBackIs( this->readOffset( 255 ), 2, 0b1 );
    this->verify( udfDescOf( 255, 2 ), qualsOf( { 1 } ) );
    this->readBackIs( this->readOffset( 255 ) + 256, 2, 0b1 );
    EXPECT_TRUE(
        runInChild( [ this ] { this->verify( udfDescOf( 255, 2 ), qualsOf( { 1 } ) ); } ).aborted );
}

// ---- Return codes ----------------------------------------------------------------------------

TYPED_TEST( FlexParserEdgeTest, Create_PositiveCode_IsRolledBackLikeAFailure )
{
    this->sdk.on.bcm_udf_chunk_create = TestSupport::returns( 1 );
    this->sdk.on.bcm_udf_multi_chunk_create = TestSupport::returns( 1 );
    this->sdk.on.sdkErrorText = []( int rc ) { return rc == 1 ? "One" : "another"; };
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 1 | 1U << 8 );
    EXPECT_EQ( this->create( udfDescOf( 2, 2 ) ), QualIdList() );
    EXPECT_THAT( traces.texts(),
                 Contains( TypeParam::isHsdk ? " bcm_udf_multi_chunk_create failed 1 One"
                                             : " bcm_udf_chunk_create failed rc: 1 One" ) );
    EXPECT_THAT( traces.texts(), Contains( this->named( "cleanupUdfFlexParserFootprint" ) ) );
}

TYPED_TEST( FlexParserEdgeTest, List_PositiveCode_IsTracedLikeSuccess )
{
    this->sdk.on.bcm_udf_abstract_pkt_format_object_list_get = []( int, Format, int,
                                                                   bcm_udf_id_t* ids, int* count ) {
        ids[ 0 ] = 8;
        *count = 1;
        return 3;
    };
    const std::string call = "bcm_udf_abstract_pkt_format_object_list_get( unit, absPktFmt, max, "
                             "udfIds, &numUdfs ) (rc:3)";
    ::testing::internal::CaptureStderr();
    EXPECT_THAT( this->apiLines( TypeParam::source,
                                 [] { EXPECT_EQ( TypeParam::list( 5 ), udfsOf( { 8 } ) ); } ),
                 ElementsAre( call, call, call, call ) );
    EXPECT_EQ( ::testing::internal::GetCapturedStderr(), "" );
}

// ---- Ends of the process ---------------------------------------------------------------------

TYPED_TEST( FlexParserEdgeTest, Program_ChunkTaken_DiesBeforeTheSdkIsAsked )
{
    this->freeChunksAre( 0xFFFE );
    const auto create = []( auto... ) {
        HelperScene::say( "created" );
        return 0;
    };
    this->sdk.on.bcm_udf_chunk_create = create;
    this->sdk.on.bcm_udf_multi_chunk_create = create;
    this->expectAssertion(
        { TypeParam::source,
          TypeParam::isHsdk ? "addChunks" : "PeloraTcam::program_abstract_pkt_type", "" },
        TypeParam::isHsdk ? "BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), bit )"
                          : "!( chunkBmap & pfi.chunk_bmap_used() )",
        [ this ] { this->programChunk( udfDescOf( 2, 2 ), 0 ); } );
}

using HsdkFlexParserEdgeTest = FlexParserEdgeTest< HsdkParser >;

TEST_F( HsdkFlexParserEdgeTest, Remove_FreeChunkBeyondTheSixteen_IsNotLookedAt )
{
    freeChunksAre( 0x10000 );
    readChunksAre( { 0x10001 } );
    sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
    destroy( qualsOf( { 1 } ) );
    EXPECT_EQ( sdk.countOf( "bcm_udf_destroy" ), 1U );
}

TEST_F( HsdkFlexParserEdgeTest, Create_OutOfResourcesAgain_IsLoggedEachTime )
{
    fail( HsdkParser::createCall, -14 );
    for ( int i = 0; i < 3; ++i ) {
        create( udfDescOf( 2, 2 ) );
    }
    EXPECT_THAT( logged, ElementsAre( "PELORA_TCAM_UDF_HW_RESOURCE_FULL",
                                      "PELORA_TCAM_UDF_HW_RESOURCE_FULL",
                                      "PELORA_TCAM_UDF_HW_RESOURCE_FULL" ) );
}

} // namespace
} // namespace LibraryTest
