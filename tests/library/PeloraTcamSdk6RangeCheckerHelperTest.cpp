// What the range checker helper asks of the SDK, and what it makes of the answers. The texts it
// writes and its life are tested in the two files named after this one.

#include "tests/library/DeclaredEnumerators.h"
#include "tests/library/RangeCheckerScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using TestSupport::apiErrorLine;
using TestSupport::assertionLine;
using TestSupport::returns;

constexpr RangeCheckerDesc ports{ 1024, 2000, RangeType::l4SrcPort };
constexpr RangeCheckerId unusedId = 4711;

class RangeCheckerHelperTest : public RangeCheckerScene
{
  protected:
    /// The chip's range checker `id` reads back with that output changed.
    void corruptReadBack( const std::string& output, uint64_t value )
    {
        faulty.addFromNow( { { .function = "bcm_range_get", .fromThenOn = true },
                             Sim::CorruptOutput{ output, value } } );
    }

    void expectOutOfSync( const RangeCheckerDesc& desc, RangeCheckerId id )
    {
        EXPECT_DEATH( helper->verifyTcamSanity( recordOf( desc, id ) ),
                      MatchesRegex( assertionLine( source, ".*verifyTcamSanity.*", outOfSync ) ) );
    }

    void expectUnexpectedType( const RangeCheckerDesc& desc, RangeCheckerId id )
    {
        EXPECT_DEATH(
            helper->verifyTcamSanity( recordOf( desc, id ) ),
            MatchesRegex( assertionLine( source, ".*", "0 && \"unexpected rangetype\"" ) ) );
    }
};

// ---- getRangeChecker -------------------------------------------------------------------------

TEST_F( RangeCheckerHelperTest, Get_Supported_InitialisesThenCreates )
{
    helper->getRangeChecker( ports );
    EXPECT_THAT( names(), ElementsAre( "bcm_range_config_t_init", "bcm_range_create" ) );
}

TEST_F( RangeCheckerHelperTest, Get_Supported_StandsInTheChip )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    EXPECT_EQ( chipText(), "range checker " + std::to_string( id ) +
                               ": type=bcmRangeTypeL4SrcPort min=1024 max=2000 instance=3\n" );
}

TEST_F( RangeCheckerHelperTest, Get_PipeAndUnitDiffer_PipeIsInstanceAndFapIsUnit )
{
    helper->getRangeChecker( { 0, 0xFFFF, RangeType::packetLength } );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_range_create( 5, 0, {min: 0, max: 65535, instance: 3, "
                              "rtype: bcmRangeTypePacketLength, rid: 0} )" ) );
}

TEST_F( RangeCheckerHelperTest, Get_Created_GivesTheIdOfTheSdk )
{
    sdk.on.bcm_range_create = []( int, uint32_t, bcm_range_config_t* config ) {
        config->rid = 0xABCDEF01;
        return 0;
    };
    EXPECT_EQ( helper->getRangeChecker( ports ), 0xABCDEF01U );
}

TEST_F( RangeCheckerHelperTest, Get_InitialiserLeavesOtherValues_OnlyItsOwnFieldsAreSet )
{
    sdk.on.bcm_range_config_t_init = []( bcm_range_config_t* config ) { config->rid = 99; };
    sdk.on.bcm_range_create = returns( 0 );
    EXPECT_EQ( helper->getRangeChecker( ports ), 99U );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_range_create( 5, 0, {min: 1024, max: 2000, instance: 3, "
                              "rtype: bcmRangeTypeL4SrcPort, rid: 99} )" ) );
}

TEST_F( RangeCheckerHelperTest, Get_ChipExhausted_GivesInvalidIdUntilOneIsReleased )
{
    const RangeCheckerId first = helper->getRangeChecker( ports );
    EXPECT_NE( helper->getRangeChecker( ports ), 0xFFFFFFFF );
    EXPECT_EQ( helper->getRangeChecker( ports ), 0xFFFFFFFF );
    helper->releaseRangeChecker( first );
    EXPECT_NE( helper->getRangeChecker( ports ), 0xFFFFFFFF );
}

