#include "sim/SimulatedChip.h"

#include <utility>

namespace Sim {

SimulatedChip::SimulatedChip( ChipProfile profile, const SdkNumbering& numbering )
    : profile_( std::move( profile ) )
    , ranges_( numbering, profile_.rangeCheckers.capacity )
    , field_( numbering, profile_.field )
    , policers_( numbering, profile_.policers.capacity )
    , udfModule_( numbering, profile_.udfModule )
{
    policers_.useChecks().add( [ this ]( bcm_policer_t policerId ) {
        return field_.entries().isPolicerAttached( policerId );
    } );
}

ChipSnapshot SimulatedChip::snapshot() const
{
    ChipSnapshot snapshot;
    ranges_.addTo( snapshot );
    field_.addTo( snapshot );
    policers_.addTo( snapshot );
    udfModule_.addTo( snapshot );
    return snapshot;
}

std::vector< Resource > SimulatedChip::occupancy() const
{
    std::vector< Resource > all = {
        { "rangeCheckers", ranges_.used(), ranges_.capacity() },
        { "fieldGroups", field_.groups().used(), field_.groups().capacity() },
        { "tcamEntries", field_.entries().used(), field_.entries().capacity() },
        { "preselectors", field_.preselectors().used(), field_.preselectors().capacity() },
        { "compressionEntries",
          field_.entries().compressionUsed(),
          field_.entries().compressionCapacity() },
        { "policers", policers_.used(), policers_.capacity() },
    };
    if ( hasUdfModule() ) {
        addUdfModuleTo( all );
    }
    return all;
}

void SimulatedChip::addUdfModuleTo( std::vector< Resource >& all ) const
{
    const SimUdfModule::State& state = udfModule_.state();
    const ChipProfile::UdfModule& capacities = udfModule_.capacities();
    const auto count = []( const auto& things ) {
        return static_cast< uint32_t >( things.size() );
    };
    all.push_back( { "udfs", count( state.udfs ), capacities.udfs } );
    all.push_back( { "udfChunks", udfModule_.chunksUsed(), capacities.chunks } );
    all.push_back( { "udfPacketFormats", count( state.pktFormats ), capacities.pktFormats } );
    all.push_back(
        { "udfHashConfigurations", count( state.hashConfigs ), capacities.hashConfigurations } );
}

SimulatedChip::State SimulatedChip::state() const
{
    return { ranges_.state(), field_.state(), policers_.state(), udfModule_.state() };
}

void SimulatedChip::stateIs( const State& state )
{
    ranges_.stateIs( state.ranges );
    field_.stateIs( state.field );
    policers_.stateIs( state.policers );
    udfModule_.stateIs( state.udfModule );
}

} // namespace Sim
