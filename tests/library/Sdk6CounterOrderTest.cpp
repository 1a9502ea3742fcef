// In what order the SDK-6 counter helper does its steps, with which locks, and what is left when a
// step throws.

#include "tests/library/DeclaredEnumerators.h"
#include "tests/library/LockWatchingSdk.h"
#include "tests/library/Sdk6CounterScene.h"
#include "tests/support/LockRecorder.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <future>
#include <thread>

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::StartsWith;
using TestSupport::returns;
using TestSupport::TraceRecorder;

class Sdk6CounterOrderTest : public Sdk6CounterScene
{
  protected:
    static constexpr const char* noInitFunc = "initFunc && \"invalid BaseInitFunc\"";

    /// The operation writes its line, and then finds no eviction helper.
    void expectTracesThenNoEviction( const std::string& line,
                                     const std::function< void() >& operation )
    {
        expectTracesThenAssertion( facility, { line }, site( "evictionHelper" ), noInitFunc,
                                   operation );
    }

    /// What all facilities write while an operation runs.
    template< class Operation >
    static std::vector< std::string > textsOf( const Operation& operation )
    {
        const TraceRecorder traces( "*", allTraceLevels );
        operation();
        return traces.texts();
    }
};

// ---- Statistic types -------------------------------------------------------------------------

TEST_F( Sdk6CounterOrderTest, Translate_EachType_IsTheConstantDeclaredInItsPlace )
{
    constexpr std::array< std::size_t, 9 > places = { 0, 4, 5, 6, 2, 3, 7, 8, 1 };
    const std::vector< std::string > declared = declaredEnumerators( "bcm_field_stat_t" );
    ASSERT_EQ( declared.size(), places.size() );
    int type = 1;
    for ( const std::size_t place : places ) {
        EXPECT_EQ( PeloraTcam::translateStatType( static_cast< CounterType >( type++ ) ),
                   valueOf< bcm_field_stat_t >( declared[ place ] ) );
    }
}

// ---- Traces, assertions and calls in their order ---------------------------------------------

TEST_F( Sdk6CounterOrderTest, Operations_NoEvictionHelper_TraceThenDieWhateverTheSet )
{
    forgetInitFunc();
    expectTracesThenNoEviction( "9 getStatHits StatId: 31 counterType: invalid", [ this ] {
        helper->getStatHits( 31, CounterType::invalid, stageIfp() );
    } );
    expectTracesThenNoEviction( "9 getPacketHits CounterId 0x0",
                                [ this ] { helper->getPacketHits( {} ); } );
    expectTracesThenNoEviction( "9 getByteHits CounterId 0x0",
                                [ this ] { helper->getByteHits( {} ); } );
    expectTracesThenNoEviction( "9 getCounterHwIdx statId  31 Type : invalid", [ this ] {
        helper->getCounterHwIdx( 31, CounterType::invalid, stageIfp() );
    } );
    expectTracesThenNoEviction( "9 clearHitsForEntry CounterId: 0x0",
                                [ this ] { helper->clearHitsForEntry( {} ); } );
}

TEST_F( Sdk6CounterOrderTest, Operations_OddTypes_TraceThenDie )
{
    expectTracesThenAssertion( facility,
                               { "9 verifyCounters stats: 31 counter status: {invalid: 1}" },
                               site( "verifyCounters" ), "0 && \"Invalid counter type\"", [ this ] {
                                   helper->verifyCounters( 31, { { CounterType::invalid, 1 } } );
                               } );
    expectTracesThenAssertion( facility, { "9 allocateCounter GroupId: 0x1000005 EntryId: 0x1" },
                               site( "translateStatType" ),
                               "false && \"invalid counter type requested\"",
                               [ this ] { allocate( setOf( { 0 } ) ); } );
}

TEST_F( Sdk6CounterOrderTest, GetHwIdx_QueryFails_DiesWithoutTheAnswersTrace )
{
    eviction->poolIndicesAvailableIs( true );
    sdk.on.korvel_bcm_esw_field_stat_pool_index_get = returns( -1 );
    expectTracesThenAssertion( facility, { "9 getCounterHwIdx statId  31 Type : bytes" },
                               site( "getCounterHwIdx" ), "BCM_E_NONE == rc", [ this ] {
                                   helper->getCounterHwIdx( 31, CounterType::bytes, stageIfp() );
                               } );
}

TEST_F( Sdk6CounterOrderTest, GetHwIdx_NoPoolSupport_DoesNotTranslateTheType )
{
    EXPECT_EQ( helper->getCounterHwIdx( 31, CounterType::invalid, stageIfp() ),
               sdk.BCM_FIELD_STAT_INVALID_INDEX() );
}

TEST_F( Sdk6CounterOrderTest, HandleInitialized_FlagClear_TracesThenDies )
{
    expectTracesThenAssertion( facility, { "8 handleInitialized" }, site( "handleInitialized" ),
                               "initialized()", [ this ] { helper->handleInitialized(); } );
}

