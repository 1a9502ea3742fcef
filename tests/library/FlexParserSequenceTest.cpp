// Everything that an operation of the flexible parser does, in its order, on both variants: the
// SDK's initialisers and calls, with what prepares them, and all lines of both text traces.

#include "tests/library/FlexParserScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAreArray;

constexpr const char* listCall = "bcm_udf_abstract_pkt_format_object_list_get";

template< class Parser >
class FlexParserSequenceTest : public FlexParserScene< Parser >
{
  protected:
    using Steps = std::vector< std::string >;

    static Steps joined( const std::vector< Steps >& parts )
    {
        Steps all;
        for ( const Steps& part : parts ) {
            all.insert( all.end(), part.begin(), part.end() );
        }
        return all;
    }

    // ---- Calls ----

    /// The initialiser of the record that a reading call fills in.
    static std::string initialiserOf( const std::string& readingCall )
    {
        return readingCall.substr( 0, readingCall.size() - std::string( "_get" ).size() ) +
               "_t_init";
    }

    static Steps readFormat()
    {
        return { initialiserOf( Parser::formatCall ), "preApiCall", Parser::formatCall };
    }

    static Steps readChunks()
    {
        return { initialiserOf( Parser::chunksCall ), "preApiCall", Parser::chunksCall };
    }

    static Steps createUdf() { return { initialiserOf( Parser::chunksCall ), Parser::createCall }; }

    static Steps destroyUdf() { return { "preApiCall", "bcm_udf_destroy" }; }

    /// Expects that the operation makes these calls and no others. Tests and changes of the SDK's
    /// sets of chunks do not count.
    template< class Operation >
    void expectCalls( const std::vector< Steps >& expected, const Operation& operation )
    {
        this->sdk.clear();
        operation();
        Steps made = this->names();
        std::erase_if(
            made, []( const std::string& name ) { return name.starts_with( "BCM_UDF_CBMP_" ); } );
        EXPECT_THAT( made, ElementsAreArray( joined( expected ) ) );
    }

    // ---- Lines ----

    static Steps called( const std::string& call, int rc = 0 )
    {
        return { call + " (rc:" + std::to_string( rc ) + ")" };
    }

    /// SDK-6 traces what it has read of a format.
    static Steps formatLines()
    {
        Steps lines = called( Scene::formatGet );
        if ( !Parser::isHsdk ) {
            lines.emplace_back( "getUdfReservedBitmap" );
        }
        return lines;
    }

    static Steps createLines( int rc )
    {
        const std::string arguments = "( unit, NULL, &chunkInfo, &udfId )";
        return joined(
            { called( Scene::formatGet ), called( Parser::createCall + arguments, rc ) } );
    }

    /// What a removal writes before its first and after its last UDF, when these are free.
    Steps removalStart( Agent::U32 free ) const
    {
        const std::string apf =
            Parser::isHsdk ? " apf: " + std::to_string( this->format() ) : std::string();
        return joined(
            { { this->destroyName },
              formatLines(),
              { this->destroyName + " mod: 5" + apf + " Flex bitmap start: " + shown( free ) } } );
    }

    Steps removalEnd( Agent::U32 free ) const
    {
        return joined( { formatLines(),
                         { this->destroyName + " mod: 5 Flex bitmap end: " + shown( free ) } } );
    }

    /// A set of chunks that are free, as the variant shows it.
    static std::string shown( Agent::U32 free )
    {
        return chunksText( Parser::isHsdk ? free : ~free & 0xFFFFU );
    }

