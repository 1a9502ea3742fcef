#include "sim/packets/PacketPath.h"

#include "tests/sim/packets/PathScene.h"

#include <gmock/gmock.h>

namespace SimPacketTest {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string web = "tcp 10.0.0.1:1024 > 10.0.0.2:80";
const std::string web6 = "tcp [2001:db8::1]:1024 > [2001:db8::2]:80";
const std::string arp = "arp 10.0.0.1 > 10.0.0.2";

const Asked toWeb = number( "L4DstPort", 80, 0xFFFF );
const Asked fromHost = number( "SrcIp", 0x0A000001, 0xFFFFFFFF );
const Asked toOther = number( "L4DstPort", 81, 0xFFFF );

constexpr std::optional< bcm_field_entry_t > none;

// ---- Which entry wins ------------------------------------------------------------------------

TEST( PacketPathTest, Find_NoEntries_FindsNoGroup )
{
    PathScene scene;
    scene.group();
    EXPECT_THAT( scene.foundByAll( web ), IsEmpty() );
    EXPECT_THAT( scene.path.groups(), IsEmpty() );
}

TEST( PacketPathTest, Find_SeveralMatch_TheGreatestPriorityWins )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    scene.entry( group, 1, { toWeb } );
    const bcm_field_entry_t best = scene.entry( group, 3, { fromHost } );
    scene.entry( group, 2, {} );
    scene.entry( group, 4, { toWeb, number( "SrcIp", 7, 0xFFFFFFFF ) } );
    EXPECT_EQ( scene.found( web ), best );
}

TEST( PacketPathTest, Find_EqualPriorities_TheFirstMadeWinsHoweverTheyWereInstalled )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t first = scene.made( group, 2, { toWeb } );
    const bcm_field_entry_t second = scene.made( group, 2, { fromHost } );
    scene.install( second );
    EXPECT_EQ( scene.found( web ), second );
    scene.install( first );
    EXPECT_EQ( scene.found( web ), first );
    scene.remove( first );
    EXPECT_EQ( scene.found( web ), second );
}

TEST( PacketPathTest, Find_PriorityThatWasNotSet_IsTheLeast )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    bcm_field_entry_t unset = 0;
    PathScene::expectDone( scene.sdk.bcm_field_entry_create( unit, group, &unset ) );
    scene.install( unset );
    EXPECT_EQ( scene.found( web ), unset );
    const bcm_field_entry_t better = scene.entry( group, 1, {} );
    EXPECT_EQ( scene.found( web ), better );
}

// ---- Groups ----------------------------------------------------------------------------------

TEST( PacketPathTest, Find_SeveralGroups_EachFindsItsOwnInTheOrderOfStagesPrioritiesAndIds )
{
    PathScene scene;
    const bcm_field_group_t egress = scene.group( { .stage = "Egress", .priority = 9, .id = 1 } );
    const bcm_field_group_t low = scene.group( { .priority = 1, .id = 2 } );
    const bcm_field_group_t high = scene.group( { .priority = 5, .id = 8 } );
    const bcm_field_group_t highToo = scene.group( { .priority = 5, .id = 7 } );
    const bcm_field_group_t lookup = scene.group( { .stage = "Lookup", .id = 9 } );
    const bcm_field_group_t unnamed = scene.group( { .stage = "", .priority = 3, .id = 4 } );
    std::map< bcm_field_group_t, bcm_field_entry_t > entries;
    for ( const bcm_field_group_t group : { egress, low, high, highToo, lookup, unnamed } ) {
        entries[ group ] = scene.entry( group, 1, { group == high ? toOther : toWeb } );
    }
    EXPECT_THAT( scene.path.groups(), ElementsAre( lookup, highToo, high, unnamed, low, egress ) );
    EXPECT_THAT( scene.foundByAll( web ),
                 ElementsAre( entries[ lookup ], entries[ highToo ], 0, entries[ unnamed ],
                              entries[ low ], entries[ egress ] ) );
    scene.destroy( entries[ highToo ] );
    EXPECT_THAT( scene.path.groups(), ElementsAre( lookup, high, unnamed, low, egress ) );
}

