#include "sim/SimStat.h"

#include "sim/ReturnCode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Sim {

namespace {

constexpr uint32_t width = 8;

class SimStatTest : public testing::TestWithParam< const char* >
{
  protected:
    SimStatTest()
    {
        EXPECT_EQ( field.groups().create( groupConfig( 7 ) ), ReturnCode::BCM_E_NONE );
        EXPECT_EQ( field.groups().create( groupConfig( 8 ) ), ReturnCode::BCM_E_NONE );
    }

    bcm_field_group_config_t* groupConfig( bcm_field_group_t group )
    {
        config_ = {};
        config_.group = group;
        config_.mode = numbering.bcmFieldGroupModeAuto;
        return &config_;
    }

    bcm_field_entry_t madeEntry( bcm_field_group_t group = 7, bool installed = true )
    {
        bcm_field_entry_t entry = 0;
        EXPECT_EQ( field.entries().create( group, &entry ), ReturnCode::BCM_E_NONE );
        if ( installed ) {
            EXPECT_EQ( field.entries().install( entry ), ReturnCode::BCM_E_NONE );
        }
        return entry;
    }

    int create( const std::vector< bcm_field_stat_t >& types, int* statId )
    {
        return statistics.create( 7, types, statId );
    }

    /// Makes a statistic of group 7 that counts packets and bytes, and gives its id.
    int made()
    {
        int id = 0;
        EXPECT_EQ( create( { bytes, packets }, &id ), ReturnCode::BCM_E_NONE );
        return id;
    }

    /// Makes one that is attached to an entry.
    int madeFor( bcm_field_entry_t entry )
    {
        const int id = made();
        EXPECT_EQ( statistics.attach( entry, id ), ReturnCode::BCM_E_NONE );
        return id;
    }

    uint64_t valueOf( int statId, bcm_field_stat_t type )
    {
        uint64_t value = 4711;
        EXPECT_EQ( statistics.get( statId, type, &value ), ReturnCode::BCM_E_NONE );
        return value;
    }

    ChipSnapshot snapshot() const
    {
        ChipSnapshot now;
        statistics.addTo( now );
        return now;
    }

    /// Expects that creating fails, and that nothing changes: the chip, the id.
    void expectRefused( int rc, const std::vector< bcm_field_stat_t >& types )
    {
        const ChipSnapshot before = snapshot();
        int id = 4711;
        EXPECT_EQ( create( types, &id ), rc );
        EXPECT_EQ( id, 4711 );
        EXPECT_EQ( snapshot(), before );
    }

    const SdkNumbering numbering = SdkNumbering::fromText( GetParam() );
    const bcm_field_stat_t bytes = numbering.bcmFieldStatBytes;
    const bcm_field_stat_t packets = numbering.bcmFieldStatPackets;
    SimField field{ numbering, { .groups = 4, .entriesPerGroup = 8 } };
    SimStat statistics{ numbering, field, { .capacity = 3, .counterWidth = width } };

  private:
    bcm_field_group_config_t config_;
};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          SimStatTest,
                          testing::Values( "default", "shuffled:1", "shuffled:2" ) );

// ---- Creating and destroying -----------------------------------------------------------------

TEST_P( SimStatTest, Create_ForAGroup_GivesIdFromOneAndCountersAtZero )
{
    EXPECT_EQ( made(), 1 );
    EXPECT_EQ( made(), 2 );
    EXPECT_EQ( statistics.used(), 2U );
    EXPECT_EQ( valueOf( 1, bytes ), 0U );
    EXPECT_EQ( valueOf( 1, packets ), 0U );
}

TEST_P( SimStatTest, Create_EachTypeThatCounts_IsAccepted )
{
    int id = 0;
    EXPECT_EQ( create( { numbering.bcmFieldStatBytes, numbering.bcmFieldStatPackets,
                         numbering.bcmFieldStatGreenBytes, numbering.bcmFieldStatGreenPackets,
                         numbering.bcmFieldStatYellowBytes, numbering.bcmFieldStatYellowPackets,
                         numbering.bcmFieldStatRedBytes, numbering.bcmFieldStatRedPackets },
                       &id ),
               ReturnCode::BCM_E_NONE );
}

