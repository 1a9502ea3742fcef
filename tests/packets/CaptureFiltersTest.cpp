// Entries on a chip against what tshark reads in the packets of all captures: for each value of a
// field an entry, which must be hit by the packets that have the value and by no others. Fields
// that chips have no qualifier for are user-defined ones, which the agent's manager makes.

#include "PeloraTcam/PeloraTcamUdfHsdkHelper.h"
#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "agent/base/Locks.h"
#include "reference/UdfManager.h"
#include "sim/packets/UdfExtraction.h"
#include "tests/sim/packets/PathScene.h"
#include "tests/tools/traffic/Captures.h"
#include "tests/tools/traffic/Tshark.h"
#include "tools/traffic/Capture.h"

#include <functional>
#include <map>

namespace {

using namespace SimPacketTest;
using PeloraTcam::UdfDesc;

/// A packet, and tshark's first value of each field.
struct ReadPacket
{
    Sim::Packet packet;
    std::string protocols; ///< without tags: "eth:ethertype:ip:udp:dns"
    std::map< std::string, std::string > values;
};

const std::vector< std::string > fields = {
    "frame.protocols", "ip.ttl",      "ip.dsfield.dscp", "tcp.flags", "arp.opcode",
    "ipv6.flow",       "ipv6.hlim",   "gre.proto",       "vxlan.vni", "tcp.window_size_value",
    "udp.dstport",     "tcp.srcport", "ip.len" };

std::string withoutTags( std::string protocols )
{
    for ( const std::string tag : { ":ieee8021ad:ethertype", ":vlan:ethertype" } ) {
        for ( std::size_t at = 0; ( at = protocols.find( tag ) ) != std::string::npos; ) {
            protocols.erase( at, tag.size() );
        }
    }
    return protocols;
}

std::vector< ReadPacket > readAll()
{
    std::vector< Sim::Packet > packets;
    for ( const std::filesystem::path& file : TrafficTest::ethernetCaptures() ) {
        Tool::Capture capture( file );
        for ( Sim::Packet packet; capture.next( packet ); ) {
            packets.push_back( packet );
        }
    }
    const TrafficTest::TemporaryFile merged( "" );
    TrafficTest::writeCapture( merged.path(), packets );
    const auto read = TrafficTest::tsharkFields( merged.path(), fields );
    EXPECT_EQ( read.size(), packets.size() );
    std::vector< ReadPacket > all;
    for ( std::size_t number = 0; number < read.size(); ++number ) {
        ReadPacket& packet = all.emplace_back( ReadPacket{ packets[ number ], {}, {} } );
        for ( std::size_t field = 0; field < fields.size(); ++field ) {
            const TrafficTest::FieldValues& values = read[ number ][ field ];
            packet.values[ fields[ field ] ] = values.empty() ? "" : values.front();
        }
        packet.protocols = withoutTags( packet.values.at( "frame.protocols" ) );
    }
    return all;
}

const std::vector< ReadPacket >& allPackets()
{
    static const std::vector< ReadPacket > all = readAll();
    return all;
}

/// A field that tshark reads, the packets that it is asked of, and how to ask for a value of it.
struct FieldCase
{
    std::string field;
    std::vector< std::string > protocols; ///< with one of these the packets' protocols begin
    std::string qualifier;                ///< empty for a user-defined field
    unsigned width = 0;                   ///< of a user-defined field, in bytes
    std::uint32_t mask = 0xFFFFFFFF;
    std::vector< Asked > besides = {};
    std::optional< UdfDesc > udf = {};
};

bool isAsked( const FieldCase& one, const ReadPacket& packet )
{
    return !packet.values.at( one.field ).empty() &&
           std::ranges::any_of( one.protocols, [ & ]( const std::string& start ) {
               return ( packet.protocols + ":" ).starts_with( start + ":" );
           } );
}

/// The case on a chip: an entry a value, at most 200 of them.
void compare( PathScene& scene, const FieldCase& one, bcm_udf_id_t udf )
{
    SCOPED_TRACE( one.field );
    const bcm_field_group_t group = scene.group();
    std::map< std::uint32_t, bcm_field_entry_t > entries;
    std::size_t hits = 0;
    const auto valueOf = [ & ]( const ReadPacket& packet ) {
        return static_cast< std::uint32_t >(
                   std::stoul( packet.values.at( one.field ), nullptr, 0 ) ) &
               one.mask;
    };
    for ( const ReadPacket& packet : allPackets() ) {
        if ( !isAsked( one, packet ) || entries.contains( valueOf( packet ) ) ||
             entries.size() == 200 ) {
            continue;
        }
        const std::uint32_t value = valueOf( packet );
        std::vector< Asked > asked = one.besides;
        if ( !one.qualifier.empty() ) {
            asked.push_back( number( one.qualifier, value, one.mask ) );
        }
        const bcm_field_entry_t entry = scene.made( group, 1, asked );
        if ( one.udf ) {
            Bytes data;
            for ( unsigned byte = one.width; byte-- != 0; ) {
                data.push_back( static_cast< std::uint8_t >( value >> 8 * byte ) );
            }
            Bytes mask( data.size(), 0xFF );
            mask.front() = static_cast< std::uint8_t >( one.mask >> 8 * ( one.width - 1 ) );
            PathScene::expectDone( scene.sdk.bcm_field_qualify_udf(
                unit, entry, udf, static_cast< int >( data.size() ), data.data(), mask.data() ) );
        }
        scene.install( entry );
        entries[ value ] = entry;
    }
    for ( const ReadPacket& packet : allPackets() ) {
        const bool isWanted = isAsked( one, packet ) && entries.contains( valueOf( packet ) );
        const bcm_field_entry_t expected = isWanted ? entries.at( valueOf( packet ) ) : 0;
        EXPECT_EQ( scene.found( packet.packet ).value_or( 0 ), expected )
            << packet.protocols << " " << packet.values.at( one.field );
        hits += isWanted ? 1 : 0;
    }
    EXPECT_GT( hits, 0U );
    testing::Test::RecordProperty( one.field, std::to_string( entries.size() ) + " values, " +
                                                  std::to_string( hits ) + " packets" );
}

const std::string ip4 = "eth:ethertype:ip";
const std::string ip6 = "eth:ethertype:ipv6";

/// The agent's manager of user-defined fields, with the helper that suits the chip.
Reference::UdfManager managerOn( const std::string& profile )
{
    using Helper = Agent::Ptr< PeloraTcam::UdfHelperBase >;
    if ( profile == "sdk6-udf" ) {
        return Reference::UdfManager( Helper( PeloraTcam::udfModuleHelperFactory( unit, 1, true ) ),
                                      Reference::UdfPath::udfModule );
    }
    if ( profile == "hsdk" ) {
        return Reference::UdfManager(
            Helper( PeloraTcam::udfFlexParserHsdkHelperFactory( unit, 1, true ) ),
            Reference::UdfPath::flexParserHsdk );
    }
    return Reference::UdfManager( Helper( PeloraTcam::udfFlexParserHelperFactory( unit, 1, true ) ),
                                  Reference::UdfPath::flexParser );
}

class CaptureFiltersTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        if ( TrafficTest::capturesFolder().empty() ) {
            GTEST_SKIP() << "no captures: set PELORA_TEST_DATA to the folder whose folder pcap "
                            "holds them";
        }
    }

    /// Makes the field through the agent's manager, and compares.
    void compareUdf( const std::string& profile, const FieldCase& one )
    {
        SCOPED_TRACE( profile );
        PathScene scene( profile, "shuffled:1" );
        Shim::sdk_ = &scene.sdk;
        {
            const Agent::LockAnchor activity{ Agent::activityLock() };
            Reference::UdfManager manager = managerOn( profile );
            ASSERT_EQ( manager.program( *one.udf ).qualIds(), 1U );
            compare( scene, one, Sim::udfsOf( scene.chip ).front() );
        }
        Shim::sdk_ = nullptr;
    }
};

