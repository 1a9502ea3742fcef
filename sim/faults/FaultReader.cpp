#include "sim/faults/FaultReader.h"

#include "input/NameHints.h"
#include "sim/values/ReturnCode.h"

#include <cctype>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Sim {

namespace {

using Input::YamlMembers;
using Input::YamlNode;

constexpr std::uint64_t most = std::numeric_limits< std::uint64_t >::max();
constexpr std::pair< std::string_view, bool > onlyTrue[] = { { "true", true } };

std::string textOf( const YamlNode& node )
{
    std::string text;
    node.read( text );
    return text;
}

bool looksLikeNumber( const std::string& text )
{
    return text.starts_with( '-' ) ||
           ( !text.empty() && std::isdigit( static_cast< unsigned char >( text.front() ) ) != 0 );
}

/// Reports at the node what the plan has to say against the fault.
void checkFault( const Fault& fault, const YamlNode& node )
{
    try {
        FaultPlan().add( fault );
    } catch ( const std::invalid_argument& refusal ) {
        node.fail( refusal.what() );
    }
}

FaultEffect readFailure( const YamlNode& node )
{
    const std::string text = textOf( node );
    if ( looksLikeNumber( text ) ) {
        int rc = 0;
        node.read( rc, std::numeric_limits< int >::min(), -1 );
        return FailCall{ rc };
    }
    const std::optional< int > rc = ReturnCode::fromName( text );
    if ( !rc ) {
        node.fail( "unknown return code '" + text + "'" +
                   Input::nameHint( text, ReturnCode::names() ) );
    }
    return FailCall{ *rc };
}

FaultEffect readDelay( const YamlNode& node )
{
    constexpr int longest = 60'000;
    int milliseconds = 0;
    node.read( milliseconds, 0, longest );
    return DelayCall{ std::chrono::milliseconds( milliseconds ) };
}

/// A number, or the name of an SDK enumerator; a negative number in two's complement.
std::uint64_t readOutputValue( const YamlNode& node, const SdkNumbering& numbering )
{
    const std::string text = textOf( node );
    if ( text.starts_with( '-' ) ) {
        std::int64_t value = 0;
        node.read( value );
        return static_cast< std::uint64_t >( value );
    }
    if ( looksLikeNumber( text ) ) {
        std::uint64_t value = 0;
        node.read( value, 0, most );
        return value;
    }
    const std::optional< std::uint32_t > value = numbering.valueOf( text );
    if ( !value ) {
        node.fail( "expected a number or an SDK enumerator, found '" + text + "'" +
                   Input::nameHint( text, SdkNumbering::names() ) );
    }
    return *value;
}

FaultEffect readCorruption( const YamlNode& node, const SdkNumbering& numbering )
{
    CorruptOutput corruption{};
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "field", corruption.output );
        members.required( "value", [ & ]( const YamlNode& value ) {
            corruption.value = readOutputValue( value, numbering );
        } );
    } );
    return corruption;
}

FaultEffect readFlip( const YamlNode& node )
{
    FlipBit flip{};
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "object", flip.error.object );
        members.required( "field", flip.error.field );
        members.required( "bit", flip.error.bit );
    } );
    return flip;
}

/// The effects that a fault names, and where.
struct NamedEffects
{
    std::vector< std::string > names;
    FaultEffect effect;
    const YamlNode* node = nullptr;

    /// Asks for an effect; `readEffect` makes it from its node.
    template< class ReadEffect >
    void ask( YamlMembers& members, const std::string& name, const ReadEffect& readEffect )
    {
        members.optional( name, [ & ]( const YamlNode& value ) {
            names.push_back( name );
            effect = readEffect( value );
            node = &value;
        } );
    }
};

/// Whether the trigger names a call.
bool readTrigger( YamlMembers& members, FaultTrigger& trigger )
{
    members.required( "function", [ & ]( const YamlNode& node ) {
        node.read( trigger.function );
        checkFault( { { .function = trigger.function }, DropCall{} }, node );
    } );
    const bool once = members.optional( "call", trigger.call, 1U, most );
    trigger.fromThenOn = members.optional( "from-call", trigger.call, 1U, most );
    if ( once && trigger.fromThenOn ) {
        members.mapping().fail( "expected one of 'call' and 'from-call', found both" );
    }
    return once || trigger.fromThenOn;
}

void askForEffects( YamlMembers& members, NamedEffects& effects, const SdkNumbering& numbering )
{
    effects.ask( members, "fail", readFailure );
    effects.ask( members, "throw", []( const YamlNode& node ) -> FaultEffect {
        bool thrown = false;
        node.read( thrown, onlyTrue );
        return ThrowFromCall{};
    } );
    effects.ask( members, "delay-ms", readDelay );
    effects.ask( members, "drop", []( const YamlNode& node ) -> FaultEffect {
        bool dropped = false;
        node.read( dropped, onlyTrue );
        return DropCall{};
    } );
    effects.ask( members, "corrupt",
                 [ & ]( const YamlNode& node ) { return readCorruption( node, numbering ); } );
    effects.ask( members, "flip", readFlip );
}

struct EffectText
{
    std::string operator()( const FailCall& failure ) const
    {
        return "fail with " + ReturnCode::name( failure.rc );
    }

    std::string operator()( const ThrowFromCall& ) const { return "throw"; }

    std::string operator()( const DelayCall& delayed ) const
    {
        return "wait " + std::to_string( delayed.delay.count() ) + " ms";
    }

    std::string operator()( const DropCall& ) const { return "drop"; }

    std::string operator()( const CorruptOutput& corruption ) const
    {
        return "set " + corruption.output + " to " + std::to_string( corruption.value );
    }

    std::string operator()( const FlipBit& flip ) const
    {
        return "flip bit " + std::to_string( flip.error.bit ) + " of " + flip.error.field + " of " +
               flip.error.object;
    }
};

} // namespace

Fault readFault( const YamlNode& node, const SdkNumbering& numbering )
{
    FaultTrigger trigger;
    NamedEffects effects;
    bool hasCall = false;
    node.readMembers( [ & ]( YamlMembers& members ) {
        hasCall = readTrigger( members, trigger );
        askForEffects( members, effects, numbering );
    } );
    if ( !hasCall ) {
        node.fail( "missing key 'call' or 'from-call'" );
    }
    if ( effects.names.empty() ) {
        node.fail( "expected what happens at the call: 'fail', 'throw', 'delay-ms', 'drop', "
                   "'corrupt' or 'flip'" );
    }
    if ( effects.names.size() > 1 ) {
        node.fail( "expected one thing to happen at the call, found '" + effects.names[ 0 ] +
                   "' and '" + effects.names[ 1 ] + "'" );
    }
    const Fault fault{ trigger, effects.effect };
    checkFault( fault, *effects.node );
    return fault;
}

std::string faultText( const Fault& fault )
{
    const std::string calls =
        ( fault.when.fromThenOn ? "from call " : "call " ) + std::to_string( fault.when.call );
    return calls + ( fault.when.fromThenOn ? " on: " : ": " ) +
           std::visit( EffectText{}, fault.what );
}

} // namespace Sim
