#pragma once

/// The agent's general id manager: ids that the agent chooses itself, one pool a feature and stage.
///
/// Used under the activity lock.
///
///     PeloraTcamIdManager& ids = getGeneralIdManager();
///     if ( ids.canAllocateId( FeatureIdType::policer, stage ) ) {
///         const U32 id = ids.allocateId( FeatureIdType::policer, stage );
///         ...
///         ids.freeId( FeatureIdType::policer, stage, id );
///     }

#include "agent/base/Export.h"
#include "agent/tcam/IdPool.h"
#include "agent/tcam/StageType.h"
#include "agent/tcam/TcamTypes.h"

#include <map>
#include <utility>

namespace PeloraTcam {

/// The features whose ids the agent chooses.
enum class FeatureIdType : U8
{
    group = 1,
    entry = 2,
    counter = 3,
    policer = 4,
};

/// Hands out ids of hardware that the agent counts itself; see the top of this header.
class AGENT_EXPORT PeloraTcamIdManager
{
  public:
    /// Gives the pool of a feature and stage `size` ids, `first` and following; 0 is never an id,
    /// ids have 32 bits, and the pool must not be in use (assertion failures).
    void poolIs( FeatureIdType feature, StageType stage, U32 first, U32 size );

    /// Whether the pool has a free id; false for a pool that has not been set up.
    [[nodiscard]] bool canAllocateId( FeatureIdType feature, StageType stage ) const;

    /// Takes the lowest free id; there must be one (an assertion failure otherwise).
    [[nodiscard]] U32 allocateId( FeatureIdType feature, StageType stage );

    /// Gives an id back, which must be allocated (an assertion failure otherwise).
    void freeId( FeatureIdType feature, StageType stage, U32 id );

    /// How many ids of the pool are allocated.
    [[nodiscard]] U32 allocatedIds( FeatureIdType feature, StageType stage ) const;

    /// Forgets all pools.
    void clear();

  private:
    std::map< std::pair< FeatureIdType, StageType >, IdPool > pools_;
};

/// The agent's id manager.
[[nodiscard]] AGENT_EXPORT PeloraTcamIdManager& getGeneralIdManager();

} // namespace PeloraTcam
