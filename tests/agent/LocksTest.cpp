#include "agent/base/Locks.h"

#include "tests/support/LockRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Agent {

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

TEST( LocksTest, Lock_TakenAndReleased_KnowsItsOwner )
{
    OwnedLock lock( "a lock" );
    EXPECT_STREQ( lock.name(), "a lock" );
    EXPECT_FALSE( lock.held() );
    EXPECT_FALSE( lock.heldByThisThread() );

    lock.take();
    EXPECT_TRUE( lock.held() );
    EXPECT_TRUE( lock.heldByThisThread() );
    std::thread( [ &lock ] {
        EXPECT_TRUE( lock.held() );
        EXPECT_FALSE( lock.heldByThisThread() );
    } ).join();

    lock.release();
    EXPECT_FALSE( lock.held() );
}

TEST( LocksTest, Lock_TakenByTwoThreads_IsHeldByOneAtATime )
{
    OwnedLock lock( "a lock" );
    int counter = 0;
    const auto count = [ & ] {
        for ( int i = 0; i < 20'000; ++i ) {
            const LockAnchor held( lock );
            ++counter;
        }
    };

    std::thread other( count );
    count();
    other.join();

    EXPECT_EQ( counter, 40'000 );
}

TEST( LocksTest, Take_HeldByThisThreadAlready_IsAnAssertionFailure )
{
    OwnedLock lock( "a lock" );
    lock.take();

    EXPECT_DEATH( lock.take(),
                  "Assertion `!heldBy\\( self \\) && \"lock is held by this thread already\"' "
                  "failed" );
    lock.release();
}

TEST( LocksTest, Release_NotHeldByThisThread_IsAnAssertionFailure )
{
    OwnedLock lock( "a lock" );

    EXPECT_DEATH( lock.release(),
                  "Assertion `heldBy\\( self \\) && \"lock is not held by this thread\"' "
                  "failed" );
}

TEST( LocksTest, Release_HeldByAnotherThread_IsAnAssertionFailure )
{
    OwnedLock lock( "a lock" );
    lock.take();

    EXPECT_DEATH( std::thread( [ &lock ] { lock.release(); } ).join(),
                  "\"lock is not held by this thread\"' failed" );
    lock.release();
}

TEST( LocksTest, UnlockAnchor_LockNotHeld_IsAnAssertionFailure )
{
    EXPECT_DEATH( const UnlockAnchor released( activityLock() ),
                  "\"lock is not held by this thread\"' failed" );
}

TEST( LocksTest, UnlockAnchor_LockTakenMeanwhileByItsThread_IsAnAssertionFailure )
{
    const auto takeMeanwhile = [] {
        const LockAnchor held( activityLock() );
        const UnlockAnchor released( activityLock() );
        activityLock().take();
    };
    EXPECT_DEATH( takeMeanwhile(), "\"lock is held by this thread already\"' failed" );
}

TEST( LocksTest, AgentsLocks_AskedForAgain_AreTheSame )
{
    EXPECT_EQ( &activityLock(), &activityLock() );
    EXPECT_NE( &activityLock(), &interpreterLock() );
    EXPECT_STREQ( activityLock().name(), "activity lock" );
    EXPECT_STREQ( interpreterLock().name(), "interpreter lock" );
}

TEST( LocksTest, Anchors_InTheOrderOfAnSdkCall_ReleaseAndRetakeInReverse )
{
    const LockAnchor activityHeld( activityLock() );
    const LockAnchor interpreterHeld( interpreterLock() );
    const TestSupport::LockRecorder locks;
    {
        const MaybeGilUnlockAnchor interpreterReleased;
        const UnlockAnchor activityReleased( activityLock() );
        EXPECT_FALSE( interpreterLock().held() );
        EXPECT_FALSE( activityLock().held() );
    }

    EXPECT_TRUE( interpreterLock().heldByThisThread() );
    EXPECT_TRUE( activityLock().heldByThisThread() );
    EXPECT_THAT( locks.events(), ElementsAre( "interpreter lock released", "activity lock released",
                                              "activity lock taken", "interpreter lock taken" ) );
}

TEST( LocksTest, Anchors_LeftByAnException_RetakeInReverseToo )
{
    const LockAnchor activityHeld( activityLock() );
    const LockAnchor interpreterHeld( interpreterLock() );
    const TestSupport::LockRecorder locks;
    const auto fail = [] {
        const MaybeGilUnlockAnchor interpreterReleased;
        const UnlockAnchor activityReleased( activityLock() );
        throw std::runtime_error( "while released" );
    };

    EXPECT_THROW( fail(), std::runtime_error );
    EXPECT_TRUE( interpreterLock().heldByThisThread() );
    EXPECT_TRUE( activityLock().heldByThisThread() );
    EXPECT_THAT( locks.events(), ElementsAre( "interpreter lock released", "activity lock released",
                                              "activity lock taken", "interpreter lock taken" ) );
}

TEST( LocksTest, MaybeGilUnlockAnchor_InterpreterLockNotHeld_LeavesItAlone )
{
    const TestSupport::LockRecorder locks;
    {
        const MaybeGilUnlockAnchor interpreterReleased;
    }

    EXPECT_THAT( locks.events(), ElementsAre() );
    EXPECT_FALSE( interpreterLock().held() );
}

TEST( LocksTest, MaybeGilUnlockAnchor_HeldByAnotherThread_LeavesItAlone )
{
    const LockAnchor interpreterHeld( interpreterLock() );

    std::thread( [] {
        const MaybeGilUnlockAnchor interpreterReleased;
        EXPECT_TRUE( interpreterLock().held() );
    } ).join();

    EXPECT_TRUE( interpreterLock().heldByThisThread() );
}

/// Notes at each event whether the thread holds the lock.
class OwnershipObserver final : public LockObserver
{
  public:
    void taken( const OwnedLock& lock ) override { held.push_back( lock.heldByThisThread() ); }

    void released( const OwnedLock& lock ) override { held.push_back( lock.heldByThisThread() ); }

    std::vector< bool > held;
};

TEST( LocksTest, Observer_AtEveryEvent_IsToldWhileTheLockIsHeld )
{
    OwnershipObserver observer;
    lockObserverIs( &observer );
    OwnedLock lock( "a lock" );
    lock.take();
    lock.release();
    lockObserverIs( nullptr );
    lock.take();
    lock.release();

    EXPECT_THAT( observer.held, ElementsAreArray( { true, true } ) );
}

} // namespace

} // namespace Agent
