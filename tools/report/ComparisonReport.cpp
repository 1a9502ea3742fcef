#include "tools/report/ComparisonReport.h"

#include "tools/report/RunReports.h"
#include "tools/text/Json.h"
#include "tools/text/PrintableText.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tool {

namespace {

/// A run on one chip, as programs are told of it.
struct Column
{
    std::string chip;
    Json report;
    bool asExpected = true;
};

using Columns = std::vector< Column >;

Columns columnsOf( const std::vector< ChipRun >& runs )
{
    Columns columns;
    for ( const ChipRun& run : runs ) {
        columns.push_back(
            { run.chip, runJson( run.record ), run.record.summary.allAsExpected() } );
    }
    return columns;
}

std::size_t widestChip( const Columns& runs )
{
    std::size_t width = 0;
    for ( const Column& run : runs ) {
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
void printStepOn( const Column& run,
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
bool isSameOnAll( const Columns& runs, std::size_t index )
{
    const auto stepOf = [ index ]( const Column& run ) {
        const Json& steps = run.report.at( "steps" );
        return index < steps.size() ? steps.at( index ) : Json();
    };
    return std::ranges::all_of(
        runs, [ & ]( const Column& run ) { return stepOf( run ) == stepOf( runs.front() ); } );
}

const Column& longest( const Columns& runs )
{
    return *std::ranges::max_element(
        runs, {}, []( const Column& run ) { return run.report.at( "steps" ).size(); } );
}

void printText( const std::string& scenario, const Columns& runs, const Painter& painter )
{
    const std::size_t width = widestChip( runs );
    fmt::print( "{}\n", printable( scenario ) );
    const Json& steps = longest( runs ).report.at( "steps" );
    for ( std::size_t index = 0; index < steps.size(); ++index ) {
        const Json& step = steps.at( index );
        fmt::print( "\n{:>3}  {}  {}\n", index + 1, step.at( "step" ).get< std::string >(),
                    textOf( step, "name" ) );
        if ( runs.size() > 1 && isSameOnAll( runs, index ) ) {
            printStepOn( runs.front(), "all", index, width, painter );
            continue;
        }
        for ( const Column& run : runs ) {
            printStepOn( run, run.chip, index, width, painter );
        }
    }
    fmt::print( "\n" );
    for ( const Column& run : runs ) {
        fmt::print( "Result on {}: {}\n", run.chip,
                    painter( run.asExpected ? Colour::good : Colour::bad,
                             run.report.at( "result" ).get< std::string >() ) );
    }
}

} // namespace

void printComparison( const std::string& scenario,
                      const std::vector< ChipRun >& runs,
                      const Painter& painter )
{
    printText( scenario, columnsOf( runs ), painter );
}

void printComparisonJson( const std::string& scenario, const std::vector< ChipRun >& runs )
{
    Json json = { { "scenario", scenario }, { "chips", Json::array() } };
    for ( const ChipRun& run : runs ) {
        json[ "chips" ].push_back( runJson( run.record ) );
    }
    fmt::print( "{}\n", jsonDocument( json ) );
}

} // namespace Tool
