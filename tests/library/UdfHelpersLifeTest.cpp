// The ends of the three UDF helpers: what the destructor marks, and what is left behind by a
// construction that throws.

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "agent/base/SlabAllocator.h"
#include "tests/library/NodeFlags.h"
#include "tests/support/TraceRecorder.h"

#include <stdexcept>

namespace LibraryTest {
namespace {

template< class Helper >
class UdfHelpersLifeTest : public ::testing::Test
{
  protected:
    /// How many objects there are, as the slab allocator counts them.
    static std::size_t liveInSlab() { return Agent::slabUse( typeid( Helper ).name() ).live; }
};

using Helpers = ::testing::Types< PeloraTcam::UdfModuleHelper,
                                  PeloraTcam::UdfFlexParserHelper,
                                  PeloraTcam::UdfFlexParserHsdkHelper >;
TYPED_TEST_SUITE( UdfHelpersLifeTest, Helpers );

TYPED_TEST( UdfHelpersLifeTest, Destroy_InPlace_MarksTheNodeAsBeingDestroyed )
{
    EXPECT_EQ( flagsAfterDestruction< TypeParam >( Agent::U16{ 5 }, Agent::U8{ 3 }, true ),
               0x20000000U );
}

// The trace's sink stands for anything that throws out of `handleInitialized()`.
TYPED_TEST( UdfHelpersLifeTest, Make_HandleInitializedThrows_LeavesNothingAllocated )
{
    const std::size_t count = TypeParam::memAllocationTracker_.count();
    const std::size_t live = this->liveInSlab();
    const TestSupport::TraceRecorder levels( "*", 1U << 4 );
    const Agent::TraceSink before = Agent::traceSinkIs(
        []( const Agent::TraceLine& ) { throw std::runtime_error( "no more paper" ); } );
    EXPECT_THROW( static_cast< void >( TypeParam::make( Agent::U16{ 1 }, Agent::U8{ 2 }, true ) ),
                  std::runtime_error );
    Agent::traceSinkIs( before );
    EXPECT_EQ( TypeParam::memAllocationTracker_.count(), count );
    EXPECT_EQ( this->liveInSlab(), live );
}

} // namespace
} // namespace LibraryTest
