#pragma once

/// Whether the agent runs with more than one thread.
///
/// Reference counts are changed atomically while threads are active and with plain arithmetic
/// otherwise, which is what makes a `Ptr` cheap in an agent that has one thread. Switch it on
/// before the second thread starts and off after the last but one has ended.

#include "agent/base/Export.h"

#include <atomic>

namespace Agent {

namespace Detail {
/// What `threadsActive()` reads. Written by the agent's start of threads only.
extern AGENT_EXPORT std::atomic< bool > threadsActive_;
} // namespace Detail

/// True while the agent says that several threads are active; false at start.
inline bool threadsActive() noexcept
{
    return Detail::threadsActive_.load( std::memory_order_relaxed );
}

/// Says whether several threads are active.
AGENT_EXPORT void threadsActiveIs( bool active ) noexcept;

} // namespace Agent
