// The pages of the public headers are made of those headers that are installed, and their overview
// names no others.

#include "tests/docs/Pages.h"
#include "tests/layering/SourceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>

namespace DocsTest {
namespace {

using testing::Contains;

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
        inFileSet = inFileSet || line.find( "FILE_SET HEADERS" ) != std::string::npos;
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
    std::set< std::string > installed;
    for ( const std::string folder : { "agent", "sdk", "PeloraTcam", "sim" } ) {
        installed.merge( installedOf( folder ) );
    }
    EXPECT_GT( installed.size(), 80U );
    std::set< std::string > shown;
    std::ranges::set_difference(
        headersOf( { "agent/base", "agent/tcam", "sdk", "PeloraTcam", "sim" } ), excluded(),
        std::inserter( shown, shown.end() ) );
    EXPECT_EQ( shown, installed );
}

TEST( ApiPagesTest, Overview_NamesHeadersOfThePages )
{
    const auto headers =
        headersOf( { "agent/base", "agent/tcam", "sdk", "PeloraTcam", "sim", "reference" } );
    const auto hidden = excluded();
    const std::string page = contentOf( "docs/api.md" );
    static const std::regex header( "[A-Za-z]+/[A-Za-z0-9_/]+\\.h" );
    std::size_t named = 0;
    for ( std::sregex_iterator match( page.begin(), page.end(), header ), end; match != end;
          ++match ) {
        EXPECT_THAT( headers, Contains( match->str() ) );
        EXPECT_FALSE( hidden.contains( match->str() ) ) << match->str();
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
