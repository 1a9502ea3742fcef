// Where the two flexible-parser paths differ on purpose: each test asserts both sides of one row
// of docs/twins.md.

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "tests/library/FlexParserScene.h"

namespace LibraryTest {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// A chip of each variant, one after the other: the SDK says yes to every creation, gives the ids
/// 7, and answers as the test wants.
class FlexParserTwinsTest : public FlexParserScene< Sdk6Parser >
{
  protected:
    FlexParserTwinsTest()
    {
        createdUdfIs( 7 );
        freeChunksAre( 0xFFFF );
    }

    /// The arguments of the creation that a descriptor leads to.
    template< class Parser >
    std::string recordOf( const UdfDesc& desc )
    {
        sdk.clear();
        static_cast< void >( Parser::create( unit, desc, format( ip6Format ) ) );
        for ( const TestSupport::RecordedCall& call : sdk.records() ) {
            if ( call.name == Parser::createCall ) {
                return call.arguments.at( 2 );
            }
        }
        return "none";
    }

    /// The format that a helper class chooses for a descriptor, by name.
    template< class Helper >
    std::string formatOf( Helper makeHelper, UdfAppType appType, Agent::U16 ethType )
    {
        UdfDesc desc = udfDescOf( 2, 2 );
        desc.appTypeIs( appType );
        desc.ethTypeIs( ethType );
        sdk.clear();
        makeHelper( unit, 0, false )->programUdfInHw( desc );
        return formatAsked();
    }

    /// The texts that an operation writes at a level.
    template< class Operation >
    static std::vector< std::string > linesAt( Agent::U32 level, const Operation& operation )
    {
        const TestSupport::TraceRecorder traces( udfFacility, 1U << level );
        operation();
        return traces.texts();
    }

    template< class Parser >
    std::vector< std::string > creationLines( Agent::U32 level, const UdfDesc& desc )
    {
        return linesAt( level, [ & ] {
            static_cast< void >( Parser::create( unit, desc, format( ip6Format ) ) );
        } );
    }

    template< class Parser >
    std::vector< std::string > removalLines( Agent::U32 level )
    {
        freeChunksAre( 0xFFF0 );
        readChunksAre( { 0b100 } );
        sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
        return linesAt( level,
                        [ & ] { Parser::destroy( unit, qualsOf( { 1 } ), format( ip6Format ) ); } );
    }

    template< class Parser >
    ChildRun removalOfFreeChunk()
    {
        freeChunksAre( 0b100 );
        readChunksAre( { 0b100 } );
        sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
        return runInChild(
            [ & ] { Parser::destroy( unit, qualsOf( { 1 } ), format( ip6Format ) ); } );
    }

    /// Whether a UDF at offset 2 that reads back at another one, in some format, passes the audit.
    template< class Parser >
    bool passes( Agent::U32 readOffset, Format readFormat )
    {
        sdk.on.bcm_udf_chunk_info_get = [ = ]( int, int, bcm_udf_chunk_info_t* info ) {
            info->offsetIs( readOffset );
            info->widthIs( 2 );
            info->chunk_bmapIs( 1 );
            info->abstract_pkt_formatIs( readFormat );
            return 0;
        };
        sdk.on.bcm_udf_multi_chunk_info_get = [ = ]( int, int, bcm_udf_multi_chunk_info_t* info ) {
            info->offsetIs( readOffset );
            info->widthIs( 2 );
            info->two_byte_chunk_bmap().w[ 0 ] = 1;
            info->abstract_pkt_formatIs( readFormat );
            return 0;
        };
        return runInChild( [ & ] { Parser::verify( unit, udfDescOf( 2, 2 ), qualsOf( { 1 } ) ); } )
            .returned;
    }

    /// The removal of two UDFs on these chunks of a format without free ones.
    template< class Parser >
    ChildRun removalOfChunks( const std::vector< Agent::U32 >& chunks )
    {
        freeChunksAre( 0 );
        readChunksAre( chunks );
        sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
        return runInChild( [ & ] {
            Parser::destroy( unit, qualsOf( { 1, 2 } ), format( ip6Format ) );
        } );
    }

