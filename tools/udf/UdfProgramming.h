#pragma once

/// Programs a user-defined field, and tells why not.

#include "agent/tcam/UdfTypes.h"
#include "tools/run/RunContext.h"

#include <optional>
#include <string>

namespace Tool {

struct UdfProgramming
{
    Outcome outcome = Outcome::ok;
    PeloraTcam::QualIdList ids;          ///< if it is `ok`
    std::string why;                     ///< if it is not
    std::optional< FailedCall > failure; ///< the SDK call that was refused, if there was one
};

/// Programs through the context's manager; the context has forgotten earlier failures. Throws a
/// `StepError` if the library has no helper for the chip.
[[nodiscard]] UdfProgramming programUdf( RunContext& context, const PeloraTcam::UdfDesc& desc );

} // namespace Tool
