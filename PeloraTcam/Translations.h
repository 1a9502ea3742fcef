#pragma once

/// How a translation map is built and looked up; private to the library.
///
/// A concept's pairs are rows of an agent value and a function that asks the access object for the
/// SDK's value. The maps are built from the rows, in their order, and only read after that. Not
/// guarded against threads: the agent builds its maps before it looks anything up.

#include "agent/base/Assert.h"
#include "agent/base/CallLocation.h"

namespace PeloraTcam::Translations {

template< class AgentValue, class SdkValue >
struct Row
{
    AgentValue agentValue;
    SdkValue ( *sdkValue )();
};

/// Fills a forward map, unless it holds anything already. A repeated agent value keeps its first
/// SDK value; the access object is asked all the same.
template< class ForwardMap, class Rows >
void build( ForwardMap& forward, const Rows& rows )
{
    if ( !forward.empty() ) {
        return;
    }
    for ( const auto& row : rows ) {
        forward.try_emplace( row.agentValue, row.sdkValue() );
    }
}

/// Fills a forward map and its reverse map, unless the forward map holds anything already. An SDK
/// value of several agent values translates back to the smallest.
template< class ForwardMap, class ReverseMap, class Rows >
void build( ForwardMap& forward, ReverseMap& reverse, const Rows& rows )
{
    if ( !forward.empty() ) {
        return;
    }
    build( forward, rows );
    for ( const auto& [ agentValue, sdkValue ] : forward ) {
        reverse.try_emplace( sdkValue, agentValue );
    }
}

/// What a map holds for a key. It is that failed assertion, at that place, if it holds nothing.
template< class Map >
typename Map::mapped_type lookUp( const Map& map,
                                  typename Map::key_type key,
                                  const char* assertion,
                                  const Agent::CallLocation& location )
{
    const auto found = map.find( key );
    if ( found == map.end() ) {
        Agent::assertionFailed( assertion, location.file, location.line, location.function );
    }
    return found->second;
}

} // namespace PeloraTcam::Translations
