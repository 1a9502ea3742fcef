// The pages of the public headers are made of those headers that are installed, and their overview
// names no others.

#include "tests/docs/Pages.h"
#include "tests/layering/SourceTree.h"
#include "tests/layering/StableHeaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>

namespace DocsTest {
namespace {

using testing::Contains;

/// The folders whose headers users may include; the rooms of the simulated chip are those that are
/// built.
std::vector< std::string > publicFolders()
{
    std::vector< std::string > folders{ "agent/base", "agent/tcam", "sdk", "PeloraTcam", "input" };
    const Layering::SourceTree tree( PELORA_SOURCE_DIR );
    static const std::regex room( "(sim/[a-z]+)/CMakeLists\\.txt" );
    for ( const std::string& file : tree.files() ) {
        std::smatch name;
        if ( std::regex_match( file, name, room ) ) {
            folders.push_back( name[ 1 ] );
        }
    }
    return folders;
}

std::set< std::string > headersOf( const std::vector< std::string >& folders )
{
    const Layering::SourceTree tree( PELORA_SOURCE_DIR );
    std::set< std::string > headers;
    for ( const std::string& file : tree.files() ) {
        const std::string folder = file.substr( 0, file.rfind( '/' ) );
        if ( file.ends_with( ".h" ) && std::ranges::count( folders, folder ) != 0 ) {
            headers.insert( file );
        }
    }
    return headers;
}

/// The headers that a folder's CMakeLists.txt installs: those of its file sets.
std::set< std::string > installedOf( const std::string& folder )
{
    std::set< std::string > headers;
    bool inFileSet = false;
    for ( const std::string& line : linesOf( contentOf( folder + "/CMakeLists.txt" ) ) ) {
        inFileSet = inFileSet || line.find( " HEADERS" ) != std::string::npos;
        static const std::regex header( "([A-Za-z0-9_/]+\\.h)\\b" );
        std::smatch name;
        if ( inFileSet && std::regex_search( line, name, header ) ) {
            headers.insert( folder + "/" + name[ 1 ].str() );
        }
        inFileSet = inFileSet && line.find( " )" ) == std::string::npos;
    }
    return headers;
}

/// What docs/Doxyfile leaves out.
std::set< std::string > excluded()
{
    const std::string text = contentOf( "docs/Doxyfile" );
    const std::size_t begin = text.find( "\nEXCLUDE " );
    const std::string list = text.substr( begin, text.find( "\n\n", begin ) - begin );
    static const std::regex header( "[A-Za-z]+/[A-Za-z0-9_/]+\\.h" );
    std::set< std::string > headers;
    for ( std::sregex_iterator match( list.begin(), list.end(), header ), end; match != end;
          ++match ) {
        headers.insert( match->str() );
    }
    return headers;
}

TEST( ApiPagesTest, Headers_OfThePages_AreThoseThatAreInstalled )
{
    const std::vector< std::string > folders = publicFolders();
    std::set< std::string > installed = installedOf( "agent" );
    for ( const std::string& folder : folders ) {
        if ( !folder.starts_with( "agent/" ) ) {
            installed.merge( installedOf( folder ) );
        }
    }
    EXPECT_GT( installed.size(), 80U );
    std::set< std::string > shown;
    std::ranges::set_difference( headersOf( folders ), excluded(),
                                 std::inserter( shown, shown.end() ) );
    EXPECT_EQ( shown, installed );
}

TEST( ApiPagesTest, Overview_NamesHeadersOfThePages )
{
    const Layering::SourceTree tree( PELORA_SOURCE_DIR );
    const Layering::StableHeaders stable( tree.files() );
    std::vector< std::string > folders = publicFolders();
    folders.push_back( "reference" );
    const std::set< std::string > headers = headersOf( folders );
    const auto hidden = excluded();
    const std::string page = contentOf( "docs/api.md" );
    static const std::regex header( "[A-Za-z]+/[A-Za-z0-9_/]+\\.h" );
    std::size_t named = 0;
    for ( std::sregex_iterator match( page.begin(), page.end(), header ), end; match != end;
          ++match ) {
        const std::string file = stable.fileOf( match->str() );
        const std::string meant = file.empty() ? match->str() : file;
        EXPECT_THAT( headers, Contains( meant ) );
        EXPECT_FALSE( hidden.contains( meant ) ) << meant;
        ++named;
    }
    EXPECT_GT( named, 30U );
}

TEST( ApiPagesTest, Helpers_OfTheLibrary_AreAllInTheOverview )
{
    const std::string page = contentOf( "docs/api.md" );
    for ( const std::string& header : installedOf( "PeloraTcam" ) ) {
        EXPECT_NE( page.find( header ), std::string::npos ) << header;
    }
}

} // namespace
} // namespace DocsTest
