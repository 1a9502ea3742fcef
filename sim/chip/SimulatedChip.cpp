#include "sim/chip/SimulatedChip.h"

#include <utility>

namespace Sim {

SimulatedChip::SimulatedChip( ChipProfile profile, const SdkNumbering& numbering )
    : profile_( std::move( profile ) )
    , ranges_( numbering, profile_.rangeCheckers.capacity )
    , field_( numbering, profile_.field )
    , policers_( numbering, profile_.policers.capacity )
    , udfModule_( numbering, profile_.udfModule )
    , flexParser_( numbering, profile_.flexParser )
    , statistics_( numbering, field_, profile_.statistics )
    , flexCounters_( numbering, field_, profile_.flexCounters )
{
    ranges_.useChecks().add(
        [ this ]( bcm_range_t rangeId ) { return field_.entries().isRangeUsed( rangeId ); } );
    policers_.useChecks().add( [ this ]( bcm_policer_t policerId ) {
        return field_.entries().isPolicerAttached( policerId );
    } );
    const auto isUdfUsed = [ this ]( bcm_udf_id_t udfId ) {
        return field_.entries().isUdfUsed( udfId );
    };
    udfModule_.useChecks().add( isUdfUsed );
    flexParser_.useChecks().add( isUdfUsed );
}

ChipSnapshot SimulatedChip::snapshot() const
{
    ChipSnapshot snapshot;
    ranges_.addTo( snapshot );
    field_.addTo( snapshot );
    policers_.addTo( snapshot );
    udfModule_.addTo( snapshot );
    flexParser_.addTo( snapshot );
    statistics_.addTo( snapshot );
    flexCounters_.addTo( snapshot );
    return snapshot;
}

std::vector< Resource > SimulatedChip::occupancy() const
{
    std::vector< Resource > all = {
        { "rangeCheckers", ranges_.used(), ranges_.capacity() },
        { "fieldGroups", field_.groups().used(), field_.groups().capacity() },
        { "tcamEntries", field_.entries().used(), field_.entries().capacity() },
        { "preselectors", field_.preselectors().used(), field_.preselectors().capacity() },
        { "compressionEntries", field_.entries().compressionUsed(),
          field_.entries().compressionCapacity() },
        { "policers", policers_.used(), policers_.capacity() },
    };
    addCountersTo( all );
    if ( hasUdfModule() ) {
        addUdfModuleTo( all );
    } else {
        addFlexParserTo( all );
    }
    return all;
}

void SimulatedChip::addCountersTo( std::vector< Resource >& all ) const
{
    if ( isHsdk() ) {
        all.push_back(
            { "flexCounterObjects", flexCounters_.objectsUsed(), flexCounters_.objectCapacity() } );
        all.push_back(
            { "flexCounters", flexCounters_.countersUsed(), flexCounters_.counterCapacity() } );
    } else {
        all.push_back( { "statistics", statistics_.used(), statistics_.capacity() } );
    }
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

void SimulatedChip::addFlexParserTo( std::vector< Resource >& all ) const
{
    all.push_back( { "udfs", flexParser_.used(), flexParser_.capacity() } );
    for ( const SimFlexParser::Format& format : flexParser_.formats() ) {
        all.push_back( { "udfChunks" + format.shortName(), flexParser_.chunksUsed( format ),
                         flexParser_.chunkCapacity( format ) } );
    }
}

SimulatedChip::State SimulatedChip::state() const
{
    return { ranges_.state(),     field_.state(),      policers_.state(),    udfModule_.state(),
             flexParser_.state(), statistics_.state(), flexCounters_.state() };
}

void SimulatedChip::stateIs( const State& state )
{
    ranges_.stateIs( state.ranges );
    field_.stateIs( state.field );
    policers_.stateIs( state.policers );
    udfModule_.stateIs( state.udfModule );
    flexParser_.stateIs( state.flexParser );
    statistics_.stateIs( state.statistics );
    flexCounters_.stateIs( state.flexCounters );
}

bool SimulatedChip::flip( const SoftError& error )
{
    if ( !objectionTo( error ).empty() ) {
        return false;
    }
    const SnapshotName name = partsOf( error.object );
    if ( name.kind == "field entry" ) {
        return field_.entries().flip( static_cast< bcm_field_entry_t >( name.id ), error );
    }
    if ( name.kind == "policer" ) {
        return policers_.flip( static_cast< bcm_policer_t >( name.id ), error );
    }
    const bool changed = ranges_.flip( name.id, error );
    field_.entries().tellReplaced();
    return changed;
}

bool SimulatedChip::count( bcm_field_entry_t entry, const Traffic& traffic )
{
    return isHsdk() ? flexCounters_.count( entry, traffic ) : statistics_.count( entry, traffic );
}

} // namespace Sim
