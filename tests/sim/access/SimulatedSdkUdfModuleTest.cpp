// The UDF module through the access object.

#include "sim/SimulatedSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Sim {

namespace {

template< class... Parameters >
int callUnit( Shim::SdkAccess& sdk, int ( Shim::SdkAccess::*function )( int, Parameters... ) )
{
    return ( sdk.*function )( 3, Parameters{}... );
}

/// Expects that each function that only a UDF module has is there, or that each is not.
void expectUdfModule( Shim::SdkAccess& sdk, bool available )
{
#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    if ( std::string( #family ) == "udfModule" && std::string( #name ) != "bcm_udf_destroy" ) {    \
        EXPECT_EQ( callUnit( sdk, &Shim::SdkAccess::name ) != ReturnCode::BCM_E_UNAVAIL,           \
                   available )                                                                     \
            << #name;                                                                              \
    }
#include "sdk/SdkFunctions.def"
}

TEST( SimulatedSdkUdfModuleTest, EveryFunction_ByKindOfChip_IsAvailableOrNot )
{
    SimulatedSdk sdk;
    for ( const char* profile : { "sdk6-udf", "sdk6-tiny", "sdk6-large" } ) {
        sdk.chipIs( 3, builtInProfile( profile ) );
        expectUdfModule( sdk, true );
        EXPECT_NE( sdk.chip( 3 )->udfModule(), nullptr );
    }
    for ( const char* profile : { "sdk6-flex", "hsdk" } ) {
        sdk.chipIs( 3, builtInProfile( profile ) );
        expectUdfModule( sdk, false );
        EXPECT_EQ( sdk.chip( 3 )->udfModule(), nullptr );
    }
}

TEST( SimulatedSdkUdfModuleTest, Occupancy_ByKindOfChip_CountsUse )
{
    SimulatedSdk sdk;
    SimulatedChip& chip = sdk.chipIs( 3, builtInProfile( "sdk6-tiny" ) );
    bcm_udf_t udf;
    udf.layerIs( sdk.bcmUdfLayerL2Header() );
    udf.widthIs( 32 );
    bcm_udf_alloc_hints_t hints;
    hints.flagsIs( sdk.BCM_UDF_CREATE_O_UDFHASH() );
    bcm_udf_id_t id = 0;
    ASSERT_EQ( sdk.bcm_udf_create( 3, &hints, &udf, &id ), ReturnCode::BCM_E_NONE );
    bcm_udf_pkt_format_info_t format;
    bcm_udf_pkt_format_id_t formatId = 0;
    ASSERT_EQ( sdk.bcm_udf_pkt_format_create( 3, 0, &format, &formatId ), ReturnCode::BCM_E_NONE );
    bcm_udf_hash_config_t config;
    config.udf_idIs( id );
    config.mask_lengthIs( 1 );
    ASSERT_EQ( sdk.bcm_udf_hash_config_add( 3, 0, &config ), ReturnCode::BCM_E_NONE );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "udfs", 1, 4 } ) );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "udfChunks", 2, 6 } ) );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "udfPacketFormats", 1, 2 } ) );
    EXPECT_THAT( chip.occupancy(), testing::Contains( Resource{ "udfHashConfigurations", 1, 1 } ) );

    const SimulatedChip other( builtInProfile( "hsdk" ), sdk.numbering() );
    for ( const Resource& resource : other.occupancy() ) {
        EXPECT_NE( resource.name, "udfPacketFormats" );
        EXPECT_NE( resource.name, "udfHashConfigurations" );
    }
}

TEST( SimulatedSdkUdfModuleTest, CallWithoutEffect_Create_LeavesTheChipAsItWas )
{
    SimulatedSdk sdk;
    SimulatedChip& chip = sdk.chipIs( 3, builtInProfile( "sdk6-tiny" ) );
    bcm_udf_t udf;
    udf.layerIs( sdk.bcmUdfLayerL2Header() );
    udf.widthIs( 32 );
    bcm_udf_id_t id = 0;
    EXPECT_EQ(
        sdk.callWithoutEffect( 3, [ & ] { return sdk.bcm_udf_create( 3, nullptr, &udf, &id ); } ),
        ReturnCode::BCM_E_NONE );
    EXPECT_EQ( chip.snapshot(), ChipSnapshot() );
}

} // namespace

} // namespace Sim
