// The steps import-rules and remove-rules. Real rule sets are in RealRuleSetsTest.cpp.

#include "tests/tools/ToolRunner.h"

#include <gtest/gtest.h>

namespace {

using ToolTest::ToolFolder;
using ToolTest::ToolResult;

/// A rule with these ports.
std::string rule( const std::string& sourcePorts, const std::string& destinationPorts )
{
    return "@10.0.0.0/8\t10.1.0.0/16\t" + sourcePorts + "\t" + destinationPorts +
           "\t0x06/0xFF\t0x0000/0x0000\t\n";
}

/// Rules that differ by their destination port.
std::string rules( int count )
{
    std::string text;
    for ( int port = 1; port <= count; ++port ) {
        text += rule( "0 : 65535", std::to_string( port ) + " : " + std::to_string( port ) );
    }
    return text;
}

/// Imports a.rules, and does what else there is to do.
ToolResult import( const ToolFolder& folder,
                   const std::string& chip,
                   const std::string& options = "",
                   const std::string& more = "" )
{
    return folder.runScenario( "chip: " + chip + "\nsteps:\n  - import-rules: { file: a.rules" +
                                   options + " }\n" + more,
                               { "--json" } );
}

const std::string everything = ", counters: true, policer: { cir: 1Mbps, cbs: 100kbit }";

TEST( ImportRules, Run_Sdk6_ProgramsRulesWithAllTheyNeed )
{
    const ToolFolder folder;
    folder.write( "a.rules",
                  rule( "0 : 65535", "80 : 80" ) +             // a class for the port
                      rule( "1024 : 65535", "0 : 65535" ) +    // a range checker
                      rule( "1024 : 65535", "1024 : 65535" ) + // its twin for the destination
                      rule( "0 : 65534", "80 : 81" ) );        // two
    const ToolResult result = import( folder, "sdk6-large", everything, "  - audit: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const auto step = result.json().at( "steps" ).at( 0 );
    EXPECT_EQ( step.at( "name" ), "a.rules" );
    EXPECT_EQ( step.at( "text" ), "4 of 4 rules programmed, 1 group" );
    EXPECT_EQ( step.at( "rules" ), 4 );
    EXPECT_EQ( step.at( "programmed" ), 4 );
    EXPECT_EQ( step.at( "refused" ).size(), 0 );
    EXPECT_EQ( step.at( "groups" ), 1 );
    EXPECT_EQ( step.at( "rangeCheckers" ).at( "made" ), 4 );
    EXPECT_EQ( step.at( "rangeCheckers" ).at( "shared" ), 1 );
    // Source, destination, protocol and port 80, and the first three again three times.
    EXPECT_EQ( step.at( "compressionEntries" ).at( "made" ), 4 );
    EXPECT_EQ( step.at( "compressionEntries" ).at( "shared" ), 9 );
    EXPECT_EQ( step.at( "overlaps" ), 0 );
    EXPECT_EQ( step.at( "policers" ).at( "made" ), 4 );
    EXPECT_EQ( step.at( "counters" ), 4 );
    // Entries, counters, policers, range checkers, classes and the group.
    EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "audited" ), 4 + 4 + 4 + 4 + 4 + 1 );
    const auto chip = result.json().at( "chip" );
    EXPECT_EQ( chip.at( "tcamEntries" ).at( "used" ), 4 );
    EXPECT_EQ( chip.at( "compressionEntries" ).at( "used" ), 4 );
    EXPECT_EQ( chip.at( "statistics" ).at( "used" ), 4 );
    EXPECT_EQ( chip.at( "policers" ).at( "used" ), 4 );
}

TEST( ImportRules, Run_Hsdk_ProgramsRulesWithoutClasses )
{
    const ToolFolder folder;
    folder.write( "a.rules", rule( "0 : 65535", "80 : 80" ) + rule( "1 : 2", "3 : 4" ) );
    const ToolResult result = import( folder, "hsdk", everything, "  - audit: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const auto step = result.json().at( "steps" ).at( 0 );
    EXPECT_EQ( step.at( "programmed" ), 2 );
    EXPECT_EQ( step.at( "compressionEntries" ).at( "made" ), 0 );
    EXPECT_EQ( step.at( "counters" ), 2 );
    EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "audited" ), 2 + 2 + 2 + 2 + 1 );
}

