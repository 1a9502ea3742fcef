#include "reference/RuleSetProgrammer.h"

#include "tests/reference/RuleScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace Reference {
namespace {

using PeloraTcam::IpAddress;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

IpPrefix prefix( Agent::U32 address, Agent::U32 length )
{
    return { IpAddress::v4( address ), length };
}

/// 10.0.0.0/8 from a high port to 192.0.2.0/24 port 80 over TCP.
FilterRule web()
{
    return { prefix( 0x0A000000, 8 ),
             prefix( 0xC0000200, 24 ),
             { 1024, 65535 },
             { 80, 80 },
             { 6, 0xFF } };
}

/// So many rules that differ by their destination.
std::vector< FilterRule > rulesTo( std::size_t count )
{
    std::vector< FilterRule > rules( count, web() );
    for ( std::size_t i = 0; i < count; ++i ) {
        rules[ i ].destination = prefix( static_cast< Agent::U32 >( 0xC0000200 + i ), 32 );
    }
    return rules;
}

RuleOptions everything()
{
    RuleOptions options;
    options.counterSet = packetsAndBytes();
    options.policer = PeloraTcam::Policer{ 1000, 0, 100, 0 };
    return options;
}

/// The two variants of SDK, each with a chip that has room.
class RuleSetProgrammerTest : public ::testing::TestWithParam< const char* >
{
  protected:
    [[nodiscard]] bool isSdk6() const { return scene.isSdk6(); }

    [[nodiscard]] RuleSetProgrammer& programmer() { return scene.programmer(); }

