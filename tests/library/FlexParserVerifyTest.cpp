// The audit and the inventory of the flexible parser, and the positions of chunks, on both
// variants: what is compared with what, in which order, and what is required not to be noticed.

#include "tests/library/FlexParserScene.h"

#include <algorithm>

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* listCall = "bcm_udf_abstract_pkt_format_object_list_get";

template< class Parser >
class FlexParserVerifyTest : public FlexParserScene< Parser >
{
  protected:
    /// The audit of a UDF of two bytes at offset 2 dies by that assertion.
    void expectVerifyDies( const char* function,
                           const std::string& assertion,
                           const QualIdList& quals = qualsOf( { 1 } ) )
    {
        this->expectAssertion( { Parser::source, function, "" }, assertion,
                               [ & ] { this->verify( udfDescOf( 2, 2 ), quals ); } );
    }

    /// From now on a UDF reads back as one of that format.
    void corruptFormat( Format format )
    {
        this->faulty.clearFaults();
        this->sdk.on.bcm_udf_chunk_info_get = [ format ]( int, int, bcm_udf_chunk_info_t* info ) {
            info->offsetIs( 2 );
            info->widthIs( 2 );
            info->chunk_bmapIs( 1 );
            info->abstract_pkt_formatIs( format );
            return 0;
        };
        this->sdk.on.bcm_udf_multi_chunk_info_get = [ format ]( int, int,
                                                                bcm_udf_multi_chunk_info_t* info ) {
            info->offsetIs( 16 );
            info->widthIs( 2 );
            info->two_byte_chunk_bmap().w[ 0 ] = 1;
            info->abstract_pkt_formatIs( format );
            return 0;
        };
    }

    /// From now on listing that format fails.
    void failOfFormatIs( Format failing, int rc )
    {
        this->sdk.on.bcm_udf_abstract_pkt_format_object_list_get =
            [ failing, rc, this ]( int of, Format asked, int max, bcm_udf_id_t* ids, int* count ) {
                return asked == failing ? rc
                                        : this->faulty.bcm_udf_abstract_pkt_format_object_list_get(
                                              of, asked, max, ids, count );
            };
    }

    static constexpr const char* formatAssertion =
        Parser::isHsdk
            ? "apf == bcmUdfAbstractPktFormatArp || apf == bcmUdfAbstractPktFormatL3Ipv4 "
              "|| apf == bcmUdfAbstractPktFormatL3Ipv6 || apf == "
              "bcmUdfAbstractPktFormatUnknownL3"
            : "apf == bcmUdfAbstractPktFormatKnownNonIp || apf == "
              "bcmUdfAbstractPktFormatL3Ipv4WithoutOptions || apf == "
              "bcmUdfAbstractPktFormatL3Ipv6 || apf == bcmUdfAbstractPktFormatUnknownL3";
    static constexpr const char* offsetAssertion =
        Parser::isHsdk ? "chunkInfo.offset() == ( offset * 8 )" : "chunkInfo.offset() == offset";
};

TYPED_TEST_SUITE( FlexParserVerifyTest, Parsers );

TYPED_TEST( FlexParserVerifyTest, Verify_UdfOfOneChunk_Passes )
{
    for ( const Agent::U8 offset : std::initializer_list< Agent::U8 >{ 0, 2, 40 } ) {
        const UdfDesc desc = udfDescOf( offset, 2 );
        const QualIdList quals = this->made( desc );
        this->verify( desc, quals );
        EXPECT_EQ( this->sdk.countOf( TypeParam::chunksCall ), 1U );
        EXPECT_EQ( this->sdk.calls().size(), 1U );
    }
}

TYPED_TEST( FlexParserVerifyTest, Verify_EmptyList_CallsNothing )
{
    this->verify( udfDescOf(), QualIdList() );
    EXPECT_THAT( this->sdk.allCalls(), IsEmpty() );
}

// What creation makes of more than two bytes has one chunk, and does not pass.
TYPED_TEST( FlexParserVerifyTest, Verify_UdfOfTwoChunks_Dies )
{
    const UdfDesc desc = udfDescOf( 2, 4 );
    const QualIdList quals = this->made( desc );
    this->expectAssertion(
        { TypeParam::source, TypeParam::isHsdk ? "assertExtent" : "udfQualProgrammedInHwFlex", "" },
        TypeParam::isHsdk ? "chunkInfo.width() == length" : "chunks == setChunks",
        [ & ] { this->verify( desc, quals ); } );
}

