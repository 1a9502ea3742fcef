#include "sim/chip/SimUdfModule.h"

#include "sim/values/ReturnCode.h"
#include "sim/values/SdkLists.h"

#include <bit>
#include <string>
#include <vector>

namespace Sim {

namespace {

constexpr int bitsPerByte = 8;
constexpr int bitsPerChunk = 16;

std::string hexText( uint32_t value )
{
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    do {
        text.insert( text.begin(), digits[ value & 0xF ] );
        value >>= 4;
    } while ( value != 0 );
    return text;
}

/// The mask bytes that count, and those behind them up to the last that is not 0.
std::string maskText( const bcm_udf_hash_config_t& config )
{
    std::string text;
    std::string zeros;
    for ( unsigned byte = 0; byte < bcm_udf_hash_config_t::maskRoom; ++byte ) {
        const uint8_t mask = config.hash_mask( byte );
        zeros += ( mask < 0x10 ? "0" : "" ) + hexText( mask );
        if ( mask != 0 || byte < config.mask_length() ) {
            text += zeros;
            zeros.clear();
        }
    }
    return text;
}

} // namespace

SimUdfModule::SimUdfModule( const SdkNumbering& numbering,
                            const ChipProfile::UdfModule& capacities )
    : numbering_( numbering )
    , capacities_( capacities )
{}

// ---- User-defined fields ---------------------------------------------------------------------

bool SimUdfModule::isValid( const bcm_udf_alloc_hints_t* hints, const bcm_udf_t& udf ) const
{
    const bool hintsAreValid = hints == nullptr || hints->flags() == 0 ||
                               hints->flags() == numbering_.BCM_UDF_CREATE_O_UDFHASH;
    return hintsAreValid && numbering_.has( udf.layer() ) && udf.start() >= 0 &&
           udf.start() % bitsPerByte == 0 && udf.width() > 0 && udf.width() % bitsPerByte == 0;
}

uint32_t SimUdfModule::usedChunks() const
{
    uint32_t used = 0;
    for ( const auto& [ id, udf ] : state_.udfs ) {
        used |= udf.udf.hw_bmap();
    }
    return used;
}

uint32_t SimUdfModule::chunksUsed() const
{
    return static_cast< uint32_t >( std::popcount( usedChunks() ) );
}

/// The chunks that a width takes; none if there are too few.
uint32_t SimUdfModule::freeChunksFor( int32_t width ) const
{
    const uint32_t used = usedChunks();
    uint32_t chunks = 0;
    for ( uint32_t chunk = 0; chunk < capacities_.chunks && width > 0; ++chunk ) {
        if ( ( used >> chunk & 1U ) == 0 ) {
            chunks |= 1U << chunk;
            width -= bitsPerChunk;
        }
    }
    return width > 0 ? 0 : chunks;
}

int SimUdfModule::create( const bcm_udf_alloc_hints_t* hints,
                          const bcm_udf_t* udf,
                          bcm_udf_id_t* udfId )
{
    if ( udf == nullptr || udfId == nullptr || !isValid( hints, *udf ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const uint32_t chunks = freeChunksFor( udf->width() );
    if ( state_.udfs.size() >= capacities_.udfs || chunks == 0 ) {
        return ReturnCode::BCM_E_RESOURCE;
    }
    const auto isLive = [ this ]( uint32_t id ) {
        return state_.udfs.contains( static_cast< bcm_udf_id_t >( id ) );
    };
    *udfId = static_cast< bcm_udf_id_t >( udfIds_.next( isLive ) );
    Udf& made = state_.udfs[ *udfId ];
    made.udf = *udf;
    made.udf.hw_bmapIs( chunks );
    made.forHash = hints != nullptr && hints->flags() != 0;
    return ReturnCode::BCM_E_NONE;
}

int SimUdfModule::destroy( bcm_udf_id_t udfId )
{
    if ( !state_.udfs.contains( udfId ) ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( state_.hashConfigs.contains( udfId ) || useChecks_.isInUse( udfId ) ) {
        return ReturnCode::BCM_E_BUSY;
    }
    for ( const auto& [ id, format ] : state_.pktFormats ) {
        if ( format.udfs.contains( udfId ) ) {
            return ReturnCode::BCM_E_BUSY;
        }
    }
    state_.udfs.erase( udfId );
    return ReturnCode::BCM_E_NONE;
}

int SimUdfModule::get( bcm_udf_id_t udfId, bcm_udf_t* udf ) const
{
    if ( udf == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto found = state_.udfs.find( udfId );
    if ( found == state_.udfs.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *udf = found->second.udf;
    return ReturnCode::BCM_E_NONE;
}

int SimUdfModule::getAll( int max, bcm_udf_id_t* udfIds, int* actual ) const
{
    std::vector< bcm_udf_id_t > all;
    for ( const auto& [ id, udf ] : state_.udfs ) {
        all.push_back( id );
    }
    return listInto( all, max, udfIds, actual );
}

// ---- Packet formats --------------------------------------------------------------------------

/// A member that was left as initialised, 0, stands for any packet.
bool SimUdfModule::isValid( const bcm_udf_pkt_format_info_t& format ) const
{
    const auto known = [ this ]( auto value ) {
        return value == decltype( value ){} || numbering_.has( value );
    };
    return known( format.l2() ) && known( format.vlan_tag() ) && known( format.outer_ip() ) &&
           known( format.inner_ip() ) && known( format.tunnel() ) && format.prio() >= 0;
}

int SimUdfModule::createPktFormat( uint32_t options,
                                   const bcm_udf_pkt_format_info_t* format,
                                   bcm_udf_pkt_format_id_t* formatId )
{
    if ( options != numbering_.BCM_UDF_PKT_FORMAT_CREATE_O_NONE || format == nullptr ||
         formatId == nullptr || !isValid( *format ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( state_.pktFormats.size() >= capacities_.pktFormats ) {
        return ReturnCode::BCM_E_RESOURCE;
    }
    const auto isLive = [ this ]( uint32_t id ) {
        return state_.pktFormats.contains( static_cast< bcm_udf_pkt_format_id_t >( id ) );
    };
    *formatId = static_cast< bcm_udf_pkt_format_id_t >( formatIds_.next( isLive ) );
    state_.pktFormats[ *formatId ].info = *format;
    return ReturnCode::BCM_E_NONE;
}

int SimUdfModule::destroyPktFormat( bcm_udf_pkt_format_id_t formatId )
{
    const auto found = state_.pktFormats.find( formatId );
    if ( found == state_.pktFormats.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( !found->second.udfs.empty() ) {
        return ReturnCode::BCM_E_BUSY;
    }
    state_.pktFormats.erase( found );
    return ReturnCode::BCM_E_NONE;
}

int SimUdfModule::getPktFormat( bcm_udf_pkt_format_id_t formatId,
                                bcm_udf_pkt_format_info_t* format ) const
{
    if ( format == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto found = state_.pktFormats.find( formatId );
    if ( found == state_.pktFormats.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *format = found->second.info;
    return ReturnCode::BCM_E_NONE;
}

int SimUdfModule::attach( bcm_udf_id_t udfId, bcm_udf_pkt_format_id_t formatId )
{
    const auto found = state_.pktFormats.find( formatId );
    if ( found == state_.pktFormats.end() || !state_.udfs.contains( udfId ) ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    std::set< bcm_udf_id_t >& attached = found->second.udfs;
    if ( attached.contains( udfId ) ) {
        return ReturnCode::BCM_E_EXISTS;
    }
    if ( attached.size() >= capacities_.udfsPerPktFormat ) {
        return ReturnCode::BCM_E_FULL;
    }
    attached.insert( udfId );
    return ReturnCode::BCM_E_NONE;
}

int SimUdfModule::detach( bcm_udf_id_t udfId, bcm_udf_pkt_format_id_t formatId )
{
    const auto found = state_.pktFormats.find( formatId );
    if ( found == state_.pktFormats.end() || found->second.udfs.erase( udfId ) == 0 ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    return ReturnCode::BCM_E_NONE;
}

int SimUdfModule::getPktFormats( bcm_udf_id_t udfId,
                                 int max,
                                 bcm_udf_pkt_format_id_t* formatIds,
                                 int* actual ) const
{
    if ( !state_.udfs.contains( udfId ) ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    std::vector< bcm_udf_pkt_format_id_t > all;
    for ( const auto& [ id, format ] : state_.pktFormats ) {
        if ( format.udfs.contains( udfId ) ) {
            all.push_back( id );
        }
    }
    return listInto( all, max, formatIds, actual );
}

// ---- Hash configurations ---------------------------------------------------------------------

int SimUdfModule::addHashConfig( uint32_t options, const bcm_udf_hash_config_t* config )
{
    if ( options != numbering_.BCM_UDF_HASH_ADD_O_NONE || config == nullptr ||
         config->mask_length() == 0 ||
         config->mask_length() > numbering_.BCM_UDF_MAX_HASH_MASK_LENGTH ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto found = state_.udfs.find( config->udf_id() );
    if ( found == state_.udfs.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( !found->second.forHash ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( state_.hashConfigs.contains( config->udf_id() ) ) {
        return ReturnCode::BCM_E_EXISTS;
    }
    if ( state_.hashConfigs.size() >= capacities_.hashConfigurations ) {
        return ReturnCode::BCM_E_FULL;
    }
    state_.hashConfigs.emplace( config->udf_id(), *config );
    return ReturnCode::BCM_E_NONE;
}

int SimUdfModule::deleteHashConfig( const bcm_udf_hash_config_t* config )
{
    if ( config == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    return state_.hashConfigs.erase( config->udf_id() ) == 0 ? ReturnCode::BCM_E_NOT_FOUND
                                                             : ReturnCode::BCM_E_NONE;
}

int SimUdfModule::getHashConfig( bcm_udf_hash_config_t* config ) const
{
    if ( config == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto found = state_.hashConfigs.find( config->udf_id() );
    if ( found == state_.hashConfigs.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *config = found->second;
    return ReturnCode::BCM_E_NONE;
}

int SimUdfModule::getHashConfigs( int max, bcm_udf_hash_config_t* configs, int* actual ) const
{
    std::vector< bcm_udf_hash_config_t > all;
    for ( const auto& [ id, config ] : state_.hashConfigs ) {
        all.push_back( config );
    }
    return listInto( all, max, configs, actual );
}

// ---- Snapshot --------------------------------------------------------------------------------

ChipSnapshot::Fields SimUdfModule::fieldsOf( const Udf& udf ) const
{
    std::vector< uint32_t > chunks;
    for ( uint32_t chunk = 0; chunk < 32; ++chunk ) {
        if ( ( udf.udf.hw_bmap() >> chunk & 1U ) != 0 ) {
            chunks.push_back( chunk );
        }
    }
    return { { "layer", numbering_.nameOf( udf.udf.layer() ) },
             { "start", std::to_string( udf.udf.start() ) },
             { "width", std::to_string( udf.udf.width() ) },
             { "chunks", numberList( chunks ) },
             { "forHash", udf.forHash ? "yes" : "no" } };
}

ChipSnapshot::Fields SimUdfModule::fieldsOf( const PktFormat& format ) const
{
    const bcm_udf_pkt_format_info_t& info = format.info;
    const auto name = [ this ]( auto value ) {
        return value == decltype( value ){} ? "any" : numbering_.nameOf( value );
    };
    return {
        { "ethertype",
          "0x" + hexText( info.ethertype() ) + "/0x" + hexText( info.ethertype_mask() ) },
        { "l2", name( info.l2() ) },
        { "vlan_tag", name( info.vlan_tag() ) },
        { "outer_ip", name( info.outer_ip() ) },
        { "inner_ip", name( info.inner_ip() ) },
        { "tunnel", name( info.tunnel() ) },
        { "ip_protocol",
          std::to_string( info.ip_protocol() ) + "/0x" + hexText( info.ip_protocol_mask() ) },
        { "prio", std::to_string( info.prio() ) },
        { "udfs", numberList( format.udfs ) },
    };
}

void SimUdfModule::addTo( ChipSnapshot& snapshot ) const
{
    for ( const auto& [ id, udf ] : state_.udfs ) {
        snapshot.add( "udf " + std::to_string( id ), fieldsOf( udf ) );
    }
    for ( const auto& [ id, format ] : state_.pktFormats ) {
        snapshot.add( "udf packet format " + std::to_string( id ), fieldsOf( format ) );
    }
    for ( const auto& [ id, config ] : state_.hashConfigs ) {
        snapshot.add( "udf hash configuration " + std::to_string( id ),
                      { { "mask_length", std::to_string( config.mask_length() ) },
                        { "hash_mask", maskText( config ) } } );
    }
}

} // namespace Sim
