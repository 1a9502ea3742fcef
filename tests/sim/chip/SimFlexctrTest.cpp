#include "sim/SimFlexctr.h"

#include "sim/ReturnCode.h"

#include <gtest/gtest.h>

#include <string>

namespace Sim {

namespace {

class SimFlexctrTest : public testing::TestWithParam< const char* >
{
  protected:
    SimFlexctrTest()
    {
        bcm_field_group_config_t group;
        group.group = 7;
        group.mode = numbering.bcmFieldGroupModeAuto;
        EXPECT_EQ( field.groups().create( &group ), ReturnCode::BCM_E_NONE );
    }

    bcm_field_entry_t madeEntry( bool installed = true )
    {
        bcm_field_entry_t entry = 0;
        EXPECT_EQ( field.entries().create( 7, &entry ), ReturnCode::BCM_E_NONE );
        if ( installed ) {
            EXPECT_EQ( field.entries().install( entry ), ReturnCode::BCM_E_NONE );
        }
        return entry;
    }

    int create( uint32_t size, uint32_t* id )
    {
        const bcm_flexctr_action_t action{ size };
        return counters.create( 0, &action, id );
    }

    uint32_t made( uint32_t size )
    {
        uint32_t id = 0;
        EXPECT_EQ( create( size, &id ), ReturnCode::BCM_E_NONE );
        return id;
    }

    int attach( bcm_field_entry_t entry, const bcm_field_flexctr_config_t& config )
    {
        return counters.attach( entry, &config );
    }

    int detach( bcm_field_entry_t entry, const bcm_field_flexctr_config_t& config )
    {
        return counters.detach( entry, &config );
    }

    bcm_flexctr_counter_value_t valueOf( uint32_t id, uint32_t index )
    {
        bcm_flexctr_counter_value_t value{ 4711, 4711 };
        EXPECT_EQ( counters.get( id, index, &value ), ReturnCode::BCM_E_NONE );
        return value;
    }

    ChipSnapshot snapshot() const
    {
        ChipSnapshot now;
        counters.addTo( now );
        return now;
    }

    /// Expects that creating fails, and that nothing changes: the chip, the id.
    void expectRefused( int rc, uint32_t size )
    {
        const ChipSnapshot before = snapshot();
        uint32_t id = 4711;
        EXPECT_EQ( create( size, &id ), rc );
        EXPECT_EQ( id, 4711U );
        EXPECT_EQ( snapshot(), before );
    }

