// allocate-policer, release-policer

#include "tests/tools/StepRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using ToolTest::runOn;
using ToolTest::stepOf;
using ToolTest::ToolResult;
using ToolTest::usedOf;

/// Both variants of the helper.
const std::string chips[] = { "sdk6-udf", "hsdk" };

std::string allocate( const std::string& name, const std::string& rest )
{
    return "  - allocate-policer: { name: " + name + ", " + rest + " }\n";
}

const std::string voice =
    allocate( "voice", "mode: trTcm, cir: 10Mbps, pir: 1Gbps, cbs: 64KB, pbs: 1MB, color: aware" );
const std::string releaseVoice = "  - release-policer: { name: voice }\n";
const std::string audit = "  - audit: all\n";

TEST( AllocatePolicer, Run_Policer_IsOnTheChipAndTold )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result = runOn( chip, voice + audit );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        const nlohmann::json step = stepOf( result, 0 );
        EXPECT_EQ( step.at( "mode" ), "trTcm" );
        EXPECT_EQ( step.at( "cir" ), 10000 );
        EXPECT_EQ( step.at( "pir" ), 1000000 );
        EXPECT_EQ( step.at( "cbs" ), 512 );
        EXPECT_EQ( step.at( "pbs" ), 8000 );
        EXPECT_EQ( step.at( "users" ), 1 );
        EXPECT_THAT( step.at( "text" ).get< std::string >(),
                     HasSubstr( ", trTcm 10Mbps, burst 512kbit, peak 1Gbps, burst 8Mbit" ) );
        EXPECT_EQ( stepOf( result, 1 ).at( "audited" ), 1 );
        EXPECT_EQ( usedOf( result, "policers" ), 1 );
    }
}

TEST( AllocatePolicer, Run_UnderAnotherNumbering_IsAuditedAlike )
{
    const ToolResult result = runOn( "sdk6-udf",
                                     voice + allocate( "s", "mode: srTcm, cir: 1, cbs: 1" ) +
                                         allocate( "c", "mode: committed, cir: 1, cbs: 1" ) + audit,
                                     { "--numbering", "shuffled:11" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 3 ).at( "audited" ), 3 );
}

TEST( AllocatePolicer, Run_SharedAndEqual_IsOneUntilTheLastIsReleased )
{
    const std::string rest = "mode: committed, cir: 500kbps, cbs: 8kbit";
    for ( const std::string& chip : chips ) {
        const ToolResult result = runOn(
            chip, allocate( "voice", rest + ", shared: true" ) + allocate( "own", rest ) +
                      allocate( "b", "mode: committed, cir: 0.5Mbps, cbs: 1KB, shared: true" ) +
                      releaseVoice + "  - release-policer: { name: b }\n" );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 0 ).at( "id" ), stepOf( result, 2 ).at( "id" ) );
        EXPECT_NE( stepOf( result, 0 ).at( "id" ), stepOf( result, 1 ).at( "id" ) );
        EXPECT_EQ( stepOf( result, 2 ).at( "users" ), 2 );
        EXPECT_THAT( stepOf( result, 2 ).at( "text" ).get< std::string >(),
                     HasSubstr( ", shared by 2" ) );
        EXPECT_EQ( stepOf( result, 3 ).at( "users" ), 1 );
        EXPECT_EQ( stepOf( result, 4 ).at( "users" ), 0 );
        EXPECT_EQ( usedOf( result, "policers" ), 1 );
    }
}

TEST( AllocatePolicer, Run_NoRoom_IsFullAndThenThereIsRoomAgain )
{
    const std::string another = allocate( "another", "mode: srTcm, cir: 1, cbs: 1" );
    const ToolResult result =
        runOn( "sdk6-tiny", voice + allocate( "b", "mode: srTcm, cir: 1, cbs: 1" ) + another +
                                "    expect: full\n" + releaseVoice + another );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 2 ).at( "text" ), "2 of 2 policers in use" );
    EXPECT_EQ( usedOf( result, "policers" ), 2 );
}

