// allocate-counter: { entry: web, types: [ packets, bytes ] }
// free-counter: { entry: web }
// traffic: { entry: web, packets: 10, bytes: 640 }
// read-counters: { entry: web }
// clear-counters: { entry: web }

#include "agent/base/TextPieces.h"
#include "tools/run/EntryNames.h"
#include "tools/run/RunContext.h"
#include "tools/scenario/EnumeratorReader.h"
#include "tools/steps/Refused.h"
#include "tools/steps/StepKinds.h"

#include <fmt/format.h>
#include <utility>

namespace Tool {

namespace {

using Input::YamlNode;
using PeloraTcam::CounterSet;
using PeloraTcam::CounterType;
using PeloraTcam::TcamEntryId;
using Reference::CounterManager;

constexpr std::pair< std::string_view, CounterType > types[] = {
    { "bytes", CounterType::bytes },
    { "packets", CounterType::packets },
    { "redBytes", CounterType::redBytes },
    { "redPackets", CounterType::redPackets },
    { "greenBytes", CounterType::greenBytes },
    { "greenPackets", CounterType::greenPackets },
    { "yellowBytes", CounterType::yellowBytes },
    { "yellowPackets", CounterType::yellowPackets },
};

constexpr std::pair< std::string_view, Sim::TrafficColor > colors[] = {
    { "green", Sim::TrafficColor::green },
    { "yellow", Sim::TrafficColor::yellow },
    { "red", Sim::TrafficColor::red },
};

/// The counters of an entry; a `StepError` if it has none.
const PeloraTcam::CounterInfo& countersOf( const std::string& entry, RunContext& context )
{
    const TcamEntryId id = entryNamed( context, entry );
    if ( !context.tcam().hasCounters( id ) ) {
        throw StepError( fmt::format( "the entry '{}' has no counters", entry ) );
    }
    return *context.tcam().counters().find( id );
}

/// A step about the entry of that name.
class StepOnEntry : public Step
{
  public:
    explicit StepOnEntry( std::string entry )
        : entry_( std::move( entry ) )
    {}

    [[nodiscard]] std::string name() const override { return entry_; }

  protected:
    [[nodiscard]] const std::string& entry() const { return entry_; }

  private:
    std::string entry_;
};

class AllocateCounter : public StepOnEntry
{
  public:
    AllocateCounter( std::string entry, CounterSet counterSet )
        : StepOnEntry( std::move( entry ) )
        , counterSet_( std::move( counterSet ) )
    {}

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const Reference::CounterRequest wanted = request( context );
        if ( context.tcam().hasCounters( wanted.entryId ) ) {
            throw StepError( fmt::format( "the entry '{}' has counters already", entry() ) );
        }
        CounterManager& counters = context.tcam().counters();
        if ( !counters.allocate( wanted ) ) {
            context.tcam().releaseUnusedCounterObjects();
            return context.firstFailure()
                       ? refused( context.firstFailure() )
                       : StepResult{ Outcome::full, "no free counters", Json::object() };
        }
        // What belongs to an entry is in the hardware once the entry is written to it.
        if ( !context.tcam().entries().install( wanted.entryId ) ) {
            counters.free( wanted.entryId );
            context.tcam().releaseUnusedCounterObjects();
            return refused( context.firstFailure() );
        }
        return allocated( *counters.find( wanted.entryId ) );
    }

  private:
    [[nodiscard]] Reference::CounterRequest request( RunContext& context ) const
    {
        const NamedEntry& named = ownEntryNamed( context, entry(), "counters" );
        const Reference::GroupDesc& group = context.groupNames().at( named.group ).desc;
        if ( !group.logicalId ) {
            throw StepError( fmt::format( "the group '{}' has no logical-id, by which the library "
                                          "finds it",
                                          named.group ) );
        }
        return { group.stage, *group.logicalId, named.id, counterSet_, 0 };
    }

    [[nodiscard]] static StepResult allocated( const PeloraTcam::CounterInfo& info )
    {
        std::vector< std::string > names;
        for ( const auto& [ type, wanted ] : info.counterSet ) {
            names.push_back( Agent::joinPieces( type ) );
        }
        return { Outcome::ok,
                 fmt::format( "statistic {}, {}", info.statId, fmt::join( names, ", " ) ),
                 { { "statId", info.statId }, { "types", names } } };
    }

