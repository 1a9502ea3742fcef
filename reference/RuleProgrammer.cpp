#include "reference/RuleProgrammer.h"

#include "agent/base/Assert.h"

namespace Reference {

using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeType;
using Table = PeloraTcam::PeloraCompressionTableType;

namespace {

constexpr std::string_view nothing;

bool isSinglePort( const PortRange& ports )
{
    return ports.low == ports.high;
}

bool isEveryPort( const PortRange& ports )
{
    return ports == PortRange{};
}

void add( ResourceCounts& counts, const ResourceCounts& other )
{
    counts.made += other.made;
    counts.shared += other.shared;
}

void countMade( ResourceCounts& counts, bool isNew )
{
    ++( isNew ? counts.made : counts.shared );
}

/// The first user has had it made.
void count( ResourceCounts& counts, std::size_t users )
{
    countMade( counts, users <= 1 );
}

} // namespace

RuleCounts& RuleCounts::operator+=( const RuleCounts& other )
{
    add( rangeCheckers, other.rangeCheckers );
    add( classes, other.classes );
    add( policers, other.policers );
    overlaps += other.overlaps;
    counters += other.counters;
    return *this;
}

RuleProgrammer::RuleProgrammer( const RuleManagers& managers )
    : managers_( managers )
{}

// ---- Taking ----------------------------------------------------------------------------------

std::string_view RuleProgrammer::acquire( const FilterRule& rule,
                                          const RuleOptions& options,
                                          RuleParts& parts,
                                          RuleCounts& counts,
                                          EntryQualifiers& qualifiers )
{
    const Work work{ parts, counts, qualifiers };
    std::string_view refusal = askForFlags( rule, qualifiers );
    if ( refusal.empty() ) {
        refusal = acquirePrefixes( rule, work );
    }
    if ( refusal.empty() ) {
        refusal = acquireProtocol( rule.protocol, work );
    }
    if ( refusal.empty() ) {
        refusal = acquireSourcePorts( rule.sourcePorts, work );
    }
    if ( refusal.empty() ) {
        refusal = acquireDestinationPorts( rule.destinationPorts, work );
    }
    if ( refusal.empty() ) {
        refusal = acquirePolicer( options, work );
    }
    return refusal;
}

std::string_view RuleProgrammer::askForFlags( const FilterRule& rule, EntryQualifiers& qualifiers )
{
    const FlagsMatch flags = flagsMatch( rule.protocol, rule.flags, rule.isV6() );
    if ( flags.match ) {
        qualifiers.others.push_back( *flags.match );
    }
    return flags.refusal;
}

std::string_view RuleProgrammer::acquirePrefixes( const FilterRule& rule, const Work& work )
{
    if ( rule.source.length == 0 && rule.destination.length == 0 ) {
        work.qualifiers.others.push_back( everyPacketOfIp( rule.isV6() ) );
        return nothing;
    }
    const std::string_view refusal =
        acquirePrefix( Table::srcIp, rule.source, work.qualifiers.source, work );
    return refusal.empty()
               ? acquirePrefix( Table::dstIp, rule.destination, work.qualifiers.destination, work )
               : refusal;
}

std::string_view RuleProgrammer::acquirePrefix( Table table,
                                                const IpPrefix& prefix,
                                                std::optional< IpPrefix >& direct,
                                                const Work& work )
{
    if ( prefix.length == 0 ) {
        return nothing;
    }
    if ( managers_.compression == nullptr ) {
        direct = prefix;
        return nothing;
    }
    const CompressionManager::Key key( prefix.address, prefix.length );
    if ( shareClass( table, key, work ) ) {
        return nothing;
    }
    // Whoever gives a prefix a class asks this first: what the table holds does not overlap.
    if ( managers_.compression->overlapsAnother( table, key ) ) {
        ++work.counts.overlaps;
        direct = prefix;
        return nothing;
    }
    return acquireClass( table, key, work );
}

std::string_view RuleProgrammer::acquireProtocol( Masked< Agent::U8 > protocol, const Work& work )
{
    if ( protocol.mask == 0 ) {
        return nothing;
    }
    if ( managers_.compression != nullptr && protocol.mask == 0xFF ) {
        return acquireClass( Table::ipProto, CompressionManager::Key( protocol.value ), work );
    }
    work.qualifiers.protocol = protocol;
    return nothing;
}

std::string_view RuleProgrammer::acquireSourcePorts( const PortRange& ports, const Work& work )
{
    if ( isEveryPort( ports ) ) {
        return nothing;
    }
    if ( !isSinglePort( ports ) ) {
        return acquireRange( { ports.low, ports.high, RangeType::l4SrcPort }, work );
    }
    if ( managers_.compression != nullptr ) {
        return acquireClass( Table::l4SrcPort, CompressionManager::Key( ports.low ), work );
    }
    work.qualifiers.sourcePort = Masked< Agent::U16 >{ ports.low, 0xFFFF };
    return nothing;
}

std::string_view RuleProgrammer::acquireDestinationPorts( const PortRange& ports, const Work& work )
{
    if ( isEveryPort( ports ) ) {
        return nothing;
    }
    if ( !isSinglePort( ports ) ) {
        return acquireRange( { ports.low, ports.high, RangeType::l4DstPort }, work );
    }
    if ( managers_.compression != nullptr ) {
        return acquireClass( Table::l4DstPort, CompressionManager::Key( ports.low ), work );
    }
    work.qualifiers.destinationPort = Masked< Agent::U16 >{ ports.low, 0xFFFF };
    return nothing;
}

std::string_view RuleProgrammer::acquireRange( const RangeCheckerDesc& desc, const Work& work )
{
    const auto id = managers_.rangeCheckers.acquire( desc );
    if ( !id ) {
        return noRangeChecker;
    }
    work.parts.rangeCheckers.push_back( *id );
    work.qualifiers.ranges.push_back( { *id, false } );
    count( work.counts.rangeCheckers, managers_.rangeCheckers.users( *id ) );
    return nothing;
}

void RuleClasses::push_back( const CompressionClass& added )
{
    AGENT_ASSERT( count_ < classes_.size() && "a rule has no more classes" );
    classes_[ count_++ ] = added;
}

void RuleProgrammer::addClass( const CompressionClass& added, const Work& work )
{
    work.parts.classes.push_back( added );
    work.qualifiers.classes.emplace( added.table, added.classId );
    countMade( work.counts.classes, added.isNew );
}

bool RuleProgrammer::shareClass( Table table, const CompressionManager::Key& key, const Work& work )
{
    const auto shared = managers_.compression->shareClass( table, key );
    if ( shared ) {
        addClass( *shared, work );
    }
    return shared.has_value();
}

std::string_view
RuleProgrammer::acquireClass( Table table, const CompressionManager::Key& key, const Work& work )
{
    CompressionManager& compression = *managers_.compression;
    const auto acquired = compression.acquireClass( table, key );
    if ( !acquired ) {
        return compression.room( table ) == CompressionRoom::noClassId ? noClassId
                                                                       : noCompressionEntry;
    }
    addClass( *acquired, work );
    return nothing;
}

std::string_view RuleProgrammer::acquirePolicer( const RuleOptions& options, const Work& work )
{
    if ( !options.policer ) {
        return nothing;
    }
    work.parts.policer =
        managers_.policers.acquire( *options.policer, options.stage, options.policerSharing );
    if ( !work.parts.policer ) {
        return noPolicer;
    }
    count( work.counts.policers, managers_.policers.users( *work.parts.policer ) );
    return nothing;
}

// ---- Giving back -----------------------------------------------------------------------------

void RuleProgrammer::release( RuleParts& parts )
{
    if ( parts.entry ) {
        managers_.entries.remove( *parts.entry );
    }
    if ( parts.hasCounters ) {
        managers_.counters.free( *parts.entry );
        parts.hasCounters = false;
    }
    if ( parts.entry ) {
        managers_.entries.destroy( *parts.entry );
        parts.entry.reset();
    }
    if ( parts.policer ) {
        managers_.policers.release( *parts.policer );
        parts.policer.reset();
    }
    while ( !parts.classes.empty() ) {
        managers_.compression->release( parts.classes.back() );
        parts.classes.pop_back();
    }
    while ( !parts.rangeCheckers.empty() ) {
        managers_.rangeCheckers.release( parts.rangeCheckers.back() );
        parts.rangeCheckers.pop_back();
    }
}

} // namespace Reference