TEST_F( RangeCheckerHelperTest, Get_SdkThrows_ExceptionPassesAndChipIsAsBefore )
{
    faulty.add( { { .function = "bcm_range_create" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( helper->getRangeChecker( ports ), std::runtime_error );
    EXPECT_EQ( chipText(), "" );
}

TEST_F( RangeCheckerHelperTest, Get_PositiveReturnCode_IsNotSuccess )
{
    sdk.on.bcm_range_create = returns( 1 );
    EXPECT_EQ( helper->getRangeChecker( ports ), 0xFFFFFFFF );
}

class FailingCreateTest : public RangeCheckerScene,
                          public ::testing::WithParamInterface< SdkFailure >
{};

TEST_P( FailingCreateTest, Get_CreateFails_GivesInvalidIdAndAsksForNoText )
{
    const int rc = GetParam().rc;
    sdk.on.bcm_range_create = [ rc ]( int, uint32_t, bcm_range_config_t* config ) {
        config->rid = 7;
        return rc;
    };
    EXPECT_EQ( helper->getRangeChecker( ports ), 0xFFFFFFFF );
    EXPECT_THAT( names(), ElementsAre( "bcm_range_config_t_init", "bcm_range_create" ) );
}

INSTANTIATE_TEST_SUITE_P( ReturnCodes,
                          FailingCreateTest,
                          ::testing::ValuesIn( allSdkFailures() ),
                          nameOfFailure );

// ---- Range types, both ways ------------------------------------------------------------------

struct TypeRow
{
    int agent;
    const char* sdk;
};

void PrintTo( const TypeRow& row, std::ostream* stream )
{
    *stream << row.agent;
}

class RangeTypeTest : public RangeCheckerScene, public ::testing::WithParamInterface< TypeRow >
{
  protected:
    const RangeCheckerDesc desc_{ 10, 20, static_cast< RangeType >( GetParam().agent ) };
};

TEST_P( RangeTypeTest, Get_EachType_HasItsSdkType )
{
    const RangeCheckerId id = helper->getRangeChecker( desc_ );
    EXPECT_EQ( chipText(), "range checker " + std::to_string( id ) + ": type=" + GetParam().sdk +
                               " min=10 max=20 instance=3\n" );
}

TEST_P( RangeTypeTest, Verify_EachSdkType_IsTheAgentsType )
{
    const Sim::SdkNumbering& numbering = chips.numbering();
    const auto type = static_cast< bcm_range_type_t >( *numbering.valueOf( GetParam().sdk ) );
    sdk.on.bcm_range_get = [ type ]( int, bcm_range_config_t* config ) {
        *config = { .min = 10, .max = 20, .instance = pipeId, .rtype = type, .rid = config->rid };
        return 0;
    };
    helper->verifyTcamSanity( recordOf( desc_, 1 ) );
    EXPECT_THAT( names(), ElementsAre( "bcm_range_config_t_init", "preApiCall", "bcm_range_get" ) );
}

// The third of the SDK's four types is not used, and the order is not the SDK's.
INSTANTIATE_TEST_SUITE_P( Table,
                          RangeTypeTest,
                          ::testing::Values( TypeRow{ 1, "bcmRangeTypeL4DstPort" },
                                             TypeRow{ 2, "bcmRangeTypeL4SrcPort" },
                                             TypeRow{ 3, "bcmRangeTypePacketLength" } ),
                          []( const auto& row ) { return std::string( row.param.sdk ); } );

TEST_F( RangeCheckerHelperTest, Get_EachType_IsTheConstantDeclaredInItsPlace )
{
    const std::vector< std::string > declared = declaredEnumerators( "bcm_range_type_t" );
    ASSERT_EQ( declared.size(), 4U );
    int type = 1;
    for ( const std::size_t place : { 1U, 0U, 3U } ) {
        bcm_range_type_t created{};
        sdk.on.bcm_range_create = [ & ]( int, uint32_t, bcm_range_config_t* config ) {
            created = config->rtype;
            return 0;
        };
        helper->getRangeChecker( { 1, 2, static_cast< RangeType >( type++ ) } );
        EXPECT_EQ( created, static_cast< bcm_range_type_t >(
                                chips.numbering().valueOf( declared[ place ] ).value() ) );
    }
}

class UnsupportedTypeTest : public RangeCheckerScene, public ::testing::WithParamInterface< int >
{};

TEST_P( UnsupportedTypeTest, Get_UnsupportedType_AbortsAfterTraceAndInitialiserOnly )
{
    operationsSpeak();
    sdk.on.bcm_range_create = []( int, uint32_t, bcm_range_config_t* ) {
        say( "bcm_range_create" );
        return 0;
    };
    Agent::traceLevelsIs( "*", 0xFFFFFFFF );
    EXPECT_DEATH(
        helper->getRangeChecker( { 1, 2, static_cast< RangeType >( GetParam() ) } ),
        MatchesRegex( "trace: getRangeChecker[^\n]*\n"
                      "initialiser\n" +
                      assertionLine( source, ".*", "false && \"RangeType not supported\"" ) ) );
    Agent::traceLevelsIs( "*", 0 );
    Agent::traceSinkIs( {} );
}

INSTANTIATE_TEST_SUITE_P( Types, UnsupportedTypeTest, ::testing::Values( 0, 4, 5, 255 ) );

// ---- releaseRangeChecker ---------------------------------------------------------------------

TEST_F( RangeCheckerHelperTest, Release_Allocated_DestroysItAlone )
{
    const RangeCheckerId first = helper->getRangeChecker( ports );
    const RangeCheckerId second = helper->getRangeChecker( { 7, 7, RangeType::l4DstPort } );
    sdk.clear();
    helper->releaseRangeChecker( first );
    EXPECT_THAT(
        sdk.allCalls(),
        ElementsAre( "preApiCall()", "bcm_range_destroy( 5, " + std::to_string( first ) + " )" ) );
    EXPECT_EQ( chipText(), "range checker " + std::to_string( second ) +
                               ": type=bcmRangeTypeL4DstPort min=7 max=7 instance=3\n" );
}

TEST_F( RangeCheckerHelperTest, Release_PositiveReturnCode_IsSuccess )
{
    sdk.on.bcm_range_destroy = returns( 1 );
    helper->releaseRangeChecker( 1 );
    EXPECT_THAT( sdk.calls(), ElementsAre( "bcm_range_destroy( 5, 1 )" ) );
}

TEST_F( RangeCheckerHelperTest, Release_UnknownId_DiesWithErrorLineThenAssertion )
{
    operationsSpeak();
    Agent::traceLevelsIs( apiFacility, 1U << 4 );
    EXPECT_DEATH( helper->releaseRangeChecker( unusedId ),
                  MatchesRegex( "preApiCall\n" +
                                apiErrorLine( source, "bcm_range_destroy( unit, rangeCheckerId )",
                                              "Entry not found", -7 ) +
                                "onApiError\n" +
                                assertionLine( source, ".*releaseRangeChecker.*", "0" ) ) );
    Agent::traceLevelsIs( "*", 0 );
    Agent::traceSinkIs( {} );
}

TEST_F( RangeCheckerHelperTest, Release_SdkThrows_ExceptionPassesAndChipIsAsBefore )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    const std::string before = chipText();
    faulty.add( { { .function = "bcm_range_destroy" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( helper->releaseRangeChecker( id ), std::runtime_error );
    EXPECT_EQ( chipText(), before );
}

class FatalFailureTest : public RangeCheckerScene,
                         public ::testing::WithParamInterface< SdkFailure >
{};

TEST_P( FatalFailureTest, Release_DestroyFails_Dies )
{
    sdk.on.bcm_range_destroy = returns( GetParam().rc );
    EXPECT_DEATH( helper->releaseRangeChecker( 1 ),
                  MatchesRegex( apiErrorLine( source, "bcm_range_destroy( unit, rangeCheckerId )",
                                              GetParam().text, GetParam().rc ) +
                                assertionLine( source, ".*releaseRangeChecker.*", "0" ) ) );
}

TEST_P( FatalFailureTest, Verify_GetFails_Dies )
{
    sdk.on.bcm_range_get = returns( GetParam().rc );
    EXPECT_DEATH( helper->verifyTcamSanity( recordOf( ports, 1 ) ),
                  MatchesRegex( apiErrorLine( source, "bcm_range_get( unit, &conf )",
                                              GetParam().text, GetParam().rc ) +
                                assertionLine( source, ".*verifyTcamSanity.*", "0" ) ) );
}

INSTANTIATE_TEST_SUITE_P( ReturnCodes,
                          FatalFailureTest,
                          ::testing::ValuesIn( allSdkFailures() ),
                          nameOfFailure );

// ---- verifyTcamSanity ------------------------------------------------------------------------

TEST_F( RangeCheckerHelperTest, Verify_AsRecorded_ReadsOnceAndReturns )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    sdk.clear();
    helper->verifyTcamSanity( recordOf( ports, id ) );
    EXPECT_THAT( names(), ElementsAre( "bcm_range_config_t_init", "preApiCall", "bcm_range_get" ) );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_range_get( 5, {min: 0, max: 0, instance: 0, rtype: 0, rid: " +
                              std::to_string( id ) + "} )" ) );
}

TEST_F( RangeCheckerHelperTest, Verify_AsRecorded_LeavesTheChipAsItWas )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    const std::string before = chipText();
    helper->verifyTcamSanity( recordOf( ports, id ) );
    EXPECT_EQ( chipText(), before );
}

TEST_F( RangeCheckerHelperTest, Verify_MinOffByOne_Dies )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    expectOutOfSync( { 1023, 2000, RangeType::l4SrcPort }, id );
    expectOutOfSync( { 1025, 2000, RangeType::l4SrcPort }, id );
}

TEST_F( RangeCheckerHelperTest, Verify_MaxOffByOne_Dies )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    expectOutOfSync( { 1024, 1999, RangeType::l4SrcPort }, id );
    expectOutOfSync( { 1024, 2001, RangeType::l4SrcPort }, id );
}

TEST_F( RangeCheckerHelperTest, Verify_OtherType_Dies )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    expectOutOfSync( { 1024, 2000, RangeType::l4DstPort }, id );
    expectOutOfSync( { 1024, 2000, RangeType::packetLength }, id );
    expectOutOfSync( { 1024, 2000, RangeType::invalid }, id );
}