TEST( PacketPathTest, Find_GroupOfAPacketType_LooksAtThosePacketsOnly )
{
    PathScene scene;
    const bcm_field_group_t ip4 = scene.group( { .packetType = "Ipv4", .id = 1 } );
    const bcm_field_group_t ip6 = scene.group( { .packetType = "Ipv6", .id = 2 } );
    const bcm_field_group_t nonIp = scene.group( { .packetType = "NonIp", .id = 3 } );
    const bcm_field_group_t mpls = scene.group( { .packetType = "Mpls", .id = 4 } );
    const bcm_field_group_t any = scene.group( { .packetType = "Any", .id = 5 } );
    for ( const bcm_field_group_t group : { ip4, ip6, nonIp, mpls, any } ) {
        scene.entry( group, 1, {} );
    }
    const auto groupsOf = [ & ]( const std::string& description ) {
        std::vector< bcm_field_group_t > groups;
        for ( const auto& hit : scene.path.find( Sim::packetFromDescription( description ) ) ) {
            EXPECT_TRUE( hit.entry );
            groups.push_back( hit.group );
        }
        return groups;
    };
    EXPECT_THAT( groupsOf( web ), ElementsAre( ip4, any ) );
    EXPECT_THAT( groupsOf( web6 ), ElementsAre( ip6, any ) );
    EXPECT_THAT( groupsOf( arp ), ElementsAre( nonIp, any ) );
    EXPECT_THAT( groupsOf( web + " mpls 16" ), ElementsAre( ip4, mpls, any ) );
}

TEST( PacketPathTest, FindKey_KeyOfAPacket_FindsWhatThePacketDoes )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t entry = scene.entry( group, 1, { toWeb, fromHost } );
    const std::vector< uint8_t > key = scene.path.keyOf( Sim::packetFromDescription( web ) );
    EXPECT_EQ( scene.path.findKey( group, key ), entry );
    EXPECT_EQ( scene.path.findKey( group + 1, key ), none );
    EXPECT_EQ( scene.path.findKey( group, scene.path.keyOf( Sim::packetFromDescription( web6 ) ) ),
               none );
    EXPECT_GT( scene.path.memory(), 0U );
}

// ---- What the hardware holds -----------------------------------------------------------------

TEST( PacketPathTest, Find_EntryThatIsNotInstalled_IsNotHit )
{
    PathScene scene;
    const bcm_field_entry_t entry = scene.made( scene.group(), 1, { toWeb } );
    EXPECT_THAT( scene.foundByAll( web ), IsEmpty() );
    scene.install( entry );
    EXPECT_EQ( scene.found( web ), entry );
}

TEST( PacketPathTest, Find_ChangedEntry_MatchesAsItWasUntilItIsInstalledAgain )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t changed = scene.entry( group, 5, { toWeb } );
    const bcm_field_entry_t other = scene.entry( group, 3, {} );
    scene.ask( changed, { toOther } );
    PathScene::expectDone( scene.sdk.bcm_field_entry_prio_set( unit, changed, 1 ) );
    scene.ask( changed, { fromHost } );
    EXPECT_EQ( scene.found( web ), changed );
    EXPECT_EQ( scene.found( "tcp 10.0.0.9:1 > 10.0.0.2:80" ), changed );
    scene.install( changed );
    EXPECT_EQ( scene.found( "tcp 10.0.0.1:1 > 10.0.0.2:81" ), other );
    scene.destroy( other );
    EXPECT_EQ( scene.found( "tcp 10.0.0.1:1 > 10.0.0.2:81" ), changed );
    EXPECT_EQ( scene.found( web ), none );
}

