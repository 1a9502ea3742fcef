#pragma once

/// The names of TCAM entries: those that a scenario gave them, and those of rules, which are the
/// name of their rule set and the line of the rule in its file: "firewall/17".
///
/// For the steps of a run, with the agent's activity lock held.

#include "tools/run/RunContext.h"

#include <string>
#include <unordered_map>

namespace Tool {

/// The entry of that name. Throws a `StepError` if there is none.
[[nodiscard]] PeloraTcam::TcamEntryId entryNamed( RunContext& context, const std::string& name );

/// An entry that a step of its own has made. Throws a `StepError` if there is none of that name;
/// `what` is what a rule's entry has only together with its rule set: "counters".
[[nodiscard]] const NamedEntry&
ownEntryNamed( RunContext& context, const std::string& name, const std::string& what );

/// Where an entry is from.
struct EntryOrigin
{
    std::string name;    ///< "web", "firewall/17", or the SDK's id of an entry without a name
    std::string group;   ///< the name of its group, or of its rule set, or the group's SDK id
    std::string ruleSet; ///< empty if it is of none
    std::string file;    ///< of the rule set
    int line = 0;        ///< of the rule in the file, from 1; 0 if it is of none
};

/// All entries that there are when it is made, by their ids.
class EntryOrigins
{
  public:
    explicit EntryOrigins( RunContext& context );

    /// The line of the entry's rule in the file of its rule set; 0 if it is of none.
    [[nodiscard]] int lineOf( bcm_field_entry_t entry ) const;

    /// Everything about an entry of a group.
    [[nodiscard]] EntryOrigin of( bcm_field_group_t group, bcm_field_entry_t entry ) const;

    /// What the group is called; see `EntryOrigin`.
    [[nodiscard]] std::string groupName( bcm_field_group_t group ) const;

  private:
    struct RuleSetOfEntries
    {
        std::string name;
        std::string file;
    };

    struct Known
    {
        std::size_t ruleSet = 0; ///< its place among the rule sets, if it has a line
        int line = 0;
        std::string name; ///< of one that has no line
    };

    void addRuleSet( const std::string& name, const NamedRuleSet& ruleSet, TcamManagers& tcam );

    std::vector< RuleSetOfEntries > ruleSets_;
    std::unordered_map< bcm_field_entry_t, Known > entries_;
    std::map< bcm_field_group_t, std::string > groups_;
};

} // namespace Tool
