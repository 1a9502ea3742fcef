#include "reference/EntryQualifiers.h"

#include "tests/reference/TcamScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Reference {
namespace {

using PeloraTcam::QualifierType;
using ::testing::HasSubstr;
using Table = PeloraTcam::PeloraCompressionTableType;

class EntryQualifiersTest : public ::testing::Test
{
  protected:
    static constexpr int unit = TcamScene::unit;

    EntryQualifiersTest()
    {
        EXPECT_EQ( scene.chips.bcm_field_entry_create( unit, group, &entry ), 0 );
    }

    TcamScene scene{ "sdk6-udf" };
    bcm_field_group_t group = scene.madeGroup(
        { QualifierType::ipProtocol, QualifierType::l4SrcPort, QualifierType::srcClassField,
          QualifierType::dstClassField, QualifierType::interfaceClassL2,
          QualifierType::interfaceClassL3, QualifierType::interfaceClassPort,
          QualifierType::interfaceClassVPort } );
    bcm_field_entry_t entry = 0;
};

TEST_F( EntryQualifiersTest, ClassQualifier_EachTable_HasOneOfItsOwn )
{
    EXPECT_EQ( classQualifier( Table::srcIp ), QualifierType::srcClassField );
    EXPECT_EQ( classQualifier( Table::dstIp ), QualifierType::dstClassField );
    EXPECT_EQ( classQualifier( Table::etherType ), QualifierType::interfaceClassL2 );
    EXPECT_EQ( classQualifier( Table::ipProto ), QualifierType::interfaceClassL3 );
    EXPECT_EQ( classQualifier( Table::l4SrcPort ), QualifierType::interfaceClassPort );
    EXPECT_EQ( classQualifier( Table::l4DstPort ), QualifierType::interfaceClassVPort );
    EXPECT_DEATH( static_cast< void >( classQualifier( Table::invalid ) ),
                  "there is no such table" );
}

TEST_F( EntryQualifiersTest, Qualify_AllClasses_AreInTheFieldsOfTheirQualifiers )
{
    EntryQualifiers qualifiers;
    qualifiers.classes = { { Table::srcIp, 1 },     { Table::dstIp, 2 },
                           { Table::etherType, 3 }, { Table::ipProto, 4 },
                           { Table::l4SrcPort, 5 }, { Table::l4DstPort, 6 } };
    EXPECT_EQ( qualifyEntry( unit, entry, qualifiers ), SdkRefusal() );
    EXPECT_THAT( scene.text(),
                 HasSubstr( "DstClassField=0x2/0xffff InterfaceClassL2=0x3/0xffff "
                            "InterfaceClassL3=0x4/0xffff InterfaceClassPort=0x5/0xffff "
                            "InterfaceClassVPort=0x6/0xffff SrcClassField=0x1/0xffff" ) );
    verifyQualifiers( unit, entry, qualifiers );
    qualifiers.classes.erase( Table::ipProto );
    EXPECT_DEATH( verifyQualifiers( unit, entry, qualifiers ), "Assertion .* failed" );
}

TEST_F( EntryQualifiersTest, Qualify_Nothing_MakesNoCall )
{
    const uint64_t calls = scene.faulty.calls();
    EXPECT_EQ( qualifyEntry( unit, entry, {} ), SdkRefusal() );
    EXPECT_EQ( scene.faulty.calls(), calls );
    verifyQualifiers( unit, entry, {} );
}

TEST_F( EntryQualifiersTest, Qualify_QualifierThatTheGroupDoesNotHave_IsTheLastCall )
{
    EntryQualifiers qualifiers;
    qualifiers.destinationPort = Masked< Agent::U16 >{ 80, 0xFFFF };
    qualifiers.classes = { { Table::srcIp, 1 } };
    EXPECT_EQ( qualifyEntry( unit, entry, qualifiers ),
               ( SdkRefusal{ "bcm_field_qualify_L4DstPort", Sim::ReturnCode::BCM_E_PARAM } ) );
    EXPECT_EQ( scene.faulty.calls( "bcm_field_qualify_SrcClass" ), 0U );
}

} // namespace
} // namespace Reference
