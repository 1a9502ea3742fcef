// The order of things in the UDF module functions: which of several wrong things ends the process,
// which of several lines comes first, and what stays as the SDK has initialised it.

#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "agent/base/RingTrace.h"
#include "sdk/ForwardingSdk.h"
#include "tests/library/UdfScene.h"

#include <csignal>

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using TestSupport::returns;

constexpr SdkCallSite verifySite{ udfSource, "PeloraTcam::udfQualProgrammedInHwUdfModule", "" };

class UdfModuleOrderTest : public UdfScene
{
  protected:
    /// The packet format that a creation asks the SDK for.
    bcm_udf_pkt_format_info_t formatAskedFor( const UdfDesc& desc )
    {
        bcm_udf_pkt_format_info_t asked;
        sdk.on.bcm_udf_pkt_format_create = [ & ]( auto, auto, const auto* format, auto* ) {
            asked = *format;
            return -4;
        };
        create( desc );
        sdk.on.bcm_udf_pkt_format_create = nullptr;
        return asked;
    }
};

// ---- What stays as initialised -----------------------------------------------------------------

class UdfModuleInitialisedTest : public UdfModuleOrderTest
{
  protected:
    static constexpr bcm_udf_pkt_format_l2_t l2{ 101 };
    static constexpr bcm_udf_pkt_format_ip_t outer{ 102 };
    static constexpr bcm_udf_pkt_format_ip_t inner{ 103 };

    UdfModuleInitialisedTest()
    {
        sdk.on.bcm_udf_pkt_format_info_t_init = []( bcm_udf_pkt_format_info_t* format ) {
            format->l2Is( l2 );
            format->outer_ipIs( outer );
            format->inner_ipIs( inner );
            format->ip_protocolIs( 104 );
            format->ip_protocol_maskIs( 105 );
            format->prioIs( 106 );
        };
    }
};

TEST_F( UdfModuleInitialisedTest, Create_Ip_LeavesL2InnerIpAndPriority )
{
    for ( const Agent::U16 ethType : { ip4, ip6 } ) {
        UdfDesc desc = udfDescOf();
        desc.ethTypeIs( ethType );
        const bcm_udf_pkt_format_info_t asked = formatAskedFor( desc );
        EXPECT_EQ( asked.l2(), l2 );
        EXPECT_NE( asked.outer_ip(), outer );
        EXPECT_EQ( asked.inner_ip(), inner );
        EXPECT_EQ( asked.ip_protocol(), 6 );
        EXPECT_EQ( asked.ip_protocol_mask(), 0xFF );
        EXPECT_EQ( asked.prio(), 106 );
    }
}

TEST_F( UdfModuleInitialisedTest, Create_NoIpAndNoProtocol_LeavesOuterIpAndProtocol )
{
    UdfDesc desc = udfDescOf();
    desc.ethTypeIs( arp );
    desc.ipProtoIs( 0 );
    desc.priorityIs( 3 );
    const bcm_udf_pkt_format_info_t asked = formatAskedFor( desc );
    EXPECT_EQ( asked.l2(), sdk.bcmUdfPktFormatL2EthII() );
    EXPECT_EQ( asked.outer_ip(), outer );
    EXPECT_EQ( asked.inner_ip(), inner );
    EXPECT_EQ( asked.ip_protocol(), 104 );
    EXPECT_EQ( asked.ip_protocol_mask(), 105 );
    EXPECT_EQ( asked.prio(), 3 );
}

// Only 0 means that nothing is asked.
TEST_F( UdfModuleInitialisedTest, Create_EverythingIs1_IsAskedFor )
{
    UdfDesc desc = udfDescOf();
    desc.ethTypeIs( 1 );
    desc.ipProtoIs( 1 );
    desc.priorityIs( 1 );
    const bcm_udf_pkt_format_info_t asked = formatAskedFor( desc );
    EXPECT_EQ( asked.ethertype(), 1 );
    EXPECT_EQ( asked.ethertype_mask(), 0xFFFF );
    EXPECT_EQ( asked.l2(), sdk.bcmUdfPktFormatL2EthII() );
    EXPECT_EQ( asked.ip_protocol(), 1 );
    EXPECT_EQ( asked.ip_protocol_mask(), 0xFF );
    EXPECT_EQ( asked.prio(), 1 );
}

