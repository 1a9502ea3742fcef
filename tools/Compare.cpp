#include "tools/Compare.h"

#include "tools/ExitCodes.h"
#include "tools/PrintableText.h"
#include "tools/ScenarioRun.h"
#include "tools/Terminal.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <unistd.h>

namespace Tool {

namespace {

constexpr const char* oneOfEachKind[] = { "sdk6-udf", "sdk6-flex", "hsdk" };

/// A run on one chip: what was reported, as JSON.
struct ChipRun
{
    std::string chip; ///< as given
    Json report;
    int exitCode = 0;
};

std::vector< Scenario > readForEachChip( const CompareOptions& options )
{
    std::vector< std::string > chips = options.chips;
    if ( chips.empty() ) {
        chips.assign( std::begin( oneOfEachKind ), std::end( oneOfEachKind ) );
    }
    std::vector< Scenario > scenarios;
    for ( const std::string& chip : chips ) {
        scenarios.push_back( readScenario(
            { options.scenario, chip, Sim::SdkNumbering::fromText( options.numbering ) } ) );
    }
    return scenarios;
}

ChipRun runOnChip( const Scenario& scenario, const RunOptions& options )
{
    ChipRun run{ scenario.profile.name, {}, 0 };
    const auto report = makeJsonReport( [ & ]( const Json& json ) { run.report = json; } );
    run.exitCode = runScenario( scenario, options, *report ).exitCode();
    return run;
}

std::size_t widestChip( const std::vector< ChipRun >& runs )
{
    std::size_t width = 0;
    for ( const ChipRun& run : runs ) {
        width = std::max( width, run.chip.size() );
    }
    return width;
}

/// A member that is a text, as it may be shown.
std::string textOf( const Json& object, const char* member )
{
    return printable( object.at( member ).get< std::string >() );
}

/// "ok", or in colour what was not expected.
std::string outcomeText( const Json& step, const Painter& painter )
{
    const std::string outcome = step.at( "outcome" );
    const std::string expected = step.at( "expected" );
    if ( outcome == expected ) {
        return painter( outcome == "ok" ? Colour::good : Colour::warning,
                        fmt::format( "{:<7}", outcome ) );
    }
    return painter( Colour::bad, fmt::format( "{:<7}", outcome ) ) + " expected " + expected + ":";
}

/// What a step was on one chip, called `chip`; a chip on which the run ended before has nothing.
void printStepOn( const ChipRun& run,
                  const std::string& chip,
                  std::size_t index,
                  std::size_t width,
                  const Painter& painter )
{
    const Json& steps = run.report.at( "steps" );
    if ( index >= steps.size() ) {
        fmt::print( "     {:<{}}  not run\n", chip, width );
        return;
    }
    const Json& step = steps.at( index );
    fmt::print( "     {:<{}}  {} {}\n", chip, width, outcomeText( step, painter ),
                textOf( step, "text" ) );
    if ( step.contains( "given" ) ) {
        fmt::print( "     {:<{}}  given:  {}\n", "", width, textOf( step, "given" ) );
    }
    for ( const Json& note : step.value( "notes", Json::array() ) ) {
        fmt::print( "     {:<{}}  note:   {}\n", "", width,
                    printable( note.get< std::string >() ) );
    }
    for ( const Json& line : step.value( "lines", Json::array() ) ) {
        fmt::print( "     {:<{}}  {}\n", "", width, printable( line.get< std::string >() ) );
    }
    for ( const char* why : { "errorLine", "apiError", "assertion", "end" } ) {
        if ( step.contains( why ) ) {
            fmt::print( "     {:<{}}  {}\n", "", width, textOf( step, why ) );
        }
    }
}

/// Whether a step was the same on all chips, in every word.
bool isSameOnAll( const std::vector< ChipRun >& runs, std::size_t index )
{
    const auto stepOf = [ index ]( const ChipRun& run ) {
        const Json& steps = run.report.at( "steps" );
        return index < steps.size() ? steps.at( index ) : Json();
    };
    return std::ranges::all_of(
        runs, [ & ]( const ChipRun& run ) { return stepOf( run ) == stepOf( runs.front() ); } );
}

const ChipRun& longest( const std::vector< ChipRun >& runs )
{
    return *std::ranges::max_element(
        runs, {}, []( const ChipRun& run ) { return run.report.at( "steps" ).size(); } );
}

void printText( const CompareOptions& options, const std::vector< ChipRun >& runs )
{
    const Painter painter( mayColour( STDOUT_FILENO ) );
    const std::size_t width = widestChip( runs );
    fmt::print( "{}\n", printable( options.scenario ) );
    const Json& steps = longest( runs ).report.at( "steps" );
    for ( std::size_t index = 0; index < steps.size(); ++index ) {
        const Json& step = steps.at( index );
        fmt::print( "\n{:>3}  {}  {}\n", index + 1, step.at( "step" ).get< std::string >(),
                    textOf( step, "name" ) );
        if ( runs.size() > 1 && isSameOnAll( runs, index ) ) {
            printStepOn( runs.front(), "all", index, width, painter );
            continue;
        }
        for ( const ChipRun& run : runs ) {
            printStepOn( run, run.chip, index, width, painter );
        }
    }
    fmt::print( "\n" );
    for ( const ChipRun& run : runs ) {
        fmt::print( "Result on {}: {}\n", run.chip,
                    painter( run.exitCode == exitAsExpected ? Colour::good : Colour::bad,
                             run.report.at( "result" ).get< std::string >() ) );
    }
}

} // namespace

int compareChips( const CompareOptions& options )
{
    RunOptions runOptions;
    runOptions.numbering = options.numbering;
    std::vector< ChipRun > runs;
    for ( const Scenario& scenario : readForEachChip( options ) ) {
        runs.push_back( runOnChip( scenario, runOptions ) );
    }
    if ( options.json ) {
        Json json = { { "scenario", options.scenario }, { "chips", Json::array() } };
        for ( const ChipRun& run : runs ) {
            json[ "chips" ].push_back( run.report );
        }
        fmt::print( "{}\n", jsonDocument( json ) );
    } else {
        printText( options, runs );
    }
    int exitCode = exitAsExpected;
    for ( const ChipRun& run : runs ) {
        exitCode = std::max( exitCode, run.exitCode );
    }
    return exitCode;
}

} // namespace Tool
