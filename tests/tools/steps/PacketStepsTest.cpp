// send-packet, send-capture; the names of rules where a step takes an entry's name

#include "tests/tools/StepRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using testing::HasSubstr;
using ToolTest::runOn;
using ToolTest::stepOf;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

/// Both variants of the helpers.
const std::string chips[] = { "sdk6-udf", "hsdk" };

const std::string acl =
    "  - create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: [ srcIp, dstIp, "
    "ipProtocol, l4SrcPort, l4DstPort, vrf, etherType ], actions: [ drop, copyToCpu ], "
    "logical-id: 7 }\n"
    "  - create-entry: { name: web, group: acl, priority: 2, protocol: tcp, dst-port: 80 }\n"
    "  - create-entry: { name: tcp, group: acl, priority: 1, protocol: tcp, "
    "actions: [ copyToCpu ] }\n";

std::string send( const std::string& packet, const std::string& rest = "" )
{
    return "  - send-packet: { packet: \"" + packet + "\"" + rest + " }\n";
}

const std::string web = "tcp 10.0.0.1:1024 > 192.0.2.1:80";
const std::string ssh = "tcp 10.0.0.1:1024 > 192.0.2.1:22";
const std::string arp = "arp 10.0.0.1 > 10.0.0.2";

const std::string rules = "@10.0.0.0/8 192.0.2.0/24 0 : 65535 22 : 22 0x06/0xFF 0x0000/0x0000\n"
                          "\n"
                          "@0.0.0.0/0 192.0.2.0/24 0 : 65535 0 : 65535 0x06/0xFF 0x0000/0x0000\n";

/// Runs the steps in a folder with the rules above.
ToolResult runWithRules( const std::string& chip, const std::string& steps )
{
    const ToolFolder folder;
    folder.write( "office.rules", rules );
    return folder.runScenario( "chip: " + chip + "\nsteps:\n" + steps, { "--json" } );
}

const std::string import =
    "  - import-rules: { file: office.rules, name: office, counters: true }\n";

// ---- send-packet -------------------------------------------------------------------------------

TEST( SendPacket, Run_PacketThatHits_TellsWinnerAndFate )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result =
            runOn( chip, acl + send( web, ", port: 3" ) + send( ssh ) + send( arp ) );
        ASSERT_EQ( result.exitCode, 0 ) << result.errors << result.output;
        EXPECT_EQ( stepOf( result, 3 ).at( "name" ), web );
        EXPECT_EQ( stepOf( result, 3 ).at( "winner" ).at( "entry" ), "web" );
        EXPECT_EQ( stepOf( result, 3 ).at( "winner" ).at( "group" ), "acl" );
        EXPECT_EQ( stepOf( result, 3 ).at( "winner" ).at( "line" ), 0 );
        EXPECT_EQ( stepOf( result, 3 ).at( "dropped" ), true );
        EXPECT_EQ( stepOf( result, 3 ).at( "text" ), "web in group acl: drop; dropped, green" );
        EXPECT_EQ( stepOf( result, 4 ).at( "winner" ).at( "entry" ), "tcp" );
        EXPECT_EQ( stepOf( result, 4 ).at( "copied" ), true );
        EXPECT_EQ( stepOf( result, 4 ).at( "actions" ), nlohmann::json{ "copyToCpu" } );
        EXPECT_TRUE( stepOf( result, 5 ).at( "winner" ).is_null() );
        EXPECT_EQ( stepOf( result, 5 ).at( "text" ), "nothing matches; green" );
        EXPECT_EQ( stepOf( result, 5 ).at( "hits" ), nlohmann::json::array() );
    }
}

TEST( SendPacket, Run_ExpectationsThatHold_AreOk )
{
    const ToolResult result = runOn(
        "sdk6-udf",
        acl +
            send( web, ", expect: { rule: none, entry: web, group: acl, dropped: true, copied: "
                       "false, redirected: false, colour: green, actions: [ drop ] }" ) +
            send( web, ", expect: { group: acl }" ) +
            send( arp, ", expect: { rule: none, entry: none, dropped: false, actions: [] }" ) +
            send( arp, ", expect: { group: acl, entry: none }" ) );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
}

