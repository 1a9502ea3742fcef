#include "tools/run/CallObserver.h"

#include "sim/SimulatedSdk.h"

#include <gtest/gtest.h>

namespace {

class Observer : public testing::Test
{
  protected:
    Observer() { sdk_.chipIs( 0, Sim::builtInProfile( "sdk6-tiny" ) ); }

    Sim::SimulatedSdk sdk_;
    Tool::CallObserver observer_{ sdk_ };
};

TEST_F( Observer, Call_Succeeds_IsNoFailure )
{
    bcm_range_config_t config;
    config.rtype = sdk_.bcmRangeTypeL4SrcPort();
    EXPECT_EQ( observer_.bcm_range_create( 0, 0, &config ), 0 );
    EXPECT_FALSE( observer_.lastFailure().has_value() );
}

TEST_F( Observer, Call_Fails_IsRememberedUntilForgotten )
{
    EXPECT_EQ( observer_.bcm_range_destroy( 0, 77 ), -7 );
    bcm_range_config_t config;
    config.rtype = sdk_.bcmRangeTypeL4SrcPort();
    EXPECT_EQ( observer_.bcm_range_create( 0, 0, &config ), 0 );
    ASSERT_TRUE( observer_.lastFailure().has_value() );
    EXPECT_EQ( observer_.lastFailure()->function, "bcm_range_destroy" );
    EXPECT_EQ( observer_.lastFailure()->text(),
               "bcm_range_destroy: BCM_E_NOT_FOUND (-7), Entry not found" );
    observer_.forgetFailure();
    EXPECT_FALSE( observer_.lastFailure().has_value() );
}

TEST_F( Observer, Call_MoreFail_FirstAndLastAreRemembered )
{
    EXPECT_FALSE( observer_.firstFailure().has_value() );
    EXPECT_EQ( observer_.bcm_range_destroy( 0, 77 ), -7 );
    EXPECT_EQ( observer_.bcm_policer_destroy( 9, 1 ), -3 );
    ASSERT_TRUE( observer_.firstFailure().has_value() );
    EXPECT_EQ( observer_.firstFailure()->function, "bcm_range_destroy" );
    EXPECT_EQ( observer_.lastFailure()->function, "bcm_policer_destroy" );
    observer_.forgetFailure();
    EXPECT_FALSE( observer_.firstFailure().has_value() );
}

TEST( FailedCall, IsForLackOfRoom_OnlyFullAndOutOfResources )
{
    EXPECT_TRUE( ( Tool::FailedCall{ "f", -6 } ).isForLackOfRoom() );
    EXPECT_TRUE( ( Tool::FailedCall{ "f", -14 } ).isForLackOfRoom() );
    EXPECT_FALSE( ( Tool::FailedCall{ "f", -2 } ).isForLackOfRoom() );
    EXPECT_FALSE( ( Tool::FailedCall{ "f", -4 } ).isForLackOfRoom() );
}

} // namespace
