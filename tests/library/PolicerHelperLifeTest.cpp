// The lives of the policer helpers: their slots, their memory, their records in the type registry,
// their attributes; and the agent's locks around their SDK calls.

#include "agent/base/SlabAllocator.h"
#include "agent/base/TypeRegistry.h"
#include "tests/library/NodeFlags.h"
#include "tests/library/PolicerScene.h"
#include "tests/library/VirtualSlots.h"
#include "tests/support/LockRecorder.h"

#include <algorithm>

namespace LibraryTest {
namespace {

using Agent::AttributeOperation;
using PeloraTcam::FapId;
using PeloraTcam::PeloraTcamHsdkPolicerHelper;
using PeloraTcam::PeloraTcamSdk6PolicerHelper;
using ::testing::ElementsAre;

template< class Helper >
Agent::Ptr< Helper > newHelper()
{
    return Agent::Ptr< Helper >( new Helper( 7, FapId( 9 ) ) );
}

template< class Helper >
class PolicerLifeTest : public ::testing::Test
{};

using Helpers = ::testing::Types< PeloraTcamSdk6PolicerHelper, PeloraTcamHsdkPolicerHelper >;
TYPED_TEST_SUITE( PolicerLifeTest, Helpers );

TEST( PolicerSlotsTest, Sdk6_BuiltTable_HasTheOperationsInTheirOrder )
{
    EXPECT_THAT( virtualSlots( *newHelper< PeloraTcamSdk6PolicerHelper >() ),
                 ElementsAre( "PeloraTcamSdk6PolicerHelper::~PeloraTcamSdk6PolicerHelper",
                              "PeloraTcamSdk6PolicerHelper::~PeloraTcamSdk6PolicerHelper",
                              "Node::lastUserGone", "Node::publisher",
                              "PeloraTcamSdk6PolicerHelper::typeData",
                              "PeloraTcamSdk6PolicerHelper::getPolicer",
                              "PeloraTcamSdk6PolicerHelper::releasePolicer",
                              "PeloraTcamSdk6PolicerHelper::verifyTcamSanity",
                              "PeloraTcamSdk6PolicerHelper::handleInitialized" ) );
}

TEST( PolicerSlotsTest, Hsdk_BuiltTable_OverridesTwoOperationsOfTheSdk6Helper )
{
    EXPECT_THAT( virtualSlots( *newHelper< PeloraTcamHsdkPolicerHelper >() ),
                 ElementsAre( "PeloraTcamHsdkPolicerHelper::~PeloraTcamHsdkPolicerHelper",
                              "PeloraTcamHsdkPolicerHelper::~PeloraTcamHsdkPolicerHelper",
                              "Node::lastUserGone", "Node::publisher",
                              "PeloraTcamHsdkPolicerHelper::typeData",
                              "PeloraTcamHsdkPolicerHelper::getPolicer",
                              "PeloraTcamHsdkPolicerHelper::releasePolicer",
                              "PeloraTcamSdk6PolicerHelper::verifyTcamSanity",
                              "PeloraTcamSdk6PolicerHelper::handleInitialized" ) );
}

TYPED_TEST( PolicerLifeTest, Construct_NewAndLastPtr_CountsGoUpAndBack )
{
    const std::size_t count = TypeParam::memAllocationTracker_.count();
    const std::size_t bytes = TypeParam::memAllocationTracker_.bytes();
    const std::size_t live = Agent::slabUse( typeid( TypeParam ).name() ).live;
    {
        const Agent::Ptr< Agent::Node > helper = newHelper< TypeParam >();
        EXPECT_EQ( TypeParam::memAllocationTracker_.count(), count + 1 );
        EXPECT_EQ( TypeParam::memAllocationTracker_.bytes(), bytes + sizeof( TypeParam ) );
        EXPECT_EQ( Agent::slabUse( typeid( TypeParam ).name() ).live, live + 1 );
    }
    EXPECT_EQ( TypeParam::memAllocationTracker_.count(), count );
    EXPECT_EQ( TypeParam::memAllocationTracker_.bytes(), bytes );
    EXPECT_EQ( Agent::slabUse( typeid( TypeParam ).name() ).live, live );
}

TYPED_TEST( PolicerLifeTest, Destroy_InPlace_MarksTheNodeAsBeingDestroyed )
{
    EXPECT_EQ( flagsAfterDestruction< TypeParam >( Agent::U8{ 7 }, FapId( 9 ) ), 0x20000000U );
}

TEST( PolicerTrackerTest, Construct_Hsdk_IsNotCountedAsSdk6 )
{
    const std::size_t total = PeloraTcamSdk6PolicerHelper::memAllocationTracker_.total();
    newHelper< PeloraTcamHsdkPolicerHelper >();
    EXPECT_EQ( PeloraTcamSdk6PolicerHelper::memAllocationTracker_.total(), total );
}

/// The class's name in the library.
template< class Helper >
constexpr const char* nameOf =
    std::is_same_v< Helper, PeloraTcamSdk6PolicerHelper > ? "PeloraTcamSdk6PolicerHelper"
                                                          : "PeloraTcamHsdkPolicerHelper";

TYPED_TEST( PolicerLifeTest, TypeData_AnyObject_IsTheOneRecordOfTheModule )
{
    const Agent::Ptr< TypeParam > helper = newHelper< TypeParam >();
    const Agent::ModuleRecord& module = helper->typeData();
    EXPECT_EQ( &module, &newHelper< TypeParam >()->typeData() );
    EXPECT_EQ( std::ranges::count( Agent::registeredModules(), &module ), 1 );
    EXPECT_EQ( module.source, std::string( "PeloraTcam/" ) + nameOf< TypeParam > );
    ASSERT_EQ( module.types.size(), 1U );
    const Agent::TypeRecord& type = module.types[ 0 ];
    EXPECT_EQ( type.name, std::string( "PeloraTcam::" ) + nameOf< TypeParam > );
    EXPECT_EQ( *type.type, typeid( TypeParam ) );
    EXPECT_THAT( type.constructorArguments, ElementsAre( "U8", "FapId" ) );
    ASSERT_EQ( type.attributes.size(), 2U );
    EXPECT_EQ( type.attributes[ 0 ].name, "fapId" );
    EXPECT_EQ( type.attributes[ 1 ].name, "pipeId" );
    EXPECT_EQ( &Agent::typeRecord( *helper ), &type );
}

TYPED_TEST( PolicerLifeTest, Registry_Construct_GivesNullBecauseTheClassHasNoCreator )
{
    const Agent::TypeRecord* type =
        Agent::registeredType( std::string( "PeloraTcam::" ) + nameOf< TypeParam > );
    ASSERT_NE( type, nullptr );
    const Agent::U8 pipe = 1;
    const FapId fapId( 2 );
    const void* const arguments[] = { &pipe, &fapId };
    EXPECT_EQ( Agent::construct( *type, arguments ), nullptr );
}

TYPED_TEST( PolicerLifeTest, Attributes_PipeIdAndFapId_AreReadableOnly )
{
    const Agent::Ptr< TypeParam > helper = newHelper< TypeParam >();
    Agent::U8 pipeId = 0;
    FapId fapId;
    const auto serve = [ & ]( const char* name, AttributeOperation operation, void* result ) {
        return Agent::attributeOperation( *helper, name, operation, result );
    };
    EXPECT_EQ( serve( "pipeId", AttributeOperation::create, &pipeId ), 1 );
    EXPECT_EQ( serve( "fapId", AttributeOperation::remove, &fapId ), 1 );
    EXPECT_EQ( serve( "unit", AttributeOperation::read, &pipeId ), 2 );
    EXPECT_EQ( pipeId, 0U );
    EXPECT_EQ( serve( "pipeId", AttributeOperation::read, &pipeId ), 0 );
    EXPECT_EQ( serve( "fapId", AttributeOperation::read, &fapId ), 0 );
    EXPECT_EQ( pipeId, 7U );
    EXPECT_EQ( fapId, FapId( 9 ) );
}

// ---- Locks -----------------------------------------------------------------------------------

class PolicerLockTest : public PolicerScene
{
  protected:
    PolicerLockTest()
    {
        sdk.on.preApiCall = [ this ] { locks_.eventIs( "preApiCall" ); };
        sdk.on.bcm_policer_config_t_init = [ this ]( bcm_policer_config_t* conf ) {
            *conf = {};
            locks_.eventIs( "init" );
        };
        sdk.on.bcm_policer_create = [ this ]( int, bcm_policer_config_t*, bcm_policer_t* id ) {
            *id = 100;
            return called( "create" );
        };
        sdk.on.bcm_policer_destroy = [ this ]( auto... ) { return called( "destroy" ); };
    }

