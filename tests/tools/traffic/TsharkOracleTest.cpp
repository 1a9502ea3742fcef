// What is read of packets, against what tshark says of them.

#include "sim/packets/PacketDescription.h"
#include "tests/tools/traffic/Captures.h"
#include "tests/tools/traffic/ComparedFields.h"
#include "tools/traffic/Capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <unistd.h>

namespace TrafficTest {
namespace {

using ::testing::Each;
using ::testing::IsEmpty;

/// Whether tshark reads on where no tunnel is: behind an ICMP error, which quotes a packet, and in
/// what a router redirects to a web cache. Then only the first values of a field are compared.
bool isReadFurther( const Sim::PacketHeaders& headers )
{
    constexpr std::uint16_t webCache = 0x883E;
    const auto isError = []( const Sim::LayerHeaders& layer ) {
        const bool isIcmp4 = layer.protocol == 1 && ( layer.type == 3 || layer.type == 11 );
        const bool isIcmp6 = layer.protocol == 58 && layer.type < 128;
        return layer.hasTypeCode && ( isIcmp4 || isIcmp6 );
    };
    return isError( headers.outer ) || isError( headers.inner ) ||
           headers.tunnel.protocol == webCache;
}

/// How often fields were compared, by their names.
using Counts = std::map< std::string, unsigned >;

class TsharkOracleTest : public ::testing::Test
{
  protected:
    /// Compares the packets of a capture.
    void compare( const std::filesystem::path& file )
    {
        SCOPED_TRACE( file );
        const std::vector< PacketFields > expected = tsharkFields( file, comparedFieldNames() );
        Tool::Capture capture( file );
        Sim::Packet packet;
        std::size_t number = 0;
        while ( capture.next( packet ) ) {
            ASSERT_LT( number, expected.size() );
            SCOPED_TRACE( "packet " + std::to_string( number + 1 ) );
            comparePacket( { packet.bytes, Sim::readHeaders( packet.bytes ) }, expected[ number ] );
            ++number;
        }
        EXPECT_EQ( number, expected.size() );
        packets_ += number;
    }

    [[nodiscard]] const Counts& counts() const { return counts_; }

    [[nodiscard]] std::size_t packets() const { return packets_; }

    [[nodiscard]] unsigned readFurther() const { return readFurther_; }

  private:
    void comparePacket( const ReadPacket& packet, const PacketFields& expected )
    {
        const bool further = isReadFurther( packet.headers );
        readFurther_ += further ? 1 : 0;
        for ( std::size_t i = 0; i < expected.size(); ++i ) {
            const ComparedField& field = comparedFields()[ i ];
            const FieldValues read = field.valuesIn( packet );
            FieldValues said;
            std::ranges::transform( expected[ i ], std::back_inserter( said ), comparable );
            if ( further ) {
                said.resize( std::min( said.size(), read.size() ) );
            }
            EXPECT_EQ( read, said ) << field.name;
            counts_[ field.name ] += static_cast< unsigned >( said.size() );
        }
    }

