// How the SDK-6 counter helper reads and verifies statistics and finds their place in the chip.

#include "tests/library/Sdk6CounterScene.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/LockRecorder.h"
#include "tests/support/ReusingStatSdk.h"

#include <random>

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::returns;

using Sdk6CounterReadTest = Sdk6CounterScene;

constexpr const char* noInitFunc = "initFunc && \"invalid BaseInitFunc\"";
constexpr const char* noEvictionHelper = "eh && \"invalid eviction helper\"";

// ---- getStatHits -----------------------------------------------------------------------------

TEST_F( Sdk6CounterReadTest, GetStatHits_ByteAndPacketTypes_ReadTheirCounterAcrossWraps )
{
    const CounterInfo info = allocate( setOf( { 1, 2 } ) );
    sdk.clear();
    for ( uint64_t round = 1; round <= 4; ++round ) {
        count( 200, 100 );
        EXPECT_EQ( helper->getStatHits( info.statId, CounterType::packets, stageIfp() ),
                   200 * round );
        EXPECT_EQ( helper->getStatHits( info.statId, CounterType::bytes, stageIfp() ),
                   100 * round );
    }
    sdk.clear();
    helper->getStatHits( info.statId, CounterType::packets, stageIfp() );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "bcm_field_stat_get( 5, 1, bcmFieldStatPackets, & )" ) )
        << "a traced call";
}

TEST_F( Sdk6CounterReadTest, GetStatHits_ReadFails_GivesZero )
{
    const CounterInfo info = allocate( setOf( { 1, 2 } ) );
    count( 5, 6 );
    for ( const SdkFailure& failure : allSdkFailures() ) {
        sdk.on.bcm_field_stat_get = returns( failure.rc );
        EXPECT_EQ( helper->getStatHits( info.statId, CounterType::packets, stageIfp() ), 0U );
        EXPECT_EQ( helper->getStatHits( info.statId, CounterType::bytes, stageIfp() ), 0U );
    }
    sdk.on.bcm_field_stat_get = {};
    EXPECT_EQ( helper->getStatHits( 4711, CounterType::packets, stageIfp() ), 0U );
}

TEST_F( Sdk6CounterReadTest, GetStatHits_PositiveReturnCode_GivesWhatWasRead )
{
    sdk.on.bcm_field_stat_get = []( int, int, bcm_field_stat_t, uint64_t* value ) {
        *value = 7;
        return 1;
    };
    EXPECT_EQ( helper->getStatHits( 1, CounterType::packets, stageIfp() ), 7U );
}

TEST_F( Sdk6CounterReadTest, GetStatHits_TypeThatIsNeither_Dies )
{
    for ( const int type : { 0, 9, 33, 255 } ) {
        expectAssertion( site( "getStatHits" ), "0 && \"Invalid stat type\"", [ & ] {
            helper->getStatHits( 1, static_cast< CounterType >( type ), stageIfp() );
        } );
    }
}

// ---- getPacketHits, getByteHits --------------------------------------------------------------

TEST_F( Sdk6CounterReadTest, GetHits_TypesOneAndTwo_ReadOneEach )
{
    const CounterInfo info = allocate( setOf( { 1, 2 } ) );
    count( 3, 180 );
    sdk.clear();
    EXPECT_EQ( helper->getPacketHits( info ), 3U );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "bcm_field_stat_get( 5, 1, bcmFieldStatPackets, & )" ) );
    sdk.clear();
    EXPECT_EQ( helper->getByteHits( info ), 180U );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "bcm_field_stat_get( 5, 1, bcmFieldStatBytes, & )" ) );
}

TEST_F( Sdk6CounterReadTest, GetHits_AllTypes_AddThoseOfTheirKind )
{
    const CounterInfo info = allocate( setOf( { 1, 2, 3, 4, 5, 6, 7, 8 } ) );
    count( 1, 10, Sim::TrafficColor::green );
    count( 2, 20, Sim::TrafficColor::yellow );
    count( 4, 40, Sim::TrafficColor::red );
    EXPECT_EQ( helper->getPacketHits( info ), 14U ) << "all, and each colour";
    EXPECT_EQ( helper->getByteHits( info ), 140U );
}