TEST_F( RangeCheckerHelperTest, Verify_ReadBackMinChanged_Dies )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    corruptReadBack( "min", 1025 );
    expectOutOfSync( ports, id );
}

TEST_F( RangeCheckerHelperTest, Verify_ReadBackMaxChanged_Dies )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    corruptReadBack( "max", 1999 );
    expectOutOfSync( ports, id );
}

TEST_F( RangeCheckerHelperTest, Verify_ReadBackTypeChanged_Dies )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    corruptReadBack( "rtype", sdk.bcmRangeTypeL4DstPort() );
    expectOutOfSync( ports, id );
}

TEST_F( RangeCheckerHelperTest, Verify_ReadBackTypeIsTheSkippedOne_DiesAsUnexpected )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    corruptReadBack( "rtype", sdk.bcmRangeTypeOuterVlan() );
    expectUnexpectedType( ports, id );
}

TEST_F( RangeCheckerHelperTest, Verify_ReadBackTypeIsNone_DiesAsUnexpected )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    corruptReadBack( "rtype", 0 );
    expectUnexpectedType( ports, id );
}

TEST_F( RangeCheckerHelperTest, Verify_ReadBackInstanceChanged_IsNotCompared )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    corruptReadBack( "instance", pipeId + 1 );
    helper->verifyTcamSanity( recordOf( ports, id ) );
    EXPECT_EQ( faulty.calls( "bcm_range_get" ), 1U );
}

