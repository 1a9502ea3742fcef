#include "PeloraTcam/PeloraTcamHsdkUdfEntryHelper.h"

#include "PeloraTcam/UdfChunks.h"
#include "PeloraTcam/UdfLogMessages.h"
#include "agent/base/Assert.h"
#include "agent/base/RingTrace.h"
#include "sdk/SdkCall.h"

#include <algorithm>
#include <optional>

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

// The texts of calls that are made at several places.
constexpr const char* readFormatText =
    "bcm_udf_multi_abstract_pkt_format_info_get( unit, apf, &pfi )";
constexpr const char* readChunksText = "bcm_udf_multi_chunk_info_get( unit, udfId, &chunkInfo )";
constexpr const char* destroyUdfText = "bcm_udf_destroy( unit, udfId )";

/// Whether a chunk is in a set of the SDK's.
bool contains( const bcm_udf_cbmp_t& cbmp, U32 chunk )
{
    return Shim::sdk().BCM_UDF_CBMP_CHUNK_TEST( cbmp, static_cast< int >( chunk ) );
}

/// The chunks of a set of the SDK's.
ChunkSet chunksOf( const bcm_udf_cbmp_t& cbmp )
{
    Shim::SdkAccess& access = Shim::sdk();
    ChunkSet chunks;
    for ( U32 i = 0; i < chunksOfFormat; ++i ) {
        if ( access.BCM_UDF_CBMP_CHUNK_TEST( cbmp, static_cast< int >( i ) ) ) {
            // Required, although it cannot fail: the loop ends there.
            AGENT_ASSERT_AS( "i < chunkBmap->size()", i < chunksOfFormat );
            chunks.add( i );
        }
    }
    return chunks;
}

bcm_udf_multi_abstract_pkt_format_info_t
readFormat( const Shim::CallSite& site, U32 unit, bcm_udf_abstract_pkt_format_t apf )
{
    bcm_udf_multi_abstract_pkt_format_info_t pfi;
    Shim::sdk().bcm_udf_multi_abstract_pkt_format_info_t_init( &pfi );
    Shim::checkedCall( apiTraceHandle_, site,
                       &Shim::SdkAccess::bcm_udf_multi_abstract_pkt_format_info_get,
                       static_cast< int >( unit ), apf, &pfi );
    return pfi;
}

bcm_udf_multi_chunk_info_t readChunks( const Shim::CallSite& site, U32 unit, U32 udfId )
{
    bcm_udf_multi_chunk_info_t chunkInfo;
    Shim::sdk().bcm_udf_multi_chunk_info_t_init( &chunkInfo );
    Shim::checkedCall( apiTraceHandle_, site, &Shim::SdkAccess::bcm_udf_multi_chunk_info_get,
                       static_cast< int >( unit ), static_cast< bcm_udf_id_t >( udfId ),
                       &chunkInfo );
    return chunkInfo;
}

} // namespace

const std::set< bcm_udf_abstract_pkt_format_t >& udfAbstractPktFmtHsdk()
{
    // DIFFERS: SDK-6 has IPv4 without options only, and known non-IP in the place of ARP.
    static const std::set< bcm_udf_abstract_pkt_format_t > formats = {
        Shim::sdk().bcmUdfAbstractPktFormatL3Ipv4(),
        Shim::sdk().bcmUdfAbstractPktFormatL3Ipv6(),
        Shim::sdk().bcmUdfAbstractPktFormatUnknownL3(),
        Shim::sdk().bcmUdfAbstractPktFormatArp(),
    };
    return formats;
}

UdfChunkPosList getUdfChunkPosFlexParserHsdk( U32 unit, const QualIdList& qualIds )
{
    traceUdf( 8, "getUdfChunkPosFlexParserHsdk" );
    UdfChunkPosList udfChunkPosList;
    // A copy: the caller's list may change while the SDK is called.
    const QualIdList ids = qualIds;
    for ( const U32 id : ids ) {
        const auto chunkInfo = readChunks( SDK_CALL_SITE( readChunksText ), unit, id );
        for ( UdfChunkPos i = 0; i < chunksOfFormat; ++i ) {
            if ( contains( chunkInfo.two_byte_chunk_bmap(), i ) ) {
                AGENT_ASSERT( !udfChunkPosList.udfChunkPosHas( i ) );
                udfChunkPosList.udfChunkPosIs( i );
            }
        }
    }
    return udfChunkPosList;
}

