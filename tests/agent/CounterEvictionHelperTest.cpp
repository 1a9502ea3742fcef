#include "agent/tcam/CounterEvictionHelper.h"

#include "tests/agent/CounterEvictionScene.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <array>
#include <map>
#include <random>
#include <set>

namespace PeloraTcam {
namespace {

using Agent::U32;
using Agent::U64;
using AgentTest::CounterEvictionTest;
using AgentTest::unit;
using ::testing::ElementsAre;

TEST_F( CounterEvictionTest, Get_AcrossWraps_GivesTheSum )
{
    const U32 id = created();
    EXPECT_EQ( packetsOf( id ), 0U );
    for ( U64 round = 1; round <= 100; ++round ) {
        count( id, 255, 100 );
        EXPECT_EQ( packetsOf( id ), 255 * round );
        EXPECT_EQ( bytesOf( id ), 100 * round );
    }
}

TEST_F( CounterEvictionTest, Get_SdkFails_LeavesTheValueAndGivesTheCode )
{
    U64 value = 4711;
    EXPECT_EQ( eviction->fieldStatGetPackets( unit, 99, packets, &value ), -7 );
    EXPECT_EQ( eviction->fieldStatGetBytes( unit, 99, bytes, &value ), -7 );
    EXPECT_EQ( value, 4711U );
    EXPECT_EQ( eviction->accumulated(), 0U );
}

/// What is refused leaves nothing behind.
TEST_F( CounterEvictionTest, Get_OfManyUnknownStatistics_TakesNoMemory )
{
    U64 value = 0;
    const std::size_t before = mallinfo2().uordblks;
    for ( U32 id = 1000; id < 3000; ++id ) {
        ASSERT_EQ( eviction->fieldStatGetPackets( unit, id, packets, &value ), -7 );
        ASSERT_EQ( sdk.bcm_field_stat_set( unit, static_cast< int >( id ), packets, 0 ), -7 );
    }
    EXPECT_LT( mallinfo2().uordblks, before + 2000 );
}

TEST_F( CounterEvictionTest, Get_PositiveReturnCode_IsGivenWithTheSum )
{
    TestSupport::RecordingSdk recording;
    recording.on.bcm_field_stat_get = []( int, int, bcm_field_stat_t, uint64_t* value ) {
        *value = 9;
        return 2;
    };
    Shim::sdk_ = &recording;
    U64 value = 0;
    EXPECT_EQ( eviction->fieldStatGetPackets( unit, 5, packets, &value ), 2 );
    EXPECT_EQ( value, 9U );
    EXPECT_THAT( recording.calls(),
                 ElementsAre( "bcm_field_stat_get( 3, 5, bcmFieldStatPackets, & )" ) );
}

TEST_F( CounterEvictionTest, Clear_PacketsOrBytes_ClearsThemApart )
{
    const U32 id = created();
    count( id, 250, 251 );
    packetsOf( id );
    bytesOf( id );
    ASSERT_EQ( sdk.bcm_field_stat_set( unit, static_cast< int >( id ), packets, 0 ), 0 );
    eviction->clearEvictionCounter( unit, id, packets, true, false );
    count( id, 3, 10 );
    EXPECT_EQ( packetsOf( id ), 3U );
    EXPECT_EQ( bytesOf( id ), 261U );
}

TEST_F( CounterEvictionTest, Clear_OtherUnitStatisticTypeOrKind_ClearsNothing )
{
    const U32 id = created();
    count( id, 250, 0 );
    packetsOf( id );
    eviction->clearEvictionCounter( unit + 1, id, packets, true, true );
    eviction->clearEvictionCounter( unit, id + 1, packets, true, true );
    eviction->clearEvictionCounter( unit, id, bytes, true, true );
    eviction->clearEvictionCounter( unit, id, packets, false, true );
    eviction->clearEvictionCounter( unit, id, packets, false, false );
    count( id, 10, 0 );
    EXPECT_EQ( packetsOf( id ), 260U );
}

TEST_F( CounterEvictionTest, Create_WithTheIdOfADestroyedOne_StartsAtZero )
{
    const U32 old = created();
    count( old, 250, 250 );
    count( old, 5, 5 );
    EXPECT_EQ( packetsOf( old ), 255U );
    EXPECT_EQ( bytesOf( old ), 255U );
    destroy( old );
    EXPECT_EQ( eviction->accumulated(), 0U );
    const U32 next = created();
    ASSERT_EQ( next, old ) << "the SDK hands the id out again";
    count( next, 2, 3 );
    EXPECT_EQ( packetsOf( next ), 2U );
    EXPECT_EQ( bytesOf( next ), 3U );
}

TEST_F( CounterEvictionTest, Create_WithAnIdThatWasNotDestroyed_StartsAtZero )
{
    const U32 old = created();
    count( old, 250, 0 );
    packetsOf( old );
    ASSERT_EQ( chip.bcm_field_stat_destroy( unit, static_cast< int >( old ) ), 0 )
        << "behind the eviction helper's back";
    const U32 next = created();
    ASSERT_EQ( next, old );
    count( next, 1, 0 );
    EXPECT_EQ( packetsOf( next ), 1U );
}

TEST_F( CounterEvictionTest, Destroy_Refused_KeepsTheSums )
{
    const U32 id = created();
    count( id, 250, 0 );
    packetsOf( id );
    EXPECT_EQ( sdk.bcm_field_stat_destroy( unit, 99 ), -7 );
    count( id, 10, 0 );
    EXPECT_EQ( packetsOf( id ), 260U );
}

TEST_F( CounterEvictionTest, Destroyed_OneOfSeveral_ForgetsItAlone )
{
    const U32 first = created();
    const U32 second = created();
    const U32 third = created();
    for ( const U32 id : { first, second, third } ) {
        count( id, 250, 0 );
        packetsOf( id );
    }
    TestSupport::RecordingSdk willing;
    EXPECT_EQ( eviction->fieldStatDestroy( willing, unit + 1, static_cast< int >( second ) ), 0 );
    EXPECT_EQ( eviction->accumulated(), 6U );
    destroy( second );
    EXPECT_EQ( eviction->accumulated(), 4U );
    count( first, 10, 0 );
    count( third, 10, 0 );
    EXPECT_EQ( packetsOf( first ), 260U );
    EXPECT_EQ( packetsOf( third ), 260U );
}

TEST_F( CounterEvictionTest, Create_Refused_TellsNobody )
{
    TestSupport::RecordingSdk recording;
    recording.on.bcm_field_stat_create = TestSupport::returns( -6 );
    CounterEvictionSdk full( recording, eviction );
    bcm_field_stat_t type = packets;
    int id = 1;
    EXPECT_EQ( full.bcm_field_stat_create( unit, 7, 1, &type, &id ), -6 );
    EXPECT_EQ( eviction->accumulated(), 0U );
}

TEST_F( CounterEvictionTest, Get_OfACreatedStatistic_AllocatesNothing )
{
    const U32 id = created();
    U64 value = 0;
    const std::size_t before = TestSupport::allocationCount();
    eviction->fieldStatGetPackets( unit, id, packets, &value );
    eviction->fieldStatGetBytes( unit, id, bytes, &value );
    EXPECT_EQ( TestSupport::allocationCount(), before );
}

TEST_F( CounterEvictionTest, PoolIndicesAvailable_Default_IsFalse )
{
    EXPECT_FALSE( eviction->poolIndicesAvailable() );
    eviction->poolIndicesAvailableIs( true );
    EXPECT_TRUE( eviction->poolIndicesAvailable() );
}

// ---- Setting ---------------------------------------------------------------------------------

TEST_F( CounterEvictionTest, Get_BetweenSettingToZeroAndClearing_DoesNotTakeItForAWrap )
{
    const U32 id = created();
    count( id, 250, 250 );
    EXPECT_EQ( packetsOf( id ), 250U );
    EXPECT_EQ( bytesOf( id ), 250U );

    ASSERT_EQ( sdk.bcm_field_stat_set( unit, static_cast< int >( id ), packets, 0 ), 0 );
    EXPECT_EQ( packetsOf( id ), 250U );
    count( id, 3, 0 );
    EXPECT_EQ( packetsOf( id ), 253U );

    eviction->clearEvictionCounter( unit, id, packets, true, false );
    count( id, 2, 10 );
    EXPECT_EQ( packetsOf( id ), 5U ) << "all since the setting";
    EXPECT_EQ( bytesOf( id ), 260U ) << "the other counter goes on across its wrap";
}

TEST_F( CounterEvictionTest, Set_ToAnyValue_IsNoCounting )
{
    const U32 id = created();
    count( id, 250, 0 );
    packetsOf( id );
    ASSERT_EQ( sdk.bcm_field_stat_set( unit, static_cast< int >( id ), packets, 100 ), 0 );
    count( id, 7, 0 );
    EXPECT_EQ( packetsOf( id ), 257U );
}

TEST_F( CounterEvictionTest, Set_Refused_LeavesTheReadingsAsTheyAre )
{
    TestSupport::RecordingSdk recording;
    recording.on.bcm_field_stat_set = TestSupport::returns( -7 );
    CounterEvictionSdk refusing( recording, eviction );
    const U32 id = created();
    count( id, 250, 0 );
    packetsOf( id );
    EXPECT_EQ( refusing.bcm_field_stat_set( unit, static_cast< int >( id ), packets, 0 ), -7 );
    EXPECT_EQ( packetsOf( id ), 250U );
}

// ---- Random traffic --------------------------------------------------------------------------

__extension__ typedef unsigned __int128 U128;

/// What a counter has truly counted since it was made or cleared.
struct TrueCount
{
    U128 total = 0;
    U128 sinceReading = 0; ///< less than one wrap
};

/// Random traffic over statistics that come and go, against counts of 128 bits.
class Traffic
{
  public:
    Traffic( unsigned counterBits, unsigned seed )
        : random_( seed )
        , wrap_( U128{ 1 } << counterBits )
        , chip_( counterBits )
        , eviction_( new PeloraTcamSdk6CounterEvictionHelper( counterBits ) )
        , sdk_( chip_, eviction_ )
    {
        Shim::sdk_ = &sdk_;
    }

