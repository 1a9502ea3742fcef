#include "agent/base/Assert.h"

#include <cerrno> // program_invocation_short_name
#include <cstdio>
#include <cstdlib>

namespace Agent {

void assertionFailed( const char* expression,
                      const char* file,
                      unsigned line,
                      const char* function )
{
    std::fflush( stdout );
    std::fprintf( stderr, "%s: %s:%u: %s: Assertion `%s' failed.\n", program_invocation_short_name,
                  file, line, function, expression );
    std::fflush( stderr );
    std::abort();
}

} // namespace Agent
