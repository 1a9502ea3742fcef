// What the UDF module functions write: both traces byte for byte, the trace of SDK calls, and the
// two log messages.

#include "PeloraTcam/UdfLogMessages.h"
#include "tests/library/UdfScene.h"

namespace LibraryTest {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using TestSupport::returns;

class UdfModuleTraceTest : public UdfScene
{
  protected:
    /// Makes a UDF and removes it again.
    auto makeAndRemove( const UdfDesc& desc )
    {
        return [ this, desc ] {
            const QualIdList quals = create( desc );
            if ( quals.qualIds() != 0 ) {
                destroy( desc, quals );
            }
        };
    }
};

TEST_F( UdfModuleTraceTest, Create_Any_TracesTheDescriptor )
{
    UdfDesc desc = udfDescOf( 12, 2 );
    desc.innerEtherTypeIs( ip6 );
    desc.appTypeIs( PeloraTcam::UdfAppType::macAcl );
    desc.priorityIs( 200 );
    desc.lagHashingMaskIs( { { 0, 0x0A }, { 3, 0x1F } } );
    expectBoth( 4,
                "createUdfQualifierUdfModule mod:5 ethType: 2048 appType: 2 base: "
                "UdfBaseL3Header_ offset: 12 length: 2 ipProto: 6 innerEtherType: 34525 "
                "priority: 200 lagHashingMask: a00001f",
                makeAndRemove( desc ) );
}

TEST_F( UdfModuleTraceTest, Create_EthType0_TracesTheBaseInDecimal )
{
    UdfDesc desc = udfDescOf();
    desc.ethTypeIs( 0 );
    expectBoth( 8, " UDF base 2 not supported", makeAndRemove( desc ) );
}

TEST_F( UdfModuleTraceTest, Create_UdfsRunOut_TracesBaseAndNormalizedOffset )
{
    UdfDesc desc = udfDescOf( 12, 14 );
    desc.baseIs( PeloraTcam::UdfBaseL4OuterPayload_ );
    expectBoth( 1,
                "Out of hw resources to create UDF. udf: base=UdfBaseL4OuterPayload_ normalized "
                "offset=32",
                makeAndRemove( desc ) );
    expectBoth( 1, " bcm_udf_create failed -14", makeAndRemove( desc ) );
    EXPECT_EQ( logged.size(), 4U ) << "one for each creation";
}

TEST_F( UdfModuleTraceTest, Create_UdfFailsOtherwise_TracesTheCodeOnly )
{
    fail( "bcm_udf_create", -4 );
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 1 );
    create( udfDescOf() );
    EXPECT_THAT( traces.texts(), ElementsAre( " bcm_udf_create failed -4" ) );
}

TEST_F( UdfModuleTraceTest, Create_FormatsRunOut_TracesBaseAndNormalizedOffset )
{
    UdfDesc desc = udfDescOf( 12, 2 );
    desc.baseIs( PeloraTcam::UdfBaseL3OuterPayload_ );
    fail( "bcm_udf_pkt_format_create", -14 );
    expectBoth( 1,
                " No hw resources to program UDF udf:base=UdfBaseL3OuterPayload_ normalized "
                "offset=32",
                makeAndRemove( desc ) );
    expectBoth( 1, " bcm_udf_pkt_format_create failed-14", makeAndRemove( desc ) );
    EXPECT_EQ( logged.size(), 4U ) << "one for each creation";
}

TEST_F( UdfModuleTraceTest, Create_FormatFailsOtherwise_TracesTheCodeOnly )
{
    fail( "bcm_udf_pkt_format_create", -4 );
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 1 );
    create( udfDescOf() );
    EXPECT_THAT( traces.texts(), ElementsAre( " bcm_udf_pkt_format_create failed-4" ) );
}

TEST_F( UdfModuleTraceTest, Create_AttachmentFails_TracesTheSdksText )
{
    fail( "bcm_udf_pkt_format_add", -6 );
    expectBoth( 1, " bcm_udf_pkt_format_add failed rc: Table full", makeAndRemove( udfDescOf() ) );
    EXPECT_TRUE( logged.empty() );
}

