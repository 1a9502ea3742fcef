#include "sim/SimulatedSdk.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

namespace Sim {

namespace {

template< class... Parameters >
int callUnit( Shim::SdkAccess& sdk,
              int ( Shim::SdkAccess::*function )( int, Parameters... ),
              int unit )
{
    return ( sdk.*function )( unit, Parameters{}... );
}

class SimulatedSdkTest : public testing::Test
{
  protected:
    SimulatedSdkTest()
    {
        sdk.chipIs( 0, builtInProfile( "sdk6-tiny" ) );
        sdk.chipIs( 7, builtInProfile( "sdk6-large" ) );
    }

    bcm_range_config_t ports( uint32_t min, uint32_t max )
    {
        bcm_range_config_t range;
        sdk.bcm_range_config_t_init( &range );
        range.rtype = sdk.bcmRangeTypeL4DstPort();
        range.min = min;
        range.max = max;
        return range;
    }

    int create( int unit )
    {
        bcm_range_config_t range = ports( 1, 2 );
        return sdk.bcm_range_create( unit, 0, &range );
    }

    SimulatedSdk sdk{ SdkNumbering::shuffled( 11 ) };
};

TEST_F( SimulatedSdkTest, AnyFunction_UnitWithoutChip_IsUnknownUnit )
{
#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    EXPECT_EQ( callUnit( sdk, &Shim::SdkAccess::name, 1 ), ReturnCode::BCM_E_UNIT ) << #name;      \
    EXPECT_EQ( callUnit( sdk, &Shim::SdkAccess::name, -1 ), ReturnCode::BCM_E_UNIT ) << #name;
#include "sdk/SdkFunctions.def"
}

TEST_F( SimulatedSdkTest, UnavailableFunction_UnitWithChip_IsUnavailable )
{
    class Bare : public SimulatedSdk
    {
      public:
        using SimulatedSdk::unavailable;
    };

    Bare bare;
    bare.chipIs( 3, builtInProfile( "hsdk" ) );
    EXPECT_EQ( bare.unavailable( 3 ), ReturnCode::BCM_E_UNAVAIL );
    EXPECT_EQ( bare.unavailable( 4 ), ReturnCode::BCM_E_UNIT );
}

TEST_F( SimulatedSdkTest, Range_CreateGetDestroy_ReachesTheUnitsChip )
{
    bcm_range_config_t range = ports( 80, 90 );
    EXPECT_EQ( sdk.bcm_range_create( 7, 0, &range ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.chip( 7 )->ranges().used(), 1U );
    EXPECT_EQ( sdk.chip( 0 )->ranges().used(), 0U );

    bcm_range_config_t readBack;
    readBack.rid = range.rid;
    EXPECT_EQ( sdk.bcm_range_get( 0, &readBack ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.bcm_range_get( 7, &readBack ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( readBack.min, 80U );
    EXPECT_EQ( readBack.max, 90U );

    EXPECT_EQ( sdk.bcm_range_destroy( 7, range.rid ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.chip( 7 )->ranges().used(), 0U );
}

TEST_F( SimulatedSdkTest, Range_Flags_AreHandedOn )
{
    bcm_range_config_t range = ports( 80, 90 );
    EXPECT_EQ( sdk.bcm_range_create( 7, 1, &range ), ReturnCode::BCM_E_PARAM );
}

TEST_F( SimulatedSdkTest, Units_OneFull_OtherGoesOn )
{
    EXPECT_EQ( create( 0 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( create( 0 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( create( 0 ), ReturnCode::BCM_E_FULL );
    EXPECT_EQ( create( 7 ), ReturnCode::BCM_E_NONE );
}

TEST_F( SimulatedSdkTest, Chip_UnitWithAndWithoutChip_IsItOrNull )
{
    ASSERT_NE( sdk.chip( 7 ), nullptr );
    EXPECT_EQ( sdk.chip( 7 )->profile().name, "sdk6-large" );
    EXPECT_EQ( sdk.chip( 1 ), nullptr );
}

TEST_F( SimulatedSdkTest, ChipIs_UnitWithChip_ReplacesIt )
{
    ASSERT_EQ( create( 0 ), ReturnCode::BCM_E_NONE );
    SimulatedChip& chip = sdk.chipIs( 0, builtInProfile( "hsdk" ) );
    EXPECT_EQ( sdk.chip( 0 ), &chip );
    EXPECT_EQ( chip.profile().name, "hsdk" );
    EXPECT_EQ( chip.snapshot(), ChipSnapshot() );
}

TEST_F( SimulatedSdkTest, CallWithoutEffect_SuccessfulCall_LeavesTheChipAsItWas )
{
    ASSERT_EQ( create( 7 ), ReturnCode::BCM_E_NONE );
    const ChipSnapshot before = sdk.chip( 7 )->snapshot();
    EXPECT_EQ( sdk.callWithoutEffect( 7, [ this ] { return create( 7 ); } ),
               ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.chip( 7 )->snapshot(), before );
}

TEST_F( SimulatedSdkTest, CallWithoutEffect_FailedCall_PutsNothingBack )
{
    EXPECT_EQ( sdk.callWithoutEffect( 7,
                                      [ this ] {
                                          create( 7 );
                                          return ReturnCode::BCM_E_FAIL;
                                      } ),
               ReturnCode::BCM_E_FAIL );
    EXPECT_EQ( sdk.chip( 7 )->ranges().used(), 1U );
}

TEST_F( SimulatedSdkTest, CallWithoutEffect_UnitWithoutChip_MakesTheCall )
{
    EXPECT_EQ( sdk.callWithoutEffect( 1, [ this ] { return create( 1 ); } ),
               ReturnCode::BCM_E_UNIT );
}

TEST_F( SimulatedSdkTest, SeveralThreads_CreatingAtOnce_GetDifferentIds )
{
    constexpr int threads = 4;
    constexpr int rangesEach = 64; // Together the 256 of the profile.
    std::vector< std::vector< bcm_range_t > > ids( threads );
    std::vector< std::thread > running;
    for ( std::vector< bcm_range_t >& own : ids ) {
        running.emplace_back( [ this, &own ] {
            for ( int i = 0; i < rangesEach; ++i ) {
                bcm_range_config_t range = ports( 1, 2 );
                if ( sdk.bcm_range_create( 7, 0, &range ) == ReturnCode::BCM_E_NONE ) {
                    own.push_back( range.rid );
                }
            }
        } );
    }
    for ( std::thread& thread : running ) {
        thread.join();
    }
    std::set< bcm_range_t > distinct;
    for ( const std::vector< bcm_range_t >& own : ids ) {
        distinct.insert( own.begin(), own.end() );
    }
    EXPECT_EQ( distinct.size(), 256U );
    EXPECT_EQ( sdk.chip( 7 )->ranges().used(), 256U );
    EXPECT_EQ( create( 7 ), ReturnCode::BCM_E_FULL );
}

} // namespace

} // namespace Sim
