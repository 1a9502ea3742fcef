#include "sim/packets/UdfExtraction.h"

#include "tests/sim/packets/PathScene.h"

namespace SimPacketTest {
namespace {

constexpr std::optional< bcm_field_entry_t > none;

// The payload of each packet is what an entry looks for behind its header.
const std::string udp4 = "udp 10.0.0.1:1024 > 10.0.0.2:53 payload a1a2a3a4";
const std::string udp6 = "udp [2001:db8::1]:1024 > [2001:db8::2]:53 payload a1a2a3a4";
const std::string arp = "arp 10.0.0.1 > 10.0.0.2";
const std::string other = "ethernet 02:00:00:00:00:01 > 02:00:00:00:00:02 type 0x88b5 "
                          "payload b1b2b3b4";

class UdfScene : public PathScene
{
  public:
    explicit UdfScene( const std::string& profile, const std::string& numbering = "shuffled:1" )
        : PathScene( profile, numbering )
    {}

    /// A field of a UDF module, in bytes, without packet formats.
    bcm_udf_id_t field( const std::string& layer, int start, int width )
    {
        bcm_udf_t udf;
        sdk.bcm_udf_t_init( &udf );
        udf.layerIs( valueOf< bcm_udf_layer_t >( "bcmUdfLayer" + layer ) );
        udf.startIs( 8 * start );
        udf.widthIs( 8 * width );
        bcm_udf_id_t id = 0;
        expectDone( sdk.bcm_udf_create( unit, nullptr, &udf, &id ) );
        return id;
    }

    void attach( bcm_udf_id_t udf, const bcm_udf_pkt_format_info_t& info )
    {
        bcm_udf_pkt_format_info_t copy = info;
        bcm_udf_pkt_format_id_t format = 0;
        expectDone( sdk.bcm_udf_pkt_format_create(
            unit, sdk.numbering().BCM_UDF_PKT_FORMAT_CREATE_O_NONE, &copy, &format ) );
        expectDone( sdk.bcm_udf_pkt_format_add( unit, udf, format ) );
    }

    [[nodiscard]] bcm_udf_pkt_format_info_t anyFormat()
    {
        bcm_udf_pkt_format_info_t info;
        sdk.bcm_udf_pkt_format_info_t_init( &info );
        return info;
    }

    /// A field of a flexible parser, in bytes, in the lowest chunks that the format has.
    bcm_udf_id_t parsed( const std::string& format, unsigned offset, unsigned width )
    {
        const auto number =
            valueOf< bcm_udf_abstract_pkt_format_t >( "bcmUdfAbstractPktFormat" + format );
        const unsigned first = format == "UnknownL3" ? 2 : 0; // The others are unavailable.
        const unsigned chunks = ( width + 1 ) / 2;
        bcm_udf_id_t id = 0;
        if ( chip.profile().chip == Sim::ChipKind::hsdk ) {
            bcm_udf_multi_chunk_info_t info;
            sdk.bcm_udf_multi_chunk_info_t_init( &info );
            info.offsetIs( 8 * offset );
            info.abstract_pkt_formatIs( number );
            for ( unsigned chunk = first; chunk < first + chunks; ++chunk ) {
                sdk.BCM_UDF_CBMP_CHUNK_ADD( info.two_byte_chunk_bmap(),
                                            static_cast< int >( chunk ) );
            }
            expectDone( sdk.bcm_udf_multi_chunk_create( unit, nullptr, &info, &id ) );
        } else {
            bcm_udf_chunk_info_t info;
            sdk.bcm_udf_chunk_info_t_init( &info );
            info.offsetIs( 8 * offset );
            info.widthIs( 8 * width );
            info.chunk_bmapIs( ( ( 1U << chunks ) - 1 ) << first );
            info.abstract_pkt_formatIs( number );
            expectDone( sdk.bcm_udf_chunk_create( unit, nullptr, &info, &id ) );
        }
        return id;
    }

    /// An entry that asks for these bytes of the field.
    bcm_field_entry_t
    asking( bcm_udf_id_t udf, const std::string& data, const std::string& mask = "" )
    {
        if ( group_ == 0 ) {
            group_ = group();
        }
        Bytes wanted = bytesOf( data );
        Bytes counting = mask.empty() ? Bytes( wanted.size(), 0xFF ) : bytesOf( mask );
        const bcm_field_entry_t entry = made( group_, 1, {} );
        expectDone( sdk.bcm_field_qualify_udf( unit, entry, udf,
                                               static_cast< int >( wanted.size() ), wanted.data(),
                                               counting.data() ) );
        install( entry );
        return entry;
    }