TEST( SendPacket, Run_ExpectationThatDoesNotHold_FailsWithWantedAndFound )
{
    const struct
    {
        std::string packet;
        std::string expect;
        std::string text;
    } cases[] = {
        { web, "rule: 17", "rule: wanted 17, found none" },
        { web, "entry: tcp", "entry: wanted tcp, found web" },
        { web, "entry: none", "entry: wanted none, found web" },
        { arp, "entry: web", "entry: wanted web, found none" },
        { arp, "group: acl", "group: wanted a hit in acl, found no hit in acl" },
        { web, "dropped: false", "dropped: wanted false, found true" },
        { web, "copied: true", "copied: wanted true, found false" },
        { web, "redirected: true", "redirected: wanted true, found false" },
        { web, "colour: red", "colour: wanted red, found green" },
        { web, "actions: [ drop, copyToCpu ]", "actions: wanted copyToCpu, drop, found drop" },
        { web, "actions: []", "actions: wanted none, found drop" },
        { web, "entry: tcp, dropped: false",
          "entry: wanted tcp, found web; dropped: wanted false, found true" },
    };

    for ( const auto& [ packet, expect, text ] : cases ) {
        const ToolResult result =
            runOn( "hsdk", acl + send( packet, ", expect: { " + expect + " }" ) );
        EXPECT_EQ( result.exitCode, 1 ) << expect;
        EXPECT_EQ( stepOf( result, 3 ).at( "outcome" ), "error" );
        EXPECT_EQ( stepOf( result, 3 ).at( "text" ), text );
    }
}

TEST( SendPacket, Run_ExpectationThatIsExpectedNotToHold_IsAsExpected )
{
    const ToolResult result =
        runOn( "hsdk", acl + send( web, ", expect: { entry: tcp }" ) + "    expect: error\n" );
    EXPECT_EQ( result.exitCode, 0 );
    const nlohmann::json failed = stepOf( result, 3 ).at( "failed" );
    EXPECT_EQ( failed, nlohmann::json::parse(
                           R"([{ "what": "entry", "wanted": "tcp", "found": "web" }])" ) );
}

TEST( SendPacket, Run_UnknownNames_AreErrors )
{
    const ToolResult entry = runOn( "hsdk", acl + send( web, ", expect: { entry: wbe }" ) );
    EXPECT_EQ( stepOf( entry, 3 ).at( "text" ), "there is no entry 'wbe', did you mean 'web'?" );
    const ToolResult group = runOn( "hsdk", acl + send( web, ", expect: { group: alc }" ) );
    EXPECT_EQ( stepOf( group, 3 ).at( "text" ), "there is no group 'alc', did you mean 'acl'?" );
}

TEST( SendPacket, Run_GivenValues_CountForQualifiersThatTheBytesDoNotTell )
{
    const std::string vrf =
        "  - create-group: { name: vrf, stage: ifp, key-size: 160, qualifiers: [ vrf, l4DstPort ], "
        "actions: [ drop ] }\n"
        "  - create-entry: { name: web, group: vrf, dst-port: 443 }\n";
    for ( const std::string numbering : { "default", "shuffled:4" } ) {
        const ToolResult result =
            runOn( "hsdk",
                   vrf + send( web, ", expect: { entry: none }" ) +
                       send( web, ", given: { l4DstPort: 443 }, expect: { entry: web }" ),
                   { "--numbering", numbering } );
        EXPECT_EQ( result.exitCode, 0 ) << result.output;
    }
}

