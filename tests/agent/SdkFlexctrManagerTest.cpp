#include "agent/tcam/SdkFlexctrManager.h"

#include "tests/agent/FlexctrScene.h"
#include "tests/support/AllocationCount.h"

#include <map>
#include <random>
#include <utility>

namespace PeloraTcam {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

CounterSet setOf( std::initializer_list< CounterType > types )
{
    CounterSet set;
    for ( const CounterType type : types ) {
        set.emplace( type, true );
    }
    return set;
}

struct Hits
{
    U64 packets = 0;
    U64 bytes = 0;
};

class SdkFlexctrManagerTest : public AgentTest::FlexctrScene
{
  protected:
    SdkFlexctrManagerTest()
    {
        EXPECT_EQ( objects.counterObjectIs( unit, stageIfp(), pipe, priority, 6 ), 0 );
        sdk.clear();
    }

    FlexctrAttachState attach( TcamEntryId entry, const CounterSet& set )
    {
        return flexctrs.attachFlexctr( unit, stageIfp(), pipe, chipInfo, priority, entry, set, 7 )
            .state;
    }

    /// An entry with flex counters for the set.
    TcamEntryId attachedEntry( const CounterSet& set )
    {
        const TcamEntryId entry = newEntry();
        EXPECT_EQ( attach( entry, set ), FlexctrAttachState::complete );
        return entry;
    }

    void detach( TcamEntryId entry )
    {
        flexctrs.detachFlexctr( unit, stageIfp(), pipe, chipInfo, priority, entry );
    }

    Hits hits( TcamEntryId entry, CounterType type = CounterType::packets )
    {
        Hits read{ 4711, 4711 };
        flexctrs.getFlexctr( unit, stageIfp(), pipe, chipInfo, entry, type, read.packets,
                             read.bytes );
        return read;
    }

    void clear( TcamEntryId entry, bool inHardware )
    {
        flexctrs.clearFlexctr( unit, stageIfp(), pipe, chipInfo, entry, inHardware );
    }

    void count( TcamEntryId entry, const Sim::Traffic& traffic )
    {
        EXPECT_TRUE( chip().count( static_cast< bcm_field_entry_t >( entry ), traffic ) );
    }

    const FlexctrAllocPerEntry* allocation( TcamEntryId entry )
    {
        return flexctrs.actionIndexMgr()->getFlexctrAllocPerEntry( unit, entry, pipe );
    }

    const CounterSet both = setOf( { CounterType::bytes, CounterType::packets } );
    PeloraCentral::ChipInfo chipInfo;
    SdkCounterObjectManager objects;
    SdkFlexctrManager flexctrs{ objects, 8 };
};

using SdkFlexctrManagerDeathTest = SdkFlexctrManagerTest;

// ---- Colours ---------------------------------------------------------------------------------

TEST_F( SdkFlexctrManagerTest, Color_OfEachType_IsTheSdksForItsPackets )
{
    EXPECT_EQ( flexctrColorOf( CounterType::greenPackets ), sdk.bcmFlexctrColorGreen() );
    EXPECT_EQ( flexctrColorOf( CounterType::yellowPackets ), sdk.bcmFlexctrColorYellow() );
    EXPECT_EQ( flexctrColorOf( CounterType::redPackets ), sdk.bcmFlexctrColorRed() );
    EXPECT_EQ( flexctrColorOf( CounterType::packets ), sdk.bcmFlexctrColorAny() );
    EXPECT_EQ( flexctrColorOf( CounterType::greenBytes ), sdk.bcmFlexctrColorAny() );
}

// ---- Attaching -------------------------------------------------------------------------------

TEST_F( SdkFlexctrManagerTest, Attach_APair_TakesOneIndexAndClearsItFirst )
{
    const TcamEntryId entry = attachedEntry( both );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_flexctr_stat_set( 3, 1, 1, {packets: 0, bytes: 0} )",
                              "bcm_field_entry_flexctr_attach( 3, 1, {flexctr_action_id: 1, "
                              "counter_index: 1, color: bcmFlexctrColorAny} )" ) );
    ASSERT_NE( allocation( entry ), nullptr );
    EXPECT_EQ( *allocation( entry ), ( FlexctrAllocPerEntry{ { CounterType::packets, 1 } } ) );
    EXPECT_EQ( flexctrs.attached(), 1U );
}