TYPED_TEST( FlexParserVerifyTest, Verify_EachFormatOfTheLibrary_Passes )
{
    for ( const Format format : TypeParam::formats() ) {
        this->corruptFormat( format );
        this->verify( udfDescOf( 2, 2 ), qualsOf( { 1 } ) );
    }
}

TYPED_TEST( FlexParserVerifyTest, Verify_FormatOfTheOtherVariant_Dies )
{
    const char* const others[] = {
        TypeParam::isHsdk ? Sdk6Parser::ipv4Format : HsdkParser::ipv4Format,
        TypeParam::isHsdk ? Sdk6Parser::arpFormat : HsdkParser::arpFormat,
    };
    for ( const char* other : others ) {
        this->corruptFormat( this->format( other ) );
        this->expectVerifyDies( "assertExtent", this->formatAssertion );
    }
}

TYPED_TEST( FlexParserVerifyTest, Verify_ReadBackDiffers_DiesByTheAssertionOfThatField )
{
    this->made();
    this->corrupt( TypeParam::chunksCall, "offset", TypeParam::isHsdk ? 17 : 3 );
    this->expectVerifyDies( "assertExtent", this->offsetAssertion );
    this->faulty.clearFaults();
    this->corrupt( TypeParam::chunksCall, "width", 3 );
    this->expectVerifyDies( "assertExtent", "chunkInfo.width() == length" );
    this->faulty.clearFaults();
    const std::string function = "PeloraTcam::" + this->named( "udfQualProgrammedInHwFlex" );
    for ( const std::uint64_t chunks : { 0U, 0b11U } ) {
        this->faulty.clearFaults();
        this->corrupt( TypeParam::chunksCall, TypeParam::chunksOutput, chunks );
        this->expectVerifyDies( function.c_str(), "chunks == setChunks" );
    }
}

// Format before offset, offset before width, width before chunks.
TYPED_TEST( FlexParserVerifyTest, Verify_SeveralDiffer_DiesByTheFirst )
{
    this->made();
    this->corrupt( TypeParam::chunksCall, TypeParam::chunksOutput, 0 );
    this->corrupt( TypeParam::chunksCall, "width", 3 );
    this->expectVerifyDies( "assertExtent", "chunkInfo.width() == length" );
    this->corrupt( TypeParam::chunksCall, "offset", 3 );
    this->expectVerifyDies( "assertExtent", this->offsetAssertion );
    this->corrupt( TypeParam::chunksCall, "abstract_pkt_format", 0 );
    this->expectVerifyDies( "assertExtent", this->formatAssertion );
}

TYPED_TEST( FlexParserVerifyTest, Verify_OtherChunks_DiesAtTheSecond )
{
    this->readChunksAre( { 0b1, 0b10 } );
    const std::string function = "PeloraTcam::" + this->named( "udfQualProgrammedInHwFlex" );
    this->expectVerifyDies( function.c_str(),
                            TypeParam::isHsdk ? "areBitmapEqual( progChunkBmap, chunkBmap )"
                                              : "progChunkBmap == chunkBmap",
                            qualsOf( { 1, 2 } ) );
}

// By design: which chunk it is, which of the formats, and whose UDF it is.
TYPED_TEST( FlexParserVerifyTest, Verify_AnotherChunkOrFormatOfTheLibrary_IsNotNoticed )
{
    const QualIdList quals = this->made();
    this->corrupt( TypeParam::chunksCall, TypeParam::chunksOutput, 0b1000 );
    this->verify( udfDescOf( 2, 2 ), quals );
    this->faulty.clearFaults();
    this->corrupt( TypeParam::chunksCall, "abstract_pkt_format", this->format( unknownFormat ) );
    this->verify( udfDescOf( 2, 2 ), quals );
    UdfDesc other = udfDescOf( 2, 2 );
    other.appTypeIs( UdfAppType::ipv6Acl );
    other.ethTypeIs( arp );
    this->verify( other, quals );
}

