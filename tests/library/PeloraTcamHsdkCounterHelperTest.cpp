// What the HSDK counter helper asks of the agent's flex counter services, what it makes of the
// answers, and what it writes. It makes no SDK calls.

#include "agent/tcam/SdkFlexctrManager.h"
#include "tests/library/HsdkCounterScene.h"
#include "tests/support/AllocationCount.h"

namespace LibraryTest {
namespace {

using PeloraTcam::FlexctrAllocPerEntry;
using PeloraTcam::FlexctrAttachState;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HsdkCounterTest : public HsdkCounterScene
{
  protected:
    // It makes no SDK calls of its own, whatever a test does.
    ~HsdkCounterTest() override { EXPECT_THAT( sdk.allCalls(), IsEmpty() ); }

    template< class Operation >
    void expectHelperLine( Agent::U32 level, const std::string& text, const Operation& operation )
    {
        expectLine( site( "" ), facility, level, text, operation );
    }
};

// ---- allocateCounter -------------------------------------------------------------------------

TEST_F( HsdkCounterTest, Allocate_Complete_FillsTheRecord )
{
    allocate( setOf( { 1 } ) );
    const CounterInfo info = allocate( setOf( { 1, 2 } ) );
    EXPECT_EQ( info.counterId, 2U );
    EXPECT_EQ( info.stage, StageType::ifp );
    EXPECT_EQ( info.counterSet, setOf( { 1, 2 } ) );
    EXPECT_EQ( info.logicalGroupId, logicalGroup );
    EXPECT_EQ( info.statId, entry );
    EXPECT_EQ( info.entryId, entry );
}

TEST_F( HsdkCounterTest, Allocate_Any_AsksForTheObjectThenAttaches )
{
    allocate( setOf( { 1, 2 } ) );
    EXPECT_THAT( flexctrs.calls, ElementsAre( "getCounterObject 5 ifp 2 1",
                                              "attachFlexctr 5 ifp 2 1 171 {bytes, packets} 7" ) );
    EXPECT_EQ( flexctrs.chipInfo, &helper->chipInfo() );
}

TEST_F( HsdkCounterTest, Allocate_NoObject_GivesTheDefaultWithoutAttaching )
{
    flexctrs.object = chips.BCM_FLEXCTR_INVALID_OBJECT();
    EXPECT_EQ( allocate( setOf( { 1, 2 } ) ), CounterInfo() );
    EXPECT_THAT( flexctrs.calls, ElementsAre( "getCounterObject 5 ifp 2 1" ) );
    flexctrs.object = 0;
    EXPECT_EQ( allocate( setOf( { 1 } ) ).counterId, 1U ) << "no counter id was taken";
}

TEST_F( HsdkCounterTest, Allocate_NotComplete_GivesTheDefault )
{
    for ( const FlexctrAttachState state :
          { FlexctrAttachState::noFreeIndex, FlexctrAttachState::refused } ) {
        flexctrs.state = state;
        EXPECT_EQ( allocate( setOf( { 1 } ) ), CounterInfo() );
    }
    flexctrs.state = FlexctrAttachState::complete;
    EXPECT_EQ( allocate( setOf( { 1 } ) ).counterId, 1U ) << "no counter id was taken";
}

struct KeyRow
{
    Agent::U8 pipe;
    Agent::U32 logicalGroup;
    Agent::U32 key;
};

class HsdkGroupKeyTest : public HsdkCounterScene, public ::testing::WithParamInterface< KeyRow >
{};

TEST_P( HsdkGroupKeyTest, Allocate_EachGroupAndPipe_AsksForItsKey )
{
    PeloraTcam::getGroupIdMap().hardwareGroupIdDel( 0x08000005 );
    PeloraTcam::getGroupIdMap().hardwareGroupIdIs( GetParam().key, 4711 );
    Helper::PeloraTcamHsdkCounterHelperIs( GetParam().pipe, unit, PeloraCentral::ChipInfo() )
        ->allocateCounter( stageIfp(), GetParam().logicalGroup, entry, setOf( { 1 } ), priority );
    PeloraTcam::getGroupIdMap().hardwareGroupIdDel( GetParam().key );
    EXPECT_EQ( flexctrs.calls.back().substr( flexctrs.calls.back().rfind( ' ' ) ), " 4711" );
}

INSTANTIATE_TEST_SUITE_P( Table,
                          HsdkGroupKeyTest,
                          ::testing::Values( KeyRow{ 2, 0x01000005, 0x08000005 },
                                             KeyRow{ 7, 0x01000005, 0x08000005 },
                                             KeyRow{ 0, 0x00000005, 0x00000005 },
                                             KeyRow{ 7, 0x000001FF, 0x000000FF },
                                             KeyRow{ 0xFF, 0xFEFFFF00, 0x00000000 },
                                             KeyRow{ 0xFF, 0xFFFFFFFF, 0x080000FF } ) );

TEST_F( HsdkCounterTest, Allocate_RequestChangesDuringTheAttachment_UsesWhatItWasGiven )
{
    CounterSet set = setOf( { 1, 2 } );
    Agent::U32 requested = entry;
    flexctrs.whileAttaching = [ & ] {
        set.clear();
        requested = 4711;
    };
    const CounterInfo info =
        helper->allocateCounter( stageIfp(), logicalGroup, requested, set, priority );
    EXPECT_EQ( info.counterSet, setOf( { 1, 2 } ) );
    EXPECT_EQ( info.entryId, entry );
    EXPECT_EQ( flexctrs.calls.back(), "attachFlexctr 5 ifp 2 1 171 {bytes, packets} 7" );
}

// ---- freeCounter, clearHitsForEntry ------------------------------------------------------------

TEST_F( HsdkCounterTest, Free_Any_DetachesTheEntry )
{
    EXPECT_TRUE(
        helper->freeCounter( StageType::vfp, logicalGroup, 12, recordOf( { 1 } ), priority ) );
    EXPECT_THAT( flexctrs.calls, ElementsAre( "detachFlexctr 5 vfp 2 1 12" ) );
    EXPECT_EQ( flexctrs.chipInfo, &helper->chipInfo() );
}

TEST_F( HsdkCounterTest, Clear_AnySet_ClearsTheEntryInHardware )
{
    helper->clearHitsForEntry( recordOf( {} ) );
    EXPECT_THAT( flexctrs.calls, ElementsAre( "clearFlexctr 5 ifp 2 171 1" ) );
    EXPECT_EQ( flexctrs.chipInfo, &helper->chipInfo() );
}

// ---- Reading ---------------------------------------------------------------------------------

TEST_F( HsdkCounterTest, GetStatHits_EachType_ReadsTheCounterOfItsPair )
{
    const CounterType packetTypes[] = { CounterType::packets, CounterType::redPackets,
                                        CounterType::greenPackets, CounterType::yellowPackets };
    Agent::U64 value = 10;
    for ( const CounterType type : packetTypes ) {
        flexctrs.hits[ type ] = { value, value + 1 };
        const auto byteType = static_cast< CounterType >( static_cast< int >( type ) - 1 );
        EXPECT_EQ( helper->getStatHits( entry, type, stageIfp() ), value );
        EXPECT_EQ( helper->getStatHits( entry, byteType, stageIfp() ), value + 1 );
        value += 10;
    }
    EXPECT_EQ( flexctrs.calls.size(), 8U );
    EXPECT_EQ( flexctrs.calls.at( 2 ), "getFlexctr 5 ifp 2 171 redPackets" );
    EXPECT_EQ( flexctrs.calls.at( 3 ), "getFlexctr 5 ifp 2 171 redPackets" );
    EXPECT_EQ( flexctrs.chipInfo, &helper->chipInfo() );
}

TEST_F( HsdkCounterTest, GetHits_PairsAndSingles_CountNoPairTwice )
{
    flexctrs.hits = { { CounterType::packets, { 1, 10 } },
                      { CounterType::redPackets, { 2, 20 } },
                      { CounterType::greenPackets, { 4, 40 } },
                      { CounterType::yellowPackets, { 8, 80 } } };
    EXPECT_EQ( helper->getPacketHits( recordOf( { 1, 2 } ) ), 1U );
    EXPECT_EQ( helper->getByteHits( recordOf( { 1, 2 } ) ), 10U );
    EXPECT_EQ( helper->getPacketHits( recordOf( { 1, 2, 3, 4, 5, 6, 7, 8 } ) ), 15U );
    EXPECT_EQ( helper->getByteHits( recordOf( { 1, 2, 3, 4, 5, 6, 7, 8 } ) ), 150U );
    EXPECT_EQ( helper->getPacketHits( recordOf( { 2, 3 } ) ), 1U ) << "a pair of two halves";
    EXPECT_EQ( helper->getByteHits( recordOf( { 2, 3 } ) ), 20U );
}

TEST_F( HsdkCounterTest, GetHits_TypesOneAndTwo_ReadTheEntrysCounterOnce )
{
    helper->getPacketHits( recordOf( { 1, 2 } ) );
    helper->getByteHits( recordOf( { 1, 2 } ) );
    EXPECT_THAT( flexctrs.calls, ElementsAre( "getFlexctr 5 ifp 2 171 packets",
                                              "getFlexctr 5 ifp 2 171 packets" ) );
}

TEST_F( HsdkCounterTest, GetHits_WithoutTypesOfTheKind_AreZeroWithoutReading )
{
    EXPECT_EQ( helper->getPacketHits( recordOf( { 1, 3 } ) ), 0U );
    EXPECT_EQ( helper->getByteHits( recordOf( { 2, 0, 9, 255 } ) ), 0U );
    EXPECT_THAT( flexctrs.calls, IsEmpty() );
}

TEST_F( HsdkCounterTest, GetHits_ServiceWritesNone_AreZero )
{
    flexctrs.knowsHits = false;
    EXPECT_EQ( helper->getStatHits( entry, CounterType::packets, stageIfp() ), 0U );
    EXPECT_EQ( helper->getStatHits( entry, CounterType::bytes, stageIfp() ), 0U );
    EXPECT_EQ( helper->getPacketHits( recordOf( { 1, 2 } ) ), 0U );
    EXPECT_EQ( helper->getByteHits( recordOf( { 1, 2 } ) ), 0U );
}

// ---- getCounterHwIdx -------------------------------------------------------------------------

TEST_F( HsdkCounterTest, GetHwIdx_TypesOfAPair_HaveOneIndex )
{
    const FlexctrAllocPerEntry allocation = { { CounterType::packets, 12 },
                                              { CounterType::redPackets, 34 } };
    flexctrs.allocation = &allocation;
    EXPECT_EQ( helper->getCounterHwIdx( entry, CounterType::bytes, stageIfp() ), 12 );
    EXPECT_EQ( helper->getCounterHwIdx( entry, CounterType::packets, stageIfp() ), 12 );
    EXPECT_EQ( helper->getCounterHwIdx( entry, CounterType::redBytes, stageIfp() ), 34 );
    EXPECT_EQ( helper->getCounterHwIdx( entry, CounterType::greenBytes, stageIfp() ), 0 );
    EXPECT_EQ( helper->getCounterHwIdx( entry, CounterType::invalid, stageIfp() ), 0 );
}

TEST_F( HsdkCounterTest, GetHwIdx_Any_ConvertsThePipe )
{
    const FlexctrAllocPerEntry allocation;
    flexctrs.allocation = &allocation;
    helper->getCounterHwIdx( entry, CounterType::bytes, StageType::vfp );
    EXPECT_THAT( flexctrs.calls,
                 ElementsAre( "getPipe 2 vfp", "getFlexctrAllocPerEntry 5 171 42" ) );
}

TEST_F( HsdkCounterTest, GetHwIdx_NoManagerOrAllocation_Dies )
{
    const auto operation = [ this ] {
        helper->getCounterHwIdx( entry, CounterType::bytes, stageIfp() );
    };
    expectAssertion( site( "getCounterHwIdx" ), "flexctrAlloc", operation );
    flexctrs.hasActionIndexManager = false;
    expectAssertion( site( "getCounterHwIdx" ), "flexctrManager->actionIndexMgr()", operation );
}

// ---- The rest --------------------------------------------------------------------------------

TEST_F( HsdkCounterTest, VerifyMaybeClearAndConfigure_Any_AskNobody )
{
    helper->verifyCounters( 1, { { CounterType::invalid, 1 }, { CounterType::bytes, 2 } } );
    helper->maybeClearHitsAfterEntryInstall( 1 );
    helper->configureCounter();
    EXPECT_THAT( flexctrs.calls, IsEmpty() );
}

TEST_F( HsdkCounterTest, IsInstalledAndHandleFlashDownload_Any_Die )
{
    expectAssertion( site( "isStatIdInstalledInHardware" ), "0 && \"Unreachable code\"",
                     [ this ] { helper->isStatIdInstalledInHardware( 1 ); } );
    expectAssertion( site( "handleFlashDownload" ),
                     "false && \"Call to unimplemented interface handleFlashDownload\"",
                     [ this ] { helper->handleFlashDownload(); } );
}

TEST_F( HsdkCounterTest, HandleInitialized_FlagClear_Dies )
{
    expectAssertion( site( "handleInitialized" ), "initialized()",
                     [ this ] { helper->handleInitialized(); } );
    helper->initializedIs( true );
    helper->handleInitialized();
}

// ---- What it writes --------------------------------------------------------------------------

TEST_F( HsdkCounterTest, Allocate_Levels9And1_TraceRequestAndShortage )
{
    flexctrs.object = chips.BCM_FLEXCTR_INVALID_OBJECT();
    const auto operation = [ this ] { allocate( setOf( { 1 } ) ); };
    expectHelperLine( 9, "allocateCounter GroupId: 0x1000005 EntryId: 0xab", operation );
    expectHelperLine( 1,
                      "allocateCounterFlexctrObject unallocated for prio 1 not allocating "
                      "counters ",
                      operation );
}

TEST_F( HsdkCounterTest, FreeAndClear_Level9_TraceTheirIds )
{
    expectHelperLine( 9, "freeCounter GroupId: 0x1000005 EntryId: 0xab CounterId: 0x1f", [ this ] {
        helper->freeCounter( stageIfp(), logicalGroup, entry, recordOf( {} ), priority );
    } );
    expectHelperLine( 9, "clearHitsForEntry CounterId: 0x1f Clearing EntryId: 0xab",
                      [ this ] { helper->clearHitsForEntry( recordOf( {} ) ); } );
}

TEST_F( HsdkCounterTest, Reads_Level9_TraceTheirRequest )
{
    const FlexctrAllocPerEntry allocation;
    flexctrs.allocation = &allocation;
    expectHelperLine( 9, "getStatHits entryId: 171 counterType: redBytes", [ this ] {
        helper->getStatHits( entry, CounterType::redBytes, stageIfp() );
    } );
    expectHelperLine( 9, "getPacketHits CounterId 0x1f",
                      [ this ] { helper->getPacketHits( recordOf( { 2 } ) ); } );
    expectHelperLine( 9, "getByteHits CounterId 0x1f",
                      [ this ] { helper->getByteHits( recordOf( { 1 } ) ); } );
    expectHelperLine( 9, "getCounterHwIdx entryId  171 Type : redBytes", [ this ] {
        helper->getCounterHwIdx( entry, CounterType::redBytes, stageIfp() );
    } );
}

TEST_F( HsdkCounterTest, Rest_TheirLevels_TraceTheirNames )
{
    expectHelperLine( 9, "verifyCounters stats: 31 counter status: {bytes: 64}", [ this ] {
        helper->verifyCounters( 31, { { CounterType::bytes, 64 } } );
    } );
    expectHelperLine( 9, "configureCounter", [ this ] { helper->configureCounter(); } );
    helper->initializedIs( true );
    expectHelperLine( 8, "handleInitialized", [ this ] { helper->handleInitialized(); } );
    const TestSupport::TraceRecorder traces( "*", allTraceLevels );
    helper->maybeClearHitsAfterEntryInstall( 31 );
    EXPECT_THAT( traces.texts(), IsEmpty() );
}

// ---- Over the agent's own services and a chip --------------------------------------------------

class HsdkCounterChipTest : public HelperScene
{
  protected:
    HsdkCounterChipTest()
        : HelperScene( "hsdk" )
    {
        PeloraTcam::counterObjectManagerIs( &objects );
        PeloraTcam::flexctrManagerIs( &flexctrs );
        EXPECT_EQ( objects.counterObjectIs( unit, stageIfp(), 2, 1, 2 ), 0 );
        bcm_field_group_config_t group;
        group.group = 7;
        group.mode = chips.bcmFieldGroupModeAuto();
        EXPECT_EQ( chips.bcm_field_group_config_create( unit, &group ), 0 );
    }