TEST_F( SdkFlexctrManagerTest, Attach_AllColors_TakeAnIndexEach )
{
    const TcamEntryId entry = attachedEntry(
        setOf( { CounterType::packets, CounterType::redBytes, CounterType::greenPackets,
                 CounterType::yellowBytes, CounterType::yellowPackets } ) );
    EXPECT_EQ( *allocation( entry ),
               ( FlexctrAllocPerEntry{ { CounterType::packets, 1 },
                                       { CounterType::redPackets, 2 },
                                       { CounterType::greenPackets, 3 },
                                       { CounterType::yellowPackets, 4 } } ) );
    count( entry, { 1, 10, Sim::TrafficColor::green } );
    count( entry, { 2, 20, Sim::TrafficColor::yellow } );
    count( entry, { 4, 40, Sim::TrafficColor::red } );
    EXPECT_EQ( hits( entry ).packets, 7U );
    EXPECT_EQ( hits( entry, CounterType::greenPackets ).bytes, 10U );
    EXPECT_EQ( hits( entry, CounterType::yellowPackets ).bytes, 20U );
    EXPECT_EQ( hits( entry, CounterType::redPackets ).bytes, 40U );
}

TEST_F( SdkFlexctrManagerTest, Attach_SetThatIsNone_IsRefusedWithoutACall )
{
    const TcamEntryId entry = newEntry();
    EXPECT_EQ( attach( entry, {} ), FlexctrAttachState::refused );
    for ( const int type : { 0, 9, 255 } ) {
        EXPECT_EQ(
            attach( entry, setOf( { CounterType::packets, static_cast< CounterType >( type ) } ) ),
            FlexctrAttachState::refused );
    }
    EXPECT_THAT( sdk.calls(), IsEmpty() );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 0U );
}

TEST_F( SdkFlexctrManagerTest, Attach_EntryThatHasSome_IsRefusedWithoutACall )
{
    const TcamEntryId entry = attachedEntry( both );
    sdk.clear();
    EXPECT_EQ( attach( entry, both ), FlexctrAttachState::refused );
    EXPECT_THAT( sdk.calls(), IsEmpty() );
}

TEST_F( SdkFlexctrManagerTest, Attach_NoObjectForThePriority_HasNoFreeIndex )
{
    EXPECT_EQ(
        flexctrs
            .attachFlexctr( unit, stageIfp(), pipe, chipInfo, priority + 1, newEntry(), both, 7 )
            .state,
        FlexctrAttachState::noFreeIndex );
}

TEST_F( SdkFlexctrManagerTest, Attach_AtCapacityAndOnePast_IsAllOrNothing )
{
    const CounterSet two = setOf( { CounterType::redPackets, CounterType::greenPackets } );
    attachedEntry( two );
    attachedEntry( two );
    attachedEntry( both );
    EXPECT_EQ( attach( newEntry(), two ), FlexctrAttachState::noFreeIndex );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 5U );
    attachedEntry( both );
    EXPECT_EQ( attach( newEntry(), both ), FlexctrAttachState::noFreeIndex );
}

TEST_F( SdkFlexctrManagerTest, Attach_SdkRefusesTheSecond_UndoesTheFirst )
{
    const CounterSet three =
        setOf( { CounterType::packets, CounterType::redPackets, CounterType::greenPackets } );
    const TcamEntryId entry = newEntry();
    faulty.addFromNow(
        { { .function = "bcm_field_entry_flexctr_attach", .call = 3 }, Sim::FailCall{ -14 } } );
    EXPECT_EQ( attach( entry, three ), FlexctrAttachState::refused );
    EXPECT_EQ( sdk.calls().at( 6 ),
               "bcm_field_entry_flexctr_detach( 3, 1, {flexctr_action_id: 1, counter_index: 2, "
               "color: bcmFlexctrColorRed} )" )
        << "the last first";
    EXPECT_EQ( sdk.countOf( "bcm_field_entry_flexctr_detach" ), 2U );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 0U );
    EXPECT_EQ( allocation( entry ), nullptr );
    EXPECT_EQ( chip().flexCounters()->state().attachments.size(), 0U );
}

TEST_F( SdkFlexctrManagerTest, Attach_UnknownEntry_IsRefused )
{
    EXPECT_EQ( attach( 4711, both ), FlexctrAttachState::refused );
    EXPECT_EQ( flexctrs.attached(), 0U );
}

