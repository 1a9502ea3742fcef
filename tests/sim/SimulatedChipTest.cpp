#include "sim/SimulatedChip.h"

#include "sim/ReturnCode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Sim {

namespace {

class SimulatedChipTest : public testing::Test
{
  protected:
    int createRange()
    {
        bcm_range_config_t range;
        range.rtype = numbering.bcmRangeTypeL4SrcPort;
        range.max = 5;
        return chip.ranges().create( 0, &range );
    }

    const SdkNumbering numbering = SdkNumbering::shuffled( 5 );
    SimulatedChip chip{ builtInProfile( "sdk6-tiny" ), numbering };
};

TEST_F( SimulatedChipTest, Profile_IsTheOneGiven )
{
    EXPECT_EQ( chip.profile().name, "sdk6-tiny" );
}

TEST_F( SimulatedChipTest, Occupancy_WhileFilling_CountsUse )
{
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "rangeCheckers", 0, 2 } ) );
    ASSERT_EQ( createRange(), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( createRange(), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( createRange(), ReturnCode::BCM_E_FULL );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "rangeCheckers", 2, 2 } ) );
}

TEST_F( SimulatedChipTest, Snapshot_WithARange_HoldsIt )
{
    ASSERT_EQ( createRange(), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( chip.snapshot().text(),
               "range checker 1: type=bcmRangeTypeL4SrcPort min=0 max=5 instance=0\n" );
}

TEST_F( SimulatedChipTest, StateIs_EarlierState_PutsTheChipBack )
{
    const SimulatedChip::State earlier = chip.state();
    const ChipSnapshot before = chip.snapshot();
    ASSERT_EQ( createRange(), ReturnCode::BCM_E_NONE );
    EXPECT_NE( chip.snapshot(), before );
    chip.stateIs( earlier );
    EXPECT_EQ( chip.snapshot(), before );
}

} // namespace

} // namespace Sim
