#include "PeloraTcam/PeloraTcamHsdkCounterHelper.h"

#include "PeloraTcam/CounterCommon.h"
#include "agent/base/Assert.h"
#include "agent/base/Trace.h"
#include "agent/tcam/FlexctrServices.h"
#include "agent/tcam/GroupIdMap.h"
#include "sdk/SdkCall.h"

#include <array>
#include <utility>

namespace PeloraTcam {

namespace {

using Helper = PeloraTcamHsdkCounterHelper;

// DIFFERS: SDK-6 has the attribute "evictionHelper" too, and needs that helper to read and clear.
constexpr Agent::FieldDescriptor attributes[] = { { "chipInfo" }, { "pipeId" }, { "unit" } };

const Agent::TypeRecord types[] = { Agent::createdType< &Helper::PeloraTcamHsdkCounterHelperIs >(
    "PeloraTcam::PeloraTcamHsdkCounterHelper", attributes ) };

const Agent::RegisteredModule module( "PeloraTcam/PeloraTcamHsdkCounterHelper", types );

// Not used here: every source file of a helper has one.
[[maybe_unused]] const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

const Agent::TraceHandle& _defaultTraceHandle()
{
    // DIFFERS: the SDK-6 helper has "PeloraTcamCounterManager".
    static const Agent::TraceHandle handle( "PeloraTcamHsdkCounterHelper" );
    return handle;
}

/// The agent's counter object manager, which must be set.
PeloraTcamCounterObjectManager& counterObjectManager()
{
    PeloraTcamCounterObjectManager* const manager = getCounterObjectManager();
    AGENT_ASSERT_AS( "getCounterObjectManager() && \"counter object manager is not set\"",
                     manager );
    return *manager;
}

/// The agent's flex counter manager, which must be set.
FlexctrManager& flexctrManager()
{
    FlexctrManager* const manager = getFlexctrManager();
    AGENT_ASSERT_AS( "getFlexctrManager() && \"flex counter manager is not set\"", manager );
    return *manager;
}

/// What an entry's flex counter of a type has counted.
struct Hits
{
    U64 packets = 0;
    U64 bytes = 0;
};

// DIFFERS: with SDK-6 each type has a counter of its own.
Hits readFlexctr( const Helper& helper, StageType stage, TcamEntryId entryId, CounterType type )
{
    Hits hits;
    flexctrManager().getFlexctr( helper.unit(), stage, helper.pipeId(), helper.chipInfo(), entryId,
                                 packetTypeOfPair( type ), hits.packets, hits.bytes );
    return hits;
}

/// What the flex counters of the wanted types have counted together.
U64 sumOfHits( const Helper& helper,
               const CounterInfo& counterInfo,
               bool ( *isWanted )( CounterType ),
               U64 Hits::*amount )
{
    const StageType stage = counterInfo.stage;
    const TcamEntryId entryId = counterInfo.entryId;
    U64 sum = 0;
    for ( const CounterType type : CounterTypeList( counterInfo.counterSet ) ) {
        if ( isWanted( type ) ) {
            sum += readFlexctr( helper, stage, entryId, type ).*amount;
        }
    }
    return sum;
}

} // namespace

Agent::AllocationTracker
    PeloraTcamHsdkCounterHelper::memAllocationTracker_( "PeloraTcam::PeloraTcamHsdkCounterHelper" );

PeloraTcamHsdkCounterHelper::PeloraTcamHsdkCounterHelper( U8 pipeId,
                                                          U32 unit,
                                                          const PeloraCentral::ChipInfo& chipInfo )
    : RegisteredClass( pipeId, unit, chipInfo )
{}

PeloraTcamHsdkCounterHelper::~PeloraTcamHsdkCounterHelper() = default;

Agent::Ptr< Helper > PeloraTcamHsdkCounterHelper::PeloraTcamHsdkCounterHelperIs(
    U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo )
{
    return make( pipeId, unit, chipInfo );
}

Agent::Ptr< Helper >
peloraTcamHsdkCounterHelperFactory( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo )
{
    return Helper::PeloraTcamHsdkCounterHelperIs( pipeId, unit, chipInfo );
}

const Agent::ModuleRecord& PeloraTcamHsdkCounterHelper::typeData() const
{
    return module;
}

CounterInfo PeloraTcamHsdkCounterHelper::allocateCounter( StageType stage,
                                                          LogicalGroupId logicalGroupId,
                                                          const TcamEntryId& requestedEntryId,
                                                          const CounterSet& requestedSet,
                                                          TcamGroupPriority priority )
{
    // A copy: the request may change while the manager has the locks released.
    const TcamEntryId entryId = requestedEntryId;
    Agent::trace( _defaultTraceHandle(), 9, "allocateCounter", " GroupId: 0x",
                  Agent::hex( logicalGroupId ), " EntryId: 0x", Agent::hex( entryId ) );
    // DIFFERS: SDK-6 learns from the SDK's refusal that there is no room.
    const FlexctrObjectId object =
        counterObjectManager().getCounterObject( unit(), stage, pipeId(), priority );
    if ( object == Shim::sdk().BCM_FLEXCTR_INVALID_OBJECT() ) {
        Agent::trace( _defaultTraceHandle(), 1, "allocateCounter",
                      "FlexctrObject unallocated for prio ", priority,
                      " not allocating counters " );
        return {};
    }

    CounterSet counterSet = requestedSet; // As above.
    // DIFFERS: the SDK-6 key has the pipe's bits too.
    const S32 hardwareGroupId =
        getGroupIdMap().getHardwareGroupId( commonHardwareGroupKey( logicalGroupId ) );
    // DIFFERS: SDK-6 traces the group, fails at counter type 0, and calls the SDK itself.
    const FlexctrAttachment attachment = flexctrManager().attachFlexctr(
        unit(), stage, pipeId(), chipInfo(), priority, entryId, counterSet, hardwareGroupId );
    // DIFFERS: with SDK-6 a refused attachment is fatal.
    if ( !attachment.complete() ) {
        return {};
    }
    // DIFFERS: SDK-6 records the statistic's id; a flex counter is addressed by its entry.
    return { counterIdInc(), stage, std::move( counterSet ), logicalGroupId, entryId, entryId };
}

bool PeloraTcamHsdkCounterHelper::freeCounter( StageType stage,
                                               LogicalGroupId logicalGroupId,
                                               const TcamEntryId& entryId,
                                               const CounterInfo& counterInfo,
                                               TcamGroupPriority priority )
{
    Agent::trace( _defaultTraceHandle(), 9, "freeCounter", " GroupId: 0x",
                  Agent::hex( logicalGroupId ), " EntryId: 0x", Agent::hex( entryId ),
                  " CounterId: 0x", Agent::hex( counterInfo.counterId ) );
    flexctrManager().detachFlexctr( unit(), stage, pipeId(), chipInfo(), priority, entryId );
    return true;
}

U64 PeloraTcamHsdkCounterHelper::getStatHits( unsigned entryId,
                                              CounterType counterType,
                                              StageType stage )
{
    // DIFFERS: SDK-6 names the statistic.
    Agent::trace( _defaultTraceHandle(), 9, "getStatHits", " entryId: ", entryId,
                  " counterType: ", counterType );
    // DIFFERS: with SDK-6 a type that is neither a byte nor a packet type is a failed assertion.
    const Hits hits = readFlexctr( *this, stage, entryId, counterType );
    return isByteType( counterType ) ? hits.bytes : hits.packets;
}

// DIFFERS: with SDK-6 each type has a counter of its own. Here the two types of a pair share one,
// and each function reads for the types of one kind only: no pair is counted twice.

U64 PeloraTcamHsdkCounterHelper::getPacketHits( const CounterInfo& counterInfo )
{
    Agent::trace( _defaultTraceHandle(), 9, "getPacketHits", " CounterId 0x",
                  Agent::hex( counterInfo.counterId ) );
    return sumOfHits( *this, counterInfo, isPacketType, &Hits::packets );
}

U64 PeloraTcamHsdkCounterHelper::getByteHits( const CounterInfo& counterInfo )
{
    Agent::trace( _defaultTraceHandle(), 9, "getByteHits", " CounterId 0x",
                  Agent::hex( counterInfo.counterId ) );
    return sumOfHits( *this, counterInfo, isByteType, &Hits::bytes );
}

// DIFFERS: SDK-6 asks the SDK for a place in the chip's counter pools, does not use the pipe, gives
// the SDK's invalid index where there are none, and names the statistic in the trace.
S32 PeloraTcamHsdkCounterHelper::getCounterHwIdx( unsigned entryId,
                                                  CounterType counterType,
                                                  StageType stage )
{
    Agent::trace( _defaultTraceHandle(), 9, "getCounterHwIdx", " entryId  ", entryId,
                  " Type : ", counterType );
    FlexctrManager& manager = flexctrManager();
    FlexctrActionIndexManager* const actionIndices = manager.actionIndexMgr();
    AGENT_ASSERT_AS( "flexctrManager->actionIndexMgr()", actionIndices );
    // The one operation that converts the pipe first.
    const U8 pipe = manager.getPipe( pipeId(), stage );
    const FlexctrAllocPerEntry* const allocation =
        actionIndices->getFlexctrAllocPerEntry( unit(), entryId, pipe );
    AGENT_ASSERT_AS( "flexctrAlloc", allocation );
    const auto found = allocation->find( packetTypeOfPair( counterType ) );
    return found == allocation->end() ? 0 : static_cast< S32 >( found->second );
}

// DIFFERS: SDK-6 sets the counters of the set to 0, one by one, and does not trace the entry.
void PeloraTcamHsdkCounterHelper::clearHitsForEntry( const CounterInfo& counterInfo )
{
    Agent::trace( _defaultTraceHandle(), 9, "clearHitsForEntry", " CounterId: 0x",
                  Agent::hex( counterInfo.counterId ), " Clearing EntryId: 0x",
                  Agent::hex( counterInfo.entryId ) );
    flexctrManager().clearFlexctr( unit(), counterInfo.stage, pipeId(), chipInfo(),
                                   counterInfo.entryId, true );
}

// DIFFERS: SDK-6 asks the SDK.
bool PeloraTcamHsdkCounterHelper::isStatIdInstalledInHardware( unsigned )
{
    AGENT_FAIL( "0 && \"Unreachable code\"" );
}

// DIFFERS: SDK-6 traces it.
void PeloraTcamHsdkCounterHelper::maybeClearHitsAfterEntryInstall( unsigned ) {}

void PeloraTcamHsdkCounterHelper::handleFlashDownload()
{
    AGENT_FAIL( "false && \"Call to unimplemented interface handleFlashDownload\"" );
}

void PeloraTcamHsdkCounterHelper::configureCounter()
{
    Agent::trace( _defaultTraceHandle(), 9, "configureCounter" );
}

// DIFFERS: the SDK-6 helper reads every statistic of the status.
void PeloraTcamHsdkCounterHelper::verifyCounters( unsigned statId,
                                                  const CounterStatus& counterStatus )
{
    Agent::trace( _defaultTraceHandle(), 9, "verifyCounters", " stats: ", statId,
                  " counter status: ", counterStatus );
}

void PeloraTcamHsdkCounterHelper::handleInitialized()
{
    Agent::trace( _defaultTraceHandle(), 8, "handleInitialized" );
    AGENT_ASSERT( initialized() );
}

} // namespace PeloraTcam
