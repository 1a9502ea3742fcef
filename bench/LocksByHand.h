#pragma once

/// The floor of an SDK call: the call, with the agent's two locks released before it and retaken
/// after it, as one would write it by hand at the call site.
///
/// The floor of an operation makes its calls with what the library has to do at each: it asks
/// whether there is an access object, tells it of the call (`preApiCall()`), judges the return code
/// of a checked call, and asks whether the call is traced.

#include "agent/base/Locks.h"
#include "agent/base/Trace.h"
#include "sdk/SdkAccess.h"

#include <cstdlib>

namespace Bench {

template< class Call >
int withLocksByHand( const Call& call )
{
    Agent::OwnedLock& interpreter = Agent::interpreterLock();
    Agent::OwnedLock& activity = Agent::activityLock();
    const bool interpreterHeld = interpreter.heldByThisThread();
    if ( interpreterHeld ) {
        interpreter.release();
    }
    activity.release();
    const int rc = call();
    activity.take();
    if ( interpreterHeld ) {
        interpreter.take();
    }
    return rc;
}

/// How a floor makes its calls when it has nothing but the locks.
struct BareCalls
{
    template< class Call >
    static int traced( const Call& call )
    {
        return withLocksByHand( call );
    }

    template< class Call >
    static int checked( const Call& call )
    {
        return withLocksByHand( call );
    }

    template< class... Pieces >
    static void trace( Agent::TraceLevel, const Pieces&... )
    {}
};

/// The trace handle of the floors, where all levels are off.
inline const Agent::TraceHandle floorHandle_( "Bench" );

/// How a floor makes its calls when it does at each what the library has to do.
struct RequiredCalls
{
    /// A call of which the caller judges the return code.
    template< class Call >
    static int traced( const Call& call )
    {
        dieIf( Shim::sdk_ == nullptr );
        const int rc = withLocksByHand( call );
        dieIf( floorHandle_.enabled( callLevel ) );
        return rc;
    }

    /// A call that must not fail.
    template< class Call >
    static int checked( const Call& call )
    {
        dieIf( Shim::sdk_ == nullptr );
        Shim::sdk_->preApiCall();
        const int rc = withLocksByHand( call );
        dieIf( rc < 0 );
        dieIf( floorHandle_.enabled( callLevel ) );
        return rc;
    }

    /// A trace statement.
    template< class... Pieces >
    static void trace( Agent::TraceLevel level, Pieces&&... pieces )
    {
        Agent::trace( floorHandle_, level, pieces... );
    }

  private:
    static constexpr int callLevel = 4;

    [[gnu::always_inline]] static inline void dieIf( bool condition )
    {
        if ( condition ) [[unlikely]] {
            std::abort();
        }
    }
};

} // namespace Bench
