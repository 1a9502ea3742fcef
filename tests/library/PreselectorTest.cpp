#include "tests/library/ChildRun.h"
#include "tests/library/PreselectorScene.h"

#include <set>

namespace LibraryTest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* functionName = "setPeloraTcamPreselectQualifier";

struct Case
{
    U32 qualifier;
    CallCase call;
};

void PrintTo( const Case& row, std::ostream* stream )
{
    *stream << row.qualifier;
}

// clang-format off
// Unit 3, entry 7 with bit 30. Data and mask are wider than 8 bits, to show what is cut:
// 0x1a5 = 421, cut to 8 bits 165; 0x2f3c6 = 193478, cut to 8 bits 198.
const Case cases[] = {
    { 133, { "PktType", 0x10C, 0x2F3C6,
        " Setting PktType data: 0x10c",
        "bcm_field_qualify_PktType( 3, 1073741831, bcmFieldPktTypeControl )",
        "bcm_field_qualify_PktType( unit, entry, pktType )" } },
    { 5, { "Drop", 0x1A5, 0x2F3C6,
        " Setting Drop data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_Drop( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_Drop( unit, entry, data, mask )" } },
    { 6, { "DropReason", 0xABCDEF01, 0x2F3C6,
        " Setting DropReason data: 0xabcdef01 mask: 0x2f3c6",
        "bcm_field_qualify_DropReason( 3, 1073741831, 2882400001 )",
        "bcm_field_qualify_DropReason( unit, entry, static_cast< bcm_field_drop_reason_t >( data ) )" } },
    { 44, { "ForwardingStatus", 0x1A5, 0x2F3C6,
        " Setting ForwardingStatus data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_ForwardingStatus( 3, 1073741831, 421, 193478 )",
        "bcm_field_qualify_ForwardingStatus( unit, entry, data, mask )" } },
    { 47, { "FrontPanelPkt", 0x1A5, 0x2F3C6,
        " Setting front panel pkt data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_FrontPanelPkt( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_FrontPanelPkt( unit, entry, data, mask )" } },
    { 56, { "IngressL2InterfaceOpaqueCtrlId", 0x1A5, 0x2F3C6,
        " Setting opaque ctrl id data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_IngressL2InterfaceOpaqueCtrlId( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_IngressL2InterfaceOpaqueCtrlId( unit, entry, data, mask )" } },
    { 58, { "IngressStpState", 0x1A5, 0x2F3C6,
        " Setting IngressStpState data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_IngressStpState( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_IngressStpState( unit, entry, data, mask )" } },
    { 93, { "IpInfo", 0x1A5, 0x2F3C6,
        " Setting IpInfo data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_IpInfo( 3, 1073741831, 421, 193478 )",
        "bcm_field_qualify_IpInfo( unit, entry, data, mask )" } },
    { 97, { "IpType", 0x10D, 0x2F3C6,
        " Setting IpType data: 0x10d",
        "bcm_field_qualify_IpType( 3, 1073741831, bcmFieldIpTypeArpReply )",
        "bcm_field_qualify_IpType( unit, entry, iptype )" } },
    { 99, { "L2InterfaceMatch", 0x1A5, 0x2F3C6,
        " Setting L2InterfaceMatch data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_L2InterfaceMatch( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_L2InterfaceMatch( unit, entry, data, mask )" } },
    { 101, { "L2PktType", 0x104, 0x2F3C6,
        " Setting L2 pkt type data: 0x104",
        "bcm_field_qualify_L2PktType( 3, 1073741831, bcmFieldL2PktTypeUnknownUnicast )",
        "bcm_field_qualify_L2PktType( unit, entry, l2PktType )" } },
    { 102, { "L2SrcHit", 0x1A5, 0x2F3C6,
        " Setting L2SrcHit data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_L2SrcHit( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_L2SrcHit( unit, entry, data, mask )" } },
    { 103, { "L2SrcStatic", 0x1A5, 0x2F3C6,
        " Setting L2SrcStatic data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_L2SrcStatic( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_L2SrcStatic( unit, entry, data, mask )" } },
    { 118, { "MirrorPktType", 0x1A5, 0x2F3C6,
        " Setting MirrorPktType data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_MirrorPktType( 3, 1073741831, 421, 193478 )",
        "bcm_field_qualify_MirrorPktType( unit, entry, data, mask )" } },
    { 126, { "OverlayL2PktType", 0x101, 0x2F3C6,
        " Setting Overlay l2 pkt type data: 0x101",
        "bcm_field_qualify_OverlayL2PktType( 3, 1073741831, bcmFieldL2PktTypeUnicast )",
        "bcm_field_qualify_OverlayL2PktType( unit, entry, l2PktType )" } },
    { 127, { "OverlayPktType", 0x100, 0x2F3C6,
        " Setting OverlayPktType data: 0x100",
        "bcm_field_qualify_OverlayPktType( 3, 1073741831, bcmFieldPktTypeUnknown )",
        "bcm_field_qualify_OverlayPktType( unit, entry, pktType )" } },
    { 129, { "PktFwdType", 0x105, 0x2F3C6,
        " Setting PktFwType data: 0x105 mask: 0x2f3c6",
        "bcm_field_qualify_PktFwdType( 3, 1073741831, bcmFieldPktFwdTypeIp6Mcast )",
        "bcm_field_qualify_PktFwdType( unit, entry, static_cast< bcm_field_PktFwdType_t >( data ) )" } },
    { 134, { "PortGroupClassId", 0x1A5, 0x2F3C6,
        " Setting PortGroupClassId data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_PortGroupClassId( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_PortGroupClassId( unit, entry, data, mask )" } },
    { 135, { "ProtocolPktOpaqueCtrlId", 0x1A5, 0x2F3C6,
        " Setting opaque ctrl id data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_ProtocolPktOpaqueCtrlId( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_ProtocolPktOpaqueCtrlId( unit, entry, data, mask )" } },
    { 177, { "TunnelType", 0x101, 0x2F3C6,
        " Setting TunnelType data: 0x101",
        "bcm_field_qualify_TunnelType( 3, 1073741831, bcmFieldTunnelTypeVxlan )",
        "bcm_field_qualify_TunnelType( unit, entry, tnlType )" } },
    { 178, { "TunnelTerminated", 0x1A5, 0x2F3C6,
        " Setting tunnel terminated data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_TunnelTerminated( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_TunnelTerminated( unit, entry, data, mask )" } },
};

