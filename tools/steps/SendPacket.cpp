// send-packet: { packet: "tcp 10.0.0.1:1024 > 192.0.2.1:80", port: 3, expect: { rule: 17 } }

#include "input/NameHints.h"
#include "sim/packets/PacketDescription.h"
#include "tools/lookup/Answer.h"
#include "tools/run/RunContext.h"
#include "tools/scenario/EnumeratorReader.h"
#include "tools/steps/Expectations.h"
#include "tools/steps/StepKinds.h"
#include "tools/translation/TranslatedNames.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <limits>
#include <utility>

namespace Tool {

namespace {

using Input::YamlNode;
using PeloraTcam::ActionType;
using PeloraTcam::QualifierType;
using Sim::GroupVerdict;

constexpr const char* none = "none";

/// What is to become of a packet.
struct Expected
{
    std::optional< std::string > rule; ///< its line, or "none"
    std::optional< std::string > entry;
    std::optional< std::string > group; ///< which rule and entry are of
    std::optional< bool > dropped;
    std::optional< bool > copied;
    std::optional< bool > redirected;
    std::optional< std::string > colour;
    std::optional< std::vector< std::string > > actions; ///< sorted
};

std::string joined( std::vector< std::string > names )
{
    std::ranges::sort( names );
    return names.empty() ? none : fmt::format( "{}", fmt::join( names, ", " ) );
}

// ---- Running -----------------------------------------------------------------------------------

class SendPacket : public Step
{
  public:
    SendPacket( std::string description,
                Sim::Packet packet,
                std::optional< std::uint64_t > at,
                Expected expected )
        : description_( std::move( description ) )
        , packet_( std::move( packet ) )
        , at_( at )
        , expected_( std::move( expected ) )
    {}

    [[nodiscard]] std::string name() const override { return description_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const EntryOrigins origins( context );
        requireNames( context );
        context.packetTimeIs( at_.value_or( context.packetTime() ) );
        Sim::Packet packet = packet_;
        packet.timestamp = context.packetTime();
        const Sim::PacketVerdict verdict = context.packets().send( packet );
        Json produced = { { "at", packet.timestamp } };
        produced.update( verdictJson( verdict, context, origins ) );
        produced[ "hits" ] = hitsJson( verdict, context, origins );
        return compare( verdict, context, origins ).result( textOf( produced ), produced );
    }

  private:
    /// Names that stand for nothing are a mistake, whatever the packet meets.
    void requireNames( RunContext& context ) const
    {
        if ( expected_.entry && *expected_.entry != none ) {
            static_cast< void >( entryNamed( context, *expected_.entry ) );
        }
        if ( expected_.group &&
             !context.tcam().ruleSetNames().all().contains( *expected_.group ) ) {
            static_cast< void >( context.groupNames().at( *expected_.group ) );
        }
    }

    static Json
    hitsJson( const Sim::PacketVerdict& verdict, RunContext& context, const EntryOrigins& origins )
    {
        Json hits = Json::array();
        for ( const GroupVerdict& hit : verdict.groups ) {
            if ( hit.entry ) {
                hits.push_back( entryJson( hit.group, *hit.entry, context, origins ) );
            }
        }
        return hits;
    }

    /// The hit that rule and entry are compared with; null if there is none.
    [[nodiscard]] const GroupVerdict* hitMeant( const std::vector< GroupVerdict >& hits,
                                                const EntryOrigins& origins ) const
    {
        if ( !expected_.group ) {
            return winnerOf( hits, origins );
        }
        const auto found = std::ranges::find_if( hits, [ & ]( const GroupVerdict& hit ) {
            return hit.entry && origins.groupName( hit.group ) == *expected_.group;
        } );
        return found == hits.end() ? nullptr : &*found;
    }

    [[nodiscard]] Expectations compare( const Sim::PacketVerdict& verdict,
                                        RunContext& context,
                                        const EntryOrigins& origins ) const
    {
        Expectations expectations;
        compareHit( expectations, hitMeant( verdict.groups, origins ), context, origins );
        expectations.compare( "dropped", expected_.dropped, verdict.fate.dropped );
        expectations.compare( "copied", expected_.copied, verdict.fate.copiedToCpu );
        expectations.compare( "redirected", expected_.redirected, verdict.fate.redirected );
        expectations.compare( "colour", expected_.colour, colourName( verdict.color ) );
        if ( expected_.actions ) {
            expectations.compare( "actions", joined( *expected_.actions ),
                                  joined( doneActions( verdict.fate ) ) );
        }
        return expectations;
    }

    void compareHit( Expectations& expectations,
                     const GroupVerdict* hit,
                     RunContext& context,
                     const EntryOrigins& origins ) const
    {
        const int line = hit == nullptr ? 0 : origins.lineOf( *hit->entry );
        expectations.compare( "rule", expected_.rule, line == 0 ? none : std::to_string( line ) );
        const std::string name = hit == nullptr ? none : origins.of( hit->group, *hit->entry ).name;
        if ( expected_.entry ) {
            // One entry can have two names: that of a rule, and its own.
            const bool isSame = *expected_.entry != none && hit != nullptr &&
                                entryNamed( context, *expected_.entry ) ==
                                    static_cast< PeloraTcam::TcamEntryId >( *hit->entry );
            expectations.compare( "entry", *expected_.entry, isSame ? *expected_.entry : name );
        }
        if ( expected_.group && !expected_.rule && !expected_.entry ) {
            expectations.compare( "group", "a hit in " + *expected_.group,
                                  ( hit == nullptr ? "no hit in " : "a hit in " ) +
                                      *expected_.group );
        }
    }