TEST( ImportRules, Run_WithoutOptions_HasNeitherCountersNorPolicers )
{
    const ToolFolder folder;
    folder.write( "a.rules", rules( 2 ) );
    const ToolResult result = import( folder, "hsdk" );
    EXPECT_EQ( result.exitCode, 0 );
    const auto chip = result.json().at( "chip" );
    EXPECT_EQ( chip.at( "policers" ).at( "used" ), 0 );
    EXPECT_EQ( chip.at( "flexCounterObjects" ).at( "used" ), 0 );
}

TEST( ImportRules, Run_SharedPolicer_IsOne )
{
    const ToolFolder folder;
    folder.write( "a.rules", rules( 3 ) );
    const ToolResult result = import( folder, "sdk6-udf",
                                      ", policer: { mode: trTcm, cir: 10Mbps, pir: 20Mbps,"
                                      " cbs: 64KB, pbs: 128KB, color: aware, shared: true }",
                                      "  - audit: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( result.json().at( "chip" ).at( "policers" ).at( "used" ), 1 );
    EXPECT_EQ( result.json().at( "steps" ).at( 0 ).at( "policers" ).at( "shared" ), 2 );
}

TEST( ImportRules, Run_PolicerInTheWordsOfAllocatePolicer_IsTheSameOne )
{
    const ToolFolder folder;
    folder.write( "a.rules", rules( 3 ) );
    const std::string policer = "mode: trTcm, cir: 10Mbps, pir: 20Mbps, cbs: 64KB, pbs: 1Mbit, "
                                "color: aware, shared: true";
    const ToolResult result =
        import( folder, "sdk6-udf", ", policer: { " + policer + " }",
                "  - allocate-policer: { name: another, " + policer + " }\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( result.json().at( "chip" ).at( "policers" ).at( "used" ), 1 );
    const auto step = result.json().at( "steps" ).at( 1 );
    EXPECT_EQ( step.at( "users" ), 4 );
    EXPECT_EQ( step.at( "cir" ), 10000 );
    EXPECT_EQ( step.at( "cbs" ), 512 );
    EXPECT_EQ( step.at( "pir" ), 20000 );
    EXPECT_EQ( step.at( "pbs" ), 1000 );
}

TEST( ImportRules, Read_PolicerIsWrong_SaysWhereAndRunsNothing )
{
    const std::pair< std::string, std::string > cases[] = {
        { "{ cir: 1Mbps }", "3:45: missing key 'cbs'" },
        { "{ cir: 1Mbit, cbs: 1KB }", "3:52: unknown unit 'Mbit', did you mean 'Mbps'?" },
        { "{ cir: 1, cbs: 1, mode: trTcm }",
          "3:45: expected 'pir' and 'pbs' with the mode 'trTcm'" },
        { "{ cir: 1, cbs: 1, pir: 2, pbs: 2 }",
          "3:45: 'pir' and 'pbs' belong to the mode 'trTcm'" },
    };
    const ToolFolder folder;
    folder.write( "a.rules", rules( 1 ) );
    for ( const auto& [ policer, message ] : cases ) {
        const ToolResult result = import( folder, "sdk6-tiny", ", policer: " + policer );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_EQ( result.errors, "scenario.yaml:" + message + "\n" );
    }
}

TEST( ImportRules, Run_MoreThanTheChipHas_IsFullAndTellsWhatIsMissing )
{
    const ToolFolder folder;
    folder.write( "a.rules", rules( 1 ) + rule( "1 : 2", "1 : 1" ) + rule( "1 : 3", "1 : 1" ) +
                                 rule( "1 : 4", "1 : 1" ) + rules( 3 ) );
    const ToolResult result =
        import( folder, "sdk6-tiny", "", "    expect: full\n  - audit: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const auto step = result.json().at( "steps" ).at( 0 );
    // Two compression entries for ports, and two range checkers.
    EXPECT_EQ( step.at( "text" ), "5 of 7 rules programmed, 2 groups, 1 without compression entry, "
                                  "1 without range checker" );
    EXPECT_EQ( step.at( "refused" ).at( "range checker" ), 1 );
    EXPECT_EQ( step.at( "refused" ).at( "compression entry" ), 1 );
}

/// Rules of which most ask for what no entry can match; the first line is empty.
const std::string flags = "\n" + rule( "1 : 1", "2 : 2" ) +
                          "@10.0.0.0/8 0.0.0.0/0 0 : 65535 0 : 65535 0x06/0xFF 0x0200/0x1200\n"
                          "@10.0.0.0/8 0.0.0.0/0 0 : 65535 0 : 65535 0x06/0xFF 0x0000/0x0001\n"
                          "@10.0.0.0/8 0.0.0.0/0 0 : 65535 0 : 65535 0x00/0x00 0x0200/0x0200\n"
                          "@10.0.0.0/8 0.0.0.0/0 0 : 65535 0 : 65535 0x11/0xFF 0x0200/0x0200\n"
                          "@0.0.0.0/0 0.0.0.0/0 0 : 65535 0 : 65535 0x01/0xFF 0x0800/0xff00\n";

TEST( ImportRules, Run_RulesThatNoEntryCanMatch_AreLeftOutAndToldByLine )
{
    const ToolFolder folder;
    folder.write( "a.rules", flags );
    for ( const char* chip : { "sdk6-udf", "sdk6-flex", "hsdk" } ) {
        const ToolResult result = import( folder, chip, "", "    expect: full\n  - audit: all\n" );
        ASSERT_EQ( result.exitCode, 0 ) << chip << result.output << result.errors;
        const auto step = result.json().at( "steps" ).at( 0 );
        EXPECT_EQ( step.at( "text" ),
                   "3 of 6 rules programmed, 1 group, 3 that no entry can match" );
        EXPECT_EQ( step.at( "refused" ).size(), 3 );
        EXPECT_EQ( step.at( "refused" ).at( "flags without an exact protocol" ), 1 );
        const nlohmann::json refused = {
            { { "line", 4 }, { "reason", "bits that are no TCP flags" } },
            { { "line", 5 }, { "reason", "flags without an exact protocol" } },
            { { "line", 6 }, { "reason", "flags that no packet of its protocol has" } },
        };
        EXPECT_EQ( step.at( "refusedRules" ), refused );
    }
}

TEST( ImportRules, Run_RulesThatNoEntryCanMatch_AreLinesOfTheText )
{
    const ToolFolder folder;
    folder.write( "a.rules", flags );
    const ToolResult result =
        folder.runScenario( "chip: hsdk\nsteps:\n"
                            "  - import-rules: { file: a.rules }\n    expect: full\n",
                            { "--snapshot" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    for ( const char* text :
          { "line 4 asks for bits that are no TCP flags\n",
            "line 5 asks for flags without an exact protocol\n",
            "line 6 asks for flags that no packet of its protocol has\n", " TcpControl=0x2/0x12 ",
            " IcmpTypeCode=0x800/0xff00 IpProtocol=0x1/0xff IpType=bcmFieldIpTypeIpv4Any " } ) {
        EXPECT_NE( result.output.find( text ), std::string::npos ) << text << result.output;
    }
}

TEST( ImportRules, Run_ManyRulesThatNoEntryCanMatch_TellsSomeLinesAndHowManyMore )
{
    std::string many;
    for ( int line = 1; line <= 23; ++line ) {
        many += "@10.0.0.0/8 0.0.0.0/0 0 : 65535 0 : 65535 0x06/0xFF 0x0000/0x0001\n";
    }
    const ToolFolder folder;
    folder.write( "a.rules", many );
    const ToolResult result = import( folder, "hsdk", "", "    expect: full\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const auto step = result.json().at( "steps" ).at( 0 );
    EXPECT_EQ( step.at( "refusedRules" ).size(), 23 );
    ASSERT_EQ( step.at( "lines" ).size(), 21 );
    EXPECT_EQ( step.at( "lines" ).at( 19 ), "line 20 asks for bits that are no TCP flags" );
    EXPECT_EQ( step.at( "lines" ).at( 20 ), "and 3 more" );
}

TEST( ImportRules, Run_RulesWithoutRoom_AreToldByLineInJsonOnly )
{
    const ToolFolder folder;
    folder.write( "a.rules", rules( 1 ) + rule( "1 : 2", "1 : 1" ) + rule( "1 : 3", "1 : 1" ) +
                                 rule( "1 : 4", "1 : 1" ) );
    const ToolResult result = import( folder, "sdk6-tiny", "", "    expect: full\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const auto step = result.json().at( "steps" ).at( 0 );
    const nlohmann::json refused = { { { "line", 4 }, { "reason", "range checker" } } };
    EXPECT_EQ( step.at( "refusedRules" ), refused );
    EXPECT_FALSE( step.contains( "lines" ) );
}

TEST( ImportRules, Run_SameFileTwice_SharesAndNeedsAnotherName )
{
    const ToolFolder folder;
    folder.write( "a.rules", rules( 2 ) );
    const ToolResult result =
        import( folder, "sdk6-udf", "",
                "  - import-rules: { file: a.rules }\n    expect: error\n"
                "  - import-rules: { file: a.rules, name: again }\n  - audit: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const auto steps = result.json().at( "steps" );
    EXPECT_EQ( steps.at( 1 ).at( "text" ), "there is a rule set 'a.rules' already" );
    EXPECT_EQ( steps.at( 2 ).at( "name" ), "again" );
    EXPECT_EQ( steps.at( 2 ).at( "compressionEntries" ).at( "made" ), 0 );
}

TEST( ImportRules, Run_ChipFailsForAnotherReason_IsAnErrorAndLeavesNothing )
{
    const ToolFolder folder;
    folder.write( "a.rules", rule( "1 : 2", "3 : 4" ) + rules( 2 ) );
    const ToolResult result =
        folder.runScenario( "chip: hsdk\n"
                            "faults:\n"
                            "  - { function: bcm_range_create, call: 2, fail: BCM_E_TIMEOUT }\n"
                            "steps:\n"
                            "  - import-rules: { file: a.rules, counters: true }\n"
                            "    expect: error\n",
                            { "--json" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( result.json().at( "steps" ).at( 0 ).at( "text" ),
               "bcm_range_create: BCM_E_TIMEOUT (-9), Operation timed out" );
    const auto occupancies = result.json().at( "chip" );
    for ( const auto& [ resource, occupancy ] : occupancies.items() ) {
        EXPECT_EQ( occupancy.at( "used" ), 0 ) << resource;
    }
}

// ---- remove-rules ----------------------------------------------------------------------------

TEST( RemoveRules, Run_OnEitherVariant_LeavesNothing )
{
    const ToolFolder folder;
    folder.write( "a.rules", rules( 5 ) + rule( "1 : 2", "3 : 4" ) );
    for ( const char* chip : { "sdk6-udf", "sdk6-flex", "hsdk" } ) {
        const ToolResult result = import( folder, chip, ", name: firewall" + everything,
                                          "  - remove-rules: { name: firewall }\n"
                                          "  - audit: all\n" );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "text" ),
                   "removed; 0 packets, 0 bytes counted" );
        EXPECT_EQ( result.json().at( "steps" ).at( 2 ).at( "audited" ), 0 );
        const auto occupancies = result.json().at( "chip" );
        ASSERT_FALSE( occupancies.empty() );
        for ( const auto& [ resource, occupancy ] : occupancies.items() ) {
            EXPECT_EQ( occupancy.at( "used" ), 0 ) << chip << " " << resource;
        }
    }
}

TEST( RemoveRules, Run_Unknown_IsAnErrorWithAHint )
{
    const ToolFolder folder;
    folder.write( "a.rules", rules( 1 ) );
    const ToolResult result = import( folder, "hsdk", ", name: firewall",
                                      "  - remove-rules: { name: firewal }\n    expect: error\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output;
    EXPECT_EQ( result.json().at( "steps" ).at( 1 ).at( "text" ),
               "there is no rule set 'firewal', did you mean 'firewall'?" );
}

TEST( ImportRules, Run_AuditOfACorruptedReadBack_EndsTheProcess )
{
    const ToolFolder folder;
    folder.write( "a.rules", rules( 3 ) );
    for ( const char* chip : { "sdk6-udf", "hsdk" } ) {
        const ToolResult result = import(
            folder, chip, everything,
            "  - inject-fault: { function: bcm_field_entry_prio_get, call: 2, corrupt: { field: "
            "priority, value: 99 } }\n"
            "  - audit: all\n    expect: aborted\n" );
        EXPECT_EQ( result.exitCode, 0 ) << chip << result.output << result.errors;
    }
}

// ---- Where the file is -----------------------------------------------------------------------

TEST( ImportRules, Run_FileFromTheEnvironment_IsFoundFromTheWorkingDirectory )
{
    ToolFolder folder;
    folder.write( "data/a.rules", rule( "1 : 2", "3 : 4" ) );
    folder.write( "below/scenario.yaml",
                  "chip: hsdk\nsteps:\n"
                  "  - import-rules: { file: \"${PELORA_RULES:-nowhere}/a.rules\" }\n" );
    folder.environmentIs( "PELORA_RULES", "data" );
    EXPECT_EQ( folder.run( { "run", "below/scenario.yaml" } ).exitCode, 0 );
}

TEST( ImportRules, Run_FileByDefault_IsFoundFromTheScenario )
{
    const ToolFolder folder;
    folder.write( "data/a.rules", rule( "1 : 2", "3 : 4" ) );
    folder.write( "below/scenario.yaml",
                  "chip: hsdk\nsteps:\n"
                  "  - import-rules: { file: \"${PELORA_RULES:-../data}/a.rules\" }\n" );
    EXPECT_EQ( folder.run( { "run", "below/scenario.yaml" } ).exitCode, 0 );
}

} // namespace
