// What the SDK-6 policer helper asks of the SDK, what it makes of the answers, what it writes.

#include "tests/library/DeclaredEnumerators.h"
#include "tests/library/PolicerScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using TestSupport::returns;

constexpr Policer twoRates = policerOf( PolicerMode::trTcm );

using Sdk6PolicerTest = PolicerScene;

// ---- getBcmPolicerConfig ---------------------------------------------------------------------

struct ModeRow
{
    int agent;
    const char* sdk;
    uint32_t peakRate;
    uint32_t peakBurst;
};

class PolicerModeTest : public PolicerScene, public ::testing::WithParamInterface< ModeRow >
{
  protected:
    const Policer policer_ = policerOf( static_cast< PolicerMode >( GetParam().agent ) );
};

TEST_P( PolicerModeTest, Config_EachMode_HasItsSdkModeAndPeakInModeOneOnly )
{
    const bcm_policer_config_t conf = sdk6->getBcmPolicerConfig( policer_ );
    EXPECT_EQ( conf.mode, valueOf< bcm_policer_mode_t >( GetParam().sdk ) );
    EXPECT_EQ( conf.ckbits_sec, 1000U );
    EXPECT_EQ( conf.ckbits_burst, 64U );
    EXPECT_EQ( conf.pkbits_sec, GetParam().peakRate );
    EXPECT_EQ( conf.pkbits_burst, GetParam().peakBurst );
}

TEST_P( PolicerModeTest, GetVerifyRelease_EachMode_GoRound )
{
    const PolicerId id = sdk6->getPolicer( policer_, stageIfp() );
    sdk6->verifyTcamSanity( recordOf( policer_, id ) );
    sdk6->releasePolicer( id, stageIfp() );
    EXPECT_EQ( chipText(), "" );
}

INSTANTIATE_TEST_SUITE_P( Table,
                          PolicerModeTest,
                          ::testing::Values( ModeRow{ 0, "bcmPolicerModeCommitted", 0, 0 },
                                             ModeRow{ 1, "bcmPolicerModeTrTcm", 2000, 128 },
                                             ModeRow{ 2, "bcmPolicerModeSrTcm", 0, 0 } ),
                          []( const auto& row ) { return std::string( row.param.sdk ); } );

TEST_F( Sdk6PolicerTest, Config_EachMode_IsTheConstantDeclaredInItsPlace )
{
    const std::vector< std::string > declared = declaredEnumerators( "bcm_policer_mode_t" );
    ASSERT_EQ( declared.size(), 3U );
    int mode = 0;
    for ( const std::size_t place : { 0U, 2U, 1U } ) {
        const Policer policer = policerOf( static_cast< PolicerMode >( mode++ ) );
        EXPECT_EQ( sdk6->getBcmPolicerConfig( policer ).mode,
                   valueOf< bcm_policer_mode_t >( declared[ place ] ) );
    }
}

TEST_F( Sdk6PolicerTest, Config_ColorOption_IsFlag44Or84 )
{
    EXPECT_EQ( sdk6->getBcmPolicerConfig( policerOf( PolicerMode::committed, true ) ).flags,
               0x44U );
    EXPECT_EQ( sdk6->getBcmPolicerConfig( policerOf( PolicerMode::committed, false ) ).flags,
               0x84U );
}

TEST_F( Sdk6PolicerTest, Config_Initialiser_IsAPlainCallWhoseValuesStay )
{
    sdk.on.bcm_policer_config_t_init = []( bcm_policer_config_t* conf ) {
        conf->flags = 0x100;
        conf->pkbits_sec = 7;
        conf->pkbits_burst = 8;
    };
    const bcm_policer_config_t conf =
        sdk6->getBcmPolicerConfig( policerOf( PolicerMode::committed ) );
    EXPECT_EQ( conf.flags, 0x184U );
    EXPECT_EQ( conf.pkbits_sec, 7U );
    EXPECT_EQ( conf.pkbits_burst, 8U );
    EXPECT_THAT( names(), ElementsAre( "bcm_policer_config_t_init" ) );
}