    int called( const std::string& name )
    {
        EXPECT_FALSE( Agent::activityLock().held() );
        EXPECT_FALSE( Agent::interpreterLock().held() );
        locks_.eventIs( name );
        return 0;
    }

    const Agent::LockAnchor interpreter_{ Agent::interpreterLock() };
    TestSupport::LockRecorder locks_;
};

TEST_F( PolicerLockTest, Sdk6_GetAndRelease_LocksAreFreeForTheCallsOnly )
{
    sdk6->getPolicer( policerOf( PolicerMode::trTcm ), stageIfp() );
    sdk6->releasePolicer( 100, stageIfp() );
    EXPECT_THAT( locks_.events(),
                 ElementsAre( "init", "preApiCall", "interpreter lock released",
                              "activity lock released", "create", "activity lock taken",
                              "interpreter lock taken", "preApiCall", "interpreter lock released",
                              "activity lock released", "destroy", "activity lock taken",
                              "interpreter lock taken" ) );
}

TEST_F( PolicerLockTest, Hsdk_Get_LocksAreFreeForTheCallOnlyAndTheSdkIsNotToldBefore )
{
    hsdk->getPolicer( policerOf( PolicerMode::trTcm ), stageIfp() );
    EXPECT_THAT( locks_.events(),
                 ElementsAre( "init", "interpreter lock released", "activity lock released",
                              "create", "activity lock taken", "interpreter lock taken" ) );
}

} // namespace
} // namespace LibraryTest