TEST_F( RangeCheckerHelperTest, Verify_CreateWasDropped_Dies )
{
    faulty.add( { { .function = "bcm_range_create" }, Sim::DropCall{} } );
    const RangeCheckerId id = helper->getRangeChecker( ports );
    ASSERT_NE( id, invalidRangeCheckerId );
    EXPECT_DEATH( helper->verifyTcamSanity( recordOf( ports, id ) ),
                  MatchesRegex( apiErrorLine( source, "bcm_range_get( unit, &conf )",
                                              "Entry not found", -7 ) +
                                assertionLine( source, ".*verifyTcamSanity.*", "0" ) ) );
}

TEST_F( RangeCheckerHelperTest, Verify_ReleasedId_Dies )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    helper->releaseRangeChecker( id );
    EXPECT_DEATH( helper->verifyTcamSanity( recordOf( ports, id ) ),
                  MatchesRegex( apiErrorLine( source, "bcm_range_get( unit, &conf )",
                                              "Entry not found", -7 ) +
                                assertionLine( source, ".*verifyTcamSanity.*", "0" ) ) );
}

/// The caller's reference is the last one, and another thread drops it meanwhile.
TEST_F( RangeCheckerHelperTest, Verify_RecordIsReplacedDuringTheCall_AuditsTheOneItWasGiven )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    auto record = recordOf( ports, id );
    sdk.on.bcm_range_get = [ & ]( int ofUnit, bcm_range_config_t* conf ) {
        record = nullptr;
        // In the memory of the old one, if that has gone.
        record = recordOf( { 1, 2, RangeType::packetLength }, id + 1 );
        return faulty.bcm_range_get( ofUnit, conf );
    };
    helper->verifyTcamSanity( record );
    EXPECT_EQ( record->rangeCheckerId(), id + 1 );
}

TEST_F( RangeCheckerHelperTest, Verify_PositiveReturnCode_IsSuccess )
{
    const RangeCheckerId id = helper->getRangeChecker( ports );
    sdk.on.bcm_range_get = [ & ]( int chipUnit, bcm_range_config_t* config ) {
        return faulty.bcm_range_get( chipUnit, config ) + 1;
    };
    helper->verifyTcamSanity( recordOf( ports, id ) );
    EXPECT_EQ( sdk.countOf( "bcm_range_get" ), 1U );
}

} // namespace
} // namespace LibraryTest
