#include "tests/library/ChildRun.h"
#include "tests/library/PreselectorScene.h"

#include "sdk/ForwardingSdk.h"

#include <map>
#include <new>
#include <utility>

#include <sys/mman.h>

namespace LibraryTest {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* functionName = "setPreselectQualifier";
constexpr const char* overlayRefused =
    "Assertion `false && \"In old version OverlayPktType is unsupported preselect qualifier\"' "
    "failed.";

using Accessor = bcm_field_qualify_t ( Shim::SdkAccess::* )() const;

struct Case
{
    Accessor qualifier;
    CallCase call;
};

void PrintTo( const Case& row, std::ostream* stream )
{
    *stream << row.call.name;
}

using Sdk = Shim::SdkAccess;

// clang-format off
// Unit 3, entry 7 with bit 30. Data and mask are wider than 8 bits, to show what is cut:
// 0x1a5 = 421, cut to 8 bits 165; 0x2f3c6 = 193478, cut to 8 bits 198. 0xabcdef01 = 2882400001 is
// no value of any enumeration.
const Case cases[] = {
    { &Sdk::bcmFieldQualifyForwardingStatus, { "ForwardingStatus", 0x1A5, 0x2F3C6,
        " Setting ForwardingStatus data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_ForwardingStatus( 3, 1073741831, 421, 193478 )",
        "bcm_field_qualify_ForwardingStatus( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" } },
    { &Sdk::bcmFieldQualifyPktType, { "PktType", 0x10C, 0x2F3C6,
        " Setting PktType data: 0x 10c",
        "bcm_field_qualify_PktType( 3, 1073741831, bcmFieldPktTypeControl )",
        "bcm_field_qualify_PktType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, pktType )" } },
    { &Sdk::bcmFieldQualifyIpType, { "IpType", 0xABCDEF01, 0x2F3C6,
        " Setting IpType data: 0x abcdef01",
        "bcm_field_qualify_IpType( 3, 1073741831, 2882400001 )",
        "bcm_field_qualify_IpType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, static_cast< bcm_field_IpType_t >( data ) )" } },
    { &Sdk::bcmFieldQualifyIpInfo, { "IpInfo", 0x1A5, 0x2F3C6,
        " Setting IpInfo data: 0x 1a5 mask: 0x2f3c6",
        "bcm_field_qualify_IpInfo( 3, 1073741831, 421, 193478 )",
        "bcm_field_qualify_IpInfo( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" } },
    { &Sdk::bcmFieldQualifyTunnelType, { "TunnelType", 0xABCDEF01, 0x2F3C6,
        " Setting TunnelType data: 0x abcdef01",
        "bcm_field_qualify_TunnelType( 3, 1073741831, 2882400001 )",
        "bcm_field_qualify_TunnelType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, static_cast< bcm_field_TunnelType_t >( data ) )" } },
    { &Sdk::bcmFieldQualifyIngressStpState, { "IngressStpState", 0x1A5, 0x2F3C6,
        " Setting IngressStpState data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_IngressStpState( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_IngressStpState( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" } },
    { &Sdk::bcmFieldQualifyForwardingType, { "ForwardingType", 0xABCDEF01, 0x2F3C6,
        " Setting ForwardingType data: 0x abcdef01",
        "bcm_field_qualify_ForwardingType( 3, 1073741831, 2882400001 )",
        "bcm_field_qualify_ForwardingType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, static_cast<bcm_field_ForwardingType_t>( data ) )" } },
    { &Sdk::bcmFieldQualifyL2SrcStatic, { "L2SrcStatic", 0x1A5, 0x2F3C6,
        " Setting L2SrcStatic data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_L2SrcStatic( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_L2SrcStatic( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" } },
    { &Sdk::bcmFieldQualifyL2SrcHit, { "L2SrcHit", 0x1A5, 0x2F3C6,
        " Setting L2SrcHit data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_L2SrcHit( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_L2SrcHit( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" } },
    { &Sdk::bcmFieldQualifyL2StationMove, { "L2StationMove", 0x1A5, 0x2F3C6,
        " Setting L2StationMove data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_L2StationMove( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_L2StationMove( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" } },
    { &Sdk::bcmFieldQualifyL2InterfaceMatch, { "L2InterfaceMatch", 0x1A5, 0x2F3C6,
        " Setting L2InterfaceMatch data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_L2InterfaceMatch( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_L2InterfaceMatch( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" } },
    { &Sdk::bcmFieldQualifyMirrorPktType, { "MirrorPktType", 0x1A5, 0x2F3C6,
        " Setting MirrorPktType data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_MirrorPktType( 3, 1073741831, 421, 193478 )",
        "bcm_field_qualify_MirrorPktType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" } },
    { &Sdk::bcmFieldQualifyPktFwdType, { "PktFwdType", 0xABCDEF01, 0x2F3C6,
        " Setting PktFwType data: 0xabcdef01 mask: 0x2f3c6",
        "bcm_field_qualify_PktFwdType( 3, 1073741831, 2882400001 )",
        "bcm_field_qualify_PktFwdType( unit, entry | BCM_FIELD_QUALIFY_PRESEL, static_cast<bcm_field_PktFwdType_t>( data ) )" } },
    { &Sdk::bcmFieldQualifyPortGroupClassId, { "PortGroupClassId", 0x1A5, 0x2F3C6,
        " Setting PortGroupClassId data: 0x1a5 mask: 0x2f3c6",
        "bcm_field_qualify_PortGroupClassId( 3, 1073741831, 165, 198 )",
        "bcm_field_qualify_PortGroupClassId( unit, entry | BCM_FIELD_QUALIFY_PRESEL, data, mask )" } },
};

// clang-format on

class LegacyPreselectorCall : public ::testing::TestWithParam< Case >
{
  protected:
    U32 qualifier() const { return ( scene_.sdk.*GetParam().qualifier )(); }

