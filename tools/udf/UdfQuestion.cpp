#include "tools/udf/UdfQuestion.h"

#include "agent/base/Locks.h"
#include "tools/run/RunContext.h"
#include "tools/run/StandardErrorWatch.h"
#include "tools/udf/UdfExplanation.h"
#include "tools/udf/UdfProgramming.h"

#include <fmt/format.h>

namespace Tool {

namespace {

// ---- In the child ----------------------------------------------------------------------------

/// Runs the steps of the scenario for what they leave; one that is expected to end the process
/// leaves nothing.
void runBefore( const Scenario& scenario, RunContext& context, EventSender& events )
{
    std::size_t index = 0;
    for ( const ScenarioStep& step : scenario.steps ) {
        ++index;
        if ( step.expected == Outcome::aborted ) {
            continue;
        }
        events.send( { { "running", fmt::format( "step {} of the scenario", index ) } } );
        context.forgetFailure();
        try {
            static_cast< void >( step.step->run( context ) );
        } catch ( const std::exception& ) {
            // The step's outcome, of which nothing is left.
        }
    }
}

void programExisting( const UdfQuestion& question, RunContext& context, EventSender& events )
{
    for ( const ExistingUdf& existing : question.existing ) {
        const std::string called = question.existingLabel + ": " + existing.name;
        events.send( { { "running", called } } );
        context.udfNames().requireFree( existing.name );
        context.forgetFailure();
        const UdfProgramming programming = programUdf( context, existing.desc );
        if ( programming.outcome != Outcome::ok ) {
            throw StepError( called + ": " + programming.why );
        }
        context.udfNames().add( existing.name, { existing.desc, programming.ids } );
    }
}

Json explainInChild( const UdfQuestion& question, EventSender& events )
{
    const Agent::LockAnchor activityHeld( Agent::activityLock() );
    RunContext context( question.scenario, question.numbering );
    runBefore( question.scenario, context, events );
    try {
        programExisting( question, context, events );
        events.send( { { "running", "" } } );
        return explainUdf( context, question.desc );
    } catch ( const std::exception& failure ) {
        return { { "outcome", outcomeName( Outcome::error ) },
                 { "why", failure.what() },
                 { "lines", { { "Refused", failure.what() } } } };
    }
}

// ---- In the parent ---------------------------------------------------------------------------

/// What the child said, and what is to be said of its end.
Json abortedExplanation( const std::string& running, const ChildEnd& end, const LastWords& words )
{
    Json lines = Json::array();
    if ( !running.empty() ) {
        lines.push_back( { "Running", running } );
    }
    lines.push_back( { "Refused", "the library ends the process" } );
    if ( !words.errorLine.empty() ) {
        lines.push_back( { "Library", words.errorLine } );
    }
    if ( !words.apiError.empty() ) {
        lines.push_back( { "API error", words.apiError } );
    }
    if ( !words.assertion.empty() ) {
        lines.push_back( { "Assertion", words.assertion } );
    }
    return { { "outcome", outcomeName( Outcome::aborted ) },
             { "why", childEndText( end ) },
             { "running", running },
             { "errorLine", words.errorLine },
             { "apiError", words.apiError },
             { "assertion", words.assertion },
             { "lines", lines } };
}

} // namespace

Json answerTo( const UdfQuestion& question, const TextHandler& onStandardError )
{
    Json explanation;
    std::string running;
    StandardErrorWatch standardError( onStandardError );
    const ChildEnd end = runInChild(
        [ & ]( EventSender& events ) { events.send( explainInChild( question, events ) ); },
        [ & ]( const Json& event ) {
            if ( event.contains( "running" ) ) {
                running = event.at( "running" );
            } else {
                explanation = event;
            }
        },
        [ & ]( std::string_view bytes ) { standardError.take( bytes ); } );
    return explanation.is_null() ? abortedExplanation( running, end, standardError.lastWords() )
                                 : explanation;
}

} // namespace Tool