TEST_F( UdfModuleInitialisedTest, Create_UdfAndHints_AreLeftWhereNothingIsAsked )
{
    sdk.on.bcm_udf_t_init = []( bcm_udf_t* udf ) { udf->hw_bmapIs( 107 ); };
    sdk.on.bcm_udf_alloc_hints_t_init = []( bcm_udf_alloc_hints_t* hints ) {
        hints->flagsIs( 108 );
        bcm_field_qset_t qset;
        qset.w[ 1 ] = 109;
        hints->qsetIs( qset );
    };
    sdk.on.bcm_udf_create = []( auto, auto* hints, auto* udf, auto* ) {
        EXPECT_EQ( udf->hw_bmap(), 107U );
        EXPECT_EQ( hints->flags(), 108U );
        EXPECT_EQ( hints->qset().w[ 1 ], 109U );
        return -4;
    };
    create( udfDescOf() );
    EXPECT_EQ( sdk.countOf( "bcm_udf_create" ), 1U );
}

// ---- Creation ----------------------------------------------------------------------------------

TEST_F( UdfModuleOrderTest, Create_SeveralThingsWrong_FirstOneEnds )
{
    UdfDesc desc = udfDescOf();
    desc.baseIs( PeloraTcam::UdfBasePacketStart_ );
    desc.ethTypeIs( 0 );
    desc.innerEtherTypeIs( arp );
    expectAssertion( { udfSource, "PeloraTcam::getUdfLayer", "" },
                     "Invalid base UdfBasePacketStart_ used", [ & ] { create( desc ); } );
    formats = nullptr;
    expectAssertion( { udfSource, "PeloraTcam::createUdfQualifierUdfModule", "" },
                     "pktFmtIdToUdfId", [ & ] { create( desc ); } );
}

// Everything but "none" is a refusal, also a code that is no error code of the SDK.
TEST_F( UdfModuleOrderTest, Create_PositiveCode_IsARefusal )
{
    const std::string before = chipText();
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 1 );
    sdk.on.bcm_udf_create = returns( 1 );
    EXPECT_EQ( create( udfDescOf() ).qualIds(), 0U );
    sdk.on.bcm_udf_create = nullptr;
    sdk.on.bcm_udf_pkt_format_create = returns( 2 );
    EXPECT_EQ( create( udfDescOf() ).qualIds(), 0U );
    sdk.on.bcm_udf_pkt_format_create = nullptr;
    sdk.on.bcm_udf_pkt_format_add = returns( 3 );
    sdk.on.sdkErrorText = []( int ) { return "what"; };
    EXPECT_EQ( create( udfDescOf() ).qualIds(), 0U );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( " bcm_udf_create failed 1", " bcm_udf_pkt_format_create failed2",
                              " bcm_udf_pkt_format_add failed rc: what" ) );
    EXPECT_EQ( chipText(), before );
    EXPECT_EQ( mapText(), "" );
}

TEST_F( UdfModuleOrderTest, Create_OutOfResources_TracesThenLogsThenTraces )
{
    const Agent::U64 before = Agent::ringTrace().count();
    std::vector< Agent::U64 > linesAtLog;
    const Agent::LogSink sink = Agent::logSinkIs( [ & ]( const Agent::LogDescriptor& ) {
        linesAtLog.push_back( Agent::ringTrace().count() - before );
    } );
    fail( "bcm_udf_create", -14 );
    create( udfDescOf() );
    fail( "bcm_udf_pkt_format_create", -14 );
    create( udfDescOf() );
    Agent::logSinkIs( sink );
    EXPECT_THAT( linesAtLog, ElementsAre( 2, 6 ) );
    const std::string entry =
        "createUdfQualifierUdfModule mod:5 ethType: 2048 appType: 0 base: UdfBaseL3Header_ "
        "offset: 2 length: 4 ipProto: 6 innerEtherType: 0 priority: 0 lagHashingMask: 0";
    EXPECT_THAT(
        lastRingTexts( 7 ),
        ElementsAre(
            entry,
            "Out of hw resources to create UDF. udf: base=UdfBaseL3Header_ normalized offset=2",
            " bcm_udf_create failed -14", entry, " Creating new pkt format object",
            " No hw resources to program UDF udf:base=UdfBaseL3Header_ normalized offset=2",
            " bcm_udf_pkt_format_create failed-14" ) );
}

