#pragma once

/// A TCAM manager's way with range checkers, small enough to read at a glance.
///
/// The manager owns the software collection: what it asked the chip for, under which id, and how
/// many users share it. Equal descriptors share one range checker; the chip hears of the first
/// user and of the last. It talks to the chip through a range checker helper alone.
///
/// All operations are called with the agent's activity lock held, by any thread; `Overlap.h` tells
/// how they stay right while the lock is free. Running out of range checkers is a result; whatever
/// else goes wrong in the chip ends the process inside the helper. An exception of the SDK leaves
/// the record as it was.
///
///     Reference::RangeCheckerManager manager( helper );
///     const auto id = manager.acquire( { 1024, 65535, RangeType::l4SrcPort } );
///     if ( id ) { manager.release( *id ); }

#include "agent/base/Ptr.h"
#include "agent/tcam/RangeCheckerHelper.h"
#include "reference/Overlap.h"

#include <cstddef>
#include <optional>

namespace Reference {

/// Owns the records of range checkers; see the top of this header.
class RangeCheckerManager
{
  public:
    /// `helper` programs the chip; it is kept alive, and is not null.
    explicit RangeCheckerManager( Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper > helper );

    /// A range checker for the descriptor: an existing one with one more user, or a new one.
    /// Nothing when the chip has none left.
    [[nodiscard]] std::optional< PeloraTcam::RangeCheckerId >
    acquire( const PeloraTcam::RangeCheckerDesc& desc );

    /// Takes one user away; the last one gives the range checker back to the chip. False when the
    /// id is none of this manager's.
    bool release( PeloraTcam::RangeCheckerId rangeCheckerId );

    /// Compares every record with the chip; a mismatch ends the process. Gives the number of
    /// records compared. What its last user lets go of meanwhile, it gives back.
    std::size_t audit() const;

    /// How many range checkers the manager holds.
    [[nodiscard]] std::size_t size() const { return records_.size(); }

    /// How many users a range checker has; 0 for an id that is none of this manager's.
    [[nodiscard]] std::size_t users( PeloraTcam::RangeCheckerId rangeCheckerId ) const;

  private:
    struct DescHash
    {
        std::size_t operator()( const PeloraTcam::RangeCheckerDesc& desc ) const;
    };

    using Records = SharedRecords< PeloraTcam::RangeCheckerDesc,
                                   PeloraTcam::RangeCheckerId,
                                   Agent::Ptr< const PeloraTcam::RangeCheckerData >,
                                   DescHash >;

    [[nodiscard]] auto givingBack() const;
    [[nodiscard]] PeloraTcam::RangeCheckerId make( const PeloraTcam::RangeCheckerDesc& desc );
    [[nodiscard]] bool record( PeloraTcam::RangeCheckerId id,
                               const PeloraTcam::RangeCheckerDesc& desc );

    const Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper > helper_;
    mutable Records records_; // An audit gives back what its last user lets go of.
};

} // namespace Reference