    Traffic( const Traffic& ) = delete;
    Traffic& operator=( const Traffic& ) = delete;

    ~Traffic() { Shim::sdk_ = nullptr; }

    void step()
    {
        const unsigned choice = static_cast< unsigned >( random_() % 100 );
        if ( live_.empty() || ( choice < 3 && live_.size() < 20 ) ) {
            create();
        } else if ( choice < 5 ) {
            destroy();
        } else if ( choice < 10 ) {
            clear();
        } else if ( choice < 60 ) {
            count();
        } else {
            read();
        }
    }

    [[nodiscard]] U64 reallocations() const { return reallocations_; }

    [[nodiscard]] U64 wraps() const { return wraps_; }

  private:
    using Counts = std::array< TrueCount, 2 >; // bytes, packets

    bcm_field_stat_t typeOf( bool isPackets ) const
    {
        return isPackets ? chip_.bcmFieldStatPackets() : chip_.bcmFieldStatBytes();
    }

    std::map< int, Counts >::iterator any()
    {
        return std::next( live_.begin(), static_cast< long >( random_() % live_.size() ) );
    }

    void create()
    {
        std::array< bcm_field_stat_t, 2 > types = { typeOf( false ), typeOf( true ) };
        int id = 0;
        ASSERT_EQ( sdk_.bcm_field_stat_create( unit, 7, 2, types.data(), &id ), 0 );
        ASSERT_TRUE( live_.try_emplace( id ).second );
        reallocations_ += ever_.insert( id ).second ? 0 : 1;
    }

