// Scenarios, chip profiles and rule sets with something wrong in them: where, and what.

#include "tests/tools/ToolRunner.h"

#include <gtest/gtest.h>

namespace {

using ToolTest::ToolFolder;
using ToolTest::ToolResult;

/// A text with one fault, and the whole message that it is to give.
struct BadText
{
    std::string name;
    std::string text;
    std::string message;
};

void PrintTo( const BadText& bad, std::ostream* stream )
{
    *stream << bad.name;
}

std::string nameOf( const testing::TestParamInfo< BadText >& info )
{
    return info.param.name;
}

/// Bad input ends with code 2 and one message; nothing has been run, so nothing is reported.
void expectRefusal( const ToolResult& result, const std::string& message )
{
    EXPECT_EQ( result.errors, message + "\n" );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.output, "" );
}

// ---- Scenarios -------------------------------------------------------------------------------

class BadScenario : public testing::TestWithParam< BadText >
{};

TEST_P( BadScenario, Run_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const ToolFolder folder;
    expectRefusal( folder.runScenario( GetParam().text ), GetParam().message );
}

TEST_P( BadScenario, RunWithJson_SomethingIsWrong_SaysTheSame )
{
    const ToolFolder folder;
    expectRefusal( folder.runScenario( GetParam().text, { "--json", "--ring-dump", "ring" } ),
                   GetParam().message );
    EXPECT_FALSE( folder.has( "ring" ) );
}

/// A scenario whose third line is the step.
std::string withStep( const std::string& step )
{
    return "chip: sdk6-tiny\nsteps:\n  - " + step + "\n";
}

/// A scenario whose third line is the fault.
std::string withFault( const std::string& fault )
{
    return "chip: sdk6-tiny\nfaults:\n  - " + fault + "\nsteps:\n  - audit: all\n";
}

