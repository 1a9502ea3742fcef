#pragma once

/// The failure that is the caller's.

#include <stdexcept>

namespace Tool {

/// A command line that makes no sense; its text says what is wrong with it.
class CommandLineError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

} // namespace Tool
