#include "sim/FaultPlan.h"

#include "sim/ReturnCode.h"
#include "tests/support/ErrorText.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Sim {

namespace {

constexpr SdkFunctionId create = SdkFunctionId::bcm_range_create;
constexpr SdkFunctionId get = SdkFunctionId::bcm_range_get;

std::string refusal( const Fault& fault )
{
    FaultPlan plan;
    const std::string text =
        TestSupport::errorText< std::invalid_argument >( [ & ] { plan.add( fault ); } );
    EXPECT_EQ( plan.empty(), text != "no error" );
    return text;
}

bool isDropDue( const FaultPlan& plan, SdkFunctionId function, uint64_t call, uint64_t callOfAll )
{
    return plan.dueAt( function, call, callOfAll ).drop;
}

TEST( FaultPlanTest, Add_UnknownFunction_IsRefusedWithHint )
{
    EXPECT_EQ( refusal( { { .function = "bcm_range_creat" }, DropCall{} } ),
               "unknown SDK function 'bcm_range_creat', did you mean 'bcm_range_create'?" );
    EXPECT_EQ( refusal( { { .function = "nonsense" }, DropCall{} } ),
               "unknown SDK function 'nonsense'" );
    EXPECT_EQ( refusal( { { .function = "" }, DropCall{} } ), "unknown SDK function ''" );
}

TEST( FaultPlanTest, Add_UnknownOutput_IsRefusedWithHint )
{
    EXPECT_EQ(
        refusal( { { .function = "bcm_policer_get" }, CorruptOutput{ "ckbits", 1 } } ),
        "bcm_policer_get has no output 'ckbits', did you mean 'ckbits_sec' or 'ckbits_burst'?" );
    EXPECT_EQ( refusal( { { .function = "bcm_policer_get" }, CorruptOutput{ "ckbits_sek", 1 } } ),
               "bcm_policer_get has no output 'ckbits_sek', did you mean 'ckbits_sec'?" );
    EXPECT_EQ( refusal( { { .function = "bcm_range_destroy" }, CorruptOutput{ "rid", 1 } } ),
               "bcm_range_destroy has no output 'rid'" );
}

TEST( FaultPlanTest, Add_OutputOfAllFunctions_IsRefused )
{
    EXPECT_EQ( refusal( { {}, CorruptOutput{ "rid", 1 } } ),
               "an output belongs to one function, found 'all'" );
}

TEST( FaultPlanTest, Add_ValueTooWide_IsRefused )
{
    EXPECT_EQ( refusal( { { .function = "bcm_range_get" }, CorruptOutput{ "max", 0x100000000 } } ),
               "output 'max' of bcm_range_get has 32 bits and cannot hold 4294967296" );
    EXPECT_EQ( refusal( { { .function = "bcm_range_get" }, CorruptOutput{ "max", 0xFFFFFFFF } } ),
               "no error" );
}

TEST( FaultPlanTest, Add_NumberWithoutSense_IsRefused )
{
    EXPECT_EQ( refusal( { { .call = 0 }, DropCall{} } ), "calls are counted from 1, found 0" );
    EXPECT_EQ( refusal( { {}, FailCall{ 0 } } ), "expected a return code below 0, found 0" );
    EXPECT_EQ( refusal( { {}, FailCall{ 1 } } ), "expected a return code below 0, found 1" );
    EXPECT_EQ( refusal( { {}, DelayCall{ std::chrono::milliseconds( -1 ) } } ),
               "expected a delay of 0 ms or more" );
}

TEST( FaultPlanTest, DueAt_OnceAtCallOfFunction_IsThatCallOnly )
{
    FaultPlan plan;
    plan.add( { { .function = "bcm_range_create", .call = 2 }, DropCall{} } );
    EXPECT_FALSE( isDropDue( plan, create, 1, 2 ) );
    EXPECT_TRUE( isDropDue( plan, create, 2, 9 ) );
    EXPECT_FALSE( isDropDue( plan, create, 3, 10 ) );
    EXPECT_FALSE( isDropDue( plan, get, 2, 11 ) );
}

TEST( FaultPlanTest, DueAt_FromThenOn_IsEveryLaterCall )
{
    FaultPlan plan;
    plan.add( { { .function = "bcm_range_create", .call = 2, .fromThenOn = true }, DropCall{} } );
    EXPECT_FALSE( isDropDue( plan, create, 1, 1 ) );
    EXPECT_TRUE( isDropDue( plan, create, 2, 2 ) );
    EXPECT_TRUE( isDropDue( plan, create, 300, 300 ) );
    EXPECT_FALSE( isDropDue( plan, get, 300, 300 ) );
}

TEST( FaultPlanTest, DueAt_AllFunctions_CountsCallsTogether )
{
    FaultPlan plan;
    plan.add( { { .function = "all", .call = 3 }, DropCall{} } );
    EXPECT_FALSE( isDropDue( plan, create, 3, 5 ) );
    EXPECT_TRUE( isDropDue( plan, create, 1, 3 ) );
    EXPECT_TRUE( isDropDue( plan, get, 2, 3 ) );
}

TEST( FaultPlanTest, DueAt_EmptyPlan_IsNothing )
{
    const DueFaults due = FaultPlan().dueAt( create, 1, 1 );
    EXPECT_EQ( due.delay.count(), 0 );
    EXPECT_FALSE( due.end );
    EXPECT_FALSE( due.drop );
    EXPECT_TRUE( due.corruptions.empty() );
}

TEST( FaultPlanTest, DueAt_SeveralFaults_AllCountAndTheFirstEndWins )
{
    FaultPlan plan;
    plan.add( { {}, DelayCall{ std::chrono::milliseconds( 2 ) } } );
    plan.add( { {}, DropCall{} } );
    plan.add( { { .function = "bcm_range_get" }, CorruptOutput{ "min", 3 } } );
    plan.add( { { .function = "bcm_range_get" }, CorruptOutput{ "max", 4 } } );
    plan.add( { {}, FailCall{ ReturnCode::BCM_E_BUSY } } );
    plan.add( { {}, ThrowFromCall{} } );
    plan.add( { {}, DelayCall{ std::chrono::milliseconds( 5 ) } } );

    const DueFaults due = plan.dueAt( get, 1, 1 );
    EXPECT_EQ( due.delay.count(), 7 );
    EXPECT_TRUE( due.drop );
    ASSERT_EQ( due.corruptions.size(), 2U );
    EXPECT_EQ( due.corruptions[ 1 ].output, "max" );
    EXPECT_EQ( due.corruptions[ 1 ].value, 4U );
    ASSERT_TRUE( due.end );
    ASSERT_TRUE( std::holds_alternative< FailCall >( *due.end ) );
    EXPECT_EQ( std::get< FailCall >( *due.end ).rc, -10 );
}

} // namespace

} // namespace Sim
