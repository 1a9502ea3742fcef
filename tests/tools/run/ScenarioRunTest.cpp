// What a run does with outcomes and expectations, and how it ends.

#include "tests/tools/RangeScenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
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

TEST( ScenarioRun, RunAsText_AssertionFailsUnexpectedly_IsToldOnStandardOutputToo )
{
    const ToolResult result = ToolFolder().runScenario( tiny + web + corruptMax + audit + dns );
    EXPECT_EQ( result.exitCode, 3 );
    EXPECT_THAT( result.output,
                 HasSubstr( "aborted  expected ok\n"
                            "      assertion: PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.cpp:" ) );
    EXPECT_THAT( result.output, HasSubstr( "sw collection is out of sync" ) );
    EXPECT_THAT( result.output, HasSubstr( "\n      process:   ended by SIGABRT (Aborted)\n" ) );
    EXPECT_THAT(
        result.output,
        HasSubstr( "\nResult: the library ended the process in step 3 of 4, audit all\n" ) );
}

TEST( ScenarioRun, RunAsText_FatalCallUnexpectedly_IsToldOnStandardOutputToo )
{
    const ToolResult result = ToolFolder().runScenario( tiny + dropCreate + web + audit );
    EXPECT_EQ( result.exitCode, 3 );
    EXPECT_THAT( result.output, HasSubstr( "aborted  expected ok\n      SDK call:  PeloraTcam/" ) );
    EXPECT_THAT( result.output, HasSubstr( " API ERROR:Entry not found (-7)\n" ) );
    EXPECT_THAT( result.output, HasSubstr( "Assertion `0' failed.\n" ) );
}

TEST( ScenarioRun, Run_ValueWithoutATranslation_IsNamedInTheReport )
{
    const std::string group = "  - create-group: { name: a, stage: ifp, key-size: 0, qualifiers: [ "
                              "180 ], actions: [] }\n    expect: aborted\n";
    const ToolResult text = ToolFolder().runScenario( tiny + group );
    EXPECT_EQ( text.exitCode, 0 );
    EXPECT_EQ( text.errors, "" );
    EXPECT_THAT(
        text.output,
        HasSubstr( "aborted  as expected\n      library:   Unsupported qualifier udf\n" ) );
    EXPECT_EQ( runJson( tiny + group ).json().at( "steps" ).at( 0 ).at( "errorLine" ),
               "Unsupported qualifier udf" );
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
