#include "sim/SimField.h"

#include "tests/sim/chip/FieldScene.h"

#include <array>

namespace Sim {

namespace {

class SimFieldTest : public FieldScene
{
  protected:
    SimFieldTest()
        : entry( madeEntry( madeGroup( config(
              { numbering.bcmFieldQualifyDrop, numbering.bcmFieldQualifySrcIp6,
                numbering.bcmFieldQualifySrcClassField, numbering.bcmFieldQualifyUdf } ) ) ) )
        , preselector( madePreselector() | SimField::preselectorBit )
        , drop{ numbering.bcmFieldQualifyDrop, FieldQualifier::entriesAndPreselectors }
        , srcIp6{ numbering.bcmFieldQualifySrcIp6, FieldQualifier::entries }
    {}

    bcm_field_entry_t entry;
    bcm_field_entry_t preselector;
    FieldQualifier drop;
    FieldQualifier srcIp6;
};

INSTANTIATE_FIELD_SCENE( SimFieldTest );

TEST_P( SimFieldTest, Qualify_WithAndWithoutTheBit_ReachesPreselectorOrEntry )
{
    EXPECT_EQ( field.qualify( entry, drop, MaskedNumber{ 1, 1 } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( field.qualify( preselector, drop, MaskedNumber{ 0, 1 } ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( textOf( "field entry 1" ), "group=1 priority=0 installed=no Drop=0x1/0x1 " );
    EXPECT_EQ( textOf( "preselector 1" ), "Drop=0x0/0x1 " );
}

TEST_P( SimFieldTest, Qualify_UnknownEntryOrPreselector_IsNotFound )
{
    for ( const bcm_field_entry_t unknown : { 0, 2, 0x40000000, 0x40000002, -1 } ) {
        EXPECT_EQ( field.qualify( unknown, drop, MaskedNumber{ 1, 1 } ),
                   ReturnCode::BCM_E_NOT_FOUND )
            << unknown;
        EXPECT_EQ( field.qualify( unknown, srcIp6, MaskedBytes{} ), ReturnCode::BCM_E_NOT_FOUND )
            << unknown;
    }
}

TEST_P( SimFieldTest, Qualify_PreselectorWithAQualifierOfEntries_IsUnavailable )
{
    expectRefused( ReturnCode::BCM_E_UNAVAIL,
                   [ & ] { return field.qualify( preselector, srcIp6, MaskedBytes{} ); } );
}

TEST_P( SimFieldTest, QualifyBytes_SixteenBytes_AreStored )
{
    const bcm_ip6_t data{ 0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x42 };
    const bcm_ip6_t mask{ 0xFF, 0xFF, 0xFF, 0xFF };
    EXPECT_EQ( field.qualifyBytes( entry, srcIp6, 16, data, mask ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( textOf( "field entry 1" ),
               "group=1 priority=0 installed=no SrcIp6=0x20010db8000000000000000000000042/"
               "0xffffffff000000000000000000000000 " );
}

TEST_P( SimFieldTest, QualifyBytes_Null_IsBadParameter )
{
    const bcm_ip6_t bytes{};
    expectRefused( ReturnCode::BCM_E_PARAM,
                   [ & ] { return field.qualifyBytes( entry, srcIp6, 16, nullptr, bytes ); } );
    expectRefused( ReturnCode::BCM_E_PARAM,
                   [ & ] { return field.qualifyBytes( entry, srcIp6, 16, bytes, nullptr ); } );
}

TEST_P( SimFieldTest, QualifySourceClasses_WithAndWithoutTheBit_ReachesPreselectorOrEntry )
{
    const bcm_field_src_class_t data{ 0, 5 };
    const bcm_field_src_class_t mask{ 0, 7 };
    EXPECT_EQ( field.qualifySourceClasses( entry, &data, &mask ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( textOf( "preselector 1" ), "" );
    EXPECT_EQ( field.qualifySourceClasses( preselector, &data, &mask ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( textOf( "preselector 1" ), "SrcClassField=0x5/0x7 " );
    EXPECT_EQ( textOf( "field entry 1" ),
               "group=1 priority=0 installed=no SrcClassField=0x5/0x7 " );
}

TEST_P( SimFieldTest, QualifyUdf_BadArguments_AreRefused )
{
    const uint8_t bytes[ 17 ]{};
    const auto expectBad = [ & ]( int udfId, int length, const uint8_t* data,
                                  const uint8_t* mask ) {
        expectRefused( ReturnCode::BCM_E_PARAM,
                       [ & ] { return field.qualifyUdf( entry, udfId, length, data, mask ); } );
    };
    expectBad( 0, 2, bytes, bytes );
    expectBad( -1, 2, bytes, bytes );
    expectBad( 1, 0, bytes, bytes );
    expectBad( 1, 17, bytes, bytes );
    expectBad( 1, 2, nullptr, bytes );
    expectBad( 1, 2, bytes, nullptr );
    EXPECT_EQ( field.qualifyUdf( entry, 1, 16, bytes, bytes ), ReturnCode::BCM_E_NONE );
    expectRefused( ReturnCode::BCM_E_UNAVAIL,
                   [ & ] { return field.qualifyUdf( preselector, 1, 2, bytes, bytes ); } );
}

TEST_P( SimFieldTest, GetUdf_MoreAndLessRoomThanBytes_FillsWhatFits )
{
    const uint8_t data[] = { 1, 2, 3, 4 };
    const uint8_t mask[] = { 5, 6, 7, 8 };
    ASSERT_EQ( field.qualifyUdf( entry, 7, 4, data, mask ), ReturnCode::BCM_E_NONE );
    using Bytes = std::array< uint8_t, 5 >;
    Bytes readData{};
    Bytes readMask{};
    int length = 0;
    EXPECT_EQ( field.getUdf( entry, 7, 2, readData.data(), readMask.data(), &length ),
               ReturnCode::BCM_E_NONE );
    EXPECT_EQ( length, 4 );
    EXPECT_EQ( readData, ( Bytes{ 1, 2, 0, 0, 0 } ) );
    EXPECT_EQ( field.getUdf( entry, 7, 5, readData.data(), readMask.data(), &length ),
               ReturnCode::BCM_E_NONE );
    EXPECT_EQ( readData, ( Bytes{ 1, 2, 3, 4, 0 } ) );
    EXPECT_EQ( readMask, ( Bytes{ 5, 6, 7, 8, 0 } ) );
}

TEST_P( SimFieldTest, GetUdf_BadArguments_AreRefused )
{
    uint8_t bytes[] = { 1 };
    int length = 0;
    ASSERT_EQ( field.qualifyUdf( entry, 7, 1, bytes, bytes ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( field.getUdf( entry, 7, 0, bytes, bytes, &length ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( field.getUdf( entry, 7, 1, nullptr, bytes, &length ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( field.getUdf( entry, 7, 1, bytes, nullptr, &length ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( field.getUdf( entry, 7, 1, bytes, bytes, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( field.getUdf( entry, 8, 1, bytes, bytes, &length ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( field.getUdf( 9, 7, 1, bytes, bytes, &length ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( field.getUdf( preselector, 7, 1, bytes, bytes, &length ),
               ReturnCode::BCM_E_UNAVAIL );
    EXPECT_EQ( length, 0 );
}

TEST_P( SimFieldTest, DestroyGroup_WithEntries_IsBusyUntilTheLastIsGone )
{
    expectRefused( ReturnCode::BCM_E_BUSY, [ & ] { return field.groups().destroy( 1 ); } );
    ASSERT_EQ( field.entries().destroy( entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( field.groups().destroy( 1 ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimFieldTest, StateIs_EarlierState_PutsEverythingBack )
{
    const SimField::State earlier = field.state();
    const ChipSnapshot before = snapshot();
    madePreselector();
    ASSERT_EQ( field.qualify( entry, drop, MaskedNumber{ 1, 1 } ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( field.entries().destroy( entry ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( field.groups().destroy( 1 ), ReturnCode::BCM_E_NONE );
    field.stateIs( earlier );
    EXPECT_EQ( snapshot(), before );
}

TEST( SimFieldCapacityTest, Entries_EightThousandInOneGroup_AllFit )
{
    const SdkNumbering numbering = SdkNumbering::defaults();
    SimField field( numbering, builtInProfile( "sdk6-large" ).field );
    bcm_field_group_config_t config;
    config.mode = numbering.bcmFieldGroupModeDouble;
    addToSet( config.qset.w, numbering.bcmFieldQualifySrcIp );
    ASSERT_EQ( field.groups().create( &config ), ReturnCode::BCM_E_NONE );
    for ( uint32_t rule = 0; rule < 8000; ++rule ) {
        bcm_field_entry_t entry = 0;
        ASSERT_EQ( field.entries().create( config.group, &entry ), ReturnCode::BCM_E_NONE );
        ASSERT_EQ( field.qualify( entry, { numbering.bcmFieldQualifySrcIp },
                                  MaskedNumber{ rule, 0xFFFFFFFF } ),
                   ReturnCode::BCM_E_NONE );
        ASSERT_EQ( field.entries().install( entry ), ReturnCode::BCM_E_NONE );
    }
    EXPECT_EQ( field.entries().used(), 8000U );
}

} // namespace

} // namespace Sim
