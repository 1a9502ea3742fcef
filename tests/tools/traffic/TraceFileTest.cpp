#include "tools/traffic/TraceFile.h"

#include "input/InputError.h"
#include "sim/packets/PacketHeaders.h"
#include "tests/tools/traffic/Captures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace TrafficTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Tool::TracePacket;

std::string errorOf( const std::string& text )
{
    try {
        static_cast< void >( Tool::parseTrace( text, "a.trace" ) );
    } catch ( const Input::InputError& error ) {
        return error.what();
    }
    return "none";
}

Sim::PacketHeaders headersOf( const std::string& line )
{
    return Sim::readHeaders( Tool::packetOf( Tool::parseTrace( line, "a.trace" ).at( 0 ) ).bytes );
}

// ---- Reading -----------------------------------------------------------------------------------

TEST( TraceFileTest, ParseTrace_FiveColumns_HaveNoFlags )
{
    const TracePacket expected{ 0x0A000001, 0xC0000201, 1024, 80, 0, 6, false };
    EXPECT_THAT( Tool::parseTrace( "167772161 3221225985 1024 80 6", "a.trace" ),
                 ElementsAre( expected ) );
}

TEST( TraceFileTest, ParseTrace_SixColumns_HaveFlags )
{
    const TracePacket expected{ 1, 4294967295, 65535, 0, 512, 255, true };
    EXPECT_THAT( Tool::parseTrace( "1\t4294967295\t65535\t0\t255\t512\n", "a.trace" ),
                 ElementsAre( expected ) );
}

TEST( TraceFileTest, ParseTrace_MoreColumns_AreNotLookedAt )
{
    const TracePacket expected{ 1, 2, 3, 4, 5, 6, true };
    EXPECT_THAT( Tool::parseTrace( " 1 2  3\t 4 6 5 17 anything\r\n1 2 3 4 6 5 \n", "a.trace" ),
                 ElementsAre( expected, expected ) );
}

TEST( TraceFileTest, ParseTrace_Nothing_HasNoPackets )
{
    EXPECT_THAT( Tool::parseTrace( "", "a.trace" ), IsEmpty() );
}

TEST( TraceFileTest, ParseTrace_BlankLine_IsAnError )
{
    EXPECT_EQ( errorOf( "1 2 3 4 6\n\n1 2 3 4 6\n" ),
               "a.trace:2:1: expected the source address, a number from 0 to 4294967295" );
    EXPECT_EQ( errorOf( "  \n" ),
               "a.trace:1:3: expected the source address, a number from 0 to 4294967295" );
}

TEST( TraceFileTest, ParseTrace_MissingColumn_IsAnErrorAtTheEnd )
{
    EXPECT_EQ( errorOf( "1 2 3 4\n" ),
               "a.trace:1:8: expected the protocol, a number from 0 to 255" );
}

TEST( TraceFileTest, ParseTrace_WrongColumn_IsAnErrorThere )
{
    EXPECT_EQ( errorOf( "1 2 65536 4 6" ),
               "a.trace:1:5: expected the source port, a number from 0 to 65535" );
    EXPECT_EQ( errorOf( "1 2 3 4 256" ),
               "a.trace:1:9: expected the protocol, a number from 0 to 255" );
    EXPECT_EQ( errorOf( "1 4294967296 3 4 6" ),
               "a.trace:1:3: expected the destination address, a number from 0 to 4294967295" );
    EXPECT_EQ( errorOf( "1 2 3 -4 6" ),
               "a.trace:1:7: expected the destination port, a number from 0 to 65535" );
    EXPECT_EQ( errorOf( "1 2 3 4 6 0x200" ),
               "a.trace:1:11: expected the flags, a number from 0 to 65535" );
}

TEST( TraceFileTest, ReadTrace_OfAFile_IsWhatItSays )
{
    const TemporaryFile file( "1 2 3 4 5\n6 7 8 9 10\n" );
    EXPECT_EQ( Tool::readTrace( file.path() ).size(), 2U );
    EXPECT_THROW( static_cast< void >( Tool::readTrace( "/nowhere" ) ), Input::InputError );
}

// ---- Packets -----------------------------------------------------------------------------------

TEST( TraceFileTest, PacketOf_Tcp_IsARightFrame )
{
    const std::vector< std::uint8_t > expected{
        0x02, 0,    0,    0,    0,   0x02, 0x02, 0, 0,  0, 0,    0x01, 0x08, 0x00, //
        0x45, 0,    0,    40,   0,   0,    0,    0, 64, 6, 0xAE, 0xCE,             //
        10,   0,    0,    1,    192, 0,    2,    1,                                //
        0x04, 0x00, 0x00, 0x50, 0,   0,    0,    0, 0,  0, 0,    0,    0x50, 0x02, //
        0,    0,    0,    0,    0,   0 };
    const TracePacket trace{ 0x0A000001, 0xC0000201, 1024, 80, 0x0200, 6, true };
    const Sim::Packet packet = Tool::packetOf( trace );
    EXPECT_EQ( packet.bytes, expected );
    EXPECT_EQ( packet.wireLength, 54U );
}

TEST( TraceFileTest, PacketOf_TcpFlags_AreTheHighByte )
{
    EXPECT_EQ( headersOf( "1 2 3 4 6 4608" ).outer.tcpFlags(), 0x12 );
    EXPECT_EQ( headersOf( "1 2 3 4 6 18" ).outer.tcpFlags(), 0 );
}

TEST( TraceFileTest, PacketOf_IcmpFlags_AreTypeAndCode )
{
    const Sim::LayerHeaders icmp = headersOf( "1 2 0 0 1 769" ).outer;
    EXPECT_TRUE( icmp.hasTypeCode );
    EXPECT_EQ( icmp.type, 3 );
    EXPECT_EQ( icmp.code, 1 );
}

TEST( TraceFileTest, PacketOf_PortsOfUdpAndSctp_AreThoseOfTheTrace )
{
    for ( const char* line : { "1 2 53 4000 17", "1 2 53 4000 132" } ) {
        const Sim::PacketHeaders headers = headersOf( line );
        EXPECT_TRUE( headers.outer.hasPorts );
        EXPECT_TRUE( headers.outer.ipChecksumRight );
        EXPECT_FALSE( headers.truncated );
        EXPECT_EQ( headers.outer.sourcePort, 53 );
        EXPECT_EQ( headers.outer.destinationPort, 4000 );
    }
}

TEST( TraceFileTest, PacketOf_OtherProtocol_EndsBehindIp )
{
    const Sim::PacketHeaders headers = headersOf( "1 2 53 4000 89" );
    EXPECT_EQ( headers.outer.protocol, 89 );
    EXPECT_EQ( headers.outer.ipLength, 20 );
    EXPECT_FALSE( headers.outer.hasPorts );
    EXPECT_TRUE( headers.outer.ipChecksumRight );
}

TEST( TraceFileTest, WritePacket_OverALongerOne_LeavesNothingOfIt )
{
    const TracePacket tcp{ 1, 2, 3, 4, 0xFFFF, 6, true };
    const TracePacket udp{ 5, 6, 7, 8, 0, 17, false };
    Sim::Packet packet = Tool::packetOf( tcp );
    packet.port = 9;
    Tool::writePacket( udp, packet );
    EXPECT_EQ( packet.bytes, Tool::packetOf( udp ).bytes );
    EXPECT_EQ( packet.port, 9U );
}

} // namespace
} // namespace TrafficTest
