#pragma once

/// A simulated chip with an agent on it: the reference managers over the library's helpers, the
/// agent's services, and what makes SDK calls go wrong in between.
///
/// One at a time: services, id pools and `Shim::sdk_` are the process's. The thread that makes it
/// holds the activity lock until it is gone.

#include "PeloraTcam/PeloraTcamUdfSdk6Helper.h"
#include "agent/base/Locks.h"
#include "agent/base/Log.h"
#include "agent/tcam/CounterEvictionSdk.h"
#include "reference/CompressionManager.h"
#include "reference/CounterManager.h"
#include "reference/CounterServices.h"
#include "reference/EntryManager.h"
#include "reference/GroupManager.h"
#include "reference/PolicerManager.h"
#include "reference/PreselectorManager.h"
#include "reference/RangeCheckerManager.h"
#include "reference/RuleSetProgrammer.h"
#include "reference/UdfManager.h"
#include "sim/FaultInjectingSdk.h"
#include "sim/SimulatedSdk.h"
#include "tests/soak/Tally.h"

#include <array>
#include <memory>
#include <string>

namespace Soak {

class AgentOnChip
{
  public:
    static constexpr int unit = 2;
    static constexpr Agent::U8 pipe = 1;
    /// How many policers may stay in the chip that the manager has given back: the manager counts
    /// policers, because the library takes a full table for a fatal failure.
    static constexpr Agent::U32 sparePolicers = 2;

    /// A group where counters are looked for.
    struct Group
    {
        bcm_field_group_t id = 0;
        PeloraTcam::LogicalGroupId logicalId = 0;
    };

    /// The chip has room for at least three groups and four policers.
    AgentOnChip( const Sim::ChipProfile& chipProfile, Tally& tally );
    AgentOnChip( const AgentOnChip& ) = delete;
    AgentOnChip& operator=( const AgentOnChip& ) = delete;
    ~AgentOnChip();

    [[nodiscard]] bool isHsdk() const { return profile.chip == Sim::ChipKind::hsdk; }

    [[nodiscard]] bool hasUdfModule() const { return profile.chip == Sim::ChipKind::sdk6UdfModule; }

    [[nodiscard]] Sim::SimulatedChip& chip() const { return *chips.chip( unit ); }

    /// Gives back what the agent has from its start, and requires that the chip and the services
    /// are as at the start. Everything else must have been given back.
    void shutDown();

    const Sim::ChipProfile profile;
    const Reference::SdkVariant variant;
    Sim::SimulatedSdk chips;
    Sim::FaultInjectingSdk faulty{ chips };

  private:
    [[nodiscard]] unsigned counterWidth() const;
    [[nodiscard]] std::unique_ptr< Reference::CompressionManager > makeCompression() const;
    [[nodiscard]] Agent::Ptr< PeloraTcam::PeloraTcamCounterHelper > counterHelper() const;
    [[nodiscard]] Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper > policerHelper() const;
    [[nodiscard]] Agent::Ptr< PeloraTcam::UdfHelperBase > udfHelper();
    void makeGroups();
    [[nodiscard]] Reference::CounterObjectPlace counterPlace() const;

    Agent::LockAnchor activity_{ Agent::activityLock() };
    Reference::CounterServices services_;
    PeloraTcam::CounterEvictionSdk evictionSdk_;
    /// Set on a chip with a UDF module: who knows which packet formats are shared.
    Agent::Ptr< PeloraTcam::UdfModuleHelper > udfModuleHelper_;
    Sim::ChipSnapshot atStart_;
    Agent::LogSink earlierLogSink_;

  public:
    Reference::RangeCheckerManager rangeCheckers;
    Reference::PolicerManager policers;
    std::unique_ptr< Reference::CompressionManager > compression; ///< null without tables
    Reference::CounterManager counters;
    Reference::EntryManager entries;
    Reference::GroupManager groups;
    Reference::PreselectorManager preselectors;
    Reference::UdfManager udfs;
    Reference::RuleSetProgrammer ruleSets;
    std::array< Group, 2 > entryGroups;
};

/// Requires that a chip holds what it held before; prints what has changed if it does not.
void requireSame( const Sim::ChipSnapshot& before,
                  const Sim::ChipSnapshot& now,
                  const std::string& what );

/// Requires that no helper is left, once the agents are gone.
void requireNoHelpers();

} // namespace Soak