namespace {

/// The chunks that a new UDF is offered: the lowest free ones, as many as are requested.
///
/// DIFFERS: SDK-6 chooses one chunk, whatever is requested.
Agent::Bitmap::Ptr chosenChunks( ChunkSet free, U32 requested )
{
    Agent::Bitmap::Ptr chunkBmap( new Agent::Bitmap( chunksOfFormat ) );
    U32 chosen = 0;
    for ( U32 i = 0; i < chunksOfFormat && chosen < requested; ++i ) {
        if ( free.has( i ) ) {
            chunkBmap->bitIs( i, true );
            ++chosen;
        }
    }
    return chunkBmap;
}

/// What of the chunks that a new UDF is offered counts: how many there are, and the lowest.
struct Offer
{
    explicit Offer( const Agent::Bitmap& chunks )
        : count( chunks.numBitsInSetState() )
    {
        if ( count != 0 ) {
            const auto lowestBit = chunks.firstSetBit( 0, chunks.size() - 1 );
            // Required, although it cannot fail: there are bits.
            AGENT_ASSERT_AS( "found", lowestBit );
            lowest = *lowestBit;
        }
    }

    U32 count;
    U32 lowest = 0; ///< only if there is one
};

/// Puts the chunks that a new UDF is offered into its record.
///
/// KEPT: required: the same lowest chunk in every pass, however many were chosen. The search starts
/// over and does not mark what it has found.
void addChunks( const Offer& offer,
                const bcm_udf_cbmp_t& available,
                bcm_udf_multi_chunk_info_t& chunkInfo )
{
    for ( U32 i = 0; i < offer.count; ++i ) {
        // DIFFERS: with SDK-6 a chunk must be unused, but need not be free.
        AGENT_ASSERT_AS( "BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), bit )",
                         contains( available, offer.lowest ) );
        // DIFFERS: the record of SDK-6 has a number.
        Shim::sdk().BCM_UDF_CBMP_CHUNK_ADD( chunkInfo.two_byte_chunk_bmap(),
                                            static_cast< int >( offer.lowest ) );
    }
}

/// Checks that none of the chunks of removed UDFs was available in their format before.
void assertChunksWereTaken( ChunkSet removed, const bcm_udf_cbmp_t& available )
{
    for ( U32 i = removed.lowest(); i < chunksOfFormat; i = removed.lowest() ) {
        AGENT_ASSERT_AS( "!BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), i )",
                         !contains( available, i ) );
        removed.remove( i );
    }
    // DIFFERS: with SDK-6 a chunk beyond the sixteen is left over here.
    AGENT_ASSERT_AS( "!progChunkBmap->numBitsInSetState()", removed.count() == 0 );
}

/// Destroys the UDFs of a qualifier, all of which must be on the same chunks of the format.
void removeUdfs( const RemovalSites& sites,
                 U32 unit,
                 const QualIdList& qualIds,
                 bcm_udf_abstract_pkt_format_t apf )
{
    // A copy: the caller's list may change while the SDK is called.
    const QualIdList ids = qualIds;
    traceUdf( 4, "destroyUdfQualifierFlexParserHsdk" );
    const auto before = readFormat( sites.readStart, unit, apf );
    const ChunkSet start = chunksOf( before.chunk_2b_bmap_avail() );
    // DIFFERS: SDK-6 does not name the format here, and shows the reserved chunks.
    traceUdf( 8, "destroyUdfQualifierFlexParserHsdk", " mod: ", unit, " apf: ", apf,
              " Flex bitmap start: ", start );

    std::optional< ChunkSet > removed;
    for ( const U32 id : ids ) {
        const auto chunkInfo = readChunks( sites.readChunks, unit, id );
        const ChunkSet chunks = chunksOf( chunkInfo.two_byte_chunk_bmap() );
        // DIFFERS: SDK-6 fails another assertion, and does not compare with a UDF on no chunk.
        AGENT_ASSERT_AS( "areBitmapEqual( progChunkBmap, chunkBmap )",
                         !removed || *removed == chunks );
        removed = chunks;
        // DIFFERS: SDK-6 traces the UDF's format.
        Shim::checkedCall( apiTraceHandle_, sites.destroyUdf, &Shim::SdkAccess::bcm_udf_destroy,
                           static_cast< int >( unit ), static_cast< bcm_udf_id_t >( id ) );
    }
    // DIFFERS: SDK-6 checks that the chunks were reserved.
    assertChunksWereTaken( removed.value_or( ChunkSet() ), before.chunk_2b_bmap_avail() );
    const auto behind = readFormat( sites.readEnd, unit, apf );
    // DIFFERS: SDK-6 shows the reserved chunks.
    const ChunkSet end = chunksOf( behind.chunk_2b_bmap_avail() );
    traceUdf( 8, "destroyUdfQualifierFlexParserHsdk", " mod: ", unit, " Flex bitmap end: ", end );
}

} // namespace

