// The rules of the tree, asked of the tree itself. What each rule says is tested with made-up
// files in the tests named after the rules' sources.

#include "tests/layering/FileRules.h"
#include "tests/layering/IncludeRules.h"
#include "tests/layering/RoomGraph.h"
#include "tests/layering/SourceTree.h"
#include "tests/layering/StableHeaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Layering {
namespace {

const SourceTree& theTree()
{
    static const SourceTree tree( PELORA_SOURCE_DIR );
    return tree;
}

const StableHeaders& theStableHeaders()
{
    static const StableHeaders headers( theTree().files() );
    return headers;
}

/// The file that an include of that path means.
std::string fileOf( const std::string& path )
{
    const std::string stable = theStableHeaders().fileOf( path );
    return stable.empty() ? path : stable;
}

std::vector< std::string > theSources()
{
    std::vector< std::string > sources;
    for ( const std::string& file : theTree().files() ) {
        if ( isSource( file ) ) {
            sources.push_back( file );
        }
    }
    return sources;
}

void expectNone( const Offences& offences )
{
    for ( const Offence& offence : offences ) {
        ADD_FAILURE() << offence;
    }
}

TEST( LayeringTest, Tree_IsListed_HoldsThisFile )
{
    EXPECT_TRUE( theTree().contains( "tests/layering/LayeringTest.cpp" ) );
    EXPECT_TRUE( theTree().contains( "sdk/SdkFunctions.def" ) );
}

TEST( LayeringTest, Includes_OfEverySource_RunDownwardsOnly )
{
    const IncludeRules rules(
        []( const std::string& path ) { return theTree().contains( fileOf( path ) ); } );
    for ( const std::string& file : theSources() ) {
        expectNone( rules.check( file, theTree().contentsOf( file ) ) );
    }
}

TEST( LayeringTest, StableHeaders_OfTheSimulatedChip_HaveNamesOfTheirOwn )
{
    EXPECT_EQ( fileOf( "sim/SimulatedSdk.h" ), "sim/access/SimulatedSdk.h" );
    EXPECT_THAT( theStableHeaders().ambiguous(), testing::IsEmpty() );
}

TEST( LayeringTest, Rooms_OfTheTree_IncludeEachOtherInNoCircle )
{
    RoomGraph graph( fileOf );
    for ( const std::string& file : theSources() ) {
        graph.add( file, theTree().contentsOf( file ) );
    }
    EXPECT_TRUE( graph.edges().at( "tools/run" ).contains( "sim/access" ) );
    EXPECT_THAT( graph.circles(), testing::IsEmpty() );
}

TEST( LayeringTest, Tables_OfTheTree_KeepTheirDiscipline )
{
    for ( const std::string& file : theSources() ) {
        expectNone( checkTable( file, theTree().contentsOf( file ) ) );
    }
}

TEST( LayeringTest, Sources_OfTheTree_AreOfReadableLength )
{
    for ( const std::string& file : theSources() ) {
        expectNone( checkLength( file, theTree().contentsOf( file ) ) );
    }
}

TEST( LayeringTest, Folders_WithSources_HaveAReadme )
{
    expectNone( checkReadmes( theTree().files() ) );
}

} // namespace
} // namespace Layering
