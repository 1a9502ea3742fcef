#pragma once

/// A TCAM manager's way with policers.
///
/// The manager owns the software collection: what it asked the chip for, for which stage, under
/// which id, and how many users share it. A user may share a policer with others who want the same
/// and share too, or have one of his own. It talks to the chip through a policer helper alone,
/// whichever suits the chip.
///
/// The SDK-6 helper takes an exhausted policer table for a fatal failure, so the manager counts and
/// never asks for more than it may; on HSDK the stage's pool of the agent's id manager may be
/// exhausted before. Both are a result. Whatever else goes wrong in the chip ends the process
/// inside the helper.
///
/// The ids of all stages are distinct: on HSDK the agent gives the stages' pools different ids.
///
/// All operations are called with the agent's activity lock held, by any thread; `Overlap.h` tells
/// how they stay right while the lock is free. An exception of the SDK leaves the record as it was.
///
///     Reference::PolicerManager manager( helper, 512 );
///     const auto id = manager.acquire( policer, stageIfp(), PolicerSharing::shared );
///     if ( id ) { manager.release( *id ); }

#include "agent/base/Ptr.h"
#include "agent/tcam/PolicerHelper.h"
#include "reference/Overlap.h"

#include <cstddef>
#include <optional>

namespace Reference {

/// Whether equal policers may be one.
enum class PolicerSharing : Agent::U8
{
    own,
    shared,
};

/// Owns the records of policers; see the top of this header.
class PolicerManager
{
  public:
    /// `helper` is not null; `capacity` is how many policers the manager may have in the chip at
    /// once.
    PolicerManager( Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper > helper,
                    std::size_t capacity );

    /// A policer for entries of a stage: one that is shared and equal, with one more user, or a
    /// new one. Nothing when there is no room. An unknown mode is an assertion failure inside the
    /// helper.
    [[nodiscard]] std::optional< PeloraTcam::PolicerId > acquire(
        const PeloraTcam::Policer& policer, PeloraTcam::StageType stage, PolicerSharing sharing );

    /// Takes one user away; the last one gives the policer back to the chip, where no entry may
    /// refer to it any more. False when the id is none of this manager's.
    bool release( PeloraTcam::PolicerId policerId );

    /// Compares every record with the chip; a mismatch ends the process. Gives the number of
    /// records compared. What its last user lets go of meanwhile, it gives back.
    std::size_t audit() const;

    /// How many policers the manager holds.
    [[nodiscard]] std::size_t size() const { return records_.size(); }

    /// How many policers the chip has.
    [[nodiscard]] std::size_t capacity() const { return capacity_; }

    /// How many users a policer has; 0 for an id that is none of this manager's.
    [[nodiscard]] std::size_t users( PeloraTcam::PolicerId policerId ) const;

  private:
    /// What is shared is found again by what it is and for which stage.
    struct Wanted
    {
        PeloraTcam::Policer policer;
        PeloraTcam::StageType stage = PeloraTcam::StageType::invalid;

        friend bool operator==( const Wanted&, const Wanted& ) = default;
    };

    struct WantedHash
    {
        std::size_t operator()( const Wanted& wanted ) const;
    };

    using Records = SharedRecords< Wanted,
                                   PeloraTcam::PolicerId,
                                   Agent::Ptr< const PeloraTcam::PolicerData >,
                                   WantedHash >;

    [[nodiscard]] auto givingBack() const;
    [[nodiscard]] PeloraTcam::PolicerId make( const Wanted& wanted, bool isShared );
    [[nodiscard]] bool record( PeloraTcam::PolicerId id, const Wanted& wanted, bool isShared );

    const Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper > helper_;
    const std::size_t capacity_;
    mutable Records records_; // An audit gives back what its last user lets go of.
};

} // namespace Reference