    /// "firewall/17 in group firewall: drop; dropped, green"
    static std::string textOf( const Json& produced )
    {
        const Json& winner = produced.at( "winner" );
        std::string text =
            winner.is_null()
                ? "nothing matches"
                : fmt::format( "{} in group {}", winner.at( "entry" ).get< std::string >(),
                               winner.at( "group" ).get< std::string >() );
        const auto actions = produced.at( "actions" ).get< std::vector< std::string > >();
        text += actions.empty() ? ";" : fmt::format( ": {};", joined( actions ) );
        for ( const char* what : { "dropped", "copied", "redirected" } ) {
            text += produced.at( what ).get< bool >() ? fmt::format( " {},", what ) : "";
        }
        return text + " " + produced.at( "colour" ).get< std::string >();
    }

    std::string description_;
    Sim::Packet packet_;
    std::optional< std::uint64_t > at_; // Nanoseconds.
    Expected expected_;
};

// ---- Reading -----------------------------------------------------------------------------------

Sim::Packet readDescription( const YamlNode& node, std::string& description )
{
    node.read( description );
    const int quote = node.kind() == YamlNode::Kind::quotedScalar ? 1 : 0;
    return Sim::packetFromDescription(
        description,
        { .file = node.file(), .line = node.line(), .column = node.column() + quote } );
}

/// "10ms": a whole number with a unit, in nanoseconds.
std::uint64_t readTime( const YamlNode& node )
{
    // clang-format off
    static constexpr std::pair< std::string_view, std::uint64_t > units[] = {
        { "ns", 1 }, { "us", 1'000 }, { "ms", 1'000'000 }, { "s", 1'000'000'000 } };
    // clang-format on
    std::string text;
    node.read( text );
    std::uint64_t number = 0;
    const auto result = std::from_chars( text.data(), text.data() + text.size(), number );
    const std::string unit( static_cast< const char* >( result.ptr ) );
    for ( const auto& [ name, nanoseconds ] : units ) {
        if ( result.ec == std::errc() && unit == name &&
             number <= std::numeric_limits< std::uint64_t >::max() / nanoseconds ) {
            return number * nanoseconds;
        }
    }
    node.fail( "expected a time: a whole number with ns, us, ms or s behind it, such as 10ms, "
               "found '" +
               text + "'" );
}

/// The SDK's qualifier that an agent's name stands for.
bcm_field_qualify_t readQualifier( const YamlNode& node, const Sim::SdkNumbering& numbering )
{
    const auto qualifier = readEnumeratorName< QualifierType >(
        node, []( QualifierType type ) { return isTranslated( type ); } );
    return static_cast< bcm_field_qualify_t >(
        numbering.valueOf( sdkNameOf( qualifier ) ).value() );
}

void readRule( const YamlNode& node, Expected& expected )
{
    node.read( expected.rule );
    if ( *expected.rule != none ) {
        int line = 0;
        node.read( line, 1, std::numeric_limits< int >::max() );
        expected.rule = std::to_string( line );
    }
}

/// An action by the name that the agent has for it when it asks the chip.
std::string readAction( const YamlNode& node )
{
    const auto action = readEnumeratorName< ActionType >(
        node, []( ActionType type ) { return isTranslated( type ); } );
    return std::string( agentActionName( sdkNameOf( action ) ) );
}

void readExpected( const YamlNode& node, Expected& expected )
{
    static constexpr std::pair< std::string_view, std::string_view > colours[] = {
        { "green", "green" }, { "yellow", "yellow" }, { "red", "red" } };
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.optional( "rule", [ & ]( const YamlNode& rule ) { readRule( rule, expected ); } );
        members.optional( "entry", expected.entry );
        members.optional( "group", expected.group );
        members.optional( "dropped", expected.dropped );
        members.optional( "copied", expected.copied );
        members.optional( "redirected", expected.redirected );
        members.optional( "colour", [ & ]( const YamlNode& colour ) {
            std::string_view name;
            colour.read( name, colours );
            expected.colour = name;
        } );
        members.optional( "actions", [ & ]( const YamlNode& list ) {
            expected.actions.emplace();
            list.readItems( [ & ]( const YamlNode& item ) {
                expected.actions->push_back( readAction( item ) );
            } );
        } );
    } );
}

} // namespace

std::unique_ptr< const Step > readSendPacket( const YamlNode& node, const ReadContext& context )
{
    std::string description;
    Sim::Packet packet;
    std::uint32_t port = 0;
    std::optional< std::uint64_t > at;
    Expected expected;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "packet", [ & ]( const YamlNode& text ) {
            packet = readDescription( text, description );
        } );
        members.optional( "port", port );
        members.optional( "at", [ & ]( const YamlNode& time ) { at = readTime( time ); } );
        members.optional( "given", [ & ]( const YamlNode& given ) {
            given.readPairs( [ & ]( const YamlNode& key, const YamlNode& value ) {
                value.read( packet.given[ readQualifier( key, context.numbering() ) ] );
            } );
        } );
        members.optional( "expect",
                          [ & ]( const YamlNode& expect ) { readExpected( expect, expected ); } );
    } );
    packet.port = port;
    return std::make_unique< SendPacket >( description, packet, at, expected );
}

} // namespace Tool
