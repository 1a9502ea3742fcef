#include "tools/FaultReader.h"

#include "sim/NameHints.h"
#include "sim/ReturnCode.h"

#include <cctype>
#include <fmt/format.h>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

namespace Tool {

namespace {

using Sim::YamlMembers;
using Sim::YamlNode;

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
void checkFault( const Sim::Fault& fault, const YamlNode& node )
{
    try {
        Sim::FaultPlan().add( fault );
    } catch ( const std::invalid_argument& refusal ) {
        node.fail( refusal.what() );
    }
}

Sim::FaultEffect readFailure( const YamlNode& node )
{
    const std::string text = textOf( node );
    if ( looksLikeNumber( text ) ) {
        int rc = 0;
        node.read( rc, std::numeric_limits< int >::min(), -1 );
        return Sim::FailCall{ rc };
    }
    const std::optional< int > rc = Sim::ReturnCode::fromName( text );
    if ( !rc ) {
        node.fail( "unknown return code '" + text + "'" +
                   Sim::nameHint( text, Sim::ReturnCode::names() ) );
    }
    return Sim::FailCall{ *rc };
}

Sim::FaultEffect readDelay( const YamlNode& node )
{
    constexpr int longest = 60'000;
    int milliseconds = 0;
    node.read( milliseconds, 0, longest );
    return Sim::DelayCall{ std::chrono::milliseconds( milliseconds ) };
}

/// A number, or the name of an SDK enumerator; a negative number in two's complement.
std::uint64_t readOutputValue( const YamlNode& node, const Sim::SdkNumbering& numbering )
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
                   Sim::nameHint( text, Sim::SdkNumbering::names() ) );
    }
    return *value;
}

Sim::FaultEffect readCorruption( const YamlNode& node, const Sim::SdkNumbering& numbering )
{
    Sim::CorruptOutput corruption{};
    node.readMembers( [ & ]( YamlMembers& members ) {
        members.required( "field", corruption.output );
        members.required( "value", [ & ]( const YamlNode& value ) {
            corruption.value = readOutputValue( value, numbering );
        } );
    } );
    return corruption;
}

/// The effects that a fault names, and where.
struct NamedEffects
{
    std::vector< std::string > names;
    Sim::FaultEffect effect;
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
bool readTrigger( YamlMembers& members, Sim::FaultTrigger& trigger )
{
    members.required( "function", [ & ]( const YamlNode& node ) {
        node.read( trigger.function );
        checkFault( { { .function = trigger.function }, Sim::DropCall{} }, node );
    } );
    const bool once = members.optional( "call", trigger.call, 1U, most );
    trigger.fromThenOn = members.optional( "from-call", trigger.call, 1U, most );
    if ( once && trigger.fromThenOn ) {
        members.mapping().fail( "expected one of 'call' and 'from-call', found both" );
    }
    return once || trigger.fromThenOn;
}

void askForEffects( YamlMembers& members,
                    NamedEffects& effects,
                    const Sim::SdkNumbering& numbering )
{
    effects.ask( members, "fail", readFailure );
    effects.ask( members, "throw", []( const YamlNode& node ) -> Sim::FaultEffect {
        bool thrown = false;
        node.read( thrown, onlyTrue );
        return Sim::ThrowFromCall{};
    } );
    effects.ask( members, "delay-ms", readDelay );
    effects.ask( members, "drop", []( const YamlNode& node ) -> Sim::FaultEffect {
        bool dropped = false;
        node.read( dropped, onlyTrue );
        return Sim::DropCall{};
    } );
    effects.ask( members, "corrupt",
                 [ & ]( const YamlNode& node ) { return readCorruption( node, numbering ); } );
}

struct EffectText
{
    std::string operator()( const Sim::FailCall& failure ) const
    {
        return "fail with " + Sim::ReturnCode::name( failure.rc );
    }

    std::string operator()( const Sim::ThrowFromCall& ) const { return "throw"; }

    std::string operator()( const Sim::DelayCall& delayed ) const
    {
        return fmt::format( "wait {} ms", delayed.delay.count() );
    }

    std::string operator()( const Sim::DropCall& ) const { return "drop"; }

    std::string operator()( const Sim::CorruptOutput& corruption ) const
    {
        return fmt::format( "set {} to {}", corruption.output, corruption.value );
    }
};

} // namespace

Sim::Fault readFault( const YamlNode& node, const ReadContext& context )
{
    Sim::FaultTrigger trigger;
    NamedEffects effects;
    bool hasCall = false;
    node.readMembers( [ & ]( YamlMembers& members ) {
        hasCall = readTrigger( members, trigger );
        askForEffects( members, effects, context.numbering() );
    } );
    if ( !hasCall ) {
        node.fail( "missing key 'call' or 'from-call'" );
    }
    if ( effects.names.empty() ) {
        node.fail( "expected what happens at the call: 'fail', 'throw', 'delay-ms', 'drop' or "
                   "'corrupt'" );
    }
    if ( effects.names.size() > 1 ) {
        node.fail( "expected one thing to happen at the call, found '" + effects.names[ 0 ] +
                   "' and '" + effects.names[ 1 ] + "'" );
    }
    const Sim::Fault fault{ trigger, effects.effect };
    checkFault( fault, *effects.node );
    return fault;
}

std::string faultText( const Sim::Fault& fault )
{
    return fmt::format( "{}call {}{}: {}", fault.when.fromThenOn ? "from " : "", fault.when.call,
                        fault.when.fromThenOn ? " on" : "",
                        std::visit( EffectText{}, fault.what ) );
}

} // namespace Tool
