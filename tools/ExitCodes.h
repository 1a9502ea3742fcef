#pragma once

/// How the tool ends, and the failure that is the caller's.

#include <stdexcept>
#include <string>

namespace Tool {

inline constexpr int exitAsExpected = 0;
inline constexpr int exitUnexpectedOutcome = 1;
inline constexpr int exitBadInput = 2;
inline constexpr int exitLibraryEnded = 3;
inline constexpr int exitToolFailed = 4; ///< no process, no memory, no room for the output

/// A command line that makes no sense; its text says what is wrong with it.
class CommandLineError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

} // namespace Tool
