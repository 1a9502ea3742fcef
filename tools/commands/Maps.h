#pragma once

/// `pelora-tcam maps [NAME]`: lists the library's translation maps, or prints one.

#include <string>

namespace Tool {

struct MapsOptions
{
    std::string name; ///< of a forward map; empty for the list
    std::string numbering = "default";
    bool json = false;
};

/// Builds the maps on an SDK of that numbering, prints to standard output and gives the tool's exit
/// code. A `CommandLineError` if there is no such map or numbering.
[[nodiscard]] int showMaps( const MapsOptions& options );

} // namespace Tool
