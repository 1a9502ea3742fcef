// Programming and removing a user-defined field through the flexible parser, both variants, against
// the SDK calls by hand.

#include "bench/Benchmarks.h"
#include "bench/ConstantSdk.h"
#include "bench/LocksByHand.h"
#include "bench/PairTable.h"

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "agent/base/RingTrace.h"
#include "sdk/SdkAccess.h"

#include <bit>
#include <type_traits>

namespace Bench {

namespace {

using PeloraTcam::QualIdList;
using PeloraTcam::UdfDesc;

constexpr int unit = 0;

/// A flexible parser of which every reading says the same: chunk 0 of a format is free for who
/// programs a UDF, and taken by that UDF for who removes it. What it says does not depend on what
/// it was asked before, so that it costs the same each time.
class FlexParserSdk final : public ConstantSdk
{
  public:
    int bcm_udf_chunk_info_get( int, bcm_udf_id_t, bcm_udf_chunk_info_t* info ) override
    {
        info->chunk_bmapIs( takenChunk );
        return 0;
    }

    int bcm_udf_abstract_pkt_format_info_get( int,
                                              bcm_udf_abstract_pkt_format_t,
                                              bcm_udf_abstract_pkt_format_info_t* info ) override
    {
        info->unavail_chunk_bmapIs( takenChunk );
        return 0;
    }

    int bcm_udf_multi_chunk_info_get( int, bcm_udf_id_t, bcm_udf_multi_chunk_info_t* info ) override
    {
        info->two_byte_chunk_bmap().w[ 0 ] = takenChunk;
        return 0;
    }

    int bcm_udf_multi_abstract_pkt_format_info_get(
        int,
        bcm_udf_abstract_pkt_format_t,
        bcm_udf_multi_abstract_pkt_format_info_t* info ) override
    {
        info->num_chunks_availableIs( 15 );
        info->chunk_2b_bmap_avail().w[ 0 ] = ~takenChunk & 0xFFFF;
        return 0;
    }

    bool BCM_UDF_CBMP_CHUNK_TEST( const bcm_udf_cbmp_t& chunks, int chunk ) override
    {
        return ( chunks.w[ 0 ] >> chunk & 1U ) != 0;
    }

    void BCM_UDF_CBMP_CHUNK_ADD( bcm_udf_cbmp_t& chunks, int chunk ) override
    {
        chunks.w[ 0 ] |= 1U << chunk;
    }

