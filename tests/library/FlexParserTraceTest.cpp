// What the functions of the flexible parser write, on both variants: both traces byte for byte, at
// their levels, and the trace of SDK calls.

#include "tests/library/FlexParserScene.h"

namespace LibraryTest {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

template< class Parser >
class FlexParserTraceTest : public FlexParserScene< Parser >
{
  protected:
    /// Makes a UDF and removes it again.
    auto makeAndRemove( const UdfDesc& desc )
    {
        return [ this, desc ] {
            const QualIdList quals = this->create( desc );
            if ( quals.qualIds() != 0 ) {
                this->destroy( quals );
            }
        };
    }

    [[nodiscard]] std::string numberOf( const char* formatName ) const
    {
        return std::to_string( this->format( formatName ) );
    }

    /// Chunk 0 is taken: what the variant shows of that.
    static constexpr const char* firstChunkTaken =
        Parser::isHsdk ? "1111111111111110" : "0000000000000001";
    static constexpr const char* noChunkTaken =
        Parser::isHsdk ? "1111111111111111" : "0000000000000000";
};

TYPED_TEST_SUITE( FlexParserTraceTest, Parsers );

TYPED_TEST( FlexParserTraceTest, Create_Any_TracesTheRequest )
{
    UdfDesc desc = udfDescOf( 12, 2 );
    desc.appTypeIs( UdfAppType::macAcl );
    desc.ethTypeIs( ip6 );
    this->expectBoth( 4,
                      this->named( "createUdfQualifierFlexParser" ) +
                          " mod:5 ethType: 34525 appType: 2 offset: 12 length: 2",
                      this->makeAndRemove( desc ) );
}

TYPED_TEST( FlexParserTraceTest, Create_AtItsEnd_TracesTheChunks )
{
    this->expectBoth( 4,
                      this->named( "createUdfQualifierFlexParser" ) +
                          "mod: 5 Flex bitmap is now: " + this->firstChunkTaken,
                      this->makeAndRemove( udfDescOf( 2, 2 ) ) );
}

TYPED_TEST( FlexParserTraceTest, Create_TooFewChunks_TracesTheNumbers )
{
    this->freeChunksAre( 0b11 );
    this->expectBoth( 1,
                      this->named( "createUdfQualifierFlexParser" ) +
                          ( TypeParam::isHsdk ? "mod:5" : "mod: 5" ) +
                          " Msg: Not enough chunks to program UDF availChunks 2 requested "
                          "chunks: 3",
                      this->makeAndRemove( udfDescOf( 0, 5 ) ) );
    EXPECT_THAT( this->logged, IsEmpty() );
}

TYPED_TEST( FlexParserTraceTest, Create_SdkRefuses_TracesCodeAndText )
{
    this->fail( TypeParam::createCall, -4 );
    this->expectBoth( 1,
                      " " + std::string( TypeParam::createCall ) + " failed " +
                          ( TypeParam::isHsdk ? "" : "rc: " ) + "-4 Invalid parameter",
                      this->makeAndRemove( udfDescOf() ) );
    EXPECT_THAT( this->logged, IsEmpty() );
}

TYPED_TEST( FlexParserTraceTest, Create_SdkRefuses_StillTracesTheChunksAtTheEnd )
{
    this->fail( TypeParam::createCall, -4 );
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 4 );
    this->create( udfDescOf() );
    ASSERT_EQ( traces.texts().size(), 3U );
    EXPECT_EQ( traces.texts()[ 1 ], this->named( "destroyUdfQualifierFlexParser" ) );
    EXPECT_EQ( traces.texts()[ 2 ], this->named( "createUdfQualifierFlexParser" ) +
                                        "mod: 5 Flex bitmap is now: " + this->noChunkTaken );
}

TYPED_TEST( FlexParserTraceTest, CleanUp_Any_TracesItsNameAtLevel8 )
{
    this->freeChunksAre( 0 );
    this->expectBoth( 8, this->named( "cleanupUdfFlexParserFootprint" ),
                      this->makeAndRemove( udfDescOf() ) );
}

TYPED_TEST( FlexParserTraceTest, Remove_Any_TracesItsNameAtLevel4 )
{
    this->expectBoth( 4, this->named( "destroyUdfQualifierFlexParser" ),
                      this->makeAndRemove( udfDescOf() ) );
}

