// The life of a range checker helper: its memory, its record in the type registry, its attributes,
// its destruction; and the agent's locks around its SDK calls.

#include "agent/base/AllocationTracker.h"
#include "agent/base/SlabAllocator.h"
#include "agent/base/TypeRegistry.h"
#include "tests/library/RangeCheckerScene.h"
#include "tests/support/LockRecorder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>

namespace LibraryTest {
namespace {

using Agent::AttributeOperation;
using PeloraTcam::FapId;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Helper = PeloraTcam::PeloraTcamSdk6RangeCheckerHelper;

constexpr RangeCheckerDesc ports{ 1024, 2000, RangeType::l4SrcPort };

Agent::Ptr< Helper > newHelper()
{
    return Agent::Ptr< Helper >( new Helper( 7, FapId( 9 ), { "some model" } ) );
}

// ---- Memory ----------------------------------------------------------------------------------

TEST( RangeCheckerLifeTest, Construct_NewAndLastPtr_CountsGoUpAndBack )
{
    const std::size_t count = Helper::memAllocationTracker_.count();
    const std::size_t bytes = Helper::memAllocationTracker_.bytes();
    const std::size_t total = Helper::memAllocationTracker_.total();
    {
        const Agent::Ptr< Helper > first = newHelper();
        const Agent::Ptr< Helper > second = newHelper();
        EXPECT_EQ( Helper::memAllocationTracker_.count(), count + 2 );
        EXPECT_EQ( Helper::memAllocationTracker_.bytes(), bytes + 2 * sizeof( Helper ) );
    }
    EXPECT_EQ( Helper::memAllocationTracker_.count(), count );
    EXPECT_EQ( Helper::memAllocationTracker_.bytes(), bytes );
    EXPECT_EQ( Helper::memAllocationTracker_.total(), total + 2 );
}

TEST( RangeCheckerLifeTest, Construct_New_IsCountedWithItsRunTimeType )
{
    const Agent::Ptr< Helper > helper = newHelper();
    ASSERT_NE( Helper::memAllocationTracker_.type(), nullptr );
    EXPECT_EQ( *Helper::memAllocationTracker_.type(), typeid( Helper ) );
    EXPECT_STREQ( Helper::memAllocationTracker_.className(),
                  "PeloraTcam::PeloraTcamSdk6RangeCheckerHelper" );
}

TEST( RangeCheckerLifeTest, Construct_New_MemoryIsTheSlabsOfItsType )
{
    const std::size_t live = Agent::slabUse( typeid( Helper ).name() ).live;
    {
        const Agent::Ptr< Helper > helper = newHelper();
        EXPECT_EQ( Agent::slabUse( typeid( Helper ).name() ).live, live + 1 );
    }
    EXPECT_EQ( Agent::slabUse( typeid( Helper ).name() ).live, live );
}

TEST( RangeCheckerLifeTest, LastPtr_HeldAsBase_DeletesTheWhole )
{
    const std::size_t count = Helper::memAllocationTracker_.count();
    Agent::Ptr< Agent::Node > node = newHelper();
    const Agent::Ptr< Agent::Node > other = node;
    node = nullptr;
    EXPECT_EQ( Helper::memAllocationTracker_.count(), count + 1 );
    EXPECT_EQ( other->references(), 1U );
    const_cast< Agent::Ptr< Agent::Node >& >( other ) = nullptr;
    EXPECT_EQ( Helper::memAllocationTracker_.count(), count );
}

/// Where a node keeps its flags: the place that changes when a flag is set. Nothing if none does.
std::optional< std::size_t > offsetOfFlags( Agent::Node& node, std::size_t size )
{
    const auto* start = reinterpret_cast< const unsigned char* >( &node );
    const std::vector< unsigned char > before( start, start + size );
    node.initializedIs( true );
    const auto difference = std::mismatch( before.begin(), before.end(), start ).first;
    node.initializedIs( false );
    if ( difference == before.end() ) {
        return std::nullopt;
    }
    return static_cast< std::size_t >( difference - before.begin() );
}

TEST( RangeCheckerLifeTest, Destroy_InPlace_MarksTheNodeAsBeingDestroyed )
{
    // Memory of the test's own, so that it can be looked at afterwards.
    alignas( Helper ) static std::array< unsigned char, sizeof( Helper ) > memory;
    auto* helper = ::new ( memory.data() ) Helper( 7, FapId( 9 ), { "some model" } );
    const auto offset = offsetOfFlags( *helper, sizeof( Helper ) );
    ASSERT_TRUE( offset );
    EXPECT_EQ( helper->nodeFlags(), 0U );
    std::destroy_at( helper );
    Agent::U32 flags = 0;
    std::memcpy( &flags, &memory.at( *offset ), sizeof( flags ) );
    EXPECT_EQ( flags, 0x20000000U );
}

// ---- The type registry -----------------------------------------------------------------------

TEST( RangeCheckerLifeTest, TypeData_AnyObject_IsTheOneRecordOfTheModule )
{
    const Agent::Ptr< Helper > first = newHelper();
    const Agent::Ptr< Helper > second = newHelper();
    EXPECT_EQ( &first->typeData(), &second->typeData() );
    const std::vector< const Agent::ModuleRecord* > modules = Agent::registeredModules();
    EXPECT_EQ( std::ranges::count( modules, &first->typeData() ), 1 );
}

TEST( RangeCheckerLifeTest, TypeData_Record_NamesClassArgumentsAndAttributes )
{
    const Agent::Ptr< Helper > helper = newHelper();
    const Agent::ModuleRecord& module = helper->typeData();
    EXPECT_EQ( module.source, "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper" );
    ASSERT_EQ( module.types.size(), 1U );
    const Agent::TypeRecord& type = module.types[ 0 ];
    EXPECT_EQ( type.name, "PeloraTcam::PeloraTcamSdk6RangeCheckerHelper" );
    EXPECT_EQ( *type.type, typeid( Helper ) );
    EXPECT_THAT( type.constructorArguments,
                 ElementsAre( "U8", "FapId", "PeloraCentral::PeloraModel" ) );
    std::vector< std::string_view > attributes;
    for ( const Agent::FieldDescriptor& attribute : type.attributes ) {
        attributes.push_back( attribute.name );
    }
    EXPECT_THAT( attributes, ElementsAre( "fapId", "model", "pipeId" ) );
}

TEST( RangeCheckerLifeTest, Registry_ByName_FindsTheRecordOfEveryObject )
{
    const Agent::Ptr< Helper > helper = newHelper();
    const Agent::TypeRecord* type =
        Agent::registeredType( "PeloraTcam::PeloraTcamSdk6RangeCheckerHelper" );
    ASSERT_NE( type, nullptr );
    EXPECT_EQ( type, &Agent::typeRecord( *helper ) );
}

TEST( RangeCheckerLifeTest, Registry_Construct_GivesNullBecauseTheClassHasNoCreator )
{
    const Agent::TypeRecord* type =
        Agent::registeredType( "PeloraTcam::PeloraTcamSdk6RangeCheckerHelper" );
    ASSERT_NE( type, nullptr );
    const Agent::U8 pipe = 1;
    const FapId fapId( 2 );
    const PeloraCentral::PeloraModel model{ "model" };
    const void* const arguments[] = { &pipe, &fapId, &model };
    const std::size_t total = Helper::memAllocationTracker_.total();
    EXPECT_EQ( Agent::construct( *type, arguments ), nullptr );
    EXPECT_EQ( Helper::memAllocationTracker_.total(), total );
}

template< class Value >
void expectReadable( const char* attribute, const Value& expected )
{
    const Agent::Ptr< Helper > helper = newHelper();
    Value value{};
    EXPECT_EQ( Agent::attributeOperation( *helper, attribute, AttributeOperation::read, &value ),
               0 );
    EXPECT_EQ( value, expected );
    Value untouched{};
    EXPECT_EQ(
        Agent::attributeOperation( *helper, attribute, AttributeOperation::create, &untouched ),
        1 );
    EXPECT_EQ(
        Agent::attributeOperation( *helper, attribute, AttributeOperation::remove, &untouched ),
        1 );
    EXPECT_EQ( untouched, Value{} );
}

TEST( RangeCheckerLifeTest, Attribute_PipeId_IsReadableOnly )
{
    expectReadable( "pipeId", Agent::U8{ 7 } );
}

TEST( RangeCheckerLifeTest, Attribute_FapId_IsReadableOnly )
{
    expectReadable( "fapId", FapId( 9 ) );
}

TEST( RangeCheckerLifeTest, Attribute_Model_IsReadableOnly )
{
    expectReadable( "model", PeloraCentral::PeloraModel{ "some model" } );
}

TEST( RangeCheckerLifeTest, Attribute_OfNoClass_IsPassedOn )
{
    const Agent::Ptr< Helper > helper = newHelper();
    int value = 0;
    for ( const char* attribute : { "unit", "moduleId", "pipeid", "" } ) {
        EXPECT_EQ(
            Agent::attributeOperation( *helper, attribute, AttributeOperation::read, &value ), 2 );
    }
}

TEST( RangeCheckerLifeTest, AttributeOperation_OfTheClassItself_LeavesAllToTheBase )
{
    const Agent::Ptr< Helper > helper = newHelper();
    Agent::U8 value = 0;
    for ( const char* attribute : { "fapId", "model", "pipeId" } ) {
        EXPECT_EQ(
            Helper::attributeOperation( *helper, { attribute }, AttributeOperation::read, &value ),
            2 );
    }
    EXPECT_EQ( value, 0 );
}

TEST( RangeCheckerLifeTest, Publisher_OfAHelper_IsNone )
{
    EXPECT_EQ( newHelper()->publisher(), nullptr );
}

// ---- Locks -----------------------------------------------------------------------------------

/// Writes down what happens to the locks, and the calls of the access object among it with the
/// locks that are held then.
class RangeCheckerLockTest : public RangeCheckerScene
{
  protected:
    RangeCheckerLockTest()
    {
        sdk.on.preApiCall = [ this ] { callIs( "preApiCall" ); };
        sdk.on.bcm_range_config_t_init = [ this ]( bcm_range_config_t* ) { callIs( "init" ); };
        sdk.on.bcm_range_create = [ this ]( auto... ) { return called( "create" ); };
        sdk.on.bcm_range_destroy = [ this ]( auto... ) { return called( "destroy" ); };
        sdk.on.bcm_range_get = [ this ]( int, bcm_range_config_t* config ) {
            config->min = ports.low;
            config->max = ports.high;
            config->rtype = sdk.bcmRangeTypeL4SrcPort();
            return called( "get" );
        };
    }

