#pragma once

/// Gives TCAM entries statistics on a chip that is driven through SDK-6.
///
/// One field statistic an entry, with one counter for each type asked for. Reads go through the
/// agent's counter eviction helper, which accumulates counters that are narrower than 64 bits. A
/// statistic that cannot be created is a result; a failure to attach, detach, destroy or clear one
/// is fatal.
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

class PELORA_TCAM_EXPORT PeloraTcamSdk6CounterHelper
    : public Agent::RegisteredClass< PeloraTcamSdk6CounterHelper, PeloraTcamCounterHelper >
{
  public:
    PeloraTcamSdk6CounterHelper( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo );
    ~PeloraTcamSdk6CounterHelper() override;

    /// A new helper. `pipeId`: the chip's pipe; `unit`: its SDK unit; `chipInfo`: its description.
    [[nodiscard]] static Agent::Ptr< PeloraTcamSdk6CounterHelper >
    PeloraTcamSdk6CounterHelperIs( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo );

    [[nodiscard]] const Agent::ModuleRecord& typeData() const override;

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
    U64 getStatHits( unsigned statId, CounterType counterType, StageType stage ) override;
    U64 getPacketHits( const CounterInfo& counterInfo ) override;
    U64 getByteHits( const CounterInfo& counterInfo ) override;
    S32 getCounterHwIdx( unsigned statId, CounterType counterType, StageType stage ) override;
    void clearHitsForEntry( const CounterInfo& counterInfo ) override;
    bool isStatIdInstalledInHardware( unsigned statId ) override;
    void maybeClearHitsAfterEntryInstall( unsigned statId ) override;
    /// Not supported: an assertion failure.
    void handleFlashDownload() override;
    void configureCounter() override;
    /// Reads every statistic of the status; one that cannot be read is fatal.
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
