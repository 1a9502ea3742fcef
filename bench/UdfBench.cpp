// Programming and removing a user-defined field through the UDF module: alone, and with packet
// formats present, each of which is read back and compared.
//
// There are two floors: the bare SDK calls; and the SDK calls with what else these operations have
// to do, written by hand: leave records in the ring-buffer trace, keep the map of packet formats,
// give the result. The budget is that of the second.

#include "bench/AnsweringSdk.h"
#include "bench/Benchmarks.h"
#include "bench/LocksByHand.h"
#include "bench/PairTable.h"

#include "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.h"
#include "PeloraTcam/UdfCommon.h"
#include "agent/base/RingTrace.h"
#include "sdk/SdkAccess.h"

#include <string>
#include <utility>
#include <vector>

namespace Bench {

namespace {

using PeloraTcam::PktFmtId;
using PeloraTcam::PktFmtIdToUdfId;
using PeloraTcam::QualIdList;
using PeloraTcam::UdfDesc;
using PeloraTcam::UdfId;
using PeloraTcam::UdfIdList;

constexpr int unit = 0;
constexpr int firstFormatId = 1000;

UdfDesc desc()
{
    UdfDesc desc;
    desc.baseIs( PeloraTcam::UdfBaseL3Header_ );
    desc.ethTypeIs( 0x0800 );
    desc.ipProtoIs( 6 );
    desc.offsetIs( 2 );
    desc.lengthIs( 4 );
    return desc;
}

/// That many packet formats of one user each; what the SDK holds for them never matches.
PktFmtIdToUdfId::Ptr mapOf( int formats )
{
    PktFmtIdToUdfId::Ptr map( new PktFmtIdToUdfId );
    for ( int i = 0; i < formats; ++i ) {
        UdfIdList udfs;
        udfs.udfIdIs( UdfId( firstFormatId + i ) );
        map->pktFmtIdToUdfIdIs( PktFmtId( firstFormatId + i ), udfs );
    }
    return map;
}

void programAndRemove( const UdfDesc& udfDesc, const PktFmtIdToUdfId::Ptr& map )
{
    const QualIdList quals = PeloraTcam::createUdfQualifierUdfModule( unit, udfDesc, map );
    PeloraTcam::destroyUdfQualifierUdfModule( unit, udfDesc, quals, map );
}

/// What a creation asks the SDK for.
struct RequestByHand
{
    RequestByHand()
    {
        Shim::sdk_->bcm_udf_t_init( &udf );
        Shim::sdk_->bcm_udf_pkt_format_info_t_init( &format );
        Shim::sdk_->bcm_udf_alloc_hints_t_init( &hints );
        Shim::sdk_->BCM_FIELD_QSET_INIT( &qset );
        udf.startIs( 16 );
        udf.widthIs( 32 );
        udf.layerIs( Shim::sdk_->bcmUdfLayerL3OuterHeader() );
        format.ethertypeIs( 0x0800 );
        format.ethertype_maskIs( 0xFFFF );
        format.tunnelIs( Shim::sdk_->bcmUdfPktFormatTunnelNone() );
        format.outer_ipIs( Shim::sdk_->bcmUdfPktFormatIp4() );
        format.vlan_tagIs( Shim::sdk_->bcmUdfPktFormatVlanTagAny() );
        format.ip_protocolIs( 6 );
        format.ip_protocol_maskIs( 0xFF );
    }

    bcm_udf_t udf;
    bcm_udf_pkt_format_info_t format;
    bcm_udf_alloc_hints_t hints;
    bcm_field_qset_t qset;
};

/// What a floor does besides SDK calls: nothing.
struct NothingBesides : BareCalls
{
    static void asked( const UdfDesc& ) {}

    static void looking( int, const bcm_udf_pkt_format_info_t&, const bcm_udf_pkt_format_info_t& )
    {}

    static void creatingFormat() {}

    static QualIdList made( PktFmtIdToUdfId&, int, int ) { return {}; }

    static void removing() {}

    static void removed( PktFmtIdToUdfId&, int ) {}
};

const Agent::TraceHandle handle( "Bench" );

/// All that is required of the operations.
struct AllThatIsRequired : RequiredCalls
{
    // clang-format off
    static void asked( const UdfDesc& desc )
    {
        Agent::traceBoth( handle, 4, "createUdfQualifierUdfModule",
                          " mod:", unit, " ethType: ", desc.ethType(),
                          " appType: ", static_cast< unsigned >( desc.appType() ),
                          " base: ", desc.base(), " offset: ", desc.offset(),
                          " length: ", desc.length(), " ipProto: ", desc.ipProto(),
                          " innerEtherType: ", desc.innerEtherType(),
                          " priority: ", static_cast< int >( desc.priority() ),
                          " lagHashingMask: ", Agent::hex( desc.packedLagHashingMask() ) );
    }

    static void looking( int id,
                         const bcm_udf_pkt_format_info_t& wanted,
                         const bcm_udf_pkt_format_info_t& stored )
    {
        Agent::traceBoth( handle, 8, " Looking at pkt fmt id: ", id );
        Agent::traceBoth( handle, 8, " Packet fields: ",
                          " EtherType: ", wanted.ethertype(), " ", stored.ethertype(),
                          " L2: ", wanted.l2(), " ", stored.l2(),
                          " Vlan: ", wanted.vlan_tag(), " ", stored.vlan_tag(),
                          " Outer Ip: ", wanted.outer_ip(), " ", stored.outer_ip(),
                          " Tunnel: ", wanted.tunnel(), " ", stored.tunnel(),
                          " ip_protocol: ", wanted.ip_protocol(), " ", stored.ip_protocol(),
                          " ip_protocol_mask: ", wanted.ip_protocol_mask(), " ",
                          stored.ip_protocol_mask(),
                          " inner_ip: ", wanted.inner_ip(), " ", stored.inner_ip() );
    }

