// SDK calls, trace lines and log messages of the UDF module functions as one sequence, and what
// changes in the agent while an SDK call has its locks released.

#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "sdk/ForwardingSdk.h"
#include "tests/library/UdfScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using Events = std::vector< std::string >;

/// An access object that writes down the name of each operation before it hands it on.
class NamingSdk final : public Shim::ForwardingSdk
{
  public:
    NamingSdk( SdkAccess& next, Events& names )
        : ForwardingSdk( next )
        , names_( names )
    {}

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        names_.emplace_back( #name );                                                              \
        return next().name arguments;                                                              \
    }
#define SDK_OPERATION( family, result, name, parameters, arguments )                               \
    result name parameters override                                                                \
    {                                                                                              \
        names_.emplace_back( #name );                                                              \
        return next().name arguments;                                                              \
    }
#include "sdk/SdkFunctions.def"

  private:
    Events& names_;
};

class UdfModuleSequenceTest : public UdfScene
{
  protected:
    /// What an operation does and writes, in its order: the names of the SDK's operations, the
    /// lines of all levels of one facility, and the names of log messages in brackets.
    template< class Operation >
    Events eventsOf( const Operation& operation, const char* facility = udfFacility )
    {
        Events events;
        NamingSdk naming( sdk, events );
        const Agent::TraceSink traceSink = Agent::traceSinkIs(
            [ & ]( const Agent::TraceLine& line ) { events.emplace_back( line.text ); } );
        const Agent::LogSink logSink =
            Agent::logSinkIs( [ & ]( const Agent::LogDescriptor& descriptor ) {
                events.push_back( "[" + std::string( descriptor.name ) + "]" );
            } );
        Agent::traceLevelsIs( facility, allTraceLevels );
        Shim::sdk_ = &naming;
        operation();
        Shim::sdk_ = &sdk;
        Agent::traceLevelsIs( facility, 0 );
        Agent::logSinkIs( logSink );
        Agent::traceSinkIs( traceSink );
        return events;
    }

