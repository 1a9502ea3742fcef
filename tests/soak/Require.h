#pragma once

/// A condition of a soak or a fuzz run: whatever breaks it is a fault.

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace Soak {

/// Ends the process, with a line that tells what does not hold, unless the condition is true.
inline void require( bool condition,
                     std::string_view what,
                     const char* file = __builtin_FILE(),
                     unsigned line = __builtin_LINE() )
{
    if ( condition ) {
        return;
    }
    std::fflush( stdout );
    std::fprintf( stderr, "%s:%u: does not hold: %.*s\n", file, line,
                  static_cast< int >( what.size() ), what.data() );
    std::fflush( stderr );
    std::abort();
}

} // namespace Soak
