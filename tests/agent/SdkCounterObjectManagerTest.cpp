#include "agent/tcam/SdkCounterObjectManager.h"

#include "tests/agent/FlexctrScene.h"

#include <utility>

namespace PeloraTcam {
namespace {

using ::testing::ElementsAre;

class SdkCounterObjectManagerTest : public AgentTest::FlexctrScene
{
  protected:
    int make( U32 counters, TcamGroupPriority of = priority )
    {
        return objects.counterObjectIs( unit, stageIfp(), pipe, of, counters );
    }

    FlexctrObjectId get( TcamGroupPriority of = priority )
    {
        return objects.getCounterObject( unit, stageIfp(), pipe, of );
    }

    const FlexctrObjectId invalid = sdk.BCM_FLEXCTR_INVALID_OBJECT();
    SdkCounterObjectManager objects;
};

using SdkCounterObjectManagerDeathTest = SdkCounterObjectManagerTest;

TEST_F( SdkCounterObjectManagerTest, Get_NotMade_IsTheInvalidObject )
{
    EXPECT_EQ( get(), invalid );
}

TEST_F( SdkCounterObjectManagerTest, CounterObjectIs_Made_IsThatOfItsPlaceAlone )
{
    EXPECT_EQ( make( 4 ), 0 );
    EXPECT_EQ( get(), 1U );
    EXPECT_EQ( get( priority + 1 ), invalid );
    EXPECT_EQ( objects.getCounterObject( unit + 1, stageIfp(), pipe, priority ), invalid );
    EXPECT_EQ( objects.getCounterObject( unit, stageVfp(), pipe, priority ), invalid );
    EXPECT_EQ( objects.getCounterObject( unit, stageIfp(), pipe + 1, priority ), invalid );
    EXPECT_THAT( sdk.calls(),
                 ElementsAre( "bcm_flexctr_action_create( 3, 0, {index_num: 5}, & )" ) )
        << "with one more, that of index 0";
}

TEST_F( SdkCounterObjectManagerTest, Indices_OfAnObject_StartAtOne )
{
    make( 2 );
    IdPool& indices = objects.indices( unit, get() );
    EXPECT_EQ( indices.allocate(), 1U );
    EXPECT_EQ( indices.allocate(), 2U );
    EXPECT_FALSE( indices.canAllocate() );
}

TEST_F( SdkCounterObjectManagerTest, CounterObjectIs_SdkRefuses_GivesItsCodeAndKeepsNothing )
{
    EXPECT_EQ( make( 10 ), -14 ) << "one counter too many";
    EXPECT_EQ( get(), invalid );
    EXPECT_EQ( make( 9 ), 0 );
}

TEST_F( SdkCounterObjectManagerTest, CounterObjectIs_MadeByAnotherDuringTheCall_LeavesTheOther )
{
    bool isFirst = true;
    sdk.on.bcm_flexctr_action_create = [ & ]( int u, int options, bcm_flexctr_action_t* action,
                                              uint32_t* object ) {
        if ( std::exchange( isFirst, false ) ) {
            const Agent::LockAnchor otherThread( Agent::activityLock() );
            EXPECT_EQ( make( 3 ), 0 );
        }
        return faulty.bcm_flexctr_action_create( u, options, action, object );
    };
    EXPECT_EQ( make( 4 ), -8 );
    EXPECT_EQ( get(), 1U ) << "the other's";
    EXPECT_EQ( objects.indices( unit, 1 ).size(), 3U );
    EXPECT_EQ( sdk.calls().back(), "bcm_flexctr_action_destroy( 3, 2 )" );
    EXPECT_EQ( chip().flexCounters()->objectsUsed(), 1U );
    objects.counterObjectDel( unit, stageIfp(), pipe, priority );
    EXPECT_EQ( chip().flexCounters()->objectsUsed(), 0U );
}

TEST_F( SdkCounterObjectManagerTest, CounterObjectDel_Made_IsDestroyed )
{
    make( 4 );
    objects.counterObjectDel( unit, stageIfp(), pipe, priority );
    objects.counterObjectDel( unit, stageIfp(), pipe, priority );
    EXPECT_EQ( get(), invalid );
    EXPECT_EQ( chip().flexCounters()->objectsUsed(), 0U );
    EXPECT_EQ( sdk.countOf( "bcm_flexctr_action_destroy" ), 1U );
}

TEST_F( SdkCounterObjectManagerTest, Calls_OfTheSdk_AreMadeWithTheLockReleased )
{
    sdk.on.bcm_flexctr_action_create = []( auto... ) {
        EXPECT_FALSE( Agent::activityLock().held() );
        return 0;
    };
    make( 1 );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
}

TEST_F( SdkCounterObjectManagerDeathTest, CounterObjectIs_MadeAlready_Dies )
{
    make( 1 );
    EXPECT_DEATH( make( 1 ), "\"there is a counter object\"' failed" );
}

TEST_F( SdkCounterObjectManagerDeathTest, CounterObjectDel_InUseOrSdkFails_Dies )
{
    make( 1 );
    sdk.on.bcm_flexctr_action_destroy = TestSupport::returns( -10 );
    EXPECT_DEATH( objects.counterObjectDel( unit, stageIfp(), pipe, priority ),
                  "bcm_flexctr_action_destroy.* API ERROR:.* \\(-10\\)" );
    static_cast< void >( objects.indices( unit, get() ).allocate() );
    EXPECT_DEATH( objects.counterObjectDel( unit, stageIfp(), pipe, priority ),
                  "\"counter object is in use\"' failed" );
}

} // namespace
} // namespace PeloraTcam
