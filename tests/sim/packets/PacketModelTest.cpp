// Random entries and packets: what is found is what comparing every entry finds, however entries
// came and went, under every numbering and on every kind of chip.

#include "tests/sim/packets/PathScene.h"

#include <algorithm>
#include <random>
#include <thread>

namespace SimPacketTest {
namespace {

/// Random choices from a seed: the same on every machine.
class Choices
{
  public:
    explicit Choices( std::uint32_t seed )
        : engine_( seed )
    {}

    std::uint32_t below( std::size_t count )
    {
        return static_cast< std::uint32_t >( engine_() % count );
    }

    bool oneIn( std::uint32_t count ) { return below( count ) == 0; }

    template< class Container >
    const auto& of( const Container& container )
    {
        return container[ below( std::size( container ) ) ];
    }

  private:
    std::mt19937 engine_;
};

/// A few values a field, so that entries and packets meet.
const std::vector< std::string > packetTexts()
{
    std::vector< std::string > all = { "arp 10.0.0.1 > 10.0.0.2",
                                       "arp 10.0.0.2 > 10.0.0.1 reply",
                                       "icmp 10.0.0.1 > 10.0.0.2 type 3 code 1",
                                       "icmp6 2001:db8::1 > 2001:db8::2 ttl 255",
                                       "hex 020000000002 020000000001 0003 424203",
                                       "hex 02" };
    for ( const char* addresses :
          { "10.0.0.1:80 > 10.0.0.2:443", "10.0.0.2:81 > 10.0.1.3:80",
            "[2001:db8::1]:80 > [2001:db8::2]:443", "[2001:db8::2]:1024 > [2001:db9::1]:80" } ) {
        for ( const char* protocol : { "tcp ", "udp " } ) {
            for ( const char* rest :
                  { "", " ttl 1 vlan 10", " dscp 46 vlan 10 vlan 20", " fragment 8",
                    " mpls 100 ttl 2", " in vxlan 5000 10.1.1.1 > 10.2.2.2",
                    " in gre 2001:db8::9 > 2001:db8::2", " length 1000", " payload a1a2a3a4" } ) {
                all.push_back( protocol + std::string( addresses ) + rest );
            }
        }
    }
    return all;
}

class ModelScene : public PathScene
{
  public:
    ModelScene( const std::string& profile, const std::string& numbering, std::uint32_t seed )
        : PathScene( profile, numbering )
        , choices( seed )
        , texts( packetTexts() )
    {
        for ( const auto& [ stage, type ] :
              { std::pair( "Ingress", "" ), std::pair( "Ingress", "Ipv4" ),
                std::pair( "Lookup", "" ) } ) {
            GroupOptions options{ .stage = stage, .priority = static_cast< int >( groups.size() ) };
            options.packetType = type;
            groups.push_back( group( options ) );
        }
        for ( const char* type : { "L4SrcPort", "L4DstPort", "OuterVlan", "PacketLength" } ) {
            ranges.push_back( range( type, 10, 80 ) );
            ranges.push_back( range( type, 81, 1000 ) );
        }
        udf = chip.udfModule() != nullptr ? moduleField() : parserField();
        if ( chip.profile().field.compressionEntries != 0 ) {
            addClass( number( "IpProtocol", 6, 0xFF ), 245, 3 );
            addClass( number( "SrcIp", 0x0A000000, 0xFF000000 ), 243, 5 );
            hasClasses = true;
        }
    }

    Asked randomNumber()
    {
        static const char* const names[] = {
            "DstIp",        "SrcIp",       "L4DstPort",    "L4SrcPort",      "IpProtocol",
            "EtherType",    "Ttl",         "DSCP",         "OuterVlanId",    "InnerVlanId",
            "InnerSrcIp",   "InnerDstIp",  "TcpControl",   "VxlanNetworkId", "MplsLabel",
            "PacketLength", "InPort",      "Vrf",          "Ip6HopLimit",    "InnerL4DstPort",
            "IcmpTypeCode", "GreProtocol", "Ip6NextHeader" };
        static const std::uint32_t values[] = {
            0, 1, 2, 6, 10, 17, 80, 443, 1024, 5000, 0x0800, 0x0A000001, 0x0A000002, 0x86DD };
        static const std::uint32_t masks[] = { 0,      1,    2,    0xFF,       0xFFFFFFFF,
                                               0xFFFF, 0x0F, 0xF0, 0xFFFFFF00, 0x0000FF00 };
        return number( choices.of( names ), choices.of( values ), choices.of( masks ) );
    }