  private:
    static constexpr uint32_t takenChunk = 0b1;
};

UdfDesc requested()
{
    UdfDesc desc;
    desc.appTypeIs( PeloraTcam::UdfAppType::ipv6Acl );
    desc.offsetIs( 2 );
    desc.lengthIs( 2 );
    return desc;
}

// ---- The same SDK calls by hand: each in its order, and nothing else ---------------------------

uint32_t lowestOf( uint32_t chunks )
{
    return 1U << std::countr_zero( chunks );
}

template< class Calls >
uint32_t freeChunks( bcm_udf_abstract_pkt_format_t format )
{
    bcm_udf_abstract_pkt_format_info_t info;
    Shim::sdk_->bcm_udf_abstract_pkt_format_info_t_init( &info );
    Calls::checked(
        [ & ] { return Shim::sdk_->bcm_udf_abstract_pkt_format_info_get( unit, format, &info ); } );
    return ~( info.chunk_bmap_used() | info.unavail_chunk_bmap() ) & 0xFFFF;
}

/// The SDK's own operation is what there is to look into its set of chunks.
uint32_t chunksOf( const bcm_udf_cbmp_t& set )
{
    uint32_t chunks = 0;
    for ( int i = 0; i < 16; ++i ) {
        chunks |= Shim::sdk_->BCM_UDF_CBMP_CHUNK_TEST( set, i ) ? 1U << i : 0;
    }
    return chunks;
}

template< class Calls >
bcm_udf_multi_abstract_pkt_format_info_t readFormatHsdk( bcm_udf_abstract_pkt_format_t format )
{
    bcm_udf_multi_abstract_pkt_format_info_t info;
    Shim::sdk_->bcm_udf_multi_abstract_pkt_format_info_t_init( &info );
    Calls::checked( [ & ] {
        return Shim::sdk_->bcm_udf_multi_abstract_pkt_format_info_get( unit, format, &info );
    } );
    return info;
}

template< class Calls >
uint32_t freeChunksHsdk( bcm_udf_abstract_pkt_format_t format )
{
    return chunksOf( readFormatHsdk< Calls >( format ).chunk_2b_bmap_avail() );
}

template< class Calls >
[[gnu::noinline]] void programAndRemoveByHand( const UdfDesc& desc )
{
    const auto format = Shim::sdk_->bcmUdfAbstractPktFormatL3Ipv6();
    bcm_udf_chunk_info_t chosen;
    Shim::sdk_->bcm_udf_chunk_info_t_init( &chosen );
    chosen.offsetIs( desc.offset() * 8U );
    chosen.widthIs( desc.length() * 8U );
    chosen.chunk_bmapIs( lowestOf( freeChunks< Calls >( format ) ) &
                         freeChunks< Calls >( format ) );
    chosen.abstract_pkt_formatIs( format );
    bcm_udf_id_t id = 0;
    Calls::traced(
        [ & ] { return Shim::sdk_->bcm_udf_chunk_create( unit, nullptr, &chosen, &id ); } );
    benchmark::DoNotOptimize( freeChunks< Calls >( format ) );

    bcm_udf_chunk_info_t made;
    uint32_t free = freeChunks< Calls >( format );
    Shim::sdk_->bcm_udf_chunk_info_t_init( &made );
    Calls::checked( [ & ] { return Shim::sdk_->bcm_udf_chunk_info_get( unit, id, &made ); } );
    Calls::checked( [ & ] { return Shim::sdk_->bcm_udf_destroy( unit, id ); } );
    free &= made.chunk_bmap() & freeChunks< Calls >( format );
    benchmark::DoNotOptimize( free );
}

template< class Calls >
[[gnu::noinline]] void programAndRemoveByHandHsdk( const UdfDesc& desc )
{
    const auto format = Shim::sdk_->bcmUdfAbstractPktFormatL3Ipv6();
    bcm_udf_multi_chunk_info_t chosen;
    Shim::sdk_->bcm_udf_multi_chunk_info_t_init( &chosen );
    chosen.offsetIs( desc.offset() * 8U );
    const int lowest = std::countr_zero( freeChunksHsdk< Calls >( format ) );
    const auto before = readFormatHsdk< Calls >( format );
    if ( Shim::sdk_->BCM_UDF_CBMP_CHUNK_TEST( before.chunk_2b_bmap_avail(), lowest ) ) {
        Shim::sdk_->BCM_UDF_CBMP_CHUNK_ADD( chosen.two_byte_chunk_bmap(), lowest );
    }
    chosen.abstract_pkt_formatIs( format );
    bcm_udf_id_t id = 0;
    Calls::traced(
        [ & ] { return Shim::sdk_->bcm_udf_multi_chunk_create( unit, nullptr, &chosen, &id ); } );
    benchmark::DoNotOptimize( freeChunksHsdk< Calls >( format ) );

    bcm_udf_multi_chunk_info_t made;
    uint32_t free = freeChunksHsdk< Calls >( format );
    Shim::sdk_->bcm_udf_multi_chunk_info_t_init( &made );
    Calls::checked( [ & ] { return Shim::sdk_->bcm_udf_multi_chunk_info_get( unit, id, &made ); } );
    Calls::checked( [ & ] { return Shim::sdk_->bcm_udf_destroy( unit, id ); } );
    free &= chunksOf( made.two_byte_chunk_bmap() );
    free |= freeChunksHsdk< Calls >( format );
    benchmark::DoNotOptimize( free );
}

// ---- The records that each of the two leaves in the ring-buffer trace --------------------------

const Agent::TraceHandle& traceHandle()
{
    static const Agent::TraceHandle handle( "Bench" );
    return handle;
}

template< class Statement = decltype( [] {} ), class... Pieces >
void record( Agent::TraceLevel level, Pieces&&... pieces )
{
    Agent::traceBoth< Statement >( traceHandle(), level, pieces... );
}

/// As the library packs it: a text of sixteen characters.
constexpr std::string_view chunksText = "1111111111111110";

/// The helper's two records and those that both variants write.
void recordTheOperations( const UdfDesc& desc, const QualIdList& quals )
{
    record( 4, "programUdfInHw", " mod:", unit, " udfDesc: ", desc );
    record( 4, "create", " mod:", unit, " ethType: ", desc.ethType(),
            " appType: ", static_cast< unsigned >( desc.appType() ), " offset: ", desc.offset(),
            " length: ", desc.length() );
    record( 4, "create", "mod: ", unit, " Flex bitmap is now: ", chunksText );
    record( 4, "removeUdfFromHw", " mod:", unit, " udfDesc: ", desc, " quals: ", quals );
    record( 4, "destroy" );
    record( 8, "destroy", " mod: ", unit, " Flex bitmap start: ", chunksText );
    record( 8, "destroy", " mod: ", unit, " Flex bitmap end: ", chunksText );
}

// ---- Rows --------------------------------------------------------------------------------------

constexpr Budget operationBudget{ .ratio = 1.25, .instructions = 1.4 };

/// The helper's way, against the calls with records and a list as result, as they are required,
/// and against the bare calls.
template< class Helper, class ByHand >
void registerVariant( const std::string& variant, Helper* helper, ByHand byHand )
{
    static FlexParserSdk sdk;
    const Scene scene{ .sdk = &sdk };
    const UdfDesc desc = requested();
    const auto ours = [ = ] {
        const QualIdList quals = helper->programUdfInHw( desc );
        helper->removeUdfFromHw( desc, quals );
    };
    const auto floor = [ = ] {
        QualIdList quals;
        quals.qualIdIs( 0 );
        recordTheOperations( desc, quals );
        byHand( desc, RequiredCalls() );
    };
    const std::string name = "flex UDF, " + variant + ": program, remove";
    registerPair( { name, scene, operationBudget }, ours, floor );
    registerPair( { name + "; floor: bare calls", scene, {} }, ours,
                  [ = ] { byHand( desc, BareCalls() ); } );
}

/// The record that only the variant of SDK-6 writes: for each UDF that it removes.
void recordTheRemovedUdf()
{
    record( 8, " mod: ", unit, " Abstract pkt format: ", bcm_udf_abstract_pkt_format_t{ 1 } );
}

} // namespace

void registerFlexParserBenchmarks()
{
    static const auto sdk6 = PeloraTcam::udfFlexParserHelperFactory( unit, 0, false );
    static const auto hsdk = PeloraTcam::udfFlexParserHsdkHelperFactory( unit, 0, false );
    registerVariant( "SDK-6", &*sdk6, []( const UdfDesc& desc, auto calls ) {
        if constexpr ( std::is_same_v< decltype( calls ), RequiredCalls > ) {
            recordTheRemovedUdf();
        }
        programAndRemoveByHand< decltype( calls ) >( desc );
    } );
    registerVariant( "HSDK", &*hsdk, []( const UdfDesc& desc, auto calls ) {
        programAndRemoveByHandHsdk< decltype( calls ) >( desc );
    } );
}

} // namespace Bench
