#pragma once

/// The simulated SDK: an access object over any number of simulated chips.
///
/// Make it, give it its chips, point `Shim::sdk_` to it. Every SDK function with a unit that has
/// no chip answers BCM_E_UNIT; one that the simulation does not have answers BCM_E_UNAVAIL.
/// Several threads may call it: calls are made one after another.
///
///     SimulatedSdk sdk;
///     sdk.chipIs( 0, builtInProfile( "sdk6-udf" ) );
///     Shim::sdk_ = &sdk;
///     ...
///     std::cout << sdk.chip( 0 )->snapshot();

#include "sim/SimulatedChip.h"
#include "sim/UnavailableSdk.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace Sim {

class SimulatedSdk : public UnavailableSdk
{
  public:
    using UnavailableSdk::UnavailableSdk;

    /// Gives the unit a new chip, with nothing on it; an earlier chip of the unit is gone. The SDK
    /// owns the chip.
    SimulatedChip& chipIs( int unit, ChipProfile profile );

    /// The unit's chip; null if it has none.
    [[nodiscard]] SimulatedChip* chip( int unit ) const;

    /// Holds off the SDK calls of other threads for as long as it lives.
    [[nodiscard]] std::unique_lock< std::recursive_mutex > guard() const;

    /// Makes a call that has no effect on the unit's chip: if it succeeds, the chip's state is put
    /// back to what it was before. Gives the call's return code.
    int callWithoutEffect( int unit, const std::function< int() >& call );

    int bcm_range_create( int unit, uint32_t flags, bcm_range_config_t* config ) override;
    int bcm_range_destroy( int unit, bcm_range_t rangeId ) override;
    int bcm_range_get( int unit, bcm_range_config_t* config ) override;

  protected:
    [[nodiscard]] int unavailable( int unit ) const override;

  private:
    /// Hands a call on to the unit's chip, guarded.
    template< class Operation >
    int onChip( int unit, const Operation& operation ) const
    {
        const auto guarded = guard();
        SimulatedChip* found = chip( unit );
        return found == nullptr ? ReturnCode::BCM_E_UNIT : operation( *found );
    }

    mutable std::recursive_mutex mutex_; // callWithoutEffect() makes a guarded call, guarded.
    std::map< int, std::unique_ptr< SimulatedChip > > chips_;
};

} // namespace Sim
