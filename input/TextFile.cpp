#include "input/TextFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace Input {

namespace {

/// Closes a file when it goes.
class OpenFile
{
  public:
    explicit OpenFile( const std::string& path )
        : descriptor_( ::open( path.c_str(), O_RDONLY | O_CLOEXEC ) )
    {}

    OpenFile( const OpenFile& ) = delete;
    OpenFile& operator=( const OpenFile& ) = delete;

    ~OpenFile()
    {
        if ( descriptor_ >= 0 ) {
            ::close( descriptor_ );
        }
    }

    [[nodiscard]] int descriptor() const { return descriptor_; }

  private:
    int descriptor_;
};

} // namespace

std::string readTextFile( const std::string& path )
{
    const OpenFile file( path );
    if ( file.descriptor() < 0 ) {
        throw UnreadableFile( path, std::strerror( errno ) );
    }
    std::string text;
    std::string piece( 1U << 16, '\0' );
    while ( true ) {
        const ssize_t size = ::read( file.descriptor(), piece.data(), piece.size() );
        if ( size == 0 ) {
            return text;
        }
        if ( size < 0 && errno != EINTR ) {
            throw UnreadableFile( path, std::strerror( errno ) );
        }
        text.append( piece, 0, size > 0 ? static_cast< std::size_t >( size ) : 0 );
    }
}

} // namespace Input
