#include "agent/base/AllocationTracker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Agent {

bool operator==( const AllocationReport& left, const AllocationReport& right )
{
    return left.className == right.className && left.count == right.count &&
           left.bytes == right.bytes;
}

namespace {

using ::testing::ElementsAre;

TEST( AllocationTrackerTest, Tracker_New_HasCountedNothing )
{
    const AllocationTracker tracker( "Fan" );

    EXPECT_STREQ( tracker.className(), "Fan" );
    EXPECT_EQ( tracker.count(), 0U );
    EXPECT_EQ( tracker.bytes(), 0U );
    EXPECT_EQ( tracker.total(), 0U );
    EXPECT_EQ( tracker.type(), nullptr );
}

TEST( AllocationTrackerTest, AllocatedAndFreed_Objects_CountsLiveOnesAndTheirBytes )
{
    AllocationTracker tracker( "Fan" );

    tracker.allocated( typeid( int ), 4 );
    tracker.allocated( typeid( double ), 8 );
    EXPECT_EQ( tracker.count(), 2U );
    EXPECT_EQ( tracker.bytes(), 12U );
    EXPECT_EQ( *tracker.type(), typeid( double ) );

    tracker.freed( typeid( int ), 4 );
    EXPECT_EQ( tracker.count(), 1U );
    EXPECT_EQ( tracker.bytes(), 8U );
    EXPECT_EQ( tracker.total(), 2U );
    EXPECT_EQ( *tracker.type(), typeid( int ) );
}

TEST( AllocationTrackerTest, AllocationReports_OfTheTrackersThatLive_AreSortedByName )
{
    AllocationTracker second( "Second" );
    second.allocated( typeid( int ), 4 );
    {
        const AllocationTracker gone( "Gone" );
        const AllocationTracker first( "First" );
        EXPECT_THAT( allocationReports(), ElementsAre( AllocationReport{ "First", 0, 0 },
                                                       AllocationReport{ "Gone", 0, 0 },
                                                       AllocationReport{ "Second", 1, 4 } ) );
    }

    EXPECT_THAT( allocationReports(), ElementsAre( AllocationReport{ "Second", 1, 4 } ) );
}

} // namespace

} // namespace Agent