TEST_F( Sdk6PolicerTest, Get_UnknownMode_DiesBeforeAnySdkCall )
{
    sdk.on.preApiCall = [] { say( "preApiCall" ); };
    sdk.on.bcm_policer_create = []( auto... ) {
        say( "bcm_policer_create" );
        return 0;
    };
    for ( const int mode : { 3, 4, 255 } ) {
        expectAssertion(
            { sdk6PolicerSource, "sdkMode", "" }, "0 && \"Invalid policer mode\"", [ & ] {
                sdk6->getPolicer( policerOf( static_cast< PolicerMode >( mode ) ), stageIfp() );
            } );
    }
}

// ---- getPolicer ------------------------------------------------------------------------------

TEST_F( Sdk6PolicerTest, Get_Any_InitialisesThenMakesACheckedCall )
{
    sdk6->getPolicer( twoRates, stageIfp() );
    EXPECT_THAT( names(),
                 ElementsAre( "bcm_policer_config_t_init", "preApiCall", "bcm_policer_create" ) );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_policer_create( 5, {flags: 132, mode: bcmPolicerModeTrTcm, "
                              "ckbits_sec: 1000, ckbits_burst: 64, pkbits_sec: 2000, "
                              "pkbits_burst: 128}, & )" ) );
}

TEST_F( Sdk6PolicerTest, Get_AnyStage_LetsTheSdkChooseTheId )
{
    const PolicerId first = sdk6->getPolicer( twoRates, stageIfp() );
    const PolicerId second = sdk6->getPolicer( twoRates, stageVfp() );
    EXPECT_EQ( first, 1U );
    EXPECT_EQ( second, 2U );
    EXPECT_EQ( ids.allocatedIds( FeatureIdType::policer, stageIfp() ), 0U );
}

TEST_F( Sdk6PolicerTest, Get_SdkGivesZero_Dies )
{
    sdk.on.bcm_policer_create = returns( 0 );
    expectAssertion( sdk6Create, "policerId && \"Failed to allocate Policer\"",
                     [ this ] { sdk6->getPolicer( twoRates, stageIfp() ); } );
}

TEST_F( Sdk6PolicerTest, Get_TableExhausted_Dies )
{
    sdk6->getPolicer( twoRates, stageIfp() );
    sdk6->getPolicer( twoRates, stageIfp() );
    expectFatalCall( sdk6Create, -6, "Table full",
                     [ this ] { sdk6->getPolicer( twoRates, stageIfp() ); } );
}

TEST_F( Sdk6PolicerTest, Get_EachFailure_Dies )
{
    expectEveryFailureFatal(
        sdk6Create, [ this ]( int rc ) { sdk.on.bcm_policer_create = returns( rc ); },
        [ this ] { sdk6->getPolicer( twoRates, stageIfp() ); } );
}

TEST_F( Sdk6PolicerTest, Get_PositiveReturnCode_IsSuccess )
{
    sdk.on.bcm_policer_create = []( int, bcm_policer_config_t*, bcm_policer_t* id ) {
        *id = 77;
        return 1;
    };
    EXPECT_EQ( sdk6->getPolicer( twoRates, stageIfp() ), 77U );
}

