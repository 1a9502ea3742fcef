// create-preselector, destroy-preselector

#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

/// Runs steps on a chip with room for two preselectors, with one JSON object as output.
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

/// A preselector with some qualifiers; `how` stands before them.
std::string
preselector( const std::string& name, const std::string& qualifiers, const std::string& how = "" )
{
    return "  - create-preselector: { name: " + name + ", " + how + "qualifiers: [ " + qualifiers +
           " ] }\n";
}

const std::string drop = "{ qualifier: drop, data: 1, mask: 1 }";

/// The lines of the trace of SDK calls.
std::string callsOf( const std::string& steps )
{
    return run( steps, { "--trace", "PeloraTcamSdk6Helper=4" } ).errors;
}

TEST( CreatePreselector, Run_SomeQualifiers_IsOnTheChipAndTold )
{
    const ToolResult result =
        run( preselector( "a", "{ qualifier: pktType, data: l2Broadcast }, " + drop ) );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "outcome" ), "ok" );
    EXPECT_EQ( stepOf( result, 0 ).at( "id" ), 1 );
    EXPECT_EQ( stepOf( result, 0 ).at( "qualifiers" ), ( nlohmann::json{ "pktType", "drop" } ) );
    EXPECT_EQ( result.json().at( "chip" ).at( "preselectors" ).at( "used" ), 1 );
}

TEST( CreatePreselector, Run_AgentNames_AreTheAgentsNumbers )
{
    const std::string traced =
        callsOf( preselector( "a", "{ qualifier: pktType, data: l2Broadcast }, "
                                   "{ qualifier: overlayPktType, data: bpdu }, "
                                   "{ qualifier: ipType, data: arpReply }, "
                                   "{ qualifier: l2PktType, data: broadcast }, "
                                   "{ qualifier: overlayL2PktType, data: multicast }, "
                                   "{ qualifier: pktFwdType, data: ipv4Unicast }, "
                                   "{ qualifier: tnlType, data: vxlan }" ) );
    for ( const char* text : { "PktType data: 0x5", "OverlayPktType data: 0xd", "IpType data: 0xd",
                               "L2 pkt type data: 0x3", "Overlay l2 pkt type data: 0x2",
                               "PktFwType data: 0x2", "TunnelType data: 0x1" } ) {
        EXPECT_THAT( traced, HasSubstr( std::string( "Setting " ) + text ) );
    }
}

TEST( CreatePreselector, Run_NumberInPlaceOfTheName_IsTheSame )
{
    const ToolResult result = run( preselector( "a", "{ qualifier: 133, data: 9 }" ) );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "qualifiers" ), nlohmann::json::array( { "pktType" } ) );
}

TEST( CreatePreselector, Run_SdkNamesUnderEveryNumbering_AreTheSdksValues )
{
    const std::string steps =
        preselector( "a", "{ qualifier: dropReason, data: bcmFieldDropReasonTtlExpired }" ) +
        preselector( "b",
                     "{ qualifier: ipType, data: bcmFieldIpTypeIpv6 }, "
                     "{ qualifier: forwardingType, data: bcmFieldForwardingTypeMpls }, "
                     "{ qualifier: pktType, data: l2Broadcast }",
                     "legacy: true, " );
    for ( const char* numbering : { "default", "shuffled:3" } ) {
        const ToolResult result = run( steps, { "--numbering", numbering } );
        EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    }
}

TEST( CreatePreselector, Run_NoMask_AsksForEveryBit )
{
    EXPECT_THAT( callsOf( preselector( "a", "{ qualifier: ipInfo, data: 5 }" ) ),
                 HasSubstr( "Setting IpInfo data: 0x5 mask: 0xffffffff" ) );
}

TEST( CreatePreselector, Run_Legacy_UsesTheOlderFunction )
{
    EXPECT_THAT( callsOf( preselector( "a", "{ qualifier: ipInfo, data: 5 }", "legacy: true, " ) ),
                 HasSubstr( "setPreselectQualifier Setting IpInfo" ) );
    EXPECT_THAT( callsOf( preselector( "a", "{ qualifier: ipInfo, data: 5 }", "legacy: false, " ) ),
                 HasSubstr( "setPeloraTcamPreselectQualifier Setting IpInfo" ) );
}

