#pragma once

/// Runs steps on a chip for one test, with one JSON object as output.

#include "tests/tools/ToolRunner.h"

#include <cstddef>
#include <string>
#include <vector>

namespace ToolTest {

/// Runs the steps on that chip.
[[nodiscard]] inline ToolResult runOn( const std::string& chip,
                                       const std::string& steps,
                                       const std::vector< std::string >& options = {} )
{
    std::vector< std::string > all{ "--json" };
    all.insert( all.end(), options.begin(), options.end() );
    return ToolFolder().runScenario( "chip: " + chip + "\nsteps:\n" + steps, all );
}

/// The step of that index, from 0.
[[nodiscard]] inline nlohmann::json stepOf( const ToolResult& result, std::size_t index )
{
    return result.json().at( "steps" ).at( index );
}

/// How many of a resource the chip holds at last.
[[nodiscard]] inline int usedOf( const ToolResult& result, const std::string& resource )
{
    return result.json().at( "chip" ).at( resource ).at( "used" );
}

} // namespace ToolTest
