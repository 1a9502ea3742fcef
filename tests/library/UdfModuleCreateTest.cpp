// Creating UDFs through the UDF module: what is described, the sequence of SDK calls of each path,
// sharing of packet formats, and what is left behind when something fails.

#include "tests/library/UdfScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::returns;

constexpr const char* full = "PELORA_TCAM_UDF_HW_RESOURCE_FULL";

constexpr SdkCallSite infoGet{
    udfSource,
    "findPktFmtToShare",
    "bcm_udf_pkt_format_info_get( unit, iter.key().value(), &tmpFmt )",
};

class UdfModuleCreateTest : public UdfScene
{
  protected:
    /// The UDF and the packet format that the SDK is asked for.
    void expectAsked( const UdfDesc& desc, const std::string& udf, const std::string& format )
    {
        sdk.clear();
        const QualIdList quals = create( desc );
        ASSERT_EQ( quals.qualIds(), 1U );
        const std::string options = std::to_string( sdk.BCM_UDF_PKT_FORMAT_CREATE_O_NONE() );
        ASSERT_EQ( sdk.calls().size(), 3U );
        EXPECT_EQ( sdk.calls()[ 0 ],
                   "bcm_udf_create( 5, {flags: 0}, {" + udf + ", hw_bmap: 0}, & )" );
        EXPECT_EQ( sdk.calls()[ 1 ],
                   "bcm_udf_pkt_format_create( 5, " + options + ", {" + format + "}, & )" );
        destroy( desc, quals );
    }

    /// Expects that creation fails with these SDK calls, by name, and leaves everything as it was.
    void expectFails( const UdfDesc& desc, const std::vector< std::string >& calls )
    {
        const std::string chip = chipText();
        const std::string map = mapText();
        sdk.clear();
        EXPECT_EQ( create( desc ).qualIds(), 0U );
        std::vector< std::string > made;
        for ( const TestSupport::RecordedCall& call : sdk.records() ) {
            if ( call.isFunction ) {
                made.push_back( call.name );
            }
        }
        EXPECT_EQ( made, calls );
        EXPECT_EQ( chipText(), chip );
        EXPECT_EQ( mapText(), map );
    }
};

// ---- What is asked for -----------------------------------------------------------------------

TEST_F( UdfModuleCreateTest, Create_TcpOverIp4_DescribesUdfAndFormat )
{
    expectAsked( udfDescOf( 2, 4 ), "layer: bcmUdfLayerL3OuterHeader, start: 16, width: 32",
                 "ethertype: 2048, ethertype_mask: 65535, l2: 0, "
                 "vlan_tag: bcmUdfPktFormatVlanTagAny, outer_ip: bcmUdfPktFormatIp4, "
                 "inner_ip: 0, tunnel: bcmUdfPktFormatTunnelNone, ip_protocol: 6, "
                 "ip_protocol_mask: 255, prio: 0" );
}

TEST_F( UdfModuleCreateTest, Create_Ip6WithPriority_SetsOuterIpAndPriority )
{
    UdfDesc desc = udfDescOf();
    desc.ethTypeIs( ip6 );
    desc.ipProtoIs( 0 );
    desc.priorityIs( 255 );
    expectAsked( desc, "layer: bcmUdfLayerL3OuterHeader, start: 16, width: 32",
                 "ethertype: 34525, ethertype_mask: 65535, l2: 0, "
                 "vlan_tag: bcmUdfPktFormatVlanTagAny, outer_ip: bcmUdfPktFormatIp6, "
                 "inner_ip: 0, tunnel: bcmUdfPktFormatTunnelNone, ip_protocol: 0, "
                 "ip_protocol_mask: 0, prio: 255" );
}

