// What is said of a command line with something in it that nobody knows.

#include "tests/tools/ToolRunner.h"

#include <gtest/gtest.h>

namespace ToolTest {
namespace {

struct Refusal
{
    std::vector< std::string > arguments;
    std::string message; ///< without the tool's name
    std::string help;    ///< the command whose help is named
};

void expectRefused( const Refusal& refusal )
{
    const ToolResult result = ToolFolder().run( refusal.arguments );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.output, "" );
    EXPECT_EQ( result.errors, "pelora-tcam: " + refusal.message + "\nRun '" + refusal.help +
                                  "' for how it is used.\n" );
}

TEST( CommandLineHints, Command_IsUnknown_IsNamedWithTheNearest )
{
    expectRefused( { { "profile" },
                     "unknown command 'profile', did you mean 'profiles'?",
                     "pelora-tcam --help" } );
    expectRefused( { { "explan-udf", "--base", "l3Header" },
                     "unknown command 'explan-udf', did you mean 'explain-udf'?",
                     "pelora-tcam --help" } );
}

TEST( CommandLineHints, Command_IsLikeNone_AllAreNamed )
{
    expectRefused( { { "bogus" },
                     "unknown command 'bogus', expected 'run', 'compare', 'profiles', 'maps', "
                     "'decode-trace', 'explain-udf' or 'lookup'",
                     "pelora-tcam --help" } );
}

TEST( CommandLineHints, OptionOfACommand_IsUnknown_IsNamedWithTheNearest )
{
    expectRefused( { { "run", "--chp", "hsdk", "scenario.yaml" },
                     "unknown option '--chp' of 'run', did you mean '--chip'?",
                     "pelora-tcam run --help" } );
    expectRefused( { { "maps", "--jsn=1" },
                     "unknown option '--jsn' of 'maps', did you mean '--json'?",
                     "pelora-tcam maps --help" } );
}

TEST( CommandLineHints, Option_OfOtherCommands_IsNamedWithThose )
{
    expectRefused( { { "profiles", "--chip", "hsdk" },
                     "'profiles' has no option '--chip', which belongs to 'run', 'compare', "
                     "'explain-udf' or 'lookup'",
                     "pelora-tcam profiles --help" } );
    expectRefused( { { "--chip", "hsdk", "profiles" },
                     "'profiles' has no option '--chip', which belongs to 'run', 'compare', "
                     "'explain-udf' or 'lookup'",
                     "pelora-tcam profiles --help" } );
}

TEST( CommandLineHints, Option_WithoutAValueOrGivenAgain_IsNamed )
{
    expectRefused( { { "run", "--chip" }, "--chip: expected a value", "pelora-tcam run --help" } );
    expectRefused( { { "run", "--chip", "hsdk", "--chip", "hsdk", "scenario.yaml" },
                     "--chip: given more than once",
                     "pelora-tcam run --help" } );
}

TEST( CommandLineHints, OptionInFront_IsUnknown_NoOptionIsNamedThatTheCommandHasNot )
{
    expectRefused( { { "--jsn", "profiles" },
                     "unknown option '--jsn', did you mean '--json'?",
                     "pelora-tcam --help" } );
    expectRefused(
        { { "--chp", "hsdk", "maps" }, "unknown option '--chp'", "pelora-tcam --help" } );
    expectRefused(
        { { "--chp" }, "unknown option '--chp', did you mean '--chip'?", "pelora-tcam --help" } );
}

TEST( CommandLineHints, OptionInFront_WithoutACommand_TheCommandsAreNamed )
{
    expectRefused( { { "--trace", "ApiPelora=4" },
                     "expected a command with the option '--trace': 'run' or 'lookup'",
                     "pelora-tcam --help" } );
    expectRefused( { { "--json", "profils" },
                     "unknown command 'profils', did you mean 'profiles'?",
                     "pelora-tcam --help" } );
}

TEST( CommandLineHints, Value_IsEmpty_IsRefusedAndDoesNotTakeTheNextArgument )
{
    expectRefused( { { "run", "--chip=", "scenario.yaml" },
                     "--chip: expected a value behind '='",
                     "pelora-tcam run --help" } );
    expectRefused( { { "--chip=", "run", "scenario.yaml" },
                     "--chip: expected a value behind '='",
                     "pelora-tcam run --help" } );
    expectRefused(
        { { "bogus", "--chip=" }, "--chip: expected a value behind '='", "pelora-tcam --help" } );
    expectRefused( { { "run", "--chip", "", "scenario.yaml" },
                     "--chip: expected a value, found nothing",
                     "pelora-tcam run --help" } );
    expectRefused(
        { { "run", "" }, "SCENARIO: expected a value, found nothing", "pelora-tcam run --help" } );
    expectRefused( { { "profiles", "" },
                     "NAME: expected a value, found nothing",
                     "pelora-tcam profiles --help" } );
}

TEST( CommandLineHints, Argument_HasControlCharacters_IsShownWithoutThem )
{
    expectRefused( { { "a\x1b[31m\nb" },
                     "unknown command 'a\\x1b[31m\\nb', expected 'run', 'compare', 'profiles', "
                     "'maps', 'decode-trace', 'explain-udf' or 'lookup'",
                     "pelora-tcam --help" } );
}

TEST( CommandLineHints, RequiredOption_IsMisspelt_TheMisspellingIsNamed )
{
    expectRefused( { { "explain-udf", "--bse", "l3Header", "--offset", "0", "--length", "2" },
                     "unknown option '--bse' of 'explain-udf', did you mean '--base'?",
                     "pelora-tcam explain-udf --help" } );
}

TEST( CommandLineHints, OptionOfTheTool_IsUnknown_IsNamedWithTheNearest )
{
    expectRefused( { { "--versoin" },
                     "unknown option '--versoin', did you mean '--version'?",
                     "pelora-tcam --help" } );
}

TEST( CommandLineHints, Argument_IsOneTooMany_IsNamed )
{
    expectRefused( { { "run", "a.yaml", "b.yaml" },
                     "one argument too many for 'run': 'b.yaml'",
                     "pelora-tcam run --help" } );
}

TEST( CommandLineHints, Argument_IsMissing_TheCommandsHelpIsNamed )
{
    expectRefused( { { "decode-trace" }, "FILE is required", "pelora-tcam decode-trace --help" } );
    expectRefused( { {}, "a command is required", "pelora-tcam --help" } );
}

} // namespace
} // namespace ToolTest
