// Allocating, freeing and reading counters through the SDK-6 helper, against the bare calls.

#include "bench/Benchmarks.h"
#include "bench/LocksByHand.h"
#include "bench/PairTable.h"

#include "PeloraTcam/PeloraTcamSdk6CounterHelper.h"
#include "agent/tcam/GroupIdMap.h"
#include "agent/tcam/InitFuncs.h"
#include "sdk/SdkAccess.h"

#include <vector>

namespace Bench {

namespace {

using Eviction = PeloraTcam::PeloraTcamSdk6CounterEvictionHelper;
using Helper = PeloraTcam::PeloraTcamSdk6CounterHelper;
using PeloraTcam::CounterInfo;
using PeloraTcam::CounterSet;
using PeloraTcam::CounterType;

constexpr Agent::U32 unit = 0;
constexpr Agent::U32 logicalGroup = 5;
constexpr Agent::U32 entry = 11;
constexpr Agent::U32 priority = 1;
constexpr unsigned counterBits = 64;
constexpr Agent::U32 polledEntries = 8000;

constexpr Budget operationBudget{ .ratio = 1.25 };

Eviction& eviction()
{
    static const Agent::Ptr< Eviction > instance( new Eviction( counterBits ) );
    return *instance;
}

Helper& helper()
{
    static const Agent::Ptr< Helper > instance =
        Helper::PeloraTcamSdk6CounterHelperIs( 0, unit, PeloraCentral::ChipInfo() );
    return *instance;
}

const CounterSet& packets()
{
    static const CounterSet set{ { CounterType::packets, true } };
    return set;
}

void allocateAndFree( Helper& counters )
{
    const CounterInfo info = counters.allocateCounter(
        PeloraTcam::stageIfp(), logicalGroup, entry, packets(), priority );
    counters.freeCounter( PeloraTcam::stageIfp(), logicalGroup, entry, info, priority );
}

/// The result is made as the helper has to make it: the caller gets the set that was allocated.
CounterInfo allocateByHand( const CounterSet& set )
{
    CounterInfo info;
    info.counterSet = set;
    bcm_field_stat_t stat = Shim::sdk_->bcmFieldStatPackets();
    int statId = 0;
    int rc = withLocksByHand(
        [ & ] { return Shim::sdk_->bcm_field_stat_create( unit, 3, 1, &stat, &statId ); } );
    rc |= withLocksByHand(
        [ & ] { return Shim::sdk_->bcm_field_entry_stat_attach( unit, entry, statId ); } );
    benchmark::DoNotOptimize( rc );
    info.statId = static_cast< Agent::U32 >( statId );
    return info;
}

void allocateAndFreeByHand()
{
    const CounterInfo info = allocateByHand( packets() );
    const int statId = static_cast< int >( info.statId );
    int rc = withLocksByHand(
        [ & ] { return Shim::sdk_->bcm_field_entry_stat_detach( unit, entry, statId ); } );
    rc |= withLocksByHand( [ & ] { return Shim::sdk_->bcm_field_stat_destroy( unit, statId ); } );
    benchmark::DoNotOptimize( rc );
}

/// Knows the eviction helper, and asks the agent for nothing.
Agent::U64 readByHand( Eviction& evictionHelper, Agent::U32 statId )
{
    const bcm_field_stat_t type = Shim::sdk_->bcmFieldStatPackets();
    Agent::U64 stats = 0;
    const int rc = withLocksByHand(
        [ & ] { return evictionHelper.fieldStatGetPackets( unit, statId, type, &stats ); } );
    return rc == Shim::sdk_->BCM_E_NONE() ? stats : 0;
}

void registerReading()
{
    Helper* const counters = &helper();
    Eviction* const evictionHelper = &eviction();
    CounterInfo info;
    info.statId = 1;
    info.counterSet = packets();
    registerPair(
        { "counter: read packet hits", {}, operationBudget },
        [ = ] { benchmark::DoNotOptimize( counters->getPacketHits( info ) ); },
        [ = ] { benchmark::DoNotOptimize( readByHand( *evictionHelper, 1 ) ); } );
}

void registerPolling()
{
    Helper* const counters = &helper();
    Eviction* const evictionHelper = &eviction();
    static std::vector< CounterInfo > infos;
    for ( Agent::U32 statId = 1; statId <= polledEntries; ++statId ) {
        CounterInfo& info = infos.emplace_back();
        info.statId = statId;
        info.counterSet = packets();
    }
    registerPair(
        { "counter: poll the packet hits of 8,000 entries", {}, operationBudget },
        [ = ] {
            Agent::U64 sum = 0;
            for ( const CounterInfo& info : infos ) {
                sum += counters->getPacketHits( info );
            }
            benchmark::DoNotOptimize( sum );
        },
        [ = ] {
            Agent::U64 sum = 0;
            for ( const CounterInfo& info : infos ) {
                sum += readByHand( *evictionHelper, info.statId );
            }
            benchmark::DoNotOptimize( sum );
        } );
}

} // namespace

void registerCounterBenchmarks()
{
    PeloraTcam::getGroupIdMap().hardwareGroupIdIs( logicalGroup, 3 );
    PeloraTcam::registeredInitFuncIs(
        PeloraTcam::baseSdk6InitFuncName,
        Agent::Ptr< PeloraTcam::BaseSdk6InitFunc >(
            new PeloraTcam::BaseSdk6InitFunc( Agent::Ptr< Eviction >( &eviction() ) ) ) );
    Helper* const counters = &helper();
    registerPair(
        { "counter: allocate and free", {}, operationBudget },
        [ = ] { allocateAndFree( *counters ); },
        [] { allocateAndFreeByHand(); } );
    registerReading();
    registerPolling();
}

} // namespace Bench
