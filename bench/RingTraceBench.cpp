// One record of the ring-buffer trace, with the text trace off, against a reading of the clock that
// it has for each record.

#include "agent/base/RingTrace.h"

#include "bench/Benchmarks.h"
#include "bench/PairTable.h"

#include <chrono>

namespace Bench {

namespace {

const Agent::TraceHandle& traceHandle()
{
    static const Agent::TraceHandle handle( "Bench" );
    return handle;
}

constexpr Budget recordBudget{ .ratio = 2.0 };

/// A record against the clock. A counter of ticks is read within the loop, as by a record.
template< class Ours >
void registerRecord( const std::string& name, Ours ours )
{
    if ( Agent::tickCounterIsSteady() ) {
        registerPair( { name, {}, recordBudget }, ours,
                      [] { benchmark::DoNotOptimize( Agent::tickCount() ); } );
    } else {
        registerPair( { name, {}, recordBudget }, ours,
                      [] { benchmark::DoNotOptimize( std::chrono::steady_clock::now() ); } );
    }
}

} // namespace

void registerRingTraceBenchmarks()
{
    registerRecord( "ring-trace record, no argument",
                    [] { Agent::traceBoth( traceHandle(), 4, "flushed" ); } );
    registerRecord( "ring-trace record, four integers", [] {
        Agent::traceBoth( traceHandle(), 4, "created", " mod:", 0, " udf:", 7U, " width:", 16,
                          " base:", 2 );
    } );
    registerRecord( "ring-trace record, integer and text", [] {
        const std::string_view chunks = "0000000000110000";
        Agent::traceBoth( traceHandle(), 4, "created", " mod:", 0, " chunks:", chunks );
    } );
}

} // namespace Bench
