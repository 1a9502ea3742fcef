// What a run does with outcomes and expectations, and how it ends.

#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

const std::string tiny = "chip: sdk6-tiny\nsteps:\n";
const std::string web =
    "  - allocate-range-checker: { name: web, type: l4DstPort, low: 8000, high: 8999 }\n";
const std::string dns =
    "  - allocate-range-checker: { name: dns, type: l4SrcPort, low: 50, high: 59 }\n";
const std::string jumbo =
    "  - allocate-range-checker: { name: jumbo, type: packetLength, low: 1519, high: 9216 }\n";
const std::string audit = "  - audit: all\n";
const std::string corruptMax =
    "  - inject-fault: { function: bcm_range_get, call: 1, corrupt: { field: max, value: 1 } }\n";
const std::string dropCreate =
    "  - inject-fault: { function: bcm_range_create, call: 1, drop: true }\n";

std::vector< std::string > outcomesOf( const ToolResult& result )
{
    std::vector< std::string > outcomes;
    const nlohmann::json json = result.json();
    for ( const auto& step : json.at( "steps" ) ) {
        outcomes.push_back( step.at( "outcome" ) );
    }
    return outcomes;
}

ToolResult runJson( const std::string& scenario )
{
    return ToolFolder().runScenario( scenario, { "--json" } );
}

// ---- Outcomes and expectations ---------------------------------------------------------------

TEST( ScenarioRun, Run_EveryStepIsOk_EndsWithZero )
{
    const ToolResult result = runJson( tiny + web + audit );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( outcomesOf( result ), ElementsAre( "ok", "ok" ) );
    EXPECT_EQ( result.json().at( "result" ), "as-expected" );
    EXPECT_EQ( result.errors, "" );
}

TEST( ScenarioRun, Run_FullIsExpected_EndsWithZero )
{
    const ToolResult result = runJson( tiny + web + dns + jumbo + "    expect: full\n" );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( outcomesOf( result ), ElementsAre( "ok", "ok", "full" ) );
}

TEST( ScenarioRun, Run_FullIsNotExpected_EndsWithOneAndGoesOnToTheEnd )
{
    const ToolResult result = runJson( tiny + web + dns + jumbo + audit );
    EXPECT_EQ( result.exitCode, 1 );
    EXPECT_THAT( outcomesOf( result ), ElementsAre( "ok", "ok", "full", "ok" ) );
    EXPECT_EQ( result.json().at( "result" ), "not-as-expected" );
    EXPECT_EQ( result.json().at( "steps" ).at( 2 ).at( "expected" ), "ok" );
}

TEST( ScenarioRun, Run_OkWhereFullIsExpected_EndsWithOne )
{
    const ToolResult result = runJson( tiny + web + "    expect: full\n" );
    EXPECT_EQ( result.exitCode, 1 );
    EXPECT_THAT( outcomesOf( result ), ElementsAre( "ok" ) );
}

TEST( ScenarioRun, Run_ErrorIsExpected_EndsWithZero )
{
    const ToolResult result =
        runJson( tiny + "  - release-range-checker: { name: web }\n    expect: error\n" );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( outcomesOf( result ), ElementsAre( "error" ) );
    EXPECT_EQ( result.json().at( "steps" ).at( 0 ).at( "text" ),
               "there is no range checker 'web'" );
}

TEST( ScenarioRun, Run_ErrorIsNotExpected_EndsWithOne )
{
    EXPECT_EQ( runJson( tiny + "  - release-range-checker: { name: web }\n" ).exitCode, 1 );
}

TEST( ScenarioRun, Run_AbortIsExpected_GoesOnWithTheStateBeforeTheStep )
{
    const ToolResult result = runJson( tiny + web + corruptMax + audit + "    expect: aborted\n" +
                                       "  - clear-faults: all\n" + audit );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( outcomesOf( result ), ElementsAre( "ok", "ok", "aborted", "ok", "ok" ) );
    const auto step = result.json().at( "steps" ).at( 2 );
    EXPECT_THAT( step.at( "assertion" ).get< std::string >(),
                 HasSubstr( "sw collection is out of sync" ) );
    EXPECT_EQ( step.at( "end" ), "SIGABRT (Aborted)" );
    EXPECT_FALSE( step.contains( "apiError" ) );
    EXPECT_EQ( result.errors, "" );
}

