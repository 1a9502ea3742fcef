#include "tools/run/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Tool {

namespace {

[[noreturn]] void failSystemCall( const char* what )
{
    throw std::system_error( errno, std::generic_category(), what );
}

/// Owns a file descriptor.
class Descriptor
{
  public:
    explicit Descriptor( int number )
        : number_( number )
    {}

    Descriptor( Descriptor&& other ) noexcept
        : number_( std::exchange( other.number_, -1 ) )
    {}

    Descriptor& operator=( Descriptor&& ) = delete;

    ~Descriptor() { close(); }

    [[nodiscard]] int number() const { return number_; }

    void close()
    {
        if ( number_ >= 0 ) {
            ::close( std::exchange( number_, -1 ) );
        }
    }

  private:
    int number_;
};

using DescriptorPair = std::pair< Descriptor, Descriptor >;

/// Two ends: the first for the parent, which reads; the second for the child.
DescriptorPair makePipe()
{
    std::array< int, 2 > ends{};
    if ( ::pipe2( ends.data(), O_CLOEXEC ) != 0 ) {
        failSystemCall( "pipe" );
    }
    return { Descriptor( ends[ 0 ] ), Descriptor( ends[ 1 ] ) };
}

DescriptorPair makeSocketPair()
{
    std::array< int, 2 > ends{};
    if ( ::socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data() ) != 0 ) {
        failSystemCall( "socketpair" );
    }
    return { Descriptor( ends[ 0 ] ), Descriptor( ends[ 1 ] ) };
}

void writeAll( int file, std::string_view bytes )
{
    while ( !bytes.empty() ) {
        const ssize_t size = ::write( file, bytes.data(), bytes.size() );
        if ( size < 0 && errno != EINTR ) {
            failSystemCall( "write" );
        }
        bytes.remove_prefix( size > 0 ? static_cast< std::size_t >( size ) : 0 );
    }
}

/// What there is to read, empty at the end; waits until there is something. A peer that went
/// without having read everything is an end like any other.
std::string readSome( int file )
{
    std::array< char, 1U << 16 > bytes;
    while ( true ) {
        const ssize_t size = ::read( file, bytes.data(), bytes.size() );
        if ( size >= 0 ) {
            return { bytes.data(), static_cast< std::size_t >( size ) };
        }
        if ( errno == ECONNRESET ) {
            return {};
        }
        if ( errno != EINTR ) {
            failSystemCall( "read" );
        }
    }
}

std::string readAll( int file )
{
    std::string all;
    for ( std::string some = readSome( file ); !some.empty(); some = readSome( file ) ) {
        all += some;
    }
    return all;
}

ChildEnd waitFor( pid_t child )
{
    int status = 0;
    while ( ::waitpid( child, &status, 0 ) < 0 ) {
        if ( errno != EINTR ) {
            failSystemCall( "waitpid" );
        }
    }
    if ( WIFSIGNALED( status ) ) {
        return { true, WTERMSIG( status ) };
    }
    return { false, WEXITSTATUS( status ) };
}

pid_t forkProcess()
{
    // What is buffered would otherwise be written by both.
    std::fflush( nullptr );
    const pid_t child = ::fork();
    if ( child < 0 ) {
        failSystemCall( "fork" );
    }
    return child;
}

/// The parent's side of a child's events and standard error.
class ChildReader
{
  public:
    ChildReader( int events,
                 int standardError,
                 const EventHandler& onEvent,
                 const TextHandler& onStandardError )
        : polled_{ { { standardError, POLLIN, 0 }, { events, POLLIN, 0 } } }
        , onEvent_( onEvent )
        , onStandardError_( onStandardError )
    {}

    /// Returns when the child has closed both.
    void readToEnd()
    {
        while ( polled_[ 0 ].fd >= 0 || polled_[ 1 ].fd >= 0 ) {
            pollFor( -1 );
            // Standard error goes first, and to its last byte: it was written before the event.
            const bool eventWaits = polled_[ 1 ].revents != 0;
            do {
                readStandardError();
            } while ( eventWaits && pollFor( 0 ) && polled_[ 0 ].revents != 0 );
            if ( eventWaits ) {
                readEvent();
            }
        }
    }

