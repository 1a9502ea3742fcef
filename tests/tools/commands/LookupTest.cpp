// lookup: its options, its answers, and what it says of bad input

#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

using Arguments = std::vector< std::string >;

/// A range checker, a prefix, a protocol without ports, and an empty line in between.
const std::string rules = "@10.0.0.0/8 192.0.2.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n"
                          "\n"
                          "@0.0.0.0/0 192.0.2.0/24 0 : 65535 8000 : 8099 0x06/0xFF 0x0000/0x0000\n"
                          "@0.0.0.0/0 198.51.100.1/32 0 : 65535 0 : 65535 0x32/0xFF 0x0000/0x0000\n"
                          "@10.0.0.0/8 0.0.0.0/0 0 : 65535 0 : 65535 0x06/0xFF 0x0000/0x0000\n";

const std::string web = "tcp 10.0.0.1:1024 > 192.0.2.1:80";
const std::string proxy = "tcp 172.16.0.1:1024 > 192.0.2.1:8050";
const std::string other = "tcp 10.0.0.1:1024 > 203.0.113.1:443";
const std::string unknown = "udp 172.16.0.1:1024 > 192.0.2.1:80";

ToolResult lookup( const ToolFolder& folder, const Arguments& more )
{
    Arguments all{ "lookup" };
    all.insert( all.end(), more.begin(), more.end() );
    return folder.run( all );
}

/// Looks up with the rules above on a chip.
ToolResult lookupRules( const Arguments& more, const std::string& chip = "sdk6-udf" )
{
    const ToolFolder folder;
    folder.write( "web.rules", rules );
    Arguments all{ "--rules", "web.rules", "--chip", chip };
    all.insert( all.end(), more.begin(), more.end() );
    return lookup( folder, all );
}

Arguments described( const Arguments& packets )
{
    Arguments all;
    for ( const std::string& packet : packets ) {
        all.insert( all.end(), { "--packet", packet } );
    }
    return all;
}

const std::string scenario = R"(chip: hsdk
steps:
  - create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: [ dstIp, ipProtocol, l4DstPort ], actions: [ drop, copyToCpu ] }
  - create-entry: { name: web, group: acl, protocol: tcp, dst-port: 80, priority: 2 }
  - create-entry: { name: all, group: acl, protocol: tcp, priority: 1, actions: [ copyToCpu ] }
)";

// ---- Answers -----------------------------------------------------------------------------------

TEST( Lookup, Winners_OfRules_AreTheirLinesAndNothingElse )
{
    for ( const std::string chip : { "sdk6-udf", "hsdk" } ) {
        Arguments arguments = described( { web, proxy, other, unknown } );
        arguments.emplace_back( "--winners" );
        const ToolResult result = lookupRules( arguments, chip );
        EXPECT_EQ( result.exitCode, 0 );
        EXPECT_EQ( result.output, "1\n3\n5\n0\n" ) << chip;
        EXPECT_EQ( result.errors, "" );
    }
}

TEST( Lookup, Winners_OfEntriesOfNoRuleSet_AreZero )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml", scenario );
    const ToolResult result =
        lookup( folder, { "--scenario", "scenario.yaml", "--winners", "--packet", web } );
    EXPECT_EQ( result.output, "0\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
}

TEST( Lookup, Text_OfRules_NamesTheWinnerAndWhyOthersLost )
{
    const ToolResult result = lookupRules( described( { web } ), "hsdk" );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_THAT( result.output, StartsWith( web + "\n  Winner   web.rules:1, priority " ) );
    EXPECT_THAT( result.output, HasSubstr( "\n  Actions  drop\n  Packet   dropped; green\n" ) );
    EXPECT_THAT( result.output,
                 testing::ContainsRegex( "\n  Lost     web.rules:5, priority [0-9]+: it matches, "
                                         "but ranks below\n" ) );
    EXPECT_THAT( result.output,
                 testing::ContainsRegex( "\n  Lost     web.rules:3, priority [0-9]+: RangeCheck "
                                         "wanted [^\n]*, found [^\n]*\n" ) );
}

TEST( Lookup, Text_OfAPacketThatNothingMatches_SaysSo )
{
    const ToolResult result = lookupRules( described( { unknown } ) );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.output, HasSubstr( "\n  Winner   none: nothing matches\n" ) );
    EXPECT_THAT( result.output, HasSubstr( "\n  Packet   goes on; green\n" ) );
}

