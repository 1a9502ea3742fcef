#include "PeloraTcam/PeloraTcamSdk6Helper.h"

#include "tests/library/ActionPairs.h"
#include "tests/library/FieldScene.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/TraceRecorder.h"

#include <set>
#include <type_traits>

namespace LibraryTest {
namespace {

using namespace PeloraTcam;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view source = "PeloraTcam/PeloraTcamSdk6Helper.cpp";

// What callers are compiled against.
using Builder = std::integral_constant< void ( * )(), initializeBcmActionMap >;
using ToSdk = std::integral_constant< bcm_field_action_t ( * )( ActionType ), getBcmAction >;
using FromSdk = std::integral_constant< ActionType ( * )( bcm_field_action_t ), getBcmAction >;
using SetToSdk = std::integral_constant< bcm_field_aset_t ( * )( ActionSet ), getBcmActionSet >;
using Colored = std::integral_constant< bool ( * )( ActionType ), isActionColored >;

ActionType action( unsigned number )
{
    return static_cast< ActionType >( number );
}

// Stands first: it is the first to run.
TEST( ActionMapLoadTest, Maps_AtLoad_AreEmpty )
{
    EXPECT_TRUE( actionMap.empty() );
    EXPECT_TRUE( actionReverseMap.empty() );
}

class ActionMapTest : public ::testing::Test
{
  protected:
    ActionMapTest() { clear(); }

    ~ActionMapTest() override { clear(); }

    static void clear()
    {
        actionMap.clear();
        actionReverseMap.clear();
    }

    [[nodiscard]] bcm_field_action_t sdkAction( std::string_view accessor ) const
    {
        return static_cast< bcm_field_action_t >( scene_.valueOf( accessor ) );
    }

    static void expectUnmapped( ActionType type, const std::string& name )
    {
        expectDeath( [ & ] { static_cast< void >( getBcmAction( type ) ); },
                     "Unmapped actionType: " + name + "\n", source, "getBcmAction",
                     "( actionMap.find( actionType ) != actionMap.end() )" );
    }

    static void expectUnmapped( bcm_field_action_t sdkAction )
    {
        expectDeath( [ & ] { static_cast< void >( getBcmAction( sdkAction ) ); },
                     "Unmapped action: " + std::to_string( sdkAction ) + "\n", source,
                     "getBcmAction", "actionReverseMap.find( action ) != actionReverseMap.end()" );
    }

