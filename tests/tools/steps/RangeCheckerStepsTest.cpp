// The steps allocate-range-checker, release-range-checker and audit.

#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

/// Runs these steps, each a line, on a chip with room for 24 range checkers.
ToolResult runSteps( const std::vector< std::string >& steps, const std::string& chip = "sdk6-udf" )
{
    std::string scenario = "chip: " + chip + "\nsteps:\n";
    for ( const std::string& step : steps ) {
        scenario += "  - " + step + "\n";
    }
    return ToolFolder().runScenario( scenario, { "--json" } );
}

nlohmann::json lastStep( const ToolResult& result )
{
    return result.json().at( "steps" ).back();
}

TEST( AllocateRangeChecker, Run_RoomOnTheChip_GivesTheIdAndTheRange )
{
    const auto step = lastStep( runSteps(
        { "allocate-range-checker: { name: a, type: packetLength, low: 64, high: 127 }" } ) );
    EXPECT_EQ( step.at( "outcome" ), "ok" );
    EXPECT_EQ( step.at( "id" ), 1 );
    EXPECT_EQ( step.at( "type" ), "packetLength" );
    EXPECT_EQ( step.at( "low" ), 64 );
    EXPECT_EQ( step.at( "high" ), 127 );
    EXPECT_EQ( step.at( "users" ), 1 );
    EXPECT_EQ( step.at( "text" ), "id 1, packetLength 64..127" );
}

TEST( AllocateRangeChecker, Run_TypeByNumber_IsTheTypeOfThatNumber )
{
    const auto step = lastStep(
        runSteps( { "allocate-range-checker: { name: a, type: 2, low: 0x10, high: 0xFFFF }" } ) );
    EXPECT_EQ( step.at( "type" ), "l4SrcPort" );
    EXPECT_EQ( step.at( "low" ), 16 );
    EXPECT_EQ( step.at( "high" ), 65535 );
}

TEST( AllocateRangeChecker, Run_TypeThatThereIsNot_IsTheLibrarysAssertion )
{
    for ( const char* type : { "0", "4", "255" } ) {
        const auto result = runSteps( { std::string( "allocate-range-checker: { name: a, type: " ) +
                                        type + ", low: 1, high: 2 }\n    expect: aborted" } );
        EXPECT_EQ( result.exitCode, 0 ) << type;
        EXPECT_THAT( lastStep( result ).at( "assertion" ).get< std::string >(),
                     HasSubstr( "Assertion `false && \"RangeType not supported\"' failed." ) );
    }
}

TEST( AllocateRangeChecker, Run_SameRangeAgain_SharesTheRangeChecker )
{
    const ToolResult result =
        runSteps( { "allocate-range-checker: { name: a, type: l4SrcPort, low: 1, high: 2 }",
                    "allocate-range-checker: { name: b, type: l4SrcPort, low: 1, high: 2 }" } );
    EXPECT_EQ( lastStep( result ).at( "id" ), 1 );
    EXPECT_EQ( lastStep( result ).at( "users" ), 2 );
    EXPECT_EQ( lastStep( result ).at( "text" ), "id 1, l4SrcPort 1..2, shared by 2" );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 1 );
}

TEST( AllocateRangeChecker, Run_NameTaken_IsAnErrorAndAllocatesNothing )
{
    const ToolResult result =
        runSteps( { "allocate-range-checker: { name: a, type: l4SrcPort, low: 1, high: 2 }",
                    "allocate-range-checker: { name: a, type: l4SrcPort, low: 3, high: 4 }" } );
    EXPECT_EQ( result.exitCode, 1 );
    EXPECT_EQ( lastStep( result ).at( "outcome" ), "error" );
    EXPECT_EQ( lastStep( result ).at( "text" ), "there is a range checker 'a' already" );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 1 );
}

TEST( AllocateRangeChecker, Run_NoRoom_IsFullAndTellsTheCall )
{
    const auto step = lastStep(
        runSteps( { "allocate-range-checker: { name: a, type: l4SrcPort, low: 1, high: 2 }",
                    "allocate-range-checker: { name: b, type: l4SrcPort, low: 3, high: 4 }",
                    "allocate-range-checker: { name: c, type: l4SrcPort, low: 5, high: 6 }" },
                  "sdk6-tiny" ) );
    EXPECT_EQ( step.at( "outcome" ), "full" );
    EXPECT_EQ( step.at( "sdkFunction" ), "bcm_range_create" );
    EXPECT_EQ( step.at( "returnCode" ), -6 );
}

