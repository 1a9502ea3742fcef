#pragma once

/// Reads IP prefixes as a person writes them: "192.0.2.0/24", "2001:db8::/32"; without a length,
/// all of the address counts.

#include "reference/QualifierReading.h"
#include "sim/YamlDocument.h"

namespace Tool {

/// Fails at the node for anything else than a prefix.
[[nodiscard]] Reference::IpPrefix readIpPrefix( const Sim::YamlNode& node );

} // namespace Tool