    RuleScene scene{ Sim::builtInProfile( GetParam() ) };
};

INSTANTIATE_TEST_SUITE_P( Variants,
                          RuleSetProgrammerTest,
                          ::testing::Values( "sdk6-udf", "hsdk" ),
                          []( const auto& test ) {
                              return std::string( test.index == 0 ? "sdk6" : "hsdk" );
                          } );

// ---- One rule --------------------------------------------------------------------------------

TEST( RuleSetProgrammerSdk6Test, Program_OneRule_IsMatchedByClassesAndARangeChecker )
{
    RuleScene scene( Sim::builtInProfile( "sdk6-udf" ) );
    const FilterRule rules[] = { web() };
    const RuleSetReport report = scene.programmer().program( rules, everything() );
    EXPECT_EQ( report.rules, 1U );
    EXPECT_EQ( report.programmed, 1U );
    EXPECT_EQ( report.groups, 1U );
    EXPECT_EQ( report.counts.rangeCheckers, ( ResourceCounts{ 1, 0 } ) );
    EXPECT_EQ( report.counts.classes, ( ResourceCounts{ 4, 0 } ) );
    EXPECT_EQ( report.counts.policers, ( ResourceCounts{ 1, 0 } ) );
    EXPECT_EQ( report.counts.counters, 1U );
    EXPECT_THAT( report.refused, IsEmpty() );
    EXPECT_THAT( scene.tcam().text(),
                 HasSubstr( "group=150994945 priority=1 installed=yes "
                            "DstClassField=0x1/0xffff InterfaceClassL3=0x1/0xffff "
                            "InterfaceClassVPort=0x1/0xffff RangeCheck=1 "
                            "SrcClassField=0x1/0xffff action:Drop=0,0 policer0=1\n" ) );
    EXPECT_THAT( scene.tcam().text(),
                 HasSubstr( "SrcIp=0xa000000/0xff000000 action:ClassSet=1,0" ) );
}

TEST( RuleSetProgrammerHsdkTest, Program_OneRule_IsMatchedByItsValuesAndARangeChecker )
{
    RuleScene scene( Sim::builtInProfile( "hsdk" ) );
    const FilterRule rules[] = { web() };
    const RuleSetReport report = scene.programmer().program( rules, everything() );
    EXPECT_EQ( report.programmed, 1U );
    EXPECT_EQ( report.counts.classes, ( ResourceCounts{ 0, 0 } ) );
    EXPECT_THAT( scene.tcam().text(),
                 HasSubstr( "group=134217729 priority=1 installed=yes "
                            "DstIp=0xc0000200/0xffffff00 IpProtocol=0x6/0xff "
                            "L4DstPort=0x50/0xffff RangeCheck=1 "
                            "SrcIp=0xa000000/0xff000000 action:Drop=0,0 policer0=1\n" ) );
}

TEST_P( RuleSetProgrammerTest, Program_RuleThatMatchesEverything_AsksForIpv4Alone )
{
    const FilterRule rules[] = { FilterRule{} };
    const RuleSetReport report = programmer().program( rules, {} );
    EXPECT_EQ( report.programmed, 1U );
    EXPECT_THAT(
        scene.tcam().text(),
        HasSubstr( "priority=1 installed=yes IpType=bcmFieldIpTypeIpv4Any action:Drop=0,0\n" ) );
    EXPECT_EQ( scene.managers().rangeCheckers.size(), 0U );
}

TEST_P( RuleSetProgrammerTest, Program_TwoRangesAndAPartOfTheProtocol_AreAllMatched )
{
    FilterRule rule;
    rule.sourcePorts = { 1, 9 };
    rule.destinationPorts = { 1, 9 };
    rule.protocol = { 0x10, 0xF0 };
    const FilterRule rules[] = { rule };
    const RuleSetReport report = programmer().program( rules, {} );
    EXPECT_EQ( report.counts.rangeCheckers, ( ResourceCounts{ 2, 0 } ) );
    EXPECT_EQ( report.counts.classes, ( ResourceCounts{ 0, 0 } ) );
    EXPECT_THAT( scene.tcam().text(),
                 HasSubstr( "IpProtocol=0x10/0xf0 IpType=bcmFieldIpTypeIpv4Any "
                            "RangeCheck=1 RangeCheck=2 action" ) );
    EXPECT_EQ( scene.audit(), 4U ) << "an entry, a group and two range checkers";
}

// ---- Flags -----------------------------------------------------------------------------------

TEST_P( RuleSetProgrammerTest, Program_Flags_AreOnTheChipAndAudited )
{
    std::vector< FilterRule > rules( 2, web() );
    rules[ 0 ].flags = { 0x0200, 0x1200 };
    rules[ 1 ].protocol = { 1, 0xFF };
    rules[ 1 ].flags = { 0x0800, 0xFF00 };
    const RuleSetReport report = programmer().program( rules, {} );
    EXPECT_EQ( report.programmed, 2U );
    EXPECT_THAT( scene.tcam().text(), HasSubstr( " TcpControl=0x2/0x12 " ) );
    EXPECT_THAT( scene.tcam().text(), HasSubstr( " IcmpTypeCode=0x800/0xff00 " ) );
    scene.audit();
    for ( const std::string function : { "TcpControl", "IcmpTypeCode" } ) {
        EXPECT_DEATH(
            {
                scene.tcam().nextCallIs( "bcm_field_qualify_" + function + "_get",
                                         Sim::CorruptOutput{ "mask", 0 } );
                scene.audit();
            },
            "Assertion .* failed" );
    }
}

TEST_P( RuleSetProgrammerTest, Program_RuleOfIpv6WithoutAPrefix_AsksForIpv6 )
{
    FilterRule rule;
    rule.source = { PeloraTcam::IpAddress::v6( {} ), 0 };
    const FilterRule rules[] = { rule };
    EXPECT_EQ( programmer().program( rules, {} ).programmed, 1U );
    EXPECT_THAT( scene.tcam().text(), HasSubstr( " IpType=bcmFieldIpTypeIpv6 action" ) );
    EXPECT_DEATH(
        {
            scene.tcam().nextCallIs( "bcm_field_qualify_IpType_get",
                                     Sim::CorruptOutput{ "type", 0x7777 } );
            scene.audit();
        },
        "Assertion .* failed" );
}

TEST_P( RuleSetProgrammerTest, Program_RulesThatNoEntryCanMatch_AreRefusedAndTakeNothing )
{
    std::vector< FilterRule > rules( 4, web() );
    rules[ 0 ].flags = { 0x0001, 0x0001 };
    rules[ 1 ].protocol = { 0, 0 };
    rules[ 1 ].flags = { 0x0200, 0x0200 };
    rules[ 3 ].protocol = { 17, 0xFF };
    rules[ 3 ].flags = { 0x0200, 0x0200 };
    const RuleSetReport report = programmer().program( rules, everything() );
    EXPECT_EQ( report.programmed, 1U );
    EXPECT_EQ( report.refused, ( std::map< std::string, std::size_t, std::less<> >{
                                   { std::string( noTcpFlags ), 1 },
                                   { std::string( flagsOfSeveralProtocols ), 1 },
                                   { std::string( flagsOfNoPacket ), 1 },
                               } ) );
    EXPECT_EQ( report.refusedRules,
               ( std::vector< RefusedRule >{
                   { 0, noTcpFlags }, { 1, flagsOfSeveralProtocols }, { 3, flagsOfNoPacket } } ) );
    EXPECT_EQ( scene.managers().entries.size(), 1U );
    EXPECT_EQ( scene.managers().policers.size(), 1U );
}

// ---- Whole sets ------------------------------------------------------------------------------

TEST_P( RuleSetProgrammerTest, ProgramAuditReadRemove_SomeRules_LeavesTheChipAsBefore )
{
    const Sim::ChipSnapshot before = scene.snapshot();
    const RuleSetReport report = programmer().program( rulesTo( 20 ), everything() );
    EXPECT_EQ( report.programmed, 20U );
    EXPECT_EQ( report.counts.rangeCheckers, ( ResourceCounts{ 1, 19 } ) );
    EXPECT_EQ( report.counts.classes,
               isSdk6() ? ( ResourceCounts{ 23, 57 } ) : ( ResourceCounts{ 0, 0 } ) );
    EXPECT_EQ( report.counts.policers, ( ResourceCounts{ 20, 0 } ) );
    EXPECT_EQ( report.counts.counters, 20U );
    // Entries, counters, policers, the group, the range checker, and the classes.
    EXPECT_EQ( scene.audit(), 20U + 20 + 20 + 1 + 1 + ( isSdk6() ? 23 : 0 ) );
    scene.tcam().count( programmer().entry( report.id, 0 ).value(), 2 );
    scene.tcam().count( programmer().entry( report.id, 19 ).value(), 5 );
    EXPECT_EQ( programmer().hits( report.id ), ( Hits{ 7, 700 } ) );
    EXPECT_TRUE( programmer().remove( report.id ) );
    EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() );
    EXPECT_EQ( scene.held(), 0U );
    EXPECT_FALSE( programmer().remove( report.id ) );
}

