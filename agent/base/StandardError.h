#pragma once

/// Lines on the standard error stream that must get out.

#include "agent/base/Export.h"

#include <string>

namespace Agent {

/// Writes a line, with the newline that it appends, and flushes it.
///
/// It goes out in one write, whatever state and whatever formatting flags `std::cerr` is left
/// with, to the buffer that `std::cerr` has, or to the process's standard error where it has none.
/// Never throws; a line that cannot be written is lost.
AGENT_EXPORT void writeErrorLine( std::string line ) noexcept;

} // namespace Agent
