// What the HSDK policer helper asks of the id manager and the SDK, and what it writes. What it has
// from the SDK-6 helper is tested there.

#include "tests/library/PolicerScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using TestSupport::returns;

constexpr Policer oneRate = policerOf( PolicerMode::committed );

class HsdkPolicerTest : public PolicerScene
{
  protected:
    [[nodiscard]] Agent::U32 allocatedIds() const
    {
        return ids.allocatedIds( FeatureIdType::policer, stageIfp() );
    }

    /// Takes all ids of the ingress stage.
    void exhaustPool()
    {
        while ( ids.canAllocateId( FeatureIdType::policer, stageIfp() ) ) {
            static_cast< void >( ids.allocateId( FeatureIdType::policer, stageIfp() ) );
        }
    }
};

// ---- getPolicer ------------------------------------------------------------------------------

TEST_F( HsdkPolicerTest, Get_Any_InitialisesThenMakesATracedCall )
{
    hsdk->getPolicer( oneRate, stageIfp() );
    EXPECT_THAT( names(), ElementsAre( "bcm_policer_config_t_init", "bcm_policer_create" ) );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_policer_create( 5, {flags: 133, mode: "
                              "bcmPolicerModeCommitted, ckbits_sec: 1000, ckbits_burst: 64, "
                              "pkbits_sec: 0, pkbits_burst: 0}, & )" ) );
}

TEST_F( HsdkPolicerTest, Get_EachStage_HasItsPool )
{
    EXPECT_EQ( hsdk->getPolicer( oneRate, stageIfp() ), firstIfpId );
    EXPECT_EQ( hsdk->getPolicer( oneRate, stageVfp() ), firstVfpId );
    EXPECT_EQ( allocatedIds(), 1U );
    EXPECT_THAT( chipText(), MatchesRegex( "policer 100: [^\n]*\npolicer 200: [^\n]*\n" ) );
}

TEST_F( HsdkPolicerTest, Get_IdGiven_ReachesTheSdk )
{
    bcm_policer_t given = 0;
    sdk.on.bcm_policer_create = [ & ]( int, bcm_policer_config_t*, bcm_policer_t* id ) {
        given = *id;
        return 0;
    };
    EXPECT_EQ( hsdk->getPolicer( oneRate, stageIfp() ), firstIfpId );
    EXPECT_EQ( given, static_cast< bcm_policer_t >( firstIfpId ) );
}

TEST_F( HsdkPolicerTest, Get_StageWithExtraFlags_AddsThem )
{
    std::vector< uint32_t > flags;
    sdk.on.bcm_policer_create = [ & ]( int, bcm_policer_config_t* conf, bcm_policer_t* ) {
        flags.push_back( conf->flags );
        return 0;
    };
    PeloraTcam::getPeloraTcamCommonData().policerFlagsIs( stageIfp(), 0x10 );
    hsdk->getPolicer( oneRate, stageIfp() );
    hsdk->getPolicer( policerOf( PolicerMode::committed, true ), stageIfp() );
    hsdk->getPolicer( oneRate, stageVfp() );
    EXPECT_THAT( flags, ElementsAre( 0x95U, 0x55U, 0x85U ) );
}

TEST_F( HsdkPolicerTest, Get_GreatestExtraFlags_AreSixteenBits )
{
    uint32_t flags = 0;
    sdk.on.bcm_policer_create = [ & ]( int, bcm_policer_config_t* conf, bcm_policer_t* ) {
        flags = conf->flags;
        return 0;
    };
    PeloraTcam::getPeloraTcamCommonData().policerFlagsIs( stageIfp(), 0xFFFF );
    hsdk->getPolicer( oneRate, stageIfp() );
    EXPECT_EQ( flags, 0xFFFFU );
}

TEST_F( HsdkPolicerTest, Get_PoolExhausted_MakesNoSdkCallAndTakesNoId )
{
    exhaustPool();
    EXPECT_EQ( hsdk->getPolicer( oneRate, stageIfp() ), 0U );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
    EXPECT_EQ( allocatedIds(), poolSize );
}

TEST_F( HsdkPolicerTest, Get_PoolNotSetUp_GivesNoId )
{
    EXPECT_EQ( hsdk->getPolicer( oneRate, StageType::efp ), 0U );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
}

