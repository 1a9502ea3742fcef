#include "sim/chip/SimStat.h"

#include "sim/values/ReturnCode.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Sim {

namespace {

/// What a type of statistics counts.
struct CountedTraffic
{
    bcm_field_stat_t type;
    uint64_t Traffic::*amount;
    bool everyColor;
    TrafficColor color;
};

/// All types but the default one, which counts nothing.
std::vector< CountedTraffic > countedTraffic( const SdkNumbering& numbering )
{
    constexpr TrafficColor any = TrafficColor::green;
    return {
        { numbering.bcmFieldStatBytes, &Traffic::bytes, true, any },
        { numbering.bcmFieldStatPackets, &Traffic::packets, true, any },
        { numbering.bcmFieldStatGreenBytes, &Traffic::bytes, false, TrafficColor::green },
        { numbering.bcmFieldStatGreenPackets, &Traffic::packets, false, TrafficColor::green },
        { numbering.bcmFieldStatYellowBytes, &Traffic::bytes, false, TrafficColor::yellow },
        { numbering.bcmFieldStatYellowPackets, &Traffic::packets, false, TrafficColor::yellow },
        { numbering.bcmFieldStatRedBytes, &Traffic::bytes, false, TrafficColor::red },
        { numbering.bcmFieldStatRedPackets, &Traffic::packets, false, TrafficColor::red },
    };
}

} // namespace

SimStat::SimStat( const SdkNumbering& numbering,
                  SimField& field,
                  const ChipProfile::Statistics& capacities )
    : numbering_( numbering )
    , field_( field )
    , capacities_( capacities )
{
    field.groups().useChecks().add(
        [ this ]( bcm_field_group_t group ) { return hasStatistics( group ); } );
    field.entries().useChecks().add(
        [ this ]( bcm_field_entry_t entry ) { return state_.statByEntry.contains( entry ); } );
}

bool SimStat::hasStatistics( bcm_field_group_t group ) const
{
    return std::ranges::any_of(
        state_.statistics, [ group ]( const auto& row ) { return row.second.group == group; } );
}

bool SimStat::areTypes( std::span< const bcm_field_stat_t > types ) const
{
    const std::vector< CountedTraffic > counted = countedTraffic( numbering_ );
    const std::set< bcm_field_stat_t > different( types.begin(), types.end() );
    return !types.empty() && different.size() == types.size() &&
           std::ranges::all_of( types, [ & ]( bcm_field_stat_t type ) {
               return std::ranges::count( counted, type, &CountedTraffic::type ) != 0;
           } );
}

