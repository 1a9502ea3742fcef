#pragma once

/// Counts the heap allocations of the whole process: this binary replaces `operator new`.
///
///     const std::uint64_t before = Bench::allocationCount();
///     operation();
///     const std::uint64_t made = Bench::allocationCount() - before;

#include <cstdint>

namespace Bench {

/// Calls of `operator new`, in any of its forms, since the process started.
[[nodiscard]] std::uint64_t allocationCount() noexcept;

} // namespace Bench
