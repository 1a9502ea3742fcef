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
    // Required: this name of the function, whatever the compiler makes of it.
    Agent::assertionFailed( "Invalid base UdfBasePacketStart_ used", __FILE__, __LINE__,
                            "bcm_udf_layer_t PeloraTcam::getUdfLayer(PeloraTcam::UdfOffsetBase)" );
}

// ---- The UDF module: creation ----------------------------------------------------------------

namespace {

/// The creation of one UDF: what it works on, and its steps. A step that gives false has failed;
/// what the creation has made until then stands in the footprint.
class UdfModuleCreation
{
  public:
    /// Takes a copy of the descriptor. The map must outlive the creation.
    UdfModuleCreation( U32 unit, const UdfDesc& udfDesc, PktFmtIdToUdfId& pktFmtIdToUdfId )
        : unit_( unit )
        , sdkUnit_( static_cast< int >( unit ) )
        , udfDesc_( udfDesc )
        , pktFmtIdToUdfId_( pktFmtIdToUdfId )
    {
        Shim::sdk().bcm_udf_t_init( &udf_ );
        Shim::sdk().bcm_udf_pkt_format_info_t_init( &pktFmt_ );
        Shim::sdk().bcm_udf_alloc_hints_t_init( &hints_ );
        Shim::sdk().BCM_FIELD_QSET_INIT( &qset_ );
        options_ = Shim::sdk().BCM_UDF_PKT_FORMAT_CREATE_O_NONE();
    }

    [[nodiscard]] bool describe();
    [[nodiscard]] bool createUdf();
    [[nodiscard]] bool chooseOrCreatePktFmt();
    [[nodiscard]] bool attach();
    [[nodiscard]] QualIdList commit();

    [[nodiscard]] const UdfHwProgrammingFootprint& hwFootprint() const { return hwFootprint_; }

  private:
    void findPktFmtToShare();
    [[nodiscard]] bool createPktFmt();
    void traceFields( const bcm_udf_pkt_format_info_t& stored ) const;

    const U32 unit_;
    const int sdkUnit_;
    const UdfDesc udfDesc_; // The caller's may change while the SDK is called.
    PktFmtIdToUdfId& pktFmtIdToUdfId_;
    bcm_udf_t udf_;
    bcm_udf_pkt_format_info_t pktFmt_;
    bcm_udf_alloc_hints_t hints_;
    bcm_field_qset_t qset_;
    U32 options_ = 0;
    bcm_udf_id_t udfId_ = 0;
    // KEPT: required: 0 stands for a format not found, so one with that id is never shared.
    bcm_udf_pkt_format_id_t pktFmtId_ = 0;
    UdfHwProgrammingFootprint hwFootprint_;
};

bool UdfModuleCreation::describe()
{
    describeUdf( udfDesc_, udf_ );
    describeTunnel( udfDesc_, pktFmt_ );
    const U16 ethType = udfDesc_.ethType();
    if ( ethType == 0 ) {
        const U32 base = udfDesc_.base();
        traceUdf( 8, " UDF base ", base, " not supported" );
        return false;
    }
    if ( udfDesc_.innerEtherType() != 0 ) {
        AGENT_ASSERT(
            ( ethType == Kvnet::EthType::ethTypeIp_ || ethType == Kvnet::EthType::ethTypeIp6_ ) &&
            "Outer ethertype for GRE packets must be IPv4/IPv6" );
    }
    describeHeaders( udfDesc_, pktFmt_ );
    describeHints( udfDesc_, hints_, qset_ );
    return true;
}

bool UdfModuleCreation::createUdf()
{
    const int rc = SDK_TRACED_CALL_AS( "bcm_udf_create( unit, &hints, &udf, &udfId )",
                                       bcm_udf_create, sdkUnit_, &hints_, &udf_, &udfId_ );
    if ( rc == Shim::sdk().BCM_E_RESOURCE() ) {
        reportFull( 1, "Out of hw resources to create UDF. udf: base=", udfDesc_ );
    }
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        traceUdf( 1, " bcm_udf_create failed ", rc );
        return false;
    }
    // Required, although it cannot fail: a creation makes one UDF.
    AGENT_ASSERT_AS( "!hwFootprint.udfIds.qualIds()", hwFootprint_.udfIds.qualIds() == 0 );
    hwFootprint_.udfIds.qualIdIs( static_cast< U32 >( udfId_ ) );
    return true;
}

