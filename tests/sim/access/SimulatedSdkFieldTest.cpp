// The SDK functions of field groups, entries and preselectors, through the access object.

#include "sim/SimulatedSdk.h"

#include "sim/values/SimSets.h"

#include <gtest/gtest.h>

#include <string>

namespace Sim {

namespace {

class SimulatedSdkFieldTest : public testing::TestWithParam< const char* >
{
  protected:
    SimulatedSdkFieldTest()
    {
        sdk.chipIs( 3, builtInProfile( "sdk6-tiny" ) );
        bcm_field_group_config_t config;
        sdk.bcm_field_group_config_t_init( &config );
        config.mode = sdk.bcmFieldGroupModeAuto();
#define FIELD_QUALIFIER_NUMBER( name, type, users )                                                \
    sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualify##name() );
#define FIELD_QUALIFIER_NAMED( name, type, users )                                                 \
    sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualify##name() );
#define FIELD_QUALIFIER_BYTES( name, type, users )                                                 \
    sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualify##name() );
#define FIELD_QUALIFIER_PORTS( name, users )                                                       \
    sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualify##name() );
#include "sim/access/FieldQualifiers.def"
        sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualifyRangeCheck() );
        sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualifySrcClassField() );
        sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualifyUdf() );
        EXPECT_EQ( sdk.bcm_field_group_config_create( 3, &config ), ReturnCode::BCM_E_NONE );
        group = config.group;
        EXPECT_EQ( sdk.bcm_field_entry_create( 3, group, &entry ), ReturnCode::BCM_E_NONE );
        bcm_field_presel_t presel = 0;
        EXPECT_EQ( sdk.bcm_field_presel_create( 3, &presel ), ReturnCode::BCM_E_NONE );
        preselector = presel | 0x40000000;
    }

    /// Makes a user-defined field and gives its id.
    bcm_udf_id_t madeUdf()
    {
        bcm_udf_t udf;
        udf.layerIs( sdk.bcmUdfLayerL3OuterHeader() );
        udf.widthIs( 16 );
        bcm_udf_id_t id = 0;
        EXPECT_EQ( sdk.bcm_udf_create( 3, nullptr, &udf, &id ), ReturnCode::BCM_E_NONE );
        return id;
    }

    /// The value of a field in the snapshot; empty if it is not there.
    [[nodiscard]] std::string valueOf( const std::string& object, const std::string& field ) const
    {
        const ChipSnapshot snapshot = sdk.chip( 3 )->snapshot();
        for ( const auto& [ name, value ] : snapshot.objects().at( object ) ) {
            if ( name == field ) {
                return value;
            }
        }
        return "";
    }

    SimulatedSdk sdk{ SdkNumbering::fromText( GetParam() ) };
    bcm_field_group_t group = 0;
    bcm_field_entry_t entry = 0;
    bcm_field_entry_t preselector = 0;
};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          SimulatedSdkFieldTest,
                          testing::Values( "default", "shuffled:1" ) );

template< class... Parameters >
int callUnit( Shim::SdkAccess& sdk,
              int ( Shim::SdkAccess::*function )( int, Parameters... ),
              int unit )
{
    return ( sdk.*function )( unit, Parameters{}... );
}

TEST_P( SimulatedSdkFieldTest, EveryFieldFunction_UnitWithChip_IsAvailable )
{
    const std::string families = "fieldGroup fieldEntry fieldQualify";
#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    if ( families.find( #family ) != std::string::npos ) {                                         \
        EXPECT_NE( callUnit( sdk, &Shim::SdkAccess::name, 3 ), ReturnCode::BCM_E_UNAVAIL )         \
            << #name;                                                                              \
    }
#include "sdk/SdkFunctions.def"
}

