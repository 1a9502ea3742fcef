#pragma once

/// What the steps of a run work on: the chip, the SDK over it, and the agent's managers.
///
/// Made and used in the run's child process, with the agent's activity lock held. For as long as it
/// lives `Shim::sdk_` points into it: to an observer of calls, over the fault-injecting SDK, over
/// the simulated chip. There is one at a time.

#include "agent/tcam/CounterEvictionSdk.h"
#include "agent/tcam/TcamTypes.h"
#include "reference/GroupManager.h"
#include "reference/PreselectorManager.h"
#include "reference/RangeCheckerManager.h"
#include "reference/UdfManager.h"
#include "sim/FaultInjectingSdk.h"
#include "sim/SimulatedSdk.h"
#include "sim/packets/PacketPath.h"
#include "tools/run/CallObserver.h"
#include "tools/run/NamedObjects.h"
#include "tools/run/TcamManagers.h"
#include "tools/run/UdfHelperStart.h"
#include "tools/scenario/Scenario.h"
#include "tools/text/Json.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace Tool {

/// What an audit of everything found.
struct AuditCounts
{
    std::size_t compared = 0;
    std::size_t notJudged = 0; ///< user-defined fields that the library's audit cannot judge
    std::size_t foreign = 0;   ///< user-defined fields of the chip that nobody here has made
};

/// A group as a scenario knows it.
struct NamedGroup
{
    bcm_field_group_t id = 0;
    Reference::GroupDesc desc;
};

/// A TCAM entry as a scenario knows it.
struct NamedEntry
{
    PeloraTcam::TcamEntryId id = 0;
    std::string group; ///< the name of its group
};

/// A user-defined field as a scenario knows it.
struct NamedUdf
{
    PeloraTcam::UdfDesc desc;
    PeloraTcam::QualIdList ids;
};

class RunContext
{
  public:
    /// Is told how many of how many parts of a step are done.
    using Progress = std::function< void( std::size_t done, std::size_t total ) >;

    /// Builds the scenario's chip, with nothing on it, and creates the managers and their helpers.
    RunContext( const Scenario& scenario, const Sim::SdkNumbering& numbering );
    RunContext( const RunContext& ) = delete;
    RunContext& operator=( const RunContext& ) = delete;
    ~RunContext();

    [[nodiscard]] Sim::FaultInjectingSdk& sdk() { return faultySdk_; }

    /// The way of packets through the chip; made when it is asked for first. Its meters go on from
    /// packet to packet.
    [[nodiscard]] Sim::PacketPath& packets();

    /// The simulated time that packets come at, in nanoseconds, unless they say another one.
    [[nodiscard]] std::uint64_t packetTime() const { return packetTime_; }

    void packetTimeIs( std::uint64_t nanoseconds ) { packetTime_ = nanoseconds; }

    /// The scenario's chip.
    [[nodiscard]] const Sim::SimulatedChip& chip() const { return *simulatedSdk_.chip( unit_ ); }

    /// What the SDK's enumerators stand for.
    [[nodiscard]] const Sim::SdkNumbering& numbering() const { return numbering_; }

    [[nodiscard]] Reference::RangeCheckerManager& rangeCheckers() { return rangeCheckers_; }

    [[nodiscard]] NamedObjects< PeloraTcam::RangeCheckerId >& rangeCheckerNames()
    {
        return rangeCheckerNames_;
    }

    [[nodiscard]] Reference::GroupManager& groups() { return groups_; }

    [[nodiscard]] NamedObjects< NamedGroup >& groupNames() { return groupNames_; }

    [[nodiscard]] Reference::PreselectorManager& preselectors() { return preselectors_; }

    [[nodiscard]] NamedObjects< bcm_field_presel_t >& preselectorNames()
    {
        return preselectorNames_;
    }

    /// The manager of user-defined fields; made, with its helper, when it is asked for first.
    /// Throws a `StepError` if the library has no helper for the chip.
    [[nodiscard]] Reference::UdfManager& udfs();