TEST( Lookup, Json_OfRules_HasWinnerActionsAndColour )
{
    Arguments arguments = described( { web, unknown } );
    arguments.emplace_back( "--json" );
    const ToolResult result = lookupRules( arguments );
    ASSERT_EQ( result.exitCode, 0 ) << result.errors;
    const nlohmann::json packets = result.json().at( "packets" );
    ASSERT_EQ( packets.size(), 2U );
    EXPECT_EQ( result.json().at( "formatVersion" ), 2 );
    EXPECT_EQ( packets[ 0 ].at( "packet" ), web );
    EXPECT_EQ( packets[ 0 ].at( "winner" ).at( "file" ), "web.rules" );
    EXPECT_EQ( packets[ 0 ].at( "winner" ).at( "line" ), 1 );
    EXPECT_EQ( packets[ 0 ].at( "winner" ).at( "entry" ), "web.rules/1" );
    EXPECT_EQ( packets[ 0 ].at( "winner" ).at( "group" ), "web.rules" );
    EXPECT_EQ( packets[ 0 ].at( "actions" ), nlohmann::json{ "drop" } );
    EXPECT_EQ( packets[ 0 ].at( "colour" ), "green" );
    EXPECT_EQ( packets[ 0 ].at( "dropped" ), true );
    EXPECT_TRUE( packets[ 1 ].at( "winner" ).is_null() );
    EXPECT_EQ( packets[ 1 ].at( "actions" ), nlohmann::json::array() );
}

TEST( Lookup, Json_OfEntriesOfAScenario_HasTheirNames )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml", scenario );
    const ToolResult result =
        lookup( folder, { "--scenario", "scenario.yaml", "--json", "--numbering", "shuffled:5",
                          "--packet", web, "--packet", "tcp 10.0.0.1:1 > 10.0.0.2:81" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.errors;
    const nlohmann::json packets = result.json().at( "packets" );
    EXPECT_EQ( packets[ 0 ].at( "winner" ).at( "entry" ), "web" );
    EXPECT_EQ( packets[ 0 ].at( "winner" ).at( "group" ), "acl" );
    EXPECT_EQ( packets[ 0 ].at( "winner" ).at( "line" ), 0 );
    EXPECT_TRUE( packets[ 0 ].at( "winner" ).at( "file" ).is_null() );
    EXPECT_EQ( packets[ 0 ].at( "groups" ).size(), 1U );
    EXPECT_EQ( packets[ 0 ].at( "groups" )[ 0 ].at( "nearest" )[ 0 ].at( "entry" ), "all" );
    EXPECT_EQ( packets[ 0 ].at( "groups" )[ 0 ].at( "nearest" )[ 0 ].at( "matches" ), true );
    EXPECT_EQ( packets[ 1 ].at( "winner" ).at( "entry" ), "all" );
    EXPECT_EQ( packets[ 1 ].at( "actions" ), nlohmann::json{ "copyToCpu" } );
    EXPECT_EQ( packets[ 1 ].at( "copied" ), true );
    const nlohmann::json loser = packets[ 1 ].at( "groups" )[ 0 ].at( "nearest" )[ 0 ];
    EXPECT_EQ( loser.at( "entry" ), "web" );
    EXPECT_EQ( loser.at( "matches" ), false );
    EXPECT_EQ( loser.at( "qualifier" ), "L4DstPort" );
}

TEST( Lookup, RulesAndEntries_BothHit_TheRuleWins )
{
    const ToolFolder folder;
    folder.write( "web.rules", rules );
    folder.write( "scenario.yaml",
                  scenario + "  - import-rules: { file: web.rules, name: web }\n" );
    const ToolResult result =
        lookup( folder, { "--scenario", "scenario.yaml", "--winners", "--packet", web, "--packet",
                          "tcp 172.16.0.1:1 > 172.16.0.2:80" } );
    EXPECT_EQ( result.output, "1\n0\n" ) << result.errors;
}

TEST( Lookup, Action_OfRules_IsWhatTheyDo )
{
    Arguments arguments = described( { web } );
    arguments.insert( arguments.end(), { "--json", "--action", "copyToCpu" } );
    const ToolResult result = lookupRules( arguments );
    ASSERT_EQ( result.exitCode, 0 ) << result.errors;
    const nlohmann::json packet = result.json().at( "packets" )[ 0 ];
    EXPECT_EQ( packet.at( "actions" ), nlohmann::json{ "copyToCpu" } );
    EXPECT_EQ( packet.at( "dropped" ), false );
    EXPECT_EQ( packet.at( "copied" ), true );
}

TEST( Lookup, Policers_WithoutWinners_MeterPacketAfterPacket )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml", R"(chip: sdk6-udf
steps:
  - create-group: { name: acl, stage: ifp, key-size: 320, qualifiers: [ ipProtocol ], actions: [ copyToCpu ] }
  - allocate-policer: { name: one, mode: committed, cir: 8kbps, cbs: 1KB }
  - create-entry: { name: tcp, group: acl, protocol: tcp, policer: one, actions: [ copyToCpu ] }
)" );
    const std::string packet = "tcp 10.0.0.1:1 > 10.0.0.2:2 length 600";
    const ToolResult result = lookup( folder, { "--scenario", "scenario.yaml", "--json", "--jobs",
                                                "2", "--packet", packet, "--packet", packet } );
    ASSERT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_EQ( result.json().at( "packets" )[ 0 ].at( "colour" ), "green" );
    EXPECT_EQ( result.json().at( "packets" )[ 1 ].at( "colour" ), "red" );
}

