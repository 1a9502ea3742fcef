// Sending packets: policers, counters, and what the actions of several entries do together.

#include "sim/packets/PacketActions.h"
#include "tests/sim/packets/PathScene.h"

#include <gmock/gmock.h>

namespace SimPacketTest {
namespace {

using Sim::ActionFate;
using Sim::TrafficColor;
using ::testing::ElementsAre;

constexpr TrafficColor green = TrafficColor::green;
constexpr TrafficColor yellow = TrafficColor::yellow;
constexpr TrafficColor red = TrafficColor::red;

// 100 bytes, 800 bits.
const std::string web = "tcp 10.0.0.1:1024 > 10.0.0.2:80 length 100";

constexpr std::uint64_t millisecond = 1'000'000;

class PacketSendingTest : public testing::Test
{
  protected:
    /// A policer; rates in kilobits a second, bursts in kilobits.
    bcm_policer_t policer( const std::string& mode,
                           std::uint32_t rate,
                           std::uint32_t burst,
                           std::uint32_t secondBurst = 0,
                           bcm_policer_t givenId = 0 )
    {
        bcm_policer_config_t config;
        scene.sdk.bcm_policer_config_t_init( &config );
        config.mode = scene.valueOf< bcm_policer_mode_t >( "bcmPolicerMode" + mode );
        config.ckbits_sec = rate;
        config.ckbits_burst = burst;
        config.pkbits_burst = secondBurst;
        config.flags = givenId != 0 ? 1 : 0;
        bcm_policer_t id = givenId;
        PathScene::expectDone( scene.sdk.bcm_policer_create( unit, &config, &id ) );
        return id;
    }

    void attach( bcm_field_entry_t entry, int level, bcm_policer_t policer )
    {
        PathScene::expectDone(
            scene.sdk.bcm_field_entry_policer_attach( unit, entry, level, policer ) );
        scene.install( entry );
    }

    /// The colour of a packet that comes at that time.
    TrafficColor colorAt( std::uint64_t timestamp )
    {
        Sim::Packet packet = Sim::packetFromDescription( web );
        packet.timestamp = timestamp;
        return scene.path.send( packet ).color;
    }

    /// An entry that matches everything and does these.
    bcm_field_entry_t acting( bcm_field_group_t group, const std::vector< std::string >& actions )
    {
        const bcm_field_entry_t entry = scene.made( group, 1, {} );
        for ( const std::string& action : actions ) {
            scene.act( entry, action );
        }
        scene.install( entry );
        return entry;
    }

