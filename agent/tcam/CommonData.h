#pragma once

/// The agent's common TCAM data: configuration that several helpers read.
///
/// Set up by the agent before the helpers run; used under the activity lock.

#include "agent/base/Export.h"
#include "agent/tcam/StageType.h"
#include "agent/tcam/TcamTypes.h"

#include <map>
#include <optional>

namespace PeloraTcam {

/// Settings that the helpers of all chips share; see the top of this header.
class AGENT_EXPORT PeloraTcamCommonData
{
  public:
    /// The flags that policers of a stage are created with besides their own, if it has any.
    [[nodiscard]] std::optional< U16 > policerFlags( StageType stage ) const;
    void policerFlagsIs( StageType stage, U16 flags );
    void policerFlagsDel( StageType stage );

  private:
    std::map< StageType, U16 > policerFlags_;
};

/// The agent's common data.
[[nodiscard]] AGENT_EXPORT PeloraTcamCommonData& getPeloraTcamCommonData();

} // namespace PeloraTcam
