#include "agent/base/StandardError.h"

#include <cstdio>
#include <iostream>

namespace Agent {

namespace {

/// Writes what was printed before, as the stream itself would.
void flushTied() noexcept
try {
    if ( std::ostream* const tied = std::cerr.tie() ) {
        tied->flush();
    }

} catch ( ... ) {
    // The line is worth more.
}

} // namespace

void writeErrorLine( std::string line ) noexcept
try {
    line += '\n';
    flushTied();
    // Past the stream itself, which writes nothing while one of its error flags is set.
    if ( std::streambuf* const buffer = std::cerr.rdbuf() ) {
        buffer->sputn( line.data(), static_cast< std::streamsize >( line.size() ) );
        buffer->pubsync();
    } else {
        std::fwrite( line.data(), 1, line.size(), stderr );
        std::fflush( stderr );
    }

} catch ( ... ) {
    // There is nobody left to tell.
}

} // namespace Agent
