#pragma once

/// The part of a run that happens in the child process: the agent's part.
///
/// Events, in the order of a run:
///
///     { "event": "run-started",   "chip": OCCUPANCY, "snapshot": LIST }
///     { "event": "step-started",  "index": N }                          N from 1
///     { "event": "step-progress", "done": N, "total": N }               any number of times
///     { "event": "step-ended",    "outcome": NAME, "text": TEXT, "produced": OBJECT,
///                                 "lines": LIST, "end": TEXT,           "end" if it aborted
///                                 "chip": OCCUPANCY, "snapshot": LIST }
///
/// A snapshot is there only if the options ask for it.

#include "tools/run/ChildProcess.h"
#include "tools/run/ScenarioRun.h"
#include "tools/scenario/Scenario.h"

namespace Tool {

namespace RunEvent {

inline constexpr const char* runStarted = "run-started";
inline constexpr const char* stepStarted = "step-started";
inline constexpr const char* stepProgress = "step-progress";
inline constexpr const char* stepEnded = "step-ended";

} // namespace RunEvent

/// Runs a step in this process. What goes wrong in it, other than by ending the process, is its
/// outcome.
[[nodiscard]] StepResult runStep( const Step& step, RunContext& context );

/// Builds the chip, runs the steps as the agent would, and reports. Returns when all have been run.
void runScenarioSteps( const Scenario& scenario, const RunOptions& options, EventSender& events );

/// The result in a "step-ended" event.
[[nodiscard]] StepResult stepResultFromJson( const Json& event );

} // namespace Tool
