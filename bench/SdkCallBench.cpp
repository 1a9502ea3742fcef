// One checked or traced call, against the same call with the same locks released and retaken.

#include "bench/Benchmarks.h"
#include "bench/LocksByHand.h"
#include "bench/PairTable.h"
#include "sdk/SdkCall.h"

namespace Bench {

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

constexpr int unit = 0;

// Not the same one for both: two call sites of equal code would be compiled into one function,
// and pay for calling it.
constexpr bcm_range_t checkedId = 1;
constexpr bcm_range_t tracedId = 2;
constexpr bcm_range_t floorId = 3;

void checked()
{
    benchmark::DoNotOptimize( SDK_CHECKED_CALL( bcm_range_destroy, unit, checkedId ) );
}

void traced()
{
    benchmark::DoNotOptimize( SDK_TRACED_CALL( bcm_range_destroy, unit, tracedId ) );
}

void byHand()
{
    benchmark::DoNotOptimize(
        withLocksByHand( [] { return Shim::sdk_->bcm_range_destroy( unit, floorId ); } ) );
}

constexpr Budget callBudget{ .ratio = 1.1, .instructions = 1.12 };

} // namespace

void registerSdkCallBenchmarks()
{
    // Lambdas, not the functions' addresses: so they are inlined into the measuring loops.
    const auto ourChecked = [] { checked(); };
    const auto ourTraced = [] { traced(); };
    const auto floor = [] { byHand(); };
    const Scene quiet;
    const Scene quietScript{ .interpreterLockHeld = true };
    const Scene tracing{ .tracing = true };

    registerPair( { "checked call", quiet, callBudget }, ourChecked, floor );
    registerPair( { "traced call", quiet, callBudget }, ourTraced, floor );
    registerPair( { "checked call, interpreter lock held", quietScript, callBudget }, ourChecked,
                  floor );
    registerPair( { "traced call, interpreter lock held", quietScript, callBudget }, ourTraced,
                  floor );
    registerPair( { "checked call, tracing on", tracing, {} }, ourChecked, floor );
    registerPair( { "traced call, tracing on", tracing, {} }, ourTraced, floor );
}

} // namespace Bench
