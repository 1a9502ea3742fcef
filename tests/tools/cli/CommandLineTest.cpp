#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

ToolResult runTool( const std::vector< std::string >& arguments )
{
    return ToolFolder().run( arguments );
}

TEST( CommandLine, Help_OfTheToolAndOfEachCommand_HasAnExampleAndTheExitCodes )
{
    const std::vector< std::vector< std::string > > helps = {
        { "--help" },         { "run", "--help" },          { "profiles", "--help" },
        { "maps", "--help" }, { "decode-trace", "--help" }, { "explain-udf", "--help" },
    };
    for ( const auto& arguments : helps ) {
        const ToolResult result = runTool( arguments );
        EXPECT_EQ( result.exitCode, 0 );
        EXPECT_THAT( result.output, HasSubstr( "Examples:\n  pelora-tcam " ) );
        EXPECT_THAT( result.output, HasSubstr( "Exit codes:\n  0  " ) );
        EXPECT_EQ( result.errors, "" );
    }
}

TEST( CommandLine, HelpOfRun_AnyTime_NamesTheTraceFacilities )
{
    const ToolResult result = runTool( { "run", "--help" } );
    EXPECT_THAT( result.output, HasSubstr( "ApiPelora" ) );
    EXPECT_THAT( result.output, HasSubstr( "PeloraTcamRangeChecker" ) );
}

TEST( CommandLine, Version_AnyTime_IsPrinted )
{
    const ToolResult result = runTool( { "--version" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.output, testing::MatchesRegex( "pelora-tcam [0-9]+\\.[0-9]+\\.[0-9]+\n" ) );
}

TEST( CommandLine, OptionsInFrontOfTheCommand_AreItsOptions )
{
    EXPECT_EQ( runTool( { "--json", "profiles" } ).output,
               runTool( { "profiles", "--json" } ).output );
    const ToolFolder folder;
    folder.write( "scenario.yaml", "chip: sdk6-tiny\nsteps:\n  - audit: all\n" );
    const ToolResult result = folder.run(
        { "--chip", "hsdk", "--numbering=shuffled:3", "--json", "run", "scenario.yaml" } );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_EQ( result.json().at( "profile" ), "hsdk" );
    EXPECT_EQ( result.json().at( "numbering" ), "shuffled:3" );
}

TEST( CommandLine, OptionsOfRun_HaveBadValues_EndWithTwoAndSayWhatWasExpected )
{
    const std::vector< std::pair< std::vector< std::string >, std::string > > table = {
        { { "--trace", "ApiPelora" }, "--trace: expected FACILITY=LEVELS, found 'ApiPelora'" },
        { { "--trace", "ApiPelor=4" },
          "--trace: unknown facility 'ApiPelor', did you mean 'ApiPelora'?" },
        { { "--trace", "ApiPelora=32" },
          "--trace: expected levels from 0 to 31 such as '4' or '0,8-9', 'all' or 'none', found "
          "'32'" },
        { { "--numbering", "shuffle:1" },
          "--numbering: expected 'default' or 'shuffled:SEED' with a SEED from 0 to 4294967295, "
          "found 'shuffle:1'" },
    };
    for ( const auto& [ options, message ] : table ) {
        const ToolResult result =
            ToolFolder().runScenario( "chip: hsdk\nsteps:\n  - audit: all\n", options );
        EXPECT_EQ( result.errors, "pelora-tcam: " + message + "\n" );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_EQ( result.output, "" );
    }
}

TEST( CommandLine, Trace_OfEveryFacility_Traces )
{
    const ToolResult result =
        ToolFolder().runScenario( "chip: hsdk\nsteps:\n  - audit: all\n", { "--trace", "*=all" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.errors, HasSubstr( "PeloraTcamTool 4 " ) );
}

TEST( Profiles, List_AnyTime_IsATableOfTheBuiltInOnes )
{
    const ToolResult result = runTool( { "profiles" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.output, HasSubstr( "NAME        CHIP              DESCRIPTION\n" ) );
    EXPECT_THAT( result.output, HasSubstr( "\nhsdk        hsdk              An HSDK chip\n" ) );
}

TEST( Profiles, ListAsJson_AnyTime_HasKindAndCapacities )
{
    const auto profiles = runTool( { "profiles", "--json" } ).json().at( "profiles" );
    const auto tiny = std::find_if( profiles.begin(), profiles.end(), []( const auto& profile ) {
        return profile.at( "name" ) == "sdk6-tiny";
    } );
    ASSERT_NE( tiny, profiles.end() );
    EXPECT_EQ( tiny->at( "chip" ), "sdk6-udf-module" );
    EXPECT_EQ( tiny->at( "capacities" ).at( "rangeCheckers" ), 2 );
}

TEST( Profiles, OneByName_IsPrintedSoThatItCanBeReadBack )
{
    const ToolFolder folder;
    const ToolResult printed = folder.run( { "profiles", "sdk6-tiny" } );
    EXPECT_EQ( printed.exitCode, 0 );
    folder.write( "mine.yaml", printed.output );
    const ToolResult again = folder.run( { "profiles", "mine.yaml" } );
    EXPECT_EQ( again.exitCode, 0 ) << again.errors;
    EXPECT_EQ( again.output, printed.output );
    EXPECT_EQ( folder.run( { "profiles", "--json", "mine.yaml" } ).json().at( "name" ),
               "sdk6-tiny" );
}

TEST( Profiles, OneWithTabs_IsPrintedWithThem )
{
    const ToolFolder folder;
    const std::string text =
        "# mine:\ta small one\n" + folder.run( { "profiles", "sdk6-tiny" } ).output;
    folder.write( "mine.yaml", text );
    EXPECT_EQ( folder.run( { "profiles", "mine.yaml" } ).output, text );
}

TEST( Profiles, OneThatThereIsNot_EndsWithTwoAndNamesTheNearest )
{
    const ToolResult result = runTool( { "profiles", "sdk6-tini" } );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.errors,
               "pelora-tcam: 'sdk6-tini' is neither a built-in chip profile nor a file, did you "
               "mean 'sdk6-tiny'?\n" );
}

TEST( Output, CannotBeWritten_EndsWithFour )
{
    const ToolFolder folder;
    const std::string command = std::string( PELORA_BINARY_DIR ) +
                                "/bin/pelora-tcam profiles > /dev/full 2> " + folder.path() +
                                "/errors";
    EXPECT_EQ( std::system( command.c_str() ) >> 8, 4 );
    EXPECT_EQ( folder.read( "errors" ), "pelora-tcam: standard output could not be written\n" );
}

} // namespace
