#pragma once

/// Assertions that are on in every build.
///
/// A broken invariant means that the agent's view and the hardware have drifted apart, so it
/// ends the process, in release builds too. The line on standard error is the one that the C
/// library's `assert` writes, with the pretty function name:
///
///     AGENT_ASSERT( low <= high && "range is upside down" );
///
///     agent: PeloraTcam/X.cpp:12: void f(int, int): Assertion `low <= high && "range is upside
///     down"' failed.

#include "agent/base/Export.h"

namespace Agent {

/// Writes the assertion line to standard error and aborts. Never returns.
[[noreturn, gnu::cold]] AGENT_EXPORT void
assertionFailed( const char* expression, const char* file, unsigned line, const char* function );

} // namespace Agent

/// Ends the process with the C library's assertion line unless the expression is true. The
/// expression is evaluated exactly once; its text, as written, is part of the line.
#define AGENT_ASSERT( ... )                                                                        \
    ( ( __VA_ARGS__ )                                                                              \
          ? static_cast< void >( 0 )                                                               \
          : ::Agent::assertionFailed( #__VA_ARGS__, __FILE__, __LINE__, __PRETTY_FUNCTION__ ) )
