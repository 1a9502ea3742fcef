#pragma once

/// Reads IP prefixes as the reference agent takes them.

#include "input/YamlDocument.h"
#include "reference/QualifierReading.h"

namespace Tool {

/// "192.0.2.0/24", "2001:db8::/32"; anything else fails at the node.
[[nodiscard]] Reference::IpPrefix readPrefix( const Input::YamlNode& node );

} // namespace Tool
