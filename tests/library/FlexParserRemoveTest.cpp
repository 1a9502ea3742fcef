// Removing UDFs of the flexible parser, on both variants: the SDK calls, what is checked before
// and behind them, and what a failure does.

#include "tests/library/FlexParserScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;

template< class Parser >
class FlexParserRemoveTest : public FlexParserScene< Parser >
{
  protected:
    /// The removal dies by an assertion of that function. The SDK destroys whatever it is asked to.
    void expectRemovalDies( const char* function, const char* assertion, const QualIdList& quals )
    {
        this->sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
        this->expectAssertion( { Parser::source, function, "" }, assertion,
                               [ & ] { this->destroy( quals ); } );
    }
};

TYPED_TEST_SUITE( FlexParserRemoveTest, Parsers );

TYPED_TEST( FlexParserRemoveTest, Remove_OneUdf_ReadsDestroysAndReadsAgain )
{
    const QualIdList quals = this->made();
    const auto calls = this->functionsOf( [ & ] { this->destroy( quals ); } );
    EXPECT_THAT( calls, ElementsAre( TypeParam::formatCall, TypeParam::chunksCall,
                                     "bcm_udf_destroy", TypeParam::formatCall ) );
    EXPECT_EQ( this->sdk.calls()[ 1 ],
               std::string( TypeParam::chunksCall ) + "( 5, 1, " +
                   ( TypeParam::isHsdk ? "{offset: 0, width: 0, two_byte_chunk_bmap: "
                                         "{w: 0}, abstract_pkt_format: 0} )"
                                       : "{offset: 0, width: 0, chunk_bmap: 0, "
                                         "abstract_pkt_format: 0} )" ) );
    EXPECT_EQ( this->sdk.calls()[ 2 ], "bcm_udf_destroy( 5, 1 )" );
    EXPECT_EQ( this->chipText(), "" );
}

TYPED_TEST( FlexParserRemoveTest, Remove_EmptyList_ReadsTheFormatTwice )
{
    const auto calls = this->functionsOf( [ this ] { this->destroy( QualIdList() ); } );
    EXPECT_THAT( calls, ElementsAre( TypeParam::formatCall, TypeParam::formatCall ) );
}

TYPED_TEST( FlexParserRemoveTest, Remove_SeveralOnTheSameChunks_DestroysEach )
{
    this->readChunksAre( { 0b100 } );
    this->freeChunksAre( 0xFFFB );
    this->sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
    const auto calls = this->functionsOf( [ this ] { this->destroy( qualsOf( { 4, 9 } ) ); } );
    EXPECT_THAT( calls,
                 ElementsAre( TypeParam::formatCall, TypeParam::chunksCall, "bcm_udf_destroy",
                              TypeParam::chunksCall, "bcm_udf_destroy", TypeParam::formatCall ) );
}

TYPED_TEST( FlexParserRemoveTest, Remove_OtherChunks_DiesBeforeTheSecondIsDestroyed )
{
    this->freeChunksAre( 0 );
    this->readChunksAre( { 0b10, 0b100 } );
    this->expectRemovalDies( "removeUdfs",
                             TypeParam::isHsdk ? "areBitmapEqual( progChunkBmap, chunkBmap )"
                                               : "progChunkBmap == chunkBmap",
                             qualsOf( { 1, 2 } ) );
    this->sdk.on.bcm_udf_destroy = []( int, bcm_udf_id_t udfId ) {
        std::fprintf( stderr, "destroyed %d\n", udfId );
        return 0;
    };
    const ChildRun run = runInChild( [ this ] { this->destroy( qualsOf( { 1, 2 } ) ); } );
    EXPECT_THAT( run.errors, ::testing::StartsWith( "destroyed 1\n" ) );
    EXPECT_THAT( run.errors, ::testing::Not( ::testing::HasSubstr( "destroyed 2" ) ) );
}

TYPED_TEST( FlexParserRemoveTest, Remove_ChunkThatWasFree_DiesBehindTheDestruction )
{
    this->freeChunksAre( 0b10000 );
    this->readChunksAre( { 0b10000 } );
    this->expectRemovalDies(
        TypeParam::isHsdk ? "assertChunksWereTaken" : "assertChunksWereReserved",
        TypeParam::isHsdk ? "!BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), i )"
                          : "udfBmap->isBitSet( i )",
        qualsOf( { 1 } ) );
}

TYPED_TEST( FlexParserRemoveTest, Remove_WithAnotherFormat_ChecksTheChunksOfThatOne )
{
    const QualIdList quals = this->made();
    const std::function< void() > removal = [ & ] {
        TypeParam::destroy( this->unit, quals, this->format( ip6Format ) );
    };
    this->expectAssertion(
        { TypeParam::source,
          TypeParam::isHsdk ? "assertChunksWereTaken" : "assertChunksWereReserved", "" },
        TypeParam::isHsdk ? "!BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), i )"
                          : "udfBmap->isBitSet( i )",
        removal );
}

TYPED_TEST( FlexParserRemoveTest, Remove_EachCallFails_IsFatal )
{
    const QualIdList quals = this->made();
    const std::function< void() > removal = [ & ] { this->destroy( quals ); };
    const SdkCallSite reading = this->formatGetOf( this->destroyName );
    this->expectNthFatal( reading, TypeParam::formatCall, 1, removal );
    this->expectNthFatal( this->chunksGetOf( this->destroyName ), TypeParam::chunksCall, 1,
                          removal );
    this->expectNthFatal( reading, TypeParam::formatCall, 2, removal );
    this->expectNthFatal( this->destroyOf( this->destroyName ), "bcm_udf_destroy", 1, removal );
}

TYPED_TEST( FlexParserRemoveTest, Remove_OneOfTwo_FreesItsChunkForTheNext )
{
    const QualIdList first = this->made();
    const QualIdList second = this->made( udfDescOf( 4, 2 ) );
    this->destroy( first );
    const QualIdList third = this->made( udfDescOf( 6, 2 ) );
    EXPECT_EQ( TypeParam::positions( this->unit, third ), ( [] {
                   UdfChunkPosList list;
                   list.udfChunkPosIs( 0 );
                   return list;
               }() ) );
    this->destroy( second );
    this->destroy( third );
    EXPECT_EQ( this->chipText(), "" );
}

class Sdk6FlexParserRemoveTest : public FlexParserScene< Sdk6Parser >
{};

TEST_F( Sdk6FlexParserRemoveTest, Remove_ChunkBeyondTheSixteen_Dies )
{
    freeChunksAre( 0 );
    readChunksAre( { 0x10001 } );
    sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
    expectAssertion( { Sdk6Parser::source, "assertChunksWereReserved", "" }, "!progChunkBmap",
                     [ this ] { destroy( qualsOf( { 1 } ) ); } );
}

TEST_F( Sdk6FlexParserRemoveTest, Remove_FirstUdfOnNoChunk_IsNotCompared )
{
    freeChunksAre( 0 );
    readChunksAre( { 0, 0b1 } );
    sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
    destroy( qualsOf( { 1, 2 } ) );
    EXPECT_EQ( sdk.countOf( "bcm_udf_destroy" ), 2U );
}

} // namespace
} // namespace LibraryTest