TEST( AllocatePolicer, Run_NoRoomOnHsdk_IsFull )
{
    const ToolTest::ToolFolder folder;
    std::string profile = folder.run( { "profiles", "hsdk" } ).output;
    const std::string many = "policers:\n  capacity: 1024";
    profile.replace( profile.find( many ), many.size(), "policers:\n  capacity: 1" );
    folder.write( "one.yaml", profile );
    const ToolResult result =
        folder.runScenario( "chip: one.yaml\nsteps:\n" + voice +
                            allocate( "b", "mode: srTcm, cir: 1, cbs: 1" ) + "    expect: full\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_THAT( result.output, HasSubstr( "as expected: 1 of 1 policers in use" ) );
}

TEST( AllocatePolicer, Run_NameTakenOrUnknown_IsAnError )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result = runOn(
            chip, voice + voice + "    expect: error\n  - release-policer: { name: voise }\n" +
                      "    expect: error\n" );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "there is a policer 'voice' already" );
        EXPECT_EQ( stepOf( result, 2 ).at( "text" ),
                   "there is no policer 'voise', did you mean 'voice'?" );
    }
}

TEST( AllocatePolicer, Run_SdkThrows_LeavesNothing )
{
    const ToolResult result = runOn(
        "sdk6-udf", "  - inject-fault: { function: bcm_policer_create, call: 1, throw: true }\n" +
                        voice + "    expect: error\n" + voice );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "injected fault: bcm_policer_create" );
    EXPECT_EQ( usedOf( result, "policers" ), 1 );
}

TEST( AllocatePolicer, Run_WhatTheLibraryDoesNotTake_Aborts )
{
    for ( const std::string& chip : chips ) {
        const ToolResult mode =
            runOn( chip, allocate( "m", "mode: 3, cir: 1, cbs: 1" ) + "    expect: aborted\n" );
        EXPECT_EQ( mode.exitCode, 0 ) << mode.output << mode.errors;
        EXPECT_THAT( mode.output, HasSubstr( "Invalid policer mode" ) );
        const ToolResult lost = runOn(
            chip, voice +
                      "  - inject-fault: { function: bcm_policer_get, call: 1, corrupt: { field: "
                      "ckbits_sec, value: 9 } }\n" +
                      audit + "    expect: aborted\n" );
        EXPECT_EQ( lost.exitCode, 0 ) << lost.output << lost.errors;
        EXPECT_THAT( lost.output, HasSubstr( "PolicerManager::policerData sw collection" ) );
    }
}

TEST( AllocatePolicer, Read_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const std::pair< std::string, std::string > cases[] = {
        { "{ name: a, mode: trTmc, cir: 1, cbs: 1 }",
          "3:40: unknown value 'trTmc', did you mean 'trTcm'?" },
        { "{ name: a, mode: srTcm, cir: 10mbps, cbs: 1 }",
          "3:52: unknown unit 'mbps', did you mean 'Mbps'?" },
        { "{ name: a, mode: srTcm, cir: fast, cbs: 1 }",
          "3:52: expected a rate such as '10Mbps', found 'fast'" },
        { "{ name: a, mode: srTcm, cir: 1, cbs: 64KiB }",
          "3:60: unknown unit 'KiB', did you mean 'KB'?" },
        { "{ name: a, mode: srTcm, cir: 1, cbs: 1B }",
          "3:60: expected a whole number of kilobits, found '1B'" },
        { "{ name: a, mode: srTcm, cir: 1 }", "3:23: missing key 'cbs'" },
        { "{ name: a, mode: trTcm, cir: 1, cbs: 1 }",
          "3:23: expected 'pir' and 'pbs' with the mode 'trTcm'" },
        { "{ name: a, mode: srTcm, cir: 1, cbs: 1, pir: 1, pbs: 1 }",
          "3:23: 'pir' and 'pbs' belong to the mode 'trTcm'" },
        { "{ name: a, mode: trTcm, cir: 1, cbs: 1, pir: 1 }",
          "3:23: expected 'pir' and 'pbs' together" },
        { "{ name: a, mode: srTcm, cir: 1, cbs: 1, color: awre }",
          "3:70: unknown value 'awre', did you mean 'aware'?" },
    };
    for ( const auto& [ step, message ] : cases ) {
        const ToolResult result = runOn( "sdk6-tiny", "  - allocate-policer: " + step + "\n" );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_EQ( result.errors, "scenario.yaml:" + message + "\n" );
        EXPECT_EQ( result.output, "" );
    }
}

} // namespace