    Asked randomAsked()
    {
        static const std::pair< const char*, const char* > enumerators[] = {
            { "IpType", "bcmFieldIpTypeIpv4Any" },     { "IpType", "bcmFieldIpTypeIpv6" },
            { "IpType", "bcmFieldIpTypeNonIp" },       { "InnerIpType", "bcmFieldIpTypeIpv4Any" },
            { "IpFrag", "bcmFieldIpFragNonOrFirst" },  { "L2Format", "bcmFieldL2FormatEthII" },
            { "TunnelType", "bcmFieldTunnelTypeGre" }, { "PktType", "bcmFieldPktTypeOam" },
            { "DropReason", "bcmFieldDropReasonNone" } };
        static const char* const bytesOf6[] = { "20010db8000000000000000000000001",
                                                "20010db8000000000000000000000002" };
        static const char* const masksOf6[] = {
            "ffffffffffffffffffffffffffffffff", "ffffffff000000000000000000000000",
            "00000000000000000000000000000003", "00000000000000000000000000000000" };
        switch ( choices.below( 8 ) ) {
        case 0: {
            const auto& [ qualifier, enumerator ] = choices.of( enumerators );
            return named( qualifier, enumerator );
        }
        case 1:
            return bytes( choices.oneIn( 2 ) ? "DstIp6" : "SrcIp6", choices.of( bytesOf6 ),
                          choices.of( masksOf6 ) );
        case 2:
            return inPorts( { 1, 2 },
                            choices.oneIn( 2 ) ? std::vector{ 1, 2, 3 } : std::vector{ 0, 2 } );
        case 3:
            return bytes( "DstMac", "020000000002", "0300000000ff" );
        default:
            return randomNumber();
        }
    }

    void askAtRandom( bcm_field_entry_t entry )
    {
        for ( std::uint32_t count = 1 + choices.below( 3 ); count != 0; --count ) {
            ask( entry, { randomAsked() } );
        }
        if ( choices.oneIn( 4 ) ) {
            askRange( entry, choices.of( ranges ), choices.oneIn( 2 ) );
        }
        if ( choices.oneIn( 6 ) ) {
            std::uint8_t data[] = { 0xA1, 0xA2 };
            std::uint8_t mask[] = { 0xFF,
                                    static_cast< std::uint8_t >( choices.oneIn( 2 ) ? 0 : 2 ) };
            expectDone( sdk.bcm_field_qualify_udf( unit, entry, udf, 2, data, mask ) );
        }
        if ( hasClasses && choices.oneIn( 6 ) ) {
            bcm_field_src_class_t data;
            bcm_field_src_class_t mask;
            data.intf_class_l3 = 3;
            data.src_class_field = 5;
            ( choices.oneIn( 2 ) ? mask.intf_class_l3 : mask.src_class_field ) = 0xFFFF;
            expectDone( sdk.bcm_field_qualify_SrcClass( unit, entry, &data, &mask ) );
        }
        expectDone(
            sdk.bcm_field_entry_prio_set( unit, entry, static_cast< int >( choices.below( 5 ) ) ) );
    }

    /// Does something to the entries.
    void step()
    {
        if ( entries.size() < 40 || choices.oneIn( 4 ) ) {
            entries.push_back( made( choices.of( groups ), 0, {} ) );
            askAtRandom( entries.back() );
        }
        const std::uint32_t position = choices.below( entries.size() );
        const bcm_field_entry_t entry = entries[ position ];
        switch ( choices.below( 6 ) ) {
        case 0:
            expectDone( sdk.bcm_field_entry_destroy( unit, entry ) );
            entries.erase( entries.begin() + position );
            break;
        case 1:
            if ( chip.field().entries().isInstalled( entry ) ) {
                remove( entry );
            }
            break;
        case 2:
            askAtRandom( entry );
            break;
        default:
            install( entry );
            break;
        }
    }

