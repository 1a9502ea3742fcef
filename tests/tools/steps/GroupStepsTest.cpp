// create-group, destroy-group

#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

/// Runs steps on a chip with room for two groups, with one JSON object as output.
ToolResult run( const std::string& steps, const std::vector< std::string >& options = {} )
{
    std::vector< std::string > all{ "--json" };
    all.insert( all.end(), options.begin(), options.end() );
    return ToolFolder().runScenario( "chip: sdk6-tiny\nsteps:\n" + steps, all );
}

nlohmann::json stepOf( const ToolResult& result, std::size_t index )
{
    return result.json().at( "steps" ).at( index );
}

const std::string acl = "  - create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: "
                        "[ srcIp, dstIp ], actions: [ drop ] }\n";

/// A group that differs from `acl` in the value of one key.
std::string group( const std::string& name, const std::string& rest )
{
    return "  - create-group: { name: " + name + ", " + rest + " }\n";
}

TEST( CreateGroup, Run_Group_IsOnTheChipAndTold )
{
    const ToolResult result = run( acl );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const nlohmann::json step = stepOf( result, 0 );
    EXPECT_EQ( step.at( "outcome" ), "ok" );
    EXPECT_EQ( step.at( "id" ), 1 );
    EXPECT_EQ( step.at( "stage" ), "ifp" );
    EXPECT_EQ( step.at( "keySize" ), 320 );
    EXPECT_EQ( step.at( "qualifiers" ), ( nlohmann::json{ "dstIp", "srcIp" } ) );
    EXPECT_EQ( step.at( "actions" ), nlohmann::json::array( { "drop" } ) );
    EXPECT_EQ( result.json().at( "chip" ).at( "fieldGroups" ).at( "used" ), 1 );
}

TEST( CreateGroup, Run_UnderAnotherNumbering_ReadsTheSameBack )
{
    const ToolResult result = run( acl + "  - audit: all\n", { "--numbering", "shuffled:9" } );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "qualifiers" ), ( nlohmann::json{ "dstIp", "srcIp" } ) );
    EXPECT_EQ( stepOf( result, 1 ).at( "audited" ), 1 );
}

TEST( CreateGroup, Run_NamesAndNumbers_AreTheSame )
{
    // 162 is the stage, which is not reported back; 34 and 35 are one for the SDK.
    const ToolResult result = run(
        group( "a", "stage: efp, key-size: 0, qualifiers: [ 35, 162, drop ], actions: [ 11 ]" ) );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "qualifiers" ), ( nlohmann::json{ "drop", "etherType" } ) );
    EXPECT_EQ( stepOf( result, 0 ).at( "actions" ), nlohmann::json::array( { "classIdAssign" } ) );
}

TEST( CreateGroup, Run_WithALogicalId_HasTheSdksIdMadeOfIt )
{
    const ToolFolder folder;
    const ToolResult result = folder.runScenario(
        "chip: sdk6-tiny\nsteps:\n" +
        group( "a", "stage: ifp, key-size: 0, qualifiers: [ drop ], actions: [], "
                    "logical-id: 0x01000005, sub-id: 3" ) );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_THAT( result.output, HasSubstr( "id 184549381 (0x0b000005), stage ifp" ) );
}