TEST( ScenarioRun, Run_AbortIsExpectedAndDoesNotHappen_EndsWithOneAndNothingOfTheStepStays )
{
    const ToolResult result = runJson( tiny + web + "    expect: aborted\n" + audit );
    EXPECT_EQ( result.exitCode, 1 );
    EXPECT_THAT( outcomesOf( result ), ElementsAre( "ok", "ok" ) );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 0 );
    EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "audited" ), 0 );
}

TEST( ScenarioRun, Run_AssertionFailsUnexpectedly_EndsWithThreeAndSaysWhich )
{
    const ToolResult result = runJson( tiny + web + corruptMax + audit + dns );
    EXPECT_EQ( result.exitCode, 3 );
    EXPECT_THAT( outcomesOf( result ), ElementsAre( "ok", "ok", "aborted" ) );
    EXPECT_EQ( result.json().at( "result" ), "library-ended" );
    const auto ended = result.json().at( "ended" );
    EXPECT_EQ( ended.at( "step" ), 3 );
    EXPECT_EQ( ended.at( "end" ), "SIGABRT (Aborted)" );
    EXPECT_THAT( ended.at( "assertion" ).get< std::string >(),
                 HasSubstr( "sw collection is out of sync" ) );
    EXPECT_THAT( result.errors,
                 HasSubstr( "pelora-tcam: the library ended the process in step 3, audit all\n" ) );
    EXPECT_THAT( result.errors, HasSubstr( "sw collection is out of sync" ) );
    EXPECT_THAT( result.errors, HasSubstr( "process:   ended by SIGABRT (Aborted)" ) );
}

TEST( ScenarioRun, Run_LibraryEndsUnexpectedly_TellsTheChipAsItWasBeforeTheStep )
{
    const ToolResult result = runJson( tiny + web + corruptMax + audit );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 1 );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "capacity" ), 2 );
}

TEST( ScenarioRun, Run_FatalCallUnexpectedly_EndsWithThreeAndTellsTheErrorLine )
{
    const ToolResult result = runJson( tiny + dropCreate + web + audit );
    EXPECT_EQ( result.exitCode, 3 );
    const auto ended = result.json().at( "ended" );
    EXPECT_THAT( ended.at( "apiError" ).get< std::string >(),
                 HasSubstr( " bcm_range_get( unit, &conf ) API ERROR:Entry not found (-7)" ) );
    EXPECT_THAT( ended.at( "assertion" ).get< std::string >(),
                 HasSubstr( "Assertion `0' failed." ) );
    EXPECT_THAT( result.errors, HasSubstr( "SDK call:  PeloraTcam/" ) );
}

TEST( ScenarioRun, Run_AbortWhereErrorIsExpected_EndsWithThree )
{
    EXPECT_EQ( runJson( tiny + web + corruptMax + audit + "    expect: error\n" ).exitCode, 3 );
}

TEST( ScenarioRun, Run_CallThrows_IsAnErrorAndLeavesEverythingAsItWas )
{
    const ToolResult result =
        runJson( tiny + "  - inject-fault: { function: bcm_range_create, call: 1, throw: true }\n" +
                 web + "    expect: error\n" + web + audit );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "text" ),
               "injected fault: bcm_range_create" );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 1 );
}