TEST( PacketPathTest, Find_RemovedAndDestroyedEntries_AreNotHitAndReinstalledOnesAre )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t first = scene.entry( group, 1, { toWeb } );
    const bcm_field_entry_t second = scene.entry( group, 1, { fromHost } );
    scene.remove( first );
    EXPECT_EQ( scene.found( web ), second );
    scene.ask( first, { number( "Ttl", 9, 0xFF ) } );
    EXPECT_EQ( scene.found( web + " ttl 9" ), second );
    scene.install( first );
    EXPECT_EQ( scene.found( web + " ttl 9" ), first );
    EXPECT_EQ( scene.found( web ), second );
    scene.destroy( second );
    EXPECT_EQ( scene.found( web ), none );
    scene.destroy( first );
    EXPECT_THAT( scene.foundByAll( web + " ttl 9" ), IsEmpty() );
}

TEST( PacketPathTest, Find_OutdatedEntryThatIsRemoved_IsNotHitAsItWas )
{
    PathScene scene;
    const bcm_field_entry_t entry = scene.entry( scene.group(), 1, { toWeb } );
    scene.ask( entry, { fromHost } );
    scene.remove( entry );
    EXPECT_THAT( scene.foundByAll( web ), IsEmpty() );
}

TEST( PacketPathTest, Find_GroupOfAnIdThatIsMadeAgain_IsTheNewOne )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group( { .packetType = "Ipv6", .id = 5 } );
    scene.destroy( scene.entry( group, 1, {} ) );
    PathScene::expectDone( scene.sdk.bcm_field_group_destroy( unit, group ) );
    const bcm_field_entry_t entry =
        scene.entry( scene.group( { .packetType = "Ipv4", .id = 5 } ), 1, {} );
    EXPECT_EQ( scene.found( web ), entry );
    EXPECT_THAT( scene.foundByAll( web6 ), IsEmpty() );
}

TEST( PacketPathTest, Find_ChipInAnEarlierState_FindsWhatItDidThen )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t first = scene.entry( group, 1, { toWeb } );
    const bcm_range_t range = scene.range( "L4SrcPort", 1000, 1100 );
    const bcm_field_entry_t ranged = scene.made( group, 2, {} );
    scene.askRange( ranged, range );
    scene.install( ranged );
    const Sim::SimulatedChip::State before = scene.chip.state();
    scene.destroy( ranged );
    PathScene::expectDone( scene.sdk.bcm_range_destroy( unit, range ) );
    scene.ask( first, { toOther } );
    scene.install( first );
    scene.entry( group, 9, {} );
    scene.chip.stateIs( before );
    EXPECT_EQ( scene.found( web ), ranged );
    EXPECT_EQ( scene.found( "tcp 10.0.0.1:1101 > 10.0.0.2:80" ), first );
    EXPECT_EQ( scene.found( "tcp 10.0.0.1:1101 > 10.0.0.2:81" ), none );
}

TEST( PacketPathTest, Find_CallWithoutEffect_FindsAsBefore )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t entry = scene.entry( group, 1, { toWeb } );
    const bcm_field_entry_t better = scene.made( group, 2, { toWeb } );
    EXPECT_EQ( scene.sdk.callWithoutEffect(
                   unit, [ & ] { return scene.sdk.bcm_field_entry_install( unit, better ); } ),
               0 );
    EXPECT_EQ( scene.found( web ), entry );
    EXPECT_EQ( scene.sdk.callWithoutEffect(
                   unit, [ & ] { return scene.sdk.bcm_field_entry_destroy( unit, entry ); } ),
               0 );
    EXPECT_EQ( scene.found( web ), entry );
}

TEST( PacketPathTest, Find_PathMadeAfterTheEntries_FindsTheSame )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t outdated = scene.entry( group, 3, { toWeb } );
    scene.ask( outdated, { toOther } );
    scene.made( group, 9, {} );
    const bcm_field_entry_t other = scene.entry( group, 1, {} );
    const Sim::PacketPath late( scene.chip, scene.sdk.numbering() );
    for ( const auto& [ packet, entry ] :
          { std::pair( web, outdated ), std::pair( web6, outdated ), std::pair( arp, other ) } ) {
        const Sim::Packet bytes = Sim::packetFromDescription( packet );
        EXPECT_EQ( late.find( bytes ), scene.path.find( bytes ) );
        EXPECT_EQ( scene.found( bytes ), entry );
    }
}

