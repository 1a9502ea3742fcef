// lookup --trace and --capture: held against a scan over all rules, one after the other

#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace {

using ToolTest::ToolFolder;
using ToolTest::ToolResult;

struct TestPrefix
{
    std::uint32_t address;
    unsigned length;

    [[nodiscard]] bool has( std::uint32_t other ) const
    {
        return length == 0 || ( ( address ^ other ) >> ( 32 - length ) ) == 0;
    }
};

struct TestRange
{
    unsigned low;
    unsigned high;

    [[nodiscard]] bool has( unsigned port ) const { return low <= port && port <= high; }
};

struct TestRule
{
    TestPrefix source;
    TestPrefix destination;
    TestRange sourcePorts;
    TestRange destinationPorts;
    unsigned protocol;
    unsigned protocolMask;
};

struct TestPacket
{
    std::uint32_t source;
    std::uint32_t destination;
    unsigned sourcePort;
    unsigned destinationPort;
    unsigned protocol;
};

bool matches( const TestRule& rule, const TestPacket& packet )
{
    return rule.source.has( packet.source ) && rule.destination.has( packet.destination ) &&
           rule.sourcePorts.has( packet.sourcePort ) &&
           rule.destinationPorts.has( packet.destinationPort ) &&
           ( ( rule.protocol ^ packet.protocol ) & rule.protocolMask ) == 0;
}

/// The lines of the winners, rules standing one a line, as the tool prints them.
std::string scanned( const std::vector< TestRule >& rules,
                     const std::vector< TestPacket >& packets )
{
    std::string lines;
    for ( const TestPacket& packet : packets ) {
        std::size_t line = 0;
        for ( std::size_t rule = 0; rule < rules.size() && line == 0; ++rule ) {
            line = matches( rules[ rule ], packet ) ? rule + 1 : 0;
        }
        lines += std::to_string( line ) + "\n";
    }
    return lines;
}

std::string prefixText( const TestPrefix& prefix )
{
    std::string text;
    for ( const unsigned shift : { 24U, 16U, 8U, 0U } ) {
        text += std::to_string( prefix.address >> shift & 0xFF ) + ( shift == 0 ? "/" : "." );
    }
    return text + std::to_string( prefix.length );
}

/// The rules as a file. They ask for no flags.
std::string textOf( const std::vector< TestRule >& rules )
{
    std::ostringstream text;
    for ( const TestRule& rule : rules ) {
        text << "@" << prefixText( rule.source ) << "\t" << prefixText( rule.destination ) << "\t"
             << rule.sourcePorts.low << " : " << rule.sourcePorts.high << "\t"
             << rule.destinationPorts.low << " : " << rule.destinationPorts.high << "\t0x"
             << std::hex << rule.protocol << "/0x" << rule.protocolMask << std::dec
             << "\t0x0000/0x0000\n";
    }
    return text.str();
}

std::string textOf( const std::vector< TestPacket >& packets )
{
    std::ostringstream text;
    for ( const TestPacket& packet : packets ) {
        text << packet.source << "\t" << packet.destination << "\t" << packet.sourcePort << "\t"
             << packet.destinationPort << "\t" << packet.protocol << "\n";
    }
    return text.str();
}

constexpr TestRange anyPort{ 0, 65535 };

/// Nested prefixes, ranges that overlap, protocols with and without ports.
const std::vector< TestRule > smallRules = {
    { { 0x0A000100, 24 }, { 0xC0000200, 24 }, anyPort, { 80, 80 }, 6, 0xFF },
    { { 0x0A000000, 8 }, { 0xC0000200, 25 }, { 1024, 65535 }, { 8000, 8099 }, 6, 0xFF },
    { { 0x0A000000, 8 }, { 0xC0000200, 24 }, anyPort, { 8050, 8199 }, 17, 0xFF },
    { { 0, 0 }, { 0xC0000201, 32 }, { 53, 53 }, { 53, 53 }, 17, 0xFF },
    { { 0x0A000000, 16 }, { 0, 0 }, { 100, 200 }, anyPort, 50, 0xFF },
    { { 0x0A000000, 16 }, { 0xC0000200, 28 }, anyPort, { 1, 9 }, 1, 0xFF },
    { { 0x0A000180, 25 }, { 0, 0 }, anyPort, anyPort, 6, 0xFF },
    { { 0, 0 }, { 0xC0000200, 24 }, anyPort, { 80, 80 }, 0, 0 },
};