TYPED_TEST( FlexParserTraceTest, Remove_Any_TracesTheChunksBeforeAndAfter )
{
    const std::string name = this->named( "destroyUdfQualifierFlexParser" );
    const std::string format =
        TypeParam::isHsdk ? " apf: " + this->numberOf( TypeParam::ipv4Format ) : "";
    this->expectBoth( 8, name + " mod: 5" + format + " Flex bitmap start: " + this->firstChunkTaken,
                      this->makeAndRemove( udfDescOf( 2, 2 ) ) );
    this->expectBoth( 8, name + " mod: 5 Flex bitmap end: " + this->noChunkTaken,
                      this->makeAndRemove( udfDescOf( 2, 2 ) ) );
}

TYPED_TEST( FlexParserTraceTest, Positions_OnEntry_TraceTheName )
{
    this->expectBoth( 8, this->named( "getUdfChunkPosFlexParser" ),
                      [] { static_cast< void >( TypeParam::positions( 5, QualIdList() ) ); } );
}

TYPED_TEST( FlexParserTraceTest, Verify_OnEntry_TracesTheRequest )
{
    UdfDesc desc = udfDescOf( 12, 2 );
    desc.appTypeIs( UdfAppType::ipv4TrafficPolicy );
    this->expectBoth( 4,
                      this->named( "udfQualProgrammedInHwFlex" ) +
                          " mod: 5 ethType: 2048 appType: 3 offset: 12 length: 2",
                      [ & ] { this->verify( desc, QualIdList() ); } );
}

TYPED_TEST( FlexParserTraceTest, Verify_EachUdf_TracesOffsetsThenFormat )
{
    const QualIdList quals = this->made();
    const std::string name = this->named( "udfQualProgrammedInHwFlex" );
    const std::string offsets =
        name + "mod: 5 Chunk info offset: " + ( TypeParam::isHsdk ? "16" : "2" ) + " offset: 2";
    const std::string format =
        name + "mod: 5 Abstract pkt format: " + this->numberOf( TypeParam::ipv4Format );
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 8 );
    const std::vector< std::string > ring =
        ringTextsOf( [ & ] { this->verify( udfDescOf( 2, 2 ), quals ); } );
    EXPECT_THAT( traces.texts(), ElementsAre( offsets, format ) );
    ASSERT_EQ( ring.size(), 3U );
    EXPECT_EQ( ring[ 1 ], offsets );
    EXPECT_EQ( ring[ 2 ], format );
}

TYPED_TEST( FlexParserTraceTest, List_Any_TracesUnitAndEachFormatsCount )
{
    this->made();
    const std::string name = this->named( "getAllProgrammedUdfIdsUdfFlexParser" ) + " mod:5";
    const auto operation = [] { static_cast< void >( TypeParam::list( 5 ) ); };
    this->expectBoth( 4, name, operation );
    for ( const char* format :
          { TypeParam::ipv4Format, TypeParam::arpFormat, ip6Format, unknownFormat } ) {
        const bool isUsed = std::string( format ) == TypeParam::ipv4Format;
        this->expectBoth( 8,
                          name + " abstract packet format: " + this->numberOf( format ) + " has " +
                              ( isUsed ? "1" : "0" ) + " UDFS",
                          operation );
    }
}

// ---- The trace of SDK calls ------------------------------------------------------------------

TYPED_TEST( FlexParserTraceTest, ApiTrace_OfALife_HasEachCallWithItsCode )
{
    const std::string format = std::string( this->formatGet ) + " (rc:0)";
    const std::string create =
        std::string( TypeParam::createCall ) + "( unit, NULL, &chunkInfo, &udfId ) (rc:0)";
    const std::string chunks = std::string( this->chunksGet ) + " (rc:0)";
    EXPECT_THAT( this->apiLines( TypeParam::source, this->makeAndRemove( udfDescOf( 2, 2 ) ) ),
                 ElementsAre( format, format, create, format, format, chunks,
                              "bcm_udf_destroy( unit, udfId ) (rc:0)", format ) );
}

TYPED_TEST( FlexParserTraceTest, ApiTrace_OfARefusedCreation_HasItsCode )
{
    for ( const int rc : { -4, -14 } ) {
        this->fail( TypeParam::createCall, rc );
        EXPECT_THAT( this->apiLines( TypeParam::source, [ this ] { this->create( udfDescOf() ); } ),
                     Contains( std::string( TypeParam::createCall ) +
                               "( unit, NULL, &chunkInfo, &udfId ) (rc:" + std::to_string( rc ) +
                               ")" ) );
    }
}

