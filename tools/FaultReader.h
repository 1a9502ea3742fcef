#pragma once

/// A fault in a scenario: which call, and what happens at it.
///
///     { function: bcm_range_create, call: 3, fail: BCM_E_RESOURCE }
///     { function: all, from-call: 10, throw: true }
///     { function: bcm_range_get, call: 1, corrupt: { field: max, value: 81 } }
///
/// `function` is an SDK function or "all"; `call` is the one call meant, `from-call` the first of
/// many, both counted from 1. Exactly one of `fail` (a return code, by name or number), `throw`,
/// `delay-ms`, `drop` and `corrupt` says what happens.

#include "sim/FaultPlan.h"
#include "sim/YamlDocument.h"
#include "tools/ReadContext.h"

#include <string>

namespace Tool {

[[nodiscard]] Sim::Fault readFault( const Sim::YamlNode& node, const ReadContext& context );

/// What happens when: "call 3: fail with BCM_E_RESOURCE", "from call 10 on: throw".
[[nodiscard]] std::string faultText( const Sim::Fault& fault );

} // namespace Tool
