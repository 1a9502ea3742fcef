// The arguments of SDK calls, which may be read from objects that another thread changes; and the
// access object, which may not be set.

#include "sdk/SdkCall.h"

#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

class SdkCallArgumentsTest : public ::testing::Test
{
  protected:
    SdkCallArgumentsTest()
    {
        Shim::sdk_ = &sdk_;
        Agent::activityLock().take();
    }

    ~SdkCallArgumentsTest() override
    {
        Agent::activityLock().release();
        Shim::sdk_ = nullptr;
    }

    /// Reads the id as an argument, with the lock that it is guarded by.
    bcm_range_t idOfSharedObject()
    {
        EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
        ++reads_;
        return shared_;
    }

    TestSupport::RecordingSdk sdk_;
    bcm_range_t shared_ = 7;
    int reads_ = 0;
};

TEST_F( SdkCallArgumentsTest, AnyCall_ReadsItsArgumentsOnceWithTheLockHeld )
{
    SDK_CHECKED_CALL( bcm_range_destroy, 0, idOfSharedObject() );
    SDK_CHECKED_CALL_AS( "text", bcm_range_destroy, 1, idOfSharedObject() );
    SDK_TRACED_CALL( bcm_range_destroy, 2, idOfSharedObject() );
    SDK_TRACED_CALL_AS( "text", bcm_range_destroy, 3, idOfSharedObject() );

    EXPECT_EQ( reads_, 4 );
    EXPECT_THAT( sdk_.calls(),
                 ElementsAre( "bcm_range_destroy( 0, 7 )", "bcm_range_destroy( 1, 7 )",
                              "bcm_range_destroy( 2, 7 )", "bcm_range_destroy( 3, 7 )" ) );
}

/// Another thread of the agent, which changes the shared object as soon as it gets the lock.
TEST_F( SdkCallArgumentsTest, AnyCall_AnotherThreadChangesTheObject_PassesWhatWasThereBefore )
{
    class ChangingObserver final : public Agent::LockObserver
    {
      public:
        explicit ChangingObserver( bcm_range_t& shared )
            : shared_( shared )
        {
            Agent::lockObserverIs( this );
        }

        ~ChangingObserver() override { Agent::lockObserverIs( nullptr ); }

        void taken( const Agent::OwnedLock& ) override {}

        void released( const Agent::OwnedLock& ) override { shared_ = 99; }

      private:
        bcm_range_t& shared_;
    };

    const ChangingObserver observer( shared_ );
    SDK_CHECKED_CALL( bcm_range_destroy, 0, shared_ );
    shared_ = 8;
    SDK_TRACED_CALL( bcm_range_destroy, 0, shared_ );

    EXPECT_THAT( sdk_.calls(),
                 ElementsAre( "bcm_range_destroy( 0, 7 )", "bcm_range_destroy( 0, 8 )" ) );
}

// ---- No access object --------------------------------------------------------------------------

constexpr const char* notSet =
    "tests/sdk/SdkCallArgumentsTest.cpp:[0-9]+: .*Assertion `Shim::sdk_ && \"SDK access object is "
    "not set\"' failed";

TEST_F( SdkCallArgumentsTest, AnyUse_WhileThereIsNoAccessObject_IsAnAssertionFailureAtItsPlace )
{
    Shim::sdk_ = nullptr;
    EXPECT_DEATH( SDK_CHECKED_CALL( bcm_range_destroy, 0, 7 ), notSet );
    EXPECT_DEATH( SDK_TRACED_CALL( bcm_range_destroy, 0, 7 ), notSet );
    EXPECT_DEATH( Shim::checkedCall( apiTraceHandle_, SDK_CALL_SITE( "x" ), [] { return 0; } ),
                  notSet );
    EXPECT_DEATH( static_cast< void >( Shim::sdk().BCM_E_NONE() ), notSet );
    EXPECT_DEATH( Shim::writeApiError( SDK_CALL_SITE( "x" ), -1 ), notSet );
}

TEST_F( SdkCallArgumentsTest, Sdk_WhileThereIsAnAccessObject_IsThat )
{
    EXPECT_EQ( &Shim::sdk(), &sdk_ );
}

} // namespace
