#pragma once

/// A kind of step that a scenario can have, for the reader of scenarios. The kinds that there are
/// are in the table of `tools/steps/StepKinds.h`.

#include "input/YamlDocument.h"
#include "tools/scenario/ReadContext.h"
#include "tools/scenario/Step.h"

#include <memory>
#include <string_view>

namespace Tool {

/// A function that reads a step from the value of its key. Whatever is wrong fails at the node
/// concerned.
using ReadStep = std::unique_ptr< const Step >( const Input::YamlNode& node,
                                                const ReadContext& context );

struct StepKind
{
    std::string_view name; ///< the key of the step in a scenario
    ReadStep* read;
};

} // namespace Tool