    // clang-format on

    static void creatingFormat()
    {
        Agent::traceBoth( handle, 8, " Creating new pkt format object" );
    }

    static QualIdList made( PktFmtIdToUdfId& map, int udfId, int formatId )
    {
        UdfIdList udfs;
        udfs.udfIdIs( UdfId( udfId ) );
        map.pktFmtIdToUdfIdIs( PktFmtId( formatId ), std::move( udfs ) );
        Agent::traceBoth( handle, 8, " Udf Id: ", udfId, " Pkt Fmt Id: ", formatId );
        QualIdList quals;
        quals.qualIdIs( static_cast< Agent::U32 >( udfId ) );
        return quals;
    }

    static void removing() { Agent::traceBoth( handle, 4, "destroyUdfQualifierUdfModule" ); }

    static void removed( PktFmtIdToUdfId& map, int formatId )
    {
        map.pktFmtIdToUdfIdDel( PktFmtId( formatId ) );
    }
};

/// Whether one of the packet formats is the one wanted.
template< class Besides >
bool isPresent( const std::vector< bcm_udf_pkt_format_id_t >& formats,
                const bcm_udf_pkt_format_info_t& wanted )
{
    for ( const bcm_udf_pkt_format_id_t id : formats ) {
        bcm_udf_pkt_format_info_t stored;
        Shim::sdk_->bcm_udf_pkt_format_info_t_init( &stored );
        Besides::checked(
            [ & ] { return Shim::sdk_->bcm_udf_pkt_format_info_get( unit, id, &stored ); } );
        Besides::looking( id, wanted, stored );
        if ( PeloraTcam::operator==( wanted, stored ) ) {
            return true;
        }
    }
    return false;
}

template< class Besides >
void removeByHand( bcm_udf_id_t udfId, PktFmtIdToUdfId& map )
{
    Besides::removing();
    bcm_udf_pkt_format_id_t formatId = 0;
    int actual = 0;
    int rc = Besides::checked( [ & ] {
        return Shim::sdk_->bcm_udf_pkt_format_get_all( unit, udfId, 1, &formatId, &actual );
    } );
    rc |= Besides::checked(
        [ & ] { return Shim::sdk_->bcm_udf_pkt_format_delete( unit, udfId, formatId ); } );
    Besides::removed( map, formatId );
    rc |= Besides::checked(
        [ & ] { return Shim::sdk_->bcm_udf_pkt_format_destroy( unit, formatId ); } );
    rc |= Besides::checked( [ & ] { return Shim::sdk_->bcm_udf_destroy( unit, udfId ); } );
    benchmark::DoNotOptimize( rc );
}

template< class Besides >
[[gnu::noinline]] void
programAndRemoveByHand( const UdfDesc& udfDesc,
                        const std::vector< bcm_udf_pkt_format_id_t >& formats,
                        PktFmtIdToUdfId& map )
{
    Besides::asked( udfDesc );
    RequestByHand asked;
    bcm_udf_id_t udfId = 0;
    int rc = Besides::traced(
        [ & ] { return Shim::sdk_->bcm_udf_create( unit, &asked.hints, &asked.udf, &udfId ); } );
    if ( isPresent< Besides >( formats, asked.format ) ) {
        return;
    }
    Besides::creatingFormat();
    bcm_udf_pkt_format_id_t formatId = 0;
    rc |= Besides::traced( [ & ] {
        return Shim::sdk_->bcm_udf_pkt_format_create( unit, 0, &asked.format, &formatId );
    } );
    rc |= Besides::traced(
        [ & ] { return Shim::sdk_->bcm_udf_pkt_format_add( unit, udfId, formatId ); } );
    const QualIdList quals = Besides::made( map, udfId, formatId );
    benchmark::DoNotOptimize( rc );
    removeByHand< Besides >( udfId, map );
}

constexpr Budget operationBudget{ .ratio = 1.25, .instructions = 1.25 };

template< class Besides >
void registerWithFormats( const std::string& circumstances,
                          int count,
                          const Scene& scene,
                          Budget budget )
{
    std::vector< bcm_udf_pkt_format_id_t > ids;
    for ( int i = 0; i < count; ++i ) {
        ids.push_back( firstFormatId + i );
    }
    const PktFmtIdToUdfId::Ptr map = mapOf( count );
    registerPair(
        { "UDF: program, remove" + circumstances, scene, budget },
        [ map, udfDesc = desc() ] { programAndRemove( udfDesc, map ); },
        [ map, ids, udfDesc = desc() ] {
            programAndRemoveByHand< Besides >( udfDesc, ids, *map );
        } );
}

} // namespace

void registerUdfBenchmarks()
{
    registerWithFormats< AllThatIsRequired >( "", 0, {}, operationBudget );
    registerWithFormats< AllThatIsRequired >( ", 1 format", 1, {}, operationBudget );
    registerWithFormats< AllThatIsRequired >( ", 16 formats", 16, {}, operationBudget );
    registerWithFormats< AllThatIsRequired >( ", 128 formats", 128, {}, operationBudget );
    registerWithFormats< NothingBesides >( "; floor: bare calls", 0, {}, {} );
    registerWithFormats< NothingBesides >( ", 1 format; floor: bare calls", 1, {}, {} );
    registerWithFormats< NothingBesides >( ", 16 formats; floor: bare calls", 16, {}, {} );
    registerWithFormats< NothingBesides >( ", 128 formats; floor: bare calls", 128, {}, {} );
    registerWithFormats< NothingBesides >( ", tracing on", 0, { .tracing = true }, {} );
}

} // namespace Bench
