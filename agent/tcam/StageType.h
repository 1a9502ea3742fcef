#pragma once

/// The stages of the field processor, in the order in which a packet passes them.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/tcam/EnumeratorNames.h"

#include <ostream>
#include <string_view>

namespace PeloraTcam {

/// Where in the pipeline a group looks.
enum class StageType : Agent::U8
{
    invalid = 0,
    /// The lookup stage: before the packet's VLAN and forwarding are decided.
    vfp = 1,
    /// The ingress stage: after the forwarding decision.
    ifp = 2,
    /// The egress stage: at the outgoing port.
    efp = 3,
};

/// The table of names behind `nameOfEnumerator()`.
template<>
struct EnumeratorNames< StageType >
{
    static constexpr std::string_view enumeration = "StageType"; ///< the name of the type
    /// One row an enumerator.
    static constexpr EnumeratorName rows[] = {
        { "invalid", 0 },
        { "vfp", 1 },
        { "ifp", 2 },
        { "efp", 3 },
    };
};

/// The lookup stage.
constexpr StageType stageVfp()
{
    return StageType::vfp;
}

/// The ingress stage.
constexpr StageType stageIfp()
{
    return StageType::ifp;
}

/// Prints the name, or "StageType(N)" for a value that has none.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, StageType stage );

} // namespace PeloraTcam
