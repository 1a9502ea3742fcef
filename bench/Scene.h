#pragma once

/// The circumstances in which an operation is measured.

#include "agent/base/Locks.h"
#include "agent/base/Trace.h"
#include "sdk/SdkAccess.h"

#include <optional>

namespace Bench {

struct Scene
{
    bool interpreterLockHeld = false;
    bool tracing = false;           ///< all levels of all facilities on; the lines are dropped
    Shim::SdkAccess* sdk = nullptr; ///< in the place of the constant one; it must stay
    Agent::TraceSink traceSink = nullptr; ///< in the place of the one that drops the lines
};

/// Sets a scene for its own lifetime. The activity lock is held, as a helper expects it.
class SceneAnchor
{
  public:
    explicit SceneAnchor( const Scene& scene )
        : activityHeld_( Agent::activityLock() )
    {
        if ( scene.interpreterLockHeld ) {
            interpreterHeld_.emplace( Agent::interpreterLock() );
        }
        Agent::traceLevelsIs( "*", scene.tracing ? allLevels : 0 );
        if ( scene.sdk != nullptr ) {
            Shim::sdk_ = scene.sdk;
        }
        if ( scene.traceSink ) {
            previousSink_ = Agent::traceSinkIs( scene.traceSink );
        }
    }

    SceneAnchor( const SceneAnchor& ) = delete;
    SceneAnchor& operator=( const SceneAnchor& ) = delete;

    ~SceneAnchor()
    {
        Agent::traceLevelsIs( "*", 0 );
        Shim::sdk_ = previousSdk_;
        if ( previousSink_ ) {
            Agent::traceSinkIs( previousSink_ );
        }
    }

  private:
    static constexpr Agent::U32 allLevels = 0xFFFFFFFF;

    Agent::LockAnchor activityHeld_;
    std::optional< Agent::LockAnchor > interpreterHeld_;
    Shim::SdkAccess* previousSdk_ = Shim::sdk_;
    Agent::TraceSink previousSink_;
};

} // namespace Bench
