#pragma once

/// Gives TCAM entries counters on a chip that is driven through HSDK, where they are flex counters.
///
/// Makes no SDK calls of its own: the agent's counter object manager and flex counter manager do.
/// Flex counters are addressed by entry; a byte type and the packet type that follows it share one.
/// A priority without a flex counter object gives an entry no counter, which is no error; neither
/// is an attachment that is not complete.
///
/// The agent sets both managers before the first operation (an operation that needs one which is
/// not set is an assertion failure), holds the helper by `Ptr` and calls it with the activity lock
/// held.
///
///     auto helper = PeloraTcamHsdkCounterHelper::PeloraTcamHsdkCounterHelperIs(
///         pipeId, unit, chipInfo );
///     const CounterInfo info = helper->allocateCounter(
///         stageIfp(), groupId, entryId, { { CounterType::packets, true } }, priority );
///     helper->getPacketHits( info );

#include "agent/base/RegisteredClass.h"
#include "agent/tcam/CounterHelper.h"

namespace PeloraTcam {

/// The counter helper of HSDK: flex counters.
class PELORA_TCAM_EXPORT PeloraTcamHsdkCounterHelper
    : public Agent::RegisteredClass< PeloraTcamHsdkCounterHelper, PeloraTcamCounterHelper >
{
  public:
    /// `pipeId` is the pipe, 0 to 255; `unit` the chip's SDK unit; `chipInfo` is copied.
    PeloraTcamHsdkCounterHelper( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo );
    ~PeloraTcamHsdkCounterHelper() override;

    /// A new helper. `pipeId`: the chip's pipe; `unit`: its SDK unit; `chipInfo`: its description.
    [[nodiscard]] static Agent::Ptr< PeloraTcamHsdkCounterHelper >
    PeloraTcamHsdkCounterHelperIs( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo );

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;

    CounterInfo allocateCounter( StageType stage,
                                 LogicalGroupId logicalGroupId,
                                 const TcamEntryId& entryId,
                                 const CounterSet& counterSet,
                                 TcamGroupPriority priority ) override;
    /// Always true.
    bool freeCounter( StageType stage,
                      LogicalGroupId logicalGroupId,
                      const TcamEntryId& entryId,
                      const CounterInfo& counterInfo,
                      TcamGroupPriority priority ) override;
    /// The bytes for a byte type; the packets for any other.
    U64 getStatHits( unsigned entryId, CounterType counterType, StageType stage ) override;
    U64 getPacketHits( const CounterInfo& counterInfo ) override;
    U64 getByteHits( const CounterInfo& counterInfo ) override;
    /// The index of the entry's flex counter of that type; 0 if it has none. The entry must hold
    /// flex counters (an assertion failure otherwise).
    S32 getCounterHwIdx( unsigned entryId, CounterType counterType, StageType stage ) override;

    /// Clears all flex counters of the entry, whatever the record's set.
    void clearHitsForEntry( const CounterInfo& counterInfo ) override;
    /// Must not be called: an assertion failure.
    bool isStatIdInstalledInHardware( unsigned statId ) override;
    /// Does nothing.
    void maybeClearHitsAfterEntryInstall( unsigned statId ) override;
    /// Not supported: an assertion failure.
    void handleFlashDownload() override;
    /// Traces only.
    void configureCounter() override;
    /// Traces only: flex counters are not read back.
    void verifyCounters( unsigned statId, const CounterStatus& counterStatus ) override;
    void handleInitialized() override;

    /// Counts the live helpers of this class.
    static Agent::AllocationTracker memAllocationTracker_;
};

/// A new helper, as `PeloraTcamHsdkCounterHelper::PeloraTcamHsdkCounterHelperIs` makes it.
[[nodiscard]] PELORA_TCAM_EXPORT Agent::Ptr< PeloraTcamHsdkCounterHelper >
peloraTcamHsdkCounterHelperFactory( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo );

} // namespace PeloraTcam
