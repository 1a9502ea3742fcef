#include "agent/tcam/SortedIds.h"

#include "tests/support/AllocationCount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <utility>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using Ids = PeloraTcam::SortedIds< unsigned >;

Ids idsOf( const std::vector< unsigned >& values )
{
    Ids ids;
    for ( const unsigned value : values ) {
        ids.insert( value );
    }
    return ids;
}

TEST( SortedIdsTest, Insert_InAnyOrderAndTwice_IsSortedAndOnce )
{
    EXPECT_THAT( idsOf( { 5, 1, 3, 5, 1 } ), ElementsAre( 1, 3, 5 ) );
    EXPECT_THAT( idsOf( { 9, 8, 7, 6, 5, 4, 9, 4, 6 } ), ElementsAre( 4, 5, 6, 7, 8, 9 ) );
    EXPECT_THAT( Ids(), ElementsAre() );
}

TEST( SortedIdsTest, UpToFour_NeedNoMemory )
{
    const std::size_t before = TestSupport::allocationCount();
    Ids ids = idsOf( {} );
    for ( const unsigned value : { 4U, 2U, 3U, 1U } ) {
        ids.insert( value );
    }
    const Ids copy = ids;
    const Ids moved = std::move( ids );
    EXPECT_EQ( TestSupport::allocationCount(), before );
    EXPECT_THAT( copy, ElementsAre( 1, 2, 3, 4 ) );
    EXPECT_THAT( moved, ElementsAre( 1, 2, 3, 4 ) );
}

TEST( SortedIdsTest, Move_OfFewAndOfMany_LeavesNone )
{
    for ( const std::vector< unsigned >& values :
          { std::vector< unsigned >{ 1, 2 }, std::vector< unsigned >{ 1, 2, 3, 4, 5, 6 } } ) {
        Ids from = idsOf( values );
        Ids to = std::move( from );
        EXPECT_THAT( to, ElementsAreArray( values ) );
        EXPECT_THAT( from, ElementsAre() ); // NOLINT(bugprone-use-after-move)
        from.insert( 8 );
        EXPECT_THAT( from, ElementsAre( 8 ) );
        from = std::move( to );
        EXPECT_THAT( from, ElementsAreArray( values ) );
    }
}

TEST( SortedIdsTest, Equality_IsOfTheValues_HoweverTheyAreHeld )
{
    Ids shrunk = idsOf( { 1, 2, 3, 4, 5 } );
    shrunk.erase( 3 );
    shrunk.erase( 5 );
    shrunk.erase( 5 );
    EXPECT_EQ( shrunk, idsOf( { 4, 2, 1 } ) );
    EXPECT_NE( shrunk, idsOf( { 1, 2 } ) );
    EXPECT_NE( shrunk, idsOf( { 1, 2, 5 } ) );
    shrunk.clear();
    EXPECT_EQ( shrunk, Ids() );
}

/// Against the standard library's set, over random insertions and removals.
TEST( SortedIdsTest, AnyOperations_AreThoseOfASet )
{
    std::mt19937 random( 7 ); // NOLINT(cert-msc51-cpp)
    for ( int round = 0; round < 200; ++round ) {
        Ids ids;
        std::set< unsigned > model;
        for ( int step = 0; step < 60; ++step ) {
            const auto value = static_cast< unsigned >( random() % 9 );
            if ( random() % 2 == 0 ) {
                ids.insert( value );
                model.insert( value );
            } else {
                ids.erase( value );
                model.erase( value );
            }
            ASSERT_THAT( ids, ElementsAreArray( model ) );
            ASSERT_EQ( ids.size(), model.size() );
            ASSERT_EQ( ids.contains( value ), model.contains( value ) );
        }
    }
}

} // namespace
