#include "sim/SimFieldEntries.h"

#include "tests/sim/chip/FieldScene.h"

#include <set>

namespace Sim {

namespace {

class SimFieldEntriesTest : public FieldScene
{
  protected:
    SimFieldEntriesTest()
        : group( madeGroup(
              config( { numbering.bcmFieldQualifySrcIp, numbering.bcmFieldQualifyPktType,
                        numbering.bcmFieldQualifySrcClassField, numbering.bcmFieldQualifyUdf },
                      { numbering.bcmFieldActionDrop, numbering.bcmFieldActionClassSet } ) ) )
        , entry( madeEntry( group ) )
        , entries( field.entries() )
    {}

    [[nodiscard]] FieldEntry::Hardware hardware() const { return entries.find( entry )->hardware; }

    /// The entry's part of the snapshot.
    [[nodiscard]] std::string text() const { return textOf( "field entry 1" ); }

    /// Installs the entry, makes a change that succeeds, and expects that the hardware has not
    /// heard of it until the entry is installed again.
    template< class Change >
    void expectOutdatedBy( const Change& change )
    {
        EXPECT_EQ( entries.install( entry ), ReturnCode::BCM_E_NONE );
        EXPECT_EQ( change(), ReturnCode::BCM_E_NONE );
        EXPECT_EQ( hardware(), FieldEntry::Hardware::outdated );
        EXPECT_EQ( entries.install( entry ), ReturnCode::BCM_E_NONE );
        EXPECT_EQ( hardware(), FieldEntry::Hardware::current );
    }

    bcm_field_group_t group;
    bcm_field_entry_t entry;
    SimFieldEntries& entries;
};

INSTANTIATE_FIELD_SCENE( SimFieldEntriesTest );

// ---- Making and destroying -------------------------------------------------------------------

TEST_P( SimFieldEntriesTest, Create_KnownGroup_GivesIdFromOne )
{
    EXPECT_EQ( entry, 1 );
    EXPECT_EQ( madeEntry( group ), 2 );
    EXPECT_EQ( entries.used(), 2U );
    EXPECT_EQ( entries.countIn( group ), 2U );
    EXPECT_EQ( entries.capacity(), 6U );
}

TEST_P( SimFieldEntriesTest, Create_BadArguments_AreRefused )
{
    bcm_field_entry_t made = 4711;
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] { return entries.create( group, nullptr ); } );
    expectRefused( ReturnCode::BCM_E_NOT_FOUND, [ & ] { return entries.create( 99, &made ); } );
    EXPECT_EQ( made, 4711 );
}

TEST_P( SimFieldEntriesTest, Create_AtCapacityAndOnePast_IsMadeThenFullInThatGroupOnly )
{
    madeEntry( group );
    madeEntry( group );
    bcm_field_entry_t made = 4711;
    expectRefused( ReturnCode::BCM_E_FULL, [ & ] { return entries.create( group, &made ); } );
    EXPECT_EQ( made, 4711 );
    EXPECT_EQ( madeEntry( madeGroup( config( {} ) ) ), 4 );
}

TEST_P( SimFieldEntriesTest, Create_InACompressionGroup_HasACapacityOfItsOwn )
{
    madeEntry( 246 );
    madeEntry( 246 );
    bcm_field_entry_t made = 0;
    expectRefused( ReturnCode::BCM_E_FULL, [ & ] { return entries.create( 246, &made ); } );
    madeEntry( 241 );
    EXPECT_EQ( entries.compressionUsed(), 3U );
    EXPECT_EQ( entries.compressionCapacity(), 12U );
    EXPECT_EQ( entries.used(), 1U );
}

TEST_P( SimFieldEntriesTest, Create_AfterDestroyWhenFull_IsMadeWithAnUnusedId )
{
    std::set< bcm_field_entry_t > live{ entry, madeEntry( group ), madeEntry( group ) };
    for ( int i = 0; i < 100; ++i ) {
        const bcm_field_entry_t oldest = *live.begin();
        EXPECT_EQ( entries.destroy( oldest ), ReturnCode::BCM_E_NONE );
        live.erase( oldest );
        const bcm_field_entry_t made = madeEntry( group );
        EXPECT_GT( made, 0 );
        EXPECT_TRUE( live.insert( made ).second ) << made << " is live twice";
    }
}

