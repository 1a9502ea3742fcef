#pragma once

/// Runs a scenario: its steps in a child process, watched by this one.
///
///     const RunSummary summary = runScenario( scenario, options, *makeTextReport( painter ) );
///     return summary.exitCode();

#include "tools/RunReport.h"
#include "tools/Scenario.h"
#include "tools/TraceOption.h"

#include <string>
#include <vector>

namespace Tool {

struct RunOptions
{
    std::string numbering = "default"; ///< of the SDK
    std::vector< TraceSetting > traces;
    int ringDump = -1;     ///< the file to write the ring-buffer trace to, or -1
    bool snapshot = false; ///< whether the summary has all that the chip holds
    bool progress = false; ///< whether long steps show on standard error how far they are
};

/// Runs all steps, as far as the library lets it, and reports each as it ends.
RunSummary runScenario( const Scenario& scenario, const RunOptions& options, RunReport& report );

} // namespace Tool
