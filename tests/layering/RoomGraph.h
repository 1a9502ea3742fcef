// The rooms of the house, and which of them include which.
//
//   RoomGraph graph( []( const std::string& path ) { return fileThatIsMeantBy( path ); } );
//   graph.add( "sim/chip/SimRange.cpp", text );
//   for ( const std::string& circle : graph.circles() ) ...
//
// Rooms are the folders in `agent/`, `sim/` and `tools/`; `sdk/`, `PeloraTcam/`, `input/` and
// `reference/` are one room each.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Layering {

/// The room that a file, a path from the root, is in: "sim/chip"; empty for a file in none.
std::string roomOf( std::string_view file );

class RoomGraph
{
  public:
    /// Gives the file that an include of that path means, both from the root.
    using Resolve = std::function< std::string( const std::string& path ) >;
    using Rooms = std::set< std::string >;

    explicit RoomGraph( Resolve resolve );

    /// Adds a file with its contents. Files in no room are passed over.
    void add( const std::string& file, std::string_view text );

    /// For each room the other ones that its files include.
    const std::map< std::string, Rooms >& edges() const { return edges_; }

    /// The circles: "sim/a -> sim/b -> sim/a". Of those through a room, one of the shortest; each
    /// once, from the room that comes first in the alphabet.
    std::vector< std::string > circles() const;

    /// The edges without those that follow from others: with a to b and b to c, a to c is left out.
    /// There must be no circle.
    std::map< std::string, Rooms > withoutImplied() const;

  private:
    bool reaches( const std::string& from, const std::string& to ) const;
    std::vector< std::string > wayBackTo( const std::string& room ) const;

    Resolve resolve_;
    std::map< std::string, Rooms > edges_;
};

} // namespace Layering
