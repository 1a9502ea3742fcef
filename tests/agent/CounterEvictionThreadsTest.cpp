// Who waits for whom while a statistic is being read.

#include "tests/agent/CounterEvictionScene.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <future>

namespace PeloraTcam {
namespace {

using Agent::U32;
using Agent::U64;
using AgentTest::CounterEvictionTest;
using AgentTest::unit;

/// An SDK in which the first reading of one statistic stays until the test lets it go.
class StayingSdk : public Shim::ForwardingSdk
{
  public:
    StayingSdk( Shim::SdkAccess& next, U32 statId )
        : ForwardingSdk( next )
        , statId_( static_cast< int >( statId ) )
    {}

    int
    bcm_field_stat_get( int sdkUnit, int statId, bcm_field_stat_t type, uint64_t* value ) override
    {
        const int rc = next().bcm_field_stat_get( sdkUnit, statId, type, value );
        if ( statId == statId_ && !hasStayed_.exchange( true ) ) {
            entered_.set_value();
            left_.get_future().wait();
        }
        return rc;
    }

    void waitUntilEntered() { entered_.get_future().wait(); }

    void letGo() { left_.set_value(); }

  private:
    const int statId_;
    std::atomic< bool > hasStayed_ = false;
    std::promise< void > entered_;
    std::promise< void > left_;
};

/// One reading of a statistic stays in the SDK for as long as the test wants.
class SlowReadingTest : public CounterEvictionTest
{
  protected:
    SlowReadingTest()
    {
        count( slow, 250, 250 );
        Shim::sdk_ = &staying;
        reading = std::async( std::launch::async, [ this ] { return packetsOf( slow ); } );
        staying.waitUntilEntered();
    }

    ~SlowReadingTest() override
    {
        if ( reading.valid() ) {
            letGo();
        }
    }

    U64 letGo()
    {
        staying.letGo();
        return reading.get();
    }

    template< class Operation >
    void expectDoesNotWait( const Operation& operation )
    {
        auto done = std::async( std::launch::async, operation );
        EXPECT_EQ( done.wait_for( std::chrono::seconds( 10 ) ), std::future_status::ready );
        if ( done.wait_for( std::chrono::seconds( 0 ) ) != std::future_status::ready ) {
            letGo();
        }
    }

    template< class Operation >
    void expectWaits( const Operation& operation )
    {
        auto done = std::async( std::launch::async, operation );
        EXPECT_EQ( done.wait_for( std::chrono::milliseconds( 50 ) ), std::future_status::timeout );
        EXPECT_EQ( letGo(), 250U );
    }

    const U32 slow = created();
    const U32 other = created();
    StayingSdk staying{ sdk, slow };
    std::future< U64 > reading;
};

TEST_F( SlowReadingTest, OtherStatistic_ReadSetClearedMadeAndDestroyed_DoesNotWait )
{
    count( other, 7, 8 );
    expectDoesNotWait( [ this ] {
        EXPECT_EQ( packetsOf( other ), 7U );
        EXPECT_EQ( bytesOf( other ), 8U );
        EXPECT_EQ( sdk.bcm_field_stat_set( unit, static_cast< int >( other ), packets, 0 ), 0 );
        eviction->clearEvictionCounter( unit, other, packets, true, false );
        destroy( created() );
        destroy( other );
    } );
}

TEST_F( SlowReadingTest, SameStatistic_Set_WaitsForTheReading )
{
    expectWaits( [ this ] {
        EXPECT_EQ( sdk.bcm_field_stat_set( unit, static_cast< int >( slow ), packets, 0 ), 0 );
    } );
    EXPECT_EQ( packetsOf( slow ), 250U ) << "a reading from before the setting is no wrap";
}

TEST_F( SlowReadingTest, SameStatistic_Cleared_WaitsForTheReading )
{
    expectWaits( [ this ] { eviction->clearEvictionCounter( unit, slow, packets, true, false ); } );
}

TEST_F( SlowReadingTest, SameStatistic_DestroyedAndMadeAgain_StartsAtZero )
{
    expectDoesNotWait( [ this ] {
        destroy( slow );
        EXPECT_EQ( created(), slow ) << "the SDK hands the id out again";
    } );
    EXPECT_EQ( letGo(), 250U );
    count( slow, 3, 0 );
    EXPECT_EQ( packetsOf( slow ), 3U );
}

/// An SDK that hands the id of a statistic out again before its destruction has returned.
class HurriedSdk : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    int bcm_field_stat_destroy( int sdkUnit, int statId ) override
    {
        const int rc = next().bcm_field_stat_destroy( sdkUnit, statId );
        afterDestruction();
        return rc;
    }

    std::function< void() > afterDestruction;
};

TEST_F( CounterEvictionTest, Destroy_IdGivenAgainBeforeItReturns_KeepsTheNewOne )
{
    HurriedSdk hurried( chip );
    const U32 id = created();
    hurried.afterDestruction = [ & ] {
        ASSERT_EQ( created(), id );
        count( id, 250, 0 );
        packetsOf( id );
    };
    ASSERT_EQ( eviction->fieldStatDestroy( hurried, unit, static_cast< int >( id ) ), 0 );
    count( id, 10, 0 );
    EXPECT_EQ( packetsOf( id ), 260U );
}

} // namespace
} // namespace PeloraTcam