void UdfModuleCreation::traceFields( const bcm_udf_pkt_format_info_t& stored ) const
{
    traceUdf( 8, " Packet fields: ", " EtherType: ", pktFmt_.ethertype(), " ", stored.ethertype(),
              " L2: ", pktFmt_.l2(), " ", stored.l2(), " Vlan: ", pktFmt_.vlan_tag(), " ",
              stored.vlan_tag(), " Outer Ip: ", pktFmt_.outer_ip(), " ", stored.outer_ip(),
              " Tunnel: ", pktFmt_.tunnel(), " ", stored.tunnel(),
              " ip_protocol: ", pktFmt_.ip_protocol(), " ", stored.ip_protocol(),
              " ip_protocol_mask: ", pktFmt_.ip_protocol_mask(), " ", stored.ip_protocol_mask(),
              " inner_ip: ", pktFmt_.inner_ip(), " ", stored.inner_ip() );
}

void UdfModuleCreation::findPktFmtToShare()
{
    for ( auto entry = pktFmtIdToUdfId_.begin(); entry != pktFmtIdToUdfId_.end(); ) {
        const PktFmtId key = entry->first;
        const bcm_udf_pkt_format_id_t keyId = getBcmUdfPktFmtId( key );
        traceUdf( 8, " Looking at pkt fmt id: ", keyId );
        bcm_udf_pkt_format_info_t stored;
        Shim::sdk().bcm_udf_pkt_format_info_t_init( &stored );
        SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_info_get( unit, iter.key().value(), &tmpFmt )",
                             bcm_udf_pkt_format_info_get, sdkUnit_, keyId, &stored );
        traceFields( stored );
        // While the SDK was called entries may have come and gone, this one too.
        if ( pktFmt_ == stored && pktFmtIdToUdfId_.pktFmtIdToUdfIdHas( key ) ) {
            pktFmtId_ = keyId;
            traceUdf( 8, " Found Pkt format: ", pktFmtId_ );
            return;
        }
        entry = pktFmtIdToUdfId_.after( key );
    }
}

bool UdfModuleCreation::createPktFmt()
{
    traceUdf( 8, " Creating new pkt format object" );
    const int rc =
        SDK_TRACED_CALL_AS( "bcm_udf_pkt_format_create( unit, options, &pktFmt, &pktFmtId )",
                            bcm_udf_pkt_format_create, sdkUnit_, options_, &pktFmt_, &pktFmtId_ );
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
    if ( pktFmtId_ == 0 && !createPktFmt() ) {
        return false;
    }
    hwFootprint_.pktFmtId = PktFmtId( pktFmtId_ );
    return true;
}

bool UdfModuleCreation::attach()
{
    const int rc = SDK_TRACED_CALL_AS( "bcm_udf_pkt_format_add( unit, udfId, pktFmtId )",
                                       bcm_udf_pkt_format_add, sdkUnit_, udfId_, pktFmtId_ );
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        traceUdf( 1, " bcm_udf_pkt_format_add failed rc: ", Shim::sdk().sdkErrorText( rc ) );
        return false;
    }
    return true;
}

QualIdList UdfModuleCreation::commit()
{
    if ( udfDesc_.lagHashing() ) {
        createUdfLagHashingModule( unit_, udfId_, udfDesc_ );
    }
    UdfIdList udfs = pktFmtIdToUdfId_.pktFmtIdToUdfId( PktFmtId( pktFmtId_ ) );
    udfs.udfIdIs( UdfId( udfId_ ) );
    pktFmtIdToUdfId_.pktFmtIdToUdfIdIs( PktFmtId( pktFmtId_ ), std::move( udfs ) );
    traceUdf( 8, " Udf Id: ", udfId_, " Pkt Fmt Id: ", pktFmtId_ );
    // What was made is the result: the one UDF.
    return std::move( hwFootprint_.udfIds );
}

} // namespace

QualIdList createUdfQualifierUdfModule( U32 unit,
                                        const UdfDesc& udfDesc,
                                        PktFmtIdToUdfId::Ptr pktFmtIdToUdfId )
{
    AGENT_ASSERT( pktFmtIdToUdfId );
    traceUdf( 4, "createUdfQualifierUdfModule", " mod:", unit, " ethType: ", udfDesc.ethType(),
              " appType: ", static_cast< unsigned >( udfDesc.appType() ), " base: ", udfDesc.base(),
              " offset: ", udfDesc.offset(), " length: ", udfDesc.length(),
              " ipProto: ", udfDesc.ipProto(), " innerEtherType: ", udfDesc.innerEtherType(),
              " priority: ", static_cast< int >( udfDesc.priority() ),
              " lagHashingMask: ", Agent::hex( udfDesc.packedLagHashingMask() ) );

    UdfModuleCreation creation( unit, udfDesc, *pktFmtIdToUdfId );
    if ( !creation.describe() || !creation.createUdf() || !creation.chooseOrCreatePktFmt() ||
         !creation.attach() ) {
        return cleanupUdfModuleFootprint( static_cast< int >( unit ), creation.hwFootprint(),
                                          pktFmtIdToUdfId );
    }
    return creation.commit();
}

// ---- The UDF module: removal and cleanup -----------------------------------------------------