  private:
    bool pollFor( int milliseconds )
    {
        while ( true ) {
            const int ready = ::poll( polled_.data(), polled_.size(), milliseconds );
            if ( ready >= 0 ) {
                return ready > 0;
            }
            if ( errno != EINTR ) {
                failSystemCall( "poll" );
            }
        }
    }

    void readStandardError()
    {
        if ( polled_[ 0 ].fd < 0 || polled_[ 0 ].revents == 0 ) {
            return;
        }
        const std::string text = readSome( polled_[ 0 ].fd );
        if ( text.empty() ) {
            polled_[ 0 ].fd = -1;
            polled_[ 0 ].revents = 0;
        } else {
            onStandardError_( text );
        }
    }

    void readEvent()
    {
        const std::string text = readSome( polled_[ 1 ].fd );
        if ( text.empty() ) {
            polled_[ 1 ].fd = -1;
            polled_[ 1 ].revents = 0;
            return;
        }
        eventText_ += text;
        const std::size_t end = eventText_.find( '\n' );
        if ( end != std::string::npos ) {
            onEvent_( Json::parse( eventText_.substr( 0, end ) ) );
            eventText_.erase( 0, end + 1 );
            acknowledge();
        }
    }

    /// The child may be gone by now; then its end tells why.
    void acknowledge() const
    {
        static_cast< void >( ::send( polled_[ 1 ].fd, "\n", 1, MSG_NOSIGNAL ) );
    }

    std::array< pollfd, 2 > polled_; // standard error, events
    std::string eventText_;
    const EventHandler& onEvent_;
    const TextHandler& onStandardError_;
};

/// An exception that nobody in the child catches ends it, like everything else that is not meant.
[[noreturn]] void runChild( const ChildBody& body, int events, int standardError ) noexcept
{
    ::dup2( standardError, STDERR_FILENO );
    EventSender sender( events );
    body( sender );
    std::exit( EXIT_SUCCESS );
}

[[noreturn]] void runTrial( const std::function< Json() >& body, int resultFile ) noexcept
{
    const rlimit noCoreFile{ 0, 0 };
    ::setrlimit( RLIMIT_CORE, &noCoreFile );
    writeAll( resultFile, jsonText( body() ) );
    std::exit( EXIT_SUCCESS );
}

} // namespace

void EventSender::send( const Json& event )
{
    const std::string line = jsonText( event ) + "\n";
    writeAll( channel_, line );
    if ( readSome( channel_ ).empty() ) {
        std::_Exit( EXIT_FAILURE );
    }
}

std::string childEndText( const ChildEnd& end )
{
    if ( !end.bySignal ) {
        return "exit code " + std::to_string( end.number );
    }
    const char* name = ::sigabbrev_np( end.number );
    return ( name == nullptr ? "signal " + std::to_string( end.number )
                             : "SIG" + std::string( name ) ) +
           " (" + ::strsignal( end.number ) + ")";
}

ChildEnd
runInChild( const ChildBody& body, const EventHandler& onEvent, const TextHandler& onStandardError )
{
    auto [ eventsHere, eventsThere ] = makeSocketPair();
    auto [ standardErrorHere, standardErrorThere ] = makePipe();
    const pid_t child = forkProcess();
    if ( child == 0 ) {
        eventsHere.close();
        standardErrorHere.close();
        runChild( body, eventsThere.number(), standardErrorThere.number() );
    }
    eventsThere.close();
    standardErrorThere.close();
    ChildReader( eventsHere.number(), standardErrorHere.number(), onEvent, onStandardError )
        .readToEnd();
    return waitFor( child );
}

ChildEnd tryInChild( const std::function< Json() >& body, Json& result )
{
    auto [ resultHere, resultThere ] = makePipe();
    const pid_t child = forkProcess();
    if ( child == 0 ) {
        runTrial( body, resultThere.number() );
    }
    resultThere.close();
    const std::string text = readAll( resultHere.number() );
    const ChildEnd end = waitFor( child );
    if ( end.succeeded() && !text.empty() ) {
        result = Json::parse( text );
    }
    return end;
}

void endLike( const ChildEnd& end )
{
    if ( end.bySignal ) {
        std::signal( end.number, SIG_DFL );
        ::raise( end.number );
    }
    std::_Exit( end.number );
}

} // namespace Tool
