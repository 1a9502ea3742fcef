#pragma once

/// One scenario on several chips, side by side, printed to standard output.

#include "tools/run/Comparison.h"
#include "tools/text/Terminal.h"

#include <string>
#include <vector>

namespace Tool {

/// For each step, what came of it on each chip. `scenario` is the file.
void printComparison( const std::string& scenario,
                      const std::vector< ChipRun >& runs,
                      const Painter& painter );

/// The same as JSON.
void printComparisonJson( const std::string& scenario, const std::vector< ChipRun >& runs );

} // namespace Tool
