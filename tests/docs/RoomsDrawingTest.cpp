// The drawing of the rooms shows the rooms that there are, and the arrows between them are those of
// the #include lines.

#include "tests/docs/Pages.h"
#include "tests/layering/RoomGraph.h"
#include "tests/layering/SourceTree.h"
#include "tests/layering/StableHeaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

namespace DocsTest {
namespace {

using Names = std::set< std::string >;

constexpr const char* makeAnew = "run scripts/drawings";

/// The first groups of all matches; of two groups, both with an arrow between them.
Names namesIn( const std::string& text, const std::string& pattern )
{
    const std::regex expression( pattern );
    Names names;
    for ( std::sregex_iterator match( text.begin(), text.end(), expression ), end; match != end;
          ++match ) {
        names.insert( match->size() > 2 ? ( *match )[ 1 ].str() + " -> " + ( *match )[ 2 ].str()
                                        : ( *match )[ 1 ].str() );
    }
    return names;
}

Layering::RoomGraph graphOfTheTree()
{
    const Layering::SourceTree tree( PELORA_SOURCE_DIR );
    const Layering::StableHeaders stable( tree.files() );
    Layering::RoomGraph graph( [ & ]( const std::string& path ) {
        const std::string file = stable.fileOf( path );
        return file.empty() ? path : file;
    } );
    for ( const std::string& file : tree.files() ) {
        if ( file.ends_with( ".h" ) || file.ends_with( ".cpp" ) || file.ends_with( ".def" ) ) {
            graph.add( file, tree.contentsOf( file ) );
        }
    }
    return graph;
}

/// The source of the drawing.
const std::string& source()
{
    static const std::string text = contentOf( "docs/drawings/rooms.dot" );
    return text;
}

TEST( RoomsDrawingTest, Rooms_OfTheDrawing_AreThoseOfTheTree )
{
    const Layering::RoomGraph graph = graphOfTheTree();
    Names rooms;
    for ( const auto& [ room, included ] : graph.edges() ) {
        rooms.insert( room );
    }
    EXPECT_GT( rooms.size(), 15U );
    EXPECT_EQ( namesIn( source(), "\n *\"([^\"]+)\" \\[ label=" ), rooms ) << makeAnew;
}

TEST( RoomsDrawingTest, Arrows_OfTheDrawing_AreTheIncludesThatFollowFromNoOthers )
{
    Names arrows;
    for ( const auto& [ room, included ] : graphOfTheTree().withoutImplied() ) {
        for ( const std::string& other : included ) {
            arrows.insert( room + " -> " + other );
        }
    }
    EXPECT_EQ( namesIn( source(), "\"([^\"]+)\" -> \"([^\"]+)\"" ), arrows ) << makeAnew;
}

TEST( RoomsDrawingTest, Arrows_OfTheSvg_AreThoseOfItsSource )
{
    const std::string svg = contentOf( "docs/drawings/rooms.svg" );
    Names arrows = namesIn( svg, "<title>([^<]+)&#45;&gt;([^<]+)</title>" );
    EXPECT_EQ( arrows.erase( "legend_above -> legend_below" ), 1U );
    EXPECT_EQ( arrows, namesIn( source(), "\"([^\"]+)\" -> \"([^\"]+)\"" ) ) << makeAnew;
}

} // namespace
} // namespace DocsTest