TYPED_TEST( FlexParserTraceTest, ApiTrace_OfAList_HasSuccessAndNotFoundButNoOtherFailure )
{
    this->made();
    const std::string call = "bcm_udf_abstract_pkt_format_object_list_get( unit, absPktFmt, max, "
                             "udfIds, &numUdfs ) (rc:";
    const auto list = [] { static_cast< void >( TypeParam::list( 5 ) ); };
    const std::vector< std::string > lines = this->apiLines( TypeParam::source, list );
    EXPECT_EQ( std::ranges::count( lines, call + "0)" ), 1 );
    EXPECT_EQ( std::ranges::count( lines, call + "-7)" ), 3 );
    this->fail( "bcm_udf_abstract_pkt_format_object_list_get", -4 );
    EXPECT_THAT( this->apiLines( TypeParam::source, list ), IsEmpty() );
}

// ---- One variant only ------------------------------------------------------------------------

using Sdk6FlexParserTraceTest = FlexParserTraceTest< Sdk6Parser >;

TEST_F( Sdk6FlexParserTraceTest, Reserved_Any_TracesAllBitmapsInTheTextTraceOnly )
{
    sdk.on.bcm_udf_abstract_pkt_format_info_get = []( int, Format,
                                                      bcm_udf_abstract_pkt_format_info_t* info ) {
        info->num_chunks_maxIs( 14 );
        info->chunk_bmap_usedIs( 0b101 );
        info->unavail_chunk_bmapIs( 0x8001 );
        return 0;
    };
    const std::string text = "getUdfReservedBitmap apf " + numberOf( Sdk6Parser::ipv4Format ) +
                             " bitmap size 16 max chunks 14 used bmap 0000000000000101 "
                             "unavailBitmap 1000000000000001 reserved bitmap 1000000000000101";
    const auto operation = [ this ] {
        const Agent::Bitmap::Ptr reserved = PeloraTcam::getUdfReservedBitmap( unit, format() );
        EXPECT_EQ( reserved->size(), 16U );
        EXPECT_EQ( reserved->numBitsInSetState(), 3U );
        for ( const Agent::U32 chunk : { 0U, 2U, 15U } ) {
            EXPECT_TRUE( reserved->isBitSet( chunk ) ) << chunk;
        }
    };
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 8 );
    EXPECT_THAT( ringTextsOf( operation ), IsEmpty() );
    EXPECT_THAT( traces.texts(), ElementsAre( text ) );
}

TEST_F( Sdk6FlexParserTraceTest, Reserved_ReadingFails_IsFatal )
{
    expectNthFatal( formatGetOf( "getUdfReservedBitmap" ), Sdk6Parser::formatCall, 1, [ this ] {
        static_cast< void >( PeloraTcam::getUdfReservedBitmap( unit, format() ) );
    } );
}

TEST_F( Sdk6FlexParserTraceTest, Remove_EachUdf_TracesUnitAndFormat )
{
    expectBoth( 8, " mod: 5 Abstract pkt format: " + numberOf( Sdk6Parser::ipv4Format ),
                makeAndRemove( udfDescOf( 2, 2 ) ) );
}

using HsdkFlexParserTraceTest = FlexParserTraceTest< HsdkParser >;

TEST_F( HsdkFlexParserTraceTest, Create_OutOfResources_TracesLogsAndTracesTheFailure )
{
    fail( HsdkParser::createCall, -14 );
    const std::string shortage =
        "mod : 5Out of hw resources to create UDF. apf=" + numberOf( HsdkParser::ipv4Format ) +
        " length=4";
    std::vector< std::string > events;
    const Agent::LogSink sink = Agent::logSinkIs(
        [ & ]( const Agent::LogDescriptor& message ) { events.emplace_back( message.name ); } );
    Agent::traceLevelsIs( udfFacility, 1U << 1 );
    const Agent::TraceSink traceSink = Agent::traceSinkIs(
        [ & ]( const Agent::TraceLine& line ) { events.emplace_back( line.text ); } );
    create( udfDescOf( 2, 4 ) );
    Agent::traceSinkIs( traceSink );
    Agent::traceLevelsIs( udfFacility, 0 );
    Agent::logSinkIs( sink );
    EXPECT_THAT(
        events, ElementsAre( shortage, "PELORA_TCAM_UDF_HW_RESOURCE_FULL",
                             " bcm_udf_multi_chunk_create failed -14 Out of hardware resources" ) );
    expectBoth( 1, shortage, makeAndRemove( udfDescOf( 2, 4 ) ) );
}

TEST_F( HsdkFlexParserTraceTest, Create_OtherFailures_RaiseNoMessage )
{
    for ( const SdkFailure& failure : allSdkFailures() ) {
        logged.clear();
        fail( HsdkParser::createCall, failure.rc );
        create( udfDescOf() );
        EXPECT_EQ( logged.size(), failure.rc == -14 ? 1U : 0U ) << failure.name;
    }
}

} // namespace
} // namespace LibraryTest