int SimStat::create( bcm_field_group_t group,
                     std::span< const bcm_field_stat_t > types,
                     int* statId )
{
    if ( statId == nullptr || !areTypes( types ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( field_.groups().find( group ) == nullptr ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( used() >= capacity() ) {
        return ReturnCode::BCM_E_FULL;
    }
    *statId = static_cast< int >( ids_.next( [ this ]( uint32_t id ) {
        return state_.statistics.contains( static_cast< int >( id ) );
    } ) );
    Statistic& made = state_.statistics[ *statId ];
    made.group = group;
    made.poolIndex = takePoolIndex();
    for ( const bcm_field_stat_t type : types ) {
        made.counters.emplace( type, 0 );
    }
    return ReturnCode::BCM_E_NONE;
}

uint32_t SimStat::takePoolIndex()
{
    if ( state_.freePoolIndices.empty() ) {
        return state_.nextPoolIndex++;
    }
    return state_.freePoolIndices.extract( state_.freePoolIndices.begin() ).value();
}

int SimStat::destroy( int statId )
{
    const auto found = state_.statistics.find( statId );
    if ( found == state_.statistics.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( !found->second.entries.empty() ) {
        return ReturnCode::BCM_E_BUSY;
    }
    state_.freePoolIndices.insert( found->second.poolIndex );
    state_.statistics.erase( found );
    return ReturnCode::BCM_E_NONE;
}

int SimStat::attach( bcm_field_entry_t entry, int statId )
{
    const FieldEntry* fieldEntry = field_.entries().find( entry );
    const auto found = state_.statistics.find( statId );
    if ( fieldEntry == nullptr || found == state_.statistics.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    if ( fieldEntry->group != found->second.group ) {
        return ReturnCode::BCM_E_PARAM;
    }
    if ( !state_.statByEntry.emplace( entry, statId ).second ) {
        return ReturnCode::BCM_E_EXISTS;
    }
    found->second.entries.insert( entry );
    return ReturnCode::BCM_E_NONE;
}

int SimStat::detach( bcm_field_entry_t entry, int statId )
{
    const auto found = state_.statByEntry.find( entry );
    if ( found == state_.statByEntry.end() || found->second != statId ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    state_.statByEntry.erase( found );
    state_.statistics.at( statId ).entries.erase( entry );
    return ReturnCode::BCM_E_NONE;
}

/// The counter of a type; null, with the reason, if there is none.
const uint64_t* SimStat::findCounter( int statId, bcm_field_stat_t type, int& rc ) const
{
    const auto statistic = state_.statistics.find( statId );
    if ( statistic == state_.statistics.end() ) {
        rc = ReturnCode::BCM_E_NOT_FOUND;
        return nullptr;
    }
    const auto counter = statistic->second.counters.find( type );
    if ( counter == statistic->second.counters.end() ) {
        rc = ReturnCode::BCM_E_PARAM;
        return nullptr;
    }
    rc = ReturnCode::BCM_E_NONE;
    return &counter->second;
}

int SimStat::getAttached( bcm_field_entry_t entry, int* statId ) const
{
    if ( statId == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const auto found = state_.statByEntry.find( entry );
    if ( found == state_.statByEntry.end() ) {
        return ReturnCode::BCM_E_NOT_FOUND;
    }
    *statId = found->second;
    return ReturnCode::BCM_E_NONE;
}

int SimStat::set( int statId, bcm_field_stat_t type, uint64_t value )
{
    int rc = ReturnCode::BCM_E_NONE;
    if ( findCounter( statId, type, rc ) == nullptr ) {
        return rc;
    }
    if ( value > counterMask( capacities_.counterWidth ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    state_.statistics.at( statId ).counters.at( type ) = value;
    return rc;
}

int SimStat::get( int statId, bcm_field_stat_t type, uint64_t* value ) const
{
    if ( value == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    int rc = ReturnCode::BCM_E_NONE;
    if ( const uint64_t* counter = findCounter( statId, type, rc ) ) {
        *value = *counter;
    }
    return rc;
}

int SimStat::getPoolPlace( int statId, bcm_field_stat_t type, PoolPlace* place ) const
{
    if ( place == nullptr ) {
        return ReturnCode::BCM_E_PARAM;
    }
    int rc = ReturnCode::BCM_E_NONE;
    if ( findCounter( statId, type, rc ) != nullptr ) {
        const int none = numbering_.BCM_FIELD_STAT_INVALID_INDEX;
        const auto index = static_cast< int >( state_.statistics.at( statId ).poolIndex );
        *place = { .indices = { index, none, none } };
    }
    return rc;
}

bool SimStat::isInstalled( int statId ) const
{
    const auto found = state_.statistics.find( statId );
    return found != state_.statistics.end() &&
           std::ranges::any_of( found->second.entries, [ this ]( bcm_field_entry_t entry ) {
               return field_.entries().isInstalled( entry );
           } );
}

bool SimStat::count( bcm_field_entry_t entry, const Traffic& traffic )
{
    const auto found = state_.statByEntry.find( entry );
    if ( found == state_.statByEntry.end() || !field_.entries().isInstalled( entry ) ) {
        return false;
    }
    auto& counters = state_.statistics.at( found->second ).counters;
    for ( const CountedTraffic& counted : countedTraffic( numbering_ ) ) {
        const auto counter = counters.find( counted.type );
        if ( counter != counters.end() &&
             ( counted.everyColor || counted.color == traffic.color ) ) {
            counter->second += traffic.*counted.amount;
            counter->second &= counterMask( capacities_.counterWidth );
        }
    }
    return true;
}

void SimStat::addTo( ChipSnapshot& snapshot ) const
{
    for ( const auto& [ id, statistic ] : state_.statistics ) {
        ChipSnapshot::Fields fields{ { "group", std::to_string( statistic.group ) } };
        ChipSnapshot::Fields counters;
        for ( const auto& [ type, value ] : statistic.counters ) {
            counters.emplace_back( numbering_.nameOf( type ), std::to_string( value ) );
        }
        std::ranges::sort( counters );
        fields.insert( fields.end(), counters.begin(), counters.end() );
        std::string entries;
        for ( const bcm_field_entry_t entry : statistic.entries ) {
            entries += ( entries.empty() ? "" : "," ) + std::to_string( entry );
        }
        fields.emplace_back( "entries", "[" + entries + "]" );
        snapshot.add( "statistic " + std::to_string( id ), fields );
    }
}

} // namespace Sim
