#include "sim/chip/SoftError.h"

#include "sim/access/SimulatedSdk.h"

#include <gtest/gtest.h>

namespace Sim {

namespace {

TEST( SoftErrorTest, PartsOf_NamesOfSnapshots_AreKindAndId )
{
    EXPECT_EQ( partsOf( "range checker 12" ).kind, "range checker" );
    EXPECT_EQ( partsOf( "range checker 12" ).id, 12U );
    EXPECT_EQ( partsOf( "policer" ).kind, "policer" );
    EXPECT_EQ( partsOf( "policer" ).id, 0U );
    EXPECT_EQ( partsOf( "policer 1x" ).id, 0U );
    EXPECT_EQ( partsOf( "" ).id, 0U );
}

TEST( SoftErrorTest, ObjectionTo_WhatNoChipCanHold_SaysSo )
{
    EXPECT_EQ( objectionTo( { "range checker 1", "max", 31 } ), "" );
    EXPECT_EQ( objectionTo( { "policer 2", "pkbits_burst", 0 } ), "" );
    EXPECT_EQ( objectionTo( { "field entry 3", "DstIp.mask", 127 } ), "" );
    EXPECT_EQ( objectionTo( { "udf 1", "max", 0 } ),
               "expected 'field entry ID', 'range checker ID' or 'policer ID', found 'udf 1'" );
    EXPECT_EQ( objectionTo( { "range checker", "max", 0 } ),
               "expected 'field entry ID', 'range checker ID' or 'policer ID', found 'range "
               "checker'" );
    EXPECT_EQ( objectionTo( { "range checker 1", "type", 0 } ),
               "a range checker has no field 'type' that a bit can change of: 'min', 'max'" );
    EXPECT_EQ( objectionTo( { "policer 1", "min", 0 } ),
               "a policer has no field 'min' that a bit can change of: 'ckbits_sec', "
               "'ckbits_burst', 'pkbits_sec', 'pkbits_burst'" );
    EXPECT_EQ( objectionTo( { "policer 1", "ckbits_sec", 32 } ),
               "expected a bit below 32, found 32" );
    EXPECT_EQ( objectionTo( { "field entry 1", "udf1", 128 } ),
               "expected a bit below 128, found 128" );
}

class SoftErrorOnChipTest : public testing::Test
{
  protected:
    SoftErrorOnChipTest()
    {
        sdk.chipIs( 0, builtInProfile( "sdk6-udf" ) );
        bcm_field_group_config_t config;
        config.mode = sdk.bcmFieldGroupModeAuto();
        for ( const bcm_field_qualify_t qualifier :
              { sdk.bcmFieldQualifyDstIp(), sdk.bcmFieldQualifySrcIp6(),
                sdk.bcmFieldQualifyIpType() } ) {
            sdk.BCM_FIELD_QSET_ADD( &config.qset, qualifier );
        }
        EXPECT_EQ( sdk.bcm_field_group_config_create( 0, &config ), 0 );
        EXPECT_EQ( sdk.bcm_field_entry_create( 0, config.group, &entry ), 0 );
        EXPECT_EQ( sdk.bcm_field_qualify_DstIp( 0, entry, 0x0A000001, 0xFFFFFF00 ), 0 );
        EXPECT_EQ( sdk.bcm_field_qualify_IpType( 0, entry, sdk.bcmFieldIpTypeIpv4Any() ), 0 );
    }

    SimulatedChip& chip() { return *sdk.chip( 0 ); }

    [[nodiscard]] std::string object() const { return "field entry " + std::to_string( entry ); }

