#include "tools/traces/RingDumpReader.h"

#include "input/TextFile.h"
#include "tools/traces/RingDump.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

/// A path for a file that goes with the test.
class TemporaryPath
{
  public:
    TemporaryPath() = default;
    TemporaryPath( const TemporaryPath& ) = delete;
    TemporaryPath& operator=( const TemporaryPath& ) = delete;

    ~TemporaryPath() { std::remove( path_.c_str() ); }

    [[nodiscard]] const std::string& path() const { return path_; }

  private:
    std::string path_ =
        std::filesystem::temp_directory_path() / ( "pelora-ring-" + std::to_string( ::getpid() ) );
};

TEST( RingDumpReader, Read_DumpOfThisProcess_IsOneTraceThatIsWhole )
{
    const TemporaryPath file;
    const int dump = Tool::openRingDump( file.path() );
    EXPECT_FALSE( Tool::isWholeRingDump( dump ) );
    Tool::writeRingDump( dump );
    EXPECT_TRUE( Tool::isWholeRingDump( dump ) );
    ::close( dump );
    const auto rings = Tool::readRingTraces( file.path() );
    ASSERT_EQ( rings.size(), 1U );
    EXPECT_EQ( rings[ 0 ].problem, "" );
}

TEST( RingDumpReader, Read_OtherFile_HoldsNoTrace )
{
    const TemporaryPath file;
    std::ofstream( file.path() ) << "no trace\n";
    EXPECT_TRUE( Tool::readRingTraces( file.path() ).empty() );
}

TEST( RingDumpReader, Read_NoFile_Throws )
{
    EXPECT_THROW( static_cast< void >( Tool::readRingTraces( "/none/none" ) ),
                  Input::UnreadableFile );
}

TEST( RingDump, Open_FolderThatIsNotThere_Throws )
{
    EXPECT_THROW( static_cast< void >( Tool::openRingDump( "/none/none" ) ),
                  Tool::UnwritableRingDump );
}

} // namespace
