// User-defined fields on packets written by hand: the bytes that the chip extracts are those that
// the descriptor names, and where options, extension headers or tags make them others.

#include "tests/packets/UdfPackets.h"

namespace PacketTest {
namespace {

/// A field of a packet, the bytes that the chip finds, and those that the descriptor names.
struct FieldCase
{
    const char* name;
    std::string packet;
    UdfOffsetBase base;
    std::uint8_t offset;
    std::string onChip;
    std::string named;
};

using PeloraTcam::UdfBaseL2Header_;
using PeloraTcam::UdfBaseL3Header_;
using PeloraTcam::UdfBaseL3InnerHeader_;
using PeloraTcam::UdfBaseL3OuterHeader_;
using PeloraTcam::UdfBaseL3OuterPayload_;
using PeloraTcam::UdfBaseL4InnerHeader_;
using PeloraTcam::UdfBaseL4OuterHeader_;
using PeloraTcam::UdfBaseL4OuterPayload_;

const std::string tcp4 = macs + isIp4 + ip4Header( "06" ) + tcpHeader + payload;
const std::string udp4 = macs + isIp4 + ip4Header( "11" ) + udpHeader + payload;
const std::string tcp6 = macs + isIp6 + ip6Header( "06" ) + tcpHeader + payload;
const std::string udp6 = macs + isIp6 + ip6Header( "11" ) + udpHeader + payload;
const std::string arp = macs + isArp + arpRequest;
const std::string gre4 =
    macs + isIp4 + ip4Header( "2f" ) + greOfIp4 + ip4Header( "11" ) + udpHeader + payload;
const std::string gre6 = macs + isIp4 + ip4Header( "2f" ) + greOfIp6WithKeyAndSequence +
                         ip6Header( "06" ) + tcpHeader + payload;
const std::string ip4Options = macs + isIp4 + ip4HeaderWithOption( "06" ) + tcpHeader + payload;
const std::string tcpOptions = macs + isIp4 + ip4Header( "06" ) + tcpHeaderWithOptions + payload;
const std::string ip6Extension =
    macs + isIp6 + ip6Header( "2b" ) + ip6Routing( "11" ) + udpHeader + payload;
const std::string tagged = macs + tag + isIp4 + ip4Header( "06" ) + tcpHeader + payload;
const std::string twiceTagged =
    macs + serviceTag + tag + isIp4 + ip4Header( "06" ) + tcpHeader + payload;
const std::string innerOptions =
    macs + isIp4 + ip4Header( "2f" ) + greOfIp4 + ip4HeaderWithOption( "11" ) + udpHeader + payload;
const std::string icmp = macs + isIp4 + ip4Header( "01" ) + icmpHeader + payload;

class UdfPacketsTest : public UdfPacketsScene
{
  protected:
    void expectField( const FieldCase& field )
    {
        SCOPED_TRACE( field.name );
        const Packet packet = packetOf( field.packet );
        const std::optional< PacketHeaders > headers = headersOf( packet );
        ASSERT_TRUE( headers );
        const std::size_t length = field.onChip.size() / 2;
        const UdfDesc desc =
            descFor( *headers, field.base, field.offset, static_cast< std::uint8_t >( length ) );
        EXPECT_EQ( bytesOnChip( packet, desc ), field.onChip );
        const Position point = namedPoint( *headers, field.base );
        EXPECT_EQ( point ? bytesAt( packet, *point + field.offset, length ) : "", field.named );
    }

