#include "agent/base/ThreadControl.h"

namespace Agent {

namespace Detail {
std::atomic< bool > threadsActive_{ false };
} // namespace Detail

void threadsActiveIs( bool active ) noexcept
{
    Detail::threadsActive_.store( active, std::memory_order_relaxed );
}

} // namespace Agent