TEST( SendPacket, Run_SimulatedTime_FillsThePolicersBucket )
{
    const std::string policed =
        "  - create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: [ ipProtocol ], "
        "actions: [ copyToCpu ], logical-id: 7 }\n"
        "  - allocate-policer: { name: one, mode: committed, cir: 8kbps, cbs: 1KB }\n"
        "  - create-entry: { name: tcp, group: acl, protocol: tcp, policer: one, "
        "actions: [ copyToCpu ] }\n"
        "  - allocate-counter: { entry: tcp, types: [ greenPackets, redPackets ] }\n";
    const std::string packet = "tcp 10.0.0.1:1 > 10.0.0.2:2 length 1000";
    for ( const std::string& chip : chips ) {
        const ToolResult result =
            runOn( chip, policed + send( packet, ", expect: { colour: green }" ) +
                             send( packet, ", expect: { colour: red }" ) +
                             send( packet, ", at: 999999us, expect: { colour: red }" ) +
                             send( packet, ", at: 1s, expect: { colour: green }" ) +
                             send( packet, ", expect: { colour: red }" ) +
                             "  - read-counters: { entry: tcp }\n" );
        EXPECT_EQ( result.exitCode, 0 ) << chip << result.output;
        EXPECT_EQ( stepOf( result, 6 ).at( "at" ), 999999000 );
        EXPECT_EQ( stepOf( result, 8 ).at( "at" ), 1000000000 );
        EXPECT_EQ( stepOf( result, 9 ).at( "packets" ), 5 );
    }
}

TEST( SendPacket, Run_Packets_AreCounted )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result =
            runOn( chip, acl + "  - allocate-counter: { entry: web, types: [ packets, bytes ] }\n" +
                             send( web + " length 100" ) + send( web + " length 60" ) +
                             send( ssh ) + "  - read-counters: { entry: web }\n" );
        ASSERT_EQ( result.exitCode, 0 ) << result.errors;
        EXPECT_EQ( stepOf( result, 7 ).at( "packets" ), 2 );
        EXPECT_EQ( stepOf( result, 7 ).at( "bytes" ), 160 );
    }
}

TEST( SendPacket, Run_EntryThatComesLater_IsHit )
{
    const ToolResult result =
        runOn( "hsdk", acl + send( web, ", expect: { entry: web }" ) +
                           "  - create-entry: { name: best, group: acl, priority: 9, protocol: tcp "
                           "}\n" +
                           send( web, ", expect: { entry: best }" ) +
                           "  - destroy-entry: { name: best }\n" +
                           send( web, ", expect: { entry: web }" ) );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
}

// ---- Rules -------------------------------------------------------------------------------------

TEST( SendPacket, Run_Rules_AreCalledByTheirLines )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result = runWithRules(
            chip,
            acl + import + send( ssh, ", expect: { rule: 1, entry: office/1, group: office }" ) +
                send( web, ", expect: { rule: 3, entry: office/3 }" ) +
                send( web, ", expect: { group: acl, entry: web, rule: none }" ) +
                send( "tcp 10.0.0.1:1 > 10.0.0.2:80", ", expect: { rule: none, entry: web }" ) );
        EXPECT_EQ( result.exitCode, 0 ) << chip << result.output;
        EXPECT_THAT( stepOf( result, 4 ).at( "winner" ).at( "file" ).get< std::string >(),
                     testing::EndsWith( "office.rules" ) );
        EXPECT_EQ( stepOf( result, 4 ).at( "hits" ).size(), 2U );
    }
}

TEST( RuleNames, Run_StepsOnEntries_TakeThem )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result =
            runWithRules( chip, import + send( ssh + " length 100" ) +
                                    "  - traffic: { entry: office/1, packets: 2, bytes: 50 }\n"
                                    "  - read-counters: { entry: office/1 }\n"
                                    "  - read-counters: { entry: office/3 }\n"
                                    "  - clear-counters: { entry: office/1 }\n"
                                    "  - read-counters: { entry: office/1 }\n"
                                    "  - remove-rules: { name: office }\n" );
        ASSERT_EQ( result.exitCode, 0 ) << result.output;
        EXPECT_EQ( stepOf( result, 3 ).at( "packets" ), 3 );
        EXPECT_EQ( stepOf( result, 3 ).at( "bytes" ), 150 );
        EXPECT_EQ( stepOf( result, 4 ).at( "packets" ), 0 );
        EXPECT_EQ( stepOf( result, 6 ).at( "packets" ), 0 );
    }
}

