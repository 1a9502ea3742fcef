// SDK calls whose trace cannot be written: the sink throws.

#include "sdk/SdkCall.h"

#include "tests/support/RecordingSdk.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

/// A thread that holds both locks, with a sink that throws at each line.
class SdkCallExceptionTest : public ::testing::Test
{
  protected:
    SdkCallExceptionTest()
        : previous_( Agent::traceSinkIs(
              []( const Agent::TraceLine& ) { throw std::runtime_error( "from the sink" ); } ) )
    {
        Agent::traceLevelsIs( Shim::apiTraceFacility, 1U << Shim::apiTraceLevel );
        Shim::sdk_ = &sdk_;
        Agent::activityLock().take();
        Agent::interpreterLock().take();
    }

    ~SdkCallExceptionTest() override
    {
        Agent::interpreterLock().release();
        Agent::activityLock().release();
        Shim::sdk_ = nullptr;
        Agent::traceLevelsIs( Shim::apiTraceFacility, 0 );
        Agent::traceSinkIs( std::move( previous_ ) );
    }

    /// The call has been made once, and nobody has been told of an error.
    void expectOneCallAndBothLocksHeld()
    {
        EXPECT_EQ( sdk_.countOf( "bcm_range_destroy" ), 1U );
        EXPECT_EQ( sdk_.countOf( "onApiError" ), 0U );
        EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
        EXPECT_TRUE( Agent::interpreterLock().heldByThisThread() );
    }

    TestSupport::RecordingSdk sdk_;

  private:
    Agent::TraceSink previous_;
};

TEST_F( SdkCallExceptionTest, CheckedCall_SinkThrows_GoesOnToTheCallerWithBothLocksHeld )
{
    EXPECT_THROW( SDK_CHECKED_CALL( bcm_range_destroy, 0, 7 ), std::runtime_error );
    expectOneCallAndBothLocksHeld();
}

TEST_F( SdkCallExceptionTest, TracedCall_SinkThrows_GoesOnToTheCallerWithBothLocksHeld )
{
    EXPECT_THROW( SDK_TRACED_CALL( bcm_range_destroy, 0, 7 ), std::runtime_error );
    expectOneCallAndBothLocksHeld();
}

} // namespace