TYPED_TEST( FlexParserVerifyTest, Verify_ReadingFails_IsFatal )
{
    const QualIdList quals = this->made();
    this->expectNthFatal( this->chunksGetOf( this->verifyName ), TypeParam::chunksCall, 1,
                          [ & ] { this->verify( udfDescOf( 2, 2 ), quals ); } );
}

// ---- Positions of chunks ---------------------------------------------------------------------

TYPED_TEST( FlexParserVerifyTest, Positions_OfSeveralUdfs_AreAllTheirChunks )
{
    this->readChunksAre( { 0x8001, 0b110 } );
    EXPECT_THAT( TypeParam::positions( this->unit, qualsOf( { 1, 2 } ) ),
                 ElementsAre( 0, 1, 2, 15 ) );
    EXPECT_THAT( this->sdk.countOf( TypeParam::chunksCall ), 2U );
}

TYPED_TEST( FlexParserVerifyTest, Positions_OfNone_AreNoneWithoutACall )
{
    EXPECT_EQ( TypeParam::positions( this->unit, QualIdList() ), UdfChunkPosList() );
    EXPECT_THAT( this->sdk.allCalls(), IsEmpty() );
}

TYPED_TEST( FlexParserVerifyTest, Positions_OneChunkOfTwoUdfs_Dies )
{
    this->readChunksAre( { 0b110, 0b100 } );
    const std::string function = "PeloraTcam::" + this->named( "getUdfChunkPosFlexParser" );
    this->expectAssertion(
        { TypeParam::source, function.c_str(), "" }, "!udfChunkPosList.udfChunkPosHas( i )",
        [ this ] {
            static_cast< void >( TypeParam::positions( this->unit, qualsOf( { 1, 2 } ) ) );
        } );
}

TYPED_TEST( FlexParserVerifyTest, Positions_ReadingFails_IsFatal )
{
    const QualIdList quals = this->made();
    this->expectNthFatal(
        this->chunksGetOf( this->positionsName ), TypeParam::chunksCall, 1,
        [ & ] { static_cast< void >( TypeParam::positions( this->unit, quals ) ); } );
}

// ---- Inventory -------------------------------------------------------------------------------

TYPED_TEST( FlexParserVerifyTest, Formats_OfTheLibrary_AreFourAndTheSameSetEveryTime )
{
    const std::set< Format > expected = { this->format(), this->format( TypeParam::arpFormat ),
                                          this->format( ip6Format ),
                                          this->format( unknownFormat ) };
    EXPECT_EQ( TypeParam::formats(), expected );
    EXPECT_EQ( &TypeParam::formats(), &TypeParam::formats() );
}

TYPED_TEST( FlexParserVerifyTest, List_Any_AsksForEachFormatInAscendingOrder )
{
    std::vector< std::string > expected;
    std::map< Agent::U32, std::string > names;
    for ( const char* name :
          { TypeParam::ipv4Format, TypeParam::arpFormat, ip6Format, unknownFormat } ) {
        names[ this->format( name ) ] = name;
    }
    for ( const auto& [ value, name ] : names ) {
        expected.push_back( std::string( listCall ) + "( 5, " + name + ", 128, &, & )" );
    }
    EXPECT_EQ( TypeParam::list( this->unit ), UdfIdList() );
    EXPECT_THAT( this->sdk.calls(), ElementsAreArray( expected ) );
}

TYPED_TEST( FlexParserVerifyTest, List_UdfsOfTheChip_AreThoseOfTheLibrarysFormats )
{
    this->made();
    EXPECT_EQ(
        TypeParam::create( this->unit, udfDescOf( 0, 2 ), this->format( unknownFormat ) ).qualIds(),
        1U );
    EXPECT_EQ( TypeParam::list( this->unit ), udfsOf( { 1, 2 } ) );
}

TYPED_TEST( FlexParserVerifyTest, List_OneUdfInTwoFormats_IsThereOnce )
{
    this->sdk.on.bcm_udf_abstract_pkt_format_object_list_get = []( int, Format, int,
                                                                   bcm_udf_id_t* ids, int* count ) {
        ids[ 0 ] = 8;
        *count = 1;
        return 0;
    };
    EXPECT_EQ( TypeParam::list( this->unit ), udfsOf( { 8 } ) );
}

