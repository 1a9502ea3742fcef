// explain-udf

#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::Not;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

using Arguments = std::vector< std::string >;

/// The network identifier of VXLAN.
const Arguments vni = { "--base", "l4OuterPayload", "--ethertype", "ipv4",     "--protocol",
                        "udp",    "--offset",       "4",           "--length", "3" };

ToolResult explain( const Arguments& first, const Arguments& second = {} )
{
    Arguments all{ "explain-udf" };
    all.insert( all.end(), first.begin(), first.end() );
    all.insert( all.end(), second.begin(), second.end() );
    return ToolFolder().run( all );
}

ToolResult explainOn( const std::string& chip, const Arguments& desc, Arguments more = {} )
{
    more.insert( more.end(), { "--chip", chip } );
    return explain( desc, more );
}

TEST( ExplainUdf, Run_FieldOfTheUdfModule_IsToldInWords )
{
    const ToolResult result = explainOn( "sdk6-udf", vni );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_EQ( result.output,
               "3 bytes at 4 from l4OuterPayload, on chip sdk6-udf\n\n"
               "  Matches        bytes 12 to 14, counted from the start of the outer L4 header: "
               "offset 4 behind a header of 8 bytes\n"
               "  Chip gets      layer bcmUdfLayerL4OuterHeader, start 96 bits, width 24 bits, "
               "chunks 0, 1\n"
               "  Packets        EtherType ipv4 (0x0800) with an outer IPv4 header, IP protocol "
               "udp (17), no tunnel, any VLAN tags\n"
               "  Packet format  1, of its own, priority 0\n"
               "  LAG hash       not fed\n"
               "  On the chip    a new field\n" );
}

TEST( ExplainUdf, Run_Json_HasWhatTheChipHolds )
{
    for ( const std::string numbering : { "default", "shuffled:3" } ) {
        const ToolResult result = explainOn(
            "sdk6-udf", vni,
            { "--json", "--numbering", numbering, "--priority", "9", "--lag-mask", "0xFF,0x0F" } );
        ASSERT_EQ( result.exitCode, 0 ) << result.errors;
        const nlohmann::json json = result.json();
        EXPECT_EQ( json.at( "chip" ), "sdk6-udf" );
        EXPECT_EQ( json.at( "outcome" ), "ok" );
        EXPECT_EQ( json.at( "ids" ), nlohmann::json{ 1 } );
        EXPECT_EQ( json.at( "users" ), 1 );
        EXPECT_EQ( json.at( "udf" ), ( nlohmann::json{ { "layer", "bcmUdfLayerL4OuterHeader" },
                                                       { "start", 96 },
                                                       { "width", 24 },
                                                       { "chunks", { 0, 1 } } } ) );
        const nlohmann::json& format = json.at( "packetFormat" );
        EXPECT_EQ( format.at( "ethertype" ), 2048 );
        EXPECT_EQ( format.at( "ethertypeMask" ), 65535 );
        EXPECT_EQ( format.at( "outerIp" ), "bcmUdfPktFormatIp4" );
        EXPECT_TRUE( format.at( "innerIp" ).is_null() );
        EXPECT_EQ( format.at( "ipProtocol" ), 17 );
        EXPECT_EQ( format.at( "ipProtocolMask" ), 255 );
        EXPECT_EQ( format.at( "priority" ), 9 );
        EXPECT_EQ( format.at( "sharedWith" ), nlohmann::json::array() );
        EXPECT_EQ( json.at( "lagHashing" ).at( "mask" ), ( nlohmann::json{ 0xFF, 0x0F, 0 } ) );
    }
}

TEST( ExplainUdf, Run_OtherPackets_AreDescribed )
{
    const ToolResult arp = explainOn( "sdk6-udf", { "--base", "l3Header", "--ethertype", "arp",
                                                    "--offset", "6", "--length", "1" } );
    EXPECT_THAT( arp.output,
                 HasSubstr( "byte 6, counted from the start of the outer L3 header\n" ) );
    EXPECT_THAT( arp.output,
                 HasSubstr( "EtherType arp (0x0806) in Ethernet II frames, any IP protocol, no "
                            "tunnel, any VLAN tags\n" ) );
    const ToolResult gre =
        explainOn( "sdk6-udf", { "--base", "l3InnerHeader", "--ethertype", "ipv6",
                                 "--inner-ethertype", "ipv4", "--offset", "4", "--length", "2" } );
    EXPECT_THAT( gre.output, HasSubstr( "counted from the start of the inner L3 header\n" ) );
    EXPECT_THAT( gre.output,
                 HasSubstr( "EtherType ipv6 (0x86DD) with an outer IPv6 header, any IP protocol, "
                            "IPv4 in a GRE tunnel, any VLAN tags\n" ) );
}