    const SdkNumbering numbering = SdkNumbering::fromText( GetParam() );
    const bcm_flexctr_color_t any = numbering.bcmFlexctrColorAny;
    const bcm_flexctr_color_t green = numbering.bcmFlexctrColorGreen;
    const bcm_flexctr_color_t yellow = numbering.bcmFlexctrColorYellow;
    const bcm_flexctr_color_t red = numbering.bcmFlexctrColorRed;
    SimField field{ numbering, { .groups = 1, .entriesPerGroup = 8 } };
    SimFlexctr counters{ numbering, field, { .objects = 2, .counters = 10, .counterWidth = 8 } };
};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          SimFlexctrTest,
                          testing::Values( "default", "shuffled:1", "shuffled:2" ) );

TEST_P( SimFlexctrTest, Create_AnObject_GivesIdFromOneAndCountersAtZero )
{
    EXPECT_EQ( made( 4 ), 1U );
    EXPECT_EQ( made( 2 ), 2U );
    EXPECT_EQ( counters.objectsUsed(), 2U );
    EXPECT_EQ( counters.countersUsed(), 6U );
    EXPECT_EQ( valueOf( 1, 3 ).packets, 0U );
    EXPECT_EQ( valueOf( 1, 3 ).bytes, 0U );
}

TEST_P( SimFlexctrTest, Create_WrongArguments_IsBadParameter )
{
    const bcm_flexctr_action_t action{ 1 };
    uint32_t id = 4711;
    expectRefused( ReturnCode::BCM_E_PARAM, 0 );
    EXPECT_EQ( counters.create( 1, &action, &id ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( counters.create( 0, nullptr, &id ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( counters.create( 0, &action, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( id, 4711U );
    EXPECT_EQ( counters.objectsUsed(), 0U );
}

TEST_P( SimFlexctrTest, Create_AtBothCapacitiesAndOnePast_IsMadeThenRefused )
{
    made( 4 );
    expectRefused( ReturnCode::BCM_E_RESOURCE, 7 );
    expectRefused( ReturnCode::BCM_E_RESOURCE, 0xFFFFFFFF );
    made( 6 );
    EXPECT_EQ( counters.countersUsed(), counters.counterCapacity() );
    expectRefused( ReturnCode::BCM_E_FULL, 1 );
}

TEST_P( SimFlexctrTest, Destroy_UnknownTwiceOrAttached_IsRefused )
{
    const uint32_t id = made( 4 );
    const bcm_field_entry_t entry = madeEntry();
    EXPECT_EQ( counters.destroy( 0 ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( counters.destroy( numbering.BCM_FLEXCTR_INVALID_OBJECT ),
               ReturnCode::BCM_E_NOT_FOUND );
    ASSERT_EQ( attach( entry, { id, 1, any } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( counters.destroy( id ), ReturnCode::BCM_E_BUSY );
    ASSERT_EQ( detach( entry, { id, 1, any } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( counters.destroy( id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( counters.destroy( id ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( counters.countersUsed(), 0U );
}

TEST_P( SimFlexctrTest, Attach_WrongArguments_IsRefused )
{
    const uint32_t id = made( 4 );
    const bcm_field_entry_t entry = madeEntry();
    const ChipSnapshot before = snapshot();
    EXPECT_EQ( counters.attach( entry, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( attach( entry, { id, 1, static_cast< bcm_flexctr_color_t >( 4 ) } ),
               ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( attach( entry, { id, 4, any } ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( attach( entry, { id + 1, 0, any } ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( attach( entry + 1, { id, 1, any } ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( snapshot(), before );
}

TEST_P( SimFlexctrTest, Attach_EachColor_OnceAnEntry )
{
    const uint32_t id = made( 4 );
    const bcm_field_entry_t entry = madeEntry();
    EXPECT_EQ( attach( entry, { id, 0, red } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( attach( entry, { id, 1, green } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( attach( entry, { id, 2, red } ), ReturnCode::BCM_E_EXISTS );
    EXPECT_EQ( attach( madeEntry(), { id, 2, red } ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimFlexctrTest, Detach_NotAttachedJustSo_IsNotFound )
{
    const uint32_t id = made( 4 );
    const bcm_field_entry_t entry = madeEntry();
    EXPECT_EQ( detach( entry, { id, 0, red } ), ReturnCode::BCM_E_NOT_FOUND );
    ASSERT_EQ( attach( entry, { id, 0, red } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( counters.detach( entry, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( detach( entry, { id, 1, red } ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( detach( entry, { id, 0, green } ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( detach( entry, { id + 1, 0, red } ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( detach( entry, { id, 0, red } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( detach( entry, { id, 0, red } ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimFlexctrTest, Entries_Attached_CannotBeDestroyed )
{
    const uint32_t id = made( 4 );
    const bcm_field_entry_t entry = madeEntry();
    ASSERT_EQ( attach( entry, { id, 0, red } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( field.entries().destroy( entry ), ReturnCode::BCM_E_BUSY );
    ASSERT_EQ( detach( entry, { id, 0, red } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( field.entries().destroy( entry ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimFlexctrTest, Count_EachColor_CountsItsOwnAndTheUncolored )
{
    const uint32_t id = made( 4 );
    const bcm_field_entry_t entry = madeEntry();
    ASSERT_EQ( attach( entry, { id, 0, any } ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( attach( entry, { id, 1, green } ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( attach( entry, { id, 2, yellow } ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( attach( entry, { id, 3, red } ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( counters.count( entry, { 1, 10, TrafficColor::green } ) );
    EXPECT_TRUE( counters.count( entry, { 2, 20, TrafficColor::yellow } ) );
    EXPECT_TRUE( counters.count( entry, { 4, 40, TrafficColor::red } ) );
    EXPECT_EQ( valueOf( id, 0 ).packets, 7U );
    EXPECT_EQ( valueOf( id, 0 ).bytes, 70U );
    EXPECT_EQ( valueOf( id, 1 ).packets, 1U );
    EXPECT_EQ( valueOf( id, 2 ).packets, 2U );
    EXPECT_EQ( valueOf( id, 3 ).bytes, 40U );
}

TEST_P( SimFlexctrTest, Count_PastTheWidth_Wraps )
{
    const uint32_t id = made( 1 );
    const bcm_field_entry_t entry = madeEntry();
    ASSERT_EQ( attach( entry, { id, 0, any } ), ReturnCode::BCM_E_NONE );
    counters.count( entry, { 255, 256 } );
    EXPECT_EQ( valueOf( id, 0 ).packets, 255U );
    EXPECT_EQ( valueOf( id, 0 ).bytes, 0U );
    counters.count( entry, { 2, 255 } );
    EXPECT_EQ( valueOf( id, 0 ).packets, 1U );
    EXPECT_EQ( valueOf( id, 0 ).bytes, 255U );
}

TEST_P( SimFlexctrTest, Count_WhereNothingCounts_TellsSo )
{
    const uint32_t id = made( 2 );
    const bcm_field_entry_t removed = madeEntry( false );
    const bcm_field_entry_t colored = madeEntry();
    ASSERT_EQ( attach( removed, { id, 0, any } ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( attach( colored, { id, 1, red } ), ReturnCode::BCM_E_NONE );
    EXPECT_FALSE( counters.count( removed, { 1, 60 } ) );
    EXPECT_FALSE( counters.count( colored, { 1, 60, TrafficColor::green } ) );
    EXPECT_FALSE( counters.count( 4711, { 1, 60 } ) );
    EXPECT_EQ( valueOf( id, 0 ).packets + valueOf( id, 1 ).packets, 0U );
}

TEST_P( SimFlexctrTest, SetAndGet_ACounter_GoRound )
{
    const uint32_t id = made( 2 );
    const bcm_flexctr_counter_value_t value{ 255, 7 };
    EXPECT_EQ( counters.set( id, 1, &value ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( valueOf( id, 1 ).packets, 255U );
    EXPECT_EQ( valueOf( id, 1 ).bytes, 7U );
    EXPECT_EQ( valueOf( id, 0 ).bytes, 0U );
}

TEST_P( SimFlexctrTest, SetAndGet_WrongArguments_AreRefused )
{
    const uint32_t id = made( 2 );
    bcm_flexctr_counter_value_t value{ 1, 1 };
    EXPECT_EQ( counters.get( id, 2, &value ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( counters.get( id + 1, 0, &value ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( counters.get( id, 0, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( counters.set( id, 2, &value ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( counters.set( id + 1, 0, &value ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( counters.set( id, 0, nullptr ), ReturnCode::BCM_E_PARAM );
    value = { 256, 0 };
    EXPECT_EQ( counters.set( id, 0, &value ), ReturnCode::BCM_E_PARAM );
    value = { 0, 256 };
    EXPECT_EQ( counters.set( id, 0, &value ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( valueOf( id, 0 ).packets, 0U );
}

TEST_P( SimFlexctrTest, Create_InvalidObjectIsTheNextId_LeavesItOut )
{
    SdkNumbering shifted = numbering;
    shifted.BCM_FLEXCTR_INVALID_OBJECT = 2;
    SimFlexctr other( shifted, field, { .objects = 2, .counters = 2, .counterWidth = 8 } );
    const bcm_flexctr_action_t action{ 1 };
    uint32_t id = 0;
    ASSERT_EQ( other.create( 0, &action, &id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( id, 1U );
    ASSERT_EQ( other.create( 0, &action, &id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( id, 3U );
}

TEST_P( SimFlexctrTest, AddTo_ObjectsAndAttachments_NamesThemIndependentlyOfTheNumbering )
{
    const uint32_t id = made( 4 );
    made( 2 );
    const bcm_field_entry_t entry = madeEntry();
    ASSERT_EQ( attach( entry, { id, 3, red } ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( attach( entry, { id, 1, any } ), ReturnCode::BCM_E_NONE );
    counters.count( entry, { 2, 120 } );
    EXPECT_EQ( snapshot().text(),
               "flex counter object 1: counters=4 inUse=2 1=2p,120b\n"
               "flex counter object 2: counters=2 inUse=0\n"
               "flex counters of entry 1: bcmFlexctrColorAny=1[1] bcmFlexctrColorRed=1[3]\n" );
}

TEST_P( SimFlexctrTest, CountersInUse_SeveralEntriesAtOneCounter_CountItOnce )
{
    const uint32_t id = made( 4 );
    const uint32_t other = made( 2 );
    const bcm_field_entry_t first = madeEntry();
    const bcm_field_entry_t second = madeEntry();
    ASSERT_EQ( attach( first, { id, 3, red } ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( attach( first, { id, 1, any } ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( attach( second, { id, 3, any } ), ReturnCode::BCM_E_NONE );
    const std::map< uint32_t, std::size_t > inUse{ { id, 2 }, { other, 0 } };
    EXPECT_EQ( counters.countersInUse(), inUse );
}

TEST_P( SimFlexctrTest, StateIs_EarlierState_PutsEverythingBackButIds )
{
    const uint32_t id = made( 4 );
    const bcm_field_entry_t entry = madeEntry();
    ASSERT_EQ( attach( entry, { id, 1, any } ), ReturnCode::BCM_E_NONE );
    const SimFlexctr::State earlier = counters.state();
    const ChipSnapshot before = snapshot();
    counters.count( entry, { 1, 1 } );
    ASSERT_EQ( detach( entry, { id, 1, any } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( made( 1 ), 2U );
    counters.stateIs( earlier );
    EXPECT_EQ( snapshot(), before );
    EXPECT_EQ( made( 1 ), 3U );
}

} // namespace

} // namespace Sim
