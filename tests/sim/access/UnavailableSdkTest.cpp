#include "sim/UnavailableSdk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace Sim {

namespace {

template< class... Parameters >
int callWithNothing( Shim::SdkAccess& sdk, int ( Shim::SdkAccess::*function )( Parameters... ) )
{
    return ( sdk.*function )( Parameters{}... );
}

TEST( UnavailableSdkTest, AnyFunction_AnswersUnavailable )
{
    UnavailableSdk sdk;
#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    EXPECT_EQ( callWithNothing( sdk, &Shim::SdkAccess::name ), -16 ) << #name;
#include "sdk/SdkFunctions.def"
}

template< class Structure >
void setAllBytes( Structure& record )
{
    auto* bytes = reinterpret_cast< unsigned char* >( &record );
    std::fill( bytes, bytes + sizeof record, static_cast< unsigned char >( 0xAA ) );
}

TEST( UnavailableSdkTest, Initialisers_RangePolicerUdf_GiveInitialValues )
{
    UnavailableSdk sdk;

    bcm_range_config_t range;
    setAllBytes( range );
    sdk.bcm_range_config_t_init( &range );
    EXPECT_EQ( range.min, 0U );
    EXPECT_EQ( range.max, 0U );
    EXPECT_EQ( range.instance, 0U );
    EXPECT_EQ( range.rtype, 0U );
    EXPECT_EQ( range.rid, 0U );

    bcm_policer_config_t policer;
    setAllBytes( policer );
    sdk.bcm_policer_config_t_init( &policer );
    EXPECT_EQ( policer.flags, 0U );
    EXPECT_EQ( policer.pkbits_burst, 0U );

    bcm_udf_t udf;
    setAllBytes( udf );
    sdk.bcm_udf_t_init( &udf );
    EXPECT_EQ( udf.width(), 0 );
    EXPECT_EQ( udf.hw_bmap(), 0U );
}

TEST( UnavailableSdkTest, Initialisers_NullPointer_DoNothing )
{
    UnavailableSdk sdk;
#define SDK_INITIALISER( family, name, structure ) sdk.name( nullptr );
#include "sdk/SdkFunctions.def"
}

TEST( UnavailableSdkTest, QualifierSet_InitAddTest_KeepsTheSet )
{
    UnavailableSdk sdk;
    const auto ofSet = static_cast< bcm_field_qualify_t >( 300 );
    const auto other = static_cast< bcm_field_qualify_t >( 301 );
    bcm_field_qset_t set;
    set.w.fill( 5 );
    sdk.BCM_FIELD_QSET_INIT( &set );
    EXPECT_FALSE( sdk.BCM_FIELD_QSET_TEST( &set, static_cast< bcm_field_qualify_t >( 5 ) ) );
    sdk.BCM_FIELD_QSET_ADD( &set, ofSet );
    EXPECT_TRUE( sdk.BCM_FIELD_QSET_TEST( &set, ofSet ) );
    EXPECT_FALSE( sdk.BCM_FIELD_QSET_TEST( &set, other ) );
}

TEST( UnavailableSdkTest, ActionSet_InitAddTest_KeepsTheSet )
{
    UnavailableSdk sdk;
    const auto ofSet = static_cast< bcm_field_action_t >( 4000000000U );
    const auto other = static_cast< bcm_field_action_t >( 1 );
    bcm_field_aset_t set;
    set.w.fill( 5 );
    sdk.BCM_FIELD_ASET_INIT( &set );
    sdk.BCM_FIELD_ASET_ADD( &set, ofSet );
    EXPECT_TRUE( sdk.BCM_FIELD_ASET_TEST( &set, ofSet ) );
    EXPECT_FALSE( sdk.BCM_FIELD_ASET_TEST( &set, other ) );
}

TEST( UnavailableSdkTest, PortBitmap_ClearAddFormat_GivesTheText )
{
    UnavailableSdk sdk;
    _shr_pbmp ports;
    ports.pbits.fill( 0xFFFFFFFF );
    sdk.BCM_PBMP_CLEAR( &ports );
    sdk.BCM_PBMP_PORT_ADD( &ports, 4 );
    ASSERT_EQ( sdk.SHR_PBMP_FMT_LEN( &ports ), 131U );
    char text[ 131 ];
    EXPECT_EQ( sdk.SHR_PBMP_FMT( &ports, text ), text );
    EXPECT_EQ( text, "0x" + std::string( 126, '0' ) + "10" );
}

TEST( UnavailableSdkTest, ChunkBitmap_AddTest_KeepsTheBits )
{
    UnavailableSdk sdk;
    bcm_udf_cbmp_t chunks;
    sdk.BCM_UDF_CBMP_CHUNK_ADD( chunks, 3 );
    EXPECT_TRUE( sdk.BCM_UDF_CBMP_CHUNK_TEST( chunks, 3 ) );
    EXPECT_FALSE( sdk.BCM_UDF_CBMP_CHUNK_TEST( chunks, 2 ) );
}

TEST( UnavailableSdkTest, StatInstalledInHardware_IsFalse )
{
    EXPECT_FALSE( UnavailableSdk().korvel_bcm_field_stat_installed_in_hw( 0, 1 ) );
}

TEST( UnavailableSdkTest, SdkErrorText_KnownAndUnknownCode_IsTheSdks )
{
    UnavailableSdk sdk;
    EXPECT_STREQ( sdk.sdkErrorText( -7 ), "Entry not found" );
    EXPECT_STREQ( sdk.sdkErrorText( -99 ), "Unknown error" );
}

TEST( UnavailableSdkTest, ReturnCodes_AnyNumbering_StayTheSame )
{
    EXPECT_EQ( UnavailableSdk().BCM_E_NOT_FOUND(), -7 );
    EXPECT_EQ( UnavailableSdk( SdkNumbering::shuffled( 1 ) ).BCM_E_NOT_FOUND(), -7 );
}

TEST( UnavailableSdkTest, Enumerators_FollowTheNumbering )
{
    const SdkNumbering numbering = SdkNumbering::shuffled( 1 );
    const UnavailableSdk sdk( numbering );
    EXPECT_EQ( UnavailableSdk().bcmRangeTypeL4DstPort(), 2U );
#define SDK_ENUMERATOR( type, name, value ) EXPECT_EQ( sdk.name(), numbering.name ) << #name;
#include "sdk/SdkEnumerators.def"
}

} // namespace

} // namespace Sim