    PreselectorScene scene_;
};

TEST_P( LegacyPreselectorCall, Set_TracingOn_CallsTheSdkOnceAndTracesRequestAndCall )
{
    scene_.expectCall( PeloraTcam::setPreselectQualifier, functionName, qualifier(),
                       GetParam().call );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0, 0, 0, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0, 0, 0, 0, 0, 0 ) );
}

TEST_P( LegacyPreselectorCall, Set_TracingOff_CallsTheSdkAndWritesNothing )
{
    scene_.expectSilentCall( PeloraTcam::setPreselectQualifier, qualifier(), GetParam().call );
}

using LegacyPreselectorCallDeathTest = LegacyPreselectorCall;

TEST_P( LegacyPreselectorCallDeathTest, Set_SdkFails_EndsTheProcessWithTheCallText )
{
    scene_.expectFatalFailure( PeloraTcam::setPreselectQualifier, functionName, qualifier(),
                               GetParam().call );
}

std::string nameOf( const ::testing::TestParamInfo< Case >& info )
{
    return info.param.call.name;
}

INSTANTIATE_TEST_SUITE_P( Qualifiers, LegacyPreselectorCall, ::testing::ValuesIn( cases ), nameOf );
INSTANTIATE_TEST_SUITE_P( Qualifiers,
                          LegacyPreselectorCallDeathTest,
                          ::testing::ValuesIn( cases ),
                          nameOf );

/// Writes down in which order the enumerators are asked for.
class AskedSdk : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

#define SDK_ENUMERATOR( type, name, value )                                                        \
    [[nodiscard]] type name() const override                                                       \
    {                                                                                              \
        asked_.push_back( #name );                                                                 \
        return next().name();                                                                      \
    }
#include "sdk/SdkEnumerators.def"

    /// What was asked for since the last time.
    std::vector< std::string > taken()
    {
        return std::exchange( asked_, {} );
    }

  private:
    mutable std::vector< std::string > asked_;
};

