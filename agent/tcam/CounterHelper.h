#pragma once

/// The interface of the counter helpers: they give TCAM entries counters in the chip.
///
/// The agent's counter manager owns the records of the counters (`CounterInfo`) and calls a helper
/// of the chip's kind. Operations are called with the agent's activity lock held.

#include "agent/base/Export.h"
#include "agent/base/TypeRegistry.h"
#include "agent/tcam/ChipInfo.h"
#include "agent/tcam/CounterTypes.h"
#include "agent/tcam/TcamTypes.h"

namespace PeloraTcam {

/// Attributes: "chipInfo", "pipeId", "unit".
class AGENT_EXPORT PeloraTcamCounterHelper : public Agent::Node
{
  public:
    ~PeloraTcamCounterHelper() override;

    /// Slot 5: gives an entry the counters of a set. The default `CounterInfo` when there is no
    /// room for them.
    virtual CounterInfo allocateCounter( StageType stage,
                                         LogicalGroupId logicalGroupId,
                                         const TcamEntryId& entryId,
                                         const CounterSet& counterSet,
                                         TcamGroupPriority priority ) = 0;
    /// Slot 6: takes an entry's counters away; true when they are gone.
    virtual bool freeCounter( StageType stage,
                              LogicalGroupId logicalGroupId,
                              const TcamEntryId& entryId,
                              const CounterInfo& counterInfo,
                              TcamGroupPriority priority ) = 0;
    /// Slot 7: what one counter has counted.
    virtual U64 getStatHits( unsigned statId, CounterType counterType, StageType stage ) = 0;
    /// Slot 8: the packets that all packet counters of a record have counted together.
    virtual U64 getPacketHits( const CounterInfo& counterInfo ) = 0;
    /// Slot 9: the bytes that all byte counters of a record have counted together.
    virtual U64 getByteHits( const CounterInfo& counterInfo ) = 0;
    /// Slot 10: the index of a counter in the chip's counter pools.
    virtual S32 getCounterHwIdx( unsigned statId, CounterType counterType, StageType stage ) = 0;
    /// Slot 11: sets the counters of a record to 0.
    virtual void clearHitsForEntry( const CounterInfo& counterInfo ) = 0;
    /// Slot 12: whether the chip has the statistic.
    virtual bool isStatIdInstalledInHardware( unsigned statId ) = 0;
    /// Slot 13: called when an entry has been installed.
    virtual void maybeClearHitsAfterEntryInstall( unsigned statId ) = 0;
    /// Slot 14: called when the chip has taken over a new image.
    virtual void handleFlashDownload() = 0;
    /// Slot 15: called when the configuration of the counters changes.
    virtual void configureCounter() = 0;
    /// Slot 16: proves that the counters of a record can still be read.
    virtual void verifyCounters( unsigned statId, const CounterStatus& counterStatus ) = 0;
    /// Slot 17: called once the helper's attributes are set.
    virtual void handleInitialized() = 0;

    [[nodiscard]] U8 pipeId() const { return pipeId_; }

    /// The chip's SDK unit.
    [[nodiscard]] U32 unit() const { return unit_; }

    [[nodiscard]] const PeloraCentral::ChipInfo& chipInfo() const { return chipInfo_; }

    /// Serves the reading of "chipInfo", "pipeId" and "unit".
    static int attributeOperation( Agent::Node& node,
                                   const Agent::FieldDescriptor& field,
                                   Agent::AttributeOperation operation,
                                   void* result );

  protected:
    /// `pipeId`: the chip's pipe; `unit`: its SDK unit; `chipInfo`: its description, copied.
    PeloraTcamCounterHelper( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo );

    /// The next counter id; the first one is 1.
    U32 counterIdInc() { return ++counterId_; }

  private:
    U8 pipeId_;
    U32 unit_;
    PeloraCentral::ChipInfo chipInfo_;
    U32 counterId_ = 0;
};

} // namespace PeloraTcam