    /// A field that the chip finds where it is named.
    void expectExact( const char* name,
                      const std::string& packet,
                      UdfOffsetBase base,
                      std::uint8_t offset,
                      const std::string& bytes )
    {
        expectField( { name, packet, base, offset, bytes, bytes } );
    }
};

TEST_F( UdfPacketsTest, Field_OfAPacketWithoutOptions_IsWhatIsNamed )
{
    expectExact( "destination", tcp4, UdfBaseL2Header_, 0, "020000000001" );
    expectExact( "EtherType", tcp4, UdfBaseL2Header_, 12, "0800" );
    expectExact( "protocol", tcp4, UdfBaseL3Header_, 9, "06" );
    expectExact( "source", tcp4, UdfBaseL3OuterHeader_, 12, "0a000001" );
    expectExact( "behind IPv4", tcp4, UdfBaseL3OuterPayload_, 0, "0016c000" );
    expectExact( "ports", tcp4, UdfBaseL4OuterHeader_, 0, "0016c000" );
    expectExact( "behind TCP", tcp4, UdfBaseL4OuterPayload_, 0, "a0a1a2a3" );
    expectExact( "behind TCP, odd", tcp4, UdfBaseL4OuterPayload_, 3, "a3a4" );
    expectExact( "behind UDP", udp4, UdfBaseL4OuterPayload_, 15, "af" );
    expectExact( "next header", tcp6, UdfBaseL3Header_, 6, "06" );
    expectExact( "behind IPv6", udp6, UdfBaseL3OuterPayload_, 0, "0035c000" );
    expectExact( "behind TCP over IPv6", tcp6, UdfBaseL4OuterPayload_, 0, "a0a1" );
    expectExact( "behind UDP over IPv6", udp6, UdfBaseL4OuterPayload_, 0, "a0a1" );
    expectExact( "ARP operation", arp, UdfBaseL3Header_, 6, "0001" );
}

TEST_F( UdfPacketsTest, Field_OfAGrePacket_IsWhatIsNamed )
{
    expectExact( "GRE", gre4, UdfBaseL3OuterPayload_, 0, "00000800" );
    expectExact( "GRE header", gre4, UdfBaseL4OuterHeader_, 2, "0800" );
    expectExact( "inner protocol", gre4, UdfBaseL3InnerHeader_, 9, "11" );
    expectExact( "inner ports", gre4, UdfBaseL4InnerHeader_, 0, "0035c000" );
    expectExact( "inner next header", gre6, UdfBaseL3InnerHeader_, 6, "06" );
    expectExact( "inner ports behind a key", gre6, UdfBaseL4InnerHeader_, 0, "0016c000" );
    expectExact( "outer protocol", gre6, UdfBaseL3Header_, 9, "2f" );
    expectExact( "inner options", innerOptions, UdfBaseL4InnerHeader_, 0, "0035c000" );
}

// The parser finds the layers behind tags and options; what counts from a layer's start is exact.
TEST_F( UdfPacketsTest, Field_FromALayersStart_IsWhatIsNamedWhateverStandsBefore )
{
    expectExact( "tag", tagged, UdfBaseL3Header_, 9, "06" );
    expectExact( "tag", tagged, UdfBaseL3OuterPayload_, 0, "0016c000" );
    expectExact( "tags", twiceTagged, UdfBaseL4OuterHeader_, 0, "0016c000" );
    expectExact( "tags", twiceTagged, UdfBaseL4OuterPayload_, 0, "a0a1a2a3" );
    expectExact( "IPv4 options", ip4Options, UdfBaseL4OuterHeader_, 0, "0016c000" );
    expectExact( "IPv4 options", ip4Options, UdfBaseL4OuterPayload_, 0, "a0a1a2a3" );
    expectExact( "extension", ip6Extension, UdfBaseL4OuterHeader_, 0, "0035c000" );
    expectExact( "extension", ip6Extension, UdfBaseL4OuterPayload_, 0, "a0a1a2a3" );
}

// "Behind a header" is a fixed number of bytes from its start.
TEST_F( UdfPacketsTest, Field_BehindAHeaderWithOptions_StartsWithinThem )
{
    expectField(
        { "IPv4 options", ip4Options, UdfBaseL3OuterPayload_, 0, "94040000", "0016c000" } );
    expectField(
        { "IPv4 options", ip4Options, UdfBaseL3OuterPayload_, 4, "0016c000", "00000001" } );
    expectField( { "extension", ip6Extension, UdfBaseL3OuterPayload_, 0, "11020000", "0035c000" } );
    expectField( { "TCP options", tcpOptions, UdfBaseL4OuterPayload_, 0, "0101080a", "a0a1a2a3" } );
    expectField(
        { "TCP options", tcpOptions, UdfBaseL4OuterPayload_, 12, "a0a1a2a3", "acadaeaf" } );
}

// The layer-2 base is the packet's start, so that tags move all that stands behind the addresses.
TEST_F( UdfPacketsTest, Field_BehindTheAddressesOfATaggedPacket_StartsAtTheTag )
{
    expectExact( "tag", tagged, UdfBaseL2Header_, 12, "81000064" );
    expectExact( "tag", tagged, UdfBaseL2Header_, 16, "0800" );
    expectExact( "tags", twiceTagged, UdfBaseL2Header_, 12, "88a800c881000064" );
    expectExact( "source", twiceTagged, UdfBaseL2Header_, 6, "020000000002" );
}

// Of which header the end is not known, nothing is added for it.
TEST_F( UdfPacketsTest, Field_BehindAnUnknownHeader_StartsWithIt )
{
    expectField( { "ARP", arp, UdfBaseL3OuterPayload_, 0, "00010800", "" } );
    expectField( { "ICMP", icmp, UdfBaseL4OuterPayload_, 0, "08000000", "" } );
    expectField( { "GRE", gre4, UdfBaseL4OuterPayload_, 0, "00000800", "" } );
}

} // namespace
} // namespace PacketTest
