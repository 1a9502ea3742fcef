#include "reference/GroupManager.h"

#include "tests/reference/FieldChip.h"
#include "tests/support/AssertionText.h"
#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Reference {
namespace {

using PeloraTcam::ActionType;
using PeloraTcam::QualifierSet;
using PeloraTcam::QualifierType;
using PeloraTcam::TcamKeySize;
using ::testing::HasSubstr;

constexpr const char* source = "reference/GroupManager.cpp";
constexpr const char* verifyFunction = "void Reference::GroupManager::verify\\([^)]*\\) const";

class GroupManagerTest : public ::testing::Test
{
  protected:
    static GroupDesc desc()
    {
        GroupDesc wanted;
        wanted.keySize = TcamKeySize::doubleWide;
        wanted.qualifiers = { QualifierType::srcIp, QualifierType::dstIp };
        wanted.actions = { ActionType::drop };
        return wanted;
    }

    bcm_field_group_t created( const GroupDesc& wanted )
    {
        const auto group = manager.create( wanted );
        EXPECT_TRUE( group );
        return group.value_or( 0 );
    }

    /// The mode that a group has on the chip.
    std::string modeOf( bcm_field_group_t group )
    {
        const Sim::SimFieldGroups& groups = chip.chips.chip( FieldChip::unit )->field().groups();
        return chip.chips.numbering().nameOf( groups.find( group )->mode );
    }