TEST( RuleNames, Run_NamesOfNoRule_AreErrors )
{
    const struct
    {
        std::string step;
        std::string text;
    } cases[] = {
        { "read-counters: { entry: office/2 }",
          "the rule set 'office' has no rule in line 2 of '" },
        { "read-counters: { entry: ofice/1 }",
          "there is no rule set 'ofice', did you mean 'office'?" },
        { "read-counters: { entry: office/x }", "there is no entry 'office/x'" },
        { "destroy-entry: { name: office/1 }",
          "the entry 'office/1' is of a rule set, with which it gets and loses its place" },
        { "free-counter: { entry: office/1 }",
          "the entry 'office/1' is of a rule set, with which it gets and loses its counters" },
        { "allocate-counter: { entry: office/1, types: [ bytes ] }",
          "the entry 'office/1' is of a rule set, with which it gets and loses its counters" },
    };

    for ( const auto& [ step, text ] : cases ) {
        const ToolResult result = runWithRules( "sdk6-udf", import + "  - " + step + "\n" );
        EXPECT_EQ( stepOf( result, 1 ).at( "outcome" ), "error" ) << step;
        EXPECT_THAT( stepOf( result, 1 ).at( "text" ).get< std::string >(),
                     testing::StartsWith( text ) );
    }
}

TEST( RuleNames, Run_RuleThatWasRefused_IsAnError )
{
    const ToolFolder folder;
    folder.write( "many.rules", "@0.0.0.0/0 0.0.0.0/0 0 : 65535 1 : 10 0x06/0xFF 0x0000/0x0000\n"
                                "@0.0.0.0/0 0.0.0.0/0 0 : 65535 2 : 20 0x06/0xFF 0x0000/0x0000\n"
                                "@0.0.0.0/0 0.0.0.0/0 0 : 65535 3 : 30 0x06/0xFF 0x0000/0x0000\n" );
    const ToolResult result = folder.runScenario(
        "chip: sdk6-tiny\nsteps:\n  - import-rules: { file: many.rules }\n    expect: full\n"
        "  - traffic: { entry: many.rules/3, packets: 1, bytes: 1 }\n    expect: error\n",
        { "--json" } );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
    EXPECT_THAT( stepOf( result, 1 ).at( "text" ).get< std::string >(),
                 testing::AllOf( testing::StartsWith( "the rule in line 3 of '" ),
                                 testing::EndsWith( "' is not on the chip" ) ) );
}

// ---- Bad input ---------------------------------------------------------------------------------

TEST( SendPacket, Read_BadInput_IsRefusedAtItsPlace )
{
    const struct
    {
        std::string step;
        std::string error;
    } cases[] = {
        { "packet: tcp 10.0.0.1:1024 > 192.0.2.1:80 flgas syn",
          "3:61: unknown word 'flgas', did you mean 'flags'?" },
        { "packet: \"tcp 10.0.0.1:1024 > 192.0.2.1:80 flgas syn\"",
          "3:62: unknown word 'flgas', did you mean 'flags'?" },
        { "packet: arp 1.2.3.4 > 1.2.3.5, at: 5", "3:55: expected a time: a whole number with ns" },
        { "packet: arp 1.2.3.4 > 1.2.3.5, at: 99999999999s", "3:55: expected a time" },
        { "packet: arp 1.2.3.4 > 1.2.3.5, given: { vrff: 5 }", "3:60: unknown value 'vrff'" },
        { "packet: arp 1.2.3.4 > 1.2.3.5, given: { vrf: x }",
          "3:65: expected a whole number from 0 to 18446744073709551615, found 'x'" },
        { "packet: arp 1.2.3.4 > 1.2.3.5, expect: { rule: 0 }",
          "3:67: expected a whole number from 1 to 2147483647, found '0'" },
        { "packet: arp 1.2.3.4 > 1.2.3.5, expect: { rul: 0 }", "3:61: unknown key 'rul'" },
        { "packet: arp 1.2.3.4 > 1.2.3.5, expect: { actions: [ drpo ] }",
          "3:72: unknown value 'drpo', did you mean 'drop'?" },
        { "packet: arp 1.2.3.4 > 1.2.3.5, expect: { colour: blue }", "3:69: unknown value 'blue'" },
        { "port: 1", "3:18: missing" },
    };

    for ( const auto& [ step, error ] : cases ) {
        const ToolResult result =
            ToolFolder().runScenario( "chip: hsdk\nsteps:\n  - send-packet: { " + step + " }\n" );
        EXPECT_EQ( result.exitCode, 2 ) << step;
        EXPECT_THAT( result.errors, HasSubstr( "scenario.yaml:" + error ) );
    }
}

