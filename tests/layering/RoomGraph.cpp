#include "tests/layering/RoomGraph.h"

#include "tests/layering/SourceText.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace Layering {

namespace {

constexpr std::string_view floorsWithRooms[] = { "agent/", "sim/", "tools/" };
constexpr std::string_view otherFloors[] = { "sdk/", "PeloraTcam/", "input/", "reference/" };

/// The path between the quotes of an include; empty for an include of another kind.
std::string quotedPath( std::string_view argument )
{
    if ( !argument.starts_with( '"' ) ) {
        return {};
    }
    return std::string( argument.substr( 1, argument.find( '"', 1 ) - 1 ) );
}

} // namespace

std::string roomOf( std::string_view file )
{
    for ( const std::string_view floor : floorsWithRooms ) {
        const std::size_t end = file.find( '/', floor.size() );
        if ( file.starts_with( floor ) && end != std::string_view::npos ) {
            return std::string( file.substr( 0, end ) );
        }
    }
    for ( const std::string_view floor : otherFloors ) {
        if ( file.starts_with( floor ) ) {
            return std::string( floor.substr( 0, floor.size() - 1 ) );
        }
    }
    return {};
}

RoomGraph::RoomGraph( Resolve resolve )
    : resolve_( std::move( resolve ) )
{}

void RoomGraph::add( const std::string& file, std::string_view text )
{
    const std::string room = roomOf( file );
    if ( room.empty() ) {
        return;
    }
    Rooms& included = edges_[ room ];
    for ( const Line& line : logicalLines( text ) ) {
        const Directive directive = directiveOf( line.text );
        if ( directive.name != "include" ) {
            continue;
        }
        const std::string other = roomOf( resolve_( quotedPath( directive.argument ) ) );
        if ( !other.empty() && other != room ) {
            included.insert( other );
        }
    }
}

/// A shortest way from the room over others back to it, without the room at its end; empty if there
/// is none.
std::vector< std::string > RoomGraph::wayBackTo( const std::string& room ) const
{
    std::map< std::string, std::string > cameFrom;
    std::deque< std::string > next{ room };
    while ( !next.empty() ) {
        const std::string at = next.front();
        next.pop_front();
        const auto found = edges_.find( at );
        for ( const std::string& other : found == edges_.end() ? Rooms() : found->second ) {
            if ( cameFrom.emplace( other, at ).second ) {
                next.push_back( other );
            }
        }
    }
    std::vector< std::string > way;
    if ( !cameFrom.contains( room ) ) {
        return way;
    }
    std::string at = room;
    do {
        at = cameFrom.at( at );
        way.push_back( at );
    } while ( at != room );
    std::ranges::reverse( way );
    return way;
}

std::vector< std::string > RoomGraph::circles() const
{
    std::vector< std::string > all;
    for ( const auto& [ room, included ] : edges_ ) {
        const std::vector< std::string > way = wayBackTo( room );
        if ( way.empty() || *std::ranges::min_element( way ) != room ) {
            continue;
        }
        std::string text;
        for ( const std::string& at : way ) {
            text += at + " -> ";
        }
        all.push_back( text + room );
    }
    return all;
}

bool RoomGraph::reaches( const std::string& from, const std::string& to ) const
{
    if ( from == to ) {
        return true;
    }
    const auto found = edges_.find( from );
    return found != edges_.end() &&
           std::ranges::any_of(
               found->second, [ & ]( const std::string& other ) { return reaches( other, to ); } );
}

std::map< std::string, RoomGraph::Rooms > RoomGraph::withoutImplied() const
{
    std::map< std::string, Rooms > kept;
    for ( const auto& [ room, included ] : edges_ ) {
        for ( const std::string& other : included ) {
            const bool implied =
                std::ranges::any_of( included, [ & ]( const std::string& between ) {
                    return between != other && reaches( between, other );
                } );
            if ( !implied ) {
                kept[ room ].insert( other );
            }
        }
    }
    return kept;
}

} // namespace Layering