TEST_F( Sdk6CounterReadTest, GetHits_WithoutTypesOfTheKind_AreZeroWithoutACall )
{
    const CounterInfo info = allocate( setOf( { 1 } ) );
    count( 1, 10 );
    sdk.clear();
    EXPECT_EQ( helper->getPacketHits( info ), 0U );
    EXPECT_EQ( helper->getByteHits( CounterInfo() ), 0U );
    CounterInfo odd = info;
    odd.counterSet = setOf( { 0, 9, 255 } );
    EXPECT_EQ( helper->getPacketHits( odd ) + helper->getByteHits( odd ), 0U );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
}

TEST_F( Sdk6CounterReadTest, GetHits_OneReadDoesNotSucceed_LeavesItOut )
{
    const CounterInfo info = allocate( setOf( { 2, 6 } ) );
    count( 3, 0 );
    for ( const int rc : { -1, -7, 1 } ) {
        sdk.on.bcm_field_stat_get = [ & ]( int chip, int statId, bcm_field_stat_t type,
                                           uint64_t* value ) {
            const int read = faulty.bcm_field_stat_get( chip, statId, type, value );
            return type == sdk.bcmFieldStatPackets() ? rc : read;
        };
        EXPECT_EQ( helper->getPacketHits( info ), 3U ) << rc;
    }
    sdk.on.bcm_field_stat_get = {};
    EXPECT_EQ( helper->getPacketHits( info ), 6U );
}

TEST_F( Sdk6CounterReadTest, GetHits_EachFailureOfARead_LeavesItOut )
{
    const CounterInfo info = allocate( setOf( { 1, 2 } ) );
    count( 5, 6 );
    for ( const SdkFailure& failure : allSdkFailures() ) {
        SCOPED_TRACE( failure.name );
        sdk.on.bcm_field_stat_get = returns( failure.rc );
        EXPECT_EQ( helper->getPacketHits( info ), 0U );
        EXPECT_EQ( helper->getByteHits( info ), 0U );
        EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
    }
    sdk.on.bcm_field_stat_get = {};
    EXPECT_EQ( helper->getPacketHits( info ), 5U );
    EXPECT_EQ( helper->getByteHits( info ), 6U );
}

TEST_F( Sdk6CounterReadTest, GetHits_SetChangesDuringACall_ReadWhatTheyWereGiven )
{
    CounterInfo info = allocate( setOf( { 2, 4, 6 } ) );
    count( 3, 0 );
    sdk.on.bcm_field_stat_get = [ & ]( int chip, int statId, bcm_field_stat_t type, uint64_t* v ) {
        info.counterSet.clear();
        info.statId = 4711;
        return faulty.bcm_field_stat_get( chip, statId, type, v );
    };
    EXPECT_EQ( helper->getPacketHits( info ), 6U );
}

TEST_F( Sdk6CounterReadTest, GetHits_OtherEvictionHelperDuringACall_ReadTheRestThroughIt )
{
    const CounterInfo info = allocate( setOf( { 2, 6 } ) );
    count( 3, 0 );
    const Agent::Ptr< Eviction > other( new Eviction( 8 ) );
    sdk.on.bcm_field_stat_get = [ & ]( int chip, int statId, bcm_field_stat_t type, uint64_t* v ) {
        evictionHelperIs( other );
        return faulty.bcm_field_stat_get( chip, statId, type, v );
    };
    EXPECT_EQ( helper->getPacketHits( info ), 6U );
    EXPECT_EQ( other->accumulated(), 1U ) << "the second counter";
}