  private:
    bcm_field_group_t group_ = 0;
};

// ---- The UDF module --------------------------------------------------------------------------

struct LayerCase
{
    std::string layer;
    int start;
    std::string data;
    std::string hit;
    std::string miss;
};

TEST( UdfExtractionTest, Find_FieldsOfEachLayer_StandBehindTheLayersStart )
{
    const std::string inVxlan = " in vxlan 5000 10.1.1.1 > 10.2.2.2";
    const LayerCase cases[] = {
        // Source MAC; EtherType behind a tag; TTL; destination address of IPv6.
        { "L2Header", 6, "020000000009", arp + " mac 02:00:00:00:00:09 > 02:00:00:00:00:08", arp },
        { "L2Header", 16, "0800", udp4 + " vlan 5", udp4 },
        { "L3OuterHeader", 8, "09", udp4 + " ttl 9 vlan 1 vlan 2", udp4 + " ttl 8" },
        { "L3OuterHeader", 24, "20010db8", udp6, udp4 },
        // The destination port behind options; the payload.
        { "L4OuterHeader", 2, "0035", udp4 + " options 94040000", udp4 + inVxlan },
        { "L4OuterHeader", 8, "a1a2a3a4", udp6 + " vlan 1", udp4 + " fragment 8" },
        // VXLAN's network id.
        { "L4OuterHeader", 12, "001388", udp4 + inVxlan, udp4 },
        { "L3InnerHeader", 12, "0a000001", udp4 + inVxlan, udp4 },
        { "L4InnerHeader", 8, "a1a2a3a4", udp6 + " in gre 10.1.1.1 > 10.2.2.2", udp6 },
    };
    for ( const LayerCase& one : cases ) {
        SCOPED_TRACE( one.layer + " " + one.data );
        UdfScene scene( "sdk6-udf" );
        const bcm_udf_id_t udf =
            scene.field( one.layer, one.start, static_cast< int >( one.data.size() / 2 ) );
        scene.attach( udf, scene.anyFormat() );
        const bcm_field_entry_t entry = scene.asking( udf, one.data );
        EXPECT_EQ( scene.found( one.hit ), entry );
        EXPECT_EQ( scene.found( one.miss ), none );
    }
}

TEST( UdfExtractionTest, Find_PacketFormats_ExtractOfThePacketsThatOneDescribes )
{
    const std::string inGre = " in gre 10.1.1.1 > 10.2.2.2";
    const std::string inIp = " in ip 10.1.1.1 > 10.2.2.2";
    const std::string snap = "hex 020000000002 020000000001 0018 aaaa03 000000 0800 "
                             "45000014 00000000 40fd0000 0a000001 0a000002";
    using Info = bcm_udf_pkt_format_info_t;

    struct FormatCase
    {
        std::string what;
        std::function< void( Info&, const Sim::SdkNumbering& ) > change;
        std::string hit;
        std::string miss;
    };

    const FormatCase cases[] = {
        { "EtherType",
          []( Info& info, const auto& ) {
              info.ethertypeIs( 0x86DD );
              info.ethertype_maskIs( 0xFFFF );
          },
          udp6, udp4 },
        { "protocol",
          []( Info& info, const auto& ) {
              info.ip_protocolIs( 17 );
              info.ip_protocol_maskIs( 0xFF );
          },
          udp4, "tcp 10.0.0.1:1 > 10.0.0.2:2" },
        { "outer IPv4",
          []( Info& info, const auto& numbers ) { info.outer_ipIs( numbers.bcmUdfPktFormatIp4 ); },
          udp4, udp6 },
        { "inner IPv6",
          []( Info& info, const auto& numbers ) { info.inner_ipIs( numbers.bcmUdfPktFormatIp6 ); },
          udp6 + inIp, udp4 + inIp },
        { "GRE",
          []( Info& info, const auto& numbers ) {
              info.tunnelIs( numbers.bcmUdfPktFormatTunnelGre );
          },
          udp4 + inGre, udp4 + inIp },
        { "Ethernet II",
          []( Info& info, const auto& numbers ) { info.l2Is( numbers.bcmUdfPktFormatL2EthII ); },
          udp4, snap },
    };
    for ( const FormatCase& one : cases ) {
        SCOPED_TRACE( one.what );
        UdfScene scene( "sdk6-udf" );
        const bcm_udf_id_t udf = scene.field( "L2Header", 0, 1 );
        bcm_udf_pkt_format_info_t info = scene.anyFormat();
        one.change( info, scene.sdk.numbering() );
        scene.attach( udf, info );
        const bcm_field_entry_t entry = scene.asking( udf, "02" );
        EXPECT_EQ( scene.found( one.hit ), entry );
        EXPECT_EQ( scene.found( one.miss ), none );
    }
}

TEST( UdfExtractionTest, Find_SeveralPacketFormatsOrNone_OneMustDescribeThePacket )
{
    UdfScene scene( "sdk6-udf" );
    const bcm_udf_id_t udf = scene.field( "L4OuterHeader", 2, 2 );
    const bcm_field_entry_t entry = scene.asking( udf, "0035" );
    EXPECT_EQ( scene.found( udp4 ), none );
    for ( const auto& [ etherType, packet ] : { std::pair( std::uint16_t{ 0x0800 }, udp4 ),
                                                std::pair( std::uint16_t{ 0x86DD }, udp6 ) } ) {
        EXPECT_EQ( scene.found( packet ), none );
        bcm_udf_pkt_format_info_t info = scene.anyFormat();
        info.ethertypeIs( etherType );
        info.ethertype_maskIs( 0xFFFF );
        scene.attach( udf, info );
        EXPECT_EQ( scene.found( packet ), entry );
    }
    EXPECT_EQ( scene.found( udp4 ), entry );
}

TEST( UdfExtractionTest, Find_MaskedBytesAndFieldsThatAreAbsent_CountAsAsked )
{
    UdfScene scene( "sdk6-udf" );
    const bcm_udf_id_t udf = scene.field( "L4OuterHeader", 8, 4 );
    scene.attach( udf, scene.anyFormat() );
    const bcm_field_entry_t zero = scene.asking( udf, "00000000", "00000001" );
    const bcm_field_entry_t nothing = scene.asking( udf, "ff", "00" );
    EXPECT_EQ( scene.found( udp4 ), zero );
    EXPECT_EQ( scene.found( "udp 10.0.0.1:1024 > 10.0.0.2:53 payload a1a2a3a5" ), nothing );
    EXPECT_EQ( scene.found( arp ), nothing ) << "absent, and zeros are asked for";
    EXPECT_EQ( scene.found( "udp 10.0.0.1:1024 > 10.0.0.2:53 payload 000000" ), nothing )
        << "one byte is missing";
}

// ---- Flexible parsers ------------------------------------------------------------------------

class FlexibleParserTest : public testing::TestWithParam< const char* >
{
  protected:
    UdfScene scene{ GetParam() };
};

INSTANTIATE_TEST_SUITE_P( Chips,
                          FlexibleParserTest,
                          testing::Values( "sdk6-flex", "hsdk" ),
                          []( const auto& test ) {
                              return std::string( test.index == 0 ? "sdk6" : "hsdk" );
                          } );

TEST_P( FlexibleParserTest, Find_FieldsOfEachFormat_StandBehindLayer3AndInThatFormatOnly )
{
    const std::string withOptions = udp4 + " options 94040000";

    struct FormatCase
    {
        std::string format;
        unsigned offset;
        std::string data;
        std::string hit;
        std::string miss;
    };

    const FormatCase cases[] = {
        { "L3Ipv4", 22, "0035", udp4 + " vlan 3", udp6 },
        { "L3Ipv4", 20, "9404", withOptions, udp4 },
        { "L3Ipv4WithoutOptions", 28, "a1a2a3a4", udp4, withOptions },
        { "L3Ipv6", 48, "a1a2a3a4", udp6 + " vlan 3 vlan 4", udp4 },
        { "Arp", 6, "0002", arp + " reply", arp },
        { "KnownNonIp", 6, "0001", arp, other },
        { "UnknownL3", 0, "b1b2", other, arp },
    };
    for ( const FormatCase& one : cases ) {
        SCOPED_TRACE( one.format );
        const bcm_udf_id_t udf =
            scene.parsed( one.format, one.offset, static_cast< unsigned >( one.data.size() / 2 ) );
        const bcm_field_entry_t entry = scene.asking( udf, one.data );
        EXPECT_EQ( scene.found( one.hit ), entry );
        EXPECT_EQ( scene.found( one.miss ), none );
        scene.destroy( entry );
        PathScene::expectDone( scene.sdk.bcm_udf_destroy( unit, udf ) );
    }
}

TEST_P( FlexibleParserTest, Find_PacketThatEndsWithinTheField_IsNotHit )
{
    const bcm_udf_id_t udf = scene.parsed( "L3Ipv4", 28, 4 );
    const bcm_field_entry_t entry = scene.asking( udf, "a1a2", "ffff" );
    EXPECT_EQ( scene.found( udp4 ), entry );
    EXPECT_EQ( scene.found( "udp 10.0.0.1:1024 > 10.0.0.2:53 payload a1a2a3" ), none );
}

} // namespace
} // namespace SimPacketTest
