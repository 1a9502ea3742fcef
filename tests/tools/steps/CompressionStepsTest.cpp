// compress, release-compression

#include "tests/tools/StepRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using ToolTest::runOn;
using ToolTest::stepOf;
using ToolTest::ToolResult;
using ToolTest::usedOf;

std::string compress( const std::string& table, const std::string& key )
{
    return "  - compress: { table: " + table + ", key: '" + key + "' }\n";
}

std::string release( const std::string& table, const std::string& key )
{
    return "  - release-compression: { table: " + table + ", key: '" + key + "' }\n";
}

const std::string expectError = "    expect: error\n";

TEST( Compress, Run_ValuesOfEveryTable_GetClasses )
{
    const ToolResult result = runOn(
        "sdk6-udf", "  - compress: { table: etherType, key: ipv6 }\n"
                    "  - compress: { table: ipProto, key: tcp }\n"
                    "  - compress: { table: l4SrcPort, key: 53 }\n"
                    "  - compress: { table: l4DstPort, key: 443 }\n" +
                        compress( "srcIp", "192.0.2.0/24" ) + compress( "dstIp", "2001:db8::/32" ) +
                        compress( "dstIp", "198.51.100.1" ) + "  - audit: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const nlohmann::json source = stepOf( result, 4 );
    EXPECT_EQ( source.at( "name" ), "srcIp 192.0.2.0/24" );
    EXPECT_EQ( source.at( "text" ), "class 1" );
    EXPECT_EQ( source.at( "table" ), "srcIp" );
    EXPECT_EQ( source.at( "key" ), "192.0.2.0/24" );
    EXPECT_EQ( source.at( "class" ), 1 );
    EXPECT_EQ( source.at( "users" ), 1 );
    EXPECT_EQ( stepOf( result, 1 ).at( "key" ), "6" );
    EXPECT_EQ( stepOf( result, 6 ).at( "class" ), 2 );
    EXPECT_EQ( stepOf( result, 7 ).at( "audited" ), 7 );
    EXPECT_EQ( usedOf( result, "compressionEntries" ), 7 );
}

TEST( Compress, Run_AClassIsWanted_GivesThatOneOrIsAnError )
{
    const auto want = []( const std::string& key, int classId ) {
        return "  - compress: { table: srcIp, key: " + key +
               ", class: " + std::to_string( classId ) + " }\n";
    };
    const ToolResult result = runOn(
        "sdk6-udf", want( "192.0.2.0/24", 7 ) + want( "192.0.2.0/24", 7 ) +
                        want( "192.0.2.0/24", 8 ) + expectError + want( "198.51.100.0/24", 7 ) +
                        expectError + compress( "srcIp", "203.0.113.0/24" ) + "  - audit: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "class" ), 7 );
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "class 7, shared by 2" );
    EXPECT_EQ( stepOf( result, 2 ).at( "text" ), "srcIp 192.0.2.0/24 has class 7" );
    EXPECT_EQ( stepOf( result, 3 ).at( "text" ), "the table srcIp has no free class id 7" );
    EXPECT_EQ( stepOf( result, 4 ).at( "class" ), 1 );
}

TEST( Compress, Run_EqualValues_ShareOneUntilTheLastIsReleased )
{
    const ToolResult result = runOn(
        "sdk6-flex", compress( "srcIp", "10.0.0.0/8" ) + compress( "srcIp", "10.0.0.0/8" ) +
                         release( "srcIp", "10.0.0.0/8" ) + release( "srcIp", "10.0.0.0/8" ) +
                         release( "srcIp", "10.0.0.0/8" ) + expectError );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "class 1, shared by 2" );
    EXPECT_EQ( stepOf( result, 2 ).at( "text" ), "class 1, 1 left that share it" );
    EXPECT_EQ( stepOf( result, 3 ).at( "text" ), "class 1, back to the chip" );
    EXPECT_EQ( stepOf( result, 4 ).at( "text" ), "the table srcIp has no 10.0.0.0/8" );
    EXPECT_EQ( usedOf( result, "compressionEntries" ), 0 );
}

TEST( Compress, Run_NoRoom_IsFullForThatTableOnly )
{
    const ToolResult result =
        runOn( "sdk6-tiny", "  - compress: { table: l4SrcPort, key: 1 }\n"
                            "  - compress: { table: l4SrcPort, key: 2 }\n"
                            "  - compress: { table: l4SrcPort, key: 3 }\n    expect: full\n"
                            "  - compress: { table: l4DstPort, key: 3 }\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 2 ).at( "text" ), "the table l4SrcPort has no free entry" );
}

TEST( Compress, Run_OverlappingPrefix_IsAnError )
{
    const ToolResult result =
        runOn( "sdk6-udf", compress( "srcIp", "10.0.0.0/8" ) + compress( "srcIp", "10.9.0.0/16" ) +
                               expectError );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ),
               "the table srcIp has a prefix that overlaps 10.9.0.0/16" );
}

TEST( Compress, Run_OnHsdk_IsAnError )
{
    const ToolResult result = runOn( "hsdk", compress( "srcIp", "10.0.0.0/8" ) + expectError +
                                                 release( "srcIp", "10.0.0.0/8" ) + expectError );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "text" ), "an HSDK chip has no field compression" );
    EXPECT_EQ( stepOf( result, 1 ).at( "text" ), "an HSDK chip has no field compression" );
}

TEST( Compress, Run_ChipLosesAnEntry_AuditAborts )
{
    const ToolResult result =
        runOn( "sdk6-udf",
               "  - inject-fault: { function: bcm_field_entry_install, call: 1, drop: true }\n" +
                   compress( "srcIp", "10.0.0.0/8" ) + "  - audit: all\n    expect: aborted\n" );
    EXPECT_EQ( result.exitCode, 0 ) << result.output << result.errors;
}

TEST( Compress, Read_SomethingIsWrong_SaysWhereAndRunsNothing )
{
    const std::pair< std::string, std::string > cases[] = {
        { "{ table: srcIpp, key: 1 }", "3:24: unknown value 'srcIpp', did you mean 'srcIp'?" },
        { "{ table: srcIp, key: 10.0.0.0/33 }",
          "3:36: expected a prefix length from 0 to 32, found '33'" },
        { "{ table: ipProto, key: tpc }", "3:38: unknown value 'tpc', did you mean 'tcp'?" },
        { "{ table: l4SrcPort, key: 65536 }",
          "3:40: expected a whole number from 0 to 65535, found '65536'" },
        { "{ table: srcIp }", "3:15: missing key 'key'" },
    };
    for ( const auto& [ step, message ] : cases ) {
        const ToolResult result = runOn( "sdk6-tiny", "  - compress: " + step + "\n" );
        EXPECT_EQ( result.exitCode, 2 );
        EXPECT_EQ( result.errors, "scenario.yaml:" + message + "\n" );
        EXPECT_EQ( result.output, "" );
    }
}

} // namespace
