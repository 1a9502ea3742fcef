#include "tools/run/EntryNames.h"

#include "tools/scenario/Step.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>

namespace Tool {

namespace {

using PeloraTcam::TcamEntryId;

constexpr char separator = '/';

/// A rule of a rule set, by its line.
struct RuleName
{
    std::string ruleSet;
    int line = 0;
};

/// What "firewall/17" names; nothing for a text that is no such name.
std::optional< RuleName > ruleNameOf( const std::string& name )
{
    const std::size_t at = name.rfind( separator );
    if ( at == std::string::npos ) {
        return std::nullopt;
    }
    RuleName rule{ name.substr( 0, at ), 0 };
    const char* const end = name.data() + name.size();
    const auto result = std::from_chars( name.data() + at + 1, end, rule.line );
    return result.ec == std::errc() && result.ptr == end ? std::optional( rule ) : std::nullopt;
}

/// The entry of a rule of that rule set. Throws a `StepError` if there is none.
TcamEntryId entryOfRule( RunContext& context, const RuleName& rule )
{
    const NamedRuleSet& ruleSet = context.tcam().ruleSetNames().at( rule.ruleSet );
    const auto found = std::ranges::lower_bound( ruleSet.lines, rule.line );
    if ( found == ruleSet.lines.end() || *found != rule.line ) {
        throw StepError( fmt::format( "the rule set '{}' has no rule in line {} of '{}'",
                                      rule.ruleSet, rule.line, ruleSet.file ) );
    }
    const auto position = static_cast< std::size_t >( found - ruleSet.lines.begin() );
    const auto entry = context.tcam().ruleSets().entry( ruleSet.id, position );
    if ( !entry ) {
        throw StepError( fmt::format( "the rule in line {} of '{}' is not on the chip", rule.line,
                                      ruleSet.file ) );
    }
    return *entry;
}

/// What the name of a rule stands for, if no other entry has that name, and a rule set could.
std::optional< RuleName > ruleMeant( RunContext& context, const std::string& name )
{
    return context.entryNames().all().contains( name ) ? std::nullopt : ruleNameOf( name );
}

} // namespace

TcamEntryId entryNamed( RunContext& context, const std::string& name )
{
    const std::optional< RuleName > rule = ruleMeant( context, name );
    return rule ? entryOfRule( context, *rule ) : context.entryNames().at( name ).id;
}

const NamedEntry&
ownEntryNamed( RunContext& context, const std::string& name, const std::string& what )
{
    if ( const std::optional< RuleName > rule = ruleMeant( context, name ) ) {
        static_cast< void >( entryOfRule( context, *rule ) );
        throw StepError( fmt::format( "the entry '{}' is of a rule set, with which it gets and "
                                      "loses its {}",
                                      name, what ) );
    }
    return context.entryNames().at( name );
}

EntryOrigins::EntryOrigins( RunContext& context )
{
    TcamManagers& tcam = context.tcam();
    for ( const auto& [ name, ruleSet ] : tcam.ruleSetNames().all() ) {
        addRuleSet( name, ruleSet, tcam );
    }
    for ( const auto& [ name, entry ] : context.entryNames().all() ) {
        entries_[ static_cast< bcm_field_entry_t >( entry.id ) ].name = name;
    }
    for ( const auto& [ name, group ] : context.groupNames().all() ) {
        groups_[ group.id ] = name;
    }
}

void EntryOrigins::addRuleSet( const std::string& name,
                               const NamedRuleSet& ruleSet,
                               TcamManagers& tcam )
{
    for ( std::size_t rule = 0; rule < ruleSet.lines.size(); ++rule ) {
        if ( const auto entry = tcam.ruleSets().entry( ruleSet.id, rule ) ) {
            entries_[ static_cast< bcm_field_entry_t >( *entry ) ] = {
                ruleSets_.size(), ruleSet.lines[ rule ], {} };
            groups_[ tcam.entries().find( *entry )->group ] = name;
        }
    }
    ruleSets_.push_back( { name, ruleSet.file } );
}

int EntryOrigins::lineOf( bcm_field_entry_t entry ) const
{
    const auto found = entries_.find( entry );
    return found == entries_.end() ? 0 : found->second.line;
}

EntryOrigin EntryOrigins::of( bcm_field_group_t group, bcm_field_entry_t entry ) const
{
    EntryOrigin origin;
    origin.group = groupName( group );
    const auto found = entries_.find( entry );
    if ( found == entries_.end() ) {
        origin.name = std::to_string( entry );
    } else if ( found->second.line == 0 ) {
        origin.name = found->second.name;
    } else {
        const RuleSetOfEntries& ruleSet = ruleSets_[ found->second.ruleSet ];
        origin.ruleSet = ruleSet.name;
        origin.file = ruleSet.file;
        origin.line = found->second.line;
        origin.name = ruleSet.name + separator + std::to_string( origin.line );
    }
    return origin;
}

std::string EntryOrigins::groupName( bcm_field_group_t group ) const
{
    const auto found = groups_.find( group );
    return found == groups_.end() ? std::to_string( group ) : found->second;
}

} // namespace Tool