QualIdList createUdfQualifierFlexParserHsdk( U32 unit,
                                             const UdfDesc& udfDesc,
                                             bcm_udf_abstract_pkt_format_t apf )
{
    // A copy: the caller's descriptor may change while the SDK is called.
    const UdfDesc desc = udfDesc;
    int rc = Shim::sdk().BCM_E_NONE();
    QualIdList qualIds;
    UdfHwProgrammingFootprint hwFootprint;
    traceUdf( 4, "createUdfQualifierFlexParserHsdk", " mod:", unit, " ethType: ", desc.ethType(),
              " appType: ", static_cast< unsigned >( desc.appType() ), " offset: ", desc.offset(),
              " length: ", desc.length() );

    // DIFFERS: SDK-6 reads which chunks are reserved, and traces it.
    const auto before = readFormat( SDK_CALL_SITE( readFormatText ), unit, apf );
    const ChunkSet free = chunksOf( before.chunk_2b_bmap_avail() );
    const U32 avail = free.count();
    const U32 requested = chunksNeeded( desc.length() );
    // DIFFERS: SDK-6 counts the free chunks in one way.
    if ( requested > std::min( before.num_chunks_available(), avail ) ) {
        const std::string message = notEnoughChunksText( avail, requested );
        // DIFFERS: SDK-6 has a blank behind "mod:", and one count only.
        traceUdf( 1, "createUdfQualifierFlexParserHsdk", "mod:", unit, " Msg: ", message );
        return cleanupUdfFlexParserFootprintHsdk( static_cast< int >( unit ), hwFootprint, apf );
    }

    program_abstract_pkt_type_hsdk( unit, desc, apf, chosenChunks( free, requested ), rc, qualIds,
                                    hwFootprint );
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        cleanupUdfFlexParserFootprintHsdk( static_cast< int >( unit ), hwFootprint, apf );
        qualIds.clear();
    }
    const auto behind = readFormat( SDK_CALL_SITE( readFormatText ), unit, apf );
    const ChunkSet now = chunksOf( behind.chunk_2b_bmap_avail() );
    // DIFFERS: SDK-6 shows the reserved chunks, here it is the free ones.
    traceUdf( 4, "createUdfQualifierFlexParserHsdk", "mod: ", unit, " Flex bitmap is now: ", now );
    return qualIds;
}

void program_abstract_pkt_type_hsdk( U32 unit,
                                     const UdfDesc& udfDesc,
                                     bcm_udf_abstract_pkt_format_t apf,
                                     Agent::Bitmap::Ptr chunkBmap,
                                     int& rc,
                                     QualIdList& qualIds,
                                     UdfHwProgrammingFootprint& hwFootprint )
{
    // Read before the SDK is called: descriptor and bitmap may change meanwhile.
    const U32 offset = udfDesc.offset();
    const U32 length = udfDesc.length();
    const Offer offer( *chunkBmap );
    const auto pfi = readFormat( SDK_CALL_SITE( readFormatText ), unit, apf );
    bcm_udf_multi_chunk_info_t chunkInfo;
    Shim::sdk().bcm_udf_multi_chunk_info_t_init( &chunkInfo );
    chunkInfo.offsetIs( offset * chunkBitsPerByte );
    // DIFFERS: SDK-6 is given the width; here the extent lies in the chunks alone.
    addChunks( offer, pfi.chunk_2b_bmap_avail(), chunkInfo );
    chunkInfo.abstract_pkt_formatIs( apf );

    bcm_udf_id_t createdUdfId = 0;
    rc = SDK_TRACED_CALL_AS( "bcm_udf_multi_chunk_create( unit, NULL, &chunkInfo, &udfId )",
                             bcm_udf_multi_chunk_create, static_cast< int >( unit ), nullptr,
                             &chunkInfo, &createdUdfId );
    if ( rc == Shim::sdk().BCM_E_RESOURCE() ) {
        // DIFFERS: SDK-6 neither traces this nor raises the log message.
        traceUdf( 1, "mod : ", unit, "Out of hw resources to create UDF. apf=", apf,
                  " length=", length );
        logHandles_.full.raise();
    }
    if ( rc == Shim::sdk().BCM_E_NONE() ) {
        const U32 udfId = static_cast< U32 >( createdUdfId );
        AGENT_ASSERT( !hwFootprint.udfIds.qualIdHas( udfId ) );
        hwFootprint.udfIds.qualIdIs( udfId );
        qualIds.qualIdIs( udfId );
    } else {
        const char* const error = Shim::sdk().sdkErrorText( rc );
        // DIFFERS: SDK-6 has "rc:" before the code.
        traceUdf( 1, " bcm_udf_multi_chunk_create failed ", rc, " ", error );
    }
}