class LegacyPreselectorTest : public ::testing::Test
{
  protected:
    void set( U32 qualifier, U32 data, U32 mask )
    {
        scene_.call( PeloraTcam::setPreselectQualifier, qualifier, data, mask );
    }

    void set( Accessor qualifier, U32 data, U32 mask )
    {
        set( ( scene_.sdk.*qualifier )(), data, mask );
    }

    PreselectorScene scene_;
};

using LegacyPreselectorDeathTest = LegacyPreselectorTest;

// ---- Which qualifier is meant ----------------------------------------------------------------

TEST_F( LegacyPreselectorTest, Set_LastQualifier_AsksForAllInTheFixedOrder )
{
    AskedSdk asked( scene_.sdk );
    const U32 last = scene_.sdk.bcmFieldQualifyPortGroupClassId();
    Shim::sdk_ = &asked;
    set( last, 1, 1 );
    EXPECT_THAT( asked.taken(),
                 ElementsAre( "bcmFieldQualifyForwardingStatus", "bcmFieldQualifyPktType",
                              "bcmFieldQualifyOverlayPktType", "bcmFieldQualifyIpType",
                              "bcmFieldQualifyIpInfo", "bcmFieldQualifyTunnelType",
                              "bcmFieldQualifyInterfaceClassPort",
                              "bcmFieldQualifyInterfaceClassVPort",
                              "bcmFieldQualifyInterfaceClassL2", "bcmFieldQualifyIngressStpState",
                              "bcmFieldQualifyDstClassField", "bcmFieldQualifySrcClassField",
                              "bcmFieldQualifyForwardingType", "bcmFieldQualifyL2SrcStatic",
                              "bcmFieldQualifyL2SrcHit", "bcmFieldQualifyL2StationMove",
                              "bcmFieldQualifyL2InterfaceMatch", "bcmFieldQualifyMirrorPktType",
                              "bcmFieldQualifyPktFwdType", "bcmFieldQualifyPortGroupClassId" ) );
}

TEST_F( LegacyPreselectorTest, Names_OfTheQualifiers_AreThoseAskedForButTheRefusedOne )
{
    AskedSdk asked( scene_.sdk );
    const U32 last = scene_.sdk.bcmFieldQualifyPortGroupClassId();
    Shim::sdk_ = &asked;
    set( last, 1, 1 );
    std::vector< std::string > accepted = asked.taken();
    EXPECT_EQ( std::erase( accepted, "bcmFieldQualifyOverlayPktType" ), 1U );
    const std::vector< std::string > names = {
#define LEGACY_PRESELECTOR( accessor ) #accessor,
#include "PeloraTcam/PreselectorNames.def"
    };
    EXPECT_EQ( accepted, names );
}

TEST_F( LegacyPreselectorTest, Set_FirstQualifier_AsksForNoOther )
{
    AskedSdk asked( scene_.sdk );
    const U32 first = scene_.sdk.bcmFieldQualifyForwardingStatus();
    Shim::sdk_ = &asked;
    set( first, 1, 1 );
    EXPECT_THAT( asked.taken(), ElementsAre( "bcmFieldQualifyForwardingStatus" ) );
}

TEST_F( LegacyPreselectorTest, Set_TwoQualifiersWithOneNumber_ActsOnTheFirst )
{
    Sim::SdkNumbering numbering = TestSupport::environmentNumbering();
    numbering.bcmFieldQualifyIpType = numbering.bcmFieldQualifyPortGroupClassId;
    AnsweringSdk chip( numbering );
    TestSupport::RecordingSdk sdk( chip );
    Shim::sdk_ = &sdk;
    set( numbering.bcmFieldQualifyPortGroupClassId, 0xABCDEF01, 1 );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_field_qualify_IpType( 3, 1073741831, 2882400001 )" ) );
}