TEST_F( UdfModuleCreateTest, Create_Arp_SetsL2AndLeavesOuterIp )
{
    UdfDesc desc = udfDescOf( 0, 2 );
    desc.baseIs( PeloraTcam::UdfBaseL2Header_ );
    desc.ethTypeIs( arp );
    desc.ipProtoIs( 0 );
    expectAsked( desc, "layer: bcmUdfLayerL2Header, start: 0, width: 16",
                 "ethertype: 2054, ethertype_mask: 65535, l2: bcmUdfPktFormatL2EthII, "
                 "vlan_tag: bcmUdfPktFormatVlanTagAny, outer_ip: 0, inner_ip: 0, "
                 "tunnel: bcmUdfPktFormatTunnelNone, ip_protocol: 0, ip_protocol_mask: 0, "
                 "prio: 0" );
}

TEST_F( UdfModuleCreateTest, Create_GreCarryingIp_SetsTunnelAndInnerIp )
{
    UdfDesc desc = udfDescOf();
    desc.baseIs( PeloraTcam::UdfBaseL3InnerHeader_ );
    desc.ipProtoIs( 47 );
    desc.innerEtherTypeIs( ip4 );
    const std::string udf = "layer: bcmUdfLayerL3InnerHeader, start: 16, width: 32";
    expectAsked( desc, udf,
                 "ethertype: 2048, ethertype_mask: 65535, l2: 0, "
                 "vlan_tag: bcmUdfPktFormatVlanTagAny, outer_ip: bcmUdfPktFormatIp4, "
                 "inner_ip: bcmUdfPktFormatIp4, tunnel: bcmUdfPktFormatTunnelGre, "
                 "ip_protocol: 47, ip_protocol_mask: 255, prio: 0" );
    desc.innerEtherTypeIs( ip6 );
    desc.ethTypeIs( ip6 );
    expectAsked( desc, udf,
                 "ethertype: 34525, ethertype_mask: 65535, l2: 0, "
                 "vlan_tag: bcmUdfPktFormatVlanTagAny, outer_ip: bcmUdfPktFormatIp6, "
                 "inner_ip: bcmUdfPktFormatIp6, tunnel: bcmUdfPktFormatTunnelGre, "
                 "ip_protocol: 47, ip_protocol_mask: 255, prio: 0" );
}

TEST_F( UdfModuleCreateTest, Create_BehindAHeader_AddsItsLength )
{
    const std::string format = "ethertype: 2048, ethertype_mask: 65535, l2: 0, "
                               "vlan_tag: bcmUdfPktFormatVlanTagAny, "
                               "outer_ip: bcmUdfPktFormatIp4, inner_ip: 0, "
                               "tunnel: bcmUdfPktFormatTunnelNone, ip_protocol: 6, "
                               "ip_protocol_mask: 255, prio: 0";
    UdfDesc desc = udfDescOf( 255, 1 );
    desc.baseIs( PeloraTcam::UdfBaseL3OuterPayload_ );
    expectAsked( desc, "layer: bcmUdfLayerL3OuterHeader, start: 2200, width: 8", format );
    desc.baseIs( PeloraTcam::UdfBaseL4OuterPayload_ );
    expectAsked( desc, "layer: bcmUdfLayerL4OuterHeader, start: 2200, width: 8", format );
    desc.offsetIs( 0 );
    expectAsked( desc, "layer: bcmUdfLayerL4OuterHeader, start: 160, width: 8", format );
}

TEST_F( UdfModuleCreateTest, Create_NotForTheHash_HintsAreAsInitialised )
{
    sdk.on.bcm_udf_create = []( auto, bcm_udf_alloc_hints_t* hints, auto*, auto* ) {
        EXPECT_EQ( hints->flags(), 0U );
        EXPECT_EQ( hints->qset().w, bcm_field_qset_t().w );
        return -4;
    };
    create( udfDescOf() );
    EXPECT_EQ( sdk.countOf( "BCM_FIELD_QSET_ADD" ), 0U );
}

