// What the SDK says it did and did not, and what it reads back and is not so, on both variants of
// the flexible parser: which of these the library notices, at the latest in an audit, and which it
// does not and is not meant to.

#include "tests/library/FlexParserScene.h"

namespace LibraryTest {
namespace {

constexpr const char* listCall = "bcm_udf_abstract_pkt_format_object_list_get";
constexpr const char* notFound = "Entry not found";

template< class Parser >
class FlexParserSilentFaultTest : public FlexParserScene< Parser >
{
  protected:
    using Scene = FlexParserScene< Parser >;
    using Scene::faulty;

    void drop( const std::string& function )
    {
        faulty.addFromNow( { { .function = function }, Sim::DropCall{} } );
    }

    /// Only that following call's output is changed.
    void corruptNth( const std::string& function,
                     uint64_t nth,
                     const std::string& output,
                     uint64_t value )
    {
        faulty.addFromNow(
            { { .function = function, .call = nth }, Sim::CorruptOutput{ output, value } } );
    }

    void corruptOnce( const std::string& function, const std::string& output, uint64_t value )
    {
        corruptNth( function, 1, output, value );
    }

    /// From now on a reading of the format says that these chunks are free, and no others.
    void saysFree( uint64_t nth, uint64_t chunks )
    {
        if ( Parser::isHsdk ) {
            corruptNth( Parser::formatCall, nth, "chunk_2b_bmap_avail", chunks );
        } else {
            corruptNth( Parser::formatCall, nth, "chunk_bmap_used", ~chunks & 0xFFFF );
        }
    }

    void expectGone( const std::string& function, const std::function< void() >& operation )
    {
        this->expectFatalCall( this->chunksGetOf( function ), -7, notFound, operation );
        faulty.clearFaults();
    }

    /// The assertion fails in that function of the variant.
    void expectNoticed( const std::string& function,
                        const std::string& assertion,
                        const std::function< void() >& operation )
    {
        this->expectAssertion( { Parser::source, function.c_str(), "" }, assertion, operation );
        faulty.clearFaults();
    }

    [[nodiscard]] const Sim::SimFlexParser::State& chip() const
    {
        return this->chips.chip( this->unit )->flexParser()->state();
    }

    /// The one UDF on the chip is on that chunk.
    void expectChunk( uint32_t chunks )
    {
        ASSERT_EQ( chip().size(), 1U );
        EXPECT_EQ( chip().begin()->second.chunks, chunks );
    }