    PathScene scene;
};

/// Names and fates of all actions.
std::vector< std::pair< std::string, ActionFate > > fatesOf( const Sim::PacketFate& fate )
{
    std::vector< std::pair< std::string, ActionFate > > all;
    for ( const Sim::PacketAction& action : fate.actions ) {
        all.emplace_back( action.name, action.fate );
    }
    return all;
}

auto done( const std::string& name )
{
    return std::pair( name, ActionFate::done );
}

auto overruled( const std::string& name )
{
    return std::pair( name, ActionFate::overruled );
}

auto ofAnotherColor( const std::string& name )
{
    return std::pair( name, ActionFate::ofAnotherColor );
}

// ---- Policers --------------------------------------------------------------------------------

TEST_F( PacketSendingTest, Send_CommittedPolicer_IsRedBeyondTheBurstUntilItHasFilled )
{
    const bcm_field_entry_t entry = scene.entry( scene.group(), 1, {} );
    attach( entry, 0, policer( "Committed", 800, 1 ) ); // 800 bits a millisecond, of 1000
    EXPECT_EQ( colorAt( 0 ), green );                   // 200 left
    EXPECT_EQ( colorAt( 0 ), red );
    EXPECT_EQ( colorAt( millisecond / 2 ), red ); // 600
    EXPECT_EQ( colorAt( millisecond ), green );   // 1000 - 800
    const Sim::PacketVerdict verdict = scene.send( web );
    ASSERT_EQ( verdict.groups.size(), 1U );
    EXPECT_EQ( verdict.groups[ 0 ].entry, entry );
    EXPECT_EQ( verdict.groups[ 0 ].color, red );
    EXPECT_EQ( scene.path.find( Sim::packetFromDescription( web ) )[ 0 ].color, green )
        << "looking up meters nothing";
}

TEST_F( PacketSendingTest, Send_SingleRateOfThreeColors_IsGreenYellowRed )
{
    attach( scene.entry( scene.group(), 1, {} ), 0, policer( "SrTcm", 0, 1, 1 ) );
    EXPECT_THAT( ( std::vector{ colorAt( 0 ), colorAt( 1 ), colorAt( 2 ), colorAt( 3 ) } ),
                 ElementsAre( green, yellow, red, red ) );
}

TEST_F( PacketSendingTest, Send_TwoLevels_TheWorstColorCounts )
{
    const bcm_field_entry_t entry = scene.entry( scene.group(), 1, {} );
    attach( entry, 0, policer( "SrTcm", 0, 1, 2 ) );  // green, yellow twice
    attach( entry, 1, policer( "Committed", 0, 2 ) ); // green twice
    EXPECT_THAT( ( std::vector{ colorAt( 0 ), colorAt( 1 ), colorAt( 2 ) } ),
                 ElementsAre( green, yellow, red ) );
}

TEST_F( PacketSendingTest, Send_PolicerThatEntriesShare_MetersAllOfThem )
{
    const bcm_policer_t shared = policer( "Committed", 0, 1 );
    attach( scene.entry( scene.group( { .priority = 2 } ), 1, {} ), 0, shared );
    attach( scene.entry( scene.group( { .priority = 1 } ), 1, {} ), 0, shared );
    const Sim::PacketVerdict verdict = scene.send( web );
    EXPECT_EQ( verdict.groups[ 0 ].color, green );
    EXPECT_EQ( verdict.groups[ 1 ].color, red );
    EXPECT_EQ( verdict.color, red );
}

TEST_F( PacketSendingTest, Send_PacketThatComesWithAColor_KeepsItWithoutAPolicer )
{
    scene.entry( scene.group(), 1, {} );
    Sim::Packet packet = Sim::packetFromDescription( web );
    packet.given[ scene.qualifier( "Color" ) ] = 1;
    EXPECT_EQ( scene.path.send( packet ).color, yellow );
    EXPECT_EQ( scene.path.find( packet )[ 0 ].color, yellow );
}

TEST_F( PacketSendingTest, Send_DetachedPolicer_MetersUntilTheEntryIsInstalledAgain )
{
    const bcm_field_entry_t entry = scene.entry( scene.group(), 1, {} );
    attach( entry, 0, policer( "Committed", 0, 0 ) );
    EXPECT_EQ( colorAt( 0 ), red );
    PathScene::expectDone( scene.sdk.bcm_field_entry_policer_detach( unit, entry, 0 ) );
    EXPECT_EQ( colorAt( 0 ), red );
    scene.install( entry );
    EXPECT_EQ( colorAt( 0 ), green );
}

TEST_F( PacketSendingTest, Send_PolicerThatIsMadeAgain_BeginsWithFullBuckets )
{
    constexpr bcm_policer_t id = 7;
    const bcm_field_entry_t entry = scene.entry( scene.group(), 1, {} );
    for ( const int time : { 1, 2 } ) {
        attach( entry, 0, policer( "Committed", 0, 1, 0, id ) );
        EXPECT_EQ( colorAt( 0 ), green ) << time;
        EXPECT_EQ( colorAt( 0 ), red ) << time;
        PathScene::expectDone( scene.sdk.bcm_field_entry_policer_detach( unit, entry, 0 ) );
        scene.install( entry );
        PathScene::expectDone( scene.sdk.bcm_policer_destroy( unit, id ) );
    }
}

// ---- Actions of a colour ---------------------------------------------------------------------

TEST_F( PacketSendingTest, Send_ColoredActions_ActOnTheirColorOnly )
{
    const bcm_field_entry_t entry = acting(
        scene.group(), { "GpDscpNew", "NonGpSwitchToCpu", "RpDrop", "YpPrioIntNew", "Redirect" } );
    attach( entry, 0, policer( "SrTcm", 0, 1, 1 ) );
    const Sim::PacketFate first = scene.send( web ).fate;
    EXPECT_THAT( fatesOf( first ),
                 ElementsAre( done( "GpDscpNew" ), ofAnotherColor( "NonGpSwitchToCpu" ),
                              done( "Redirect" ), ofAnotherColor( "RpDrop" ),
                              ofAnotherColor( "YpPrioIntNew" ) ) );
    EXPECT_TRUE( first.redirected );
    EXPECT_FALSE( first.dropped || first.copiedToCpu );
    const Sim::PacketFate second = scene.send( web ).fate;
    EXPECT_THAT( fatesOf( second ),
                 ElementsAre( ofAnotherColor( "GpDscpNew" ), done( "NonGpSwitchToCpu" ),
                              done( "Redirect" ), ofAnotherColor( "RpDrop" ),
                              done( "YpPrioIntNew" ) ) );
    EXPECT_TRUE( second.copiedToCpu );
    EXPECT_FALSE( second.dropped );
    const Sim::PacketFate third = scene.send( web ).fate;
    EXPECT_THAT( fatesOf( third ),
                 ElementsAre( ofAnotherColor( "GpDscpNew" ), done( "NonGpSwitchToCpu" ),
                              done( "Redirect" ), done( "RpDrop" ),
                              ofAnotherColor( "YpPrioIntNew" ) ) );
    EXPECT_TRUE( third.dropped && third.copiedToCpu );
}

TEST_F( PacketSendingTest, Send_RedPacketsDropped_LaterStageSeesItWhenTheyAre )
{
    const bcm_field_entry_t policed = acting( scene.group(), { "RpDrop" } );
    attach( policed, 0, policer( "Committed", 0, 1 ) );
    const bcm_field_entry_t seeing =
        scene.entry( scene.group( { .stage = "Egress" } ), 1, { number( "Drop", 1, 1 ) } );
    const Sim::PacketVerdict first = scene.send( web );
    EXPECT_EQ( first.groups[ 1 ].entry, std::nullopt );
    EXPECT_FALSE( first.findings.drop );
    const Sim::PacketVerdict second = scene.send( web );
    EXPECT_EQ( second.groups[ 1 ].entry, seeing );
    EXPECT_TRUE( second.findings.drop && second.fate.dropped );
    EXPECT_THAT( scene.foundByAll( web ), ElementsAre( policed, 0 ) );
}

// ---- Several entries -------------------------------------------------------------------------

TEST_F( PacketSendingTest, Send_GroupsOfAStage_TheBetterOneDecidesAFamily )
{
    const bcm_field_group_t worse = scene.group( { .priority = 1 } );
    const bcm_field_group_t better = scene.group( { .priority = 2 } );
    acting( worse, { "CopyToCpu", "Drop", "DscpNew" } );
    acting( better, { "CopyToCpuCancel", "DscpNew" } );
    const Sim::PacketFate fate = scene.send( web ).fate;
    EXPECT_THAT( fatesOf( fate ),
                 ElementsAre( done( "CopyToCpuCancel" ), done( "DscpNew" ),
                              overruled( "CopyToCpu" ), done( "Drop" ), overruled( "DscpNew" ) ) );
    EXPECT_EQ( fate.actions[ 0 ].group, better );
    EXPECT_TRUE( fate.dropped );
    EXPECT_FALSE( fate.copiedToCpu );
}

TEST_F( PacketSendingTest, Send_LaterStage_OverrulesWhatAnEarlierOneDecided )
{
    acting( scene.group( { .stage = "Lookup" } ), { "RedirectPort", "DscpNew" } );
    acting( scene.group(), { "RedirectCancel" } );
    acting( scene.group( { .stage = "Egress" } ), { "DscpNew" } );
    const Sim::PacketFate fate = scene.send( web ).fate;
    EXPECT_THAT( fatesOf( fate ), ElementsAre( overruled( "DscpNew" ), overruled( "RedirectPort" ),
                                               done( "RedirectCancel" ), done( "DscpNew" ) ) );
    EXPECT_FALSE( fate.redirected );
}

TEST_F( PacketSendingTest, Send_ActionOfAnotherColor_OverrulesNothing )
{
    const bcm_field_entry_t better = acting( scene.group( { .priority = 2 } ), { "RpDscpNew" } );
    acting( scene.group( { .priority = 1 } ), { "DscpNew" } );
    attach( better, 0, policer( "Committed", 0, 1 ) );
    EXPECT_THAT( fatesOf( scene.send( web ).fate ),
                 ElementsAre( ofAnotherColor( "RpDscpNew" ), done( "DscpNew" ) ) );
    EXPECT_THAT( fatesOf( scene.send( web ).fate ),
                 ElementsAre( done( "RpDscpNew" ), overruled( "DscpNew" ) ) );
}

TEST_F( PacketSendingTest, Send_LoserInAGroup_DoesNothing )
{
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t loser = scene.made( group, 1, {} );
    scene.act( loser, "Drop" );
    scene.install( loser );
    const bcm_field_entry_t winner = scene.made( group, 2, {} );
    scene.act( winner, "CosQNew", 5, 6 );
    scene.install( winner );
    const Sim::PacketFate fate = scene.send( web ).fate;
    ASSERT_EQ( fate.actions.size(), 1U );
    EXPECT_EQ( fate.actions[ 0 ].parameters, ( Sim::FieldAction{ 5, 6 } ) );
    EXPECT_EQ( fate.actions[ 0 ].entry, winner );
    EXPECT_FALSE( fate.dropped );
}

// ---- Counters --------------------------------------------------------------------------------

TEST_F( PacketSendingTest, Send_StatisticOfAnEntry_CountsPacketsAndBytesByColor )
{
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t entry = scene.entry( group, 1, {} );
    attach( entry, 0, policer( "SrTcm", 0, 1, 1 ) );
    const auto& n = scene.sdk.numbering();
    bcm_field_stat_t types[] = { n.bcmFieldStatPackets,      n.bcmFieldStatBytes,
                                 n.bcmFieldStatGreenPackets, n.bcmFieldStatGreenBytes,
                                 n.bcmFieldStatYellowBytes,  n.bcmFieldStatRedPackets,
                                 n.bcmFieldStatRedBytes };
    int stat = 0;
    PathScene::expectDone( scene.sdk.bcm_field_stat_create( unit, group, 7, types, &stat ) );
    PathScene::expectDone( scene.sdk.bcm_field_entry_stat_attach( unit, entry, stat ) );
    for ( int packets = 0; packets < 5; ++packets ) { // green, yellow, red three times
        scene.send( web );
    }
    EXPECT_THAT( scene.foundByAll( web ), ElementsAre( entry ) );
    std::vector< std::uint64_t > counted;
    for ( const bcm_field_stat_t type : types ) {
        PathScene::expectDone(
            scene.sdk.bcm_field_stat_get( unit, stat, type, &counted.emplace_back() ) );
    }
    EXPECT_THAT( counted, ElementsAre( 5, 500, 1, 100, 100, 3, 300 ) );
}

TEST_F( PacketSendingTest, Send_PacketThatWasCutShort_CountsAsLongAsItWas )
{
    const bcm_field_group_t group = scene.group();
    const bcm_field_entry_t entry = scene.entry( group, 1, {} );
    bcm_field_stat_t type = scene.sdk.numbering().bcmFieldStatBytes;
    int stat = 0;
    PathScene::expectDone( scene.sdk.bcm_field_stat_create( unit, group, 1, &type, &stat ) );
    PathScene::expectDone( scene.sdk.bcm_field_entry_stat_attach( unit, entry, stat ) );
    Sim::Packet packet = Sim::packetFromDescription( web );
    packet.wireLength = 1500;
    scene.path.send( packet );
    std::uint64_t counted = 0;
    PathScene::expectDone( scene.sdk.bcm_field_stat_get( unit, stat, type, &counted ) );
    EXPECT_EQ( counted, 1500U );
}

class FlexCounterSendingTest : public PacketSendingTest
{
  protected:
    void attachCounter( bcm_field_entry_t entry, std::uint32_t index, bcm_flexctr_color_t color )
    {
        bcm_field_flexctr_config_t config;
        hsdk.sdk.bcm_field_flexctr_config_t_init( &config );
        config.flexctr_action_id = object;
        config.counter_index = index;
        config.color = color;
        PathScene::expectDone( hsdk.sdk.bcm_field_entry_flexctr_attach( unit, entry, &config ) );
    }

