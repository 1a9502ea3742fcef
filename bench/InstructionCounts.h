#pragma once

/// Instructions for each operation, counted by valgrind's callgrind.
///
/// A benchmark that runs under callgrind brackets its measuring loop with `countingBegins()` and
/// `countingEnds()`: the counts of the loop are then dumped into a file of their own, with the
/// benchmark's name and its number of operations. Outside valgrind both cost a few instructions
/// and do nothing. A second run reads the files and puts the counts into the table of times.
///
///     valgrind --tool=callgrind --callgrind-out-file=out/callgrind pelora-bench
///         --benchmark_repetitions=1 --benchmark_min_time=0.02
///     pelora-bench --instructions=out

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

namespace Bench {

/// Whether the instructions of this process can be counted.
[[nodiscard]] bool runsUnderCallgrind();

/// Forgets what was counted so far.
void countingBegins();

/// Dumps what was counted since `countingBegins()` as the instructions of so many operations.
void countingEnds( const std::string& benchmark, std::uint64_t operations );

/// Instructions for each operation, by the name of the benchmark.
using InstructionCounts = std::map< std::string, double >;

/// Reads the files that were dumped into a folder; other files in it are passed over. Throws
/// `std::filesystem::filesystem_error` when there is no such folder.
[[nodiscard]] InstructionCounts readInstructionCounts( const std::filesystem::path& folder );

} // namespace Bench
