#include "tests/layering/SourceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <stdexcept>

#include <unistd.h>

namespace Layering {
namespace {

using ::testing::ElementsAre;

class SourceTreeTest : public ::testing::Test
{
  protected:
    SourceTreeTest()
        : root_( std::filesystem::path( ::testing::TempDir() ) /
                 ( "SourceTreeTest." + std::to_string( ::getpid() ) ) )
    {
        write( "sim/A.h", "int a;\n" );
        write( "A.md", "" );
        write( "sim/build/B.h", "" );
        write( "build/C.h", "" );
        write( "build-other/C.h", "" );
        write( ".git/D.h", "" );
    }

    ~SourceTreeTest() override { std::filesystem::remove_all( root_ ); }

    void write( const std::string& path, const std::string& contents ) const
    {
        std::filesystem::create_directories( ( root_ / path ).parent_path() );
        std::ofstream( root_ / path ) << contents;
    }

    std::filesystem::path root_;
};

TEST_F( SourceTreeTest, Files_OfATree_LeaveOutBuildsAndHiddenFolders )
{
    EXPECT_THAT( SourceTree( root_ ).files(), ElementsAre( "A.md", "sim/A.h", "sim/build/B.h" ) );
}

TEST_F( SourceTreeTest, Contains_PathOfAFile_IsTrueForIt )
{
    const SourceTree tree( root_ );
    EXPECT_TRUE( tree.contains( "sim/A.h" ) );
    EXPECT_FALSE( tree.contains( "sim/B.h" ) );
    EXPECT_FALSE( tree.contains( "build/C.h" ) );
}

TEST_F( SourceTreeTest, ContentsOf_File_AreItsBytes )
{
    EXPECT_EQ( SourceTree( root_ ).contentsOf( "sim/A.h" ), "int a;\n" );
}

TEST_F( SourceTreeTest, ContentsOf_MissingFile_Throws )
{
    EXPECT_THROW( SourceTree( root_ ).contentsOf( "sim/B.h" ), std::runtime_error );
}

TEST_F( SourceTreeTest, Files_OfNoFolder_Throws )
{
    EXPECT_THROW( SourceTree( root_ / "none" ), std::filesystem::filesystem_error );
}

} // namespace
} // namespace Layering
