#pragma once

/// Ring-buffer traces, printed.

#include "agent/base/RingTraceDecoder.h"

#include <string>
#include <vector>

namespace Tool {

/// To standard output, a line a record.
void printRingTraces( const std::vector< Agent::DecodedRing >& rings );

/// The same as JSON. `file` is where they were found.
void printRingTracesJson( const std::string& file, const std::vector< Agent::DecodedRing >& rings );

/// Says on standard error what is wrong with them, or that there are none.
void printRingTraceProblems( const std::string& file,
                             const std::vector< Agent::DecodedRing >& rings );

} // namespace Tool