    FieldChip chip;
    GroupManager manager{ FieldChip::unit, true };
};

// ---- Creating --------------------------------------------------------------------------------

TEST_F( GroupManagerTest, Create_Group_StandsInTheChipWithItsSetsModeAndStage )
{
    EXPECT_EQ( created( desc() ), 1 );
    EXPECT_EQ( chip.text(),
               "field group 1: mode=bcmFieldGroupModeDouble "
               "modeType=bcmFieldGroupModeTypeStandard packetType=bcmFieldGroupPacketTypeAny "
               "priority=0 qualifiers=[DstIp,SrcIp,StageIngress] actions=[Drop]\n" );
    EXPECT_EQ( manager.size(), 1U );
}

TEST_F( GroupManagerTest, Create_EachKeySize_HasItsMode )
{
    struct Case
    {
        TcamKeySize::TcamKeySizeValue keySize;
        PeloraTcam::StageType stage;
        const char* mode;
    };

    const Case cases[] = {
        { TcamKeySize::automatic, PeloraTcam::stageIfp(), "bcmFieldGroupModeAuto" },
        { TcamKeySize::single, PeloraTcam::stageIfp(), "bcmFieldGroupModeSingleASetNarrow" },
        { TcamKeySize::single, PeloraTcam::stageVfp(), "bcmFieldGroupModeSingle" },
        { TcamKeySize::doubleWide, PeloraTcam::StageType::efp, "bcmFieldGroupModeDouble" },
        { TcamKeySize::tripleWide, PeloraTcam::stageIfp(), "bcmFieldGroupModeTriple" },
        { TcamKeySize::quadWide, PeloraTcam::stageVfp(), "bcmFieldGroupModeQuad" },
    };
    for ( const Case& each : cases ) {
        GroupDesc wanted = desc();
        wanted.keySize = each.keySize;
        wanted.stage = each.stage;
        const bcm_field_group_t group = created( wanted );
        EXPECT_EQ( modeOf( group ), each.mode );
        EXPECT_TRUE( manager.destroy( group ) );
    }
}

TEST_F( GroupManagerTest, Create_NarrowKeysNotSupported_IsASingleWideGroup )
{
    GroupManager plain( FieldChip::unit, false );
    GroupDesc wanted = desc();
    wanted.keySize = TcamKeySize::single;
    EXPECT_EQ( modeOf( plain.create( wanted ).value() ), "bcmFieldGroupModeSingle" );
}

TEST_F( GroupManagerTest, Create_EachStage_IsInTheQualifierSet )
{
    const std::pair< PeloraTcam::StageType, const char* > stages[] = {
        { PeloraTcam::StageType::vfp, "StageLookup" },
        { PeloraTcam::StageType::ifp, "StageIngress" },
        { PeloraTcam::StageType::efp, "StageEgress" },
    };
    for ( const auto& [ stage, name ] : stages ) {
        GroupDesc wanted = desc();
        wanted.stage = stage;
        const bcm_field_group_t group = created( wanted );
        EXPECT_THAT( chip.text(), HasSubstr( std::string( "," ) + name + "]" ) );
        EXPECT_TRUE( manager.destroy( group ) );
    }
}

TEST_F( GroupManagerTest, Create_WithALogicalId_HasTheSdksIdMadeOfIt )
{
    GroupDesc wanted = desc();
    wanted.logicalId = 0x01000005;
    wanted.subId = 3;
    EXPECT_EQ( created( wanted ), 0x0B000005 );
}

TEST_F( GroupManagerTest, Create_SeveralQualifiersThatAreOneForTheSdk_ReadBackAsTheFirst )
{
    GroupDesc wanted = desc();
    wanted.qualifiers = { QualifierType{ 35 }, QualifierType{ 39 }, QualifierType::stage };
    const bcm_field_group_t group = created( wanted );
    EXPECT_EQ( *manager.qualifiers( group ),
               ( QualifierSet{ QualifierType{ 34 }, QualifierType{ 38 } } ) );
}

TEST_F( GroupManagerTest, Create_NoRoom_IsNothing )
{
    created( desc() );
    created( desc() );
    const std::string before = chip.text();
    EXPECT_FALSE( manager.create( desc() ) );
    EXPECT_EQ( chip.text(), before );
    EXPECT_EQ( manager.size(), 2U );
}

TEST_F( GroupManagerTest, Create_IdTaken_IsNothing )
{
    GroupDesc wanted = desc();
    wanted.logicalId = 7;
    created( wanted );
    EXPECT_FALSE( manager.create( wanted ) );
    EXPECT_EQ( manager.size(), 1U );
}

TEST_F( GroupManagerTest, Create_SdkThrowsAtTheReadBack_UndoesTheGroup )
{
    chip.nextCallIs( "bcm_field_group_get", Sim::ThrowFromCall() );
    EXPECT_THROW( static_cast< void >( manager.create( desc() ) ), std::runtime_error );
    EXPECT_EQ( chip.text(), "" );
    EXPECT_EQ( manager.size(), 0U );
}

TEST_F( GroupManagerTest, Create_Always_MakesTheseCallsWithTheLocksReleased )
{
    TestSupport::RecordingSdk recording( chip.faulty );
    bool held = true;
    recording.on.bcm_field_group_destroy = [ & ]( int unit, bcm_field_group_t group ) {
        held = Agent::activityLock().heldByThisThread();
        return chip.faulty.bcm_field_group_destroy( unit, group );
    };
    Shim::sdk_ = &recording;
    manager.destroy( created( desc() ) );
    EXPECT_EQ( recording.countOf( "bcm_field_group_config_create" ), 1U );
    EXPECT_EQ( recording.countOf( "bcm_field_group_get" ), 1U );
    EXPECT_EQ( recording.countOf( "bcm_field_group_destroy" ), 1U );
    EXPECT_FALSE( held );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

// ---- Destroying ------------------------------------------------------------------------------

TEST_F( GroupManagerTest, Destroy_OwnGroup_FreesItInTheChip )
{
    const bcm_field_group_t group = created( desc() );
    EXPECT_TRUE( manager.destroy( group ) );
    EXPECT_EQ( chip.text(), "" );
    EXPECT_EQ( manager.size(), 0U );
    EXPECT_EQ( manager.qualifiers( group ), nullptr );
    EXPECT_FALSE( manager.destroy( group ) );
}

TEST_F( GroupManagerTest, Destroy_SdkThrows_KeepsTheRecord )
{
    const bcm_field_group_t group = created( desc() );
    chip.nextCallIs( "bcm_field_group_destroy", Sim::ThrowFromCall() );
    EXPECT_THROW( manager.destroy( group ), std::runtime_error );
    EXPECT_EQ( manager.size(), 1U );
    EXPECT_EQ( manager.audit(), 1U );
}

TEST_F( GroupManagerTest, Destroy_GroupWithEntries_IsRefusedAndTheGroupStays )
{
    const bcm_field_group_t group = created( desc() );
    bcm_field_entry_t entry = 0;
    ASSERT_EQ( chip.chips.bcm_field_entry_create( FieldChip::unit, group, &entry ), 0 );
    EXPECT_FALSE( manager.destroy( group ) );
    EXPECT_EQ( manager.audit(), 1U );
    ASSERT_EQ( chip.chips.bcm_field_entry_destroy( FieldChip::unit, entry ), 0 );
    EXPECT_TRUE( manager.destroy( group ) );
    EXPECT_EQ( chip.text(), "" );
}

// ---- Auditing --------------------------------------------------------------------------------

TEST_F( GroupManagerTest, Audit_GroupsAsTheyWereMade_CountsThem )
{
    EXPECT_EQ( manager.audit(), 0U );
    created( desc() );
    created( desc() );
    EXPECT_EQ( manager.audit(), 2U );
}

using GroupManagerDeathTest = GroupManagerTest;

TEST_F( GroupManagerDeathTest, Audit_QualifiersReadBackWrong_Aborts )
{
    created( desc() );
    chip.nextCallIs( "bcm_field_group_get", Sim::CorruptOutput{ "members", 1 } );
    EXPECT_DEATH( manager.audit(), TestSupport::assertionLine( source, verifyFunction,
                                                               "inHardware == qualifiers" ) );
}

TEST_F( GroupManagerDeathTest, Create_ChipLosesTheGroup_AbortsAtTheReadBack )
{
    chip.nextCallIs( "bcm_field_group_config_create", Sim::DropCall() );
    EXPECT_DEATH( static_cast< void >( manager.create( desc() ) ),
                  TestSupport::apiErrorLine( source, "bcm_field_group_get( unit_, group, &qset )",
                                             "Entry not found", -7 ) );
}

TEST_F( GroupManagerDeathTest, Create_NoStage_Aborts )
{
    GroupDesc wanted = desc();
    wanted.stage = PeloraTcam::StageType::invalid;
    EXPECT_DEATH( static_cast< void >( manager.create( wanted ) ),
                  "Assertion `false && \"a group belongs to a stage\"' failed" );
}

TEST_F( GroupManagerDeathTest, Create_QualifierThatTheLibraryDoesNotKnow_Aborts )
{
    GroupDesc wanted = desc();
    wanted.qualifiers = { QualifierType::udf };
    EXPECT_DEATH( static_cast< void >( manager.create( wanted ) ), "Unsupported qualifier udf\n" );
}

TEST_F( GroupManagerDeathTest, Destroy_ChipHasLostTheGroup_Aborts )
{
    const bcm_field_group_t group = created( desc() );
    ASSERT_EQ( chip.chips.bcm_field_group_destroy( FieldChip::unit, group ), 0 );
    EXPECT_DEATH( manager.destroy( group ),
                  TestSupport::apiErrorLine( source, "bcm_field_group_destroy( unit_, group )",
                                             "Entry not found", -7 ) );
}

} // namespace
} // namespace Reference
