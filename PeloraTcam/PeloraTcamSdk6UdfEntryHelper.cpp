#include "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.h"

#include "PeloraTcam/UdfChunks.h"
#include "PeloraTcam/UdfLogMessages.h"
#include "PeloraTcam/UdfModuleRequest.h"
#include "agent/base/Assert.h"
#include "agent/base/RingTrace.h"
#include "agent/tcam/EthType.h"
#include "sdk/SdkCall.h"

#include <algorithm>
#include <bit>
#include <utility>
#include <vector>

namespace PeloraTcam {

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );
const UdfLogHandles logHandles_;

const Agent::TraceHandle& _defaultTraceHandle()
{
    static const Agent::TraceHandle handle( "PeloraTcamUdfProgramHelper" );
    return handle;
}

/// Writes a statement to both traces of this file.
template< class Statement = decltype( [] {} ), class... Pieces >
void traceUdf( Agent::TraceLevel level, Pieces&&... pieces )
{
    Agent::traceBoth< Statement >( _defaultTraceHandle(), level, pieces... );
}

/// Says that the chip has no room for what a UDF needs.
template< class Statement = decltype( [] {} ), std::size_t size >
void reportFull( Agent::TraceLevel level, const char ( &what )[ size ], const UdfDesc& udfDesc )
{
    const U32 offset = normalizedOffset( udfDesc );
    traceUdf< Statement >( level, what, udfDesc.base(), " normalized offset=", offset );
    logHandles_.full.raise();
}

/// The chunks that `hw_bmap` is read for.
constexpr UdfChunkPos hardwareChunks = 16;

/// The UDF that a qualifier stands for: its list has one.
bcm_udf_id_t firstUdfId( const QualIdList& quals )
{
    AGENT_ASSERT( quals.qualIds() );
    return static_cast< bcm_udf_id_t >( *quals.begin() );
}

} // namespace

// ---- What all UDF paths share ----------------------------------------------------------------

bcm_udf_layer_t getUdfLayer( UdfOffsetBase base )
{
    switch ( base ) {
    case UdfBaseL2Header_:
        return Shim::sdk().bcmUdfLayerL2Header();
    case UdfBaseL3Header_:
    case UdfBaseL3OuterHeader_:
    case UdfBaseL3OuterPayload_:
        return Shim::sdk().bcmUdfLayerL3OuterHeader();
    case UdfBaseL3InnerHeader_:
        return Shim::sdk().bcmUdfLayerL3InnerHeader();
    case UdfBaseL4InnerHeader_:
        return Shim::sdk().bcmUdfLayerL4InnerHeader();
    case UdfBaseL4OuterHeader_:
    case UdfBaseL4OuterPayload_:
        return Shim::sdk().bcmUdfLayerL4OuterHeader();
    case UdfBasePacketStart_:
        break;
    }
    Agent::assertionFailed( "Invalid base UdfBasePacketStart_ used",
                            __FILE__,
                            __LINE__,
                            "bcm_udf_layer_t PeloraTcam::getUdfLayer(PeloraTcam::UdfOffsetBase)" );
}

// ---- The UDF module: creation ----------------------------------------------------------------

namespace {

/// The creation of one UDF: what it works on, and its steps. A step that gives false has failed;
/// what the creation has made until then stands in the footprint.
class UdfModuleCreation
{
  public:
    UdfModuleCreation( U32 moduleUnit, const UdfDesc& udfDesc, PktFmtIdToUdfId& pktFmtIdToUdfId )
        : unit( static_cast< int >( moduleUnit ) )
        , udfDesc_( udfDesc )
        , pktFmtIdToUdfId_( pktFmtIdToUdfId )
    {
        Shim::sdk().bcm_udf_t_init( &udf );
        Shim::sdk().bcm_udf_pkt_format_info_t_init( &pktFmt );
        Shim::sdk().bcm_udf_alloc_hints_t_init( &hints );
        Shim::sdk().BCM_FIELD_QSET_INIT( &qset_ );
        options = Shim::sdk().BCM_UDF_PKT_FORMAT_CREATE_O_NONE();
    }

    [[nodiscard]] bool describe();
    [[nodiscard]] bool createUdf();
    [[nodiscard]] bool chooseOrCreatePktFmt();
    [[nodiscard]] bool attach();
    [[nodiscard]] QualIdList commit();

    UdfHwProgrammingFootprint hwFootprint;

  private:
    void findPktFmtToShare();
    [[nodiscard]] bool createPktFmt();
    void traceFields( const bcm_udf_pkt_format_info_t& tmpFmt ) const;

    // Named as in the texts of the SDK calls.
    const int unit;
    bcm_udf_t udf;
    bcm_udf_pkt_format_info_t pktFmt;
    bcm_udf_alloc_hints_t hints;
    U32 options = 0;
    bcm_udf_id_t udfId = 0;
    // KEPT: 0 stands for a format not found, although the SDK could give it as an id: it never has.
    bcm_udf_pkt_format_id_t pktFmtId = 0;

