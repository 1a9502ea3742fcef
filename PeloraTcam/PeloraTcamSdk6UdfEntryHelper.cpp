#include "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.h"

#include "PeloraTcam/UdfLogMessages.h"
#include "PeloraTcam/UdfModuleRequest.h"
#include "agent/base/Assert.h"
#include "agent/base/RingTrace.h"
#include "agent/tcam/EthType.h"
#include "sdk/SdkCall.h"

#include <algorithm>
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
        return Shim::sdk_->bcmUdfLayerL2Header();
    case UdfBaseL3Header_:
    case UdfBaseL3OuterHeader_:
    case UdfBaseL3OuterPayload_:
        return Shim::sdk_->bcmUdfLayerL3OuterHeader();
    case UdfBaseL3InnerHeader_:
        return Shim::sdk_->bcmUdfLayerL3InnerHeader();
    case UdfBaseL4InnerHeader_:
        return Shim::sdk_->bcmUdfLayerL4InnerHeader();
    case UdfBaseL4OuterHeader_:
    case UdfBaseL4OuterPayload_:
        return Shim::sdk_->bcmUdfLayerL4OuterHeader();
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
        Shim::sdk_->bcm_udf_t_init( &udf );
        Shim::sdk_->bcm_udf_pkt_format_info_t_init( &pktFmt );
        Shim::sdk_->bcm_udf_alloc_hints_t_init( &hints );
        Shim::sdk_->BCM_FIELD_QSET_INIT( &qset_ );
        options = Shim::sdk_->BCM_UDF_PKT_FORMAT_CREATE_O_NONE();
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
    const int rc = SDK_TRACED_CALL( bcm_udf_create( unit, &hints, &udf, &udfId ) );
    if ( rc == Shim::sdk_->BCM_E_RESOURCE() ) {
        reportFull( 1, "Out of hw resources to create UDF. udf: base=", udfDesc_ );
    }
    if ( rc != Shim::sdk_->BCM_E_NONE() ) {
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
    for ( const auto& [ key, udfs ] : pktFmtIdToUdfId_ ) {
        traceUdf( 8, " Looking at pkt fmt id: ", key );
        bcm_udf_pkt_format_info_t tmpFmt;
        Shim::sdk_->bcm_udf_pkt_format_info_t_init( &tmpFmt );
        const bcm_udf_pkt_format_id_t stored = getBcmUdfPktFmtId( key );
        SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_info_get( unit, iter.key().value(), &tmpFmt )",
                             bcm_udf_pkt_format_info_get( unit, stored, &tmpFmt ) );
        traceFields( tmpFmt );
        if ( pktFmt == tmpFmt ) {
            pktFmtId = stored;
            traceUdf( 8, " Found Pkt format: ", pktFmtId );
            return;
        }
    }
}

