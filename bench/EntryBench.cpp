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

using PeloraTcam::CompressionData;
using PeloraTcam::PeloraCompressionTableType;
using PeloraTcam::Policer;

constexpr int unit = 0;
constexpr PeloraTcam::U8 pipeId = 1;
constexpr PeloraTcam::FapId fapId( unit );
constexpr Agent::U32 etherType = 0x0800;
constexpr Agent::U32 classId = 9;

constexpr Budget policerBudget{ .ratio = 1.25, .instructions = 1.25 };
constexpr Budget compressionBudget{ .ratio = 1.25, .instructions = 1.15 };

/// A row whose floor does what is required at each call, and one whose floor has the calls alone.
template< class Ours, class Floor >
void registerWithBothFloors( const std::string& name,
                             Budget budget,
                             const Ours& ours,
                             const Floor& floor )
{
    registerPair( { name, {}, budget }, ours, [ = ] { floor( RequiredCalls() ); } );
    registerPair( { name + "; floor: bare calls", {}, {} }, ours, [ = ] { floor( BareCalls() ); } );
}

Policer policer()
{
    Policer policer;
    policer.committedRate = 1000;
    policer.committedBurst = 100;
    return policer;
}

// By hand each operation is a function too, and no more a part of the measuring loop than ours.

template< class Calls >
[[gnu::noinline]] bcm_policer_t getPolicerByHand( const Policer& wanted )
{
    Calls::trace( 9, "getPolicer", "Policer config: ", wanted );
    bcm_policer_config_t conf;
    Shim::sdk_->bcm_policer_config_t_init( &conf );
    conf.mode = Shim::sdk_->bcmPolicerModeCommitted();
    conf.flags |= 0x84;
    conf.ckbits_sec = wanted.committedRate;
    conf.ckbits_burst = wanted.committedBurst;
    bcm_policer_t policerId = 0;
    const int rc = Calls::checked(
        [ & ] { return Shim::sdk_->bcm_policer_create( unit, &conf, &policerId ); } );
    Calls::trace( 4, "getPolicer", "Created policer id : ", policerId );
    return rc < 0 ? 0 : policerId;
}

template< class Calls >
[[gnu::noinline]] int releasePolicerByHand( bcm_policer_t policerId )
{
    return Calls::checked( [ & ] { return Shim::sdk_->bcm_policer_destroy( unit, policerId ); } );
}

void registerPolicers()
{
    using Helper = PeloraTcam::PeloraTcamSdk6PolicerHelper;
    static const Agent::Ptr< PeloraTcam::PeloraTcamPolicerHelper > helper(
        new Helper( pipeId, fapId ) );
    PeloraTcam::PeloraTcamPolicerHelper* const policers = helper.get();
    const Policer wanted = policer();
    const auto floor = [ = ]( auto calls ) {
        using Calls = decltype( calls );
        const bcm_policer_t id = getPolicerByHand< Calls >( wanted );
        benchmark::DoNotOptimize( releasePolicerByHand< Calls >( id ) );
    };
    registerWithBothFloors(
        "policer: get and release", policerBudget,
        [ = ] {
            const PeloraTcam::PolicerId id = policers->getPolicer( wanted, PeloraTcam::stageIfp() );
            policers->releasePolicer( id, PeloraTcam::stageIfp() );
        },
        floor );
}

template< class Calls >
[[gnu::noinline]] bcm_field_entry_t getCompressionByHand( const CompressionData& wanted,
                                                          Agent::U32 wantedClass )
{
    Calls::trace( 9, "getFieldCompressionEntry" );
    Calls::trace( 7, "getFieldCompressionEntry", " compressionData ", wanted, " classId ",
                  wantedClass );
    const CompressionData data = wanted; // The caller's may change while the locks are free.
    bcm_field_class_info_t classInfo;
    classInfo.action = Shim::sdk_->bcmFieldActionClassSet();
    classInfo.class_id = wantedClass;
    const bcm_field_group_t group = 241;
    bcm_field_entry_t entry = 0;
    int rc = Calls::checked(
        [ & ] { return Shim::sdk_->bcm_field_entry_create( unit, group, &entry ); } );
    rc |= Calls::checked( [ & ] {
        return Shim::sdk_->bcm_field_qualify_EtherType(
            unit, entry, static_cast< Agent::U16 >( data.key().getU32Key() ), 0xFFFF );
    } );
    rc |= Calls::checked(
        [ & ] { return Shim::sdk_->bcm_field_action_class_add( unit, entry, &classInfo ); } );
    rc |= Calls::checked( [ & ] { return Shim::sdk_->bcm_field_entry_install( unit, entry ); } );
    return rc < 0 ? 0 : entry;
}

template< class Calls >
[[gnu::noinline]] int releaseCompressionByHand( bcm_field_entry_t entry )
{
    Calls::trace( 9, "releaseFieldCompressionEntry" );
    Calls::trace( 7, "releaseFieldCompressionEntry", " id ", entry );
    return Calls::checked( [ & ] { return Shim::sdk_->bcm_field_entry_remove( unit, entry ); } );
}

void registerCompression()
{
    static const Agent::Ptr< PeloraTcam::PeloraTcamSdk6CompressionHelper > helper =
        PeloraTcam::peloraTcamSdk6CompressionHelperFactory( pipeId, fapId );
    PeloraTcam::PeloraTcamCompressionHelperBase* const compression = helper.get();
    const CompressionData data{ PeloraTcam::CompressionKey( etherType ) };
    constexpr auto table = PeloraCompressionTableType::etherType;
    const auto floor = [ = ]( auto calls ) {
        using Calls = decltype( calls );
        const bcm_field_entry_t entry = getCompressionByHand< Calls >( data, classId );
        benchmark::DoNotOptimize( releaseCompressionByHand< Calls >( entry ) );
    };
    registerWithBothFloors(
        "compression entry: get and release", compressionBudget,
        [ = ] {
            const Agent::U64 id = compression->getFieldCompressionEntry( data, classId, table );
            compression->releaseFieldCompressionEntry( id, table );
        },
        floor );
}

} // namespace

void registerEntryBenchmarks()
{
    registerPolicers();
    registerCompression();
}

} // namespace Bench
