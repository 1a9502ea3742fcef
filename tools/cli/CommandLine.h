#pragma once

/// The command line of `pelora-tcam`: sub-commands, options, helps, and what is said of a failure.

namespace Tool {

/// Does what the command line asks for and gives the exit code.
[[nodiscard]] int runCommandLine( int argumentCount, const char* const* arguments );

} // namespace Tool
