// Compiled into every library and program of a build with coverage counters, and into no other.
//
// A process that aborts, as the tests of assertions do, ends without writing its counters: what it
// has reached would not show. Each library has counters of its own, so each writes its own, one
// after the other.

#include <csignal>

extern "C" void __gcov_dump( void );

namespace {

using Handler = void ( * )( int );

Handler before = SIG_DFL;

// Returns, so that the abort goes on and ends the process as it would have.
void writeCounters( int signal )
{
    __gcov_dump();
    if ( before != SIG_DFL && before != SIG_IGN && before != SIG_ERR ) {
        before( signal );
    }
}

struct OnAbort
{
    OnAbort() { before = std::signal( SIGABRT, writeCounters ); }

    OnAbort( const OnAbort& ) = delete;
    OnAbort& operator=( const OnAbort& ) = delete;

    // The library may be unloaded before the process ends.
    ~OnAbort() { std::signal( SIGABRT, before ); }
};

const OnAbort onAbort;

} // namespace
