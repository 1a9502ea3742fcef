#include "sim/SimRange.h"

#include "sim/ReturnCode.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace Sim {

namespace {

constexpr uint32_t capacity = 3;

class SimRangeTest : public testing::TestWithParam< const char* >
{
  protected:
    bcm_range_config_t config( bcm_range_type_t type, uint32_t min, uint32_t max )
    {
        bcm_range_config_t range;
        range.rtype = type;
        range.min = min;
        range.max = max;
        range.instance = 1;
        return range;
    }

    bcm_range_config_t ports( uint32_t min, uint32_t max )
    {
        return config( numbering.bcmRangeTypeL4DstPort, min, max );
    }

    /// Makes a range checker and gives its id.
    bcm_range_t made( uint32_t min, uint32_t max )
    {
        bcm_range_config_t range = ports( min, max );
        EXPECT_EQ( ranges.create( 0, &range ), ReturnCode::BCM_E_NONE );
        return range.rid;
    }

    ChipSnapshot snapshot() const
    {
        ChipSnapshot now;
        ranges.addTo( now );
        return now;
    }

    /// Expects that creating fails, and that nothing changes: the chip, the configuration.
    void expectRefused( int rc, uint32_t flags, bcm_range_config_t range )
    {
        const ChipSnapshot before = snapshot();
        range.rid = 4711;
        EXPECT_EQ( ranges.create( flags, &range ), rc );
        EXPECT_EQ( range.rid, 4711U );
        EXPECT_EQ( snapshot(), before );
    }

    const SdkNumbering numbering = SdkNumbering::fromText( GetParam() );
    SimRange ranges{ numbering, capacity };
};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          SimRangeTest,
                          testing::Values( "default", "shuffled:1", "shuffled:2" ) );

TEST_P( SimRangeTest, Create_ValidRange_GivesIdFromOne )
{
    EXPECT_EQ( made( 1, 2 ), 1U );
    EXPECT_EQ( made( 1, 2 ), 2U );
    EXPECT_EQ( ranges.used(), 2U );
}

