#include "PeloraTcam/PeloraTcamHsdkUdfEntryHelper.h"

#include "PeloraTcam/UdfChunks.h"
#include "PeloraTcam/UdfLogMessages.h"
#include "agent/base/Assert.h"
#include "agent/base/RingTrace.h"
#include "sdk/SdkCall.h"

#include <algorithm>

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

/// Named as the SDK's macro: its name stands in the texts of assertions.
bool BCM_UDF_CBMP_CHUNK_TEST( const bcm_udf_cbmp_t& cbmp, U32 chunk )
{
    return Shim::sdk().BCM_UDF_CBMP_CHUNK_TEST( cbmp, static_cast< int >( chunk ) );
}

/// The chunks of an SDK chunk bitmap, as an agent's.
Agent::Bitmap::Ptr getBitmapfromUdfCbmp( bcm_udf_cbmp_t& cbmp )
{
    Agent::Bitmap::Ptr chunkBmap( new Agent::Bitmap( chunksOfFormat ) );
    for ( U32 i = 0; i < chunksOfFormat; ++i ) {
        if ( BCM_UDF_CBMP_CHUNK_TEST( cbmp, i ) ) {
            AGENT_ASSERT( i < chunkBmap->size() );
            chunkBmap->bitIs( i, true );
        }
    }
    return chunkBmap;
}

bcm_udf_multi_abstract_pkt_format_info_t readFormat( int unit, bcm_udf_abstract_pkt_format_t apf )
{
    bcm_udf_multi_abstract_pkt_format_info_t pfi;
    Shim::sdk().bcm_udf_multi_abstract_pkt_format_info_t_init( &pfi );
    SDK_CHECKED_CALL_AS( "bcm_udf_multi_abstract_pkt_format_info_get( unit, apf, &pfi )",
                         bcm_udf_multi_abstract_pkt_format_info_get,
                         unit,
                         apf,
                         &pfi );
    return pfi;
}

bcm_udf_multi_chunk_info_t readChunks( int unit, bcm_udf_id_t udfId )
{
    bcm_udf_multi_chunk_info_t chunkInfo;
    Shim::sdk().bcm_udf_multi_chunk_info_t_init( &chunkInfo );
    SDK_CHECKED_CALL_AS( "bcm_udf_multi_chunk_info_get( unit, udfId, &chunkInfo )",
                         bcm_udf_multi_chunk_info_get,
                         unit,
                         udfId,
                         &chunkInfo );
    return chunkInfo;
}

/// The free chunks of a format.
ChunkText freeChunks( const bcm_udf_multi_abstract_pkt_format_info_t& pfi )
{
    ChunkText free{ 0 };
    for ( U32 i = 0; i < chunksOfFormat; ++i ) {
        free.chunks |= BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), i ) ? 1U << i : 0;
    }
    return free;
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
    for ( const U32 qualId : qualIds ) {
        const auto chunkInfo =
            readChunks( static_cast< int >( unit ), static_cast< bcm_udf_id_t >( qualId ) );
        for ( UdfChunkPos i = 0; i < chunksOfFormat; ++i ) {
            if ( BCM_UDF_CBMP_CHUNK_TEST( chunkInfo.two_byte_chunk_bmap(), i ) ) {
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
Agent::Bitmap::Ptr chosenChunks( ChunkText free, U32 requested )
{
    const Agent::Bitmap::Ptr chunkBmap( new Agent::Bitmap( chunksOfFormat ) );
    U32 chosen = 0;
    for ( U32 i = 0; i < chunksOfFormat && chosen < requested; ++i ) {
        if ( chunkIsSet( free.chunks, i ) ) {
            chunkBmap->bitIs( i, true );
            ++chosen;
        }
    }
    return chunkBmap;
}

/// Puts the chunks that a new UDF is offered into its record.
///
/// KEPT: the same lowest chunk in every pass, however many were chosen: the search starts over and
/// does not mark what it has found. Switches in service hold records of this form.
void addChunks( const Agent::Bitmap::Ptr& chunkBmap,
                const bcm_udf_multi_abstract_pkt_format_info_t& pfi,
                bcm_udf_multi_chunk_info_t& chunkInfo )
{
    for ( U32 i = 0; i < chunkBmap->numBitsInSetState(); ++i ) {
        const auto found = chunkBmap->firstSetBit( 0, chunkBmap->size() - 1 );
        AGENT_ASSERT( found );
        const U32 bit = *found;
        // DIFFERS: with SDK-6 a chunk must be unused, but need not be free.
        AGENT_ASSERT( BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), bit ) );
        // DIFFERS: the record of SDK-6 has a number.
        Shim::sdk().BCM_UDF_CBMP_CHUNK_ADD( chunkInfo.two_byte_chunk_bmap(),
                                            static_cast< int >( bit ) );
    }
}

/// Checks that none of the chunks of removed UDFs was free in their format before.
void assertChunksWereTaken( const Agent::Bitmap::Ptr& progChunkBmap,
                            const bcm_udf_multi_abstract_pkt_format_info_t& pfi )
{
    while ( const auto lowest = progChunkBmap->firstSetBit( 0, progChunkBmap->size() - 1 ) ) {
        const U32 i = *lowest;
        AGENT_ASSERT( !BCM_UDF_CBMP_CHUNK_TEST( pfi.chunk_2b_bmap_avail(), i ) );
        progChunkBmap->bitIs( i, false );
    }
    // DIFFERS: with SDK-6 a chunk beyond the sixteen is left over here.
    AGENT_ASSERT( !progChunkBmap->numBitsInSetState() );
}

} // namespace

