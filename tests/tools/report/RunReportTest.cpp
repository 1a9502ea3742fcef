// How a run is reported: as JSON, as text, on a terminal, with the chip's snapshot.

#include "tests/tools/RangeScenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace {

using testing::HasSubstr;
using testing::Not;
using ToolTest::audit;
using ToolTest::corruptMax;
using ToolTest::dns;
using ToolTest::jumbo;
using ToolTest::runJson;
using ToolTest::tiny;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;
using ToolTest::web;

// ---- JSON ------------------------------------------------------------------------------------

TEST( RunReport, RunWithJson_AnyRun_HasTheDocumentedMembers )
{
    const ToolResult result = runJson( "chip: hsdk\nunit: 3\npipe: 2\nsteps:\n" + web );
    const auto json = result.json();
    EXPECT_EQ( json.at( "scenario" ), "scenario.yaml" );
    EXPECT_EQ( json.at( "profile" ), "hsdk" );
    EXPECT_EQ( json.at( "unit" ), 3 );
    EXPECT_EQ( json.at( "pipe" ), 2 );
    EXPECT_EQ( json.at( "numbering" ), "default" );
    EXPECT_EQ( json.at( "chip" ).at( "rangeCheckers" ),
               ( nlohmann::json{ { "used", 1 }, { "capacity", 128 }, { "peak", 1 } } ) );
    EXPECT_FALSE( json.contains( "ended" ) );
    const auto step = json.at( "steps" ).at( 0 );
    EXPECT_EQ( step.at( "index" ), 1 );
    EXPECT_EQ( step.at( "step" ), "allocate-range-checker" );
    EXPECT_EQ( step.at( "name" ), "web" );
    EXPECT_EQ( step.at( "outcome" ), "ok" );
    EXPECT_EQ( step.at( "expected" ), "ok" );
}