TEST_F( UdfModuleOrderTest, Life_OfAHashingUdf_WritesTheseLinesInThisOrder )
{
    EXPECT_THAT(
        ringTextsOf( [ this ] { destroy( lagDescOf(), create( lagDescOf() ) ); } ),
        ElementsAre( "createUdfQualifierUdfModule mod:5 ethType: 2048 appType: 0 base: "
                     "UdfBaseL3Header_ offset: 2 length: 2 ipProto: 6 innerEtherType: 0 "
                     "priority: 0 lagHashingMask: ff0f0000",
                     " Creating new pkt format object", "createUdfLagHashingModule unit 5 udfId 1",
                     " Added lag hashing config for Udf Id: 1", " Udf Id: 1 Pkt Fmt Id: 1",
                     "destroyUdfQualifierUdfModule", "destroyUdfLagHashingModule unit 5 udfId 1",
                     "Removed lag hashing config for Udf Id: 1" ) );
}

TEST_F( UdfModuleOrderTest, Create_SharedFormat_TracesItsOwnIdAndTheFormats )
{
    made( udfDescOf( 2, 2 ) );
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 8 );
    create( udfDescOf( 4, 2 ) );
    ASSERT_EQ( traces.texts().size(), 4U );
    EXPECT_EQ( traces.texts()[ 0 ], " Looking at pkt fmt id: 1" );
    EXPECT_EQ( traces.texts()[ 2 ], " Found Pkt format: 1" );
    EXPECT_EQ( traces.texts()[ 3 ], " Udf Id: 2 Pkt Fmt Id: 1" );
}

// Every member reads back with a value of its own.
TEST_F( UdfModuleOrderTest, Create_LooksAtAFormat_TracesDesiredThenStoredOfEachField )
{
    UdfDesc desc = udfDescOf( 2, 2 );
    desc.ipProtoIs( 47 );
    desc.innerEtherTypeIs( ip6 );
    made( desc );
    Agent::U64 stored = 1001;
    for ( const char* member :
          { "ethertype", "l2", "vlan_tag", "outer_ip", "tunnel", "inner_ip" } ) {
        corrupt( "bcm_udf_pkt_format_info_get", member, stored++ );
    }
    corrupt( "bcm_udf_pkt_format_info_get", "ip_protocol", 48 );
    corrupt( "bcm_udf_pkt_format_info_get", "ip_protocol_mask", 254 );
    const auto number = []( auto value ) { return std::to_string( uint32_t{ value } ); };
    expectBoth( 8,
                " Packet fields:  EtherType: 2048 1001 L2: 0 1002 Vlan: " +
                    number( sdk.bcmUdfPktFormatVlanTagAny() ) +
                    " 1003 Outer Ip: " + number( sdk.bcmUdfPktFormatIp4() ) +
                    " 1004 Tunnel: " + number( sdk.bcmUdfPktFormatTunnelGre() ) +
                    " 1005 ip_protocol: 47 48 ip_protocol_mask: 255 254 inner_ip: " +
                    number( sdk.bcmUdfPktFormatIp6() ) + " 1006",
                [ & ] { destroy( desc, create( desc ) ); } );
}

// Only 0 counts as not found.
TEST_F( UdfModuleOrderTest, Create_MatchingFormatHasANegativeId_IsShared )
{
    made( udfDescOf( 2, 2 ) );
    const bcm_udf_pkt_format_info_t stored =
        chips.chip( unit )->udfModule()->state().pktFormats.at( 1 ).info;
    formats->pktFmtIdToUdfIdDel( PktFmtId( 1 ) );
    mapIs( -3, udfsOf( { 77 } ) );
    sdk.on.bcm_udf_pkt_format_info_get = [ & ]( int, int, bcm_udf_pkt_format_info_t* format ) {
        *format = stored;
        return 0;
    };
    sdk.on.bcm_udf_pkt_format_add = returns( 0 );
    EXPECT_EQ( create( udfDescOf( 8, 2 ) ), qualsOf( { 2 } ) );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_create" ), 0U );
    EXPECT_EQ( mapText(), "-3: 2 77" );
}

TEST_F( UdfModuleOrderTest, Program_MapTakenOut_Dies )
{
    const auto helper = PeloraTcam::udfModuleHelperFactory( unit, 0, true );
    helper->pktFmtIdToUdfIdDel();
    expectAssertion( { udfSource, "PeloraTcam::createUdfQualifierUdfModule", "" },
                     "pktFmtIdToUdfId", [ & ] { helper->programUdfInHw( udfDescOf() ); } );
}