TEST_F( LegacyPreselectorTest, Set_AnyEntry_ReachesTheSdkWithBit30 )
{
    for ( const U32 entry : { 0U, 7U, 0x40000007U, 0xFFFFFFFFU } ) {
        PeloraTcam::setPreselectQualifier( 0, entry, scene_.sdk.bcmFieldQualifyL2SrcHit(), 1, 1,
                                           &scene_.classData, &scene_.classMask );
    }
    EXPECT_THAT( scene_.sdk.calls(),
                 ElementsAre( "bcm_field_qualify_L2SrcHit( 0, 1073741824, 1, 1 )",
                              "bcm_field_qualify_L2SrcHit( 0, 1073741831, 1, 1 )",
                              "bcm_field_qualify_L2SrcHit( 0, 1073741831, 1, 1 )",
                              "bcm_field_qualify_L2SrcHit( 0, -1, 1, 1 )" ) );
}

// ---- Class qualifiers ------------------------------------------------------------------------

TEST_F( LegacyPreselectorTest, SetDstAndSrcClass_Twice_KeepTheSecondValue )
{
    set( &Sdk::bcmFieldQualifyDstClassField, 0x0001, 0x00FF );
    set( &Sdk::bcmFieldQualifyDstClassField, 0x0100, 0xF000 );
    set( &Sdk::bcmFieldQualifySrcClassField, 0x0002, 0x00FF );
    set( &Sdk::bcmFieldQualifySrcClassField, 0x0200, 0xE000 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0x0100, 0x0200, 0, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0xF000, 0xE000, 0, 0, 0, 0 ) );
    EXPECT_THAT( scene_.sdk.allCalls(), IsEmpty() );
}

TEST_F( LegacyPreselectorTest, SetDstAndSrcClass_WideMask_IsCutTo16Bits )
{
    set( &Sdk::bcmFieldQualifyDstClassField, 0xFFFF, 0x12345 );
    set( &Sdk::bcmFieldQualifySrcClassField, 0x8100, 0xFFFF0000 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0xFFFF, 0x8100, 0, 0, 0, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0x2345, 0, 0, 0, 0, 0 ) );
}

TEST_F( LegacyPreselectorTest, SetInterfaceClassL2AndVPort_Twice_KeepTheSecondValueWithAllBits )
{
    set( &Sdk::bcmFieldQualifyInterfaceClassL2, 0x1, 0x2 );
    set( &Sdk::bcmFieldQualifyInterfaceClassL2, 0x80010000, 0x40020000 );
    set( &Sdk::bcmFieldQualifyInterfaceClassVPort, 0x3, 0x4 );
    set( &Sdk::bcmFieldQualifyInterfaceClassVPort, 0x80030000, 0x40040000 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0, 0, 0x80010000, 0, 0, 0x80030000 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0, 0, 0x40020000, 0, 0, 0x40040000 ) );
    EXPECT_THAT( scene_.sdk.allCalls(), IsEmpty() );
}

TEST_F( LegacyPreselectorTest, SetInterfaceClassPort_Twice_Accumulates )
{
    set( &Sdk::bcmFieldQualifyInterfaceClassPort, 0x10001, 0x10 );
    set( &Sdk::bcmFieldQualifyInterfaceClassPort, 0x2, 0x80000000 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 0, 0, 0, 0, 0x10003, 0 ) );
    EXPECT_THAT( fieldsOf( scene_.classMask ), ElementsAre( 0, 0, 0, 0, 0x80000010, 0 ) );
    EXPECT_THAT( scene_.sdk.allCalls(), IsEmpty() );
}