    const UdfDesc& udfDesc_;
    PktFmtIdToUdfId& pktFmtIdToUdfId_;
    bcm_field_qset_t qset_;
};

bool UdfModuleCreation::describe()
{
    describeUdf( udfDesc_, udf );
    const U16 innerEtherType = udfDesc_.innerEtherType();
    const U16 ethType = udfDesc_.ethType();
    if ( innerEtherType != 0 && innerEtherType != Kvnet::EthType::ethTypeIp_ &&
         innerEtherType != Kvnet::EthType::ethTypeIp6_ ) {
        Agent::assertionFailed( "No support for GRE innerEtherType other than v4/v6",
                                __FILE__,
                                __LINE__,
                                __PRETTY_FUNCTION__ );
    }
    describeTunnel( udfDesc_, pktFmt );
    if ( ethType == 0 ) {
        const U32 base = udfDesc_.base();
        traceUdf( 8, " UDF base ", base, " not supported" );
        return false;
    }
    if ( innerEtherType != 0 ) {
        AGENT_ASSERT(
            ( ethType == Kvnet::EthType::ethTypeIp_ || ethType == Kvnet::EthType::ethTypeIp6_ ) &&
            "Outer ethertype for GRE packets must be IPv4/IPv6" );
    }
    describeHeaders( udfDesc_, pktFmt );
    describeHints( udfDesc_, hints, qset_ );
    return true;
}

bool UdfModuleCreation::createUdf()
{
    const int rc = SDK_TRACED_CALL_AS( "bcm_udf_create( unit, &hints, &udf, &udfId )",
                                       bcm_udf_create,
                                       unit,
                                       &hints,
                                       &udf,
                                       &udfId );
    if ( rc == Shim::sdk().BCM_E_RESOURCE() ) {
        reportFull( 1, "Out of hw resources to create UDF. udf: base=", udfDesc_ );
    }
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        traceUdf( 1, " bcm_udf_create failed ", rc );
        return false;
    }
    AGENT_ASSERT( !hwFootprint.udfIds.qualIds() );
    hwFootprint.udfIds.qualIdIs( static_cast< U32 >( udfId ) );
    return true;
}

void UdfModuleCreation::traceFields( const bcm_udf_pkt_format_info_t& tmpFmt ) const
{
    // clang-format off
    traceUdf( 8, " Packet fields: ",
              " EtherType: ", pktFmt.ethertype(), " ", tmpFmt.ethertype(),
              " L2: ", pktFmt.l2(), " ", tmpFmt.l2(),
              " Vlan: ", pktFmt.vlan_tag(), " ", tmpFmt.vlan_tag(),
              " Outer Ip: ", pktFmt.outer_ip(), " ", tmpFmt.outer_ip(),
              " Tunnel: ", pktFmt.tunnel(), " ", tmpFmt.tunnel(),
              " ip_protocol: ", pktFmt.ip_protocol(), " ", tmpFmt.ip_protocol(),
              " ip_protocol_mask: ", pktFmt.ip_protocol_mask(), " ", tmpFmt.ip_protocol_mask(),
              " inner_ip: ", pktFmt.inner_ip(), " ", tmpFmt.inner_ip() );
    // clang-format on
}

void UdfModuleCreation::findPktFmtToShare()
{
    for ( auto entry = pktFmtIdToUdfId_.begin(); entry != pktFmtIdToUdfId_.end(); ) {
        const PktFmtId key = entry->first;
        const Agent::U64 changes = pktFmtIdToUdfId_.changes();
        traceUdf( 8, " Looking at pkt fmt id: ", key );
        bcm_udf_pkt_format_info_t tmpFmt;
        Shim::sdk().bcm_udf_pkt_format_info_t_init( &tmpFmt );
        const bcm_udf_pkt_format_id_t stored = getBcmUdfPktFmtId( key );
        SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_info_get( unit, iter.key().value(), &tmpFmt )",
                             bcm_udf_pkt_format_info_get,
                             unit,
                             stored,
                             &tmpFmt );
        traceFields( tmpFmt );
        if ( pktFmt == tmpFmt ) {
            pktFmtId = stored;
            traceUdf( 8, " Found Pkt format: ", pktFmtId );
            return;
        }
        // By its key if, while the SDK was called with the locks released, entries came or went.
        const bool isValid = pktFmtIdToUdfId_.changes() == changes;
        entry = isValid ? std::next( entry ) : pktFmtIdToUdfId_.after( key );
    }
}

bool UdfModuleCreation::createPktFmt()
{
    traceUdf( 8, " Creating new pkt format object" );
    const int rc =
        SDK_TRACED_CALL_AS( "bcm_udf_pkt_format_create( unit, options, &pktFmt, &pktFmtId )",
                            bcm_udf_pkt_format_create,
                            unit,
                            options,
                            &pktFmt,
                            &pktFmtId );
    if ( rc == Shim::sdk().BCM_E_RESOURCE() ) {
        reportFull( 1, " No hw resources to program UDF udf:base=", udfDesc_ );
    }
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        traceUdf( 1, " bcm_udf_pkt_format_create failed", rc );
        return false;
    }
    return true;
}

bool UdfModuleCreation::chooseOrCreatePktFmt()
{
    findPktFmtToShare();
    if ( pktFmtId == 0 && !createPktFmt() ) {
        return false;
    }
    hwFootprint.pktFmtId = PktFmtId( pktFmtId );
    return true;
}

bool UdfModuleCreation::attach()
{
    const int rc = SDK_TRACED_CALL_AS( "bcm_udf_pkt_format_add( unit, udfId, pktFmtId )",
                                       bcm_udf_pkt_format_add,
                                       unit,
                                       udfId,
                                       pktFmtId );
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        traceUdf( 1, " bcm_udf_pkt_format_add failed rc: ", Shim::sdk().sdkErrorText( rc ) );
        return false;
    }
    return true;
}

