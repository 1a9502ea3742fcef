#include "tools/ExplainUdf.h"

#include "agent/base/Locks.h"
#include "sim/InputError.h"
#include "sim/SdkNumbering.h"
#include "tools/ChildProcess.h"
#include "tools/ExitCodes.h"
#include "tools/PrintableText.h"
#include "tools/StandardErrorWatch.h"
#include "tools/UdfDescReader.h"
#include "tools/UdfExplanation.h"
#include "tools/UdfProgramming.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>

namespace Tool {

namespace {

using PeloraTcam::UdfDesc;

// ---- Reading ---------------------------------------------------------------------------------

/// A list is written without its brackets: "0xFF,0x0F".
std::string valueOf( const std::string& key, const std::string& text )
{
    if ( text.find( '\n' ) != std::string::npos ) {
        throw CommandLineError( "--" + key + ": expected one line" );
    }
    return key == "lag-mask" && !text.starts_with( '[' ) ? "[ " + text + " ]" : text;
}

/// Reads the options as a step's keys are read: each is a line of a document.
UdfDesc descFromOptions( const ExplainUdfOptions& options )
{
    std::string text;
    for ( const auto& [ key, value ] : options.keys ) {
        text += key + ": " + valueOf( key, value ) + "\n";
    }
    UdfDesc desc;
    try {
        const Sim::YamlDocument document = Sim::YamlDocument::fromText( "options", text );
        document.root().readMembers(
            [ & ]( Sim::YamlMembers& members ) { readUdfDesc( members, desc ); } );
    } catch ( const Sim::InputError& error ) {
        // The end of the text stands in a line of its own, behind that of the last option.
        const std::size_t line =
            std::min( static_cast< std::size_t >( error.line() ), options.keys.size() );
        throw CommandLineError( "--" + options.keys.at( line - 1 ).first + ": " + error.message() );
    }
    return desc;
}

/// A field that exists already.
struct Existing
{
    std::string name;
    UdfDesc desc;
};

std::vector< Existing > existingFromOptions( const ExplainUdfOptions& options )
{
    std::vector< Existing > all;
    for ( const std::string& text : options.with ) {
        Existing existing{ fmt::format( "field {}", all.size() + 1 ), {} };
        const Sim::YamlDocument document = Sim::YamlDocument::fromText( "--with", text );
        document.root().readMembers( [ & ]( Sim::YamlMembers& members ) {
            members.optional( "name", existing.name );
            readUdfDesc( members, existing.desc );
        } );
        all.push_back( existing );
    }
    return all;
}

/// The scenario that is run before, or one without steps.
Scenario scenarioFromOptions( const ExplainUdfOptions& options, const Sim::SdkNumbering& numbering )
{
    if ( options.scenario.empty() ) {
        if ( options.chip.empty() ) {
            throw CommandLineError( "explain-udf needs --chip PROFILE or --scenario FILE" );
        }
        Scenario scenario;
        scenario.profile = profileFromOption( options.chip );
        return scenario;
    }
    ScenarioReading reading{ options.scenario, {}, numbering };
    if ( !options.chip.empty() ) {
        reading.chip = options.chip;
    }
    return readScenario( reading );
}

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

void programExisting( const std::vector< Existing >& all, RunContext& context, EventSender& events )
{
    for ( const Existing& existing : all ) {
        events.send( { { "running", fmt::format( "--with: {}", existing.name ) } } );
        context.udfNames().requireFree( existing.name );
        context.forgetFailure();
        const UdfProgramming programming = programUdf( context, existing.desc );
        if ( programming.outcome != Outcome::ok ) {
            throw StepError( fmt::format( "--with: {}: {}", existing.name, programming.why ) );
        }
        context.udfNames().add( existing.name, { existing.desc, programming.ids } );
    }
}

Json explainInChild( const Scenario& scenario,
                     const std::vector< Existing >& existing,
                     const UdfDesc& desc,
                     const Sim::SdkNumbering& numbering,
                     EventSender& events )
{
    const Agent::LockAnchor activityHeld( Agent::activityLock() );
    RunContext context( scenario, numbering );
    runBefore( scenario, context, events );
    try {
        programExisting( existing, context, events );
        events.send( { { "running", "" } } );
        return explainUdf( context, desc );
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

void printText( const std::string& chip, const UdfDesc& desc, const Json& explanation )
{
    fmt::print( "{}, on chip {}\n\n", udfPlaceText( desc ), chip );
    for ( const Json& line : explanation.at( "lines" ) ) {
        fmt::print( "  {:<15}{}\n", line.at( 0 ).get< std::string >(),
                    printable( line.at( 1 ).get< std::string >() ) );
    }
}

void printJson( const std::string& chip, const Json& explanation )
{
    Json json = { { "chip", chip } };
    json.update( explanation );
    fmt::print( "{}\n", jsonDocument( json ) );
}

int exitCodeOf( const Json& explanation )
{
    const std::string outcome = explanation.at( "outcome" );
    if ( outcome == outcomeName( Outcome::ok ) ) {
        return exitAsExpected;
    }
    return outcome == outcomeName( Outcome::aborted ) ? exitLibraryEnded : exitUnexpectedOutcome;
}

} // namespace

int showUdfExplanation( const ExplainUdfOptions& options )
{
    const Sim::SdkNumbering numbering = Sim::SdkNumbering::fromText( options.numbering );
    const UdfDesc desc = descFromOptions( options );
    const std::vector< Existing > existing = existingFromOptions( options );
    const Scenario scenario = scenarioFromOptions( options, numbering );
    Json explanation;
    std::string running;
    StandardErrorWatch standardError(
        []( std::string_view text ) { fmt::print( stderr, "{}", printableLines( text ) ); } );
    const ChildEnd end = runInChild(
        [ & ]( EventSender& events ) {
            events.send( explainInChild( scenario, existing, desc, numbering, events ) );
        },
        [ & ]( const Json& event ) {
            if ( event.contains( "running" ) ) {
                running = event.at( "running" );
            } else {
                explanation = event;
            }
        },
        [ & ]( std::string_view bytes ) { standardError.take( bytes ); } );
    if ( explanation.is_null() ) {
        explanation = abortedExplanation( running, end, standardError.lastWords() );
    }
    if ( options.json ) {
        printJson( scenario.profile.name, explanation );
    } else {
        printText( scenario.profile.name, desc, explanation );
    }
    return exitCodeOf( explanation );
}

} // namespace Tool