TEST_P( RuleSetProgrammerTest, Program_EarlierRule_HasTheGreaterPriority )
{
    const RuleSetReport report = programmer().program( rulesTo( 3 ), {} );
    for ( std::size_t rule = 0; rule < 3; ++rule ) {
        EXPECT_EQ( scene.managers()
                       .entries.find( programmer().entry( report.id, rule ).value() )
                       ->priority,
                   static_cast< int >( 3 - rule ) );
    }
    EXPECT_EQ( programmer().entry( report.id, 3 ), std::nullopt );
    EXPECT_EQ( programmer().entry( report.id + 1, 0 ), std::nullopt );
    EXPECT_EQ( programmer().hits( report.id + 1 ), std::nullopt );
}

TEST_P( RuleSetProgrammerTest, Program_NoRules_MakesNoGroup )
{
    const RuleSetReport report = programmer().program( {}, everything() );
    EXPECT_EQ( report.groups, 0U );
    EXPECT_EQ( scene.tcam().groups.size(), 0U );
    EXPECT_TRUE( programmer().remove( report.id ) );
}

TEST_P( RuleSetProgrammerTest, Program_TwoSets_ShareAndAreRemovedApart )
{
    const Sim::ChipSnapshot before = scene.snapshot();
    const RuleSetReport first = programmer().program( rulesTo( 4 ), everything() );
    const RuleSetReport second = programmer().program( rulesTo( 4 ), everything() );
    EXPECT_EQ( second.counts.rangeCheckers, ( ResourceCounts{ 0, 4 } ) );
    EXPECT_EQ( second.counts.classes.made, 0U );
    EXPECT_EQ( scene.tcam().groups.size(), 2U );
    EXPECT_EQ( programmer().size(), 2U );
    EXPECT_TRUE( programmer().remove( first.id ) );
    scene.audit();
    EXPECT_TRUE( programmer().remove( second.id ) );
    EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() );
}

TEST_P( RuleSetProgrammerTest, Program_SharedPolicer_IsOneForAllRules )
{
    RuleOptions options = everything();
    options.policerSharing = PolicerSharing::shared;
    const RuleSetReport report = programmer().program( rulesTo( 5 ), options );
    EXPECT_EQ( report.counts.policers, ( ResourceCounts{ 1, 4 } ) );
    EXPECT_EQ( scene.managers().policers.size(), 1U );
    EXPECT_TRUE( programmer().remove( report.id ) );
    EXPECT_EQ( scene.managers().policers.size(), 0U );
}

TEST_P( RuleSetProgrammerTest, Program_Progress_IsToldOfEachRule )
{
    std::vector< std::size_t > told;
    static_cast< void >(
        programmer().program( rulesTo( 3 ), {}, [ & ]( std::size_t done, std::size_t total ) {
            told.push_back( done );
            EXPECT_EQ( total, 3U );
        } ) );
    EXPECT_THAT( told, ElementsAre( 1, 2, 3 ) );
}

