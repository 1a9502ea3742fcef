// The sub-command `compare`: one scenario on several chips, side by side.

#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ToolTest {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* oneField =
    "chip: sdk6-tiny\n"
    "steps:\n"
    "  - program-udf: { name: id, base: l3Header, ethertype: ipv4, offset: 4, length: 2 }\n"
    "  - audit: all\n";

/// Runs `compare` on a scenario.
ToolResult compare( const std::string& scenario, std::vector< std::string > options = {} )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml", scenario );
    std::vector< std::string > arguments = { "compare", "scenario.yaml" };
    arguments.insert( arguments.end(), options.begin(), options.end() );
    return folder.run( arguments );
}

TEST( Compare, Run_WithoutChips_ShowsOneOfEachKindSideBySide )
{
    const ToolResult result = compare( oneField );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_EQ(
        result.output,
        "scenario.yaml\n"
        "\n"
        "  1  program-udf  id\n"
        "     sdk6-udf   ok      id 1, 2 bytes at 4 from l3Header\n"
        "                given:  layer bcmUdfLayerL3OuterHeader, start 32, width 16, chunk 0, "
        "packet format 1\n"
        "     sdk6-flex  ok      id 1, 2 bytes at 4 from l3Header\n"
        "                given:  format bcmUdfAbstractPktFormatL3Ipv4WithoutOptions, offset 32, "
        "width 16, chunk 0\n"
        "     hsdk       ok      id 1, 2 bytes at 4 from l3Header\n"
        "                given:  format bcmUdfAbstractPktFormatL3Ipv4, offset 32, width 16, "
        "chunk 0\n"
        "\n"
        "  2  audit  all\n"
        "     all        ok      1 compared with the chip\n"
        "\n"
        "Result on sdk6-udf: as-expected\n"
        "Result on sdk6-flex: as-expected\n"
        "Result on hsdk: as-expected\n" );
}

TEST( Compare, Run_OnOneChip_NamesIt )
{
    const ToolResult result = compare( oneField, { "--chip", "hsdk" } );
    EXPECT_THAT( result.output, HasSubstr( "\n     hsdk  ok      1 compared with the chip\n" ) );
}

TEST( Compare, Run_ChipsGiven_RunsThoseInTheirOrder )
{
    const ToolResult result =
        compare( oneField, { "--chip", "hsdk", "--chip", "sdk6-tiny", "--json" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.errors;
    const auto json = nlohmann::json::parse( result.output );
    EXPECT_EQ( json.at( "scenario" ), "scenario.yaml" );
    ASSERT_EQ( json.at( "chips" ).size(), 2U );
    EXPECT_EQ( json.at( "chips" ).at( 0 ).at( "profile" ), "hsdk" );
    EXPECT_EQ( json.at( "chips" ).at( 1 ).at( "profile" ), "sdk6-tiny" );
    EXPECT_EQ( json.at( "chips" ).at( 1 ).at( "result" ), "as-expected" );
}

TEST( Compare, Run_StepsDiffer_ExitCodeIsTheHighest )
{
    const std::string hash = "chip: hsdk\nsteps:\n  - program-udf: { name: a, base: l3Header, "
                             "ethertype: ipv4, offset: 4, length: 2, lag-mask: [ 1 ] }\n";
    const ToolResult result = compare( hash );
    EXPECT_EQ( result.exitCode, 1 );
    EXPECT_THAT( result.output,
                 HasSubstr( "     hsdk       error   expected ok: this chip cannot hash over "
                            "user-defined fields\n" ) );
    EXPECT_THAT( result.output, HasSubstr( "Result on sdk6-udf: as-expected\n" ) );
    EXPECT_THAT( result.output, HasSubstr( "Result on hsdk: not-as-expected\n" ) );
}

TEST( Compare, Run_LibraryEndsOnOneChip_ShowsTheAssertionAndWhatWasNotRun )
{
    const std::string mac = "chip: hsdk\nsteps:\n  - program-udf: { name: a, base: l3Header, "
                            "ethertype: ipv4, app: macAcl, offset: 4, length: 2 }\n"
                            "  - audit: all\n";
    const ToolResult result = compare( mac );
    EXPECT_EQ( result.exitCode, 3 );
    EXPECT_THAT( result.errors, HasSubstr( "Cannot specify ethertype ip with mac ACL" ) );
    EXPECT_THAT( result.output, HasSubstr( "     sdk6-udf   ok      1 compared" ) );
    EXPECT_THAT( result.output, HasSubstr( "     hsdk       not run\n" ) );
    EXPECT_THAT( result.output, HasSubstr( "Result on hsdk: library-ended\n" ) );
}

TEST( Compare, Run_BadInput_RunsNothing )
{
    const ToolResult unknown = compare( oneField, { "--chip", "hsdk", "--chip", "hsdkk" } );
    EXPECT_EQ( unknown.exitCode, 2 );
    EXPECT_EQ( unknown.output, "" );
    EXPECT_THAT( unknown.errors, HasSubstr( "hsdk" ) );
    const ToolResult wrong = compare( "chip: hsdk\nsteps:\n  - audit: some\n" );
    EXPECT_EQ( wrong.exitCode, 2 );
    EXPECT_THAT( wrong.errors, StartsWith( "scenario.yaml:3:" ) );
    EXPECT_EQ( compare( oneField, { "--numbering", "odd" } ).exitCode, 2 );
}

} // namespace
} // namespace ToolTest