TEST_F( UdfModuleOrderTest, Create_NoMap_DiesBeforeItTraces )
{
    formats = nullptr;
    const ChildRun run = runInChild( [ this ] {
        Agent::traceLevelsIs( udfFacility, allTraceLevels );
        Agent::traceSinkIs(
            []( const Agent::TraceLine& line ) { say( std::string( line.text ) ); } );
        create( udfDescOf() );
    } );
    EXPECT_TRUE( run.aborted );
    EXPECT_THAT( run.errors,
                 ::testing::Not( ::testing::HasSubstr( "createUdfQualifierUdfModule mod" ) ) );
}

// ---- Removal -----------------------------------------------------------------------------------

// The SDK's functions say their names.
TEST_F( UdfModuleOrderTest, Destroy_AnythingWrong_DiesBehindWhatComesBeforeIt )
{
    const QualIdList quals = made( lagDescOf() );
    const auto sayThatOf = []( const char* name ) {
        return [ name ]( auto... ) {
            say( name );
            return 0;
        };
    };
    sdk.on.bcm_udf_hash_config_delete = sayThatOf( "hash" );
    sdk.on.bcm_udf_pkt_format_delete = sayThatOf( "detach" );
    sdk.on.bcm_udf_pkt_format_destroy = sayThatOf( "format" );
    sdk.on.bcm_udf_destroy = sayThatOf( "udf" );
    const auto lastWords = [ & ] {
        return runInChild( [ & ] { destroy( lagDescOf(), quals ); } ).errors;
    };
    EXPECT_EQ( lastWords(), "hash\ndetach\nformat\nudf\n" );
    mapIs( 1, udfsOf( { 2 } ) );
    EXPECT_THAT( lastWords(),
                 ::testing::MatchesRegex( "hash\ndetach\n[^\n]*udfs.udfIdHas[^\n]*\n" ) );
    corrupt( "bcm_udf_pkt_format_get_all", "actual", 2 );
    EXPECT_THAT( lastWords(), ::testing::MatchesRegex( "hash\n[^\n]*actual == 1[^\n]*\n" ) );
}

TEST_F( UdfModuleOrderTest, Cleanup_DetachmentSucceeds_DestroysNothing )
{
    sdk.on.bcm_udf_pkt_format_delete = returns( 0 );
    const auto sayIt = []( auto... ) {
        say( "destroyed" );
        return 0;
    };
    sdk.on.bcm_udf_pkt_format_destroy = sayIt;
    sdk.on.bcm_udf_destroy = sayIt;
    UdfHwProgrammingFootprint footprint;
    footprint.pktFmtId = PktFmtId( 3 );
    footprint.udfIds = qualsOf( { 7 } );
    const ChildRun run =
        runInChild( [ & ] { cleanupUdfModuleFootprint( unit, footprint, formats ); } );
    EXPECT_TRUE( run.aborted );
    EXPECT_THAT( run.errors, ::testing::Not( ::testing::HasSubstr( "destroyed" ) ) );
}

// ---- Audits ------------------------------------------------------------------------------------

TEST_F( UdfModuleOrderTest, Verify_EverythingWrong_EndsAtTheFirstAndThenTheNext )
{
    const QualIdList quals = made( udfDescOf( 2, 4 ) );
    corrupt( "bcm_udf_pkt_format_get_all", "formatIds", 0 );
    corrupt( "bcm_udf_pkt_format_get_all", "actual", 2 );
    corrupt( "bcm_udf_get", "layer", 4711 );
    formats->pktFmtIdToUdfIdDel( PktFmtId( 1 ) );
    const auto expectNext = [ & ]( const std::string& assertion, const UdfDesc& desc ) {
        expectAssertion( verifySite, assertion, [ & ] { verify( desc, quals ); } );
    };
    const UdfDesc desc = udfDescOf( 2, 4 );
    expectNext( "udf.width() == ( length * 8 )", udfDescOf( 3, 5 ) );
    expectNext( "udf.start() == ( offset * 8 )", udfDescOf( 3, 4 ) );
    expectNext(
        "udf.layer() == bcmUdfLayerL3OuterHeader || udf.layer() == bcmUdfLayerL2Header || "
        "udf.layer() == bcmUdfLayerL2Header || udf.layer() == bcmUdfLayerL3InnerHeader || "
        "udf.layer() == bcmUdfLayerL4InnerHeader || udf.layer() == bcmUdfLayerL4OuterHeader",
        desc );
    faulty.clearFaults();
    corrupt( "bcm_udf_pkt_format_get_all", "formatIds", 0 );
    corrupt( "bcm_udf_pkt_format_get_all", "actual", 2 );
    expectNext( "actual == 1", desc );
    faulty.clearFaults();
    corrupt( "bcm_udf_pkt_format_get_all", "formatIds", 0 );
    expectNext( "pktFmtId[ 0 ]", desc );
    faulty.clearFaults();
    expectNext( "pktFmtIdToUdfId->pktFmtIdToUdfIdHas( fmtId )", desc );
    mapIs( 1, {} );
    expectNext( "udfs.udfIdHas( id )", desc );
    mapIs( 1, udfsOf( { 1 } ) );
    verify( desc, quals );
}