QualIdList UdfModuleCreation::commit()
{
    if ( udfDesc_.lagHashing() ) {
        createUdfLagHashingModule( static_cast< U32 >( unit ), udfId, udfDesc_ );
    }
    UdfIdList udfs = pktFmtIdToUdfId_.pktFmtIdToUdfId( PktFmtId( pktFmtId ) );
    udfs.udfIdIs( UdfId( udfId ) );
    pktFmtIdToUdfId_.pktFmtIdToUdfIdIs( PktFmtId( pktFmtId ), std::move( udfs ) );
    traceUdf( 8, " Udf Id: ", udfId, " Pkt Fmt Id: ", pktFmtId );
    // What was made is the result: the one UDF.
    return std::move( hwFootprint.udfIds );
}

} // namespace

QualIdList createUdfQualifierUdfModule( U32 unit,
                                        const UdfDesc& udfDesc,
                                        PktFmtIdToUdfId::Ptr pktFmtIdToUdfId )
{
    AGENT_ASSERT( pktFmtIdToUdfId );
    // clang-format off
    traceUdf( 4, "createUdfQualifierUdfModule",
              " mod:", unit, " ethType: ", udfDesc.ethType(),
              " appType: ", static_cast< unsigned >( udfDesc.appType() ),
              " base: ", udfDesc.base(), " offset: ", udfDesc.offset(),
              " length: ", udfDesc.length(), " ipProto: ", udfDesc.ipProto(),
              " innerEtherType: ", udfDesc.innerEtherType(),
              " priority: ", static_cast< int >( udfDesc.priority() ),
              " lagHashingMask: ", Agent::hex( udfDesc.packedLagHashingMask() ) );
    // clang-format on

    UdfModuleCreation creation( unit, udfDesc, *pktFmtIdToUdfId );
    if ( !creation.describe() || !creation.createUdf() || !creation.chooseOrCreatePktFmt() ||
         !creation.attach() ) {
        return cleanupUdfModuleFootprint(
            static_cast< int >( unit ), creation.hwFootprint, pktFmtIdToUdfId );
    }
    return creation.commit();
}

// ---- The UDF module: removal and cleanup -----------------------------------------------------

void destroyUdfQualifierUdfModule( U32 moduleUnit,
                                   const UdfDesc& udfDesc,
                                   const QualIdList& quals,
                                   PktFmtIdToUdfId::Ptr pktFmtIdToUdfId )
{
    traceUdf( 4, "destroyUdfQualifierUdfModule" );
    const int unit = static_cast< int >( moduleUnit );
    const bcm_udf_id_t udfId = firstUdfId( quals );
    if ( udfDesc.lagHashing() ) {
        destroyUdfLagHashingModule( moduleUnit, udfId );
    }

    bcm_udf_pkt_format_id_t pktFmtId = 0;
    int actual = 0;
    SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_get_all( unit, udfId, 1, &pktFmtId, &actual )",
                         bcm_udf_pkt_format_get_all,
                         unit,
                         udfId,
                         1,
                         &pktFmtId,
                         &actual );
    AGENT_ASSERT( actual == 1 );
    SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_delete( unit, udfId, pktFmtId )",
                         bcm_udf_pkt_format_delete,
                         unit,
                         udfId,
                         pktFmtId );

    const UdfId id( udfId );
    const UdfIdList& udfs = pktFmtIdToUdfId->pktFmtIdToUdfId( PktFmtId( pktFmtId ) );
    // KEPT: a UDF that the map does not list ends the process: whose packet format it uses, and
    // who else does, is not known, and the agent's view is wrong already.
    AGENT_ASSERT( udfs.udfIdHas( id ) );
    if ( udfs.udfIds() == 1 ) {
        pktFmtIdToUdfId->pktFmtIdToUdfIdDel( PktFmtId( pktFmtId ) );
        SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_destroy( unit, pktFmtId )",
                             bcm_udf_pkt_format_destroy,
                             unit,
                             pktFmtId );
    } else {
        UdfIdList others = udfs;
        others.udfIdDel( id );
        pktFmtIdToUdfId->pktFmtIdToUdfIdIs( PktFmtId( pktFmtId ), std::move( others ) );
    }

    SDK_CHECKED_CALL_AS( "bcm_udf_destroy( unit, udfId )", bcm_udf_destroy, unit, udfId );
}

QualIdList cleanupUdfModuleFootprint( int unit,
                                      const UdfHwProgrammingFootprint& hwFootprint,
                                      PktFmtIdToUdfId::Ptr pktFmtIdToUdfId )
{
    if ( hwFootprint.udfIds.qualIds() == 0 ) {
        AGENT_ASSERT( hwFootprint.pktFmtId == -1 );
        return {};
    }
    AGENT_ASSERT( hwFootprint.udfIds.qualIds() == 1 );
    const bcm_udf_id_t udfIdToCleanup = firstUdfId( hwFootprint.udfIds );
    AGENT_ASSERT( udfIdToCleanup != -1 );

    if ( hwFootprint.pktFmtId != PktFmtId() ) {
        const bcm_udf_pkt_format_id_t pktFmtIdToCleanup = getBcmUdfPktFmtId( hwFootprint.pktFmtId );
        const int rc = SDK_TRACED_CALL_AS(
            "bcm_udf_pkt_format_delete( unit, udfIdToCleanup, pktFmtIdToCleanup )",
            bcm_udf_pkt_format_delete,
            unit,
            udfIdToCleanup,
            pktFmtIdToCleanup );
        // KEPT: the detach is expected to fail. Only a failed attach leads here, so a UDF that
        // can be detached was attached behind the agent's back.
        const int BCM_E_NONE = Shim::sdk().BCM_E_NONE();
        AGENT_ASSERT( rc != BCM_E_NONE );
        if ( !pktFmtIdToUdfId->pktFmtIdToUdfIdHas( hwFootprint.pktFmtId ) ) {
            SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_destroy( unit, pktFmtIdToCleanup )",
                                 bcm_udf_pkt_format_destroy,
                                 unit,
                                 pktFmtIdToCleanup );
        }
    }
    SDK_CHECKED_CALL_AS(
        "bcm_udf_destroy( unit, udfIdToCleanup )", bcm_udf_destroy, unit, udfIdToCleanup );
    return {};
}