TEST_F( HsdkPolicerTest, Get_ChipExhausted_DiesNamingRc )
{
    hsdk->getPolicer( oneRate, stageIfp() );
    hsdk->getPolicer( oneRate, stageIfp() );
    expectFatalCall( hsdkCreate, -6, "Table full",
                     [ this ] { hsdk->getPolicer( oneRate, stageIfp() ); } );
}

TEST_F( HsdkPolicerTest, Get_IdIsTakenInTheChip_DiesNamingRc )
{
    bcm_policer_config_t conf;
    conf.flags = 1;
    conf.mode = sdk.bcmPolicerModeCommitted();
    bcm_policer_t id = firstIfpId;
    ASSERT_EQ( chips.bcm_policer_create( unit, &conf, &id ), 0 );
    expectFatalCall( hsdkCreate, -8, "Entry exists",
                     [ this ] { hsdk->getPolicer( oneRate, stageIfp() ); } );
}

TEST_F( HsdkPolicerTest, Get_EachFailure_DiesNamingRc )
{
    expectEveryFailureFatal(
        hsdkCreate, [ this ]( int rc ) { sdk.on.bcm_policer_create = returns( rc ); },
        [ this ] { hsdk->getPolicer( oneRate, stageIfp() ); } );
}

TEST_F( HsdkPolicerTest, Get_CallFails_IsTracedBeforeTheErrorLine )
{
    sdk.on.bcm_policer_create = returns( -8 );
    expectDies(
        [ this ] {
            Agent::traceSinkIs(
                []( const Agent::TraceLine& line ) { say( std::string( line.text ) ); } );
            Agent::traceLevelsIs( apiFacility, allTraceLevels );
            hsdk->getPolicer( oneRate, stageIfp() );
        },
        "[^\n]*:[0-9]+ bcm_policer_create\\( unit, &conf, \\( bcm_policer_t \\* \\)&policerId \\) "
        "\\(rc:-8\\)\n[^\n]*:[0-9]+ rc API ERROR:Entry exists \\(-8\\)\n[^\n]*Assertion `0' "
        "failed\\.\n" );
}

TEST_F( HsdkPolicerTest, Get_PositiveReturnCode_TracesRcAndGivesTheId )
{
    sdk.on.bcm_policer_create = returns( 3 );
    PolicerId id = 0;
    const auto get = [ & ] { id = hsdk->getPolicer( oneRate, stageIfp() ); };
    EXPECT_THAT(
        apiLines( hsdkPolicerSource, get ),
        ElementsAre( "bcm_policer_create( unit, &conf, ( bcm_policer_t * )&policerId ) (rc:3)",
                     "rc (rc:3)" ) );
    EXPECT_EQ( id, firstIfpId );
    const TestSupport::TraceRecorder traces( policerFacility, 1U << 8 );
    get();
    EXPECT_THAT( traces.texts(), IsEmpty() ) << "created only if the code is the one of success";
}

TEST_F( HsdkPolicerTest, Get_UnknownMode_DiesBeforeAnySdkCall )
{
    sdk.on.bcm_policer_create = []( auto... ) {
        say( "bcm_policer_create" );
        return 0;
    };
    expectAssertion( { sdk6PolicerSource, "sdkMode", "" }, "0 && \"Invalid policer mode\"", [ & ] {
        hsdk->getPolicer( policerOf( static_cast< PolicerMode >( 3 ) ), stageIfp() );
    } );
}