TEST_P( SimRangeTest, Create_NullConfiguration_IsBadParameter )
{
    EXPECT_EQ( ranges.create( 0, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( ranges.used(), 0U );
}

TEST_P( SimRangeTest, Create_AnyFlag_IsBadParameter )
{
    expectRefused( ReturnCode::BCM_E_PARAM, 1, ports( 1, 2 ) );
    expectRefused( ReturnCode::BCM_E_PARAM, 0x80000000, ports( 1, 2 ) );
}

TEST_P( SimRangeTest, Create_UnknownType_IsBadParameter )
{
    expectRefused( ReturnCode::BCM_E_PARAM, 0, config( bcm_range_type_t{}, 1, 2 ) );
    expectRefused( ReturnCode::BCM_E_PARAM, 0,
                   config( static_cast< bcm_range_type_t >( 5 ), 1, 2 ) );
}

TEST_P( SimRangeTest, Create_MinAboveMax_IsBadParameter )
{
    expectRefused( ReturnCode::BCM_E_PARAM, 0, ports( 3, 2 ) );
}

TEST_P( SimRangeTest, Create_OneValue_IsARange )
{
    EXPECT_EQ( made( 80, 80 ), 1U );
}

TEST_P( SimRangeTest, Create_MaxAtAndAboveTheLimitOfTheField_IsMadeOrRefused )
{
    const bcm_range_type_t sixteenBits[] = {
        numbering.bcmRangeTypeL4SrcPort,
        numbering.bcmRangeTypeL4DstPort,
        numbering.bcmRangeTypePacketLength,
    };
    for ( const bcm_range_type_t type : sixteenBits ) {
        expectRefused( ReturnCode::BCM_E_PARAM, 0, config( type, 0, 0x10000 ) );
        bcm_range_config_t widest = config( type, 0, 0xFFFF );
        EXPECT_EQ( ranges.create( 0, &widest ), ReturnCode::BCM_E_NONE );
        EXPECT_EQ( ranges.destroy( widest.rid ), ReturnCode::BCM_E_NONE );
    }
    const bcm_range_type_t vlan = numbering.bcmRangeTypeOuterVlan;
    expectRefused( ReturnCode::BCM_E_PARAM, 0, config( vlan, 0, 0x1000 ) );
    bcm_range_config_t widest = config( vlan, 0, 0xFFF );
    EXPECT_EQ( ranges.create( 0, &widest ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimRangeTest, Create_AtCapacityAndOnePast_IsMadeThenFull )
{
    made( 1, 1 );
    made( 2, 2 );
    made( 3, 3 );
    EXPECT_EQ( ranges.used(), capacity );
    expectRefused( ReturnCode::BCM_E_FULL, 0, ports( 4, 4 ) );
}

TEST_P( SimRangeTest, Create_BadParameterWhenFull_IsBadParameter )
{
    made( 1, 1 );
    made( 2, 2 );
    made( 3, 3 );
    expectRefused( ReturnCode::BCM_E_PARAM, 0, ports( 5, 4 ) );
}

TEST_P( SimRangeTest, Create_NoCapacity_IsFull )
{
    SimRange none( numbering, 0 );
    bcm_range_config_t range = ports( 1, 2 );
    EXPECT_EQ( none.create( 0, &range ), ReturnCode::BCM_E_FULL );
}

TEST_P( SimRangeTest, Create_AfterDestroyWhenFull_IsMadeWithAnUnusedId )
{
    std::set< bcm_range_t > live{ made( 1, 1 ), made( 2, 2 ), made( 3, 3 ) };
    for ( int i = 0; i < 100; ++i ) {
        const bcm_range_t oldest = *live.begin();
        EXPECT_EQ( ranges.destroy( oldest ), ReturnCode::BCM_E_NONE );
        live.erase( oldest );
        const bcm_range_t id = made( 4, 5 );
        EXPECT_NE( id, 0U );
        EXPECT_TRUE( live.insert( id ).second ) << id << " is live twice";
    }
}

TEST_P( SimRangeTest, Create_AfterAFailedOne_GivesTheNextId )
{
    made( 1, 1 );
    expectRefused( ReturnCode::BCM_E_PARAM, 0, ports( 3, 2 ) );
    EXPECT_EQ( made( 2, 2 ), 2U );
}

TEST_P( SimRangeTest, Destroy_UnknownId_IsNotFound )
{
    made( 1, 1 );
    const ChipSnapshot before = snapshot();
    EXPECT_EQ( ranges.destroy( 0 ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( ranges.destroy( 2 ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( ranges.destroy( 0xFFFFFFFF ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( snapshot(), before );
}

TEST_P( SimRangeTest, Destroy_Twice_IsNotFoundTheSecondTime )
{
    const bcm_range_t id = made( 1, 1 );
    EXPECT_EQ( ranges.destroy( id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( ranges.destroy( id ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( ranges.used(), 0U );
}

TEST_P( SimRangeTest, Destroy_UsedByOthers_IsBusyUntilItIsNot )
{
    const bcm_range_t inUse = made( 1, 1 );
    const bcm_range_t other = made( 2, 2 );
    bool used = true;
    ranges.useChecks().add( [ & ]( bcm_range_t id ) { return used && id == inUse; } );
    EXPECT_EQ( ranges.destroy( inUse ), ReturnCode::BCM_E_BUSY );
    EXPECT_TRUE( ranges.has( inUse ) );
    EXPECT_EQ( ranges.destroy( other ), ReturnCode::BCM_E_NONE );
    used = false;
    EXPECT_EQ( ranges.destroy( inUse ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimRangeTest, Has_LiveAndUnknownId_TellsThemApart )
{
    const bcm_range_t id = made( 1, 1 );
    EXPECT_TRUE( ranges.has( id ) );
    EXPECT_FALSE( ranges.has( id + 1 ) );
    EXPECT_FALSE( ranges.has( 0 ) );
}

TEST_P( SimRangeTest, Get_LiveId_FillsTheRest )
{
    made( 7, 9 );
    const bcm_range_t id = made( 10, 20 );
    bcm_range_config_t range;
    range.rid = id;
    EXPECT_EQ( ranges.get( &range ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( range.rid, id );
    EXPECT_EQ( range.min, 10U );
    EXPECT_EQ( range.max, 20U );
    EXPECT_EQ( range.instance, 1U );
    EXPECT_EQ( range.rtype, numbering.bcmRangeTypeL4DstPort );
}

TEST_P( SimRangeTest, Get_UnknownId_IsNotFoundAndFillsNothing )
{
    bcm_range_config_t range = ports( 1, 2 );
    range.rid = 9;
    EXPECT_EQ( ranges.get( &range ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( range.min, 1U );
    EXPECT_EQ( range.max, 2U );
    EXPECT_EQ( range.rid, 9U );
}

TEST_P( SimRangeTest, Get_NullConfiguration_IsBadParameter )
{
    EXPECT_EQ( ranges.get( nullptr ), ReturnCode::BCM_E_PARAM );
}

TEST_P( SimRangeTest, AddTo_SomeRanges_NamesThemIndependentlyOfTheNumbering )
{
    made( 10, 20 );
    bcm_range_config_t vlans = config( numbering.bcmRangeTypeOuterVlan, 1, 4094 );
    vlans.instance = 3;
    ASSERT_EQ( ranges.create( 0, &vlans ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( snapshot().text(),
               "range checker 1: type=bcmRangeTypeL4DstPort min=10 max=20 instance=1\n"
               "range checker 2: type=bcmRangeTypeOuterVlan min=1 max=4094 instance=3\n" );
}

TEST_P( SimRangeTest, StateIs_EarlierState_PutsRangesBackButNotIds )
{
    made( 1, 1 );
    const SimRange::State earlier = ranges.state();
    const ChipSnapshot before = snapshot();
    EXPECT_EQ( made( 2, 2 ), 2U );
    ranges.stateIs( earlier );
    EXPECT_EQ( snapshot(), before );
    EXPECT_EQ( made( 3, 3 ), 3U );
}

} // namespace

} // namespace Sim