// ---- The UDF module: verification and inventory ----------------------------------------------

void udfQualProgrammedInHwUdfModule( U32 moduleUnit,
                                     const UdfDesc& udfDesc,
                                     const QualIdList& quals,
                                     PktFmtIdToUdfId::PtrConst pktFmtIdToUdfId )
{
    const int unit = static_cast< int >( moduleUnit );
    const bcm_udf_id_t udfId = firstUdfId( quals );
    const int offset = udfDesc.offset(), length = udfDesc.length();
    traceUdf( 4, "udfQualProgrammedInHwUdfModule", " mod: ", moduleUnit );

    bcm_udf_t udf;
    Shim::sdk().bcm_udf_t_init( &udf );
    const int rc =
        SDK_TRACED_CALL_AS( "bcm_udf_get( unit, udfId, &udf )", bcm_udf_get, unit, udfId, &udf );
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        traceUdf(
            8, "udfQualProgrammedInHwUdfModule UDF Qual id: ", udfId, " not programmed in hw!" );
        AGENT_ASSERT( 0 );
    }

    AGENT_ASSERT( udf.width() == ( length * 8 ) );
    // KEPT: the descriptor's raw offset, although creation adds the start correction: a UDF that
    // counts from behind a header is not expected to pass this audit.
    AGENT_ASSERT( udf.start() == ( offset * 8 ) );

    const bcm_udf_layer_t bcmUdfLayerL3OuterHeader = Shim::sdk().bcmUdfLayerL3OuterHeader();
    const bcm_udf_layer_t bcmUdfLayerL2Header = Shim::sdk().bcmUdfLayerL2Header();
    const bcm_udf_layer_t bcmUdfLayerL3InnerHeader = Shim::sdk().bcmUdfLayerL3InnerHeader();
    const bcm_udf_layer_t bcmUdfLayerL4InnerHeader = Shim::sdk().bcmUdfLayerL4InnerHeader();
    const bcm_udf_layer_t bcmUdfLayerL4OuterHeader = Shim::sdk().bcmUdfLayerL4OuterHeader();
    // KEPT: any of the layers will do, not only that of the base, as the layer cannot change by
    // itself; and one stands twice, as in the texts of the crashes that have been reported.
    AGENT_ASSERT( udf.layer() == bcmUdfLayerL3OuterHeader || udf.layer() == bcmUdfLayerL2Header ||
                  udf.layer() == bcmUdfLayerL2Header || udf.layer() == bcmUdfLayerL3InnerHeader ||
                  udf.layer() == bcmUdfLayerL4InnerHeader ||
                  udf.layer() == bcmUdfLayerL4OuterHeader );

    // Room for two, so that a UDF that is attached to more than one is caught.
    bcm_udf_pkt_format_id_t pktFmtId[ 2 ] = {};
    int actual = 0;
    SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_get_all( unit, udfId, 2, pktFmtId, &actual )",
                         bcm_udf_pkt_format_get_all,
                         unit,
                         udfId,
                         2,
                         pktFmtId,
                         &actual );
    AGENT_ASSERT( actual == 1 );
    AGENT_ASSERT( pktFmtId[ 0 ] );

    const PktFmtId fmtId( pktFmtId[ 0 ] );
    AGENT_ASSERT( pktFmtIdToUdfId->pktFmtIdToUdfIdHas( fmtId ) );
    const UdfIdList& udfs = pktFmtIdToUdfId->pktFmtIdToUdfId( fmtId );
    const UdfId id( udfId );
    AGENT_ASSERT( udfs.udfIdHas( id ) );
}

UdfIdList getAllProgrammedUdfIdsUdfModule( U32 moduleUnit )
{
    const int unit = static_cast< int >( moduleUnit );
    // KEPT: UDFs beyond these are not seen; no chip has as many.
    constexpr int max = 128;
    bcm_udf_id_t udfIds[ max ] = {};
    int numUdfs = 0;
    SDK_CHECKED_CALL_AS( "bcm_udf_get_all( unit, max, udfIds, &numUdfs )",
                         bcm_udf_get_all,
                         unit,
                         max,
                         udfIds,
                         &numUdfs );
    traceUdf( 8, " retrieve ", numUdfs, " UDFs from HW" );
    UdfIdList list;
    for ( int i = 0; i < std::min( numUdfs, max ); ++i ) {
        list.udfIdIs( UdfId( udfIds[ i ] ) );
    }
    return list;
}