TEST_F( UdfModuleTraceTest, Create_NewFormat_TracesThatAndTheIds )
{
    const std::vector< std::string > ring = ringTextsOf( [ this ] { create( udfDescOf() ); } );
    ASSERT_EQ( ring.size(), 3U );
    EXPECT_EQ( ring[ 1 ], " Creating new pkt format object" );
    EXPECT_EQ( ring[ 2 ], " Udf Id: 1 Pkt Fmt Id: 1" );
}

TEST_F( UdfModuleTraceTest, Create_NewFormat_TextIsAtLevel8 )
{
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 8 );
    create( udfDescOf() );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( " Creating new pkt format object", " Udf Id: 1 Pkt Fmt Id: 1" ) );
}

/// What the two formats' fields look like in a trace: the desired value, then the stored one.
std::string pair( uint32_t desired, uint32_t stored )
{
    return std::to_string( desired ) + " " + std::to_string( stored );
}

TEST_F( UdfModuleTraceTest, Create_LooksAtFormats_TracesEachWithItsFields )
{
    made( udfDescOf( 2, 2 ) );
    UdfDesc other = udfDescOf( 4, 2 );
    other.ethTypeIs( arp );
    other.ipProtoIs( 0 );
    const uint32_t any = sdk.bcmUdfPktFormatVlanTagAny();
    const uint32_t none = sdk.bcmUdfPktFormatTunnelNone();
    const std::string fields =
        " Packet fields:  EtherType: 2054 2048 L2: " + pair( sdk.bcmUdfPktFormatL2EthII(), 0 ) +
        " Vlan: " + pair( any, any ) + " Outer Ip: " + pair( 0, sdk.bcmUdfPktFormatIp4() ) +
        " Tunnel: " + pair( none, none ) +
        " ip_protocol: 0 6 ip_protocol_mask: 0 255 inner_ip: 0 0";
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 8 );
    const std::vector< std::string > ring = ringTextsOf( [ & ] { create( other ); } );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( " Looking at pkt fmt id: 1", fields,
                              " Creating new pkt format object", " Udf Id: 2 Pkt Fmt Id: 2" ) );
    EXPECT_THAT( ring, Contains( fields ) );
    EXPECT_THAT( ring, Contains( " Looking at pkt fmt id: 1" ) );
}

TEST_F( UdfModuleTraceTest, Create_FindsAFormat_TracesIt )
{
    made( udfDescOf( 2, 2 ) );
    expectBoth( 8, " Found Pkt format: 1", makeAndRemove( udfDescOf( 4, 2 ) ) );
}

TEST_F( UdfModuleTraceTest, Destroy_Any_TracesItsNameAlone )
{
    expectBoth( 4, "destroyUdfQualifierUdfModule", makeAndRemove( udfDescOf() ) );
}

TEST_F( UdfModuleTraceTest, Verify_Any_TracesNameAndUnit )
{
    const QualIdList quals = made();
    expectBoth( 4, "udfQualProgrammedInHwUdfModule mod: 5",
                [ & ] { verify( udfDescOf(), quals ); } );
}

TEST_F( UdfModuleTraceTest, Verify_Missing_TracesTheIdBeforeItDies )
{
    for ( const bool on : { true, false } ) {
        const ChildRun run = runInChild( [ & ] {
            Agent::traceLevelsIs( udfFacility, on ? 1U << 8 : ~( 1U << 8 ) );
            Agent::traceSinkIs( []( const Agent::TraceLine& line ) {
                say( "trace: " + std::string( line.text ) );
            } );
            verify( udfDescOf(), qualsOf( { 17 } ) );
        } );
        EXPECT_TRUE( run.aborted );
        EXPECT_EQ( run.errors.find(
                       "trace: udfQualProgrammedInHwUdfModule UDF Qual id: 17 not programmed in "
                       "hw!\n" ) != std::string::npos,
                   on );
    }
}