TEST( ExplainUdf, Run_FieldOfAFlexibleParser_TellsWhatTheChipIsNotTold )
{
    // Of three bytes the chip of HSDK gets the two of one chunk.
    const ToolResult result = explainOn( "hsdk", vni );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_EQ( result.output,
               "3 bytes at 4 from l4OuterPayload, on chip hsdk\n\n"
               "  Matches        bytes 4 to 5, counted from where the chip's packet format "
               "starts; the chip is told no base\n"
               "  Chip gets      offset 32 bits, width 16 bits, chunk 0\n"
               "  Packets        all of the packet format; the chip is told no IP protocol\n"
               "  Packet format  bcmUdfAbstractPktFormatL3Ipv4, with no other field\n"
               "  On the chip    a new field\n"
               "  Note           the chip takes only 2 of the 3 bytes asked for\n" );
    const ToolResult mac =
        explainOn( "sdk6-flex", { "--json", "--base", "l3Header", "--ethertype", "arp", "--app",
                                  "macAcl", "--offset", "6", "--length", "2" } );
    EXPECT_EQ( mac.json().at( "packetFormat" ).at( "name" ), "bcmUdfAbstractPktFormatKnownNonIp" );
    EXPECT_EQ( mac.json().at( "udf" ),
               ( nlohmann::json{ { "offset", 48 }, { "width", 16 }, { "chunks", { 0 } } } ) );
}

/// A field of so many bytes, its base and EtherType.
Arguments field( const std::string& base, const std::string& etherType, const std::string& length )
{
    return { "--base", base, "--ethertype", etherType, "--offset", "0", "--length", length };
}

TEST( ExplainUdf, Run_ChipTakesAnotherLength_IsTold )
{
    struct
    {
        std::string chip;
        std::string length;
        int taken;
        nlohmann::json notes;
    } const cases[] = {
        { "hsdk", "1", 2, { "the chip takes 2 bytes, 1 asked for" } },
        { "hsdk", "2", 2, nlohmann::json::array() },
        { "hsdk", "4", 2, { "the chip takes only 2 of the 4 bytes asked for" } },
        { "sdk6-flex", "1", 1, nlohmann::json::array() },
        { "sdk6-flex", "4", 2, { "the chip takes only 2 of the 4 bytes asked for" } },
        { "sdk6-udf", "4", 4, nlohmann::json::array() },
    };

    for ( const auto& [ chip, length, taken, notes ] : cases ) {
        const auto json =
            explainOn( chip, field( "l3Header", "ipv4", length ), { "--json" } ).json();
        EXPECT_EQ( json.at( "bytesTaken" ), taken ) << chip << length;
        EXPECT_EQ( json.at( "notes" ), notes ) << chip << length;
    }
}

TEST( ExplainUdf, Run_PacketsLackTheHeaderOfTheBase_IsTold )
{
    const std::string noInner = "packets without a tunnel have no inner header to count from; "
                                "'inner-ethertype' describes those with one";
    const std::pair< Arguments, nlohmann::json > cases[] = {
        { field( "l4OuterHeader", "arp", "2" ),
          { "packets of EtherType arp (0x0806) have no L4 header to count from" } },
        { field( "l4OuterPayload", "lldp", "2" ),
          { "packets of EtherType lldp (0x88CC) have no L4 header to count from" } },
        { field( "l3InnerHeader", "ipv4", "2" ), { noInner } },
        { field( "l4OuterPayload", "ipv4", "2" ),
          { "for these packets the library skips no header: the field counts from the start of the "
            "header, not of the payload" } },
        { field( "l3Header", "800", "2" ),
          { "800 (0x0320) is not an EtherType; those begin at 0x0600 (hexadecimal numbers begin "
            "with 0x)" } },
        { field( "l4OuterHeader", "ipv4", "2" ), nlohmann::json::array() },
        { field( "l3Header", "arp", "2" ), nlohmann::json::array() },
        { field( "l4OuterHeader", "mpls", "2" ), nlohmann::json::array() },
        { vni, nlohmann::json::array() },
    };
    for ( const auto& [ desc, notes ] : cases ) {
        EXPECT_EQ( explainOn( "sdk6-udf", desc, { "--json" } ).json().at( "notes" ), notes )
            << desc[ 1 ];
    }
}

