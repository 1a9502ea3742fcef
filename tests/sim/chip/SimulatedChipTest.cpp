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

TEST_F( SimulatedChipTest, Policers_AttachedToAnEntry_CannotBeDestroyed )
{
    bcm_policer_config_t config;
    config.mode = numbering.bcmPolicerModeCommitted;
    bcm_policer_t policer = 0;
    ASSERT_EQ( chip.policers().create( &config, &policer ), ReturnCode::BCM_E_NONE );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "policers", 1, 2 } ) );
    bcm_field_entry_t entry = 0;
    ASSERT_EQ( chip.field().entries().create( 246, &entry ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( chip.field().entries().attachPolicer( entry, 0, policer ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( chip.policers().destroy( policer ), ReturnCode::BCM_E_BUSY );
    ASSERT_EQ( chip.field().entries().detachPolicer( entry, 0 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( chip.policers().destroy( policer ), ReturnCode::BCM_E_NONE );
}

TEST_F( SimulatedChipTest, StateIs_EarlierState_PutsPolicersBack )
{
    const SimulatedChip::State earlier = chip.state();
    const ChipSnapshot before = chip.snapshot();
    bcm_policer_config_t config;
    config.mode = numbering.bcmPolicerModeCommitted;
    bcm_policer_t policer = 0;
    ASSERT_EQ( chip.policers().create( &config, &policer ), ReturnCode::BCM_E_NONE );
    EXPECT_NE( chip.snapshot(), before );
    chip.stateIs( earlier );
    EXPECT_EQ( chip.snapshot(), before );
}

TEST_F( SimulatedChipTest, Occupancy_OfTheFieldProcessor_CountsUse )
{
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "fieldGroups", 0, 2 } ) );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "tcamEntries", 0, 8 } ) );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "preselectors", 0, 2 } ) );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "compressionEntries", 0, 12 } ) );
    bcm_field_group_config_t group;
    group.mode = numbering.bcmFieldGroupModeSingle;
    bcm_field_entry_t entry = 0;
    bcm_field_presel_t presel = 0;
    ASSERT_EQ( chip.field().groups().create( &group ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( chip.field().entries().create( group.group, &entry ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( chip.field().entries().create( 243, &entry ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( chip.field().preselectors().create( &presel ), ReturnCode::BCM_E_NONE );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "fieldGroups", 1, 2 } ) );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "tcamEntries", 1, 8 } ) );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "preselectors", 1, 2 } ) );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "compressionEntries", 1, 12 } ) );
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
    bcm_field_presel_t presel = 0;
    ASSERT_EQ( chip.field().preselectors().create( &presel ), ReturnCode::BCM_E_NONE );
    EXPECT_NE( chip.snapshot(), before );
    chip.stateIs( earlier );
    EXPECT_EQ( chip.snapshot(), before );
}

} // namespace

} // namespace Sim
