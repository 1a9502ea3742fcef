// Every example runs, and ends as it says.

#include "tests/tools/ToolRunner.h"

#include <filesystem>
#include <gtest/gtest.h>

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

class Example : public testing::TestWithParam< std::string >
{};

TEST_P( Example, Run_AsItStands_EndsWithZero )
{
    const ToolFolder folder;
    const ToolResult result = folder.run( { "run", GetParam() } );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
}

TEST( ExampleOfUdfs, Run_ToItsEnd_LeavesAnEmptyChip )
{
    const ToolResult result = ToolFolder().run(
        { "run", "--json", PELORA_SOURCE_DIR "/examples/user-defined-fields.yaml" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const auto occupancies = result.json().at( "chip" );
    for ( const auto& [ resource, occupancy ] : occupancies.items() ) {
        EXPECT_EQ( occupancy.at( "used" ), 0 ) << resource;
    }
}

TEST( ExampleOfThreeChips, Compare_ToItsEnd_LeavesEmptyChips )
{
    const ToolResult result =
        ToolFolder().run( { "compare", "--json", PELORA_SOURCE_DIR "/examples/three-chips.yaml" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    ASSERT_EQ( result.json().at( "chips" ).size(), 3U );
    const auto runs = result.json().at( "chips" );
    for ( const auto& run : runs ) {
        for ( const auto& [ resource, occupancy ] : run.at( "chip" ).items() ) {
            EXPECT_EQ( occupancy.at( "used" ), 0 ) << resource;
        }
    }
}

/// The examples of rule sets on their chips.
class ExampleOfRules : public testing::TestWithParam< const char* >
{
  protected:
    /// Runs it and expects that each rule was programmed and that the chip is empty in the end.
    static void expectWholeAndGone( const ToolFolder& folder )
    {
        const std::string file = std::string( PELORA_SOURCE_DIR "/examples/" ) + GetParam();
        const ToolResult result = folder.run( { "run", "--json", file } );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        const auto import = result.json().at( "steps" ).at( 0 );
        EXPECT_GE( import.at( "rules" ), 24 );
        EXPECT_EQ( import.at( "programmed" ), import.at( "rules" ) );
        EXPECT_EQ( import.at( "counters" ), import.at( "rules" ) );
        EXPECT_EQ( import.at( "policers" ).at( "made" ), import.at( "rules" ) );
        const auto occupancies = result.json().at( "chip" );
        for ( const auto& [ resource, occupancy ] : occupancies.items() ) {
            EXPECT_EQ( occupancy.at( "used" ), 0 ) << resource;
        }
    }
};

TEST_P( ExampleOfRules, Run_OwnRules_ProgramsAllAndLeavesAnEmptyChip )
{
    expectWholeAndGone( ToolFolder() );
}

TEST_P( ExampleOfRules, Run_RealRules_ProgramsAllAndLeavesAnEmptyChip )
{
    if ( ToolTest::testDataFolder().empty() ) {
        GTEST_SKIP() << "no test data: set PELORA_TEST_DATA to the folder that holds them";
    }
    ToolFolder folder;
    folder.environmentIs( "PELORA_RULES", ToolTest::testDataFolder() + "/classbench/fw1_1k.rules" );
    expectWholeAndGone( folder );
}

INSTANTIATE_TEST_SUITE_P( Chips,
                          ExampleOfRules,
                          testing::Values( "rule-set-sdk6.yaml", "rule-set-hsdk.yaml" ),
                          []( const auto& test ) {
                              return std::string( test.index == 0 ? "sdk6" : "hsdk" );
                          } );

INSTANTIATE_TEST_SUITE_P( Folder, Example, testing::ValuesIn( examples() ), []( const auto& test ) {
    std::string name = std::filesystem::path( test.param ).stem().string();
    std::replace( name.begin(), name.end(), '-', '_' );
    return name;
} );

} // namespace