TEST( CreatePreselector, Run_NoRoom_IsFull )
{
    const ToolResult result = run( preselector( "a", "" ) + preselector( "b", "" ) +
                                   preselector( "c", "" ) + "    expect: full\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "text" ), "id 1, no qualifiers" );
    EXPECT_EQ( stepOf( result, 2 ).at( "sdkFunction" ), "bcm_field_presel_create" );
}

TEST( CreatePreselector, Run_NameTaken_IsAnError )
{
    const ToolResult result =
        run( preselector( "a", "" ) + preselector( "a", "" ) + "    expect: error\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "there is a preselector 'a' already" );
}

TEST( CreatePreselector, Run_WhatTheLibraryDoesNotTake_Aborts )
{
    const std::tuple< std::string, std::string, std::string > cases[] = {
        { "", "{ qualifier: 141, data: 1 }", "unsupported preselect qualifier" },
        { "legacy: true, ", "{ qualifier: 5, data: 1 }", "unsupported preselect qualifier" },
        { "legacy: true, ", "{ qualifier: 127, data: 1 }",
          "In old version OverlayPktType is unsupported" },
        { "legacy: true, ", "{ qualifier: dstClassField, data: 0x10000 }",
          "DstClassField value is greater than 16 bit" },
        { "", "{ qualifier: pktType, data: 200 }", "pktTypeMap.find( pktType )" },
    };
    for ( const auto& [ how, qualifier, assertion ] : cases ) {
        const ToolResult result =
            run( preselector( "a", qualifier, how ) + "    expect: aborted\n" );
        EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_THAT( result.output, HasSubstr( assertion ) );
    }
}

TEST( CreatePreselector, Run_SdkThrowsAtAQualifier_LeavesNothing )
{
    const ToolResult result =
        run( "  - inject-fault: { function: bcm_field_qualify_Drop, call: 1, throw: true }\n" +
             preselector( "a", drop ) + "    expect: error\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "injected fault: bcm_field_qualify_Drop" );
    EXPECT_EQ( result.json().at( "chip" ).at( "preselectors" ).at( "used" ), 0 );
}

TEST( CreatePreselector, Read_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const std::pair< std::string, std::string > cases[] = {
        { "{ qualifier: pktTyp, data: 1 }", "unknown value 'pktTyp', did you mean 'pktType'?" },
        { "{ qualifier: 256, data: 1 }", "expected a whole number from 0 to 255, found '256'" },
        { "{ qualifier: pktType, data: l2Brodcast }",
          "unknown value 'l2Brodcast', did you mean 'l2Broadcast'?" },
        { "{ qualifier: dropReason, data: bcmFieldDropReasonTtlExpird }",
          "expected a whole number or the name of an SDK enumerator, found "
          "'bcmFieldDropReasonTtlExpird', did you mean 'bcmFieldDropReasonTtlExpired'?" },
        { "{ qualifier: drop, data: 4294967296 }",
          "expected a whole number from 0 to 4294967295, found '4294967296'" },
        { "{ qualifier: drop, data: 1, mask: all }",
          "expected a whole number from 0 to 4294967295, found 'all'" },
        { "{ qualifier: drop }", "missing key 'data'" },
        { "{ qualifier: drop, data: 1, value: 1 }",
          "unknown key 'value', expected 'qualifier', 'data' or 'mask'" },
    };
    for ( const auto& [ qualifier, message ] : cases ) {
        const ToolResult result = run( preselector( "a", qualifier ) );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_THAT( result.errors, testing::StartsWith( "scenario.yaml:3:" ) );
        EXPECT_THAT( result.errors, testing::EndsWith( ": " + message + "\n" ) );
        EXPECT_EQ( result.output, "" );
    }
}

TEST( CreatePreselector, Read_NameThatTheLibraryDoesNotTake_IsRefused )
{
    const auto refusalOf = []( const std::string& name, const std::string& number ) {
        return "the library does not take '" + name +
               "' here; to see what it does with it, write its number, " + number + "\n";
    };
    const std::tuple< std::string, std::string, std::string > cases[] = {
        { "", "{ qualifier: srcIp, data: 1 }", refusalOf( "srcIp", "141" ) },
        { "legacy: true, ", "{ qualifier: dropReason, data: 1 }", refusalOf( "dropReason", "6" ) },
        { "legacy: true, ", "{ qualifier: overlayPktType, data: 1 }",
          refusalOf( "overlayPktType", "127" ) },
        { "", "{ qualifier: ipType, data: ipv6TwoExtensionHeaders }",
          refusalOf( "ipv6TwoExtensionHeaders", "9" ) },
        { "", "{ qualifier: pktFwdType, data: none }", refusalOf( "none", "0" ) },
    };
    for ( const auto& [ how, qualifier, message ] : cases ) {
        const ToolResult result = run( preselector( "a", qualifier, how ) );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_THAT( result.errors, testing::StartsWith( "scenario.yaml:3:" ) );
        EXPECT_THAT( result.errors, testing::EndsWith( ": " + message ) );
    }
}

TEST( CreatePreselector, Read_AgentsNameWhereTheSdksIsWanted_IsRefused )
{
    const ToolResult result =
        run( preselector( "a", "{ qualifier: ipType, data: arpReply }", "legacy: true, " ) );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_THAT( result.errors,
                 HasSubstr( "expected a whole number or the name of an SDK enumerator, found "
                            "'arpReply'" ) );
}

TEST( DestroyPreselector, Run_Preselector_IsBackToTheChip )
{
    const ToolResult result =
        run( preselector( "a", drop ) + "  - destroy-preselector: { name: a }\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "id" ), 1 );
    EXPECT_EQ( result.json().at( "chip" ).at( "preselectors" ).at( "used" ), 0 );
}

TEST( DestroyPreselector, Run_UnknownName_IsAnError )
{
    const ToolResult result = run( "  - destroy-preselector: { name: a }\n    expect: error\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "text" ), "there is no preselector 'a'" );
}

} // namespace