    const std::string verification_ = "PeloraTcam::" + Scene::named( "udfQualProgrammedInHwFlex" );
    static constexpr const char* takenCheck_ =
        Parser::isHsdk ? "assertChunksWereTaken" : "assertChunksWereReserved";
    static constexpr const char* takenAssertion_ =
        Parser::isHsdk ? "!BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), i )"
                       : "udfBmap->isBitSet( i )";
    static constexpr const char* freeCheck_ =
        Parser::isHsdk ? "addChunks" : "PeloraTcam::program_abstract_pkt_type";
    static constexpr const char* freeAssertion_ =
        Parser::isHsdk ? "BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), bit )"
                       : "!( chunkBmap & pfi.chunk_bmap_used() )";
};

TYPED_TEST_SUITE( FlexParserSilentFaultTest, Parsers );

// ---- Dropped writes ----------------------------------------------------------------------------

TYPED_TEST( FlexParserSilentFaultTest, CreationDropped_IsFoundByAuditInventoryPositionsAndRemoval )
{
    this->drop( TypeParam::createCall );
    const QualIdList quals = this->made();
    EXPECT_EQ( this->chipText(), "" );
    EXPECT_EQ( TypeParam::list( this->unit ), UdfIdList() );
    this->expectGone( this->verifyName, [ & ] { this->verify( udfDescOf( 2, 2 ), quals ); } );
    this->expectGone( this->positionsName,
                      [ & ] { static_cast< void >( TypeParam::positions( this->unit, quals ) ); } );
    this->expectGone( this->destroyName, [ & ] { this->destroy( quals ); } );
}

// The chunk that it was to be on is still free, and the next UDF gets it.
TYPED_TEST( FlexParserSilentFaultTest, CreationDropped_TheNextIsOnItsChunk )
{
    this->drop( TypeParam::createCall );
    static_cast< void >( this->made() );
    const QualIdList next = this->made( udfDescOf( 4, 2 ) );
    this->expectChunk( 0b1 );
    this->verify( udfDescOf( 4, 2 ), next );
}

// A removal compares chunks with what the format said before it, not behind it: a UDF that stays is
// an unknown one of the inventory, and its chunk is lost until somebody removes it.
TYPED_TEST( FlexParserSilentFaultTest, DestructionDropped_IsFoundInTheInventoryOnly )
{
    const QualIdList quals = this->made();
    this->drop( "bcm_udf_destroy" );
    this->destroy( quals );
    EXPECT_EQ( TypeParam::list( this->unit ), udfsOf( { 1 } ) );
    this->verify( udfDescOf( 2, 2 ), quals );
    const QualIdList next = this->made( udfDescOf( 4, 2 ) );
    EXPECT_EQ( this->chip().at( 2 ).chunks, 0b10U );
    this->destroy( quals );
    this->destroy( next );
    EXPECT_EQ( this->chipText(), "" );
}

// ---- Ids that are not so -----------------------------------------------------------------------

TYPED_TEST( FlexParserSilentFaultTest, WrongIdFromCreation_IsFoundByTheAuditAndTheInventory )
{
    this->corruptOnce( TypeParam::createCall, "udfId", 77 );
    const QualIdList quals = this->made();
    EXPECT_EQ( quals, qualsOf( { 77 } ) );
    this->expectGone( this->verifyName, [ & ] { this->verify( udfDescOf( 2, 2 ), quals ); } );
    this->expectGone( this->destroyName, [ & ] { this->destroy( quals ); } );
    EXPECT_EQ( TypeParam::list( this->unit ), udfsOf( { 1 } ) ) << "the one that nobody knows";
}

// An id is compared with those of the same creation alone. The audit compares what it says with
// that other UDF: it is found if they are different in what an audit looks at.
TYPED_TEST( FlexParserSilentFaultTest, IdOfAnotherUdfFromCreation_IsFoundIfTheyDiffer )
{
    const QualIdList first = this->made( udfDescOf( 2, 2 ) );
    this->corruptOnce( TypeParam::createCall, "udfId", 1 );
    const QualIdList second = this->made( udfDescOf( 4, 2 ) );
    EXPECT_EQ( second, first );
    this->expectNoticed( "assertExtent",
                         TypeParam::isHsdk ? "chunkInfo.offset() == ( offset * 8 )"
                                           : "chunkInfo.offset() == offset",
                         [ & ] { this->verify( udfDescOf( 4, 2 ), second ); } );
    this->corruptOnce( TypeParam::createCall, "udfId", 1 );
    const QualIdList third = this->made( udfDescOf( 2, 2 ) );
    this->verify( udfDescOf( 2, 2 ), third );
    EXPECT_EQ( TypeParam::list( this->unit ), udfsOf( { 1, 2, 3 } ) );
}

// ---- The format, as a creation reads it --------------------------------------------------------

TYPED_TEST( FlexParserSilentFaultTest, TakenChunkReadAsFree_Once_IsNoticedBeforeTheCreation )
{
    static_cast< void >( this->made() );
    this->saysFree( 1, 0b1 );
    this->expectNoticed( this->freeCheck_, this->freeAssertion_,
                         [ this ] { this->create( udfDescOf( 4, 2 ) ); } );
}

// The SDK knows better and refuses.
TYPED_TEST( FlexParserSilentFaultTest, TakenChunkReadAsFree_Always_IsRefused )
{
    static_cast< void >( this->made() );
    const std::string chip = this->chipText();
    for ( const uint64_t nth : { 1U, 2U } ) {
        this->saysFree( nth, 0b1 );
    }
    EXPECT_EQ( this->create( udfDescOf( 4, 2 ) ), QualIdList() );
    EXPECT_EQ( this->chipText(), chip );
}

TYPED_TEST( FlexParserSilentFaultTest, AllChunksReadAsTaken_IsRefusedBeforeTheCreation )
{
    this->saysFree( 1, 0 );
    EXPECT_EQ( this->create( udfDescOf( 2, 2 ) ), QualIdList() );
    EXPECT_EQ( this->sdk.countOf( TypeParam::createCall ), 0U );
    EXPECT_EQ( this->chipText(), "" );
}

// Any free chunk will do, so a better one that was not seen is not missed.
TYPED_TEST( FlexParserSilentFaultTest, FreeChunkReadAsTaken_TheNextOneIsUsed )
{
    this->saysFree( 1, 0xFFFE );
    const QualIdList quals = this->made();
    this->expectChunk( 0b10 );
    this->verify( udfDescOf( 2, 2 ), quals );
}

// The last reading is for the trace alone.
TYPED_TEST( FlexParserSilentFaultTest, LastReadingOfACreation_IsNotLookedAt )
{
    this->saysFree( 3, 0xFFFF );
    const QualIdList quals = this->made();
    this->verify( udfDescOf( 2, 2 ), quals );
}

// ---- What a removal reads back -----------------------------------------------------------------

TYPED_TEST( FlexParserSilentFaultTest, Removal_ChunkThatWasFree_IsNoticedBehindTheDestruction )
{
    const QualIdList quals = this->made();
    this->corruptOnce( TypeParam::chunksCall, TypeParam::chunksOutput, 0b10 );
    this->expectNoticed( this->takenCheck_, this->takenAssertion_,
                         [ & ] { this->destroy( quals ); } );
    this->saysFree( 1, 0xFFFF );
    this->expectNoticed( this->takenCheck_, this->takenAssertion_,
                         [ & ] { this->destroy( quals ); } );
}

// No chunk at all has nothing to be compared; a chunk of another UDF was taken, too; the extent of
// what goes does not matter; and the last reading is for the trace alone.
TYPED_TEST( FlexParserSilentFaultTest, Removal_WhatItDoesNotCompare_Passes )
{
    static_cast< void >( this->made() );
    const std::vector< std::pair< const char*, uint64_t > > outputs = {
        { TypeParam::chunksOutput, 0 },
        { TypeParam::chunksOutput, 0b1 },
        { "offset", 77 },
        { "width", 77 },
        { "abstract_pkt_format", 77 },
    };
    for ( const auto& [ output, value ] : outputs ) {
        SCOPED_TRACE( output );
        const QualIdList quals = this->made( udfDescOf( 4, 2 ) );
        this->corruptOnce( TypeParam::chunksCall, output, value );
        this->destroy( quals );
        EXPECT_EQ( this->chip().size(), 1U );
        this->faulty.clearFaults();
    }
    const QualIdList quals = this->made( udfDescOf( 4, 2 ) );
    this->saysFree( 2, 0 );
    this->destroy( quals );
    EXPECT_EQ( this->chip().size(), 1U );
}

// ---- What an audit reads back ------------------------------------------------------------------

TYPED_TEST( FlexParserSilentFaultTest, Audit_EachOutputItLooksAt_IsFound )
{
    const QualIdList quals = this->made( udfDescOf( 2, 2 ) );
    constexpr const char* offset =
        TypeParam::isHsdk ? "chunkInfo.offset() == ( offset * 8 )" : "chunkInfo.offset() == offset";
    constexpr const char* width = "chunkInfo.width() == length";
    constexpr const char* chunks = "chunks == setChunks";
    // As the SDK gives it: bytes on SDK-6, bits with HSDK. The other variant's number is wrong.
    constexpr uint64_t otherOffset = TypeParam::isHsdk ? 2 : 16;

    const struct
    {
        const char* output;
        uint64_t value;
        std::string function;
        const char* assertion;
    } cases[] = {
        { "offset", 0, "assertExtent", offset },
        { "offset", otherOffset, "assertExtent", offset },
        { "offset", 0xFFFFFFFF, "assertExtent", offset },
        { "width", 0, "assertExtent", width },
        { "width", 1, "assertExtent", width },
        { "width", 3, "assertExtent", width },
        { "width", 16, "assertExtent", width },
        { TypeParam::chunksOutput, 0, this->verification_, chunks },
        { TypeParam::chunksOutput, 0b11, this->verification_, chunks },
        { TypeParam::chunksOutput, 0xFFFF, this->verification_, chunks },
        { TypeParam::chunksOutput, 0x10000, this->verification_, chunks },
    };

    for ( const auto& wrong : cases ) {
        SCOPED_TRACE( std::string( wrong.output ) + " " + std::to_string( wrong.value ) );
        this->corruptOnce( TypeParam::chunksCall, wrong.output, wrong.value );
        this->expectNoticed( wrong.function, wrong.assertion,
                             [ & ] { this->verify( udfDescOf( 2, 2 ), quals ); } );
    }
}

// Chunks of a format are alike, and bits beyond the sixteen stand for none.
TYPED_TEST( FlexParserSilentFaultTest, Audit_OutputsItDoesNotLookAt_Pass )
{
    const QualIdList quals = this->made( udfDescOf( 2, 2 ) );
    for ( const uint64_t chunks : { 0x8000U, 0x10001U } ) {
        this->corruptOnce( TypeParam::chunksCall, TypeParam::chunksOutput, chunks );
        this->verify( udfDescOf( 2, 2 ), quals );
        this->faulty.clearFaults();
    }
    // It must be one of the library's formats, and need not be that of the descriptor.
    for ( const Format format : TypeParam::formats() ) {
        this->corruptOnce( TypeParam::chunksCall, "abstract_pkt_format", format );
        this->verify( udfDescOf( 2, 2 ), quals );
        this->faulty.clearFaults();
    }
    EXPECT_EQ( this->sdk.countOf( TypeParam::chunksCall ), 6U );
}

TYPED_TEST( FlexParserSilentFaultTest, UdfChangedOnTheChip_IsFoundByTheAudit )
{
    const QualIdList quals = this->made( udfDescOf( 2, 2 ) );
    Sim::SimFlexParser::State state = this->chip();
    state.at( 1 ).offset = 24;
    this->chips.chip( this->unit )->flexParser()->stateIs( state );
    this->expectNoticed( "assertExtent",
                         TypeParam::isHsdk ? "chunkInfo.offset() == ( offset * 8 )"
                                           : "chunkInfo.offset() == offset",
                         [ & ] { this->verify( udfDescOf( 2, 2 ), quals ); } );
    state.at( 1 ).offset = 16;
    state.at( 1 ).chunks = 0b100;
    this->chips.chip( this->unit )->flexParser()->stateIs( state );
    this->verify( udfDescOf( 2, 2 ), quals ); // Which chunk it is on does not matter.
}

TYPED_TEST( FlexParserSilentFaultTest, UdfLostByTheChip_IsFoundByAuditAndInventory )
{
    const QualIdList quals = this->made( udfDescOf( 2, 2 ) );
    this->chips.chip( this->unit )->flexParser()->stateIs( {} );
    this->expectGone( this->verifyName, [ & ] { this->verify( udfDescOf( 2, 2 ), quals ); } );
    EXPECT_EQ( TypeParam::list( this->unit ), UdfIdList() );
}

// ---- Positions and the inventory ---------------------------------------------------------------

TYPED_TEST( FlexParserSilentFaultTest, Positions_ChunkReadTwice_IsNoticed )
{
    QualIdList quals = this->made();
    quals.qualIdIs( *this->made( udfDescOf( 4, 2 ) ).begin() );
    this->corruptNth( TypeParam::chunksCall, 2, TypeParam::chunksOutput, 0b1 );
    this->expectNoticed( "PeloraTcam::" + this->named( "getUdfChunkPosFlexParser" ),
                         "!udfChunkPosList.udfChunkPosHas( i )", [ & ] {
                             static_cast< void >( TypeParam::positions( this->unit, quals ) );
                         } );
}

// The inventory gives what the SDK says: whether it is so, the agent finds out by comparing.
TYPED_TEST( FlexParserSilentFaultTest, Inventory_WhatTheSdkSays_IsGivenOn )
{
    for ( const Format format : TypeParam::formats() ) {
        static_cast< void >( TypeParam::create( this->unit, udfDescOf( 2, 2 ), format ) );
    }
    this->corruptOnce( listCall, "udfIds", 77 );
    EXPECT_EQ( TypeParam::list( this->unit ), udfsOf( { 2, 3, 4, 77 } ) );
    this->corruptOnce( listCall, "actual", 0 );
    EXPECT_EQ( TypeParam::list( this->unit ), udfsOf( { 2, 3, 4 } ) );
    this->corruptOnce( listCall, "actual", 2 );
    EXPECT_EQ( TypeParam::list( this->unit ), udfsOf( { 0, 1, 2, 3, 4 } ) )
        << "what the SDK did not write is 0, which is no id";
}

// ---- What only one variant reads ---------------------------------------------------------------

using Sdk6FlexParserSilentFaultTest = FlexParserSilentFaultTest< Sdk6Parser >;
using HsdkFlexParserSilentFaultTest = FlexParserSilentFaultTest< HsdkParser >;

// The second reading does not ask which chunks are unavailable; the SDK does.
TEST_F( Sdk6FlexParserSilentFaultTest, UnavailableChunkReadAsFree_IsRefused )
{
    corruptOnce( Sdk6Parser::formatCall, "unavail_chunk_bmap", 0 );
    const QualIdList quals = Sdk6Parser::create( unit, udfDescOf( 2, 2 ), format( unknownFormat ) );
    EXPECT_EQ( quals, QualIdList() );
    EXPECT_EQ( sdk.countOf( Sdk6Parser::createCall ), 1U );
    EXPECT_EQ( chipText(), "" );
}

// A format has sixteen chunks, whatever it says.
TEST_F( Sdk6FlexParserSilentFaultTest, NumberOfChunks_IsNotLookedAt )
{
    corruptOnce( Sdk6Parser::formatCall, "num_chunks_max", 0 );
    verify( udfDescOf( 2, 2 ), made() );
}

TEST_F( HsdkFlexParserSilentFaultTest, NumberOfFreeChunks_TooSmallIsARefusalAndTooLargeIsNot )
{
    corruptOnce( HsdkParser::formatCall, "num_chunks_available", 0 );
    EXPECT_EQ( create( udfDescOf( 2, 2 ) ), QualIdList() );
    EXPECT_EQ( sdk.countOf( HsdkParser::createCall ), 0U );
    corruptOnce( HsdkParser::formatCall, "num_chunks_available", 99 );
    EXPECT_EQ( create( udfDescOf( 2, 33 ) ), QualIdList() ) << "sixteen are marked free";
    corruptOnce( HsdkParser::formatCall, "num_chunks_available", 99 );
    verify( udfDescOf( 2, 2 ), made() );
}

} // namespace
} // namespace LibraryTest
