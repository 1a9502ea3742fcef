#include "tests/layering/RoomGraph.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Layering {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

/// A graph of files that include one header each, on the path on which it stands.
RoomGraph graphOf( const std::vector< std::pair< std::string, std::string > >& includes )
{
    RoomGraph graph( []( const std::string& path ) { return path; } );
    for ( const auto& [ file, header ] : includes ) {
        graph.add( file, "#include \"" + header + "\"\n" );
    }
    return graph;
}

TEST( RoomGraphTest, RoomOf_FileInARoomOfAFloor_IsFloorAndRoom )
{
    EXPECT_EQ( roomOf( "sim/chip/SimRange.h" ), "sim/chip" );
    EXPECT_EQ( roomOf( "tools/cli/main.cpp" ), "tools/cli" );
    EXPECT_EQ( roomOf( "agent/base/Log.h" ), "agent/base" );
}

TEST( RoomGraphTest, RoomOf_FileOnAFloorWithoutRooms_IsTheFloor )
{
    EXPECT_EQ( roomOf( "sdk/SdkCall.h" ), "sdk" );
    EXPECT_EQ( roomOf( "input/YamlDocument.h" ), "input" );
}

TEST( RoomGraphTest, RoomOf_FileElsewhere_IsNone )
{
    EXPECT_EQ( roomOf( "sim/SimulatedSdk.h" ), "" );
    EXPECT_EQ( roomOf( "tests/sim/chip/SimRangeTest.cpp" ), "" );
    EXPECT_EQ( roomOf( "" ), "" );
}

TEST( RoomGraphTest, Edges_Includes_AreBetweenRooms )
{
    RoomGraph graph( []( const std::string& path ) {
        return path == "sim/Sdk.h" ? std::string( "sim/access/Sdk.h" ) : path;
    } );
    graph.add( "tools/run/A.cpp", "#include \"tools/run/A.h\"\n#include \"sim/Sdk.h\"\n"
                                  "#include <vector>\n// #include \"sdk/SdkCall.h\"\n" );
    graph.add( "tests/A.cpp", "#include \"sdk/SdkCall.h\"\n" );
    EXPECT_THAT( graph.edges(), ElementsAre( Pair( "tools/run", ElementsAre( "sim/access" ) ) ) );
}

TEST( RoomGraphTest, Circles_DownwardsOnly_AreNone )
{
    EXPECT_THAT( graphOf( { { "sim/c/A.h", "sim/b/A.h" },
                            { "sim/c/B.h", "sim/a/A.h" },
                            { "sim/b/A.h", "sim/a/A.h" } } )
                     .circles(),
                 IsEmpty() );
}

TEST( RoomGraphTest, Circles_TwoRoomsThatIncludeEachOther_AreOne )
{
    EXPECT_THAT(
        graphOf( { { "sim/b/A.h", "sim/a/A.h" }, { "sim/a/B.h", "sim/b/B.h" } } ).circles(),
        ElementsAre( "sim/a -> sim/b -> sim/a" ) );
}

TEST( RoomGraphTest, Circles_OverThreeRooms_AreFound )
{
    EXPECT_THAT( graphOf( { { "sim/a/A.h", "sim/c/A.h" },
                            { "sim/c/A.h", "sim/b/A.h" },
                            { "sim/b/A.h", "sim/a/A.h" },
                            { "tools/z/A.h", "sim/a/A.h" } } )
                     .circles(),
                 ElementsAre( "sim/a -> sim/c -> sim/b -> sim/a" ) );
}

TEST( RoomGraphTest, Circles_Two_AreBothFound )
{
    EXPECT_THAT( graphOf( { { "sim/a/A.h", "sim/b/A.h" },
                            { "sim/b/A.h", "sim/a/A.h" },
                            { "tools/a/A.h", "tools/b/A.h" },
                            { "tools/b/A.h", "tools/a/A.h" } } )
                     .circles(),
                 ElementsAre( "sim/a -> sim/b -> sim/a", "tools/a -> tools/b -> tools/a" ) );
}

TEST( RoomGraphTest, WithoutImplied_WayOverAnotherRoom_LeavesTheShortCutOut )
{
    EXPECT_THAT( graphOf( { { "sim/c/A.h", "sim/b/A.h" },
                            { "sim/c/B.h", "sim/a/A.h" },
                            { "sim/b/A.h", "sim/a/A.h" },
                            { "sim/d/A.h", "sim/a/A.h" } } )
                     .withoutImplied(),
                 ElementsAre( Pair( "sim/b", ElementsAre( "sim/a" ) ),
                              Pair( "sim/c", ElementsAre( "sim/b" ) ),
                              Pair( "sim/d", ElementsAre( "sim/a" ) ) ) );
}

} // namespace
} // namespace Layering