    FieldScene scene_;
};

TEST_F( ActionMapTest, Builder_Once_InsertsAHundredAndFourteenTimesInItsOrder )
{
    initializeBcmActionMap();
    std::vector< std::string > expected;
    for ( const ActionPair& pair : actionPairs ) {
        expected.emplace_back( pair.accessor );
    }
    EXPECT_EQ( scene_.sdk.asked, expected );
    EXPECT_EQ( scene_.sdk.asked.size(), 114U );
}

TEST_F( ActionMapTest, Builder_Once_HoldsEveryPair )
{
    initializeBcmActionMap();
    std::map< ActionType, bcm_field_action_t > expected;
    for ( const ActionPair& pair : actionPairs ) {
        expected.emplace( action( pair.agentValue ), sdkAction( pair.accessor ) );
    }
    EXPECT_EQ( actionMap, expected );
    EXPECT_EQ( actionMap.size(), 113U );
    EXPECT_EQ( actionReverseMap.size(), 112U );
}

TEST_F( ActionMapTest, Builder_Once_LeavesOutExactlyTheUntranslatedTypes )
{
    const std::set< unsigned > absent = { 0,  7,  17, 18, 19, 20,  34,  49,  57, 63,
                                          72, 74, 78, 79, 87, 115, 118, 119, 120 };
    initializeBcmActionMap();
    for ( unsigned number = 0; number < 256; ++number ) {
        const bool isPresent = number <= 131 && !absent.contains( number );
        EXPECT_EQ( actionMap.contains( action( number ) ), isPresent ) << number;
    }
}

TEST_F( ActionMapTest, Builder_Once_SharesOneSdkActionOnly )
{
    initializeBcmActionMap();
    std::map< bcm_field_action_t, std::set< unsigned > > types;
    for ( const auto& [ type, sdkValue ] : actionMap ) {
        types[ sdkValue ].insert( static_cast< unsigned >( type ) );
    }
    std::set< std::set< unsigned > > groups;
    for ( const auto& [ sdkValue, group ] : types ) {
        if ( group.size() > 1 ) {
            groups.insert( group );
        }
    }
    EXPECT_EQ( groups, ( std::set< std::set< unsigned > >{ { 70, 71 } } ) );
}

TEST_F( ActionMapTest, Builder_Again_NeitherAsksNorChangesAnything )
{
    initializeBcmActionMap();
    const auto forward = actionMap;
    const auto reverse = actionReverseMap;
    Sim::UnavailableSdk other( Sim::SdkNumbering::shuffled( 4711 ) );
    FieldRecordingSdk otherRecorder( other );
    Shim::sdk_ = &otherRecorder;
    initializeBcmActionMap();
    EXPECT_TRUE( otherRecorder.asked.empty() );
    EXPECT_EQ( actionMap, forward );
    EXPECT_EQ( actionReverseMap, reverse );
}

TEST_F( ActionMapTest, Builder_ForwardMapHoldsAnything_DoesNothing )
{
    actionMap.emplace( ActionType::drop, sdkAction( "bcmFieldActionDrop" ) );
    initializeBcmActionMap();
    EXPECT_TRUE( scene_.sdk.asked.empty() );
    EXPECT_EQ( actionMap.size(), 1U );
    EXPECT_TRUE( actionReverseMap.empty() );
}

TEST_F( ActionMapTest, GetBcmAction_OfEveryType_GivesItsSdkActionAndTheSmallestBack )
{
    initializeBcmActionMap();
    for ( const ActionPair& pair : actionPairs ) {
        const bcm_field_action_t sdkValue = sdkAction( pair.accessor );
        EXPECT_EQ( getBcmAction( action( pair.agentValue ) ), sdkValue ) << pair.accessor;
        const unsigned smallest = pair.agentValue == 71 ? 70 : pair.agentValue;
        EXPECT_EQ( getBcmAction( sdkValue ), action( smallest ) ) << pair.accessor;
    }
}

TEST_F( ActionMapTest, GetBcmAction_OfSeventyAndSeventyOne_IsOneSdkAction )
{
    initializeBcmActionMap();
    EXPECT_EQ( getBcmAction( action( 71 ) ), getBcmAction( action( 70 ) ) );
    EXPECT_EQ( getBcmAction( getBcmAction( action( 71 ) ) ), action( 70 ) );
}

TEST_F( ActionMapTest, GetBcmAction_OfEleven_IsTheClassAssignment )
{
    initializeBcmActionMap();
    EXPECT_EQ( getBcmAction( action( 11 ) ), sdkAction( "bcmFieldActionClassSet" ) );
}

TEST_F( ActionMapTest, GetBcmAction_OfAnAbsentType_NamesItAndDies )
{
    initializeBcmActionMap();
    expectUnmapped( action( 0 ), "invalid" );
    expectUnmapped( action( 7 ), "cancelLearn" );
    expectUnmapped( action( 72 ), "noAction" );
    expectUnmapped( action( 132 ), "ActionType(132)" );
    expectUnmapped( action( 255 ), "ActionType(255)" );
}

TEST_F( ActionMapTest, GetBcmAction_OfAnSdkActionWithoutEntry_NamesItAndDies )
{
    initializeBcmActionMap();
    expectUnmapped( sdkAction( "bcmFieldActionTtlCancel" ) );
}

TEST_F( ActionMapTest, GetBcmAction_BeforeTheBuilder_Dies )
{
    expectUnmapped( ActionType::drop, "drop" );
    expectUnmapped( sdkAction( "bcmFieldActionDrop" ) );
}

TEST_F( ActionMapTest, GetBcmAction_StandardErrorSpoilt_ReportsInDecimalAllTheSame )
{
    initializeBcmActionMap();
    const bcm_field_action_t unmapped{ 4095 };
    expectDeath(
        [] {
            spoilStandardError();
            static_cast< void >( getBcmAction( action( 255 ) ) );
        },
        "Unmapped actionType: ActionType(255)\n", source, "getBcmAction",
        "( actionMap.find( actionType ) != actionMap.end() )" );
    expectDeath(
        [ & ] {
            spoilStandardError();
            static_cast< void >( getBcmAction( unmapped ) );
        },
        "Unmapped action: 4095\n", source, "getBcmAction",
        "actionReverseMap.find( action ) != actionReverseMap.end()" );
}

// ---- Trace -----------------------------------------------------------------------------------

TEST_F( ActionMapTest, GetBcmAction_AtLevelEight_TracesTheType )
{
    initializeBcmActionMap();
    const TestSupport::TraceRecorder traces( "PeloraTcamSdk6Helper", 1U << 8 );
    static_cast< void >( getBcmAction( ActionType::drop ) );
    EXPECT_THAT( traces.texts(), ElementsAre( "getBcmAction actionType: drop" ) );
    EXPECT_EQ( traces.lines().at( 0 ).level, 8U );
    EXPECT_EQ( traces.lines().at( 0 ).function, "getBcmAction" );
}

TEST_F( ActionMapTest, GetBcmAction_OfAnAbsentType_TracesItBeforeItIsLookedUp )
{
    initializeBcmActionMap();
    const ChildRun run = runInChild( [] {
        Agent::traceLevelsIs( "PeloraTcamSdk6Helper", 1U << 8 );
        static_cast< void >( getBcmAction( action( 7 ) ) );
    } );
    const std::size_t traced = run.errors.find( "getBcmAction actionType: cancelLearn\n" );
    const std::size_t reported = run.errors.find( "\nUnmapped actionType: cancelLearn\n" );
    ASSERT_NE( traced, std::string::npos );
    ASSERT_NE( reported, std::string::npos );
    EXPECT_LT( traced, reported );
}

TEST_F( ActionMapTest, GetBcmAction_WithoutLevelEight_TracesNothing )
{
    initializeBcmActionMap();
    const TestSupport::TraceRecorder traces( "PeloraTcamSdk6Helper", ~( 1U << 8 ) );
    static_cast< void >( getBcmAction( ActionType::drop ) );
    EXPECT_THAT( traces.texts(), IsEmpty() );
}

TEST_F( ActionMapTest, GetBcmAction_BackFromTheSdk_TracesNothing )
{
    initializeBcmActionMap();
    const TestSupport::TraceRecorder traces( "*", ~0U );
    static_cast< void >( getBcmAction( sdkAction( "bcmFieldActionDrop" ) ) );
    EXPECT_THAT( traces.texts(), IsEmpty() );
}

// ---- Action sets -----------------------------------------------------------------------------

class ActionSetTest : public ActionMapTest
{
  protected:
    ActionSetTest() { initializeBcmActionMap(); }