TEST_F( UdfModuleCreateTest, Create_ForTheHash_HintsHaveTheFlagInBothPlaces )
{
    const Agent::U32 flag = sdk.BCM_UDF_CREATE_O_UDFHASH();
    bcm_field_qset_t expected;
    chips.BCM_FIELD_QSET_ADD( &expected, static_cast< bcm_field_qualify_t >( flag ) );
    sdk.on.bcm_udf_create = [ & ]( auto, bcm_udf_alloc_hints_t* hints, auto*, auto* ) {
        EXPECT_EQ( hints->flags(), flag );
        EXPECT_EQ( hints->qset().w, expected.w );
        return -4;
    };
    create( lagDescOf() );
    EXPECT_EQ( sdk.countOf( "bcm_udf_create" ), 1U );
}

// ---- Sequences -------------------------------------------------------------------------------

TEST_F( UdfModuleCreateTest, Create_NewFormat_MakesTheseCallsAndNoOthers )
{
    const QualIdList quals = create( udfDescOf() );
    EXPECT_EQ( quals, qualsOf( { 1 } ) );
    EXPECT_THAT( names(),
                 ElementsAre( "bcm_udf_t_init", "bcm_udf_pkt_format_info_t_init",
                              "bcm_udf_alloc_hints_t_init", "BCM_FIELD_QSET_INIT", "bcm_udf_create",
                              "bcm_udf_pkt_format_create", "bcm_udf_pkt_format_add" ) );
    EXPECT_EQ( sdk.calls()[ 2 ], "bcm_udf_pkt_format_add( 5, 1, 1 )" );
    EXPECT_EQ( mapText(), "1: 1" );
    EXPECT_THAT( logged, IsEmpty() );
}

TEST_F( UdfModuleCreateTest, Create_SharedFormat_LooksItUpAndMakesNone )
{
    made( udfDescOf( 2, 2 ) );
    UdfDesc other = udfDescOf( 8, 2 );
    other.priorityIs( 9 );
    EXPECT_EQ( create( other ), qualsOf( { 2 } ) );
    EXPECT_THAT( names(),
                 ElementsAre( "bcm_udf_t_init", "bcm_udf_pkt_format_info_t_init",
                              "bcm_udf_alloc_hints_t_init", "BCM_FIELD_QSET_INIT", "bcm_udf_create",
                              "bcm_udf_pkt_format_info_t_init", "preApiCall",
                              "bcm_udf_pkt_format_info_get", "bcm_udf_pkt_format_add" ) );
    EXPECT_EQ( mapText(), "1: 1 2" );
}

TEST_F( UdfModuleCreateTest, Create_OtherPackets_LooksAtAllFormatsAndMakesOne )
{
    made( udfDescOf( 2, 2 ) );
    UdfDesc other = udfDescOf( 2, 2 );
    other.ipProtoIs( 17 );
    create( other );
    EXPECT_EQ( mapText(), "1: 1; 2: 2" );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_info_get" ), 1U );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_create" ), 1U );
}

TEST_F( UdfModuleCreateTest, Create_SeveralFormatsMatch_TakesTheFirstAndLooksNoFurther )
{
    made( udfDescOf( 2, 2 ) );
    const bcm_udf_pkt_format_info_t format =
        chips.chip( unit )->udfModule()->state().pktFormats.at( 1 ).info;
    bcm_udf_pkt_format_id_t twin = 0;
    ASSERT_EQ( chips.chip( unit )->udfModule()->createPktFormat(
                   sdk.BCM_UDF_PKT_FORMAT_CREATE_O_NONE(), &format, &twin ),
               0 );
    mapIs( twin, udfsOf( { 77 } ) );
    create( udfDescOf( 8, 2 ) );
    EXPECT_EQ( mapText(), "1: 1 2; 2: 77" );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_info_get" ), 1U );
}

TEST_F( UdfModuleCreateTest, Create_FormatOfSomebodyElse_IsNotShared )
{
    made( udfDescOf( 2, 2 ) );
    formats = PktFmtIdToUdfId::Ptr( new PktFmtIdToUdfId );
    create( udfDescOf( 8, 2 ) );
    EXPECT_EQ( mapText(), "2: 2" );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_info_get" ), 0U );
}

