#pragma once

/// `pelora-tcam explain-udf`: says in words what a description of a user-defined field means on a
/// chip.

#include <string>
#include <utility>
#include <vector>

namespace Tool {

/// What the command line says.
struct ExplainUdfOptions
{
    /// The description: keys of a `program-udf` step with their texts, in the order of the options.
    std::vector< std::pair< std::string, std::string > > keys;
    std::vector< std::string > with; ///< descriptions of fields that exist already, as mappings
    std::string scenario;            ///< a scenario that is run before, or empty
    std::string chip;                ///< a profile; may be empty if there is a scenario
    std::string numbering = "default";
    bool json = false;
};

/// Prints the explanation and gives the tool's exit code: also a refusal and an end of the process
/// are explained. Throws a `CommandLineError` or a `Input::InputError` for bad input.
int showUdfExplanation( const ExplainUdfOptions& options );

} // namespace Tool