UdfChunkPosList getUdfChunkPosModule( U32 moduleUnit, const QualIdList& quals )
{
    const int unit = static_cast< int >( moduleUnit );
    UdfChunkPosList udfChunkPosList;
    for ( const U32 qualId : quals ) {
        const bcm_udf_id_t udfId = static_cast< bcm_udf_id_t >( qualId );
        bcm_udf_t udfInfo;
        Shim::sdk().bcm_udf_t_init( &udfInfo );
        SDK_CHECKED_CALL_AS(
            "bcm_udf_get( unit, udfId, &udfInfo )", bcm_udf_get, unit, udfId, &udfInfo );
        for ( UdfChunkPos i = 0; i < hardwareChunks; ++i ) {
            if ( ( udfInfo.hw_bmap() >> i & 1U ) != 0 ) {
                AGENT_ASSERT( !udfChunkPosList.udfChunkPosHas( i ) );
                udfChunkPosList.udfChunkPosIs( i );
            }
        }
    }
    return udfChunkPosList;
}

// ---- LAG hashing -----------------------------------------------------------------------------

void createUdfLagHashingModule( U32 moduleUnit, bcm_udf_id_t udfId, const UdfDesc& udfDesc )
{
    const int unit = static_cast< int >( moduleUnit );
    traceUdf( 4, "createUdfLagHashingModule", " unit ", moduleUnit, " udfId ", udfId );
    bcm_udf_hash_config_t hash_config;
    Shim::sdk().bcm_udf_hash_config_t_init( &hash_config );
    describeHash( udfDesc, udfId, hash_config );
    const U32 BCM_UDF_HASH_ADD_O_NONE = Shim::sdk().BCM_UDF_HASH_ADD_O_NONE();
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_add( unit, BCM_UDF_HASH_ADD_O_NONE, &hash_config )",
                         bcm_udf_hash_config_add,
                         unit,
                         BCM_UDF_HASH_ADD_O_NONE,
                         &hash_config );
    traceUdf( 4, " Added lag hashing config for Udf Id: ", udfId );
}

void destroyUdfLagHashingModule( U32 moduleUnit, bcm_udf_id_t udfId )
{
    const int unit = static_cast< int >( moduleUnit );
    traceUdf( 4, "destroyUdfLagHashingModule", " unit ", moduleUnit, " udfId ", udfId );
    bcm_udf_hash_config_t hash_config;
    Shim::sdk().bcm_udf_hash_config_t_init( &hash_config );
    hash_config.udf_idIs( udfId );
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_delete( unit, &hash_config )",
                         bcm_udf_hash_config_delete,
                         unit,
                         &hash_config );
    traceUdf( 4, "Removed lag hashing config for Udf Id: ", udfId );
}

UdfIdList getAllProgrammedLagHashingUdfIdsUdfModule( U32 moduleUnit )
{
    const int unit = static_cast< int >( moduleUnit );
    int numUdfs = 0;
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_get_all( unit, 0, NULL, &numUdfs )",
                         bcm_udf_hash_config_get_all,
                         unit,
                         0,
                         nullptr,
                         &numUdfs );
    std::vector< bcm_udf_hash_config_t > configs( static_cast< std::size_t >( numUdfs ) );
    for ( bcm_udf_hash_config_t& config : configs ) {
        Shim::sdk().bcm_udf_hash_config_t_init( &config );
    }
    bcm_udf_hash_config_t* const hashConfigs = configs.data();
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_get_all( unit, numUdfs, hashConfigs, &numUdfs )",
                         bcm_udf_hash_config_get_all,
                         unit,
                         numUdfs,
                         hashConfigs,
                         &numUdfs );
    configs.resize( std::min( configs.size(), static_cast< std::size_t >( numUdfs ) ) );
    traceUdf( 8, " retrieve ", numUdfs, " UDFs from HW" );
    UdfIdList list;
    for ( const bcm_udf_hash_config_t& config : configs ) {
        traceUdf( 8, " udfId is  ", config.udf_id() );
        list.udfIdIs( UdfId( config.udf_id() ) );
    }
    return list;
}

void udfLagHashingProgrammedInModule( U32 moduleUnit,
                                      const QualIdList& quals,
                                      const UdfDesc& udfDesc )
{
    const int unit = static_cast< int >( moduleUnit );
    const bcm_udf_id_t udfId = firstUdfId( quals );
    bcm_udf_hash_config_t hash_config;
    Shim::sdk().bcm_udf_hash_config_t_init( &hash_config );
    hash_config.udf_idIs( udfId );
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_get( unit, &hash_config )",
                         bcm_udf_hash_config_get,
                         unit,
                         &hash_config );

    const U32 hash_mask = packedHashMask( hash_config );
    const U32 lagHashingMask = udfDesc.packedLagHashingMask();
    // clang-format off
    traceUdf( 4, "udfLagHashingProgrammedInModule",
              " unit: ", moduleUnit, " udfId: ", udfId,
              "Hardware: mask_length: ", hash_config.mask_length(),
              " mask: ", Agent::hex( hash_mask ) );
    // clang-format on
    // KEPT: four bytes, as many as descriptors have a mask for: the others are none of the agent's.
    AGENT_ASSERT( lagHashingMask == hash_mask );
    AGENT_ASSERT( udfDesc.length() == hash_config.mask_length() );
}

// ---- The flexible parser: chunks -------------------------------------------------------------

