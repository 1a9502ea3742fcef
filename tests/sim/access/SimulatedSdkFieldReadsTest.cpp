// The SDK functions that read field entries back, through the access object.

#include "sim/SimulatedSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Sim {

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

class SimulatedSdkFieldReadsTest : public testing::TestWithParam< const char* >
{
  protected:
    static constexpr int unit = 3;

    SimulatedSdkFieldReadsTest()
    {
        sdk.chipIs( unit, builtInProfile( "sdk6-tiny" ) );
        bcm_field_group_config_t config;
        config.mode = sdk.bcmFieldGroupModeAuto();
        for ( const bcm_field_qualify_t qualifier :
              { sdk.bcmFieldQualifyRangeCheck(), sdk.bcmFieldQualifySrcClassField(),
                sdk.bcmFieldQualifyInterfaceClassVPort() } ) {
            sdk.BCM_FIELD_QSET_ADD( &config.qset, qualifier );
        }
#define FIELD_NUMBER_READ( name, type )                                                            \
    sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualify##name() );
#define FIELD_NAMED_READ( name, type )                                                             \
    sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualify##name() );
#define FIELD_BYTES_READ( name, type )                                                             \
    sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualify##name() );
#define FIELD_PORTS_READ( name )                                                                   \
    sdk.BCM_FIELD_QSET_ADD( &config.qset, sdk.bcmFieldQualify##name() );
#include "sim/access/FieldQualifiers.def"
        EXPECT_EQ( sdk.bcm_field_group_config_create( unit, &config ), 0 );
        group = config.group;
        EXPECT_EQ( sdk.bcm_field_entry_create( unit, group, &entry ), 0 );
    }

    /// Sets a number and expects to read it, and that it cannot be read before, of no entry, nor
    /// to nowhere.
    template< class Number >
    void expectReadBack( int ( Shim::SdkAccess::*set )( int, bcm_field_entry_t, Number, Number ),
                         int ( Shim::SdkAccess::*get )( int, bcm_field_entry_t, Number*, Number* ),
                         Number data,
                         Number mask )
    {
        Number readData = 0;
        Number readMask = 0;
        EXPECT_EQ( ( sdk.*get )( unit, entry, &readData, &readMask ), ReturnCode::BCM_E_NOT_FOUND );
        EXPECT_EQ( ( sdk.*set )( unit, entry, data, mask ), 0 );
        EXPECT_EQ( ( sdk.*get )( unit, entry, nullptr, &readMask ), ReturnCode::BCM_E_PARAM );
        EXPECT_EQ( ( sdk.*get )( unit, entry, &readData, nullptr ), ReturnCode::BCM_E_PARAM );
        EXPECT_EQ( ( sdk.*get )( unit, entry + 1, &readData, &readMask ),
                   ReturnCode::BCM_E_NOT_FOUND );
        EXPECT_EQ( readData, 0 );
        EXPECT_EQ( ( sdk.*get )( unit, entry, &readData, &readMask ), 0 );
        EXPECT_EQ( readData, data );
        EXPECT_EQ( readMask, mask );
    }

    SimulatedSdk sdk{ SdkNumbering::fromText( GetParam() ) };
    bcm_field_group_t group = 0;
    bcm_field_entry_t entry = 0;
};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          SimulatedSdkFieldReadsTest,
                          testing::Values( "default", "shuffled:1" ) );

TEST_P( SimulatedSdkFieldReadsTest, NumberGet_EachQualifier_GivesWhatWasSet )
{
    using Sdk = Shim::SdkAccess;
    expectReadBack< uint32_t >( &Sdk::bcm_field_qualify_SrcIp, &Sdk::bcm_field_qualify_SrcIp_get,
                                0x0A000001, 0xFFFFFF00 );
    expectReadBack< uint32_t >( &Sdk::bcm_field_qualify_DstIp, &Sdk::bcm_field_qualify_DstIp_get,
                                0x0A000002, 0xFFFF0000 );
    expectReadBack< uint16_t >( &Sdk::bcm_field_qualify_EtherType,
                                &Sdk::bcm_field_qualify_EtherType_get, 0x800, 0xFFFF );
    expectReadBack< uint16_t >( &Sdk::bcm_field_qualify_L4SrcPort,
                                &Sdk::bcm_field_qualify_L4SrcPort_get, 80, 0xFFF0 );
    expectReadBack< uint16_t >( &Sdk::bcm_field_qualify_L4DstPort,
                                &Sdk::bcm_field_qualify_L4DstPort_get, 443, 0xFFFF );
    expectReadBack< uint8_t >( &Sdk::bcm_field_qualify_IpProtocol,
                               &Sdk::bcm_field_qualify_IpProtocol_get, 6, 0xFF );
}

