#pragma once

/// A simulated field processor for tests, under each numbering that the test is run with.

#include "sim/ReturnCode.h"
#include "sim/SimField.h"
#include "sim/values/SimSets.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace Sim {

/// Room for 2 groups of 3 entries, 2 preselectors and 2 entries in each compression group.
inline constexpr ChipProfile::Field fieldCapacities{ 2, 3, 2, 2 };

class FieldScene : public testing::TestWithParam< const char* >
{
  protected:
    [[nodiscard]] bcm_field_group_config_t
    config( std::initializer_list< bcm_field_qualify_t > qualifiers,
            std::initializer_list< bcm_field_action_t > actions = {} ) const
    {
        bcm_field_group_config_t group;
        group.mode = numbering.bcmFieldGroupModeSingle;
        for ( const bcm_field_qualify_t qualifier : qualifiers ) {
            addToSet( group.qset.w, qualifier );
        }
        for ( const bcm_field_action_t action : actions ) {
            addToSet( group.aset.w, action );
        }
        return group;
    }

    /// Makes a group and gives its id.
    bcm_field_group_t madeGroup( bcm_field_group_config_t group )
    {
        EXPECT_EQ( field.groups().create( &group ), ReturnCode::BCM_E_NONE );
        return group.group;
    }

    /// Makes an entry and gives its id.
    bcm_field_entry_t madeEntry( bcm_field_group_t group )
    {
        bcm_field_entry_t entry = 0;
        EXPECT_EQ( field.entries().create( group, &entry ), ReturnCode::BCM_E_NONE );
        return entry;
    }

    /// Makes a preselector and gives its id.
    bcm_field_presel_t madePreselector()
    {
        bcm_field_presel_t presel = 0;
        EXPECT_EQ( field.preselectors().create( &presel ), ReturnCode::BCM_E_NONE );
        return presel;
    }

    [[nodiscard]] ChipSnapshot snapshot() const
    {
        ChipSnapshot now;
        field.addTo( now );
        return now;
    }

    /// An object's part of the snapshot, each field followed by a blank.
    [[nodiscard]] std::string textOf( const std::string& object ) const
    {
        const ChipSnapshot now = snapshot();
        std::string text;
        for ( const auto& [ name, value ] : now.objects().at( object ) ) {
            text += name + "=" + value + " ";
        }
        return text;
    }

    /// Expects that a call fails and that nothing on the chip changes.
    template< class Call >
    void expectRefused( int rc, const Call& call )
    {
        const ChipSnapshot before = snapshot();
        EXPECT_EQ( call(), rc );
        EXPECT_EQ( snapshot(), before );
    }

    const SdkNumbering numbering = SdkNumbering::fromText( GetParam() );
    SimField field{ numbering, fieldCapacities };
};

} // namespace Sim

/// Runs the tests of a class derived from `FieldScene` under several numberings.
#define INSTANTIATE_FIELD_SCENE( suite )                                                           \
    INSTANTIATE_TEST_SUITE_P( Numberings, suite,                                                   \
                              testing::Values( "default", "shuffled:1", "shuffled:2" ) )