QualIdList createUdfQualifierFlexParserHsdk( U32 moduleUnit,
                                             const UdfDesc& udfDesc,
                                             bcm_udf_abstract_pkt_format_t apf )
{
    int rc = Shim::sdk().BCM_E_NONE();
    QualIdList qualIds;
    UdfHwProgrammingFootprint hwFootprint;
    // clang-format off
    traceUdf( 4, "createUdfQualifierFlexParserHsdk", " mod:", moduleUnit,
              " ethType: ", udfDesc.ethType(),
              " appType: ", static_cast< unsigned >( udfDesc.appType() ),
              " offset: ", udfDesc.offset(), " length: ", udfDesc.length() );
    // clang-format on

    // DIFFERS: SDK-6 reads which chunks are reserved, and traces it.
    const int unit = static_cast< int >( moduleUnit );
    auto pfi = readFormat( unit, apf );
    const ChunkText free = freeChunks( pfi );
    const U32 avail = countOf( free );
    const U32 requested = chunksNeeded( udfDesc.length() );
    // DIFFERS: SDK-6 counts the free chunks in one way.
    if ( requested > std::min( pfi.num_chunks_available(), avail ) ) {
        const std::string message = notEnoughChunksText( avail, requested );
        // DIFFERS: SDK-6 has a blank behind "mod:", and one count only.
        traceUdf( 1, "createUdfQualifierFlexParserHsdk", "mod:", moduleUnit, " Msg: ", message );
        return cleanupUdfFlexParserFootprintHsdk( unit, hwFootprint, apf );
    }

    const Agent::Bitmap::Ptr chunkBmap = chosenChunks( free, requested );
    program_abstract_pkt_type_hsdk( moduleUnit, udfDesc, apf, chunkBmap, rc, qualIds, hwFootprint );
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        cleanupUdfFlexParserFootprintHsdk( unit, hwFootprint, apf );
        qualIds.clear();
    }
    pfi = readFormat( unit, apf );
    const ChunkText now = freeChunks( pfi );
    // DIFFERS: SDK-6 shows the reserved chunks, here it is the free ones.
    traceUdf(
        4, "createUdfQualifierFlexParserHsdk", "mod: ", moduleUnit, " Flex bitmap is now: ", now );
    return qualIds;
}