TEST_F( LegacyPreselectorTest, SetClasses_TracingOn_TraceTheNewValues )
{
    scene_.classData = { 0x1, 0x1, 0x1, 0x1, 0x1, 0x1 };
    scene_.classMask = { 0x10, 0x10, 0x10, 0x10, 0x10, 0x10 };
    TestSupport::TraceRecorder traces( PreselectorScene::facility, PreselectorScene::level4 );
    set( &Sdk::bcmFieldQualifyInterfaceClassPort, 0x20000, 0x30000 );
    set( &Sdk::bcmFieldQualifyInterfaceClassVPort, 0x20000, 0x30000 );
    set( &Sdk::bcmFieldQualifyInterfaceClassL2, 0x20000, 0x30000 );
    set( &Sdk::bcmFieldQualifyDstClassField, 0x200, 0x300 );
    set( &Sdk::bcmFieldQualifySrcClassField, 0x200, 0x300 );
    EXPECT_THAT(
        traces.texts(),
        ElementsAre(
            "setPreselectQualifier Setting InterfaceClassPort data: 0x 20001  mask: 0x30010",
            "setPreselectQualifier Setting InterfaceClassVPort data: 0x 20000  mask: 0x30000",
            "setPreselectQualifier Setting InterfaceClassL2 data: 0x 20000  mask: 0x30000",
            "setPreselectQualifier Setting DstClassField data: 0x 200  mask: 0x300",
            "setPreselectQualifier Setting SrcClassField data: 0x 200  mask: 0x300" ) );
}

TEST_F( LegacyPreselectorTest, SetClasses_TracingOn_TraceTheLinesOfTheirRows )
{
    TestSupport::TraceRecorder traces( PreselectorScene::facility, PreselectorScene::level4 );
    std::vector< std::string > rows;
    for ( const Accessor qualifier :
          { &Sdk::bcmFieldQualifyInterfaceClassPort, &Sdk::bcmFieldQualifyInterfaceClassVPort,
            &Sdk::bcmFieldQualifyInterfaceClassL2, &Sdk::bcmFieldQualifyDstClassField,
            &Sdk::bcmFieldQualifySrcClassField } ) {
        set( qualifier, 1, 1 );
        EXPECT_EQ( traces.lines().back().file, preselectorSource );
        rows.push_back( sourceLine( traces.lines().back().line ) );
    }
    EXPECT_THAT( rows,
                 ElementsAre( StartsWith( "classRow( &Sdk::bcmFieldQualifyInterfaceClassPort," ),
                              StartsWith( "classRow( &Sdk::bcmFieldQualifyInterfaceClassVPort," ),
                              StartsWith( "classRow( &Sdk::bcmFieldQualifyInterfaceClassL2," ),
                              StartsWith( "classRow( &Sdk::bcmFieldQualifyDstClassField," ),
                              StartsWith( "classRow( &Sdk::bcmFieldQualifySrcClassField," ) ) );
}

TEST_F( LegacyPreselectorTest, SetDstAndSrcClass_WideMask_IsTracedBeforeItIsCut )
{
    TestSupport::TraceRecorder traces( PreselectorScene::facility, PreselectorScene::level4 );
    set( &Sdk::bcmFieldQualifyDstClassField, 0xFFFF, 0x12345 );
    set( &Sdk::bcmFieldQualifySrcClassField, 0x8000, 0xFFFF0000 );
    EXPECT_THAT(
        traces.texts(),
        ElementsAre(
            "setPreselectQualifier Setting DstClassField data: 0x ffff  mask: 0x12345",
            "setPreselectQualifier Setting SrcClassField data: 0x 8000  mask: 0xffff0000" ) );
}

TEST_F( LegacyPreselectorTest, SetClasses_TracingOff_WriteNothing )
{
    const TestSupport::TraceRecorder traces;
    set( &Sdk::bcmFieldQualifyDstClassField, 1, 1 );
    set( &Sdk::bcmFieldQualifyInterfaceClassPort, 1, 1 );
    EXPECT_THAT( fieldsOf( scene_.classData ), ElementsAre( 1, 0, 0, 0, 1, 0 ) );
    EXPECT_THAT( traces.lines(), IsEmpty() );
}