void destroyUdfQualifierUdfModule( U32 unit,
                                   const UdfDesc& udfDesc,
                                   const QualIdList& quals,
                                   PktFmtIdToUdfId::Ptr pktFmtIdToUdfId )
{
    traceUdf( 4, "destroyUdfQualifierUdfModule" );
    const int sdkUnit = static_cast< int >( unit );
    const bcm_udf_id_t udfId = firstUdfId( quals );
    if ( udfDesc.lagHashing() ) {
        destroyUdfLagHashingModule( unit, udfId );
    }

    bcm_udf_pkt_format_id_t pktFmtId = 0;
    int formatCount = 0;
    SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_get_all( unit, udfId, 1, &pktFmtId, &actual )",
                         bcm_udf_pkt_format_get_all, sdkUnit, udfId, 1, &pktFmtId, &formatCount );
    AGENT_ASSERT_AS( "actual == 1", formatCount == 1 );
    SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_delete( unit, udfId, pktFmtId )",
                         bcm_udf_pkt_format_delete, sdkUnit, udfId, pktFmtId );

    const UdfId id( udfId );
    const UdfIdList& udfs = pktFmtIdToUdfId->pktFmtIdToUdfId( PktFmtId( pktFmtId ) );
    // KEPT: required: a UDF that the map does not list ends the process.
    AGENT_ASSERT( udfs.udfIdHas( id ) );
    if ( udfs.udfIds() == 1 ) {
        pktFmtIdToUdfId->pktFmtIdToUdfIdDel( PktFmtId( pktFmtId ) );
        SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_destroy( unit, pktFmtId )",
                             bcm_udf_pkt_format_destroy, sdkUnit, pktFmtId );
    } else {
        UdfIdList others = udfs;
        others.udfIdDel( id );
        pktFmtIdToUdfId->pktFmtIdToUdfIdIs( PktFmtId( pktFmtId ), std::move( others ) );
    }
    SDK_CHECKED_CALL_AS( "bcm_udf_destroy( unit, udfId )", bcm_udf_destroy, sdkUnit, udfId );
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
    const bcm_udf_id_t udfId = firstUdfId( hwFootprint.udfIds );
    AGENT_ASSERT_AS( "udfIdToCleanup != -1", udfId != -1 );

    const PktFmtId pktFmtId = hwFootprint.pktFmtId;
    if ( pktFmtId != PktFmtId() ) {
        const int rc = SDK_TRACED_CALL_AS(
            "bcm_udf_pkt_format_delete( unit, udfIdToCleanup, pktFmtIdToCleanup )",
            bcm_udf_pkt_format_delete, unit, udfId, getBcmUdfPktFmtId( pktFmtId ) );
        // KEPT: the detach is expected to fail. Only a failed attach leads here, so the UDF is not
        // attached.
        AGENT_ASSERT_AS( "rc != BCM_E_NONE", rc != Shim::sdk().BCM_E_NONE() );
        if ( !pktFmtIdToUdfId->pktFmtIdToUdfIdHas( pktFmtId ) ) {
            SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_destroy( unit, pktFmtIdToCleanup )",
                                 bcm_udf_pkt_format_destroy, unit, getBcmUdfPktFmtId( pktFmtId ) );
        }
    }
    SDK_CHECKED_CALL_AS( "bcm_udf_destroy( unit, udfIdToCleanup )", bcm_udf_destroy, unit, udfId );
    return {};
}

// ---- The UDF module: verification and inventory ----------------------------------------------

namespace {

/// Whether a layer is one of those that offset bases stand for.
bool isLayerOfABase( bcm_udf_layer_t layer )
{
    const Shim::SdkAccess& access = Shim::sdk();
    return layer == access.bcmUdfLayerL3OuterHeader() || layer == access.bcmUdfLayerL2Header() ||
           layer == access.bcmUdfLayerL3InnerHeader() ||
           layer == access.bcmUdfLayerL4InnerHeader() || layer == access.bcmUdfLayerL4OuterHeader();
}

} // namespace