TEST( RunReport, RunWithJson_NamesBeyondAscii_AreTold )
{
    const ToolResult result = runJson(
        tiny + "  - allocate-range-checker: { name: a\u00e9, type: 1, low: 1, high: 2 }\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_EQ( result.json().at( "steps" ).at( 0 ).at( "name" ), "a\u00e9" );
}

// ---- Text ------------------------------------------------------------------------------------

TEST( RunReport, Run_AsText_PrintsEachStepTheChipAndTheResult )
{
    const ToolResult result =
        ToolFolder().runScenario( tiny + web + dns + jumbo + "    expect: full\n" + audit );
    EXPECT_THAT( result.output,
                 testing::StartsWith(
                     "scenario.yaml: 4 steps on chip sdk6-tiny, unit 0, pipe 0, numbering default\n"
                     "\n"
                     "1  allocate-range-checker  web    ok       id 1, l4DstPort 8000..8999\n"
                     "2  allocate-range-checker  dns    ok       id 2, l4SrcPort 50..59\n"
                     "3  allocate-range-checker  jumbo  full     as expected: bcm_range_create: "
                     "BCM_E_FULL (-6), Table full\n"
                     "4  audit                   all    ok       2 compared with the chip\n"
                     "\n"
                     "Chip sdk6-tiny                 used   at most  capacity\n"
                     "  range checkers                  2         2         2\n"
                     "  field groups                    0         0         2\n" ) );
    EXPECT_THAT( result.output, testing::EndsWith( "\n\nResult: 4 steps, all as expected\n" ) );
    EXPECT_EQ( result.errors, "" );
}

TEST( RunReport, Run_GivesBack_TheMostThatWasUsedStays )
{
    const std::string release = "  - release-range-checker: { name: web }\n";
    const auto chip = runJson( tiny + web + release + audit ).json().at( "chip" );
    EXPECT_EQ( chip.at( "rangeCheckers" ).at( "used" ), 0 );
    EXPECT_EQ( chip.at( "rangeCheckers" ).at( "peak" ), 1 );
    EXPECT_EQ( chip.at( "rangeCheckers" ).at( "capacity" ), 2 );
    EXPECT_EQ( chip.at( "policers" ).at( "peak" ), 0 );
}

TEST( RunReport, Run_OnATerminalWithAWidth_FoldsWhatIsLonger )
{
    ToolFolder folder;
    folder.environmentIs( "NO_COLOR", "1" );
    folder.write( "scenario.yaml", tiny + web + corruptMax + audit + "    expect: aborted\n" );
    const ToolResult result = folder.runOnTerminal( { "run", "scenario.yaml" }, 80 );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT(
        result.output,
        HasSubstr( "\r\n      assertion: PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.cpp:" ) );
    // What follows stands under it. Where it is folded depends on how the compiler writes types.
    EXPECT_THAT( result.output, HasSubstr( "\r\n                 " ) );
    EXPECT_THAT( result.output, HasSubstr( "RangeCheckerData>" ) );
    EXPECT_THAT( result.output, HasSubstr( " failed.\r\n      process:   ended by SIGABRT" ) );
    // One word is longer than the room for it; nothing else is.
    std::istringstream lines( result.output );
    for ( std::string line; std::getline( lines, line ); ) {
        EXPECT_TRUE( line.size() <= 81 || line.rfind( ' ' ) < 20 ) << line;
    }
}

TEST( RunReport, Run_AsTextWithUnexpectedOutcome_SaysWhatWasExpected )
{
    const ToolResult result = ToolFolder().runScenario( tiny + web + "    expect: full\n" + audit );
    EXPECT_THAT( result.output,
                 HasSubstr( "1  allocate-range-checker  web  ok       expected full: id 1, "
                            "l4DstPort 8000..8999\n" ) );
    EXPECT_THAT( result.output, HasSubstr( "\nResult: 1 of 2 not as expected\n" ) );
}

TEST( RunReport, Run_AsTextAndLibraryEnds_SaysSoOnBoth )
{
    const ToolResult result = ToolFolder().runScenario( tiny + web + corruptMax + audit );
    EXPECT_THAT( result.output,
                 HasSubstr( "\n3  audit                   all            aborted" ) );
    EXPECT_THAT(
        result.output,
        HasSubstr( "\nResult: the library ended the process in step 3 of 3, audit all\n" ) );
    EXPECT_THAT( result.errors, HasSubstr( "sw collection is out of sync" ) );
}

TEST( RunReport, Run_IntoAFile_HasNoColours )
{
    const ToolResult result = ToolFolder().runScenario( tiny + web );
    EXPECT_THAT( result.output, HasSubstr( "ok" ) );
    EXPECT_THAT( result.output, Not( HasSubstr( "\033" ) ) );
    EXPECT_THAT( result.errors, Not( HasSubstr( "\033" ) ) );
}

TEST( RunReport, Run_OnATerminal_HasColours )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml", tiny + web );
    EXPECT_THAT( folder.runOnTerminal( { "run", "scenario.yaml" } ).output,
                 HasSubstr( "\033[32mok     \033[0m" ) );
}

TEST( RunReport, Run_OnATerminalWithNoColorSet_HasNone )
{
    ToolFolder folder;
    folder.environmentIs( "NO_COLOR", "1" );
    folder.write( "scenario.yaml", tiny + web );
    const ToolResult result = folder.runOnTerminal( { "run", "scenario.yaml" } );
    EXPECT_THAT( result.output, HasSubstr( "ok" ) );
    EXPECT_THAT( result.output, Not( HasSubstr( "\033" ) ) );
}

