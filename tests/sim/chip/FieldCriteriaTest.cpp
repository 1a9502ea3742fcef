#include "sim/FieldCriteria.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Sim {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

class FieldCriteriaTest : public testing::TestWithParam< const char* >
{
  protected:
    const SdkNumbering numbering = SdkNumbering::fromText( GetParam() );
    FieldCriteria criteria;
};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          FieldCriteriaTest,
                          testing::Values( "default", "shuffled:1", "shuffled:2" ) );

TEST_P( FieldCriteriaTest, Fields_NoQualifiers_AreNone )
{
    EXPECT_THAT( criteria.fields( numbering ), IsEmpty() );
}

TEST_P( FieldCriteriaTest, Fields_EachKindOfValue_AreSortedByNameWithReadableValues )
{
    criteria.udfIs( 7, { { 0x0A, 0xFF }, { 0xFF, 0x00 } } );
    criteria.matchIs( numbering.bcmFieldQualifySrcIp6,
                      MaskedBytes{ { 0x20, 0x01 }, { 0xFF, 0x0F } } );
    criteria.matchIs( numbering.bcmFieldQualifyRangeCheck, RangeMatch{ 3, true } );
    criteria.matchIs( numbering.bcmFieldQualifyPktType,
                      namedValue( numbering, numbering.bcmFieldPktTypeBpdu ) );
    criteria.matchIs( numbering.bcmFieldQualifyDrop, MaskedNumber{ 0, 1 } );
    criteria.matchIs( numbering.bcmFieldQualifySrcIp, MaskedNumber{ 0xC0A80001, 0xFFFFFF00 } );
    EXPECT_THAT(
        criteria.fields( numbering ),
        ElementsAre( Pair( "Drop", "0x0/0x1" ), Pair( "PktType", "bcmFieldPktTypeBpdu" ),
                     Pair( "RangeCheck", "not-3" ), Pair( "SrcIp", "0xc0a80001/0xffffff00" ),
                     Pair( "SrcIp6", "0x2001/0xff0f" ), Pair( "udf7", "0x0aff/0xff00" ) ) );
}

TEST_P( FieldCriteriaTest, MatchIs_SecondTime_Replaces )
{
    criteria.matchIs( numbering.bcmFieldQualifyDrop, MaskedNumber{ 0, 1 } );
    criteria.matchIs( numbering.bcmFieldQualifyDrop, MaskedNumber{ 1, 3 } );
    EXPECT_THAT( criteria.fields( numbering ), ElementsAre( Pair( "Drop", "0x1/0x3" ) ) );
}

TEST_P( FieldCriteriaTest, UdfIs_SecondTime_Replaces )
{
    criteria.udfIs( 7, { { 1 }, { 2 } } );
    criteria.udfIs( 8, { { 5 }, { 6 } } );
    criteria.udfIs( 7, { { 3 }, { 4 } } );
    ASSERT_NE( criteria.udf( 7 ), nullptr );
    EXPECT_EQ( *criteria.udf( 7 ), ( MaskedBytes{ { 3 }, { 4 } } ) );
    EXPECT_EQ( *criteria.udf( 8 ), ( MaskedBytes{ { 5 }, { 6 } } ) );
    EXPECT_EQ( criteria.udf( 9 ), nullptr );
}

TEST_P( FieldCriteriaTest, SourceClassMatches_FieldsWithMask_AreTheirQualifiers )
{
    const bcm_field_src_class_t data{ 1, 2, 3, 4, 5, 6 };
    const bcm_field_src_class_t mask{ 11, 12, 13, 14, 15, 16 };
    EXPECT_THAT(
        sourceClassMatches( numbering, data, mask ),
        UnorderedElementsAre(
            Pair( numbering.bcmFieldQualifyDstClassField, MaskedNumber{ 1, 11 } ),
            Pair( numbering.bcmFieldQualifySrcClassField, MaskedNumber{ 2, 12 } ),
            Pair( numbering.bcmFieldQualifyInterfaceClassL2, MaskedNumber{ 3, 13 } ),
            Pair( numbering.bcmFieldQualifyInterfaceClassL3, MaskedNumber{ 4, 14 } ),
            Pair( numbering.bcmFieldQualifyInterfaceClassPort, MaskedNumber{ 5, 15 } ),
            Pair( numbering.bcmFieldQualifyInterfaceClassVPort, MaskedNumber{ 6, 16 } ) ) );
}

TEST_P( FieldCriteriaTest, SourceClassMatches_NoMask_IsNoMatch )
{
    const bcm_field_src_class_t data{ 1, 2, 3, 4, 5, 6 };
    EXPECT_THAT( sourceClassMatches( numbering, data, {} ), IsEmpty() );
}

TEST_P( FieldCriteriaTest, SourceClassesAre_SecondTime_ReplaceAllOfThemAndNothingElse )
{
    criteria.matchIs( numbering.bcmFieldQualifyDrop, MaskedNumber{ 1, 1 } );
    criteria.sourceClassesAre( numbering,
                               sourceClassMatches( numbering, { 1, 2 }, { 0xFF, 0xFF } ) );
    criteria.sourceClassesAre( numbering,
                               sourceClassMatches( numbering, { 0, 3, 4 }, { 0, 0xF, 0xF } ) );
    EXPECT_THAT( criteria.fields( numbering ),
                 ElementsAre( Pair( "Drop", "0x1/0x1" ), Pair( "InterfaceClassL2", "0x4/0xf" ),
                              Pair( "SrcClassField", "0x3/0xf" ) ) );
}

TEST_P( FieldCriteriaTest, IsValid_EnumeratorOrNot_TellsThemApart )
{
    EXPECT_TRUE( isValid( namedValue( numbering, numbering.bcmFieldIpTypeIpv4Any ) ) );
    EXPECT_FALSE(
        isValid( namedValue( numbering, static_cast< bcm_field_IpType_t >( 0xFFFFFFF0 ) ) ) );
    EXPECT_TRUE( isValid( MaskedNumber{ 0, 0 } ) );
}

TEST_P( FieldCriteriaTest, ShortName_QualifierOrAction_IsWithoutItsPrefix )
{
    EXPECT_EQ( shortName( "bcmFieldQualifyDrop" ), "Drop" );
    EXPECT_EQ( shortName( "bcmFieldActionDrop" ), "Drop" );
    EXPECT_EQ( shortName( "unknown(5)" ), "unknown(5)" );
}

} // namespace

} // namespace Sim
