// create-entry, destroy-entry; allocate-counter, free-counter, traffic, read-counters,
// clear-counters

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

const std::string acl =
    "  - create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: [ srcIp, dstIp, "
    "ipProtocol, l4SrcPort, l4DstPort, etherType ], actions: [ drop ], logical-id: 7 }\n";

std::string entry( const std::string& name, const std::string& rest = "" )
{
    return "  - create-entry: { name: " + name + ", group: acl" + rest + " }\n";
}

std::string counter( const std::string& name, const std::string& types )
{
    return "  - allocate-counter: { entry: " + name + ", types: [ " + types + " ] }\n";
}

std::string traffic( const std::string& rest )
{
    return "  - traffic: { entry: web, " + rest + " }\n";
}

const std::string web = entry( "web", ", src: 192.0.2.0/24, protocol: tcp, dst-port: 80" );
const std::string readWeb = "  - read-counters: { entry: web }\n";
const std::string freeWeb = "  - free-counter: { entry: web }\n";
const std::string audit = "  - audit: all\n";
const std::string expectError = "    expect: error\n";

TEST( CreateEntry, Run_Entry_IsInTheHardwareAndTold )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result =
            runOn( chip, acl + web +
                             entry( "b", ", dst: 198.51.100.7, src-port: 53, "
                                         "ethertype: ipv4, priority: 9, actions: []" ) +
                             audit );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 1 ).at( "group" ), "acl" );
        EXPECT_EQ( stepOf( result, 1 ).at( "priority" ), 0 );
        EXPECT_EQ( stepOf( result, 1 ).at( "actions" ), nlohmann::json::array( { "drop" } ) );
        EXPECT_THAT( stepOf( result, 2 ).at( "text" ).get< std::string >(),
                     HasSubstr( ", in group acl, priority 9" ) );
        EXPECT_EQ( stepOf( result, 3 ).at( "audited" ), 3 );
        EXPECT_EQ( usedOf( result, "tcamEntries" ), 2 );
    }
}

TEST( CreateEntry, Run_NoRoom_IsFull )
{
    const ToolResult result =
        runOn( "sdk6-tiny", acl + entry( "a" ) + entry( "b" ) + entry( "c" ) + entry( "d" ) +
                                entry( "e" ) + "    expect: full\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_THAT( stepOf( result, 5 ).at( "sdkFunction" ).get< std::string >(),
                 HasSubstr( "bcm_field_entry_" ) );
    EXPECT_EQ( usedOf( result, "tcamEntries" ), 4 );
}

TEST( CreateEntry, Run_RefusedOrThrowing_LeavesNothing )
{
    for ( const std::string fault : { "fail: BCM_E_INTERNAL", "throw: true" } ) {
        const ToolResult result = runOn(
            "sdk6-tiny", acl + "  - inject-fault: { function: bcm_field_entry_install, call: 1, " +
                             fault + " }\n" + web + expectError + web );
        ASSERT_EQ( result.exitCode, 0 ) << fault << result.output << result.errors;
        EXPECT_EQ( usedOf( result, "tcamEntries" ), 1 );
    }
}

TEST( CreateEntry, Run_UnknownOrTakenNames_AreErrors )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result = runOn(
            chip, acl + web + web + expectError + "  - create-entry: { name: b, group: akl }\n" +
                      expectError + entry( "c", ", policer: voice" ) + expectError +
                      "  - destroy-entry: { name: weg }\n" + expectError );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 2 ).at( "text" ), "there is an entry 'web' already" );
        EXPECT_EQ( stepOf( result, 3 ).at( "text" ),
                   "there is no group 'akl', did you mean 'acl'?" );
        EXPECT_EQ( stepOf( result, 4 ).at( "text" ), "there is no policer 'voice'" );
        EXPECT_EQ( stepOf( result, 5 ).at( "text" ),
                   "there is no entry 'weg', did you mean 'web'?" );
    }
}

TEST( CreateEntry, Run_WithAPolicer_HoldsItUntilDestroyed )
{
    const std::string policer =
        "  - allocate-policer: { name: voice, mode: committed, cir: 1Mbps, cbs: 1KB }\n";
    const std::string release = "  - release-policer: { name: voice }\n";
    for ( const std::string& chip : chips ) {
        const ToolResult result =
            runOn( chip, acl + policer + entry( "web", ", policer: voice" ) + audit + release +
                             "    expect: aborted\n  - destroy-entry: { name: web }\n" + release );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_EQ( usedOf( result, "policers" ), 0 );
        EXPECT_EQ( usedOf( result, "tcamEntries" ), 0 );
    }
}

TEST( CreateEntry, Run_ActionWithoutATranslation_AbortsAndIsNamed )
{
    const std::pair< std::string, std::string > actions[] = { { "72", "noAction" },
                                                              { "120", "ttlNew" } };
    for ( const std::string& chip : chips ) {
        for ( const auto& [ number, name ] : actions ) {
            const ToolResult result =
                runOn( chip, acl + entry( "web", ", actions: [ " + number + " ]" ) +
                                 "    expect: aborted\n" );
            EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
            EXPECT_EQ( stepOf( result, 1 ).at( "errorLine" ), "Unmapped actionType: " + name );
        }
    }
}

