// program-udf, remove-udf, list-udfs, chunk-positions, and udf-helper

#include "tests/tools/UdfScenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ToolTest::Udfs {
namespace {

using testing::HasSubstr;

TEST( ProgramUdf, Run_Field_IsOnTheChipAndTold )
{
    const ToolResult result = run( overIpv4( "a", "protocol: tcp, offset: 2, length: 4" ) );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const nlohmann::json step = stepOf( result, 0 );
    EXPECT_EQ( step.at( "text" ), "id 1, 4 bytes at 2 from l3Header" );
    EXPECT_EQ( step.at( "ids" ), nlohmann::json{ 1 } );
    EXPECT_EQ( step.at( "offset" ), 2 );
    EXPECT_EQ( step.at( "length" ), 4 );
    EXPECT_EQ( step.at( "lagHashing" ), false );
    EXPECT_EQ( step.at( "users" ), 1 );
    expectChip( result, "udfs", 1 );
    expectChip( result, "udfChunks", 2 );
    expectChip( result, "udfPacketFormats", 1 );
}

TEST( ProgramUdf, Run_ChipTakesLessThanAskedFor_IsTold )
{
    const std::string note = "the chip takes only 2 of the 4 bytes asked for";
    const std::string steps = overIpv4( "a", "offset: 2, length: 4" );
    const ToolResult result =
        ToolFolder().runScenario( "chip: hsdk\nsteps:\n" + steps, { "--json" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "length" ), 4 );
    EXPECT_EQ( stepOf( result, 0 ).at( "bytesTaken" ), 2 );
    EXPECT_EQ( stepOf( result, 0 ).at( "notes" ), nlohmann::json::array( { note } ) );
    EXPECT_THAT( ToolFolder().runScenario( "chip: hsdk\nsteps:\n" + steps ).output,
                 HasSubstr( "from l3Header\n      note: " + note + "\n" ) );
    EXPECT_EQ( stepOf( run( steps ), 0 ).at( "bytesTaken" ), 4 );
    EXPECT_EQ( stepOf( run( steps ), 0 ).at( "notes" ), nlohmann::json::array() );
}

TEST( ProgramUdf, Run_PacketsLackTheHeader_IsTold )
{
    const ToolResult result =
        run( program( "a", "base: l4OuterHeader, ethertype: arp, offset: 0, length: 2" ) );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "notes" ),
               nlohmann::json::array(
                   { "packets of EtherType arp (0x0806) have no L4 header to count from" } ) );
}

TEST( ProgramUdf, Run_SamePackets_ShareAFormatWhateverThePriority )
{
    const ToolResult result = run( overIpv4( "a", "offset: 2, length: 2" ) +
                                   overIpv4( "b", "offset: 4, length: 2, priority: 7" ) );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    expectChip( result, "udfs", 2 );
    expectChip( result, "udfPacketFormats", 1 );
}

TEST( ProgramUdf, Run_EqualFields_ShareOneUntilTheLastIsRemoved )
{
    const std::string rest = "offset: 2, length: 2";
    const ToolResult result = run( overIpv4( "a", rest ) + overIpv4( "b", rest ) + remove( "a" ) +
                                   "  - list-udfs: all\n" + remove( "b" ) );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "id 1, 2 bytes at 2 from l3Header, shared by 2" );
    EXPECT_EQ( stepOf( result, 1 ).at( "users" ), 2 );
    EXPECT_EQ( stepOf( result, 2 ).at( "text" ), "id 1, 1 left that share it" );
    EXPECT_EQ( stepOf( result, 2 ).at( "users" ), 1 );
    EXPECT_EQ( stepOf( result, 3 ).at( "text" ), "b (id 1)" );
    EXPECT_EQ( stepOf( result, 4 ).at( "text" ), "id 1, back to the chip" );
    EXPECT_EQ( stepOf( result, 4 ).at( "ids" ), nlohmann::json{ 1 } );
    expectChip( result, "udfs", 0 );
    expectChip( result, "udfPacketFormats", 0 );
}

TEST( ProgramUdf, Run_NamesAndNumbers_AreTheSame )
{
    const ToolResult result = run(
        program( "a", "base: l3OuterPayload, ethertype: ipv6, inner-ethertype: ipv4, protocol: "
                      "gre, offset: 0, length: 2, app: ipv6Acl" ) +
        program( "b", "base: 4, ethertype: 0x86DD, inner-ethertype: 2048, protocol: 47, offset: "
                      "0x00, length: 2, app: 1" ) );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "users" ), 2 );
    expectChip( result, "udfs", 1 );
}

