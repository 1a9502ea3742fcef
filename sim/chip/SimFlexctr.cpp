#include "sim/chip/SimFlexctr.h"

#include "sim/values/ReturnCode.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>

namespace Sim {

namespace {

bool isSame( const bcm_field_flexctr_config_t& left, const bcm_field_flexctr_config_t& right )
{
    return left.flexctr_action_id == right.flexctr_action_id &&
           left.counter_index == right.counter_index && left.color == right.color;
}

} // namespace

SimFlexctr::SimFlexctr( const SdkNumbering& numbering,
                        SimField& field,
                        const ChipProfile::FlexCounters& capacities )
    : numbering_( numbering )
    , field_( field )
    , capacities_( capacities )
{
    field.entries().useChecks().add(
        [ this ]( bcm_field_entry_t entry ) { return state_.attachments.contains( entry ); } );
}

int SimFlexctr::create( int options, const bcm_flexctr_action_t* action, uint32_t* counterId )
{
    if ( action == nullptr || counterId == nullptr || options != 0 || action->index_num == 0 ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( objectsUsed() >= objectCapacity() ) {
        return ReturnCode::BCM_E_FULL;
    }
    if ( action->index_num > counterCapacity() - countersUsed() ) {
        return ReturnCode::BCM_E_RESOURCE;
    }
    *counterId = ids_.next( [ this ]( uint32_t id ) {
        return id == numbering_.BCM_FLEXCTR_INVALID_OBJECT || state_.objects.contains( id );
    } );
    state_.objects[ *counterId ].size = action->index_num;
    return ReturnCode::BCM_E_NONE;
}

int SimFlexctr::destroy( uint32_t counterId )
{
    if ( !state_.objects.contains( counterId ) ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( isAttached( counterId ) ) {
        return ReturnCode::BCM_E_BUSY;
    }
    state_.objects.erase( counterId );
    return ReturnCode::BCM_E_NONE;
}

bool SimFlexctr::isAttached( uint32_t counterId ) const
{
    return std::ranges::any_of( state_.attachments, [ counterId ]( const auto& row ) {
        return std::ranges::count( row.second, counterId,
                                   &bcm_field_flexctr_config_t::flexctr_action_id ) != 0;
    } );
}

/// Whether the object has that counter: BCM_E_NONE, or why not.
int SimFlexctr::check( uint32_t counterId, uint32_t index ) const
{
    const auto found = state_.objects.find( counterId );
    if ( found == state_.objects.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    return index < found->second.size ? ReturnCode::BCM_E_NONE : ReturnCode::BCM_E_PARAM;
}

int SimFlexctr::attach( bcm_field_entry_t entry, const bcm_field_flexctr_config_t* config )
{
    if ( config == nullptr || !numbering_.has( config->color ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( field_.entries().find( entry ) == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( const int rc = check( config->flexctr_action_id, config->counter_index ); rc < 0 ) {
        return rc;
    }
    const auto found = state_.attachments.find( entry );
    if ( found != state_.attachments.end() &&
         std::ranges::count( found->second, config->color, &bcm_field_flexctr_config_t::color ) !=
             0 ) {
        return ReturnCode::BCM_E_EXISTS;
    }
    state_.attachments[ entry ].push_back( *config );
    return ReturnCode::BCM_E_NONE;
}

int SimFlexctr::detach( bcm_field_entry_t entry, const bcm_field_flexctr_config_t* config )
{
    if ( config == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto found = state_.attachments.find( entry );
    if ( found == state_.attachments.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    const auto isIt = [ config ]( const auto& attached ) { return isSame( attached, *config ); };
    if ( std::erase_if( found->second, isIt ) == 0 ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( found->second.empty() ) {
        state_.attachments.erase( found );
    }
    return ReturnCode::BCM_E_NONE;
}

int SimFlexctr::getAttached( bcm_field_entry_t entry,
                             bcm_flexctr_color_t color,
                             uint32_t* counterId,
                             uint32_t* index ) const
{
    if ( counterId == nullptr || index == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto attached = state_.attachments.find( entry );
    if ( attached == state_.attachments.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    const auto found =
        std::ranges::find( attached->second, color, &bcm_field_flexctr_config_t::color );
    if ( found == attached->second.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *counterId = found->flexctr_action_id;
    *index = found->counter_index;
    return ReturnCode::BCM_E_NONE;
}

int SimFlexctr::get( uint32_t counterId, uint32_t index, bcm_flexctr_counter_value_t* value ) const
{
    if ( value == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( const int rc = check( counterId, index ); rc < 0 ) {
        return rc;
    }
    const auto& counters = state_.objects.at( counterId ).counters;
    const auto found = counters.find( index );
    *value = found == counters.end() ? bcm_flexctr_counter_value_t{} : found->second;
    return ReturnCode::BCM_E_NONE;
}

int SimFlexctr::set( uint32_t counterId, uint32_t index, const bcm_flexctr_counter_value_t* value )
{
    const uint64_t greatest = counterMask( capacities_.counterWidth );
    if ( value == nullptr || value->packets > greatest || value->bytes > greatest ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( const int rc = check( counterId, index ); rc < 0 ) {
        return rc;
    }
    auto& counters = state_.objects.at( counterId ).counters;
    if ( value->packets == 0 && value->bytes == 0 ) {
        counters.erase( index );
    } else {
        counters[ index ] = *value;
    }
    return ReturnCode::BCM_E_NONE;
}

bool SimFlexctr::counts( bcm_flexctr_color_t color, TrafficColor traffic ) const
{
    if ( color == numbering_.bcmFlexctrColorAny ) {
        return true;
    }
    switch ( traffic ) {
    case TrafficColor::green:
        return color == numbering_.bcmFlexctrColorGreen;
    case TrafficColor::yellow:
        return color == numbering_.bcmFlexctrColorYellow;
    case TrafficColor::red:
        return color == numbering_.bcmFlexctrColorRed;
    }
    return false;
}

void SimFlexctr::add( const bcm_field_flexctr_config_t& place, const Traffic& traffic )
{
    const uint64_t mask = counterMask( capacities_.counterWidth );
    bcm_flexctr_counter_value_t value;
    get( place.flexctr_action_id, place.counter_index, &value );
    value.packets = ( value.packets + traffic.packets ) & mask;
    value.bytes = ( value.bytes + traffic.bytes ) & mask;
    set( place.flexctr_action_id, place.counter_index, &value );
}

bool SimFlexctr::count( bcm_field_entry_t entry, const Traffic& traffic )
{
    const auto found = state_.attachments.find( entry );
    if ( found == state_.attachments.end() || !field_.entries().isInstalled( entry ) ) {
        return false;
    }
    bool counted = false;
    for ( const bcm_field_flexctr_config_t& place : found->second ) {
        if ( counts( place.color, traffic.color ) ) {
            add( place, traffic );
            counted = true;
        }
    }
    return counted;
}

uint32_t SimFlexctr::countersUsed() const
{
    uint32_t used = 0;
    for ( const auto& [ id, object ] : state_.objects ) {
        used += object.size;
    }
    return used;
}

std::map< uint32_t, std::size_t > SimFlexctr::countersInUse() const
{
    std::map< uint32_t, std::set< uint32_t > > indexes;
    for ( const auto& [ entry, places ] : state_.attachments ) {
        for ( const bcm_field_flexctr_config_t& place : places ) {
            indexes[ place.flexctr_action_id ].insert( place.counter_index );
        }
    }
    std::map< uint32_t, std::size_t > inUse;
    for ( const auto& [ id, object ] : state_.objects ) {
        inUse[ id ] = indexes[ id ].size();
    }
    return inUse;
}

void SimFlexctr::addTo( ChipSnapshot& snapshot ) const
{
    const std::map< uint32_t, std::size_t > inUse = countersInUse();
    for ( const auto& [ id, object ] : state_.objects ) {
        ChipSnapshot::Fields fields{ { "counters", std::to_string( object.size ) },
                                     { "inUse", std::to_string( inUse.at( id ) ) } };
        for ( const auto& [ index, value ] : object.counters ) {
            fields.emplace_back( std::to_string( index ), std::to_string( value.packets ) + "p," +
                                                              std::to_string( value.bytes ) + "b" );
        }
        snapshot.add( "flex counter object " + std::to_string( id ), fields );
    }
    for ( const auto& [ entry, places ] : state_.attachments ) {
        ChipSnapshot::Fields fields;
        for ( const bcm_field_flexctr_config_t& place : places ) {
            fields.emplace_back( numbering_.nameOf( place.color ),
                                 std::to_string( place.flexctr_action_id ) + "[" +
                                     std::to_string( place.counter_index ) + "]" );
        }
        std::ranges::sort( fields );
        snapshot.add( "flex counters of entry " + std::to_string( entry ), fields );
    }
}

} // namespace Sim
