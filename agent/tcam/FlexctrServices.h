#pragma once

/// The agent's services behind the counters of HSDK chips, whose TCAM entries have flex counters.
///
/// A flex counter counts packets and bytes at once and is addressed by its entry. The counter
/// object manager owns the flex counter objects, one for each unit, stage, pipe and group priority;
/// the flex counter manager attaches them to entries, reads, clears and detaches them; its action
/// index manager keeps which indices of an object an entry holds.
///
/// The services are interfaces: the agent says which implementation is in use, keeps it alive and
/// takes it away again. They are used under the activity lock.

#include "agent/base/Export.h"
#include "agent/tcam/ChipInfo.h"
#include "agent/tcam/CounterTypes.h"
#include "agent/tcam/TcamTypes.h"

#include <map>

namespace PeloraTcam {

/// The SDK's id of a flex counter object.
using FlexctrObjectId = U32;

/// Knows the flex counter objects that the agent has made.
class AGENT_EXPORT PeloraTcamCounterObjectManager
{
  public:
    virtual ~PeloraTcamCounterObjectManager();

    /// The flex counter object of a unit, stage, pipe and group priority; the access object's
    /// invalid-object constant if there is none.
    virtual FlexctrObjectId
    getCounterObject( U32 unit, StageType stage, U8 pipe, TcamGroupPriority priority ) = 0;
};

/// How an attachment ended.
enum class FlexctrAttachState : U8
{
    complete = 0,
    noFreeIndex = 1,
    refused = 2, ///< the SDK refused to attach the object to the entry
};

/// The result of an attachment.
struct FlexctrAttachment
{
    FlexctrAttachState state = FlexctrAttachState::noFreeIndex; ///< how it ended

    /// Whether the entry has all the counters that were asked for.
    [[nodiscard]] bool complete() const { return state == FlexctrAttachState::complete; }
};

/// The indices that one entry holds, by counter type.
using FlexctrAllocPerEntry = std::map< CounterType, U32 >;

/// Knows which indices of a flex counter object an entry holds.
class AGENT_EXPORT FlexctrActionIndexManager
{
  public:
    virtual ~FlexctrActionIndexManager();

    /// What an entry holds; null if it holds nothing.
    virtual const FlexctrAllocPerEntry*
    getFlexctrAllocPerEntry( U32 unit, TcamEntryId entryId, U8 pipe ) = 0;
};

/// Gives entries flex counters, reads them, and takes them away.
class AGENT_EXPORT FlexctrManager
{
  public:
    virtual ~FlexctrManager();

    /// Gives an entry flex counters for the types of a set.
    virtual FlexctrAttachment attachFlexctr( U32 unit,
                                             StageType stage,
                                             U8 pipe,
                                             const PeloraCentral::ChipInfo& chipInfo,
                                             TcamGroupPriority priority,
                                             TcamEntryId entryId,
                                             const CounterSet& counterSet,
                                             S32 hardwareGroupId ) = 0;

    /// Takes an entry's flex counters away.
    virtual void detachFlexctr( U32 unit,
                                StageType stage,
                                U8 pipe,
                                const PeloraCentral::ChipInfo& chipInfo,
                                TcamGroupPriority priority,
                                TcamEntryId entryId ) = 0;

    /// What the flex counter of a packet type has counted: `packets` and `bytes`.
    virtual void getFlexctr( U32 unit,
                             StageType stage,
                             U8 pipe,
                             const PeloraCentral::ChipInfo& chipInfo,
                             TcamEntryId entryId,
                             CounterType counterType,
                             U64& packets,
                             U64& bytes ) = 0;

    /// Sets an entry's flex counters to 0; `inHardware` says whether in the chip too, not only in
    /// what was accumulated.
    virtual void clearFlexctr( U32 unit,
                               StageType stage,
                               U8 pipe,
                               const PeloraCentral::ChipInfo& chipInfo,
                               TcamEntryId entryId,
                               bool inHardware ) = 0;

    /// The pipe under which a stage's allocations of a pipe are kept.
    virtual U8 getPipe( U8 pipeId, StageType stage ) = 0;

    /// The manager's action index manager; null if it has none.
    virtual FlexctrActionIndexManager* actionIndexMgr() = 0;
};

/// The agent's counter object manager; null until the agent sets it.
[[nodiscard]] AGENT_EXPORT PeloraTcamCounterObjectManager* getCounterObjectManager();
AGENT_EXPORT void counterObjectManagerIs( PeloraTcamCounterObjectManager* manager );

/// The agent's flex counter manager; null until the agent sets it.
[[nodiscard]] AGENT_EXPORT FlexctrManager* getFlexctrManager();
AGENT_EXPORT void flexctrManagerIs( FlexctrManager* manager );

} // namespace PeloraTcam