TEST_F( Sdk6PolicerTest, Get_SdkThrows_ExceptionPassesAndChipIsAsBefore )
{
    faulty.add( { { .function = "bcm_policer_create" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( sdk6->getPolicer( twoRates, stageIfp() ), std::runtime_error );
    EXPECT_EQ( chipText(), "" );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

// ---- releasePolicer --------------------------------------------------------------------------

TEST_F( Sdk6PolicerTest, Release_Allocated_DestroysItAlone )
{
    const PolicerId first = sdk6->getPolicer( twoRates, stageIfp() );
    sdk6->getPolicer( twoRates, stageIfp() );
    sdk.clear();
    sdk6->releasePolicer( first, stageIfp() );
    EXPECT_THAT( sdk.allCalls(), ElementsAre( "preApiCall()", "bcm_policer_destroy( 5, 1 )" ) );
    EXPECT_EQ( chipText(),
               "policer 2: mode=bcmPolicerModeTrTcm flags=0x84 ckbits_sec=1000 ckbits_burst=64 "
               "pkbits_sec=2000 pkbits_burst=128\n" );
}

TEST_F( Sdk6PolicerTest, Release_UnknownId_Dies )
{
    for ( const PolicerId id : { 0U, 4711U, 0xFFFFFFFFU } ) {
        expectFatalCall( sdk6Destroy, -7, "Entry not found",
                         [ & ] { sdk6->releasePolicer( id, stageIfp() ); } );
    }
}

TEST_F( Sdk6PolicerTest, Release_EachFailure_Dies )
{
    expectEveryFailureFatal(
        sdk6Destroy, [ this ]( int rc ) { sdk.on.bcm_policer_destroy = returns( rc ); },
        [ this ] { sdk6->releasePolicer( 1, stageIfp() ); } );
}

// ---- verifyTcamSanity ------------------------------------------------------------------------

TEST_F( Sdk6PolicerTest, Verify_AsRecorded_ReadsOnceAndLeavesTheChipAlone )
{
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    const std::string before = chipText();
    sdk.clear();
    sdk6->verifyTcamSanity( recordOf( twoRates, id ) );
    EXPECT_THAT( names(),
                 ElementsAre( "bcm_policer_config_t_init", "preApiCall", "bcm_policer_get" ) );
    EXPECT_EQ( sdk.calls().at( 0 ).substr( 0, 24 ), "bcm_policer_get( 5, 1, {" );
    EXPECT_EQ( chipText(), before );
}

TEST_F( Sdk6PolicerTest, Verify_EachFieldOffByOne_Dies )
{
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    for ( const auto field : { &Policer::committedRate, &Policer::peakRate,
                               &Policer::committedBurst, &Policer::peakBurst } ) {
        Policer other = twoRates;
        ++( other.*field );
        expectOutOfSync( other, id );
    }
}

TEST_F( Sdk6PolicerTest, Verify_OtherModeOrColorOption_Dies )
{
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    expectOutOfSync( policerOf( PolicerMode::committed ), id );
    expectOutOfSync( policerOf( PolicerMode::srTcm ), id );
    expectOutOfSync( policerOf( PolicerMode::trTcm, true ), id );
}

TEST_F( Sdk6PolicerTest, Verify_EachReadBackValueChanged_Dies )
{
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    for ( const char* output : { "ckbits_sec", "ckbits_burst", "pkbits_sec", "pkbits_burst" } ) {
        faulty.clearFaults();
        corruptReadBack( output, 1 );
        expectOutOfSync( twoRates, id );
    }
}

TEST_F( Sdk6PolicerTest, Verify_ReadBackModeChanged_Dies )
{
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    corruptReadBack( "mode", sdk.bcmPolicerModeCommitted() );
    expectOutOfSync( twoRates, id );
}

TEST_F( Sdk6PolicerTest, Verify_ReadBackModeIsUnknown_CountsAsSrTcm )
{
    const Policer oneRate = policerOf( PolicerMode::srTcm );
    const PolicerId first = sdk6->getPolicer( oneRate, stageIfp() );
    const PolicerId second = sdk6->getPolicer( twoRates, stageIfp() );
    corruptReadBack( "mode", 0 );
    sdk6->verifyTcamSanity( recordOf( oneRate, first ) );
    expectOutOfSync( twoRates, second );
}

TEST_F( Sdk6PolicerTest, Verify_PeakInOtherModes_IsNotCompared )
{
    for ( const PolicerMode mode : { PolicerMode::committed, PolicerMode::srTcm } ) {
        const PolicerId id = sdk6->getPolicer( policerOf( mode ), stageIfp() );
        corruptReadBack( "pkbits_sec", 4711 );
        corruptReadBack( "pkbits_burst", 4711 );
        sdk6->verifyTcamSanity( recordOf( policerOf( mode ), id ) );
    }
    EXPECT_EQ( faulty.calls( "bcm_policer_get" ), 2U );
}

TEST_F( Sdk6PolicerTest, Verify_Flags_ComparesBit80Only )
{
    const Policer aware = policerOf( PolicerMode::trTcm, true );
    const PolicerId awareId = sdk6->getPolicer( aware, stageIfp() );
    const PolicerId blindId = sdk6->getPolicer( twoRates, stageIfp() );
    for ( const uint32_t flags : { 0x44U, 0U, 0xFFFFFF7FU } ) {
        faulty.clearFaults();
        corruptReadBack( "flags", flags );
        sdk6->verifyTcamSanity( recordOf( aware, awareId ) );
        expectOutOfSync( twoRates, blindId );
    }
    for ( const uint32_t flags : { 0x84U, 0x80U, 0xFFFFFFFFU } ) {
        faulty.clearFaults();
        corruptReadBack( "flags", flags );
        sdk6->verifyTcamSanity( recordOf( twoRates, blindId ) );
        expectOutOfSync( aware, awareId );
    }
}

TEST_F( Sdk6PolicerTest, Verify_CreateWasDroppedOrIdReleased_Dies )
{
    const auto expectNotFound = [ this ]( PolicerId id ) {
        expectFatalCall( sdk6Get, -7, "Entry not found",
                         [ & ] { sdk6->verifyTcamSanity( recordOf( twoRates, id ) ); } );
    };
    faulty.add( { { .function = "bcm_policer_create" }, Sim::DropCall{} } );
    expectNotFound( sdk6->getPolicer( twoRates, stageIfp() ) );
    const PolicerId released = sdk6->getPolicer( twoRates, stageIfp() );
    sdk6->releasePolicer( released, stageIfp() );
    expectNotFound( released );
    expectNotFound( 0 );
}

TEST_F( Sdk6PolicerTest, Verify_ReadingWritesNothing_ComparesTheInitialisersValues )
{
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    sdk.on.bcm_policer_get = returns( 0 );
    expectOutOfSync( twoRates, id );
    sdk.on.bcm_policer_config_t_init = [ this ]( bcm_policer_config_t* conf ) {
        *conf = { .flags = 0x84,
                  .mode = sdk.bcmPolicerModeTrTcm(),
                  .ckbits_sec = 1000,
                  .ckbits_burst = 64,
                  .pkbits_sec = 2000,
                  .pkbits_burst = 128 };
    };
    sdk6->verifyTcamSanity( recordOf( twoRates, id ) );
}

// The policer that is left behind has no record that an audit could start from.
TEST_F( Sdk6PolicerTest, Release_DestructionWasDropped_IsNotNoticed )
{
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    faulty.add( { { .function = "bcm_policer_destroy" }, Sim::DropCall{} } );
    sdk6->releasePolicer( id, stageIfp() );
    sdk6->verifyTcamSanity( recordOf( twoRates, id ) );
}

/// The caller's reference is the last one, and another thread drops it meanwhile.
TEST_F( Sdk6PolicerTest, Verify_RecordIsReplacedDuringTheCall_AuditsTheOneItWasGiven )
{
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    auto record = recordOf( twoRates, id );
    sdk.on.bcm_policer_get = [ & ]( int ofUnit, bcm_policer_t policer,
                                    bcm_policer_config_t* conf ) {
        record = nullptr;
        // In the memory of the old one, if that has gone.
        record = recordOf( policerOf( PolicerMode::committed, true ), id + 1 );
        return faulty.bcm_policer_get( ofUnit, policer, conf );
    };
    sdk6->verifyTcamSanity( record );
    EXPECT_EQ( record->policerId(), id + 1 );
}

TEST_F( Sdk6PolicerTest, Verify_EachFailure_Dies )
{
    expectEveryFailureFatal(
        sdk6Get, [ this ]( int rc ) { sdk.on.bcm_policer_get = returns( rc ); },
        [ this ] { sdk6->verifyTcamSanity( recordOf( twoRates, 1 ) ); } );
}

// ---- What it writes --------------------------------------------------------------------------

TEST_F( Sdk6PolicerTest, Get_Level9_TracesThePolicer )
{
    sdk.on.bcm_policer_create = []( int, bcm_policer_config_t*, bcm_policer_t* id ) {
        *id = 31;
        return 0;
    };
    const auto get = [ this ] { sdk6->getPolicer( twoRates, stageIfp() ); };
    expectLine( sdk6Create, policerFacility, 9,
                "getPolicerPolicer config: trTcm cir:1000 cbs:64 pir:2000 pbs:128 colorAware:0",
                get );
    expectLine( sdk6Create, policerFacility, 4, "getPolicerCreated policer id : 31", get );
}

TEST_F( Sdk6PolicerTest, Verify_Level9_TracesTheRecord )
{
    const Policer aware = policerOf( PolicerMode::committed, true );
    const PolicerId id = sdk6->getPolicer( aware, stageIfp() );
    expectLine( sdk6Get, policerFacility, 9,
                "verifyTcamSanity Policer: committed cir:1000 cbs:64 pir:2000 pbs:128 "
                "colorAware:1 PolicerId: 1",
                [ & ] { sdk6->verifyTcamSanity( recordOf( aware, id ) ); } );
}

TEST_F( Sdk6PolicerTest, Release_AnyLevel_TracesNothingOfItsOwn )
{
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    const TestSupport::TraceRecorder traces( policerFacility, allTraceLevels );
    sdk6->releasePolicer( id, stageIfp() );
    EXPECT_THAT( traces.texts(), IsEmpty() );
}

TEST_F( Sdk6PolicerTest, HandleInitialized_Level9_TracesAndDoesNothingElse )
{
    expectLine( sdk6Create, policerFacility, 9, "PeloraTcamSdk6PolicerHelper::handleInitialized",
                [ this ] { sdk6->handleInitialized(); } );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
}

TEST_F( Sdk6PolicerTest, Operations_ApiLevel4_TraceTheirCalls )
{
    EXPECT_THAT(
        apiLines( sdk6PolicerSource,
                  [ this ] {
                      const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
                      sdk6->verifyTcamSanity( recordOf( twoRates, id ) );
                      sdk6->releasePolicer( id, stageIfp() );
                  } ),
        ElementsAre( "bcm_policer_create( unit, &conf, ( bcm_policer_t * )&policerId ) (rc:0)",
                     "bcm_policer_get( unit, policerData->policerId(), &conf ) (rc:0)",
                     "bcm_policer_destroy( unit, ( bcm_policer_t )policerId ) (rc:0)" ) );
}

TEST_F( Sdk6PolicerTest, Operations_Everything_IsWrittenInTheOrderOfTheSteps )
{
    const TestSupport::TraceRecorder traces( "*", allTraceLevels );
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    sdk6->verifyTcamSanity( recordOf( twoRates, id ) );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( StartsWith( "getPolicerPolicer config: " ),
                              EndsWith( "&policerId ) (rc:0)" ), "getPolicerCreated policer id : 1",
                              StartsWith( "verifyTcamSanity Policer: " ),
                              EndsWith( "policerData->policerId(), &conf ) (rc:0)" ) ) );
}

TEST_F( Sdk6PolicerTest, Assertions_OfAll_FollowTheEntrysTraceAlone )
{
    const std::string config = " cir:1000 cbs:64 pir:2000 pbs:128 colorAware:0";
    expectTracesThenAssertion(
        policerFacility, { "9 getPolicerPolicer config: PolicerMode(3)" + config },
        { sdk6PolicerSource, "sdkMode", "" }, "0 && \"Invalid policer mode\"", [ this ] {
            sdk6->getPolicer( policerOf( static_cast< PolicerMode >( 3 ) ), stageIfp() );
        } );
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    expectTracesThenAssertion(
        policerFacility, { "9 verifyTcamSanity Policer: srTcm" + config + " PolicerId: 1" },
        sdk6Get, outOfSync,
        [ & ] { sdk6->verifyTcamSanity( recordOf( policerOf( PolicerMode::srTcm ), id ) ); } );
    sdk.on.bcm_policer_create = returns( 0 );
    expectTracesThenAssertion( policerFacility, { "9 getPolicerPolicer config: trTcm" + config },
                               sdk6Create, "policerId && \"Failed to allocate Policer\"",
                               [ this ] { sdk6->getPolicer( twoRates, stageIfp() ); } );
}

TEST_F( Sdk6PolicerTest, VerifyAndRelease_PositiveReturnCode_AreSuccess )
{
    const PolicerId id = sdk6->getPolicer( twoRates, stageIfp() );
    sdk.on.bcm_policer_get = [ this ]( int chip, bcm_policer_t policer,
                                       bcm_policer_config_t* conf ) {
        return faulty.bcm_policer_get( chip, policer, conf ) + 1;
    };
    sdk.on.bcm_policer_destroy = returns( 1 );
    sdk6->verifyTcamSanity( recordOf( twoRates, id ) );
    sdk6->releasePolicer( id, stageIfp() );
    EXPECT_EQ( sdk.countOf( "bcm_policer_destroy" ), 1U );
}

} // namespace
} // namespace LibraryTest
