#include "reference/EntryManager.h"

#include "tests/reference/TcamScene.h"
#include "tests/support/AssertionText.h"
#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace Reference {
namespace {

using PeloraTcam::ActionType;
using PeloraTcam::IpAddress;
using PeloraTcam::QualifierType;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Table = PeloraTcam::PeloraCompressionTableType;

class EntryManagerTest : public ::testing::Test
{
  protected:
    EntryManagerTest()
    {
        bcm_range_config_t range;
        range.rtype = scene.chips.bcmRangeTypeL4SrcPort();
        range.max = 9;
        EXPECT_EQ( scene.chips.bcm_range_create( TcamScene::unit, 0, &range ), 0 );
        rangeId = range.rid;
        bcm_policer_config_t config;
        config.mode = scene.chips.bcmPolicerModeCommitted();
        EXPECT_EQ( scene.chips.bcm_policer_create( TcamScene::unit, &config, &policer ), 0 );
        before = scene.snapshot();
    }

    /// An entry with one of everything.
    [[nodiscard]] EntryDesc desc() const
    {
        EntryDesc wanted;
        wanted.group = group;
        wanted.priority = 7;
        wanted.qualifiers.source = IpPrefix{ IpAddress::v4( 0x0A000000 ), 8 };
        wanted.qualifiers.destination = IpPrefix{ IpAddress::v4( 0x0A010200 ), 24 };
        wanted.qualifiers.etherType = Masked< Agent::U16 >{ 0x800, 0xFFFF };
        wanted.qualifiers.protocol = Masked< Agent::U8 >{ 6, 0xFF };
        wanted.qualifiers.sourcePort = Masked< Agent::U16 >{ 80, 0xFFFF };
        wanted.qualifiers.destinationPort = Masked< Agent::U16 >{ 443, 0xFFF0 };
        wanted.qualifiers.ranges = { { rangeId, false } };
        wanted.qualifiers.classes = { { Table::srcIp, 3 }, { Table::l4DstPort, 4 } };
        wanted.actions = { { ActionType::drop, 1, 2 } };
        wanted.policer = static_cast< PeloraTcam::PolicerId >( policer );
        return wanted;
    }

    EntryManager::EntryId created( const EntryDesc& wanted )
    {
        const auto entry = manager.create( wanted );
        EXPECT_TRUE( entry );
        return entry.value_or( 0 );
    }

    /// An entry with one of everything, in the hardware.
    EntryManager::EntryId installed()
    {
        const EntryManager::EntryId entry = created( desc() );
        EXPECT_TRUE( manager.install( entry ) );
        return entry;
    }

    void expectChipAsBefore()
    {
        EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() );
    }

    TcamScene scene{ "sdk6-tiny" };
    EntryManager manager{ TcamScene::unit };
    bcm_field_group_t group = scene.madeGroup(
        { QualifierType::srcIp, QualifierType::dstIp, QualifierType::srcIp6, QualifierType::dstIp6,
          QualifierType::etherType, QualifierType::ipProtocol, QualifierType::l4SrcPort,
          QualifierType::l4DstPort, QualifierType::rangeCheck, QualifierType::srcClassField,
          QualifierType::interfaceClassVPort } );
    Agent::U32 rangeId = 0;
    bcm_policer_t policer = 0;
    Sim::ChipSnapshot before;
};

// ---- Making ----------------------------------------------------------------------------------

TEST_F( EntryManagerTest, Create_OneOfEverything_StandsInTheChipButNotInTheHardware )
{
    EXPECT_EQ( created( desc() ), 1U );
    EXPECT_THAT( scene.text(),
                 HasSubstr( "field entry 1: group=16777221 priority=7 installed=no "
                            "DstIp=0xa010200/0xffffff00 EtherType=0x800/0xffff "
                            "InterfaceClassVPort=0x4/0xffff IpProtocol=0x6/0xff "
                            "L4DstPort=0x1bb/0xfff0 L4SrcPort=0x50/0xffff RangeCheck=1 "
                            "SrcClassField=0x3/0xffff SrcIp=0xa000000/0xff000000 "
                            "action:Drop=1,2 policer0=1\n" ) );
    EXPECT_EQ( manager.size(), 1U );
    EXPECT_EQ( manager.size( group ), 1U );
    EXPECT_EQ( *manager.find( 1 ), desc() );
}