TEST_F( Sdk6CounterReadTest, Reads_TracingOff_AllocateNothing )
{
    const CounterInfo warmUp = allocate( setOf( { 1, 2 } ) );
    Shim::sdk_ = &chips; // The recorder allocates.
    helper->getStatHits( warmUp.statId, CounterType::packets, stageIfp() );
    Shim::sdk_ = &evictionSdk;
    entry = newEntry();
    const CounterInfo info = allocate( setOf( { 1, 2, 5, 6 } ) );
    count( 3, 180 );
    Shim::sdk_ = &chips;

    const std::size_t before = TestSupport::allocationCount();
    const Agent::U64 packets = helper->getPacketHits( info );
    const Agent::U64 bytes = helper->getByteHits( info );
    const Agent::U64 hits = helper->getStatHits( info.statId, CounterType::bytes, stageIfp() );
    const std::size_t after = TestSupport::allocationCount();

    EXPECT_EQ( after, before );
    EXPECT_EQ( packets, 6U );
    EXPECT_EQ( bytes, 360U );
    EXPECT_EQ( hits, 180U );
}

TEST_F( Sdk6CounterReadTest, Reads_BothLocksHeld_AreReleasedForTheReadOnly )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    const Agent::LockAnchor interpreter( Agent::interpreterLock() );
    TestSupport::LockRecorder locks;
    sdk.on.bcm_field_stat_get = [ & ]( auto... ) {
        EXPECT_FALSE( Agent::activityLock().held() );
        EXPECT_FALSE( Agent::interpreterLock().held() );
        locks.eventIs( "get" );
        return 0;
    };
    helper->getPacketHits( info );
    EXPECT_THAT( locks.events(),
                 ElementsAre( "interpreter lock released", "activity lock released", "get",
                              "activity lock taken", "interpreter lock taken" ) );
}

// ---- The eviction helper ---------------------------------------------------------------------

TEST_F( Sdk6CounterReadTest, EvictionHelper_Registered_IsTheInitFuncs )
{
    EXPECT_EQ( helper->evictionHelper(), eviction );
}

TEST_F( Sdk6CounterReadTest, EvictionHelper_NoInitFunc_Dies )
{
    forgetInitFunc();
    CounterInfo info;
    info.counterSet = setOf( { 2 } );
    const auto expectDeath = []( const std::function< void() >& operation ) {
        expectAssertion( site( "evictionHelper" ), noInitFunc, operation );
    };
    expectDeath( [ this ] { static_cast< void >( helper->evictionHelper() ); } );
    expectDeath( [ this ] { helper->getStatHits( 1, CounterType::bytes, stageIfp() ); } );
    expectDeath( [ & ] { helper->getPacketHits( info ); } );
    expectDeath( [ & ] { helper->getByteHits( info ); } );
    expectDeath( [ this ] { helper->getCounterHwIdx( 1, CounterType::bytes, stageIfp() ); } );
    expectDeath( [ & ] { helper->clearHitsForEntry( info ); } );
    expectDeath( [ this ] { helper->verifyCounters( 1, { { CounterType::bytes, 0 } } ); } );
}

TEST_F( Sdk6CounterReadTest, EvictionHelper_InitFuncHasNone_Dies )
{
    evictionHelperIs( nullptr );
    expectAssertion( site( "evictionHelper" ), noEvictionHelper,
                     [ this ] { static_cast< void >( helper->evictionHelper() ); } );
    expectAssertion( site( "evictionHelper" ), noEvictionHelper,
                     [ this ] { helper->getStatHits( 1, CounterType::bytes, stageIfp() ); } );
}

// ---- getCounterHwIdx -------------------------------------------------------------------------

TEST_F( Sdk6CounterReadTest, GetHwIdx_NoPoolSupport_IsInvalidWithoutAnySdkCall )
{
    const CounterInfo info = allocate( setOf( { 1 } ) );
    sdk.clear();
    EXPECT_EQ( helper->getCounterHwIdx( info.statId, CounterType::bytes, stageIfp() ),
               sdk.BCM_FIELD_STAT_INVALID_INDEX() );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
}

