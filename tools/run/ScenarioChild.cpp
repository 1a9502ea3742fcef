#include "tools/run/ScenarioChild.h"

#include "agent/base/Assert.h"
#include "agent/base/Locks.h"
#include "agent/base/RingTrace.h"
#include "tools/run/RunContext.h"
#include "tools/traces/RingDump.h"

#include <chrono>
#include <csignal>

namespace Tool {

namespace {

const Agent::TraceHandle& traceHandle()
{
    static const Agent::TraceHandle handle( toolTraceFacility );
    return handle;
}

Json jsonOf( const StepResult& result )
{
    return { { "outcome", outcomeName( result.outcome ) },
             { "text", result.text },
             { "produced", result.produced },
             { "lines", result.lines } };
}

/// Reports progress a few times a second, however often it is made.
class ProgressReporter
{
  public:
    explicit ProgressReporter( EventSender& events )
        : events_( events )
    {}

    void operator()( std::size_t done, std::size_t total )
    {
        constexpr std::chrono::milliseconds interval( 100 );
        const auto now = std::chrono::steady_clock::now();
        if ( now - last_ >= interval ) {
            last_ = now;
            events_.send(
                { { "event", RunEvent::stepProgress }, { "done", done }, { "total", total } } );
        }
    }

  private:
    EventSender& events_;
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

/// Runs a step that is expected to end the process: in a process of its own, which has a copy of
/// everything, so that here nothing changes. Gives the step's part of the event.
Json tryStep( const Step& step, RunContext& context )
{
    Json result;
    const auto runApart = [ & ] {
        noRingDumpOnSignal();
        context.progressIs( {} );
        return jsonOf( runStep( step, context ) );
    };
    const ChildEnd end = tryInChild( runApart, result );
    if ( !result.is_null() ) {
        return result;
    }
    if ( !end.bySignal || end.number != SIGABRT ) {
        // Not an assertion nor a fatal call: nobody can expect that.
        endLike( end );
    }
    result = jsonOf( { Outcome::aborted, {}, Json::object() } );
    result[ "end" ] = childEndText( end );
    return result;
}

/// Adds to an event what the chip holds: how much, and, if it is wanted, what.
void addChip( Json& event, const RunContext& context, const RunOptions& options )
{
    event[ "chip" ] = context.occupancy();
    if ( options.snapshot ) {
        event[ "snapshot" ] = context.snapshot();
    }
}

void runStepAndReport( std::size_t index,
                       const ScenarioStep& step,
                       RunContext& context,
                       const RunOptions& options,
                       EventSender& events )
{
    events.send( { { "event", RunEvent::stepStarted }, { "index", index } } );
    Agent::traceBoth( traceHandle(), 4, "step ", index, " ", step.kind, " ", step.step->name(),
                      " starts" );
    Json event = { { "event", RunEvent::stepEnded } };
    event.update( step.expected == Outcome::aborted ? tryStep( *step.step, context )
                                                    : jsonOf( runStep( *step.step, context ) ) );
    AGENT_ASSERT( Agent::activityLock().heldByThisThread() &&
                  "the activity lock is held after each step" );
    Agent::traceBoth( traceHandle(), 4, "step ", index, " ends ",
                      event.at( "outcome" ).get< std::string >() );
    addChip( event, context, options );
    events.send( event );
}

} // namespace

StepResult runStep( const Step& step, RunContext& context )
{
    context.forgetFailure();
    try {
        return step.run( context );
    } catch ( const std::exception& failure ) {
        return { Outcome::error, failure.what(), Json::object() };
    } catch ( ... ) {
        return { Outcome::error, "an exception of an unknown kind", Json::object() };
    }
}

void runScenarioSteps( const Scenario& scenario, const RunOptions& options, EventSender& events )
{
    for ( const TraceSetting& trace : options.traces ) {
        Agent::traceLevelsIs( trace.facility, trace.mask );
    }
    if ( options.ringDump >= 0 ) {
        ringDumpOnSignal( options.ringDump );
    }
    const Agent::LockAnchor activityHeld( Agent::activityLock() );
    RunContext context( scenario, Sim::SdkNumbering::fromText( options.numbering ) );
    Json started = { { "event", RunEvent::runStarted } };
    addChip( started, context, options );
    events.send( started );
    std::size_t index = 0;
    for ( const ScenarioStep& step : scenario.steps ) {
        context.progressIs( ProgressReporter( events ) );
        runStepAndReport( ++index, step, context, options, events );
    }
    if ( options.ringDump >= 0 ) {
        writeRingDump( options.ringDump );
    }
}

StepResult stepResultFromJson( const Json& event )
{
    return { outcomeFromName( event.at( "outcome" ).get< std::string >() ).value(),
             event.at( "text" ), event.at( "produced" ),
             event.value( "lines", std::vector< std::string >() ) };
}

} // namespace Tool