// clang-format off
const std::vector< BadText > badScenarios = {
    { "empty", "",
      "scenario.yaml:1:1: expected a mapping, found nothing" },
    { "list", "- chip\n",
      "scenario.yaml:1:1: expected a mapping, found a list" },
    { "unknownKey", "chip: sdk6-tiny\nstep:\n  - audit: all\n",
      "scenario.yaml:2:1: unknown key 'step', did you mean 'steps'?" },
    { "duplicateKey", "chip: sdk6-tiny\nchip: hsdk\nsteps:\n  - audit: all\n",
      "scenario.yaml:2:1: duplicate key 'chip', first given in line 1" },
    { "noChip", "steps:\n  - audit: all\n",
      "scenario.yaml:1:1: missing key 'chip'" },
    { "noSteps", "chip: sdk6-tiny\n",
      "scenario.yaml:1:1: missing key 'steps'" },
    { "emptySteps", "chip: sdk6-tiny\nsteps: []\n",
      "scenario.yaml:2:8: expected at least one step" },
    { "stepsNoList", "chip: sdk6-tiny\nsteps: audit\n",
      "scenario.yaml:2:8: expected a list, found 'audit'" },
    { "unknownChip", "chip: sdk6-tinny\nsteps:\n  - audit: all\n",
      "scenario.yaml:1:7: 'sdk6-tinny' is neither a built-in chip profile nor a file, did you mean 'sdk6-tiny'?" },
    { "chipNoText", "chip: [ hsdk ]\nsteps:\n  - audit: all\n",
      "scenario.yaml:1:7: expected a text, found a list" },
    { "unitNegative", "chip: hsdk\nunit: -1\nsteps:\n  - audit: all\n",
      "scenario.yaml:2:7: expected a whole number from 0 to 2147483647, found '-1'" },
    { "unitQuoted", "chip: hsdk\nunit: \"0\"\nsteps:\n  - audit: all\n",
      "scenario.yaml:2:7: expected a whole number from 0 to 2147483647, found the text '0'" },
    { "pipeTooGreat", "chip: hsdk\npipe: 256\nsteps:\n  - audit: all\n",
      "scenario.yaml:2:7: expected a whole number from 0 to 255, found '256'" },
    { "secondDocument", "chip: hsdk\nsteps:\n  - audit: all\n---\nchip: hsdk\n",
      "scenario.yaml:4:1: a second document in one file" },

    { "stepNoMapping", withStep( "audit" ),
      "scenario.yaml:3:5: expected a mapping, found 'audit'" },
    { "unknownStep", withStep( "allocate-range-cheker: {}" ),
      "scenario.yaml:3:5: unknown key 'allocate-range-cheker', did you mean 'allocate-range-checker'?" },
    { "twoSteps", withStep( "audit: all\n    clear-faults: all" ),
      "scenario.yaml:4:19: expected one step, found 'audit' and 'clear-faults'" },
    { "unknownOutcome", withStep( "audit: all\n    expect: fulll" ),
      "scenario.yaml:4:13: unknown value 'fulll', did you mean 'full'?" },
    { "auditOfSome", withStep( "audit: some" ),
      "scenario.yaml:3:12: unknown value 'some', expected 'all'" },
    { "clearSomeFaults", withStep( "clear-faults: 3" ),
      "scenario.yaml:3:19: unknown value '3', expected 'all'" },
    { "allocateWithoutHigh", withStep( "allocate-range-checker: { name: a, type: l4SrcPort, low: 1 }" ),
      "scenario.yaml:3:29: missing key 'high'" },
    { "allocateUnknownType", withStep( "allocate-range-checker: { name: a, type: l4SrcPrt, low: 1, high: 2 }" ),
      "scenario.yaml:3:46: unknown value 'l4SrcPrt', did you mean 'l4SrcPort'?" },
    { "allocateTypeTooGreat", withStep( "allocate-range-checker: { name: a, type: 256, low: 1, high: 2 }" ),
      "scenario.yaml:3:46: expected a whole number from 0 to 255, found '256'" },
    { "allocateLowNegative", withStep( "allocate-range-checker: { name: a, type: 1, low: -1, high: 2 }" ),
      "scenario.yaml:3:54: expected a whole number from 0 to 4294967295, found '-1'" },
    { "allocateHighTooGreat", withStep( "allocate-range-checker: { name: a, type: 1, low: 1, high: 4294967296 }" ),
      "scenario.yaml:3:63: expected a whole number from 0 to 4294967295, found '4294967296'" },
    { "allocateLowAmbiguous", withStep( "allocate-range-checker: { name: a, type: 1, low: 010, high: 20 }" ),
      "scenario.yaml:3:54: expected a number without a leading zero, found '010'" },
    { "nameWithControl", withStep( "release-range-checker: { name: \"a\\e[31m\" }" ),
      "scenario.yaml:3:36: the control character 0x1b in a text" },
    { "nameEmpty", withStep( "release-range-checker: { name: \"\" }" ),
      "scenario.yaml:3:36: expected a text, found an empty one" },
    { "nameEmptyInSingleQuotes", withStep( "allocate-range-checker: { name: '', type: 1, low: 1, high: 2 }" ),
      "scenario.yaml:3:37: expected a text, found an empty one" },
    { "bracketLeftOpen", withStep( "release-range-checker: { name: a" ),
      "scenario.yaml:3:28: not YAML: nothing closes this {" },
    { "quoteLeftOpen", withStep( "release-range-checker: { name: 'a }" ),
      "scenario.yaml:3:36: not YAML: nothing closes this '" },
    { "noUtf8", withStep( "release-range-checker: { name: a\xFF }" ),
      "scenario.yaml:3:37: not YAML: not UTF-8: the byte 0xff" },
    { "allocateNameNoText", withStep( "allocate-range-checker: { name: [], type: 1, low: 1, high: 2 }" ),
      "scenario.yaml:3:37: expected a text, found a list" },
    { "releaseById", withStep( "release-range-checker: { id: 1 }" ),
      "scenario.yaml:3:30: unknown key 'id', expected 'name'" },
    { "importOfNothing", withStep( "import-rules: {}" ),
      "scenario.yaml:3:19: missing key 'file'" },
    { "importOfNoFile", withStep( "import-rules: { file: none.rules }" ),
      "scenario.yaml:3:27: cannot read 'none.rules': No such file or directory" },
    { "importOfFolder", withStep( "import-rules: { file: / }" ),
      "scenario.yaml:3:27: cannot read '/': Is a directory" },
    { "importUnsetVariable", withStep( "import-rules: { file: \"${PELORA_UNSET}/a\" }" ),
      "scenario.yaml:3:27: the environment variable 'PELORA_UNSET' is not set, and there is no default as in '${PELORA_UNSET:-DEFAULT}'" },
    { "importOpenBrace", withStep( "import-rules: { file: \"${HOME/a\" }" ),
      "scenario.yaml:3:27: expected '}' after '${' in '${HOME/a'" },
    { "importNoVariableName", withStep( "import-rules: { file: \"${1st}/a\" }" ),
      "scenario.yaml:3:27: expected the name of an environment variable after '${', found '1st'" },
    { "injectWithoutFunction", withStep( "inject-fault: { call: 1, drop: true }" ),
      "scenario.yaml:3:19: missing key 'function'" },

    { "faultNoMapping", withFault( "all" ),
      "scenario.yaml:3:5: expected a mapping, found 'all'" },
    { "faultUnknownKey", withFault( "{ function: all, cal: 1, drop: true }" ),
      "scenario.yaml:3:22: unknown key 'cal', did you mean 'call'?" },
    { "faultUnknownFunction", withFault( "{ function: bcm_range_creat, call: 1, drop: true }" ),
      "scenario.yaml:3:17: unknown SDK function 'bcm_range_creat', did you mean 'bcm_range_create'?" },
    { "faultCallZero", withFault( "{ function: all, call: 0, drop: true }" ),
      "scenario.yaml:3:28: expected a whole number from 1 to 18446744073709551615, found '0'" },
    { "faultWithoutCall", withFault( "{ function: all, drop: true }" ),
      "scenario.yaml:3:5: missing key 'call' or 'from-call'" },
    { "faultTwoCalls", withFault( "{ function: all, call: 1, from-call: 2, drop: true }" ),
      "scenario.yaml:3:5: expected one of 'call' and 'from-call', found both" },
    { "faultWithoutEffect", withFault( "{ function: all, call: 1 }" ),
      "scenario.yaml:3:5: expected what happens at the call: 'fail', 'throw', 'delay-ms', 'drop', 'corrupt' or 'flip'" },
    { "faultTwoEffects", withFault( "{ function: all, call: 1, throw: true, drop: true }" ),
      "scenario.yaml:3:5: expected one thing to happen at the call, found 'throw' and 'drop'" },
    { "faultUnknownCode", withFault( "{ function: all, call: 1, fail: BCM_E_RESOURSE }" ),
      "scenario.yaml:3:37: unknown return code 'BCM_E_RESOURSE', did you mean 'BCM_E_RESOURCE'?" },
    { "faultCodeZero", withFault( "{ function: all, call: 1, fail: 0 }" ),
      "scenario.yaml:3:37: expected a whole number from -2147483648 to -1, found '0'" },
    { "faultCodeNone", withFault( "{ function: all, call: 1, fail: BCM_E_NONE }" ),
      "scenario.yaml:3:37: expected a return code below 0, found 0" },
    { "faultNotThrown", withFault( "{ function: all, call: 1, throw: false }" ),
      "scenario.yaml:3:38: unknown value 'false', expected 'true'" },
    { "faultDelayTooLong", withFault( "{ function: all, call: 1, delay-ms: 60001 }" ),
      "scenario.yaml:3:41: expected a whole number from 0 to 60000, found '60001'" },
    { "faultCorruptsAll", withFault( "{ function: all, call: 1, corrupt: { field: max, value: 1 } }" ),
      "scenario.yaml:3:40: an output belongs to one function, found 'all'" },
    { "faultUnknownField", withFault( "{ function: bcm_range_get, call: 1, corrupt: { field: maxx, value: 1 } }" ),
      "scenario.yaml:3:50: bcm_range_get has no output 'maxx', did you mean 'max'?" },
    { "faultValueTooGreat", withFault( "{ function: bcm_range_get, call: 1, corrupt: { field: max, value: 4294967296 } }" ),
      "scenario.yaml:3:50: output 'max' of bcm_range_get has 32 bits and cannot hold 4294967296" },
    { "faultUnknownEnumerator", withFault( "{ function: bcm_range_get, call: 1, corrupt: { field: rtype, value: bcmRangeTypeL4SrcPrt } }" ),
      "scenario.yaml:3:73: expected a number or an SDK enumerator, found 'bcmRangeTypeL4SrcPrt', did you mean 'bcmRangeTypeL4SrcPort'?" },
};
// clang-format on