namespace {

bcm_udf_abstract_pkt_format_info_t readFormat( int unit, bcm_udf_abstract_pkt_format_t apf )
{
    bcm_udf_abstract_pkt_format_info_t pfi;
    Shim::sdk().bcm_udf_abstract_pkt_format_info_t_init( &pfi );
    SDK_CHECKED_CALL_AS( "bcm_udf_abstract_pkt_format_info_get( unit, apf, &pfi )",
                         bcm_udf_abstract_pkt_format_info_get,
                         unit,
                         apf,
                         &pfi );
    return pfi;
}

bcm_udf_chunk_info_t readChunks( int unit, bcm_udf_id_t udfId )
{
    bcm_udf_chunk_info_t chunkInfo;
    Shim::sdk().bcm_udf_chunk_info_t_init( &chunkInfo );
    SDK_CHECKED_CALL_AS( "bcm_udf_chunk_info_get( unit, udfId, &chunkInfo )",
                         bcm_udf_chunk_info_get,
                         unit,
                         udfId,
                         &chunkInfo );
    return chunkInfo;
}

} // namespace

const std::set< bcm_udf_abstract_pkt_format_t >& udfAbstractPktFmt()
{
    // DIFFERS: HSDK has IPv4 with options too, and ARP in the place of known non-IP.
    static const std::set< bcm_udf_abstract_pkt_format_t > formats = {
        Shim::sdk().bcmUdfAbstractPktFormatL3Ipv4WithoutOptions(),
        Shim::sdk().bcmUdfAbstractPktFormatL3Ipv6(),
        Shim::sdk().bcmUdfAbstractPktFormatUnknownL3(),
        Shim::sdk().bcmUdfAbstractPktFormatKnownNonIp(),
    };
    return formats;
}

namespace {

/// Reads which chunks of a format are reserved.
ChunkText readReservedChunks( U32 unit, bcm_udf_abstract_pkt_format_t apf )
{
    // DIFFERS: HSDK is asked which chunks are free, and nothing is traced of it.
    const auto pfi = readFormat( static_cast< int >( unit ), apf );
    const ChunkText used{ pfi.chunk_bmap_used() };
    const ChunkText unavailable{ pfi.unavail_chunk_bmap() };
    const ChunkText reserved{ used.chunks | unavailable.chunks };
    // clang-format off
    Agent::trace( _defaultTraceHandle(), 8, "getUdfReservedBitmap",
                  " apf ", apf, " bitmap size ", chunksOfFormat,
                  " max chunks ", pfi.num_chunks_max(), " used bmap ", used,
                  " unavailBitmap ", unavailable, " reserved bitmap ", reserved );
    // clang-format on
    return reserved;
}

Agent::Bitmap::Ptr bitmapOf( ChunkText chunks )
{
    const Agent::Bitmap::Ptr bitmap( new Agent::Bitmap( chunksOfFormat ) );
    for ( U32 i = 0; i < chunksOfFormat; ++i ) {
        if ( chunkIsSet( chunks.chunks, i ) ) {
            bitmap->bitIs( i, true );
        }
    }
    return bitmap;
}

} // namespace

Agent::Bitmap::Ptr getUdfReservedBitmap( U32 unit, bcm_udf_abstract_pkt_format_t apf )
{
    return bitmapOf( readReservedChunks( unit, apf ) );
}

UdfChunkPosList getUdfChunkPosFlexParser( U32 unit, const QualIdList& qualIds )
{
    traceUdf( 8, "getUdfChunkPosFlexParser" );
    UdfChunkPosList udfChunkPosList;
    for ( const U32 qualId : qualIds ) {
        const auto chunkInfo =
            readChunks( static_cast< int >( unit ), static_cast< bcm_udf_id_t >( qualId ) );
        for ( UdfChunkPos i = 0; i < chunksOfFormat; ++i ) {
            if ( chunkIsSet( chunkInfo.chunk_bmap(), i ) ) {
                AGENT_ASSERT( !udfChunkPosList.udfChunkPosHas( i ) );
                udfChunkPosList.udfChunkPosIs( i );
            }
        }
    }
    return udfChunkPosList;
}

// ---- The flexible parser: creation and removal -----------------------------------------------

namespace {

/// The chunks that a new UDF is given.
///
/// KEPT: one chunk, whatever is requested: the search does not mark what it has found, so every
/// pass finds the same one. The SDK takes the extent from the width.
/// DIFFERS: HSDK is offered as many chunks as are requested.
U32 chosenChunks( ChunkText reserved, U32 requested )
{
    U32 chunkBmap = 0;
    for ( U32 i = 0; i < requested; ++i ) {
        const auto bit = static_cast< U32 >( std::countr_one( reserved.chunks ) );
        AGENT_ASSERT( bit < chunksOfFormat );
        chunkBmap |= 1U << bit;
    }
    return chunkBmap;
}

/// Checks that every chunk of removed UDFs was reserved in their format before.
void assertChunksWereReserved( U32 progChunkBmap, const Agent::Bitmap::Ptr& udfBmap )
{
    const auto lowest = [ & ] { return static_cast< U32 >( std::countr_zero( progChunkBmap ) ); };
    for ( U32 i = lowest(); i < udfBmap->size(); i = lowest() ) {
        AGENT_ASSERT( udfBmap->isBitSet( i ) );
        progChunkBmap &= ~( 1U << i );
    }
    // DIFFERS: HSDK does not see a chunk beyond the sixteen.
    AGENT_ASSERT( !progChunkBmap );
}

} // namespace