TEST( PacketPathTest, Find_TwoChips_EachHasEntriesOfItsOwn )
{
    PathScene scene;
    PathScene other( "hsdk", "shuffled:1" );
    const bcm_field_entry_t here = scene.entry( scene.group(), 1, { toWeb } );
    const bcm_field_entry_t there = other.entry( other.group(), 1, { number( "Ttl", 64, 0xFF ) } );
    EXPECT_EQ( scene.found( web ), here );
    EXPECT_EQ( other.found( web ), there );
    EXPECT_EQ( scene.found( web6 ), here );
    EXPECT_EQ( other.found( arp ), none );
    EXPECT_EQ( scene.found( arp ), none );
}

// ---- Ranges ----------------------------------------------------------------------------------

TEST( PacketPathTest, Find_RangesOfEachType_HitFromLeastToGreatest )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    const auto expectEdges = [ & ]( const std::string& type, const std::string& before,
                                    const std::string& after ) {
        SCOPED_TRACE( type );
        const bcm_range_t range = scene.range( type, 1000, 1200 );
        const bcm_field_entry_t entry = scene.made( group, 1, {} );
        scene.askRange( entry, range );
        scene.install( entry );
        EXPECT_EQ( scene.found( before + "999" + after ), none );
        EXPECT_EQ( scene.found( before + "1000" + after ), entry );
        EXPECT_EQ( scene.found( before + "1200" + after ), entry );
        EXPECT_EQ( scene.found( before + "1201" + after ), none );
        scene.destroy( entry );
        PathScene::expectDone( scene.sdk.bcm_range_destroy( unit, range ) );
    };
    expectEdges( "L4SrcPort", "udp 10.0.0.1:", " > 10.0.0.2:5000" );
    expectEdges( "L4DstPort", "udp 10.0.0.1:5000 > 10.0.0.2:", "" );
    expectEdges( "OuterVlan", arp + " vlan ", " vlan 1100" );
    expectEdges( "PacketLength", web + " length ", "" );
}

TEST( PacketPathTest, Find_InvertedAndSeveralRanges_AllMustAgree )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    const bcm_range_t wide = scene.range( "L4DstPort", 100, 200 );
    const bcm_range_t narrow = scene.range( "L4DstPort", 140, 160 );
    const bcm_field_entry_t entry = scene.made( group, 1, {} );
    scene.askRange( entry, wide );
    scene.askRange( entry, narrow, true );
    scene.install( entry );
    const auto foundTo = [ & ]( const std::string& port ) {
        return scene.found( "udp 10.0.0.1:1 > 10.0.0.2:" + port );
    };
    EXPECT_EQ( foundTo( "99" ), none );
    EXPECT_EQ( foundTo( "139" ), entry );
    EXPECT_EQ( foundTo( "140" ), none );
    EXPECT_EQ( foundTo( "161" ), entry );
    EXPECT_EQ( foundTo( "201" ), none );
    const bcm_field_entry_t inverted = scene.made( group, 0, {} );
    scene.askRange( inverted, wide, true );
    scene.install( inverted );
    EXPECT_EQ( foundTo( "201" ), inverted );
    EXPECT_EQ( foundTo( "150" ), none );
    EXPECT_EQ( scene.found( arp ), inverted ); // What has no port has port 0.
}

