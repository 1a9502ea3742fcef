// program-udf on the chips with a flexible parser, and show-chunks

#include "tests/tools/UdfScenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ToolTest::Udfs {
namespace {

using testing::HasSubstr;

TEST( FlexParserUdfs, Run_OnEitherVariant_AreProgrammedAuditedAndRemoved )
{
    for ( const std::string chip : { "sdk6-flex", "hsdk" } ) {
        for ( const std::string origin : { "registry", "factory", "creator" } ) {
            const ToolResult result = ToolFolder().runScenario(
                "chip: " + chip + "\nudf-helper: " + origin + "\nsteps:\n" +
                    overIpv4( "a", "offset: 2, length: 2" ) +
                    program( "b",
                             "base: l2Header, ethertype: arp, app: macAcl, offset: 2, length: 1" ) +
                    "  - chunk-positions: { name: b }\n  - list-udfs: all\n" + remove( "a" ) +
                    remove( "b" ) + overIpv4( "c", "offset: 4, length: 2" ) + "  - audit: all\n" +
                    remove( "c" ) + "  - list-udfs: all\n",
                { "--json" } );
            ASSERT_EQ( result.exitCode, 0 ) << chip << result.output << result.errors;
            EXPECT_EQ( stepOf( result, 2 ).at( "chunks" ), nlohmann::json{ 0 } );
            EXPECT_EQ( stepOf( result, 3 ).at( "text" ), "a (id 1), b (id 2)" );
            EXPECT_EQ( stepOf( result, 7 ).at( "audited" ), 1 );
            EXPECT_EQ( stepOf( result, 9 ).at( "text" ), "none" );
            expectChip( result, "udfs", 0 );
        }
    }
}

TEST( FlexParserUdfs, Run_TooFewFreeChunks_IsFullWithoutACall )
{
    // Seventeen chunks, of a format that has sixteen.
    const ToolResult result =
        run( overIpv4( "a", "offset: 2, length: 33" ) + expectFull, { "--chip", "sdk6-flex" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "text" ), "too few free chunks" );
    EXPECT_FALSE( stepOf( result, 0 ).contains( "sdkFunction" ) );
    expectChip( result, "udfs", 0 );
}

TEST( FlexParserUdfs, Run_LagHashing_IsAnError )
{
    const ToolResult result =
        run( overIpv4( "a", "offset: 2, length: 2, lag-mask: [ 1 ]" ) + expectError,
             { "--chip", "hsdk" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_EQ( stepOf( result, 0 ).at( "text" ), "this chip cannot hash over user-defined fields" );
}

// The library's audit would end the process: creation asks for one chunk whatever the length.
TEST( FlexParserUdfs, Run_FieldOfTwoChunks_IsWithheldFromTheAudit )
{
    for ( const char* chip : { "sdk6-flex", "hsdk" } ) {
        const ToolResult result =
            run( overIpv4( "a", "offset: 2, length: 4" ) + overIpv4( "b", "offset: 2, length: 2" ) +
                     "  - audit: all\n",
                 { "--chip", chip } );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 2 ).at( "text" ), "1 compared with the chip, 1 withheld" );
    }
}

TEST( FlexParserUdfs, Run_EachField_TellsWhatTheChipWasGiven )
{
    const std::pair< const char*, const char* > given[] = {
        { "sdk6-udf",
          "layer bcmUdfLayerL3OuterHeader, start 16, width 32, chunks 0, 1, packet format 1" },
        { "sdk6-flex",
          "format bcmUdfAbstractPktFormatL3Ipv4WithoutOptions, offset 16, width 32, chunk 0" },
        { "hsdk", "format bcmUdfAbstractPktFormatL3Ipv4, offset 16, width 16, chunk 0" },
    };
    for ( const auto& [ chip, text ] : given ) {
        const ToolResult result =
            run( overIpv4( "a", "offset: 2, length: 4" ), { "--chip", chip } );
        ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
        EXPECT_EQ( stepOf( result, 0 ).at( "given" ), text );
    }
}

TEST( ShowChunks, Run_OnAFlexParser_DrawsEachFormatAndWhoHoldsItsChunks )
{
    const ToolResult result = ToolFolder().runScenario(
        "chip: sdk6-flex\nsteps:\n" + overIpv4( "vni", "offset: 2, length: 2" ) +
        overIpv4( "tls", "offset: 4, length: 2" ) +
        program( "label", "base: l3Header, ethertype: mpls, app: macAcl, offset: 0, length: 2" ) +
        "  - show-chunks: all\n" );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    EXPECT_THAT( result.output, HasSubstr( "      L3Ipv4                ................\n"
                                           "      L3Ipv4WithoutOptions  ab..............\n"
                                           "      L3Ipv6                ..............##\n"
                                           "      UnknownL3             ##c.............\n"
                                           "      KnownNonIp            ................\n"
                                           "      Arp                   ................\n"
                                           "                            a vni (id 1)\n"
                                           "                            b tls (id 2)\n"
                                           "                            c label (id 3)\n" ) );
}

TEST( ShowChunks, Run_OnAUdfModule_DrawsOneRow )
{
    const ToolResult result =
        run( overIpv4( "vni", "offset: 2, length: 3" ) + "  - show-chunks: all\n",
             { "--chip", "sdk6-tiny" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const nlohmann::json expected = {
        { { "format", "any packet" },
          { "unavailable", { 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 } },
          { "taken", { { "0", "vni (id 1)" }, { "1", "vni (id 1)" } } } } };
    EXPECT_EQ( stepOf( result, 1 ).at( "chunks" ), expected );
    EXPECT_EQ( stepOf( result, 1 ).at( "lines" ),
               nlohmann::json( { "any packet  aa....##########", "            a vni (id 1)" } ) );
}
} // namespace
} // namespace ToolTest::Udfs
