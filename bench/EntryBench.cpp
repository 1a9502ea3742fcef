// What an entry may ask for besides counters: a policer, and a compression entry, through the
// SDK-6 helpers, against the bare SDK calls.

#include "bench/Benchmarks.h"
#include "bench/LocksByHand.h"
#include "bench/PairTable.h"

#include "PeloraTcam/PeloraTcamSdk6CompressionHelper.h"
#include "PeloraTcam/PeloraTcamSdk6PolicerHelper.h"
#include "sdk/SdkAccess.h"

namespace Bench {

namespace {

using PeloraTcam::PeloraCompressionTableType;
using PeloraTcam::Policer;

constexpr int unit = 0;
constexpr PeloraTcam::U8 pipeId = 1;
constexpr PeloraTcam::FapId fapId( unit );
constexpr Agent::U32 etherType = 0x0800;
constexpr Agent::U32 classId = 9;

constexpr Budget operationBudget{ .ratio = 1.25 };

Policer policer()
{
    Policer policer;
    policer.committedRate = 1000;
    policer.committedBurst = 100;
    return policer;
}

// By hand each operation is a function too, and no more a part of the measuring loop than ours.

[[gnu::noinline]] bcm_policer_t getPolicerByHand( const Policer& wanted )
{
    bcm_policer_config_t conf;
    Shim::sdk_->bcm_policer_config_t_init( &conf );
    conf.mode = Shim::sdk_->bcmPolicerModeCommitted();
    conf.flags |= 0x84;
    conf.ckbits_sec = wanted.committedRate;
    conf.ckbits_burst = wanted.committedBurst;
    bcm_policer_t policerId = 0;
    const int rc = withLocksByHand(
        [ & ] { return Shim::sdk_->bcm_policer_create( unit, &conf, &policerId ); } );
    return rc < 0 ? 0 : policerId;
}

[[gnu::noinline]] int releasePolicerByHand( bcm_policer_t policerId )
{
    return withLocksByHand( [ & ] { return Shim::sdk_->bcm_policer_destroy( unit, policerId ); } );
}

void registerPolicers()
{
    using Helper = PeloraTcam::PeloraTcamSdk6PolicerHelper;
    static const Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper > helper(
        new Helper( pipeId, fapId ) );
    PeloraTcam::PeloraTcamPolicerHelper* const policers = helper.get();
    const Policer wanted = policer();
    registerPair(
        { "policer: get and release", {}, operationBudget },
        [ = ] {
            const PeloraTcam::PolicerId id = policers->getPolicer( wanted, PeloraTcam::stageIfp() );
            policers->releasePolicer( id, PeloraTcam::stageIfp() );
        },
        [ = ] { benchmark::DoNotOptimize( releasePolicerByHand( getPolicerByHand( wanted ) ) ); } );
}

[[gnu::noinline]] bcm_field_entry_t getCompressionByHand( Agent::U32 wantedClass )
{
    bcm_field_class_info_t classInfo;
    classInfo.action = Shim::sdk_->bcmFieldActionClassSet();
    classInfo.class_id = wantedClass;
    const bcm_field_group_t group = 241;
    bcm_field_entry_t entry = 0;
    int rc = withLocksByHand(
        [ & ] { return Shim::sdk_->bcm_field_entry_create( unit, group, &entry ); } );
    rc |= withLocksByHand( [ & ] {
        return Shim::sdk_->bcm_field_qualify_EtherType( unit, entry, etherType, 0xFFFF );
    } );
    rc |= withLocksByHand(
        [ & ] { return Shim::sdk_->bcm_field_action_class_add( unit, entry, &classInfo ); } );
    rc |= withLocksByHand( [ & ] { return Shim::sdk_->bcm_field_entry_install( unit, entry ); } );
    return rc < 0 ? 0 : entry;
}

[[gnu::noinline]] int releaseCompressionByHand( bcm_field_entry_t entry )
{
    return withLocksByHand( [ & ] { return Shim::sdk_->bcm_field_entry_remove( unit, entry ); } );
}

void registerCompression()
{
    static const Agent::Ptr< PeloraTcam::PeloraTcamSdk6CompressionHelper > helper =
        PeloraTcam::peloraTcamSdk6CompressionHelperFactory( pipeId, fapId );
    PeloraTcam::PeloraTcamCompressionHelperBase* const compression = helper.get();
    const PeloraTcam::CompressionData data{ PeloraTcam::CompressionKey( etherType ) };
    constexpr auto table = PeloraCompressionTableType::etherType;
    registerPair(
        { "compression entry: get and release", {}, operationBudget },
        [ = ] {
            const Agent::U64 id = compression->getFieldCompressionEntry( data, classId, table );
            compression->releaseFieldCompressionEntry( id, table );
        },
        [] {
            benchmark::DoNotOptimize( releaseCompressionByHand( getCompressionByHand( classId ) ) );
        } );
}

} // namespace

void registerEntryBenchmarks()
{
    registerPolicers();
    registerCompression();
}

} // namespace Bench