// ---- send-capture ------------------------------------------------------------------------------

/// A number of 32 bits as a capture has it.
std::string word( unsigned long number )
{
    std::string bytes;
    for ( int shift = 0; shift < 32; shift += 8 ) {
        bytes += static_cast< char >( number >> shift );
    }
    return bytes;
}

/// A capture of Ethernet frames in the format pcap: one TCP packet to that port of 192.0.2.1 at
/// each of the times, in microseconds.
std::string captureOf( const std::vector< std::pair< unsigned, unsigned > >& portsAndTimes )
{
    std::string capture =
        word( 0xA1B2C3D4 ) + word( 0x00040002 ) + word( 0 ) + word( 0 ) + word( 65535 ) + word( 1 );
    for ( const auto& [ port, time ] : portsAndTimes ) {
        std::string frame( "\x02\0\0\0\0\2\x02\0\0\0\0\1\x08\0"
                           "\x45\0\0\x28\0\0\0\0\x40\x06\0\0\x0A\0\0\1\xC0\0\2\1"
                           "\4\0\0\0\0\0\0\0\0\0\0\0\x50\x02\0\0\0\0\0\0",
                           54 );
        frame[ 36 ] = static_cast< char >( port >> 8 );
        frame[ 37 ] = static_cast< char >( port );
        capture += word( 1000 + time / 1000000 ) + word( time % 1000000 ) + word( frame.size() ) +
                   word( frame.size() ) + frame;
    }
    return capture;
}

ToolResult runWithCapture( const std::string& chip,
                           const std::string& steps,
                           const std::vector< std::pair< unsigned, unsigned > >& portsAndTimes )
{
    const ToolFolder folder;
    folder.write( "office.rules", rules );
    folder.write( "some.pcap", captureOf( portsAndTimes ) );
    return folder.runScenario( "chip: " + chip + "\nsteps:\n" + steps, { "--json" } );
}

const std::vector< std::pair< unsigned, unsigned > > threeAndOne = {
    { 80, 0 }, { 22, 10 }, { 80, 20 }, { 80, 30 } };

TEST( SendCapture, Run_Packets_AreSentAndTold )
{
    for ( const std::string& chip : chips ) {
        const ToolResult result = runWithCapture(
            chip,
            acl + "  - allocate-counter: { entry: web, types: [ packets, bytes ] }\n" +
                "  - send-capture: { file: some.pcap, port: 2, expect: { hits: { web: 3, tcp: 1 }, "
                "dropped: 3, copied: 1, redirected: 0, unmatched: 0, green: 4, yellow: 0, red: 0 } "
                "}\n"
                "  - read-counters: { entry: web }\n",
            threeAndOne );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        const nlohmann::json step = stepOf( result, 4 );
        EXPECT_EQ( step.at( "packets" ), 4 );
        EXPECT_EQ( step.at( "dropped" ), 3 );
        EXPECT_EQ( step.at( "text" ), "4 packets, 3 dropped, 1 copied, 4 green" );
        ASSERT_EQ( step.at( "hits" ).size(), 2U );
        EXPECT_EQ( step.at( "hits" )[ 0 ].at( "entry" ), "web" );
        EXPECT_EQ( step.at( "hits" )[ 0 ].at( "packets" ), 3 );
        EXPECT_EQ( step.at( "hits" )[ 0 ].at( "bytes" ), 162 );
        EXPECT_EQ( stepOf( result, 5 ).at( "packets" ), 3 );
        EXPECT_EQ( stepOf( result, 5 ).at( "bytes" ), 162 );
    }
}