TYPED_TEST( FlexParserVerifyTest, List_FormatIsFull_HasItsFirst128 )
{
    this->sdk.on.bcm_udf_abstract_pkt_format_object_list_get =
        [ this ]( int, Format asked, int max, bcm_udf_id_t* ids, int* count ) {
            for ( int i = 0; asked == this->format() && i < max; ++i ) {
                ids[ i ] = i + 1;
            }
            *count = asked == this->format() ? max : 0;
            return 0;
        };
    EXPECT_EQ( TypeParam::list( this->unit ).udfIds(), 128U );
}

TYPED_TEST( FlexParserVerifyTest, List_CountIsBeyondTheBuffer_StaysInside )
{
    this->sdk.on.bcm_udf_abstract_pkt_format_object_list_get = []( int, Format, int, bcm_udf_id_t*,
                                                                   int* count ) {
        *count = 1000;
        return 0;
    };
    EXPECT_EQ( TypeParam::list( this->unit ), udfsOf( { 0 } ) );
}

// Whatever the SDK has written before it failed; also when it finds none.
TYPED_TEST( FlexParserVerifyTest, List_CallFailsBehindItsOutput_TakesNothingOfIt )
{
    for ( const SdkFailure& failure : allSdkFailures() ) {
        SCOPED_TRACE( failure.name );
        this->sdk.on.bcm_udf_abstract_pkt_format_object_list_get =
            [ &, this ]( int, Format asked, int, bcm_udf_id_t* ids, int* count ) {
                const bool fails = asked == this->format( ip6Format );
                ids[ 0 ] = fails ? 66 : 8;
                ids[ 1 ] = 67;
                *count = fails ? 2 : 1;
                return fails ? failure.rc : 0;
            };
        const TestSupport::TraceRecorder traces( udfFacility, 1U << 8 );
        ::testing::internal::CaptureStderr();
        EXPECT_EQ( TypeParam::list( this->unit ), udfsOf( { 8 } ) );
        static_cast< void >( ::testing::internal::GetCapturedStderr() );
        const std::string start = this->listName + " mod:5 abstract packet format: ";
        EXPECT_THAT( traces.texts(),
                     ::testing::Contains( start + std::to_string( this->format( ip6Format ) ) +
                                          " has 0 UDFS" ) );
        EXPECT_THAT( traces.texts(), ::testing::Contains( start + std::to_string( this->format() ) +
                                                          " has 1 UDFS" ) );
    }
}

TYPED_TEST( FlexParserVerifyTest, List_FormatWithoutUdfs_WritesNoErrorLine )
{
    const ChildRun run =
        runInChild( [ this ] { static_cast< void >( TypeParam::list( this->unit ) ); } );
    EXPECT_TRUE( run.returned );
    EXPECT_EQ( run.errors, "" );
}

TYPED_TEST( FlexParserVerifyTest, List_OneFormatFails_WritesItsErrorLineAndGoesOn )
{
    this->made();
    this->sdk.on.onApiError = [ this ] { this->say( "onApiError" ); };
    const std::string text = "bcm_udf_abstract_pkt_format_object_list_get( unit, absPktFmt, max, "
                             "udfIds, &numUdfs )";
    for ( const SdkFailure& failure : allSdkFailures() ) {
        SCOPED_TRACE( failure.name );
        this->failOfFormatIs( this->format( ip6Format ), failure.rc );
        const ChildRun run = runInChild( [ this ] {
            if ( TypeParam::list( this->unit ) != udfsOf( { 1 } ) ) {
                this->say( "the other formats are lost" );
            }
        } );
        EXPECT_TRUE( run.returned );
        const std::string line =
            TestSupport::apiErrorLine( TypeParam::source, text, failure.text, failure.rc );
        const bool tolerated = std::string_view( failure.name ) == "BCM_E_NOT_FOUND";
        EXPECT_THAT( run.errors, ::testing::MatchesRegex( tolerated ? "" : line ) );
    }
}

} // namespace
} // namespace LibraryTest
