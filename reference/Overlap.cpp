#include "reference/Overlap.h"

#include <condition_variable>
#include <mutex>

namespace Reference {

namespace {

std::mutex endsMutex_;
std::condition_variable ended_;
Agent::U64 ends_ = 0; // Guarded by the mutex.
std::atomic< std::size_t > waiting_{ 0 };
std::atomic< TurnWaiter* > waiter_{ nullptr };

/// Waits until there are other `ends_` than those seen.
void waitForAnotherEnd( Agent::U64 seen )
{
    std::unique_lock lock( endsMutex_ );
    ended_.wait( lock, [ & ] { return ends_ != seen; } );
}

} // namespace

std::size_t waitingThreads() noexcept
{
    return waiting_.load();
}

void waitForTheEndOfATurn()
{
    Agent::U64 seen = 0;
    {
        const std::lock_guard lock( endsMutex_ );
        seen = ends_;
    }
    // A turn ends with the activity lock held, so none does before this thread counts.
    waiting_.fetch_add( 1 );
    const Agent::MaybeGilUnlockAnchor interpreterReleased;
    const Agent::UnlockAnchor activityReleased( Agent::activityLock() );
    if ( TurnWaiter* const waiter = waiter_.load() ) {
        waiter->wait();
    } else {
        waitForAnotherEnd( seen );
    }
    waiting_.fetch_sub( 1 );
}

void tellTheEndOfATurn()
{
    if ( waiting_.load() == 0 ) {
        return;
    }
    {
        const std::lock_guard lock( endsMutex_ );
        ++ends_;
    }
    ended_.notify_all();
}

TurnWaiter::~TurnWaiter() = default;

TurnWaiter* turnWaiterIs( TurnWaiter* waiter ) noexcept
{
    return waiter_.exchange( waiter );
}

} // namespace Reference
