#include "reference/CounterServices.h"

#include "agent/tcam/InitFuncs.h"
#include "tests/reference/TcamScene.h"

#include <gtest/gtest.h>

namespace Reference {
namespace {

TEST( CounterServicesTest, Life_Sdk6_RegistersTheEvictionHelperAndNothingElse )
{
    const Agent::LockAnchor activity( Agent::activityLock() );
    {
        const CounterServices services( SdkVariant::sdk6, 36 );
        const auto initFunc = PeloraTcam::registeredInitFunc( PeloraTcam::baseSdk6InitFuncName );
        ASSERT_TRUE( initFunc );
        EXPECT_EQ( initFunc->evictionHelper(), services.eviction() );
        EXPECT_EQ( PeloraTcam::getFlexctrManager(), nullptr );
        EXPECT_EQ( PeloraTcam::getCounterObjectManager(), nullptr );
    }
    EXPECT_FALSE( PeloraTcam::registeredInitFunc( PeloraTcam::baseSdk6InitFuncName ) );
}

TEST( CounterServicesTest, Life_Hsdk_PutsTheManagersInUse )
{
    const Agent::LockAnchor activity( Agent::activityLock() );
    {
        const CounterServices services( SdkVariant::hsdk, 36 );
        EXPECT_NE( PeloraTcam::getFlexctrManager(), nullptr );
        EXPECT_NE( PeloraTcam::getCounterObjectManager(), nullptr );
        EXPECT_FALSE( PeloraTcam::registeredInitFunc( PeloraTcam::baseSdk6InitFuncName ) );
    }
    EXPECT_EQ( PeloraTcam::getFlexctrManager(), nullptr );
    EXPECT_EQ( PeloraTcam::getCounterObjectManager(), nullptr );
}

TEST( CounterServicesTest, CounterObjectIsAndDel_StandsInTheChipAndIsGone )
{
    TcamScene scene( "hsdk" ); // Its object has all the counters but one.
    const CounterObjectPlace own{ TcamScene::unit, PeloraTcam::stageIfp(), TcamScene::pipe, 0 };
    const CounterObjectPlace other{ TcamScene::unit, PeloraTcam::stageVfp(), TcamScene::pipe, 0 };
    EXPECT_EQ( scene.chip().flexCounters()->objectsUsed(), 1U );
    EXPECT_FALSE( scene.services.counterObjectIs( other, 100 ) ) << "no counters are left";
    scene.services.counterObjectDel( own );
    EXPECT_EQ( scene.text(), "" );
    EXPECT_TRUE( scene.services.counterObjectIs( other, 100 ) );
    EXPECT_EQ( scene.chip().flexCounters()->objectsUsed(), 1U );
    scene.services.counterObjectDel( own ); // There is none.
    scene.services.counterObjectDel( other );
    EXPECT_EQ( scene.text(), "" );
}

} // namespace
} // namespace Reference
