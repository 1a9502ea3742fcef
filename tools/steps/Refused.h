#pragma once

/// The result of a step that the SDK refused.

#include "tools/run/CallObserver.h"
#include "tools/scenario/Step.h"

#include <optional>

namespace Tool {

/// `full` if the chip had no room, else `error`; with the call that was refused and its answer.
[[nodiscard]] StepResult refused( const std::optional< FailedCall >& failure );

} // namespace Tool
