// send-capture: { file: office.pcap, expect: { hits: { web: 12 }, dropped: 3 } }

#include "tools/lookup/Answer.h"
#include "tools/lookup/PacketSource.h"
#include "tools/run/RunContext.h"
#include "tools/steps/Expectations.h"
#include "tools/steps/StepKinds.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <map>
#include <utility>

namespace Tool {

namespace {

using Input::YamlNode;

/// How many packets are expected, by the member that says it.
using Counts = std::map< std::string, std::uint64_t >;

constexpr const char* fates[] = { "dropped", "copied", "redirected", "unmatched",
                                  "green",   "yellow", "red" };

/// The packets that an entry was hit by.
struct EntryHits
{
    bcm_field_group_t group = 0;
    std::uint64_t packets = 0;
    std::uint64_t bytes = 0;
};

/// What became of all packets.
struct Totals
{
    Counts fates;
    std::map< bcm_field_entry_t, EntryHits > hits;
};

void add( Totals& totals, const Sim::PacketVerdict& verdict, std::uint32_t bytes )
{
    bool isMatched = false;
    for ( const Sim::GroupVerdict& hit : verdict.groups ) {
        if ( hit.entry ) {
            EntryHits& hits = totals.hits[ *hit.entry ];
            hits.group = hit.group;
            ++hits.packets;
            hits.bytes += bytes;
            isMatched = true;
        }
    }
    totals.fates[ "dropped" ] += verdict.fate.dropped ? 1 : 0;
    totals.fates[ "copied" ] += verdict.fate.copiedToCpu ? 1 : 0;
    totals.fates[ "redirected" ] += verdict.fate.redirected ? 1 : 0;
    totals.fates[ "unmatched" ] += isMatched ? 0 : 1;
    ++totals.fates[ colourName( verdict.color ) ];
}

class SendCapture : public Step
{
  public:
    SendCapture( std::string file,
                 std::vector< Sim::Packet > packets,
                 Counts expectedFates,
                 Counts expectedHits )
        : file_( std::move( file ) )
        , packets_( std::move( packets ) )
        , expectedFates_( std::move( expectedFates ) )
        , expectedHits_( std::move( expectedHits ) )
    {}

    [[nodiscard]] std::string name() const override { return file_; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        for ( const auto& [ name, count ] : expectedHits_ ) {
            static_cast< void >( hitsOf( name, context, {} ) );
        }
        const Totals totals = send( context );
        Expectations expectations;
        for ( const auto& [ fate, count ] : expectedFates_ ) {
            expectations.compare( fate, std::optional( count ), totals.fates.at( fate ) );
        }
        for ( const auto& [ name, count ] : expectedHits_ ) {
            expectations.compare( "hits of " + name, std::optional( count ),
                                  hitsOf( name, context, totals ) );
        }
        return expectations.result( textOf( totals ), producedOf( totals, context ) );
    }

  private:
    [[nodiscard]] Totals send( RunContext& context ) const
    {
        Totals totals;
        for ( const char* fate : fates ) {
            totals.fates[ fate ] = 0;
        }
        const std::uint64_t start = context.packetTime();
        std::size_t done = 0;
        for ( const Sim::Packet& captured : packets_ ) {
            Sim::Packet packet = captured;
            packet.timestamp += start;
            context.packetTimeIs( std::max( context.packetTime(), packet.timestamp ) );
            add( totals, context.packets().send( packet ), packet.wireLength );
            context.progressed( ++done, packets_.size() );
        }
        return totals;
    }

    /// How often what a name stands for was hit: an entry, or all entries of a rule set. Throws a
    /// `StepError` if it stands for nothing.
    static std::uint64_t
    hitsOf( const std::string& name, RunContext& context, const Totals& totals )
    {
        const auto& ruleSets = context.tcam().ruleSetNames().all();
        if ( context.entryNames().all().contains( name ) || !ruleSets.contains( name ) ) {
            const auto entry = static_cast< bcm_field_entry_t >( entryNamed( context, name ) );
            const auto found = totals.hits.find( entry );
            return found == totals.hits.end() ? 0 : found->second.packets;
        }
        const EntryOrigins origins( context );
        std::uint64_t sum = 0;
        for ( const auto& [ entry, hits ] : totals.hits ) {
            sum += origins.of( hits.group, entry ).ruleSet == name ? hits.packets : 0;
        }
        return sum;
    }

    [[nodiscard]] std::string textOf( const Totals& totals ) const
    {
        std::string text = fmt::format( "{} packets", packets_.size() );
        for ( const char* fate : fates ) {
            const std::uint64_t count = totals.fates.at( fate );
            text += count == 0 ? "" : fmt::format( ", {} {}", count, fate );
        }
        return text;
    }

    [[nodiscard]] Json producedOf( const Totals& totals, RunContext& context ) const
    {
        const EntryOrigins origins( context );
        Json produced = { { "packets", packets_.size() } };
        for ( const char* fate : fates ) {
            produced[ fate ] = totals.fates.at( fate );
        }
        produced[ "hits" ] = Json::array();
        for ( const auto& [ entry, hits ] : totals.hits ) {
            Json hit = entryJson( hits.group, entry, context, origins );
            hit[ "packets" ] = hits.packets;
            hit[ "bytes" ] = hits.bytes;
            produced[ "hits" ].push_back( hit );
        }
        return produced;
    }

    std::string file_;
    std::vector< Sim::Packet > packets_;
    Counts expectedFates_;
    Counts expectedHits_;
};

void readCount( Input::YamlMembers& members, const char* member, Counts& counts )
{
    std::optional< std::uint64_t > count;
    members.optional( member, count );
    if ( count ) {
        counts[ member ] = *count;
    }
}

} // namespace

std::unique_ptr< const Step > readSendCapture( const YamlNode& node, const ReadContext& context )
{
    std::string file;
    std::vector< Sim::Packet > packets;
    std::uint32_t port = 0;
    Counts expectedFates;
    Counts expectedHits;
    node.readMembers( [ & ]( Input::YamlMembers& members ) {
        members.required( "file", [ & ]( const YamlNode& path ) {
            file = context.substitutedPath( path );
            packets = readCapture( file );
        } );
        members.optional( "port", port );
        members.optional( "expect", [ & ]( const YamlNode& expect ) {
            expect.readMembers( [ & ]( Input::YamlMembers& expected ) {
                expected.optional( "hits", [ & ]( const YamlNode& hits ) {
                    hits.readPairs( [ & ]( const YamlNode& name, const YamlNode& count ) {
                        std::string text;
                        name.read( text );
                        count.read( expectedHits[ text ] );
                    } );
                } );
                for ( const char* fate : fates ) {
                    readCount( expected, fate, expectedFates );
                }
            } );
        } );
    } );
    for ( Sim::Packet& packet : packets ) {
        packet.port = port;
    }
    return std::make_unique< SendCapture >( file, std::move( packets ), expectedFates,
                                            expectedHits );
}

} // namespace Tool
