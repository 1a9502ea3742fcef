#include "agent/tcam/EnumerationSet.h"

#include "tests/support/AllocationCount.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace PeloraTcam {
namespace {

using ::testing::ElementsAre;

QualifierType qualifier( unsigned number )
{
    return static_cast< QualifierType >( number );
}

std::vector< unsigned > numbersOf( const QualifierSet& set )
{
    std::vector< unsigned > numbers;
    for ( const QualifierType type : set ) {
        numbers.push_back( static_cast< unsigned >( type ) );
    }
    return numbers;
}

TEST( EnumerationSetTest, Set_NewlyMade_IsEmpty )
{
    const QualifierSet set;
    EXPECT_TRUE( set.empty() );
    EXPECT_EQ( set.size(), 0U );
    EXPECT_TRUE( set.begin() == set.end() );
    EXPECT_FALSE( set.contains( QualifierType::invalid ) );
}

TEST( EnumerationSetTest, Insert_SameValueTwice_HoldsItOnce )
{
    QualifierSet set;
    set.insert( QualifierType::drop );
    set.insert( QualifierType::drop );
    EXPECT_EQ( set.size(), 1U );
    EXPECT_TRUE( set.contains( QualifierType::drop ) );
    EXPECT_FALSE( set.contains( QualifierType::dropReason ) );
    EXPECT_FALSE( set.empty() );
}

TEST( EnumerationSetTest, Iteration_AnyOrderOfInsertion_IsInTheOrderOfTheNumbers )
{
    const QualifierSet set{ qualifier( 255 ), qualifier( 64 ),  qualifier( 0 ),
                            qualifier( 63 ),  qualifier( 128 ), qualifier( 5 ) };
    EXPECT_THAT( numbersOf( set ), ElementsAre( 0, 5, 63, 64, 128, 255 ) );
}

TEST( EnumerationSetTest, Iteration_OfAllValues_VisitsEachOnce )
{
    QualifierSet set;
    for ( unsigned number = 0; number < 256; ++number ) {
        set.insert( qualifier( number ) );
    }
    EXPECT_EQ( set.size(), 256U );
    const std::vector< unsigned > numbers = numbersOf( set );
    ASSERT_EQ( numbers.size(), 256U );
    for ( unsigned number = 0; number < 256; ++number ) {
        EXPECT_EQ( numbers[ number ], number );
    }
}

TEST( EnumerationSetTest, Iterator_PostIncrement_GivesThePlaceBefore )
{
    const QualifierSet set{ qualifier( 7 ), qualifier( 200 ) };
    auto place = set.begin();
    EXPECT_EQ( *place++, qualifier( 7 ) );
    EXPECT_EQ( *place++, qualifier( 200 ) );
    EXPECT_TRUE( place == set.end() );
}

TEST( EnumerationSetTest, Erase_Member_TakesOnlyItOut )
{
    QualifierSet set{ qualifier( 70 ), qualifier( 71 ) };
    set.erase( qualifier( 70 ) );
    set.erase( qualifier( 70 ) );
    set.erase( qualifier( 1 ) );
    EXPECT_THAT( numbersOf( set ), ElementsAre( 71 ) );
}

TEST( EnumerationSetTest, Equality_SameMembers_IsIndependentOfTheOrder )
{
    const QualifierSet set{ qualifier( 1 ), qualifier( 2 ) };
    EXPECT_EQ( set, ( QualifierSet{ qualifier( 2 ), qualifier( 1 ) } ) );
    EXPECT_NE( set, QualifierSet{ qualifier( 2 ) } );
}

TEST( EnumerationSetTest, FillingAndReading_Always_AllocatesNothing )
{
    const std::size_t before = TestSupport::allocationCount();
    ActionSet set;
    set.insert( ActionType::drop );
    set.insert( ActionType::copyToCpu );
    const ActionSet copy = set;
    const auto count = std::distance( copy.begin(), copy.end() );
    EXPECT_EQ( TestSupport::allocationCount(), before );
    EXPECT_EQ( count, 2 );
}

} // namespace
} // namespace PeloraTcam