QualIdList
createUdfQualifierFlexParser( U32 unit, const UdfDesc& udfDesc, bcm_udf_abstract_pkt_format_t apf )
{
    int rc = Shim::sdk().BCM_E_NONE();
    QualIdList qualIds;
    UdfHwProgrammingFootprint hwFootprint;
    // clang-format off
    traceUdf( 4, "createUdfQualifierFlexParser", " mod:", unit,
              " ethType: ", udfDesc.ethType(),
              " appType: ", static_cast< unsigned >( udfDesc.appType() ),
              " offset: ", udfDesc.offset(), " length: ", udfDesc.length() );
    // clang-format on

    const ChunkText reserved = readReservedChunks( unit, apf );
    const U32 requested = chunksNeeded( udfDesc.length() );
    // DIFFERS: HSDK counts the free chunks in two ways and takes the smaller number.
    const U32 avail = chunksOfFormat - countOf( reserved );
    if ( requested > avail ) {
        const std::string message = notEnoughChunksText( avail, requested );
        // DIFFERS: HSDK has no blank behind "mod:", and names the chunks that are marked free.
        traceUdf( 1, "createUdfQualifierFlexParser", "mod: ", unit, " Msg: ", message );
        return cleanupUdfFlexParserFootprint( static_cast< int >( unit ), hwFootprint, apf );
    }

    const U32 chunkBmap = chosenChunks( reserved, requested );
    program_abstract_pkt_type( unit, udfDesc, apf, chunkBmap, rc, qualIds, hwFootprint );
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        cleanupUdfFlexParserFootprint( static_cast< int >( unit ), hwFootprint, apf );
        qualIds.clear();
    }
    // DIFFERS: HSDK shows the free chunks.
    const ChunkText now = readReservedChunks( unit, apf );
    traceUdf( 4, "createUdfQualifierFlexParser", "mod: ", unit, " Flex bitmap is now: ", now );
    return qualIds;
}

void program_abstract_pkt_type( U32 moduleUnit,
                                const UdfDesc& udfDesc,
                                bcm_udf_abstract_pkt_format_t apf,
                                U32 chunkBmap,
                                int& rc,
                                QualIdList& qualIds,
                                UdfHwProgrammingFootprint& hwFootprint )
{
    const int unit = static_cast< int >( moduleUnit );
    const auto pfi = readFormat( unit, apf );
    // DIFFERS: with HSDK a chunk must be free, not only unused.
    AGENT_ASSERT( !( chunkBmap & pfi.chunk_bmap_used() ) );

    bcm_udf_chunk_info_t chunkInfo;
    Shim::sdk().bcm_udf_chunk_info_t_init( &chunkInfo );
    chunkInfo.offsetIs( udfDesc.offset() * chunkBitsPerByte );
    // DIFFERS: HSDK is given no width.
    chunkInfo.widthIs( udfDesc.length() * chunkBitsPerByte );
    // DIFFERS: the record of HSDK has a set of the SDK's.
    chunkInfo.chunk_bmapIs( chunkBmap );
    chunkInfo.abstract_pkt_formatIs( apf );

    bcm_udf_id_t createdUdfId = 0;
    rc = SDK_TRACED_CALL_AS( "bcm_udf_chunk_create( unit, NULL, &chunkInfo, &udfId )",
                             bcm_udf_chunk_create,
                             unit,
                             nullptr,
                             &chunkInfo,
                             &createdUdfId );
    // DIFFERS: HSDK traces and raises the log message when the SDK is out of resources.
    if ( rc == Shim::sdk().BCM_E_NONE() ) {
        const U32 udfId = static_cast< U32 >( createdUdfId );
        AGENT_ASSERT( !hwFootprint.udfIds.qualIdHas( udfId ) );
        hwFootprint.udfIds.qualIdIs( udfId );
        qualIds.qualIdIs( udfId );
    } else {
        const char* const error = Shim::sdk().sdkErrorText( rc );
        // DIFFERS: HSDK has no "rc:".
        traceUdf( 1, " bcm_udf_chunk_create failed rc: ", rc, " ", error );
    }
}

void destroyUdfQualifierFlexParser( U32 moduleUnit,
                                    const QualIdList& qualIds,
                                    bcm_udf_abstract_pkt_format_t apf )
{
    traceUdf( 4, "destroyUdfQualifierFlexParser" );
    const int unit = static_cast< int >( moduleUnit );
    const ChunkText start = readReservedChunks( moduleUnit, apf );
    // DIFFERS: HSDK names the format here, and shows the free chunks.
    traceUdf(
        8, "destroyUdfQualifierFlexParser", " mod: ", moduleUnit, " Flex bitmap start: ", start );

    U32 progChunkBmap = 0;
    for ( const U32 qualId : qualIds ) {
        const bcm_udf_id_t udfId = static_cast< bcm_udf_id_t >( qualId );
        const auto chunkInfo = readChunks( unit, udfId );
        const U32 chunkBmap = chunkInfo.chunk_bmap();
        // DIFFERS: HSDK compares bitmaps of the agent's, also with a UDF on no chunk.
        if ( progChunkBmap != 0 ) {
            AGENT_ASSERT( progChunkBmap == chunkBmap );
        }
        progChunkBmap = chunkBmap;
        // DIFFERS: HSDK does not trace the UDF's format.
        traceUdf(
            8, " mod: ", moduleUnit, " Abstract pkt format: ", chunkInfo.abstract_pkt_format() );
        SDK_CHECKED_CALL_AS( "bcm_udf_destroy( unit, udfId )", bcm_udf_destroy, unit, udfId );
    }
    // DIFFERS: HSDK checks that the chunks were not free.
    assertChunksWereReserved( progChunkBmap, bitmapOf( start ) );
    // DIFFERS: HSDK shows the free chunks.
    const ChunkText end = readReservedChunks( moduleUnit, apf );
    traceUdf( 8, "destroyUdfQualifierFlexParser", " mod: ", moduleUnit, " Flex bitmap end: ", end );
}

