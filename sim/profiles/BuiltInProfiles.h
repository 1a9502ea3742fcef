#pragma once

/// The profiles of `sim/profiles`, as the build found them. Internal to `ChipProfile`.

#include <span>
#include <string_view>

namespace Sim {

struct BuiltInProfile
{
    std::string_view name;
    std::string_view text;
};

[[nodiscard]] std::span< const BuiltInProfile > builtInProfiles();

} // namespace Sim
