#pragma once

/// The floor of an SDK call: the call, with the agent's two locks released before it and retaken
/// after it, as one would write it by hand at the call site.

#include "agent/base/Locks.h"

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

} // namespace Bench
