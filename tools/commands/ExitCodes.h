#pragma once

/// How the tool ends.

#include "tools/run/RunReport.h"

namespace Tool {

inline constexpr int exitAsExpected = 0;
inline constexpr int exitUnexpectedOutcome = 1;
inline constexpr int exitBadInput = 2;
inline constexpr int exitLibraryEnded = 3;
inline constexpr int exitToolFailed = 4; ///< no process, no memory, no room for the output

/// The code for a run.
[[nodiscard]] inline int exitCodeOf( const RunSummary& summary )
{
    if ( summary.unexpectedEnd ) {
        return exitLibraryEnded;
    }
    return summary.allAsExpected() ? exitAsExpected : exitUnexpectedOutcome;
}

} // namespace Tool