    /// Expects that the operation writes these lines, and no others. Lines of SDK calls are
    /// expected without file and line, those of what was read of a format without what it was.
    template< class Operation >
    void expectLines( const std::vector< Steps >& expected, const Operation& operation )
    {
        const TestSupport::TraceRecorder traces( "*", allTraceLevels );
        operation();
        Steps written;
        for ( const TestSupport::RecordedLine& line : traces.lines() ) {
            const bool isCall = line.facility == apiFacility;
            EXPECT_EQ( line.file, Parser::source );
            EXPECT_TRUE( isCall || line.facility == udfFacility ) << line.facility;
            const bool isReserved = line.text.starts_with( "getUdfReservedBitmap apf " );
            written.push_back( isCall       ? line.text.substr( line.text.find( ' ' ) + 1 )
                               : isReserved ? "getUdfReservedBitmap"
                                            : line.text );
        }
        EXPECT_THAT( written, ElementsAreArray( joined( expected ) ) );
    }

  private:
    using Scene = FlexParserScene< Parser >;
};

TYPED_TEST_SUITE( FlexParserSequenceTest, Parsers );

// ---- Calls -----------------------------------------------------------------------------------

TYPED_TEST( FlexParserSequenceTest, Calls_OfALife_AreInitialisedAndPreparedButForTheCreation )
{
    QualIdList quals;
    this->expectCalls(
        { this->readFormat(), this->readFormat(), this->createUdf(), this->readFormat() },
        [ & ] { quals = this->create( udfDescOf( 2, 2 ) ); } );
    this->expectCalls( { this->readChunks() },
                       [ & ] { this->verify( udfDescOf( 2, 2 ), quals ); } );
    this->expectCalls( { this->readChunks() }, [ & ] {
        static_cast< void >( TypeParam::positions( this->unit, quals ) );
    } );
    this->expectCalls( { { listCall, listCall, listCall, listCall } },
                       [ & ] { static_cast< void >( TypeParam::list( this->unit ) ); } );
    this->expectCalls(
        { this->readFormat(), this->readChunks(), this->destroyUdf(), this->readFormat() },
        [ & ] { this->destroy( quals ); } );
}

TYPED_TEST( FlexParserSequenceTest, Calls_OfARefusedCreation_AskForTheTextBeforeTheRollback )
{
    this->fail( TypeParam::createCall, -6 );
    this->expectCalls( { this->readFormat(),
                         this->readFormat(),
                         this->createUdf(),
                         { "sdkErrorText" },
                         this->readFormat(),
                         this->readFormat(),
                         this->readFormat() },
                       [ this ] { this->create( udfDescOf( 2, 2 ) ); } );
}

TYPED_TEST( FlexParserSequenceTest, Calls_OfARefusedCreation_AllConcernItsFormat )
{
    this->fail( TypeParam::createCall, -6 );
    const Format asked = this->format( unknownFormat );
    static_cast< void >( TypeParam::create( this->unit, udfDescOf( 2, 2 ), asked ) );
    int readings = 0;
    for ( const TestSupport::RecordedCall& call : this->sdk.records() ) {
        if ( call.name == TypeParam::formatCall ) {
            ++readings;
            EXPECT_EQ( call.arguments.at( 0 ), "5" );
            EXPECT_EQ( call.arguments.at( 1 ), unknownFormat );
        }
    }
    EXPECT_EQ( readings, 5 );
}

// ---- Lines -----------------------------------------------------------------------------------

TYPED_TEST( FlexParserSequenceTest, Lines_OfACreation_StandBetweenItsCalls )
{
    this->expectLines(
        { { this->createName + " mod:5 ethType: 2048 appType: 0 offset: 2 length: 2" },
          this->formatLines(),
          this->createLines( 0 ),
          this->formatLines(),
          { this->createName + "mod: 5 Flex bitmap is now: " + this->shown( 0xFFFE ) } },
        [ this ] { this->create( udfDescOf( 2, 2 ) ); } );
}

TYPED_TEST( FlexParserSequenceTest, Lines_OfARefusedCreation_StandBetweenItsCalls )
{
    this->fail( TypeParam::createCall, -6 );
    this->expectLines(
        { { this->createName + " mod:5 ethType: 2048 appType: 0 offset: 2 length: 2" },
          this->formatLines(),
          this->createLines( -6 ),
          { TypeParam::isHsdk ? " bcm_udf_multi_chunk_create failed -6 Table full"
                              : " bcm_udf_chunk_create failed rc: -6 Table full",
            this->named( "cleanupUdfFlexParserFootprint" ) },
          this->removalStart( 0xFFFF ),
          this->removalEnd( 0xFFFF ),
          this->formatLines(),
          { this->createName + "mod: 5 Flex bitmap is now: " + this->shown( 0xFFFF ) } },
        [ this ] { this->create( udfDescOf( 2, 2 ) ); } );
}

