#pragma once

/// The agent's registered initialiser objects, by type name. Used under the activity lock.
///
///     registeredInitFuncIs( baseSdk6InitFuncName, initFunc );

#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/tcam/CounterEvictionHelper.h"

#include <string_view>

namespace PeloraTcam {

/// The type name of the initialiser object of SDK-6 chips.
inline constexpr std::string_view baseSdk6InitFuncName = "PeloraTcam::BaseSdk6InitFunc";

/// The initialiser object registered under a type name; null if there is none. Valid until the next
/// registration, which may come whenever the locks are released: copy it to keep it over that.
/// (Each reading of a counter asks for it, and should not pay for a reference.)
[[nodiscard]] AGENT_EXPORT const Agent::Ptr< BaseSdk6InitFunc >&
registeredInitFunc( std::string_view typeName );

/// Registers an initialiser object; null takes it out again.
AGENT_EXPORT void registeredInitFuncIs( std::string_view typeName,
                                        Agent::Ptr< BaseSdk6InitFunc > initFunc );

} // namespace PeloraTcam
