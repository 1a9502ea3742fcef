#pragma once

/// The traffic that an entry of a simulated chip sees: what its counters count.

#include <cstdint>

namespace Sim {

/// What a policer has made of the packets; green without one.
enum class TrafficColor
{
    green,
    yellow,
    red,
};

/// Packets that an entry matched.
struct Traffic
{
    uint64_t packets = 0;                     ///< how many there were
    uint64_t bytes = 0;                       ///< of all packets together
    TrafficColor color = TrafficColor::green; ///< of all packets alike
};

/// The greatest value of a counter of that many bits, 1 to 64.
constexpr uint64_t counterMask( uint32_t bits )
{
    return ~uint64_t{ 0 } >> ( 64 - bits );
}

} // namespace Sim
