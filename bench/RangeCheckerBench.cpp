// Allocating and releasing a range checker through the helper, against the bare SDK calls.

#include "bench/Benchmarks.h"
#include "bench/LocksByHand.h"
#include "bench/PairTable.h"

#include "PeloraTcam/PeloraTcamSdk6RangeCheckerHelper.h"
#include "sdk/SdkAccess.h"

namespace Bench {

namespace {

using PeloraTcam::RangeCheckerDesc;
using PeloraTcam::RangeCheckerId;
using PeloraTcam::RangeType;

constexpr RangeCheckerDesc desc{ 1024, 65535, RangeType::l4SrcPort };
constexpr PeloraTcam::U8 pipeId = 1;
constexpr PeloraTcam::FapId fapId( 0 );

PeloraTcam::PeloraTcamRangeCheckerHelper& helper()
{
    static const Agent::Ptr< PeloraTcam::PeloraTcamRangeCheckerHelper > instance(
        new PeloraTcam::PeloraTcamSdk6RangeCheckerHelper( pipeId, fapId, { "bench" } ) );
    return *instance;
}

template< class Calls >
[[gnu::noinline]] void allocateAndReleaseByHand( int unit )
{
    Calls::trace( 9, "getRangeChecker", "unit: ", unit, " high:", desc.high, " low:", desc.low,
                  " type:", desc.type );
    bcm_range_config_t conf;
    Shim::sdk_->bcm_range_config_t_init( &conf );
    conf.min = desc.low;
    conf.max = desc.high;
    conf.instance = pipeId;
    conf.rtype = Shim::sdk_->bcmRangeTypeL4SrcPort();
    int rc = Calls::traced( [ & ] { return Shim::sdk_->bcm_range_create( unit, 0, &conf ); } );
    if ( rc == Shim::sdk_->BCM_E_NONE() ) {
        Calls::trace( 9, "releaseRangeChecker", "unit:", unit,
                      " rangeCheckerId:", Agent::hex( conf.rid ) );
        rc = Calls::checked( [ & ] { return Shim::sdk_->bcm_range_destroy( unit, conf.rid ); } );
    }
    benchmark::DoNotOptimize( rc );
}

constexpr Budget operationBudget{ .ratio = 1.25, .instructions = 1.25 };

} // namespace

void registerRangeCheckerBenchmarks()
{
    PeloraTcam::PeloraTcamRangeCheckerHelper* const rangeCheckers = &helper();
    const auto ours = [ = ] {
        const RangeCheckerId id = rangeCheckers->getRangeChecker( desc );
        rangeCheckers->releaseRangeChecker( id );
    };
    const auto floor = [] { allocateAndReleaseByHand< RequiredCalls >( 0 ); };
    const auto bareFloor = [] { allocateAndReleaseByHand< BareCalls >( 0 ); };

    const std::string name = "range checker: allocate and release";
    registerPair( { name, {}, operationBudget }, ours, floor );
    registerPair( { name + "; floor: bare calls", {}, {} }, ours, bareFloor );
    registerPair( { name + ", interpr. held", { .interpreterLockHeld = true }, operationBudget },
                  ours, floor );
    registerPair( { name + ", tracing on", { .tracing = true }, {} }, ours, bareFloor );
}

} // namespace Bench
