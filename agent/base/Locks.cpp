#include "agent/base/Locks.h"

#include "agent/base/Assert.h"

namespace Agent {

namespace {

std::atomic< LockObserver* > lockObserver_{ nullptr };

} // namespace

LockObserver::~LockObserver() = default;

void lockObserverIs( LockObserver* observer ) noexcept
{
    lockObserver_.store( observer, std::memory_order_release );
}

void OwnedLock::takeAs( std::thread::id self )
{
    AGENT_ASSERT( !heldBy( self ) && "lock is held by this thread already" );
    mutex_.lock();
    owner_.store( self, std::memory_order_relaxed );
    if ( LockObserver* observer = lockObserver_.load( std::memory_order_acquire ) ) {
        observer->taken( *this );
    }
}

void OwnedLock::releaseAs( std::thread::id self )
{
    AGENT_ASSERT( heldBy( self ) && "lock is not held by this thread" );
    if ( LockObserver* observer = lockObserver_.load( std::memory_order_acquire ) ) {
        observer->released( *this );
    }
    owner_.store( std::thread::id(), std::memory_order_relaxed );
    mutex_.unlock();
}

// Flattened, so that taking or releasing a lock by hand is one call and not two.
[[gnu::flatten]] void OwnedLock::take()
{
    takeAs( std::this_thread::get_id() );
}

[[gnu::flatten]] void OwnedLock::release()
{
    releaseAs( std::this_thread::get_id() );
}

OwnedLock& activityLock() noexcept
{
    static OwnedLock lock( "activity lock" );
    return lock;
}

OwnedLock& interpreterLock() noexcept
{
    static OwnedLock lock( "interpreter lock" );
    return lock;
}

} // namespace Agent
