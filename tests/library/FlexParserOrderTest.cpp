// The order of things in the functions of the flexible parser, on both variants: which of several
// lines comes first, at which level, and which of several wrong things ends the process.

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "tests/library/FlexParserScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

template< class Parser >
class FlexParserOrderTest : public FlexParserScene< Parser >
{
  protected:
    using Lines = std::vector< std::string >;

    /// Expects that the operation writes these lines, each "LEVEL TEXT", and no others, to both
    /// traces. The text trace of SDK-6 may have lines of the reserved chunks between them.
    template< class Operation >
    void expectLines( const Lines& expected, const Operation& operation )
    {
        const TestSupport::TraceRecorder traces( udfFacility, allTraceLevels );
        const Lines ring = ringTextsOf( operation );
        Lines written;
        for ( const TestSupport::RecordedLine& line : traces.lines() ) {
            if ( !line.text.starts_with( "getUdfReservedBitmap apf " ) ) {
                written.push_back( std::to_string( line.level ) + " " + line.text );
            }
        }
        EXPECT_THAT( written, ElementsAreArray( expected ) );
        Lines texts;
        for ( const std::string& line : expected ) {
            texts.push_back( line.substr( 2 ) );
        }
        EXPECT_THAT( ring, ElementsAreArray( texts ) );
    }

    [[nodiscard]] std::string numberOf( const char* formatName = Parser::ipv4Format ) const
    {
        return std::to_string( this->format( formatName ) );
    }

    /// A set of chunks that are free, as the variant shows it.
    static std::string shown( Agent::U32 free )
    {
        return chunksText( Parser::isHsdk ? free : ~free & 0xFFFFU );
    }

    /// What a removal traces before the first UDF.
    [[nodiscard]] std::string startLine( Agent::U32 free ) const
    {
        return "8 " + this->destroyName + " mod: 5" +
               ( Parser::isHsdk ? " apf: " + numberOf() : std::string() ) +
               " Flex bitmap start: " + shown( free );
    }

    [[nodiscard]] std::string endLine( Agent::U32 free ) const
    {
        return "8 " + this->destroyName + " mod: 5 Flex bitmap end: " + shown( free );
    }

    /// What the operation writes to standard error before and while it ends the process, its
    /// trace of these levels included.
    static std::string
    lastWords( const char* facility, Agent::U32 mask, const std::function< void() >& operation )
    {
        const ChildRun run = runInChild( [ & ] {
            Agent::traceLevelsIs( facility, mask );
            Agent::traceSinkIs( []( const Agent::TraceLine& line ) {
                HelperScene::say( std::string( line.text ) );
            } );
            operation();
        } );
        EXPECT_TRUE( run.aborted );
        return run.errors;
    }
};

TYPED_TEST_SUITE( FlexParserOrderTest, Parsers );

// ---- Lines -----------------------------------------------------------------------------------

TYPED_TEST( FlexParserOrderTest, Life_OfAUdf_WritesTheseLinesInThisOrder )
{
    typename TestFixture::Lines expected = {
        "4 " + this->createName + " mod:5 ethType: 2048 appType: 0 offset: 2 length: 2",
        "4 " + this->createName + "mod: 5 Flex bitmap is now: " + this->shown( 0xFFFE ),
        "4 " + this->destroyName,
        this->startLine( 0xFFFE ),
    };
    if ( !TypeParam::isHsdk ) {
        expected.push_back( "8  mod: 5 Abstract pkt format: " + this->numberOf() );
    }
    expected.push_back( this->endLine( 0xFFFF ) );
    this->expectLines( expected, [ this ] { this->destroy( this->create( udfDescOf( 2, 2 ) ) ); } );
}

TYPED_TEST( FlexParserOrderTest, Create_TooFewChunks_TracesTheMessageBeforeTheRollback )
{
    this->freeChunksAre( 0b1 );
    this->expectLines(
        { "4 " + this->createName + " mod:5 ethType: 2048 appType: 0 offset: 2 length: 3",
          "1 " + this->createName + ( TypeParam::isHsdk ? "mod:5" : "mod: 5" ) +
              " Msg: Not enough chunks to program UDF availChunks 1 requested chunks: 2",
          "8 " + this->cleanUpName, "4 " + this->destroyName, this->startLine( 0b1 ),
          this->endLine( 0b1 ) },
        [ this ] { this->create( udfDescOf( 2, 3 ) ); } );
}

TYPED_TEST( FlexParserOrderTest, Create_SdkRefuses_TracesTheFailureBeforeTheRollback )
{
    this->fail( TypeParam::createCall, -6 );
    this->expectLines(
        { "4 " + this->createName + " mod:5 ethType: 2048 appType: 0 offset: 2 length: 2",
          TypeParam::isHsdk ? "1  bcm_udf_multi_chunk_create failed -6 Table full"
                            : "1  bcm_udf_chunk_create failed rc: -6 Table full",
          "8 " + this->cleanUpName, "4 " + this->destroyName, this->startLine( 0xFFFF ),
          this->endLine( 0xFFFF ),
          "4 " + this->createName + "mod: 5 Flex bitmap is now: " + this->shown( 0xFFFF ) },
        [ this ] { this->create( udfDescOf( 2, 2 ) ); } );
}