TEST( CreateEntry, Read_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const std::pair< std::string, std::string > cases[] = {
        { "{ name: a, group: b, src: 10.0.0/8 }",
          "3:45: expected a prefix such as '192.0.2.0/24' or '2001:db8::/32', found '10.0.0/8'" },
        { "{ name: a, group: b, protocol: tpc }",
          "3:50: unknown value 'tpc', did you mean 'tcp'?" },
        { "{ name: a, group: b, dst-port: 65536 }",
          "3:50: expected a whole number from 0 to 65535, found '65536'" },
        { "{ name: a, group: b, priority: -1 }",
          "3:50: expected a whole number from 0 to 2147483647, found '-1'" },
        { "{ name: a, group: b, actions: [ dropp ] }",
          "3:51: unknown value 'dropp', did you mean 'drop'?" },
        { "{ name: a, group: b, actions: [ ttlNew ] }",
          "3:51: the library does not take 'ttlNew' here; to see what it does with it, write its "
          "number, 120" },
        { "{ name: a, group: b, actions: [ noAction ] }",
          "3:51: the library does not take 'noAction' here; to see what it does with it, write its "
          "number, 72" },
        { "{ name: a, group: b, src: 10.1.2.3/8 }",
          "3:45: expected a prefix without host bits, '10.0.0.0/8', found "
          "'10.1.2.3/8'" },
        { "{ name: a, group: b, src: 10.0.0.0/8, dst: '2001:db8::/32' }",
          "3:62: expected IPv4 as in 'src', found IPv6" },
        { "{ name: a, group: b, dst: '2001:db8::/32', ethertype: ipv4 }",
          "3:73: expected IPv6 as in 'dst', found IPv4" },
        { "{ name: a }", "3:19: missing key 'group'" },
    };
    for ( const auto& [ step, message ] : cases ) {
        const ToolResult result = runOn( "sdk6-tiny", "  - create-entry: " + step + "\n" );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_EQ( result.errors, "scenario.yaml:" + message + "\n" );
        EXPECT_EQ( result.output, "" );
    }
}

TEST( Counters, Run_OneOfHsdk_IsInUseAndTheOthersOfItsObjectAreSetAside )
{
    const std::string steps = acl + web + counter( "web", "packets" );
    const auto counters = runOn( "hsdk", steps ).json().at( "chip" ).at( "flexCounters" );
    EXPECT_EQ( counters.at( "used" ), 1 );
    EXPECT_EQ( counters.at( "peak" ), 1 );
    EXPECT_EQ( counters.at( "setAside" ), 16384 );
    EXPECT_EQ( counters.at( "capacity" ), 16384 );
    const ToolResult text =
        ToolTest::ToolFolder().runScenario( "chip: hsdk\nsteps:\n" + steps, { "--snapshot" } );
    EXPECT_THAT( text.output,
                 testing::ContainsRegex( "  flex counters +1 +1 +16384  16384 set aside\n" ) );
    EXPECT_THAT( text.output, HasSubstr( "flex counter object 1: counters=4096 inUse=0\n" ) );
    EXPECT_THAT( text.output, HasSubstr( "flex counter object 2: counters=8192 inUse=1\n" ) );
    EXPECT_THAT( text.output, HasSubstr( "flex counters of entry 1: bcmFlexctrColorAny=2[1]\n" ) );
    EXPECT_FALSE(
        runOn( "hsdk", steps ).json().at( "chip" ).at( "policers" ).contains( "setAside" ) );
}

TEST( Counters, Run_Traffic_IsCountedReadAndCleared )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result = runOn(
            chip, acl + web + counter( "web", "packets, bytes" ) +
                      traffic( "packets: 10, bytes: 640" ) + traffic( "packets: 1, bytes: 60" ) +
                      readWeb + audit + "  - clear-counters: { entry: web }\n" + readWeb + freeWeb +
                      "  - destroy-entry: { name: web }\n" );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 2 ).at( "types" ), ( nlohmann::json{ "bytes", "packets" } ) );
        EXPECT_EQ( stepOf( result, 3 ).at( "counted" ), true );
        EXPECT_EQ( stepOf( result, 5 ).at( "packets" ), 11 );
        EXPECT_EQ( stepOf( result, 5 ).at( "bytes" ), 700 );
        EXPECT_EQ( stepOf( result, 5 ).at( "text" ), "11 packets, 700 bytes" );
        // The group, the entry, and its counters.
        EXPECT_EQ( stepOf( result, 6 ).at( "audited" ), 3 );
        EXPECT_EQ( stepOf( result, 8 ).at( "packets" ), 0 );
        EXPECT_EQ( stepOf( result, 8 ).at( "bytes" ), 0 );
        EXPECT_EQ( usedOf( result, "tcamEntries" ), 0 );
        EXPECT_EQ( usedOf( result, chip == "hsdk" ? "flexCounterObjects" : "statistics" ), 0 );
    }
}