    void callIs( const std::string& name )
    {
        locks->eventIs(
            name + ( Agent::activityLock().held() ? " activity held" : " activity free" ) +
            ( Agent::interpreterLock().held() ? ", interpreter held" : ", interpreter free" ) );
    }

    int called( const std::string& name )
    {
        callIs( name );
        if ( throws ) {
            throw std::runtime_error( name );
        }
        return 0;
    }

    /// The events of one operation; afterwards the locks are as before.
    template< class Operation >
    std::vector< std::string > eventsOf( const Operation& operation )
    {
        const bool interpreterHeld = Agent::interpreterLock().heldByThisThread();
        locks.emplace();
        if ( throws ) {
            EXPECT_THROW( operation(), std::runtime_error );
        } else {
            operation();
        }
        std::vector< std::string > events = locks->events();
        locks.reset();
        EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
        EXPECT_EQ( Agent::interpreterLock().heldByThisThread(), interpreterHeld );
        return events;
    }

    bool throws = false;
    std::optional< TestSupport::LockRecorder > locks;
};

TEST_F( RangeCheckerLockTest, Get_ActivityLockHeld_IsReleasedForTheCallOnly )
{
    EXPECT_THAT( eventsOf( [ this ] { helper->getRangeChecker( ports ); } ),
                 ElementsAre( "init activity held, interpreter free", "activity lock released",
                              "create activity free, interpreter free", "activity lock taken" ) );
}

TEST_F( RangeCheckerLockTest, Get_BothLocksHeld_AreReleasedForTheCallOnly )
{
    const Agent::LockAnchor interpreter( Agent::interpreterLock() );
    EXPECT_THAT( eventsOf( [ this ] { helper->getRangeChecker( ports ); } ),
                 ElementsAre( "init activity held, interpreter held", "interpreter lock released",
                              "activity lock released", "create activity free, interpreter free",
                              "activity lock taken", "interpreter lock taken" ) );
}

TEST_F( RangeCheckerLockTest, Release_BothLocksHeld_AreReleasedForTheCallOnly )
{
    const Agent::LockAnchor interpreter( Agent::interpreterLock() );
    EXPECT_THAT( eventsOf( [ this ] { helper->releaseRangeChecker( 1 ); } ),
                 ElementsAre( "preApiCall activity held, interpreter held",
                              "interpreter lock released", "activity lock released",
                              "destroy activity free, interpreter free", "activity lock taken",
                              "interpreter lock taken" ) );
}

TEST_F( RangeCheckerLockTest, Verify_BothLocksHeld_AreReleasedForTheCallOnly )
{
    const Agent::LockAnchor interpreter( Agent::interpreterLock() );
    EXPECT_THAT( eventsOf( [ this ] { helper->verifyTcamSanity( recordOf( ports, 1 ) ); } ),
                 ElementsAre( "init activity held, interpreter held",
                              "preApiCall activity held, interpreter held",
                              "interpreter lock released", "activity lock released",
                              "get activity free, interpreter free", "activity lock taken",
                              "interpreter lock taken" ) );
}

TEST_F( RangeCheckerLockTest, Operations_SdkThrows_LocksAreRetakenInTheSameOrder )
{
    const Agent::LockAnchor interpreter( Agent::interpreterLock() );
    throws = true;
    EXPECT_THAT( eventsOf( [ this ] { helper->releaseRangeChecker( 1 ); } ),
                 ElementsAre( "preApiCall activity held, interpreter held",
                              "interpreter lock released", "activity lock released",
                              "destroy activity free, interpreter free", "activity lock taken",
                              "interpreter lock taken" ) );
}

TEST_F( RangeCheckerLockTest, HandleInitialized_AnyLock_IsLeftAlone )
{
    EXPECT_THAT( eventsOf( [ this ] { helper->handleInitialized(); } ), IsEmpty() );
}

} // namespace
} // namespace LibraryTest