TEST( PacketPathTest, Find_MoreRangesOneAfterTheOtherThanThereArePlaces_FindsEach )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    for ( std::uint32_t port = 1; port <= 100; ++port ) {
        const bcm_range_t range = scene.range( "L4DstPort", port, port );
        const bcm_field_entry_t entry = scene.made( group, 1, {} );
        scene.askRange( entry, range );
        scene.install( entry );
        const std::string packet = "udp 10.0.0.1:1 > 10.0.0.2:";
        EXPECT_EQ( scene.found( packet + std::to_string( port ) ), entry );
        EXPECT_EQ( scene.found( packet + std::to_string( port + 1 ) ), none );
        scene.destroy( entry );
        PathScene::expectDone( scene.sdk.bcm_range_destroy( unit, range ) );
    }
}

// ---- Classes ---------------------------------------------------------------------------------

/// An entry of a compression group that gives a class.
bcm_field_entry_t
classEntry( PathScene& scene, bcm_field_group_t table, const Asked& asked, std::uint32_t classId )
{
    const bcm_field_entry_t entry = scene.made( table, 1, { asked } );
    bcm_field_class_info_t info;
    info.action = scene.sdk.bcmFieldActionClassSet();
    info.class_id = classId;
    PathScene::expectDone( scene.sdk.bcm_field_action_class_add( unit, entry, &info ) );
    scene.install( entry );
    return entry;
}

struct ClassCase
{
    bcm_field_group_t table;
    Asked asked;
    std::uint32_t bcm_field_src_class_t::*field;
    std::string hit;
    std::string miss;
};

TEST( PacketPathTest, Find_ClassOfEachTable_IsSeenInTheFieldOfTheTable )
{
    const std::string ones6 = "ffffffffffffffffffffffffffffffff";
    using Class = bcm_field_src_class_t;
    const ClassCase cases[] = {
        { 241, number( "L4SrcPort", 1024, 0xFFFF ), &Class::intf_class_port, web,
          "tcp 10.0.0.1:1025 > 10.0.0.2:80" },
        { 242, number( "L4DstPort", 80, 0xFFFF ), &Class::intf_class_vport, web,
          "tcp 10.0.0.1:1024 > 10.0.0.2:81" },
        { 243, number( "SrcIp", 0x0A000000, 0xFF000000 ), &Class::src_class_field, web,
          "tcp 11.0.0.1:1024 > 10.0.0.2:80" },
        { 243, bytes( "SrcIp6", "20010db8000000000000000000000001", ones6 ),
          &Class::src_class_field, web6, web },
        { 244, number( "DstIp", 0x0A000002, 0xFFFFFFFF ), &Class::dst_class_field, web, web6 },
        { 244, bytes( "DstIp6", "20010db8000000000000000000000002", ones6 ),
          &Class::dst_class_field, web6, "tcp [::1]:1024 > [2001:db8::3]:80" },
        { 245, number( "IpProtocol", 6, 0xFF ), &Class::intf_class_l3, web6,
          "udp 10.0.0.1:1 > 10.0.0.2:2" },
        { 246, number( "EtherType", 0x0806, 0xFFFF ), &Class::intf_class_l2, arp, web },
    };
    for ( const ClassCase& one : cases ) {
        SCOPED_TRACE( one.asked.qualifier );
        PathScene scene;
        const bcm_field_entry_t classifier = classEntry( scene, one.table, one.asked, 0x1234 );
        const bcm_field_entry_t entry = scene.made( scene.group(), 1, {} );
        bcm_field_src_class_t data;
        bcm_field_src_class_t mask;
        data.*one.field = 0x1234;
        mask.*one.field = 0xFFFF;
        PathScene::expectDone( scene.sdk.bcm_field_qualify_SrcClass( unit, entry, &data, &mask ) );
        scene.install( entry );
        EXPECT_EQ( scene.found( one.hit ), entry );
        EXPECT_EQ( scene.found( one.miss ), none );
        scene.destroy( classifier );
        EXPECT_EQ( scene.found( one.hit ), none );
    }
}

