#include "tools/run/UdfHelperStart.h"

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "agent/base/Locks.h"
#include "sim/SimulatedSdk.h"
#include "tools/scenario/Step.h"

#include <gtest/gtest.h>

namespace Tool {
namespace {

class UdfHelperStartTest : public testing::Test
{
  protected:
    UdfHelperStartTest() { Shim::sdk_ = &sdk; }

    ~UdfHelperStartTest() override { Shim::sdk_ = nullptr; }

    Sim::SimulatedSdk sdk;
    Agent::LockAnchor activity{ Agent::activityLock() };
};

/// The helper for a kind of chip, if it is of that class and has the attributes asked for.
template< class Helper >
bool isMade( Sim::ChipKind chip, UdfHelperOrigin origin )
{
    const auto helper = makeUdfHelper(
        { .chip = chip, .unit = 65535, .pipe = 7, .lagHashingSupported = true, .origin = origin } );
    return dynamic_cast< Helper* >( helper.get() ) != nullptr && helper->moduleId() == 65535 &&
           helper->pipeId() == 7 && helper->lagHashingSupported();
}

TEST_F( UdfHelperStartTest, Make_FromAnyOrigin_IsTheClassForTheChipWithItsAttributes )
{
    using namespace PeloraTcam;
    using Sim::ChipKind;
    for ( const UdfHelperOrigin origin :
          { UdfHelperOrigin::registry, UdfHelperOrigin::factory, UdfHelperOrigin::creator } ) {
        EXPECT_TRUE( isMade< UdfModuleHelper >( ChipKind::sdk6UdfModule, origin ) );
        EXPECT_TRUE( isMade< UdfFlexParserHelper >( ChipKind::sdk6FlexParser, origin ) );
        EXPECT_TRUE( isMade< UdfFlexParserHsdkHelper >( ChipKind::hsdk, origin ) );
    }
}

TEST_F( UdfHelperStartTest, Make_WithoutLagHashing_SaysSo )
{
    EXPECT_FALSE( makeUdfHelper( {} )->lagHashingSupported() );
}

TEST_F( UdfHelperStartTest, Make_UnitThatNoHelperHas_IsRefused )
{
    EXPECT_THROW( static_cast< void >( makeUdfHelper( { .unit = 65536 } ) ), StepError );
    EXPECT_THROW( static_cast< void >( makeUdfHelper( { .unit = -1 } ) ), StepError );
}

} // namespace
} // namespace Tool