TEST_P( SimStatTest, Create_TypesThatAreNone_IsBadParameter )
{
    expectRefused( ReturnCode::BCM_E_PARAM, {} );
    expectRefused( ReturnCode::BCM_E_PARAM, { numbering.bcmFieldStatDefault } );
    expectRefused( ReturnCode::BCM_E_PARAM, { packets, static_cast< bcm_field_stat_t >( 9 ) } );
    expectRefused( ReturnCode::BCM_E_PARAM, { packets, bytes, packets } );
    const std::vector< bcm_field_stat_t > types{ packets };
    EXPECT_EQ( statistics.create( 7, types, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( statistics.used(), 0U );
}

TEST_P( SimStatTest, Create_UnknownGroup_IsNotFound )
{
    const std::vector< bcm_field_stat_t > types{ packets };
    int id = 4711;
    EXPECT_EQ( statistics.create( 9, types, &id ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( id, 4711 );
}

TEST_P( SimStatTest, Create_AtCapacityAndOnePast_IsMadeThenFull )
{
    made();
    made();
    made();
    EXPECT_EQ( statistics.used(), statistics.capacity() );
    expectRefused( ReturnCode::BCM_E_FULL, { packets } );
}

TEST_P( SimStatTest, Destroy_UnknownOrTwice_IsNotFound )
{
    const int id = made();
    for ( const int wrong : { 0, -1, 2 } ) {
        EXPECT_EQ( statistics.destroy( wrong ), ReturnCode::BCM_E_NOT_FOUND );
    }
    EXPECT_EQ( statistics.destroy( id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( statistics.destroy( id ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( statistics.used(), 0U );
}

TEST_P( SimStatTest, Destroy_Attached_IsBusyUntilDetached )
{
    const bcm_field_entry_t entry = madeEntry();
    const int id = madeFor( entry );
    EXPECT_EQ( statistics.destroy( id ), ReturnCode::BCM_E_BUSY );
    EXPECT_EQ( statistics.detach( entry, id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( statistics.destroy( id ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimStatTest, Groups_WithAStatistic_CannotBeDestroyed )
{
    const int id = made();
    EXPECT_EQ( field.groups().destroy( 7 ), ReturnCode::BCM_E_BUSY );
    EXPECT_EQ( statistics.destroy( id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( field.groups().destroy( 7 ), ReturnCode::BCM_E_NONE );
}

// ---- Attaching -------------------------------------------------------------------------------

TEST_P( SimStatTest, Attach_UnknownEntryOrStatistic_IsNotFound )
{
    const bcm_field_entry_t entry = madeEntry();
    const int id = made();
    EXPECT_EQ( statistics.attach( entry + 1, id ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( statistics.attach( entry, id + 1 ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimStatTest, Attach_EntryOfAnotherGroup_IsBadParameter )
{
    EXPECT_EQ( statistics.attach( madeEntry( 8 ), made() ), ReturnCode::BCM_E_PARAM );
}

TEST_P( SimStatTest, Attach_EntryThatHasOne_Exists )
{
    const bcm_field_entry_t entry = madeEntry();
    const int id = madeFor( entry );
    const ChipSnapshot before = snapshot();
    EXPECT_EQ( statistics.attach( entry, id ), ReturnCode::BCM_E_EXISTS );
    EXPECT_EQ( snapshot(), before );
    EXPECT_EQ( statistics.attach( entry, made() ), ReturnCode::BCM_E_EXISTS );
}

TEST_P( SimStatTest, Attach_SeveralEntries_CountTogether )
{
    const bcm_field_entry_t first = madeEntry();
    const bcm_field_entry_t second = madeEntry();
    const int id = madeFor( first );
    EXPECT_EQ( statistics.attach( second, id ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( statistics.count( first, { 1, 60 } ) );
    EXPECT_TRUE( statistics.count( second, { 2, 120 } ) );
    EXPECT_EQ( valueOf( id, packets ), 3U );
    EXPECT_EQ( valueOf( id, bytes ), 180U );
}

TEST_P( SimStatTest, Detach_NotAttached_IsNotFound )
{
    const bcm_field_entry_t entry = madeEntry();
    const int id = madeFor( entry );
    const int other = made();
    EXPECT_EQ( statistics.detach( entry, other ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( statistics.detach( entry + 1, id ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( statistics.detach( entry, id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( statistics.detach( entry, id ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimStatTest, Entries_WithAStatistic_CannotBeDestroyed )
{
    const bcm_field_entry_t entry = madeEntry();
    const int id = madeFor( entry );
    EXPECT_EQ( field.entries().destroy( entry ), ReturnCode::BCM_E_BUSY );
    EXPECT_EQ( statistics.detach( entry, id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( field.entries().destroy( entry ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimStatTest, IsInstalled_WhileAnEntryWithItIsInTheHardware_IsTrue )
{
    const bcm_field_entry_t entry = madeEntry( 7, false );
    const int id = madeFor( entry );
    EXPECT_FALSE( statistics.isInstalled( id ) );
    EXPECT_EQ( field.entries().install( entry ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( statistics.isInstalled( id ) );
    EXPECT_FALSE( statistics.isInstalled( id + 1 ) );
    EXPECT_EQ( statistics.detach( entry, id ), ReturnCode::BCM_E_NONE );
    EXPECT_FALSE( statistics.isInstalled( id ) );
}

// ---- Counting --------------------------------------------------------------------------------

TEST_P( SimStatTest, Count_PastTheWidth_Wraps )
{
    const bcm_field_entry_t entry = madeEntry();
    const int id = madeFor( entry );
    EXPECT_TRUE( statistics.count( entry, { 255, 256 } ) );
    EXPECT_EQ( valueOf( id, packets ), 255U );
    EXPECT_EQ( valueOf( id, bytes ), 0U );
    EXPECT_TRUE( statistics.count( entry, { 1, 1000 } ) );
    EXPECT_EQ( valueOf( id, packets ), 0U );
    EXPECT_EQ( valueOf( id, bytes ), 1000U % 256 );
}

TEST_P( SimStatTest, Count_EachColor_CountsItsOwnAndTheUncolored )
{
    const bcm_field_entry_t entry = madeEntry();
    int id = 0;
    ASSERT_EQ(
        create( { packets, numbering.bcmFieldStatGreenPackets, numbering.bcmFieldStatYellowPackets,
                  numbering.bcmFieldStatRedPackets, numbering.bcmFieldStatRedBytes },
                &id ),
        ReturnCode::BCM_E_NONE );
    ASSERT_EQ( statistics.attach( entry, id ), ReturnCode::BCM_E_NONE );
    statistics.count( entry, { 1, 10, TrafficColor::green } );
    statistics.count( entry, { 2, 20, TrafficColor::yellow } );
    statistics.count( entry, { 4, 40, TrafficColor::red } );
    EXPECT_EQ( valueOf( id, packets ), 7U );
    EXPECT_EQ( valueOf( id, numbering.bcmFieldStatGreenPackets ), 1U );
    EXPECT_EQ( valueOf( id, numbering.bcmFieldStatYellowPackets ), 2U );
    EXPECT_EQ( valueOf( id, numbering.bcmFieldStatRedPackets ), 4U );
    EXPECT_EQ( valueOf( id, numbering.bcmFieldStatRedBytes ), 40U );
}

TEST_P( SimStatTest, Count_NotInstalledOrWithoutStatistic_CountsNothing )
{
    const bcm_field_entry_t entry = madeEntry( 7, false );
    const int id = madeFor( entry );
    EXPECT_FALSE( statistics.count( entry, { 1, 60 } ) );
    EXPECT_FALSE( statistics.count( madeEntry(), { 1, 60 } ) );
    EXPECT_FALSE( statistics.count( 4711, { 1, 60 } ) );
    EXPECT_EQ( valueOf( id, packets ), 0U );
}

TEST_P( SimStatTest, Set_ACounter_SetsItAlone )
{
    const int id = made();
    EXPECT_EQ( statistics.set( id, packets, 255 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( valueOf( id, packets ), 255U );
    EXPECT_EQ( valueOf( id, bytes ), 0U );
}

TEST_P( SimStatTest, SetAndGet_WrongArguments_AreRefused )
{
    const int id = made();
    uint64_t value = 4711;
    const bcm_field_stat_t red = numbering.bcmFieldStatRedBytes;
    EXPECT_EQ( statistics.set( id, packets, 256 ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( statistics.set( id, red, 0 ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( statistics.set( id + 1, packets, 0 ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( statistics.get( id, red, &value ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( statistics.get( id + 1, packets, &value ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( statistics.get( id, packets, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( value, 4711U );
    EXPECT_EQ( valueOf( id, packets ), 0U );
}

TEST_P( SimStatTest, Count_SixtyFourBits_WrapsThere )
{
    SimStat wide( numbering, field, { .capacity = 1, .counterWidth = 64 } );
    const bcm_field_entry_t entry = madeEntry();
    const std::vector< bcm_field_stat_t > types{ packets };
    int id = 0;
    ASSERT_EQ( wide.create( 7, types, &id ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( wide.attach( entry, id ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( wide.set( id, packets, ~uint64_t{ 0 } ), ReturnCode::BCM_E_NONE );
    wide.count( entry, { 3, 0 } );
    uint64_t value = 0;
    EXPECT_EQ( wide.get( id, packets, &value ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( value, 2U );
}

// ---- Pool places, snapshots, states ------------------------------------------------------------

TEST_P( SimStatTest, GetPoolPlace_OfAStatistic_IsItsOwnIndexInThePool )
{
    const int invalid = numbering.BCM_FIELD_STAT_INVALID_INDEX;
    const int first = made();
    const int second = made();
    SimStat::PoolPlace place;
    EXPECT_EQ( statistics.getPoolPlace( second, packets, &place ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( place.poolId, 0 );
    EXPECT_EQ( place.poolType, 0 );
    EXPECT_EQ( place.pipe, 0 );
    EXPECT_THAT( place.indices, testing::ElementsAre( 1, invalid, invalid ) );
    EXPECT_EQ( statistics.destroy( first ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( statistics.getPoolPlace( made(), bytes, &place ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( place.indices[ 0 ], 0 ) << "the lowest that is free";
}

TEST_P( SimStatTest, GetPoolPlace_WrongArguments_IsRefused )
{
    const int id = made();
    SimStat::PoolPlace place{ .poolId = 4711 };
    EXPECT_EQ( statistics.getPoolPlace( id + 1, packets, &place ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( statistics.getPoolPlace( id, numbering.bcmFieldStatRedBytes, &place ),
               ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( statistics.getPoolPlace( id, packets, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( place.poolId, 4711 );
}

TEST_P( SimStatTest, AddTo_SomeStatistics_NamesThemIndependentlyOfTheNumbering )
{
    const bcm_field_entry_t first = madeEntry();
    const bcm_field_entry_t second = madeEntry();
    const int id = madeFor( first );
    ASSERT_EQ( statistics.attach( second, id ), ReturnCode::BCM_E_NONE );
    statistics.count( first, { 1, 60 } );
    made();
    EXPECT_EQ( snapshot().text(),
               "statistic 1: group=7 bcmFieldStatBytes=60 bcmFieldStatPackets=1 entries=[1,2]\n"
               "statistic 2: group=7 bcmFieldStatBytes=0 bcmFieldStatPackets=0 entries=[]\n" );
}

TEST_P( SimStatTest, StateIs_EarlierState_PutsEverythingBackButIds )
{
    const bcm_field_entry_t entry = madeEntry();
    const int id = madeFor( entry );
    const SimStat::State earlier = statistics.state();
    const ChipSnapshot before = snapshot();
    statistics.count( entry, { 1, 1 } );
    ASSERT_EQ( statistics.detach( entry, id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( made(), 2 );
    statistics.stateIs( earlier );
    EXPECT_EQ( snapshot(), before );
    EXPECT_EQ( made(), 3 );
}

} // namespace

} // namespace Sim