TEST_F( Sdk6CounterReadTest, GetHwIdx_PoolSupport_IsTheFirstIndex )
{
    eviction->poolIndicesAvailableIs( true );
    allocate( setOf( { 1 } ) );
    entry = newEntry();
    const CounterInfo info = allocate( setOf( { 1 } ) );
    sdk.clear();
    EXPECT_EQ( helper->getCounterHwIdx( info.statId, CounterType::bytes, stageIfp() ), 1 );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "korvel_bcm_esw_field_stat_pool_index_get( 5, 2, bcmFieldStatBytes, "
                              "&, &, &, &, &, & )" ) )
        << "a traced call";
}

TEST_F( Sdk6CounterReadTest, GetHwIdx_SdkWritesNothing_AllIsInvalid )
{
    eviction->poolIndicesAvailableIs( true );
    const int invalid = sdk.BCM_FIELD_STAT_INVALID_INDEX();
    sdk.on.korvel_bcm_esw_field_stat_pool_index_get = [ & ]( int, int, bcm_field_stat_t,
                                                             int* poolId, int* poolType, int* i0,
                                                             int* i1, int* i2, int* ) {
        for ( const int* value : { poolId, poolType, i0, i1, i2 } ) {
            EXPECT_EQ( *value, invalid );
        }
        return 0;
    };
    EXPECT_EQ( helper->getCounterHwIdx( 1, CounterType::bytes, stageIfp() ), invalid );
    EXPECT_EQ( sdk.countOf( "korvel_bcm_esw_field_stat_pool_index_get" ), 1U );
}

TEST_F( Sdk6CounterReadTest, GetHwIdx_QueryDoesNotSucceed_Dies )
{
    eviction->poolIndicesAvailableIs( true );
    std::vector< int > codes = { 1 };
    for ( const SdkFailure& failure : allSdkFailures() ) {
        codes.push_back( failure.rc );
    }
    for ( const int rc : codes ) {
        sdk.on.korvel_bcm_esw_field_stat_pool_index_get = returns( rc );
        expectAssertion( site( "getCounterHwIdx" ), "BCM_E_NONE == rc", [ this ] {
            helper->getCounterHwIdx( 1, CounterType::bytes, stageIfp() );
        } );
    }
}

TEST_F( Sdk6CounterReadTest, GetHwIdx_TypeZero_Dies )
{
    eviction->poolIndicesAvailableIs( true );
    expectAssertion( site( "translateStatType" ), "false && \"invalid counter type requested\"",
                     [ this ] { helper->getCounterHwIdx( 1, CounterType::invalid, stageIfp() ); } );
}

// ---- verifyCounters --------------------------------------------------------------------------

TEST_F( Sdk6CounterReadTest, Verify_EachTypeOfTheStatus_IsReadByACheckedCall )
{
    const CounterInfo info = allocate( setOf( { 1, 2 } ) );
    sdk.clear();
    helper->verifyCounters( info.statId,
                            { { CounterType::packets, 0 }, { CounterType::bytes, 0 } } );
    EXPECT_THAT( sdk.allCalls(),
                 ElementsAre( "preApiCall()", "bcm_field_stat_get( 5, 1, bcmFieldStatBytes, & )",
                              "preApiCall()",
                              "bcm_field_stat_get( 5, 1, bcmFieldStatPackets, & )" ) );
}

TEST_F( Sdk6CounterReadTest, Verify_OtherValueOrCorruptedReadBack_IsNotCompared )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    count( 5, 0 );
    helper->verifyCounters( info.statId, { { CounterType::packets, 4711 } } );
    faulty.addFromNow(
        { { .function = "bcm_field_stat_get" }, Sim::CorruptOutput{ "value", 99 } } );
    helper->verifyCounters( info.statId, { { CounterType::packets, 5 } } );
    EXPECT_EQ( faulty.calls( "bcm_field_stat_get" ), 2U );
}

TEST_F( Sdk6CounterReadTest, GetHits_ReadBackCorrupted_AreWhatWasRead )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    count( 5, 0 );
    faulty.addFromNow(
        { { .function = "bcm_field_stat_get" }, Sim::CorruptOutput{ "value", 99 } } );
    EXPECT_EQ( helper->getPacketHits( info ), 99U );
}