bool UdfModuleCreation::createPktFmt()
{
    traceUdf( 8, " Creating new pkt format object" );
    const int rc =
        SDK_TRACED_CALL( bcm_udf_pkt_format_create( unit, options, &pktFmt, &pktFmtId ) );
    if ( rc == Shim::sdk_->BCM_E_RESOURCE() ) {
        reportFull( 1, " No hw resources to program UDF udf:base=", udfDesc_ );
    }
    if ( rc != Shim::sdk_->BCM_E_NONE() ) {
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
    const int rc = SDK_TRACED_CALL( bcm_udf_pkt_format_add( unit, udfId, pktFmtId ) );
    if ( rc != Shim::sdk_->BCM_E_NONE() ) {
        traceUdf( 1, " bcm_udf_pkt_format_add failed rc: ", Shim::sdk_->sdkErrorText( rc ) );
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
    pktFmtIdToUdfId_.pktFmtIdToUdfIdIs( PktFmtId( pktFmtId ), udfs );
    traceUdf( 8, " Udf Id: ", udfId, " Pkt Fmt Id: ", pktFmtId );
    QualIdList quals;
    quals.qualIdIs( static_cast< U32 >( udfId ) );
    return quals;
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
    SDK_CHECKED_CALL( bcm_udf_pkt_format_get_all( unit, udfId, 1, &pktFmtId, &actual ) );
    AGENT_ASSERT( actual == 1 );
    SDK_CHECKED_CALL( bcm_udf_pkt_format_delete( unit, udfId, pktFmtId ) );

    const UdfId id( udfId );
    UdfIdList udfs = pktFmtIdToUdfId->pktFmtIdToUdfId( PktFmtId( pktFmtId ) );
    AGENT_ASSERT( udfs.udfIdHas( id ) );
    udfs.udfIdDel( id );
    if ( udfs.udfIds() == 0 ) {
        pktFmtIdToUdfId->pktFmtIdToUdfIdDel( PktFmtId( pktFmtId ) );
        SDK_CHECKED_CALL( bcm_udf_pkt_format_destroy( unit, pktFmtId ) );
    } else {
        pktFmtIdToUdfId->pktFmtIdToUdfIdIs( PktFmtId( pktFmtId ), udfs );
    }

    SDK_CHECKED_CALL( bcm_udf_destroy( unit, udfId ) );
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
        const int rc =
            SDK_TRACED_CALL( bcm_udf_pkt_format_delete( unit, udfIdToCleanup, pktFmtIdToCleanup ) );
        // KEPT: the detach is expected to fail. Only a failed attach leads here, so a UDF that
        // can be detached was attached behind the agent's back.
        const int BCM_E_NONE = Shim::sdk_->BCM_E_NONE();
        AGENT_ASSERT( rc != BCM_E_NONE );
        if ( !pktFmtIdToUdfId->pktFmtIdToUdfIdHas( hwFootprint.pktFmtId ) ) {
            SDK_CHECKED_CALL( bcm_udf_pkt_format_destroy( unit, pktFmtIdToCleanup ) );
        }
    }
    SDK_CHECKED_CALL( bcm_udf_destroy( unit, udfIdToCleanup ) );
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
    Shim::sdk_->bcm_udf_t_init( &udf );
    const int rc = SDK_TRACED_CALL( bcm_udf_get( unit, udfId, &udf ) );
    if ( rc != Shim::sdk_->BCM_E_NONE() ) {
        traceUdf(
            8, "udfQualProgrammedInHwUdfModule UDF Qual id: ", udfId, " not programmed in hw!" );
        AGENT_ASSERT( 0 );
    }

    AGENT_ASSERT( udf.width() == ( length * 8 ) );
    // KEPT: the descriptor's raw offset, although creation adds the start correction: a UDF that
    // counts from behind a header is not expected to pass this audit.
    AGENT_ASSERT( udf.start() == ( offset * 8 ) );

    const bcm_udf_layer_t bcmUdfLayerL3OuterHeader = Shim::sdk_->bcmUdfLayerL3OuterHeader();
    const bcm_udf_layer_t bcmUdfLayerL2Header = Shim::sdk_->bcmUdfLayerL2Header();
    const bcm_udf_layer_t bcmUdfLayerL3InnerHeader = Shim::sdk_->bcmUdfLayerL3InnerHeader();
    const bcm_udf_layer_t bcmUdfLayerL4InnerHeader = Shim::sdk_->bcmUdfLayerL4InnerHeader();
    const bcm_udf_layer_t bcmUdfLayerL4OuterHeader = Shim::sdk_->bcmUdfLayerL4OuterHeader();
    // KEPT: any of the layers will do, not only that of the base; and one stands twice.
    AGENT_ASSERT( udf.layer() == bcmUdfLayerL3OuterHeader || udf.layer() == bcmUdfLayerL2Header ||
                  udf.layer() == bcmUdfLayerL2Header || udf.layer() == bcmUdfLayerL3InnerHeader ||
                  udf.layer() == bcmUdfLayerL4InnerHeader ||
                  udf.layer() == bcmUdfLayerL4OuterHeader );

    // Room for two, so that a UDF that is attached to more than one is caught.
    bcm_udf_pkt_format_id_t pktFmtId[ 2 ] = {};
    int actual = 0;
    SDK_CHECKED_CALL( bcm_udf_pkt_format_get_all( unit, udfId, 2, pktFmtId, &actual ) );
    AGENT_ASSERT( actual == 1 );
    AGENT_ASSERT( pktFmtId[ 0 ] );

    const PktFmtId fmtId( pktFmtId[ 0 ] );
    AGENT_ASSERT( pktFmtIdToUdfId->pktFmtIdToUdfIdHas( fmtId ) );
    const UdfIdList udfs = pktFmtIdToUdfId->pktFmtIdToUdfId( fmtId );
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
    SDK_CHECKED_CALL( bcm_udf_get_all( unit, max, udfIds, &numUdfs ) );
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
        Shim::sdk_->bcm_udf_t_init( &udfInfo );
        SDK_CHECKED_CALL( bcm_udf_get( unit, udfId, &udfInfo ) );
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
    Shim::sdk_->bcm_udf_hash_config_t_init( &hash_config );
    describeHash( udfDesc, udfId, hash_config );
    const U32 BCM_UDF_HASH_ADD_O_NONE = Shim::sdk_->BCM_UDF_HASH_ADD_O_NONE();
    SDK_CHECKED_CALL( bcm_udf_hash_config_add( unit, BCM_UDF_HASH_ADD_O_NONE, &hash_config ) );
    traceUdf( 4, " Added lag hashing config for Udf Id: ", udfId );
}

void destroyUdfLagHashingModule( U32 moduleUnit, bcm_udf_id_t udfId )
{
    const int unit = static_cast< int >( moduleUnit );
    traceUdf( 4, "destroyUdfLagHashingModule", " unit ", moduleUnit, " udfId ", udfId );
    bcm_udf_hash_config_t hash_config;
    Shim::sdk_->bcm_udf_hash_config_t_init( &hash_config );
    hash_config.udf_idIs( udfId );
    SDK_CHECKED_CALL( bcm_udf_hash_config_delete( unit, &hash_config ) );
    traceUdf( 4, "Removed lag hashing config for Udf Id: ", udfId );
}

UdfIdList getAllProgrammedLagHashingUdfIdsUdfModule( U32 moduleUnit )
{
    const int unit = static_cast< int >( moduleUnit );
    int numUdfs = 0;
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_get_all( unit, 0, NULL, &numUdfs )",
                         bcm_udf_hash_config_get_all( unit, 0, nullptr, &numUdfs ) );
    std::vector< bcm_udf_hash_config_t > configs( static_cast< std::size_t >( numUdfs ) );
    for ( bcm_udf_hash_config_t& config : configs ) {
        Shim::sdk_->bcm_udf_hash_config_t_init( &config );
    }
    bcm_udf_hash_config_t* const hashConfigs = configs.data();
    SDK_CHECKED_CALL( bcm_udf_hash_config_get_all( unit, numUdfs, hashConfigs, &numUdfs ) );
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
    Shim::sdk_->bcm_udf_hash_config_t_init( &hash_config );
    hash_config.udf_idIs( udfId );
    SDK_CHECKED_CALL( bcm_udf_hash_config_get( unit, &hash_config ) );

    const U32 hash_mask = packedHashMask( hash_config );
    const U32 lagHashingMask = udfDesc.packedLagHashingMask();
    // clang-format off
    traceUdf( 4, "udfLagHashingProgrammedInModule",
              " unit: ", moduleUnit, " udfId: ", udfId,
              "Hardware: mask_length: ", hash_config.mask_length(),
              " mask: ", Agent::hex( hash_mask ) );
    // clang-format on
    AGENT_ASSERT( lagHashingMask == hash_mask );
    AGENT_ASSERT( udfDesc.length() == hash_config.mask_length() );
}

} // namespace PeloraTcam
