#pragma once

/// Chip profiles, printed to standard output.

#include "sim/ChipProfile.h"

#include <vector>

namespace Tool {

/// The list of profiles.
void printProfiles( const std::vector< Sim::ChipProfile >& profiles );

/// The same as JSON, with what new chips of them have room for.
void printProfilesJson( const std::vector< Sim::ChipProfile >& profiles );
void printProfileJson( const Sim::ChipProfile& profile );

} // namespace Tool