void destroyUdfQualifierFlexParserHsdk( U32 unit,
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

QualIdList cleanupUdfFlexParserFootprintHsdk( int unit,
                                              const UdfHwProgrammingFootprint& hwFootprint,
                                              bcm_udf_abstract_pkt_format_t apf )
{
    static constexpr RemovalSites sites{
        .readStart = SDK_CALL_SITE( readFormatText ),
        .readChunks = SDK_CALL_SITE( readChunksText ),
        .destroyUdf = SDK_CALL_SITE( destroyUdfText ),
        .readEnd = SDK_CALL_SITE( readFormatText ),
    };
    traceUdf( 8, "cleanupUdfFlexParserFootprintHsdk" );
    removeUdfs( sites, static_cast< U32 >( unit ), hwFootprint.udfIds, apf );
    return {};
}

namespace {

/// Whether a format is one of those that the library programs.
bool isAllowedFormat( bcm_udf_abstract_pkt_format_t apf )
{
    const Shim::SdkAccess& access = Shim::sdk();
    return apf == access.bcmUdfAbstractPktFormatArp() ||
           apf == access.bcmUdfAbstractPktFormatL3Ipv4() ||
           apf == access.bcmUdfAbstractPktFormatL3Ipv6() ||
           apf == access.bcmUdfAbstractPktFormatUnknownL3();
}

/// Checks what the SDK reads back of a UDF against its descriptor.
void assertExtent( const bcm_udf_multi_chunk_info_t& chunkInfo, U32 offset, U32 length )
{
    // DIFFERS: SDK-6 allows known non-IP and IPv4 without options instead of ARP and all of IPv4.
    AGENT_ASSERT_AS( "apf == bcmUdfAbstractPktFormatArp || "
                     "apf == bcmUdfAbstractPktFormatL3Ipv4 || "
                     "apf == bcmUdfAbstractPktFormatL3Ipv6 || "
                     "apf == bcmUdfAbstractPktFormatUnknownL3",
                     isAllowedFormat( chunkInfo.abstract_pkt_format() ) );
    // DIFFERS: SDK-6 compares the offset in bytes.
    AGENT_ASSERT_AS( "chunkInfo.offset() == ( offset * 8 )",
                     chunkInfo.offset() == offset * chunkBitsPerByte );
    // KEPT: required: compared in bytes.
    AGENT_ASSERT( chunkInfo.width() == length );
}

} // namespace

void udfQualProgrammedInHwFlexHsdk( U32 unit, const UdfDesc& udfDesc, const QualIdList& qualIds )
{
    // Read before the SDK is called: the caller's may change meanwhile.
    const QualIdList ids = qualIds;
    const U32 offset = udfDesc.offset();
    const U32 length = udfDesc.length();
    traceUdf( 4, "udfQualProgrammedInHwFlexHsdk", " mod: ", unit, " ethType: ", udfDesc.ethType(),
              " appType: ", static_cast< unsigned >( udfDesc.appType() ), " offset: ", offset,
              " length: ", length );

    std::optional< ChunkSet > previous;
    for ( const U32 id : ids ) {
        const auto chunkInfo = readChunks( SDK_CALL_SITE( readChunksText ), unit, id );
        traceUdf( 8, "udfQualProgrammedInHwFlexHsdk", "mod: ", unit,
                  " Chunk info offset: ", chunkInfo.offset(), " offset: ", offset );
        traceUdf( 8, "udfQualProgrammedInHwFlexHsdk", "mod: ", unit,
                  " Abstract pkt format: ", chunkInfo.abstract_pkt_format() );
        assertExtent( chunkInfo, offset, length );
        const ChunkSet chunks = chunksOf( chunkInfo.two_byte_chunk_bmap() );
        // DIFFERS: SDK-6 fails another assertion, and does not compare with a UDF on no chunk.
        AGENT_ASSERT_AS( "areBitmapEqual( progChunkBmap, chunkBmap )",
                         !previous || *previous == chunks );
        // KEPT: required: one chunk for two bytes, although the record that creation makes holds
        // one chunk only: a longer UDF does not pass this audit.
        AGENT_ASSERT_AS( "chunks == setChunks", chunksNeeded( length ) == chunks.count() );
        previous = chunks;
    }
}

UdfIdList getAllProgrammedUdfIdsUdfFlexParserHsdk( U32 unit )
{
    traceUdf( 4, "getAllProgrammedUdfIdsUdfFlexParserHsdk", " mod:", unit );
    static constexpr Shim::CallSite site = SDK_CALL_SITE(
        "bcm_udf_abstract_pkt_format_object_list_get( unit, absPktFmt, max, udfIds, &numUdfs )" );
    UdfIdList list;
    for ( const bcm_udf_abstract_pkt_format_t absPktFmt : udfAbstractPktFmtHsdk() ) {
        const UdfsOfFormat udfs = readUdfsOfFormat( apiTraceHandle_, site, unit, absPktFmt );
        traceUdf( 8, "getAllProgrammedUdfIdsUdfFlexParserHsdk", " mod:", unit,
                  " abstract packet format: ", absPktFmt, " has ", udfs.count, " UDFS" );
        udfs.addTo( list );
    }
    return list;
}

} // namespace PeloraTcam