TEST_F( UdfModuleOrderTest, Verify_SeveralIds_TakesTheFirst )
{
    made( lagDescOf() );
    verify( lagDescOf(), qualsOf( { 1, 4711 } ) );
    udfLagHashingProgrammedInModule( unit, qualsOf( { 1, 4711 } ), lagDescOf() );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( ::testing::StartsWith( "bcm_udf_get( 5, 1, " ),
                              "bcm_udf_pkt_format_get_all( 5, 1, 2, &, & )",
                              ::testing::StartsWith( "bcm_udf_hash_config_get( 5, " ) ) );
}

TEST_F( UdfModuleOrderTest, VerifyHash_MaskAndLengthWrong_EndsAtTheMask )
{
    const QualIdList quals = made( lagDescOf() );
    UdfDesc desc = lagDescOf( { { 0, 1 } } );
    desc.lengthIs( 3 );
    expectAssertion( { udfSource, "PeloraTcam::udfLagHashingProgrammedInModule", "" },
                     "lagHashingMask == hash_mask",
                     [ & ] { udfLagHashingProgrammedInModule( unit, quals, desc ); } );
}

TEST_F( UdfModuleOrderTest, Verify_Missing_WritesTheIdToTheRingBeforeItDies )
{
    const ChildRun run = runInChild( [ this ] {
        std::signal( SIGABRT, []( int ) { say( "ring: " + lastRingTexts( 1 ).at( 0 ) ); } );
        verify( udfDescOf(), qualsOf( { 17 } ) );
    } );
    EXPECT_TRUE( run.aborted );
    EXPECT_THAT( run.errors,
                 ::testing::EndsWith( "ring: udfQualProgrammedInHwUdfModule UDF Qual id: 17 not "
                                      "programmed in hw!\n" ) );
}

// ---- The mask ----------------------------------------------------------------------------------

/// Gives a longest mask that shrinks each time it is asked for.
class ShrinkingSdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    [[nodiscard]] uint32_t BCM_UDF_MAX_HASH_MASK_LENGTH() const override { return longest_--; }

  private:
    mutable uint32_t longest_ = 6;
};

// It is asked for before each byte: 6, 5, 4, 3 bytes are more than 0, 1, 2, and then not than 3.
TEST_F( UdfModuleOrderTest, AddHash_LongestMask_IsAskedForBeforeEachByte )
{
    ShrinkingSdk shrinking( sdk );
    Shim::sdk_ = &shrinking;
    sdk.on.bcm_udf_hash_config_t_init = []( bcm_udf_hash_config_t* config ) {
        for ( unsigned byte = 0; byte < bcm_udf_hash_config_t::maskRoom; ++byte ) {
            config->hash_maskIs( byte, 0xEE );
        }
    };
    std::vector< int > mask;
    sdk.on.bcm_udf_hash_config_add = [ & ]( int, uint32_t, const bcm_udf_hash_config_t* config ) {
        for ( unsigned byte = 0; byte < 6; ++byte ) {
            mask.push_back( config->hash_mask( byte ) );
        }
        return 0;
    };
    createUdfLagHashingModule( unit, 9, lagDescOf() );
    Shim::sdk_ = &sdk;
    EXPECT_THAT( mask, ElementsAre( 0xFF, 0x0F, 0, 0xEE, 0xEE, 0xEE ) );
}

} // namespace
} // namespace LibraryTest
