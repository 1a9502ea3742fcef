#include "reference/PreselectorManager.h"

#include "agent/tcam/FieldEnumerations.h"
#include "tests/reference/FieldChip.h"
#include "tests/support/AssertionText.h"
#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Reference {
namespace {

using PeloraTcam::FieldPacketType;
using PeloraTcam::QualifierType;

constexpr Agent::U32 allBits = 0xFFFFFFFF;
constexpr auto current = PreselectorFunction::current;
constexpr auto legacy = PreselectorFunction::legacy;
constexpr auto l2Broadcast = static_cast< Agent::U32 >( FieldPacketType::l2Broadcast );

class PreselectorManagerTest : public ::testing::Test
{
  protected:
    bcm_field_presel_t created( const std::vector< PreselectorQualifier >& qualifiers,
                                PreselectorFunction function = current )
    {
        const auto presel = manager.create( qualifiers, function );
        EXPECT_TRUE( presel );
        return presel.value_or( 0 );
    }

    FieldChip chip;
    PreselectorManager manager{ FieldChip::unit };
};

// ---- Programming -----------------------------------------------------------------------------

TEST_F( PreselectorManagerTest, Create_WithTheCurrentFunction_ProgramsEachQualifier )
{
    created( { { QualifierType::drop, 0, 1 },
               { QualifierType::pktType, l2Broadcast, allBits },
               { QualifierType::ipInfo, 0x12345, 0xFFFFF } } );
    EXPECT_EQ( chip.text(), "preselector 1: Drop=0x0/0x1 IpInfo=0x12345/0xfffff "
                            "PktType=bcmFieldPktTypeL2Bcast\n" );
}

TEST_F( PreselectorManagerTest, Create_WithTheLegacyFunction_TakesTheSdksValues )
{
    const Agent::U32 forwardingType = chip.chips.bcmFieldForwardingTypeMpls();
    const Agent::U32 ipType = chip.chips.bcmFieldIpTypeIpv6();
    created( { { QualifierType::forwardingType, forwardingType, allBits },
               { QualifierType::ipType, ipType, allBits },
               { QualifierType::pktType, l2Broadcast, allBits },
               { QualifierType::l2StationMove, 1, 1 } },
             legacy );
    EXPECT_EQ( chip.text(), "preselector 1: ForwardingType=bcmFieldForwardingTypeMpls "
                            "IpType=bcmFieldIpTypeIpv6 L2StationMove=0x1/0x1 "
                            "PktType=bcmFieldPktTypeL2Bcast\n" );
}

TEST_F( PreselectorManagerTest, Create_WithClasses_AppliesThemInOneCallAtTheEnd )
{
    TestSupport::RecordingSdk recording( chip.faulty );
    Shim::sdk_ = &recording;
    created( { { QualifierType::dstClassField, 0x0001, 0x00FF },
               { QualifierType::drop, 1, 1 },
               { QualifierType::dstClassField, 0x0100, 0xFF00 },
               { QualifierType::interfaceClassPort, 3, 7 } } );
    EXPECT_EQ( chip.text(), "preselector 1: Drop=0x1/0x1 DstClassField=0x101/0xffff "
                            "InterfaceClassPort=0x3/0x7\n" );
    EXPECT_EQ( recording.countOf( "bcm_field_qualify_SrcClass" ), 1U );
    EXPECT_THAT( recording.calls().back(), testing::StartsWith( "bcm_field_qualify_SrcClass(" ) );
}

TEST_F( PreselectorManagerTest, Create_ClassTwiceWithTheLegacyFunction_HasTheSecond )
{
    created( { { QualifierType::dstClassField, 0x0001, 0xFFFF },
               { QualifierType::dstClassField, 0x0100, 0xFFFF },
               { QualifierType::interfaceClassVPort, 9, 0xF } },
             legacy );
    EXPECT_EQ( chip.text(),
               "preselector 1: DstClassField=0x100/0xffff InterfaceClassVPort=0x9/0xf\n" );
}

TEST_F( PreselectorManagerTest, Create_WithoutClasses_AppliesNone )
{
    created( { { QualifierType::drop, 1, 1 }, { QualifierType::srcClassField, 0, 0 } } );
    EXPECT_EQ( chip.faulty.calls( "bcm_field_qualify_SrcClass" ), 0U );
}

TEST_F( PreselectorManagerTest, Create_WithoutQualifiers_IsAnEmptyPreselector )
{
    EXPECT_EQ( created( {} ), 1 );
    EXPECT_EQ( chip.text(), "preselector 1:\n" );
}

TEST_F( PreselectorManagerTest, Create_NoRoom_IsNothing )
{
    created( {} );
    created( {} );
    EXPECT_FALSE( manager.create( { { QualifierType::drop, 1, 1 } }, current ) );
    EXPECT_EQ( manager.size(), 2U );
    EXPECT_EQ( chip.faulty.calls( "bcm_field_qualify_Drop" ), 0U );
}

TEST_F( PreselectorManagerTest, Create_SdkThrowsAtAQualifier_UndoesThePreselector )
{
    chip.nextCallIs( "bcm_field_qualify_IpInfo", Sim::ThrowFromCall() );
    const std::vector< PreselectorQualifier > qualifiers = { { QualifierType::drop, 1, 1 },
                                                             { QualifierType::ipInfo, 1, 1 } };
    EXPECT_THROW( static_cast< void >( manager.create( qualifiers, current ) ),
                  std::runtime_error );
    EXPECT_EQ( chip.text(), "" );
    EXPECT_EQ( manager.size(), 0U );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

// ---- Destroying ------------------------------------------------------------------------------

TEST_F( PreselectorManagerTest, Destroy_OwnPreselector_FreesItInTheChip )
{
    const bcm_field_presel_t presel = created( {} );
    EXPECT_EQ( manager.size(), 1U );
    EXPECT_TRUE( manager.destroy( presel ) );
    EXPECT_EQ( chip.text(), "" );
    EXPECT_EQ( manager.size(), 0U );
    EXPECT_FALSE( manager.destroy( presel ) );
}

TEST_F( PreselectorManagerTest, Destroy_SdkThrows_KeepsTheRecord )
{
    const bcm_field_presel_t presel = created( {} );
    chip.nextCallIs( "bcm_field_presel_destroy", Sim::ThrowFromCall() );
    EXPECT_THROW( manager.destroy( presel ), std::runtime_error );
    EXPECT_EQ( manager.size(), 1U );
    EXPECT_TRUE( manager.destroy( presel ) );
}

// ---- Ends of the process ---------------------------------------------------------------------

using PreselectorManagerDeathTest = PreselectorManagerTest;

TEST_F( PreselectorManagerDeathTest, Create_QualifierThatNoPreselectorHas_Aborts )
{
    const char* assertion = "unsupported preselect qualifier";
    for ( const PreselectorFunction function : { current, legacy } ) {
        EXPECT_DEATH(
            static_cast< void >( manager.create( { { QualifierType::srcIp, 1, 1 } }, function ) ),
            assertion );
    }
}

TEST_F( PreselectorManagerDeathTest, Create_SdkRefusesTheClasses_Aborts )
{
    chip.nextCallIs( "bcm_field_qualify_SrcClass", Sim::FailCall{ -4 } );
    EXPECT_DEATH( static_cast< void >(
                      manager.create( { { QualifierType::srcClassField, 1, 1 } }, current ) ),
                  TestSupport::apiErrorLine(
                      "reference/PreselectorManager.cpp",
                      "bcm_field_qualify_SrcClass( unit, flagged, &classes.data, &classes.mask )",
                      "Invalid parameter", -4 ) );
}

} // namespace
} // namespace Reference