TEST( RuleSetProgrammerSdk6Test, Program_PrefixesThatOverlap_OnlyTheFirstGetsAClass )
{
    RuleScene scene( Sim::builtInProfile( "sdk6-udf" ) );
    std::vector< FilterRule > rules( 4 );
    rules[ 0 ].source = prefix( 0x0A000000, 8 );
    rules[ 1 ].source = prefix( 0x0A010000, 16 ); // In the first.
    rules[ 2 ].source = prefix( 0x0B000000, 8 );
    rules[ 3 ].source = prefix( 0x0A000000, 8 );
    const RuleSetReport report = scene.programmer().program( rules, {} );
    EXPECT_EQ( report.programmed, 4U );
    EXPECT_EQ( report.counts.classes, ( ResourceCounts{ 2, 1 } ) );
    EXPECT_EQ( report.counts.overlaps, 1U );
    const auto& inside =
        *scene.managers().entries.find( scene.programmer().entry( report.id, 1 ).value() );
    EXPECT_EQ( inside.qualifiers.source, prefix( 0x0A010000, 16 ) );
    EXPECT_THAT( inside.qualifiers.classes, IsEmpty() );
}

// ---- Running out -----------------------------------------------------------------------------

/// What is scarce, and under what name it is reported.
struct Scarcity
{
    const char* refused;
    std::function< void( Sim::ChipProfile& ) > limit;
    bool sdk6Only = false;
};

TEST_P( RuleSetProgrammerTest, Program_OneResourceScarce_RefusesTheRestWholeAndAddsUp )
{
    const Scarcity scarcities[] = {
        { "range checker", []( Sim::ChipProfile& chip ) { chip.rangeCheckers.capacity = 3; } },
        { "policer", []( Sim::ChipProfile& chip ) { chip.policers.capacity = 3; } },
        { "counter",
          []( Sim::ChipProfile& chip ) {
              chip.statistics.capacity = 3;
              chip.flexCounters.counters = 4;
          } },
        { "group",
          []( Sim::ChipProfile& chip ) {
              chip.field.groups = 1;
              chip.field.entriesPerGroup = 3;
          } },
        { "bcm_field_entry_create",
          []( Sim::ChipProfile& chip ) { chip.field.entriesPerGroup = 0; } },
        { "compression entry", []( Sim::ChipProfile& chip ) { chip.field.compressionEntries = 3; },
          true },
    };
    std::vector< FilterRule > rules = rulesTo( 10 );
    for ( std::size_t i = 0; i < rules.size(); ++i ) {
        rules[ i ].sourcePorts.low = static_cast< Agent::U16 >( 1 + i );
    }
    for ( const Scarcity& scarcity : scarcities ) {
        if ( scarcity.sdk6Only && !isSdk6() ) {
            continue;
        }
        Sim::ChipProfile profile = Sim::builtInProfile( GetParam() );
        scarcity.limit( profile );
        scene.chipIs( profile );
        const Sim::ChipSnapshot before = scene.snapshot();
        const RuleSetReport report = programmer().program( rules, everything() );
        const std::size_t fit = std::string( scarcity.refused ) == "bcm_field_entry_create" ? 0 : 3;
        EXPECT_EQ( report.programmed, fit ) << scarcity.refused;
        EXPECT_THAT( report.refused, ElementsAre( Pair( scarcity.refused, 10 - fit ) ) );
        EXPECT_EQ( scene.managers().entries.size(), fit );
        EXPECT_EQ( scene.managers().policers.size(), fit );
        EXPECT_EQ( scene.managers().counters.size(), fit );
        EXPECT_EQ( scene.managers().rangeCheckers.size(), fit );
        EXPECT_EQ( report.groups, fit == 0 ? 0U : 1U );
        scene.audit();
        programmer().remove( report.id );
        EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() );
        EXPECT_EQ( scene.held(), 0U ) << scarcity.refused;
    }
}

TEST( RuleSetProgrammerSdk6Test, Program_NoClassIdLeft_IsToldFromNoEntry )
{
    RuleScene scene( Sim::builtInProfile( "sdk6-udf" ) );
    scene.managersAre( 2 );
    const RuleSetReport report = scene.programmer().program( rulesTo( 3 ), {} );
    EXPECT_EQ( report.programmed, 2U );
    EXPECT_THAT( report.refused, ElementsAre( Pair( "class id", 1U ) ) );
}

