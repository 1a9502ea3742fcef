#pragma once

/// Runs something that may abort in a child process, without what a death test does around it.
///
///     const ChildRun run = runInChild( [] { translate( 255 ); } );
///     EXPECT_TRUE( run.aborted );
///     EXPECT_THAT( run.errors, HasSubstr( "Assertion" ) );

#include <array>
#include <cerrno>
#include <csignal>
#include <functional>
#include <stdexcept>
#include <string>
#include <system_error>

#include <sys/wait.h>
#include <unistd.h>

namespace LibraryTest {

struct ChildRun
{
    bool aborted = false;  ///< the child ended by abort()
    bool returned = false; ///< the function returned
    std::string errors;    ///< what the child wrote to standard error
};

/// What the child does: the function, with standard error going into the pipe.
[[noreturn]] inline void beChild( const std::function< void() >& function, int errors )
{
    if ( dup2( errors, STDERR_FILENO ) < 0 ) {
        _exit( 1 );
    }
    function();
    _exit( 0 );
}

/// Throws, which fails the test, if there is no child, or if it ends in neither of the two ways.
inline ChildRun runInChild( const std::function< void() >& function )
{
    std::array< int, 2 > ends{};
    if ( pipe( ends.data() ) != 0 ) {
        throw std::system_error( errno, std::generic_category(), "pipe" );
    }
    const pid_t child = fork();
    if ( child < 0 ) {
        throw std::system_error( errno, std::generic_category(), "fork" );
    }
    if ( child == 0 ) {
        beChild( function, ends[ 1 ] );
    }
    close( ends[ 1 ] );
    ChildRun run;
    std::array< char, 4096 > buffer{};
    ssize_t count = 0;
    while ( ( count = read( ends[ 0 ], buffer.data(), buffer.size() ) ) > 0 ) {
        run.errors.append( buffer.data(), static_cast< std::size_t >( count ) );
    }
    close( ends[ 0 ] );
    int status = 0;
    if ( waitpid( child, &status, 0 ) != child ) {
        throw std::system_error( errno, std::generic_category(), "waitpid" );
    }
    run.aborted = WIFSIGNALED( status ) && WTERMSIG( status ) == SIGABRT;
    run.returned = WIFEXITED( status ) && WEXITSTATUS( status ) == 0;
    if ( !run.aborted && !run.returned ) {
        throw std::runtime_error( "the child ended otherwise: " + run.errors );
    }
    return run;
}

} // namespace LibraryTest
