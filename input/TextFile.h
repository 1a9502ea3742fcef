#pragma once

/// Files that are read whole.

#include <stdexcept>
#include <string>

namespace Input {

/// A file that could not be read. Whoever knows where the file's name was written turns it into
/// an input error there.
class UnreadableFile : public std::runtime_error
{
  public:
    /// `reason` is the system's: "No such file or directory".
    UnreadableFile( const std::string& path, const std::string& reason )
        : std::runtime_error( "cannot read '" + path + "': " + reason )
    {}
};

/// The bytes of the file; an `UnreadableFile` if they cannot all be read.
[[nodiscard]] std::string readTextFile( const std::string& path );

} // namespace Input