    SimulatedSdk sdk;
    bcm_field_entry_t entry = 0;
};

TEST_F( SoftErrorOnChipTest, Flip_EntryInHardware_IsReadBack )
{
    EXPECT_EQ( sdk.bcm_field_entry_install( 0, entry ), 0 );
    EXPECT_TRUE( chip().flip( { object(), "DstIp", 8 } ) );
    EXPECT_TRUE( chip().flip( { object(), "DstIp.mask", 31 } ) );
    bcm_ip_t data = 0;
    bcm_ip_t mask = 0;
    EXPECT_EQ( sdk.bcm_field_qualify_DstIp_get( 0, entry, &data, &mask ), 0 );
    EXPECT_EQ( data, 0x0A000101U );
    EXPECT_EQ( mask, 0x7FFFFF00U );
    int installed = 0;
    EXPECT_EQ( sdk.bcm_field_entry_installed_get( 0, entry, &installed ), 0 );
    EXPECT_EQ( installed, 1 );
}

TEST_F( SoftErrorOnChipTest, Flip_BytesOfAnEntry_CountFromTheLastByte )
{
    const bcm_ip6_t address = { 0x20, 1, 0xD, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1 };
    EXPECT_EQ( sdk.bcm_field_qualify_SrcIp6( 0, entry, address, address ), 0 );
    EXPECT_EQ( sdk.bcm_field_entry_install( 0, entry ), 0 );
    EXPECT_TRUE( chip().flip( { object(), "SrcIp6", 1 } ) );
    EXPECT_TRUE( chip().flip( { object(), "SrcIp6", 127 } ) );
    bcm_ip6_t data = {};
    bcm_ip6_t mask = {};
    EXPECT_EQ( sdk.bcm_field_qualify_SrcIp6_get( 0, entry, data, mask ), 0 );
    EXPECT_EQ( data[ 15 ], 3 );
    EXPECT_EQ( data[ 0 ], 0xA0 );
    EXPECT_EQ( mask[ 15 ], 1 );
}

TEST_F( SoftErrorOnChipTest, Flip_Priority_IsReadBack )
{
    EXPECT_EQ( sdk.bcm_field_entry_install( 0, entry ), 0 );
    EXPECT_TRUE( chip().flip( { object(), "priority", 3 } ) );
    int priority = 0;
    EXPECT_EQ( sdk.bcm_field_entry_prio_get( 0, entry, &priority ), 0 );
    EXPECT_EQ( priority, 8 );
    EXPECT_FALSE( chip().flip( { object(), "priority", 31 } ) );
}

TEST_F( SoftErrorOnChipTest, Flip_WhatTheHardwareDoesNotHold_ChangesNothing )
{
    const ChipSnapshot before = chip().snapshot();
    EXPECT_FALSE( chip().flip( { object(), "DstIp", 0 } ) ); // Not installed.
    EXPECT_FALSE( chip().flip( { "field entry 99", "DstIp", 0 } ) );
    EXPECT_FALSE( chip().flip( { "range checker 1", "max", 0 } ) );
    EXPECT_FALSE( chip().flip( { "policer 1", "ckbits_sec", 0 } ) );
    EXPECT_EQ( chip().snapshot(), before );
    EXPECT_EQ( sdk.bcm_field_entry_install( 0, entry ), 0 );
    EXPECT_FALSE( chip().flip( { object(), "SrcIp", 0 } ) );
    EXPECT_FALSE( chip().flip( { object(), "DstIp", 32 } ) );
    EXPECT_FALSE( chip().flip( { object(), "IpType", 0 } ) );
}

TEST_F( SoftErrorOnChipTest, Flip_RangeCheckerAndPolicer_AreReadBack )
{
    bcm_range_config_t range;
    range.rtype = sdk.bcmRangeTypeL4DstPort();
    range.min = 80;
    range.max = 90;
    EXPECT_EQ( sdk.bcm_range_create( 0, 0, &range ), 0 );
    EXPECT_TRUE( chip().flip( { "range checker " + std::to_string( range.rid ), "max", 7 } ) );
    EXPECT_TRUE( chip().flip( { "range checker " + std::to_string( range.rid ), "min", 0 } ) );
    EXPECT_EQ( sdk.bcm_range_get( 0, &range ), 0 );
    EXPECT_EQ( range.max, 218U );
    EXPECT_EQ( range.min, 81U );
    bcm_policer_config_t policer;
    policer.mode = sdk.bcmPolicerModeTrTcm();
    policer.ckbits_sec = 1000;
    bcm_policer_t id = 0;
    EXPECT_EQ( sdk.bcm_policer_create( 0, &policer, &id ), 0 );
    const std::string object = "policer " + std::to_string( id );
    EXPECT_TRUE( chip().flip( { object, "ckbits_sec", 0 } ) );
    EXPECT_TRUE( chip().flip( { object, "ckbits_burst", 1 } ) );
    EXPECT_TRUE( chip().flip( { object, "pkbits_sec", 2 } ) );
    EXPECT_TRUE( chip().flip( { object, "pkbits_burst", 31 } ) );
    EXPECT_EQ( sdk.bcm_policer_get( 0, id, &policer ), 0 );
    EXPECT_EQ( policer.ckbits_sec, 1001U );
    EXPECT_EQ( policer.ckbits_burst, 2U );
    EXPECT_EQ( policer.pkbits_sec, 4U );
    EXPECT_EQ( policer.pkbits_burst, 0x80000000U );
}

} // namespace

} // namespace Sim
