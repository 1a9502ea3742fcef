// pelora-tcam maps

#include "tests/tools/ToolRunner.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using ToolTest::ToolFolder;
using ToolTest::ToolResult;

ToolResult runTool( const std::vector< std::string >& arguments )
{
    return ToolFolder().run( arguments );
}

/// The row of an agent value in a map's JSON.
nlohmann::json rowOf( const nlohmann::json& map, const std::string& agent )
{
    for ( const auto& row : map.at( "rows" ) ) {
        if ( row.at( "agent" ) == agent ) {
            return row;
        }
    }
    return {};
}

TEST( Maps, List_AnyTime_HasEachMapWithItsCounts )
{
    const ToolResult result = runTool( { "maps" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_EQ( result.errors, "" );
    EXPECT_THAT( result.output, StartsWith( "NAME " ) );
    EXPECT_THAT( result.output, testing::ContainsRegex( "\nqualifierMap +183 +179 +QualifierType +"
                                                        "bcm_field_qualify_t\n" ) );
    EXPECT_THAT( result.output, testing::ContainsRegex( "\nactionMap +113 +112 +ActionType +"
                                                        "bcm_field_action_t\n" ) );
    EXPECT_THAT( result.output, testing::ContainsRegex( "\ngroupModeMap +6 +- +TcamGroupMode +"
                                                        "bcm_field_group_mode_t\n" ) );
    EXPECT_EQ( std::count( result.output.begin(), result.output.end(), '\n' ), 1 + 33 );
}

TEST( Maps, ListAsJson_AnyTime_HasTheSameCounts )
{
    const nlohmann::json json = runTool( { "maps", "--json" } ).json();
    EXPECT_EQ( json.at( "numbering" ), "default" );
    ASSERT_EQ( json.at( "maps" ).size(), 33U );
    const nlohmann::json& first = json.at( "maps" ).at( 0 );
    EXPECT_EQ( first.at( "name" ), "qualifierMap" );
    EXPECT_EQ( first.at( "pairs" ), 183 );
    EXPECT_EQ( first.at( "pairsBack" ), 179 );
    EXPECT_EQ( json.at( "maps" ).back().at( "name" ), "actionParamEgressFlowEncapMap" );
    EXPECT_TRUE( json.at( "maps" ).back().at( "pairsBack" ).is_null() );
}

TEST( Maps, OneMap_ByDefault_IsATableWithValuesAndTheWayBack )
{
    const ToolResult result = runTool( { "maps", "fragTypeMap" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_EQ( result.output, "fragTypeMap: FieldFragType to bcm_field_IpFrag_t, 4 pairs, 4 back\n"
                              "\n"
                              "NUMBER  AGENT        SDK                       VALUE  BACK\n"
                              "0       nonFragment  bcmFieldIpFragNon         1      nonFragment\n"
                              "1       first        bcmFieldIpFragFirst       2      first\n"
                              "2       nonOrFirst   bcmFieldIpFragNonOrFirst  3      nonOrFirst\n"
                              "3       nonFirst     bcmFieldIpFragNonFirst    4      nonFirst\n" );
}

TEST( Maps, OneMap_AgentValueWithoutEntry_IsNamedBelow )
{
    const ToolResult result = runTool( { "maps", "ipTypeMap" } );
    EXPECT_THAT( result.output, HasSubstr( "\nNot in the map: ipv6TwoExtensionHeaders (9)\n" ) );
}

TEST( Maps, OneMap_SeveralAgentValuesForOne_AreMarked )
{
    const ToolResult result = runTool( { "maps", "qualifierMap" } );
    EXPECT_THAT( result.output, testing::ContainsRegex( "\n34 +[a-zA-Z0-9]+ +[^\n]* \\*\n35 " ) );
    EXPECT_THAT( result.output,
                 HasSubstr( "\n* Several agent values are this one for the SDK.\n" ) );
    const nlohmann::json json = runTool( { "maps", "qualifierMap", "--json" } ).json();
    std::vector< int > marked;
    for ( const auto& row : json.at( "rows" ) ) {
        if ( row.at( "manyToOne" ) ) {
            marked.push_back( row.at( "number" ) );
        }
    }
    EXPECT_THAT( marked, testing::ElementsAre( 34, 35, 36, 37, 38, 39, 40 ) );
    EXPECT_EQ( json.at( "notInTheMap" ).size(), 20U );
}

TEST( Maps, OneMapAsJson_NotTranslatedBack_HasNoWayBack )
{
    const nlohmann::json json = runTool( { "maps", "groupModeMap", "--json" } ).json();
    EXPECT_EQ( json.at( "agentType" ), "TcamGroupMode" );
    EXPECT_TRUE( json.at( "pairsBack" ).is_null() );
    EXPECT_EQ( rowOf( json, "single" ), ( nlohmann::json{ { "number", 1 },
                                                          { "agent", "single" },
                                                          { "sdk", "bcmFieldGroupModeSingle" },
                                                          { "value", 1 },
                                                          { "back", nullptr },
                                                          { "manyToOne", false } } ) );
}

TEST( Maps, OneMap_AnotherNumbering_HasOtherValuesForTheSameNames )
{
    const nlohmann::json plain = runTool( { "maps", "ipTypeMap", "--json" } ).json();
    const nlohmann::json shuffled =
        runTool( { "maps", "ipTypeMap", "--json", "--numbering", "shuffled:7" } ).json();
    EXPECT_EQ( shuffled.at( "numbering" ), "shuffled:7" );
    const nlohmann::json before = rowOf( plain, "ipv4Any" );
    const nlohmann::json after = rowOf( shuffled, "ipv4Any" );
    EXPECT_EQ( before.at( "value" ), 5 );
    EXPECT_NE( after.at( "value" ), 5 );
    EXPECT_EQ( after.at( "sdk" ), "bcmFieldIpTypeIpv4Any" );
    EXPECT_EQ( after.at( "back" ), "ipv4Any" );
}

TEST( Maps, UnknownName_Near_EndsWithTwoAndAHint )
{
    const ToolResult result = runTool( { "maps", "qualifyerMap" } );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_EQ( result.errors,
               "pelora-tcam: there is no translation map 'qualifyerMap', did you mean "
               "'qualifierMap'?\n" );
    EXPECT_EQ( result.output, "" );
}

TEST( Maps, Numbering_MakesNoSense_EndsWithTwo )
{
    const ToolResult result = runTool( { "maps", "--numbering", "odd" } );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_THAT( result.errors, StartsWith( "pelora-tcam: --numbering: expected 'default'" ) );
}

TEST( Maps, Help_AnyTime_HasAnExampleAndTheExitCodes )
{
    const ToolResult result = runTool( { "maps", "--help" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.output, HasSubstr( "Examples:\n  pelora-tcam maps\n" ) );
    EXPECT_THAT( result.output, HasSubstr( "Exit codes:\n  0  " ) );
}

} // namespace
