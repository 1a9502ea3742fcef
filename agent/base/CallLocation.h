#pragma once

/// Where in the source something happens: path from the repository's root, line, function.

#include "agent/base/BaseTypes.h"

namespace Agent {

/// A place in the source.
struct CallLocation
{
    const char* file = "";     ///< its path, as `__FILE__` gives it
    U32 line = 0;              ///< from 1
    const char* function = ""; ///< as the compiler names it
};

/// A trace level that knows where it is written. Converts from a number at the call:
/// `trace( handle, 9, ... )`.
struct TraceLevel
{
    // Implicit, so that the defaults are those of the trace statement.
    /// The level, 0 to 31. The other arguments are never given.
    constexpr TraceLevel( int level,
                          const char* file = __builtin_FILE(),
                          int line = __builtin_LINE(),
                          const char* function = __builtin_FUNCTION() )
        : value( static_cast< U32 >( level ) )
        , location{ file, static_cast< U32 >( line ), function }
    {}

    U32 value;             ///< 0 to 31
    CallLocation location; ///< where the trace statement stands
};

} // namespace Agent
