#include "tools/run/ScenarioRun.h"

#include "tools/run/ScenarioChild.h"

#include <algorithm>

namespace Tool {

namespace {

RunHeading headingOf( const Scenario& scenario, const RunOptions& options )
{
    RunHeading heading;
    heading.scenario = scenario.file;
    heading.profile = scenario.profile.name;
    heading.numbering = options.numbering;
    heading.unit = static_cast< unsigned >( scenario.unit );
    heading.pipe = scenario.pipe;
    for ( const ScenarioStep& step : scenario.steps ) {
        const std::size_t index = heading.steps.size() + 1;
        heading.steps.push_back( { index, step.kind, step.step->name(), step.expected } );
    }
    return heading;
}

/// Makes the child's events and standard error into a report and a summary.
class RunWatcher
{
  public:
    RunWatcher( RunHeading heading, RunReport& report )
        : heading_( std::move( heading ) )
        , report_( report )
        , standardError_(
              [ this ]( std::string_view text ) { report_.standardErrorWritten( text ); } )
    {
        report_.runStarts( heading_ );
    }

    void eventHappened( const Json& event )
    {
        const std::string kind = event.at( "event" );
        if ( kind == RunEvent::stepStarted ) {
            standardError_.passOnLastWords();
            running_ = &heading_.steps.at( event.at( "index" ).get< std::size_t >() - 1 );
        } else if ( kind == RunEvent::stepProgress ) {
            report_.stepProgressed( *running_, event.at( "done" ), event.at( "total" ) );
        } else if ( kind == RunEvent::stepEnded ) {
            stepEnded( event );
        }
        if ( event.contains( "chip" ) ) {
            chipIs( event );
        }
    }

    void standardErrorWritten( std::string_view bytes ) { standardError_.take( bytes ); }

    RunSummary childEnded( const ChildEnd& end )
    {
        const bool complete = running_ == nullptr && summary_.stepsRun == heading_.steps.size();
        if ( !end.succeeded() || !complete ) {
            unexpectedlyEnded( end );
        } else {
            static_cast< void >( standardError_.lastWords() );
        }
        report_.runEnded( summary_ );
        return summary_;
    }

  private:
    /// Takes over what the chip holds now, and remembers the most of each resource.
    void chipIs( const Json& event )
    {
        const Json before = summary_.chip;
        summary_.chip = event.at( "chip" );
        for ( auto& [ name, resource ] : summary_.chip.items() ) {
            const std::uint64_t used = resource.at( "used" );
            const std::uint64_t peak =
                before.contains( name ) ? before.at( name ).at( "peak" ).get< std::uint64_t >() : 0;
            resource[ "peak" ] = std::max( used, peak );
        }
        if ( event.contains( "snapshot" ) ) {
            summary_.snapshot = event.at( "snapshot" );
        }
    }

    void stepEnded( const Json& event )
    {
        StepReport step;
        step.heading = *running_;
        step.result = stepResultFromJson( event );
        step.asExpected = step.result.outcome == step.heading.expected;
        if ( step.result.outcome == Outcome::aborted ) {
            step.lastWords = standardError_.lastWords();
            step.end = event.at( "end" );
        } else {
            standardError_.passOnLastWords();
        }
        running_ = nullptr;
        reportStep( step );
    }

    void unexpectedlyEnded( const ChildEnd& end )
    {
        UnexpectedEnd unexpected{ {}, childEndText( end ), standardError_.lastWords() };
        if ( running_ != nullptr ) {
            unexpected.step = *running_;
            StepReport step;
            step.heading = *running_;
            step.result.outcome = Outcome::aborted;
            step.asExpected = false;
            step.lastWords = unexpected.lastWords;
            step.end = unexpected.end;
            reportStep( step );
        }
        summary_.unexpectedEnd = unexpected;
    }

    void reportStep( const StepReport& step )
    {
        ++summary_.stepsRun;
        summary_.notAsExpected += step.asExpected ? 0 : 1;
        report_.stepEnded( step );
    }

    RunHeading heading_;
    RunReport& report_;
    StandardErrorWatch standardError_;
    const StepHeading* running_ = nullptr;
    RunSummary summary_;
};

} // namespace

RunSummary runScenario( const Scenario& scenario, const RunOptions& options, RunReport& report )
{
    RunWatcher watcher( headingOf( scenario, options ), report );
    const ChildEnd end =
        runInChild( [ & ]( EventSender& events ) { runScenarioSteps( scenario, options, events ); },
                    [ & ]( const Json& event ) { watcher.eventHappened( event ); },
                    [ & ]( std::string_view bytes ) { watcher.standardErrorWritten( bytes ); } );
    return watcher.childEnded( end );
}

} // namespace Tool