TEST( AllocateRangeChecker, Run_NameOfARefusedOne_IsFreeAgain )
{
    const ToolResult result =
        runSteps( { "allocate-range-checker: { name: a, type: l4SrcPort, low: 1, high: 2 }",
                    "allocate-range-checker: { name: b, type: l4SrcPort, low: 3, high: 4 }",
                    "allocate-range-checker: { name: c, type: l4SrcPort, low: 5, high: 6 }\n"
                    "    expect: full",
                    "release-range-checker: { name: a }",
                    "allocate-range-checker: { name: c, type: l4SrcPort, low: 5, high: 6 }" },
                  "sdk6-tiny" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
}

TEST( AllocateRangeChecker, Run_ChipRefusesForAnotherReason_IsAnErrorThatTellsIt )
{
    const auto step = lastStep(
        runSteps( { "allocate-range-checker: { name: a, type: l4SrcPort, low: 9, high: 2 }" } ) );
    EXPECT_EQ( step.at( "outcome" ), "error" );
    EXPECT_EQ( step.at( "text" ), "bcm_range_create: BCM_E_PARAM (-4), Invalid parameter" );
    EXPECT_EQ( step.at( "returnCode" ), -4 );
}

TEST( ReleaseRangeChecker, Run_LastUser_GivesItBackToTheChip )
{
    const ToolResult result =
        runSteps( { "allocate-range-checker: { name: a, type: l4SrcPort, low: 1, high: 2 }",
                    "release-range-checker: { name: a }" } );
    EXPECT_EQ( lastStep( result ).at( "text" ), "id 1, back to the chip" );
    EXPECT_EQ( lastStep( result ).at( "id" ), 1 );
    EXPECT_EQ( lastStep( result ).at( "users" ), 0 );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 0 );
}

TEST( ReleaseRangeChecker, Run_NotTheLastUser_KeepsIt )
{
    const ToolResult result =
        runSteps( { "allocate-range-checker: { name: a, type: l4SrcPort, low: 1, high: 2 }",
                    "allocate-range-checker: { name: b, type: l4SrcPort, low: 1, high: 2 }",
                    "release-range-checker: { name: a }" } );
    EXPECT_EQ( lastStep( result ).at( "text" ), "id 1, still used by 1" );
    EXPECT_EQ( result.json().at( "chip" ).at( "rangeCheckers" ).at( "used" ), 1 );
}

TEST( ReleaseRangeChecker, Run_UnknownName_IsAnErrorWithTheNearestName )
{
    const auto step = lastStep(
        runSteps( { "allocate-range-checker: { name: clients, type: l4SrcPort, low: 1, high: 2 }",
                    "release-range-checker: { name: client }" } ) );
    EXPECT_EQ( step.at( "outcome" ), "error" );
    EXPECT_EQ( step.at( "text" ), "there is no range checker 'client', did you mean 'clients'?" );
}

TEST( ReleaseRangeChecker, RunTwice_SameName_IsAnErrorTheSecondTime )
{
    const ToolResult result =
        runSteps( { "allocate-range-checker: { name: a, type: l4SrcPort, low: 1, high: 2 }",
                    "release-range-checker: { name: a }",
                    "release-range-checker: { name: a }\n    expect: error" } );
    EXPECT_EQ( result.exitCode, 0 );
}

TEST( Audit, Run_NothingAllocated_ComparesNothing )
{
    EXPECT_EQ( lastStep( runSteps( { "audit: all" } ) ).at( "audited" ), 0 );
}

TEST( Audit, Run_TwoRangeCheckersAndASharedOne_ComparesEachOnce )
{
    const auto step = lastStep(
        runSteps( { "allocate-range-checker: { name: a, type: l4SrcPort, low: 1, high: 2 }",
                    "allocate-range-checker: { name: b, type: l4SrcPort, low: 1, high: 2 }",
                    "allocate-range-checker: { name: c, type: l4DstPort, low: 1, high: 2 }",
                    "audit: all" } ) );
    EXPECT_EQ( step.at( "audited" ), 2 );
    EXPECT_EQ( step.at( "text" ), "2 compared with the chip" );
}

} // namespace