TEST( ExplainUdf, Run_WithOtherFields_TellsWhoSharesTheFormat )
{
    const Arguments with = {
        "--with",
        "{ name: dns, base: l4OuterHeader, ethertype: ipv4, protocol: udp, offset: 8, length: 2 }",
        "--with",
        "{ base: l4OuterHeader, ethertype: ipv4, protocol: tcp, offset: 8, length: 2 }",
        "--with",
        "{ base: l3Header, ethertype: ipv4, protocol: udp, offset: 2, length: 2 }" };
    EXPECT_THAT( explainOn( "sdk6-udf", vni, with ).output,
                 HasSubstr( "  Packet format  1, shared with dns (id 1), field 3 (id 3), priority "
                            "0\n" ) );
    EXPECT_THAT( explainOn( "hsdk", vni, with ).output,
                 HasSubstr( "bcmUdfAbstractPktFormatL3Ipv4, beside dns (id 1), field 2 (id 2), "
                            "field 3 (id 3)\n" ) );
}

TEST( ExplainUdf, Run_FieldThatExists_IsNothingNew )
{
    const ToolResult result = explainOn(
        "sdk6-udf", vni,
        { "--with",
          "{ name: vni, base: l4OuterPayload, ethertype: ipv4, protocol: udp, offset: 4, length: "
          "3 }" } );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_THAT(
        result.output,
        HasSubstr( "  On the chip    nothing new: it is vni (id 1), with one more user\n" ) );
}

TEST( ExplainUdf, Run_AfterAScenario_MeetsWhatItLeft )
{
    const ToolFolder folder;
    folder.write( "before.yaml",
                  "chip: sdk6-tiny\nsteps:\n"
                  "  - program-udf: { name: a, base: l3Header, ethertype: ipv4, protocol: udp, "
                  "offset: 2, length: 2 }\n"
                  "  - remove-udf: { name: b }\n    expect: error\n"
                  "  - program-udf: { name: c, base: packetStart, ethertype: ipv4, offset: 2, "
                  "length: 2 }\n    expect: aborted\n" );
    Arguments arguments{ "explain-udf", "--scenario", "before.yaml" };
    arguments.insert( arguments.end(), vni.begin(), vni.end() );
    const ToolResult result = folder.run( arguments );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_THAT( result.output, HasSubstr( "on chip sdk6-tiny\n" ) );
    EXPECT_THAT( result.output,
                 HasSubstr( "  Packet format  1, shared with a (id 1), priority 0\n" ) );
    arguments.insert( arguments.end(), { "--chip", "sdk6-flex" } );
    EXPECT_THAT( folder.run( arguments ).output, HasSubstr( "on chip sdk6-flex\n" ) );
}

TEST( ExplainUdf, Run_WhatIsRefused_SaysWhyAndEndsWithOne )
{
    const ToolResult wide = explainOn( "sdk6-tiny", { "--base", "l3Header", "--ethertype", "ipv4",
                                                      "--offset", "0", "--length", "13" } );
    EXPECT_EQ( wide.exitCode, 1 );
    EXPECT_THAT( wide.output,
                 HasSubstr( "  Refused        bcm_udf_create: BCM_E_RESOURCE (-14), Out of "
                            "hardware resources\n" ) );
    const ToolResult noType =
        explainOn( "sdk6-tiny", { "--base", "l3Header", "--offset", "0", "--length", "2" } );
    EXPECT_EQ( noType.exitCode, 1 );
    EXPECT_THAT( noType.output,
                 HasSubstr( "the library makes no user-defined field without an EtherType\n" ) );
    const ToolResult existing = explainOn(
        "sdk6-tiny", vni, { "--json", "--with", "{ base: l3Header, offset: 0, length: 2 }" } );
    EXPECT_EQ( existing.exitCode, 1 );
    EXPECT_EQ( existing.json().at( "outcome" ), "error" );
    EXPECT_EQ( existing.json().at( "why" ),
               "--with: field 1: the library makes no user-defined field without an EtherType" );
}

TEST( ExplainUdf, Run_WhatEndsTheProcess_IsToldAndEndsWithThree )
{
    const ToolResult result = explainOn( "sdk6-udf", { "--base", "packetStart", "--ethertype",
                                                       "ipv4", "--offset", "0", "--length", "2" } );
    EXPECT_EQ( result.exitCode, 3 );
    EXPECT_EQ( result.errors, "" );
    EXPECT_THAT( result.output, HasSubstr( "  Refused        the library ends the process\n" ) );
    EXPECT_THAT( result.output, HasSubstr( "Assertion `Invalid base UdfBasePacketStart_ used'" ) );
    EXPECT_THAT( result.output, Not( HasSubstr( "Running" ) ) );
    const ToolResult with = explainOn(
        "sdk6-udf", vni,
        { "--json", "--with", "{ name: x, base: 9, ethertype: ipv4, offset: 0, length: 2 }" } );
    EXPECT_EQ( with.exitCode, 3 );
    EXPECT_EQ( with.json().at( "outcome" ), "aborted" );
    EXPECT_EQ( with.json().at( "running" ), "--with: x" );
}