void udfQualProgrammedInHwUdfModule( U32 unit,
                                     const UdfDesc& udfDesc,
                                     const QualIdList& quals,
                                     PktFmtIdToUdfId::PtrConst pktFmtIdToUdfId )
{
    const int sdkUnit = static_cast< int >( unit );
    const bcm_udf_id_t udfId = firstUdfId( quals );
    const int offset = udfDesc.offset();
    const int length = udfDesc.length();
    constexpr int bitsPerByte = 8;
    traceUdf( 4, "udfQualProgrammedInHwUdfModule", " mod: ", unit );

    bcm_udf_t udf;
    Shim::sdk().bcm_udf_t_init( &udf );
    const int rc =
        SDK_TRACED_CALL_AS( "bcm_udf_get( unit, udfId, &udf )", bcm_udf_get, sdkUnit, udfId, &udf );
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        traceUdf( 8, "udfQualProgrammedInHwUdfModule UDF Qual id: ", udfId,
                  " not programmed in hw!" );
        AGENT_FAIL( "0" );
    }

    AGENT_ASSERT_AS( "udf.width() == ( length * 8 )", udf.width() == length * bitsPerByte );
    // KEPT: the descriptor's raw offset, although creation adds the start correction: a UDF that
    // counts from behind a header does not pass this audit.
    AGENT_ASSERT_AS( "udf.start() == ( offset * 8 )", udf.start() == offset * bitsPerByte );
    // KEPT: required: any of these layers passes, not only that of the base; the text has one of
    // them twice.
    AGENT_ASSERT_AS(
        "udf.layer() == bcmUdfLayerL3OuterHeader || udf.layer() == bcmUdfLayerL2Header || "
        "udf.layer() == bcmUdfLayerL2Header || udf.layer() == bcmUdfLayerL3InnerHeader || "
        "udf.layer() == bcmUdfLayerL4InnerHeader || udf.layer() == bcmUdfLayerL4OuterHeader",
        isLayerOfABase( udf.layer() ) );

    // Room for two, so that a UDF that is attached to more than one is caught.
    bcm_udf_pkt_format_id_t formatIds[ 2 ] = {};
    int formatCount = 0;
    SDK_CHECKED_CALL_AS( "bcm_udf_pkt_format_get_all( unit, udfId, 2, pktFmtId, &actual )",
                         bcm_udf_pkt_format_get_all, sdkUnit, udfId, 2, formatIds, &formatCount );
    AGENT_ASSERT_AS( "actual == 1", formatCount == 1 );
    AGENT_ASSERT_AS( "pktFmtId[ 0 ]", formatIds[ 0 ] != 0 );

    const PktFmtId format( formatIds[ 0 ] );
    AGENT_ASSERT_AS( "pktFmtIdToUdfId->pktFmtIdToUdfIdHas( fmtId )",
                     pktFmtIdToUdfId->pktFmtIdToUdfIdHas( format ) );
    AGENT_ASSERT_AS( "udfs.udfIdHas( id )",
                     pktFmtIdToUdfId->pktFmtIdToUdfId( format ).udfIdHas( UdfId( udfId ) ) );
}

UdfIdList getAllProgrammedUdfIdsUdfModule( U32 unit )
{
    // KEPT: required: UDFs beyond these are not seen.
    constexpr int most = 128;
    bcm_udf_id_t udfIds[ most ] = {};
    int count = 0;
    SDK_CHECKED_CALL_AS( "bcm_udf_get_all( unit, max, udfIds, &numUdfs )", bcm_udf_get_all,
                         static_cast< int >( unit ), most, udfIds, &count );
    traceUdf( 8, " retrieve ", count, " UDFs from HW" );
    UdfIdList list;
    for ( int i = 0; i < std::min( count, most ); ++i ) {
        list.udfIdIs( UdfId( udfIds[ i ] ) );
    }
    return list;
}

UdfChunkPosList getUdfChunkPosModule( U32 unit, const QualIdList& quals )
{
    UdfChunkPosList udfChunkPosList;
    // A copy: the caller's list may change while the SDK is called.
    const QualIdList ids = quals;
    for ( const U32 id : ids ) {
        bcm_udf_t udf;
        Shim::sdk().bcm_udf_t_init( &udf );
        SDK_CHECKED_CALL_AS( "bcm_udf_get( unit, udfId, &udfInfo )", bcm_udf_get,
                             static_cast< int >( unit ), static_cast< bcm_udf_id_t >( id ), &udf );
        for ( UdfChunkPos i = 0; i < hardwareChunks; ++i ) {
            if ( ( udf.hw_bmap() >> i & 1U ) != 0 ) {
                AGENT_ASSERT( !udfChunkPosList.udfChunkPosHas( i ) );
                udfChunkPosList.udfChunkPosIs( i );
            }
        }
    }
    return udfChunkPosList;
}

// ---- LAG hashing -----------------------------------------------------------------------------

void createUdfLagHashingModule( U32 unit, bcm_udf_id_t udfId, const UdfDesc& udfDesc )
{
    traceUdf( 4, "createUdfLagHashingModule", " unit ", unit, " udfId ", udfId );
    bcm_udf_hash_config_t config;
    Shim::sdk().bcm_udf_hash_config_t_init( &config );
    describeHash( udfDesc, udfId, config );
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_add( unit, BCM_UDF_HASH_ADD_O_NONE, &hash_config )",
                         bcm_udf_hash_config_add, static_cast< int >( unit ),
                         Shim::sdk().BCM_UDF_HASH_ADD_O_NONE(), &config );
    traceUdf( 4, " Added lag hashing config for Udf Id: ", udfId );
}

