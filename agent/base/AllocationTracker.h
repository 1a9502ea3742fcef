#pragma once

/// Counts the live objects of one class.
///
/// Each helper class owns one tracker as a static member. A tracker is known to the agent by the
/// name of its class for as long as it lives, so that a leak report can name what is left. Changed
/// by the thread that allocates, under the activity lock; the numbers may be read by any thread.

#include "agent/base/Export.h"

#include <atomic>
#include <cstddef>
#include <string>
#include <typeinfo>
#include <vector>

namespace Agent {

/// Counts the live objects of one class; see the top of this header.
class AGENT_EXPORT AllocationTracker
{
  public:
    /// `className` names the class in reports and must outlive the tracker.
    explicit AllocationTracker( const char* className );
    AllocationTracker( const AllocationTracker& ) = delete;
    AllocationTracker& operator=( const AllocationTracker& ) = delete;
    ~AllocationTracker();

    /// Counts one more object; `type` is its run-time type and `size` its size in bytes.
    void allocated( const std::type_info& type, std::size_t size ) noexcept;
    /// Takes one object out of the count again.
    void freed( const std::type_info& type, std::size_t size ) noexcept;

    /// The name of the class.
    [[nodiscard]] const char* className() const noexcept { return className_; }

    /// Live objects.
    [[nodiscard]] std::size_t count() const noexcept { return count_; }

    /// Bytes of the live objects.
    [[nodiscard]] std::size_t bytes() const noexcept { return bytes_; }

    /// Objects ever counted.
    [[nodiscard]] std::size_t total() const noexcept { return total_; }

    /// The run-time type last counted; null before the first.
    [[nodiscard]] const std::type_info* type() const noexcept { return type_.load(); }

  private:
    const char* className_;
    std::atomic< const std::type_info* > type_{ nullptr };
    std::atomic< std::size_t > count_{ 0 };
    std::atomic< std::size_t > bytes_{ 0 };
    std::atomic< std::size_t > total_{ 0 };
};

/// One line of a leak report.
struct AllocationReport
{
    std::string className; ///< with its namespace
    std::size_t count = 0; ///< objects that are alive
    std::size_t bytes = 0; ///< that they take
};

/// The state of every tracker there is, sorted by class name.
[[nodiscard]] AGENT_EXPORT std::vector< AllocationReport > allocationReports();

} // namespace Agent
