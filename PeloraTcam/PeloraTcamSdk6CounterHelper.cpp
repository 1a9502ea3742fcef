#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"

#include "PeloraTcam/CounterCommon.h"
#include "agent/base/Assert.h"
#include "agent/base/Attributes.h"
#include "agent/base/Trace.h"
#include "agent/tcam/GroupIdMap.h"
#include "agent/tcam/InitFuncs.h"
#include "sdk/SdkCall.h"

#include <array>
#include <utility>

namespace PeloraTcam {

namespace {

using Helper = PeloraTcamSdk6CounterHelper;

constexpr Agent::FieldDescriptor attributes[] = {
    { "chipInfo" }, { "evictionHelper" }, { "pipeId" }, { "unit" } };

const Agent::TypeRecord types[] = { Agent::createdType< &Helper::PeloraTcamSdk6CounterHelperIs >(
    "PeloraTcam::PeloraTcamSdk6CounterHelper", attributes ) };

const Agent::RegisteredModule module( "PeloraTcam/PeloraTcamSdk6CounterHelper", types );

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

const Agent::TraceHandle& _defaultTraceHandle()
{
    // DIFFERS: the HSDK helper has "PeloraTcamHsdkCounterHelper".
    static const Agent::TraceHandle handle( "PeloraTcamCounterManager" );
    return handle;
}

/// The key under which the agent knows the SDK group of a logical group.
// DIFFERS: the HSDK key has no pipe bits.
U32 hardwareGroupKey( LogicalGroupId logicalGroupId, U8 pipeId )
{
    constexpr U32 pipeBits = 0x7;
    constexpr unsigned pipeShift = 24;
    return commonHardwareGroupKey( logicalGroupId ) | ( pipeId & pipeBits ) << pipeShift;
}

using EvictionHelper = Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper >;

/// One of the two reads of the eviction helper.
using FieldStatGet = int ( PeloraTcamSdk6CounterEvictionHelper::* )( U32,
                                                                     U32,
                                                                     bcm_field_stat_t,
                                                                     U64* );

constexpr FieldStatGet getBytes = &PeloraTcamSdk6CounterEvictionHelper::fieldStatGetBytes;
constexpr FieldStatGet getPackets = &PeloraTcamSdk6CounterEvictionHelper::fieldStatGetPackets;

constexpr const char* getBytesText = "evictionHelper()->fieldStatGetBytes( unit(), statId, "
                                     "translateStatType( counterIter.key() ), &stats )";
constexpr const char* getPacketsText = "evictionHelper()->fieldStatGetPackets( unit(), statId, "
                                       "translateStatType( counterIter.key() ), &stats )";

/// What the counters of the wanted types have counted together, as far as they can be read. The
/// first is read through the eviction helper given, which the agent has had since the locks were
/// taken.
template< bool ( *isWanted )( CounterType ), FieldStatGet fieldStatGet >
[[gnu::always_inline]] inline U64 sumOfHits( const Helper& helper,
                                             EvictionHelper eviction,
                                             const CounterInfo& counterInfo,
                                             const Shim::CallSite& site )
{
    const U32 unit = helper.unit();
    const U32 statId = counterInfo.statId;
    U64 sum = 0;
    for ( const CounterType type : CounterTypeList( counterInfo.counterSet ) ) {
        if ( !isWanted( type ) ) {
            continue;
        }
        if ( !eviction ) {
            eviction = helper.evictionHelper();
        }
        const bcm_field_stat_t statType = translateStatType( type );
        U64 stats = 0;
        const int rc = Shim::tracedCall( apiTraceHandle_, site, [ & ] {
            return ( *eviction.*fieldStatGet )( unit, statId, statType, &stats );
        } );
        // The agent may have got another one while the locks were released.
        eviction = nullptr;
        // KEPT: a counter that cannot be read is left out without a word, though verifyCounters
        // dies of it.
        sum += rc == Shim::sdk().BCM_E_NONE() ? stats : 0;
    }
    return sum;
}

/// Reads one counter, which must succeed, and drops what it reads.
void proveReadable( const Helper& helper,
                    U32 statId,
                    CounterType type,
                    FieldStatGet fieldStatGet,
                    const Shim::CallSite& site )
{
    const auto eviction = helper.evictionHelper();
    const U32 unit = helper.unit();
    const bcm_field_stat_t statType = translateStatType( type );
    U64 stats = 0;
    Shim::checkedCall( apiTraceHandle_, site, [ & ] {
        return ( *eviction.*fieldStatGet )( unit, statId, statType, &stats );
    } );
}

} // namespace

Agent::AllocationTracker
    PeloraTcamSdk6CounterHelper::memAllocationTracker_( "PeloraTcam::PeloraTcamSdk6CounterHelper" );

PeloraTcamSdk6CounterHelper::PeloraTcamSdk6CounterHelper( U8 pipeId,
                                                          U32 unit,
                                                          const PeloraCentral::ChipInfo& chipInfo )
    : RegisteredClass( pipeId, unit, chipInfo )
{}

PeloraTcamSdk6CounterHelper::~PeloraTcamSdk6CounterHelper() = default;

Agent::Ptr< Helper > PeloraTcamSdk6CounterHelper::PeloraTcamSdk6CounterHelperIs(
    U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo )
{
    return make( pipeId, unit, chipInfo );
}

Agent::Ptr< Helper >
peloraTcamSdk6CounterHelperFactory( U8 pipeId, U32 unit, const PeloraCentral::ChipInfo& chipInfo )
{
    return Helper::PeloraTcamSdk6CounterHelperIs( pipeId, unit, chipInfo );
}

const Agent::ModuleRecord& PeloraTcamSdk6CounterHelper::typeData() const
{
    return module;
}

// DIFFERS: HSDK has no eviction helper, and so no attribute of that name.
int PeloraTcamSdk6CounterHelper::attributeOperation( Agent::Node& node,
                                                     const Agent::FieldDescriptor& field,
                                                     Agent::AttributeOperation operation,
                                                     void* result )
{
    return Agent::readableAttributes(
        node, field, operation, result,
        Agent::ReadableAttribute{ "evictionHelper", &Helper::evictionHelper } );
}

Agent::Ptr< PeloraTcamSdk6CounterEvictionHelper >
PeloraTcamSdk6CounterHelper::evictionHelper() const
{
    const Agent::Ptr< BaseSdk6InitFunc >& registered = registeredInitFunc( baseSdk6InitFuncName );
    AGENT_ASSERT_AS( "initFunc && \"invalid BaseInitFunc\"", registered );
    const EvictionHelper& eviction = registered->evictionHelper();
    AGENT_ASSERT_AS( "eh && \"invalid eviction helper\"", eviction );
    return eviction;
}

bcm_field_stat_t translateStatType( const CounterType& counterType )
{
    switch ( counterType ) {
    case CounterType::invalid:
        // DIFFERS: HSDK hands the type on to the services.
        AGENT_FAIL( "false && \"invalid counter type requested\"" );
    case CounterType::bytes:
        return Shim::sdk().bcmFieldStatBytes();
    case CounterType::packets:
        return Shim::sdk().bcmFieldStatPackets();
    case CounterType::redBytes:
        return Shim::sdk().bcmFieldStatRedBytes();
    case CounterType::redPackets:
        return Shim::sdk().bcmFieldStatRedPackets();
    case CounterType::greenBytes:
        return Shim::sdk().bcmFieldStatGreenBytes();
    case CounterType::greenPackets:
        return Shim::sdk().bcmFieldStatGreenPackets();
    case CounterType::yellowBytes:
        return Shim::sdk().bcmFieldStatYellowBytes();
    case CounterType::yellowPackets:
        return Shim::sdk().bcmFieldStatYellowPackets();
    }
    return Shim::sdk().bcmFieldStatDefault();
}

CounterInfo PeloraTcamSdk6CounterHelper::allocateCounter( StageType stage,
                                                          LogicalGroupId logicalGroupId,
                                                          const TcamEntryId& requestedEntryId,
                                                          const CounterSet& counterSet,
                                                          TcamGroupPriority )
{
    // Copies: the request may change while the locks are released.
    const TcamEntryId entryId = requestedEntryId;
    Agent::trace( _defaultTraceHandle(), 9, "allocateCounter", " GroupId: 0x",
                  Agent::hex( logicalGroupId ), " EntryId: 0x", Agent::hex( entryId ) );

    CounterInfo allocated;
    std::array< bcm_field_stat_t, mostCounterTypes > statTypesList;
    int statCount = 0;
    for ( const auto& [ type, wanted ] : counterSet ) {
        allocated.counterSet.emplace_hint( allocated.counterSet.end(), type, wanted );
        statTypesList[ static_cast< std::size_t >( statCount++ ) ] = translateStatType( type );
    }

    const S32 hardwareGroupId =
        getGroupIdMap().getHardwareGroupId( hardwareGroupKey( logicalGroupId, pipeId() ) );
    // DIFFERS: HSDK does not trace the group.
    Agent::trace( _defaultTraceHandle(), 8, " Creating stat for group: ", hardwareGroupId );

    // DIFFERS: with HSDK the agent's flex counter services do the work.
    const int sdkUnit = static_cast< int >( unit() );
    int sdkStatId = 0;
    const int rc = SDK_TRACED_CALL_AS(
        "bcm_field_stat_create( unit(), hardwareGroupId, statCount, statTypesList, &sdkStatId )",
        bcm_field_stat_create, sdkUnit, hardwareGroupId, statCount, statTypesList.data(),
        &sdkStatId );
    // DIFFERS: HSDK asks beforehand whether there is anything to allocate from.
    if ( rc != Shim::sdk().BCM_E_NONE() ) {
        allocated.counterSet.clear();
        return allocated;
    }
    // DIFFERS: HSDK gives the default record when the attachment is refused.
    SDK_CHECKED_CALL_AS( "bcm_field_entry_stat_attach( unit(), entryId, sdkStatId )",
                         bcm_field_entry_stat_attach, sdkUnit,
                         static_cast< bcm_field_entry_t >( entryId ), sdkStatId );
    allocated.counterId = counterIdInc();
    allocated.stage = stage;
    allocated.logicalGroupId = logicalGroupId;
    // DIFFERS: HSDK records the entry in the place of the statistic.
    allocated.statId = static_cast< U32 >( sdkStatId );
    allocated.entryId = entryId;
    return allocated;
}

bool PeloraTcamSdk6CounterHelper::freeCounter( StageType,
                                               LogicalGroupId logicalGroupId,
                                               const TcamEntryId& entryId,
                                               const CounterInfo& counterInfo,
                                               TcamGroupPriority )
{
    Agent::trace( _defaultTraceHandle(), 9, "freeCounter", " GroupId: 0x",
                  Agent::hex( logicalGroupId ), " EntryId: 0x", Agent::hex( entryId ),
                  " CounterId: 0x", Agent::hex( counterInfo.counterId ) );

    const int sdkUnit = static_cast< int >( unit() );
    const int statId = static_cast< int >( counterInfo.statId );
    const auto entry = static_cast< bcm_field_entry_t >( entryId );
    SDK_CHECKED_CALL_AS( "bcm_field_entry_stat_detach( unit(), entryId, statId )",
                         bcm_field_entry_stat_detach, sdkUnit, entry, statId );
    SDK_CHECKED_CALL_AS( "bcm_field_stat_destroy( unit(), statId )", bcm_field_stat_destroy,
                         sdkUnit, statId );
    return true;
}

// KEPT: what was read is given whatever the return code.
U64 PeloraTcamSdk6CounterHelper::getStatHits( unsigned statId, CounterType counterType, StageType )
{
    // DIFFERS: HSDK names the entry.
    Agent::trace( _defaultTraceHandle(), 9, "getStatHits", " StatId: ", statId,
                  " counterType: ", counterType );
    // DIFFERS: HSDK has no eviction helper, here and where counters are read or cleared below.
    const EvictionHelper eviction = evictionHelper();
    // Required, although it cannot fail: evictionHelper() gives none that is null.
    AGENT_ASSERT_AS( "!!evictionHelper() && \"Eviction Helper is missing\"", eviction );

    U64 stats = 0;
    const U32 sdkUnit = unit();
    if ( isByteType( counterType ) ) {
        const bcm_field_stat_t statType = translateStatType( counterType );
        Shim::tracedCall(
            apiTraceHandle_,
            SDK_CALL_SITE( "evictionHelper()->fieldStatGetBytes( unit(), sid, "
                           "translateStatType( counterType ), &stats )" ),
            [ & ] { return eviction->fieldStatGetBytes( sdkUnit, statId, statType, &stats ); } );
    } else if ( isPacketType( counterType ) ) {
        const bcm_field_stat_t statType = translateStatType( counterType );
        Shim::tracedCall(
            apiTraceHandle_,
            SDK_CALL_SITE( "evictionHelper()->fieldStatGetPackets( unit(), sid, "
                           "translateStatType( counterType ), &stats )" ),
            [ & ] { return eviction->fieldStatGetPackets( sdkUnit, statId, statType, &stats ); } );
    } else {
        // DIFFERS: HSDK gives the packets of a flex counter that the entry does not have: 0.
        AGENT_FAIL( "0 && \"Invalid stat type\"" );
    }
    return stats;
}

// DIFFERS: each type has a counter of its own; with HSDK the two types of a pair share one.

U64 PeloraTcamSdk6CounterHelper::getPacketHits( const CounterInfo& counterInfo )
{
    Agent::trace( _defaultTraceHandle(), 9, "getPacketHits", " CounterId 0x",
                  Agent::hex( counterInfo.counterId ) );
    EvictionHelper eviction = evictionHelper();
    // Required, although it cannot fail: evictionHelper() gives none that is null.
    AGENT_ASSERT_AS( "!!evictionHelper() && \"Eviction Helper is missing\"", eviction );
    static constexpr Shim::CallSite site = SDK_CALL_SITE( getPacketsText );
    return sumOfHits< isPacketType, getPackets >( *this, std::move( eviction ), counterInfo, site );
}

U64 PeloraTcamSdk6CounterHelper::getByteHits( const CounterInfo& counterInfo )
{
    Agent::trace( _defaultTraceHandle(), 9, "getByteHits", " CounterId 0x",
                  Agent::hex( counterInfo.counterId ) );
    EvictionHelper eviction = evictionHelper();
    // Required, although it cannot fail: evictionHelper() gives none that is null.
    AGENT_ASSERT_AS( "!!evictionHelper() && \"Eviction Helper is missing\"", eviction );
    static constexpr Shim::CallSite site = SDK_CALL_SITE( getBytesText );
    return sumOfHits< isByteType, getBytes >( *this, std::move( eviction ), counterInfo, site );
}

// DIFFERS: HSDK finds the index among those that it gave the entry, by the pipe that its manager
// converts; it gives 0 for none, and names the entry in the trace.
S32 PeloraTcamSdk6CounterHelper::getCounterHwIdx( unsigned statId,
                                                  CounterType counterType,
                                                  StageType )
{
    Agent::trace( _defaultTraceHandle(), 9, "getCounterHwIdx", " statId  ", statId,
                  " Type : ", counterType );
    const S32 invalidIndex = Shim::sdk().BCM_FIELD_STAT_INVALID_INDEX();
    if ( !evictionHelper()->poolIndicesAvailable() ) {
        return invalidIndex;
    }

    const bcm_field_stat_t statType = translateStatType( counterType );
    const int sdkUnit = static_cast< int >( unit() );
    int poolId = invalidIndex;
    int poolType = invalidIndex;
    std::array< int, 3 > indices = { invalidIndex, invalidIndex, invalidIndex };
    int pipe = invalidIndex;
    const int rc = SDK_TRACED_CALL_AS(
        "korvel_bcm_esw_field_stat_pool_index_get( unit(), statId, ( bcm_field_stat_t )bcmField, "
        "&poolId, &poolType, &indices[ 0 ], &indices[ 1 ], &indices[ 2 ], &bcmpipe )",
        korvel_bcm_esw_field_stat_pool_index_get, sdkUnit, static_cast< int >( statId ), statType,
        &poolId, &poolType, &indices[ 0 ], &indices[ 1 ], &indices[ 2 ], &pipe );
    AGENT_ASSERT_AS( "BCM_E_NONE == rc", rc == Shim::sdk().BCM_E_NONE() );

    Agent::trace( _defaultTraceHandle(), 6, "statId : ", statId, " bcmField: ", statType,
                  " poolId: ", poolId, " bcmpipe: ", pipe, " unit: ", unit(),
                  " Indices: ", indices[ 0 ], ", ", indices[ 1 ], ", ", indices[ 2 ],
                  " CounterType: ", counterType );
    return indices[ 0 ];
}

// DIFFERS: HSDK clears all flex counters of the entry at once, whatever the set, and traces the
// entry too.
void PeloraTcamSdk6CounterHelper::clearHitsForEntry( const CounterInfo& counterInfo )
{
    Agent::trace( _defaultTraceHandle(), 9, "clearHitsForEntry", " CounterId: 0x",
                  Agent::hex( counterInfo.counterId ) );
    // Required, although it cannot fail: evictionHelper() gives none that is null.
    AGENT_ASSERT_AS( "!!evictionHelper() && \"Eviction Helper is missing\"", evictionHelper() );

    const U32 sdkUnit = unit();
    const U32 statId = counterInfo.statId;
    for ( const CounterType type : CounterTypeList( counterInfo.counterSet ) ) {
        const bool countsPackets = isPacketType( type );
        const bool countsBytes = isByteType( type );
        AGENT_ASSERT_AS( "statPacketClear == !statByteClear", countsPackets != countsBytes );
        const bcm_field_stat_t statType = translateStatType( type );
        SDK_CHECKED_CALL_AS(
            "bcm_field_stat_set( unit(), statId, translateStatType( counterIter.key() ), 0 )",
            bcm_field_stat_set, static_cast< int >( sdkUnit ), static_cast< int >( statId ),
            statType, 0 );
        // The one that the agent has now. It may wait until the SDK has read the statistic.
        const EvictionHelper eviction = evictionHelper();
        Shim::callWithLocksReleased( [ & ] {
            eviction->clearEvictionCounter( sdkUnit, statId, statType, countsPackets, countsBytes );
        } );
    }
}

// DIFFERS: HSDK must not be asked.
bool PeloraTcamSdk6CounterHelper::isStatIdInstalledInHardware( unsigned statId )
{
    Agent::trace( _defaultTraceHandle(), 9, "isStatIdInstalledInHardware", " StatId: ", statId );
    return Shim::sdk().korvel_bcm_field_stat_installed_in_hw( static_cast< int >( unit() ),
                                                              static_cast< int >( statId ) );
}

// DIFFERS: HSDK does not trace it.
void PeloraTcamSdk6CounterHelper::maybeClearHitsAfterEntryInstall( unsigned statId )
{
    Agent::trace( _defaultTraceHandle(), 9, "maybeClearHitsAfterEntryInstall",
                  " StatId: ", statId );
}

void PeloraTcamSdk6CounterHelper::handleFlashDownload()
{
    AGENT_FAIL( "false && \"Call to unimplemented interface handleFlashDownload\"" );
}

void PeloraTcamSdk6CounterHelper::configureCounter()
{
    Agent::trace( _defaultTraceHandle(), 9, "configureCounter" );
}

// KEPT: the values are dropped and compared with nothing: the proof is that each statistic can
// still be read.
// DIFFERS: HSDK reads nothing.
void PeloraTcamSdk6CounterHelper::verifyCounters( unsigned statId,
                                                  const CounterStatus& counterStatus )
{
    Agent::trace( _defaultTraceHandle(), 9, "verifyCounters", " stats: ", statId,
                  " counter status: ", counterStatus );
    for ( const CounterType type : CounterTypeList( counterStatus ) ) {
        if ( isByteType( type ) ) {
            proveReadable( *this, statId, type, getBytes, SDK_CALL_SITE( getBytesText ) );
        } else if ( isPacketType( type ) ) {
            proveReadable( *this, statId, type, getPackets, SDK_CALL_SITE( getPacketsText ) );
        } else {
            AGENT_FAIL( "0 && \"Invalid counter type\"" );
        }
    }
}

void PeloraTcamSdk6CounterHelper::handleInitialized()
{
    Agent::trace( _defaultTraceHandle(), 8, "handleInitialized" );
    AGENT_ASSERT( initialized() );
}

} // namespace PeloraTcam
