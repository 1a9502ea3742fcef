#pragma once

/// What a packet-filter rule needs of a chip besides its TCAM entry, taken and given back.
///
/// Single values are matched by themselves, true port ranges through range checkers. On a chip with
/// compression tables, prefixes, protocols and single ports are matched by the class that their
/// table gives them; but a prefix that overlaps another one of its table is matched by itself,
/// because a packet has only one class of a table. What equal rules need they share.
///
/// A rule without a prefix is matched with the type of its version of IP; that of a prefix tells it
/// already. TCP flags, and ICMP types and codes, are matched by themselves (`RuleFlags.h`).
///
/// All operations are called with the agent's activity lock held. Belongs to `RuleSetProgrammer`.

#include "reference/CompressionManager.h"
#include "reference/CounterManager.h"
#include "reference/EntryManager.h"
#include "reference/GroupManager.h"
#include "reference/PolicerManager.h"
#include "reference/RangeCheckerManager.h"
#include "reference/RuleFlags.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace Reference {

/// Both bounds belong to the range.
struct PortRange
{
    Agent::U16 low = 0;
    Agent::U16 high = 0xFFFF;

    friend bool operator==( const PortRange&, const PortRange& ) = default;
};

/// A packet-filter rule, of IPv6 if one of its addresses is. By default it matches every IPv4
/// packet.
struct FilterRule
{
    IpPrefix source;
    IpPrefix destination;
    PortRange sourcePorts;
    PortRange destinationPorts;
    Masked< Agent::U8 > protocol;
    Masked< Agent::U16 > flags = {}; ///< of TCP or ICMP; `RuleFlags.h` tells what they mean

    [[nodiscard]] bool isV6() const { return source.address.isV6() || destination.address.isV6(); }
};

/// The managers that programming rules takes, all of one chip; they must outlive who uses them.
struct RuleManagers
{
    RangeCheckerManager& rangeCheckers;
    GroupManager& groups;
    EntryManager& entries;
    CounterManager& counters;
    PolicerManager& policers;
    CompressionManager* compression; ///< null on a chip without compression tables
};

/// What the rules of a set get besides their entries.
struct RuleOptions
{
    PeloraTcam::StageType stage = PeloraTcam::stageIfp();
    EntryActions actions = { { PeloraTcam::ActionType::drop, 0, 0 } };
    PeloraTcam::CounterSet counterSet; ///< empty for no counters
    std::optional< PeloraTcam::Policer > policer;
    PolicerSharing policerSharing = PolicerSharing::own;
};

/// How many of one kind of thing rules have got: new ones, and ones that there were.
struct ResourceCounts
{
    std::size_t made = 0;
    std::size_t shared = 0;

    friend bool operator==( const ResourceCounts&, const ResourceCounts& ) = default;
};

struct RuleCounts
{
    ResourceCounts rangeCheckers;
    ResourceCounts classes; ///< entries of compression tables
    ResourceCounts policers;
    std::size_t overlaps = 0; ///< prefixes matched by themselves because they overlap others
    std::size_t counters = 0;

    RuleCounts& operator+=( const RuleCounts& other );
};

/// The classes of one rule. It takes no memory of its own: every rule has one.
class RuleClasses
{
  public:
    [[nodiscard]] std::size_t size() const { return count_; }

    [[nodiscard]] bool empty() const { return count_ == 0; }

    /// Of two prefixes, a protocol and two ports: no more than five (an assertion failure
    /// otherwise).
    void push_back( const CompressionClass& added );

    /// The last one; there must be one.
    [[nodiscard]] const CompressionClass& back() const { return classes_[ count_ - 1 ]; }

    void pop_back() { --count_; }

  private:
    std::array< CompressionClass, 5 > classes_;
    std::size_t count_ = 0;
};

/// What one rule has in the chip.
struct RuleParts
{
    std::vector< PeloraTcam::RangeCheckerId > rangeCheckers;
    RuleClasses classes;
    std::optional< PeloraTcam::PolicerId > policer;
    std::optional< EntryManager::EntryId > entry;
    bool hasCounters = false;
};

/// What a rule did not get: the names of the resources.
inline constexpr std::string_view noRangeChecker = "range checker";
inline constexpr std::string_view noCompressionEntry = "compression entry";
inline constexpr std::string_view noClassId = "class id";
inline constexpr std::string_view noPolicer = "policer";

class RuleProgrammer
{
  public:
    explicit RuleProgrammer( const RuleManagers& managers );

    /// Takes what a rule needs, writes it to `parts` and `counts`, and what its entry has to ask
    /// for to `qualifiers`. Gives the name of what there was no room for, or why no entry can match
    /// the rule (`isUnmatchable`), or an empty text; what was taken until then is in `parts`.
    [[nodiscard]] std::string_view acquire( const FilterRule& rule,
                                            const RuleOptions& options,
                                            RuleParts& parts,
                                            RuleCounts& counts,
                                            EntryQualifiers& qualifiers );

    /// Gives everything back, the last first. What has been given back is taken out of `parts`, so
    /// after an exception the rest can be given back.
    void release( RuleParts& parts );

  private:
    /// What the steps of taking work on.
    struct Work
    {
        RuleParts& parts;
        RuleCounts& counts;
        EntryQualifiers& qualifiers;
    };

    static std::string_view askForFlags( const FilterRule& rule, EntryQualifiers& qualifiers );
    std::string_view acquirePrefixes( const FilterRule& rule, const Work& work );
    std::string_view acquireProtocol( Masked< Agent::U8 > protocol, const Work& work );
    std::string_view acquireSourcePorts( const PortRange& ports, const Work& work );
    std::string_view acquireDestinationPorts( const PortRange& ports, const Work& work );
    std::string_view acquireRange( const PeloraTcam::RangeCheckerDesc& desc, const Work& work );
    std::string_view acquireClass( CompressionManager::Table table,
                                   const CompressionManager::Key& key,
                                   const Work& work );
    std::string_view acquirePolicer( const RuleOptions& options, const Work& work );
    std::string_view acquirePrefix( CompressionManager::Table table,
                                    const IpPrefix& prefix,
                                    std::optional< IpPrefix >& direct,
                                    const Work& work );
    static void addClass( const CompressionClass& added, const Work& work );
    bool shareClass( CompressionManager::Table table,
                     const CompressionManager::Key& key,
                     const Work& work );

    RuleManagers managers_;
};

} // namespace Reference
