#include "tools/run/Comparison.h"

namespace Tool {

std::vector< ChipRun > runOnEachChip( const std::vector< Scenario >& scenarios,
                                      const RunOptions& options,
                                      RunReport& report )
{
    std::vector< ChipRun > runs;
    for ( const Scenario& scenario : scenarios ) {
        ChipRun run{ scenario.profile.name, {} };
        RunRecorder recorder( run.record, report );
        runScenario( scenario, options, recorder );
        runs.push_back( run );
    }
    return runs;
}

} // namespace Tool