// clang-format on

class PreselectorCall : public ::testing::TestWithParam< Case >
{
  protected:
    PreselectorScene scene_;
};

TEST_P( PreselectorCall, Set_TracingOn_CallsTheSdkOnceAndTracesRequestAndCall )
{
    scene_.expectCall( PeloraTcam::setPeloraTcamPreselectQualifier, functionName,
                       GetParam().qualifier, GetParam().call );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0, 0, 0, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0, 0, 0, 0, 0, 0 ) );
}

TEST_P( PreselectorCall, Set_TracingOff_CallsTheSdkAndWritesNothing )
{
    scene_.expectSilentCall( PeloraTcam::setPeloraTcamPreselectQualifier, GetParam().qualifier,
                             GetParam().call );
}

using PreselectorCallDeathTest = PreselectorCall;

TEST_P( PreselectorCallDeathTest, Set_SdkFails_EndsTheProcessWithTheCallText )
{
    scene_.expectFatalFailure( PeloraTcam::setPeloraTcamPreselectQualifier, functionName,
                               GetParam().qualifier, GetParam().call );
}

std::string nameOf( const ::testing::TestParamInfo< Case >& info )
{
    return info.param.call.name;
}

INSTANTIATE_TEST_SUITE_P( Qualifiers, PreselectorCall, ::testing::ValuesIn( cases ), nameOf );
INSTANTIATE_TEST_SUITE_P( Qualifiers,
                          PreselectorCallDeathTest,
                          ::testing::ValuesIn( cases ),
                          nameOf );

class PreselectorTest : public ::testing::Test
{
  protected:
    void set( U32 qualifier, U32 data, U32 mask )
    {
        scene_.call( PeloraTcam::setPeloraTcamPreselectQualifier, qualifier, data, mask );
    }

    PreselectorScene scene_;
};

using PreselectorDeathTest = PreselectorTest;

// ---- The entry id ----------------------------------------------------------------------------

TEST_F( PreselectorTest, Set_AnyEntry_ReachesTheSdkWithBit30 )
{
    for ( const U32 entry : { 0U, 7U, 0x40000007U, 0xFFFFFFFFU } ) {
        PeloraTcam::setPeloraTcamPreselectQualifier( 0, entry, 5, 1, 1, &scene_.classData,
                                                     &scene_.classMask );
    }
    EXPECT_THAT( scene_.sdk.calls(), ElementsAre( "bcm_field_qualify_Drop( 0, 1073741824, 1, 1 )",
                                                  "bcm_field_qualify_Drop( 0, 1073741831, 1, 1 )",
                                                  "bcm_field_qualify_Drop( 0, 1073741831, 1, 1 )",
                                                  "bcm_field_qualify_Drop( 0, -1, 1, 1 )" ) );
}