TEST_F( Sdk6CounterReadTest, Verify_StatisticWasDestroyed_Dies )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    release( info );
    expectFatalCall( site( "verifyCounters", getPacketsText ), -7, "Entry not found", [ & ] {
        helper->verifyCounters( info.statId, { { CounterType::packets, 0 } } );
    } );
}

TEST_F( Sdk6CounterReadTest, Verify_AttachmentWasDropped_IsNotNoticed )
{
    faulty.add( { { .function = "bcm_field_entry_stat_attach" }, Sim::DropCall{} } );
    const CounterInfo info = allocate( setOf( { 2 } ) );
    helper->verifyCounters( info.statId, { { CounterType::packets, 0 } } );
    EXPECT_FALSE( helper->isStatIdInstalledInHardware( info.statId ) );
}

TEST_F( Sdk6CounterReadTest, Verify_UnknownStatisticOrType_Dies )
{
    const CounterInfo info = allocate( setOf( { 2 } ) );
    expectFatalCall( site( "verifyCounters", getPacketsText ), -7, "Entry not found", [ & ] {
        helper->verifyCounters( 4711, { { CounterType::packets, 0 } } );
    } );
    expectFatalCall( site( "verifyCounters", getBytesText ), -4, "Invalid parameter", [ & ] {
        helper->verifyCounters( info.statId, { { CounterType::bytes, 0 } } );
    } );
}

TEST_F( Sdk6CounterReadTest, Verify_EachFailure_Dies )
{
    const auto answer = [ this ]( int rc ) { sdk.on.bcm_field_stat_get = returns( rc ); };
    expectEveryFailureFatal( site( "verifyCounters", getBytesText ), answer, [ this ] {
        helper->verifyCounters( 1, { { CounterType::redBytes, 0 } } );
    } );
    expectEveryFailureFatal( site( "verifyCounters", getPacketsText ), answer, [ this ] {
        helper->verifyCounters( 1, { { CounterType::redPackets, 0 } } );
    } );
}

TEST_F( Sdk6CounterReadTest, Verify_TypeThatIsNeither_Dies )
{
    for ( const int type : { 0, 9, 255 } ) {
        expectAssertion( site( "verifyCounters" ), "0 && \"Invalid counter type\"", [ & ] {
            helper->verifyCounters( 1, { { static_cast< CounterType >( type ), 0 } } );
        } );
    }
}

TEST_F( Sdk6CounterReadTest, Verify_EmptyStatus_NeedsNoEvictionHelper )
{
    forgetInitFunc();
    helper->verifyCounters( 1, {} );
    EXPECT_THAT( sdk.allCalls(), IsEmpty() );
}

// ---- Random traffic --------------------------------------------------------------------------

// The id of a freed statistic is handed out again at once.
TEST_F( Sdk6CounterReadTest, Hits_OfStatisticsThatComeAndGo_AreWhatWasCounted )
{
    TestSupport::ReusingStatSdk reusing( 8, chips.numbering() );
    PeloraTcam::CounterEvictionSdk reusingSdk( reusing, eviction );
    Shim::sdk_ = &reusingSdk;
    std::mt19937 random( 7 );
    int reallocations = 0;
    for ( int round = 0; round < 20'000; ++round ) {
        const CounterInfo info = allocate( setOf( { 1, 2 } ) );
        ASSERT_EQ( info.statId, 1U );
        Agent::U64 packets = 0;
        for ( unsigned read = random() % 4; read > 0; --read ) {
            const unsigned amount = random() % 256;
            reusing.counted( 1, reusing.bcmFieldStatPackets(), amount );
            packets += amount;
            ASSERT_EQ( helper->getPacketHits( info ), packets ) << "round " << round;
            ASSERT_EQ( helper->getByteHits( info ), 0U );
        }
        ++reallocations;
        release( info );
    }
    EXPECT_EQ( reallocations, 20'000 );
    EXPECT_EQ( eviction->accumulated(), 0U );
}

} // namespace
} // namespace LibraryTest
