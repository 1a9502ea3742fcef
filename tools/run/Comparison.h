#pragma once

/// One scenario on several chips.

#include "tools/run/RunRecord.h"
#include "tools/run/ScenarioRun.h"

#include <string>
#include <vector>

namespace Tool {

/// A run on one chip.
struct ChipRun
{
    std::string chip; ///< the name of the profile
    RunRecord record;
};

/// Runs the scenarios, which differ in nothing but the chip, one after the other; tells the report
/// of each as it happens.
[[nodiscard]] std::vector< ChipRun > runOnEachChip( const std::vector< Scenario >& scenarios,
                                                    const RunOptions& options,
                                                    RunReport& report );

} // namespace Tool