void destroyUdfLagHashingModule( U32 unit, bcm_udf_id_t udfId )
{
    traceUdf( 4, "destroyUdfLagHashingModule", " unit ", unit, " udfId ", udfId );
    bcm_udf_hash_config_t config;
    Shim::sdk().bcm_udf_hash_config_t_init( &config );
    config.udf_idIs( udfId );
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_delete( unit, &hash_config )",
                         bcm_udf_hash_config_delete, static_cast< int >( unit ), &config );
    traceUdf( 4, "Removed lag hashing config for Udf Id: ", udfId );
}

UdfIdList getAllProgrammedLagHashingUdfIdsUdfModule( U32 unit )
{
    const int sdkUnit = static_cast< int >( unit );
    int count = 0;
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_get_all( unit, 0, NULL, &numUdfs )",
                         bcm_udf_hash_config_get_all, sdkUnit, 0, nullptr, &count );
    std::vector< bcm_udf_hash_config_t > configs( static_cast< std::size_t >( count ) );
    for ( bcm_udf_hash_config_t& config : configs ) {
        Shim::sdk().bcm_udf_hash_config_t_init( &config );
    }
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_get_all( unit, numUdfs, hashConfigs, &numUdfs )",
                         bcm_udf_hash_config_get_all, sdkUnit, count, configs.data(), &count );
    configs.resize( std::min( configs.size(), static_cast< std::size_t >( count ) ) );
    traceUdf( 8, " retrieve ", count, " UDFs from HW" );
    UdfIdList list;
    for ( const bcm_udf_hash_config_t& config : configs ) {
        traceUdf( 8, " udfId is  ", config.udf_id() );
        list.udfIdIs( UdfId( config.udf_id() ) );
    }
    return list;
}

void udfLagHashingProgrammedInModule( U32 unit, const QualIdList& quals, const UdfDesc& udfDesc )
{
    // Read before the SDK is called: the caller's may change meanwhile.
    const bcm_udf_id_t udfId = firstUdfId( quals );
    const U32 expectedMask = udfDesc.packedLagHashingMask();
    const U32 expectedLength = udfDesc.length();
    bcm_udf_hash_config_t config;
    Shim::sdk().bcm_udf_hash_config_t_init( &config );
    config.udf_idIs( udfId );
    SDK_CHECKED_CALL_AS( "bcm_udf_hash_config_get( unit, &hash_config )", bcm_udf_hash_config_get,
                         static_cast< int >( unit ), &config );

    const U32 mask = packedHashMask( config );
    traceUdf( 4, "udfLagHashingProgrammedInModule", " unit: ", unit, " udfId: ", udfId,
              "Hardware: mask_length: ", config.mask_length(), " mask: ", Agent::hex( mask ) );
    // KEPT: required: only the first four bytes are compared.
    AGENT_ASSERT_AS( "lagHashingMask == hash_mask", expectedMask == mask );
    AGENT_ASSERT_AS( "udfDesc.length() == hash_config.mask_length()",
                     expectedLength == config.mask_length() );
}

// ---- The flexible parser: chunks -------------------------------------------------------------

