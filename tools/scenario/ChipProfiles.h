#pragma once

/// The chip profiles that a person can name.

#include "sim/ChipProfile.h"
#include "sim/SimulatedChip.h"

#include <string>
#include <vector>

namespace Tool {

/// Whether a built-in profile has that name.
[[nodiscard]] bool isBuiltInProfile( const std::string& name );

/// All that are built in.
[[nodiscard]] std::vector< Sim::ChipProfile > builtInProfiles();

/// A built-in profile, or the one in a file. Throws `std::invalid_argument` for a name that is
/// neither, and an `Input::InputError` for a file with something wrong in it.
[[nodiscard]] Sim::ChipProfile profileNamed( const std::string& nameOrFile );

/// "'hsdl' is neither a built-in chip profile nor a file, did you mean 'hsdk'?"
[[nodiscard]] std::string unknownProfileText( const std::string& name );

/// What a new chip of that profile has room for: its resources, of which none are used.
[[nodiscard]] std::vector< Sim::Resource > resourcesOf( const Sim::ChipProfile& profile );

} // namespace Tool