TEST( ExplainUdf, Run_ValueWithoutATranslationEndsTheProcess_IsNamed )
{
    const ToolFolder folder;
    folder.write( "before.yaml", "chip: sdk6-tiny\nsteps:\n"
                                 "  - create-group: { name: a, stage: ifp, key-size: 0, "
                                 "qualifiers: [ 180 ], actions: [] }\n" );
    Arguments arguments{ "explain-udf", "--scenario", "before.yaml" };
    arguments.insert( arguments.end(), vni.begin(), vni.end() );
    const ToolResult text = folder.run( arguments );
    EXPECT_EQ( text.exitCode, 3 );
    EXPECT_EQ( text.errors, "" );
    EXPECT_THAT( text.output, HasSubstr( "  Running        step 1 of the scenario\n"
                                         "  Refused        the library ends the process\n"
                                         "  Library        Unsupported qualifier udf\n"
                                         "  Assertion      " ) );
    arguments.emplace_back( "--json" );
    EXPECT_EQ( folder.run( arguments ).json().at( "errorLine" ), "Unsupported qualifier udf" );
}

/// The first two bytes of the layer-3 header on a chip with a UDF module, and an option more.
Arguments withOption( const std::string& option, const std::string& value )
{
    return { "--chip", "sdk6-udf", "--base", "l3Header", "--offset",
             "0",      "--length", "2",      option,     value };
}

TEST( ExplainUdf, Read_SomethingIsWrong_SaysWhatAndRunsNothing )
{
    const std::pair< Arguments, std::string > cases[] = {
        { { "--chip", "sdk6-udf", "--base", "l3Heade", "--offset", "0", "--length", "2" },
          "pelora-tcam: --base: unknown value 'l3Heade', did you mean 'l3Header'?\n" },
        { { "--chip", "sdk6-udf", "--base", "l3Header", "--offset", "0", "--length", "256" },
          "pelora-tcam: --length: expected a whole number from 0 to 255, found '256'\n" },
        { withOption( "--ethertype", "ipv5" ),
          "pelora-tcam: --ethertype: unknown value 'ipv5', did you mean 'ipv4'?\n" },
        { withOption( "--lag-mask", "1,2,3,4,5" ),
          "pelora-tcam: --lag-mask: expected at most 4 mask bytes\n" },
        { { "--chip", "sdk6-udf", "--offset", "0", "--length", "2", "--base", "a\nb" },
          "pelora-tcam: --base: expected one line\n" },
        { { "--chip", "sdk6-udg", "--base", "l3Header", "--offset", "0", "--length", "2" },
          "pelora-tcam: --chip: 'sdk6-udg' is neither a built-in chip profile nor a file, did you "
          "mean 'sdk6-udf'?\n" },
        { { "--base", "l3Header", "--offset", "0", "--length", "2" },
          "pelora-tcam: explain-udf needs --chip PROFILE or --scenario FILE\n" },
        { withOption( "--with", "{ base: l2Heder, offset: 0, length: 2 }" ),
          "--with:1:9: unknown value 'l2Heder', did you mean 'l2Header'?\n" },
    };
    for ( const auto& [ arguments, message ] : cases ) {
        const ToolResult result = explain( arguments );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_EQ( result.errors, message );
        EXPECT_EQ( result.output, "" );
    }
    const ToolResult unclosed =
        explain( { "--chip", "sdk6-udf", "--base", "[", "--offset", "0", "--length", "2" } );
    EXPECT_EQ( unclosed.exitCode, 2 ) << unclosed.errors;
    const ToolResult missing =
        explain( { "--chip", "sdk6-udf", "--offset", "0", "--length", "2" } );
    EXPECT_EQ( missing.exitCode, 2 );
    EXPECT_THAT( missing.errors, HasSubstr( "--base is required" ) );
}

TEST( ExplainUdf, Help_HasExamples )
{
    const ToolResult result = explain( { "--help" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.output,
                 HasSubstr( "Examples:\n  pelora-tcam explain-udf --chip sdk6-udf" ) );
    EXPECT_THAT( result.output, HasSubstr( "Exit codes:" ) );
}

} // namespace
