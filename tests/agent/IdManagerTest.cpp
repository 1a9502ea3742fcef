#include "agent/tcam/IdManager.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

namespace PeloraTcam {
namespace {

constexpr FeatureIdType policers = FeatureIdType::policer;

class IdManagerTest : public ::testing::Test
{
  protected:
    IdManagerTest() { ids.poolIs( policers, stageIfp(), 10, 3 ); }

    U32 allocate() { return ids.allocateId( policers, stageIfp() ); }

    PeloraTcamIdManager ids;
};

using IdManagerDeathTest = IdManagerTest;

TEST( FeatureIdTypeTest, Policer_Number_IsFour )
{
    EXPECT_EQ( static_cast< int >( FeatureIdType::policer ), 4 );
}

TEST_F( IdManagerTest, AllocateId_NewPool_GivesItsIdsFromTheFirst )
{
    EXPECT_EQ( allocate(), 10U );
    EXPECT_EQ( allocate(), 11U );
    EXPECT_EQ( ids.allocatedIds( policers, stageIfp() ), 2U );
}

TEST_F( IdManagerTest, CanAllocateId_AtCapacityAndOnePast_IsTrueThenFalse )
{
    allocate();
    allocate();
    EXPECT_TRUE( ids.canAllocateId( policers, stageIfp() ) );
    allocate();
    EXPECT_FALSE( ids.canAllocateId( policers, stageIfp() ) );
}

TEST_F( IdManagerTest, CanAllocateId_OtherFeatureOrStage_HasNoPool )
{
    EXPECT_FALSE( ids.canAllocateId( FeatureIdType::counter, stageIfp() ) );
    EXPECT_FALSE( ids.canAllocateId( policers, stageVfp() ) );
    EXPECT_EQ( ids.allocatedIds( policers, stageVfp() ), 0U );
}

TEST_F( IdManagerTest, FreeId_ThenAllocateId_GivesTheLowestFreeId )
{
    allocate();
    allocate();
    allocate();
    ids.freeId( policers, stageIfp(), 12 );
    ids.freeId( policers, stageIfp(), 10 );
    EXPECT_EQ( allocate(), 10U );
    EXPECT_EQ( allocate(), 12U );
}

TEST_F( IdManagerTest, PoolIs_OfTwoStages_KeepsThemApart )
{
    ids.poolIs( policers, stageVfp(), 10, 1 );
    allocate();
    EXPECT_EQ( ids.allocateId( policers, stageVfp() ), 10U );
    EXPECT_FALSE( ids.canAllocateId( policers, stageVfp() ) );
    EXPECT_TRUE( ids.canAllocateId( policers, stageIfp() ) );
}

TEST_F( IdManagerTest, PoolIs_GreatestIds_AreHandedOut )
{
    ids.poolIs( policers, stageVfp(), 0xFFFFFFFE, 2 );
    EXPECT_EQ( ids.allocateId( policers, stageVfp() ), 0xFFFFFFFEU );
    EXPECT_EQ( ids.allocateId( policers, stageVfp() ), 0xFFFFFFFFU );
    EXPECT_FALSE( ids.canAllocateId( policers, stageVfp() ) );
    ids.freeId( policers, stageVfp(), 0xFFFFFFFF );
    EXPECT_EQ( ids.allocateId( policers, stageVfp() ), 0xFFFFFFFFU );
}

TEST_F( IdManagerTest, PoolIs_NoIds_CannotAllocate )
{
    ids.poolIs( policers, stageVfp(), 1, 0 );
    EXPECT_FALSE( ids.canAllocateId( policers, stageVfp() ) );
}

TEST_F( IdManagerTest, Clear_Any_ForgetsThePools )
{
    allocate();
    ids.clear();
    EXPECT_FALSE( ids.canAllocateId( policers, stageIfp() ) );
}

TEST_F( IdManagerTest, AllocateAndFree_AtRandom_NeverGivesALiveIdTwice )
{
    std::mt19937 random( 7 );
    ids.poolIs( policers, stageVfp(), 100, 50 );
    std::set< U32 > live;
    for ( int i = 0; i < 100'000; ++i ) {
        if ( random() % 2 == 0 ) {
            ASSERT_EQ( ids.canAllocateId( policers, stageVfp() ), live.size() < 50 );
            if ( live.size() < 50 ) {
                const U32 id = ids.allocateId( policers, stageVfp() );
                ASSERT_TRUE( id >= 100 && id < 150 );
                ASSERT_TRUE( live.insert( id ).second );
            }
        } else if ( !live.empty() ) {
            const auto freed =
                std::next( live.begin(), static_cast< long >( random() % live.size() ) );
            ids.freeId( policers, stageVfp(), *freed );
            live.erase( freed );
        }
        ASSERT_EQ( ids.allocatedIds( policers, stageVfp() ), live.size() );
    }
}

TEST_F( IdManagerDeathTest, AllocateId_NoneLeft_Dies )
{
    EXPECT_DEATH( static_cast< void >( ids.allocateId( policers, stageVfp() ) ),
                  "\"pool has no free id\"' failed" );
}

TEST_F( IdManagerDeathTest, FreeId_NotAllocated_Dies )
{
    allocate();
    const char* message = "\"id is not allocated\"' failed";
    EXPECT_DEATH( ids.freeId( policers, stageIfp(), 9 ), message );
    EXPECT_DEATH( ids.freeId( policers, stageIfp(), 11 ), message );
    EXPECT_DEATH( ids.freeId( policers, stageIfp(), 0 ), message );
    EXPECT_DEATH( ids.freeId( policers, stageVfp(), 10 ), message );
    ids.freeId( policers, stageIfp(), 10 );
    EXPECT_DEATH( ids.freeId( policers, stageIfp(), 10 ), message );
}

TEST_F( IdManagerDeathTest, PoolIs_WithIdZeroInUseOrTooGreat_Dies )
{
    EXPECT_DEATH( ids.poolIs( policers, stageVfp(), 0, 5 ), "\"0 is never an id\"' failed" );
    EXPECT_DEATH( ids.poolIs( policers, stageVfp(), 0xFFFFFFFF, 2 ), "\"ids have 32 bits\"" );
    allocate();
    EXPECT_DEATH( ids.poolIs( policers, stageIfp(), 20, 5 ), "\"pool is in use\"' failed" );
}

TEST( GeneralIdManagerTest, Get_AnyTime_IsTheSame )
{
    EXPECT_EQ( &getGeneralIdManager(), &getGeneralIdManager() );
}

} // namespace
} // namespace PeloraTcam