// ---- What ends the process -------------------------------------------------------------------

/// Class records that a child process shares with the test, so that what it left can be seen.
class SharedRecords
{
  public:
    SharedRecords()
        : memory_( mmap( nullptr,
                         sizeof( Records ),
                         PROT_READ | PROT_WRITE,
                         MAP_SHARED | MAP_ANONYMOUS,
                         -1,
                         0 ) )
        , records_( new ( memory_ ) Records )
    {}

    SharedRecords( const SharedRecords& ) = delete;
    SharedRecords& operator=( const SharedRecords& ) = delete;

    ~SharedRecords() { munmap( memory_, sizeof( Records ) ); }

    bcm_field_src_class_t& data() { return records_->data; }

    bcm_field_src_class_t& mask() { return records_->mask; }

  private:
    struct Records
    {
        bcm_field_src_class_t data{ 1, 2, 3, 4, 5, 6 };
        bcm_field_src_class_t mask{ 7, 8, 9, 10, 11, 12 };
    };

    void* memory_;
    Records* records_;
};

struct WideClassCase
{
    Accessor qualifier;
    const char* row; ///< in the helper's source
    const char* trace;
    const char* assertion;
};

TEST_F( LegacyPreselectorDeathTest, SetDstAndSrcClass_MoreThan16Bits_FailAndWriteNothing )
{
    const WideClassCase rows[] = {
        { &Sdk::bcmFieldQualifyDstClassField, "classRow( &Sdk::bcmFieldQualifyDstClassField,",
          "setPreselectQualifier Setting DstClassField data: 0x 10000  mask: 0xff\n",
          "Assertion `!( data & 0xFFFF0000 ) && \" DstClassField value is greater than 16 bit\"' "
          "failed." },
        { &Sdk::bcmFieldQualifySrcClassField, "classRow( &Sdk::bcmFieldQualifySrcClassField,",
          "setPreselectQualifier Setting SrcClassField data: 0x 10000  mask: 0xff\n",
          "Assertion `!( data & 0xFFFF0000 ) && \" SrcClassField value is greater than 16 bit\"' "
          "failed." },
    };
    for ( const WideClassCase& row : rows ) {
        SharedRecords records;
        const U32 qualifier = ( scene_.sdk.*row.qualifier )();
        const ChildRun run = runInChild( [ & ] {
            Agent::traceLevelsIs( PreselectorScene::facility, PreselectorScene::level4 );
            PeloraTcam::setPreselectQualifier( 3, 7, qualifier, 0x10000, 0xFF, &records.data(),
                                               &records.mask() );
        } );
        EXPECT_TRUE( run.aborted );
        EXPECT_THAT( run.errors, HasSubstr( row.trace ) );
        EXPECT_THAT( run.errors, HasSubstr( row.assertion ) );
        EXPECT_THAT( sourceLinesOf( run.errors ), Each( StartsWith( row.row ) ) );
        EXPECT_THAT( fieldsOf( records.data() ), ElementsAre( 1, 2, 3, 4, 5, 6 ) );
        EXPECT_THAT( fieldsOf( records.mask() ), ElementsAre( 7, 8, 9, 10, 11, 12 ) );
    }
}

TEST_F( LegacyPreselectorDeathTest, SetDstAndSrcClass_AnyOfTheHighBits_Fails )
{
    for ( unsigned bit = 16; bit < 32; ++bit ) {
        const auto aborts = [ & ]( Accessor qualifier ) {
            return runInChild( [ & ] { set( qualifier, 1U << bit, 0 ); } ).aborted;
        };
        EXPECT_TRUE( aborts( &Sdk::bcmFieldQualifyDstClassField ) ) << bit;
        EXPECT_TRUE( aborts( &Sdk::bcmFieldQualifySrcClassField ) ) << bit;
    }
}

