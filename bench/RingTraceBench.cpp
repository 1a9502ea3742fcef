// One record of the ring-buffer trace, with the text trace off.

#include "agent/base/RingTrace.h"

#include "bench/Benchmarks.h"
#include "bench/PairTable.h"

namespace Bench {

namespace {

const Agent::TraceHandle& traceHandle()
{
    static const Agent::TraceHandle handle( "Bench" );
    return handle;
}

constexpr Budget recordBudget{ .nanoseconds = 100 };

} // namespace

void registerRingTraceBenchmarks()
{
    registerAlone( { "ring-trace record, no argument", {}, recordBudget },
                   [] { Agent::traceBoth( traceHandle(), 4, "flushed" ); } );
    registerAlone( { "ring-trace record, four integers", {}, recordBudget }, [] {
        Agent::traceBoth(
            traceHandle(), 4, "created", " mod:", 0, " udf:", 7U, " width:", 16, " base:", 2 );
    } );
    registerAlone( { "ring-trace record, integer and text", {}, recordBudget }, [] {
        const std::string_view chunks = "0000000000110000";
        Agent::traceBoth( traceHandle(), 4, "created", " mod:", 0, " chunks:", chunks );
    } );
}

} // namespace Bench
