#pragma once

/// The steps of a scenario, and the kinds that there are.
///
/// A step kind is one small file in `tools/steps/` and one row in `tools/steps/StepKinds.cpp`: how
/// the step is read from a scenario, and how it is run. Reading happens in the tool's own process
/// before anything is run and reports bad input; running happens in the run's child process, with
/// the agent's activity lock held, and uses nothing but the step and the run context.
///
///     class Audit : public Tool::Step
///     {
///         StepResult run( RunContext& context ) const override
///         {
///             const std::size_t audited = context.rangeCheckers().audit();
///             return { Outcome::ok, fmt::format( "{} compared", audited ), { { "audited", audited
///             } } };
///         }
///     };

#include "tools/scenario/Outcome.h"
#include "tools/text/Json.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tool {

class RunContext;

/// What running a step gave.
struct StepResult
{
    Outcome outcome = Outcome::ok;
    std::string text; ///< for the reader: what was produced, or why not
    /// The same for programs; its members become members of the step in the JSON output.
    Json produced = Json::object();
    /// More for the reader, in lines of their own.
    std::vector< std::string > lines = {};
};

/// A step that cannot be done, as opposed to one that the chip has no room for; the text says why.
/// The run goes on with the next step.
class StepError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

class Step
{
  public:
    Step() = default;
    Step( const Step& ) = delete;
    Step& operator=( const Step& ) = delete;
    virtual ~Step() = default;

    /// What the step is about, for the report: a name given in the scenario, or the like.
    [[nodiscard]] virtual std::string name() const = 0;

    /// Does it. Throws a `StepError` if it cannot be done.
    [[nodiscard]] virtual StepResult run( RunContext& context ) const = 0;
};

} // namespace Tool
