#pragma once

/// Gives TCAM entries statistics on a chip that is driven through SDK-6.
///
/// One field statistic an entry, with one counter for each type asked for. Reads go through the
/// agent's counter eviction helper, which accumulates counters that are narrower than 64 bits. A
/// statistic that cannot be created is a result; a failure to attach, detach, destroy or clear one
/// is fatal. When the SDK throws, what it did before stays: nothing is undone.
///
/// The agent holds the helper by `Ptr` and calls it with the activity lock held.
///
///     auto helper = PeloraTcamSdk6CounterHelper::PeloraTcamSdk6CounterHelperIs(
///         pipeId, unit, chipInfo );
///     const CounterInfo info = helper->allocateCounter(
///         stageIfp(), groupId, entryId, { { CounterType::packets, true } }, priority );
///     helper->getPacketHits( info );

#include "agent/base/RegisteredClass.h"
#include "agent/tcam/CounterEvictionHelper.h"
#include "agent/tcam/CounterHelper.h"
#include "sdk/SdkTypes.h"

namespace PeloraTcam {

/// The counter helper of SDK-6: statistics.
class PELORA_TCAM_EXPORT PeloraTcamSdk6CounterHelper
    : public Agent::RegisteredClass< PeloraTcamSdk6CounterHelper, PeloraTcamCounterHelper >
{
  public:
    /// `pipeId` is the pipe, 0 to 255; `unit` the chip's SDK unit; `chipInfo` is copied.
    PeloraTcamSdk6CounterHelper( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo );
    ~PeloraTcamSdk6CounterHelper() override;

    /// A new helper. `pipeId`: the chip's pipe; `unit`: its SDK unit; `chipInfo`: its description.
    [[nodiscard]] static Agent::Ptr< PeloraTcamSdk6CounterHelper >
    PeloraTcamSdk6CounterHelperIs( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo );

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;

    /// Type 0 in the set is an assertion failure; a type above 8 gets the SDK's default statistic.
    CounterInfo allocateCounter( StageType stage,
                                 LogicalGroupId logicalGroupId,
                                 const TcamEntryId& entryId,
                                 const CounterSet& counterSet,
                                 TcamGroupPriority priority ) override;
    bool freeCounter( StageType stage,
                      LogicalGroupId logicalGroupId,
                      const TcamEntryId& entryId,
                      const CounterInfo& counterInfo,
                      TcamGroupPriority priority ) override;
    /// Gives what was read, 0 if nothing, whatever the SDK's return code. A type other than 1 to 8,
    /// or no eviction helper, is an assertion failure.
    U64 getStatHits( unsigned statId, CounterType counterType, StageType stage ) override;
    /// A counter that cannot be read is left out of the sum. Needs the eviction helper, also for an
    /// empty set (an assertion failure otherwise).
    U64 getPacketHits( const CounterInfo& counterInfo ) override;
    /// As `getPacketHits`.
    U64 getByteHits( const CounterInfo& counterInfo ) override;
    /// The SDK's invalid index where the eviction helper has no pool indices; an SDK that has them
    /// and does not give one is an assertion failure.
    S32 getCounterHwIdx( unsigned statId, CounterType counterType, StageType stage ) override;
    /// Sets each counter to 0 in the chip, then in the eviction helper. A counter that is read in
    /// between gives what it counted before, as long as the eviction helper is told of the setting
    /// (`CounterEvictionSdk`). A type other than 1 to 8, or no eviction helper, is an assertion
    /// failure.
    void clearHitsForEntry( const CounterInfo& counterInfo ) override;
    bool isStatIdInstalledInHardware( unsigned statId ) override;
    /// Traces only.
    void maybeClearHitsAfterEntryInstall( unsigned statId ) override;
    /// Not supported: an assertion failure.
    void handleFlashDownload() override;
    /// Traces only.
    void configureCounter() override;
    /// Reads every statistic of the status and drops what it reads; one that cannot be read is
    /// fatal, a type other than 1 to 8 is an assertion failure.
    void verifyCounters( unsigned statId, const CounterStatus& counterStatus ) override;
    void handleInitialized() override;

    /// The agent's counter eviction helper; an assertion fails if there is none.
    [[nodiscard]] Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper > evictionHelper() const;

    /// Serves the reading of "evictionHelper".
    static int attributeOperation( Agent::Node& node,
                                   const Agent::FieldDescriptor& field,
                                   Agent::AttributeOperation operation,
                                   void* result );

    /// Counts the live helpers of this class.
    static Agent::AllocationTracker memAllocationTracker_;
};

/// A new helper, as `PeloraTcamSdk6CounterHelper::PeloraTcamSdk6CounterHelperIs` makes it.
[[nodiscard]] PELORA_TCAM_EXPORT Agent::Ptr< PeloraTcamSdk6CounterHelper >
peloraTcamSdk6CounterHelperFactory( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo );

/// The SDK's statistic type for a counter type: the SDK's default one for a type above 8; type 0
/// is an assertion failure.
[[nodiscard]] PELORA_TCAM_EXPORT bcm_field_stat_t
translateStatType( const CounterType& counterType );

} // namespace PeloraTcam