UdfDesc udfOf( PeloraTcam::UdfOffsetBase base,
               Agent::U16 etherType,
               Agent::U8 protocol,
               Agent::U8 offset,
               Agent::U8 length )
{
    UdfDesc desc;
    desc.baseIs( base );
    desc.ethTypeIs( etherType );
    desc.ipProtoIs( protocol );
    desc.offsetIs( offset );
    desc.lengthIs( length );
    // On a flexible parser, what asks for the field chooses the packets, too.
    desc.appTypeIs( etherType == 0x0800 ? PeloraTcam::UdfAppType::ipv4Acl
                                        : PeloraTcam::UdfAppType::macAcl );
    return desc;
}

TEST_F( CaptureFiltersTest, Find_QualifiersOfTheChip_AreHitByWhatTsharkReads )
{
    const Asked isIp4 = named( "IpType", "bcmFieldIpTypeIpv4Any" );
    const Asked isIp6 = named( "IpType", "bcmFieldIpTypeIpv6" );
    const Asked isTcp = number( "IpProtocol", 6, 0xFF );
    const Asked isFirst = named( "IpFrag", "bcmFieldIpFragNonOrFirst" );
    const FieldCase cases[] = {
        { "ip.ttl", { ip4 }, "Ttl", 0, 0xFF, { isIp4 } },
        { "ip.dsfield.dscp", { ip4 }, "DSCP", 0, 0x3F, { isIp4 } },
        { "ipv6.hlim", { ip6 }, "Ip6HopLimit", 0, 0xFF, { isIp6 } },
        { "ipv6.flow", { ip6 }, "Ip6FlowLabel", 0, 0xFFFFF, { isIp6 } },
        { "tcp.flags", { ip4 + ":tcp", ip6 + ":tcp" }, "TcpControl", 0, 0xFF, { isTcp, isFirst } },
        { "tcp.srcport",
          { ip4 + ":tcp", ip6 + ":tcp" },
          "L4SrcPort",
          0,
          0xFFFF,
          { isTcp, isFirst } },
        { "udp.dstport",
          { ip4 + ":udp", ip6 + ":udp" },
          "L4DstPort",
          0,
          0xFFFF,
          { number( "IpProtocol", 17, 0xFF ), isFirst } },
        { "gre.proto",
          { ip4 + ":gre", ip6 + ":gre" },
          "GreProtocol",
          0,
          0xFFFF,
          { number( "IpProtocol", 47, 0xFF ), isFirst } },
        { "vxlan.vni",
          { ip4 + ":udp:vxlan", ip6 + ":udp:vxlan" },
          "VxlanNetworkId",
          0,
          0xFFFFFF,
          { named( "TunnelType", "bcmFieldTunnelTypeVxlan" ) } },
    };
    for ( const FieldCase& one : cases ) {
        PathScene scene( "sdk6-udf", "shuffled:1" );
        compare( scene, one, 0 );
    }
}

