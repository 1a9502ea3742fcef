#include "reference/RuleSetProgrammer.h"

#include "agent/base/Assert.h"
#include "sdk/SdkAccess.h"

#include <array>
#include <utility>

namespace Reference {

using PeloraTcam::QualifierSet;
using PeloraTcam::QualifierType;
using Table = PeloraTcam::PeloraCompressionTableType;

namespace {

/// The programmer's groups are the second instances of their kind (bit 24), so that they do not get
/// in the way of the agent's other groups.
constexpr PeloraTcam::LogicalGroupId secondInstance = 0x01000000;
constexpr Agent::U32 groupNumbers = 255;

PeloraTcam::LogicalGroupId logicalIdOf( Agent::U32 number )
{
    return secondInstance | number;
}

/// The tables whose classes rules are matched by.
constexpr std::array< Table, 5 > ruleTables = { Table::srcIp, Table::dstIp, Table::ipProto,
                                                Table::l4SrcPort, Table::l4DstPort };

} // namespace

RuleSetProgrammer::RuleSetProgrammer( const RuleManagers& managers, const RuleSetChip& chip )
    : managers_( managers )
    , chip_( chip )
    , ruleProgrammer_( managers )
    , groupNumbers_( 1, groupNumbers )
{}

// ---- Programming -----------------------------------------------------------------------------

RuleSetReport RuleSetProgrammer::program( std::span< const FilterRule > rules,
                                          const RuleOptions& options,
                                          const Progress& progress )
{
    RuleSetReport report;
    report.id = ++lastId_;
    report.rules = rules.size();
    RuleSet set; // Nobody else's until it is programmed.
    set.options = options;
    set.rules.resize( rules.size() );
    try {
        for ( std::size_t i = 0; i < rules.size(); ++i ) {
            RuleCounts counts;
            const int priority = static_cast< int >( rules.size() - i );
            const std::string_view refusal =
                programRule( rules[ i ], priority, set, set.rules[ i ], counts );
            if ( refusal.empty() ) {
                ++report.programmed;
                report.counts += counts;
            } else {
                ruleProgrammer_.release( set.rules[ i ] );
                ++report.refused[ std::string( refusal ) ];
                report.refusedRules.push_back( { i, refusal } );
            }
            if ( progress ) {
                progress( i + 1, rules.size() );
            }
        }
        // The last group may have been made for a rule that then lacked something else.
        if ( !set.groups.empty() && managers_.entries.size( set.groups.back().id ) == 0 ) {
            removeLastGroup( set );
        }
    } catch ( ... ) {
        sets_.emplace( report.id, std::move( set ) );
        remove( report.id );
        throw;
    }
    report.groups = set.groups.size();
    sets_.emplace( report.id, std::move( set ) );
    return report;
}

std::string_view RuleSetProgrammer::programRule(
    const FilterRule& rule, int priority, RuleSet& set, RuleParts& parts, RuleCounts& counts )
{
    EntryDesc desc;
    desc.priority = priority;
    desc.actions = set.options.actions;
    std::string_view refusal =
        ruleProgrammer_.acquire( rule, set.options, parts, counts, desc.qualifiers );
    if ( refusal.empty() ) {
        desc.policer = parts.policer;
        refusal = makeEntry( desc, set, parts );
    }
    return refusal.empty() ? countAndInstall( set, parts, counts ) : refusal;
}

/// In the last group, or, when that is full, in a new one.
std::string_view RuleSetProgrammer::makeEntry( EntryDesc& desc, RuleSet& set, RuleParts& parts )
{
    if ( set.groups.empty() && !makeGroup( set ) ) {
        return noGroup;
    }
    desc.group = set.groups.back().id;
    parts.entry = managers_.entries.create( std::move( desc ) );
    if ( parts.entry ) {
        return {};
    }
    const SdkRefusal& refusal = managers_.entries.lastRefusal();
    const bool isGroupFull = refusal.rc == Shim::sdk().BCM_E_FULL() &&
                             refusal.function == "bcm_field_entry_create" &&
                             managers_.entries.size( desc.group ) != 0;
    if ( !isGroupFull ) {
        return refusal.function;
    }
    if ( !makeGroup( set ) ) {
        return noGroup;
    }
    desc.group = set.groups.back().id;
    parts.entry = managers_.entries.create( std::move( desc ) );
    return parts.entry ? std::string_view() : managers_.entries.lastRefusal().function;
}

/// Counters first: so no packet that the entry sees is not counted.
std::string_view
RuleSetProgrammer::countAndInstall( RuleSet& set, RuleParts& parts, RuleCounts& counts )
{
    if ( !set.options.counterSet.empty() ) {
        parts.hasCounters = managers_.counters.allocate(
            { set.options.stage, logicalIdOf( set.groups.back().number ), *parts.entry,
              set.options.counterSet, 0 } );
        if ( !parts.hasCounters ) {
            return noCounter;
        }
        ++counts.counters;
    }
    return managers_.entries.install( *parts.entry ) ? std::string_view()
                                                     : managers_.entries.lastRefusal().function;
}

// ---- Groups ----------------------------------------------------------------------------------

/// Counter helpers find a group by the SDK id that is made from its logical id: on SDK-6 the pipe
/// is part of that, on HSDK not.
bool RuleSetProgrammer::makeGroup( RuleSet& set )
{
    if ( !groupNumbers_.canAllocate() ) {
        return false;
    }
    const Agent::U32 number = groupNumbers_.allocate();
    GroupDesc desc;
    desc.stage = set.options.stage;
    desc.qualifiers = qualifiers();
    for ( const EntryAction& action : set.options.actions ) {
        desc.actions.insert( action.type );
    }
    desc.logicalId = logicalIdOf( number );
    desc.subId = chip_.variant == SdkVariant::sdk6 ? chip_.pipe : Agent::U8{ 0 };
    try {
        if ( const auto group = managers_.groups.create( desc ) ) {
            set.groups.push_back( { *group, number } );
            return true;
        }
    } catch ( ... ) {
        groupNumbers_.free( number );
        throw;
    }
    groupNumbers_.free( number );
    return false;
}

void RuleSetProgrammer::removeLastGroup( RuleSet& set )
{
    const bool isDestroyed = managers_.groups.destroy( set.groups.back().id );
    AGENT_ASSERT( isDestroyed && "the group of a rule set has other entries" );
    groupNumbers_.free( set.groups.back().number );
    set.groups.pop_back();
}

QualifierSet RuleSetProgrammer::qualifiers() const
{
    QualifierSet all = {
        QualifierType::srcIp,      QualifierType::dstIp,       QualifierType::srcIp6,
        QualifierType::dstIp6,     QualifierType::ipProtocol,  QualifierType::l4SrcPort,
        QualifierType::l4DstPort,  QualifierType::rangeCheck,  QualifierType::ipType,
        QualifierType::tcpControl, QualifierType::icmpTypeCode };
    if ( managers_.compression != nullptr ) {
        for ( const Table table : ruleTables ) {
            all.insert( classQualifier( table ) );
        }
    }
    return all;
}

// ---- Removing and looking --------------------------------------------------------------------

bool RuleSetProgrammer::remove( RuleSetId id )
{
    auto taken = sets_.extract( id );
    if ( !taken ) {
        return false;
    }
    RuleSet& set = taken.mapped();
    try {
        for ( auto parts = set.rules.rbegin(); parts != set.rules.rend(); ++parts ) {
            ruleProgrammer_.release( *parts );
        }
        while ( !set.groups.empty() ) {
            removeLastGroup( set );
        }
    } catch ( ... ) {
        sets_.insert( std::move( taken ) ); // What is left of it can be removed.
        throw;
    }
    return true;
}

std::optional< EntryManager::EntryId > RuleSetProgrammer::entry( RuleSetId id,
                                                                 std::size_t rule ) const
{
    const auto found = sets_.find( id );
    if ( found == sets_.end() || rule >= found->second.rules.size() ) {
        return std::nullopt;
    }
    return found->second.rules[ rule ].entry;
}

std::optional< Hits > RuleSetProgrammer::hits( RuleSetId id ) const
{
    const auto found = sets_.find( id );
    if ( found == sets_.end() ) {
        return std::nullopt;
    }
    std::vector< EntryManager::EntryId > entries;
    for ( const RuleParts& parts : found->second.rules ) {
        if ( parts.hasCounters ) {
            entries.push_back( *parts.entry );
        }
    }
    Hits sum;
    for ( const EntryManager::EntryId entry : entries ) {
        const Hits hits = managers_.counters.hits( entry ).value_or( Hits{} );
        sum.packets += hits.packets;
        sum.bytes += hits.bytes;
    }
    // If it has been removed meanwhile, the entries may have been another's.
    return sets_.contains( id ) ? std::optional( sum ) : std::nullopt;
}

} // namespace Reference
