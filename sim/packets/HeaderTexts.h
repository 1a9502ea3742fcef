#pragma once

/// What the headers of a packet say, in words.

#include "sim/packets/PacketHeaders.h"

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Sim {

/// Names and values, in the order of the packet; those of the inner headers begin with "inner ".
[[nodiscard]] std::vector< std::pair< std::string, std::string > >
textsOf( const PacketHeaders& headers, std::span< const std::uint8_t > bytes );

} // namespace Sim
