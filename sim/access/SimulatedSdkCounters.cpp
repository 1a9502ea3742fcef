// The SDK functions of statistics and flex counters.

#include "sim/access/SimulatedSdk.h"

#include <algorithm>

namespace Sim {

// ---- Statistics ------------------------------------------------------------------------------

int SimulatedSdk::bcm_field_stat_create(
    int unit, bcm_field_group_t group, int statCount, bcm_field_stat_t* stats, int* statId )
{
    return onStatistics( unit, [ & ]( SimStat& statistics ) {
        if ( stats == nullptr || statCount <= 0 ) {
            return ReturnCode::BCM_E_PARAM;
        }
        return statistics.create( group, { stats, static_cast< size_t >( statCount ) }, statId );
    } );
}

int SimulatedSdk::bcm_field_stat_destroy( int unit, int statId )
{
    return onStatistics( unit,
                         [ & ]( SimStat& statistics ) { return statistics.destroy( statId ); } );
}

int SimulatedSdk::bcm_field_stat_set( int unit, int statId, bcm_field_stat_t stat, uint64_t value )
{
    return onStatistics(
        unit, [ & ]( SimStat& statistics ) { return statistics.set( statId, stat, value ); } );
}

int SimulatedSdk::bcm_field_stat_get( int unit, int statId, bcm_field_stat_t stat, uint64_t* value )
{
    return onStatistics(
        unit, [ & ]( SimStat& statistics ) { return statistics.get( statId, stat, value ); } );
}

int SimulatedSdk::bcm_field_entry_stat_attach( int unit, bcm_field_entry_t entry, int statId )
{
    return onStatistics(
        unit, [ & ]( SimStat& statistics ) { return statistics.attach( entry, statId ); } );
}

int SimulatedSdk::bcm_field_entry_stat_detach( int unit, bcm_field_entry_t entry, int statId )
{
    return onStatistics(
        unit, [ & ]( SimStat& statistics ) { return statistics.detach( entry, statId ); } );
}

int SimulatedSdk::bcm_field_entry_stat_get( int unit, bcm_field_entry_t entry, int* statId )
{
    return onStatistics(
        unit, [ & ]( SimStat& statistics ) { return statistics.getAttached( entry, statId ); } );
}

int SimulatedSdk::korvel_bcm_esw_field_stat_pool_index_get( int unit,
                                                            int statId,
                                                            bcm_field_stat_t stat,
                                                            int* poolId,
                                                            int* poolType,
                                                            int* index0,
                                                            int* index1,
                                                            int* index2,
                                                            int* pipe )
{
    return onStatistics( unit, [ & ]( SimStat& statistics ) {
        int* const outputs[] = { poolId, poolType, index0, index1, index2, pipe };
        if ( std::ranges::count( outputs, nullptr ) != 0 ) {
            return ReturnCode::BCM_E_PARAM;
        }
        SimStat::PoolPlace place;
        const int rc = statistics.getPoolPlace( statId, stat, &place );
        if ( rc == ReturnCode::BCM_E_NONE ) {
            const int values[] = { place.poolId,       place.poolType,     place.indices[ 0 ],
                                   place.indices[ 1 ], place.indices[ 2 ], place.pipe };
            for ( size_t i = 0; i < std::size( values ); ++i ) {
                *outputs[ i ] = values[ i ];
            }
        }
        return rc;
    } );
}

bool SimulatedSdk::korvel_bcm_field_stat_installed_in_hw( int unit, int statId )
{
    bool installed = false;
    onStatistics( unit, [ & ]( const SimStat& statistics ) {
        installed = statistics.isInstalled( statId );
        return ReturnCode::BCM_E_NONE;
    } );
    return installed;
}

// ---- Flex counters ---------------------------------------------------------------------------

int SimulatedSdk::bcm_flexctr_action_create( int unit,
                                             int options,
                                             bcm_flexctr_action_t* action,
                                             uint32_t* counterId )
{
    return onFlexCounters( unit, [ & ]( SimFlexctr& counters ) {
        return counters.create( options, action, counterId );
    } );
}

int SimulatedSdk::bcm_flexctr_action_destroy( int unit, uint32_t counterId )
{
    return onFlexCounters(
        unit, [ & ]( SimFlexctr& counters ) { return counters.destroy( counterId ); } );
}

int SimulatedSdk::bcm_field_entry_flexctr_attach( int unit,
                                                  bcm_field_entry_t entry,
                                                  bcm_field_flexctr_config_t* config )
{
    return onFlexCounters(
        unit, [ & ]( SimFlexctr& counters ) { return counters.attach( entry, config ); } );
}

int SimulatedSdk::bcm_field_entry_flexctr_detach( int unit,
                                                  bcm_field_entry_t entry,
                                                  bcm_field_flexctr_config_t* config )
{
    return onFlexCounters(
        unit, [ & ]( SimFlexctr& counters ) { return counters.detach( entry, config ); } );
}

int SimulatedSdk::bcm_field_entry_flexctr_get( int unit,
                                               bcm_field_entry_t entry,
                                               bcm_flexctr_color_t color,
                                               uint32_t* counterId,
                                               uint32_t* counterIndex )
{
    return onFlexCounters( unit, [ & ]( SimFlexctr& flexCounters ) {
        return flexCounters.getAttached( entry, color, counterId, counterIndex );
    } );
}

int SimulatedSdk::bcm_flexctr_stat_get( int unit,
                                        uint32_t counterId,
                                        uint32_t index,
                                        bcm_flexctr_counter_value_t* value )
{
    return onFlexCounters( unit, [ & ]( const SimFlexctr& counters ) {
        return counters.get( counterId, index, value );
    } );
}

int SimulatedSdk::bcm_flexctr_stat_set( int unit,
                                        uint32_t counterId,
                                        uint32_t index,
                                        bcm_flexctr_counter_value_t* value )
{
    return onFlexCounters(
        unit, [ & ]( SimFlexctr& counters ) { return counters.set( counterId, index, value ); } );
}

} // namespace Sim