TEST_F( LegacyPreselectorDeathTest, Set_OverlayPktType_FailsWithItsOwnAssertionAndNoTrace )
{
    const ChildRun run = runInChild( [ & ] {
        Agent::traceLevelsIs( "*", 0xFFFFFFFF );
        set( &Sdk::bcmFieldQualifyOverlayPktType, 1, 1 );
    } );
    EXPECT_TRUE( run.aborted );
    EXPECT_THAT( run.errors, HasSubstr( overlayRefused ) );
    EXPECT_THAT( sourceLinesOf( run.errors ),
                 ElementsAre( StartsWith( "refusalRow( &Sdk::bcmFieldQualifyOverlayPktType," ) ) );
    EXPECT_THAT( run.errors, ::testing::Not( HasSubstr( "Setting" ) ) );
}

TEST_F( LegacyPreselectorDeathTest, Set_PktTypeWithoutTranslation_FailsTheMapsAssertion )
{
    EXPECT_DEATH( set( &Sdk::bcmFieldQualifyPktType, 14, 0 ),
                  HasSubstr( "pktTypeMap.find( pktType ) != pktTypeMap.end()" ) );
}

TEST_F( LegacyPreselectorDeathTest, Set_QualifiersOfTheCurrentFunctionOnly_AreUnsupported )
{
    const Accessor currentOnly[] = {
        &Sdk::bcmFieldQualifyDrop,
        &Sdk::bcmFieldQualifyDropReason,
        &Sdk::bcmFieldQualifyFrontPanelPkt,
        &Sdk::bcmFieldQualifyIngressL2InterfaceOpaqueCtrlId,
        &Sdk::bcmFieldQualifyProtocolPktOpaqueCtrlId,
        &Sdk::bcmFieldQualifyL2PktType,
        &Sdk::bcmFieldQualifyOverlayL2PktType,
        &Sdk::bcmFieldQualifyTunnelTerminated,
    };
    for ( const Accessor qualifier : currentOnly ) {
        const ChildRun run = runInChild( [ & ] { set( qualifier, 1, 1 ); } );
        EXPECT_TRUE( run.aborted );
        EXPECT_THAT( run.errors, HasSubstr( PreselectorScene::unsupported ) );
        EXPECT_THAT( run.errors, HasSubstr( "void PeloraTcam::setPreselectQualifier(" ) );
    }
}

TEST_F( LegacyPreselectorDeathTest, Set_EveryNumber_IsAnSdkQualifierOrFails )
{
    const Accessor classes[] = {
        &Sdk::bcmFieldQualifyInterfaceClassPort, &Sdk::bcmFieldQualifyInterfaceClassVPort,
        &Sdk::bcmFieldQualifyInterfaceClassL2,   &Sdk::bcmFieldQualifyDstClassField,
        &Sdk::bcmFieldQualifySrcClassField,
    };
    std::map< U32, const char* > assertions = { { 0xFFFFFFFF, PreselectorScene::unsupported } };
    for ( U32 number = 0; number < 256; ++number ) {
        assertions[ number ] = PreselectorScene::unsupported;
    }
    for ( const Case& row : cases ) {
        assertions[ ( scene_.sdk.*row.qualifier )() ] = nullptr;
    }
    for ( const Accessor qualifier : classes ) {
        assertions[ ( scene_.sdk.*qualifier )() ] = nullptr;
    }
    assertions[ scene_.sdk.bcmFieldQualifyOverlayPktType() ] = overlayRefused;

    for ( const auto& [ number, assertion ] : assertions ) {
        const ChildRun run = runInChild( [ &, asked = number ] { set( asked, 1, 1 ); } );
        EXPECT_EQ( run.returned, assertion == nullptr ) << number;
        EXPECT_EQ( run.aborted, assertion != nullptr ) << number;
        EXPECT_THAT( run.errors, HasSubstr( assertion == nullptr ? "" : assertion ) ) << number;
    }
}

} // namespace
} // namespace LibraryTest
