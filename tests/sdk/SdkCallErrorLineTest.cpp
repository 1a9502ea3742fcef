// The line of a failed call on standard error: it gets out whole, whatever the process has done to
// its error stream.

#include "sdk/SdkCall.h"

#include "tests/support/RecordingSdk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <ios>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;

constexpr Shim::CallSite site{ "call()", { "a/b.cpp", 12, "void f()" } };

/// Takes the place of standard error, and keeps each write to it apart: a socket of datagrams.
class StandardErrorWrites
{
  public:
    StandardErrorWrites()
    {
        EXPECT_EQ( socketpair( AF_UNIX, SOCK_DGRAM, 0, ends_.data() ), 0 );
        EXPECT_EQ( dup2( ends_[ 0 ], STDERR_FILENO ), STDERR_FILENO );
    }

    StandardErrorWrites( const StandardErrorWrites& ) = delete;
    StandardErrorWrites& operator=( const StandardErrorWrites& ) = delete;

    ~StandardErrorWrites()
    {
        dup2( previous_, STDERR_FILENO );
        close( previous_ );
        close( ends_[ 0 ] );
        close( ends_[ 1 ] );
    }

    /// What has been written since the last time, each write as one text.
    [[nodiscard]] std::vector< std::string > taken() const
    {
        std::vector< std::string > writes;
        std::array< char, 4096 > buffer;
        for ( ;; ) {
            const ssize_t size = recv( ends_[ 1 ], buffer.data(), buffer.size(), MSG_DONTWAIT );
            if ( size < 0 ) {
                return writes;
            }
            writes.emplace_back( buffer.data(), static_cast< std::size_t >( size ) );
        }
    }

  private:
    const int previous_ = dup( STDERR_FILENO );
    std::array< int, 2 > ends_{};
};

class SdkCallErrorLineTest : public ::testing::Test
{
  protected:
    SdkCallErrorLineTest() { Shim::sdk_ = &sdk_; }

    ~SdkCallErrorLineTest() override
    {
        std::cerr.clear();
        std::cerr.flags( flags_ );
        Shim::sdk_ = nullptr;
    }

    TestSupport::RecordingSdk sdk_;

  private:
    const std::ios_base::fmtflags flags_ = std::cerr.flags();
};

TEST_F( SdkCallErrorLineTest, Line_OfAFailedCall_IsOneWrite )
{
    const StandardErrorWrites writes;
    Shim::writeApiError( site, -6 );
    EXPECT_THAT( writes.taken(), ElementsAre( "a/b.cpp:12 call() API ERROR:Table full (-6)\n" ) );
}

TEST_F( SdkCallErrorLineTest, Line_WhileTheStreamIsInABadState_GetsOut )
{
    for ( const auto state : { std::ios_base::badbit, std::ios_base::failbit } ) {
        const StandardErrorWrites writes;
        std::cerr.setstate( state );
        Shim::writeApiError( site, -6 );
        EXPECT_THAT( writes.taken(),
                     ElementsAre( "a/b.cpp:12 call() API ERROR:Table full (-6)\n" ) );
        std::cerr.clear();
    }
}

TEST_F( SdkCallErrorLineTest, Line_WhileTheStreamHasNoBuffer_GetsOut )
{
    const StandardErrorWrites writes;
    std::streambuf* const previous = std::cerr.rdbuf( nullptr );
    Shim::writeApiError( site, -6 );
    std::cerr.rdbuf( previous );
    EXPECT_THAT( writes.taken(), ElementsAre( "a/b.cpp:12 call() API ERROR:Table full (-6)\n" ) );
}

TEST_F( SdkCallErrorLineTest, Line_WhileTheStreamThrows_GetsOutWithoutAnException )
{
    const StandardErrorWrites writes;
    std::cerr.exceptions( std::ios_base::badbit );
    EXPECT_THROW( std::cerr.setstate( std::ios_base::badbit ), std::ios_base::failure );
    EXPECT_NO_THROW( Shim::writeApiError( site, -6 ) );
    std::cerr.clear();
    std::cerr.exceptions( std::ios_base::goodbit );
    EXPECT_THAT( writes.taken(), ElementsAre( "a/b.cpp:12 call() API ERROR:Table full (-6)\n" ) );
}

TEST_F( SdkCallErrorLineTest, Line_WhileTheStreamPrintsHexadecimal_HasDecimalNumbers )
{
    const StandardErrorWrites writes;
    std::cerr << std::hex << std::showbase;
    Shim::writeApiError( site, -16 );
    ASSERT_EQ( writes.taken().size(), 1U );
    sdk_.on.sdkErrorText = []( int ) { return "Text"; };
    Shim::writeApiError( site, -16 );
    EXPECT_THAT( writes.taken(), ElementsAre( "a/b.cpp:12 call() API ERROR:Text (-16)\n" ) );
}

TEST_F( SdkCallErrorLineTest, Line_OfACodeWithoutText_HasTheCode )
{
    const StandardErrorWrites writes;
    sdk_.on.sdkErrorText = []( int ) -> const char* { return nullptr; };
    Shim::writeApiError( site, -99 );
    EXPECT_THAT( writes.taken(), ElementsAre( "a/b.cpp:12 call() API ERROR: (-99)\n" ) );
}

TEST_F( SdkCallErrorLineTest, Line_WhileTheStreamIsRedirected_GoesThere )
{
    std::ostringstream redirected;
    std::streambuf* const previous = std::cerr.rdbuf( redirected.rdbuf() );
    Shim::writeApiError( site, -6 );
    std::cerr.rdbuf( previous );
    EXPECT_EQ( redirected.str(), "a/b.cpp:12 call() API ERROR:Table full (-6)\n" );
}

} // namespace
