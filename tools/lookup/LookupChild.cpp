#include "tools/lookup/LookupChild.h"

#include "agent/base/Locks.h"
#include "tools/lookup/Answer.h"
#include "tools/lookup/Winners.h"
#include "tools/rules/FilterRules.h"
#include "tools/run/RunContext.h"
#include "tools/run/ScenarioChild.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <iterator>
#include <limits>
#include <utility>

namespace Tool {

namespace {

// ---- The set-up --------------------------------------------------------------------------------

void stepBegins( EventSender& events, std::size_t index, std::string_view kind, std::string name )
{
    events.send( { { "event", LookupEvent::step },
                   { "index", index },
                   { "kind", kind },
                   { "name", std::move( name ) } } );
}

void failed( EventSender& events, const std::string& message )
{
    events.send( { { "event", LookupEvent::failed }, { "message", message } } );
}

/// Runs the steps for what they leave; one that is expected to end the process leaves nothing.
void runSteps( const Scenario& scenario, RunContext& context, EventSender& events )
{
    std::size_t index = 0;
    for ( const ScenarioStep& step : scenario.steps ) {
        ++index;
        if ( step.expected == Outcome::aborted ) {
            continue;
        }
        stepBegins( events, index, step.kind, step.step->name() );
        const StepResult result = runStep( *step.step, context );
        if ( result.outcome != step.expected ) {
            failed( events,
                    fmt::format( "{}: step {}, {} {}: {}, expected {}: {}", scenario.file, index,
                                 step.kind, step.step->name(), outcomeName( result.outcome ),
                                 outcomeName( step.expected ), result.text ) );
        }
    }
}

/// Names the rules that are not on the chip, and why.
void tellRefused( const RuleSet& ruleSet,
                  const Reference::RuleSetReport& report,
                  EventSender& events )
{
    for ( const Reference::RefusedRule& refused : report.refusedRules ) {
        failed( events,
                fmt::format( "{}:{}:1: this rule was refused, {}: {}", ruleSet.file,
                             ruleSet.lines.at( refused.rule ),
                             Reference::isUnmatchable( refused.reason ) ? "because it asks for"
                                                                        : "for want of",
                             refused.reason ) );
    }
}

void programRules( const LookupRules& rules, RunContext& context, EventSender& events )
{
    const RuleSet& ruleSet = rules.ruleSet;
    const std::string name = std::filesystem::path( ruleSet.file ).filename().string();
    stepBegins( events, 1, "import-rules", name );
    Reference::RuleOptions options;
    options.actions = { { rules.action, 0, 0 } };
    const Reference::RuleSetReport report =
        context.tcam().ruleSets().program( filterRulesOf( ruleSet ), options );
    context.tcam().ruleSetNames().add( name, { report.id, ruleSet.file, ruleSet.lines } );
    tellRefused( ruleSet, report, events );
}

// ---- The packets -------------------------------------------------------------------------------

/// Finds the winners and reports them, many at a time.
void reportWinners( const LookupQuestion& question, RunContext& context, EventSender& events )
{
    constexpr std::size_t atOnce = 1U << 16;
    const EntryOrigins origins( context );
    const Sim::PacketPath& path = context.packets();
    std::vector< int > lines;
    std::string text;
    for ( std::size_t done = 0; done < question.packets->size(); done += lines.size() ) {
        lines.resize( std::min( atOnce, question.packets->size() - done ) );
        findWinners( path, *question.packets, origins, done, lines, question.jobs );
        text.clear();
        for ( const int line : lines ) {
            fmt::format_to( std::back_inserter( text ), "{}\n", line );
        }
        events.send( { { "event", LookupEvent::winners },
                       { "lines", text },
                       { "done", done + lines.size() } } );
    }
}

/// Sends the packets one after the other and reports what became of each, some at a time.
void reportAnswers( const LookupQuestion& question, RunContext& context, EventSender& events )
{
    constexpr std::size_t atOnce = 64;
    const EntryOrigins origins( context );
    Sim::PacketPath& path = context.packets();
    const auto writer = question.packets->writer( question.numbering );
    Json answers = Json::array();
    for ( std::size_t index = 0; index < question.packets->size(); ++index ) {
        Sim::Packet packet = writer->packet( index );
        packet.timestamp += context.packetTime();
        Json answer = { { "packet", question.packets->nameOf( index ) } };
        const Json explanation = explanationJson( Sim::explain( path, packet ), context, origins );
        answer.update( verdictJson( path.send( packet ), context, origins ) );
        answer.update( explanation );
        answers.push_back( std::move( answer ) );
        if ( answers.size() == atOnce || index + 1 == question.packets->size() ) {
            events.send( { { "event", LookupEvent::answers },
                           { "answers", std::exchange( answers, Json::array() ) },
                           { "done", index + 1 } } );
        }
    }
}

} // namespace

void lookUpInChild( const LookupQuestion& question, EventSender& events )
{
    const Agent::LockAnchor activityHeld( Agent::activityLock() );
    RunContext context( question.scenario, question.numbering );
    runSteps( question.scenario, context, events );
    if ( question.rules ) {
        programRules( *question.rules, context, events );
    }
    events.send( { { "event", LookupEvent::packets } } );
    if ( question.onlyWinners ) {
        reportWinners( question, context, events );
    } else {
        reportAnswers( question, context, events );
    }
}

} // namespace Tool