    void destroy()
    {
        const auto statistic = any();
        ASSERT_EQ( sdk_.bcm_field_stat_destroy( unit, statistic->first ), 0 );
        live_.erase( statistic );
    }

    void clear()
    {
        const auto statistic = any();
        const bool isPackets = random_() % 2 == 0;
        const bcm_field_stat_t type = typeOf( isPackets );
        ASSERT_EQ( sdk_.bcm_field_stat_set( unit, statistic->first, type, 0 ), 0 );
        eviction_->clearEvictionCounter( unit, static_cast< U32 >( statistic->first ), type,
                                         isPackets, !isPackets );
        statistic->second.at( isPackets ) = {};
    }

    void count()
    {
        const auto statistic = any();
        const bool isPackets = random_() % 2 == 0;
        TrueCount& truth = statistic->second.at( isPackets );
        const U128 room = wrap_ - 1 - truth.sinceReading;
        const U64 amount = random_() % 4 == 0
                               ? static_cast< U64 >( room )
                               : static_cast< U64 >( U128{ random_() } % ( room + 1 ) );
        ASSERT_EQ( chip_.counted( statistic->first, typeOf( isPackets ), amount ), 0 );
        wraps_ += truth.total / wrap_ != ( truth.total + amount ) / wrap_ ? 1 : 0;
        truth.total += amount;
        truth.sinceReading += amount;
    }

    void read()
    {
        const auto statistic = any();
        const bool isPackets = random_() % 2 == 0;
        TrueCount& truth = statistic->second.at( isPackets );
        const U32 id = static_cast< U32 >( statistic->first );
        U64 value = 0;
        ASSERT_EQ( isPackets
                       ? eviction_->fieldStatGetPackets( unit, id, typeOf( isPackets ), &value )
                       : eviction_->fieldStatGetBytes( unit, id, typeOf( isPackets ), &value ),
                   0 );
        ASSERT_EQ( value, static_cast< U64 >( truth.total ) );
        truth.sinceReading = 0;
    }

    std::mt19937_64 random_;
    const U128 wrap_;
    TestSupport::ReusingStatSdk chip_;
    Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > eviction_;
    CounterEvictionSdk sdk_;
    std::map< int, Counts > live_;
    std::set< int > ever_;
    U64 reallocations_ = 0;
    U64 wraps_ = 0;
};

class CounterEvictionTrafficTest : public ::testing::TestWithParam< unsigned >
{};

TEST_P( CounterEvictionTrafficTest, Get_AtRandomAmongAllOperations_GivesWhatWasCounted )
{
    Traffic traffic( GetParam(), 20240229 );
    for ( int step = 0; step < 250'000; ++step ) {
        traffic.step();
        ASSERT_FALSE( HasFatalFailure() ) << "step " << step;
    }
    EXPECT_GT( traffic.reallocations(), 1000U );
    EXPECT_GT( traffic.wraps(), 1000U );
}

// A million operations in all.
INSTANTIATE_TEST_SUITE_P( CounterBits,
                          CounterEvictionTrafficTest,
                          ::testing::Values( 1U, 8U, 36U, 64U ) );

} // namespace
} // namespace PeloraTcam