TEST_P( RuleSetProgrammerTest, Program_GroupFull_GoesOnInTheNext )
{
    Sim::ChipProfile profile = Sim::builtInProfile( GetParam() );
    profile.field.entriesPerGroup = 3;
    scene.chipIs( profile );
    const Sim::ChipSnapshot before = scene.snapshot();
    const RuleSetReport report = programmer().program( rulesTo( 7 ), everything() );
    EXPECT_EQ( report.programmed, 7U );
    EXPECT_EQ( report.groups, 3U );
    EXPECT_EQ( scene.tcam().groups.size(), 3U );
    scene.audit();
    for ( std::size_t rule = 0; rule < 7; ++rule ) {
        scene.tcam().count( programmer().entry( report.id, rule ).value(), 1 );
    }
    EXPECT_EQ( programmer().hits( report.id ), ( Hits{ 7, 700 } ) );
    programmer().remove( report.id );
    EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() );
}

// ---- Calls that fail -------------------------------------------------------------------------

/// Calls of which the agent judges the answer itself: a failure costs one rule.
TEST_P( RuleSetProgrammerTest, Program_AnyJudgedCallRefused_CostsThatRuleOnly )
{
    std::vector< std::string > functions = {
        "bcm_field_entry_create", "bcm_field_qualify_RangeCheck", "bcm_field_entry_prio_set",
        "bcm_field_action_add",   "bcm_field_entry_install",      "bcm_field_entry_policer_attach",
    };
    functions.push_back( isSdk6() ? "bcm_field_qualify_SrcClass" : "bcm_field_qualify_SrcIp" );
    const Sim::ChipSnapshot before = scene.snapshot();
    for ( const std::string& function : functions ) {
        // The compression tables are filled before, so that their calls do not come between.
        const RuleSetReport filled = programmer().program( rulesTo( 3 ), everything() );
        scene.tcam().nextCallIs( function, Sim::FailCall{ Sim::ReturnCode::BCM_E_INTERNAL } );
        const RuleSetReport report = programmer().program( rulesTo( 3 ), everything() );
        EXPECT_EQ( report.programmed, 2U ) << function;
        EXPECT_THAT( report.refused, ElementsAre( Pair( function, 1U ) ) );
        EXPECT_EQ( programmer().entry( report.id, 0 ), std::nullopt );
        scene.audit();
        programmer().remove( report.id );
        programmer().remove( filled.id );
        EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() ) << function;
        EXPECT_EQ( scene.held(), 0U ) << function;
    }
}

TEST_P( RuleSetProgrammerTest, Program_GroupRefused_IsTriedAgainWithTheNextRule )
{
    scene.tcam().nextCallIs( "bcm_field_group_config_create",
                             Sim::FailCall{ Sim::ReturnCode::BCM_E_INTERNAL } );
    const RuleSetReport report = programmer().program( rulesTo( 3 ), {} );
    EXPECT_EQ( report.programmed, 2U );
    EXPECT_THAT( report.refused, ElementsAre( Pair( "group", 1U ) ) );
}

TEST_P( RuleSetProgrammerTest, Program_CallThrows_TakesTheSetAwayAndPassesItOn )
{
    const Sim::ChipSnapshot before = scene.snapshot();
    for ( const char* function : { "bcm_range_create", "bcm_policer_create",
                                   "bcm_field_group_config_create", "bcm_field_qualify_RangeCheck",
                                   "bcm_field_entry_policer_attach", "bcm_field_entry_install" } ) {
        if ( std::string( function ) == "bcm_policer_create" && !isSdk6() ) {
            continue; // The library keeps the id, as it has to.
        }
        if ( std::string( function ) == "bcm_field_entry_install" && isSdk6() ) {
            continue; // The first one is of a compression entry, which the library leaves behind.
        }
        scene.tcam().nextCallIs( function, Sim::ThrowFromCall{} );
        EXPECT_THROW( static_cast< void >( programmer().program( rulesTo( 3 ), everything() ) ),
                      std::runtime_error )
            << function;
        EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() ) << function;
        EXPECT_EQ( scene.held(), 0U ) << function;
        EXPECT_EQ( programmer().size(), 0U );
    }
}

TEST_P( RuleSetProgrammerTest, Remove_CallThrows_CanBeGoneOnWith )
{
    const Sim::ChipSnapshot before = scene.snapshot();
    for ( const char* function :
          { "bcm_field_entry_remove", "bcm_field_entry_policer_detach", "bcm_field_entry_destroy",
            "bcm_policer_destroy", "bcm_range_destroy", "bcm_field_group_destroy" } ) {
        const RuleSetReport report = programmer().program( rulesTo( 3 ), everything() );
        scene.tcam().nextCallIs( function, Sim::ThrowFromCall{} );
        EXPECT_THROW( programmer().remove( report.id ), std::runtime_error ) << function;
        EXPECT_TRUE( programmer().remove( report.id ) ) << function;
        EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() ) << function;
        EXPECT_EQ( scene.held(), 0U ) << function;
    }
}

} // namespace
} // namespace Reference
