// Statistics and flex counters through the access object: each kind of chip has its own.

#include "sim/SimulatedSdk.h"

#include <gtest/gtest.h>

namespace Sim {

namespace {

class SimulatedSdkCountersTest : public testing::Test
{
  protected:
    static constexpr int sdk6 = 1;
    static constexpr int hsdk = 2;
    static constexpr int noUnit = 3;

    SimulatedSdkCountersTest()
    {
        sdk.chipIs( sdk6, builtInProfile( "sdk6-tiny" ) );
        sdk.chipIs( hsdk, builtInProfile( "hsdk" ) );
    }

    /// Makes an entry in group 7 of a unit, which it makes too, and installs it.
    bcm_field_entry_t madeEntry( int unit )
    {
        bcm_field_group_config_t group;
        group.group = 7;
        group.mode = sdk.bcmFieldGroupModeAuto();
        EXPECT_EQ( sdk.bcm_field_group_config_create( unit, &group ), 0 );
        bcm_field_entry_t entry = 0;
        EXPECT_EQ( sdk.bcm_field_entry_create( unit, 7, &entry ), 0 );
        EXPECT_EQ( sdk.bcm_field_entry_install( unit, entry ), 0 );
        return entry;
    }

    SimulatedSdk sdk{ SdkNumbering::shuffled( 9 ) };
};

TEST_F( SimulatedSdkCountersTest, Statistics_OnASdk6Chip_CountFromCreationToDestruction )
{
    const bcm_field_entry_t entry = madeEntry( sdk6 );
    bcm_field_stat_t types[] = { sdk.bcmFieldStatBytes(), sdk.bcmFieldStatPackets() };
    int id = 0;
    ASSERT_EQ( sdk.bcm_field_stat_create( sdk6, 7, 2, types, &id ), 0 );
    ASSERT_EQ( sdk.bcm_field_entry_stat_attach( sdk6, entry, id ), 0 );
    EXPECT_TRUE( sdk.korvel_bcm_field_stat_installed_in_hw( sdk6, id ) );
    EXPECT_FALSE( sdk.korvel_bcm_field_stat_installed_in_hw( sdk6, id + 1 ) );
    EXPECT_TRUE( sdk.chip( sdk6 )->count( entry, { 1, 60 } ) );
    uint64_t value = 0;
    EXPECT_EQ( sdk.bcm_field_stat_get( sdk6, id, types[ 0 ], &value ), 0 );
    EXPECT_EQ( value, 60U );
    EXPECT_EQ( sdk.bcm_field_stat_set( sdk6, id, types[ 0 ], 5 ), 0 );
    EXPECT_EQ( sdk.bcm_field_stat_get( sdk6, id, types[ 0 ], &value ), 0 );
    EXPECT_EQ( value, 5U );
    EXPECT_EQ( sdk.bcm_field_stat_destroy( sdk6, id ), ReturnCode::BCM_E_BUSY );
    EXPECT_EQ( sdk.bcm_field_entry_stat_detach( sdk6, entry, id ), 0 );
    EXPECT_EQ( sdk.bcm_field_stat_destroy( sdk6, id ), 0 );
}

TEST_F( SimulatedSdkCountersTest, StatCreate_NoTypes_IsBadParameter )
{
    madeEntry( sdk6 );
    bcm_field_stat_t type = sdk.bcmFieldStatBytes();
    int id = 0;
    EXPECT_EQ( sdk.bcm_field_stat_create( sdk6, 7, 1, nullptr, &id ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( sdk.bcm_field_stat_create( sdk6, 7, 0, &type, &id ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( sdk.bcm_field_stat_create( sdk6, 7, -1, &type, &id ), ReturnCode::BCM_E_PARAM );
}

TEST_F( SimulatedSdkCountersTest, PoolIndexGet_OfAStatistic_WritesAllOrNothing )
{
    madeEntry( sdk6 );
    bcm_field_stat_t type = sdk.bcmFieldStatBytes();
    int id = 0;
    ASSERT_EQ( sdk.bcm_field_stat_create( sdk6, 7, 1, &type, &id ), 0 );
    int out[ 6 ] = { 11, 12, 13, 14, 15, 16 };
    const auto get = [ & ]( int statId, int* last ) {
        return sdk.korvel_bcm_esw_field_stat_pool_index_get(
            sdk6, statId, type, &out[ 0 ], &out[ 1 ], &out[ 2 ], &out[ 3 ], &out[ 4 ], last );
    };
    EXPECT_EQ( get( id, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( get( id + 1, &out[ 5 ] ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( out[ 0 ], 11 );
    EXPECT_EQ( out[ 5 ], 16 );
    EXPECT_EQ( get( id, &out[ 5 ] ), 0 );
    const int none = sdk.BCM_FIELD_STAT_INVALID_INDEX();
    const int expected[] = { 0, 0, 0, none, none, 0 };
    for ( size_t i = 0; i < 6; ++i ) {
        EXPECT_EQ( out[ i ], expected[ i ] ) << i;
    }
}

TEST_F( SimulatedSdkCountersTest, Statistics_OnAnHsdkChip_AreUnavailable )
{
    const bcm_field_entry_t entry = madeEntry( hsdk );
    bcm_field_stat_t type = sdk.bcmFieldStatBytes();
    int out = 0;
    uint64_t value = 0;
    const int unavailable = ReturnCode::BCM_E_UNAVAIL;
    EXPECT_EQ( sdk.bcm_field_stat_create( hsdk, 7, 1, &type, &out ), unavailable );
    EXPECT_EQ( sdk.bcm_field_stat_destroy( hsdk, 1 ), unavailable );
    EXPECT_EQ( sdk.bcm_field_stat_set( hsdk, 1, type, 0 ), unavailable );
    EXPECT_EQ( sdk.bcm_field_stat_get( hsdk, 1, type, &value ), unavailable );
    EXPECT_EQ( sdk.bcm_field_entry_stat_attach( hsdk, entry, 1 ), unavailable );
    EXPECT_EQ( sdk.bcm_field_entry_stat_detach( hsdk, entry, 1 ), unavailable );
    EXPECT_EQ( sdk.korvel_bcm_esw_field_stat_pool_index_get( hsdk, 1, type, &out, &out, &out, &out,
                                                             &out, &out ),
               unavailable );
    EXPECT_FALSE( sdk.korvel_bcm_field_stat_installed_in_hw( hsdk, 1 ) );
}

TEST_F( SimulatedSdkCountersTest, FlexCounters_OnAnHsdkChip_CountFromCreationToDestruction )
{
    const bcm_field_entry_t entry = madeEntry( hsdk );
    bcm_flexctr_action_t action{ 4 };
    uint32_t id = 0;
    ASSERT_EQ( sdk.bcm_flexctr_action_create( hsdk, 0, &action, &id ), 0 );
    bcm_field_flexctr_config_t config{ id, 2, sdk.bcmFlexctrColorAny() };
    ASSERT_EQ( sdk.bcm_field_entry_flexctr_attach( hsdk, entry, &config ), 0 );
    EXPECT_TRUE( sdk.chip( hsdk )->count( entry, { 1, 60 } ) );
    bcm_flexctr_counter_value_t value;
    EXPECT_EQ( sdk.bcm_flexctr_stat_get( hsdk, id, 2, &value ), 0 );
    EXPECT_EQ( value.packets, 1U );
    EXPECT_EQ( value.bytes, 60U );
    value = {};
    EXPECT_EQ( sdk.bcm_flexctr_stat_set( hsdk, id, 2, &value ), 0 );
    EXPECT_EQ( sdk.bcm_flexctr_action_destroy( hsdk, id ), ReturnCode::BCM_E_BUSY );
    EXPECT_EQ( sdk.bcm_field_entry_flexctr_detach( hsdk, entry, &config ), 0 );
    EXPECT_EQ( sdk.bcm_flexctr_action_destroy( hsdk, id ), 0 );
}

TEST_F( SimulatedSdkCountersTest, FlexCounters_OnASdk6Chip_AreUnavailable )
{
    bcm_flexctr_action_t action{ 4 };
    bcm_field_flexctr_config_t config;
    bcm_flexctr_counter_value_t value;
    uint32_t id = 0;
    const int unavailable = ReturnCode::BCM_E_UNAVAIL;
    EXPECT_EQ( sdk.bcm_flexctr_action_create( sdk6, 0, &action, &id ), unavailable );
    EXPECT_EQ( sdk.bcm_flexctr_action_destroy( sdk6, 1 ), unavailable );
    EXPECT_EQ( sdk.bcm_field_entry_flexctr_attach( sdk6, 1, &config ), unavailable );
    EXPECT_EQ( sdk.bcm_field_entry_flexctr_detach( sdk6, 1, &config ), unavailable );
    EXPECT_EQ( sdk.bcm_flexctr_stat_get( sdk6, 1, 0, &value ), unavailable );
    EXPECT_EQ( sdk.bcm_flexctr_stat_set( sdk6, 1, 0, &value ), unavailable );
}

TEST_F( SimulatedSdkCountersTest, AnyFunction_OfAUnitWithoutChip_IsUnknownUnit )
{
    uint64_t value = 0;
    EXPECT_EQ( sdk.bcm_field_stat_get( noUnit, 1, sdk.bcmFieldStatBytes(), &value ),
               ReturnCode::BCM_E_UNIT );
    EXPECT_EQ( sdk.bcm_flexctr_action_destroy( noUnit, 1 ), ReturnCode::BCM_E_UNIT );
    EXPECT_FALSE( sdk.korvel_bcm_field_stat_installed_in_hw( noUnit, 1 ) );
}

TEST_F( SimulatedSdkCountersTest, Occupancy_OfEachKindOfChip_NamesItsCounters )
{
    const auto names = [ this ]( int unit ) {
        std::string all;
        for ( const Resource& resource : sdk.chip( unit )->occupancy() ) {
            all += resource.name + "=" + std::to_string( resource.used ) + "/" +
                   std::to_string( resource.capacity ) + " ";
        }
        return all;
    };
    bcm_flexctr_action_t action{ 4 };
    uint32_t id = 0;
    ASSERT_EQ( sdk.bcm_flexctr_action_create( hsdk, 0, &action, &id ), 0 );
    EXPECT_NE( names( hsdk ).find( "flexCounterObjects=1/8 flexCounters=4/16384 " ),
               std::string::npos );
    EXPECT_EQ( names( hsdk ).find( "statistics" ), std::string::npos );
    EXPECT_NE( names( sdk6 ).find( "statistics=0/2 " ), std::string::npos );
    EXPECT_EQ( names( sdk6 ).find( "flexCounter" ), std::string::npos );
}

TEST_F( SimulatedSdkCountersTest, StateIs_EarlierState_PutsCountersOfBothKindsBack )
{
    madeEntry( sdk6 );
    madeEntry( hsdk );
    bcm_field_stat_t type = sdk.bcmFieldStatBytes();
    bcm_flexctr_action_t action{ 4 };
    for ( const int unit : { sdk6, hsdk } ) {
        SimulatedChip& chip = *sdk.chip( unit );
        const SimulatedChip::State earlier = chip.state();
        const ChipSnapshot before = chip.snapshot();
        int statId = 0;
        uint32_t id = 0;
        sdk.bcm_field_stat_create( unit, 7, 1, &type, &statId );
        sdk.bcm_flexctr_action_create( unit, 0, &action, &id );
        EXPECT_NE( chip.snapshot(), before );
        chip.stateIs( earlier );
        EXPECT_EQ( chip.snapshot(), before );
    }
}

} // namespace

} // namespace Sim
