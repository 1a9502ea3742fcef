#include "sim/chip/SimFlexParser.h"

#include "sim/values/ReturnCode.h"
#include "sim/values/SdkLists.h"
#include "sim/values/SimSets.h"

#include <algorithm>
#include <bit>
#include <string_view>

namespace Sim {

namespace {

constexpr uint32_t bitsPerByte = 8;
constexpr uint32_t bytesPerChunk = 2;
constexpr uint32_t bitsPerChunk = bytesPerChunk * bitsPerByte;
constexpr uint32_t chunksPerFormat = ChipProfile::FlexParser::chunksPerFormat;
constexpr uint32_t allChunks = ( 1U << chunksPerFormat ) - 1;

uint32_t count( uint32_t chunks )
{
    return static_cast< uint32_t >( std::popcount( chunks ) );
}

/// The numbers of the chunks in a set, in rising order.
std::vector< int > numbersOf( uint32_t chunks )
{
    std::vector< int > numbers;
    for ( int chunk = 0; chunk < 32; ++chunk ) {
        if ( ( chunks >> chunk & 1U ) != 0 ) {
            numbers.push_back( chunk );
        }
    }
    return numbers;
}

/// The same set in the SDK's opaque type, and back.
bcm_udf_cbmp_t opaqueOf( uint32_t chunks )
{
    bcm_udf_cbmp_t opaque;
    for ( const int chunk : numbersOf( chunks ) ) {
        addChunk( opaque, chunk );
    }
    return opaque;
}

uint32_t chunksOf( const bcm_udf_cbmp_t& opaque )
{
    uint32_t chunks = 0;
    for ( int chunk = 0; chunk < 32; ++chunk ) {
        chunks |= hasChunk( opaque, chunk ) ? 1U << chunk : 0;
    }
    return chunks;
}

bool isValid( const SimFlexParser::Udf& udf )
{
    return udf.offset % bitsPerByte == 0 && udf.width % bitsPerByte == 0 && udf.width > 0 &&
           udf.width <= chunksPerFormat * bitsPerChunk && udf.chunks != 0 &&
           ( udf.chunks & ~allChunks ) == 0;
}

} // namespace

std::string SimFlexParser::Format::shortName() const
{
    constexpr std::string_view prefix = "bcmUdfAbstractPktFormat";
    return name.starts_with( prefix ) ? name.substr( prefix.size() ) : name;
}

SimFlexParser::SimFlexParser( const SdkNumbering& numbering,
                              const ChipProfile::FlexParser& capacities )
    : numbering_( numbering )
    , capacity_( capacities.udfs )
{
    static const std::vector< std::string > names =
        SdkNumbering::namesOf< bcm_udf_abstract_pkt_format_t >();
    for ( const std::string& name : names ) {
        const auto given = capacities.unavailableChunks.find( name );
        if ( given != capacities.unavailableChunks.end() ) {
            const auto number = bcm_udf_abstract_pkt_format_t{ *numbering.valueOf( name ) };
            formats_.push_back( { number, name, given->second & allChunks } );
        }
    }
}

// ---- User-defined fields ---------------------------------------------------------------------

int SimFlexParser::create( const bcm_udf_chunk_hints_t* hints, const Udf& udf, bcm_udf_id_t* udfId )
{
    if ( udfId == nullptr || ( hints != nullptr && hints->flags != 0 ) || !isValid( udf ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const Format* format = find( udf.format );
    if ( format == nullptr ) {
        return refusalOf( udf.format );
    }
    if ( used() >= capacity_ || ( udf.chunks & ~freeChunks( *format ) ) != 0 ) {
        return ReturnCode::BCM_E_RESOURCE;
    }
    *udfId = static_cast< bcm_udf_id_t >(
        ids_.next( [ this ]( uint32_t id ) { return has( static_cast< bcm_udf_id_t >( id ) ); } ) );
    state_.emplace( *udfId, udf );
    return ReturnCode::BCM_E_NONE;
}

int SimFlexParser::createChunk( const bcm_udf_chunk_hints_t* hints,
                                const bcm_udf_chunk_info_t* info,
                                bcm_udf_id_t* udfId )
{
    if ( info == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    return create(
        hints, { info->abstract_pkt_format(), info->offset(), info->width(), info->chunk_bmap() },
        udfId );
}

int SimFlexParser::createMultiChunk( const bcm_udf_chunk_hints_t* hints,
                                     const bcm_udf_multi_chunk_info_t* info,
                                     bcm_udf_id_t* udfId )
{
    if ( info == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const uint32_t chunks = chunksOf( info->two_byte_chunk_bmap() );
    return create( hints,
                   { info->abstract_pkt_format(), info->offset(),
                     count( chunks & allChunks ) * bitsPerChunk, chunks },
                   udfId );
}

int SimFlexParser::getChunk( bcm_udf_id_t udfId, bcm_udf_chunk_info_t* info ) const
{
    if ( info == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto found = state_.find( udfId );
    if ( found == state_.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    const Udf& udf = found->second;
    info->offsetIs( udf.offset / bitsPerByte );
    info->widthIs( udf.width / bitsPerByte );
    info->chunk_bmapIs( udf.chunks );
    info->abstract_pkt_formatIs( udf.format );
    return ReturnCode::BCM_E_NONE;
}

int SimFlexParser::getMultiChunk( bcm_udf_id_t udfId, bcm_udf_multi_chunk_info_t* info ) const
{
    if ( info == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto found = state_.find( udfId );
    if ( found == state_.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    const Udf& udf = found->second;
    info->offsetIs( udf.offset );
    info->widthIs( count( udf.chunks ) * bytesPerChunk );
    info->two_byte_chunk_bmap() = opaqueOf( udf.chunks );
    info->abstract_pkt_formatIs( udf.format );
    return ReturnCode::BCM_E_NONE;
}

int SimFlexParser::destroy( bcm_udf_id_t udfId )
{
    if ( !has( udfId ) ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( useChecks_.isInUse( udfId ) ) {
        return ReturnCode::BCM_E_BUSY;
    }
    state_.erase( udfId );
    return ReturnCode::BCM_E_NONE;
}

// ---- Abstract packet formats -----------------------------------------------------------------

const SimFlexParser::Format* SimFlexParser::find( bcm_udf_abstract_pkt_format_t format ) const
{
    const auto found = std::ranges::find( formats_, format, &Format::number );
    return found == formats_.end() ? nullptr : &*found;
}

/// Why a format that the chip does not have is refused.
int SimFlexParser::refusalOf( bcm_udf_abstract_pkt_format_t format ) const
{
    return numbering_.has( format ) ? ReturnCode::BCM_E_UNAVAIL : ReturnCode::BCM_E_PARAM;
}

uint32_t SimFlexParser::usedChunks( bcm_udf_abstract_pkt_format_t format ) const
{
    uint32_t used = 0;
    for ( const auto& [ id, udf ] : state_ ) {
        used |= udf.format == format ? udf.chunks : 0;
    }
    return used;
}

uint32_t SimFlexParser::freeChunks( const Format& format ) const
{
    return allChunks & ~format.unavailable & ~usedChunks( format.number );
}

int SimFlexParser::getFormat( bcm_udf_abstract_pkt_format_t format,
                              bcm_udf_abstract_pkt_format_info_t* info ) const
{
    if ( info == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const Format* found = find( format );
    if ( found == nullptr ) {
        return refusalOf( format );
    }
    info->num_chunks_maxIs( chunksPerFormat );
    info->chunk_bmap_usedIs( usedChunks( format ) );
    info->unavail_chunk_bmapIs( found->unavailable );
    return ReturnCode::BCM_E_NONE;
}

int SimFlexParser::getMultiFormat( bcm_udf_abstract_pkt_format_t format,
                                   bcm_udf_multi_abstract_pkt_format_info_t* info ) const
{
    if ( info == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const Format* found = find( format );
    if ( found == nullptr ) {
        return refusalOf( format );
    }
    const uint32_t free = freeChunks( *found );
    info->num_chunks_availableIs( count( free ) );
    info->chunk_2b_bmap_avail() = opaqueOf( free );
    return ReturnCode::BCM_E_NONE;
}

int SimFlexParser::getUdfs( bcm_udf_abstract_pkt_format_t format,
                            int max,
                            bcm_udf_id_t* udfIds,
                            int* actual ) const
{
    if ( !isValidQuestion( max, udfIds, actual ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( find( format ) == nullptr ) {
        return refusalOf( format );
    }
    std::vector< bcm_udf_id_t > all;
    for ( const auto& [ id, udf ] : state_ ) {
        if ( udf.format == format ) {
            all.push_back( id );
        }
    }
    return all.empty() ? ReturnCode::BCM_E_NOT_FOUND : listInto( all, max, udfIds, actual );
}

// ---- What there is ---------------------------------------------------------------------------

uint32_t SimFlexParser::chunksUsed( const Format& format ) const
{
    return count( usedChunks( format.number ) );
}

uint32_t SimFlexParser::chunkCapacity( const Format& format )
{
    return count( allChunks & ~format.unavailable );
}

void SimFlexParser::addTo( ChipSnapshot& snapshot ) const
{
    for ( const auto& [ id, udf ] : state_ ) {
        snapshot.add( "udf " + std::to_string( id ),
                      { { "format", numbering_.nameOf( udf.format ) },
                        { "offset", std::to_string( udf.offset ) },
                        { "width", std::to_string( udf.width ) },
                        { "chunks", numberList( numbersOf( udf.chunks ) ) } } );
    }
}

} // namespace Sim