INSTANTIATE_TEST_SUITE_P( Table, BadScenario, testing::ValuesIn( badScenarios ), nameOf );

TEST( BadScenarioFile, Run_TheFileIsAbsent_SaysSo )
{
    const ToolFolder folder;
    expectRefusal( folder.run( { "run", "none.yaml" } ),
                   "none.yaml:1:1: cannot be read: No such file or directory" );
}

TEST( BadScenarioFile, Run_TheFileIsNoYaml_SaysWhere )
{
    const ToolFolder folder;
    const ToolResult result = folder.runScenario( "chip: hsdk\nsteps: [ {\n" );
    EXPECT_EQ( result.errors.rfind( "scenario.yaml:", 0 ), 0U ) << result.errors;
    EXPECT_NE( result.errors.find( ": not YAML: " ), std::string::npos ) << result.errors;
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.output, "" );
}

TEST( BadScenarioFile, Run_ChipNameTooLongForAFile_SaysSo )
{
    const std::string name( 300, 'x' );
    const ToolResult result =
        ToolFolder().runScenario( "chip: " + name + "\nsteps:\n  - audit: all\n" );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.errors.substr( 0, 21 ), "scenario.yaml:1:7: 'x" );
}

TEST( BadScenarioFile, Run_ChipIsNoTextButOverridden_SaysSo )
{
    const ToolResult result = ToolFolder().runScenario( "chip: { a: b }\nsteps:\n  - audit: all\n",
                                                        { "--chip", "hsdk" } );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.errors.substr( 0, 19 ), "scenario.yaml:1:7: " );
}

