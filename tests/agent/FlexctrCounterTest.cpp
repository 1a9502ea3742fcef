#include "agent/tcam/FlexctrCounter.h"

#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace PeloraTcam {
namespace {

using ::testing::ElementsAre;
using TestSupport::returns;

/// A counter of 8 bits, which reads what the test says.
class FlexctrCounterTest : public ::testing::Test
{
  protected:
    FlexctrCounterTest()
    {
        Shim::sdk_ = &sdk;
        sdk.on.bcm_flexctr_stat_get = [ this ]( int, uint32_t, uint32_t,
                                                bcm_flexctr_counter_value_t* value ) {
            *value = chip;
            return rc;
        };
    }

    ~FlexctrCounterTest() override { Shim::sdk_ = nullptr; }

    int read() { return counter.read( 3, 255, packets, bytes ); }

    bcm_flexctr_counter_value_t chip{ 250, 100 };
    int rc = 0;
    U64 packets = 4711;
    U64 bytes = 4711;
    TestSupport::RecordingSdk sdk;
    FlexctrCounter counter{ 8, 9 };
};

TEST_F( FlexctrCounterTest, Read_AcrossAWrap_GivesBothSums )
{
    EXPECT_EQ( read(), 0 );
    EXPECT_EQ( packets, 250U );
    chip = { 4, 99 };
    EXPECT_EQ( read(), 0 );
    EXPECT_EQ( packets, 260U );
    EXPECT_EQ( bytes, 355U );
    EXPECT_EQ( sdk.calls().front(), "bcm_flexctr_stat_get( 3, 8, 9, {packets: 0, bytes: 0} )" );
}

TEST_F( FlexctrCounterTest, Read_SdkFails_GivesWhatHasBeenRead )
{
    read();
    chip = { 251, 101 };
    rc = -7;
    EXPECT_EQ( read(), -7 );
    EXPECT_EQ( packets, 250U );
    rc = 0;
    read();
    EXPECT_EQ( packets, 251U );
}

TEST_F( FlexctrCounterTest, Clear_SdkClears_StartsAtZero )
{
    read();
    EXPECT_EQ( counter.clear( 3 ), 0 );
    EXPECT_EQ( sdk.calls().back(), "bcm_flexctr_stat_set( 3, 8, 9, {packets: 0, bytes: 0} )" );
    chip = { 1, 2 };
    read();
    EXPECT_EQ( packets, 1U );
    EXPECT_EQ( bytes, 2U );
}

TEST_F( FlexctrCounterTest, Clear_SdkFails_KeepsTheSums )
{
    read();
    sdk.on.bcm_flexctr_stat_set = returns( -7 );
    EXPECT_EQ( counter.clear( 3 ), -7 );
    read();
    EXPECT_EQ( packets, 250U );
}

TEST_F( FlexctrCounterTest, Restart_AnyTime_ForgetsUntilNow )
{
    read();
    chip = { 255, 110 };
    EXPECT_EQ( counter.restart( 3, 255 ), 0 );
    EXPECT_EQ( sdk.countOf( "bcm_flexctr_stat_set" ), 0U );
    chip = { 1, 112 };
    read();
    EXPECT_EQ( packets, 2U );
    EXPECT_EQ( bytes, 2U );
}

} // namespace
} // namespace PeloraTcam
