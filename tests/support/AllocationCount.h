#pragma once

/// Counts the heap allocations of a test binary: linking this replaces `operator new`.
///
///     const std::size_t before = TestSupport::allocationCount();
///     operation();
///     EXPECT_EQ( TestSupport::allocationCount(), before );

#include <cstddef>

namespace TestSupport {

/// Calls of `operator new` and `operator new[]` since the process started, by any thread.
[[nodiscard]] std::size_t allocationCount() noexcept;

} // namespace TestSupport