TYPED_TEST( FlexParserOrderTest, List_Any_TracesItsEntryThenEachFormat )
{
    const std::string name = this->named( "getAllProgrammedUdfIdsUdfFlexParser" ) + " mod:5";
    typename TestFixture::Lines expected = { "4 " + name };
    for ( const Format format : TypeParam::formats() ) {
        expected.push_back( "8 " + name + " abstract packet format: " + std::to_string( format ) +
                            " has 0 UDFS" );
    }
    this->expectLines( expected, [] { static_cast< void >( TypeParam::list( 5 ) ); } );
}

// ---- Ends of the process ---------------------------------------------------------------------

// The second UDF has too many chunks, and others than the first.
TYPED_TEST( FlexParserOrderTest, Verify_OtherChunksAndTooMany_DiesByTheComparison )
{
    this->readChunksAre( { 0b1, 0b110 } );
    const std::string function = "PeloraTcam::" + this->verifyName;
    this->expectAssertion( { TypeParam::source, function.c_str(), "" },
                           TypeParam::isHsdk ? "areBitmapEqual( progChunkBmap, chunkBmap )"
                                             : "progChunkBmap == chunkBmap",
                           [ this ] {
                               this->verify( udfDescOf( 2, 2 ), qualsOf( { 1, 2 } ) );
                           } );
}

TYPED_TEST( FlexParserOrderTest, Verify_OffsetDiffers_IsTracedBeforeItDies )
{
    this->readChunksAre( { 0b1 } );
    const std::string words = this->lastWords(
        udfFacility, 1U << 8, [ this ] { this->verify( udfDescOf( 9, 2 ), qualsOf( { 1 } ) ); } );
    EXPECT_THAT( words, StartsWith( this->verifyName + "mod: 5 Chunk info offset: " +
                                    ( TypeParam::isHsdk ? "16" : "2" ) + " offset: 9\n" +
                                    this->verifyName +
                                    "mod: 5 Abstract pkt format: " + this->numberOf() + "\n" ) );
}

TYPED_TEST( FlexParserOrderTest, Remove_ChunkWasFree_HasDestroyedButNotReadAgain )
{
    this->freeChunksAre( 0b10 );
    this->readChunksAre( { 0b10 } );
    this->sdk.on.bcm_udf_destroy = []( int, bcm_udf_id_t udfId ) {
        HelperScene::say( "destroyed " + std::to_string( udfId ) );
        return 0;
    };
    const std::string words = this->lastWords( udfFacility, 1U << 8, [ this ] {
        this->destroy( qualsOf( { 1, 2 } ) );
    } );
    EXPECT_THAT( words, HasSubstr( "destroyed 1\n" ) );
    EXPECT_THAT( words, HasSubstr( "destroyed 2\n" ) );
    EXPECT_THAT( words, Not( HasSubstr( "Flex bitmap end" ) ) );
}

TYPED_TEST( FlexParserOrderTest, Program_InvalidAppType_IsTracedBeforeItDies )
{
    UdfDesc desc = udfDescOf( 2, 2 );
    desc.appTypeIs( static_cast< UdfAppType >( 4 ) );
    const char* const facility =
        TypeParam::isHsdk ? "PeloraTcamUdfHsdkHelper" : "PeloraTcamUdfSdk6Helper";
    const std::string words = this->lastWords( facility, 1U << 4, [ & ] {
        const Agent::Ptr< PeloraTcam::UdfHelperBase > helper =
            TypeParam::isHsdk ? Agent::Ptr< PeloraTcam::UdfHelperBase >(
                                    PeloraTcam::udfFlexParserHsdkHelperFactory( 5, 0, false ) )
                              : PeloraTcam::udfFlexParserHelperFactory( 5, 0, false );
        static_cast< void >( helper->programUdfInHw( desc ) );
    } );
    EXPECT_THAT( words, StartsWith( "handleInitialized\nprogramUdfInHw mod:5 udfDesc: {appType: "
                                    "UdfAppType(4), " ) );
    EXPECT_THAT( words, HasSubstr( "Assertion `Specified invalid appType' failed." ) );
}

// ---- The tolerated call ----------------------------------------------------------------------

TYPED_TEST( FlexParserOrderTest, List_EachFormat_IsReadWithTheLocksReleasedAndNoPreparation )
{
    int calls = 0;
    this->sdk.on.bcm_udf_abstract_pkt_format_object_list_get = [ & ]( auto... ) {
        ++calls;
        EXPECT_FALSE( Agent::activityLock().heldByThisThread() );
        return 0;
    };
    static_cast< void >( TypeParam::list( 5 ) );
    EXPECT_EQ( calls, 4 );
    EXPECT_EQ( this->sdk.countOf( "preApiCall" ), 0U );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

} // namespace
} // namespace LibraryTest
