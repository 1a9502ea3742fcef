#pragma once

/// `pelora-tcam profiles [NAME]`: lists the chip profiles, or prints one.

#include <string>

namespace Tool {

struct ProfilesOptions
{
    std::string name; ///< a built-in profile or a file; empty for the list
    bool json = false;
};

/// Prints to standard output and gives the tool's exit code. A `CommandLineError` if there is no
/// such profile, a `Input::InputError` if it is a file with something wrong in it.
[[nodiscard]] int showProfiles( const ProfilesOptions& options );

} // namespace Tool
