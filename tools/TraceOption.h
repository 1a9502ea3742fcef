#pragma once

/// The option `--trace FACILITY=LEVELS`.

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

/// Reads the option's value; a `CommandLineError` if it is not of that form or if there is no such
/// facility.
[[nodiscard]] TraceSetting traceSettingFromOption( const std::string& text );

} // namespace Tool
