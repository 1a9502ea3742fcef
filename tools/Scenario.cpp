#include "tools/Scenario.h"

#include "sim/NameHints.h"
#include "tools/ExitCodes.h"
#include "tools/FaultReader.h"
#include "tools/ReadContext.h"
#include "tools/steps/StepKinds.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <utility>

namespace Tool {

namespace {

using Sim::YamlMembers;
using Sim::YamlNode;

constexpr std::pair< std::string_view, Outcome > outcomes[] = {
    { outcomeName( Outcome::ok ), Outcome::ok },
    { outcomeName( Outcome::full ), Outcome::full },
    { outcomeName( Outcome::error ), Outcome::error },
    { outcomeName( Outcome::aborted ), Outcome::aborted },
};

constexpr std::pair< std::string_view, UdfHelperOrigin > udfHelperOrigins[] = {
    { "registry", UdfHelperOrigin::registry },
    { "factory", UdfHelperOrigin::factory },
    { "creator", UdfHelperOrigin::creator },
};

bool isBuiltIn( const std::string& profile )
{
    return std::ranges::count( Sim::builtInProfileNames(), profile ) > 0;
}

/// "'hdsk' is neither a built-in chip profile nor a file, did you mean 'hsdk'?"
std::string unknownProfile( const std::string& profile )
{
    return "'" + profile + "' is neither a built-in chip profile nor a file" +
           Sim::nameHint( profile, Sim::builtInProfileNames() );
}

Sim::ChipProfile profileFromScenario( const YamlNode& node, const ReadContext& context )
{
    std::string chip;
    node.read( chip );
    if ( isBuiltIn( chip ) ) {
        return Sim::builtInProfile( chip );
    }
    const std::string path = context.resolved( chip );
    std::error_code unreadable;
    if ( !std::filesystem::exists( path, unreadable ) ) {
        node.fail( unknownProfile( chip ) );
    }
    return Sim::loadChipProfile( path );
}

/// The names of all step kinds, for a message.
std::string everyStepKind()
{
    std::vector< std::string > names;
    for ( const StepKind& kind : stepKinds() ) {
        names.emplace_back( kind.name );
    }
    return Sim::quotedNames( names );
}

ScenarioStep readStep( const YamlNode& node, const ReadContext& context )
{
    ScenarioStep step;
    node.readMembers( [ & ]( YamlMembers& members ) {
        for ( const StepKind& kind : stepKinds() ) {
            members.optional( kind.name, [ & ]( const YamlNode& value ) {
                if ( step.step ) {
                    value.fail( "expected one step, found '" + step.kind + "' and '" +
                                std::string( kind.name ) + "'" );
                }
                step.kind = kind.name;
                step.step = kind.read( value, context );
            } );
        }
        members.optional( "expect", step.expected, outcomes );
    } );
    if ( !step.step ) {
        node.fail( "expected a step: " + everyStepKind() );
    }
    return step;
}

/// The scenario's chip, unless the reader asks for another one.
Sim::ChipProfile
readChip( YamlMembers& members, const ScenarioReading& reading, const ReadContext& context )
{
    if ( reading.chip ) {
        std::optional< std::string > overridden;
        members.optional( "chip", overridden );
        return profileFromOption( *reading.chip );
    }
    Sim::ChipProfile profile;
    members.required(
        "chip", [ & ]( const YamlNode& node ) { profile = profileFromScenario( node, context ); } );
    return profile;
}

std::vector< ScenarioStep > readSteps( const YamlNode& node, const ReadContext& context )
{
    std::vector< ScenarioStep > steps;
    node.readItems(
        [ & ]( const YamlNode& step ) { steps.push_back( readStep( step, context ) ); } );
    if ( steps.empty() ) {
        node.fail( "expected at least one step" );
    }
    return steps;
}

} // namespace

Sim::ChipProfile profileFromOption( const std::string& chip )
{
    std::error_code unreadable;
    if ( !isBuiltIn( chip ) && !std::filesystem::exists( chip, unreadable ) ) {
        throw CommandLineError( "--chip: " + unknownProfile( chip ) );
    }
    return Sim::loadChipProfile( chip );
}

Scenario readScenario( const ScenarioReading& reading )
{
    Scenario scenario;
    scenario.file = reading.file;
    const ReadContext context( reading.file, reading.numbering );
    const Sim::YamlDocument document = Sim::YamlDocument::fromFile( reading.file );
    document.root().readMembers( [ & ]( YamlMembers& members ) {
        scenario.profile = readChip( members, reading, context );
        members.optional( "unit", scenario.unit, 0, std::numeric_limits< int >::max() );
        members.optional( "pipe", scenario.pipe );
        members.optional( "udf-helper", scenario.udfHelper, udfHelperOrigins );
        members.optional( "faults", [ & ]( const YamlNode& faults ) {
            faults.readItems( [ & ]( const YamlNode& fault ) {
                scenario.faults.add( readFault( fault, context ) );
            } );
        } );
        members.required( "steps", [ & ]( const YamlNode& steps ) {
            scenario.steps = readSteps( steps, context );
        } );
    } );
    return scenario;
}

} // namespace Tool