void program_abstract_pkt_type_hsdk( U32 moduleUnit,
                                     const UdfDesc& udfDesc,
                                     bcm_udf_abstract_pkt_format_t apf,
                                     Agent::Bitmap::Ptr chunkBmap,
                                     int& rc,
                                     QualIdList& qualIds,
                                     UdfHwProgrammingFootprint& hwFootprint )
{
    const int unit = static_cast< int >( moduleUnit );
    const auto pfi = readFormat( unit, apf );
    bcm_udf_multi_chunk_info_t chunkInfo;
    Shim::sdk().bcm_udf_multi_chunk_info_t_init( &chunkInfo );
    chunkInfo.offsetIs( udfDesc.offset() * chunkBitsPerByte );
    // DIFFERS: SDK-6 is given the width; here the extent lies in the chunks alone.
    addChunks( chunkBmap, pfi, chunkInfo );
    chunkInfo.abstract_pkt_formatIs( apf );

    bcm_udf_id_t createdUdfId = 0;
    rc = SDK_TRACED_CALL_AS( "bcm_udf_multi_chunk_create( unit, NULL, &chunkInfo, &udfId )",
                             bcm_udf_multi_chunk_create,
                             unit,
                             nullptr,
                             &chunkInfo,
                             &createdUdfId );
    if ( rc == Shim::sdk().BCM_E_RESOURCE() ) {
        // DIFFERS: SDK-6 neither traces this nor raises the log message.
        // clang-format off
        traceUdf( 1, "mod : ", moduleUnit, "Out of hw resources to create UDF. apf=", apf,
                  " length=", udfDesc.length() );
        // clang-format on
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

void destroyUdfQualifierFlexParserHsdk( U32 moduleUnit,
                                        const QualIdList& qualIds,
                                        bcm_udf_abstract_pkt_format_t apf )
{
    traceUdf( 4, "destroyUdfQualifierFlexParserHsdk" );
    const int unit = static_cast< int >( moduleUnit );
    auto pfi = readFormat( unit, apf );
    const ChunkText start = freeChunks( pfi );
    // DIFFERS: SDK-6 does not name the format here, and shows the reserved chunks.
    // clang-format off
    traceUdf( 8, "destroyUdfQualifierFlexParserHsdk", " mod: ", moduleUnit, " apf: ", apf,
              " Flex bitmap start: ", start );
    // clang-format on

    Agent::Bitmap::Ptr progChunkBmap;
    for ( const U32 qualId : qualIds ) {
        const bcm_udf_id_t udfId = static_cast< bcm_udf_id_t >( qualId );
        auto chunkInfo = readChunks( unit, udfId );
        const Agent::Bitmap::Ptr chunkBmap =
            getBitmapfromUdfCbmp( chunkInfo.two_byte_chunk_bmap() );
        // DIFFERS: SDK-6 compares numbers, and not with a UDF on no chunk.
        if ( progChunkBmap ) {
            AGENT_ASSERT( areBitmapEqual( progChunkBmap, chunkBmap ) );
        }
        progChunkBmap = chunkBmap;
        // DIFFERS: SDK-6 traces the UDF's format.
        SDK_CHECKED_CALL_AS( "bcm_udf_destroy( unit, udfId )", bcm_udf_destroy, unit, udfId );
    }
    // DIFFERS: SDK-6 checks that the chunks were reserved.
    if ( progChunkBmap ) {
        assertChunksWereTaken( progChunkBmap, pfi );
    }
    pfi = readFormat( unit, apf );
    // DIFFERS: SDK-6 shows the reserved chunks.
    const ChunkText end = freeChunks( pfi );
    traceUdf(
        8, "destroyUdfQualifierFlexParserHsdk", " mod: ", moduleUnit, " Flex bitmap end: ", end );
}

QualIdList cleanupUdfFlexParserFootprintHsdk( int unit,
                                              const UdfHwProgrammingFootprint& hwFootprint,
                                              bcm_udf_abstract_pkt_format_t apf )
{
    traceUdf( 8, "cleanupUdfFlexParserFootprintHsdk" );
    destroyUdfQualifierFlexParserHsdk( static_cast< U32 >( unit ), hwFootprint.udfIds, apf );
    return {};
}

namespace {

/// Checks that the format of a programmed UDF is one of those that the library programs.
void assertAllowedFormat( bcm_udf_abstract_pkt_format_t apf )
{
    const auto bcmUdfAbstractPktFormatArp = Shim::sdk().bcmUdfAbstractPktFormatArp();
    const auto bcmUdfAbstractPktFormatL3Ipv4 = Shim::sdk().bcmUdfAbstractPktFormatL3Ipv4();
    const auto bcmUdfAbstractPktFormatL3Ipv6 = Shim::sdk().bcmUdfAbstractPktFormatL3Ipv6();
    const auto bcmUdfAbstractPktFormatUnknownL3 = Shim::sdk().bcmUdfAbstractPktFormatUnknownL3();
    // DIFFERS: SDK-6 allows known non-IP and IPv4 without options instead of ARP and all of IPv4.
    AGENT_ASSERT( apf == bcmUdfAbstractPktFormatArp || apf == bcmUdfAbstractPktFormatL3Ipv4 ||
                  apf == bcmUdfAbstractPktFormatL3Ipv6 || apf == bcmUdfAbstractPktFormatUnknownL3 );
}

/// Checks what the SDK reads back of a UDF against its descriptor.
void assertExtent( const bcm_udf_multi_chunk_info_t& chunkInfo, U32 offset, U32 length )
{
    assertAllowedFormat( chunkInfo.abstract_pkt_format() );
    // DIFFERS: SDK-6 compares the offset in bytes.
    AGENT_ASSERT( chunkInfo.offset() == ( offset * 8 ) );
    // KEPT: in bytes: the SDK reads the extent of the chunks back so, two for each.
    AGENT_ASSERT( chunkInfo.width() == length );
}

} // namespace

void udfQualProgrammedInHwFlexHsdk( U32 moduleUnit,
                                    const UdfDesc& udfDesc,
                                    const QualIdList& qualIds )
{
    const U32 offset = udfDesc.offset();
    const U32 length = udfDesc.length();
    // clang-format off
    traceUdf( 4, "udfQualProgrammedInHwFlexHsdk", " mod: ", moduleUnit,
              " ethType: ", udfDesc.ethType(),
              " appType: ", static_cast< unsigned >( udfDesc.appType() ),
              " offset: ", offset, " length: ", length );

    Agent::Bitmap::Ptr progChunkBmap;
    for ( const U32 qualId : qualIds ) {
        auto chunkInfo =
            readChunks( static_cast< int >( moduleUnit ), static_cast< bcm_udf_id_t >( qualId ) );
        traceUdf( 8, "udfQualProgrammedInHwFlexHsdk", "mod: ", moduleUnit,
                  " Chunk info offset: ", chunkInfo.offset(), " offset: ", offset );
        traceUdf( 8, "udfQualProgrammedInHwFlexHsdk", "mod: ", moduleUnit,
                  " Abstract pkt format: ", chunkInfo.abstract_pkt_format() );
        // clang-format on
        assertExtent( chunkInfo, offset, length );
        // DIFFERS: SDK-6 compares and counts the bits of a number.
        const Agent::Bitmap::Ptr chunkBmap =
            getBitmapfromUdfCbmp( chunkInfo.two_byte_chunk_bmap() );
        if ( progChunkBmap ) {
            AGENT_ASSERT( areBitmapEqual( progChunkBmap, chunkBmap ) );
        }
        // KEPT: one chunk for two bytes, although the record that creation makes holds one chunk
        // only: a longer UDF is not expected to pass this audit.
        const U32 chunks = chunksNeeded( length );
        const U32 setChunks = chunkBmap->numBitsInSetState();
        AGENT_ASSERT( chunks == setChunks );
        progChunkBmap = chunkBmap;
    }
}

UdfIdList getAllProgrammedUdfIdsUdfFlexParserHsdk( U32 moduleUnit )
{
    traceUdf( 4, "getAllProgrammedUdfIdsUdfFlexParserHsdk", " mod:", moduleUnit );
    static constexpr Shim::CallSite site = SDK_CALL_SITE(
        "bcm_udf_abstract_pkt_format_object_list_get( unit, absPktFmt, max, udfIds, &numUdfs )" );
    UdfIdList list;
    for ( const bcm_udf_abstract_pkt_format_t absPktFmt : udfAbstractPktFmtHsdk() ) {
        const UdfsOfFormat udfs = readUdfsOfFormat( apiTraceHandle_, site, moduleUnit, absPktFmt );
        // clang-format off
        traceUdf( 8, "getAllProgrammedUdfIdsUdfFlexParserHsdk", " mod:", moduleUnit,
                  " abstract packet format: ", absPktFmt, " has ", udfs.count, " UDFS" );
        // clang-format on
        udfs.addTo( list );
    }
    return list;
}

} // namespace PeloraTcam