TEST( RunReport, Run_OnATerminalThatIsDumb_HasNoColours )
{
    ToolFolder folder;
    folder.environmentIs( "TERM", "dumb" );
    folder.write( "scenario.yaml", tiny + web );
    const ToolResult result = folder.runOnTerminal( { "run", "scenario.yaml" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.output, HasSubstr( "ok" ) );
    EXPECT_THAT( result.output, Not( HasSubstr( "\033" ) ) );
}

/// An import of two rules with three ranges, each of which takes 60 ms on this chip.
ToolFolder& slowImport( ToolFolder& folder )
{
    folder.write( "slow.rules", "@1.2.3.4/32 5.6.7.0/24 1 : 2 3 : 4 0x06/0xFF 0x0000/0x0000\n"
                                "@1.2.3.4/32 5.6.7.0/24 1 : 2 5 : 6 0x06/0xFF 0x0000/0x0000\n" );
    folder.write( "scenario.yaml",
                  "chip: hsdk\n"
                  "faults:\n"
                  "  - { function: bcm_range_create, from-call: 1, delay-ms: 60 }\n"
                  "steps:\n"
                  "  - import-rules: { file: slow.rules }\n" );
    return folder;
}

TEST( RunReport, Run_LongImportOnATerminal_ShowsHowFarItIsAndTakesThatAway )
{
    ToolFolder folder;
    const ToolResult result = slowImport( folder ).runOnTerminal( { "run", "scenario.yaml" } );
    EXPECT_THAT( result.output, HasSubstr( "\r\033[K1  import-rules slow.rules  1 of 2" ) );
    EXPECT_THAT( result.output, HasSubstr( "1 of 2\r\033[K" ) );
}

TEST( RunReport, Run_LongImportIntoAFile_ShowsNothingOfThat )
{
    ToolFolder folder;
    const ToolResult result = slowImport( folder ).run( { "run", "scenario.yaml" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_EQ( result.errors, "" );
    EXPECT_THAT( result.output, Not( HasSubstr( "1 of 2" ) ) );
}

// ---- The snapshot ----------------------------------------------------------------------------

TEST( RunReport, Snapshot_AsText_HasALineForEachObject )
{
    const ToolResult result = ToolFolder().runScenario( tiny + web + dns, { "--snapshot" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.output,
                 testing::EndsWith(
                     "\n\nSnapshot\n"
                     "  range checker 1: type=bcmRangeTypeL4DstPort min=8000 max=8999 instance=0\n"
                     "  range checker 2: type=bcmRangeTypeL4SrcPort min=50 max=59 instance=0\n"
                     "\nResult: 2 steps, all as expected\n" ) );
}

TEST( RunReport, Snapshot_OfAnEmptyChip_SaysSo )
{
    const ToolResult result = ToolFolder().runScenario( tiny + audit, { "--snapshot" } );
    EXPECT_THAT( result.output, HasSubstr( "\nSnapshot\n  nothing\n" ) );
}

TEST( RunReport, Snapshot_AsJson_HasObjectsAndTheirFields )
{
    const ToolResult result = ToolFolder().runScenario( tiny + web, { "--snapshot", "--json" } );
    const auto snapshot = result.json().at( "snapshot" );
    ASSERT_EQ( snapshot.size(), 1U );
    EXPECT_EQ( snapshot.at( 0 ).at( "object" ), "range checker 1" );
    const auto fields = snapshot.at( 0 ).at( "fields" );
    ASSERT_EQ( fields.size(), 4U );
    EXPECT_EQ( fields.at( 1 ).at( "name" ), "min" );
    EXPECT_EQ( fields.at( 1 ).at( "value" ), "8000" );
}

TEST( RunReport, Snapshot_NotAskedFor_IsNotThere )
{
    EXPECT_FALSE( runJson( tiny + web ).json().contains( "snapshot" ) );
}

TEST( RunReport, Snapshot_LibraryEndsTheProcess_IsOfBeforeTheStep )
{
    const ToolResult result =
        ToolFolder().runScenario( tiny + web + corruptMax + audit, { "--snapshot", "--json" } );
    EXPECT_EQ( result.exitCode, 3 );
    EXPECT_EQ( result.json().at( "snapshot" ).size(), 1U );
}

} // namespace
