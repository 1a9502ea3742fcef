#include "tools/commands/Compare.h"

#include "tools/commands/ExitCodes.h"
#include "tools/commands/Options.h"
#include "tools/report/ComparisonReport.h"
#include "tools/report/StandardErrorReport.h"
#include "tools/steps/StepKinds.h"

#include <algorithm>
#include <iterator>
#include <unistd.h>

namespace Tool {

namespace {

constexpr const char* oneOfEachKind[] = { "sdk6-udf", "sdk6-flex", "hsdk" };

std::vector< Scenario > readForEachChip( const CompareOptions& options )
{
    const Sim::SdkNumbering numbering = numberingFromOption( options.numbering );
    std::vector< std::string > chips = options.chips;
    if ( chips.empty() ) {
        chips.assign( std::begin( oneOfEachKind ), std::end( oneOfEachKind ) );
    }
    std::vector< Scenario > scenarios;
    for ( const std::string& chip : chips ) {
        scenarios.push_back( readScenario(
            { options.scenario, profileFromOption( chip ), numbering }, stepKinds() ) );
    }
    return scenarios;
}

} // namespace

int compareChips( const CompareOptions& options )
{
    const std::vector< Scenario > scenarios = readForEachChip( options );
    RunOptions runOptions;
    runOptions.numbering = options.numbering;
    StandardErrorReport standardError( false );
    const std::vector< ChipRun > runs = runOnEachChip( scenarios, runOptions, standardError );
    if ( options.json ) {
        printComparisonJson( options.scenario, runs );
    } else {
        printComparison( options.scenario, runs, Painter( mayColour( STDOUT_FILENO ) ) );
    }
    int exitCode = exitAsExpected;
    for ( const ChipRun& run : runs ) {
        exitCode = std::max( exitCode, exitCodeOf( run.record.summary ) );
    }
    return exitCode;
}

} // namespace Tool
