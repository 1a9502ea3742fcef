#pragma once

/// What a run has done, counted.

#include <cstdint>

namespace Soak {

struct Tally
{
    std::uint64_t operations = 0;
    std::uint64_t refusals = 0;   ///< answers that something does not fit, or is refused
    std::uint64_t faults = 0;     ///< injected, and met by a call
    std::uint64_t exceptions = 0; ///< of these faults, the exceptions
    std::uint64_t dropped = 0;    ///< of these faults, the calls without effect
    std::uint64_t audits = 0;
    std::uint64_t comparisons = 0; ///< of whole chips before and after an operation
    std::uint64_t logMessages = 0; ///< raised by the library
};

} // namespace Soak