TEST( ScenarioRun, Run_ReleaseThrows_MayBeReleasedAgain )
{
    const ToolResult result =
        runJson( tiny + web +
                 "  - inject-fault: { function: bcm_range_destroy, call: 1, throw: true }\n"
                 "  - release-range-checker: { name: web }\n"
                 "    expect: error\n"
                 "  - audit: all\n"
                 "  - release-range-checker: { name: web }\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( result.json().at( "steps" ).at( 3 ).at( "audited" ), 1 );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 0 );
}

// ---- JSON ------------------------------------------------------------------------------------

TEST( ScenarioRun, RunWithJson_AnyRun_HasTheDocumentedMembers )
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

TEST( ScenarioRun, RunWithJson_NamesAreNoUtf8_IsJsonAllTheSame )
{
    const ToolResult result = runJson(
        tiny +
        "  - allocate-range-checker: { name: \"a\\x07\xC3\xA9\", type: 1, low: 1, high: 2 }\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_EQ( result.json().at( "steps" ).at( 0 ).at( "name" ), "a\x07\xC3\xA9" );
}

// ---- Text ------------------------------------------------------------------------------------

TEST( ScenarioRun, Run_AsText_PrintsEachStepTheChipAndTheResult )
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

TEST( ScenarioRun, Run_GivesBack_TheMostThatWasUsedStays )
{
    const std::string release = "  - release-range-checker: { name: web }\n";
    const auto chip = runJson( tiny + web + release + audit ).json().at( "chip" );
    EXPECT_EQ( chip.at( "rangeCheckers" ).at( "used" ), 0 );
    EXPECT_EQ( chip.at( "rangeCheckers" ).at( "peak" ), 1 );
    EXPECT_EQ( chip.at( "rangeCheckers" ).at( "capacity" ), 2 );
    EXPECT_EQ( chip.at( "policers" ).at( "peak" ), 0 );
}

TEST( ScenarioRun, Run_OnATerminalWithAWidth_FoldsWhatIsLonger )
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

// ---- The snapshot ----------------------------------------------------------------------------

TEST( ScenarioRun, Snapshot_AsText_HasALineForEachObject )
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

TEST( ScenarioRun, Snapshot_OfAnEmptyChip_SaysSo )
{
    const ToolResult result = ToolFolder().runScenario( tiny + audit, { "--snapshot" } );
    EXPECT_THAT( result.output, HasSubstr( "\nSnapshot\n  nothing\n" ) );
}

TEST( ScenarioRun, Snapshot_AsJson_HasObjectsAndTheirFields )
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

TEST( ScenarioRun, Snapshot_NotAskedFor_IsNotThere )
{
    EXPECT_FALSE( runJson( tiny + web ).json().contains( "snapshot" ) );
}

TEST( ScenarioRun, Snapshot_LibraryEndsTheProcess_IsOfBeforeTheStep )
{
    const ToolResult result =
        ToolFolder().runScenario( tiny + web + corruptMax + audit, { "--snapshot", "--json" } );
    EXPECT_EQ( result.exitCode, 3 );
    EXPECT_EQ( result.json().at( "snapshot" ).size(), 1U );
}

TEST( ScenarioRun, Run_AsTextWithUnexpectedOutcome_SaysWhatWasExpected )
{
    const ToolResult result = ToolFolder().runScenario( tiny + web + "    expect: full\n" + audit );
    EXPECT_THAT( result.output,
                 HasSubstr( "1  allocate-range-checker  web  ok       expected full: id 1, "
                            "l4DstPort 8000..8999\n" ) );
    EXPECT_THAT( result.output, HasSubstr( "\nResult: 1 of 2 not as expected\n" ) );
}

TEST( ScenarioRun, Run_AsTextAndLibraryEnds_SaysSoOnBoth )
{
    const ToolResult result = ToolFolder().runScenario( tiny + web + corruptMax + audit );
    EXPECT_THAT( result.output,
                 HasSubstr( "\n3  audit                   all            aborted" ) );
    EXPECT_THAT( result.output,
                 HasSubstr( "\nResult: the library ended the process in step 3 of 3\n" ) );
    EXPECT_THAT( result.errors, HasSubstr( "sw collection is out of sync" ) );
}

TEST( ScenarioRun, Run_IntoAFile_HasNoColours )
{
    const ToolResult result = ToolFolder().runScenario( tiny + web );
    EXPECT_THAT( result.output, Not( HasSubstr( "\033" ) ) );
    EXPECT_THAT( result.errors, Not( HasSubstr( "\033" ) ) );
}

TEST( ScenarioRun, Run_OnATerminal_HasColours )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml", tiny + web );
    EXPECT_THAT( folder.runOnTerminal( { "run", "scenario.yaml" } ).output,
                 HasSubstr( "\033[32mok     \033[0m" ) );
}

TEST( ScenarioRun, Run_OnATerminalWithNoColorSet_HasNone )
{
    ToolFolder folder;
    folder.environmentIs( "NO_COLOR", "1" );
    folder.write( "scenario.yaml", tiny + web );
    const ToolResult result = folder.runOnTerminal( { "run", "scenario.yaml" } );
    EXPECT_THAT( result.output, HasSubstr( "ok" ) );
    EXPECT_THAT( result.output, Not( HasSubstr( "\033" ) ) );
}

TEST( ScenarioRun, Run_OnATerminalThatIsDumb_HasNoColours )
{
    ToolFolder folder;
    folder.environmentIs( "TERM", "dumb" );
    folder.write( "scenario.yaml", tiny + web );
    EXPECT_THAT( folder.runOnTerminal( { "run", "scenario.yaml" } ).output,
                 Not( HasSubstr( "\033" ) ) );
}

/// An import of two rules with three ranges, each of which takes 60 ms on this chip.
ToolFolder& slowImport( ToolFolder& folder )
{
    folder.write( "slow.rules",
                  "@1.2.3.4/32 5.6.7.8/24 1 : 2 3 : 4 0x06/0xFF 0x0000/0x0000\n"
                  "@1.2.3.4/32 5.6.7.8/24 1 : 2 5 : 6 0x06/0xFF 0x0000/0x0000\n" );
    folder.write( "scenario.yaml",
                  "chip: hsdk\n"
                  "faults:\n"
                  "  - { function: bcm_range_create, from-call: 1, delay-ms: 60 }\n"
                  "steps:\n"
                  "  - import-rules: { file: slow.rules }\n" );
    return folder;
}

TEST( ScenarioRun, Run_LongImportOnATerminal_ShowsHowFarItIsAndTakesThatAway )
{
    ToolFolder folder;
    const ToolResult result = slowImport( folder ).runOnTerminal( { "run", "scenario.yaml" } );
    EXPECT_THAT( result.output, HasSubstr( "\r\033[K1  import-rules slow.rules  1 of 2" ) );
    EXPECT_THAT( result.output, HasSubstr( "1 of 2\r\033[K" ) );
}

TEST( ScenarioRun, Run_LongImportIntoAFile_ShowsNothingOfThat )
{
    ToolFolder folder;
    const ToolResult result = slowImport( folder ).run( { "run", "scenario.yaml" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_EQ( result.errors, "" );
    EXPECT_THAT( result.output, Not( HasSubstr( "2 of 3" ) ) );
}

// ---- Options ---------------------------------------------------------------------------------

TEST( ScenarioRun, Run_AnyNumbering_GivesTheSame )
{
    const ToolFolder folder;
    const std::string scenario = tiny + web + dns + jumbo + "    expect: full\n" + audit;
    const auto expected = folder.runScenario( scenario, { "--json" } ).json();
    for ( const char* numbering : { "shuffled:1", "shuffled:20240229" } ) {
        auto json = folder.runScenario( scenario, { "--json", "--numbering", numbering } ).json();
        EXPECT_EQ( json.at( "numbering" ), numbering );
        json[ "numbering" ] = "default";
        EXPECT_EQ( json, expected );
    }
}

TEST( ScenarioRun, RunShuffled_FaultNamesAnEnumerator_MeansTheSame )
{
    const ToolResult result = ToolFolder().runScenario(
        tiny + web +
            "  - inject-fault: { function: bcm_range_get, call: 1, corrupt: { field: rtype, value: "
            "bcmRangeTypeOuterVlan } }\n" +
            audit + "    expect: aborted\n",
        { "--json", "--numbering", "shuffled:5" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.json().at( "steps" ).at( 2 ).at( "assertion" ).get< std::string >(),
                 HasSubstr( "Assertion `0 && \"unexpected rangetype\"' failed." ) );
}

TEST( ScenarioRun, Run_ChipOption_TakesTheScenariosPlace )
{
    const ToolResult result =
        ToolFolder().runScenario( tiny + web + dns + jumbo, { "--json", "--chip", "hsdk" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_EQ( result.json().at( "profile" ), "hsdk" );
}

TEST( ScenarioRun, Run_ChipOptionAndScenarioWithoutChip_Runs )
{
    EXPECT_EQ( ToolFolder().runScenario( "steps:\n" + audit, { "--chip", "hsdk" } ).exitCode, 0 );
}

TEST( ScenarioRun, Run_ChipIsAFileBesideTheScenario_IsFoundFromElsewhere )
{
    const ToolFolder folder;
    const std::string profile = folder.run( { "profiles", "sdk6-tiny" } ).output;
    folder.write( "below/chips/mine.yaml", profile );
    folder.write( "below/scenario.yaml", "chip: chips/mine.yaml\nsteps:\n" + web );
    EXPECT_EQ( folder.run( { "run", "below/scenario.yaml" } ).exitCode, 0 );
}

TEST( ScenarioRun, Run_TraceOption_TracesToStandardErrorBeforeTheStepIsReported )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml", tiny + web );
    const ToolResult result =
        folder.runOnTerminal( { "run", "--trace", "ApiPelora=4", "scenario.yaml" } );
    const std::size_t traced = result.output.find( "bcm_range_create( unit, 0, &conf ) (rc:0)" );
    const std::size_t reported = result.output.find( "id 1, l4DstPort" );
    ASSERT_NE( traced, std::string::npos ) << result.output;
    ASSERT_NE( reported, std::string::npos ) << result.output;
    EXPECT_LT( traced, reported );
}

TEST( ScenarioRun, Run_SeveralTraceOptions_AllCount )
{
    const ToolResult result = ToolFolder().runScenario(
        tiny + web, { "--trace", "ApiPelora=4", "--trace", "PeloraTcamRangeChecker=0,8-9" } );
    EXPECT_THAT( result.errors, HasSubstr( "ApiPelora 4 " ) );
    EXPECT_THAT( result.errors, HasSubstr( "PeloraTcamRangeChecker 9 " ) );
}

TEST( ScenarioRun, Run_ExpectedAbortWithTraces_PassesTheTracesOnAndNotTheLastWords )
{
    const ToolResult result = ToolFolder().runScenario(
        tiny + web + corruptMax + audit + "    expect: aborted\n", { "--trace", "ApiPelora=4" } );
    EXPECT_THAT( result.errors, HasSubstr( "bcm_range_get( unit, &conf ) (rc:0)" ) );
    EXPECT_THAT( result.errors, Not( HasSubstr( "Assertion" ) ) );
    EXPECT_THAT( result.output, HasSubstr( "Assertion `" ) );
}

// ---- Faults from the beginning ---------------------------------------------------------------

TEST( ScenarioRun, Run_FaultOfTheScenario_CountsCallsFromTheBeginning )
{
    const ToolResult result = runJson( "chip: hsdk\n"
                                       "faults:\n"
                                       "  - { function: bcm_range_create, call: 2, fail: "
                                       "BCM_E_RESOURCE }\n"
                                       "steps:\n" +
                                       web + dns + "    expect: full\n" + jumbo );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
    EXPECT_THAT( outcomesOf( result ), ElementsAre( "ok", "full", "ok" ) );
}

TEST( ScenarioRun, Run_FaultFromACallOn_HappensAtAllLaterCalls )
{
    const ToolResult result =
        runJson( "chip: hsdk\n"
                 "faults:\n"
                 "  - { function: all, from-call: 2, fail: -14 }\n"
                 "steps:\n" +
                 web + dns + "    expect: full\n" + jumbo + "    expect: full\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
}

} // namespace