TEST_F( Sdk6CounterOrderTest, HandleFlashDownload_Any_DiesWithoutATrace )
{
    expectTracesThenAssertion( facility, {}, site( "handleFlashDownload" ),
                               "false && \"Call to unimplemented interface handleFlashDownload\"",
                               [ this ] { helper->handleFlashDownload(); } );
}

TEST_F( Sdk6CounterOrderTest, Operations_Everything_TheirOwnLineComesFirst )
{
    eviction->poolIndicesAvailableIs( true );
    const CounterInfo info = allocate( setOf( { 1, 2 } ) );
    const std::string set = std::string( setText ) + " (rc:0)";
    EXPECT_THAT( textsOf( [ & ] { helper->getPacketHits( info ); } ),
                 ElementsAre( StartsWith( "getPacketHits" ), EndsWith( "&stats ) (rc:0)" ) ) );
    EXPECT_THAT( textsOf( [ & ] { helper->getByteHits( info ); } ),
                 ElementsAre( StartsWith( "getByteHits" ), EndsWith( "&stats ) (rc:0)" ) ) );
    EXPECT_THAT(
        textsOf( [ & ] { helper->getStatHits( info.statId, CounterType::bytes, stageIfp() ); } ),
        ElementsAre( StartsWith( "getStatHits" ), EndsWith( "&stats ) (rc:0)" ) ) );
    EXPECT_THAT( textsOf( [ & ] {
                     helper->getCounterHwIdx( info.statId, CounterType::bytes, stageIfp() );
                 } ),
                 ElementsAre( StartsWith( "getCounterHwIdx" ), EndsWith( "&bcmpipe ) (rc:0)" ),
                              StartsWith( "statId : 1" ) ) );
    EXPECT_THAT(
        textsOf( [ & ] { helper->clearHitsForEntry( info ); } ),
        ElementsAre( StartsWith( "clearHitsForEntry" ), EndsWith( set ), EndsWith( set ) ) );
    EXPECT_THAT( textsOf( [ & ] {
                     helper->verifyCounters( info.statId, { { CounterType::bytes, 0 } } );
                 } ),
                 ElementsAre( StartsWith( "verifyCounters" ), EndsWith( "&stats ) (rc:0)" ) ) );
    EXPECT_THAT( textsOf( [ & ] { release( info ); } ),
                 ElementsAre( StartsWith( "freeCounter" ),
                              EndsWith( std::string( detachText ) + " (rc:0)" ),
                              EndsWith( std::string( destroyText ) + " (rc:0)" ) ) );
}

// ---- Locks -----------------------------------------------------------------------------------

TEST_F( Sdk6CounterOrderTest, Operations_EverySdkCall_IsMadeWithTheLockReleased )
{
    LockWatchingSdk watching( evictionSdk );
    Shim::sdk_ = &watching;
    eviction->poolIndicesAvailableIs( true );
    const CounterInfo info = allocate( setOf( { 1, 2 } ) );
    helper->getStatHits( info.statId, CounterType::bytes, stageIfp() );
    helper->getStatHits( info.statId, CounterType::packets, stageIfp() );
    helper->getPacketHits( info );
    helper->getByteHits( info );
    helper->getCounterHwIdx( info.statId, CounterType::bytes, stageIfp() );
    helper->clearHitsForEntry( info );
    helper->verifyCounters( info.statId,
                            { { CounterType::bytes, 0 }, { CounterType::packets, 0 } } );
    release( info );
    EXPECT_THAT( watching.held, IsEmpty() );
    EXPECT_THAT( watching.free,
                 ElementsAre( Pair( "bcm_field_entry_stat_attach", 1U ),
                              Pair( "bcm_field_entry_stat_detach", 1U ),
                              Pair( "bcm_field_stat_create", 1U ),
                              Pair( "bcm_field_stat_destroy", 1U ),
                              Pair( "bcm_field_stat_get", 6U ), Pair( "bcm_field_stat_set", 2U ),
                              Pair( "korvel_bcm_esw_field_stat_pool_index_get", 1U ) ) );
}

/// Waits until something is so, for ten seconds at most.
bool becomesTrue( const std::function< bool() >& isSo )
{
    for ( int attempt = 0; attempt < 10'000 && !isSo(); ++attempt ) {
        std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
    }
    return isSo();
}