TEST( CreateGroup, Run_NoRoom_IsFull )
{
    const std::string rest = "stage: ifp, key-size: 160, qualifiers: [ drop ], actions: []";
    const ToolResult result =
        run( acl + group( "b", rest ) + group( "c", rest ) + "    expect: full\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 2 ).at( "sdkFunction" ), "bcm_field_group_config_create" );
    EXPECT_EQ( stepOf( result, 2 ).at( "returnCode" ), -6 );
}

TEST( CreateGroup, Run_NameOrIdTaken_IsAnError )
{
    const std::string rest =
        "stage: ifp, key-size: 160, qualifiers: [ drop ], actions: [], logical-id: 1";
    const ToolResult result =
        run( acl + acl + "    expect: error\n" + group( "b", rest ) + "    expect: error\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "there is a group 'acl' already" );
    EXPECT_EQ( stepOf( result, 2 ).at( "returnCode" ), -8 );
}

TEST( CreateGroup, Run_WhatTheLibraryDoesNotTake_Aborts )
{
    const std::pair< std::string, std::string > cases[] = {
        { "stage: ifp, key-size: 640, qualifiers: [ drop ], actions: []", "stage == stageVfp()" },
        { "stage: vfp, key-size: 480, qualifiers: [ drop ], actions: []", "stage == stageIfp()" },
        { "stage: ifp, key-size: 100, qualifiers: [ drop ], actions: []",
          "Invalid vexa tcam key size" },
        { "stage: ifp, key-size: 0, qualifiers: [ 180 ], actions: []", "nullptr" },
        { "stage: ifp, key-size: 0, qualifiers: [ 250 ], actions: []", "nullptr" },
    };
    for ( const auto& [ rest, assertion ] : cases ) {
        const ToolResult result = run( group( "a", rest ) + "    expect: aborted\n" );
        EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_THAT( result.output, HasSubstr( assertion ) );
    }
}

TEST( CreateGroup, Run_QualifiersReadBackWrong_Aborts )
{
    const ToolResult result =
        run( "  - inject-fault: { function: bcm_field_group_get, call: 1, corrupt: { field: "
             "members, value: 1 } }\n" +
             acl + "    expect: aborted\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_THAT( result.output, HasSubstr( "inHardware == qualifiers" ) );
}

TEST( CreateGroup, Run_SdkThrowsAtTheReadBack_LeavesNothing )
{
    const ToolResult result =
        run( "  - inject-fault: { function: bcm_field_group_get, call: 1, throw: true }\n" + acl +
             "    expect: error\n" + acl );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "injected fault: bcm_field_group_get" );
    EXPECT_EQ( result.json().at( "chip" ).at( "fieldGroups" ).at( "used" ), 1 );
}

TEST( CreateGroup, Read_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const std::pair< std::string, std::string > cases[] = {
        { "{ name: a, stage: ifp, key-size: 0, qualifiers: [ srcIpp ], actions: [] }",
          "3:69: unknown value 'srcIpp', did you mean 'srcIp'?" },
        { "{ name: a, stage: ifp, key-size: 0, qualifiers: [ drop ], actions: [ dropp ] }",
          "3:88: unknown value 'dropp', did you mean 'drop'?" },
        { "{ name: a, stage: ifp, key-size: 0, qualifiers: [ udf ], actions: [] }",
          "3:69: the library does not take 'udf' here; to see what it does with it, write its "
          "number, 180" },
        { "{ name: a, stage: ifp, key-size: 0, qualifiers: [ udf0 ], actions: [] }",
          "3:69: unknown value 'udf0'" },
        { "{ name: a, stage: ifp, key-size: 0, qualifiers: [ drop ], actions: [ ttlNew ] }",
          "3:88: the library does not take 'ttlNew' here; to see what it does with it, write its "
          "number, 120" },
        { "{ name: a, stage: ifp, key-size: 0, qualifiers: [ 256 ], actions: [] }",
          "3:69: expected a whole number from 0 to 255, found '256'" },
        { "{ name: a, stage: ipf, key-size: 0, qualifiers: [], actions: [] }",
          "3:37: unknown value 'ipf', did you mean 'ifp'?" },
        { "{ name: a, stage: ifp, key-size: wide, qualifiers: [], actions: [] }",
          "3:52: expected a whole number from 0 to 4294967295, found 'wide'" },
        { "{ name: a, stage: ifp, key-size: 0, qualifiers: drop, actions: [] }",
          "3:67: expected a list, found 'drop'" },
        { "{ name: a, stage: ifp, key-size: 0, qualifiers: [] }", "3:19: missing key 'actions'" },
        { "{ name: a, stage: ifp, key-size: 0, qualifiers: [], actions: [], mode: 1 }",
          "3:84: unknown key 'mode', expected 'name', 'stage', 'key-size', 'qualifiers', "
          "'actions', 'logical-id' or 'sub-id'" },
    };
    for ( const auto& [ step, message ] : cases ) {
        const ToolResult result = run( "  - create-group: " + step + "\n" );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_EQ( result.errors, "scenario.yaml:" + message + "\n" );
        EXPECT_EQ( result.output, "" );
    }
}

TEST( DestroyGroup, Run_Group_IsBackToTheChip )
{
    const ToolResult result = run( acl + "  - destroy-group: { name: acl }\n" + acl );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "id" ), 1 );
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "id 1, back to the chip" );
    EXPECT_EQ( stepOf( result, 2 ).at( "id" ), 2 );
    EXPECT_EQ( result.json().at( "chip" ).at( "fieldGroups" ).at( "used" ), 1 );
}

TEST( DestroyGroup, Run_UnknownName_IsAnErrorWithAHint )
{
    const ToolResult result = run( acl + "  - destroy-group: { name: ackl }\n    expect: error\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "there is no group 'ackl', did you mean 'acl'?" );
}

TEST( DestroyGroup, Run_GroupHasEntries_IsAnErrorAndStays )
{
    const std::string destroy = "  - destroy-group: { name: acl }\n";
    const ToolResult result =
        run( acl + "  - create-entry: { name: web, group: acl }\n" + destroy +
             "    expect: error\n  - destroy-entry: { name: web }\n" + destroy );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 2 ).at( "sdkFunction" ), "bcm_field_group_destroy" );
    EXPECT_EQ( stepOf( result, 2 ).at( "returnCode" ), -10 );
    EXPECT_EQ( stepOf( result, 4 ).at( "text" ), "id 1, back to the chip" );
}

TEST( DestroyGroup, Run_SdkRefuses_Aborts )
{
    const ToolResult result = run(
        acl +
        "  - inject-fault: { function: bcm_field_group_destroy, call: 1, fail: BCM_E_INTERNAL }\n"
        "  - destroy-group: { name: acl }\n    expect: aborted\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_THAT( result.output, HasSubstr( "bcm_field_group_destroy( unit_, group )" ) );
}

} // namespace
