#include "tools/lookup/Answer.h"

#include "tools/translation/TranslatedNames.h"

#include <fmt/format.h>

namespace Tool {

namespace {

Json namedValues( const std::vector< std::pair< std::string, std::string > >& pairs )
{
    Json list = Json::array();
    for ( const auto& [ name, value ] : pairs ) {
        list.push_back( { { "name", name }, { "value", value } } );
    }
    return list;
}

/// Why an entry lost: what it wanted and did not find, unless it only ranks below the winner.
Json loserJson( const Sim::LosingEntry& loser,
                bcm_field_group_t group,
                RunContext& context,
                const EntryOrigins& origins )
{
    Json json = entryJson( group, loser.entry, context, origins );
    json[ "matches" ] = loser.matches;
    const auto orNull = [ & ]( const std::string& text ) {
        return loser.matches ? Json() : Json( text );
    };
    json[ "qualifier" ] = orNull( loser.qualifier );
    json[ "wanted" ] = orNull( loser.wanted );
    json[ "found" ] = orNull( loser.found );
    return json;
}

Json groupJson( const Sim::GroupExplanation& group,
                RunContext& context,
                const EntryOrigins& origins )
{
    Json nearest = Json::array();
    for ( const Sim::LosingEntry& loser : group.nearest ) {
        nearest.push_back( loserJson( loser, group.group, context, origins ) );
    }
    return { { "group", origins.groupName( group.group ) },
             { "groupId", group.group },
             { "winner",
               group.winner ? entryJson( group.group, *group.winner, context, origins ) : Json() },
             { "nearest", nearest } };
}

} // namespace

const Sim::GroupVerdict* winnerOf( std::span< const Sim::GroupVerdict > hits,
                                   const EntryOrigins& origins )
{
    const Sim::GroupVerdict* first = nullptr;
    for ( const Sim::GroupVerdict& hit : hits ) {
        if ( hit.entry && origins.lineOf( *hit.entry ) != 0 ) {
            return &hit;
        }
        if ( hit.entry && first == nullptr ) {
            first = &hit;
        }
    }
    return first;
}

std::string colourName( Sim::TrafficColor colour )
{
    switch ( colour ) {
    case Sim::TrafficColor::green:
        return "green";
    case Sim::TrafficColor::yellow:
        return "yellow";
    case Sim::TrafficColor::red:
        return "red";
    }
    return {};
}

std::vector< std::string > doneActions( const Sim::PacketFate& fate )
{
    std::vector< std::string > names;
    for ( const Sim::PacketAction& action : fate.actions ) {
        if ( action.fate == Sim::ActionFate::done ) {
            names.emplace_back( agentActionName( "bcmFieldAction" + action.name ) );
        }
    }
    return names;
}

Json entryJson( bcm_field_group_t group,
                bcm_field_entry_t entry,
                RunContext& context,
                const EntryOrigins& origins )
{
    const EntryOrigin origin = origins.of( group, entry );
    const Sim::FieldEntry* held = context.chip().field().entries().find( entry );
    return { { "entry", origin.name },
             { "group", origin.group },
             { "file", origin.line == 0 ? Json() : Json( origin.file ) },
             { "line", origin.line },
             { "priority", held == nullptr ? 0 : held->inHardware().priority },
             { "entryId", entry },
             { "groupId", group } };
}

Json verdictJson( const Sim::PacketVerdict& verdict,
                  RunContext& context,
                  const EntryOrigins& origins )
{
    const Sim::GroupVerdict* winner = winnerOf( verdict.groups, origins );
    return { { "winner", winner == nullptr
                             ? Json()
                             : entryJson( winner->group, *winner->entry, context, origins ) },
             { "actions", doneActions( verdict.fate ) },
             { "dropped", verdict.fate.dropped },
             { "copied", verdict.fate.copiedToCpu },
             { "redirected", verdict.fate.redirected },
             { "colour", colourName( verdict.color ) } };
}

Json explanationJson( const Sim::PacketExplanation& explanation,
                      RunContext& context,
                      const EntryOrigins& origins )
{
    Json json = { { "headers", namedValues( explanation.headers ) },
                  { "classes", Json::array() },
                  { "ranges", Json::array() },
                  { "udfs", Json::array() },
                  { "groups", Json::array() } };
    for ( const auto& [ name, classId ] : explanation.classes ) {
        json[ "classes" ].push_back( { { "field", name }, { "class", classId } } );
    }
    for ( const Sim::RangeFinding& range : explanation.ranges ) {
        json[ "ranges" ].push_back(
            { { "id", range.rangeId }, { "value", range.value }, { "inside", range.inside } } );
    }
    for ( const Sim::UdfFinding& udf : explanation.udfs ) {
        json[ "udfs" ].push_back( { { "id", udf.udfId }, { "bytes", udf.bytes } } );
    }
    for ( const Sim::GroupExplanation& group : explanation.groups ) {
        json[ "groups" ].push_back( groupJson( group, context, origins ) );
    }
    return json;
}

} // namespace Tool
