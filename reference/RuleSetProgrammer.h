#pragma once

/// Programs whole packet-filter rule sets.
///
/// Each rule becomes one TCAM entry, of a priority below that of the rule before it, in a group
/// that the programmer makes; when a group is full it makes the next. What a rule needs besides is
/// in `RuleProgrammer.h`. A rule that no entry can match, or of which one part does not fit, is
/// undone whole and told, and the next one is programmed. Removing a rule set leaves the chip as it
/// was before.
///
/// All operations are called with the agent's activity lock held, after `buildTranslationMaps()`,
/// by any thread; `Overlap.h` tells how they stay right while the lock is free. A rule set that is
/// being programmed or removed is known to nobody else. No room, and whatever else the SDK refuses
/// to a rule, is a result; failures while something is taken away end the process. When an SDK call
/// throws, the rule set is taken away and the exception goes on to the caller. When a call of that
/// throws too, its exception goes on instead, and what is left of the rule set stays: `size()`
/// counts it, under an id that the caller was never told. Ids count up from 1, one for each
/// `program()` that begins, and `remove()` takes that one too.
///
///     Reference::RuleSetProgrammer programmer( managers, { SdkVariant::sdk6, pipe } );
///     RuleOptions options;
///     options.counterSet = packetsAndBytes();
///     const RuleSetReport report = programmer.program( rules, options );
///     programmer.hits( report.id );
///     programmer.remove( report.id );

#include "agent/tcam/IdPool.h"
#include "reference/RuleProgrammer.h"
#include "reference/SdkVariant.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Reference {

/// What a rule set is called by.
using RuleSetId = Agent::U32;

/// A rule that was not programmed.
struct RefusedRule
{
    std::size_t rule = 0;    ///< its position in the rule set
    std::string_view reason; ///< as in `RuleSetReport::refused`

    friend bool operator==( const RefusedRule&, const RefusedRule& ) = default;
};

/// What came of programming a rule set.
struct RuleSetReport
{
    RuleSetId id = 0;           ///< what `remove()` takes
    std::size_t rules = 0;      ///< how many rules it was given
    std::size_t programmed = 0; ///< how many of them are on the chip
    std::size_t groups = 0;     ///< made for it
    RuleCounts counts;          ///< of the rules that were programmed
    /// How many rules were not, by what they lacked, a resource or the SDK function that refused,
    /// or by why no entry can match them (`isUnmatchable`).
    std::map< std::string, std::size_t, std::less<> > refused;
    std::vector< RefusedRule > refusedRules; ///< each of them, in their order
};

/// What a rule did not get, besides those in `RuleProgrammer.h`.
inline constexpr std::string_view noGroup = "group";
inline constexpr std::string_view noCounter = "counter";

/// What the programmer has to know of the chip.
struct RuleSetChip
{
    SdkVariant variant = SdkVariant::sdk6; ///< what compresses and counts
    Agent::U8 pipe = 0;                    ///< of the helpers
};

/// Programs whole rule sets; see the top of this header.
class RuleSetProgrammer
{
  public:
    /// Is told of each rule when it has been tried: how many have been, of how many.
    using Progress = std::function< void( std::size_t done, std::size_t total ) >;

    /// The managers must outlive it.
    RuleSetProgrammer( const RuleManagers& managers, const RuleSetChip& chip );

    /// Programs a rule set, the most important rule first.
    [[nodiscard]] RuleSetReport program( std::span< const FilterRule > rules,
                                         const RuleOptions& options,
                                         const Progress& progress = {} );

    /// Takes a rule set away. False when the id is none of this programmer's.
    bool remove( RuleSetId id );

    /// The TCAM entry of a rule, by its position; nothing if it was not programmed.
    [[nodiscard]] std::optional< EntryManager::EntryId > entry( RuleSetId id,
                                                                std::size_t rule ) const;

    /// What all rules of a set have counted together; nothing for an id that is none of this
    /// programmer's. Zero without counters.
    [[nodiscard]] std::optional< Hits > hits( RuleSetId id ) const;

    /// How many rule sets the programmer holds.
    [[nodiscard]] std::size_t size() const { return sets_.size(); }

  private:
    struct Group
    {
        bcm_field_group_t id = 0;
        Agent::U32 number = 0; ///< of its logical id
    };

    struct RuleSet
    {
        RuleOptions options;
        std::vector< Group > groups;
        std::vector< RuleParts > rules;
    };

    std::string_view programRule(
        const FilterRule& rule, int priority, RuleSet& set, RuleParts& parts, RuleCounts& counts );
    std::string_view makeEntry( EntryDesc& desc, RuleSet& set, RuleParts& parts );
    std::string_view countAndInstall( RuleSet& set, RuleParts& parts, RuleCounts& counts );
    bool makeGroup( RuleSet& set );
    void removeLastGroup( RuleSet& set );
    [[nodiscard]] PeloraTcam::QualifierSet qualifiers() const;

    RuleManagers managers_;
    RuleSetChip chip_;
    RuleProgrammer ruleProgrammer_;
    PeloraTcam::IdPool groupNumbers_;
    std::map< RuleSetId, RuleSet > sets_;
    RuleSetId lastId_ = 0;
};

} // namespace Reference
