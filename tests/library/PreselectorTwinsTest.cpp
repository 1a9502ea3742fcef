// Where the two functions that program preselectors differ on purpose: each test asserts both sides
// of one row of docs/twins.md.

#include "tests/library/ChildRun.h"
#include "tests/library/PreselectorScene.h"

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;

using Sdk = Shim::SdkAccess;
using Accessor = bcm_field_qualify_t ( Sdk::* )() const;

/// Its low byte is 1, which every translated enumeration has; as a whole it is a value of none.
constexpr U32 wideOne = 0xABCDEF01;

class PreselectorTwinsTest : public ::testing::Test
{
  protected:
    void current( U32 qualifier, U32 data, U32 mask )
    {
        scene_.call( PeloraTcam::setPeloraTcamPreselectQualifier, qualifier, data, mask );
    }

    void legacy( Accessor qualifier, U32 data, U32 mask )
    {
        const U32 number = ( Shim::sdk_->*qualifier )();
        scene_.call( PeloraTcam::setPreselectQualifier, number, data, mask );
    }

    /// What the calls since the last time were.
    std::vector< std::string > calls()
    {
        const std::vector< std::string > made = scene_.sdk.calls();
        scene_.sdk.clear();
        return made;
    }

    static void expectAssertion( const std::string& assertion, const std::function< void() >& act )
    {
        const ChildRun run = runInChild( act );
        EXPECT_TRUE( run.aborted );
        EXPECT_THAT( run.errors, HasSubstr( assertion ) );
    }

    void expectCurrentUnsupported( U32 qualifier )
    {
        expectAssertion( PreselectorScene::unsupported, [ & ] { current( qualifier, 1, 1 ); } );
    }

    void expectLegacyUnsupported( Accessor qualifier )
    {
        expectAssertion( PreselectorScene::unsupported, [ & ] { legacy( qualifier, 1, 1 ); } );
    }

    PreselectorScene scene_;
};

// ---- Which qualifier is meant ----------------------------------------------------------------

TEST_F( PreselectorTwinsTest, Set_Number_IsTheAgentsOrTheSdks )
{
    Sim::SdkNumbering numbering = TestSupport::environmentNumbering();
    numbering.bcmFieldQualifyForwardingStatus = bcm_field_qualify_t{ 1000 };
    AnsweringSdk chip( numbering );
    TestSupport::RecordingSdk sdk( chip );
    Shim::sdk_ = &sdk;
    const std::string call = "bcm_field_qualify_ForwardingStatus( 3, 1073741831, 1, 1 )";

    current( 44, 1, 1 );
    EXPECT_THAT( sdk.calls(), ElementsAre( call ) );
    expectCurrentUnsupported( 1000 );

    sdk.clear();
    scene_.call( PeloraTcam::setPreselectQualifier, 1000, 1, 1 );
    EXPECT_THAT( sdk.calls(), ElementsAre( call ) );
}

TEST_F( PreselectorTwinsTest, Set_DropAndItsLike_AreProgrammedOrUnsupported )
{
    for ( const U32 qualifier : { 5U, 6U, 47U, 56U, 101U, 126U, 135U, 178U } ) {
        current( qualifier, 1, 1 );
        EXPECT_EQ( calls().size(), 1U ) << qualifier;
    }
    for ( const Accessor qualifier :
          { &Sdk::bcmFieldQualifyDrop, &Sdk::bcmFieldQualifyDropReason,
            &Sdk::bcmFieldQualifyFrontPanelPkt, &Sdk::bcmFieldQualifyIngressL2InterfaceOpaqueCtrlId,
            &Sdk::bcmFieldQualifyL2PktType, &Sdk::bcmFieldQualifyOverlayL2PktType,
            &Sdk::bcmFieldQualifyProtocolPktOpaqueCtrlId,
            &Sdk::bcmFieldQualifyTunnelTerminated } ) {
        expectLegacyUnsupported( qualifier );
    }
}

TEST_F( PreselectorTwinsTest, Set_OverlayPktType_IsProgrammedOrRefused )
{
    current( 127, 1, 0 );
    EXPECT_THAT( calls(), ElementsAre( "bcm_field_qualify_OverlayPktType( 3, 1073741831, "
                                       "bcmFieldPktTypeL2UnknownUcast )" ) );
    expectAssertion( "Assertion `false && \"In old version OverlayPktType is unsupported preselect "
                     "qualifier\"' failed.",
                     [ this ] { legacy( &Sdk::bcmFieldQualifyOverlayPktType, 1, 0 ); } );
}

