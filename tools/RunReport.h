#pragma once

/// What a run reports, and the two forms of it: text that appears as things happen, and one JSON
/// object at the end.
///
/// The reports are called in the parent process, in the order in which things happen in the child.
/// Both print to standard output. Why the library ended a run stands there and on standard error:
/// a reader of either needs it, wherever the other one goes.

#include "tools/ChildProcess.h"
#include "tools/Json.h"
#include "tools/Outcome.h"
#include "tools/StandardErrorWatch.h"
#include "tools/Step.h"
#include "tools/Terminal.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
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

    [[nodiscard]] int exitCode() const;
};

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
};

/// The text report. Lines longer than `width` columns are folded; 0 stands for any length.
[[nodiscard]] std::unique_ptr< RunReport > makeTextReport( Painter painter, std::size_t width = 0 );
[[nodiscard]] std::unique_ptr< RunReport > makeJsonReport();
/// The JSON report, for somebody who does something else with it than printing.
[[nodiscard]] std::unique_ptr< RunReport >
makeJsonReport( std::function< void( const Json& report ) > done );

/// The text that tells an unexpected end, of several lines.
[[nodiscard]] std::string unexpectedEndText( const UnexpectedEnd& unexpected );

} // namespace Tool