// An id of 0 counts as not found.
TEST_F( UdfModuleCreateTest, Create_MatchingFormatHasId0_MakesOneAllTheSame )
{
    mapIs( 0, udfsOf( { 77 } ) );
    sdk.on.bcm_udf_pkt_format_info_get = [ this ]( int, int, bcm_udf_pkt_format_info_t* format ) {
        format->ethertypeIs( ip4 );
        format->ethertype_maskIs( 0xFFFF );
        format->vlan_tagIs( sdk.bcmUdfPktFormatVlanTagAny() );
        format->outer_ipIs( sdk.bcmUdfPktFormatIp4() );
        format->tunnelIs( sdk.bcmUdfPktFormatTunnelNone() );
        format->ip_protocolIs( 6 );
        format->ip_protocol_maskIs( 0xFF );
        return 0;
    };
    expectBoth( 8, " Found Pkt format: 0", [ this ] {
        const QualIdList quals = create( udfDescOf( 2, 2 ) );
        EXPECT_EQ( quals.qualIds(), 1U );
        destroy( udfDescOf( 2, 2 ), quals );
    } );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_create" ), 2U );
}

TEST_F( UdfModuleCreateTest, Create_ForTheHash_AddsTheConfigurationAfterTheAttachment )
{
    EXPECT_EQ( create( lagDescOf() ), qualsOf( { 1 } ) );
    EXPECT_THAT( names(),
                 ElementsAre( "bcm_udf_t_init", "bcm_udf_pkt_format_info_t_init",
                              "bcm_udf_alloc_hints_t_init", "BCM_FIELD_QSET_INIT",
                              "BCM_FIELD_QSET_ADD", "bcm_udf_create", "bcm_udf_pkt_format_create",
                              "bcm_udf_pkt_format_add", "bcm_udf_hash_config_t_init", "preApiCall",
                              "bcm_udf_hash_config_add" ) );
}

TEST_F( UdfModuleCreateTest, Create_OnTheChip_HoldsWhatWasAskedFor )
{
    create( lagDescOf() );
    EXPECT_EQ( chipText(),
               "udf 1: layer=bcmUdfLayerL3OuterHeader start=16 width=16 chunks=0 forHash=yes\n"
               "udf hash configuration 1: mask_length=2 hash_mask=ff0f\n"
               "udf packet format 1: ethertype=0x800/0xffff l2=any "
               "vlan_tag=bcmUdfPktFormatVlanTagAny outer_ip=bcmUdfPktFormatIp4 inner_ip=any "
               "tunnel=bcmUdfPktFormatTunnelNone ip_protocol=6/0xff prio=0 udfs=1\n" );
}

// ---- Refusals --------------------------------------------------------------------------------

TEST_F( UdfModuleCreateTest, Create_EthType0_MakesNoCall )
{
    UdfDesc desc = udfDescOf();
    desc.ethTypeIs( 0 );
    expectFails( desc, {} );
    EXPECT_EQ( sdk.countOf( "preApiCall" ), 0U );
    desc.innerEtherTypeIs( ip6 );
    expectFails( desc, {} );
    EXPECT_THAT( logged, IsEmpty() );
}

TEST_F( UdfModuleCreateTest, Create_EachFailureOfUdfCreate_LeavesNothing )
{
    for ( const SdkFailure& failure : allSdkFailures() ) {
        logged.clear();
        fail( "bcm_udf_create", failure.rc );
        expectFails( udfDescOf(), { "bcm_udf_create" } );
        EXPECT_EQ( logged.size(), failure.rc == -14 ? 1U : 0U ) << failure.name;
    }
}

