#pragma once

/// Writes down what happens to the agent's locks, in order.
///
///     TestSupport::LockRecorder locks;
///     operation();
///     EXPECT_THAT( locks.events(), ElementsAre( "activity lock released", ... ) );

#include "agent/base/Locks.h"

#include <mutex>
#include <string>
#include <vector>

namespace TestSupport {

/// Is the observer of all locks while it lives.
class LockRecorder final : public Agent::LockObserver
{
  public:
    LockRecorder() { Agent::lockObserverIs( this ); }

    LockRecorder( const LockRecorder& ) = delete;
    LockRecorder& operator=( const LockRecorder& ) = delete;

    ~LockRecorder() override { Agent::lockObserverIs( nullptr ); }

    void taken( const Agent::OwnedLock& lock ) override { eventIs( lock, " taken" ); }

    void released( const Agent::OwnedLock& lock ) override { eventIs( lock, " released" ); }

    /// What happened so far: the lock's name, then "taken" or "released".
    [[nodiscard]] std::vector< std::string > events() const
    {
        const std::lock_guard lock( mutex_ );
        return events_;
    }

    /// Puts an event of the test's own between those of the locks.
    void eventIs( const std::string& event )
    {
        const std::lock_guard lock( mutex_ );
        events_.push_back( event );
    }

  private:
    void eventIs( const Agent::OwnedLock& lock, const char* what )
    {
        eventIs( std::string( lock.name() ) + what );
    }

    mutable std::mutex mutex_;
    std::vector< std::string > events_;
};

} // namespace TestSupport