TEST_P( SimFieldEntriesTest, AnyOperation_UnknownEntry_IsNotFound )
{
    bcm_field_src_class_t sourceClass;
    const bcm_field_class_info_t classInfo{ numbering.bcmFieldActionClassSet, 1 };
    for ( const bcm_field_entry_t unknown : { 0, 2, -1, 0x40000001 } ) {
        const int rcs[] = {
            entries.destroy( unknown ),
            entries.install( unknown ),
            entries.remove( unknown ),
            entries.priorityIs( unknown, 1 ),
            entries.qualify( unknown, numbering.bcmFieldQualifySrcIp, MaskedNumber{ 1, 1 } ),
            entries.qualifySourceClasses( unknown, &sourceClass, &sourceClass ),
            entries.qualifyUdf( unknown, 1, { { 1 }, { 1 } } ),
            entries.addAction( unknown, numbering.bcmFieldActionDrop, { 0, 0 } ),
            entries.addClass( unknown, &classInfo ),
            entries.attachPolicer( unknown, 0, 1 ),
            entries.detachPolicer( unknown, 0 ),
        };
        for ( const int rc : rcs ) {
            EXPECT_EQ( rc, ReturnCode::BCM_E_NOT_FOUND );
        }
        EXPECT_EQ( entries.find( unknown ), nullptr );
        EXPECT_FALSE( entries.isInstalled( unknown ) );
    }
}