TEST_F( UdfModuleCreateTest, Create_EachFailureOfFormatCreate_DestroysTheUdf )
{
    for ( const SdkFailure& failure : allSdkFailures() ) {
        logged.clear();
        fail( "bcm_udf_pkt_format_create", failure.rc );
        expectFails( udfDescOf(),
                     { "bcm_udf_create", "bcm_udf_pkt_format_create", "bcm_udf_destroy" } );
        EXPECT_EQ( logged.size(), failure.rc == -14 ? 1U : 0U ) << failure.name;
    }
}

TEST_F( UdfModuleCreateTest, Create_EachFailureOfTheAttachmentToANewFormat_DestroysBoth )
{
    for ( const SdkFailure& failure : allSdkFailures() ) {
        fail( "bcm_udf_pkt_format_add", failure.rc );
        expectFails( udfDescOf(), { "bcm_udf_create", "bcm_udf_pkt_format_create",
                                    "bcm_udf_pkt_format_add", "bcm_udf_pkt_format_delete",
                                    "bcm_udf_pkt_format_destroy", "bcm_udf_destroy" } );
    }
    EXPECT_THAT( logged, IsEmpty() );
}

TEST_F( UdfModuleCreateTest, Create_EachFailureOfTheAttachmentToASharedFormat_KeepsIt )
{
    made( udfDescOf( 2, 2 ) );
    for ( const SdkFailure& failure : allSdkFailures() ) {
        fail( "bcm_udf_pkt_format_add", failure.rc );
        expectFails( udfDescOf( 8, 2 ),
                     { "bcm_udf_create", "bcm_udf_pkt_format_info_get", "bcm_udf_pkt_format_add",
                       "bcm_udf_pkt_format_delete", "bcm_udf_destroy" } );
    }
    EXPECT_EQ( mapText(), "1: 1" );
}

TEST_F( UdfModuleCreateTest, Create_ChipRunsOut_IsRefusedAndLogged )
{
    made( udfDescOf( 2, 10 ) );
    expectFails( udfDescOf( 2, 4 ), { "bcm_udf_create" } );
    EXPECT_THAT( logged, ElementsAre( full ) );
    made( udfDescOf( 2, 2 ) );
    expectFails( udfDescOf( 2, 2 ), { "bcm_udf_create" } );
    EXPECT_THAT( logged, ElementsAre( full, full ) );
}

TEST_F( UdfModuleCreateTest, Create_FormatsRunOut_IsRefusedAndLogged )
{
    UdfDesc desc = udfDescOf( 2, 2 );
    for ( const Agent::U8 protocol : std::initializer_list< Agent::U8 >{ 6, 17 } ) {
        desc.ipProtoIs( protocol );
        made( desc );
    }
    desc.ipProtoIs( 1 );
    expectFails( desc,
                 { "bcm_udf_create", "bcm_udf_pkt_format_info_get", "bcm_udf_pkt_format_info_get",
                   "bcm_udf_pkt_format_create", "bcm_udf_destroy" } );
    EXPECT_THAT( logged, ElementsAre( full ) );
}

TEST_F( UdfModuleCreateTest, Create_FormatHasNoRoom_IsRefusedWithoutALog )
{
    made( udfDescOf( 2, 2 ) );
    made( udfDescOf( 4, 2 ) );
    expectFails( udfDescOf( 6, 2 ),
                 { "bcm_udf_create", "bcm_udf_pkt_format_info_get", "bcm_udf_pkt_format_add",
                   "bcm_udf_pkt_format_delete", "bcm_udf_destroy" } );
    EXPECT_THAT( logged, IsEmpty() );
}

TEST_F( UdfModuleCreateTest, Create_NoLength_IsRefusedByTheSdk )
{
    expectFails( udfDescOf( 2, 0 ), { "bcm_udf_create" } );
}

// ---- Ends of the process ---------------------------------------------------------------------

TEST_F( UdfModuleCreateTest, Create_NoMap_Dies )
{
    formats = nullptr;
    expectAssertion( { udfSource, "PeloraTcam::createUdfQualifierUdfModule", "" },
                     "pktFmtIdToUdfId", [ this ] { create( udfDescOf() ); } );
}