TEST_F( SdkFlexctrManagerTest, Attach_EntryGetsOthersDuringTheCall_IsRefusedAndUndone )
{
    const TcamEntryId entry = newEntry();
    bool isFirst = true;
    sdk.on.bcm_field_entry_flexctr_attach = [ & ]( int u, bcm_field_entry_t id,
                                                   bcm_field_flexctr_config_t* config ) {
        if ( std::exchange( isFirst, false ) ) {
            const Agent::LockAnchor otherThread( Agent::activityLock() );
            EXPECT_EQ( attach( entry, setOf( { CounterType::greenPackets } ) ),
                       FlexctrAttachState::complete );
        }
        return faulty.bcm_field_entry_flexctr_attach( u, id, config );
    };
    EXPECT_EQ( attach( entry, both ), FlexctrAttachState::refused );
    EXPECT_EQ( *allocation( entry ), ( FlexctrAllocPerEntry{ { CounterType::greenPackets, 2 } } ) );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 1U );
    EXPECT_EQ( chip().flexCounters()->state().attachments.at( 1 ).size(), 1U );
}

TEST_F( SdkFlexctrManagerTest, Attach_SdkThrows_TheIndicesStayTaken )
{
    const TcamEntryId entry = newEntry();
    faulty.addFromNow( { { .function = "bcm_field_entry_flexctr_attach" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( attach( entry, both ), std::runtime_error );
    EXPECT_EQ( allocation( entry ), nullptr );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 1U );
    EXPECT_EQ( attach( entry, both ), FlexctrAttachState::complete );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 2U );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

// ---- Detaching -------------------------------------------------------------------------------

TEST_F( SdkFlexctrManagerTest, Detach_Attached_GivesTheIndicesBack )
{
    const TcamEntryId entry = attachedEntry( both );
    sdk.clear();
    detach( entry );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_field_entry_flexctr_detach( 3, 1, {flexctr_action_id: 1, "
                              "counter_index: 1, color: bcmFlexctrColorAny} )" ) );
    EXPECT_EQ( allocation( entry ), nullptr );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 0U );
    EXPECT_EQ( hits( entry ).packets, 0U );
}

TEST_F( SdkFlexctrManagerTest, Detach_SdkThrows_KeepsTheRecordAndGoesOnWhenRepeated )
{
    const TcamEntryId entry = attachedEntry(
        setOf( { CounterType::packets, CounterType::redPackets, CounterType::greenPackets } ) );
    faulty.addFromNow(
        { { .function = "bcm_field_entry_flexctr_detach", .call = 2 }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( detach( entry ), std::runtime_error );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
    ASSERT_NE( allocation( entry ), nullptr );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 3U );
    EXPECT_EQ( attach( entry, both ), FlexctrAttachState::refused );
    count( entry, { 5, 50 } );
    EXPECT_EQ( hits( entry ).packets, 5U ) << "still attached";
    sdk.clear();
    detach( entry );
    EXPECT_EQ( sdk.countOf( "bcm_field_entry_flexctr_detach" ), 2U ) << "the third is detached";
    EXPECT_EQ( allocation( entry ), nullptr );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 0U );
    EXPECT_EQ( chip().flexCounters()->state().attachments.size(), 0U );
}

TEST_F( SdkFlexctrManagerTest, Detach_SdkThrowsAndTheEntryHasOthersMeanwhile_ItHasThose )
{
    const TcamEntryId entry = attachedEntry( both );
    sdk.on.bcm_field_entry_flexctr_detach = [ & ]( int, bcm_field_entry_t,
                                                   bcm_field_flexctr_config_t* ) -> int {
        const Agent::LockAnchor otherThread( Agent::activityLock() );
        EXPECT_EQ( attach( entry, setOf( { CounterType::greenPackets } ) ),
                   FlexctrAttachState::complete );
        throw std::runtime_error( "the SDK throws" );
    };
    EXPECT_THROW( detach( entry ), std::runtime_error );
    EXPECT_EQ( *allocation( entry ), ( FlexctrAllocPerEntry{ { CounterType::greenPackets, 2 } } ) );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 2U ) << "of which one is nobody's";
}

TEST_F( SdkFlexctrManagerTest, Attach_WithTheIndexOfADetachedEntry_StartsAtZero )
{
    const TcamEntryId old = attachedEntry( both );
    count( old, { 200, 100 } );
    EXPECT_EQ( hits( old ).packets, 200U );
    detach( old );
    const TcamEntryId entry = attachedEntry( both );
    ASSERT_EQ( allocation( entry )->at( CounterType::packets ), 1U ) << "the same index";
    EXPECT_EQ( hits( entry ).packets, 0U );
    count( entry, { 3, 4 } );
    EXPECT_EQ( hits( entry ).packets, 3U );
    EXPECT_EQ( hits( entry ).bytes, 4U );
}

