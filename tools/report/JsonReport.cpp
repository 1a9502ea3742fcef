#include "tools/report/RunReports.h"
#include "tools/report/StandardErrorReport.h"

#include <cstdio>
#include <fmt/format.h>

namespace Tool {

namespace {

std::string_view resultName( const RunSummary& summary )
{
    if ( summary.unexpectedEnd ) {
        return "library-ended";
    }
    return summary.notAsExpected > 0 ? "not-as-expected" : "as-expected";
}

void addLastWords( Json& json, const LastWords& lastWords, const std::string& end )
{
    json[ "end" ] = end;
    if ( !lastWords.errorLine.empty() ) {
        json[ "errorLine" ] = lastWords.errorLine;
    }
    if ( !lastWords.apiError.empty() ) {
        json[ "apiError" ] = lastWords.apiError;
    }
    if ( !lastWords.assertion.empty() ) {
        json[ "assertion" ] = lastWords.assertion;
    }
}

/// Keeps the run, and prints it in the end.
class JsonReport : public StandardErrorReport
{
  public:
    using StandardErrorReport::StandardErrorReport;

    void runStarts( const RunHeading& heading ) override { record_.heading = heading; }

    void stepEnded( const StepReport& step ) override
    {
        StandardErrorReport::stepEnded( step );
        record_.steps.push_back( step );
    }

    void runEnded( const RunSummary& summary ) override
    {
        StandardErrorReport::runEnded( summary );
        record_.summary = summary;
        fmt::print( "{}\n", jsonDocument( runJson( record_ ) ) );
        std::fflush( stdout );
    }

  private:
    RunRecord record_;
};

} // namespace

std::unique_ptr< RunReport > makeJsonReport( bool progress )
{
    return std::make_unique< JsonReport >( progress );
}

Json stepJson( const StepReport& step )
{
    Json json = { { "index", step.heading.index },
                  { "step", step.heading.kind },
                  { "name", step.heading.name },
                  { "outcome", outcomeName( step.result.outcome ) },
                  { "expected", outcomeName( step.heading.expected ) },
                  { "text", step.result.text } };
    json.update( step.result.produced );
    if ( !step.result.lines.empty() ) {
        json[ "lines" ] = step.result.lines;
    }
    if ( step.result.outcome == Outcome::aborted ) {
        addLastWords( json, step.lastWords, step.end );
    }
    return json;
}

Json runJson( const RunRecord& run )
{
    const RunHeading& heading = run.heading;
    const RunSummary& summary = run.summary;
    Json json = { { "scenario", heading.scenario },   { "profile", heading.profile },
                  { "unit", heading.unit },           { "pipe", heading.pipe },
                  { "numbering", heading.numbering }, { "steps", Json::array() } };
    for ( const StepReport& step : run.steps ) {
        json[ "steps" ].push_back( stepJson( step ) );
    }
    json[ "chip" ] = summary.chip;
    if ( !summary.snapshot.is_null() ) {
        json[ "snapshot" ] = summary.snapshot;
    }
    json[ "result" ] = resultName( summary );
    if ( summary.unexpectedEnd ) {
        const UnexpectedEnd& unexpected = *summary.unexpectedEnd;
        Json ended = Json::object();
        if ( unexpected.step ) {
            ended[ "step" ] = unexpected.step->index;
        }
        addLastWords( ended, unexpected.lastWords, unexpected.end );
        json[ "ended" ] = ended;
    }
    return json;
}

} // namespace Tool
