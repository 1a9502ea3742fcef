#pragma once

/// The managers of TCAM entries and of what they are made of, for the chip of a scenario: counters,
/// policers, compression, and whole rule sets.
///
/// Belongs to the run context, which has set `Shim::sdk_` before; used with the agent's activity
/// lock held.

#include "reference/CompressionManager.h"
#include "reference/CounterManager.h"
#include "reference/CounterServices.h"
#include "reference/EntryManager.h"
#include "reference/PolicerManager.h"
#include "reference/RuleSetProgrammer.h"
#include "tools/run/NamedObjects.h"
#include "tools/scenario/Scenario.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Tool {

/// Which SDK a kind of chip is driven through.
[[nodiscard]] Reference::SdkVariant sdkVariantOf( Sim::ChipKind chip );

/// A rule set as a scenario knows it.
struct NamedRuleSet
{
    Reference::RuleSetId id = 0;
    std::string file;
    std::vector< int > lines; ///< where in the file each rule stands, from 1
};

class TcamManagers
{
  public:
    /// Services and managers must outlive this.
    TcamManagers( const Scenario& scenario,
                  Reference::CounterServices& services,
                  Reference::GroupManager& groups,
                  Reference::RangeCheckerManager& rangeCheckers );
    TcamManagers( const TcamManagers& ) = delete;
    TcamManagers& operator=( const TcamManagers& ) = delete;
    ~TcamManagers();

    [[nodiscard]] Reference::SdkVariant variant() const { return variant_; }

    /// The manager of counters. On HSDK the chip's counter objects are made when it is asked for
    /// first, for groups of priority 0.
    [[nodiscard]] Reference::CounterManager& counters();

    /// Whether an entry has counters; makes no counter object.
    [[nodiscard]] bool hasCounters( PeloraTcam::TcamEntryId entryId ) const
    {
        return counters_.find( entryId ) != nullptr;
    }

    /// Gives HSDK's counter objects back to the chip if no entry has counters.
    void releaseUnusedCounterObjects();

    [[nodiscard]] Reference::PolicerManager& policers() { return policers_; }

    /// The manager of the compression tables; null on a chip without them.
    [[nodiscard]] Reference::CompressionManager* compression() { return compression_.get(); }

    [[nodiscard]] Reference::EntryManager& entries() { return entries_; }

    /// The programmer of rule sets. For rules with counters ask for `counters` before.
    [[nodiscard]] Reference::RuleSetProgrammer& ruleSets() { return ruleSets_; }

    [[nodiscard]] NamedObjects< NamedRuleSet >& ruleSetNames() { return ruleSetNames_; }

    /// Compares what the managers have recorded with the chip and gives the number of comparisons;
    /// a mismatch ends the process.
    [[nodiscard]] std::size_t audit() const;

  private:
    [[nodiscard]] Reference::CounterObjectPlace place( PeloraTcam::StageType stage ) const;
    void makeCounterObjects();

    const Reference::SdkVariant variant_;
    const Agent::U32 unit_;
    const Agent::U8 pipe_;
    const Agent::U32 flexCounters_; ///< of the chip
    Reference::CounterServices& services_;
    bool hasCounterObjects_ = false;
    Reference::CounterManager counters_;
    Reference::PolicerManager policers_;
    const std::unique_ptr< Reference::CompressionManager > compression_;
    Reference::EntryManager entries_;
    Reference::RuleSetProgrammer ruleSets_;
    NamedObjects< NamedRuleSet > ruleSetNames_{ "rule set" };
};

} // namespace Tool