TEST( ProgramUdf, Run_UnderAnotherNumbering_IsAuditedAlike )
{
    const ToolResult result =
        run( overIpv4( "a", "offset: 2, length: 2, lag-mask: [ 0xFF, 0x0F ]" ) + "  - audit: all\n",
             { "--numbering", "shuffled:5" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "audited" ), 1 );
    expectChip( result, "udfHashConfigurations", 1 );
}

TEST( ProgramUdf, Run_NoFreeFields_IsFull )
{
    const ToolResult result =
        run( overIpv4( "a", "offset: 2, length: 6" ) + overIpv4( "b", "offset: 8, length: 6" ) +
             program( "c", "base: l2Header, ethertype: arp, offset: 0, length: 1" ) + expectFull );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 2 ).at( "sdkFunction" ), "bcm_udf_create" );
    EXPECT_EQ( stepOf( result, 2 ).at( "returnCode" ), -14 );
    EXPECT_THAT( result.errors, HasSubstr( "Hardware resources insufficient to program UDF" ) );
    expectChip( result, "udfs", 2 );
}

TEST( ProgramUdf, Run_NoFreeFormat_IsFullAndLeavesNothing )
{
    const ToolResult result =
        run( overIpv4( "a", "offset: 2, length: 2" ) +
             overIpv4( "b", "protocol: tcp, offset: 2, length: 2" ) +
             overIpv4( "c", "protocol: udp, offset: 2, length: 2" ) + expectFull );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 2 ).at( "sdkFunction" ), "bcm_udf_pkt_format_create" );
    expectChip( result, "udfs", 2 );
    expectChip( result, "udfPacketFormats", 2 );
}

TEST( ProgramUdf, Run_FullFormat_IsFullForTheFirstReason )
{
    // The helper's undoing fails once more, as it expects to: that is not the reason.
    const ToolResult result =
        run( overIpv4( "a", "offset: 2, length: 2" ) + overIpv4( "b", "offset: 4, length: 2" ) +
             overIpv4( "c", "offset: 6, length: 2" ) + expectFull );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 2 ).at( "text" ),
               "bcm_udf_pkt_format_add: BCM_E_FULL (-6), Table full" );
    expectChip( result, "udfs", 2 );
}

TEST( ProgramUdf, Run_WhatTheSdkRefuses_IsAnError )
{
    const ToolResult result = run( overIpv4( "a", "offset: 2, length: 0" ) + expectError );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "sdkFunction" ), "bcm_udf_create" );
    EXPECT_EQ( stepOf( result, 0 ).at( "returnCode" ), -4 );
}

TEST( ProgramUdf, Run_NameTaken_IsAnError )
{
    const std::string a = overIpv4( "a", "offset: 2, length: 2" );
    const ToolResult result = run( a + a + expectError );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "there is a user-defined field 'a' already" );
}

TEST( ProgramUdf, Run_NoEtherType_IsAnError )
{
    const ToolResult result =
        run( program( "a", "base: l3Header, offset: 2, length: 2" ) + expectError );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "text" ),
               "the library makes no user-defined field without an EtherType" );
}

TEST( ProgramUdf, Run_WhatTheLibraryDoesNotTake_Aborts )
{
    const std::pair< std::string, std::string > cases[] = {
        { "base: packetStart, ethertype: ipv4, offset: 0, length: 2",
          "Invalid base UdfBasePacketStart_ used" },
        { "base: 9, ethertype: ipv4, offset: 0, length: 2",
          "Invalid base UdfBasePacketStart_ used" },
        { "base: l3Header, ethertype: ipv4, inner-ethertype: mpls, offset: 0, length: 2",
          "No support for GRE innerEtherType other than v4/v6" },
        { "base: l3Header, ethertype: arp, inner-ethertype: ipv4, offset: 0, length: 2",
          "Outer ethertype for GRE packets must be IPv4/IPv6" },
    };
    for ( const auto& [ rest, assertion ] : cases ) {
        const ToolResult result = run( program( "a", rest ) + expectAborted );
        EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_THAT( result.output, HasSubstr( assertion ) );
    }
}