TEST_F( CaptureFiltersTest, Find_UserDefinedFieldsOfTheUdfModule_AreHitByWhatTsharkReads )
{
    using namespace PeloraTcam;
    const FieldCase cases[] = {
        { "vxlan.vni",
          { ip4 + ":udp:vxlan" },
          "",
          3,
          0xFFFFFF,
          { number( "L4DstPort", 4789, 0xFFFF ) },
          udfOf( UdfBaseL4OuterPayload_, 0x0800, 17, 4, 3 ) },
        { "gre.proto",
          { ip4 + ":gre" },
          "",
          2,
          0xFFFF,
          {},
          udfOf( UdfBaseL4OuterHeader_, 0x0800, 47, 2, 2 ) },
        { "tcp.window_size_value",
          { ip4 + ":tcp" },
          "",
          2,
          0xFFFF,
          {},
          udfOf( UdfBaseL4OuterHeader_, 0x0800, 6, 14, 2 ) },
    };
    for ( const FieldCase& one : cases ) {
        compareUdf( "sdk6-udf", one );
    }
}

TEST_F( CaptureFiltersTest, Find_UserDefinedFieldsOfEachKindOfChip_AreHitByWhatTsharkReads )
{
    using namespace PeloraTcam;
    const FieldCase arpOperation{ "arp.opcode",
                                  { "eth:ethertype:arp" },
                                  "",
                                  2,
                                  0xFFFF,
                                  {},
                                  udfOf( UdfBaseL3Header_, 0x0806, 0, 6, 2 ) };
    const FieldCase ipLength{
        "ip.len", { ip4 }, "", 2, 0xFFFF, {}, udfOf( UdfBaseL3Header_, 0x0800, 0, 2, 2 ) };
    for ( const char* profile : { "sdk6-udf", "sdk6-flex", "hsdk" } ) {
        compareUdf( profile, arpOperation );
    }
    // The SDK-6 flexible parser takes fields of IPv4 from packets without options only.
    for ( const char* profile : { "sdk6-udf", "hsdk" } ) {
        compareUdf( profile, ipLength );
    }
}

} // namespace
