#pragma once

/// Which traces a run is to write: FACILITY=LEVELS.

#include "agent/base/BaseTypes.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// The facility of the tool itself: the start and the end of each step.
inline constexpr std::string_view toolTraceFacility = "PeloraTcamTool";

struct TraceSetting
{
    std::string facility; ///< "*" stands for every facility
    Agent::U32 mask = 0;
};

/// The facilities that a run may trace, sorted.
[[nodiscard]] std::vector< std::string > knownTraceFacilities();

/// Reads "ApiPelora=4", "PeloraTcamRangeChecker=0,8-9" or "*=all". Throws `std::invalid_argument`
/// for a text that is not of that form, or if there is no such facility.
[[nodiscard]] TraceSetting traceSettingFromText( const std::string& text );

} // namespace Tool