TYPED_TEST( FlexParserSequenceTest, Lines_OfACreationWithoutRoom_StandBetweenItsCalls )
{
    this->freeChunksAre( 0b10 );
    this->expectLines(
        { { this->createName + " mod:5 ethType: 2048 appType: 0 offset: 2 length: 4" },
          this->formatLines(),
          { this->createName + ( TypeParam::isHsdk ? "mod:5" : "mod: 5" ) +
                " Msg: Not enough chunks to program UDF availChunks 1 requested chunks: 2",
            this->named( "cleanupUdfFlexParserFootprint" ) },
          this->removalStart( 0b10 ),
          this->removalEnd( 0b10 ) },
        [ this ] { this->create( udfDescOf( 2, 4 ) ); } );
}

TYPED_TEST( FlexParserSequenceTest, Lines_OfARemoval_NameTheFormatBeforeTheUdfIsDestroyed )
{
    const QualIdList quals = this->made();
    const std::vector< std::string > udfFormat =
        TypeParam::isHsdk
            ? std::vector< std::string >()
            : std::vector{ " mod: 5 Abstract pkt format: " + std::to_string( this->format() ) };
    this->expectLines( { this->removalStart( 0xFFFE ), this->called( this->chunksGet ), udfFormat,
                         this->called( "bcm_udf_destroy( unit, udfId )" ),
                         this->removalEnd( 0xFFFF ) },
                       [ & ] { this->destroy( quals ); } );
}

TYPED_TEST( FlexParserSequenceTest, Lines_OfAnAudit_FollowTheReadingOfEachUdf )
{
    this->readChunksAre( { 0b100 } );
    const std::string name = this->named( "udfQualProgrammedInHwFlex" );
    const std::string offset = TypeParam::isHsdk ? "16" : "2";
    const std::vector< std::string > ofOneUdf = {
        name + "mod: 5 Chunk info offset: " + offset + " offset: 2",
        name + "mod: 5 Abstract pkt format: " + std::to_string( this->format() ) };
    this->expectLines( { { name + " mod: 5 ethType: 2048 appType: 0 offset: 2 length: 2" },
                         this->called( this->chunksGet ),
                         ofOneUdf,
                         this->called( this->chunksGet ),
                         ofOneUdf },
                       [ this ] {
                           this->verify( udfDescOf( 2, 2 ), qualsOf( { 1, 2 } ) );
                       } );
}

TYPED_TEST( FlexParserSequenceTest, Lines_OfPositions_StartWithTheName )
{
    this->readChunksAre( { 0b100 } );
    this->expectLines(
        { { this->named( "getUdfChunkPosFlexParser" ) }, this->called( this->chunksGet ) },
        [ this ] { static_cast< void >( TypeParam::positions( this->unit, qualsOf( { 1 } ) ) ); } );
}

TYPED_TEST( FlexParserSequenceTest, Lines_OfAList_FollowTheReadingOfEachFormat )
{
    const std::string name = this->named( "getAllProgrammedUdfIdsUdfFlexParser" ) + " mod:5";
    const std::string call = std::string( listCall ) + "( unit, absPktFmt, max, udfIds, &numUdfs )";
    std::vector< std::vector< std::string > > expected = { { name } };
    for ( const Format format : TypeParam::formats() ) {
        expected.push_back( this->called( call, -7 ) );
        expected.push_back(
            { name + " abstract packet format: " + std::to_string( format ) + " has 0 UDFS" } );
    }
    this->expectLines( expected, [] { static_cast< void >( TypeParam::list( 5 ) ); } );
}

} // namespace
} // namespace LibraryTest
