#include "tools/traces/RingDump.h"

#include "agent/base/RingTrace.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace Tool {

namespace {

constexpr std::array< int, 5 > deadlySignals = { SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL };

// What the signal handler needs: set before it is installed, and never changed while it is.
int dumpFile_ = -1;
const std::byte* image_ = nullptr;
std::size_t imageSize_ = 0;

void writeImage( int file ) noexcept
{
    std::size_t written = 0;
    while ( written < imageSize_ ) {
        const ssize_t size = ::pwrite( file, image_ + written, imageSize_ - written,
                                       static_cast< off_t >( written ) );
        if ( size == 0 || ( size < 0 && errno != EINTR ) ) {
            return;
        }
        written += size > 0 ? static_cast< std::size_t >( size ) : 0;
    }
}

void setSignalAction( void ( *handler )( int ) )
{
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset( &action.sa_mask );
    for ( const int signal : deadlySignals ) {
        ::sigaction( signal, &action, nullptr );
    }
}

/// Writes the dump, then lets the signal do what it does.
extern "C" void writeDumpOnSignal( int signal )
{
    writeImage( dumpFile_ );
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    ::sigaction( signal, &action, nullptr );
    ::raise( signal );
}

} // namespace

int openRingDump( const std::string& path )
{
    constexpr mode_t readableByAll = 0644;
    const int file =
        ::open( path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, readableByAll );
    if ( file < 0 ) {
        throw UnwritableRingDump( "cannot write '" + path + "': " + std::strerror( errno ) );
    }
    if ( ::lseek( file, 0, SEEK_SET ) < 0 ) {
        ::close( file );
        throw UnwritableRingDump( "'" + path + "' is no file" );
    }
    return file;
}

void writeRingDump( int file ) noexcept
{
    image_ = Agent::ringTrace().image().data();
    imageSize_ = Agent::ringTrace().image().size();
    writeImage( file );
}

bool isWholeRingDump( int file )
{
    const off_t size = ::lseek( file, 0, SEEK_END );
    return size >= static_cast< off_t >( Agent::ringTrace().image().size() );
}

void ringDumpOnSignal( int file )
{
    dumpFile_ = file;
    image_ = Agent::ringTrace().image().data();
    imageSize_ = Agent::ringTrace().image().size();
    setSignalAction( writeDumpOnSignal );
}

void noRingDumpOnSignal()
{
    setSignalAction( SIG_DFL );
}

} // namespace Tool
