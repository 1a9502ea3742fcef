#pragma once

/// `pelora-tcam decode-trace FILE`: prints the ring-buffer traces in a dump or a core file.

#include <string>

namespace Tool {

struct DecodeTraceOptions
{
    std::string file;
    bool json = false;
};

/// Prints them to standard output and gives the tool's exit code. A file that cannot be read or
/// holds no ring-buffer trace is bad input, and so is a damaged trace, of which the records that
/// can be read are printed.
[[nodiscard]] int decodeTrace( const DecodeTraceOptions& options );

} // namespace Tool
