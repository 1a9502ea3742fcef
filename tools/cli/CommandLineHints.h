#pragma once

/// What to say of a command line that could not be read: what was wrong, what may have been meant,
/// and where to read how it is done.

#include <CLI/CLI.hpp>
#include <string>

namespace Tool {

/// The message for a command line that `app` has refused, in two lines, the second of which names
/// the help to ask for. An unknown sub-command or option is named with the nearest one there is.
[[nodiscard]] std::string refusedCommandLineText( const CLI::App& app,
                                                  const CLI::ParseError& refusal );

} // namespace Tool
