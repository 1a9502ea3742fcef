#include "reference/QualifierReading.h"

#include "tests/reference/TcamScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Reference {
namespace {

using PeloraTcam::IpAddress;
using PeloraTcam::QualifierType;
using ::testing::ElementsAre;

class QualifierReadingTest : public ::testing::Test
{
  protected:
    static constexpr int unit = TcamScene::unit;

    QualifierReadingTest()
    {
        const bcm_field_group_t group = scene.madeGroup(
            { QualifierType::srcIp, QualifierType::dstIp, QualifierType::srcIp6,
              QualifierType::dstIp6, QualifierType::etherType, QualifierType::ipProtocol,
              QualifierType::l4SrcPort, QualifierType::l4DstPort } );
        EXPECT_EQ( scene.chips.bcm_field_entry_create( unit, group, &entry ), 0 );
    }

    TcamScene scene{ "sdk6-udf" };
    bcm_field_entry_t entry = 0;
};

TEST( Ip6ValueTest, Construct_Prefix_HasItsAddressAndMask )
{
    const Ip6Value value( { IpAddress::v6( { 0x20, 1, 0xD, 0xB8 } ), 12 } );
    EXPECT_THAT( value.data,
                 ElementsAre( 0x20, 1, 0xD, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 ) );
    EXPECT_THAT( value.mask, ElementsAre( 0xFF, 0xF0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0 ) );
}

TEST( Ip4ValueTest, Ip4Value_Prefix_HasItsAddressAndMask )
{
    EXPECT_EQ( ip4Value( { IpAddress::v4( 0x0A000000 ), 8 } ),
               ( Masked< bcm_ip_t >{ 0x0A000000, 0xFF000000 } ) );
    EXPECT_EQ( ip4Value( { IpAddress::v4( 0 ), 0 } ), ( Masked< bcm_ip_t >{ 0, 0 } ) );
}

TEST_F( QualifierReadingTest, Verify_WhatTheChipHolds_Returns )
{
    const Ip6Value ip6( { IpAddress::v6( { 0x20, 1 } ), 16 } );
    scene.chips.bcm_field_qualify_SrcIp( unit, entry, 0x0A000000, 0xFF000000 );
    scene.chips.bcm_field_qualify_DstIp( unit, entry, 0x0B000000, 0xFFFF0000 );
    scene.chips.bcm_field_qualify_SrcIp6( unit, entry, ip6.data, ip6.mask );
    scene.chips.bcm_field_qualify_DstIp6( unit, entry, ip6.data, ip6.mask );
    scene.chips.bcm_field_qualify_EtherType( unit, entry, 0x800, 0xFFFF );
    scene.chips.bcm_field_qualify_IpProtocol( unit, entry, 6, 0xFF );
    scene.chips.bcm_field_qualify_L4SrcPort( unit, entry, 53, 0xFFFF );
    scene.chips.bcm_field_qualify_L4DstPort( unit, entry, 80, 0xFFF0 );
    const uint64_t calls = scene.faulty.calls();
    verifySource( unit, entry, { IpAddress::v4( 0x0A000000 ), 8 } );
    verifyDestination( unit, entry, { IpAddress::v4( 0x0B000000 ), 16 } );
    verifySource( unit, entry, { IpAddress::v6( { 0x20, 1 } ), 16 } );
    verifyDestination( unit, entry, { IpAddress::v6( { 0x20, 1 } ), 16 } );
    verifyEtherType( unit, entry, { 0x800, 0xFFFF } );
    verifyProtocol( unit, entry, { 6, 0xFF } );
    verifySourcePort( unit, entry, { 53, 0xFFFF } );
    verifyDestinationPort( unit, entry, { 80, 0xFFF0 } );
    EXPECT_EQ( scene.faulty.calls(), calls + 8 );
}

TEST_F( QualifierReadingTest, Verify_SomethingElse_Dies )
{
    const Ip6Value ip6( { IpAddress::v6( { 0x20, 1 } ), 16 } );
    scene.chips.bcm_field_qualify_SrcIp( unit, entry, 0x0A000000, 0xFF000000 );
    scene.chips.bcm_field_qualify_SrcIp6( unit, entry, ip6.data, ip6.mask );
    const char* const failed = "Assertion .* failed";
    EXPECT_DEATH( verifySource( unit, entry, { IpAddress::v4( 0x0A000000 ), 9 } ), failed );
    EXPECT_DEATH( verifySource( unit, entry, { IpAddress::v4( 0x0B000000 ), 8 } ), failed );
    EXPECT_DEATH( verifySource( unit, entry, { IpAddress::v6( { 0x20, 2 } ), 16 } ), failed );
    EXPECT_DEATH( verifySource( unit, entry, { IpAddress::v6( { 0x20, 1 } ), 17 } ), failed );
}

TEST_F( QualifierReadingTest, Verify_QualifierThatTheEntryDoesNotHave_Dies )
{
    const char* const notFound = "API ERROR:Entry not found";
    EXPECT_DEATH( verifySource( unit, entry, {} ), notFound );
    EXPECT_DEATH( verifyDestination( unit, entry, {} ), notFound );
    EXPECT_DEATH( verifyEtherType( unit, entry, {} ), notFound );
    EXPECT_DEATH( verifyProtocol( unit, entry, {} ), notFound );
    EXPECT_DEATH( verifySourcePort( unit, entry, {} ), notFound );
    EXPECT_DEATH( verifyDestinationPort( unit, entry, {} ), notFound );
}

} // namespace
} // namespace Reference