TEST( Counters, Run_ColoursAndNoCounter_CountWhatIsTheirs )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result = runOn(
            chip, acl + web + traffic( "packets: 1, bytes: 60" ) + counter( "web", "redPackets" ) +
                      traffic( "packets: 5, bytes: 300, color: green" ) +
                      traffic( "packets: 2, bytes: 100, color: red" ) + readWeb );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 2 ).at( "counted" ), false );
        EXPECT_EQ( stepOf( result, 2 ).at( "text" ),
                   "1 packets, 60 bytes, which no counter counts" );
        EXPECT_EQ( stepOf( result, 6 ).at( "packets" ), 2 );
    }
}

TEST( Counters, Run_NoRoom_IsFull )
{
    const ToolResult result =
        runOn( "sdk6-tiny", acl + web + entry( "b" ) + entry( "c" ) + counter( "web", "packets" ) +
                                counter( "b", "bytes" ) + counter( "c", "bytes" ) +
                                "    expect: full\n" + freeWeb + counter( "c", "bytes" ) );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 6 ).at( "sdkFunction" ), "bcm_field_stat_create" );
    EXPECT_EQ( stepOf( result, 6 ).at( "returnCode" ), -6 );
    EXPECT_EQ( usedOf( result, "statistics" ), 2 );
}

TEST( Counters, Run_NoRoomOnHsdk_IsFull )
{
    const ToolTest::ToolFolder folder;
    std::string profile = folder.run( { "profiles", "hsdk" } ).output;
    const std::string many = "counters: 16384";
    profile.replace( profile.find( many ), many.size(), "counters: 8" );
    folder.write( "few.yaml", profile );
    std::string steps = acl;
    // The ingress stage has half of them, less one.
    for ( const std::string name : { "a", "b", "c" } ) {
        steps += entry( name ) + counter( name, "packets, bytes" );
    }
    const ToolResult result =
        folder.runScenario( "chip: few.yaml\nsteps:\n" + steps + entry( "d" ) +
                            counter( "d", "packets, bytes" ) + "    expect: full\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
}

TEST( Counters, Run_WhatCannotBe_IsAnError )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result = runOn(
            chip,
            acl + web + readWeb + expectError + freeWeb + expectError +
                "  - clear-counters: { entry: web }\n" + expectError + counter( "web", "packets" ) +
                counter( "web", "bytes" ) + expectError + "  - destroy-entry: { name: web }\n" +
                expectError + counter( "wep", "bytes" ) + expectError +
                "  - create-group: { name: plain, stage: ifp, key-size: 160, qualifiers: [ srcIp "
                "], actions: [ drop ] }\n  - create-entry: { name: p, group: plain }\n" +
                counter( "p", "bytes" ) + expectError );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        const std::pair< std::size_t, std::string > texts[] = {
            { 2, "the entry 'web' has no counters" },
            { 3, "the entry 'web' has no counters" },
            { 4, "the entry 'web' has no counters" },
            { 6, "the entry 'web' has counters already" },
            { 7, "the entry 'web' has counters" },
            { 8, "there is no entry 'wep', did you mean 'web'?" },
            { 11, "the group 'plain' has no logical-id, by which the library finds it" },
        };
        for ( const auto& [ index, text ] : texts ) {
            EXPECT_EQ( stepOf( result, index ).at( "text" ), text );
        }
    }
}

TEST( Counters, Run_InAnotherPipe_FindTheGroupOfThatPipe )
{
    std::string group = acl;
    group.replace( group.find( "logical-id: 7" ), 13, "logical-id: 7, sub-id: 2" );
    const ToolResult result = ToolTest::ToolFolder().runScenario(
        "chip: sdk6-udf\npipe: 2\nsteps:\n" + group + web + counter( "web", "packets" ) );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const ToolResult wrong =
        ToolTest::ToolFolder().runScenario( "chip: sdk6-udf\npipe: 1\nsteps:\n" + group + web +
                                            counter( "web", "packets" ) + expectError );
    EXPECT_EQ( wrong.exitCode, 0 ) << wrong.output << wrong.errors;
    EXPECT_THAT( wrong.output, HasSubstr( "bcm_field_stat_create: BCM_E_NOT_FOUND (-7)" ) );
}

TEST( Counters, Read_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const std::pair< std::string, std::string > cases[] = {
        { "allocate-counter: { entry: a, types: [ packet ] }",
          "3:44: unknown value 'packet', did you mean 'packets'?" },
        { "traffic: { entry: a, packets: -1, bytes: 0 }",
          "3:35: expected a whole number from 0 to 18446744073709551615, found '-1'" },
        { "traffic: { entry: a, packets: 1, bytes: 0, color: grean }",
          "3:55: unknown value 'grean', did you mean 'green'?" },
        { "read-counters: { entri: a }", "3:22: unknown key 'entri', did you mean 'entry'?" },
    };
    for ( const auto& [ step, message ] : cases ) {
        const ToolResult result = runOn( "sdk6-tiny", "  - " + step + "\n" );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_EQ( result.errors, "scenario.yaml:" + message + "\n" );
        EXPECT_EQ( result.output, "" );
    }
}

} // namespace
