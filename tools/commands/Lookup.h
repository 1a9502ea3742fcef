#pragma once

/// `pelora-tcam lookup`: which rule or entry of a chip packets hit, what it does, and why others
/// lose.

#include <string>
#include <vector>

namespace Tool {

/// What the command line says.
struct LookupOptions
{
    std::string scenario;               ///< sets the chip up; or empty
    std::string rules;                  ///< a rule set that is programmed instead; or empty
    std::string chip;                   ///< a profile; may be empty if there is a scenario
    std::string action;                 ///< of the rules; empty for `drop`
    std::vector< std::string > packets; ///< descriptions
    std::string capture;                ///< a file, "-" for standard input; or empty
    std::string trace;                  ///< the same
    std::string numbering = "default";
    unsigned jobs = 1;
    bool winners = false;
    bool json = false;
};

/// Prints the answers and gives the tool's exit code. Throws a `CommandLineError` or an
/// `Input::InputError` for bad input; nothing has been looked up then.
[[nodiscard]] int showLookup( const LookupOptions& options );

} // namespace Tool
