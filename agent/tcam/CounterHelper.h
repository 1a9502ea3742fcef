#pragma once

/// The interface of the counter helpers: they give TCAM entries counters in the chip.
///
/// The agent's counter manager owns the records of the counters (`CounterInfo`) and calls a helper
/// of the chip's kind. Operations are called with the agent's activity lock held, and release it
/// while they call the SDK.
///
/// In every operation `stage` is the entry's stage, `entryId` the SDK's id of the entry, `statId`
/// the `statId` of its record, which a helper of flex counters takes as the entry's id. Of a
/// logical group id bits 0 to 7 and bit 24 say which SDK group it is. A `CounterSet` has the types
/// that are its keys, whatever they are mapped to.

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

    /// Slot 5: gives an entry the counters of a set, whose types are 1 to 8. `priority` is that of
    /// the entry's group. Gives the record, or the default `CounterInfo` when there is no room.
    virtual CounterInfo allocateCounter( StageType stage,
                                         LogicalGroupId logicalGroupId,
                                         const TcamEntryId& entryId,
                                         const CounterSet& counterSet,
                                         TcamGroupPriority priority ) = 0;
    /// Slot 6: takes an entry's counters away, with the arguments and the record of
    /// `allocateCounter`; true when they are gone. A failure of the SDK is fatal.
    virtual bool freeCounter( StageType stage,
                              LogicalGroupId logicalGroupId,
                              const TcamEntryId& entryId,
                              const CounterInfo& counterInfo,
                              TcamGroupPriority priority ) = 0;
    /// Slot 7: what one counter has counted: bytes or packets, as its type says.
    virtual U64 getStatHits( unsigned statId, CounterType counterType, StageType stage ) = 0;
    /// Slot 8: the packets that all packet counters of a record have counted together; 0 if it has
    /// none.
    virtual U64 getPacketHits( const CounterInfo& counterInfo ) = 0;
    /// Slot 9: the bytes that all byte counters of a record have counted together; 0 if it has
    /// none.
    virtual U64 getByteHits( const CounterInfo& counterInfo ) = 0;
    /// Slot 10: the index of a counter in the chip's counter pools.
    virtual S32 getCounterHwIdx( unsigned statId, CounterType counterType, StageType stage ) = 0;
    /// Slot 11: sets the counters of a record to 0. A failure of the SDK is fatal.
    virtual void clearHitsForEntry( const CounterInfo& counterInfo ) = 0;
    /// Slot 12: whether the chip has the statistic.
    virtual bool isStatIdInstalledInHardware( unsigned statId ) = 0;
    /// Slot 13: by its name for the time after an entry's installation. No helper of the library
    /// does anything to the chip.
    virtual void maybeClearHitsAfterEntryInstall( unsigned statId ) = 0;
    /// Slot 14: no helper of the library supports it: an assertion failure.
    virtual void handleFlashDownload() = 0;
    /// Slot 15: no helper of the library does anything to the chip.
    virtual void configureCounter() = 0;
    /// Slot 16: proves that the counters of a record can still be read.
    virtual void verifyCounters( unsigned statId, const CounterStatus& counterStatus ) = 0;
    /// Slot 17: called once the helper's attributes are set and `initializedIs( true )` was called
    /// (an assertion failure otherwise).
    virtual void handleInitialized() = 0;

    /// The pipe.
    [[nodiscard]] U8 pipeId() const { return pipeId_; }

    /// The chip's SDK unit.
    [[nodiscard]] U32 unit() const { return unit_; }

    /// The chip.
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
