#pragma once

/// What a user-defined field means on a chip, asked in a child process, because the library may end
/// it.
///
///     UdfQuestion question;
///     question.scenario.profile = Sim::builtInProfile( "hsdk" );
///     question.desc = ...;
///     const Json answer = answerTo( question, []( std::string_view ) {} );

#include "agent/tcam/UdfTypes.h"
#include "sim/SdkNumbering.h"
#include "tools/run/ChildProcess.h"
#include "tools/scenario/Scenario.h"
#include "tools/text/Json.h"

#include <string>
#include <vector>

namespace Tool {

/// A field that exists already.
struct ExistingUdf
{
    std::string name;
    PeloraTcam::UdfDesc desc;
};

struct UdfQuestion
{
    Scenario scenario;                   ///< what is run before; it may have no steps
    std::vector< ExistingUdf > existing; ///< what is programmed behind it
    /// What stands before the name of an existing field where something is said of it.
    std::string existingLabel = "existing field";
    PeloraTcam::UdfDesc desc; ///< what is asked about
    Sim::SdkNumbering numbering;
};

/// The explanation that `UdfExplanation.h` describes. Its `outcome` is "aborted" if the library
/// ended the process, and it then has `why`, `running`, `errorLine`, `apiError` and `assertion`.
/// `onStandardError` gets what the library writes besides.
[[nodiscard]] Json answerTo( const UdfQuestion& question, const TextHandler& onStandardError );

} // namespace Tool
