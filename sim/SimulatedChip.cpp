#include "sim/SimulatedChip.h"

#include <utility>

namespace Sim {

SimulatedChip::SimulatedChip( ChipProfile profile, const SdkNumbering& numbering )
    : profile_( std::move( profile ) )
    , ranges_( numbering, profile_.rangeCheckers.capacity )
{}

ChipSnapshot SimulatedChip::snapshot() const
{
    ChipSnapshot snapshot;
    ranges_.addTo( snapshot );
    return snapshot;
}

std::vector< Resource > SimulatedChip::occupancy() const
{
    return {
        { "rangeCheckers", ranges_.used(), ranges_.capacity() },
    };
}

SimulatedChip::State SimulatedChip::state() const
{
    return { ranges_.state() };
}

void SimulatedChip::stateIs( const State& state )
{
    ranges_.stateIs( state.ranges );
}

} // namespace Sim