    Events eventsOfCreate( const UdfDesc& desc )
    {
        return eventsOf( [ & ] { create( desc ); } );
    }
};

constexpr const char* entry =
    "createUdfQualifierUdfModule mod:5 ethType: 2048 appType: 0 base: UdfBaseL3Header_ offset: 2 "
    "length: 2 ipProto: 6 innerEtherType: 0 priority: 0 lagHashingMask: 0";
constexpr const char* lagEntry =
    "createUdfQualifierUdfModule mod:5 ethType: 2048 appType: 0 base: UdfBaseL3Header_ offset: 2 "
    "length: 2 ipProto: 6 innerEtherType: 0 priority: 0 lagHashingMask: ff0f0000";

// ---- Sequences -------------------------------------------------------------------------------

TEST_F( UdfModuleSequenceTest, Life_OfAHashingUdf_IsThisSequence )
{
    QualIdList quals;
    EXPECT_THAT( eventsOf( [ & ] { quals = create( lagDescOf() ); } ),
                 ElementsAre( lagEntry, "bcm_udf_t_init", "bcm_udf_pkt_format_info_t_init",
                              "bcm_udf_alloc_hints_t_init", "BCM_FIELD_QSET_INIT",
                              "BCM_FIELD_QSET_ADD", "bcm_udf_create",
                              " Creating new pkt format object", "bcm_udf_pkt_format_create",
                              "bcm_udf_pkt_format_add", "createUdfLagHashingModule unit 5 udfId 1",
                              "bcm_udf_hash_config_t_init", "preApiCall", "bcm_udf_hash_config_add",
                              " Added lag hashing config for Udf Id: 1",
                              " Udf Id: 1 Pkt Fmt Id: 1" ) );
    EXPECT_THAT(
        eventsOf( [ & ] { destroy( lagDescOf(), quals ); } ),
        ElementsAre( "destroyUdfQualifierUdfModule", "destroyUdfLagHashingModule unit 5 udfId 1",
                     "bcm_udf_hash_config_t_init", "preApiCall", "bcm_udf_hash_config_delete",
                     "Removed lag hashing config for Udf Id: 1", "preApiCall",
                     "bcm_udf_pkt_format_get_all", "preApiCall", "bcm_udf_pkt_format_delete",
                     "preApiCall", "bcm_udf_pkt_format_destroy", "preApiCall",
                     "bcm_udf_destroy" ) );
}

TEST_F( UdfModuleSequenceTest, Create_SecondFormatMatches_IsThisSequence )
{
    UdfDesc udp = udfDescOf( 4, 2 );
    udp.ipProtoIs( 17 );
    made( udp );
    made( udfDescOf( 4, 2 ) );
    const std::string vlanAndIp = " Vlan: " + std::to_string( sdk.bcmUdfPktFormatVlanTagAny() ) +
                                  " " + std::to_string( sdk.bcmUdfPktFormatVlanTagAny() ) +
                                  " Outer Ip: " + std::to_string( sdk.bcmUdfPktFormatIp4() ) + " " +
                                  std::to_string( sdk.bcmUdfPktFormatIp4() ) +
                                  " Tunnel: " + std::to_string( sdk.bcmUdfPktFormatTunnelNone() ) +
                                  " " + std::to_string( sdk.bcmUdfPktFormatTunnelNone() );
    const auto fields = [ & ]( const char* protocols ) {
        return " Packet fields:  EtherType: 2048 2048 L2: 0 0" + vlanAndIp +
               " ip_protocol: " + protocols + " ip_protocol_mask: 255 255 inner_ip: 0 0";
    };
    EXPECT_THAT( eventsOfCreate( udfDescOf( 2, 2 ) ),
                 ElementsAre( entry, "bcm_udf_t_init", "bcm_udf_pkt_format_info_t_init",
                              "bcm_udf_alloc_hints_t_init", "BCM_FIELD_QSET_INIT", "bcm_udf_create",
                              " Looking at pkt fmt id: 1", "bcm_udf_pkt_format_info_t_init",
                              "preApiCall", "bcm_udf_pkt_format_info_get", fields( "6 17" ),
                              " Looking at pkt fmt id: 2", "bcm_udf_pkt_format_info_t_init",
                              "preApiCall", "bcm_udf_pkt_format_info_get", fields( "6 6" ),
                              " Found Pkt format: 2", "bcm_udf_pkt_format_add",
                              " Udf Id: 3 Pkt Fmt Id: 2" ) );
}

TEST_F( UdfModuleSequenceTest, Create_UdfsRunOut_IsThisSequence )
{
    fail( "bcm_udf_create", -14 );
    EXPECT_THAT(
        eventsOfCreate( udfDescOf( 2, 2 ) ),
        ElementsAre(
            entry, "bcm_udf_t_init", "bcm_udf_pkt_format_info_t_init", "bcm_udf_alloc_hints_t_init",
            "BCM_FIELD_QSET_INIT", "bcm_udf_create",
            "Out of hw resources to create UDF. udf: base=UdfBaseL3Header_ normalized offset=2",
            "[PELORA_TCAM_UDF_HW_RESOURCE_FULL]", " bcm_udf_create failed -14" ) );
}

TEST_F( UdfModuleSequenceTest, Create_FormatsRunOut_IsThisSequence )
{
    fail( "bcm_udf_pkt_format_create", -14 );
    EXPECT_THAT(
        eventsOfCreate( udfDescOf( 2, 2 ) ),
        ElementsAre(
            entry, "bcm_udf_t_init", "bcm_udf_pkt_format_info_t_init", "bcm_udf_alloc_hints_t_init",
            "BCM_FIELD_QSET_INIT", "bcm_udf_create", " Creating new pkt format object",
            "bcm_udf_pkt_format_create",
            " No hw resources to program UDF udf:base=UdfBaseL3Header_ normalized offset=2",
            "[PELORA_TCAM_UDF_HW_RESOURCE_FULL]", " bcm_udf_pkt_format_create failed-14",
            "preApiCall", "bcm_udf_destroy" ) );
}

TEST_F( UdfModuleSequenceTest, Create_AttachmentFails_IsThisSequence )
{
    fail( "bcm_udf_pkt_format_add", -14 );
    EXPECT_THAT( eventsOfCreate( udfDescOf( 2, 2 ) ),
                 ElementsAre( entry, "bcm_udf_t_init", "bcm_udf_pkt_format_info_t_init",
                              "bcm_udf_alloc_hints_t_init", "BCM_FIELD_QSET_INIT", "bcm_udf_create",
                              " Creating new pkt format object", "bcm_udf_pkt_format_create",
                              "bcm_udf_pkt_format_add", "sdkErrorText",
                              " bcm_udf_pkt_format_add failed rc: Out of hardware resources",
                              "bcm_udf_pkt_format_delete", "preApiCall",
                              "bcm_udf_pkt_format_destroy", "preApiCall", "bcm_udf_destroy" ) );
}

TEST_F( UdfModuleSequenceTest, Create_EthType0_IsThisSequence )
{
    UdfDesc desc = lagDescOf();
    desc.ethTypeIs( 0 );
    EXPECT_THAT( eventsOfCreate( desc ),
                 ElementsAre( "createUdfQualifierUdfModule mod:5 ethType: 0 appType: 0 base: "
                              "UdfBaseL3Header_ offset: 2 length: 2 ipProto: 6 innerEtherType: 0 "
                              "priority: 0 lagHashingMask: ff0f0000",
                              "bcm_udf_t_init", "bcm_udf_pkt_format_info_t_init",
                              "bcm_udf_alloc_hints_t_init", "BCM_FIELD_QSET_INIT",
                              " UDF base 2 not supported" ) );
}

TEST_F( UdfModuleSequenceTest, Audits_OfAHashingUdf_AreThisSequence )
{
    const QualIdList quals = made( lagDescOf() );
    EXPECT_THAT( eventsOf( [ & ] { verify( lagDescOf(), quals ); } ),
                 ElementsAre( "udfQualProgrammedInHwUdfModule mod: 5", "bcm_udf_t_init",
                              "bcm_udf_get", "preApiCall", "bcm_udf_pkt_format_get_all" ) );
    EXPECT_THAT(
        eventsOf( [ & ] { udfLagHashingProgrammedInModule( unit, quals, lagDescOf() ); } ),
        ElementsAre( "bcm_udf_hash_config_t_init", "preApiCall", "bcm_udf_hash_config_get",
                     "udfLagHashingProgrammedInModule unit: 5 udfId: 1Hardware: mask_length: 2 "
                     "mask: ff0f0000" ) );
    EXPECT_THAT( eventsOf( [ & ] { static_cast< void >( getUdfChunkPosModule( unit, quals ) ); } ),
                 ElementsAre( "bcm_udf_t_init", "preApiCall", "bcm_udf_get" ) );
}

TEST_F( UdfModuleSequenceTest, Inventories_OfTwo_AreThisSequenceInTheSdksOrder )
{
    sdk.on.bcm_udf_hash_config_get_all = []( int, int max, bcm_udf_hash_config_t* configs,
                                             int* actual ) {
        *actual = 2;
        if ( max == 2 ) {
            configs[ 0 ].udf_idIs( 9 );
            configs[ 1 ].udf_idIs( 3 );
        }
        return 0;
    };
    EXPECT_THAT(
        eventsOf( [] {
            EXPECT_EQ( getAllProgrammedLagHashingUdfIdsUdfModule( unit ), udfsOf( { 3, 9 } ) );
        } ),
        ElementsAre( "preApiCall", "bcm_udf_hash_config_get_all", "bcm_udf_hash_config_t_init",
                     "bcm_udf_hash_config_t_init", "preApiCall", "bcm_udf_hash_config_get_all",
                     " retrieve 2 UDFs from HW", " udfId is  9", " udfId is  3" ) );
    made( udfDescOf( 2, 2 ) );
    made( udfDescOf( 4, 2 ) );
    EXPECT_THAT( eventsOf( [] {
                     EXPECT_EQ( getAllProgrammedUdfIdsUdfModule( unit ), udfsOf( { 1, 2 } ) );
                 } ),
                 ElementsAre( "preApiCall", "bcm_udf_get_all", " retrieve 2 UDFs from HW" ) );
}

// The count that is traced is the SDK's last word, whatever was asked for and whatever fits.
TEST_F( UdfModuleSequenceTest, Inventories_CountIsNotWhatWasAskedFor_TraceWhatTheSdkSays )
{
    int calls = 0;
    sdk.on.bcm_udf_hash_config_get_all = [ & ]( auto, auto, auto*, int* actual ) {
        *actual = ++calls == 1 ? 1 : 3;
        return 0;
    };
    sdk.on.bcm_udf_get_all = []( auto, auto, auto*, int* actual ) {
        *actual = 129;
        return 0;
    };
    EXPECT_THAT( eventsOf( [] {
                     static_cast< void >( getAllProgrammedLagHashingUdfIdsUdfModule( unit ) );
                 } ),
                 ::testing::Contains( " retrieve 3 UDFs from HW" ) );
    EXPECT_THAT( eventsOf( [] { static_cast< void >( getAllProgrammedUdfIdsUdfModule( unit ) ); } ),
                 ::testing::Contains( " retrieve 129 UDFs from HW" ) );
}

TEST_F( UdfModuleSequenceTest, Helper_EachOperation_TracesBeforeItCallsTheSdk )
{
    const auto helper = PeloraTcam::udfModuleHelperFactory( unit, 0, true );
    const auto firstOf = [ this ]( const auto& operation ) {
        return eventsOf( operation, "PeloraTcamUdfSdk6Helper" ).at( 0 );
    };
    QualIdList quals;
    using ::testing::StartsWith;
    EXPECT_THAT( firstOf( [ & ] { quals = helper->programUdfInHw( lagDescOf() ); } ),
                 StartsWith( "programUdfInHw mod:5 udfDesc: {" ) );
    EXPECT_THAT( firstOf( [ & ] { helper->verifyProgrammedUdf( lagDescOf(), quals ); } ),
                 StartsWith( "verifyProgrammedUdf mod:5 udfDesc: {" ) );
    EXPECT_THAT( firstOf( [ & ] { helper->verifyLagHashingUdf( lagDescOf(), quals ); } ),
                 StartsWith( "verifyLagHashingUdf mod:5 udfDesc: {" ) );
    EXPECT_EQ(
        firstOf( [ & ] { static_cast< void >( helper->getUdfChunkPosList( unit, quals ) ); } ),
        "getUdfChunkPosList mod: 5 quals: {1}" );
    EXPECT_THAT( firstOf( [ & ] { helper->removeUdfFromHw( lagDescOf(), quals ); } ),
                 StartsWith( "removeUdfFromHw mod:5 udfDesc: {" ) );
}

// ---- What comes before the end of the process ------------------------------------------------

TEST_F( UdfModuleSequenceTest, VerifyHash_MaskDiffers_TracesTheHardwareBeforeItDies )
{
    const QualIdList quals = made( lagDescOf() );
    const ChildRun run = runInChild( [ & ] {
        Agent::traceLevelsIs( udfFacility, 1U << 4 );
        Agent::traceSinkIs(
            []( const Agent::TraceLine& line ) { say( "trace: " + std::string( line.text ) ); } );
        udfLagHashingProgrammedInModule( unit, quals, lagDescOf( { { 0, 1 } } ) );
    } );
    EXPECT_TRUE( run.aborted );
    EXPECT_THAT( run.errors,
                 ::testing::StartsWith( "trace: udfLagHashingProgrammedInModule unit: 5 udfId: "
                                        "1Hardware: mask_length: 2 mask: ff0f0000\n" ) );
}

// ---- What changes during an SDK call ---------------------------------------------------------

TEST_F( UdfModuleSequenceTest, Create_OtherUdfComesMeanwhile_IsKeptInTheMap )
{
    sdk.on.bcm_udf_hash_config_add = [ this ]( auto, auto, auto* ) {
        EXPECT_EQ( mapText(), "" ) << "the map is changed at the very end";
        mapIs( 1, udfsOf( { 44 } ) );
        return 0;
    };
    create( lagDescOf() );
    EXPECT_EQ( mapText(), "1: 1 44" );
}

// The map may lose the entry whose format is just being read back, and may get others.
TEST_F( UdfModuleSequenceTest, Create_EntriesComeAndGoMeanwhile_LooksAtThoseBehind )
{
    made( udfDescOf( 2, 2 ) );
    const UdfIdList udfs = formats->pktFmtIdToUdfId( PktFmtId( 1 ) );
    formats->pktFmtIdToUdfIdDel( PktFmtId( 1 ) );
    mapIs( -7, udfsOf( { 70 } ) );
    std::vector< int > read;
    sdk.on.bcm_udf_pkt_format_info_get = [ & ]( int onUnit, int format,
                                                bcm_udf_pkt_format_info_t* info ) {
        read.push_back( format );
        if ( format == 1 ) {
            return chips.bcm_udf_pkt_format_info_get( onUnit, format, info );
        }
        formats->pktFmtIdToUdfIdDel( PktFmtId( format ) );
        mapIs( 500, udfsOf( { 50 } ) );
        mapIs( 1, udfs );
        mapIs( -9, udfsOf( { 90 } ) ); // Before the one that is looked at: not seen any more.
        return 0;
    };
    EXPECT_EQ( create( udfDescOf( 8, 2 ) ), qualsOf( { 2 } ) );
    EXPECT_THAT( read, ElementsAre( -7, 1 ) );
    EXPECT_EQ( mapText(), "-9: 90; 1: 1 2; 500: 50" );
}

TEST_F( UdfModuleSequenceTest, Destroy_OtherUdfComesMeanwhile_KeepsTheFormat )
{
    const QualIdList quals = made();
    sdk.on.bcm_udf_pkt_format_delete = [ this ]( int onUnit, int udf, int format ) {
        mapIs( format, udfsOf( { 1, 44 } ) );
        return chips.bcm_udf_pkt_format_delete( onUnit, udf, format );
    };
    destroy( udfDescOf(), quals );
    EXPECT_EQ( mapText(), "1: 44" );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_destroy" ), 0U );
}

TEST_F( UdfModuleSequenceTest, Cleanup_FormatComesIntoTheMapMeanwhile_IsKept )
{
    sdk.on.bcm_udf_pkt_format_delete = [ this ]( int, int, int format ) {
        mapIs( format, udfsOf( { 44 } ) );
        return -7;
    };
    sdk.on.bcm_udf_destroy = TestSupport::returns( 0 );
    UdfHwProgrammingFootprint footprint;
    footprint.pktFmtId = PktFmtId( 3 );
    footprint.udfIds = qualsOf( { 7 } );
    cleanupUdfModuleFootprint( unit, footprint, formats );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_udf_pkt_format_delete( 5, 7, 3 )", "bcm_udf_destroy( 5, 7 )" ) );
    EXPECT_EQ( mapText(), "3: 44" );
}

TEST_F( UdfModuleSequenceTest, Verify_EntryComesMeanwhile_Passes )
{
    const QualIdList quals = made();
    formats->pktFmtIdToUdfIdDel( PktFmtId( 1 ) );
    sdk.on.bcm_udf_pkt_format_get_all = [ this ]( int onUnit, int udf, int max,
                                                  bcm_udf_pkt_format_id_t* ids, int* actual ) {
        mapIs( 1, udfsOf( { 1 } ) );
        return chips.bcm_udf_pkt_format_get_all( onUnit, udf, max, ids, actual );
    };
    verify( udfDescOf(), quals );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_get_all" ), 1U );
}

// ---- Edges -------------------------------------------------------------------------------------

// An id of 0 counts as not found, but the search ends with it.
TEST_F( UdfModuleSequenceTest, Create_FirstMatchHasId0_LooksNoFurtherAndMakesOne )
{
    made( udfDescOf( 2, 2 ) );
    mapIs( 0, udfsOf( { 77 } ) );
    sdk.on.bcm_udf_pkt_format_info_get = [ this ]( int onUnit, int,
                                                   bcm_udf_pkt_format_info_t* info ) {
        return chips.bcm_udf_pkt_format_info_get( onUnit, 1, info );
    };
    create( udfDescOf( 8, 2 ) );
    EXPECT_EQ( mapText(), "0: 77; 1: 1; 2: 2" );
    EXPECT_EQ( sdk.countOf( "bcm_udf_pkt_format_info_get" ), 1U );
}

// Also bytes behind the length and behind the fourth, up to the last that the SDK knows.
TEST_F( UdfModuleSequenceTest, AddHash_MaskBytesBehindTheLength_AreProgrammed )
{
    const unsigned known = sdk.BCM_UDF_MAX_HASH_MASK_LENGTH();
    const auto last = static_cast< Agent::U8 >( known - 1 );
    const auto behind = static_cast< Agent::U8 >( known );
    std::map< unsigned, unsigned > bytes;
    sdk.on.bcm_udf_hash_config_add = [ & ]( auto, auto, const bcm_udf_hash_config_t* config ) {
        EXPECT_EQ( config->mask_length(), 2U );
        for ( unsigned byte = 0; byte < bcm_udf_hash_config_t::maskRoom; ++byte ) {
            if ( config->hash_mask( byte ) != 0 ) {
                bytes[ byte ] = config->hash_mask( byte );
            }
        }
        return 0;
    };
    createUdfLagHashingModule(
        unit, 9, lagDescOf( { { 0, 0x12 }, { 2, 0x34 }, { last, 0x56 }, { behind, 0x78 } } ) );
    EXPECT_THAT( bytes, ElementsAre( ::testing::Pair( 0, 0x12 ), ::testing::Pair( 2, 0x34 ),
                                     ::testing::Pair( last, 0x56 ) ) );
}

} // namespace
} // namespace LibraryTest
