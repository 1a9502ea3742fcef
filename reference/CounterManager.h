#pragma once

/// A TCAM manager's way with the counters of entries.
///
/// The manager owns the software collection: which entry has counters, of which types, under which
/// ids. An entry has counters once. It talks to the chip through a counter helper, whichever suits
/// the chip; for its audit it asks the SDK itself what is attached to each entry.
///
/// All operations are called with the agent's activity lock held, by any thread; `Overlap.h` tells
/// how they stay right while the lock is free. Operations on the counters of one entry take turns,
/// those on other entries do not. Counters for which there is no room are a result; a mismatch that
/// the audit finds, and whatever else goes wrong in the chip, ends the process.
///
/// What an exception of the SDK leaves behind: of `allocate` no record, and in the chip what the
/// helper had done by then. Of `free` the record, which audits leave out from then on. On SDK-6 a
/// second `free` goes on where the first one was left: it asks the SDK whether the statistic is
/// still attached. On HSDK the agent's flex counter manager forgets the entry's counters before it
/// detaches them: when that throws, a second `free` is an assertion failure there. All other
/// operations leave the record as it was.
///
/// A helper finds the entry's group by its logical id: the group was created under the SDK id made
/// from it, `generateSdk6GroupIdFormat( logicalGroupId, pipeId )` on SDK-6 and with sub-id 0 on
/// HSDK, or that id stands in the agent's group id map.
///
///     Reference::CounterManager manager( helper, SdkVariant::sdk6 );
///     CounterRequest wanted;
///     wanted.logicalGroupId = logicalGroupId;
///     wanted.entryId = entry;
///     wanted.counterSet = packetsAndBytes();
///     if ( manager.allocate( wanted ) ) {
///         const std::optional< Hits > hits = manager.hits( entry );
///         manager.free( entry );
///     }

#include "agent/base/Ptr.h"
#include "agent/tcam/CounterHelper.h"
#include "reference/Overlap.h"
#include "reference/SdkVariant.h"

#include <cstddef>
#include <optional>
#include <unordered_map>

namespace Reference {

/// The counters that an entry is to have.
struct CounterRequest
{
    PeloraTcam::StageType stage = PeloraTcam::stageIfp(); ///< of the entry's group
    PeloraTcam::LogicalGroupId logicalGroupId = 0;        ///< the agent's id of the entry's group
    PeloraTcam::TcamEntryId entryId = 0;                  ///< the entry that gets counters
    PeloraTcam::CounterSet counterSet;                    ///< what is to be counted; not empty
    PeloraTcam::TcamGroupPriority priority = 0;           ///< of the entry's group
};

/// What the counters of an entry have counted together.
struct Hits
{
    Agent::U64 packets = 0; ///< since the counters were made or cleared
    Agent::U64 bytes = 0;   ///< since the counters were made or cleared

    friend bool operator==( const Hits&, const Hits& ) = default;
};

/// The set with one counter of all packets and their bytes.
[[nodiscard]] PeloraTcam::CounterSet packetsAndBytes();

/// Owns the records of counters; see the top of this header.
class CounterManager
{
  public:
    /// `helper` is not null and is of the chip's variant.
    CounterManager( Agent::Ptr< PeloraTcam::PeloraTcamCounterHelper > helper, SdkVariant variant );

    /// Gives an entry counters. False when there is no room for them, or when the SDK refuses them
    /// (a group that it does not know, an empty set, a set with an unknown type). The entry must
    /// not have any (an assertion failure otherwise; see `find`); false when another thread is just
    /// giving it some.
    [[nodiscard]] bool allocate( const CounterRequest& request );

    /// Takes an entry's counters away; they are left at 0. False when it has none. When the SDK
    /// throws, see above.
    bool free( PeloraTcam::TcamEntryId entryId );

    /// What an entry's counters have counted; nothing when it has none.
    [[nodiscard]] std::optional< Hits > hits( PeloraTcam::TcamEntryId entryId ) const;

    /// Sets an entry's counters to 0. False when it has none.
    bool clear( PeloraTcam::TcamEntryId entryId );

    /// Compares every record with the chip: that the recorded counters are attached to the entry
    /// and can be read. A mismatch ends the process. Leaves out those that an exception left partly
    /// freed. Gives the number of records compared.
    std::size_t audit() const;

    /// How many entries have counters.
    [[nodiscard]] std::size_t size() const { return records_.size(); }

    /// The record of an entry's counters; null when it has none. It is valid until the next
    /// operation, or the next SDK call.
    [[nodiscard]] const PeloraTcam::CounterInfo* find( PeloraTcam::TcamEntryId entryId ) const;

  private:
    struct Record : TakesTurns
    {
        PeloraTcam::CounterInfo info;
        PeloraTcam::TcamGroupPriority priority = 0;
        bool isMade = false;
        bool isPartlyFreed = false; ///< or not at all: freeing it threw, or is under way
    };

    [[nodiscard]] bool begin( PeloraTcam::TcamEntryId entryId );
    [[nodiscard]] bool isDetached( const PeloraTcam::CounterInfo& info ) const;
    void destroyStatistic( const PeloraTcam::CounterInfo& info ) const;
    void verify( const PeloraTcam::CounterInfo& info ) const;
    void verifyStatistic( const PeloraTcam::CounterInfo& info ) const;
    void verifyFlexCounters( const PeloraTcam::CounterInfo& info ) const;

    const Agent::Ptr< PeloraTcam::PeloraTcamCounterHelper > helper_;
    const SdkVariant variant_;
    mutable std::unordered_map< PeloraTcam::TcamEntryId, Record > records_;
};

} // namespace Reference
