#include "sim/FaultInjectingSdk.h"

#include "tests/support/ErrorText.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

namespace Sim {

namespace {

constexpr int unit = 0;
constexpr int ok = 0;

class FaultInjectingSdkTest : public testing::Test
{
  protected:
    FaultInjectingSdkTest() { simulated.chipIs( unit, builtInProfile( "sdk6-udf" ) ); }

    bcm_range_config_t ports( uint32_t min, uint32_t max )
    {
        bcm_range_config_t range;
        range.rtype = sdk.bcmRangeTypeL4SrcPort();
        range.min = min;
        range.max = max;
        return range;
    }

    int create( bcm_range_t* id = nullptr )
    {
        bcm_range_config_t range = ports( 10, 20 );
        const int rc = sdk.bcm_range_create( unit, 0, &range );
        if ( id != nullptr ) {
            *id = range.rid;
        }
        return rc;
    }

    ChipSnapshot snapshot() const { return simulated.chip( unit )->snapshot(); }

    SimulatedSdk simulated{ SdkNumbering::shuffled( 4 ) };
    FaultInjectingSdk sdk{ simulated };
};

TEST_F( FaultInjectingSdkTest, NoFaults_CallsAndAccessors_AreHandedOn )
{
    bcm_range_t id = 0;
    EXPECT_EQ( create( &id ), ok );
    EXPECT_EQ( id, 1U );
    EXPECT_EQ( sdk.bcmRangeTypeL4SrcPort(), simulated.numbering().bcmRangeTypeL4SrcPort );
    EXPECT_EQ( sdk.bcm_range_destroy( unit, id ), ok );
    EXPECT_EQ( sdk.bcm_range_destroy( unit + 1, id ), ReturnCode::BCM_E_UNIT );
}

TEST_F( FaultInjectingSdkTest, Calls_FunctionsAndInitialisers_CountsFunctionsOnly )
{
    bcm_range_config_t range;
    sdk.bcm_range_config_t_init( &range );
    create();
    create();
    sdk.bcm_range_destroy( unit, 99 );
    EXPECT_EQ( sdk.calls( "bcm_range_create" ), 2U );
    EXPECT_EQ( sdk.calls( "bcm_range_destroy" ), 1U ) << "a failed call counts";
    EXPECT_EQ( sdk.calls( "bcm_range_get" ), 0U );
    EXPECT_EQ( sdk.calls(), 3U );
}

TEST_F( FaultInjectingSdkTest, Calls_UnknownFunction_IsRefused )
{
    EXPECT_EQ( TestSupport::errorText< std::invalid_argument >(
                   [ & ] { static_cast< void >( sdk.calls( "bcm_range_gte" ) ); } ),
               "unknown SDK function 'bcm_range_gte', did you mean 'bcm_range_get'?" );
}

TEST_F( FaultInjectingSdkTest, Fail_OnceAtSecondCall_FailsItWithoutTheChip )
{
    sdk.add(
        { { .function = "bcm_range_create", .call = 2 }, FailCall{ ReturnCode::BCM_E_RESOURCE } } );
    bcm_range_t id = 0;
    EXPECT_EQ( create(), ok );
    const ChipSnapshot before = snapshot();
    EXPECT_EQ( create( &id ), ReturnCode::BCM_E_RESOURCE );
    EXPECT_EQ( id, 0U );
    EXPECT_EQ( snapshot(), before );
    EXPECT_EQ( create( &id ), ok );
    EXPECT_EQ( id, 2U ) << "the chip has not seen the failed call";
}

TEST_F( FaultInjectingSdkTest, Fail_FromThenOn_FailsEveryLaterCall )
{
    sdk.add( { { .function = "bcm_range_create", .call = 2, .fromThenOn = true },
               FailCall{ ReturnCode::BCM_E_FULL } } );
    EXPECT_EQ( create(), ok );
    EXPECT_EQ( create(), ReturnCode::BCM_E_FULL );
    EXPECT_EQ( create(), ReturnCode::BCM_E_FULL );
    EXPECT_EQ( sdk.bcm_range_destroy( unit, 1 ), ok ) << "other functions go on";
}

TEST_F( FaultInjectingSdkTest, Fail_AllFunctions_CountsAllCallsTogether )
{
    sdk.add( { { .function = "all", .call = 3 }, FailCall{ ReturnCode::BCM_E_INTERNAL } } );
    EXPECT_EQ( create(), ok );
    EXPECT_EQ( sdk.bcm_range_destroy( unit, 1 ), ok );
    EXPECT_EQ( create(), ReturnCode::BCM_E_INTERNAL );
    EXPECT_EQ( create(), ok );
}

TEST_F( FaultInjectingSdkTest, Fail_FunctionThatTheChipLacks_AnswersThePlansCode )
{
    sdk.add( { { .function = "all", .fromThenOn = true }, FailCall{ ReturnCode::BCM_E_TIMEOUT } } );
#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    EXPECT_EQ( callWithNothing( &Shim::SdkAccess::name ), ReturnCode::BCM_E_TIMEOUT ) << #name;
    const auto callWithNothing =
        [ this ]< class... Parameters >( int ( Shim::SdkAccess::*function )( Parameters... ) ) {
            return ( sdk.*function )( Parameters{}... );
        };
#include "sdk/SdkFunctions.def"
}

TEST_F( FaultInjectingSdkTest, Throw_AtACall_NamesTheFunctionAndLeavesTheChip )
{
    sdk.add( { { .function = "bcm_range_create" }, ThrowFromCall{} } );
    EXPECT_EQ( TestSupport::errorText< std::runtime_error >( [ & ] { create(); } ),
               "injected fault: bcm_range_create" );
    EXPECT_EQ( snapshot(), ChipSnapshot() );
    EXPECT_EQ( create(), ok );
}

TEST_F( FaultInjectingSdkTest, Delay_AtACall_MakesItLater )
{
    const std::chrono::milliseconds delay( 20 );
    sdk.add( { { .function = "bcm_range_create" }, DelayCall{ delay } } );
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ( create(), ok );
    EXPECT_GE( std::chrono::steady_clock::now() - start, delay );
    EXPECT_EQ( simulated.chip( unit )->ranges().used(), 1U );
}

TEST_F( FaultInjectingSdkTest, Drop_Create_GivesAnIdButLeavesTheChip )
{
    EXPECT_EQ( create(), ok );
    const ChipSnapshot before = snapshot();
    sdk.add( { { .function = "bcm_range_create", .call = 2 }, DropCall{} } );
    bcm_range_t dropped = 0;
    EXPECT_EQ( create( &dropped ), ok );
    EXPECT_EQ( dropped, 2U );
    EXPECT_EQ( snapshot(), before );

    bcm_range_t next = 0;
    EXPECT_EQ( create( &next ), ok );
    EXPECT_EQ( next, 3U );
    EXPECT_EQ( sdk.bcm_range_destroy( unit, dropped ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_F( FaultInjectingSdkTest, Drop_Destroy_LeavesTheRange )
{
    bcm_range_t id = 0;
    create( &id );
    sdk.add( { { .function = "bcm_range_destroy" }, DropCall{} } );
    EXPECT_EQ( sdk.bcm_range_destroy( unit, id ), ok );
    EXPECT_EQ( simulated.chip( unit )->ranges().used(), 1U );
    EXPECT_EQ( sdk.bcm_range_destroy( unit, id ), ok );
    EXPECT_EQ( simulated.chip( unit )->ranges().used(), 0U );
}

TEST_F( FaultInjectingSdkTest, Drop_FailingCall_FailsAsUsual )
{
    sdk.add( { { .function = "all", .fromThenOn = true }, DropCall{} } );
    EXPECT_EQ( sdk.bcm_range_destroy( unit, 5 ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.bcm_range_destroy( unit + 1, 5 ), ReturnCode::BCM_E_UNIT );
}

TEST_F( FaultInjectingSdkTest, Corrupt_ReadBack_ChangesOneFieldOfTheAnswerOnly )
{
    bcm_range_config_t range = ports( 10, 20 );
    create( &range.rid );
    const ChipSnapshot before = snapshot();
    sdk.add( { { .function = "bcm_range_get" }, CorruptOutput{ "max", 21 } } );
    EXPECT_EQ( sdk.bcm_range_get( unit, &range ), ok );
    EXPECT_EQ( range.min, 10U );
    EXPECT_EQ( range.max, 21U );
    EXPECT_EQ( snapshot(), before );
    EXPECT_EQ( sdk.bcm_range_get( unit, &range ), ok );
    EXPECT_EQ( range.max, 20U );
}

TEST_F( FaultInjectingSdkTest, Corrupt_FailingCall_ChangesNothing )
{
    sdk.add( { { .function = "bcm_range_get" }, CorruptOutput{ "max", 21 } } );
    bcm_range_config_t range = ports( 1, 2 );
    EXPECT_EQ( sdk.bcm_range_get( unit, &range ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( range.max, 2U );
}

TEST_F( FaultInjectingSdkTest, Corrupt_IdOfCreate_HandsOutAnother )
{
    sdk.add( { { .function = "bcm_range_create" }, CorruptOutput{ "rid", 77 } } );
    bcm_range_t id = 0;
    EXPECT_EQ( create( &id ), ok );
    EXPECT_EQ( id, 77U );
    EXPECT_EQ( sdk.bcm_range_destroy( unit, 1 ), ok );
}

TEST_F( FaultInjectingSdkTest, Plan_GivenAtConstruction_Happens )
{
    FaultPlan plan;
    plan.add( { { .function = "bcm_range_create" }, FailCall{ ReturnCode::BCM_E_MEMORY } } );
    FaultInjectingSdk planned( simulated, plan );
    bcm_range_config_t range = ports( 1, 2 );
    EXPECT_EQ( planned.bcm_range_create( unit, 0, &range ), ReturnCode::BCM_E_MEMORY );
}

TEST_F( FaultInjectingSdkTest, Add_WhileRunning_CountsFromTheBeginning )
{
    create();
    create();
    sdk.add(
        { { .function = "bcm_range_create", .call = 3 }, FailCall{ ReturnCode::BCM_E_BUSY } } );
    EXPECT_EQ( create(), ReturnCode::BCM_E_BUSY );
}

TEST_F( FaultInjectingSdkTest, AddFromNow_FunctionAndAll_CountsFromNow )
{
    create();
    create();
    sdk.addFromNow(
        { { .function = "bcm_range_create", .call = 2 }, FailCall{ ReturnCode::BCM_E_BUSY } } );
    EXPECT_EQ( create(), ok );
    EXPECT_EQ( create(), ReturnCode::BCM_E_BUSY );
    sdk.addFromNow( { {}, FailCall{ ReturnCode::BCM_E_TIMEOUT } } );
    EXPECT_EQ( sdk.bcm_range_destroy( unit, 1 ), ReturnCode::BCM_E_TIMEOUT );
    EXPECT_EQ( sdk.bcm_range_destroy( unit, 1 ), ok );
}

TEST_F( FaultInjectingSdkTest, Add_WrongFault_IsRefused )
{
    const std::string text = "unknown SDK function 'bcm_range_gett', did you mean 'bcm_range_get'?";
    const Fault wrong{ { .function = "bcm_range_gett" }, DropCall{} };
    EXPECT_EQ( TestSupport::errorText< std::invalid_argument >( [ & ] { sdk.add( wrong ); } ),
               text );
    EXPECT_EQ(
        TestSupport::errorText< std::invalid_argument >( [ & ] { sdk.addFromNow( wrong ); } ),
        text );

    create();
    const Fault noCall{ { .function = "bcm_range_create", .call = 0 }, DropCall{} };
    EXPECT_EQ(
        TestSupport::errorText< std::invalid_argument >( [ & ] { sdk.addFromNow( noCall ); } ),
        "calls are counted from 1, found 0" );
}

TEST_F( FaultInjectingSdkTest, FlippedBit_AfterItsCall_IsHeldAndReadBack )
{
    const Fault noField{ { .function = "bcm_range_create" },
                         FlipBit{ { "range checker 1", "instance", 0 } } };
    EXPECT_THROW( sdk.add( noField ), std::invalid_argument );
    sdk.add( { { .function = "bcm_range_create" }, FlipBit{ { "range checker 1", "max", 2 } } } );
    EXPECT_EQ( create(), ok );
    bcm_range_config_t config;
    config.rid = 1;
    EXPECT_EQ( sdk.bcm_range_get( unit, &config ), ok );
    const uint32_t flipped = config.max;
    sdk.clearFaults();
    EXPECT_EQ( create(), ok );
    config.rid = 2;
    EXPECT_EQ( sdk.bcm_range_get( unit, &config ), ok );
    EXPECT_EQ( flipped, config.max ^ 4U );
}

TEST_F( FaultInjectingSdkTest, ClearFaults_TakesThemAwayAndKeepsCounting )
{
    sdk.add( { { .function = "all", .fromThenOn = true }, FailCall{ ReturnCode::BCM_E_BUSY } } );
    EXPECT_EQ( create(), ReturnCode::BCM_E_BUSY );
    sdk.clearFaults();
    EXPECT_EQ( create(), ok );
    EXPECT_EQ( sdk.calls(), 2U );
}

TEST_F( FaultInjectingSdkTest, SeveralThreads_DroppedCreates_LeaveTheOthersWork )
{
    simulated.chipIs( unit, builtInProfile( "sdk6-large" ) );
    for ( uint64_t call = 2; call <= 128; call += 2 ) {
        sdk.add( { { .function = "bcm_range_create", .call = call }, DropCall{} } );
    }
    std::vector< std::thread > threads;
    for ( int i = 0; i < 4; ++i ) {
        threads.emplace_back( [ this ] {
            for ( int n = 0; n < 32; ++n ) {
                create();
            }
        } );
    }
    for ( std::thread& thread : threads ) {
        thread.join();
    }
    EXPECT_EQ( sdk.calls( "bcm_range_create" ), 128U );
    EXPECT_EQ( simulated.chip( unit )->ranges().used(), 64U );
}

} // namespace

} // namespace Sim