TEST_F( EntryManagerTest, Create_Ipv6_IsWrittenInNetworkOrder )
{
    EntryDesc wanted;
    wanted.group = group;
    wanted.qualifiers.source = IpPrefix{ IpAddress::v6( { 0x20, 1 } ), 16 };
    wanted.qualifiers.destination = IpPrefix{ IpAddress::v6( { 0x20, 2 } ), 12 };
    created( wanted );
    EXPECT_THAT( scene.text(), HasSubstr( "DstIp6=0x20020000000000000000000000000000/"
                                          "0xfff00000000000000000000000000000 "
                                          "SrcIp6=0x20010000000000000000000000000000/"
                                          "0xffff0000000000000000000000000000" ) );
    EXPECT_EQ( manager.audit(), 1U );
}

TEST_F( EntryManagerTest, Create_GroupFull_GivesNothingAndTheCall )
{
    EntryDesc wanted;
    wanted.group = group;
    for ( int i = 0; i < 4; ++i ) {
        created( wanted );
    }
    EXPECT_EQ( manager.create( wanted ), std::nullopt );
    EXPECT_EQ( manager.lastRefusal(),
               ( SdkRefusal{ "bcm_field_entry_create", Sim::ReturnCode::BCM_E_FULL } ) );
    EXPECT_EQ( manager.lastRefusal().function, "bcm_field_entry_create" );
    EXPECT_EQ( manager.size( group ), 4U );
}

TEST_F( EntryManagerTest, Create_UnknownGroup_GivesNothing )
{
    EntryDesc wanted;
    wanted.group = 99;
    EXPECT_EQ( manager.create( wanted ), std::nullopt );
    EXPECT_EQ( manager.lastRefusal().rc, Sim::ReturnCode::BCM_E_NOT_FOUND );
    expectChipAsBefore();
}

// ---- Undoing ---------------------------------------------------------------------------------

constexpr const char* makingCalls[] = {
    "bcm_field_entry_create",      "bcm_field_qualify_SrcIp",      "bcm_field_qualify_DstIp",
    "bcm_field_qualify_EtherType", "bcm_field_qualify_IpProtocol", "bcm_field_qualify_L4SrcPort",
    "bcm_field_qualify_L4DstPort", "bcm_field_qualify_RangeCheck", "bcm_field_qualify_SrcClass",
    "bcm_field_entry_prio_set",    "bcm_field_action_add",         "bcm_field_entry_policer_attach",
};

TEST_F( EntryManagerTest, Create_AnyCallRefused_UndoesAllAndTellsTheCall )
{
    for ( const char* function : makingCalls ) {
        scene.nextCallIs( function, Sim::FailCall{ Sim::ReturnCode::BCM_E_RESOURCE } );
        EXPECT_EQ( manager.create( desc() ), std::nullopt ) << function;
        EXPECT_EQ( manager.lastRefusal().function, function );
        EXPECT_EQ( manager.lastRefusal().rc, Sim::ReturnCode::BCM_E_RESOURCE );
        EXPECT_EQ( manager.size(), 0U ) << function;
        EXPECT_EQ( manager.size( group ), 0U ) << function;
        expectChipAsBefore();
    }
    EXPECT_EQ( scene.faulty.calls( "bcm_field_entry_policer_attach" ), 1U );
}

TEST_F( EntryManagerTest, Create_AnyCallThrows_UndoesAllAndPassesItOn )
{
    for ( const char* function : makingCalls ) {
        scene.nextCallIs( function, Sim::ThrowFromCall{} );
        EXPECT_THROW( static_cast< void >( manager.create( desc() ) ), std::runtime_error )
            << function;
        EXPECT_EQ( manager.size(), 0U ) << function;
        expectChipAsBefore();
    }
}

TEST_F( EntryManagerTest, Create_Refused_CanBeTriedAgain )
{
    scene.nextCallIs( "bcm_field_action_add", Sim::FailCall{ Sim::ReturnCode::BCM_E_BUSY } );
    EXPECT_EQ( manager.create( desc() ), std::nullopt );
    created( desc() );
    EXPECT_EQ( manager.audit(), 1U );
}

// ---- In and out of the hardware --------------------------------------------------------------

TEST_F( EntryManagerTest, InstallAndRemove_Entry_IsInTheHardwareAndOut )
{
    const EntryManager::EntryId entry = installed();
    EXPECT_TRUE( manager.isInstalled( entry ) );
    EXPECT_THAT( scene.text(), HasSubstr( "installed=yes" ) );
    EXPECT_TRUE( manager.remove( entry ) );
    EXPECT_FALSE( manager.isInstalled( entry ) );
    EXPECT_THAT( scene.text(), HasSubstr( "installed=no" ) );
    EXPECT_FALSE( manager.remove( entry ) );
    EXPECT_TRUE( manager.install( entry ) );
    EXPECT_EQ( manager.audit(), 1U );
}