/// A packet that a rule matches, with one field changed in some of them.
template< class Random >
TestPacket packetNear( const TestRule& rule, Random& random )
{
    const auto within = [ & ]( const TestPrefix& prefix ) {
        const auto bits = static_cast< std::uint32_t >( random() );
        const std::uint32_t free = prefix.length == 0 ? ~0U : ( ~0U >> ( prefix.length - 1 ) ) >> 1;
        return prefix.address | ( bits & free );
    };
    const auto between = [ & ]( const TestRange& range ) {
        return static_cast< unsigned >( range.low + random() % ( range.high - range.low + 1 ) );
    };
    constexpr std::array< unsigned, 5 > protocols = { 6, 17, 1, 50, 132 };
    TestPacket packet{ within( rule.source ), within( rule.destination ),
                       between( rule.sourcePorts ), between( rule.destinationPorts ),
                       rule.protocolMask == 0 ? protocols[ random() % 5 ] : rule.protocol };
    switch ( random() % 8 ) {
    case 0:
        packet.source ^= 1U << random() % 32;
        break;
    case 1:
        packet.destination ^= 1U << random() % 32;
        break;
    case 2:
        packet.destinationPort ^= 1U << random() % 16;
        break;
    case 3:
        packet.protocol = protocols[ random() % 5 ];
        break;
    default:
        break;
    }
    return packet;
}

std::vector< TestPacket > packetsNear( const std::vector< TestRule >& rules, std::size_t count )
{
    std::mt19937 random( 7 );
    std::vector< TestPacket > packets;
    for ( std::size_t packet = 0; packet < count; ++packet ) {
        packets.push_back( packetNear( rules[ random() % rules.size() ], random ) );
    }
    return packets;
}

ToolResult
winners( const ToolFolder& folder, const std::string& chip, const std::vector< std::string >& more )
{
    std::vector< std::string > all{ "lookup", "--rules", "some.rules",
                                    "--chip", chip,      "--winners" };
    all.insert( all.end(), more.begin(), more.end() );
    return folder.run( all );
}

TEST( LookupTraces, Winners_OfASmallRuleSet_AreThoseOfAScan )
{
    const std::vector< TestPacket > packets = packetsNear( smallRules, 5000 );
    const ToolFolder folder;
    folder.write( "some.rules", textOf( smallRules ) );
    folder.write( "some.trace", textOf( packets ) );
    const std::string expected = scanned( smallRules, packets );
    for ( const std::string line : { "0\n", "1\n", "5\n", "6\n", "8\n" } ) {
        EXPECT_NE( expected.find( line ), std::string::npos ) << "no packet for " << line;
    }
    for ( const std::string chip : { "sdk6-udf", "sdk6-flex", "hsdk" } ) {
        const ToolResult result = winners( folder, chip, { "--trace", "some.trace" } );
        ASSERT_EQ( result.exitCode, 0 ) << result.errors;
        EXPECT_TRUE( result.output == expected ) << chip;
    }
}

TEST( LookupTraces, Jobs_OfAnyNumber_AnswerInTheOrderOfThePackets )
{
    const std::vector< TestPacket > packets = packetsNear( smallRules, 70001 );
    const ToolFolder folder;
    folder.write( "some.rules", textOf( smallRules ) );
    folder.write( "some.trace", textOf( packets ) );
    const std::string expected = scanned( smallRules, packets );
    for ( const std::string jobs : { "1", "2", "3", "256" } ) {
        const ToolResult result =
            winners( folder, "hsdk", { "--trace", "some.trace", "--jobs", jobs } );
        ASSERT_EQ( result.exitCode, 0 ) << result.errors;
        EXPECT_TRUE( result.output == expected ) << jobs << " jobs";
    }
}

TEST( LookupTraces, Trace_OnStandardInput_IsRead )
{
    const ToolFolder folder;
    folder.write( "some.rules", textOf( smallRules ) );
    folder.write( "run", "#!/bin/sh\nprintf '167772417 3221225985 7 80 6\\n' |\n    exec " +
                             std::string( PELORA_BINARY_DIR ) + "/bin/pelora-tcam \"$@\"\n" );
    std::filesystem::permissions( folder.path() + "/run", std::filesystem::perms::owner_all );
    ToolFolder other;
    other.programIs( folder.path() + "/run" );
    const ToolResult result = other.run( { "lookup", "--rules", folder.path() + "/some.rules",
                                           "--chip", "hsdk", "--winners", "--trace", "-" } );
    EXPECT_EQ( result.output, "1\n" ) << result.errors;
}