    CounterSet counterSet_;
};

class FreeCounter : public StepOnEntry
{
  public:
    using StepOnEntry::StepOnEntry;

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        static_cast< void >( ownEntryNamed( context, entry(), "counters" ) );
        const PeloraTcam::CounterInfo info = countersOf( entry(), context );
        context.tcam().counters().free( info.entryId );
        context.tcam().releaseUnusedCounterObjects();
        return { Outcome::ok,
                 fmt::format( "statistic {}, back to the chip", info.statId ),
                 { { "statId", info.statId } } };
    }
};

class SeeTraffic : public StepOnEntry
{
  public:
    SeeTraffic( std::string entry, const Sim::Traffic& traffic )
        : StepOnEntry( std::move( entry ) )
        , traffic_( traffic )
    {}

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const TcamEntryId id = entryNamed( context, entry() );
        const bool counted = context.seeTraffic( static_cast< bcm_field_entry_t >( id ), traffic_ );
        return { Outcome::ok,
                 fmt::format( "{} packets, {} bytes{}", traffic_.packets, traffic_.bytes,
                              counted ? "" : ", which no counter counts" ),
                 { { "packets", traffic_.packets },
                   { "bytes", traffic_.bytes },
                   { "counted", counted } } };
    }

  private:
    Sim::Traffic traffic_;
};

class ReadCounters : public StepOnEntry
{
  public:
    using StepOnEntry::StepOnEntry;

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const TcamEntryId id = countersOf( entry(), context ).entryId;
        const Reference::Hits hits =
            context.tcam().counters().hits( id ).value_or( Reference::Hits{} );
        return { Outcome::ok,
                 fmt::format( "{} packets, {} bytes", hits.packets, hits.bytes ),
                 { { "packets", hits.packets }, { "bytes", hits.bytes } } };
    }
};

class ClearCounters : public StepOnEntry
{
  public:
    using StepOnEntry::StepOnEntry;

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const TcamEntryId id = countersOf( entry(), context ).entryId;
        context.tcam().counters().clear( id );
        return { Outcome::ok, "0 packets, 0 bytes", Json::object() };
    }
};

/// Reads a step that has an entry and nothing else.
template< class OnEntry >
std::unique_ptr< const Step > readStepOnEntry( const YamlNode& node )
{
    std::string entry;
    node.readMembers(
        [ & ]( Input::YamlMembers& members ) { members.required( "entry", entry ); } );
    return std::make_unique< OnEntry >( entry );
}

/// A type by its name; or by its number, so that one can be tried that there is not.
CounterType readType( const YamlNode& node )
{
    CounterType type = CounterType::invalid;
    if ( looksLikeANumber( node ) ) {
        Agent::U8 number = 0;
        node.read( number );
        return static_cast< CounterType >( number );
    }
    node.read( type, types );
    return type;
}

} // namespace

std::unique_ptr< const Step > readAllocateCounter( const YamlNode& node, const ReadContext& )
{
    std::string entry;
    CounterSet counterSet;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "entry", entry );
        members.required( "types", [ & ]( const YamlNode& list ) {
            list.readItems(
                [ & ]( const YamlNode& item ) { counterSet[ readType( item ) ] = true; } );
        } );
    } );
    return std::make_unique< AllocateCounter >( entry, counterSet );
}

std::unique_ptr< const Step > readFreeCounter( const YamlNode& node, const ReadContext& )
{
    return readStepOnEntry< FreeCounter >( node );
}

std::unique_ptr< const Step > readTraffic( const YamlNode& node, const ReadContext& )
{
    std::string entry;
    Sim::Traffic traffic;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "entry", entry );
        members.required( "packets", traffic.packets );
        members.required( "bytes", traffic.bytes );
        members.optional( "color", traffic.color, colors );
    } );
    return std::make_unique< SeeTraffic >( entry, traffic );
}

std::unique_ptr< const Step > readReadCounters( const YamlNode& node, const ReadContext& )
{
    return readStepOnEntry< ReadCounters >( node );
}

std::unique_ptr< const Step > readClearCounters( const YamlNode& node, const ReadContext& )
{
    return readStepOnEntry< ClearCounters >( node );
}

} // namespace Tool