TEST( BadScenarioFile, Run_NoStep_NamesTheStepsThereAre )
{
    const ToolFolder folder;
    const ToolResult result = folder.runScenario( withStep( "expect: ok" ) );
    EXPECT_EQ( result.errors.rfind( "scenario.yaml:3:5: expected a step: '", 0 ), 0U )
        << result.errors;
    EXPECT_NE( result.errors.find( "'audit'" ), std::string::npos ) << result.errors;
    EXPECT_EQ( result.exitCode, 2 );
}

// ---- Chip profiles ---------------------------------------------------------------------------

class BadProfile : public testing::TestWithParam< BadText >
{};

TEST_P( BadProfile, RunOfScenarioThatNamesIt_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const ToolFolder folder;
    folder.write( "chip.yaml", GetParam().text );
    expectRefusal( folder.runScenario( "chip: chip.yaml\nsteps:\n  - audit: all\n" ),
                   GetParam().message );
}

TEST_P( BadProfile, RunWithChipOption_SomethingIsWrong_SaysTheSame )
{
    const ToolFolder folder;
    folder.write( "chip.yaml", GetParam().text );
    expectRefusal(
        folder.runScenario( "chip: hsdk\nsteps:\n  - audit: all\n", { "--chip", "chip.yaml" } ),
        GetParam().message );
}

TEST_P( BadProfile, Profiles_SomethingIsWrong_SaysTheSame )
{
    const ToolFolder folder;
    folder.write( "chip.yaml", GetParam().text );
    expectRefusal( folder.run( { "profiles", "chip.yaml" } ), GetParam().message );
}

// clang-format off
const std::vector< BadText > badProfiles = {
    { "empty", "",
      "chip.yaml:1:1: expected a mapping, found nothing" },
    { "noName", "description: d\n",
      "chip.yaml:1:1: missing key 'name'" },
    { "nameNoText", "name: { a: b }\n",
      "chip.yaml:1:7: expected a text, found a mapping" },
    { "unknownKind", "name: a\ndescription: d\nchip: asic\n",
      "chip.yaml:3:7: unknown value 'asic', expected 'sdk6-udf-module', 'sdk6-flex-parser' or 'hsdk'" },
    { "unknownKey", "name: a\nrange-checker:\n  capacity: 3\n",
      "chip.yaml:2:1: unknown key 'range-checker', did you mean 'range-checkers'?" },
    { "capacityNegative", "name: a\nrange-checkers:\n  capacity: -1\n",
      "chip.yaml:3:13: expected a whole number from 0 to 4096, found '-1'" },
    { "capacityMissing", "name: a\nrange-checkers: {}\n",
      "chip.yaml:2:17: missing key 'capacity'" },
    { "duplicateKey", "name: a\nname: b\n",
      "chip.yaml:2:1: duplicate key 'name', first given in line 1" },
};
// clang-format on

INSTANTIATE_TEST_SUITE_P( Table, BadProfile, testing::ValuesIn( badProfiles ), nameOf );

TEST( BadProfileFile, Run_TheOptionNamesNone_SaysSo )
{
    const ToolFolder folder;
    expectRefusal(
        folder.runScenario( "chip: hsdk\nsteps:\n  - audit: all\n", { "--chip", "hdsk" } ),
        "pelora-tcam: --chip: 'hdsk' is neither a built-in chip profile nor a file, "
        "did you mean 'hsdk'?" );
}

// ---- Rule sets -------------------------------------------------------------------------------

class BadRuleSet : public testing::TestWithParam< BadText >
{};

