#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace TestSupport {

namespace {

using ::testing::ElementsAre;

TEST( RecordingSdkTest, Call_StandingAlone_IsWrittenDownAndSucceeds )
{
    RecordingSdk sdk;
    bcm_range_config_t range;
    range.max = 9;

    EXPECT_EQ( sdk.bcm_range_create( 1, 0, &range ), 0 );
    EXPECT_EQ( sdk.bcm_range_destroy( 1, 7 ), 0 );

    EXPECT_THAT( sdk.calls(), ElementsAre( "bcm_range_create( 1, 0, {min: 0, max: 9, instance: 0, "
                                           "rtype: 0, rid: 0} )",
                                           "bcm_range_destroy( 1, 7 )" ) );
    EXPECT_EQ( sdk.countOf( "bcm_range_destroy" ), 1U );
    EXPECT_EQ( sdk.countOf( "bcm_range_get" ), 0U );
}

TEST( RecordingSdkTest, AllCalls_WrapperSupportAndInitialisers_AreAmongThem )
{
    RecordingSdk sdk;
    sdk.preApiCall();
    sdk.bcm_range_destroy( 0, 1 );
    bcm_range_config_t range;
    sdk.bcm_range_config_t_init( &range );

    EXPECT_THAT( sdk.calls(), ElementsAre( "bcm_range_destroy( 0, 1 )" ) );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "preApiCall()", "bcm_range_destroy( 0, 1 )",
                              "bcm_range_config_t_init( {min: 0, max: 0, instance: 0, "
                              "rtype: 0, rid: 0} )" ) );

    sdk.clear();
    EXPECT_THAT( sdk.allCalls(), ElementsAre() );
}

TEST( RecordingSdkTest, Call_WithAnAnswerOfTheTest_GivesIt )
{
    RecordingSdk sdk;
    sdk.on.bcm_range_create = returns( -14 );
    sdk.on.bcm_range_destroy = returnsInTurn( { 0, -7, 3 } );
    sdk.on.bcm_range_get = []( int, bcm_range_config_t* config ) {
        config->min = 80;
        return 0;
    };
    bcm_range_config_t range;

    EXPECT_EQ( sdk.bcm_range_create( 0, 0, &range ), -14 );
    EXPECT_EQ( sdk.bcm_range_destroy( 0, 1 ), 0 );
    EXPECT_EQ( sdk.bcm_range_destroy( 0, 1 ), -7 );
    EXPECT_EQ( sdk.bcm_range_destroy( 0, 1 ), 3 );
    EXPECT_EQ( sdk.bcm_range_destroy( 0, 1 ), 3 );
    EXPECT_EQ( sdk.bcm_range_get( 0, &range ), 0 );
    EXPECT_EQ( range.min, 80U );
    EXPECT_EQ( sdk.calls().size(), 6U );
}

TEST( RecordingSdkTest, Call_InFrontOfAnother_IsHandedOn )
{
    RecordingSdk next;
    next.on.bcm_range_create = []( int, uint32_t, bcm_range_config_t* config ) {
        config->rid = 12;
        return -6;
    };
    next.on.sdkErrorText = []( int ) { return "from the next"; };
    RecordingSdk sdk( static_cast< Shim::SdkAccess& >( next ) );
    bcm_range_config_t range;

    EXPECT_EQ( sdk.bcm_range_create( 3, 1, &range ), -6 );
    EXPECT_EQ( range.rid, 12U );
    EXPECT_STREQ( sdk.sdkErrorText( -6 ), "from the next" );
    EXPECT_EQ( sdk.bcmRangeTypeL4DstPort(), next.bcmRangeTypeL4DstPort() );
    EXPECT_EQ( next.countOf( "bcm_range_create" ), 1U );

    sdk.on.bcm_range_create = returns( 0 );
    EXPECT_EQ( sdk.bcm_range_create( 3, 1, &range ), 0 );
    EXPECT_EQ( next.countOf( "bcm_range_create" ), 1U );
}

TEST( RecordingSdkTest, SdkErrorText_StandingAlone_IsTheTextOfTheList )
{
    RecordingSdk sdk;

    EXPECT_STREQ( sdk.sdkErrorText( -7 ), "Entry not found" );
    EXPECT_STREQ( sdk.sdkErrorText( -999 ), "?" );
}

} // namespace

} // namespace TestSupport
