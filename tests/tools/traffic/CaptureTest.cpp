#include "tools/traffic/Capture.h"

#include "input/InputError.h"
#include "tests/tools/traffic/Captures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>

namespace TrafficTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using namespace std::string_literals;

std::vector< Sim::Packet > packetsOf( const std::string& path )
{
    Tool::Capture capture( path );
    std::vector< Sim::Packet > packets;
    for ( Sim::Packet packet; capture.next( packet ); ) {
        packets.push_back( packet );
    }
    return packets;
}

std::string errorOf( const std::string& path )
{
    try {
        static_cast< void >( packetsOf( path ) );
    } catch ( const Input::InputError& error ) {
        return error.what();
    }
    return "none";
}

// The formats by hand: draft-ietf-opsawg-pcap and draft-ietf-opsawg-pcapng.

/// The header of a capture with microseconds and that link type.
std::string fileHeader( char linkType )
{
    return "\xD4\xC3\xB2\xA1\x02\0\x04\0\0\0\0\0\0\0\0\0\0\0\x04\0"s + linkType + "\0\0\0"s;
}

/// A packet at 1 second and 2 microseconds, of three bytes out of 60.
const std::string cutPacket = "\x01\0\0\0\x02\0\0\0\x03\0\0\0\x3C\0\0\0"
                              "\xAA\xBB\xCC"s;

/// A section, an interface of Ethernet that counts nanoseconds, and a packet of four bytes at 1
/// second and 7 nanoseconds.
const std::string nextGeneration = "\x0A\x0D\x0D\x0A\x1C\0\0\0\x4D\x3C\x2B\x1A\x01\0\0\0"
                                   "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x1C\0\0\0"
                                   "\x01\0\0\0\x20\0\0\0\x01\0\0\0\0\0\x04\0"
                                   "\x09\0\x01\0\x09\0\0\0\0\0\0\0\x20\0\0\0"
                                   "\x06\0\0\0\x24\0\0\0\0\0\0\0\0\0\0\0\x07\xCA\x9A\x3B"
                                   "\x04\0\0\0\x04\0\0\0\x01\x02\x03\x04\x24\0\0\0"s;

TEST( CaptureTest, Next_OfACutPacket_HasItsBytesAndItsLength )
{
    const TemporaryFile file( fileHeader( 1 ) + cutPacket + cutPacket );
    const std::vector< Sim::Packet > packets = packetsOf( file.path() );
    ASSERT_EQ( packets.size(), 2U );
    EXPECT_THAT( packets[ 0 ].bytes, ElementsAre( 0xAA, 0xBB, 0xCC ) );
    EXPECT_EQ( packets[ 0 ].wireLength, 60U );
    EXPECT_EQ( packets[ 0 ].timestamp, 1'000'002'000U );
}

TEST( CaptureTest, Next_OfTheNewerFormat_HasNanoseconds )
{
    const TemporaryFile file( nextGeneration );
    const std::vector< Sim::Packet > packets = packetsOf( file.path() );
    ASSERT_EQ( packets.size(), 1U );
    EXPECT_THAT( packets[ 0 ].bytes, ElementsAre( 1, 2, 3, 4 ) );
    EXPECT_EQ( packets[ 0 ].timestamp, 1'000'000'007U );
}

TEST( CaptureTest, Next_IntoAUsedPacket_LeavesPortAndGiven )
{
    const TemporaryFile file( fileHeader( 1 ) + cutPacket );
    Tool::Capture capture( file.path() );
    Sim::Packet packet;
    packet.port = 5;
    packet.bytes.resize( 100 );
    EXPECT_TRUE( capture.next( packet ) );
    EXPECT_EQ( packet.port, 5U );
    EXPECT_EQ( packet.bytes.size(), 3U );
    EXPECT_EQ( capture.packets(), 1U );
    EXPECT_FALSE( capture.next( packet ) );
    EXPECT_FALSE( capture.next( packet ) );
    EXPECT_EQ( capture.packets(), 1U );
}

TEST( CaptureTest, Open_WithoutPackets_HasNone )
{
    const TemporaryFile file( fileHeader( 1 ) );
    EXPECT_THAT( packetsOf( file.path() ), IsEmpty() );
}

TEST( CaptureTest, Open_OtherLinkType_NamesIt )
{
    const TemporaryFile file( fileHeader( 113 ) + cutPacket );
    EXPECT_EQ( errorOf( file.path() ),
               file.path() + ":1:1: the capture is of link type LINUX_SLL (Linux cooked v1), "
                             "only Ethernet can be read" );
}

TEST( CaptureTest, Open_NoCapture_IsAnError )
{
    const TemporaryFile file( "no capture, but a long enough text" );
    EXPECT_THAT( errorOf( file.path() ),
                 StartsWith( file.path() + ":1:1: is no capture that can be read: " ) );
    EXPECT_THAT( errorOf( "/nowhere.pcap" ), HasSubstr( "No such file or directory" ) );
    EXPECT_THAT( errorOf( "/" ), HasSubstr( "is a directory" ) );
}

TEST( CaptureTest, Next_FileEndsWithinAPacket_SaysBehindHowMany )
{
    const TemporaryFile file( fileHeader( 1 ) + cutPacket + cutPacket.substr( 0, 18 ) );
    EXPECT_THAT( errorOf( file.path() ), HasSubstr( "cannot be read behind 1 packets: " ) );
}

TEST( CaptureTest, Open_Minus_IsStandardInput )
{
    const TemporaryFile file( fileHeader( 1 ) + cutPacket );
    ASSERT_NE( std::freopen( file.path().c_str(), "r", stdin ), nullptr );
    EXPECT_EQ( packetsOf( "-" ).size(), 1U );
}

TEST( CaptureTest, Next_WhatWasWritten_IsReadAgain )
{
    Sim::Packet packet;
    packet.bytes = { 1, 2, 3 };
    packet.wireLength = 9;
    packet.timestamp = 3'000'000'001;
    const TemporaryFile file( "" );
    writeCapture( file.path(), { packet } );
    const std::vector< Sim::Packet > packets = packetsOf( file.path() );
    ASSERT_EQ( packets.size(), 1U );
    EXPECT_EQ( packets[ 0 ].bytes, packet.bytes );
    EXPECT_EQ( packets[ 0 ].wireLength, 9U );
    EXPECT_EQ( packets[ 0 ].timestamp, 3'000'000'001U );
}

TEST( CaptureTest, Captures_OfTheTestData_AreEthernetButOne )
{
    if ( capturesFolder().empty() ) {
        GTEST_SKIP() << "PELORA_TEST_DATA is not set: there are no captures";
    }
    EXPECT_THAT( errorOf( capturesFolder() / "tcp-handshake-nano.pcap" ),
                 HasSubstr( "LINUX_SLL" ) );
    for ( const auto& file : ethernetCaptures() ) {
        EXPECT_EQ( errorOf( file ), "none" );
    }
}

} // namespace
} // namespace TrafficTest
