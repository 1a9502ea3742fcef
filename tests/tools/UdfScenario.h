#pragma once

/// Scenarios with user-defined fields, put together from their steps.

#include "tests/tools/StepRunner.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace ToolTest::Udfs {

/// Runs steps on a chip with room for four fields in six chunks, for two packet formats of two
/// fields each and for one hash configuration; with one JSON object as output.
inline ToolResult run( const std::string& steps, const std::vector< std::string >& options = {} )
{
    return runOn( "sdk6-tiny", steps, options );
}

inline std::string program( const std::string& name, const std::string& rest )
{
    return "  - program-udf: { name: " + name + ", " + rest + " }\n";
}

inline std::string remove( const std::string& name )
{
    return "  - remove-udf: { name: " + name + " }\n";
}

inline const std::string expectFull = "    expect: full\n";
inline const std::string expectError = "    expect: error\n";
inline const std::string expectAborted = "    expect: aborted\n";

/// A field over IPv4 packets, `rest` goes on.
inline std::string overIpv4( const std::string& name, const std::string& rest )
{
    return program( name, "base: l3Header, ethertype: ipv4, " + rest );
}

/// So much of the resource is in use at last.
inline void expectChip( const ToolResult& result, const std::string& resource, int used )
{
    EXPECT_EQ( usedOf( result, resource ), used ) << resource;
}

} // namespace ToolTest::Udfs