TEST_F( UdfModuleCreateTest, Create_BadBase_DiesBeforeAnySdkCall )
{
    sdk.on.bcm_udf_create = []( auto... ) {
        say( "bcm_udf_create" );
        return 0;
    };
    UdfDesc desc = udfDescOf();
    for ( const unsigned base : { 0U, 9U } ) {
        desc.baseIs( static_cast< PeloraTcam::UdfOffsetBase >( base ) );
        expectAssertion( { udfSource, "PeloraTcam::getUdfLayer", "" },
                         "Invalid base UdfBasePacketStart_ used", [ & ] { create( desc ); } );
    }
}

TEST_F( UdfModuleCreateTest, Create_UnknownInnerEtherType_Dies )
{
    UdfDesc desc = udfDescOf();
    for ( const Agent::U16 ethType : { ip4, Agent::U16{ 0 }, arp } ) {
        desc.ethTypeIs( ethType );
        for ( const Agent::U16 inner : { Agent::U16{ 1 }, arp, Agent::U16{ 0xFFFF } } ) {
            desc.innerEtherTypeIs( inner );
            expectAssertion( { "PeloraTcam/UdfModuleRequest.cpp", "describeTunnel", "" },
                             "No support for GRE innerEtherType other than v4/v6",
                             [ & ] { create( desc ); } );
        }
    }
}

TEST_F( UdfModuleCreateTest, Create_GreOutsideIp_Dies )
{
    UdfDesc desc = udfDescOf();
    desc.innerEtherTypeIs( ip4 );
    desc.ethTypeIs( arp );
    expectAssertion(
        { udfSource, "describe", "" },
        "( ethType == Kvnet::EthType::ethTypeIp_ || ethType == Kvnet::EthType::ethTypeIp6_ ) && "
        "\"Outer ethertype for GRE packets must be IPv4/IPv6\"",
        [ & ] { create( desc ); } );
}

TEST_F( UdfModuleCreateTest, Create_StoredFormatCannotBeRead_Dies )
{
    made( udfDescOf( 2, 2 ) );
    expectFatal( "bcm_udf_pkt_format_info_get", infoGet, [ this ] { create( udfDescOf() ); } );
}

TEST_F( UdfModuleCreateTest, Create_HashConfigurationsRunOut_Dies )
{
    made( lagDescOf() );
    expectFatalCall( { udfSource, "PeloraTcam::createUdfLagHashingModule",
                       "bcm_udf_hash_config_add( unit, BCM_UDF_HASH_ADD_O_NONE, &hash_config )" },
                     -6, "Table full", [ this ] { create( lagDescOf() ); } );
}

TEST_F( UdfModuleCreateTest, Create_UdfWasDropped_DiesInTheCleanup )
{
    faulty.add( { { .function = "bcm_udf_create" }, Sim::DropCall{} } );
    expectFatalCall( { udfSource, "PeloraTcam::cleanupUdfModuleFootprint",
                       "bcm_udf_destroy( unit, udfIdToCleanup )" },
                     -7, "Entry not found", [ this ] { create( udfDescOf() ); } );
}

TEST_F( UdfModuleCreateTest, Create_SdkThrows_ExceptionPassesWithTheLocksHeld )
{
    faulty.add( { { .function = "bcm_udf_create" }, Sim::ThrowFromCall{} } );
    EXPECT_THROW( create( udfDescOf() ), std::runtime_error );
    EXPECT_EQ( chipText(), "" );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

TEST_F( UdfModuleCreateTest, Create_StoredFormatReadsBackChanged_IsNotShared )
{
    made( udfDescOf( 2, 2 ) );
    corrupt( "bcm_udf_pkt_format_info_get", "ip_protocol", 17 );
    create( udfDescOf( 8, 2 ) );
    EXPECT_EQ( mapText(), "1: 1; 2: 2" );
}

} // namespace
} // namespace LibraryTest
