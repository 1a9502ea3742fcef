#include "tools/commands/Run.h"

#include "tools/commands/ExitCodes.h"
#include "tools/commands/Options.h"
#include "tools/report/RunReports.h"
#include "tools/run/ScenarioRun.h"
#include "tools/steps/StepKinds.h"
#include "tools/traces/RingDump.h"

#include <stdexcept>
#include <unistd.h>

namespace Tool {

namespace {

std::unique_ptr< RunReport > makeReport( bool json )
{
    const bool progress = isTerminal( STDERR_FILENO );
    return json ? makeJsonReport( progress )
                : makeTextReport( Painter( mayColour( STDOUT_FILENO ) ),
                                  terminalWidth( STDOUT_FILENO ), progress );
}

Scenario scenarioFrom( const RunCommandOptions& options )
{
    ScenarioReading reading{ options.scenario, {}, numberingFromOption( options.numbering ) };
    if ( !options.chip.empty() ) {
        reading.profile = profileFromOption( options.chip );
    }
    return readScenario( reading, stepKinds() );
}

} // namespace

int showRun( const RunCommandOptions& options )
{
    RunOptions runOptions;
    runOptions.numbering = options.numbering;
    runOptions.snapshot = options.snapshot;
    for ( const std::string& trace : options.traces ) {
        runOptions.traces.push_back( traceSettingFromOption( trace ) );
    }
    const Scenario scenario = scenarioFrom( options );
    if ( !options.ringDump.empty() ) {
        runOptions.ringDump = ringDumpFromOption( options.ringDump );
    }
    const RunSummary summary = runScenario( scenario, runOptions, *makeReport( options.json ) );
    if ( runOptions.ringDump >= 0 && !isWholeRingDump( runOptions.ringDump ) ) {
        throw std::runtime_error( "--ring-dump: the ring-buffer trace could not be written" );
    }
    return exitCodeOf( summary );
}

} // namespace Tool