TEST_F( PreselectorTest, Set_PositiveReturnCode_IsASuccess )
{
    scene_.chip.rc = 1;
    TestSupport::TraceRecorder traces( PreselectorScene::apiFacility, PreselectorScene::level4 );
    set( 44, 0xFFFFFFFF, 0x80000000 );
    EXPECT_THAT( scene_.sdk.calls(),
                 ElementsAre( "bcm_field_qualify_ForwardingStatus( 3, 1073741831, 4294967295, "
                              "2147483648 )" ) );
    EXPECT_THAT( traces.texts(), ElementsAre( ::testing::EndsWith( " (rc:1)" ) ) );
}

// ---- Class qualifiers ------------------------------------------------------------------------

TEST_F( PreselectorTest, SetDstClass_Twice_AccumulatesInBothRecords )
{
    set( 8, 0x0001, 0x00FF );
    set( 8, 0x0100, 0xF000 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0x0101, 0, 0, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0xF0FF, 0, 0, 0, 0, 0 ) );
    EXPECT_THAT( scene_.sdk.allCalls(), IsEmpty() );
}

TEST_F( PreselectorTest, SetSrcClass_Twice_AccumulatesInBothRecords )
{
    set( 137, 0x0001, 0x00FF );
    set( 137, 0x0100, 0xF000 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0, 0x0101, 0, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0, 0xF0FF, 0, 0, 0, 0 ) );
    EXPECT_THAT( scene_.sdk.allCalls(), IsEmpty() );
}

TEST_F( PreselectorTest, SetDstAndSrcClass_MoreThan16Bits_AreCutSilently )
{
    set( 8, 0x12345, 0xFFFF4321 );
    set( 137, 0xABCD9876, 0x10000 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0x2345, 0x9876, 0, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0x4321, 0, 0, 0, 0, 0 ) );
}

TEST_F( PreselectorTest, SetDstAndSrcClass_OldValueWiderThan16Bits_LosesTheHighBits )
{
    scene_.classData.dst_class_field = 0x50001;
    scene_.classMask.dst_class_field = 0x60002;
    scene_.classData.src_class_field = 0x70003;
    scene_.classMask.src_class_field = 0x80004;
    TestSupport::TraceRecorder traces( PreselectorScene::facility, PreselectorScene::level4 );
    set( 8, 0x10, 0x20 );
    set( 137, 0x30, 0x40 );
    EXPECT_THAT( traces.texts(), ElementsAre( ::testing::EndsWith( " data: 0x 11  mask: 0x22" ),
                                              ::testing::EndsWith( " data: 0x 33  mask: 0x44" ) ) );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0x11, 0x33, 0, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0x22, 0x44, 0, 0, 0, 0 ) );
}

TEST_F( PreselectorTest, SetInterfaceClasses_Twice_AccumulateWithAllBits )
{
    set( 73, 0x10000, 0x80000000 );
    set( 73, 0x00001, 0x00000001 );
    set( 75, 0x30000, 0x40000000 );
    set( 75, 0x00002, 0x00000002 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0, 0, 0x10001, 0, 0x30002, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0, 0, 0x80000001, 0, 0x40000002, 0 ) );
    EXPECT_THAT( scene_.sdk.allCalls(), IsEmpty() );
}

TEST_F( PreselectorTest, SetClasses_TracingOn_TraceTheNewValues )
{
    scene_.classData = { 0x1, 0x1, 0x1, 0x1, 0x1, 0x1 };
    scene_.classMask = { 0x10, 0x10, 0x10, 0x10, 0x10, 0x10 };
    TestSupport::TraceRecorder traces( PreselectorScene::facility, PreselectorScene::level4 );
    set( 8, 0x200, 0x300 );
    set( 137, 0x200, 0x300 );
    set( 73, 0x20000, 0x30000 );
    set( 75, 0x20000, 0x30000 );
    EXPECT_THAT(
        traces.texts(),
        ElementsAre( "setPeloraTcamPreselectQualifier Setting DstClassField data: 0x 201  mask: "
                     "0x310",
                     "setPeloraTcamPreselectQualifier Setting SrcClassField data: 0x 201  mask: "
                     "0x310",
                     "setPeloraTcamPreselectQualifier Setting InterfaceClassL2 data: 0x 20001  "
                     "mask: 0x30010",
                     "setPeloraTcamPreselectQualifier Setting InterfaceClassPort data: 0x20001  "
                     "mask: 0x30010" ) );
    EXPECT_EQ( traces.lines()[ 0 ].level, 4U );
}