    ~HsdkCounterChipTest() override
    {
        PeloraTcam::counterObjectManagerIs( nullptr );
        PeloraTcam::flexctrManagerIs( nullptr );
    }

    CounterInfo allocated()
    {
        bcm_field_entry_t entry = 0;
        EXPECT_EQ( chips.bcm_field_entry_create( unit, 7, &entry ), 0 );
        EXPECT_EQ( chips.bcm_field_entry_install( unit, entry ), 0 );
        return helper->allocateCounter(
            stageIfp(), 5, static_cast< Agent::U32 >( entry ),
            { { CounterType::bytes, true }, { CounterType::packets, true } }, 1 );
    }

    void count( const CounterInfo& info, const Sim::Traffic& traffic )
    {
        EXPECT_TRUE( chips.chip( unit )->count( static_cast< bcm_field_entry_t >( info.entryId ),
                                                traffic ) );
    }

    PeloraTcam::SdkCounterObjectManager objects;
    PeloraTcam::SdkFlexctrManager flexctrs{ objects, 36 };
    Agent::Ptr< PeloraTcam::PeloraTcamHsdkCounterHelper > helper =
        PeloraTcam::PeloraTcamHsdkCounterHelper::PeloraTcamHsdkCounterHelperIs(
            2, unit, PeloraCentral::ChipInfo() );
};

TEST_F( HsdkCounterChipTest, Counters_FromAllocationToFreeing_CountTheEntrysTraffic )
{
    const CounterInfo info = allocated();
    count( info, { 3, 180 } );
    EXPECT_EQ( helper->getPacketHits( info ), 3U );
    EXPECT_EQ( helper->getByteHits( info ), 180U );
    EXPECT_EQ( helper->getStatHits( info.statId, CounterType::bytes, stageIfp() ), 180U );
    EXPECT_EQ( helper->getCounterHwIdx( info.statId, CounterType::bytes, stageIfp() ), 1 );
    helper->clearHitsForEntry( info );
    EXPECT_EQ( helper->getPacketHits( info ), 0U );
    EXPECT_TRUE( helper->freeCounter( stageIfp(), 5, info.entryId, info, 1 ) );
    EXPECT_EQ( objects.indices( unit, 1 ).allocated(), 0U );
}

TEST_F( HsdkCounterChipTest, Allocate_ObjectExhausted_GivesTheDefaultUntilOneIsFreed )
{
    const CounterInfo first = allocated();
    EXPECT_NE( allocated(), CounterInfo() );
    EXPECT_EQ( allocated(), CounterInfo() );
    helper->freeCounter( stageIfp(), 5, first.entryId, first, 1 );
    EXPECT_NE( allocated(), CounterInfo() );
}

// Flex counters are not read back by an audit: what is noticed is what a later call runs into.

TEST_F( HsdkCounterChipTest, Allocate_AttachmentWasDropped_IsNoticedWhenItIsFreed )
{
    faulty.add( { { .function = "bcm_field_entry_flexctr_attach" }, Sim::DropCall{} } );
    const CounterInfo info = allocated();
    EXPECT_NE( info, CounterInfo() );
    helper->verifyCounters( info.statId, { { CounterType::packets, 0 } } );
    const auto entry = static_cast< bcm_field_entry_t >( info.entryId );
    EXPECT_FALSE( chips.chip( unit )->count( entry, { 3, 180 } ) );
    EXPECT_EQ( helper->getPacketHits( info ), 0U );
    expectFatalCall( { "agent/tcam/SdkFlexctrManager.cpp", "detachAll",
                       "bcm_field_entry_flexctr_detach( unit, entry, &config )" },
                     -7, "Entry not found",
                     [ & ] { helper->freeCounter( stageIfp(), 5, info.entryId, info, 1 ); } );
}

TEST_F( HsdkCounterChipTest, Free_DetachmentWasDropped_IsNoticedWhenTheEntryGetsAnother )
{
    const CounterInfo info = allocated();
    faulty.add( { { .function = "bcm_field_entry_flexctr_detach" }, Sim::DropCall{} } );
    EXPECT_TRUE( helper->freeCounter( stageIfp(), 5, info.entryId, info, 1 ) );
    EXPECT_EQ( helper->allocateCounter( stageIfp(), 5, info.entryId, info.counterSet, 1 ),
               CounterInfo() )
        << "the chip refuses";
}

TEST_F( HsdkCounterChipTest, Clear_SetWasDropped_IsNotNoticed )
{
    const CounterInfo info = allocated();
    count( info, { 3, 180 } );
    faulty.addFromNow( { { .function = "bcm_flexctr_stat_set" }, Sim::DropCall{} } );
    helper->clearHitsForEntry( info );
    EXPECT_EQ( helper->getPacketHits( info ), 3U );
}

TEST_F( HsdkCounterChipTest, GetHits_ReadBackCorrupted_AreWhatWasRead )
{
    const CounterInfo info = allocated();
    count( info, { 3, 180 } );
    faulty.addFromNow(
        { { .function = "bcm_flexctr_stat_get" }, Sim::CorruptOutput{ "packets", 99 } } );
    faulty.addFromNow(
        { { .function = "bcm_flexctr_stat_get", .call = 2 }, Sim::CorruptOutput{ "bytes", 99 } } );
    EXPECT_EQ( helper->getPacketHits( info ), 99U );
    EXPECT_EQ( helper->getByteHits( info ), ( Agent::U64{ 1 } << 36 ) + 99 )
        << "less than the 180 before: it seems to have wrapped";
}

TEST_F( HsdkCounterChipTest, Reads_TracingOff_AllocateNothing )
{
    const CounterInfo info = allocated();
    count( info, { 3, 180 } );
    helper->getStatHits( info.statId, CounterType::bytes, stageIfp() ); // Makes the trace handle.
    count( info, { 1, 60 } );
    Shim::sdk_ = &chips; // The recorder allocates.

    const std::size_t before = TestSupport::allocationCount();
    const Agent::U64 packets = helper->getPacketHits( info );
    const Agent::U64 bytes = helper->getByteHits( info );
    const Agent::U64 hits = helper->getStatHits( info.statId, CounterType::bytes, stageIfp() );
    const std::size_t after = TestSupport::allocationCount();

    EXPECT_EQ( after, before );
    EXPECT_EQ( packets, 4U );
    EXPECT_EQ( bytes, 240U );
    EXPECT_EQ( hits, 240U );
}

} // namespace
} // namespace LibraryTest