TEST_F( HsdkPolicerTest, Get_SdkThrows_ExceptionPassesAndTheIdStaysTaken )
{
    faulty.add( { { .function = "bcm_policer_create" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( hsdk->getPolicer( oneRate, stageIfp() ), std::runtime_error );
    EXPECT_EQ( allocatedIds(), 1U );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

// ---- releasePolicer --------------------------------------------------------------------------

TEST_F( HsdkPolicerTest, Release_Allocated_DestroysItThenGivesTheIdBack )
{
    const PolicerId id = hsdk->getPolicer( oneRate, stageIfp() );
    Agent::U32 takenAtTheCall = 0;
    sdk.on.bcm_policer_destroy = [ & ]( int chip, bcm_policer_t policer ) {
        takenAtTheCall = allocatedIds();
        return faulty.bcm_policer_destroy( chip, policer );
    };
    sdk.clear();
    hsdk->releasePolicer( id, stageIfp() );
    EXPECT_THAT( sdk.allCalls(), ElementsAre( "preApiCall()", "bcm_policer_destroy( 5, 100 )" ) );
    EXPECT_EQ( takenAtTheCall, 1U );
    EXPECT_EQ( allocatedIds(), 0U );
    EXPECT_EQ( chipText(), "" );
}

TEST_F( HsdkPolicerTest, Release_ThenGet_GivesTheSameIdAgain )
{
    const PolicerId id = hsdk->getPolicer( oneRate, stageIfp() );
    hsdk->releasePolicer( id, stageIfp() );
    EXPECT_EQ( hsdk->getPolicer( oneRate, stageIfp() ), id );
}

TEST_F( HsdkPolicerTest, Release_UnknownId_DiesAtTheChip )
{
    expectFatalCall( hsdkDestroy, -7, "Entry not found",
                     [ this ] { hsdk->releasePolicer( firstIfpId, stageIfp() ); } );
}

TEST_F( HsdkPolicerTest, Release_OfAnotherStage_DiesAtTheIdManager )
{
    const PolicerId id = hsdk->getPolicer( oneRate, stageIfp() );
    const ChildRun run = runInChild( [ & ] { hsdk->releasePolicer( id, stageVfp() ); } );
    EXPECT_TRUE( run.aborted );
    EXPECT_THAT( run.errors, HasSubstr( "\"id is not allocated\"' failed." ) );
}

TEST_F( HsdkPolicerTest, Release_EachFailure_Dies )
{
    expectEveryFailureFatal(
        hsdkDestroy, [ this ]( int rc ) { sdk.on.bcm_policer_destroy = returns( rc ); },
        [ this ] { hsdk->releasePolicer( firstIfpId, stageIfp() ); } );
}

TEST_F( HsdkPolicerTest, Release_SdkThrows_TheIdStaysTaken )
{
    const PolicerId id = hsdk->getPolicer( oneRate, stageIfp() );
    faulty.add( { { .function = "bcm_policer_destroy" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( hsdk->releasePolicer( id, stageIfp() ), std::runtime_error );
    EXPECT_EQ( allocatedIds(), 1U );
    EXPECT_NE( chipText(), "" );
}

TEST_F( HsdkPolicerTest, Release_DestructionWasDropped_IsNoticedWhenTheIdIsUsedAgain )
{
    const PolicerId id = hsdk->getPolicer( oneRate, stageIfp() );
    faulty.add( { { .function = "bcm_policer_destroy" }, Sim::DropCall{} } );
    hsdk->releasePolicer( id, stageIfp() );
    EXPECT_EQ( allocatedIds(), 0U );
    expectFatalCall( hsdkCreate, -8, "Entry exists",
                     [ this ] { hsdk->getPolicer( oneRate, stageIfp() ); } );
}

// ---- What it has from the SDK-6 helper ---------------------------------------------------------

TEST_F( HsdkPolicerTest, Verify_AsRecordedAndNot_JudgesAsTheSdk6Helper )
{
    PeloraTcam::getPeloraTcamCommonData().policerFlagsIs( stageIfp(), 0x10 );
    const PolicerId id = hsdk->getPolicer( oneRate, stageIfp() );
    hsdk->verifyTcamSanity( recordOf( oneRate, id ) );
    expectAssertion( sdk6Get, outOfSync, [ & ] {
        hsdk->verifyTcamSanity( recordOf( policerOf( PolicerMode::trTcm ), id ) );
    } );
}

TEST_F( HsdkPolicerTest, Verify_CreateWasDropped_Dies )
{
    faulty.add( { { .function = "bcm_policer_create" }, Sim::DropCall{} } );
    const PolicerId id = hsdk->getPolicer( oneRate, stageIfp() );
    expectFatalCall( sdk6Get, -7, "Entry not found",
                     [ & ] { hsdk->verifyTcamSanity( recordOf( oneRate, id ) ); } );
}

TEST_F( HsdkPolicerTest, HandleInitialized_Level9_TracesTheSdk6Name )
{
    expectLine( sdk6Create, policerFacility, 9, "PeloraTcamSdk6PolicerHelper::handleInitialized",
                [ this ] { hsdk->handleInitialized(); } );
}

// ---- What it writes --------------------------------------------------------------------------

TEST_F( HsdkPolicerTest, Get_Levels9And8_TraceStageAndId )
{
    sdk.on.bcm_policer_create = returns( 0 );
    const auto get = [ this ] {
        const PolicerId id = hsdk->getPolicer( oneRate, stageIfp() );
        ids.freeId( FeatureIdType::policer, stageIfp(), id );
    };
    expectLine( hsdkCreate, policerFacility, 9,
                "getPolicer Stage: ifp policer config: committed cir:1000 cbs:64 pir:2000 "
                "pbs:128 colorAware:0",
                get );
    expectLine( hsdkCreate, policerFacility, 8, "getPolicerCreated policer id : 100", get );
}

TEST_F( HsdkPolicerTest, Get_PoolExhausted_Level4TracesTheShortage )
{
    exhaustPool();
    expectLine( hsdkCreate, policerFacility, 4, "No free policer ID available ",
                [ this ] { hsdk->getPolicer( oneRate, stageIfp() ); } );
}

TEST_F( HsdkPolicerTest, Release_Level9_TracesStageAndId )
{
    sdk.on.bcm_policer_destroy = returns( 0 );
    expectLine( hsdkDestroy, policerFacility, 9, "releasePolicer Stage: ifp policer ID: 100",
                [ this ] {
                    static_cast< void >( ids.allocateId( FeatureIdType::policer, stageIfp() ) );
                    hsdk->releasePolicer( firstIfpId, stageIfp() );
                } );
}

TEST_F( HsdkPolicerTest, Operations_ApiLevel4_TraceTheirCalls )
{
    EXPECT_THAT(
        apiLines( hsdkPolicerSource,
                  [ this ] {
                      hsdk->releasePolicer( hsdk->getPolicer( oneRate, stageIfp() ), stageIfp() );
                  } ),
        ElementsAre( "bcm_policer_create( unit, &conf, ( bcm_policer_t * )&policerId ) (rc:0)",
                     "bcm_policer_destroy( unit, ( bcm_policer_t )policerId ) (rc:0)" ) );
}

TEST_F( HsdkPolicerTest, Operations_Everything_IsWrittenInTheOrderOfTheSteps )
{
    const TestSupport::TraceRecorder traces( "*", allTraceLevels );
    hsdk->releasePolicer( hsdk->getPolicer( oneRate, stageIfp() ), stageIfp() );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( HasSubstr( "getPolicer Stage: ifp" ),
                              HasSubstr( "&policerId ) (rc:0)" ),
                              "getPolicerCreated policer id : 100",
                              "releasePolicer Stage: ifp policer ID: 100",
                              HasSubstr( "( bcm_policer_t )policerId ) (rc:0)" ) ) );
}

TEST_F( HsdkPolicerTest, Get_PoolExhausted_TracesTheRequestThenTheShortage )
{
    exhaustPool();
    const TestSupport::TraceRecorder traces( "*", allTraceLevels );
    hsdk->getPolicer( oneRate, stageIfp() );
    EXPECT_THAT( traces.texts(), ElementsAre( HasSubstr( "getPolicer Stage: ifp" ),
                                              "No free policer ID available " ) );
}

TEST_F( HsdkPolicerTest, Get_UnknownModeAndNoId_GivesNoIdBeforeTheModeMatters )
{
    exhaustPool();
    EXPECT_EQ( hsdk->getPolicer( policerOf( static_cast< PolicerMode >( 3 ) ), stageIfp() ), 0U );
}

TEST_F( HsdkPolicerTest, Get_FlagsOfTheInitialiser_Stay )
{
    uint32_t flags = 0;
    sdk.on.bcm_policer_config_t_init = []( bcm_policer_config_t* conf ) { conf->flags = 0x100; };
    sdk.on.bcm_policer_create = [ & ]( int, bcm_policer_config_t* conf, bcm_policer_t* ) {
        flags = conf->flags;
        return 0;
    };
    hsdk->getPolicer( oneRate, stageIfp() );
    EXPECT_EQ( flags, 0x185U );
}

} // namespace
} // namespace LibraryTest
