// User-defined fields on real packets: for every packet of every capture and every base, where the
// chip finds a field and where its descriptor says it is; and bytes that must be there because a
// protocol says so.

#include "tests/packets/CaptureFile.h"
#include "tests/packets/UdfPackets.h"

#include <algorithm>

namespace PacketTest {
namespace {

class UdfCapturesTest : public UdfPacketsScene
{
  protected:
    void SetUp() override
    {
        if ( capturesFolder().empty() ) {
            GTEST_SKIP() << "no captures: set PELORA_TEST_DATA to the folder whose folder pcap "
                            "holds them";
        }
    }

    static std::vector< std::filesystem::path > captures()
    {
        std::vector< std::filesystem::path > files;
        for ( const auto& entry : std::filesystem::directory_iterator( capturesFolder() ) ) {
            files.push_back( entry.path() );
        }
        std::ranges::sort( files );
        return files;
    }
};

// ---- Every packet, every base ------------------------------------------------------------------

/// By how many bytes the point that a base names lies behind the one where the chip counts from:
/// what stands of options behind the header of fixed size.
std::size_t optionsBefore( const PacketHeaders& headers, UdfOffsetBase base )
{
    return base == PeloraTcam::UdfBaseL3OuterPayload_   ? headers.outer.l3Extra
           : base == PeloraTcam::UdfBaseL4OuterPayload_ ? headers.outer.l4Extra
                                                        : 0;
}

/// How many fields were looked up, by base.
struct Count
{
    unsigned exact = 0;
    unsigned withinOptions = 0;
};

TEST_F( UdfCapturesTest, EveryPacket_EveryBase_DiffersByTheOptionsAndNothingElse )
{
    std::map< unsigned, Count > counts;
    for ( const std::filesystem::path& file : captures() ) {
        for ( const Packet& packet : packetsOf( file ) ) {
            const std::optional< PacketHeaders > headers = headersOf( packet );
            for ( unsigned base = 1; headers && base <= 8; ++base ) {
                const UdfDesc desc =
                    descFor( *headers, static_cast< UdfOffsetBase >( base ), 5, 4 );
                const Position named = namedPoint( *headers, desc.base() );
                if ( !named ) {
                    continue;
                }
                const Position onChip = positionOnChip( *headers, desc );
                ASSERT_TRUE( onChip ) << file << " base " << base;
                const std::size_t options = optionsBefore( *headers, desc.base() );
                ASSERT_EQ( *onChip + options, *named + desc.offset() ) << file << " base " << base;
                ++( options == 0 ? counts[ base ].exact : counts[ base ].withinOptions );
            }
        }
    }
    for ( const unsigned base : { 1U, 2U, 3U, 4U, 7U, 8U } ) {
        EXPECT_GT( counts[ base ].exact, 50U ) << "base " << base;
    }
    for ( const unsigned base : { 4U, 8U } ) {
        EXPECT_GT( counts[ base ].withinOptions, 10U ) << "base " << base;
    }
    for ( const auto& [ base, count ] : counts ) {
        RecordProperty( "base" + std::to_string( base ),
                        std::to_string( count.exact ) + " exact, " +
                            std::to_string( count.withinOptions ) + " within options" );
    }
}

// ---- Known bytes -------------------------------------------------------------------------------

/// Which packets of a capture are meant.
enum class Options
{
    without,
    with,
};

struct KnownBytes
{
    const char* what;
    const char* capture;
    std::uint16_t ethType;
    std::uint8_t ipProto;
    Options options;
    UdfOffsetBase base;
    std::uint8_t offset;
    std::string bytes;
    unsigned packets; ///< how many there are
};

constexpr std::uint16_t ip4 = 0x0800;
constexpr std::uint16_t ip6 = 0x86DD;
constexpr std::uint16_t arp = 0x0806;

// clang-format off
const std::vector< KnownBytes > knownBytes = {
    // ARP, also behind two tags: hardware type 1, protocol type IPv4.
    { "ARP", "bgp-4byte-asn.pcap", arp, 0, Options::without, PeloraTcam::UdfBaseL3Header_, 0, "00010800", 12 },
    { "ARP, tagged", "802.1ad-qinq.pcap", arp, 0, Options::without, PeloraTcam::UdfBaseL3Header_, 0, "00010800", 2 },
    // IPv4: the protocol, and what it carries.
    { "IPv4", "ssh.pcap", ip4, 6, Options::without, PeloraTcam::UdfBaseL3OuterHeader_, 9, "06", 29 },
    { "GRE of ERSPAN", "erspan-type-ii-3.pcap", ip4, 47, Options::without, PeloraTcam::UdfBaseL3OuterPayload_, 2, "88be", 108 },
    { "GRE of WCCP", "wccp-redirect-gre.pcap", ip4, 47, Options::without, PeloraTcam::UdfBaseL3OuterPayload_, 2, "883e", 1 },
    { "GRE", "wccp-redirect-gre.pcap", ip4, 47, Options::without, PeloraTcam::UdfBaseL4OuterHeader_, 2, "883e", 1 },
    // IPv6: the next header, and the ports behind it.
    { "IPv6", "dhcpv6-ia-na.pcap", ip6, 17, Options::without, PeloraTcam::UdfBaseL3Header_, 6, "11", 4 },
    { "NTP over IPv6", "ntp-control.pcap", ip6, 17, Options::without, PeloraTcam::UdfBaseL3Header_, 6, "11", 21 },
    // UDP: the port, and what stands behind the header.
    { "VXLAN port", "vxlan.pcap", ip4, 17, Options::without, PeloraTcam::UdfBaseL4OuterHeader_, 2, "12b5", 10 },
    { "VXLAN flags", "vxlan.pcap", ip4, 17, Options::without, PeloraTcam::UdfBaseL4OuterPayload_, 0, "08000000", 10 },
    { "VXLAN flags, IPv6", "gso-ipv6-vxlan-ipv4.pcap", ip6, 17, Options::without, PeloraTcam::UdfBaseL4OuterPayload_, 0, "08000000", 1 },
    { "Geneve of Ethernet", "geneve.pcap", ip4, 17, Options::without, PeloraTcam::UdfBaseL4OuterPayload_, 2, "6558", 39 },
    // Behind headers with options: the options.
    { "IGMP: router alert", "igmp-v2.pcap", ip4, 2, Options::with, PeloraTcam::UdfBaseL3OuterPayload_, 0, "94040000", 14 },
};

// clang-format on

bool isMeant( const PacketHeaders& headers, const KnownBytes& known )
{
    const LayerHeaders& outer = headers.outer;
    const bool hasOptions = outer.l3Extra + outer.l4Extra != 0;
    return outer.ethType == known.ethType && outer.ipProto == known.ipProto &&
           hasOptions == ( known.options == Options::with );
}

TEST_F( UdfCapturesTest, KnownBytes_OfProtocols_AreWhatTheChipExtracts )
{
    for ( const KnownBytes& known : knownBytes ) {
        SCOPED_TRACE( std::string( known.what ) + " in " + known.capture );
        unsigned packets = 0;
        for ( const Packet& packet : packetsOf( capturesFolder() / known.capture ) ) {
            const std::optional< PacketHeaders > headers = headersOf( packet );
            if ( !headers || !isMeant( *headers, known ) ) {
                continue;
            }
            const UdfDesc desc = descFor( *headers, known.base, known.offset,
                                          static_cast< std::uint8_t >( known.bytes.size() / 2 ) );
            EXPECT_EQ( bytesOnChip( packet, desc ), known.bytes );
            ++packets;
        }
        EXPECT_EQ( packets, known.packets );
    }
}

// All TCP packets of this capture have options; a field behind TCP starts with the first of them:
// maximum segment size in what opens a connection, otherwise padding or a multipath option.
TEST_F( UdfCapturesTest, BehindTcpWithOptions_AreTheOptions )
{
    unsigned packets = 0;
    for ( const Packet& packet : packetsOf( capturesFolder() / "mptcp-v0.pcap" ) ) {
        const std::optional< PacketHeaders > headers = headersOf( packet );
        ASSERT_TRUE( headers );
        EXPECT_GT( headers->outer.l4Extra, 0U );
        const UdfDesc desc = descFor( *headers, PeloraTcam::UdfBaseL4OuterPayload_, 0, 1 );
        EXPECT_THAT( bytesOnChip( packet, desc ), ::testing::AnyOf( "01", "02", "1e" ) );
        ++packets;
    }
    EXPECT_EQ( packets, 264U );
}

// Behind 40 bytes of IPv6 stands the routing header, which names what it stands before.
TEST_F( UdfCapturesTest, BehindIp6WithARoutingHeader_IsThatHeader )
{
    unsigned packets = 0;
    for ( const Packet& packet : packetsOf( capturesFolder() / "ipv6-routing-header.pcap" ) ) {
        const std::optional< PacketHeaders > headers = headersOf( packet );
        ASSERT_TRUE( headers );
        EXPECT_GT( headers->outer.l3Extra, 0U );
        const UdfDesc desc = descFor( *headers, PeloraTcam::UdfBaseL3OuterPayload_, 0, 1 );
        const Packet protocol{ headers->outer.ipProto };
        EXPECT_EQ( bytesOnChip( packet, desc ), bytesAt( protocol, 0, 1 ) );
        ++packets;
    }
    EXPECT_EQ( packets, 4U );
}

// Where untagged packets have the EtherType, tagged ones have the tag.
TEST_F( UdfCapturesTest, EtherTypeFromTheL2Header_OfTaggedPackets_IsTheTag )
{
    unsigned packets = 0;
    for ( const Packet& packet : packetsOf( capturesFolder() / "802.1ad-qinq.pcap" ) ) {
        const std::optional< PacketHeaders > headers = headersOf( packet );
        ASSERT_TRUE( headers );
        EXPECT_EQ( headers->vlanTags, 2U );
        const UdfDesc tag = descFor( *headers, PeloraTcam::UdfBaseL2Header_, 12, 2 );
        EXPECT_THAT( bytesOnChip( packet, tag ), ::testing::AnyOf( "88a8", "8100" ) );
        const UdfDesc ethType = descFor( *headers, PeloraTcam::UdfBaseL2Header_, 20, 2 );
        EXPECT_EQ( bytesOnChip( packet, ethType ), "0806" );
        ++packets;
    }
    EXPECT_EQ( packets, 2U );
}

} // namespace
} // namespace PacketTest
