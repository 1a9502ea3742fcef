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
///
/// Where a certain text is required it is given with the condition, so that names in the code are
/// free. A place that must not be reached fails with a text alone:
///
///     AGENT_ASSERT_AS( "low <= high && \"range is upside down\"", range.low() <= range.high() );
///     AGENT_FAIL( "0 && \"Invalid range\"" );

#include "agent/base/Export.h"

namespace Agent {

/// Writes the assertion line to standard error and aborts. Never returns.
[[noreturn, gnu::cold]] AGENT_EXPORT void
assertionFailed( const char* expression, const char* file, unsigned line, const char* function );

} // namespace Agent

/// Ends the process with the C library's assertion line at this place, with that text, a string
/// literal.
#define AGENT_FAIL( text ) ::Agent::assertionFailed( text, __FILE__, __LINE__, __PRETTY_FUNCTION__ )

/// Ends the process with the C library's assertion line unless the condition is true. The condition
/// is evaluated exactly once; the line has `text`, a string literal, in its place.
#define AGENT_ASSERT_AS( text, ... )                                                               \
    ( ( __VA_ARGS__ ) ? static_cast< void >( 0 ) : AGENT_FAIL( text ) )

/// The same; the text is the condition as written.
#define AGENT_ASSERT( ... ) AGENT_ASSERT_AS( #__VA_ARGS__, __VA_ARGS__ )