TEST_F( EntryManagerTest, Install_Refused_StaysAsItWas )
{
    const EntryManager::EntryId entry = created( desc() );
    scene.nextCallIs( "bcm_field_entry_install", Sim::FailCall{ Sim::ReturnCode::BCM_E_FULL } );
    EXPECT_FALSE( manager.install( entry ) );
    EXPECT_EQ( manager.lastRefusal().function, "bcm_field_entry_install" );
    EXPECT_FALSE( manager.isInstalled( entry ) );
    EXPECT_TRUE( manager.install( entry ) );
}

TEST_F( EntryManagerTest, Destroy_Installed_LeavesTheChipAsBefore )
{
    EXPECT_TRUE( manager.destroy( installed() ) );
    expectChipAsBefore();
    EXPECT_EQ( manager.size(), 0U );
    EXPECT_EQ( manager.size( group ), 0U );
}

TEST_F( EntryManagerTest, Destroy_Installed_UndoesInReverse )
{
    const EntryManager::EntryId entry = installed();
    TestSupport::RecordingSdk recording( scene.faulty );
    Shim::sdk_ = &recording;
    manager.destroy( entry );
    std::vector< std::string > functions;
    for ( const TestSupport::RecordedCall& call : recording.records() ) {
        if ( call.isFunction ) {
            functions.push_back( call.text() );
        }
    }
    EXPECT_THAT( functions, ElementsAre( "bcm_field_entry_remove( 2, 1 )",
                                         "bcm_field_entry_policer_detach( 2, 1, 0 )",
                                         "bcm_field_entry_destroy( 2, 1 )" ) );
}

TEST_F( EntryManagerTest, Destroy_AnyCallThrows_IsDestroyedFromWhereItWasLeft )
{
    for ( const char* function : { "bcm_field_entry_remove", "bcm_field_entry_policer_detach",
                                   "bcm_field_entry_destroy" } ) {
        const EntryManager::EntryId entry = installed();
        scene.nextCallIs( function, Sim::ThrowFromCall{} );
        EXPECT_THROW( manager.destroy( entry ), std::runtime_error ) << function;
        EXPECT_EQ( manager.size(), 1U );
        EXPECT_EQ( manager.audit(), 1U );
        EXPECT_TRUE( manager.destroy( entry ) ) << function;
        expectChipAsBefore();
    }
}

TEST_F( EntryManagerTest, AnyOperation_UnknownEntry_IsRefused )
{
    const auto expectRefusal = [ this ]( bool isDone, std::string_view function ) {
        EXPECT_FALSE( isDone ) << function;
        EXPECT_EQ( manager.lastRefusal().function, function );
        EXPECT_EQ( manager.lastRefusal().rc, Shim::sdk().BCM_E_NOT_FOUND() ) << function;
    };
    EXPECT_FALSE( manager.destroy( 77 ) );
    EXPECT_FALSE( manager.remove( 77 ) );
    EXPECT_FALSE( manager.detachPolicer( 77 ) );
    EXPECT_FALSE( manager.detachStatistic( 77 ) );
    EXPECT_FALSE( manager.isInstalled( 77 ) );
    EXPECT_EQ( manager.find( 77 ), nullptr );
    expectRefusal( manager.install( 77 ), "bcm_field_entry_install" );
    expectRefusal( manager.attachPolicer( 77, 1 ), "bcm_field_entry_policer_attach" );
    expectRefusal( manager.attachStatistic( 77, 1 ), "bcm_field_entry_stat_attach" );
    EXPECT_EQ( scene.faulty.calls(), 2U ) << "those that made the group, and no more";
}

// ---- Attachments -----------------------------------------------------------------------------

TEST_F( EntryManagerTest, Policer_OfAnInstalledEntry_ReachesTheHardware )
{
    EntryDesc wanted = desc();
    wanted.policer.reset();
    const EntryManager::EntryId entry = created( wanted );
    EXPECT_TRUE( manager.install( entry ) );
    EXPECT_TRUE( manager.attachPolicer( entry, static_cast< Agent::U32 >( policer ) ) );
    EXPECT_THAT( scene.text(), HasSubstr( "installed=yes" ) );
    EXPECT_EQ( *manager.find( entry ), desc() );
    EXPECT_FALSE( manager.attachPolicer( entry, static_cast< Agent::U32 >( policer ) ) );
    EXPECT_EQ( manager.lastRefusal().rc, Sim::ReturnCode::BCM_E_EXISTS );
    EXPECT_TRUE( manager.detachPolicer( entry ) );
    EXPECT_FALSE( manager.detachPolicer( entry ) );
    EXPECT_THAT( scene.text(), HasSubstr( "installed=yes" ) );
    EXPECT_EQ( manager.audit(), 1U );
}

