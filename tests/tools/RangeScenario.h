#pragma once

/// Scenarios with a few range checkers, put together from their lines.

#include "tests/tools/ToolRunner.h"

#include <string>

namespace ToolTest {

inline const std::string tiny = "chip: sdk6-tiny\nsteps:\n";
inline const std::string web =
    "  - allocate-range-checker: { name: web, type: l4DstPort, low: 8000, high: 8999 }\n";
inline const std::string dns =
    "  - allocate-range-checker: { name: dns, type: l4SrcPort, low: 50, high: 59 }\n";
inline const std::string jumbo =
    "  - allocate-range-checker: { name: jumbo, type: packetLength, low: 1519, high: 9216 }\n";
inline const std::string audit = "  - audit: all\n";
inline const std::string corruptMax =
    "  - inject-fault: { function: bcm_range_get, call: 1, corrupt: { field: max, value: 1 } }\n";

inline ToolResult runJson( const std::string& scenario )
{
    return ToolFolder().runScenario( scenario, { "--json" } );
}

} // namespace ToolTest