TEST( ProgramUdf, Run_LagMask_FeedsTheHashWhereTheChipCan )
{
    const std::string lag = overIpv4( "lag", "offset: 2, length: 2, lag-mask: []" );
    const ToolResult tiny = run( lag );
    ASSERT_EQ( tiny.exitCode, 0 ) << tiny.output << tiny.errors;
    expectChip( tiny, "udfHashConfigurations", 1 );
    EXPECT_EQ( stepOf( tiny, 0 ).at( "lagHashing" ), true );
    EXPECT_EQ( stepOf( tiny, 0 ).at( "text" ),
               "id 1, 2 bytes at 2 from l3Header, feeds the LAG hash" );

    const ToolFolder folder;
    const ToolResult text = folder.run( { "profiles", "sdk6-tiny" } );
    std::string profile = text.output;
    const std::string one = "hash-configurations: 1";
    profile.replace( profile.find( one ), one.size(), "hash-configurations: 0" );
    folder.write( "unhashed.yaml", profile );
    const ToolResult unhashed =
        folder.runScenario( "chip: unhashed.yaml\nsteps:\n" + lag + expectError );
    EXPECT_EQ( unhashed.exitCode, 0 ) << unhashed.output << unhashed.errors;
    EXPECT_THAT( unhashed.output, HasSubstr( "this chip cannot hash over user-defined fields" ) );
}

TEST( ProgramUdf, Run_UnitThatNoHelperCanHave_IsAnError )
{
    const ToolResult result =
        ToolFolder().runScenario( "chip: sdk6-tiny\nunit: 65536\nsteps:\n" +
                                  overIpv4( "a", "offset: 2, length: 2" ) + expectError );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_THAT(
        result.output,
        HasSubstr( "a helper of user-defined fields has a unit of 0 to 65535, not 65536" ) );
}

TEST( ProgramUdf, Run_HelperOfAnyOrigin_DoesTheSame )
{
    for ( const std::string origin : { "registry", "factory", "creator" } ) {
        const ToolResult result =
            ToolFolder().runScenario( "chip: sdk6-tiny\nudf-helper: " + origin + "\nsteps:\n" +
                                          overIpv4( "a", "offset: 2, length: 2, lag-mask: [ 1 ]" ) +
                                          "  - audit: all\n" + remove( "a" ),
                                      { "--json" } );
        ASSERT_EQ( result.exitCode, 0 ) << origin << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 1 ).at( "audited" ), 1 );
        expectChip( result, "udfs", 0 );
    }
}

TEST( ProgramUdf, Read_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const std::pair< std::string, std::string > cases[] = {
        { "{ name: a, base: l3Heade, offset: 0, length: 2 }",
          "3:35: unknown value 'l3Heade', did you mean 'l3Header'?" },
        { "{ name: a, base: l3Header, ethertype: ipv5, offset: 0, length: 2 }",
          "3:56: unknown value 'ipv5', did you mean 'ipv4'?" },
        { "{ name: a, base: l3Header, ethertype: 65536, offset: 0, length: 2 }",
          "3:56: expected a whole number from 0 to 65535, found '65536'" },
        { "{ name: a, base: l3Header, protocol: tpc, offset: 0, length: 2 }",
          "3:55: unknown value 'tpc', did you mean 'tcp'?" },
        { "{ name: a, base: l3Header, protocol: 256, offset: 0, length: 2 }",
          "3:55: expected a whole number from 0 to 255, found '256'" },
        { "{ name: a, base: l3Header, offset: 256, length: 2 }",
          "3:53: expected a whole number from 0 to 255, found '256'" },
        { "{ name: a, base: l3Header, offset: 0, length: two }",
          "3:64: expected a whole number from 0 to 255, found 'two'" },
        { "{ name: a, base: l3Header, offset: 0 }", "3:18: missing key 'length'" },
        { "{ name: a, base: l3Header, offset: 0, length: 2, app: ipv4acl }",
          "3:72: unknown value 'ipv4acl', did you mean 'ipv4Acl'?" },
        { "{ name: a, base: l3Header, offset: 0, length: 2, lag-mask: [ 0, 256 ] }",
          "3:82: expected a whole number from 0 to 255, found '256'" },
        { "{ name: a, base: l3Header, offset: 0, length: 2, lag-mask: [ 0, 1, 2, 3, 4 ] }",
          "3:91: expected at most 4 mask bytes" },
        { "{ name: a, base: l3Header, offset: 0, length: 2, colouring: 1 }",
          "3:67: unknown key 'colouring', expected 'name', 'base', 'ethertype', 'inner-ethertype', "
          "'protocol', 'offset', 'length', 'priority', 'app' or 'lag-mask'" },
    };
    for ( const auto& [ step, message ] : cases ) {
        const ToolResult result = run( "  - program-udf: " + step + "\n" );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_EQ( result.errors, "scenario.yaml:" + message + "\n" );
        EXPECT_EQ( result.output, "" );
    }
    const ToolResult origin =
        ToolFolder().runScenario( "chip: sdk6-tiny\nudf-helper: factry\nsteps:\n  - audit: all\n" );
    EXPECT_EQ( origin.exitCode, 2 );
    EXPECT_EQ( origin.errors,
               "scenario.yaml:2:13: unknown value 'factry', did you mean 'factory'?\n" );
}