TEST_F( PreselectorTwinsTest, Set_ForwardingTypeAndStationMove_AreUnsupportedOrProgrammed )
{
    expectCurrentUnsupported( 45 );
    expectCurrentUnsupported( 104 );
    legacy( &Sdk::bcmFieldQualifyForwardingType, wideOne, 0 );
    legacy( &Sdk::bcmFieldQualifyL2StationMove, 1, 2 );
    EXPECT_THAT( calls(),
                 ElementsAre( "bcm_field_qualify_ForwardingType( 3, 1073741831, 2882400001 )",
                              "bcm_field_qualify_L2StationMove( 3, 1073741831, 1, 2 )" ) );
}

TEST_F( PreselectorTwinsTest, Set_InterfaceClassVPort_IsUnsupportedOrSet )
{
    expectCurrentUnsupported( 77 );
    legacy( &Sdk::bcmFieldQualifyInterfaceClassVPort, 0x10000, 0x20000 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0, 0, 0, 0, 0, 0x10000 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0, 0, 0, 0, 0, 0x20000 ) );
}

// ---- What the SDK is told --------------------------------------------------------------------

TEST_F( PreselectorTwinsTest, Set_IpType_IsTranslatedOrGivenOn )
{
    current( 97, wideOne, 0 );
    legacy( &Sdk::bcmFieldQualifyIpType, wideOne, 0 );
    EXPECT_THAT( calls(),
                 ElementsAre( "bcm_field_qualify_IpType( 3, 1073741831, bcmFieldIpTypeNonIp )",
                              "bcm_field_qualify_IpType( 3, 1073741831, 2882400001 )" ) );
}

TEST_F( PreselectorTwinsTest, Set_TunnelType_IsTranslatedOrGivenOn )
{
    current( 177, wideOne, 0 );
    legacy( &Sdk::bcmFieldQualifyTunnelType, wideOne, 0 );
    EXPECT_THAT(
        calls(),
        ElementsAre( "bcm_field_qualify_TunnelType( 3, 1073741831, bcmFieldTunnelTypeVxlan )",
                     "bcm_field_qualify_TunnelType( 3, 1073741831, 2882400001 )" ) );
}

TEST_F( PreselectorTwinsTest, Set_PktFwdType_IsTranslatedOrGivenOn )
{
    current( 129, wideOne, 0 );
    legacy( &Sdk::bcmFieldQualifyPktFwdType, wideOne, 0 );
    EXPECT_THAT( calls(),
                 ElementsAre( "bcm_field_qualify_PktFwdType( 3, 1073741831, bcmFieldPktFwdTypeL2 )",
                              "bcm_field_qualify_PktFwdType( 3, 1073741831, 2882400001 )" ) );
}

// ---- Class records ---------------------------------------------------------------------------

TEST_F( PreselectorTwinsTest, SetClass_DstAndSrc_AccumulateOrReplace )
{
    for ( const U32 data : { 0x0001U, 0x0100U } ) {
        current( 8, data, data << 1 );
        current( 137, data << 2, data << 3 );
    }
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0x0101, 0x0404, 0, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0x0202, 0x0808, 0, 0, 0, 0 ) );
    for ( const U32 data : { 0x0001U, 0x0100U } ) {
        legacy( &Sdk::bcmFieldQualifyDstClassField, data, data << 1 );
        legacy( &Sdk::bcmFieldQualifySrcClassField, data << 2, data << 3 );
    }
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0x0100, 0x0400, 0, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0x0200, 0x0800, 0, 0, 0, 0 ) );
}

TEST_F( PreselectorTwinsTest, SetClass_DataOfMoreThan16Bits_IsCutOrDies )
{
    current( 8, 0x10001, 0 );
    current( 137, 0x20002, 0 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0x0001, 0x0002, 0, 0, 0, 0 ) );
    expectAssertion( "Assertion `!( data & 0xFFFF0000 ) && \" DstClassField value is greater than "
                     "16 bit\"' failed.",
                     [ this ] { legacy( &Sdk::bcmFieldQualifyDstClassField, 0x10001, 0 ); } );
    expectAssertion( "Assertion `!( data & 0xFFFF0000 ) && \" SrcClassField value is greater than "
                     "16 bit\"' failed.",
                     [ this ] { legacy( &Sdk::bcmFieldQualifySrcClassField, 0x20002, 0 ); } );
}

