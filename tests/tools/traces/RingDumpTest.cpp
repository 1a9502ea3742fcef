// The dump of the ring-buffer trace, and decode-trace.

#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

const std::string allocation =
    "chip: hsdk\nsteps:\n"
    "  - allocate-range-checker: { name: web, type: l4DstPort, low: 80, high: 89 }\n";
const std::string fatalAudit =
    "  - inject-fault: { function: bcm_range_get, call: 1, fail: BCM_E_INTERNAL }\n"
    "  - audit: all\n";

/// The texts of the records in the dump.
std::vector< std::string > recordsOf( const ToolFolder& folder, const std::string& file )
{
    const ToolResult result = folder.run( { "decode-trace", "--json", file } );
    EXPECT_EQ( result.exitCode, 0 ) << result.errors;
    std::vector< std::string > texts;
    const nlohmann::json json = result.json();
    for ( const auto& record : json.at( "traces" ).at( 0 ).at( "records" ) ) {
        texts.push_back( record.at( "text" ) );
    }
    return texts;
}

TEST( RingDump, Run_EndsWell_HoldsTheSteps )
{
    const ToolFolder folder;
    EXPECT_EQ( folder.runScenario( allocation, { "--ring-dump", "ring" } ).exitCode, 0 );
    EXPECT_THAT(
        recordsOf( folder, "ring" ),
        testing::ElementsAre( "step 1 allocate-range-checker web starts", "step 1 ends ok" ) );
}

TEST( RingDump, Run_LibraryEndsTheProcess_HoldsWhatCameBefore )
{
    const ToolFolder folder;
    EXPECT_EQ( folder.runScenario( allocation + fatalAudit, { "--ring-dump", "ring" } ).exitCode,
               3 );
    const std::vector< std::string > records = recordsOf( folder, "ring" );
    ASSERT_EQ( records.size(), 5U );
    EXPECT_EQ( records.back(), "step 3 audit all starts" );
}

TEST( RingDump, Run_ExpectedAbort_HoldsWhatCameAfterItToo )
{
    const ToolFolder folder;
    EXPECT_EQ( folder
                   .runScenario( allocation + fatalAudit + "    expect: aborted\n",
                                 { "--ring-dump", "ring" } )
                   .exitCode,
               0 );
    EXPECT_THAT( recordsOf( folder, "ring" ), testing::Contains( "step 3 ends aborted" ) );
}

TEST( RingDump, Run_FileCannotBeWritten_IsBadInputAndRunsNothing )
{
    const ToolResult result =
        ToolFolder().runScenario( allocation, { "--ring-dump", "none/ring" } );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.errors,
               "pelora-tcam: --ring-dump: cannot write 'none/ring': No such file or directory\n" );
    EXPECT_EQ( result.output, "" );
}

TEST( RingDump, Run_DiskIsFull_SaysSoAndFails )
{
    const ToolResult result =
        ToolFolder().runScenario( allocation, { "--ring-dump", "/dev/full" } );
    EXPECT_EQ( result.exitCode, 4 );
    EXPECT_EQ( result.errors,
               "pelora-tcam: --ring-dump: the ring-buffer trace could not be written\n" );
}

TEST( DecodeTrace, Text_OneLineARecord )
{
    const ToolFolder folder;
    static_cast< void >( folder.runScenario( allocation, { "--ring-dump", "ring" } ) );
    const ToolResult result = folder.run( { "decode-trace", "ring" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.output, HasSubstr( "Trace of 2 records, 2 written in all\n" ) );
    EXPECT_THAT(
        result.output,
        testing::ContainsRegex( "\n[0-9]+\\.[0-9]{9} tools/run/ScenarioChild\\.cpp:[0-9]+ [^\n]*: "
                                "step 1 allocate-range-checker web starts\n" ) );
}

TEST( DecodeTrace, Text_TraceInsideALargerFile_IsFound )
{
    const ToolFolder folder;
    static_cast< void >( folder.runScenario( allocation, { "--ring-dump", "ring" } ) );
    // As in a core: other bytes around it, and the mark once more as a constant.
    const std::string mark( "PELORA-RING-V1\n\0", 16 );
    folder.write( "core", "junk" + mark + "junk" + folder.read( "ring" ) + "junk" );
    EXPECT_EQ( recordsOf( folder, "core" ).size(), 2U );
}

TEST( DecodeTrace, File_HoldsNoTrace_IsBadInput )
{
    const ToolFolder folder;
    folder.write( "none", "nothing of the kind" );
    const ToolResult result = folder.run( { "decode-trace", "none" } );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.errors, "none: holds no ring-buffer trace\n" );
}

TEST( DecodeTrace, File_IsCutOff_IsBadInput )
{
    const ToolFolder folder;
    static_cast< void >( folder.runScenario( allocation, { "--ring-dump", "ring" } ) );
    folder.write( "cut", folder.read( "ring" ).substr( 0, 1000 ) );
    const ToolResult result = folder.run( { "decode-trace", "cut" } );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_THAT( result.errors, HasSubstr( "cut: the trace is damaged: " ) );
}

TEST( DecodeTrace, File_IsAbsent_IsBadInput )
{
    const ToolResult result = ToolFolder().run( { "decode-trace", "none" } );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.errors, "pelora-tcam: cannot read 'none': No such file or directory\n" );
}

} // namespace