    [[nodiscard]] std::string add( std::string_view accessor ) const
    {
        return "add " + std::to_string( scene_.valueOf( accessor ) );
    }
};

TEST_F( ActionSetTest, Build_OfTheEmptySet_GivesTheInitialisedEmptySet )
{
    const bcm_field_aset_t aset = getBcmActionSet( ActionSet{} );
    EXPECT_THAT( scene_.sdk.setCalls, ElementsAre( "init" ) );
    bcm_field_aset_t initialised;
    scene_.chip.BCM_FIELD_ASET_INIT( &initialised );
    EXPECT_EQ( aset.w, initialised.w );
}

TEST_F( ActionSetTest, Build_OfSeveral_AddsThemInTheOrderOfTheirNumbers )
{
    const bcm_field_aset_t aset =
        getBcmActionSet( ActionSet{ ActionType::drop, ActionType::copyToCpu } );
    EXPECT_THAT( scene_.sdk.setCalls, ElementsAre( "init", add( "bcmFieldActionCopyToCpu" ),
                                                   add( "bcmFieldActionDrop" ) ) );
    EXPECT_TRUE( scene_.chip.BCM_FIELD_ASET_TEST( &aset, scene_.chip.bcmFieldActionDrop() ) );
    EXPECT_FALSE( scene_.chip.BCM_FIELD_ASET_TEST( &aset, scene_.chip.bcmFieldActionCosQNew() ) );
}

TEST_F( ActionSetTest, Build_OfEveryMappedAction_AddsThemAll )
{
    ActionSet all;
    for ( const auto& [ type, sdkValue ] : actionMap ) {
        all.insert( type );
    }
    const bcm_field_aset_t aset = getBcmActionSet( all );
    EXPECT_EQ( scene_.sdk.setCalls.size(), 1U + 113U );
    for ( const ActionPair& pair : actionPairs ) {
        EXPECT_TRUE( scene_.chip.BCM_FIELD_ASET_TEST( &aset, sdkAction( pair.accessor ) ) );
    }
}

TEST_F( ActionSetTest, Build_OfNoActionOnly_GivesTheInitialisedEmptySetSilently )
{
    ::testing::internal::CaptureStderr();
    static_cast< void >( getBcmActionSet( ActionSet{ action( 72 ) } ) );
    EXPECT_EQ( ::testing::internal::GetCapturedStderr(), "" );
    EXPECT_THAT( scene_.sdk.setCalls, ElementsAre( "init" ) );
}

TEST_F( ActionSetTest, Build_OfNoActionAmongOthers_LeavesOutOnlyIt )
{
    static_cast< void >( getBcmActionSet( ActionSet{ action( 71 ), action( 72 ), action( 73 ) } ) );
    EXPECT_THAT( scene_.sdk.setCalls, ElementsAre( "init", add( "bcmFieldActionMirrorIngress" ),
                                                   add( "bcmFieldActionOamTxNew" ) ) );
}

// It is left out because it has no entry, not because of what it is.
TEST_F( ActionSetTest, Build_OfNoActionWithAnEntry_AddsIt )
{
    actionMap.emplace( ActionType::noAction, sdkAction( "bcmFieldActionTtlCancel" ) );
    static_cast< void >( getBcmActionSet( ActionSet{ ActionType::noAction } ) );
    EXPECT_THAT( scene_.sdk.setCalls, ElementsAre( "init", add( "bcmFieldActionTtlCancel" ) ) );
}

TEST_F( ActionSetTest, Build_WithAnUnmappedAction_NamesItAndDies )
{
    for ( const auto& [ number, name ] :
          std::map< unsigned, std::string >{ { 7, "cancelLearn" }, { 255, "ActionType(255)" } } ) {
        const ActionSet set{ ActionType::copyToCpu, action( number ) };
        expectDeath( [ & ] { static_cast< void >( getBcmActionSet( set ) ); },
                     " Unsupported action: " + name + "\n", source, "getBcmActionSet",
                     "\"false\" == nullptr" );
    }
}

TEST_F( ActionSetTest, Build_StandardErrorSpoilt_NamesTheActionAllTheSame )
{
    expectDeath(
        [] {
            spoilStandardError();
            static_cast< void >( getBcmActionSet( ActionSet{ action( 255 ) } ) );
        },
        " Unsupported action: ActionType(255)\n", source, "getBcmActionSet",
        "\"false\" == nullptr" );
}

TEST_F( ActionSetTest, Build_BeforeTheMapIsBuilt_DiesButForNoAction )
{
    clear();
    static_cast< void >( getBcmActionSet( ActionSet{ ActionType::noAction } ) );
    expectDeath( [] { static_cast< void >( getBcmActionSet( ActionSet{ ActionType::drop } ) ); },
                 " Unsupported action: drop\n", source, "getBcmActionSet", "\"false\" == nullptr" );
}

TEST_F( ActionSetTest, BuildAndLookUp_TracesOff_AllocateNothing )
{
    Shim::sdk_ = &scene_.chip;
    const ActionSet set{ ActionType::drop, ActionType::copyToCpu, ActionType::vrfNew };
    static_cast< void >( getBcmAction( ActionType::drop ) );
    const std::size_t before = TestSupport::allocationCount();
    static_cast< void >( getBcmActionSet( set ) );
    static_cast< void >( getBcmAction( ActionType::drop ) );
    EXPECT_EQ( TestSupport::allocationCount(), before );
}

// ---- Colour ----------------------------------------------------------------------------------

TEST( IsActionColoredTest, IsActionColored_OfEveryValue_IsTrueForTheColouredOnes )
{
    const std::set< unsigned > coloured = { 36,  37,  38,  39,  40,  88,  89,  90,
                                            104, 105, 106, 110, 111, 112, 113, 114 };
    for ( unsigned number = 0; number < 256; ++number ) {
        EXPECT_EQ( isActionColored( action( number ) ), coloured.contains( number ) ) << number;
    }
}

} // namespace
} // namespace LibraryTest