TEST( PacketPathTest, Find_ClassesOfThePacketBefore_AreForgotten )
{
    PathScene scene;
    classEntry( scene, 245, number( "IpProtocol", 6, 0xFF ), 7 );
    const bcm_field_entry_t entry = scene.made( scene.group(), 1, {} );
    bcm_field_src_class_t data;
    bcm_field_src_class_t mask;
    data.intf_class_l3 = 7;
    mask.intf_class_l3 = 0xFFFF;
    PathScene::expectDone( scene.sdk.bcm_field_qualify_SrcClass( unit, entry, &data, &mask ) );
    scene.install( entry );
    EXPECT_EQ( scene.found( web ), entry );
    EXPECT_EQ( scene.found( "udp 10.0.0.1:1 > 10.0.0.2:2" ), none );
    EXPECT_EQ( scene.found( web ), entry );
}

TEST( PacketPathTest, FindingsOf_SeveralTables_AreTheBestOfEach )
{
    PathScene scene;
    classEntry( scene, 243, number( "SrcIp", 0x0A000000, 0xFF000000 ), 1 );
    classEntry( scene, 243, number( "SrcIp", 0x0A000001, 0xFFFFFFFF ), 2 );
    classEntry( scene, 242, number( "L4DstPort", 80, 0xFFFF ), 3 );
    const Sim::Packet packet = Sim::packetFromDescription( web );
    const Sim::PacketFindings findings =
        scene.path.findingsOf( packet, Sim::readHeaders( packet.bytes ) );
    EXPECT_THAT( findings.classes, ElementsAre( 0, 1, 0, 0, 0, 3 ) );
    EXPECT_FALSE( findings.drop );
    EXPECT_THAT( scene.path.groups(), IsEmpty() ) << "compression groups are none of them";
}

// ---- Why -------------------------------------------------------------------------------------

TEST( PacketPathTest, Explain_SeveralEntries_NamesTheWinnerAndTheNearestLosers )
{
    PathScene scene;
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t winner = scene.entry( group, 5, { toWeb } );
    const bcm_field_entry_t below = scene.entry( group, 4, { fromHost } );
    const bcm_field_entry_t twice = scene.entry( group, 9, { toOther, number( "Ttl", 1, 0xFF ) } );
    const bcm_field_entry_t once = scene.entry( group, 8, { toOther } );
    const Sim::PacketExplanation why =
        Sim::explain( scene.path, Sim::packetFromDescription( web ) );
    ASSERT_EQ( why.groups.size(), 1U );
    EXPECT_EQ( why.groups[ 0 ].group, group );
    EXPECT_EQ( why.groups[ 0 ].winner, winner );
    ASSERT_EQ( why.groups[ 0 ].nearest.size(), 3U );
    EXPECT_EQ( why.groups[ 0 ].nearest[ 0 ], ( Sim::LosingEntry{ below, 4, true, "", "", "" } ) );
    EXPECT_EQ( why.groups[ 0 ].nearest[ 1 ],
               ( Sim::LosingEntry{ once, 8, false, "L4DstPort", "0x51/0xffff", "0x50" } ) );
    EXPECT_EQ( why.groups[ 0 ].nearest[ 2 ].entry, twice );
}

TEST( PacketPathTest, Explain_EntryThatAsksForADropOfAnEarlierStage_IsTheWinner )
{
    PathScene scene;
    const bcm_field_entry_t dropping = scene.made( scene.group(), 1, { toWeb } );
    scene.act( dropping, "Drop" );
    scene.install( dropping );
    const bcm_field_entry_t seeing =
        scene.entry( scene.group( { .stage = "Egress" } ), 1, { number( "Drop", 1, 1 ) } );
    EXPECT_THAT( scene.foundByAll( web ), ElementsAre( dropping, seeing ) );
    const Sim::PacketExplanation why =
        Sim::explain( scene.path, Sim::packetFromDescription( web ) );
    ASSERT_EQ( why.groups.size(), 2U );
    EXPECT_EQ( why.groups[ 0 ].winner, dropping );
    EXPECT_EQ( why.groups[ 1 ].winner, seeing );
}

} // namespace
} // namespace SimPacketTest