TEST_P( SimFieldEntriesTest, Destroy_LiveEntry_IsGoneAndMakesRoom )
{
    ASSERT_EQ( entries.install( entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( entries.destroy( entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( entries.find( entry ), nullptr );
    EXPECT_EQ( entries.countIn( group ), 0U );
    EXPECT_EQ( entries.used(), 0U );
}

TEST_P( SimFieldEntriesTest, IsRangeUsed_AskedForByAnEntry_UntilItIsGone )
{
    const bcm_field_qualify_t rangeCheck = numbering.bcmFieldQualifyRangeCheck;
    const bcm_field_entry_t other = madeEntry( madeGroup( config( { rangeCheck } ) ) );
    ASSERT_EQ( entries.qualify( other, rangeCheck, RangeMatch{ 4, false } ),
               ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( entries.isRangeUsed( 4 ) );
    EXPECT_FALSE( entries.isRangeUsed( 5 ) );
    ASSERT_EQ( entries.destroy( other ), ReturnCode::BCM_E_NONE );
    EXPECT_FALSE( entries.isRangeUsed( 4 ) );
}

TEST_P( SimFieldEntriesTest, IsUdfUsed_AskedForByAnEntry_UntilItIsGone )
{
    const bcm_field_entry_t other =
        madeEntry( madeGroup( config( { numbering.bcmFieldQualifyUdf } ) ) );
    ASSERT_EQ( entries.qualifyUdf( other, 4, { { 1 }, { 1 } } ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( entries.isUdfUsed( 4 ) );
    EXPECT_FALSE( entries.isUdfUsed( 5 ) );
    ASSERT_EQ( entries.destroy( other ), ReturnCode::BCM_E_NONE );
    EXPECT_FALSE( entries.isUdfUsed( 4 ) );
}

TEST_P( SimFieldEntriesTest, Destroy_EntryInUse_IsBusyUntilItIsNot )
{
    bool used = true;
    entries.useChecks().add( [ & ]( bcm_field_entry_t asked ) { return asked == entry && used; } );
    expectRefused( ReturnCode::BCM_E_BUSY, [ & ] { return entries.destroy( entry ); } );
    used = false;
    EXPECT_EQ( entries.destroy( entry ), ReturnCode::BCM_E_NONE );
}

// ---- The hardware ----------------------------------------------------------------------------

TEST_P( SimFieldEntriesTest, Install_AndRemove_MoveTheEntryInAndOutOfTheHardware )
{
    EXPECT_FALSE( entries.isInstalled( entry ) );
    EXPECT_EQ( entries.install( entry ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( entries.isInstalled( entry ) );
    EXPECT_EQ( entries.install( entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( entries.remove( entry ), ReturnCode::BCM_E_NONE );
    EXPECT_FALSE( entries.isInstalled( entry ) );
    EXPECT_NE( entries.find( entry ), nullptr );
    EXPECT_EQ( entries.install( entry ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( entries.isInstalled( entry ) );
}

TEST_P( SimFieldEntriesTest, Remove_NotInTheHardware_IsNotFound )
{
    expectRefused( ReturnCode::BCM_E_NOT_FOUND, [ & ] { return entries.remove( entry ); } );
    ASSERT_EQ( entries.install( entry ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( entries.remove( entry ), ReturnCode::BCM_E_NONE );
    expectRefused( ReturnCode::BCM_E_NOT_FOUND, [ & ] { return entries.remove( entry ); } );
}

TEST_P( SimFieldEntriesTest, AnyChange_InstalledEntry_IsOutdatedUntilInstalledAgain )
{
    bcm_field_src_class_t sourceClass;
    sourceClass.src_class_field = 1;
    const bcm_field_class_info_t classInfo{ numbering.bcmFieldActionClassSet, 1 };
    expectOutdatedBy( [ & ] { return entries.priorityIs( entry, 4 ); } );
    expectOutdatedBy( [ & ] {
        return entries.qualify( entry, numbering.bcmFieldQualifySrcIp, MaskedNumber{ 1, 1 } );
    } );
    expectOutdatedBy(
        [ & ] { return entries.qualifySourceClasses( entry, &sourceClass, &sourceClass ); } );
    expectOutdatedBy( [ & ] { return entries.qualifyUdf( entry, 1, { { 1 }, { 1 } } ); } );
    expectOutdatedBy( [ & ] {
        return entries.addAction( entry, numbering.bcmFieldActionDrop, { 0, 0 } );
    } );
    expectOutdatedBy( [ & ] { return entries.addClass( entry, &classInfo ); } );
    expectOutdatedBy( [ & ] { return entries.attachPolicer( entry, 0, 1 ); } );
    expectOutdatedBy( [ & ] { return entries.detachPolicer( entry, 0 ); } );
}

TEST_P( SimFieldEntriesTest, Remove_OutdatedEntry_IsOutOfTheHardware )
{
    ASSERT_EQ( entries.install( entry ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( entries.priorityIs( entry, 4 ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( entries.isInstalled( entry ) );
    EXPECT_EQ( entries.remove( entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( hardware(), FieldEntry::Hardware::none );
}

// ---- Qualifiers ------------------------------------------------------------------------------

TEST_P( SimFieldEntriesTest, PriorityIs_Negative_IsBadParameter )
{
    EXPECT_EQ( entries.priorityIs( entry, 0 ), ReturnCode::BCM_E_NONE );
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] { return entries.priorityIs( entry, -1 ); } );
}

TEST_P( SimFieldEntriesTest, Qualify_QualifierOutsideTheGroup_IsBadParameter )
{
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] {
        return entries.qualify( entry, numbering.bcmFieldQualifyDstIp, MaskedNumber{ 1, 1 } );
    } );
}

TEST_P( SimFieldEntriesTest, Qualify_NoEnumerator_IsBadParameter )
{
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] {
        return entries.qualify( entry, numbering.bcmFieldQualifyPktType, NamedValue{ 99, "" } );
    } );
}

TEST_P( SimFieldEntriesTest, Qualify_SecondTime_Replaces )
{
    const auto qualify = [ & ]( uint32_t data ) {
        return entries.qualify( entry, numbering.bcmFieldQualifySrcIp, MaskedNumber{ data, 0xFF } );
    };
    EXPECT_EQ( qualify( 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( qualify( 2 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( text(), "group=1 priority=0 installed=no SrcIp=0x2/0xff " );
}

TEST_P( SimFieldEntriesTest, QualifySourceClasses_ClassOutsideTheGroup_IsBadParameter )
{
    bcm_field_src_class_t data;
    bcm_field_src_class_t mask;
    mask.src_class_field = 1;
    mask.intf_class_port = 1;
    expectRefused( ReturnCode::BCM_E_PARAM,
                   [ & ] { return entries.qualifySourceClasses( entry, &data, &mask ); } );
    mask.intf_class_port = 0;
    EXPECT_EQ( entries.qualifySourceClasses( entry, &data, &mask ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimFieldEntriesTest, QualifySourceClasses_Null_IsBadParameter )
{
    bcm_field_src_class_t record;
    expectRefused( ReturnCode::BCM_E_PARAM,
                   [ & ] { return entries.qualifySourceClasses( entry, nullptr, &record ); } );
    expectRefused( ReturnCode::BCM_E_PARAM,
                   [ & ] { return entries.qualifySourceClasses( entry, &record, nullptr ); } );
}

TEST_P( SimFieldEntriesTest, QualifyUdf_GroupWithoutUdfs_IsBadParameter )
{
    const bcm_field_entry_t other = madeEntry( madeGroup( config( {} ) ) );
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] {
        return entries.qualifyUdf( other, 1, { { 1 }, { 1 } } );
    } );
}

TEST_P( SimFieldEntriesTest, QualifyUdf_GroupWithAChunk_IsTaken )
{
    for ( const bcm_field_qualify_t chunk :
          { numbering.bcmFieldQualifyUdfChunk0, numbering.bcmFieldQualifyUdfChunk7 } ) {
        const bcm_field_group_t chunks = madeGroup( config( { chunk } ) );
        const bcm_field_entry_t other = madeEntry( chunks );
        EXPECT_EQ( entries.qualifyUdf( other, 1, { { 1 }, { 1 } } ), ReturnCode::BCM_E_NONE );
        EXPECT_EQ( entries.destroy( other ), ReturnCode::BCM_E_NONE );
        EXPECT_EQ( field.groups().destroy( chunks ), ReturnCode::BCM_E_NONE );
    }
}

// ---- Actions and policers --------------------------------------------------------------------

TEST_P( SimFieldEntriesTest, AddAction_NotAmongTheGroups_IsBadParameter )
{
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] {
        return entries.addAction( entry, numbering.bcmFieldActionTtlSet, { 0, 0 } );
    } );
}

TEST_P( SimFieldEntriesTest, AddAction_GroupWithoutActions_TakesAnyThatThereIs )
{
    const bcm_field_entry_t other = madeEntry( madeGroup( config( {} ) ) );
    EXPECT_EQ( entries.addAction( other, numbering.bcmFieldActionTtlSet, { 0, 0 } ),
               ReturnCode::BCM_E_NONE );
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] {
        return entries.addAction( other, static_cast< bcm_field_action_t >( 0x7FFFFFF1 ),
                                  { 0, 0 } );
    } );
}

TEST_P( SimFieldEntriesTest, AddAction_SecondTime_Exists )
{
    EXPECT_EQ( entries.addAction( entry, numbering.bcmFieldActionDrop, { 1, 2 } ),
               ReturnCode::BCM_E_NONE );
    expectRefused( ReturnCode::BCM_E_EXISTS, [ & ] {
        return entries.addAction( entry, numbering.bcmFieldActionDrop, { 3, 4 } );
    } );
}

TEST_P( SimFieldEntriesTest, AddClass_ActionThatAssignsNone_IsBadParameter )
{
    const bcm_field_class_info_t classInfo{ numbering.bcmFieldActionDrop, 1 };
    expectRefused( ReturnCode::BCM_E_PARAM,
                   [ & ] { return entries.addClass( entry, &classInfo ); } );
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] { return entries.addClass( entry, nullptr ); } );
}

TEST_P( SimFieldEntriesTest, AttachPolicer_LevelsInAndOutOfRange_AreTakenOrRefused )
{
    for ( const int level : { -1, 2 } ) {
        expectRefused( ReturnCode::BCM_E_PARAM,
                       [ & ] { return entries.attachPolicer( entry, level, 5 ); } );
        expectRefused( ReturnCode::BCM_E_PARAM,
                       [ & ] { return entries.detachPolicer( entry, level ); } );
    }
    EXPECT_EQ( entries.attachPolicer( entry, 0, 5 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( entries.attachPolicer( entry, 1, 5 ), ReturnCode::BCM_E_NONE );
    expectRefused( ReturnCode::BCM_E_EXISTS,
                   [ & ] { return entries.attachPolicer( entry, 1, 6 ); } );
}

TEST_P( SimFieldEntriesTest, DetachPolicer_NoneThere_IsNotFound )
{
    ASSERT_EQ( entries.attachPolicer( entry, 0, 5 ), ReturnCode::BCM_E_NONE );
    expectRefused( ReturnCode::BCM_E_NOT_FOUND,
                   [ & ] { return entries.detachPolicer( entry, 1 ); } );
    EXPECT_EQ( entries.detachPolicer( entry, 0 ), ReturnCode::BCM_E_NONE );
    expectRefused( ReturnCode::BCM_E_NOT_FOUND,
                   [ & ] { return entries.detachPolicer( entry, 0 ); } );
}

TEST_P( SimFieldEntriesTest, IsPolicerAttached_UntilTheLastAttachmentIsGone_IsTrue )
{
    const bcm_field_entry_t other = madeEntry( group );
    EXPECT_FALSE( entries.isPolicerAttached( 5 ) );
    ASSERT_EQ( entries.attachPolicer( entry, 0, 5 ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( entries.attachPolicer( other, 1, 5 ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( entries.isPolicerAttached( 5 ) );
    EXPECT_FALSE( entries.isPolicerAttached( 6 ) );
    ASSERT_EQ( entries.detachPolicer( entry, 0 ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( entries.isPolicerAttached( 5 ) );
    ASSERT_EQ( entries.destroy( other ), ReturnCode::BCM_E_NONE );
    EXPECT_FALSE( entries.isPolicerAttached( 5 ) );
}

// ---- Snapshots and states --------------------------------------------------------------------

TEST_P( SimFieldEntriesTest, AddTo_FullEntry_NamesEverythingIndependentlyOfTheNumbering )
{
    const bcm_field_class_info_t classInfo{ numbering.bcmFieldActionClassSet, 77 };
    ASSERT_EQ( entries.priorityIs( entry, 9 ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( entries.qualify( entry, numbering.bcmFieldQualifyPktType,
                                namedValue( numbering, numbering.bcmFieldPktTypeOam ) ),
               ReturnCode::BCM_E_NONE );
    ASSERT_EQ( entries.addAction( entry, numbering.bcmFieldActionDrop, { 1, 2 } ),
               ReturnCode::BCM_E_NONE );
    ASSERT_EQ( entries.addClass( entry, &classInfo ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( entries.attachPolicer( entry, 1, 5 ), ReturnCode::BCM_E_NONE );
    ASSERT_EQ( entries.install( entry ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( text(),
               "group=1 priority=9 installed=yes PktType=bcmFieldPktTypeOam action:ClassSet=77,0 "
               "action:Drop=1,2 policer1=5 " );
    ASSERT_EQ( entries.priorityIs( entry, 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( text().substr( 0, 37 ), "group=1 priority=1 installed=outdated" );
}

TEST_P( SimFieldEntriesTest, StateIs_EarlierState_PutsEntriesBackButNotIds )
{
    const SimFieldEntries::State earlier = entries.state();
    const ChipSnapshot before = snapshot();
    ASSERT_EQ( entries.attachPolicer( entry, 1, 5 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( madeEntry( group ), 2 );
    entries.stateIs( earlier );
    EXPECT_EQ( snapshot(), before );
    EXPECT_FALSE( entries.isPolicerAttached( 5 ) );
    EXPECT_EQ( entries.countIn( group ), 1U );
    EXPECT_EQ( madeEntry( group ), 3 );
}

} // namespace

} // namespace Sim