TEST( SendCapture, Run_HitsOfRules_AreThoseOfOneOrOfAll )
{
    const ToolResult result = runWithCapture(
        "sdk6-udf",
        import + "  - send-capture: { file: some.pcap, expect: { hits: { office: 4, office/1: 1, "
                 "office/3: 3 } } }\n",
        threeAndOne );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
}

TEST( SendCapture, Run_ExpectationsThatDoNotHold_FailWithWantedAndFound )
{
    const ToolResult result = runWithCapture(
        "hsdk",
        acl + "  - send-capture: { file: some.pcap, expect: { hits: { web: 4 }, dropped: 2 } }\n",
        threeAndOne );
    EXPECT_EQ( result.exitCode, 1 );
    EXPECT_EQ( stepOf( result, 3 ).at( "outcome" ), "error" );
    EXPECT_EQ( stepOf( result, 3 ).at( "text" ),
               "dropped: wanted 2, found 3; hits of web: wanted 4, found 3" );
    EXPECT_EQ( stepOf( result, 3 ).at( "failed" ).size(), 2U );
}

TEST( SendCapture, Run_Times_AreThoseBetweenThePackets )
{
    const std::string policed =
        "  - create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: [ ipProtocol ], "
        "actions: [ copyToCpu ] }\n"
        "  - allocate-policer: { name: one, mode: committed, cir: 1kbps, cbs: 1kbit }\n"
        "  - create-entry: { name: tcp, group: acl, protocol: tcp, policer: one, "
        "actions: [ copyToCpu ] }\n"
        "  - send-packet: { packet: arp 10.0.0.1 > 10.0.0.2, at: 5s }\n"
        "  - send-capture: { file: some.pcap, expect: { green: 3, red: 2 } }\n"
        "  - send-packet: { packet: arp 10.0.0.1 > 10.0.0.2 }\n";
    // 54 bytes are 432 bits, which come back in 0.432 s. After two packets 136 bits are left.
    const ToolResult result = runWithCapture(
        "hsdk", policed, { { 80, 0 }, { 80, 0 }, { 80, 0 }, { 80, 295999 }, { 80, 296000 } } );
    EXPECT_EQ( result.exitCode, 0 ) << result.output;
    EXPECT_EQ( stepOf( result, 5 ).at( "at" ), 5296000000 );
}

TEST( SendCapture, Read_BadInput_IsRefusedAtItsPlace )
{
    const ToolResult missing =
        ToolFolder().runScenario( "chip: hsdk\nsteps:\n  - send-capture: { file: none.pcap }\n" );
    EXPECT_EQ( missing.exitCode, 2 );
    EXPECT_THAT( missing.errors, HasSubstr( "none.pcap:1:1: is no capture that can be read: " ) );
    const ToolFolder folder;
    folder.write( "some.pcap", captureOf( threeAndOne ) );
    const ToolResult unknown = folder.runScenario(
        "chip: hsdk\nsteps:\n  - send-capture: { file: some.pcap, expect: { dorpped: 1 } }\n" );
    EXPECT_EQ( unknown.exitCode, 2 );
    EXPECT_THAT( unknown.errors, HasSubstr( "scenario.yaml:3:48: unknown key 'dorpped'" ) );
    const ToolResult hits = folder.runScenario( "chip: hsdk\nsteps:\n  - send-capture: { file: "
                                                "some.pcap, expect: { hits: { web: -1 } } }\n" );
    EXPECT_EQ( hits.exitCode, 2 );
    EXPECT_THAT( hits.errors, HasSubstr( "scenario.yaml:3:61: expected a whole number" ) );
}

} // namespace
