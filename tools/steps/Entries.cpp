// create-entry: { name: web, group: acl, src: 192.0.2.0/24, protocol: tcp, dst-port: 80 }
// destroy-entry: { name: web }

#include "agent/base/TextPieces.h"
#include "tools/run/EntryNames.h"
#include "tools/run/RunContext.h"
#include "tools/scenario/EnumeratorReader.h"
#include "tools/scenario/PacketNames.h"
#include "tools/scenario/PrefixReader.h"
#include "tools/steps/Refused.h"
#include "tools/steps/StepKinds.h"
#include "tools/translation/TranslatedNames.h"

#include <fmt/format.h>
#include <limits>
#include <utility>
#include <vector>

namespace Tool {

namespace {

using Input::YamlNode;
using PeloraTcam::ActionType;
using PeloraTcam::TcamEntryId;
using Reference::EntryDesc;
using Reference::Masked;

/// An entry as the scenario says it: with names, which stand for something when the step is run.
struct WantedEntry
{
    std::string name;
    std::string group;
    std::optional< std::string > policer;
    EntryDesc desc;
};

class CreateEntry : public Step
{
  public:
    explicit CreateEntry( WantedEntry wanted )
        : wanted_( std::move( wanted ) )
    {}

    [[nodiscard]] std::string name() const override { return wanted_.name; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        context.entryNames().requireFree( wanted_.name );
        EntryDesc desc = wanted_.desc;
        desc.group = context.groupNames().at( wanted_.group ).id;
        if ( wanted_.policer ) {
            desc.policer = context.policerNames().at( *wanted_.policer );
        }
        Reference::EntryManager& entries = context.tcam().entries();
        const std::optional< TcamEntryId > entry = entries.create( desc );
        if ( !entry ) {
            return refused( context.firstFailure() );
        }
        if ( !installed( entries, *entry ) ) {
            return refused( context.firstFailure() );
        }
        context.entryNames().add( wanted_.name, { *entry, wanted_.group } );
        return created( *entry );
    }

  private:
    /// An entry that does not come into the hardware, by a refusal or an exception, is none.
    static bool installed( Reference::EntryManager& entries, TcamEntryId entry )
    {
        bool done = false;
        try {
            done = entries.install( entry );
        } catch ( ... ) {
            entries.destroy( entry );
            throw;
        }
        if ( !done ) {
            entries.destroy( entry );
        }
        return done;
    }

    [[nodiscard]] StepResult created( TcamEntryId entry ) const
    {
        std::vector< std::string > actions;
        for ( const Reference::EntryAction& action : wanted_.desc.actions ) {
            actions.push_back( Agent::joinPieces( action.type ) );
        }
        return { Outcome::ok,
                 fmt::format( "id {}, in group {}, priority {}{}", entry, wanted_.group,
                              wanted_.desc.priority,
                              wanted_.policer ? ", policer " + *wanted_.policer : "" ),
                 { { "id", entry },
                   { "group", wanted_.group },
                   { "priority", wanted_.desc.priority },
                   { "actions", actions } } };
    }

    WantedEntry wanted_;
};

class DestroyEntry : public Step
{
  public:
    explicit DestroyEntry( std::string name )
        : name_( std::move( name ) )
    {}

    [[nodiscard]] std::string name() const override { return name_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        const TcamEntryId entry = ownEntryNamed( context, name_, "place" ).id;
        if ( context.tcam().hasCounters( entry ) ) {
            throw StepError( fmt::format( "the entry '{}' has counters", name_ ) );
        }
        context.tcam().entries().destroy( entry );
        context.entryNames().remove( name_ );
        return {
            Outcome::ok, fmt::format( "id {}, back to the chip", entry ), { { "id", entry } } };
    }

  private:
    std::string name_;
};

void readPort( std::optional< Masked< Agent::U16 > >& port, const YamlNode& node )
{
    Agent::U16 number = 0;
    node.read( number );
    port = Masked< Agent::U16 >{ number, 0xFFFF };
}

/// What version of IP an entry is for, and which key says so first.
struct IpVersion
{
    std::string key;
    bool isV6 = false;
};

/// A packet is of one version: fails at a key that says another one than an earlier key.
void requireSameVersion( std::optional< IpVersion >& earlier,
                         const IpVersion& version,
                         const YamlNode& node )
{
    const auto nameOf = []( const IpVersion& which ) { return which.isV6 ? "IPv6" : "IPv4"; };
    if ( earlier && earlier->isV6 != version.isV6 ) {
        node.fail( fmt::format( "expected {} as in '{}', found {}", nameOf( *earlier ),
                                earlier->key, nameOf( version ) ) );
    }
    earlier = version;
}

void readQualifiers( Input::YamlMembers& members, Reference::EntryQualifiers& qualifiers )
{
    constexpr Agent::U16 ipv4 = 0x0800;
    constexpr Agent::U16 ipv6 = 0x86DD;
    std::optional< IpVersion > version;
    members.optional( "src", [ & ]( const YamlNode& node ) {
        qualifiers.source = readPrefix( node );
        requireSameVersion( version, { "src", qualifiers.source->address.isV6() }, node );
    } );
    members.optional( "dst", [ & ]( const YamlNode& node ) {
        qualifiers.destination = readPrefix( node );
        requireSameVersion( version, { "dst", qualifiers.destination->address.isV6() }, node );
    } );
    members.optional( "ethertype", [ & ]( const YamlNode& node ) {
        const Agent::U16 etherType = readEtherType( node );
        qualifiers.etherType = Masked< Agent::U16 >{ etherType, 0xFFFF };
        if ( etherType == ipv4 || etherType == ipv6 ) {
            requireSameVersion( version, { "ethertype", etherType == ipv6 }, node );
        }
    } );
    members.optional( "protocol", [ & ]( const YamlNode& node ) {
        const Agent::U8 protocol = readIpProtocol( node );
        if ( protocol != 0 ) {
            qualifiers.protocol = Masked< Agent::U8 >{ protocol, 0xFF };
        }
    } );
    members.optional( "src-port",
                      [ & ]( const YamlNode& node ) { readPort( qualifiers.sourcePort, node ); } );
    members.optional( "dst-port", [ & ]( const YamlNode& node ) {
        readPort( qualifiers.destinationPort, node );
    } );
}

} // namespace

std::unique_ptr< const Step > readCreateEntry( const YamlNode& node, const ReadContext& )
{
    WantedEntry wanted;
    wanted.desc.actions = { { ActionType::drop } };
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "name", wanted.name );
        members.required( "group", wanted.group );
        members.optional( "priority", wanted.desc.priority, 0, std::numeric_limits< int >::max() );
        readQualifiers( members, wanted.desc.qualifiers );
        members.optional( "policer", wanted.policer );
        members.optional( "actions", [ & ]( const YamlNode& list ) {
            std::vector< Reference::EntryAction > actions;
            list.readItems( [ & ]( const YamlNode& item ) {
                actions.push_back( { readEnumerator< ActionType >(
                    item, []( ActionType action ) { return isTranslated( action ); } ) } );
            } );
            wanted.desc.actions = Reference::EntryActions( std::move( actions ) );
        } );
    } );
    return std::make_unique< CreateEntry >( wanted );
}

std::unique_ptr< const Step > readDestroyEntry( const YamlNode& node, const ReadContext& )
{
    std::string name;
    node.readMembers( [ & ]( Input::YamlMembers& members ) { members.required( "name", name ); } );
    return std::make_unique< DestroyEntry >( name );
}

} // namespace Tool
