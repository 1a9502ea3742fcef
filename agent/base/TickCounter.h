#pragma once

/// The processor's counter of ticks, which is read in a fraction of the time that a clock takes.
///
/// Ticks are not nanoseconds: how many there are in one is found out by reading the counter and a
/// clock together, twice. Any thread may read it.
///
///     if ( Agent::tickCounterIsSteady() ) {
///         const Agent::U64 before = Agent::tickCount();
///         ...
///         const Agent::U64 ticks = Agent::tickCount() - before;
///     }

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"

namespace Agent {

/// Whether the kernel keeps its own time with this counter: it then goes forward at an even rate,
/// the same on all processors. False as well where the kernel does not say.
[[nodiscard]] AGENT_EXPORT bool tickCounterIsSteady();

/// The ticks since some time in the past. Always 0 on a processor for which it is not known here
/// how to read them; `tickCounterIsSteady()` is false there.
[[nodiscard]] inline U64 tickCount() noexcept
{
#if defined( __x86_64__ ) || defined( __i386__ )
    return __builtin_ia32_rdtsc();
#else
    return 0;
#endif
}

} // namespace Agent
