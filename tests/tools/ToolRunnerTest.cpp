// A run that does not take place fails the test that wants it.

#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/resource.h>
#include <system_error>

namespace ToolTest {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

/// Lets this process open no more files, for as long as it lives.
class NoMoreFiles
{
  public:
    NoMoreFiles()
    {
        ::getrlimit( RLIMIT_NOFILE, &before_ );
        const rlimit none{ 0, before_.rlim_max };
        ::setrlimit( RLIMIT_NOFILE, &none );
    }

    NoMoreFiles( const NoMoreFiles& ) = delete;
    NoMoreFiles& operator=( const NoMoreFiles& ) = delete;

    ~NoMoreFiles() { ::setrlimit( RLIMIT_NOFILE, &before_ ); }

  private:
    rlimit before_{};
};

TEST( ToolRunner, Run_ProgramIsMissing_Throws )
{
    ToolFolder folder;
    folder.programIs( folder.path() + "/missing" );
    EXPECT_THAT( [ & ] { static_cast< void >( folder.run( { "--help" } ) ); },
                 ThrowsMessage< std::runtime_error >( HasSubstr(
                     "the tool was not run: " + folder.path() + "/missing: No such" ) ) );
}

TEST( ToolRunner, RunOnTerminal_ProgramIsMissing_Throws )
{
    ToolFolder folder;
    folder.programIs( folder.path() + "/missing" );
    EXPECT_THAT( [ & ] { static_cast< void >( folder.runOnTerminal( { "--help" } ) ); },
                 ThrowsMessage< std::runtime_error >( HasSubstr(
                     "the tool was not run: " + folder.path() + "/missing: No such" ) ) );
}

TEST( ToolRunner, RunOnTerminal_NoTerminalIsLeft_Throws )
{
    const ToolFolder folder;
    EXPECT_THAT(
        [ & ] {
            const NoMoreFiles noMoreFiles;
            static_cast< void >( folder.runOnTerminal( { "--help" } ) );
        },
        ThrowsMessage< std::system_error >( HasSubstr( "forkpty: Too many open files" ) ) );
}

TEST( ToolRunner, Read_FileIsMissing_Throws )
{
    const ToolFolder folder;
    EXPECT_THAT( [ & ] { static_cast< void >( folder.read( "missing" ) ); },
                 ThrowsMessage< std::system_error >( HasSubstr( "/missing: No such file" ) ) );
}

} // namespace
} // namespace ToolTest
