#pragma once

/// What is told of a run, and who is told.
///
/// A report is called in the parent process, in the order in which things happen in the child. The
/// forms that reports have for people and programs are in `tools/report/`.

#include "tools/run/StandardErrorWatch.h"
#include "tools/scenario/Outcome.h"
#include "tools/scenario/Step.h"
#include "tools/text/Json.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// What is known of a step before it is run.
struct StepHeading
{
    std::size_t index = 0; ///< from 1
    std::string kind;
    std::string name;
    Outcome expected = Outcome::ok;
};

/// What is known of a run before it starts.
struct RunHeading
{
    std::string scenario; ///< the file
    std::string profile;
    std::string numbering;
    unsigned unit = 0;
    unsigned pipe = 0;
    std::vector< StepHeading > steps;
};

/// A step that has been run.
struct StepReport
{
    StepHeading heading;
    StepResult result;
    bool asExpected = true;
    LastWords lastWords; ///< of a step that aborted
    std::string end;     ///< how the process ended, of a step that aborted
};

/// An end of the run that nobody expected.
struct UnexpectedEnd
{
    std::optional< StepHeading > step; ///< the step that was running, if one was
    std::string end;
    LastWords lastWords;
};

struct RunSummary
{
    /// What the chip held at last: an object with a member for each resource, of `used`, `capacity`
    /// and `peak`, the most that was used after any step.
    Json chip = Json::object();
    /// All that the chip held at last, a list of objects with their fields; null if nobody asked.
    Json snapshot;
    std::size_t stepsRun = 0;
    std::size_t notAsExpected = 0;
    std::optional< UnexpectedEnd > unexpectedEnd;

    /// Whether every step had the outcome that was expected of it.
    [[nodiscard]] bool allAsExpected() const { return !unexpectedEnd && notAsExpected == 0; }
};

/// Is told of a run as it happens.
class RunReport
{
  public:
    RunReport() = default;
    RunReport( const RunReport& ) = delete;
    RunReport& operator=( const RunReport& ) = delete;
    virtual ~RunReport() = default;

    virtual void runStarts( const RunHeading& heading ) = 0;
    virtual void stepEnded( const StepReport& step ) = 0;
    virtual void runEnded( const RunSummary& summary ) = 0;

    /// The step that is running is so far.
    virtual void stepProgressed( const StepHeading& step, std::size_t done, std::size_t total ) = 0;
    /// What the child wrote to its standard error, in whole lines; without the last words of a step
    /// that aborts, which that step's report has.
    virtual void standardErrorWritten( std::string_view text ) = 0;
};

} // namespace Tool