    /// The audit of two UDFs of no length on these chunks.
    template< class Parser >
    ChildRun auditOfChunks( const std::vector< Agent::U32 >& chunks )
    {
        const auto chunksOf = [ = ]( bcm_udf_id_t id ) {
            return chunks.at( static_cast< std::size_t >( id ) - 1 );
        };
        const Format readFormat = format( ip6Format );
        sdk.on.bcm_udf_chunk_info_get = [ = ]( int, bcm_udf_id_t id, bcm_udf_chunk_info_t* info ) {
            info->chunk_bmapIs( chunksOf( id ) );
            info->abstract_pkt_formatIs( readFormat );
            return 0;
        };
        sdk.on.bcm_udf_multi_chunk_info_get = [ = ]( int, bcm_udf_id_t id,
                                                     bcm_udf_multi_chunk_info_t* info ) {
            info->two_byte_chunk_bmap().w[ 0 ] = chunksOf( id );
            info->abstract_pkt_formatIs( readFormat );
            return 0;
        };
        return runInChild( [ & ] {
            Parser::verify( unit, udfDescOf( 0, 0 ), qualsOf( { 1, 2 } ) );
        } );
    }

    static constexpr auto sdk6Helper = PeloraTcam::udfFlexParserHelperFactory;
    static constexpr auto hsdkHelper = PeloraTcam::udfFlexParserHsdkHelperFactory;
};

TEST_F( FlexParserTwinsTest, PktFmt_Ipv4_IsWithoutOptionsOrAll )
{
    EXPECT_EQ( formatOf( sdk6Helper, UdfAppType::ipv4Acl, ip4 ),
               "bcmUdfAbstractPktFormatL3Ipv4WithoutOptions" );
    EXPECT_EQ( formatOf( hsdkHelper, UdfAppType::ipv4Acl, ip4 ), "bcmUdfAbstractPktFormatL3Ipv4" );
}

TEST_F( FlexParserTwinsTest, PktFmt_Arp_IsKnownNonIpOrArp )
{
    EXPECT_EQ( formatOf( sdk6Helper, UdfAppType::macAcl, arp ),
               "bcmUdfAbstractPktFormatKnownNonIp" );
    EXPECT_EQ( formatOf( hsdkHelper, UdfAppType::macAcl, arp ), "bcmUdfAbstractPktFormatArp" );
}

TEST_F( FlexParserTwinsTest, Formats_OfTheLibrary_DifferInTwo )
{
    const Format sdk6Only[] = { sdk.bcmUdfAbstractPktFormatL3Ipv4WithoutOptions(),
                                sdk.bcmUdfAbstractPktFormatKnownNonIp() };
    const Format hsdkOnly[] = { sdk.bcmUdfAbstractPktFormatL3Ipv4(),
                                sdk.bcmUdfAbstractPktFormatArp() };
    for ( const Format format : sdk6Only ) {
        EXPECT_TRUE( Sdk6Parser::formats().contains( format ) );
        EXPECT_TRUE( passes< Sdk6Parser >( 2, format ) );
        EXPECT_FALSE( HsdkParser::formats().contains( format ) );
        EXPECT_FALSE( passes< HsdkParser >( 16, format ) );
    }
    for ( const Format format : hsdkOnly ) {
        EXPECT_FALSE( Sdk6Parser::formats().contains( format ) );
        EXPECT_FALSE( passes< Sdk6Parser >( 2, format ) );
        EXPECT_TRUE( HsdkParser::formats().contains( format ) );
        EXPECT_TRUE( passes< HsdkParser >( 16, format ) );
    }
}

TEST_F( FlexParserTwinsTest, Create_Record_HasANumberOrASet )
{
    EXPECT_THAT( recordOf< Sdk6Parser >( udfDescOf( 2, 2 ) ), HasSubstr( " chunk_bmap: 1," ) );
    EXPECT_THAT( recordOf< HsdkParser >( udfDescOf( 2, 2 ) ),
                 HasSubstr( " two_byte_chunk_bmap: {w: 1}," ) );
}

TEST_F( FlexParserTwinsTest, Create_FreeChunks_AreTheRestOrTheSdks )
{
    sdk.on.bcm_udf_abstract_pkt_format_info_get = []( int, Format,
                                                      bcm_udf_abstract_pkt_format_info_t* info ) {
        info->chunk_bmap_usedIs( 0b0011 );
        info->unavail_chunk_bmapIs( 0b0110 );
        return 0;
    };
    sdk.on.bcm_udf_multi_abstract_pkt_format_info_get =
        []( int, Format, bcm_udf_multi_abstract_pkt_format_info_t* info ) {
            info->num_chunks_availableIs( 1 );
            info->chunk_2b_bmap_avail().w[ 0 ] = 0b10000;
            return 0;
        };
    EXPECT_THAT( recordOf< Sdk6Parser >( udfDescOf( 2, 2 ) ), HasSubstr( " chunk_bmap: 8," ) );
    EXPECT_THAT( recordOf< HsdkParser >( udfDescOf( 2, 2 ) ), HasSubstr( "{w: 16}" ) );
}

TEST_F( FlexParserTwinsTest, Create_Room_IsOneCountOrTheSmallerOfTwo )
{
    sdk.on.bcm_udf_abstract_pkt_format_info_get = []( int, Format,
                                                      bcm_udf_abstract_pkt_format_info_t* info ) {
        info->num_chunks_maxIs( 1 ); // does not count
        return 0;
    };
    EXPECT_NE( recordOf< Sdk6Parser >( udfDescOf( 2, 4 ) ), "none" );
    for ( const auto& counts : { std::pair{ 1U, 0b11U }, std::pair{ 2U, 0b1U } } ) {
        sdk.on.bcm_udf_multi_abstract_pkt_format_info_get =
            [ counts ]( int, Format, bcm_udf_multi_abstract_pkt_format_info_t* info ) {
                info->num_chunks_availableIs( counts.first );
                info->chunk_2b_bmap_avail().w[ 0 ] = counts.second;
                return 0;
            };
        EXPECT_EQ( recordOf< HsdkParser >( udfDescOf( 2, 4 ) ), "none" );
        EXPECT_NE( recordOf< HsdkParser >( udfDescOf( 2, 2 ) ), "none" );
    }
}

// On HSDK what the message counts is what is marked free, not the smaller number.
TEST_F( FlexParserTwinsTest, Create_TooFewChunksMessage_HasTheOneCountOrTheChunksMarkedFree )
{
    freeChunksAre( 0b1 );
    sdk.on.bcm_udf_multi_abstract_pkt_format_info_get =
        []( int, Format, bcm_udf_multi_abstract_pkt_format_info_t* info ) {
            info->num_chunks_availableIs( 1 );
            info->chunk_2b_bmap_avail().w[ 0 ] = 0b111;
            return 0;
        };
    EXPECT_THAT( creationLines< Sdk6Parser >( 1, udfDescOf( 2, 4 ) ),
                 ElementsAre( "createUdfQualifierFlexParsermod: 5 Msg: Not enough chunks to "
                              "program UDF availChunks 1 requested chunks: 2" ) );
    EXPECT_THAT( creationLines< HsdkParser >( 1, udfDescOf( 2, 4 ) ),
                 ElementsAre( "createUdfQualifierFlexParserHsdkmod:5 Msg: Not enough chunks to "
                              "program UDF availChunks 3 requested chunks: 2" ) );
}

TEST_F( FlexParserTwinsTest, Create_ReadingTheFormat_IsTracedOrNot )
{
    freeChunksAre( 0b11 );
    EXPECT_THAT( creationLines< Sdk6Parser >( 8, udfDescOf( 2, 2 ) ),
                 ::testing::Each( ::testing::StartsWith( "getUdfReservedBitmap apf " ) ) );
    EXPECT_THAT( creationLines< Sdk6Parser >( 8, udfDescOf( 2, 2 ) ), ::testing::SizeIs( 2 ) );
    EXPECT_THAT( creationLines< HsdkParser >( 8, udfDescOf( 2, 2 ) ), IsEmpty() );
}

// Chunk 0 is unavailable, and used by no UDF.
TEST_F( FlexParserTwinsTest, Program_ChosenChunk_MustNotBeUsedOrMustBeFree )
{
    sdk.on.bcm_udf_abstract_pkt_format_info_get = []( int, Format,
                                                      bcm_udf_abstract_pkt_format_info_t* info ) {
        info->unavail_chunk_bmapIs( 0b1 );
        return 0;
    };
    sdk.on.bcm_udf_multi_abstract_pkt_format_info_get =
        []( int, Format, bcm_udf_multi_abstract_pkt_format_info_t* info ) {
            info->chunk_2b_bmap_avail().w[ 0 ] = 0xFFFE;
            return 0;
        };
    int rc = 99;
    QualIdList quals;
    UdfHwProgrammingFootprint footprint;
    program_abstract_pkt_type( unit, udfDescOf( 2, 2 ), format( ip6Format ), 0b1, rc, quals,
                               footprint );
    EXPECT_EQ( quals, qualsOf( { 7 } ) );
    const ChildRun run = runInChild( [ & ] {
        const Agent::Bitmap::Ptr chunks( new Agent::Bitmap( 16 ) );
        chunks->bitIs( 0, true );
        UdfHwProgrammingFootprint none;
        program_abstract_pkt_type_hsdk( unit, udfDescOf( 2, 2 ), format( ip6Format ), chunks, rc,
                                        quals, none );
    } );
    EXPECT_THAT( run.errors,
                 HasSubstr( "Assertion `BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), "
                            "bit )' failed." ) );
}

TEST_F( FlexParserTwinsTest, Create_ChosenChunks_AreOneOrAllThatAreNeeded )
{
    freeChunksAre( 0b11000 );
    int tests = 0;
    sdk.on.BCM_UDF_CBMP_CHUNK_ADD = [ & ]( bcm_udf_cbmp_t& chunks, int chunk ) {
        ++tests;
        EXPECT_EQ( chunk, 3 );
        chunks.w[ 0 ] |= 1U << chunk;
    };
    EXPECT_THAT( recordOf< Sdk6Parser >( udfDescOf( 2, 4 ) ), HasSubstr( " chunk_bmap: 8," ) );
    EXPECT_EQ( tests, 0 );
    EXPECT_THAT( recordOf< HsdkParser >( udfDescOf( 2, 4 ) ), HasSubstr( "{w: 8}" ) );
    EXPECT_EQ( tests, 2 ) << "one for each chosen chunk";
}

TEST_F( FlexParserTwinsTest, Create_Width_IsTheLengthInBitsOrNone )
{
    EXPECT_THAT( recordOf< Sdk6Parser >( udfDescOf( 2, 3 ) ), HasSubstr( " width: 24," ) );
    EXPECT_THAT( recordOf< HsdkParser >( udfDescOf( 2, 3 ) ), HasSubstr( " width: 0," ) );
}

TEST_F( FlexParserTwinsTest, Create_TooFewChunksTrace_HasABlankOrNot )
{
    freeChunksAre( 0 );
    const std::string message =
        "5 Msg: Not enough chunks to program UDF availChunks 0 requested chunks: 1";
    EXPECT_THAT( creationLines< Sdk6Parser >( 1, udfDescOf( 2, 2 ) ),
                 ElementsAre( "createUdfQualifierFlexParsermod: " + message ) );
    EXPECT_THAT( creationLines< HsdkParser >( 1, udfDescOf( 2, 2 ) ),
                 ElementsAre( "createUdfQualifierFlexParserHsdkmod:" + message ) );
}

TEST_F( FlexParserTwinsTest, Create_OutOfResources_IsSilentOrRaisesTheMessage )
{
    sdk.on.bcm_udf_chunk_create = nullptr;
    sdk.on.bcm_udf_multi_chunk_create = nullptr;
    fail( Sdk6Parser::createCall, -14 );
    EXPECT_THAT( creationLines< Sdk6Parser >( 1, udfDescOf( 2, 2 ) ),
                 ElementsAre( " bcm_udf_chunk_create failed rc: -14 Out of hardware resources" ) );
    EXPECT_THAT( logged, IsEmpty() );
    fail( HsdkParser::createCall, -14 );
    EXPECT_THAT(
        creationLines< HsdkParser >( 1, udfDescOf( 2, 2 ) ),
        ElementsAre( "mod : 5Out of hw resources to create UDF. apf=" +
                         std::to_string( format( ip6Format ) ) + " length=2",
                     " bcm_udf_multi_chunk_create failed -14 Out of hardware resources" ) );
    EXPECT_THAT( logged, ElementsAre( "PELORA_TCAM_UDF_HW_RESOURCE_FULL" ) );
}

TEST_F( FlexParserTwinsTest, Create_FailureTrace_HasRcOrNot )
{
    sdk.on.bcm_udf_chunk_create = nullptr;
    sdk.on.bcm_udf_multi_chunk_create = nullptr;
    fail( Sdk6Parser::createCall, -6 );
    EXPECT_THAT( creationLines< Sdk6Parser >( 1, udfDescOf( 2, 2 ) ),
                 ElementsAre( " bcm_udf_chunk_create failed rc: -6 Table full" ) );
    fail( HsdkParser::createCall, -6 );
    EXPECT_THAT( creationLines< HsdkParser >( 1, udfDescOf( 2, 2 ) ),
                 ElementsAre( " bcm_udf_multi_chunk_create failed -6 Table full" ) );
}

TEST_F( FlexParserTwinsTest, Create_ClosingTrace_ShowsReservedOrFreeChunks )
{
    freeChunksAre( 0b11 );
    EXPECT_THAT(
        creationLines< Sdk6Parser >( 4, udfDescOf( 2, 2 ) ),
        Contains( "createUdfQualifierFlexParsermod: 5 Flex bitmap is now: 1111111111111100" ) );
    EXPECT_THAT( creationLines< HsdkParser >( 4, udfDescOf( 2, 2 ) ),
                 Contains( "createUdfQualifierFlexParserHsdkmod: 5 Flex bitmap is now: "
                           "0000000000000011" ) );
}

TEST_F( FlexParserTwinsTest, Remove_StartTrace_HasNoFormatOrTheFormat )
{
    EXPECT_THAT( removalLines< Sdk6Parser >( 8 ),
                 Contains( "destroyUdfQualifierFlexParser mod: 5 Flex bitmap start: "
                           "0000000000001111" ) );
    EXPECT_THAT( removalLines< HsdkParser >( 8 ),
                 Contains( "destroyUdfQualifierFlexParserHsdk mod: 5 apf: " +
                           std::to_string( format( ip6Format ) ) +
                           " Flex bitmap start: 1111111111110000" ) );
}

TEST_F( FlexParserTwinsTest, Remove_EndTrace_ShowsReservedOrFreeChunks )
{
    EXPECT_THAT( removalLines< Sdk6Parser >( 8 ),
                 Contains( "destroyUdfQualifierFlexParser mod: 5 Flex bitmap end: "
                           "0000000000001111" ) );
    EXPECT_THAT( removalLines< HsdkParser >( 8 ),
                 Contains( "destroyUdfQualifierFlexParserHsdk mod: 5 Flex bitmap end: "
                           "1111111111110000" ) );
}

TEST_F( FlexParserTwinsTest, Remove_UdfTrace_IsThereOrNot )
{
    const std::string text =
        " mod: 5 Abstract pkt format: " + std::to_string( format( Sdk6Parser::ipv4Format ) );
    EXPECT_THAT( removalLines< Sdk6Parser >( 8 ), Contains( text ) );
    EXPECT_THAT( removalLines< HsdkParser >( 8 ), Not( Contains( HasSubstr( "Abstract" ) ) ) );
}

TEST_F( FlexParserTwinsTest, Remove_ForeignChunk_WasNotReservedOrWasFree )
{
    EXPECT_THAT( removalOfFreeChunk< Sdk6Parser >().errors,
                 HasSubstr( "Assertion `udfBmap->isBitSet( i )' failed." ) );
    EXPECT_THAT(
        removalOfFreeChunk< HsdkParser >().errors,
        HasSubstr(
            "Assertion `!BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), i )' failed." ) );
}

TEST_F( FlexParserTwinsTest, Remove_FirstUdfOnNoChunk_IsNotComparedOrIs )
{
    EXPECT_TRUE( removalOfChunks< Sdk6Parser >( { 0, 0b1 } ).returned );
    EXPECT_THAT( removalOfChunks< HsdkParser >( { 0, 0b1 } ).errors,
                 HasSubstr( "Assertion `areBitmapEqual( progChunkBmap, chunkBmap )' failed." ) );
}

TEST_F( FlexParserTwinsTest, Remove_ChunkBeyondTheSixteen_DiesOrIsNotSeen )
{
    EXPECT_THAT( removalOfChunks< Sdk6Parser >( { 0x10001 } ).errors,
                 HasSubstr( "Assertion `!progChunkBmap' failed." ) );
    EXPECT_TRUE( removalOfChunks< HsdkParser >( { 0x10001 } ).returned );
}

TEST_F( FlexParserTwinsTest, Remove_OtherChunks_NumbersOrBitmapsDiffer )
{
    const std::string numbers = "Assertion `progChunkBmap == chunkBmap' failed.";
    EXPECT_THAT( removalOfChunks< Sdk6Parser >( { 0b1, 0b10 } ).errors, HasSubstr( numbers ) );
    const std::string bitmaps = "Assertion `areBitmapEqual( progChunkBmap, chunkBmap )' failed.";
    EXPECT_THAT( removalOfChunks< HsdkParser >( { 0b1, 0b10 } ).errors, HasSubstr( bitmaps ) );
}

TEST_F( FlexParserTwinsTest, Verify_Offset_IsInBytesOrBits )
{
    const Format readFormat = format( ip6Format );
    EXPECT_TRUE( passes< Sdk6Parser >( 2, readFormat ) );
    EXPECT_FALSE( passes< Sdk6Parser >( 16, readFormat ) );
    EXPECT_FALSE( passes< HsdkParser >( 2, readFormat ) );
    EXPECT_TRUE( passes< HsdkParser >( 16, readFormat ) );
}

TEST_F( FlexParserTwinsTest, Verify_FirstUdfOnNoChunk_IsNotComparedOrIs )
{
    EXPECT_TRUE( auditOfChunks< Sdk6Parser >( { 0, 0 } ).returned );
    EXPECT_TRUE( auditOfChunks< HsdkParser >( { 0, 0 } ).returned );
    EXPECT_THAT( auditOfChunks< Sdk6Parser >( { 0, 0b1 } ).errors,
                 HasSubstr( "Assertion `chunks == setChunks' failed." ) );
    EXPECT_THAT( auditOfChunks< HsdkParser >( { 0, 0b1 } ).errors,
                 HasSubstr( "Assertion `areBitmapEqual( progChunkBmap, chunkBmap )' failed." ) );
}

TEST_F( FlexParserTwinsTest, Trace_FacilityOfTheClass_IsTheSdk6HelperOrTheHsdkHelper )
{
    const auto facilitiesOf = []( auto makeHelper ) {
        const TestSupport::TraceRecorder traces( "*", 1U << 4 );
        static_cast< void >( makeHelper( 5, 0, false ) );
        std::vector< std::string > facilities;
        for ( const TestSupport::RecordedLine& line : traces.lines() ) {
            facilities.push_back( line.facility );
        }
        return facilities;
    };
    EXPECT_THAT( facilitiesOf( sdk6Helper ), ElementsAre( "PeloraTcamUdfSdk6Helper" ) );
    EXPECT_THAT( facilitiesOf( hsdkHelper ), ElementsAre( "PeloraTcamUdfHsdkHelper" ) );
}

} // namespace
} // namespace LibraryTest