// ---- The set-up --------------------------------------------------------------------------------

TEST( Lookup, RuleThatIsRefused_IsNamedAndTheOthersAnswer )
{
    const ToolFolder folder;
    folder.write( "many.rules", "@0.0.0.0/0 0.0.0.0/0 0 : 65535 1 : 10 0x06/0xFF 0x0000/0x0000\n"
                                "@0.0.0.0/0 0.0.0.0/0 0 : 65535 2 : 20 0x06/0xFF 0x0000/0x0000\n"
                                "\n"
                                "@0.0.0.0/0 0.0.0.0/0 0 : 65535 3 : 30 0x06/0xFF 0x0000/0x0000\n" );
    const ToolResult result = lookup(
        folder, { "--rules", "many.rules", "--chip", "sdk6-tiny", "--winners", "--packet",
                  "tcp 10.0.0.1:1 > 10.0.0.2:15", "--packet", "tcp 10.0.0.1:1 > 10.0.0.2:25" } );
    EXPECT_EQ( result.exitCode, 1 );
    EXPECT_EQ( result.output, "2\n0\n" );
    EXPECT_EQ( result.errors,
               "many.rules:4:1: this rule was refused, for want of: range checker\n" );
}

TEST( Lookup, RuleThatNoEntryCanMatch_IsNamedWithWhatItAsksFor )
{
    const ToolFolder folder;
    folder.write( "flags.rules",
                  "@0.0.0.0/0 0.0.0.0/0 0 : 65535 0 : 65535 0x06/0xFF 0x0200/0xFF00\n"
                  "@0.0.0.0/0 0.0.0.0/0 0 : 65535 0 : 65535 0x00/0x00 0x0200/0xFF00\n" );
    const ToolResult result =
        lookup( folder, { "--rules", "flags.rules", "--chip", "hsdk", "--winners", "--packet",
                          "tcp 10.0.0.1:1 > 10.0.0.2:2 flags syn", "--packet",
                          "tcp 10.0.0.1:1 > 10.0.0.2:2 flags ack" } );
    EXPECT_EQ( result.exitCode, 1 );
    EXPECT_EQ( result.output, "1\n0\n" );
    EXPECT_EQ( result.errors, "flags.rules:2:1: this rule was refused, because it asks for: flags "
                              "without an exact protocol\n" );
}

TEST( Lookup, StepThatFails_IsNamedAndTheChipAnswers )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml", scenario + "  - destroy-entry: { name: wbe }\n" );
    const ToolResult result =
        lookup( folder, { "--scenario", "scenario.yaml", "--winners", "--packet", web } );
    EXPECT_EQ( result.exitCode, 1 );
    EXPECT_EQ( result.output, "0\n" );
    EXPECT_THAT( result.errors, StartsWith( "scenario.yaml: step 4, destroy-entry wbe: error, "
                                            "expected ok: there is no entry 'wbe'" ) );
}

TEST( Lookup, StepThatEndsTheProcess_IsTold )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml",
                  scenario +
                      "  - create-group: { name: b, stage: ifp, key-size: 100, qualifiers: [ dstIp "
                      "], actions: [] }\n" );
    const ToolResult result =
        lookup( folder, { "--scenario", "scenario.yaml", "--json", "--packet", web } );
    EXPECT_EQ( result.exitCode, 3 );
    EXPECT_EQ( result.output, "" );
    EXPECT_THAT( result.errors, StartsWith( "pelora-tcam: the library ended the process in step 4, "
                                            "create-group b\n" ) );
}

TEST( Lookup, StepThatIsExpectedToEndTheProcess_IsLeftOut )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml",
                  scenario +
                      "  - create-group: { name: b, stage: ifp, key-size: 100, qualifiers: [ dstIp "
                      "], actions: [] }\n    expect: aborted\n" );
    const ToolResult result =
        lookup( folder, { "--scenario", "scenario.yaml", "--winners", "--packet", web } );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_EQ( result.output, "0\n" );
}