    Sim::Packet randomPacket()
    {
        Sim::Packet packet = Sim::packetFromDescription( choices.of( texts ) );
        packet.port = choices.below( 4 );
        if ( choices.oneIn( 3 ) ) {
            packet.given[ qualifier( "Vrf" ) ] = choices.below( 3 );
        }
        if ( choices.oneIn( 8 ) ) {
            packet.given[ qualifier( "L4DstPort" ) ] = 80;
        }
        if ( choices.oneIn( 8 ) ) {
            packet.given[ qualifier( "PktType" ) ] =
                sdk.numbering().valueOf( "bcmFieldPktTypeOam" ).value();
        }
        return packet;
    }

    /// The entry of a group that wins when all are compared; 0 if none matches.
    bcm_field_entry_t best( bcm_field_group_t group, const Sim::Packet& packet )
    {
        const Sim::PacketHeaders headers = Sim::readHeaders( packet.bytes );
        const Sim::PacketFindings findings = path.findingsOf( packet, headers );
        const Sim::PacketView view{ sdk.numbering(), packet, headers, findings };
        bcm_field_entry_t winner = 0;
        int priority = -1;
        for ( const auto& [ id, entry ] : chip.field().entries().state().entries ) {
            const Sim::FieldEntry& held = entry.inHardware();
            if ( entry.hardware != Sim::FieldEntry::Hardware::none && entry.group == group &&
                 held.priority > priority &&
                 Sim::mismatchesOf( held.criteria, chip, view ).empty() ) {
                winner = id;
                priority = held.priority;
            }
        }
        return winner;
    }

    Choices choices;
    std::vector< std::string > texts;
    std::vector< bcm_field_group_t > groups;
    std::vector< bcm_field_entry_t > entries;
    std::vector< bcm_range_t > ranges;
    bcm_udf_id_t udf = 0;
    bool hasClasses = false;

  private:
    void addClass( const Asked& asked, bcm_field_group_t table, std::uint32_t classId )
    {
        const bcm_field_entry_t entry = made( table, 1, { asked } );
        act( entry, "ClassSet", classId );
        install( entry );
    }

    /// The first two bytes behind the header of UDP, of all packets.
    bcm_udf_id_t moduleField()
    {
        bcm_udf_t udfOfModule;
        udfOfModule.layerIs( sdk.numbering().bcmUdfLayerL4OuterHeader );
        udfOfModule.startIs( 64 );
        udfOfModule.widthIs( 16 );
        bcm_udf_id_t id = 0;
        expectDone( sdk.bcm_udf_create( unit, nullptr, &udfOfModule, &id ) );
        bcm_udf_pkt_format_info_t info;
        bcm_udf_pkt_format_id_t format = 0;
        expectDone( sdk.bcm_udf_pkt_format_create(
            unit, sdk.numbering().BCM_UDF_PKT_FORMAT_CREATE_O_NONE, &info, &format ) );
        expectDone( sdk.bcm_udf_pkt_format_add( unit, id, format ) );
        return id;
    }

