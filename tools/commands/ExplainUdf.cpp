#include "tools/commands/ExplainUdf.h"

#include "input/InputError.h"
#include "tools/commands/CommandLineError.h"
#include "tools/commands/ExitCodes.h"
#include "tools/commands/Options.h"
#include "tools/report/UdfReport.h"
#include "tools/scenario/UdfDescReader.h"
#include "tools/steps/StepKinds.h"
#include "tools/text/PrintableText.h"
#include "tools/udf/UdfQuestion.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>

namespace Tool {

namespace {

using PeloraTcam::UdfDesc;

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
        const Input::YamlDocument document = Input::YamlDocument::fromText( "options", text );
        document.root().readMembers(
            [ & ]( Input::YamlMembers& members ) { readUdfDesc( members, desc ); } );
    } catch ( const Input::InputError& error ) {
        // The end of the text stands in a line of its own, behind that of the last option.
        const std::size_t line =
            std::min( static_cast< std::size_t >( error.line() ), options.keys.size() );
        throw CommandLineError( "--" + options.keys.at( line - 1 ).first + ": " + error.message() );
    }
    return desc;
}

std::vector< ExistingUdf > existingFromOptions( const ExplainUdfOptions& options )
{
    std::vector< ExistingUdf > all;
    for ( const std::string& text : options.with ) {
        ExistingUdf existing{ fmt::format( "field {}", all.size() + 1 ), {} };
        const Input::YamlDocument document = Input::YamlDocument::fromText( "--with", text );
        document.root().readMembers( [ & ]( Input::YamlMembers& members ) {
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
        reading.profile = profileFromOption( options.chip );
    }
    return readScenario( reading, stepKinds() );
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
    UdfQuestion question;
    question.numbering = numberingFromOption( options.numbering );
    question.desc = descFromOptions( options );
    question.existing = existingFromOptions( options );
    question.existingLabel = "--with";
    question.scenario = scenarioFromOptions( options, question.numbering );
    const Json explanation = answerTo( question, []( std::string_view text ) {
        fmt::print( stderr, "{}", printableLines( text ) );
    } );
    const std::string& chip = question.scenario.profile.name;
    if ( options.json ) {
        printUdfExplanationJson( chip, explanation );
    } else {
        printUdfExplanation( chip, question.desc, explanation );
    }
    return exitCodeOf( explanation );
}

} // namespace Tool