    Counts counts_;
    std::size_t packets_ = 0;
    unsigned readFurther_ = 0;
};

TEST_F( TsharkOracleTest, ReadHeaders_OfCaptures_AgreeWithTshark )
{
    if ( capturesFolder().empty() ) {
        GTEST_SKIP() << "PELORA_TEST_DATA is not set: there are no captures";
    }
    for ( const std::filesystem::path& file : ethernetCaptures() ) {
        compare( file );
    }
    EXPECT_GT( packets(), 1500U );
    EXPECT_LT( readFurther(), 40U );
    for ( const char* field :
          { "eth.dst", "vlan.id", "llc.dsap", "mpls.label", "arp.opcode", "ip.ttl",
            "ip.frag_offset", "ipv6.nxt", "ipv6.routing.type", "tcp.flags", "udp.dstport",
            "icmp.type", "icmpv6.type", "igmp.type", "gre.proto", "vxlan.vni", "geneve.vni" } ) {
        EXPECT_GT( counts().at( field ), 0U ) << field;
    }
}

// ---- Packets made of descriptions --------------------------------------------------------------

const std::vector< std::string > descriptions{
    "tcp 10.0.0.1:1024 > 192.0.2.1:80 flags syn,ack ttl 1 dscp 46 ecn 1 window 100 id 7 df",
    "tcp 10.0.0.1:1024 > 192.0.2.1:80 flags 0x812 payload 0102030405 vlan 10 prio 5",
    "tcp [2001:db8::1]:1024 > [2001:db8::2]:80 flow 0x12345 length 1500",
    "udp 10.0.0.1:1024 > 224.0.0.5:5000 vlan 10 vlan 20 length 200",
    "udp [2001:db8::1]:1024 > [ff02::5]:5000 payload ff",
    "udp 10.0.0.1:1024 > 10.0.0.2:5000 options 94040000 payload 0102",
    "sctp 10.0.0.1:1024 > 10.0.0.2:5000",
    "icmp 10.0.0.1 > 10.0.0.2 type 8 code 0 payload 616263",
    "icmp6 2001:db8::1 > 2001:db8::2 payload 0102",
    "ip 10.0.0.1 > 10.0.0.2 protocol 253 payload 00",
    "ip 2001:db8::1 > 2001:db8::2 protocol 59",
    "arp 10.0.0.1 > 10.0.0.2 request length 60",
    "arp 10.0.0.1 > 10.0.0.2 reply mac 02:00:00:00:00:09 > 02:00:00:00:00:08",
    "ethernet 02:00:00:00:00:01 > 02:00:00:00:00:02 type 0x88b5 payload 0102 vlan 4095 prio 7",
    "tcp 10.0.0.1:1 > 10.0.0.2:2 mpls 100,200",
    "tcp [2001:db8::1]:1 > [2001:db8::2]:2 mpls 16,17,18,19 vlan 5",
    "udp 10.0.0.1:1 > 10.0.0.2:2 fragment 0+ id 5 length 100",
    "udp 10.0.0.1:1 > 10.0.0.2:2 fragment 1480 id 5 length 100",
    "udp [2001:db8::1]:1 > [2001:db8::2]:2 fragment 0+ id 70000 length 100",
    "udp [2001:db8::1]:1 > [2001:db8::2]:2 fragment 1480+ id 70000 length 100",
    "tcp 10.0.0.1:1 > 10.0.0.2:2 vlan 3 in vxlan 5000 10.1.1.1 > 10.2.2.2 ttl 9",
    "tcp [2001:db8::1]:1 > [2001:db8::2]:2 in vxlan 5000 2001:db8:1::1 > 2001:db8:2::1 dscp 3",
    "arp 10.0.0.1 > 10.0.0.2 in vxlan 16777215 10.1.1.1 > 10.2.2.2 vlan 10",
    "icmp 10.0.0.1 > 10.0.0.2 in geneve 70000 10.1.1.1 > 10.2.2.2",
    "icmp6 2001:db8::1 > 2001:db8::2 in geneve 70000 2001:db8:1::1 > 2001:db8:2::1",
    "tcp 10.0.0.1:1 > 10.0.0.2:2 in gre 10.1.1.1 > 10.2.2.2 key 77",
    "tcp [2001:db8::1]:1 > [2001:db8::2]:2 in gre 10.1.1.1 > 10.2.2.2",
    "udp 10.0.0.1:1 > 10.0.0.2:2 vlan 3 in gre 2001:db8:1::1 > 2001:db8:2::1 key 0xffffffff",
    "udp 10.0.0.1:1 > 10.0.0.2:2 mpls 55 in gre 10.1.1.1 > 10.2.2.2",
    "tcp 10.0.0.1:1 > 10.0.0.2:2 in ip 10.1.1.1 > 10.2.2.2",
    "tcp [2001:db8::1]:1 > [2001:db8::2]:2 in ip 10.1.1.1 > 10.2.2.2",
    "tcp 10.0.0.1:1 > 10.0.0.2:2 in ip 2001:db8:1::1 > 2001:db8:2::1",
    "udp [2001:db8::1]:1 > [2001:db8::2]:2 in ip 2001:db8:1::1 > 2001:db8:2::1",
};

class TsharkDescriptionsTest : public TsharkOracleTest
{
  protected:
    static std::filesystem::path captureOfDescriptions()
    {
        std::vector< Sim::Packet > packets;
        for ( const std::string& description : descriptions ) {
            packets.push_back( Sim::packetFromDescription( description ) );
        }
        const std::filesystem::path file =
            std::filesystem::path( ::testing::TempDir() ) /
            ( "descriptions-" + std::to_string( ::getpid() ) + ".pcap" );
        writeCapture( file, packets );
        return file;
    }

    void SetUp() override { file_ = captureOfDescriptions(); }

    void TearDown() override { std::filesystem::remove( file_ ); }

    [[nodiscard]] const std::filesystem::path& file() const { return file_; }

  private:
    std::filesystem::path file_;
};

TEST_F( TsharkDescriptionsTest, ReadHeaders_OfDescriptions_AgreeWithTshark )
{
    compare( file() );
    EXPECT_EQ( packets(), descriptions.size() );
    EXPECT_EQ( readFurther(), 0U );
    for ( const auto& [ field, count ] : counts() ) {
        const bool isOfNoDescription = field == "eth.len" || field.starts_with( "llc." ) ||
                                       field == "igmp.type" || field.starts_with( "ipv6.routing." );
        EXPECT_EQ( count == 0, isOfNoDescription ) << field;
    }
}

TEST_F( TsharkDescriptionsTest, Checksums_OfDescriptions_AreRight )
{
    const std::vector< std::string > fields{ "ip.checksum.status",     "tcp.checksum.status",
                                             "udp.checksum.status",    "icmp.checksum.status",
                                             "icmpv6.checksum.status", "sctp.checksum.status" };
    std::vector< unsigned > right( fields.size() );
    const std::vector< PacketFields > packets = tsharkFields( file(), fields );
    ASSERT_EQ( packets.size(), descriptions.size() );
    for ( std::size_t packet = 0; packet < packets.size(); ++packet ) {
        for ( std::size_t field = 0; field < fields.size(); ++field ) {
            for ( const std::string& status : packets[ packet ][ field ] ) {
                EXPECT_NE( comparable( status ), "0" )
                    << fields[ field ] << " of " << descriptions[ packet ];
                right[ field ] += comparable( status ) == "1" ? 1 : 0;
            }
        }
    }
    for ( std::size_t field = 0; field < fields.size(); ++field ) {
        EXPECT_GT( right[ field ], 0U ) << fields[ field ];
    }
}

// tshark says so where a length is greater than what there is, or smaller than what it has to be.
TEST_F( TsharkDescriptionsTest, Packets_OfDescriptions_HaveNoMalformedHeaders )
{
    for ( const PacketFields& packet : tsharkFields( file(), { "_ws.malformed", "_ws.short" } ) ) {
        EXPECT_THAT( packet, Each( IsEmpty() ) );
    }
}

} // namespace
} // namespace TrafficTest
