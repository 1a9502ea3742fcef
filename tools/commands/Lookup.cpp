#include "tools/commands/Lookup.h"

#include "agent/tcam/EnumeratorNames.h"
#include "input/NameHints.h"
#include "tools/commands/CommandLineError.h"
#include "tools/commands/ExitCodes.h"
#include "tools/commands/Options.h"
#include "tools/lookup/Lookup.h"
#include "tools/report/LookupReport.h"
#include "tools/steps/StepKinds.h"
#include "tools/text/Terminal.h"
#include "tools/translation/TranslatedNames.h"

#include <unistd.h>

namespace Tool {

namespace {

using PeloraTcam::ActionType;

/// Throws a `CommandLineError` for options that do not go together.
void check( const LookupOptions& options )
{
    if ( options.scenario.empty() == options.rules.empty() ) {
        throw CommandLineError( "lookup needs either --scenario FILE or --rules FILE" );
    }
    if ( !options.rules.empty() && options.chip.empty() ) {
        throw CommandLineError( "lookup needs --chip PROFILE with --rules" );
    }
    if ( options.rules.empty() && !options.action.empty() ) {
        throw CommandLineError( "--action is for --rules only" );
    }
    const int sources = ( options.packets.empty() ? 0 : 1 ) + ( options.capture.empty() ? 0 : 1 ) +
                        ( options.trace.empty() ? 0 : 1 );
    if ( sources != 1 ) {
        throw CommandLineError(
            "lookup needs one of --packet DESCRIPTION, --capture FILE and --trace FILE" );
    }
    if ( options.winners && options.json ) {
        throw CommandLineError( "--winners and --json exclude each other" );
    }
}

ActionType actionFromOption( const std::string& name )
{
    if ( name.empty() ) {
        return ActionType::drop;
    }
    std::vector< std::string > names;
    for ( const PeloraTcam::EnumeratorName& row :
          PeloraTcam::EnumeratorNames< ActionType >::rows ) {
        const auto action = static_cast< ActionType >( row.number );
        if ( isTranslated( action ) && row.name == name ) {
            return action;
        }
        if ( isTranslated( action ) ) {
            names.emplace_back( row.name );
        }
    }
    throw CommandLineError( "--action: unknown action '" + name + "'" +
                            Input::nameHint( name, names ) );
}

Scenario scenarioFromOptions( const LookupOptions& options, const Sim::SdkNumbering& numbering )
{
    if ( options.scenario.empty() ) {
        Scenario scenario;
        scenario.profile = profileFromOption( options.chip );
        return scenario;
    }
    ScenarioReading reading{ options.scenario, {}, numbering };
    if ( !options.chip.empty() ) {
        reading.profile = profileFromOption( options.chip );
    }
    return readScenario( reading, stepKinds() );
}

std::unique_ptr< const PacketSource > packetsFromOptions( const LookupOptions& options )
{
    if ( !options.capture.empty() ) {
        return capturedPackets( options.capture );
    }
    return options.trace.empty() ? describedPackets( options.packets )
                                 : tracedPackets( options.trace );
}

int exitCodeOf( const LookupEnd& end )
{
    if ( end.unexpectedEnd ) {
        return exitLibraryEnded;
    }
    return end.isSetUp ? exitAsExpected : exitUnexpectedOutcome;
}

} // namespace

int showLookup( const LookupOptions& options )
{
    check( options );
    LookupQuestion question;
    question.numbering = numberingFromOption( options.numbering );
    const ActionType action = actionFromOption( options.action );
    question.scenario = scenarioFromOptions( options, question.numbering );
    if ( !options.rules.empty() ) {
        question.rules = LookupRules{ readRuleSet( options.rules ), action };
    }
    question.packets = packetsFromOptions( options );
    question.onlyWinners = options.winners;
    question.jobs = options.jobs;
    const bool progress = isTerminal( STDERR_FILENO );
    const std::unique_ptr< LookupListener > report =
        options.json ? makeLookupJson( question.scenario.profile.name, progress )
                     : makeLookupText( terminalWidth( STDOUT_FILENO ), progress );
    return exitCodeOf( lookUp( question, *report ) );
}

} // namespace Tool