TEST_F( SdkFlexctrManagerDeathTest, Detach_WithoutFlexCounters_Dies )
{
    const char* message = "\"entry has no flex counters\"' failed";
    EXPECT_DEATH( detach( 4711 ), message );
    const TcamEntryId entry = attachedEntry( both );
    EXPECT_DEATH( flexctrs.detachFlexctr( unit, stageIfp(), pipe + 1, chipInfo, priority, entry ),
                  message );
    detach( entry );
    EXPECT_DEATH( detach( entry ), message );
}

TEST_F( SdkFlexctrManagerDeathTest, Operations_SdkFails_Die )
{
    const TcamEntryId entry = attachedEntry( both );
    sdk.on.bcm_field_entry_flexctr_detach = TestSupport::returns( -7 );
    sdk.on.bcm_flexctr_stat_set = TestSupport::returns( -13 );
    EXPECT_DEATH( detach( entry ), "bcm_field_entry_flexctr_detach\\( unit, entry, &config \\) API "
                                   "ERROR:.* \\(-7\\)" );
    EXPECT_DEATH( clear( entry, true ), "bcm_flexctr_stat_set.* API ERROR:.* \\(-13\\)" );
    EXPECT_DEATH( attach( newEntry(), both ), "bcm_flexctr_stat_set.* API ERROR:.* \\(-13\\)" );
}

// ---- Reading and clearing --------------------------------------------------------------------

TEST_F( SdkFlexctrManagerTest, Get_AcrossWraps_GivesTheSums )
{
    const TcamEntryId entry = attachedEntry( both );
    for ( U64 round = 1; round <= 10; ++round ) {
        count( entry, { 255, 100 } );
        EXPECT_EQ( hits( entry ).packets, 255 * round );
        EXPECT_EQ( hits( entry ).bytes, 100 * round );
    }
}

TEST_F( SdkFlexctrManagerTest, Get_WithoutThatCounter_IsZeroWithoutACall )
{
    const TcamEntryId entry = attachedEntry( both );
    count( entry, { 1, 1 } );
    sdk.clear();
    EXPECT_EQ( hits( entry, CounterType::redPackets ).packets, 0U );
    EXPECT_EQ( hits( entry, CounterType::bytes ).bytes, 0U ) << "asked for by packet type only";
    EXPECT_EQ( hits( 4711 ).packets, 0U );
    EXPECT_THAT( sdk.calls(), IsEmpty() );
}

TEST_F( SdkFlexctrManagerTest, Get_SdkFails_GivesWhatHasBeenRead )
{
    const TcamEntryId entry = attachedEntry( both );
    count( entry, { 9, 90 } );
    EXPECT_EQ( hits( entry ).packets, 9U );
    count( entry, { 1, 10 } );
    sdk.on.bcm_flexctr_stat_get = TestSupport::returns( -7 );
    EXPECT_EQ( hits( entry ).packets, 9U );
    EXPECT_EQ( hits( entry ).bytes, 90U );
    sdk.on.bcm_flexctr_stat_get = {};
    EXPECT_EQ( hits( entry ).packets, 10U );
}

TEST_F( SdkFlexctrManagerTest, Get_EntryDetachedDuringTheCall_IsSafe )
{
    const TcamEntryId entry = attachedEntry( both );
    count( entry, { 9, 90 } );
    sdk.on.bcm_flexctr_stat_get = [ & ]( int u, uint32_t object, uint32_t index,
                                         bcm_flexctr_counter_value_t* value ) {
        const Agent::LockAnchor otherThread( Agent::activityLock() );
        detach( entry );
        return faulty.bcm_flexctr_stat_get( u, object, index, value );
    };
    EXPECT_EQ( hits( entry ).packets, 9U );
    EXPECT_EQ( allocation( entry ), nullptr );
}

TEST_F( SdkFlexctrManagerTest, Get_Attached_AllocatesNothing )
{
    const TcamEntryId entry = attachedEntry( both );
    count( entry, { 9, 90 } );
    Shim::sdk_ = &chips; // The recorder allocates.
    const std::size_t before = TestSupport::allocationCount();
    const Hits read = hits( entry );
    EXPECT_EQ( TestSupport::allocationCount(), before );
    EXPECT_EQ( read.packets, 9U );
}