    std::pair< std::uint64_t, std::uint64_t > counted( std::uint32_t index )
    {
        bcm_flexctr_counter_value_t value;
        PathScene::expectDone( hsdk.sdk.bcm_flexctr_stat_get( unit, object, index, &value ) );
        return { value.packets, value.bytes };
    }

    PathScene hsdk{ "hsdk", "shuffled:1" };
    std::uint32_t object = 0;
};

TEST_F( FlexCounterSendingTest, Send_FlexCounters_CountPacketsAndBytesByColor )
{
    bcm_flexctr_action_t action;
    hsdk.sdk.bcm_flexctr_action_t_init( &action );
    action.index_num = 4;
    PathScene::expectDone( hsdk.sdk.bcm_flexctr_action_create( unit, 0, &action, &object ) );
    const bcm_field_group_t group = hsdk.group();
    const bcm_field_entry_t colored = hsdk.entry( group, 2, { number( "Ttl", 9, 0xFF ) } );
    const bcm_field_entry_t all = hsdk.entry( group, 1, {} );
    attachCounter( colored, 0, hsdk.sdk.numbering().bcmFlexctrColorGreen );
    attachCounter( colored, 1, hsdk.sdk.numbering().bcmFlexctrColorYellow );
    attachCounter( colored, 2, hsdk.sdk.numbering().bcmFlexctrColorRed );
    attachCounter( all, 3, hsdk.sdk.numbering().bcmFlexctrColorAny );
    Sim::Packet packet = Sim::packetFromDescription( web + " ttl 9" );
    for ( const std::uint64_t color : { 0U, 1U, 1U, 2U } ) {
        packet.given[ hsdk.qualifier( "Color" ) ] = color;
        hsdk.path.send( packet );
    }
    hsdk.send( web );
    EXPECT_EQ( counted( 0 ), std::pair( std::uint64_t{ 1 }, std::uint64_t{ 100 } ) );
    EXPECT_EQ( counted( 1 ), std::pair( std::uint64_t{ 2 }, std::uint64_t{ 200 } ) );
    EXPECT_EQ( counted( 2 ), std::pair( std::uint64_t{ 1 }, std::uint64_t{ 100 } ) );
    EXPECT_EQ( counted( 3 ), std::pair( std::uint64_t{ 1 }, std::uint64_t{ 100 } ) );
}

} // namespace
} // namespace SimPacketTest
