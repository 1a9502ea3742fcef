#pragma once

/// The image of the agent's ring-buffer trace, in a file, also when the process ends badly.
///
/// One dump a process. `decode-trace` reads the file.
///
///     const int file = Tool::openRingDump( "run.ring" );
///     Tool::ringDumpOnSignal( file );   // SIGABRT and the signals of a crash write it
///     ...
///     Tool::writeRingDump( file );

#include <stdexcept>
#include <string>

namespace Tool {

/// A file that the dump cannot go into; the text says why.
class UnwritableRingDump : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/// Opens or creates the file and empties it; gives its descriptor, which is the caller's. An
/// `UnwritableRingDump` if it cannot be written.
[[nodiscard]] int openRingDump( const std::string& path );

/// Replaces what is in the file by the ring's image as it is now. Whether that went well, the
/// parent process asks with `isWholeRingDump()`.
void writeRingDump( int file ) noexcept;

/// Whether the file holds the whole image. It does not if the disk was full, say.
[[nodiscard]] bool isWholeRingDump( int file );

/// From now on a signal that ends the process by a fault of the program writes the dump first.
void ringDumpOnSignal( int file );

/// Ends that: for a process whose end is none of the run's.
void noRingDumpOnSignal();

} // namespace Tool