TEST_F( UdfModuleTraceTest, GetAll_Any_TracesTheCount )
{
    made( udfDescOf( 2, 2 ) );
    expectBoth( 8, " retrieve 1 UDFs from HW",
                [] { static_cast< void >( getAllProgrammedUdfIdsUdfModule( unit ) ); } );
}

TEST_F( UdfModuleTraceTest, Hash_AddAndRemove_TraceUnitAndUdf )
{
    const auto both = makeAndRemove( lagDescOf() );
    ringTextsOf( both );
    const TestSupport::TraceRecorder traces( udfFacility, 1U << 4 );
    const std::vector< std::string > ring = ringTextsOf( both );
    for ( const char* text :
          { "createUdfLagHashingModule unit 5 udfId 2", " Added lag hashing config for Udf Id: 2",
            "destroyUdfLagHashingModule unit 5 udfId 2",
            "Removed lag hashing config for Udf Id: 2" } ) {
        EXPECT_THAT( ring, Contains( text ) );
        EXPECT_THAT( traces.texts(), Contains( text ) );
    }
}

TEST_F( UdfModuleTraceTest, Hash_GetAll_TracesTheCountAndEachUdf )
{
    made( lagDescOf() );
    const auto getAll = [] {
        static_cast< void >( getAllProgrammedLagHashingUdfIdsUdfModule( unit ) );
    };
    expectBoth( 8, " retrieve 1 UDFs from HW", getAll );
    expectBoth( 8, " udfId is  1", getAll );
}

TEST_F( UdfModuleTraceTest, Hash_Verify_TracesWhatTheHardwareHas )
{
    const QualIdList quals = made( lagDescOf() );
    expectBoth( 4,
                "udfLagHashingProgrammedInModule unit: 5 udfId: 1Hardware: mask_length: 2 mask: "
                "ff0f0000",
                [ & ] { udfLagHashingProgrammedInModule( unit, quals, lagDescOf() ); } );
}

// ---- SDK calls -------------------------------------------------------------------------------

TEST_F( UdfModuleTraceTest, Calls_OfALife_AreTracedWithTheirTexts )
{
    EXPECT_THAT(
        apiLines( udfSource,
                  [ this ] {
                      const QualIdList quals = create( lagDescOf() );
                      verify( lagDescOf(), quals );
                      udfLagHashingProgrammedInModule( unit, quals, lagDescOf() );
                      static_cast< void >( getUdfChunkPosModule( unit, quals ) );
                      static_cast< void >( getAllProgrammedUdfIdsUdfModule( unit ) );
                      static_cast< void >( getAllProgrammedLagHashingUdfIdsUdfModule( unit ) );
                      destroy( lagDescOf(), quals );
                  } ),
        ElementsAre(
            "bcm_udf_create( unit, &hints, &udf, &udfId ) (rc:0)",
            "bcm_udf_pkt_format_create( unit, options, &pktFmt, &pktFmtId ) (rc:0)",
            "bcm_udf_pkt_format_add( unit, udfId, pktFmtId ) (rc:0)",
            "bcm_udf_hash_config_add( unit, BCM_UDF_HASH_ADD_O_NONE, &hash_config ) (rc:0)",
            "bcm_udf_get( unit, udfId, &udf ) (rc:0)",
            "bcm_udf_pkt_format_get_all( unit, udfId, 2, pktFmtId, &actual ) (rc:0)",
            "bcm_udf_hash_config_get( unit, &hash_config ) (rc:0)",
            "bcm_udf_get( unit, udfId, &udfInfo ) (rc:0)",
            "bcm_udf_get_all( unit, max, udfIds, &numUdfs ) (rc:0)",
            "bcm_udf_hash_config_get_all( unit, 0, NULL, &numUdfs ) (rc:0)",
            "bcm_udf_hash_config_get_all( unit, numUdfs, hashConfigs, &numUdfs ) (rc:0)",
            "bcm_udf_hash_config_delete( unit, &hash_config ) (rc:0)",
            "bcm_udf_pkt_format_get_all( unit, udfId, 1, &pktFmtId, &actual ) (rc:0)",
            "bcm_udf_pkt_format_delete( unit, udfId, pktFmtId ) (rc:0)",
            "bcm_udf_pkt_format_destroy( unit, pktFmtId ) (rc:0)",
            "bcm_udf_destroy( unit, udfId ) (rc:0)" ) );
}

