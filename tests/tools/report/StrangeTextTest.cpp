// Names of files with control characters, or bytes that are no UTF-8: never as they are in what is
// printed.

#include "tests/tools/RangeScenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ToolTest {
namespace {

using testing::HasSubstr;
using testing::Not;

const std::string strange = "a\x1b[31m\n\xff.yaml";
const std::string shown = "a\\x1b[31m\\n\\xff.yaml";

void expectNothingStrange( const std::string& printed )
{
    for ( const std::string letter : { "\x1b", "\xff", "\x7f", "[31m\n" } ) {
        EXPECT_THAT( printed, Not( HasSubstr( letter ) ) );
    }
}

TEST( StrangeText, Scenario_NameOfItsFile_IsEscapedInTheReport )
{
    const ToolFolder folder;
    folder.write( strange, tiny + web );
    const ToolResult result = folder.run( { "run", strange } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.output, testing::StartsWith( shown + ": 1 step on chip" ) );
    expectNothingStrange( result.output );
    const ToolResult compared = folder.run( { "compare", "--chip", "hsdk", strange } );
    EXPECT_THAT( compared.output, testing::StartsWith( shown + "\n" ) );
    expectNothingStrange( compared.output );
}

TEST( StrangeText, Scenario_NameOfItsFileInJson_IsValid )
{
    const ToolFolder folder;
    folder.write( strange, tiny + web );
    const ToolResult result = folder.run( { "run", "--json", strange } );
    EXPECT_EQ( result.json().at( "scenario" ), "a\x1b[31m\n\ufffd.yaml" );
    expectNothingStrange( result.output );
}

TEST( StrangeText, Message_NamesOfFiles_AreEscaped )
{
    const ToolFolder folder;
    folder.write( strange, "chip: hsdk\n" );
    for ( const std::string command : { "run", "compare", "profiles", "decode-trace" } ) {
        const ToolResult result = folder.run( { command, strange } );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_THAT( result.errors, HasSubstr( shown ) );
        expectNothingStrange( result.errors );
    }
}

TEST( StrangeText, Step_NameOfAFileFromTheEnvironment_IsEscaped )
{
    ToolFolder folder;
    folder.environmentIs( "STRANGE", "b\x7f\xff" );
    folder.write( "b\x7f\xff", "@1.2.3.4/32 5.6.7.0/24 0 : 1 80 : 80 0x06/0xFF 0x0000/0x0000\n" );
    const ToolResult result =
        folder.runScenario( "chip: hsdk\nsteps:\n  - import-rules: { file: \"${STRANGE}\" }\n",
                            { "--trace", "*=all" } );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    EXPECT_THAT( result.output, HasSubstr( "import-rules  b\\x7f\\xff  ok" ) );
    expectNothingStrange( result.output );
    EXPECT_THAT( result.errors, HasSubstr( "import-rules b\\x7f\\xff starts" ) );
    expectNothingStrange( result.errors );
}

TEST( StrangeText, Profile_WithCarriageReturns_IsPrintedWithoutThem )
{
    const ToolFolder folder;
    std::string profile = folder.run( { "profiles", "hsdk" } ).output;
    std::string withReturns;
    for ( const char letter : profile ) {
        withReturns += letter == '\n' ? "\r\n" : std::string( 1, letter );
    }
    folder.write( "mine.yaml", withReturns );
    EXPECT_EQ( folder.run( { "profiles", "mine.yaml" } ).output, profile );
}

} // namespace
} // namespace ToolTest
