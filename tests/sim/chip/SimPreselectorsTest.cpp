#include "sim/SimPreselectors.h"

#include "tests/sim/chip/FieldScene.h"

namespace Sim {

namespace {

class SimPreselectorsTest : public FieldScene
{
  protected:
    SimPreselectors& preselectors = field.preselectors();
};

INSTANTIATE_FIELD_SCENE( SimPreselectorsTest );

TEST_P( SimPreselectorsTest, Create_AtCapacityAndOnePast_IsMadeThenFull )
{
    EXPECT_EQ( madePreselector(), 1 );
    EXPECT_EQ( madePreselector(), 2 );
    EXPECT_EQ( preselectors.used(), 2U );
    EXPECT_EQ( preselectors.capacity(), 2U );
    bcm_field_presel_t presel = 4711;
    expectRefused( ReturnCode::BCM_E_FULL, [ & ] { return preselectors.create( &presel ); } );
    EXPECT_EQ( presel, 4711 );
}

TEST_P( SimPreselectorsTest, Create_Null_IsBadParameter )
{
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] { return preselectors.create( nullptr ); } );
}

TEST_P( SimPreselectorsTest, Create_AfterDestroy_GivesAnotherId )
{
    madePreselector();
    EXPECT_EQ( preselectors.destroy( 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( madePreselector(), 2 );
}

TEST_P( SimPreselectorsTest, AnyOperation_UnknownPreselector_IsNotFound )
{
    madePreselector();
    bcm_field_src_class_t record;
    for ( const bcm_field_presel_t unknown : { 0, 2, -1 } ) {
        EXPECT_EQ( preselectors.destroy( unknown ), ReturnCode::BCM_E_NOT_FOUND );
        EXPECT_EQ(
            preselectors.qualify( unknown, numbering.bcmFieldQualifyDrop, MaskedNumber{ 1, 1 } ),
            ReturnCode::BCM_E_NOT_FOUND );
        EXPECT_EQ( preselectors.qualifySourceClasses( unknown, &record, &record ),
                   ReturnCode::BCM_E_NOT_FOUND );
        EXPECT_FALSE( preselectors.has( unknown ) );
    }
    EXPECT_TRUE( preselectors.has( 1 ) );
}

TEST_P( SimPreselectorsTest, Destroy_Twice_IsNotFoundTheSecondTime )
{
    madePreselector();
    EXPECT_EQ( preselectors.destroy( 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( preselectors.destroy( 1 ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( preselectors.used(), 0U );
}

TEST_P( SimPreselectorsTest, Qualify_SecondTime_Replaces )
{
    madePreselector();
    EXPECT_EQ( preselectors.qualify( 1, numbering.bcmFieldQualifyDrop, MaskedNumber{ 0, 1 } ),
               ReturnCode::BCM_E_NONE );
    EXPECT_EQ( preselectors.qualify( 1, numbering.bcmFieldQualifyDrop, MaskedNumber{ 1, 1 } ),
               ReturnCode::BCM_E_NONE );
    EXPECT_EQ( snapshot().text(), "preselector 1: Drop=0x1/0x1\n" );
}

TEST_P( SimPreselectorsTest, Qualify_NoEnumerator_IsBadParameter )
{
    madePreselector();
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] {
        return preselectors.qualify( 1, numbering.bcmFieldQualifyPktType, NamedValue{ 9, "" } );
    } );
}

TEST_P( SimPreselectorsTest, QualifySourceClasses_Null_IsBadParameter )
{
    madePreselector();
    bcm_field_src_class_t record;
    expectRefused( ReturnCode::BCM_E_PARAM,
                   [ & ] { return preselectors.qualifySourceClasses( 1, nullptr, &record ); } );
    expectRefused( ReturnCode::BCM_E_PARAM,
                   [ & ] { return preselectors.qualifySourceClasses( 1, &record, nullptr ); } );
}

TEST_P( SimPreselectorsTest, QualifySourceClasses_SomeMasks_SetsThese )
{
    madePreselector();
    const bcm_field_src_class_t data{ 0x101, 0, 5 };
    const bcm_field_src_class_t mask{ 0xFFFF, 0, 0x7 };
    EXPECT_EQ( preselectors.qualifySourceClasses( 1, &data, &mask ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( snapshot().text(),
               "preselector 1: DstClassField=0x101/0xffff InterfaceClassL2=0x5/0x7\n" );
}

TEST_P( SimPreselectorsTest, StateIs_EarlierState_PutsPreselectorsBackButNotIds )
{
    const SimPreselectors::State earlier = preselectors.state();
    madePreselector();
    preselectors.stateIs( earlier );
    EXPECT_EQ( preselectors.used(), 0U );
    EXPECT_EQ( madePreselector(), 2 );
}

} // namespace

} // namespace Sim