QualIdList cleanupUdfFlexParserFootprint( int unit,
                                          const UdfHwProgrammingFootprint& hwFootprint,
                                          bcm_udf_abstract_pkt_format_t apf )
{
    traceUdf( 8, "cleanupUdfFlexParserFootprint" );
    destroyUdfQualifierFlexParser( static_cast< U32 >( unit ), hwFootprint.udfIds, apf );
    return {};
}

// ---- The flexible parser: verification and inventory -----------------------------------------

namespace {

/// Checks that the format of a programmed UDF is one of those that the library programs.
void assertAllowedFormat( bcm_udf_abstract_pkt_format_t apf )
{
    const auto bcmUdfAbstractPktFormatKnownNonIp = Shim::sdk().bcmUdfAbstractPktFormatKnownNonIp();
    const auto bcmUdfAbstractPktFormatL3Ipv4WithoutOptions =
        Shim::sdk().bcmUdfAbstractPktFormatL3Ipv4WithoutOptions();
    const auto bcmUdfAbstractPktFormatL3Ipv6 = Shim::sdk().bcmUdfAbstractPktFormatL3Ipv6();
    const auto bcmUdfAbstractPktFormatUnknownL3 = Shim::sdk().bcmUdfAbstractPktFormatUnknownL3();
    // DIFFERS: HSDK allows ARP and all of IPv4 instead of known non-IP and IPv4 without options.
    AGENT_ASSERT( apf == bcmUdfAbstractPktFormatKnownNonIp ||
                  apf == bcmUdfAbstractPktFormatL3Ipv4WithoutOptions ||
                  apf == bcmUdfAbstractPktFormatL3Ipv6 || apf == bcmUdfAbstractPktFormatUnknownL3 );
}

/// Checks what the SDK reads back of a UDF against its descriptor.
void assertExtent( const bcm_udf_chunk_info_t& chunkInfo, U32 offset, U32 length )
{
    assertAllowedFormat( chunkInfo.abstract_pkt_format() );
    // KEPT: in bytes, although creation gives bits: the SDK reads back in bytes.
    // DIFFERS: HSDK compares the offset in bits.
    AGENT_ASSERT( chunkInfo.offset() == offset );
    AGENT_ASSERT( chunkInfo.width() == length );
}

} // namespace

void udfQualProgrammedInHwFlex( U32 moduleUnit, const UdfDesc& udfDesc, const QualIdList& qualIds )
{
    const U32 offset = udfDesc.offset();
    const U32 length = udfDesc.length();
    // clang-format off
    traceUdf( 4, "udfQualProgrammedInHwFlex", " mod: ", moduleUnit,
              " ethType: ", udfDesc.ethType(),
              " appType: ", static_cast< unsigned >( udfDesc.appType() ),
              " offset: ", offset, " length: ", length );

    U32 progChunkBmap = 0;
    for ( const U32 qualId : qualIds ) {
        const auto chunkInfo =
            readChunks( static_cast< int >( moduleUnit ), static_cast< bcm_udf_id_t >( qualId ) );
        traceUdf( 8, "udfQualProgrammedInHwFlex", "mod: ", moduleUnit,
                  " Chunk info offset: ", chunkInfo.offset(), " offset: ", offset );
        traceUdf( 8, "udfQualProgrammedInHwFlex", "mod: ", moduleUnit,
                  " Abstract pkt format: ", chunkInfo.abstract_pkt_format() );
        // clang-format on
        assertExtent( chunkInfo, offset, length );
        // DIFFERS: HSDK compares and counts bitmaps of the agent's.
        const U32 chunkBmap = chunkInfo.chunk_bmap();
        if ( progChunkBmap != 0 ) {
            AGENT_ASSERT( progChunkBmap == chunkBmap );
        }
        // KEPT: one chunk for two bytes, although creation gives one chunk only: a longer UDF is
        // not expected to pass this audit.
        const U32 chunks = chunksNeeded( length );
        const U32 setChunks = static_cast< U32 >( std::popcount( chunkBmap & 0xFFFFU ) );
        AGENT_ASSERT( chunks == setChunks );
        progChunkBmap = chunkBmap;
    }
}

UdfIdList getAllProgrammedUdfIdsUdfFlexParser( U32 moduleUnit )
{
    traceUdf( 4, "getAllProgrammedUdfIdsUdfFlexParser", " mod:", moduleUnit );
    static constexpr Shim::CallSite site = SDK_CALL_SITE(
        "bcm_udf_abstract_pkt_format_object_list_get( unit, absPktFmt, max, udfIds, &numUdfs )" );
    UdfIdList list;
    for ( const bcm_udf_abstract_pkt_format_t absPktFmt : udfAbstractPktFmt() ) {
        const UdfsOfFormat udfs = readUdfsOfFormat( apiTraceHandle_, site, moduleUnit, absPktFmt );
        // clang-format off
        traceUdf( 8, "getAllProgrammedUdfIdsUdfFlexParser", " mod:", moduleUnit,
                  " abstract packet format: ", absPktFmt, " has ", udfs.count, " UDFS" );
        // clang-format on
        udfs.addTo( list );
    }
    return list;
}

} // namespace PeloraTcam
