#pragma once

/// One simulated chip: what it is, and its subsystems.
///
/// It belongs to a `SimulatedSdk`, which calls the subsystems with its guard held. Tests and tools
/// look at it through `SimulatedSdk::chip()`; while other threads make SDK calls they hold
/// `SimulatedSdk::guard()`.

#include "sim/chip/ChipSnapshot.h"
#include "sim/chip/SimField.h"
#include "sim/chip/SimFlexParser.h"
#include "sim/chip/SimFlexctr.h"
#include "sim/chip/SimPolicer.h"
#include "sim/chip/SimRange.h"
#include "sim/chip/SimStat.h"
#include "sim/chip/SimUdfModule.h"
#include "sim/chip/SoftError.h"
#include "sim/profiles/ChipProfile.h"
#include "sim/values/SdkNumbering.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Sim {

/// How much of one kind of thing is in use.
struct Resource
{
    std::string name;  ///< what users call it
    uint32_t used;     ///< how many there are
    uint32_t capacity; ///< how many there can be

    [[nodiscard]] bool operator==( const Resource& ) const = default;
};

/// One chip: a unit of the SDK; see the top of this header.
class SimulatedChip
{
  public:
    /// All that SDK calls change, except which ids have been handed out.
    struct State
    {
        SimRange::State ranges;          ///< range checkers
        SimField::State field;           ///< groups, entries, preselectors
        SimPolicer::State policers;      ///< policers
        SimUdfModule::State udfModule;   ///< nothing on a chip without one
        SimFlexParser::State flexParser; ///< nothing on a chip without one
        SimStat::State statistics;       ///< nothing on an HSDK chip
        SimFlexctr::State flexCounters;  ///< nothing on an SDK-6 chip
    };

    /// The numbering must outlive the chip.
    SimulatedChip( ChipProfile profile, const SdkNumbering& numbering );
    SimulatedChip( const SimulatedChip& ) = delete;
    SimulatedChip& operator=( const SimulatedChip& ) = delete;

    /// What it was made of.
    [[nodiscard]] const ChipProfile& profile() const { return profile_; }

    /// Its range checkers.
    [[nodiscard]] SimRange& ranges() { return ranges_; }

    /// Its range checkers.
    [[nodiscard]] const SimRange& ranges() const { return ranges_; }

    /// Its groups, entries and preselectors.
    [[nodiscard]] SimField& field() { return field_; }

    /// Its groups, entries and preselectors.
    [[nodiscard]] const SimField& field() const { return field_; }

    /// Its policers.
    [[nodiscard]] SimPolicer& policers() { return policers_; }

    /// Its policers.
    [[nodiscard]] const SimPolicer& policers() const { return policers_; }

    /// The UDF module; null on a chip of another kind.
    [[nodiscard]] SimUdfModule* udfModule() { return hasUdfModule() ? &udfModule_ : nullptr; }

    /// Its UDF module; null if it has none.
    [[nodiscard]] const SimUdfModule* udfModule() const
    {
        return hasUdfModule() ? &udfModule_ : nullptr;
    }

    /// The flexible parser; null on a chip that has a UDF module instead.
    [[nodiscard]] SimFlexParser* flexParser() { return hasUdfModule() ? nullptr : &flexParser_; }

    /// Its flexible parser; null if it has none.
    [[nodiscard]] const SimFlexParser* flexParser() const
    {
        return hasUdfModule() ? nullptr : &flexParser_;
    }

    /// The statistics; null on an HSDK chip.
    [[nodiscard]] SimStat* statistics() { return isHsdk() ? nullptr : &statistics_; }

    /// Its statistics; null if it has flex counters.
    [[nodiscard]] const SimStat* statistics() const { return isHsdk() ? nullptr : &statistics_; }

    /// The flex counters; null on an SDK-6 chip.
    [[nodiscard]] SimFlexctr* flexCounters() { return isHsdk() ? &flexCounters_ : nullptr; }

    /// Its flex counters; null if it has statistics.
    [[nodiscard]] const SimFlexctr* flexCounters() const
    {
        return isHsdk() ? &flexCounters_ : nullptr;
    }

    /// Whether the UDF module, or the flexible parser, has the user-defined field.
    [[nodiscard]] bool hasUdf( bcm_udf_id_t udfId ) const
    {
        return hasUdfModule() ? udfModule_.has( udfId ) : flexParser_.has( udfId );
    }

    /// Lets an entry see some traffic, and tells whether a counter counts it: the entry must be in
    /// the hardware and have one for it.
    bool count( bcm_field_entry_t entry, const Traffic& traffic );

    /// Changes a bit of what the chip holds (`SoftError.h`, which tells what is wrong with an error
    /// whatever the chip holds). False if it does not hold such a bit.
    bool flip( const SoftError& error );

    /// What the chip holds now.
    [[nodiscard]] ChipSnapshot snapshot() const;

    /// How full the chip is, one row for each kind of thing it can run out of.
    [[nodiscard]] std::vector< Resource > occupancy() const;

    /// All that the chip holds: two chips in the same state compare equal.
    [[nodiscard]] State state() const;

    /// Goes back to an earlier state. Ids handed out since are not handed out again for that.
    void stateIs( const State& state );

  private:
    void addCountersTo( std::vector< Resource >& all ) const;
    void addUdfModuleTo( std::vector< Resource >& all ) const;
    void addFlexParserTo( std::vector< Resource >& all ) const;

    [[nodiscard]] bool isHsdk() const { return profile_.chip == ChipKind::hsdk; }

    [[nodiscard]] bool hasUdfModule() const { return profile_.chip == ChipKind::sdk6UdfModule; }

    const ChipProfile profile_;
    SimRange ranges_;
    SimField field_;
    SimPolicer policers_;
    SimUdfModule udfModule_;
    SimFlexParser flexParser_;
    SimStat statistics_;
    SimFlexctr flexCounters_;
};

} // namespace Sim