TEST_F( PreselectorTwinsTest, SetClass_InterfaceL2_AccumulatesOrReplaces )
{
    current( 73, 0x10000, 0x1 );
    current( 73, 0x00001, 0x2 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0, 0, 0x10001, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0, 0, 0x3, 0, 0, 0 ) );
    legacy( &Sdk::bcmFieldQualifyInterfaceClassL2, 0x20000, 0x4 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0, 0, 0x20000, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0, 0, 0x4, 0, 0, 0 ) );
}

// ---- Texts -----------------------------------------------------------------------------------

TEST_F( PreselectorTwinsTest, Trace_CallText_NamesTheEntryOrAlsoItsFlag )
{
    const TestSupport::TraceRecorder traces( PreselectorScene::apiFacility,
                                             PreselectorScene::level4 );
    current( 44, 1, 1 );
    legacy( &Sdk::bcmFieldQualifyForwardingStatus, 1, 1 );
    EXPECT_THAT(
        traces.texts(),
        ElementsAre( EndsWith( " bcm_field_qualify_ForwardingStatus( unit, entry, data, mask ) "
                               "(rc:0)" ),
                     EndsWith( " bcm_field_qualify_ForwardingStatus( unit, entry | "
                               "BCM_FIELD_QUALIFY_PRESEL, data, mask ) (rc:0)" ) ) );
}

TEST_F( PreselectorTwinsTest, Trace_CastInACallText_HasBlanksOrNot )
{
    const TestSupport::TraceRecorder traces( PreselectorScene::apiFacility,
                                             PreselectorScene::level4 );
    current( 129, 1, 1 );
    legacy( &Sdk::bcmFieldQualifyPktFwdType, 1, 1 );
    EXPECT_THAT(
        traces.texts(),
        ElementsAre( EndsWith( ", static_cast< bcm_field_PktFwdType_t >( data ) ) (rc:0)" ),
                     EndsWith( ", static_cast<bcm_field_PktFwdType_t>( data ) ) (rc:0)" ) ) );
}

TEST_F( PreselectorTwinsTest, Trace_SomeLabels_EndBeforeOrAfterABlank )
{
    const TestSupport::TraceRecorder traces( PreselectorScene::facility, PreselectorScene::level4 );
    current( 133, 1, 0 );
    current( 97, 1, 0 );
    current( 93, 1, 0 );
    current( 177, 1, 0 );
    current( 75, 1, 0 );
    legacy( &Sdk::bcmFieldQualifyPktType, 1, 0 );
    legacy( &Sdk::bcmFieldQualifyIpType, 1, 0 );
    legacy( &Sdk::bcmFieldQualifyIpInfo, 1, 0 );
    legacy( &Sdk::bcmFieldQualifyTunnelType, 1, 0 );
    legacy( &Sdk::bcmFieldQualifyInterfaceClassPort, 1, 0 );
    EXPECT_THAT(
        traces.texts(),
        ElementsAre(
            "setPeloraTcamPreselectQualifier Setting PktType data: 0x1",
            "setPeloraTcamPreselectQualifier Setting IpType data: 0x1",
            "setPeloraTcamPreselectQualifier Setting IpInfo data: 0x1 mask: 0x0",
            "setPeloraTcamPreselectQualifier Setting TunnelType data: 0x1",
            "setPeloraTcamPreselectQualifier Setting InterfaceClassPort data: 0x1  mask: 0x0",
            "setPreselectQualifier Setting PktType data: 0x 1",
            "setPreselectQualifier Setting IpType data: 0x 1",
            "setPreselectQualifier Setting IpInfo data: 0x 1 mask: 0x0",
            "setPreselectQualifier Setting TunnelType data: 0x 1",
            "setPreselectQualifier Setting InterfaceClassPort data: 0x 1  mask: 0x0" ) );
}

} // namespace
} // namespace LibraryTest
