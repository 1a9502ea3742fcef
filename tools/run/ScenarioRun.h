#pragma once

/// Runs a scenario: its steps in a child process, watched by this one.
///
///     const RunSummary summary = runScenario( scenario, options, report );
///     if ( !summary.allAsExpected() ) { ... }

#include "tools/run/RunReport.h"
#include "tools/scenario/Scenario.h"
#include "tools/traces/TraceSetting.h"

#include <string>
#include <vector>

namespace Tool {

struct RunOptions
{
    std::string numbering = "default"; ///< of the SDK
    std::vector< TraceSetting > traces;
    int ringDump = -1;     ///< the file to write the ring-buffer trace to, or -1
    bool snapshot = false; ///< whether the summary has all that the chip holds
};

/// Runs all steps, as far as the library lets it, and reports each as it ends.
RunSummary runScenario( const Scenario& scenario, const RunOptions& options, RunReport& report );

} // namespace Tool