TEST( Lookup, Chip_WithAScenario_IsTakenInsteadOfItsOwn )
{
    const ToolFolder folder;
    folder.write( "scenario.yaml", scenario );
    const ToolResult result = lookup( folder, { "--scenario", "scenario.yaml", "--chip",
                                                "sdk6-flex", "--json", "--packet", web } );
    ASSERT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_EQ( result.json().at( "chip" ), "sdk6-flex" );
    EXPECT_EQ( result.json().at( "packets" )[ 0 ].at( "winner" ).at( "entry" ), "web" );
}

// ---- Bad input ---------------------------------------------------------------------------------

TEST( Lookup, BadCommandLine_IsRefusedWithWhatIsWrong )
{
    const struct
    {
        Arguments arguments;
        std::string error;
    } cases[] = {
        { { "--packet", web }, "pelora-tcam: lookup needs either --scenario FILE or --rules FILE" },
        { { "--rules", "web.rules", "--scenario", "s.yaml", "--packet", web },
          "pelora-tcam: lookup needs either --scenario FILE or --rules FILE" },
        { { "--rules", "web.rules", "--packet", web },
          "pelora-tcam: lookup needs --chip PROFILE with --rules" },
        { { "--rules", "web.rules", "--chip", "hsdk" },
          "pelora-tcam: lookup needs one of --packet DESCRIPTION, --capture FILE and --trace "
          "FILE" },
        { { "--rules", "web.rules", "--chip", "hsdk", "--packet", web, "--trace", "t" },
          "pelora-tcam: lookup needs one of --packet DESCRIPTION, --capture FILE and --trace "
          "FILE" },
        { { "--rules", "web.rules", "--chip", "hsdk", "--packet", web, "--winners", "--json" },
          "pelora-tcam: --winners and --json exclude each other" },
        { { "--scenario", "s.yaml", "--action", "drop", "--packet", web },
          "pelora-tcam: --action is for --rules only" },
        { { "--rules", "web.rules", "--chip", "hsdk", "--action", "drpo", "--packet", web },
          "pelora-tcam: --action: unknown action 'drpo', did you mean 'drop'?" },
        { { "--rules", "web.rules", "--chip", "hsdk", "--jobs", "0", "--packet", web },
          "pelora-tcam: --jobs: " },
    };

    const ToolFolder folder;
    folder.write( "web.rules", rules );
    folder.write( "s.yaml", scenario );
    for ( const auto& [ arguments, error ] : cases ) {
        const ToolResult result = lookup( folder, arguments );
        EXPECT_EQ( result.exitCode, 2 ) << error;
        EXPECT_EQ( result.output, "" );
        EXPECT_THAT( result.errors, StartsWith( error ) );
    }
}

TEST( Lookup, BadPacket_IsRefusedAtItsPlace )
{
    const ToolResult result = lookupRules( { "--winners", "--packet", web, "--packet",
                                             "tcp 10.0.0.1:1024 > 192.0.2.1:80 flgas syn" } );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.output, "" );
    EXPECT_THAT( result.errors,
                 StartsWith( "--packet:2:34: unknown word 'flgas', did you mean 'flags'?" ) );
}

TEST( Lookup, BadFiles_AreRefusedAtTheirPlaces )
{
    const ToolFolder folder;
    folder.write( "web.rules", rules );
    folder.write( "bad.trace", "167772161 3221225985 1024 80 6\n1 2 3\n" );
    folder.write( "bad.pcap", "no capture" );
    const Arguments start{ "--rules", "web.rules", "--chip", "hsdk" };
    const auto with = [ & ]( const Arguments& more ) {
        Arguments all = start;
        all.insert( all.end(), more.begin(), more.end() );
        return lookup( folder, all );
    };
    const ToolResult trace = with( { "--trace", "bad.trace" } );
    EXPECT_EQ( trace.exitCode, 2 );
    EXPECT_EQ( trace.errors,
               "bad.trace:2:6: expected the destination port, a number from 0 to 65535\n" );
    const ToolResult capture = with( { "--capture", "bad.pcap" } );
    EXPECT_EQ( capture.exitCode, 2 );
    EXPECT_THAT( capture.errors, StartsWith( "bad.pcap:1:1: is no capture that can be read: " ) );
    const ToolResult missing = with( { "--trace", "none.trace" } );
    EXPECT_EQ( missing.exitCode, 2 );
    EXPECT_THAT( missing.errors, StartsWith( "none.trace:1:1: cannot be read: " ) );
    const ToolResult rulesMissing =
        lookup( folder, { "--rules", "none.rules", "--chip", "hsdk", "--packet", web } );
    EXPECT_EQ( rulesMissing.exitCode, 2 );
    EXPECT_THAT( rulesMissing.errors, HasSubstr( "none.rules" ) );
}

} // namespace
