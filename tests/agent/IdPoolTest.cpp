#include "agent/tcam/IdPool.h"

#include <gtest/gtest.h>

namespace PeloraTcam {
namespace {

TEST( IdPoolTest, Allocate_NewPool_GivesItsIdsFromTheFirst )
{
    IdPool ids( 10, 2 );
    EXPECT_EQ( ids.allocate(), 10U );
    EXPECT_TRUE( ids.canAllocate() );
    EXPECT_EQ( ids.allocate(), 11U );
    EXPECT_FALSE( ids.canAllocate() );
    EXPECT_EQ( ids.allocated(), 2U );
    EXPECT_EQ( ids.size(), 2U );
}

TEST( IdPoolTest, Free_ThenAllocate_GivesTheLowestFreeId )
{
    IdPool ids( 0, 3 );
    for ( int i = 0; i < 3; ++i ) {
        static_cast< void >( ids.allocate() );
    }
    ids.free( 2 );
    ids.free( 0 );
    EXPECT_EQ( ids.allocated(), 1U );
    EXPECT_EQ( ids.allocate(), 0U );
    EXPECT_EQ( ids.allocate(), 2U );
}

TEST( IdPoolTest, IsAllocated_EachId_IsTrueWhileItIs )
{
    IdPool ids( 5, 3 );
    EXPECT_FALSE( ids.isAllocated( 5 ) );
    static_cast< void >( ids.allocate() );
    EXPECT_TRUE( ids.isAllocated( 5 ) );
    for ( const Agent::U32 other : { 0U, 4U, 6U, 0xFFFFFFFFU } ) {
        EXPECT_FALSE( ids.isAllocated( other ) ) << other;
    }
    ids.free( 5 );
    EXPECT_FALSE( ids.isAllocated( 5 ) );
}

TEST( IdPoolTest, Pool_OfNoIds_CannotAllocate )
{
    EXPECT_FALSE( IdPool().canAllocate() );
    EXPECT_FALSE( IdPool( 7, 0 ).canAllocate() );
}

TEST( IdPoolTest, Pool_OfAllIds_HasTheGreatest )
{
    IdPool ids( 0xFFFFFFFE, 2 );
    static_cast< void >( ids.allocate() );
    EXPECT_EQ( ids.allocate(), 0xFFFFFFFFU );
    EXPECT_FALSE( ids.canAllocate() );
}

TEST( IdPoolDeathTest, WrongUse_Dies )
{
    EXPECT_DEATH( IdPool( 0xFFFFFFFF, 2 ), "\"ids have 32 bits\"' failed" );
    IdPool ids( 1, 1 );
    EXPECT_DEATH( ids.free( 1 ), "\"id is not allocated\"' failed" );
    static_cast< void >( ids.allocate() );
    EXPECT_DEATH( static_cast< void >( ids.allocate() ), "\"pool has no free id\"' failed" );
}

TEST( IdPoolTest, Allocate_ACertainId_LeavesTheOthersForLater )
{
    IdPool pool( 10, 5 );
    EXPECT_FALSE( pool.isFree( 9 ) );
    EXPECT_FALSE( pool.isFree( 15 ) );
    EXPECT_TRUE( pool.isFree( 12 ) );
    pool.allocate( 12 );
    EXPECT_FALSE( pool.isFree( 12 ) );
    EXPECT_TRUE( pool.isAllocated( 12 ) );
    EXPECT_EQ( pool.allocated(), 1U );
    EXPECT_EQ( pool.allocate(), 10U );
    EXPECT_EQ( pool.allocate(), 11U );
    EXPECT_EQ( pool.allocate(), 13U );
    pool.free( 12 );
    EXPECT_EQ( pool.allocate(), 12U );
    pool.allocate( 14 );
    EXPECT_FALSE( pool.canAllocate() );
    EXPECT_DEATH( pool.allocate( 14 ), "id is not free" );
}

} // namespace
} // namespace PeloraTcam