    /// The same of IPv4.
    bcm_udf_id_t parserField()
    {
        bcm_udf_id_t id = 0;
        if ( chip.profile().chip == Sim::ChipKind::hsdk ) {
            bcm_udf_multi_chunk_info_t info;
            info.offsetIs( 28 * 8 );
            info.abstract_pkt_formatIs( sdk.numbering().bcmUdfAbstractPktFormatL3Ipv4 );
            sdk.BCM_UDF_CBMP_CHUNK_ADD( info.two_byte_chunk_bmap(), 0 );
            expectDone( sdk.bcm_udf_multi_chunk_create( unit, nullptr, &info, &id ) );
        } else {
            bcm_udf_chunk_info_t info;
            info.offsetIs( 28 * 8 );
            info.widthIs( 16 );
            info.chunk_bmapIs( 1 );
            info.abstract_pkt_formatIs( sdk.numbering().bcmUdfAbstractPktFormatL3Ipv4 );
            expectDone( sdk.bcm_udf_chunk_create( unit, nullptr, &info, &id ) );
        }
        return id;
    }
};

struct ModelCase
{
    const char* profile;
    const char* numbering;
};

class PacketModelTest : public testing::TestWithParam< ModelCase >
{};

INSTANTIATE_TEST_SUITE_P( Chips,
                          PacketModelTest,
                          testing::Values( ModelCase{ "sdk6-udf", "default" },
                                           ModelCase{ "sdk6-udf", "shuffled:1" },
                                           ModelCase{ "sdk6-flex", "shuffled:2" },
                                           ModelCase{ "hsdk", "shuffled:3" } ),
                          []( const auto& test ) {
                              return "chip" + std::to_string( test.index );
                          } );

TEST_P( PacketModelTest, Find_RandomEntriesThatComeAndGo_IsTheBestOfAllThatMatch )
{
    ModelScene scene( GetParam().profile, GetParam().numbering, 20 );
    unsigned hits = 0;
    unsigned misses = 0;
    for ( unsigned round = 0; round < 3000; ++round ) {
        scene.step();
        const Sim::Packet packet = scene.randomPacket();
        for ( const Sim::GroupVerdict& hit : scene.path.find( packet ) ) {
            const bcm_field_entry_t best = scene.best( hit.group, packet );
            ASSERT_EQ( hit.entry.value_or( 0 ), best ) << "round " << round;
            ++( best != 0 ? hits : misses );
        }
    }
    EXPECT_GT( hits, 500U );
    EXPECT_GT( misses, 100U );
    RecordProperty( "hits", std::to_string( hits ) );
    RecordProperty( "misses", std::to_string( misses ) );
}

TEST_P( PacketModelTest, Find_ChipThatGoesBackToAnEarlierState_FindsAsThen )
{
    ModelScene scene( GetParam().profile, GetParam().numbering, 21 );
    for ( unsigned round = 0; round < 200; ++round ) {
        scene.step();
    }
    std::vector< Sim::Packet > packets;
    std::vector< std::vector< Sim::GroupVerdict > > before;
    for ( unsigned packet = 0; packet < 200; ++packet ) {
        packets.push_back( scene.randomPacket() );
        before.push_back( scene.path.find( packets.back() ) );
    }
    const Sim::SimulatedChip::State state = scene.chip.state();
    for ( unsigned round = 0; round < 200; ++round ) {
        scene.step();
    }
    scene.chip.stateIs( state );
    for ( std::size_t packet = 0; packet < packets.size(); ++packet ) {
        ASSERT_EQ( scene.path.find( packets[ packet ] ), before[ packet ] ) << packet;
    }
}

TEST_P( PacketModelTest, Find_FourThreadsAtOnce_FindWhatOneDoes )
{
    ModelScene scene( GetParam().profile, GetParam().numbering, 22 );
    for ( unsigned round = 0; round < 300; ++round ) {
        scene.step();
    }
    std::vector< Sim::Packet > packets;
    std::vector< std::vector< Sim::GroupVerdict > > alone;
    for ( unsigned packet = 0; packet < 500; ++packet ) {
        packets.push_back( scene.randomPacket() );
        alone.push_back( scene.path.find( packets.back() ) );
    }
    std::vector< std::vector< std::vector< Sim::GroupVerdict > > > together( 4 );
    std::vector< std::thread > threads;
    for ( auto& found : together ) {
        threads.emplace_back( [ & ] {
            for ( const Sim::Packet& packet : packets ) {
                found.push_back( scene.path.find( packet ) );
            }
        } );
    }
    for ( std::thread& thread : threads ) {
        thread.join();
    }
    for ( const auto& found : together ) {
        EXPECT_EQ( found, alone );
    }
}

} // namespace
} // namespace SimPacketTest