TEST_P( BadRuleSet, Run_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const ToolFolder folder;
    folder.write( "bad.rules", GetParam().text );
    expectRefusal( folder.runScenario( "chip: hsdk\n"
                                       "steps:\n"
                                       "  - audit: all\n"
                                       "  - import-rules: { file: bad.rules }\n" ),
                   GetParam().message );
}

// clang-format off
const std::vector< BadText > badRuleSets = {
    { "empty", "",
      "bad.rules:1:1: expected a rule, found none in the file" },
    { "onlyBlankLines", "\n \t\n",
      "bad.rules:1:1: expected a rule, found none in the file" },
    { "noMark", "1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:1: expected '@', found '1.2.3.4/32'" },
    { "byteTooGreat", "@256.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:2: expected a byte of an IPv4 address (0 to 255), found '256.2.3.4/32'" },
    { "threeBytes", "@1.2.3/32 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:7: expected '.', found '/32'" },
    { "noLength", "@1.2.3.4 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:9: expected '/', found a blank" },
    { "lengthTooGreat", "@1.2.3.4/33 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:10: expected a prefix length (0 to 32), found '33'" },
    { "onePrefix", "@1.2.3.4/32\n",
      "bad.rules:1:12: expected a blank or a tab, found the end of the line" },
    { "portTooGreat", "@1.2.3.4/32 5.6.7.0/24 0 : 65536 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:28: expected a port number (0 to 65535), found '65536'" },
    { "portFarTooGreat", "@1.2.3.4/32 5.6.7.0/24 0 : 99999999999999999999999 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:28: expected a port number (0 to 65535), found '99999999999999999999...'" },
    { "portNegative", "@1.2.3.4/32 5.6.7.0/24 -1 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:24: expected a port number (0 to 65535), found '-1'" },
    { "portsWithDash", "@1.2.3.4/32 5.6.7.0/24 0-65535 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:25: expected a blank or a tab, found '-65535'" },
    { "portsUpsideDown", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 90 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:39: expected a port number not below 90, found '80'" },
    { "protocolDecimal", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:42: expected a value of the protocol (0x00 to 0xFF), found '06/0xFF'" },
    { "protocolTooGreat", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x100/0xFF 0x0000/0x0000\n",
      "bad.rules:1:42: expected a value of the protocol (0x00 to 0xFF), found '0x100/0xFF'" },
    { "protocolWithoutDigits", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x/0xFF 0x0000/0x0000\n",
      "bad.rules:1:42: expected a value of the protocol (0x00 to 0xFF), found '0x/0xFF'" },
    { "protocolWithoutMask", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x06\t0x0000/0x0000\n",
      "bad.rules:1:46: expected '/', found a blank" },
    { "protocolMaskNoNumber", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x06/all 0x0000/0x0000\n",
      "bad.rules:1:47: expected a mask of the protocol (0x00 to 0xFF), found 'all'" },
    { "flagsTooGreat", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x10000/0x0000\n",
      "bad.rules:1:52: expected a value of the TCP flags (0x0000 to 0xFFFF), found '0x10000/0x0000'" },
    { "noFlags", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF\n",
      "bad.rules:1:51: expected a blank or a tab, found the end of the line" },
    { "somethingBehind", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000 drop\n",
      "bad.rules:1:66: expected the end of the rule, found 'drop'" },
    { "thirdLine", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n\n@x\n",
      "bad.rules:3:2: expected a byte of an IPv4 address (0 to 255), found 'x'" },
    { "noText", "\x01\x02x\n",
      "bad.rules:1:1: expected '@', found '..x'" },
    { "noUtf8", "@1.2.3.4/32 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n@\u00e9\xE9\n",
      "bad.rules:2:3: not UTF-8: the byte 0xe9" },
    { "hostBits", "@10.1.2.3/8 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:2: expected a prefix without host bits, '10.0.0.0/8', found '10.1.2.3/8'" },
    { "zeroBeforeAByte", "@010.0.0.0/8 5.6.7.0/24 0 : 65535 80 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:2: expected a byte of an IPv4 address (0 to 255) without a leading zero, found '010.0.0.0/8'" },
    { "zeroBeforeAPort", "@10.0.0.0/8 5.6.7.0/24 0 : 65535 080 : 80 0x06/0xFF 0x0000/0x0000\n",
      "bad.rules:1:34: expected a port number (0 to 65535) without a leading zero, found '080'" },
};
// clang-format on

INSTANTIATE_TEST_SUITE_P( Table, BadRuleSet, testing::ValuesIn( badRuleSets ), nameOf );

} // namespace
