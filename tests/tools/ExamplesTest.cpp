// Every example runs, and ends as it says.

#include "tests/tools/ToolRunner.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using ToolTest::ToolFolder;
using ToolTest::ToolResult;

std::vector< std::string > examples()
{
    std::vector< std::string > files;
    for ( const auto& entry :
          std::filesystem::directory_iterator( PELORA_SOURCE_DIR "/examples" ) ) {
        if ( entry.path().extension() == ".yaml" ) {
            files.push_back( entry.path().string() );
        }
    }
    return files;
}

bool needsTestData( const std::string& file )
{
    std::ifstream stream( file );
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str().find( "PELORA_TEST_DATA" ) != std::string::npos;
}

class Example : public testing::TestWithParam< std::string >
{};

TEST_P( Example, Run_AsItStands_EndsWithZero )
{
    ToolFolder folder;
    if ( needsTestData( GetParam() ) ) {
        if ( ToolTest::testDataFolder().empty() ) {
            GTEST_SKIP() << "no test data: set PELORA_TEST_DATA to the folder that holds them";
        }
        folder.environmentIs( "PELORA_TEST_DATA", ToolTest::testDataFolder() );
    }
    const ToolResult result = folder.run( { "run", GetParam() } );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
}

TEST( ExampleOfUdfs, Run_ToItsEnd_LeavesAnEmptyChip )
{
    const ToolResult result = ToolFolder().run(
        { "run", "--json", PELORA_SOURCE_DIR "/examples/user-defined-fields.yaml" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    for ( const auto& [ resource, occupancy ] : result.json().at( "chip" ).items() ) {
        EXPECT_EQ( occupancy.at( "used" ), 0 ) << resource;
    }
}

TEST( ExampleOfThreeChips, Compare_ToItsEnd_LeavesEmptyChips )
{
    const ToolResult result =
        ToolFolder().run( { "compare", "--json", PELORA_SOURCE_DIR "/examples/three-chips.yaml" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    ASSERT_EQ( result.json().at( "chips" ).size(), 3U );
    for ( const auto& run : result.json().at( "chips" ) ) {
        for ( const auto& [ resource, occupancy ] : run.at( "chip" ).items() ) {
            EXPECT_EQ( occupancy.at( "used" ), 0 ) << resource;
        }
    }
}

INSTANTIATE_TEST_SUITE_P( Folder, Example, testing::ValuesIn( examples() ), []( const auto& test ) {
    std::string name = std::filesystem::path( test.param ).stem().string();
    std::replace( name.begin(), name.end(), '-', '_' );
    return name;
} );

} // namespace
