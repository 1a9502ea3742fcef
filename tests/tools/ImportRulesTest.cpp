// The step import-rules, with small rule sets written here and with the real ones.

#include "tests/tools/ToolRunner.h"

#include <fstream>
#include <gtest/gtest.h>
#include <set>

namespace {

using ToolTest::ToolFolder;
using ToolTest::ToolResult;

/// A rule with these ports.
std::string rule( const std::string& sourcePorts, const std::string& destinationPorts )
{
    return "@10.0.0.0/8\t10.1.0.0/16\t" + sourcePorts + "\t" + destinationPorts +
           "\t0x06/0xFF\t0x0000/0x0000\t\n";
}

ToolResult import( const ToolFolder& folder,
                   const std::string& file,
                   const std::string& options = "",
                   const std::string& chip = "sdk6-large" )
{
    return folder.runScenario( "chip: " + chip + "\nsteps:\n  - import-rules: { file: \"" + file +
                                   "\" }\n" + options + "  - audit: all\n",
                               { "--json" } );
}

TEST( ImportRules, Run_RangesOfManyKinds_AllocatesEachThatIsNeitherOnePortNorAll )
{
    const ToolFolder folder;
    folder.write( "some.rules",
                  rule( "0 : 65535", "80 : 80" ) +             // none
                      rule( "1024 : 65535", "0 : 65535" ) +    // one
                      rule( "1024 : 65535", "1024 : 65535" ) + // its twin for the destination
                      rule( "0 : 65534", "80 : 81" ) +         // two
                      rule( "0 : 0", "80 : 81" ) );            // one that was there
    const ToolResult result = import( folder, "some.rules" );
    EXPECT_EQ( result.exitCode, 0 );
    const auto step = result.json().at( "steps" ).at( 0 );
    EXPECT_EQ( step.at( "name" ), "some.rules" );
    EXPECT_EQ( step.at( "rules" ), 5 );
    EXPECT_EQ( step.at( "ranges" ), 4 );
    EXPECT_EQ( step.at( "allocated" ), 4 );
    EXPECT_EQ( step.at( "shared" ), 0 );
    EXPECT_EQ( step.at( "full" ), 0 );
    EXPECT_EQ( step.at( "text" ), "5 rules, 4 distinct ranges: 4 allocated, 0 shared, 0 full" );
    EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "audited" ), 4 );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 4 );
}

TEST( ImportRules, Run_OneMoreThanTheChipHas_IsFullAndKeepsWhatItGot )
{
    const ToolFolder folder;
    folder.write( "three.rules",
                  rule( "1 : 2", "0 : 65535" ) + rule( "1 : 3", "0 : 65535" ) +
                      rule( "1 : 4", "0 : 65535" ) );
    const ToolResult result = import( folder, "three.rules", "    expect: full\n", "sdk6-tiny" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
    const auto step = result.json().at( "steps" ).at( 0 );
    EXPECT_EQ( step.at( "allocated" ), 2 );
    EXPECT_EQ( step.at( "full" ), 1 );
}

TEST( ImportRules, Run_AsManyAsTheChipHas_IsOk )
{
    const ToolFolder folder;
    folder.write( "two.rules", rule( "1 : 2", "0 : 65535" ) + rule( "1 : 3", "0 : 65535" ) );
    EXPECT_EQ( import( folder, "two.rules", "", "sdk6-tiny" ).exitCode, 0 );
}

TEST( ImportRules, Run_SameRulesAgain_SharesAll )
{
    const ToolFolder folder;
    folder.write( "two.rules", rule( "1 : 2", "3 : 4" ) );
    const ToolResult result =
        import( folder, "two.rules", "  - import-rules: { file: two.rules }\n" );
    const auto step = result.json().at( "steps" ).at( 1 );
    EXPECT_EQ( step.at( "allocated" ), 0 );
    EXPECT_EQ( step.at( "shared" ), 2 );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 2 );
}

