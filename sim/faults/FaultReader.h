#pragma once

/// A fault as a person writes it: which call, and what happens at it.
///
///     { function: bcm_range_create, call: 3, fail: BCM_E_RESOURCE }
///     { function: all, from-call: 10, throw: true }
///     { function: bcm_range_get, call: 1, corrupt: { field: max, value: 81 } }
///     { function: all, call: 20, flip: { object: field entry 5, field: DstIp, bit: 8 } }
///
/// `function` is an SDK function or "all"; `call` is the one call meant, `from-call` the first of
/// many, both counted from 1. Exactly one of `fail` (a return code, by name or number), `throw`,
/// `delay-ms`, `drop`, `corrupt` and `flip` says what happens.

#include "input/YamlDocument.h"
#include "sim/faults/FaultPlan.h"
#include "sim/values/SdkNumbering.h"

#include <string>

namespace Sim {

/// Reads a fault; an enumerator that it names has its value of that numbering. What is wrong fails
/// at the node concerned.
[[nodiscard]] Fault readFault( const Input::YamlNode& node, const SdkNumbering& numbering );

/// What happens when: "call 3: fail with BCM_E_RESOURCE", "from call 10 on: throw".
[[nodiscard]] std::string faultText( const Fault& fault );

} // namespace Sim
