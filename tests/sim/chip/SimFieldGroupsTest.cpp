#include "sim/SimFieldGroups.h"

#include "tests/sim/chip/FieldScene.h"

namespace Sim {

namespace {

class SimFieldGroupsTest : public FieldScene
{
  protected:
    /// A configuration with nothing wrong in it.
    [[nodiscard]] bcm_field_group_config_t good() const
    {
        return config( { numbering.bcmFieldQualifySrcIp } );
    }

    void expectCreateRefused( int rc, bcm_field_group_config_t group )
    {
        const bcm_field_group_t before = group.group;
        expectRefused( rc, [ & ] { return field.groups().create( &group ); } );
        EXPECT_EQ( group.group, before );
    }

    /// A number that is no enumerator in any numbering of the tests.
    static constexpr uint32_t nobody = 0x7FFFFFF1;
};

INSTANTIATE_FIELD_SCENE( SimFieldGroupsTest );

TEST_P( SimFieldGroupsTest, Create_GoodConfiguration_GivesIdFromOne )
{
    EXPECT_EQ( madeGroup( good() ), 1 );
    EXPECT_EQ( madeGroup( good() ), 2 );
    EXPECT_EQ( field.groups().used(), 2U );
}

TEST_P( SimFieldGroupsTest, Create_WithAnId_TakesThatOne )
{
    bcm_field_group_config_t group = good();
    group.group = 0x0B000005;
    EXPECT_EQ( madeGroup( group ), 0x0B000005 );
    EXPECT_NE( field.groups().find( 0x0B000005 ), nullptr );
}

TEST_P( SimFieldGroupsTest, Create_IdInUse_Exists )
{
    bcm_field_group_config_t group = good();
    group.group = madeGroup( good() );
    expectCreateRefused( ReturnCode::BCM_E_EXISTS, group );
    group.group = 246;
    expectCreateRefused( ReturnCode::BCM_E_EXISTS, group );
}

TEST_P( SimFieldGroupsTest, Create_IdsAfterAWantedOne_LeaveThatOut )
{
    bcm_field_group_config_t group = good();
    group.group = 1;
    madeGroup( group );
    EXPECT_EQ( madeGroup( good() ), 2 );
}

TEST_P( SimFieldGroupsTest, Create_ManyTimes_NeverGivesACompressionGroupsId )
{
    for ( int i = 0; i < 300; ++i ) {
        const bcm_field_group_t group = madeGroup( good() );
        EXPECT_FALSE( group >= 241 && group <= 246 ) << group;
        EXPECT_EQ( field.groups().destroy( group ), ReturnCode::BCM_E_NONE );
    }
}

TEST_P( SimFieldGroupsTest, Create_BadParameter_IsRefused )
{
    EXPECT_EQ( field.groups().create( nullptr ), ReturnCode::BCM_E_PARAM );
    bcm_field_group_config_t group = good();
    group.group = -1;
    expectCreateRefused( ReturnCode::BCM_E_PARAM, group );
    group = good();
    group.flags = 1;
    expectCreateRefused( ReturnCode::BCM_E_PARAM, group );
    group = good();
    group.mode = static_cast< bcm_field_group_mode_t >( nobody );
    expectCreateRefused( ReturnCode::BCM_E_PARAM, group );
    group = good();
    group.mode_type = static_cast< bcm_field_group_mode_type_t >( nobody );
    expectCreateRefused( ReturnCode::BCM_E_PARAM, group );
    group = good();
    group.packet_type = static_cast< bcm_field_group_packet_type_t >( nobody );
    expectCreateRefused( ReturnCode::BCM_E_PARAM, group );
    expectCreateRefused( ReturnCode::BCM_E_PARAM,
                         config( { static_cast< bcm_field_qualify_t >( nobody ) } ) );
    expectCreateRefused( ReturnCode::BCM_E_PARAM,
                         config( {}, { static_cast< bcm_field_action_t >( nobody ) } ) );
}

TEST_P( SimFieldGroupsTest, Create_EveryMode_IsKnown )
{
    const bcm_field_group_mode_t modes[] = {
        numbering.bcmFieldGroupModeDefault,
        numbering.bcmFieldGroupModeSingle,
        numbering.bcmFieldGroupModeSingleASetNarrow,
        numbering.bcmFieldGroupModeSingleASetWide,
        numbering.bcmFieldGroupModeDouble,
        numbering.bcmFieldGroupModeTriple,
        numbering.bcmFieldGroupModeQuad,
        numbering.bcmFieldGroupModeAuto,
    };
    for ( const bcm_field_group_mode_t mode : modes ) {
        bcm_field_group_config_t group = good();
        group.mode = mode;
        EXPECT_EQ( field.groups().destroy( madeGroup( group ) ), ReturnCode::BCM_E_NONE );
    }
}

TEST_P( SimFieldGroupsTest, Create_AtCapacityAndOnePast_IsMadeThenFull )
{
    const bcm_field_group_t first = madeGroup( good() );
    madeGroup( good() );
    expectCreateRefused( ReturnCode::BCM_E_FULL, good() );
    EXPECT_EQ( field.groups().destroy( first ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( madeGroup( good() ), 3 );
}

TEST_P( SimFieldGroupsTest, Get_MadeGroup_GivesWhatItWasMadeWith )
{
    bcm_field_group_config_t group =
        config( { numbering.bcmFieldQualifySrcIp, numbering.bcmFieldQualifyDrop },
                { numbering.bcmFieldActionDrop } );
    group.mode = numbering.bcmFieldGroupModeDouble;
    group.mode_type = numbering.bcmFieldGroupModeTypeIntraSlice;
    group.packet_type = numbering.bcmFieldGroupPacketTypeIpv6;
    group.priority = 17;
    const bcm_field_group_t id = madeGroup( group );

    bcm_field_group_config_t readBack;
    EXPECT_EQ( field.groups().get( id, &readBack ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( readBack.group, id );
    EXPECT_EQ( readBack.mode, numbering.bcmFieldGroupModeDouble );
    EXPECT_EQ( readBack.mode_type, numbering.bcmFieldGroupModeTypeIntraSlice );
    EXPECT_EQ( readBack.packet_type, numbering.bcmFieldGroupPacketTypeIpv6 );
    EXPECT_EQ( readBack.priority, 17 );
    EXPECT_EQ( readBack.qset.w, group.qset.w );
    EXPECT_EQ( readBack.aset.w, group.aset.w );

    bcm_field_qset_t qset;
    EXPECT_EQ( field.groups().getQualifiers( id, &qset ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( qset.w, group.qset.w );
}

TEST_P( SimFieldGroupsTest, Get_BadArguments_AreRefused )
{
    const bcm_field_group_t id = madeGroup( good() );
    bcm_field_group_config_t group;
    bcm_field_qset_t qset;
    EXPECT_EQ( field.groups().get( id, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( field.groups().get( id + 1, &group ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( field.groups().getQualifiers( id, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( field.groups().getQualifiers( id + 1, &qset ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimFieldGroupsTest, CompressionGroups_FromTheStart_HaveTheirQualifiers )
{
    const std::pair< bcm_field_group_t, std::vector< bcm_field_qualify_t > > expected[] = {
        { 241, { numbering.bcmFieldQualifyL4SrcPort } },
        { 242, { numbering.bcmFieldQualifyL4DstPort } },
        { 243, { numbering.bcmFieldQualifySrcIp, numbering.bcmFieldQualifySrcIp6 } },
        { 244, { numbering.bcmFieldQualifyDstIp, numbering.bcmFieldQualifyDstIp6 } },
        { 245, { numbering.bcmFieldQualifyIpProtocol } },
        { 246, { numbering.bcmFieldQualifyEtherType } },
    };
    for ( const auto& [ group, qualifiers ] : expected ) {
        bcm_field_group_config_t readBack;
        ASSERT_EQ( field.groups().get( group, &readBack ), ReturnCode::BCM_E_NONE ) << group;
        EXPECT_EQ( readBack.mode_type, numbering.bcmFieldGroupModeTypeCompression );
        EXPECT_EQ( membersOf( readBack.qset.w ).size(), qualifiers.size() );
        for ( const bcm_field_qualify_t qualifier : qualifiers ) {
            EXPECT_TRUE( isInSet( readBack.qset.w, qualifier ) );
        }
        EXPECT_TRUE( isInSet( readBack.aset.w, numbering.bcmFieldActionClassSet ) );
        EXPECT_TRUE( field.groups().isCompression( group ) );
    }
    EXPECT_EQ( field.groups().find( 240 ), nullptr );
    EXPECT_EQ( field.groups().find( 247 ), nullptr );
    EXPECT_EQ( field.groups().used(), 0U );
    EXPECT_EQ( field.groups().compressionCount(), 6U );
    EXPECT_EQ( snapshot(), ChipSnapshot() );
}

TEST_P( SimFieldGroupsTest, Destroy_UnknownGroup_IsNotFound )
{
    madeGroup( good() );
    for ( const bcm_field_group_t group : { 0, 2, -1 } ) {
        expectRefused( ReturnCode::BCM_E_NOT_FOUND,
                       [ & ] { return field.groups().destroy( group ); } );
    }
}

TEST_P( SimFieldGroupsTest, Destroy_CompressionGroup_IsBadParameter )
{
    expectRefused( ReturnCode::BCM_E_PARAM, [ & ] { return field.groups().destroy( 241 ); } );
    EXPECT_NE( field.groups().find( 241 ), nullptr );
}

TEST_P( SimFieldGroupsTest, Destroy_GroupInUse_IsBusyUntilItIsNot )
{
    const bcm_field_group_t group = madeGroup( good() );
    bool used = true;
    field.groups().useChecks().add(
        [ & ]( bcm_field_group_t asked ) { return asked == group && used; } );
    expectRefused( ReturnCode::BCM_E_BUSY, [ & ] { return field.groups().destroy( group ); } );
    used = false;
    EXPECT_EQ( field.groups().destroy( group ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( field.groups().destroy( group ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimFieldGroupsTest, AddTo_Groups_NamesThemIndependentlyOfTheNumbering )
{
    bcm_field_group_config_t group =
        config( { numbering.bcmFieldQualifySrcIp, numbering.bcmFieldQualifyDrop },
                { numbering.bcmFieldActionTtlSet, numbering.bcmFieldActionDrop } );
    group.mode_type = numbering.bcmFieldGroupModeTypeIntraSlice;
    group.packet_type = numbering.bcmFieldGroupPacketTypeIpv6;
    group.priority = 3;
    madeGroup( group );
    madeGroup( config( {} ) );
    EXPECT_EQ( snapshot().text(),
               "field group 1: mode=bcmFieldGroupModeSingle "
               "modeType=bcmFieldGroupModeTypeIntraSlice "
               "packetType=bcmFieldGroupPacketTypeIpv6 priority=3 "
               "qualifiers=[Drop,SrcIp] actions=[Drop,TtlSet]\n"
               "field group 2: mode=bcmFieldGroupModeSingle priority=0 qualifiers=[] "
               "actions=[]\n" );
}

TEST_P( SimFieldGroupsTest, StateIs_EarlierState_PutsGroupsBackButNotIds )
{
    const SimFieldGroups::State earlier = field.groups().state();
    madeGroup( good() );
    field.groups().stateIs( earlier );
    EXPECT_EQ( field.groups().used(), 0U );
    EXPECT_EQ( madeGroup( good() ), 2 );
}

} // namespace

} // namespace Sim
