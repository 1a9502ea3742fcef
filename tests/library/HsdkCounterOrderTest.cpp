// In what order the HSDK counter helper writes its lines, calls the agent's services and asserts.

#include "tests/library/HsdkCounterScene.h"

namespace LibraryTest {
namespace {

using PeloraTcam::FlexctrAllocPerEntry;
using ::testing::ElementsAre;

using HsdkCounterAssertionTest = HsdkCounterScene;

/// Trace lines stand among the calls of the services, in their order.
class HsdkCounterOrderTest : public HsdkCounterScene
{
  protected:
    HsdkCounterOrderTest()
    {
        Agent::traceSinkIs( [ this ]( const Agent::TraceLine& line ) {
            flexctrs.calls.push_back( std::string( line.text ) );
        } );
    }

    TestSupport::TraceRecorder traces{ "*",
                                       allTraceLevels }; // Its sink gives way to the one above.
};

TEST_F( HsdkCounterOrderTest, Allocate_Everything_HappensInTheOrderOfTheSteps )
{
    allocate( setOf( { 1 } ) );
    EXPECT_THAT( flexctrs.calls, ElementsAre( "allocateCounter GroupId: 0x1000005 EntryId: 0xab",
                                              "getCounterObject 5 ifp 2 1",
                                              "attachFlexctr 5 ifp 2 1 171 {bytes} 7" ) );
}

TEST_F( HsdkCounterOrderTest, Allocate_NoObject_TracesTheShortageLast )
{
    flexctrs.object = chips.BCM_FLEXCTR_INVALID_OBJECT();
    allocate( setOf( { 1 } ) );
    EXPECT_THAT( flexctrs.calls,
                 ElementsAre( "allocateCounter GroupId: 0x1000005 EntryId: 0xab",
                              "getCounterObject 5 ifp 2 1",
                              "allocateCounterFlexctrObject unallocated for prio 1 not allocating "
                              "counters " ) );
}

TEST_F( HsdkCounterOrderTest, Rest_Everything_IsTracedBeforeTheServiceIsCalled )
{
    const FlexctrAllocPerEntry allocation;
    flexctrs.allocation = &allocation;
    helper->getStatHits( entry, CounterType::bytes, stageIfp() );
    helper->getPacketHits( recordOf( { 2 } ) );
    helper->getByteHits( recordOf( { 1 } ) );
    helper->getCounterHwIdx( entry, CounterType::bytes, stageIfp() );
    helper->clearHitsForEntry( recordOf( {} ) );
    helper->freeCounter( stageIfp(), logicalGroup, entry, recordOf( {} ), priority );
    EXPECT_THAT( flexctrs.calls,
                 ElementsAre( "getStatHits entryId: 171 counterType: bytes",
                              "getFlexctr 5 ifp 2 171 packets", "getPacketHits CounterId 0x1f",
                              "getFlexctr 5 ifp 2 171 packets", "getByteHits CounterId 0x1f",
                              "getFlexctr 5 ifp 2 171 packets",
                              "getCounterHwIdx entryId  171 Type : bytes", "getPipe 2 ifp",
                              "getFlexctrAllocPerEntry 5 171 42",
                              "clearHitsForEntry CounterId: 0x1f Clearing EntryId: 0xab",
                              "clearFlexctr 5 ifp 2 171 1",
                              "freeCounter GroupId: 0x1000005 EntryId: 0xab CounterId: 0x1f",
                              "detachFlexctr 5 ifp 2 1 171" ) );
}

TEST_F( HsdkCounterAssertionTest, Assertions_OfAll_FollowTheTrace )
{
    expectTracesThenAssertion( facility, { "9 getCounterHwIdx entryId  171 Type : bytes" },
                               site( "getCounterHwIdx" ), "flexctrAlloc", [ this ] {
                                   helper->getCounterHwIdx( entry, CounterType::bytes, stageIfp() );
                               } );
    expectTracesThenAssertion( facility, { "8 handleInitialized" }, site( "handleInitialized" ),
                               "initialized()", [ this ] { helper->handleInitialized(); } );
    expectTracesThenAssertion( facility, {}, site( "isStatIdInstalledInHardware" ),
                               "0 && \"Unreachable code\"",
                               [ this ] { helper->isStatIdInstalledInHardware( 1 ); } );
}

TEST_F( HsdkCounterAssertionTest, Operations_NoFlexctrManager_DieForThatReason )
{
    PeloraTcam::flexctrManagerIs( nullptr );
    const std::vector< std::function< void() > > operations = {
        [ this ] { allocate( setOf( { 1 } ) ); },
        [ this ] { helper->freeCounter( stageIfp(), logicalGroup, entry, {}, priority ); },
        [ this ] { helper->getStatHits( entry, CounterType::bytes, stageIfp() ); },
        [ this ] { helper->getPacketHits( recordOf( { 2 } ) ); },
        [ this ] { helper->getByteHits( recordOf( { 1 } ) ); },
        [ this ] { helper->getCounterHwIdx( entry, CounterType::bytes, stageIfp() ); },
        [ this ] { helper->clearHitsForEntry( recordOf( {} ) ); },
    };
    for ( const auto& operation : operations ) {
        expectAssertion( site( "flexctrManager" ),
                         "getFlexctrManager() && \"flex counter manager is not set\"", operation );
    }
}

TEST_F( HsdkCounterAssertionTest, Allocate_NoCounterObjectManager_DiesForThatReason )
{
    PeloraTcam::counterObjectManagerIs( nullptr );
    expectAssertion( site( "counterObjectManager" ),
                     "getCounterObjectManager() && \"counter object manager is not set\"",
                     [ this ] { allocate( setOf( { 1 } ) ); } );
}

TEST_F( HsdkCounterAssertionTest, Operations_ThatNeedNoService_WorkWithoutOne )
{
    PeloraTcam::flexctrManagerIs( nullptr );
    PeloraTcam::counterObjectManagerIs( nullptr );
    EXPECT_EQ( helper->getPacketHits( recordOf( {} ) ), 0U );
    EXPECT_EQ( helper->getByteHits( recordOf( { 2 } ) ), 0U );
    helper->maybeClearHitsAfterEntryInstall( 1 );
    helper->configureCounter();
    helper->verifyCounters( 1, { { CounterType::bytes, 0 } } );
}

} // namespace
} // namespace LibraryTest