TEST_P( SimulatedSdkFieldTest, QualifyNumber_EachFunction_StoresDataAndMaskUnderItsQualifier )
{
#define FIELD_QUALIFIER_NUMBER( name, type, users )                                                \
    EXPECT_EQ( sdk.bcm_field_qualify_##name( 3, entry, 0x12, 0x34 ), ReturnCode::BCM_E_NONE )      \
        << #name;                                                                                  \
    EXPECT_EQ( valueOf( "field entry 1", #name ), "0x12/0x34" );
#include "sim/access/FieldQualifiers.def"
}

TEST_P( SimulatedSdkFieldTest, QualifyNumber_EachFunctionOnAPreselector_StoresOrIsUnavailable )
{
#define FIELD_QUALIFIER_NUMBER( name, type, users )                                                \
    EXPECT_EQ( sdk.bcm_field_qualify_##name( 3, preselector, 0x12, 0x34 ),                         \
               FieldQualifier::users == FieldQualifier::entries ? ReturnCode::BCM_E_UNAVAIL        \
                                                                : ReturnCode::BCM_E_NONE )         \
        << #name;
#include "sim/access/FieldQualifiers.def"
    EXPECT_EQ( valueOf( "preselector 1", "Drop" ), "0x12/0x34" );
    EXPECT_EQ( valueOf( "preselector 1", "TunnelTerminated" ), "0x12/0x34" );
    EXPECT_EQ( valueOf( "preselector 1", "SrcIp" ), "" );
    EXPECT_EQ( valueOf( "preselector 1", "EtherType" ), "" );
}

TEST_P( SimulatedSdkFieldTest, QualifyNamed_EachFunction_StoresTheEnumeratorsName )
{
    const auto expectStored = [ & ]( auto function, auto value, const char* field,
                                     const char* name ) {
        for ( const bcm_field_entry_t target : { entry, preselector } ) {
            EXPECT_EQ( ( sdk.*function )( 3, target, value ), ReturnCode::BCM_E_NONE ) << field;
        }
        EXPECT_EQ( valueOf( "field entry 1", field ), name );
        EXPECT_EQ( valueOf( "preselector 1", field ), name );
    };
    using Sdk = Shim::SdkAccess;
    expectStored( &Sdk::bcm_field_qualify_DropReason, sdk.bcmFieldDropReasonTtlExpired(),
                  "DropReason", "bcmFieldDropReasonTtlExpired" );
    expectStored( &Sdk::bcm_field_qualify_ForwardingType, sdk.bcmFieldForwardingTypeMpls(),
                  "ForwardingType", "bcmFieldForwardingTypeMpls" );
    expectStored( &Sdk::bcm_field_qualify_IpType, sdk.bcmFieldIpTypeIpv6(), "IpType",
                  "bcmFieldIpTypeIpv6" );
    expectStored( &Sdk::bcm_field_qualify_L2PktType, sdk.bcmFieldL2PktTypeUnicast(), "L2PktType",
                  "bcmFieldL2PktTypeUnicast" );
    expectStored( &Sdk::bcm_field_qualify_OverlayL2PktType, sdk.bcmFieldL2PktTypeBroadcast(),
                  "OverlayL2PktType", "bcmFieldL2PktTypeBroadcast" );
    expectStored( &Sdk::bcm_field_qualify_OverlayPktType, sdk.bcmFieldPktTypeOam(),
                  "OverlayPktType", "bcmFieldPktTypeOam" );
    expectStored( &Sdk::bcm_field_qualify_PktFwdType, sdk.bcmFieldPktFwdTypeL2(), "PktFwdType",
                  "bcmFieldPktFwdTypeL2" );
    expectStored( &Sdk::bcm_field_qualify_PktType, sdk.bcmFieldPktTypeTrill(), "PktType",
                  "bcmFieldPktTypeTrill" );
    expectStored( &Sdk::bcm_field_qualify_TunnelType, sdk.bcmFieldTunnelTypeVxlan(), "TunnelType",
                  "bcmFieldTunnelTypeVxlan" );
}

TEST_P( SimulatedSdkFieldTest, QualifyNamed_NumberThatIsNoEnumerator_IsBadParameter )
{
#define FIELD_QUALIFIER_NAMED( name, type, users )                                                 \
    EXPECT_EQ( sdk.bcm_field_qualify_##name( 3, entry, static_cast< type >( 0x7FFFFFF1 ) ),        \
               ReturnCode::BCM_E_PARAM )                                                           \
        << #name;                                                                                  \
    EXPECT_EQ( sdk.bcm_field_qualify_##name( 3, preselector, static_cast< type >( 0x7FFFFFF1 ) ),  \
               FieldQualifier::users == FieldQualifier::entries ? ReturnCode::BCM_E_UNAVAIL        \
                                                                : ReturnCode::BCM_E_PARAM )        \
        << #name;
#include "sim/access/FieldQualifiers.def"
}

TEST_P( SimulatedSdkFieldTest, QualifyNamed_OfEntriesOnly_StoresTheEnumeratorsName )
{
    EXPECT_EQ( sdk.bcm_field_qualify_IpFrag( 3, entry, sdk.bcmFieldIpFragNonFirst() ), 0 );
    EXPECT_EQ( sdk.bcm_field_qualify_L2Format( 3, entry, sdk.bcmFieldL2FormatLlc() ), 0 );
    EXPECT_EQ( sdk.bcm_field_qualify_InnerIpType( 3, entry, sdk.bcmFieldIpTypeIpv4Any() ), 0 );
    EXPECT_EQ( valueOf( "field entry 1", "IpFrag" ), "bcmFieldIpFragNonFirst" );
    EXPECT_EQ( valueOf( "field entry 1", "L2Format" ), "bcmFieldL2FormatLlc" );
    EXPECT_EQ( valueOf( "field entry 1", "InnerIpType" ), "bcmFieldIpTypeIpv4Any" );
}

TEST_P( SimulatedSdkFieldTest, QualifyMac_BothAddresses_StoreSixBytes )
{
    const bcm_mac_t data{ 0x02, 0x00, 0x5E, 0x10, 0x00, 0x01 };
    const bcm_mac_t mask{ 0xFF, 0xFF, 0xFF };
    EXPECT_EQ( sdk.bcm_field_qualify_SrcMac( 3, entry, data, mask ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_field_qualify_DstMac( 3, entry, data, mask ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( valueOf( "field entry 1", "SrcMac" ), "0x02005e100001/0xffffff000000" );
    EXPECT_EQ( valueOf( "field entry 1", "DstMac" ), "0x02005e100001/0xffffff000000" );
    EXPECT_EQ( sdk.bcm_field_qualify_SrcMac( 3, entry, nullptr, mask ), ReturnCode::BCM_E_PARAM );
}

TEST_P( SimulatedSdkFieldTest, QualifyInPorts_SetOfPorts_IsStoredAsAList )
{
    _shr_pbmp data;
    _shr_pbmp mask;
    for ( const int port : { 0, 1, 2, 7, 511 } ) {
        sdk.BCM_PBMP_PORT_ADD( &data, port );
    }
    for ( int port = 0; port < 512; ++port ) {
        sdk.BCM_PBMP_PORT_ADD( &mask, port );
    }
    EXPECT_EQ( sdk.bcm_field_qualify_InPorts( 3, entry, &data, &mask ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( valueOf( "field entry 1", "InPorts" ), "0-2,7,511/0-511" );
    EXPECT_EQ( sdk.bcm_field_qualify_InPorts( 3, entry, &data, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( sdk.bcm_field_qualify_InPorts( 3, entry, nullptr, &mask ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( sdk.bcm_field_qualify_InPorts( 3, preselector, &data, &mask ),
               ReturnCode::BCM_E_UNAVAIL );
    const _shr_pbmp nothing;
    EXPECT_EQ( sdk.bcm_field_qualify_InPorts( 3, entry, &nothing, &mask ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( valueOf( "field entry 1", "InPorts" ), "none/0-511" );
}

TEST_P( SimulatedSdkFieldTest, QualifyAddress_EachFunction_StoresSixteenBytes )
{
    const bcm_ip6_t data{ 0xFE, 0x80 };
    const bcm_ip6_t mask{ 0xFF, 0xC0 };
    const std::string expected =
        "0xfe800000000000000000000000000000/0xffc00000000000000000000000000000";
    EXPECT_EQ( sdk.bcm_field_qualify_SrcIp6( 3, entry, data, mask ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_field_qualify_DstIp6( 3, entry, data, mask ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( valueOf( "field entry 1", "SrcIp6" ), expected );
    EXPECT_EQ( valueOf( "field entry 1", "DstIp6" ), expected );
    EXPECT_EQ( sdk.bcm_field_qualify_SrcIp6( 3, preselector, data, mask ),
               ReturnCode::BCM_E_UNAVAIL );
}

TEST_P( SimulatedSdkFieldTest, QualifyRangeCheck_KnownAndUnknownRange_StoresOrIsNotFound )
{
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck( 3, entry, 1, 0 ), ReturnCode::BCM_E_NOT_FOUND );
    bcm_range_config_t range;
    range.rtype = sdk.bcmRangeTypeL4DstPort();
    ASSERT_EQ( sdk.bcm_range_create( 3, 0, &range ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck( 3, entry, 1, 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( valueOf( "field entry 1", "RangeCheck" ), "not-1" );
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck( 3, entry, 1, 0 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( valueOf( "field entry 1", "RangeCheck" ), "1" );
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck( 3, preselector, 1, 0 ),
               ReturnCode::BCM_E_UNAVAIL );
}

TEST_P( SimulatedSdkFieldTest, RangeDestroy_AskedForByAnEntry_IsBusyUntilTheEntryIsGone )
{
    bcm_range_config_t range;
    range.rtype = sdk.bcmRangeTypeL4DstPort();
    ASSERT_EQ( sdk.bcm_range_create( 3, 0, &range ), ReturnCode::BCM_E_NONE );
    bcm_range_config_t other = range;
    ASSERT_EQ( sdk.bcm_range_create( 3, 0, &other ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( sdk.bcm_field_qualify_RangeCheck( 3, entry, range.rid, 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_range_destroy( 3, range.rid ), ReturnCode::BCM_E_BUSY );
    EXPECT_EQ( sdk.bcm_range_get( 3, &range ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_range_destroy( 3, other.rid ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_field_entry_destroy( 3, entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_range_destroy( 3, range.rid ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimulatedSdkFieldTest, QualifySrcClass_EntryAndPreselector_StoreTheClasses )
{
    bcm_field_src_class_t data;
    bcm_field_src_class_t mask;
    data.src_class_field = 0x21;
    mask.src_class_field = 0xFF;
    for ( const bcm_field_entry_t target : { entry, preselector } ) {
        EXPECT_EQ( sdk.bcm_field_qualify_SrcClass( 3, target, &data, &mask ),
                   ReturnCode::BCM_E_NONE );
    }
    EXPECT_EQ( valueOf( "field entry 1", "SrcClassField" ), "0x21/0xff" );
    EXPECT_EQ( valueOf( "preselector 1", "SrcClassField" ), "0x21/0xff" );
}

TEST_P( SimulatedSdkFieldTest, QualifyUdf_SetAndGet_IsTheSame )
{
    const bcm_udf_id_t udf = madeUdf();
    uint8_t data[] = { 1, 2 };
    uint8_t mask[] = { 3, 4 };
    ASSERT_EQ( sdk.bcm_field_qualify_udf( 3, entry, udf, 2, data, mask ), ReturnCode::BCM_E_NONE );
    uint8_t readData[ 2 ]{};
    uint8_t readMask[ 2 ]{};
    int length = 0;
    EXPECT_EQ( sdk.bcm_field_qualify_udf_get( 3, entry, udf, 2, readData, readMask, &length ),
               ReturnCode::BCM_E_NONE );
    EXPECT_EQ( length, 2 );
    EXPECT_EQ( readData[ 1 ], 2 );
    EXPECT_EQ( readMask[ 0 ], 3 );
}

TEST_P( SimulatedSdkFieldTest, QualifyUdf_UnknownField_IsNotFound )
{
    const bcm_udf_id_t udf = madeUdf();
    uint8_t bytes[] = { 1, 2 };
    EXPECT_EQ( sdk.bcm_field_qualify_udf( 3, entry, udf + 1, 2, bytes, bytes ),
               ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( valueOf( "field entry 1", "udf" + std::to_string( udf + 1 ) ), "" );
}

TEST_P( SimulatedSdkFieldTest, UdfDestroy_AskedForByAnEntry_IsBusyUntilTheEntryIsGone )
{
    const bcm_udf_id_t udf = madeUdf();
    uint8_t bytes[] = { 1, 2 };
    ASSERT_EQ( sdk.bcm_field_qualify_udf( 3, entry, udf, 2, bytes, bytes ),
               ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_udf_destroy( 3, udf ), ReturnCode::BCM_E_BUSY );
    EXPECT_TRUE( sdk.chip( 3 )->hasUdf( udf ) );
    EXPECT_EQ( sdk.bcm_udf_destroy( 3, madeUdf() ), ReturnCode::BCM_E_NONE ) << "another one";
    EXPECT_EQ( sdk.bcm_field_entry_destroy( 3, entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_udf_destroy( 3, udf ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimulatedSdkFieldTest, Group_ReadAndDestroyed_ReachesTheUnitsChip )
{
    bcm_field_group_config_t config;
    bcm_field_qset_t qset;
    EXPECT_EQ( sdk.bcm_field_group_config_get( 3, group, &config ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( config.mode, sdk.bcmFieldGroupModeAuto() );
    EXPECT_EQ( sdk.bcm_field_group_get( 3, group, &qset ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( qset.w, config.qset.w );
    EXPECT_EQ( sdk.bcm_field_group_destroy( 3, group ), ReturnCode::BCM_E_BUSY );
    EXPECT_EQ( sdk.bcm_field_entry_destroy( 3, entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_field_group_destroy( 3, group ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_field_group_get( 3, group, &qset ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimulatedSdkFieldTest, Entry_ThroughItsLife_ReachesTheUnitsChip )
{
    EXPECT_EQ( sdk.bcm_field_entry_prio_set( 3, entry, 12 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_field_action_add( 3, entry, sdk.bcmFieldActionDrop(), 1, 2 ),
               ReturnCode::BCM_E_NONE );
    const bcm_field_class_info_t classInfo{ sdk.bcmFieldActionClassSet(), 9 };
    EXPECT_EQ( sdk.bcm_field_action_class_add( 3, entry, &classInfo ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_field_entry_install( 3, entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( valueOf( "field entry 1", "priority" ), "12" );
    EXPECT_EQ( valueOf( "field entry 1", "installed" ), "yes" );
    EXPECT_EQ( valueOf( "field entry 1", "action:Drop" ), "1,2" );
    EXPECT_EQ( valueOf( "field entry 1", "action:ClassSet" ), "9,0" );
    EXPECT_EQ( sdk.bcm_field_entry_remove( 3, entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( valueOf( "field entry 1", "installed" ), "no" );
}

TEST_P( SimulatedSdkFieldTest, Preselector_Destroyed_IsGone )
{
    EXPECT_EQ( sdk.bcm_field_presel_destroy( 3, 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( sdk.bcm_field_presel_destroy( 3, 1 ), ReturnCode::BCM_E_NOT_FOUND );
}

} // namespace

} // namespace Sim
