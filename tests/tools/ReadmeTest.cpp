// The scenarios of README.md run as they stand, from the root of the source.

#include "tests/tools/ToolRunner.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace ToolTest {
namespace {

/// The indented blocks of README.md that begin with a chip, without their indentation.
std::vector< std::string > scenarios()
{
    const std::string indentation( 4, ' ' );
    std::ifstream page( PELORA_SOURCE_DIR "/README.md" );
    std::vector< std::string > found;
    bool inside = false;
    for ( std::string line; std::getline( page, line ); ) {
        if ( line.starts_with( indentation + "chip: " ) ) {
            found.emplace_back();
            inside = true;
        }
        inside = inside && line.starts_with( indentation );
        if ( inside ) {
            found.back() += line.substr( indentation.size() ) + "\n";
        }
    }
    return found;
}

TEST( Readme, Scenarios_AtTheRootOfTheSource_RunAsTheyStand )
{
    const std::vector< std::string > all = scenarios();
    EXPECT_EQ( all.size(), 2U );
    for ( const std::string& scenario : all ) {
        const ToolFolder root;
        std::filesystem::create_directory_symlink( PELORA_SOURCE_DIR "/examples",
                                                   root.path() + "/examples" );
        const ToolResult result = root.runScenario( scenario );
        EXPECT_EQ( result.exitCode, 0 ) << scenario << result.output << result.errors;
    }
}

} // namespace
} // namespace ToolTest