TEST_F( SdkFlexctrManagerTest, Clear_InHardware_ClearsAllCountersOfTheEntry )
{
    const TcamEntryId entry =
        attachedEntry( setOf( { CounterType::packets, CounterType::greenPackets } ) );
    const TcamEntryId other = attachedEntry( both );
    count( entry, { 200, 10 } );
    count( other, { 5, 50 } );
    EXPECT_EQ( hits( entry ).packets, 200U );
    sdk.clear();
    clear( entry, true );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_flexctr_stat_set( 3, 1, 1, {packets: 0, bytes: 0} )",
                              "bcm_flexctr_stat_set( 3, 1, 2, {packets: 0, bytes: 0} )" ) );
    EXPECT_EQ( hits( entry ).packets, 0U );
    count( entry, { 100, 1 } );
    EXPECT_EQ( hits( entry ).packets, 100U );
    EXPECT_EQ( hits( entry, CounterType::greenPackets ).packets, 100U );
    EXPECT_EQ( hits( other ).packets, 5U );
}

TEST_F( SdkFlexctrManagerTest, Clear_NotInHardware_LeavesTheChipAlone )
{
    const TcamEntryId entry = attachedEntry( both );
    count( entry, { 200, 10 } );
    EXPECT_EQ( hits( entry ).packets, 200U );
    count( entry, { 50, 10 } );
    sdk.clear();
    clear( entry, false );
    EXPECT_EQ( sdk.countOf( "bcm_flexctr_stat_set" ), 0U );
    EXPECT_EQ( hits( entry ).packets, 0U );
    count( entry, { 10, 10 } );
    EXPECT_EQ( hits( entry ).packets, 10U );
}

TEST_F( SdkFlexctrManagerTest, Clear_WithoutFlexCounters_DoesNothing )
{
    clear( 4711, true );
    clear( 4711, false );
    EXPECT_THAT( sdk.calls(), IsEmpty() );
}

TEST_F( SdkFlexctrManagerTest, GetPipe_EgressStage_IsCommonToAllPipes )
{
    EXPECT_EQ( flexctrs.getPipe( 3, stageIfp() ), 3U );
    EXPECT_EQ( flexctrs.getPipe( 3, stageVfp() ), 3U );
    EXPECT_EQ( flexctrs.getPipe( 3, StageType::efp ), 0U );
    ASSERT_EQ( objects.counterObjectIs( unit, StageType::efp, pipe, priority, 1 ), 0 );
    const TcamEntryId entry = newEntry();
    flexctrs.attachFlexctr( unit, StageType::efp, pipe, chipInfo, priority, entry, both, 7 );
    EXPECT_EQ( allocation( entry ), nullptr );
    EXPECT_NE( flexctrs.actionIndexMgr()->getFlexctrAllocPerEntry( unit, entry, 0 ), nullptr );
}

// ---- Random traffic --------------------------------------------------------------------------

TEST_F( SdkFlexctrManagerTest, Operations_AtRandom_GiveWhatWasCounted )
{
    Shim::sdk_ = &chips;
    std::mt19937 random( 7 );
    std::map< TcamEntryId, Hits > live;
    std::vector< TcamEntryId > entries;
    for ( int i = 0; i < 8; ++i ) {
        entries.push_back( newEntry() );
    }
    int wraps = 0;
    for ( int step = 0; step < 50'000; ++step ) {
        const TcamEntryId entry = entries.at( random() % entries.size() );
        const auto found = live.find( entry );
        if ( found == live.end() ) {
            const bool room = live.size() < 6;
            ASSERT_EQ( attach( entry, both ) == FlexctrAttachState::complete, room );
            if ( room ) {
                live[ entry ] = {};
            }
            continue;
        }
        Hits& truth = found->second;
        const unsigned choice = static_cast< unsigned >( random() % 20 );
        if ( choice == 0 ) {
            detach( entry );
            live.erase( found );
        } else if ( choice == 1 ) {
            clear( entry, random() % 2 == 0 );
            truth = {};
        } else {
            // Less than a wrap, then a reading.
            const Hits amount{ random() % 256, random() % 256 };
            count( entry, { amount.packets, amount.bytes } );
            wraps += truth.packets / 256 != ( truth.packets + amount.packets ) / 256 ? 1 : 0;
            truth.packets += amount.packets;
            truth.bytes += amount.bytes;
            const Hits read = hits( entry );
            ASSERT_EQ( read.packets, truth.packets ) << "step " << step;
            ASSERT_EQ( read.bytes, truth.bytes ) << "step " << step;
        }
    }
    EXPECT_GT( wraps, 1000 );
}

} // namespace
} // namespace PeloraTcam
