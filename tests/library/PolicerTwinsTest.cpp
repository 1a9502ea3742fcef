// Where the two policer helpers differ on purpose: each test asserts both sides of one row of
// docs/twins.md.

#include "tests/library/PolicerScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::returns;
using TestSupport::TraceRecorder;

constexpr Policer policer = policerOf( PolicerMode::committed );

using PolicerTwinsTest = PolicerScene;

TEST_F( PolicerTwinsTest, Get_Id_IsTheSdksOrTheIdManagers )
{
    EXPECT_EQ( sdk6->getPolicer( policer, stageIfp() ), 1U );
    EXPECT_EQ( hsdk->getPolicer( policer, stageIfp() ), firstIfpId );
}

TEST_F( PolicerTwinsTest, Get_NoIdLeftInThePool_DoesNotMatterOrGivesNoPolicer )
{
    ids.clear();
    EXPECT_EQ( sdk6->getPolicer( policer, stageIfp() ), 1U );
    sdk.clear();
    EXPECT_EQ( hsdk->getPolicer( policer, stageIfp() ), 0U );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
}

TEST_F( PolicerTwinsTest, Get_Flags_AreThePolicersOrAlsoGivenIdAndTheStages )
{
    std::vector< uint32_t > flags;
    sdk.on.bcm_policer_create = [ & ]( int, bcm_policer_config_t* conf, bcm_policer_t* id ) {
        flags.push_back( conf->flags );
        *id = 100;
        return 0;
    };
    PeloraTcam::getPeloraTcamCommonData().policerFlagsIs( stageIfp(), 0x10 );
    sdk6->getPolicer( policer, stageIfp() );
    hsdk->getPolicer( policer, stageIfp() );
    EXPECT_THAT( flags, ElementsAre( 0x84U, 0x95U ) );
}

TEST_F( PolicerTwinsTest, Get_Call_IsCheckedOrTraced )
{
    sdk6->getPolicer( policer, stageIfp() );
    EXPECT_THAT( names(),
                 ElementsAre( "bcm_policer_config_t_init", "preApiCall", "bcm_policer_create" ) );
    sdk.clear();
    hsdk->getPolicer( policer, stageIfp() );
    EXPECT_THAT( names(), ElementsAre( "bcm_policer_config_t_init", "bcm_policer_create" ) );
}

TEST_F( PolicerTwinsTest, Get_Failure_NamesTheCallOrRc )
{
    sdk.on.bcm_policer_create = returns( -6 );
    expectFatalCall( sdk6Create, -6, "Table full",
                     [ this ] { sdk6->getPolicer( policer, stageIfp() ); } );
    expectFatalCall( hsdkCreate, -6, "Table full",
                     [ this ] { hsdk->getPolicer( policer, stageIfp() ); } );
}

TEST_F( PolicerTwinsTest, Get_PositiveReturnCode_IsSuccessOrGivesTheIdWithoutATrace )
{
    sdk.on.bcm_policer_create = []( int, bcm_policer_config_t*, bcm_policer_t* id ) {
        *id = 100;
        return 1;
    };
    const TraceRecorder traces( policerFacility, 1U << 4 | 1U << 8 );
    EXPECT_EQ( sdk6->getPolicer( policer, stageIfp() ), 100U );
    EXPECT_THAT( traces.texts(), ElementsAre( "getPolicerCreated policer id : 100" ) );
    EXPECT_EQ( hsdk->getPolicer( policer, stageIfp() ), 100U );
    EXPECT_EQ( traces.texts().size(), 1U );
}

TEST_F( PolicerTwinsTest, Get_SdkLeavesIdZero_DiesOrGivesIt )
{
    sdk.on.bcm_policer_create = []( int, bcm_policer_config_t*, bcm_policer_t* id ) {
        *id = 0;
        return 0;
    };
    expectAssertion( sdk6Create, "policerId && \"Failed to allocate Policer\"",
                     [ this ] { sdk6->getPolicer( policer, stageIfp() ); } );
    EXPECT_EQ( hsdk->getPolicer( policer, stageIfp() ), 0U );
}

TEST_F( PolicerTwinsTest, Get_EntryTrace_HasThePolicerOrAlsoTheStage )
{
    const TraceRecorder traces( policerFacility, 1U << 9 );
    sdk6->getPolicer( policer, stageIfp() );
    hsdk->getPolicer( policer, stageIfp() );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( "getPolicerPolicer config: committed cir:1000 cbs:64 pir:2000 "
                              "pbs:128 colorAware:0",
                              "getPolicer Stage: ifp policer config: committed cir:1000 cbs:64 "
                              "pir:2000 pbs:128 colorAware:0" ) );
}

TEST_F( PolicerTwinsTest, Get_CreatedTrace_IsAtLevel4Or8 )
{
    const TraceRecorder traces( policerFacility, 1U << 4 | 1U << 8 );
    sdk6->getPolicer( policer, stageIfp() );
    hsdk->getPolicer( policer, stageIfp() );
    ASSERT_EQ( traces.lines().size(), 2U );
    EXPECT_EQ( traces.lines()[ 0 ].level, 4U );
    EXPECT_EQ( traces.lines()[ 0 ].text, "getPolicerCreated policer id : 1" );
    EXPECT_EQ( traces.lines()[ 1 ].level, 8U );
    EXPECT_EQ( traces.lines()[ 1 ].text, "getPolicerCreated policer id : 100" );
}

TEST_F( PolicerTwinsTest, Release_EntryTrace_IsNoneOrHasStageAndId )
{
    const PolicerId first = sdk6->getPolicer( policer, stageIfp() );
    const PolicerId second = hsdk->getPolicer( policer, stageIfp() );
    const TraceRecorder traces( policerFacility, allTraceLevels );
    sdk6->releasePolicer( first, stageIfp() );
    EXPECT_THAT( traces.texts(), IsEmpty() );
    hsdk->releasePolicer( second, stageIfp() );
    EXPECT_THAT( traces.texts(), ElementsAre( "releasePolicer Stage: ifp policer ID: 100" ) );
}

TEST_F( PolicerTwinsTest, Release_Id_GoesNowhereOrToTheIdManager )
{
    static_cast< void >( ids.allocateId( FeatureIdType::policer, stageIfp() ) );
    sdk.on.bcm_policer_destroy = returns( 0 );
    sdk6->releasePolicer( firstIfpId, stageIfp() );
    EXPECT_EQ( ids.allocatedIds( FeatureIdType::policer, stageIfp() ), 1U );
    hsdk->releasePolicer( firstIfpId, stageIfp() );
    EXPECT_EQ( ids.allocatedIds( FeatureIdType::policer, stageIfp() ), 0U );
}

} // namespace
} // namespace LibraryTest