TEST( RemoveUdf, Run_UnknownName_IsAnErrorWithAHint )
{
    const ToolResult result =
        run( overIpv4( "vni", "offset: 2, length: 2" ) + remove( "vnj" ) + expectError );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ),
               "there is no user-defined field 'vnj', did you mean 'vni'?" );
}

TEST( RemoveUdf, Run_SdkRefuses_Aborts )
{
    const ToolResult result =
        run( overIpv4( "a", "offset: 2, length: 2" ) +
             "  - inject-fault: { function: bcm_udf_destroy, call: 1, fail: BCM_E_BUSY }\n" +
             remove( "a" ) + expectAborted );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_THAT( result.output, HasSubstr( "bcm_udf_destroy( unit, udfId )" ) );
}

TEST( ChunkPositions, Run_Fields_TellTheirChunks )
{
    const ToolResult result =
        run( overIpv4( "a", "offset: 2, length: 3" ) + overIpv4( "b", "offset: 6, length: 2" ) +
             "  - chunk-positions: { name: a }\n"
             "  - chunk-positions: { name: b }\n"
             "  - chunk-positions: { name: c }\n" +
             expectError );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 2 ).at( "chunks" ), ( nlohmann::json{ 0, 1 } ) );
    EXPECT_EQ( stepOf( result, 2 ).at( "text" ), "chunks 0, 1" );
    EXPECT_EQ( stepOf( result, 3 ).at( "chunks" ), nlohmann::json{ 2 } );
    EXPECT_EQ( stepOf( result, 4 ).at( "text" ),
               "there is no user-defined field 'c', expected 'a' or 'b'" );
}

TEST( ListUdfs, Run_NothingThere_TellsNone )
{
    const ToolResult result = run( "  - list-udfs: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "text" ), "none" );
    EXPECT_EQ( stepOf( result, 0 ).at( "udfs" ), nlohmann::json::array() );
    EXPECT_EQ( stepOf( result, 0 ).at( "foreign" ), nlohmann::json::array() );
}

TEST( ListUdfs, Run_FieldThatTheChipKept_IsForeign )
{
    const ToolResult result =
        run( overIpv4( "a", "offset: 2, length: 2" ) + overIpv4( "b", "offset: 4, length: 2" ) +
             "  - inject-fault: { function: bcm_udf_destroy, call: 1, drop: true }\n" +
             remove( "a" ) + "  - list-udfs: all\n  - audit: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 4 ).at( "text" ), "b (id 2); foreign: id 1" );
    EXPECT_EQ( stepOf( result, 4 ).at( "udfs" ),
               nlohmann::json::array( { { { "name", "b" }, { "ids", { 2 } } } } ) );
    EXPECT_EQ( stepOf( result, 4 ).at( "foreign" ), nlohmann::json{ 1 } );
    EXPECT_EQ( stepOf( result, 5 ).at( "text" ), "1 compared with the chip, 1 foreign" );
    EXPECT_EQ( stepOf( result, 5 ).at( "foreign" ), 1 );
}

TEST( AuditOfUdfs, Run_BehindAHeader_IsWithheld )
{
    const ToolResult result = run(
        overIpv4( "a", "offset: 2, length: 2" ) +
        program( "b", "base: l4OuterPayload, ethertype: ipv4, protocol: udp, offset: 4, length: "
                      "2" ) +
        "  - audit: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 2 ).at( "text" ), "1 compared with the chip, 1 withheld" );
    EXPECT_EQ( stepOf( result, 2 ).at( "withheld" ), 1 );
}

TEST( AuditOfUdfs, Run_ChipLies_Aborts )
{
    const std::pair< std::string, std::string > cases[] = {
        { "bcm_udf_get, call: 1, corrupt: { field: start, value: 8 }",
          "udf.start() == ( offset * 8 )" },
        { "bcm_udf_hash_config_get, call: 1, corrupt: { field: mask_length, value: 9 }",
          "udfDesc.length() == hash_config.mask_length()" },
    };
    for ( const auto& [ fault, assertion ] : cases ) {
        const ToolResult result = run( overIpv4( "a", "offset: 2, length: 2, lag-mask: [ 0xFF ]" ) +
                                       "  - inject-fault: { function: " + fault +
                                       " }\n  - audit: all\n" + expectAborted );
        EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_THAT( result.output, HasSubstr( assertion ) );
    }
}
} // namespace
} // namespace ToolTest::Udfs