TEST_F( Sdk6CounterOrderTest, Clear_StatisticIsBeingRead_HoldsNoLockWhileItWaits )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    const bcm_field_stat_t packets = sdk.bcmFieldStatPackets();
    Shim::sdk_ = &sdk; // The setting does not wait, the clearing of the sum does.
    std::promise< void > entered;
    std::promise< void > left;
    sdk.on.bcm_field_stat_get = [ & ]( int, int, bcm_field_stat_t, uint64_t* ) {
        entered.set_value();
        left.get_future().wait();
        return 0;
    };
    std::thread reader( [ & ] {
        Agent::U64 sum = 0;
        eviction->fieldStatGetPackets( unit, info.statId, packets, &sum );
    } );
    entered.get_future().wait();
    TestSupport::LockRecorder locks;
    std::thread third( [ & ] {
        // Released for the setting, then for the clearing of the sum.
        EXPECT_TRUE( becomesTrue( [ & ] {
            return std::ranges::count( locks.events(), "activity lock released" ) == 2;
        } ) );
        left.set_value();
    } );
    helper->clearHitsForEntry( info );
    reader.join();
    third.join();
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

// ---- Clearing and return codes ---------------------------------------------------------------

TEST_F( Sdk6CounterOrderTest, Clear_ByteType_ForgetsItsBytesAlone )
{
    const CounterInfo info = allocate( setOf( { 1 } ) );
    count( 1, 100 );
    Agent::U64 sum = 0;
    EXPECT_EQ( helper->getByteHits( info ), 100U );
    const bcm_field_stat_t bytes = sdk.bcmFieldStatBytes();
    EXPECT_EQ( eviction->fieldStatGetPackets( unit, info.statId, bytes, &sum ), 0 );
    helper->clearHitsForEntry( info );
    EXPECT_EQ( helper->getByteHits( info ), 0U );
    EXPECT_EQ( eviction->fieldStatGetPackets( unit, info.statId, bytes, &sum ), 0 );
    EXPECT_EQ( sum, 100U ) << "another sum of the counter, which is not cleared";
}

TEST_F( Sdk6CounterOrderTest, Clear_PacketType_ForgetsItsPacketsAlone )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    count( 100, 1 );
    Agent::U64 sum = 0;
    EXPECT_EQ( helper->getPacketHits( info ), 100U );
    const bcm_field_stat_t packets = sdk.bcmFieldStatPackets();
    EXPECT_EQ( eviction->fieldStatGetBytes( unit, info.statId, packets, &sum ), 0 );
    helper->clearHitsForEntry( info );
    EXPECT_EQ( helper->getPacketHits( info ), 0U );
    EXPECT_EQ( eviction->fieldStatGetBytes( unit, info.statId, packets, &sum ), 0 );
    EXPECT_EQ( sum, 100U );
}

TEST_F( Sdk6CounterOrderTest, CheckedCalls_PositiveReturnCode_AreSuccess )
{
    sdk.on.bcm_field_entry_stat_attach = returns( 1 );
    sdk.on.bcm_field_entry_stat_detach = returns( 1 );
    sdk.on.bcm_field_stat_destroy = returns( 1 );
    sdk.on.bcm_field_stat_set = returns( 1 );
    sdk.on.bcm_field_stat_get = returns( 1 );
    const CounterInfo info = allocate( setOf( { 1 } ) );
    EXPECT_EQ( info.counterId, 1U );
    helper->clearHitsForEntry( info );
    helper->verifyCounters( info.statId, { { CounterType::bytes, 0 } } );
    EXPECT_TRUE( release( info ) );
}

TEST_F( Sdk6CounterOrderTest, GetHits_EveryTypeNumber_ReadTheFourOfTheirKind )
{
    sdk.on.bcm_field_stat_get = []( int, int, bcm_field_stat_t, uint64_t* value ) {
        *value = 1;
        return 0;
    };
    CounterInfo info;
    for ( int type = 0; type < 256; ++type ) {
        info.counterSet.emplace( static_cast< CounterType >( type ), true );
    }
    EXPECT_EQ( helper->getPacketHits( info ), 4U );
    EXPECT_EQ( helper->getByteHits( info ), 4U );
    EXPECT_EQ( sdk.countOf( "bcm_field_stat_get" ), 8U );
}

// ---- Exceptions ------------------------------------------------------------------------------

TEST_F( Sdk6CounterOrderTest, Allocate_AttachmentThrows_LeavesTheStatisticUnattached )
{
    faulty.add( { { .function = "bcm_field_entry_stat_attach" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( allocate( setOf( { 1 } ) ), std::runtime_error );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
    EXPECT_EQ( sdk.countOf( "bcm_field_stat_destroy" ), 0U );
    EXPECT_EQ( chips.chip( unit )->statistics()->used(), 1U );
    EXPECT_EQ( allocate( setOf( { 1 } ) ).counterId, 1U ) << "no counter id was taken";
}

TEST_F( Sdk6CounterOrderTest, Free_DestructionThrows_LeavesTheStatisticDetached )
{
    const CounterInfo info = allocate( setOf( { 1 } ) );
    faulty.add( { { .function = "bcm_field_stat_destroy" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( release( info ), std::runtime_error );
    EXPECT_EQ( chips.chip( unit )->statistics()->used(), 1U );
    EXPECT_FALSE( helper->isStatIdInstalledInHardware( info.statId ) );
}

} // namespace
} // namespace LibraryTest
