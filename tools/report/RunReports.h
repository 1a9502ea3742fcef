#pragma once

/// The two forms in which a run is reported on standard output: text that appears as things happen,
/// and one JSON object at the end.
///
/// Why the library ended a run stands there and on standard error: a reader of either needs it,
/// wherever the other one goes.
///
///     const auto report = makeTextReport( Painter( mayColour( STDOUT_FILENO ) ), 80, false );
///     runScenario( scenario, options, *report );

#include "tools/run/RunRecord.h"
#include "tools/text/Json.h"
#include "tools/text/Terminal.h"

#include <cstddef>
#include <memory>

namespace Tool {

/// The text report. Lines longer than `width` columns are folded; 0 stands for any length.
/// `progress` says whether long steps show on standard error how far they are.
[[nodiscard]] std::unique_ptr< RunReport >
makeTextReport( Painter painter, std::size_t width, bool progress );

/// The JSON report.
[[nodiscard]] std::unique_ptr< RunReport > makeJsonReport( bool progress );

/// A step, and a whole run, as JSON.
[[nodiscard]] Json stepJson( const StepReport& step );
[[nodiscard]] Json runJson( const RunRecord& run );

} // namespace Tool