TEST_F( PreselectorTest, SetClasses_TracingOn_TraceTheLinesOfTheirRows )
{
    TestSupport::TraceRecorder traces( PreselectorScene::facility, PreselectorScene::level4 );
    std::vector< std::string > rows;
    for ( const U32 qualifier : { 8U, 137U, 73U, 75U } ) {
        set( qualifier, 1, 1 );
        EXPECT_EQ( traces.lines().back().file, preselectorSource );
        rows.push_back( sourceLine( traces.lines().back().line ) );
    }
    EXPECT_THAT( rows,
                 ElementsAre( StartsWith( "classRow( QualifierType::dstClassField," ),
                              StartsWith( "classRow( QualifierType::srcClassField," ),
                              StartsWith( "classRow( QualifierType::interfaceClassL2," ),
                              StartsWith( "classRow( QualifierType::interfaceClassPort," ) ) );
}

TEST_F( PreselectorTest, SetDstClass_WiderThan16Bits_TracesTheValueBeforeItIsCut )
{
    TestSupport::TraceRecorder traces( PreselectorScene::facility, PreselectorScene::level4 );
    set( 8, 0x12345, 0x1FFFF );
    EXPECT_THAT( traces.texts(),
                 ElementsAre( "setPeloraTcamPreselectQualifier Setting DstClassField data: 0x "
                              "12345  mask: 0x1ffff" ) );
}

TEST_F( PreselectorTest, SetClasses_TracingOff_WriteNothing )
{
    const TestSupport::TraceRecorder traces;
    for ( const U32 qualifier : { 8U, 137U, 73U, 75U } ) {
        set( qualifier, 1, 1 );
    }
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 1, 1, 1, 0, 1, 0 ) );
    EXPECT_THAT( traces.lines(), IsEmpty() );
}

// ---- What ends the process -------------------------------------------------------------------

TEST_F( PreselectorDeathTest, Set_EveryQualifierNumber_IsSupportedOrFails )
{
    const std::set< U32 > supported = { 5,   6,   8,   44,  47,  56,  58,  73,  75,
                                        93,  97,  99,  101, 102, 103, 118, 126, 127,
                                        129, 133, 134, 135, 137, 177, 178 };
    std::set< U32 > numbers = { 256 + 5, 256 + 133, 0x10005, 0x80000085, 0xFFFFFFFF };
    for ( U32 number = 0; number < 256; ++number ) {
        numbers.insert( number );
    }
    for ( const U32 number : numbers ) {
        const ChildRun run = runInChild( [ & ] { set( number, 1, 1 ); } );
        if ( supported.contains( number ) ) {
            EXPECT_TRUE( run.returned ) << number;
            EXPECT_EQ( run.errors, "" ) << number;
        } else {
            EXPECT_TRUE( run.aborted ) << number;
            EXPECT_THAT( run.errors, HasSubstr( PreselectorScene::unsupported ) ) << number;
        }
    }
}

struct Untranslatable
{
    U32 qualifier;
    U32 data;
    const char* assertion;
};

TEST_F( PreselectorDeathTest, Set_DataWithoutTranslation_FailsTheMapsAssertion )
{
    const Untranslatable rows[] = {
        { 133, 14, "pktTypeMap.find( pktType ) != pktTypeMap.end()" },
        { 127, 255, "pktTypeMap.find( pktType ) != pktTypeMap.end()" },
        { 97, 9, "ipTypeMap.find( ipType ) != ipTypeMap.end()" },
        { 101, 0, "l2PktTypeMap.find( l2PktType ) != l2PktTypeMap.end()" },
        { 126, 0x100, "l2PktTypeMap.find( l2PktType ) != l2PktTypeMap.end()" },
        { 129, 0, "pktFwdTypeMap.find( pktFwdType ) != pktFwdTypeMap.end()" },
        { 177, 2, "tunnelTypeMap.find( tnlType ) != tunnelTypeMap.end()" },
    };
    for ( const Untranslatable& row : rows ) {
        const ChildRun run = runInChild( [ & ] {
            Agent::traceLevelsIs( PreselectorScene::facility, PreselectorScene::level4 );
            set( row.qualifier, row.data, 0 );
        } );
        EXPECT_TRUE( run.aborted ) << row.qualifier;
        EXPECT_THAT( run.errors, HasSubstr( row.assertion ) ) << row.qualifier;
        // The data is translated before anything is traced.
        EXPECT_THAT( run.errors, ::testing::Not( HasSubstr( " Setting " ) ) ) << row.qualifier;
    }
}

TEST_F( PreselectorDeathTest, Set_UnsupportedQualifier_NamesTheFunction )
{
    EXPECT_DEATH( set( 4, 0, 0 ),
                  HasSubstr( "void PeloraTcam::setPeloraTcamPreselectQualifier(" ) );
}

} // namespace
} // namespace LibraryTest
