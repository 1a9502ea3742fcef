#pragma once

/// What a user-defined field means on a chip, printed to standard output.

#include "agent/tcam/UdfTypes.h"
#include "tools/text/Json.h"

#include <string>

namespace Tool {

/// `explanation` is as `UdfExplanation.h` describes it; `chip` is the name of the profile.
void printUdfExplanation( const std::string& chip,
                          const PeloraTcam::UdfDesc& desc,
                          const Json& explanation );

/// The same as JSON.
void printUdfExplanationJson( const std::string& chip, const Json& explanation );

} // namespace Tool
