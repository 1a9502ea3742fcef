#pragma once

/// Pairs of measurements: an operation of ours beside its floor, the same work written by hand.
///
/// Each side is a callable without arguments that is used in one place only, its measuring loop:
/// so it is compiled into the loop, as a call site is compiled into its function. After
/// the run, `printPairTable` puts the fastest repetitions of both sides beside each other.
///
///     Bench::registerPair( { .name = "checked call", .budget = { .ratio = 1.1 } },
///                          [] { SDK_CHECKED_CALL( bcm_range_destroy, 0, 1 ); },
///                          [] { withLocksByHand( ... ); } );

#include "bench/AllocationCount.h"
#include "bench/InstructionCounts.h"
#include "bench/Scene.h"

#include <benchmark/benchmark.h>

#include <map>
#include <ostream>
#include <string>

namespace Bench {

/// What an operation may cost.
struct Budget
{
    double ratio = 0;       ///< at most so many times the floor's time; 0: no such bound
    double nanoseconds = 0; ///< at most so long; 0: no such bound
    /// At most so many times the floor's instructions, where they were counted; 0: no such bound.
    double instructions = 0;
};

/// One row of the table.
struct Row
{
    std::string name;
    Scene scene;
    Budget budget;
    bool hasFloor = true;
};

/// The names of a row's two sides among the benchmarks.
[[nodiscard]] std::string oursOf( const Row& row );
[[nodiscard]] std::string floorOf( const Row& row );

/// What was measured of one side.
struct Measurement
{
    double nanoseconds = 0; ///< for each operation, of the fastest repetition
    double allocations = 0; ///< heap allocations for each operation
};

/// The measurements by the name of the benchmark.
using Measurements = std::map< std::string, Measurement >;

/// The counter in which a benchmark reports its heap allocations.
inline constexpr const char* allocationCounter = "allocs";

/// Prints one line for each row measured, in the order of registration: ours, floor, ratio, budget,
/// heap allocations of ours for each operation and, where they were counted, the instructions of
/// ours and of the floor. False when a row is over its budget.
bool printPairTable( std::ostream& stream,
                     const Measurements& measurements,
                     const InstructionCounts& instructions = {} );

namespace Detail {

void addRow( const Row& row );

/// The measuring loop, in a function of its own.
template< class Operation >
[[gnu::noinline]] void measure( benchmark::State& state, const Operation& operation )
{
    for ( auto _ : state ) {
        operation();
        benchmark::ClobberMemory();
    }
}

template< class Operation >
void registerSide( const std::string& name, const Scene& scene, Operation operation )
{
    benchmark::RegisterBenchmark( name.c_str(), [ = ]( benchmark::State& state ) {
        const SceneAnchor anchor( scene );
        const std::uint64_t before = allocationCount();
        countingBegins();
        measure( state, operation );
        countingEnds( name, static_cast< std::uint64_t >( state.iterations() ) );
        const auto allocations = static_cast< double >( allocationCount() - before );
        state.counters[ allocationCounter ] =
            benchmark::Counter( allocations, benchmark::Counter::kAvgIterations );
    } );
}

} // namespace Detail

/// Registers an operation and its floor.
template< class Ours, class Floor >
void registerPair( const Row& row, Ours ours, Floor floor )
{
    Detail::registerSide( oursOf( row ), row.scene, ours );
    Detail::registerSide( floorOf( row ), row.scene, floor );
    Detail::addRow( row );
}

/// Registers an operation that has no floor.
template< class Ours >
void registerAlone( Row row, Ours ours )
{
    row.hasFloor = false;
    Detail::registerSide( oursOf( row ), row.scene, ours );
    Detail::addRow( row );
}

} // namespace Bench
