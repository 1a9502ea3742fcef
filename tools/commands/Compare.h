#pragma once

/// The sub-command `compare`: one scenario on several chips, side by side.

#include <string>
#include <vector>

namespace Tool {

struct CompareOptions
{
    std::string scenario;
    std::vector< std::string > chips; ///< profiles; empty for one of each kind
    std::string numbering = "default";
    bool json = false;
};

/// Runs the scenario on each chip, one after the other, and prints for each step what came of it
/// on each of them. Gives the highest of the exit codes. Nothing is run when the scenario cannot
/// be read for one of the chips.
[[nodiscard]] int compareChips( const CompareOptions& options );

} // namespace Tool
