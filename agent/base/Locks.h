#pragma once

/// The agent's two locks, and the scoped releasers that an SDK call uses.
///
/// - The activity lock is held by whichever thread works on the agent's state. Operations of the
///   helpers are called with it held.
/// - The interpreter lock is held by a thread that runs scripts. An operation may be called with
///   or without it.
///
/// An SDK call may take long, so both are released for its duration and retaken afterwards, also
/// when the call throws:
///
///     MaybeGilUnlockAnchor interpreterReleased;          // if this thread holds it
///     UnlockAnchor activityReleased( activityLock() );   // which this thread holds
///     rc = sdkCall();
///     // activity lock retaken, then the interpreter lock
///
/// The interpreter lock is released first and retaken last. A thread that takes both must therefore
/// take the activity lock first, or the two may wait for each other.

#include "agent/base/Export.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace Agent {

class OwnedLock;

/// Is told of every taking and releasing, by the thread that does it, while it holds the lock.
class AGENT_EXPORT LockObserver
{
  public:
    virtual ~LockObserver();
    /// The lock has been taken.
    virtual void taken( const OwnedLock& lock ) = 0;
    /// The lock is about to be released.
    virtual void released( const OwnedLock& lock ) = 0;
};

/// Sets who is told, or nobody (null). The observer must outlive its time as one.
AGENT_EXPORT void lockObserverIs( LockObserver* observer ) noexcept;

/// A lock that knows which thread holds it. Not recursive.
class AGENT_EXPORT OwnedLock
{
  public:
    // Constant initialisation: the agent's two locks are reached without a guard.
    /// A lock that nobody holds. `name` is kept, not copied.
    constexpr explicit OwnedLock( const char* name ) noexcept
        : name_( name )
    {}

    OwnedLock( const OwnedLock& ) = delete;
    OwnedLock& operator=( const OwnedLock& ) = delete;

    /// Waits until no other thread holds the lock, then holds it. Taking it twice on one thread
    /// is an assertion failure.
    void take();
    /// Gives the lock back. The calling thread must hold it (an assertion failure otherwise).
    void release();

    /// Whether the calling thread holds the lock.
    [[nodiscard]] bool heldByThisThread() const noexcept
    {
        return heldBy( std::this_thread::get_id() );
    }

    /// Whether any thread holds the lock.
    [[nodiscard]] bool held() const noexcept
    {
        return owner_.load( std::memory_order_relaxed ) != std::thread::id();
    }

    /// What the lock is called in messages.
    [[nodiscard]] const char* name() const noexcept { return name_; }

  private:
    // Each releaser asks once which thread it runs on, and says it at each step.
    friend class UnlockAnchor;
    friend class MaybeGilUnlockAnchor;

    [[nodiscard]] bool heldBy( std::thread::id thread ) const noexcept
    {
        return owner_.load( std::memory_order_relaxed ) == thread;
    }

    // take() and release() where the caller knows already that it runs on thread `self`.
    void takeAs( std::thread::id self );
    void releaseAs( std::thread::id self );

    const char* name_;
    std::mutex mutex_;
    std::atomic< std::thread::id > owner_{};
};

/// The agent's activity lock.
[[nodiscard]] AGENT_EXPORT OwnedLock& activityLock() noexcept;

/// The agent's interpreter lock.
[[nodiscard]] AGENT_EXPORT OwnedLock& interpreterLock() noexcept;

/// Holds a lock for its own lifetime.
class LockAnchor
{
  public:
    /// Takes the lock, which must outlive this; waits for it.
    explicit LockAnchor( OwnedLock& lock )
        : lock_( lock )
    {
        lock_.take();
    }

    LockAnchor( const LockAnchor& ) = delete;
    LockAnchor& operator=( const LockAnchor& ) = delete;

    ~LockAnchor() { lock_.release(); }

  private:
    OwnedLock& lock_;
};

/// Releases a lock that the calling thread holds, for its own lifetime, which must end on that
/// thread.
class UnlockAnchor
{
  public:
    /// Releases the lock, which the thread must hold (an assertion failure otherwise).
    explicit UnlockAnchor( OwnedLock& lock )
        : lock_( lock )
        , self_( std::this_thread::get_id() )
    {
        lock_.releaseAs( self_ );
    }

    UnlockAnchor( const UnlockAnchor& ) = delete;
    UnlockAnchor& operator=( const UnlockAnchor& ) = delete;

    ~UnlockAnchor() { lock_.takeAs( self_ ); }

  private:
    OwnedLock& lock_;
    const std::thread::id self_;
};

/// Releases the interpreter lock, if the calling thread holds it, for its own lifetime, which must
/// end on that thread.
class MaybeGilUnlockAnchor
{
  public:
    MaybeGilUnlockAnchor()
        : lock_( interpreterLock() )
        , self_( std::this_thread::get_id() )
        , wasHeld_( lock_.heldBy( self_ ) )
    {
        if ( wasHeld_ ) {
            lock_.releaseAs( self_ );
        }
    }

    MaybeGilUnlockAnchor( const MaybeGilUnlockAnchor& ) = delete;
    MaybeGilUnlockAnchor& operator=( const MaybeGilUnlockAnchor& ) = delete;

    ~MaybeGilUnlockAnchor()
    {
        if ( wasHeld_ ) {
            lock_.takeAs( self_ );
        }
    }

  private:
    OwnedLock& lock_;
    const std::thread::id self_;
    const bool wasHeld_;
};

} // namespace Agent
