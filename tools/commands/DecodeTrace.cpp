#include "tools/commands/DecodeTrace.h"

#include "tools/commands/ExitCodes.h"
#include "tools/report/RingTraceReport.h"
#include "tools/traces/RingDumpReader.h"

#include <algorithm>

namespace Tool {

int decodeTrace( const DecodeTraceOptions& options )
{
    const std::vector< Agent::DecodedRing > rings = readRingTraces( options.file );
    if ( options.json ) {
        printRingTracesJson( options.file, rings );
    } else {
        printRingTraces( rings );
    }
    printRingTraceProblems( options.file, rings );
    const bool isWhole = !rings.empty() && std::ranges::all_of( rings, []( const auto& ring ) {
        return ring.problem.empty();
    } );
    return isWhole ? exitAsExpected : exitBadInput;
}

} // namespace Tool