TEST_P( SimulatedSdkFieldReadsTest, NumberGet_EveryQualifierSetToAnotherNumber_GivesItsOwn )
{
    uint8_t data = 0;
#define FIELD_QUALIFIER_NUMBER( name, type, users )                                                \
    EXPECT_EQ( sdk.bcm_field_qualify_##name( unit, entry, ++data, 0xFF ), 0 ) << #name;
#include "sim/access/FieldQualifiers.def"
    uint8_t expected = 0;
#define FIELD_NUMBER_READ( name, type )                                                            \
    {                                                                                              \
        type readData = 0;                                                                         \
        type readMask = 0;                                                                         \
        EXPECT_EQ( sdk.bcm_field_qualify_##name##_get( unit, entry, &readData, &readMask ), 0 )    \
            << #name;                                                                              \
        EXPECT_EQ( readData, ++expected ) << #name;                                                \
        EXPECT_EQ( readMask, 0xFFU ) << #name;                                                     \
    }
#include "sim/access/FieldQualifiers.def"
    EXPECT_EQ( expected, data );
    EXPECT_GT( expected, 40 );
}

TEST_P( SimulatedSdkFieldReadsTest, NamedGet_EachQualifier_GivesTheEnumeratorThatWasSet )
{
    const auto expectEnumerator = [ & ]( auto set, auto get, auto value ) {
        decltype( value ) read{};
        EXPECT_EQ( ( sdk.*get )( unit, entry, &read ), ReturnCode::BCM_E_NOT_FOUND );
        EXPECT_EQ( ( sdk.*get )( unit, entry, nullptr ), ReturnCode::BCM_E_PARAM );
        EXPECT_EQ( ( sdk.*set )( unit, entry, value ), 0 );
        EXPECT_EQ( ( sdk.*get )( unit, entry, &read ), 0 );
        EXPECT_EQ( read, value );
    };
    using Sdk = Shim::SdkAccess;
    expectEnumerator( &Sdk::bcm_field_qualify_IpType, &Sdk::bcm_field_qualify_IpType_get,
                      sdk.bcmFieldIpTypeIpv4Any() );
    expectEnumerator( &Sdk::bcm_field_qualify_InnerIpType, &Sdk::bcm_field_qualify_InnerIpType_get,
                      sdk.bcmFieldIpTypeIpv6() );
    expectEnumerator( &Sdk::bcm_field_qualify_IpFrag, &Sdk::bcm_field_qualify_IpFrag_get,
                      sdk.bcmFieldIpFragNonFirst() );
    expectEnumerator( &Sdk::bcm_field_qualify_L2Format, &Sdk::bcm_field_qualify_L2Format_get,
                      sdk.bcmFieldL2FormatSnap() );
    expectEnumerator( &Sdk::bcm_field_qualify_TunnelType, &Sdk::bcm_field_qualify_TunnelType_get,
                      sdk.bcmFieldTunnelTypeGre() );
    expectEnumerator( &Sdk::bcm_field_qualify_PktType, &Sdk::bcm_field_qualify_PktType_get,
                      sdk.bcmFieldPktTypeBpdu() );
    expectEnumerator( &Sdk::bcm_field_qualify_OverlayPktType,
                      &Sdk::bcm_field_qualify_OverlayPktType_get, sdk.bcmFieldPktTypeOam() );
    expectEnumerator( &Sdk::bcm_field_qualify_L2PktType, &Sdk::bcm_field_qualify_L2PktType_get,
                      sdk.bcmFieldL2PktTypeBroadcast() );
    expectEnumerator( &Sdk::bcm_field_qualify_OverlayL2PktType,
                      &Sdk::bcm_field_qualify_OverlayL2PktType_get,
                      sdk.bcmFieldL2PktTypeMulticast() );
    expectEnumerator( &Sdk::bcm_field_qualify_PktFwdType, &Sdk::bcm_field_qualify_PktFwdType_get,
                      sdk.bcmFieldPktFwdTypeMpls() );
    expectEnumerator( &Sdk::bcm_field_qualify_ForwardingType,
                      &Sdk::bcm_field_qualify_ForwardingType_get, sdk.bcmFieldForwardingTypeL2() );
    expectEnumerator( &Sdk::bcm_field_qualify_DropReason, &Sdk::bcm_field_qualify_DropReason_get,
                      sdk.bcmFieldDropReasonTtlExpired() );
}

TEST_P( SimulatedSdkFieldReadsTest, MacGet_BothAddresses_GiveTheirSixBytes )
{
    const bcm_mac_t source = { 2, 0, 0, 0, 0, 1 };
    const bcm_mac_t destination = { 2, 0, 0, 0, 0, 2 };
    const bcm_mac_t exact = { 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF };
    EXPECT_EQ( sdk.bcm_field_qualify_SrcMac( unit, entry, source, exact ), 0 );
    EXPECT_EQ( sdk.bcm_field_qualify_DstMac( unit, entry, destination, exact ), 0 );
    bcm_mac_t data = {};
    bcm_mac_t mask = {};
    EXPECT_EQ( sdk.bcm_field_qualify_SrcMac_get( unit, entry, data, mask ), 0 );
    EXPECT_THAT( data, ElementsAreArray( source ) );
    EXPECT_THAT( mask, ElementsAreArray( exact ) );
    EXPECT_EQ( sdk.bcm_field_qualify_DstMac_get( unit, entry, data, mask ), 0 );
    EXPECT_THAT( data, ElementsAreArray( destination ) );
}

TEST_P( SimulatedSdkFieldReadsTest, InPortsGet_SetOfPorts_GivesDataAndMask )
{
    _shr_pbmp data;
    _shr_pbmp mask;
    sdk.BCM_PBMP_PORT_ADD( &data, 3 );
    sdk.BCM_PBMP_PORT_ADD( &mask, 3 );
    sdk.BCM_PBMP_PORT_ADD( &mask, 400 );
    _shr_pbmp readData;
    _shr_pbmp readMask;
    EXPECT_EQ( sdk.bcm_field_qualify_InPorts_get( unit, entry, &readData, &readMask ),
               ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.bcm_field_qualify_InPorts( unit, entry, &data, &mask ), 0 );
    EXPECT_EQ( sdk.bcm_field_qualify_InPorts_get( unit, entry, nullptr, &readMask ),
               ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( sdk.bcm_field_qualify_InPorts_get( unit, entry, &readData, &readMask ), 0 );
    EXPECT_EQ( readData.pbits, data.pbits );
    EXPECT_EQ( readMask.pbits, mask.pbits );
}

TEST_P( SimulatedSdkFieldReadsTest, AddressGet_BothQualifiers_GiveWhatWasSet )
{
    const bcm_ip6_t source = { 0x20, 1, 0xD, 0xB8 };
    const bcm_ip6_t destination = { 0x20, 1, 0xD, 0xB9 };
    const bcm_ip6_t wide = { 0xFF, 0xFF, 0xFF, 0xFF };
    bcm_ip6_t data = {};
    bcm_ip6_t mask = {};
    EXPECT_EQ( sdk.bcm_field_qualify_SrcIp6_get( unit, entry, data, mask ),
               ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.bcm_field_qualify_SrcIp6( unit, entry, source, wide ), 0 );
    EXPECT_EQ( sdk.bcm_field_qualify_DstIp6( unit, entry, destination, wide ), 0 );
    EXPECT_EQ( sdk.bcm_field_qualify_SrcIp6_get( unit, entry, nullptr, mask ),
               ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( sdk.bcm_field_qualify_SrcIp6_get( unit, entry, data, mask ), 0 );
    EXPECT_THAT( data, ElementsAreArray( source ) );
    EXPECT_THAT( mask, ElementsAreArray( wide ) );
    EXPECT_EQ( sdk.bcm_field_qualify_DstIp6_get( unit, entry, data, mask ), 0 );
    EXPECT_THAT( data, ElementsAreArray( destination ) );
}

TEST_P( SimulatedSdkFieldReadsTest, SrcClassGet_TwoOfTheClasses_HasMasksForThem )
{
    bcm_field_src_class_t data;
    bcm_field_src_class_t mask;
    data.src_class_field = 5;
    mask.src_class_field = 0xFF;
    data.intf_class_vport = 7;
    mask.intf_class_vport = 0xFFFF;
    EXPECT_EQ( sdk.bcm_field_qualify_SrcClass( unit, entry, &data, &mask ), 0 );
    bcm_field_src_class_t readData;
    bcm_field_src_class_t readMask;
    readData.intf_class_l2 = 4711;
    EXPECT_EQ( sdk.bcm_field_qualify_SrcClass_get( unit, entry, &readData, nullptr ),
               ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( sdk.bcm_field_qualify_SrcClass_get( unit, 99, &readData, &readMask ),
               ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.bcm_field_qualify_SrcClass_get( unit, entry, &readData, &readMask ), 0 );
    EXPECT_EQ( readData.src_class_field, 5U );
    EXPECT_EQ( readMask.src_class_field, 0xFFU );
    EXPECT_EQ( readData.intf_class_vport, 7U );
    EXPECT_EQ( readMask.intf_class_vport, 0xFFFFU );
    EXPECT_EQ( readData.intf_class_l2, 0U );
    EXPECT_EQ( readMask.intf_class_l2, 0U );
}

TEST_P( SimulatedSdkFieldReadsTest, RangeCheckGet_TwoRanges_GivesBothAndNoMoreThanAskedFor )
{
    bcm_range_config_t config;
    config.rtype = sdk.bcmRangeTypeL4SrcPort();
    config.max = 9;
    EXPECT_EQ( sdk.bcm_range_create( unit, 0, &config ), 0 );
    const uint32_t first = config.rid;
    config.max = 10;
    EXPECT_EQ( sdk.bcm_range_create( unit, 0, &config ), 0 );
    const uint32_t second = config.rid;
    uint32_t ids[ 2 ] = { 77, 77 };
    int inverts[ 2 ] = { 77, 77 };
    int actual = 77;
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck_get( unit, entry, 2, ids, inverts, &actual ), 0 );
    EXPECT_EQ( actual, 0 );
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck( unit, entry, first, 0 ), 0 );
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck( unit, entry, second, 1 ), 0 );
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck_get( unit, entry, 1, ids, inverts, &actual ), 0 );
    EXPECT_EQ( actual, 2 );
    EXPECT_THAT( ids, ElementsAre( first, 77U ) );
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck_get( unit, entry, 2, ids, inverts, &actual ), 0 );
    EXPECT_THAT( ids, ElementsAre( first, second ) );
    EXPECT_THAT( inverts, ElementsAre( 0, 1 ) );
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck_get( unit, entry, 0, ids, inverts, &actual ),
               ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( sdk.bcm_field_qualify_RangeCheck_get( unit, 99, 2, ids, inverts, &actual ),
               ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimulatedSdkFieldReadsTest, InstalledGet_BeforeInAndOutdated_TellsOnlyWhatIsCurrent )
{
    int installed = 77;
    EXPECT_EQ( sdk.bcm_field_entry_installed_get( unit, entry, &installed ), 0 );
    EXPECT_EQ( installed, 0 );
    EXPECT_EQ( sdk.bcm_field_entry_install( unit, entry ), 0 );
    EXPECT_EQ( sdk.bcm_field_entry_installed_get( unit, entry, &installed ), 0 );
    EXPECT_EQ( installed, 1 );
    EXPECT_EQ( sdk.bcm_field_entry_prio_set( unit, entry, 3 ), 0 );
    EXPECT_EQ( sdk.bcm_field_entry_installed_get( unit, entry, &installed ), 0 );
    EXPECT_EQ( installed, 0 );
    EXPECT_EQ( sdk.bcm_field_entry_installed_get( unit, entry, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( sdk.bcm_field_entry_installed_get( unit, 99, &installed ),
               ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimulatedSdkFieldReadsTest, PriorityAndActionGet_Set_GiveWhatWasSet )
{
    int priority = 77;
    EXPECT_EQ( sdk.bcm_field_entry_prio_set( unit, entry, 12 ), 0 );
    EXPECT_EQ( sdk.bcm_field_entry_prio_get( unit, entry, &priority ), 0 );
    EXPECT_EQ( priority, 12 );
    EXPECT_EQ( sdk.bcm_field_entry_prio_get( unit, 99, &priority ), ReturnCode::BCM_E_NOT_FOUND );
    uint32_t first = 77;
    uint32_t second = 77;
    const bcm_field_action_t drop = sdk.bcmFieldActionDrop();
    EXPECT_EQ( sdk.bcm_field_action_get( unit, entry, drop, &first, &second ),
               ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.bcm_field_action_add( unit, entry, drop, 4, 5 ), 0 );
    EXPECT_EQ( sdk.bcm_field_action_get( unit, entry, drop, &first, &second ), 0 );
    EXPECT_EQ( first, 4U );
    EXPECT_EQ( second, 5U );
    EXPECT_EQ( sdk.bcm_field_action_get( unit, entry, drop, nullptr, &second ),
               ReturnCode::BCM_E_PARAM );
}

TEST_P( SimulatedSdkFieldReadsTest, PolicerAndStatGet_AttachedAndNot_TellWhich )
{
    bcm_policer_config_t config;
    config.mode = sdk.bcmPolicerModeCommitted();
    bcm_policer_t policer = 0;
    EXPECT_EQ( sdk.bcm_policer_create( unit, &config, &policer ), 0 );
    bcm_policer_t attached = 0;
    EXPECT_EQ( sdk.bcm_field_entry_policer_get( unit, entry, 0, &attached ),
               ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.bcm_field_entry_policer_attach( unit, entry, 0, policer ), 0 );
    EXPECT_EQ( sdk.bcm_field_entry_policer_get( unit, entry, 0, &attached ), 0 );
    EXPECT_EQ( attached, policer );
    EXPECT_EQ( sdk.bcm_field_entry_policer_get( unit, entry, 1, &attached ),
               ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.bcm_field_entry_policer_get( unit, entry, 2, &attached ),
               ReturnCode::BCM_E_PARAM );

    bcm_field_stat_t type = sdk.bcmFieldStatPackets();
    int statistic = 0;
    int read = 0;
    EXPECT_EQ( sdk.bcm_field_stat_create( unit, group, 1, &type, &statistic ), 0 );
    EXPECT_EQ( sdk.bcm_field_entry_stat_get( unit, entry, &read ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.bcm_field_entry_stat_attach( unit, entry, statistic ), 0 );
    EXPECT_EQ( sdk.bcm_field_entry_stat_get( unit, entry, &read ), 0 );
    EXPECT_EQ( read, statistic );
    EXPECT_EQ( sdk.bcm_field_entry_stat_get( unit, entry, nullptr ), ReturnCode::BCM_E_PARAM );
}

TEST_P( SimulatedSdkFieldReadsTest, FlexctrGet_AttachedAndNot_TellsObjectAndIndex )
{
    sdk.chipIs( unit, builtInProfile( "hsdk" ) );
    bcm_field_group_config_t config;
    config.mode = sdk.bcmFieldGroupModeAuto();
    EXPECT_EQ( sdk.bcm_field_group_config_create( unit, &config ), 0 );
    EXPECT_EQ( sdk.bcm_field_entry_create( unit, config.group, &entry ), 0 );
    bcm_flexctr_action_t action;
    action.index_num = 4;
    uint32_t object = 0;
    EXPECT_EQ( sdk.bcm_flexctr_action_create( unit, 0, &action, &object ), 0 );
    const bcm_flexctr_color_t any = sdk.bcmFlexctrColorAny();
    uint32_t readObject = 0;
    uint32_t readIndex = 0;
    EXPECT_EQ( sdk.bcm_field_entry_flexctr_get( unit, entry, any, &readObject, &readIndex ),
               ReturnCode::BCM_E_NOT_FOUND );
    bcm_field_flexctr_config_t attachment{ object, 3, any };
    EXPECT_EQ( sdk.bcm_field_entry_flexctr_attach( unit, entry, &attachment ), 0 );
    EXPECT_EQ( sdk.bcm_field_entry_flexctr_get( unit, entry, any, &readObject, &readIndex ), 0 );
    EXPECT_EQ( readObject, object );
    EXPECT_EQ( readIndex, 3U );
    EXPECT_EQ( sdk.bcm_field_entry_flexctr_get( unit, entry, sdk.bcmFlexctrColorRed(), &readObject,
                                                &readIndex ),
               ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( sdk.bcm_field_entry_flexctr_get( unit, entry, any, nullptr, &readIndex ),
               ReturnCode::BCM_E_PARAM );
}

} // namespace

} // namespace Sim
