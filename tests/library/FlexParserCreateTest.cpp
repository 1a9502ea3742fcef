// Creating UDFs through the flexible parser, on both variants: the SDK calls of each path, which
// chunks are asked for, what there must be room for, and what is left behind when something fails.

#include "tests/library/FlexParserScene.h"

namespace LibraryTest {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

template< class Parser >
class FlexParserCreateTest : public FlexParserScene< Parser >
{};

TYPED_TEST_SUITE( FlexParserCreateTest, Parsers );

/// The descriptor of a UDF of so many bytes.
UdfDesc descOfLength( int length )
{
    return udfDescOf( 0, static_cast< Agent::U8 >( length ) );
}

TYPED_TEST( FlexParserCreateTest, Create_RoomForIt_ReadsTheFormatCreatesAndReadsAgain )
{
    const auto calls =
        this->functionsOf( [ this ] { EXPECT_EQ( this->create( udfDescOf() ).qualIds(), 1U ); } );
    EXPECT_THAT( calls, ElementsAre( TypeParam::formatCall, TypeParam::formatCall,
                                     TypeParam::createCall, TypeParam::formatCall ) );
}

TYPED_TEST( FlexParserCreateTest, Create_Any_NamesUnitAndFormatAndGivesNoHints )
{
    const std::string name = TypeParam::ipv4Format;
    this->create( udfDescOf( 4, 2 ) );
    ASSERT_THAT( this->sdk.calls(), SizeIs( 4 ) );
    EXPECT_EQ( this->sdk.calls()[ 0 ],
               std::string( TypeParam::formatCall ) + "( 5, " + name + ", {...} )" );
    const std::string record = TypeParam::isHsdk
                                   ? "{offset: 32, width: 0, two_byte_chunk_bmap: {w: 1}, "
                                   : "{offset: 32, width: 16, chunk_bmap: 1, ";
    EXPECT_EQ( this->sdk.calls()[ 2 ], std::string( TypeParam::createCall ) + "( 5, null, " +
                                           record + "abstract_pkt_format: " + name + "}, & )" );
}

TYPED_TEST( FlexParserCreateTest, Create_LowChunksTaken_AsksForTheLowestFreeOne )
{
    this->freeChunksAre( 0b1010'0000 );
    this->create( udfDescOf( 0, 4 ) );
    const std::string chunks =
        TypeParam::isHsdk ? "two_byte_chunk_bmap: {w: 32}" : "chunk_bmap: 32";
    EXPECT_THAT( this->sdk.calls().at( 2 ), ::testing::HasSubstr( chunks ) );
}

// One chunk for two bytes, rounded up: the count is checked against the chunks that are free, and
// the record has the lowest free chunk alone, whatever the length.
TYPED_TEST( FlexParserCreateTest, Create_EveryLengthAndRoom_FitsOrIsRefusedBeforeTheCall )
{
    this->createdUdfIs( 7 );
    for ( int room = 0; room <= 16; ++room ) {
        this->freeChunksAre( ~0U << ( 16 - room ) & 0xFFFFU ); // the highest ones
        const Agent::U32 lowest = room == 0 ? 0 : 1U << ( 16 - room );
        for ( int length = 0; length <= 40; ++length ) {
            SCOPED_TRACE( std::to_string( length ) + " bytes, room " + std::to_string( room ) );
            const int needed = length / 2 + length % 2;
            this->sdk.clear();
            const QualIdList quals = this->create( descOfLength( length ) );
            if ( needed > room ) {
                EXPECT_EQ( quals.qualIds(), 0U );
                EXPECT_EQ( this->sdk.countOf( TypeParam::createCall ), 0U );
                continue;
            }
            EXPECT_EQ( quals, qualsOf( { 7 } ) );
            const std::string chunks = std::to_string( needed == 0 ? 0 : lowest );
            const std::string record =
                TypeParam::isHsdk
                    ? "{offset: 0, width: 0, two_byte_chunk_bmap: {w: " + chunks + "}, "
                    : "{offset: 0, width: " + std::to_string( length * 8 ) +
                          ", chunk_bmap: " + chunks + ", ";
            ASSERT_EQ( this->sdk.countOf( TypeParam::createCall ), 1U );
            EXPECT_EQ( this->sdk.calls()[ 2 ],
                       std::string( TypeParam::createCall ) + "( 5, null, " + record +
                           "abstract_pkt_format: " + TypeParam::ipv4Format + "}, & )" );
        }
    }
    EXPECT_THAT( this->logged, IsEmpty() );
}

TYPED_TEST( FlexParserCreateTest, Create_TooFewChunks_ReadsTheFormatForTheRollbackOnly )
{
    this->freeChunksAre( 0b1 );
    const auto calls = this->functionsOf(
        [ this ] { EXPECT_EQ( this->create( udfDescOf( 0, 3 ) ).qualIds(), 0U ); } );
    EXPECT_THAT(
        calls, ElementsAre( TypeParam::formatCall, TypeParam::formatCall, TypeParam::formatCall ) );
}

TYPED_TEST( FlexParserCreateTest, Create_Length0WithoutAnyRoom_AsksForNoChunk )
{
    this->freeChunksAre( 0 );
    this->createdUdfIs( 3 );
    EXPECT_EQ( this->create( udfDescOf( 0, 0 ) ), qualsOf( { 3 } ) );
}

TYPED_TEST( FlexParserCreateTest, Create_SdkRefuses_GivesAnEmptyListAndLeavesTheChip )
{
    this->made();
    const std::string chip = this->chipText();
    for ( const SdkFailure& failure : allSdkFailures() ) {
        SCOPED_TRACE( failure.name );
        this->fail( TypeParam::createCall, failure.rc );
        const auto calls = this->functionsOf(
            [ this ] { EXPECT_EQ( this->create( udfDescOf( 4, 2 ) ).qualIds(), 0U ); } );
        EXPECT_THAT( calls, ElementsAre( TypeParam::formatCall, TypeParam::formatCall,
                                         TypeParam::createCall, TypeParam::formatCall,
                                         TypeParam::formatCall, TypeParam::formatCall ) );
        EXPECT_EQ( this->chipText(), chip );
    }
}

TYPED_TEST( FlexParserCreateTest, Create_ChipRunsOutOfUdfs_GivesAnEmptyList )
{
    Sim::ChipProfile profile = Sim::builtInProfile( TypeParam::profile );
    profile.flexParser.udfs = 1;
    this->chips.chipIs( this->unit, profile );
    this->made();
    EXPECT_EQ( this->create( udfDescOf( 8, 2 ) ).qualIds(), 0U );
}

TYPED_TEST( FlexParserCreateTest, Create_AllChunksOneByOne_FitsSixteenAndNoMore )
{
    for ( int i = 0; i < 16; ++i ) {
        EXPECT_EQ( this->create( udfDescOf( 2, 2 ) ).qualIds(), 1U ) << i;
    }
    this->sdk.clear();
    EXPECT_EQ( this->create( udfDescOf( 2, 1 ) ).qualIds(), 0U );
    EXPECT_EQ( this->sdk.countOf( TypeParam::createCall ), 0U );
}

TYPED_TEST( FlexParserCreateTest, Create_FormatCannotBeRead_IsFatalAtEachReading )
{
    std::uint64_t nth = 0;
    for ( const std::string& function :
          { this->createName, this->programName, this->createName } ) {
        this->expectNthFatal( this->formatGetOf( function ), TypeParam::formatCall, ++nth,
                              [ this ] { this->create( udfDescOf() ); } );
    }
}

TYPED_TEST( FlexParserCreateTest, Create_RollbackCannotReadTheFormat_IsFatal )
{
    this->freeChunksAre( 0 );
    for ( const std::size_t succeeding : { 1U, 2U } ) {
        auto answer = [ succeeding, count = std::size_t{ 0 } ]( auto&&... ) mutable {
            return ++count > succeeding ? -1 : 0;
        };
        this->sdk.on.bcm_udf_abstract_pkt_format_info_get =
            [ answer ]( int, Format, bcm_udf_abstract_pkt_format_info_t* info ) mutable {
                info->chunk_bmap_usedIs( 0xFFFF );
                return answer();
            };
        this->sdk.on.bcm_udf_multi_abstract_pkt_format_info_get =
            [ answer ]( int, Format, bcm_udf_multi_abstract_pkt_format_info_t* ) mutable {
                return answer();
            };
        this->expectFatalCall( this->formatGetOf( this->cleanUpName ), -1, "Internal error",
                               [ this ] { this->create( udfDescOf() ); } );
    }
}

TYPED_TEST( FlexParserCreateTest, CleanUp_EmptyFootprint_ReadsTheFormatTwice )
{
    QualIdList quals = qualsOf( { 1 } );
    const auto calls = this->functionsOf( [ & ] {
        quals = TypeParam::cleanUp( this->unit, UdfHwProgrammingFootprint(), this->format() );
    } );
    EXPECT_EQ( quals.qualIds(), 0U );
    EXPECT_THAT( calls, ElementsAre( TypeParam::formatCall, TypeParam::formatCall ) );
}

TYPED_TEST( FlexParserCreateTest, CleanUp_FootprintWithUdfs_DestroysThem )
{
    UdfHwProgrammingFootprint footprint;
    footprint.udfIds = this->made();
    EXPECT_EQ( TypeParam::cleanUp( this->unit, footprint, this->format() ).qualIds(), 0U );
    EXPECT_EQ( this->chipText(), "" );
}

// ---- Programming into a format ---------------------------------------------------------------

class Sdk6FlexParserProgramTest : public FlexParserScene< Sdk6Parser >
{
  protected:
    void program( Agent::U32 chunks, UdfHwProgrammingFootprint& footprint )
    {
        program_abstract_pkt_type( unit, udfDescOf( 2, 2 ), format(), chunks, rc, quals,
                                   footprint );
    }

    int rc = 99;
    QualIdList quals;
};

TEST_F( Sdk6FlexParserProgramTest, Program_Succeeds_GoesIntoFootprintAndList )
{
    UdfHwProgrammingFootprint footprint;
    createdUdfIs( 12 );
    program( 0b1000, footprint );
    EXPECT_EQ( rc, 0 );
    EXPECT_EQ( footprint.udfIds, qualsOf( { 12 } ) );
    EXPECT_EQ( quals, qualsOf( { 12 } ) );
    EXPECT_EQ( footprint.pktFmtId.value(), -1 );
}

TEST_F( Sdk6FlexParserProgramTest, Program_Fails_RecordsNothing )
{
    UdfHwProgrammingFootprint footprint;
    fail( "bcm_udf_chunk_create", -4 );
    program( 0b1000, footprint );
    EXPECT_EQ( rc, -4 );
    EXPECT_EQ( footprint.udfIds.qualIds(), 0U );
    EXPECT_EQ( quals.qualIds(), 0U );
}

TEST_F( Sdk6FlexParserProgramTest, Program_ChunkInUse_Dies )
{
    freeChunksAre( 0xFFFE );
    expectAssertion( { Sdk6Parser::source, "PeloraTcam::program_abstract_pkt_type", "" },
                     "!( chunkBmap & pfi.chunk_bmap_used() )", [ this ] {
                         UdfHwProgrammingFootprint footprint;
                         program( 0b11, footprint );
                     } );
}

TEST_F( Sdk6FlexParserProgramTest, Program_IdOfTheFootprint_Dies )
{
    createdUdfIs( 12 );
    expectAssertion( { Sdk6Parser::source, "PeloraTcam::program_abstract_pkt_type", "" },
                     "!hwFootprint.udfIds.qualIdHas( udfId )", [ this ] {
                         UdfHwProgrammingFootprint footprint;
                         footprint.udfIds = qualsOf( { 12 } );
                         program( 0b1, footprint );
                     } );
}

class HsdkFlexParserProgramTest : public FlexParserScene< HsdkParser >
{
  protected:
    void program( std::initializer_list< Agent::U32 > chunks, UdfHwProgrammingFootprint& footprint )
    {
        const Agent::Bitmap::Ptr bitmap( new Agent::Bitmap( 16 ) );
        for ( const Agent::U32 chunk : chunks ) {
            bitmap->bitIs( chunk, true );
        }
        program_abstract_pkt_type_hsdk( unit, udfDescOf( 2, 4 ), format(), bitmap, rc, quals,
                                        footprint );
        EXPECT_EQ( bitmap->numBitsInSetState(), chunks.size() ) << "as it was";
    }

    int rc = 99;
    QualIdList quals;
};

TEST_F( HsdkFlexParserProgramTest, Program_TwoChunks_AddsTheLowerTwice )
{
    UdfHwProgrammingFootprint footprint;
    program( { 3, 9 }, footprint );
    std::vector< std::string > added;
    for ( const TestSupport::RecordedCall& call : sdk.records() ) {
        if ( call.name == "BCM_UDF_CBMP_CHUNK_ADD" ) {
            added.push_back( call.arguments.at( 1 ) );
        }
    }
    EXPECT_THAT( added, ElementsAre( "3", "3" ) );
    EXPECT_EQ( rc, 0 );
    EXPECT_EQ( footprint.udfIds, quals );
    EXPECT_EQ( quals.qualIds(), 1U );
}

TEST_F( HsdkFlexParserProgramTest, Program_ChunkNotFree_Dies )
{
    freeChunksAre( 0xFFFE );
    expectAssertion( { HsdkParser::source, "addChunks", "" },
                     "BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), bit )", [ this ] {
                         UdfHwProgrammingFootprint footprint;
                         program( { 0 }, footprint );
                     } );
}

TEST_F( HsdkFlexParserProgramTest, Program_IdOfTheFootprint_Dies )
{
    createdUdfIs( 12 );
    expectAssertion( { HsdkParser::source, "PeloraTcam::program_abstract_pkt_type_hsdk", "" },
                     "!hwFootprint.udfIds.qualIdHas( udfId )", [ this ] {
                         UdfHwProgrammingFootprint footprint;
                         footprint.udfIds = qualsOf( { 12 } );
                         program( { 1 }, footprint );
                     } );
}

TEST_F( HsdkFlexParserProgramTest, Program_Fails_RecordsNothing )
{
    UdfHwProgrammingFootprint footprint;
    fail( "bcm_udf_multi_chunk_create", -4 );
    program( { 1 }, footprint );
    EXPECT_EQ( rc, -4 );
    EXPECT_EQ( footprint.udfIds.qualIds(), 0U );
    EXPECT_EQ( quals.qualIds(), 0U );
}

} // namespace
} // namespace LibraryTest
