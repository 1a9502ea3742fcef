// create-entry: { name: web, group: acl, src: 192.0.2.0/24, protocol: tcp, dst-port: 80 }
// create-entry: { name: open, group: acl, match: { tcpFlags: { data: 0x02, mask: 0x12 } } }
// destroy-entry: { name: web }

#include "agent/base/TextPieces.h"
#include "tools/run/EntryNames.h"
#include "tools/run/RunContext.h"
#include "tools/scenario/EnumeratorReader.h"
#include "tools/scenario/PacketNames.h"
#include "tools/scenario/PrefixReader.h"
#include "tools/steps/EntryMatch.h"
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
using PeloraTcam::QualifierType;
using PeloraTcam::TcamEntryId;
using Reference::EntryDesc;
using Reference::Masked;

/// An entry as the scenario says it: with names, which stand for something when the step is run.
struct WantedEntry
{
    std::string name;
    std::string group;
    std::optional< std::string > policer;
    EntryMatch match;
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
        addMatch( wanted_.match, context, wanted_.group, desc.qualifiers );
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

/// Prefixes are of either version of IP, each of which has a qualifier of its own.
void readAddress( std::string_view key,
                  const YamlNode& node,
                  std::optional< Reference::IpPrefix >& address,
                  AskedQualifiers& asked )
{
    address = readPrefix( node );
    const bool isV6 = address->address.isV6();
    const bool isSource = key == "src";
    asked.add( std::string( key ),
               isV6 ? ( isSource ? QualifierType::srcIp6 : QualifierType::dstIp6 )
                    : ( isSource ? QualifierType::srcIp : QualifierType::dstIp ),
               node );
}

void readQualifiers( Input::YamlMembers& members,
                     Reference::EntryQualifiers& qualifiers,
                     AskedQualifiers& asked )
{
    constexpr Agent::U16 ipv4 = 0x0800;
    constexpr Agent::U16 ipv6 = 0x86DD;
    members.optional( "src", [ & ]( const YamlNode& node ) {
        readAddress( "src", node, qualifiers.source, asked );
    } );
    members.optional( "dst", [ & ]( const YamlNode& node ) {
        readAddress( "dst", node, qualifiers.destination, asked );
    } );
    members.optional( "ethertype", [ & ]( const YamlNode& node ) {
        const Agent::U16 etherType = readEtherType( node );
        qualifiers.etherType = Masked< Agent::U16 >{ etherType, 0xFFFF };
        asked.add( "ethertype", QualifierType::etherType, node );
        if ( etherType == ipv4 || etherType == ipv6 ) {
            asked.requireIp( "ethertype", etherType == ipv6, false, node );
        }
    } );
    members.optional( "protocol", [ & ]( const YamlNode& node ) {
        const Agent::U8 protocol = readIpProtocol( node );
        if ( protocol != 0 ) {
            qualifiers.protocol = Masked< Agent::U8 >{ protocol, 0xFF };
            asked.add( "protocol", QualifierType::ipProtocol, node );
        }
    } );
    members.optional( "src-port", [ & ]( const YamlNode& node ) {
        readPort( qualifiers.sourcePort, node );
        asked.add( "src-port", QualifierType::l4SrcPort, node );
    } );
    members.optional( "dst-port", [ & ]( const YamlNode& node ) {
        readPort( qualifiers.destinationPort, node );
        asked.add( "dst-port", QualifierType::l4DstPort, node );
    } );
}

} // namespace

std::unique_ptr< const Step > readCreateEntry( const YamlNode& node, const ReadContext& context )
{
    WantedEntry wanted;
    AskedQualifiers asked;
    wanted.desc.actions = { { ActionType::drop } };
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "name", wanted.name );
        members.required( "group", wanted.group );
        members.optional( "priority", wanted.desc.priority, 0, std::numeric_limits< int >::max() );
        readQualifiers( members, wanted.desc.qualifiers, asked );
        members.optional( "match", [ & ]( const YamlNode& match ) {
            wanted.match = readEntryMatch( match, context, asked );
        } );
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