TEST_F( UdfModuleTraceTest, Calls_OfAFailedCreation_AreTracedWithTheirCodes )
{
    fail( "bcm_udf_pkt_format_add", -6 );
    EXPECT_THAT(
        apiLines( udfSource, [ this ] { create( udfDescOf() ); } ),
        ElementsAre( "bcm_udf_create( unit, &hints, &udf, &udfId ) (rc:0)",
                     "bcm_udf_pkt_format_create( unit, options, &pktFmt, &pktFmtId ) (rc:0)",
                     "bcm_udf_pkt_format_add( unit, udfId, pktFmtId ) (rc:-6)",
                     "bcm_udf_pkt_format_delete( unit, udfIdToCleanup, pktFmtIdToCleanup ) (rc:-7)",
                     "bcm_udf_pkt_format_destroy( unit, pktFmtIdToCleanup ) (rc:0)",
                     "bcm_udf_destroy( unit, udfIdToCleanup ) (rc:0)" ) );
}

TEST_F( UdfModuleTraceTest, Calls_OfASharedFormat_AreTraced )
{
    made( udfDescOf( 2, 2 ) );
    EXPECT_THAT(
        apiLines( udfSource, [ this ] { create( udfDescOf( 4, 2 ) ); } ),
        ElementsAre( "bcm_udf_create( unit, &hints, &udf, &udfId ) (rc:0)",
                     "bcm_udf_pkt_format_info_get( unit, iter.key().value(), &tmpFmt ) (rc:0)",
                     "bcm_udf_pkt_format_add( unit, udfId, pktFmtId ) (rc:0)" ) );
}

// ---- Log messages ----------------------------------------------------------------------------

TEST_F( UdfModuleTraceTest, LogMessages_Full_HasItsTexts )
{
    std::vector< Agent::LogDescriptor > raised;
    const Agent::LogSink before = Agent::logSinkIs(
        [ & ]( const Agent::LogDescriptor& descriptor ) { raised.push_back( descriptor ); } );
    create( udfDescOf( 2, 14 ) );
    Agent::logSinkIs( before );
    ASSERT_EQ( raised.size(), 1U );
    EXPECT_STREQ( raised[ 0 ].name, "PELORA_TCAM_UDF_HW_RESOURCE_FULL" );
    EXPECT_STREQ( raised[ 0 ].message, "Hardware resources insufficient to program UDF" );
    EXPECT_STREQ( raised[ 0 ].explanation,
                  "The switch is unable to program UDF due to insufficient hardware resources. " );
    EXPECT_STREQ( raised[ 0 ].recommendedAction,
                  "Reconfigure other ACLs or features that use UDF to free up UDF hardware "
                  "resources." );
    EXPECT_EQ( raised[ 0 ].level, 3U );
}

TEST_F( UdfModuleTraceTest, LogMessages_Handles_HaveTheirParameters )
{
    const PeloraTcam::UdfLogHandles handles;
    EXPECT_STREQ( handles.full.descriptor().name, "PELORA_TCAM_UDF_HW_RESOURCE_FULL" );
    EXPECT_STREQ( handles.normal.descriptor().name, "PELORA_TCAM_UDF_HW_RESOURCE_NORMAL" );
    for ( const Agent::LogHandle* handle : { &handles.full, &handles.normal } ) {
        EXPECT_EQ( handle->intervalSeconds(), 0U );
        EXPECT_EQ( handle->intervalGrowth(), 1.0 );
        EXPECT_EQ( handle->burst(), 0U );
        EXPECT_EQ( handle->limit(), 0U );
    }
}

TEST_F( UdfModuleTraceTest, LogMessages_RaisedOften_AreNotHeldBack )
{
    for ( int i = 0; i < 100; ++i ) {
        create( udfDescOf( 2, 14 ) );
    }
    EXPECT_EQ( logged.size(), 100U );
}

} // namespace
} // namespace LibraryTest
