#include "tools/scenario/Scenario.h"

#include "input/NameHints.h"
#include "sim/faults/FaultReader.h"
#include "tools/scenario/ChipProfiles.h"
#include "tools/scenario/ReadContext.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <utility>

namespace Tool {

namespace {

using Input::YamlMembers;
using Input::YamlNode;

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

using StepKinds = std::span< const StepKind >;

Sim::ChipProfile profileFromScenario( const YamlNode& node, const ReadContext& context )
{
    std::string chip;
    node.read( chip );
    if ( isBuiltInProfile( chip ) ) {
        return Sim::builtInProfile( chip );
    }
    const std::string path = context.resolved( chip );
    std::error_code unreadable;
    if ( !std::filesystem::exists( path, unreadable ) ) {
        node.fail( unknownProfileText( chip ) );
    }
    return Sim::loadChipProfile( path );
}

/// The names of all step kinds, for a message.
std::string everyStepKind( StepKinds kinds )
{
    std::vector< std::string > names;
    for ( const StepKind& kind : kinds ) {
        names.emplace_back( kind.name );
    }
    return Input::quotedNames( names );
}

ScenarioStep readStep( const YamlNode& node, const ReadContext& context, StepKinds kinds )
{
    ScenarioStep step;
    node.readMembers( [ & ]( YamlMembers& members ) {
        for ( const StepKind& kind : kinds ) {
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
        node.fail( "expected a step: " + everyStepKind( kinds ) );
    }
    return step;
}

/// The scenario's chip, unless the reader asks for another one.
Sim::ChipProfile
readChip( YamlMembers& members, const ScenarioReading& reading, const ReadContext& context )
{
    if ( reading.profile ) {
        std::optional< std::string > overridden;
        members.optional( "chip", overridden );
        return *reading.profile;
    }
    Sim::ChipProfile profile;
    members.required(
        "chip", [ & ]( const YamlNode& node ) { profile = profileFromScenario( node, context ); } );
    return profile;
}

std::vector< ScenarioStep >
readSteps( const YamlNode& node, const ReadContext& context, StepKinds kinds )
{
    std::vector< ScenarioStep > steps;
    node.readItems(
        [ & ]( const YamlNode& step ) { steps.push_back( readStep( step, context, kinds ) ); } );
    if ( steps.empty() ) {
        node.fail( "expected at least one step" );
    }
    return steps;
}

} // namespace

Scenario readScenario( const ScenarioReading& reading, StepKinds kinds )
{
    Scenario scenario;
    scenario.file = reading.file;
    const ReadContext context( reading.file, reading.numbering );
    const Input::YamlDocument document = Input::YamlDocument::fromFile( reading.file );
    document.root().readMembers( [ & ]( YamlMembers& members ) {
        scenario.profile = readChip( members, reading, context );
        members.optional( "unit", scenario.unit, 0, std::numeric_limits< int >::max() );
        members.optional( "pipe", scenario.pipe );
        members.optional( "udf-helper", scenario.udfHelper, udfHelperOrigins );
        members.optional( "faults", [ & ]( const YamlNode& faults ) {
            faults.readItems( [ & ]( const YamlNode& fault ) {
                scenario.faults.add( Sim::readFault( fault, context.numbering() ) );
            } );
        } );
        members.required( "steps", [ & ]( const YamlNode& steps ) {
            scenario.steps = readSteps( steps, context, kinds );
        } );
    } );
    return scenario;
}

} // namespace Tool
