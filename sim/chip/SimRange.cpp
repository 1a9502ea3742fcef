#include "sim/chip/SimRange.h"

#include "sim/values/ReturnCode.h"

#include <string>
#include <utility>

namespace Sim {

SimRange::SimRange( const SdkNumbering& numbering, uint32_t capacity )
    : numbering_( numbering )
    , capacity_( capacity )
{}

/// The greatest value of the packet field that a range type stands for; nothing for a type that
/// is none.
std::optional< uint32_t > SimRange::greatestValue( bcm_range_type_t type ) const
{
    const std::pair< bcm_range_type_t, uint32_t > limits[] = {
        { numbering_.bcmRangeTypeL4SrcPort, 0xFFFF },
        { numbering_.bcmRangeTypeL4DstPort, 0xFFFF },
        { numbering_.bcmRangeTypeOuterVlan, 0xFFF },
        { numbering_.bcmRangeTypePacketLength, 0xFFFF },
    };
    for ( const auto& [ limited, greatest ] : limits ) {
        if ( limited == type ) {
            return greatest;
        }
    }
    return std::nullopt;
}

bool SimRange::isValid( const bcm_range_config_t& config ) const
{
    const std::optional< uint32_t > greatest = greatestValue( config.rtype );
    return greatest && config.min <= config.max && config.max <= *greatest;
}

int SimRange::create( uint32_t flags, bcm_range_config_t* config )
{
    if ( config == nullptr || flags != 0 || !isValid( *config ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( used() >= capacity_ ) {
        return ReturnCode::BCM_E_FULL;
    }
    config->rid = ids_.next( [ this ]( bcm_range_t id ) { return ranges_.contains( id ); } );
    ranges_.emplace( config->rid, *config );
    return ReturnCode::BCM_E_NONE;
}

int SimRange::destroy( bcm_range_t rangeId )
{
    if ( !has( rangeId ) ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( useChecks_.isInUse( rangeId ) ) {
        return ReturnCode::BCM_E_BUSY;
    }
    ranges_.erase( rangeId );
    return ReturnCode::BCM_E_NONE;
}

int SimRange::get( bcm_range_config_t* config ) const
{
    if ( config == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto found = ranges_.find( config->rid );
    if ( found == ranges_.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *config = found->second;
    return ReturnCode::BCM_E_NONE;
}

bool SimRange::flip( bcm_range_t rangeId, const SoftError& error )
{
    const auto found = ranges_.find( rangeId );
    if ( found == ranges_.end() ) {
        return false;
    }
    ( error.field == "min" ? found->second.min : found->second.max ) ^= 1U << error.bit;
    return true;
}

void SimRange::addTo( ChipSnapshot& snapshot ) const
{
    for ( const auto& [ id, range ] : ranges_ ) {
        snapshot.add( "range checker " + std::to_string( id ),
                      { { "type", numbering_.nameOf( range.rtype ) },
                        { "min", std::to_string( range.min ) },
                        { "max", std::to_string( range.max ) },
                        { "instance", std::to_string( range.instance ) } } );
    }
}

} // namespace Sim
