#pragma once

/// A packet on its way into a simulated chip.

#include "sdk/SdkEnumerations.h"

#include <cstdint>
#include <map>
#include <vector>

namespace Sim {

/// A packet, and what the stages before the field processor would have found out about it.
struct Packet
{
    /// As on the wire: from the destination MAC address on, without the frame check sequence; as
    /// far as they are known.
    std::vector< std::uint8_t > bytes;

    /// How many bytes the packet had on the wire: more than `bytes` if it was cut short when it
    /// was captured.
    std::uint32_t wireLength = 0;

    /// When it came in: nanoseconds of simulated time.
    std::uint64_t timestamp = 0;

    /// The port by which it came in.
    std::uint32_t port = 0;

    /// What is to be found for a qualifier that the bytes do not tell, in the numbering of the chip
    /// that is to see the packet. What is not given is 0.
    std::map< bcm_field_qualify_t, std::uint64_t > given;
};

} // namespace Sim
