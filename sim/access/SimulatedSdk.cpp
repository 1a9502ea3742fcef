#include "sim/access/SimulatedSdk.h"

#include <utility>

namespace Sim {

SimulatedChip& SimulatedSdk::chipIs( int unit, ChipProfile profile )
{
    const auto guarded = guard();
    std::unique_ptr< SimulatedChip >& place = chips_[ unit ];
    place = std::make_unique< SimulatedChip >( std::move( profile ), numbering() );
    return *place;
}

SimulatedChip* SimulatedSdk::chip( int unit ) const
{
    const auto guarded = guard();
    const auto found = chips_.find( unit );
    return found == chips_.end() ? nullptr : found->second.get();
}

std::unique_lock< std::recursive_mutex > SimulatedSdk::guard() const
{
    return std::unique_lock( mutex_ );
}

int SimulatedSdk::callWithoutEffect( int unit, const std::function< int() >& call )
{
    const auto guarded = guard();
    SimulatedChip* affected = chip( unit );
    if ( affected == nullptr ) {
        return call();
    }
    const SimulatedChip::State before = affected->state();
    const int rc = call();
    if ( rc >= 0 ) {
        affected->stateIs( before );
    }
    return rc;
}

int SimulatedSdk::unavailable( int unit ) const
{
    return onChip( unit, []( const SimulatedChip& ) { return ReturnCode::BCM_E_UNAVAIL; } );
}

int SimulatedSdk::bcm_range_create( int unit, uint32_t flags, bcm_range_config_t* config )
{
    return onChip(
        unit, [ & ]( SimulatedChip& found ) { return found.ranges().create( flags, config ); } );
}

int SimulatedSdk::bcm_range_destroy( int unit, bcm_range_t rangeId )
{
    return onChip( unit,
                   [ & ]( SimulatedChip& found ) { return found.ranges().destroy( rangeId ); } );
}

int SimulatedSdk::bcm_range_get( int unit, bcm_range_config_t* config )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) { return found.ranges().get( config ); } );
}

int SimulatedSdk::bcm_policer_create( int unit,
                                      bcm_policer_config_t* config,
                                      bcm_policer_t* policerId )
{
    return onChip( unit, [ & ]( SimulatedChip& found ) {
        return found.policers().create( config, policerId );
    } );
}

int SimulatedSdk::bcm_policer_destroy( int unit, bcm_policer_t policerId )
{
    return onChip(
        unit, [ & ]( SimulatedChip& found ) { return found.policers().destroy( policerId ); } );
}

int SimulatedSdk::bcm_policer_get( int unit, bcm_policer_t policerId, bcm_policer_config_t* config )
{
    return onChip(
        unit, [ & ]( SimulatedChip& found ) { return found.policers().get( policerId, config ); } );
}

} // namespace Sim
