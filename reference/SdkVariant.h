#pragma once

/// Which SDK a chip is driven through: where a manager has to know.

#include "agent/base/BaseTypes.h"

namespace Reference {

/// The two kinds of SDK that a chip can have.
enum class SdkVariant : Agent::U8
{
    sdk6,
    hsdk,
};

} // namespace Reference
