#pragma once

/// Which SDK group stands for a logical group. Used under the activity lock.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"

#include <map>

namespace PeloraTcam {

/// From the agent's groups to those of the SDK; see the top of this header.
class AGENT_EXPORT GroupIdMap
{
  public:
    /// The SDK group of a key; the key itself if none was set: this model assumes that such a group
    /// was created under its key.
    [[nodiscard]] Agent::S32 getHardwareGroupId( Agent::U32 key ) const;
    void hardwareGroupIdIs( Agent::U32 key, Agent::S32 hardwareGroupId );
    void hardwareGroupIdDel( Agent::U32 key );

  private:
    std::map< Agent::U32, Agent::S32 > groups_;
};

/// The agent's group id map.
[[nodiscard]] AGENT_EXPORT GroupIdMap& getGroupIdMap();

} // namespace PeloraTcam