    [[nodiscard]] NamedObjects< NamedUdf >& udfNames() { return udfNames_; }

    [[nodiscard]] const NamedObjects< NamedUdf >& udfNames() const { return udfNames_; }

    /// Whether the chip runs out of user-defined fields without an SDK call that says so.
    [[nodiscard]] bool hasFlexParser() const
    {
        return udfHelperRequest_.chip != Sim::ChipKind::sdk6UdfModule;
    }

    /// The managers of entries, counters, policers and compression.
    [[nodiscard]] TcamManagers& tcam() { return tcam_; }

    [[nodiscard]] NamedObjects< PeloraTcam::PolicerId >& policerNames() { return policerNames_; }

    [[nodiscard]] NamedObjects< NamedEntry >& entryNames() { return entryNames_; }

    /// Lets an entry of the chip see some traffic, and tells whether a counter counts it.
    bool seeTraffic( bcm_field_entry_t entry, const Sim::Traffic& traffic )
    {
        return simulatedSdk_.chip( unit_ )->count( entry, traffic );
    }

    /// Compares what the managers have recorded with the chip; a mismatch ends the process.
    [[nodiscard]] AuditCounts audit() const;

    /// The first SDK call since the step's beginning, or since it was forgotten, that failed.
    [[nodiscard]] const std::optional< FailedCall >& firstFailure() const
    {
        return observer_.firstFailure();
    }

    /// The last SDK call since the step's beginning, or since it was forgotten, that failed.
    [[nodiscard]] const std::optional< FailedCall >& lastFailure() const
    {
        return observer_.lastFailure();
    }

    void forgetFailure() { observer_.forgetFailure(); }

    /// What the chip holds: an object with a member for each resource, of `used` and `capacity`.
    [[nodiscard]] Json occupancy() const;

    /// All that the chip holds: a list of objects with their fields, in the order in which they are
    /// to be read.
    [[nodiscard]] Json snapshot() const;

    /// Steps that take long say how far they are.
    void progressed( std::size_t done, std::size_t total ) const;

    void progressIs( Progress progress ) { progress_ = std::move( progress ); }

  private:
    /// Has the chip made, `Shim::sdk_` set and the translation maps built before any helper is
    /// made.
    class SdkInUse
    {
      public:
        SdkInUse( Sim::SimulatedSdk& chips, Shim::SdkAccess& sdk, const Scenario& scenario );
        SdkInUse( const SdkInUse& ) = delete;
        SdkInUse& operator=( const SdkInUse& ) = delete;
        ~SdkInUse();
    };

    int unit_;
    Sim::SdkNumbering numbering_;
    Sim::SimulatedSdk simulatedSdk_;
    Sim::FaultInjectingSdk faultySdk_;
    Reference::CounterServices counterServices_;
    PeloraTcam::CounterEvictionSdk evictionSdk_;
    CallObserver observer_;
    SdkInUse sdkInUse_;
    Reference::RangeCheckerManager rangeCheckers_;
    NamedObjects< PeloraTcam::RangeCheckerId > rangeCheckerNames_{ "range checker" };
    Reference::GroupManager groups_;
    NamedObjects< NamedGroup > groupNames_{ "group" };
    Reference::PreselectorManager preselectors_;
    NamedObjects< bcm_field_presel_t > preselectorNames_{ "preselector" };
    UdfHelperRequest udfHelperRequest_;
    std::optional< Reference::UdfManager > udfs_;
    NamedObjects< NamedUdf > udfNames_{ "user-defined field" };
    TcamManagers tcam_;
    NamedObjects< PeloraTcam::PolicerId > policerNames_{ "policer" };
    NamedObjects< NamedEntry > entryNames_{ "entry" };
    std::optional< Sim::PacketPath > packets_;
    std::uint64_t packetTime_ = 0;
    Progress progress_;
};

} // namespace Tool