namespace {

// The texts of calls that are made at several places.
constexpr const char* readFormatText = "bcm_udf_abstract_pkt_format_info_get( unit, apf, &pfi )";
constexpr const char* readChunksText = "bcm_udf_chunk_info_get( unit, udfId, &chunkInfo )";
constexpr const char* destroyUdfText = "bcm_udf_destroy( unit, udfId )";

bcm_udf_abstract_pkt_format_info_t
readFormat( const Shim::CallSite& site, U32 unit, bcm_udf_abstract_pkt_format_t apf )
{
    bcm_udf_abstract_pkt_format_info_t pfi;
    Shim::sdk().bcm_udf_abstract_pkt_format_info_t_init( &pfi );
    Shim::checkedCall( apiTraceHandle_, site,
                       &Shim::SdkAccess::bcm_udf_abstract_pkt_format_info_get,
                       static_cast< int >( unit ), apf, &pfi );
    return pfi;
}

bcm_udf_chunk_info_t readChunks( const Shim::CallSite& site, U32 unit, U32 udfId )
{
    bcm_udf_chunk_info_t chunkInfo;
    Shim::sdk().bcm_udf_chunk_info_t_init( &chunkInfo );
    Shim::checkedCall( apiTraceHandle_, site, &Shim::SdkAccess::bcm_udf_chunk_info_get,
                       static_cast< int >( unit ), static_cast< bcm_udf_id_t >( udfId ),
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
ChunkSet
readReservedChunks( const Shim::CallSite& site, U32 unit, bcm_udf_abstract_pkt_format_t apf )
{
    // DIFFERS: HSDK is asked which chunks are free, and nothing is traced of it.
    const auto pfi = readFormat( site, unit, apf );
    const ChunkSet used{ pfi.chunk_bmap_used() };
    const ChunkSet unavailable{ pfi.unavail_chunk_bmap() };
    const ChunkSet reserved{ used.bits | unavailable.bits };
    Agent::trace( _defaultTraceHandle(), 8, "getUdfReservedBitmap", " apf ", apf, " bitmap size ",
                  chunksOfFormat, " max chunks ", pfi.num_chunks_max(), " used bmap ", used,
                  " unavailBitmap ", unavailable, " reserved bitmap ", reserved );
    return reserved;
}

} // namespace

Agent::Bitmap::Ptr getUdfReservedBitmap( U32 unit, bcm_udf_abstract_pkt_format_t apf )
{
    const ChunkSet reserved = readReservedChunks( SDK_CALL_SITE( readFormatText ), unit, apf );
    Agent::Bitmap::Ptr bitmap( new Agent::Bitmap( chunksOfFormat ) );
    for ( U32 i = 0; i < chunksOfFormat; ++i ) {
        if ( reserved.has( i ) ) {
            bitmap->bitIs( i, true );
        }
    }
    return bitmap;
}

UdfChunkPosList getUdfChunkPosFlexParser( U32 unit, const QualIdList& qualIds )
{
    traceUdf( 8, "getUdfChunkPosFlexParser" );
    UdfChunkPosList udfChunkPosList;
    // A copy: the caller's list may change while the SDK is called.
    const QualIdList ids = qualIds;
    for ( const U32 id : ids ) {
        const auto chunkInfo = readChunks( SDK_CALL_SITE( readChunksText ), unit, id );
        const ChunkSet chunks{ chunkInfo.chunk_bmap() };
        for ( UdfChunkPos i = 0; i < chunksOfFormat; ++i ) {
            if ( chunks.has( i ) ) {
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
/// KEPT: required: one chunk, whatever is requested. The search does not mark what it has found, so
/// every pass finds the same one. The SDK is given the full width.
/// DIFFERS: HSDK is offered as many chunks as are requested.
ChunkSet chosenChunks( ChunkSet reserved, U32 requested )
{
    ChunkSet chosen;
    for ( U32 i = 0; i < requested; ++i ) {
        const auto lowestFree = static_cast< U32 >( std::countr_one( reserved.bits ) );
        AGENT_ASSERT_AS( "bit < chunksOfFormat", lowestFree < chunksOfFormat );
        chosen.add( lowestFree );
    }
    return chosen;
}

/// Checks that every chunk of removed UDFs was reserved in their format before.
void assertChunksWereReserved( ChunkSet removed, ChunkSet reserved )
{
    for ( U32 i = removed.lowest(); i < chunksOfFormat; i = removed.lowest() ) {
        AGENT_ASSERT_AS( "udfBmap->isBitSet( i )", reserved.has( i ) );
        removed.remove( i );
    }
    // DIFFERS: HSDK does not see a chunk beyond the sixteen.
    AGENT_ASSERT_AS( "!progChunkBmap", removed.bits == 0 );
}

/// Destroys the UDFs of a qualifier, all of which must be on the same chunks of the format.
void removeUdfs( const RemovalSites& sites,
                 U32 unit,
                 const QualIdList& qualIds,
                 bcm_udf_abstract_pkt_format_t apf )
{
    // A copy: the caller's list may change while the SDK is called.
    const QualIdList ids = qualIds;
    traceUdf( 4, "destroyUdfQualifierFlexParser" );
    const ChunkSet start = readReservedChunks( sites.readStart, unit, apf );
    // DIFFERS: HSDK names the format here, and shows the free chunks.
    traceUdf( 8, "destroyUdfQualifierFlexParser", " mod: ", unit, " Flex bitmap start: ", start );

    ChunkSet removed;
    for ( const U32 id : ids ) {
        const auto chunkInfo = readChunks( sites.readChunks, unit, id );
        const ChunkSet chunks{ chunkInfo.chunk_bmap() };
        // DIFFERS: HSDK fails another assertion, and compares also with a UDF on no chunk.
        AGENT_ASSERT_AS( "progChunkBmap == chunkBmap", removed.bits == 0 || removed == chunks );
        removed = chunks;
        // DIFFERS: HSDK does not trace the UDF's format.
        traceUdf( 8, " mod: ", unit, " Abstract pkt format: ", chunkInfo.abstract_pkt_format() );
        Shim::checkedCall( apiTraceHandle_, sites.destroyUdf, &Shim::SdkAccess::bcm_udf_destroy,
                           static_cast< int >( unit ), static_cast< bcm_udf_id_t >( id ) );
    }
    // DIFFERS: HSDK checks that the chunks were not free.
    assertChunksWereReserved( removed, start );
    // DIFFERS: HSDK shows the free chunks.
    const ChunkSet end = readReservedChunks( sites.readEnd, unit, apf );
    traceUdf( 8, "destroyUdfQualifierFlexParser", " mod: ", unit, " Flex bitmap end: ", end );
}

} // namespace

QualIdList
createUdfQualifierFlexParser( U32 unit, const UdfDesc& udfDesc, bcm_udf_abstract_pkt_format_t apf )
{
    // A copy: the caller's descriptor may change while the SDK is called.
    const UdfDesc desc = udfDesc;
    int rc = Shim::sdk().BCM_E_NONE();
    QualIdList qualIds;
    UdfHwProgrammingFootprint hwFootprint;
    traceUdf( 4, "createUdfQualifierFlexParser", " mod:", unit, " ethType: ", desc.ethType(),
              " appType: ", static_cast< unsigned >( desc.appType() ), " offset: ", desc.offset(),
              " length: ", desc.length() );

    const ChunkSet reserved = readReservedChunks( SDK_CALL_SITE( readFormatText ), unit, apf );
    const U32 requested = chunksNeeded( desc.length() );
    // DIFFERS: HSDK counts the free chunks in two ways and takes the smaller number.
    const U32 avail = chunksOfFormat - reserved.count();
    if ( requested > avail ) {
        const std::string message = notEnoughChunksText( avail, requested );
        // DIFFERS: HSDK has no blank behind "mod:", and names the chunks that are marked free.
        traceUdf( 1, "createUdfQualifierFlexParser", "mod: ", unit, " Msg: ", message );
        return cleanupUdfFlexParserFootprint( static_cast< int >( unit ), hwFootprint, apf );
    }

    const ChunkSet chosen = chosenChunks( reserved, requested );
    program_abstract_pkt_type( unit, desc, apf, chosen.bits, rc, qualIds, hwFootprint );
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        cleanupUdfFlexParserFootprint( static_cast< int >( unit ), hwFootprint, apf );
        qualIds.clear();
    }
    // DIFFERS: HSDK shows the free chunks.
    const ChunkSet now = readReservedChunks( SDK_CALL_SITE( readFormatText ), unit, apf );
    traceUdf( 4, "createUdfQualifierFlexParser", "mod: ", unit, " Flex bitmap is now: ", now );
    return qualIds;
}

void program_abstract_pkt_type( U32 unit,
                                const UdfDesc& udfDesc,
                                bcm_udf_abstract_pkt_format_t apf,
                                U32 chunkBmap,
                                int& rc,
                                QualIdList& qualIds,
                                UdfHwProgrammingFootprint& hwFootprint )
{
    // Read before the SDK is called: the caller's descriptor may change meanwhile.
    const U32 offset = udfDesc.offset();
    const U32 length = udfDesc.length();
    const auto pfi = readFormat( SDK_CALL_SITE( readFormatText ), unit, apf );
    // DIFFERS: with HSDK a chunk must be free, not only unused.
    AGENT_ASSERT_AS( "!( chunkBmap & pfi.chunk_bmap_used() )",
                     ( chunkBmap & pfi.chunk_bmap_used() ) == 0 );

    bcm_udf_chunk_info_t chunkInfo;
    Shim::sdk().bcm_udf_chunk_info_t_init( &chunkInfo );
    chunkInfo.offsetIs( offset * chunkBitsPerByte );
    // DIFFERS: HSDK is given no width.
    chunkInfo.widthIs( length * chunkBitsPerByte );
    // DIFFERS: the record of HSDK has a set of the SDK's.
    chunkInfo.chunk_bmapIs( chunkBmap );
    chunkInfo.abstract_pkt_formatIs( apf );

    bcm_udf_id_t createdUdfId = 0;
    rc = SDK_TRACED_CALL_AS( "bcm_udf_chunk_create( unit, NULL, &chunkInfo, &udfId )",
                             bcm_udf_chunk_create, static_cast< int >( unit ), nullptr, &chunkInfo,
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

void destroyUdfQualifierFlexParser( U32 unit,
                                    const QualIdList& qualIds,
                                    bcm_udf_abstract_pkt_format_t apf )
{
    static constexpr RemovalSites sites{
        .readStart = SDK_CALL_SITE( readFormatText ),
        .readChunks = SDK_CALL_SITE( readChunksText ),
        .destroyUdf = SDK_CALL_SITE( destroyUdfText ),
        .readEnd = SDK_CALL_SITE( readFormatText ),
    };
    removeUdfs( sites, unit, qualIds, apf );
}

QualIdList cleanupUdfFlexParserFootprint( int unit,
                                          const UdfHwProgrammingFootprint& hwFootprint,
                                          bcm_udf_abstract_pkt_format_t apf )
{
    static constexpr RemovalSites sites{
        .readStart = SDK_CALL_SITE( readFormatText ),
        .readChunks = SDK_CALL_SITE( readChunksText ),
        .destroyUdf = SDK_CALL_SITE( destroyUdfText ),
        .readEnd = SDK_CALL_SITE( readFormatText ),
    };
    traceUdf( 8, "cleanupUdfFlexParserFootprint" );
    removeUdfs( sites, static_cast< U32 >( unit ), hwFootprint.udfIds, apf );
    return {};
}

// ---- The flexible parser: verification and inventory -----------------------------------------

namespace {

/// Whether a format is one of those that the library programs.
bool isAllowedFormat( bcm_udf_abstract_pkt_format_t apf )
{
    const Shim::SdkAccess& access = Shim::sdk();
    return apf == access.bcmUdfAbstractPktFormatKnownNonIp() ||
           apf == access.bcmUdfAbstractPktFormatL3Ipv4WithoutOptions() ||
           apf == access.bcmUdfAbstractPktFormatL3Ipv6() ||
           apf == access.bcmUdfAbstractPktFormatUnknownL3();
}

/// Checks what the SDK reads back of a UDF against its descriptor.
void assertExtent( const bcm_udf_chunk_info_t& chunkInfo, U32 offset, U32 length )
{
    // DIFFERS: HSDK allows ARP and all of IPv4 instead of known non-IP and IPv4 without options.
    AGENT_ASSERT_AS( "apf == bcmUdfAbstractPktFormatKnownNonIp || "
                     "apf == bcmUdfAbstractPktFormatL3Ipv4WithoutOptions || "
                     "apf == bcmUdfAbstractPktFormatL3Ipv6 || "
                     "apf == bcmUdfAbstractPktFormatUnknownL3",
                     isAllowedFormat( chunkInfo.abstract_pkt_format() ) );
    // KEPT: required: both are compared in bytes, although creation gives bits.
    // DIFFERS: HSDK compares the offset in bits.
    AGENT_ASSERT( chunkInfo.offset() == offset );
    AGENT_ASSERT( chunkInfo.width() == length );
}

} // namespace

void udfQualProgrammedInHwFlex( U32 unit, const UdfDesc& udfDesc, const QualIdList& qualIds )
{
    // Read before the SDK is called: the caller's may change meanwhile.
    const QualIdList ids = qualIds;
    const U32 offset = udfDesc.offset();
    const U32 length = udfDesc.length();
    traceUdf( 4, "udfQualProgrammedInHwFlex", " mod: ", unit, " ethType: ", udfDesc.ethType(),
              " appType: ", static_cast< unsigned >( udfDesc.appType() ), " offset: ", offset,
              " length: ", length );

    ChunkSet previous;
    for ( const U32 id : ids ) {
        const auto chunkInfo = readChunks( SDK_CALL_SITE( readChunksText ), unit, id );
        traceUdf( 8, "udfQualProgrammedInHwFlex", "mod: ", unit,
                  " Chunk info offset: ", chunkInfo.offset(), " offset: ", offset );
        traceUdf( 8, "udfQualProgrammedInHwFlex", "mod: ", unit,
                  " Abstract pkt format: ", chunkInfo.abstract_pkt_format() );
        assertExtent( chunkInfo, offset, length );
        const ChunkSet chunks{ chunkInfo.chunk_bmap() };
        // DIFFERS: HSDK fails another assertion, and compares also with a UDF on no chunk.
        AGENT_ASSERT_AS( "progChunkBmap == chunkBmap", previous.bits == 0 || previous == chunks );
        // KEPT: required: one chunk for two bytes, although creation gives one chunk only: a longer
        // UDF does not pass this audit.
        AGENT_ASSERT_AS( "chunks == setChunks", chunksNeeded( length ) == chunks.count() );
        previous = chunks;
    }
}

UdfIdList getAllProgrammedUdfIdsUdfFlexParser( U32 unit )
{
    traceUdf( 4, "getAllProgrammedUdfIdsUdfFlexParser", " mod:", unit );
    static constexpr Shim::CallSite site = SDK_CALL_SITE(
        "bcm_udf_abstract_pkt_format_object_list_get( unit, absPktFmt, max, udfIds, &numUdfs )" );
    UdfIdList list;
    for ( const bcm_udf_abstract_pkt_format_t absPktFmt : udfAbstractPktFmt() ) {
        const UdfsOfFormat udfs = readUdfsOfFormat( apiTraceHandle_, site, unit, absPktFmt );
        traceUdf( 8, "getAllProgrammedUdfIdsUdfFlexParser", " mod:", unit,
                  " abstract packet format: ", absPktFmt, " has ", udfs.count, " UDFS" );
        udfs.addTo( list );
    }
    return list;
}

} // namespace PeloraTcam
