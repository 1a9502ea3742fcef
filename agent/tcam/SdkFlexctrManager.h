#pragma once

/// The flex counter manager over the SDK, with its action index manager.
///
/// An entry's flex counters are counters of the object of its stage, pipe and group priority: one
/// for each pair of counter types. Counters wrap at their hardware width; the manager adds their
/// readings up in 64 bits, which is right as long as a counter does not wrap more than once
/// between two readings. Used under the activity lock, which it releases while it calls the SDK;
/// reading allocates nothing.
///
///     SdkFlexctrManager flexctrs( objects, 36 );
///     flexctrManagerIs( &flexctrs );

#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/tcam/FlexctrCounter.h"
#include "agent/tcam/SdkCounterObjectManager.h"
#include "sdk/SdkEnumerations.h"

#include <cstddef>
#include <map>
#include <tuple>

namespace PeloraTcam {

/// The SDK's colour of the packets that the flex counter of a packet type counts: all of them for
/// `packets` and for whatever is no packet type. Asks the access object.
[[nodiscard]] AGENT_EXPORT bcm_flexctr_color_t flexctrColorOf( CounterType packetType );

/// Attaches entries to counters with the SDK; see the top of this header.
class AGENT_EXPORT SdkFlexctrManager final : public FlexctrManager,
                                             private FlexctrActionIndexManager
{
  public:
    /// `counterBits`: the width of the chips' counters, 1 to 64 bits. The objects must outlive
    /// this.
    SdkFlexctrManager( SdkCounterObjectManager& objects, unsigned counterBits );
    SdkFlexctrManager( const SdkFlexctrManager& ) = delete;
    SdkFlexctrManager& operator=( const SdkFlexctrManager& ) = delete;
    ~SdkFlexctrManager() override;

    /// Attaches all or nothing: `refused` if the set is empty or has a type that is neither a byte
    /// nor a packet type, if the entry has flex counters already, or if the SDK refuses;
    /// `noFreeIndex` if there is no object or if its counters do not suffice. The counters start at
    /// 0; a failure to set them is fatal. When the SDK throws, the indices stay taken.
    FlexctrAttachment attachFlexctr( U32 unit,
                                     StageType stage,
                                     U8 pipe,
                                     const PeloraCentral::ChipInfo& chipInfo,
                                     TcamGroupPriority priority,
                                     TcamEntryId entryId,
                                     const CounterSet& counterSet,
                                     S32 hardwareGroupId ) override;

    /// The entry must have flex counters (an assertion failure); a failure of the SDK is fatal.
    /// When the SDK throws, the entry keeps its record: detach it again, which goes on with the
    /// counter at which the SDK threw. (Had another thread given the entry flex counters meanwhile,
    /// it has those, and the indices stay taken.)
    void detachFlexctr( U32 unit,
                        StageType stage,
                        U8 pipe,
                        const PeloraCentral::ChipInfo& chipInfo,
                        TcamGroupPriority priority,
                        TcamEntryId entryId ) override;

    /// Gives 0 for a flex counter that the entry does not have, and what has been read so far when
    /// the SDK cannot read it.
    void getFlexctr( U32 unit,
                     StageType stage,
                     U8 pipe,
                     const PeloraCentral::ChipInfo& chipInfo,
                     TcamEntryId entryId,
                     CounterType counterType,
                     U64& packets,
                     U64& bytes ) override;

    /// Nothing happens to an entry without flex counters. A failure of the SDK to set a counter is
    /// fatal.
    void clearFlexctr( U32 unit,
                       StageType stage,
                       U8 pipe,
                       const PeloraCentral::ChipInfo& chipInfo,
                       TcamEntryId entryId,
                       bool inHardware ) override;

    /// The egress stage is common to all pipes: its allocations are kept under pipe 0.
    U8 getPipe( U8 pipeId, StageType stage ) override;

    FlexctrActionIndexManager* actionIndexMgr() override { return this; }

    /// How many entries have flex counters.
    [[nodiscard]] std::size_t attached() const { return records_.size(); }

  private:
    /// Unit, entry, and pipe as `getPipe` gives it.
    using Key = std::tuple< U32, TcamEntryId, U8 >;

    /// The flex counters of an entry, by packet type.
    struct Record
    {
        FlexctrObjectId object = 0;
        FlexctrAllocPerEntry indices;
        std::map< CounterType, Agent::Ptr< FlexctrCounter > > counters;
        std::size_t attached = 0; ///< so many of the counters, the first ones
    };

    const FlexctrAllocPerEntry*
    getFlexctrAllocPerEntry( U32 unit, TcamEntryId entryId, U8 pipe ) override;

    Record* find( const Key& key );
    bool takeIndices( U32 unit, Record& record, const CounterSet& packetTypes );
    void giveIndicesBack( U32 unit, const Record& record );
    bool attachAll( int unit, TcamEntryId entryId, Record& record );
    void detachAll( int unit, TcamEntryId entryId, Record& record );

    SdkCounterObjectManager& objects_;
    const U64 counterMask_;
    std::map< Key, Record > records_;
};

} // namespace PeloraTcam