TEST( ImportRules, Run_ChipFailsForAnotherReason_IsAnError )
{
    const ToolFolder folder;
    folder.write( "two.rules", rule( "1 : 2", "3 : 4" ) );
    const ToolResult result =
        folder.runScenario( "chip: hsdk\n"
                            "faults:\n"
                            "  - { function: bcm_range_create, call: 2, fail: BCM_E_TIMEOUT }\n"
                            "steps:\n"
                            "  - import-rules: { file: two.rules }\n"
                            "    expect: error\n",
                            { "--json" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_EQ( result.json().at( "steps" ).at( 0 ).at( "text" ),
               "bcm_range_create: BCM_E_TIMEOUT (-9), Operation timed out" );
}

TEST( ImportRules, Run_FileFromTheEnvironment_IsFoundFromTheWorkingDirectory )
{
    ToolFolder folder;
    folder.write( "data/a.rules", rule( "1 : 2", "3 : 4" ) );
    folder.write( "below/scenario.yaml",
                  "chip: hsdk\nsteps:\n"
                  "  - import-rules: { file: \"${PELORA_RULES:-nowhere}/a.rules\" }\n" );
    folder.environmentIs( "PELORA_RULES", "data" );
    EXPECT_EQ( folder.run( { "run", "below/scenario.yaml" } ).exitCode, 0 );
}

TEST( ImportRules, Run_FileByDefault_IsFoundFromTheScenario )
{
    const ToolFolder folder;
    folder.write( "data/a.rules", rule( "1 : 2", "3 : 4" ) );
    folder.write( "below/scenario.yaml",
                  "chip: hsdk\nsteps:\n"
                  "  - import-rules: { file: \"${PELORA_RULES:-../data}/a.rules\" }\n" );
    EXPECT_EQ( folder.run( { "run", "below/scenario.yaml" } ).exitCode, 0 );
}

// ---- The real rule sets ----------------------------------------------------------------------

/// The distinct ranges of a rule set by a simple reading of its own: fields between tabs.
std::size_t distinctRangesOf( const std::string& path )
{
    std::set< std::string > ranges;
    std::ifstream file( path );
    std::string field;
    for ( std::string line; std::getline( file, line ); ) {
        std::istringstream fields( line );
        for ( int column = 0; std::getline( fields, field, '\t' ); ++column ) {
            const bool isPorts = column == 2 || column == 3;
            const std::size_t colon = field.find( " : " );
            if ( isPorts && field != "0 : 65535" &&
                 field.substr( 0, colon ) != field.substr( colon + 3 ) ) {
                ranges.insert( std::to_string( column ) + " " + field );
            }
        }
    }
    return ranges.size();
}

std::size_t linesOf( const std::string& path )
{
    std::ifstream file( path );
    std::size_t lines = 0;
    for ( std::string line; std::getline( file, line ); ) {
        ++lines;
    }
    return lines;
}

class RealRuleSet : public testing::TestWithParam< const char* >
{
  protected:
    void SetUp() override
    {
        const std::string data = ToolTest::testDataFolder();
        if ( data.empty() ) {
            GTEST_SKIP() << "no test data: set PELORA_TEST_DATA to the folder that holds them";
        }
        file_ = data + "/classbench/" + GetParam() + ".rules";
        ASSERT_GT( linesOf( file_ ), 0U ) << file_;
    }

    std::string file_;
    ToolFolder folder_;
};

TEST_P( RealRuleSet, Import_EnoughRangeCheckers_GivesEachRangeOneAndTheAuditPasses )
{
    const ToolResult result = import( folder_, file_ );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const std::size_t ranges = distinctRangesOf( file_ );
    const auto step = result.json().at( "steps" ).at( 0 );
    EXPECT_EQ( step.at( "rules" ), linesOf( file_ ) );
    EXPECT_EQ( step.at( "ranges" ), ranges );
    EXPECT_EQ( step.at( "allocated" ), ranges );
    EXPECT_EQ( step.at( "full" ), 0 );
    EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "audited" ), ranges );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), ranges );
}

TEST_P( RealRuleSet, Import_TooFewRangeCheckers_UsesAllAndReportsTheRestFull )
{
    const std::size_t ranges = distinctRangesOf( file_ );
    constexpr std::size_t capacity = 2; // Of the chip sdk6-tiny.
    const bool fits = ranges <= capacity;
    const ToolResult result =
        import( folder_, file_, fits ? "" : "    expect: full\n", "sdk6-tiny" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const std::size_t allocated = fits ? ranges : capacity;
    const auto step = result.json().at( "steps" ).at( 0 );
    EXPECT_EQ( step.at( "allocated" ), allocated );
    EXPECT_EQ( step.at( "full" ), ranges - allocated );
    EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "audited" ), allocated );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), allocated );
}

INSTANTIATE_TEST_SUITE_P(
    ClassBench,
    RealRuleSet,
    testing::Values( "acl1_1k", "acl1_8k", "acl4_1k", "fw1_1k", "fw4_1k", "ipc1_1k" ),
    []( const auto& test ) { return std::string( test.param ); } );

} // namespace