TEST_F( EntryManagerTest, Policer_Unknown_IsRefused )
{
    EntryDesc wanted = desc();
    wanted.policer = 99;
    EXPECT_EQ( manager.create( wanted ), std::nullopt );
    EXPECT_EQ( manager.lastRefusal().function, "bcm_field_entry_policer_attach" );
    expectChipAsBefore();
}

TEST_F( EntryManagerTest, Statistic_AttachedAndDetached_IsAudited )
{
    const EntryManager::EntryId entry = installed();
    bcm_field_stat_t type = scene.chips.bcmFieldStatPackets();
    int statistic = 0;
    EXPECT_EQ( scene.chips.bcm_field_stat_create( TcamScene::unit, group, 1, &type, &statistic ),
               0 );
    EXPECT_TRUE( manager.attachStatistic( entry, statistic ) );
    EXPECT_FALSE( manager.attachStatistic( entry, statistic ) );
    EXPECT_EQ( manager.lastRefusal().rc, Sim::ReturnCode::BCM_E_EXISTS );
    EXPECT_EQ( manager.audit(), 1U );
    EXPECT_TRUE( manager.detachStatistic( entry ) );
    EXPECT_FALSE( manager.detachStatistic( entry ) );
    EXPECT_TRUE( manager.attachStatistic( entry, statistic ) );
    EXPECT_TRUE( manager.destroy( entry ) );
    EXPECT_EQ( scene.chips.bcm_field_stat_destroy( TcamScene::unit, statistic ), 0 );
    expectChipAsBefore();
}

// ---- Audit -----------------------------------------------------------------------------------

struct WrongReadBack
{
    const char* function;
    const char* output;
    uint64_t value;
};

TEST_F( EntryManagerTest, Audit_AnythingReadBackWrong_Dies )
{
    constexpr WrongReadBack wrong[] = {
        { "bcm_field_entry_installed_get", "installed", 0 },
        { "bcm_field_qualify_SrcIp_get", "data", 0x0B000000 },
        { "bcm_field_qualify_SrcIp_get", "mask", 0xFFFF0000 },
        { "bcm_field_qualify_DstIp_get", "data", 1 },
        { "bcm_field_qualify_EtherType_get", "data", 0x86DD },
        { "bcm_field_qualify_IpProtocol_get", "data", 17 },
        { "bcm_field_qualify_L4SrcPort_get", "data", 81 },
        { "bcm_field_qualify_L4DstPort_get", "mask", 0xFFFF },
        { "bcm_field_qualify_RangeCheck_get", "rangeIds", 2 },
        { "bcm_field_qualify_RangeCheck_get", "actualRanges", 0 },
        { "bcm_field_qualify_RangeCheck_get", "inverts", 1 },
        { "bcm_field_qualify_SrcClass_get", "src_class_field", 9 },
        { "bcm_field_qualify_SrcClass_get", "intf_class_l3", 9 },
        { "bcm_field_entry_prio_get", "priority", 8 },
        { "bcm_field_action_get", "param1", 3 },
        { "bcm_field_entry_policer_get", "policerId", 2 },
    };
    installed();
    EXPECT_EQ( manager.audit(), 1U );
    for ( const WrongReadBack& each : wrong ) {
        scene.nextCallIs( each.function, Sim::CorruptOutput{ each.output, each.value } );
        EXPECT_DEATH( manager.audit(), "Assertion .* failed" )
            << each.function << " " << each.output;
        scene.faulty.clearFaults();
    }
}

TEST_F( EntryManagerTest, Audit_WriteWasDropped_Dies )
{
    for ( const char* function : makingCalls ) {
        if ( std::string( function ) == "bcm_field_entry_create" ) {
            continue; // Then the next call finds no entry.
        }
        scene.nextCallIs( function, Sim::DropCall{} );
        const EntryManager::EntryId entry = installed();
        EXPECT_DEATH( manager.audit(), "Assertion .* failed" ) << function;
        scene.faulty.clearFaults();
        if ( std::string( function ) == "bcm_field_entry_policer_attach" ) {
            break; // Nobody could detach it.
        }
        manager.destroy( entry );
    }
}

TEST_F( EntryManagerTest, Audit_InstallWasDropped_Dies )
{
    scene.nextCallIs( "bcm_field_entry_install", Sim::DropCall{} );
    installed();
    EXPECT_DEATH( manager.audit(),
                  ::testing::MatchesRegex( TestSupport::assertionLine(
                      "reference/EntryManager.cpp", ".*",
                      "( installed != 0 ) == ( record.installed && !record.outdated )" ) ) );
}

TEST_F( EntryManagerTest, Audit_NothingHeld_ReadsNothing )
{
    const uint64_t calls = scene.faulty.calls();
    EXPECT_EQ( manager.audit(), 0U );
    EXPECT_EQ( scene.faulty.calls(), calls );
}

} // namespace
} // namespace Reference
