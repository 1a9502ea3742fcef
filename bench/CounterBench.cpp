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

constexpr Budget operationBudget{ .ratio = 1.25, .instructions = 1.22 };

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
    const CounterInfo info = counters.allocateCounter( PeloraTcam::stageIfp(), logicalGroup, entry,
                                                       packets(), priority );
    counters.freeCounter( PeloraTcam::stageIfp(), logicalGroup, entry, info, priority );
}

// By hand each operation is a function too, and no more a part of the measuring loop than ours.

/// The result is made as the helper has to make it: the caller gets the set that was allocated. The
/// SDK's group is asked of the agent, which alone knows it.
[[gnu::noinline]] CounterInfo allocateByHand( const CounterSet& set )
{
    CounterInfo info;
    info.counterSet = set;
    bcm_field_stat_t stat = Shim::sdk_->bcmFieldStatPackets();
    int statId = 0;
    const int group = PeloraTcam::getGroupIdMap().getHardwareGroupId( logicalGroup );
    int rc = withLocksByHand(
        [ & ] { return Shim::sdk_->bcm_field_stat_create( unit, group, 1, &stat, &statId ); } );
    rc |= withLocksByHand(
        [ & ] { return Shim::sdk_->bcm_field_entry_stat_attach( unit, entry, statId ); } );
    benchmark::DoNotOptimize( rc );
    info.statId = static_cast< Agent::U32 >( statId );
    return info;
}

[[gnu::noinline]] int freeByHand( const CounterInfo& info )
{
    const int statId = static_cast< int >( info.statId );
    int rc = withLocksByHand(
        [ & ] { return Shim::sdk_->bcm_field_entry_stat_detach( unit, entry, statId ); } );
    rc |= withLocksByHand( [ & ] { return Shim::sdk_->bcm_field_stat_destroy( unit, statId ); } );
    return rc;
}

void allocateAndFreeByHand()
{
    const CounterInfo info = allocateByHand( packets() );
    benchmark::DoNotOptimize( freeByHand( info ) );
}

/// Through the eviction helper given.
[[gnu::always_inline]] inline Agent::U64 readThrough( Eviction& evictionHelper, Agent::U32 statId )
{
    const bcm_field_stat_t type = Shim::sdk_->bcmFieldStatPackets();
    Agent::U64 stats = 0;
    const int rc = withLocksByHand(
        [ & ] { return evictionHelper.fieldStatGetPackets( unit, statId, type, &stats ); } );
    return rc == Shim::sdk_->BCM_E_NONE() ? stats : 0;
}

/// Asks the agent for its eviction helper first, which may be another one at each reading. The
/// reference keeps it while the locks are released.
[[gnu::noinline]] Agent::U64 askAndReadByHand( Agent::U32 statId )
{
    const Agent::Ptr< Eviction > evictionHelper =
        PeloraTcam::registeredInitFunc( PeloraTcam::baseSdk6InitFuncName )->evictionHelper();
    return readThrough( *evictionHelper, statId );
}

/// Knows the eviction helper.
[[gnu::noinline]] Agent::U64 readByHand( Eviction& evictionHelper, Agent::U32 statId )
{
    return readThrough( evictionHelper, statId );
}

void registerReading()
{
    Helper* const counters = &helper();
    Eviction* const evictionHelper = &eviction();
    CounterInfo info;
    info.statId = 1;
    info.counterSet = packets();
    const auto ours = [ = ] { benchmark::DoNotOptimize( counters->getPacketHits( info ) ); };
    registerPair( { "counter: read packet hits", {}, operationBudget }, ours,
                  [] { benchmark::DoNotOptimize( askAndReadByHand( 1 ) ); } );
    registerPair( { "counter: read packet hits; floor: bare calls", {}, {} }, ours,
                  [ = ] { benchmark::DoNotOptimize( readByHand( *evictionHelper, 1 ) ); } );
}

/// The sum of what `read` gives of each entry.
template< class Read >
void poll( const std::vector< CounterInfo >& infos, const Read& read )
{
    Agent::U64 sum = 0;
    for ( const CounterInfo& info : infos ) {
        sum += read( info );
    }
    benchmark::DoNotOptimize( sum );
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
        // The first reading of a counter makes room for its sum: that is not what is measured.
        Agent::U64 sum = 0;
        static_cast< void >( evictionHelper->fieldStatGetPackets(
            unit, statId, Shim::sdk_->bcmFieldStatPackets(), &sum ) );
    }
    const std::string name = "counter: poll 8,000 packet hits";
    const auto ours = [ = ] {
        poll( infos, [ = ]( const CounterInfo& info ) { return counters->getPacketHits( info ); } );
    };
    registerPair( { name, {}, operationBudget }, ours, [] {
        poll( infos, []( const CounterInfo& info ) { return askAndReadByHand( info.statId ); } );
    } );
    registerPair( { name + "; floor: bare calls", {}, {} }, ours, [ = ] {
        poll( infos, [ = ]( const CounterInfo& info ) {
            return readByHand( *evictionHelper, info.statId );
        } );
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
        [ = ] { allocateAndFree( *counters ); }, [] { allocateAndFreeByHand(); } );
    registerReading();
    registerPolling();
}

} // namespace Bench
