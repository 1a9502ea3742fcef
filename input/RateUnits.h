#pragma once

/// Rates and bursts as a person writes them: "10Mbps", "64KB".
///
/// All units are decimal: a kilobit is 1000 bits, a kilobyte 1000 bytes. A number without a unit is
/// in kilobits, as the chip takes it; with one it may have decimals, "1.5Gbps". What is written
/// must be a whole number of kilobits.
///
///     of rates:  bps, kbps, Mbps, Gbps, Tbps
///     of bursts: bit, kbit, Mbit, Gbit, B, KB, MB, GB

#include "input/YamlDocument.h"

#include <cstdint>
#include <string>

namespace Input {

/// A rate in kilobits a second, up to 4294967295; anything else fails at the node.
[[nodiscard]] std::uint32_t readRate( const YamlNode& node );

/// A burst in kilobits, up to 4294967295; anything else fails at the node.
[[nodiscard]] std::uint32_t readBurst( const YamlNode& node );

/// "10Mbps": in the greatest unit of which it is a whole number.
[[nodiscard]] std::string rateText( std::uint32_t kilobitsASecond );

/// "512kbit": in the greatest unit of bits of which it is a whole number.
[[nodiscard]] std::string burstText( std::uint32_t kilobits );

} // namespace Input
