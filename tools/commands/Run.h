#pragma once

/// `pelora-tcam run`: runs a scenario and reports it.

#include <string>
#include <vector>

namespace Tool {

struct RunCommandOptions
{
    std::string scenario;
    std::string chip;                  ///< a profile instead of the scenario's; may be empty
    std::vector< std::string > traces; ///< FACILITY=LEVELS
    std::string numbering = "default";
    std::string ringDump; ///< a file; may be empty
    bool snapshot = false;
    bool json = false;
};

/// Reports on standard output and gives the tool's exit code. Throws a `CommandLineError` or an
/// `Input::InputError` for bad input; nothing has been run then.
[[nodiscard]] int showRun( const RunCommandOptions& options );

} // namespace Tool
