#include "reference/TranslationStart.h"

#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "sim/SimulatedSdk.h"
#include "tests/support/EnvironmentNumbering.h"

#include <gtest/gtest.h>

namespace Reference {
namespace {

TEST( TranslationStartTest, BuildTranslationMaps_OnceAndAgain_FillsWhatTheManagersUse )
{
    Sim::SimulatedSdk sdk( TestSupport::environmentNumbering() );
    Shim::sdk_ = &sdk;
    for ( int time = 0; time < 2; ++time ) {
        buildTranslationMaps();
        EXPECT_EQ( PeloraTcam::qualifierMap.size(), 183U );
        EXPECT_EQ( PeloraTcam::actionMap.size(), 113U );
        EXPECT_EQ( PeloraTcam::groupModeTypeMap.size(), 7U );
        EXPECT_EQ( PeloraTcam::groupPacketTypeMap.size(), 7U );
        EXPECT_EQ( PeloraTcam::ipTypeMap.size(), 13U );
        EXPECT_EQ( PeloraTcam::pktTypeMap.size(), 14U );
        EXPECT_EQ( PeloraTcam::tunnelTypeMap.size(), 2U );
        EXPECT_EQ( PeloraTcam::l2PktTypeMap.size(), 4U );
        EXPECT_EQ( PeloraTcam::pktFwdTypeMap.size(), 5U );
    }
    Shim::sdk_ = nullptr;
}

} // namespace
} // namespace Reference
