#include "agent/tcam/InitFuncs.h"

#include "tests/support/AllocationCount.h"

#include <gtest/gtest.h>

namespace PeloraTcam {
namespace {

using Eviction = PeloraTcamSdk6CounterEvictionHelper;

TEST( InitFuncsTest, Name_OfTheSdk6InitFunc_IsItsTypeName )
{
    EXPECT_EQ( baseSdk6InitFuncName, "PeloraTcam::BaseSdk6InitFunc" );
}

TEST( InitFuncsTest, Registered_NotSet_IsNull )
{
    EXPECT_EQ( registeredInitFunc( baseSdk6InitFuncName ), nullptr );
}

TEST( InitFuncsTest, Registered_SetAndTakenOut_IsItThenNull )
{
    const Agent::Ptr< BaseSdk6InitFunc > first(
        new BaseSdk6InitFunc( Agent::Ptr< Eviction >( new Eviction( 8 ) ) ) );
    const Agent::Ptr< BaseSdk6InitFunc > second( new BaseSdk6InitFunc( nullptr ) );
    registeredInitFuncIs( baseSdk6InitFuncName, first );
    EXPECT_EQ( registeredInitFunc( baseSdk6InitFuncName ), first );
    EXPECT_EQ( registeredInitFunc( "other" ), nullptr );
    registeredInitFuncIs( baseSdk6InitFuncName, second );
    EXPECT_EQ( registeredInitFunc( baseSdk6InitFuncName ), second );
    registeredInitFuncIs( baseSdk6InitFuncName, nullptr );
    registeredInitFuncIs( baseSdk6InitFuncName, nullptr );
    EXPECT_EQ( registeredInitFunc( baseSdk6InitFuncName ), nullptr );
    EXPECT_EQ( first->references(), 1U );
}

TEST( InitFuncsTest, EvictionHelper_OfAnInitFunc_IsTheOneGiven )
{
    const Agent::Ptr< Eviction > eviction( new Eviction( 8 ) );
    EXPECT_EQ( BaseSdk6InitFunc( eviction ).evictionHelper(), eviction );
    EXPECT_EQ( BaseSdk6InitFunc( nullptr ).evictionHelper(), nullptr );
}

TEST( InitFuncsTest, Registered_Lookup_AllocatesNothing )
{
    registeredInitFuncIs( baseSdk6InitFuncName,
                          Agent::Ptr< BaseSdk6InitFunc >( new BaseSdk6InitFunc( nullptr ) ) );
    const std::size_t before = TestSupport::allocationCount();
    const bool found = registeredInitFunc( baseSdk6InitFuncName ) != nullptr;
    EXPECT_EQ( TestSupport::allocationCount(), before );
    EXPECT_TRUE( found );
    registeredInitFuncIs( baseSdk6InitFuncName, nullptr );
}

} // namespace
} // namespace PeloraTcam
