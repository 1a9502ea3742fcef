#pragma once

/// Reads IP prefixes as a person writes them: "192.0.2.0/24", "2001:db8::/32"; without a length,
/// all of the address counts.

#include "input/YamlDocument.h"

#include <array>
#include <cstdint>

namespace Input {

/// The leading bits of an IPv4 or an IPv6 address. All bits behind them are 0.
struct IpPrefix
{
    bool isV6 = false;
    std::array< std::uint8_t, 16 > bytes{}; ///< in network order; IPv4 has the first four
    std::uint32_t length = 0;               ///< in bits, up to 32 or 128
};

/// Fails at the node for anything else than a prefix.
[[nodiscard]] IpPrefix readIpPrefix( const YamlNode& node );

} // namespace Input
