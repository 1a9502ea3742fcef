#pragma once

/// Two threads of which one runs at a time, so that what they do together is the same each time.
///
/// A thread may give its turn away at each SDK call, before it and after it: the agent's activity
/// lock is free there, so another thread may do anything. Whether it does is a bit of the schedule.
/// An operation of the reference agent that waits for another one lets the other thread go on.
///
///     Turns turns( schedule );             // waits for both threads while it is there
///     TurnTakingSdk sdk( chips, turns );   // is Shim::sdk_
///     std::thread other( [ & ] { const Turns::Worker worker( turns, 1 ); ... } );

#include "agent/base/Locks.h"
#include "reference/Overlap.h"
#include "sdk/ForwardingSdk.h"
#include "tests/soak/Require.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>

namespace Fuzz {

class Turns : private Reference::TurnWaiter
{
  public:
    /// Worker 0 has the first turn. The schedule, from its lowest bit on, says at which calls a
    /// turn ends: where there is a 1; at none when it has come to its end.
    explicit Turns( std::span< const std::uint8_t > schedule )
        : schedule_( schedule )
        , earlierWaiter_( Reference::turnWaiterIs( this ) )
    {}

    Turns( const Turns& ) = delete;
    Turns& operator=( const Turns& ) = delete;

    ~Turns() override { Reference::turnWaiterIs( earlierWaiter_ ); }

    /// A thread's part, from its first turn to its end. Waits for the first turn.
    class Worker
    {
      public:
        Worker( Turns& turns, unsigned number )
            : turns_( turns )
            , number_( number )
        {
            turns_.waitFor( number_ );
        }

        Worker( const Worker& ) = delete;
        Worker& operator=( const Worker& ) = delete;

        ~Worker() { turns_.leave( number_ ); }

      private:
        Turns& turns_;
        unsigned number_;
    };

    /// Ends the calling worker's turn if the schedule says so, and waits for its next one. Nothing
    /// happens where the activity lock is held: whoever holds it must go on.
    void mayEnd()
    {
        if ( Agent::activityLock().heldByThisThread() ) {
            return;
        }
        waits_ = 0;
        if ( next() ) {
            end();
        }
    }

  private:
    /// More than it ever takes until one of two threads that wait by turns can go on.
    static constexpr unsigned mostWaits = 100;

    /// Ends the turn of an operation that cannot go on before the other thread has.
    void wait() override
    {
        ++waits_;
        Soak::require( waits_ < mostWaits, "one of two threads can go on" );
        end();
    }

    /// Ends the calling worker's turn, and waits for its next one.
    void end()
    {
        std::unique_lock lock( mutex_ );
        const unsigned self = turn_;
        if ( !isGone_ ) {
            turn_ = 1 - self;
            changed_.notify_all();
            changed_.wait( lock, [ & ] { return turn_ == self; } );
        }
    }

    void waitFor( unsigned number )
    {
        std::unique_lock lock( mutex_ );
        changed_.wait( lock, [ & ] { return turn_ == number; } );
    }

    void leave( unsigned number )
    {
        const std::lock_guard lock( mutex_ );
        isGone_ = true;
        turn_ = 1 - number;
        changed_.notify_all();
    }

    /// Only the worker whose turn it is asks.
    bool next()
    {
        const std::size_t bit = at_++;
        return bit / 8 < schedule_.size() && ( schedule_[ bit / 8 ] >> bit % 8 & 1U ) != 0;
    }

    std::span< const std::uint8_t > schedule_;
    Reference::TurnWaiter* const earlierWaiter_;
    std::size_t at_ = 0;
    unsigned waits_ = 0; // Since the last SDK call, of whichever worker has the turn.
    std::mutex mutex_;
    std::condition_variable changed_;
    unsigned turn_ = 0;
    bool isGone_ = false; // One of the two; the other then has all turns.
};

/// An access object at whose functions turns may end.
class TurnTakingSdk : public Shim::ForwardingSdk
{
  public:
    TurnTakingSdk( Shim::SdkAccess& next, Turns& turns )
        : ForwardingSdk( next )
        , turns_( turns )
    {}

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        turns_.mayEnd();                                                                           \
        const int rc = next().name arguments;                                                      \
        turns_.mayEnd();                                                                           \
        return rc;                                                                                 \
    }
#define SDK_OPERATION( family, result, name, parameters, arguments )
#include "sdk/SdkFunctions.def"

  private:
    Turns& turns_;
};

} // namespace Fuzz