TEST( LookupTraces, Trace_InText_IsCalledByItsLines )
{
    const ToolFolder folder;
    folder.write( "some.rules", textOf( smallRules ) );
    folder.write( "some.trace", "167772417 3221225985 7 80 6\n167772417 1 150 9 50\n" );
    const ToolResult result = folder.run( { "lookup", "--rules", "some.rules", "--chip", "hsdk",
                                            "--trace", "some.trace", "--json" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.errors;
    const nlohmann::json packets = result.json().at( "packets" );
    EXPECT_EQ( packets[ 0 ].at( "packet" ), "some.trace:1" );
    EXPECT_EQ( packets[ 0 ].at( "winner" ).at( "line" ), 1 );
    EXPECT_EQ( packets[ 1 ].at( "packet" ), "some.trace:2" );
    EXPECT_EQ( packets[ 1 ].at( "winner" ).at( "line" ), 5 ) << "the ports are those of the trace";
}

TEST( LookupTraces, Winners_OnATerminal_ShowHowFarItIs )
{
    const std::vector< TestPacket > packets = packetsNear( smallRules, 70000 );
    const ToolFolder folder;
    folder.write( "some.rules", textOf( smallRules ) );
    folder.write( "some.trace", textOf( packets ) );
    const ToolResult result =
        folder.runOnTerminal( { "lookup", "--rules", "some.rules", "--chip", "hsdk", "--winners",
                                "--trace", "some.trace" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_THAT( result.output, testing::HasSubstr( "65536 of 70000 packets" ) );
}

// ---- Real data ---------------------------------------------------------------------------------

/// The rules of a file, by a reader of the test's own.
std::vector< TestRule > rulesOfFile( const std::string& path )
{
    std::vector< TestRule > rules;
    std::ifstream file( path );
    for ( std::string line; std::getline( file, line ); ) {
        std::array< unsigned, 17 > n{};
        const int read = std::sscanf(
            line.c_str(), "@%u.%u.%u.%u/%u %u.%u.%u.%u/%u %u : %u %u : %u %x/%x", &n[ 0 ], &n[ 1 ],
            &n[ 2 ], &n[ 3 ], &n[ 4 ], &n[ 5 ], &n[ 6 ], &n[ 7 ], &n[ 8 ], &n[ 9 ], &n[ 10 ],
            &n[ 11 ], &n[ 12 ], &n[ 13 ], &n[ 14 ], &n[ 15 ] );
        EXPECT_EQ( read, 16 ) << line;
        const auto prefix = [ & ]( std::size_t at ) {
            return TestPrefix{ n[ at ] << 24 | n[ at + 1 ] << 16 | n[ at + 2 ] << 8 | n[ at + 3 ],
                               n[ at + 4 ] };
        };
        rules.push_back( { prefix( 0 ),
                           prefix( 5 ),
                           { n[ 10 ], n[ 11 ] },
                           { n[ 12 ], n[ 13 ] },
                           n[ 14 ],
                           n[ 15 ] } );
    }
    return rules;
}

TEST( LookupTraces, Winners_OfARealRuleSet_AreThoseOfAScan )
{
    if ( ToolTest::testDataFolder().empty() ) {
        GTEST_SKIP() << "no test data: set PELORA_TEST_DATA to the folder that holds them";
    }
    const std::vector< TestRule > rules =
        rulesOfFile( ToolTest::testDataFolder() + "/classbench/acl1_8k.rules" );
    const std::vector< TestPacket > packets = packetsNear( rules, 20000 );
    const ToolFolder folder;
    folder.write( "some.rules", textOf( rules ) );
    folder.write( "some.trace", textOf( packets ) );
    const std::string expected = scanned( rules, packets );
    for ( const std::string chip : { "sdk6-large", "hsdk-large" } ) {
        const ToolResult result =
            winners( folder, chip, { "--trace", "some.trace", "--jobs", "2" } );
        EXPECT_EQ( result.exitCode, 0 ) << result.errors;
        EXPECT_TRUE( result.output == expected ) << chip;
    }
}

TEST( LookupTraces, Capture_OfRealPackets_IsAnsweredPacketByPacket )
{
    const std::string file = ToolTest::testDataFolder() + "/pcap/dns-udp.pcap";
    if ( ToolTest::testDataFolder().empty() || !std::filesystem::exists( file ) ) {
        GTEST_SKIP() << "no test data: set PELORA_TEST_DATA to the folder that holds them";
    }
    const ToolFolder folder;
    folder.write( "some.rules",
                  "@0.0.0.0/0 0.0.0.0/0 0 : 65535 53 : 53 0x11/0xFF 0x0000/0x0000\n"
                  "@0.0.0.0/0 0.0.0.0/0 53 : 53 0 : 65535 0x11/0xFF 0x0000/0x0000\n" );
    const ToolResult lines = winners( folder, "hsdk", { "--capture", file } );
    ASSERT_EQ( lines.exitCode, 0 ) << lines.errors;
    const ToolResult result = folder.run(
        { "lookup", "--rules", "some.rules", "--chip", "hsdk", "--capture", file, "--json" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.errors;
    std::string same;
    const nlohmann::json packets = result.json().at( "packets" );
    for ( const nlohmann::json& packet : packets ) {
        const nlohmann::json& winner = packet.at( "winner" );
        same += std::to_string( winner.is_null() ? 0 : winner.at( "line" ).get< int >() ) + "\n";
    }
    EXPECT_EQ( lines.output, same );
    EXPECT_THAT( lines.output, testing::HasSubstr( "1\n" ) );
    EXPECT_THAT( lines.output, testing::HasSubstr( "2\n" ) );
}

} // namespace
