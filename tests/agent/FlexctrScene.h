#pragma once

/// What the tests of the flex counter services share: an HSDK chip of unit 3 with two objects and
/// ten counters of 8 bits, a recorder of SDK calls in front of it, and installed entries.

#include "agent/base/Locks.h"
#include "agent/tcam/SdkFlexctrManager.h"
#include "sim/FaultInjectingSdk.h"
#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>

namespace AgentTest {

class FlexctrScene : public ::testing::Test
{
  protected:
    static constexpr Agent::U32 unit = 3;
    static constexpr Agent::U8 pipe = 1;
    static constexpr Agent::U32 priority = 4;

    FlexctrScene()
    {
        Sim::ChipProfile profile = Sim::builtInProfile( "hsdk" );
        profile.flexCounters = { .objects = 2, .counters = 10, .counterWidth = 8 };
        chips.chipIs( static_cast< int >( unit ), profile );
        Shim::sdk_ = &sdk;
        bcm_field_group_config_t group;
        group.group = 7;
        group.mode = chips.bcmFieldGroupModeAuto();
        EXPECT_EQ( chips.bcm_field_group_config_create( unit, &group ), 0 );
    }

    ~FlexctrScene() override { Shim::sdk_ = nullptr; }

    Agent::U32 newEntry()
    {
        bcm_field_entry_t id = 0;
        EXPECT_EQ( chips.bcm_field_entry_create( unit, 7, &id ), 0 );
        EXPECT_EQ( chips.bcm_field_entry_install( unit, id ), 0 );
        return static_cast< Agent::U32 >( id );
    }

    Sim::SimulatedChip& chip() { return *chips.chip( static_cast< int >( unit ) ); }

    Sim::SimulatedSdk chips{ Sim::SdkNumbering::shuffled( 3 ) };
    Sim::FaultInjectingSdk faulty{ chips };
    TestSupport::RecordingSdk sdk{ faulty };
    Agent::LockAnchor activity{ Agent::activityLock() };
};

} // namespace AgentTest
