// docs/twins.md and the tests of the differences: each row names a test that there is, and each of
// these tests stands in a row.

#include "tests/library/CallSites.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace LibraryTest {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

std::string contentOf( const std::string& file )
{
    std::ifstream stream( std::string( PELORA_SOURCE_DIR ) + "/" + file );
    EXPECT_TRUE( stream ) << file;
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

/// The matches of an expression's first group.
std::vector< std::string > groupsOf( const std::string& text, const char* expression )
{
    const std::regex regex( expression );
    std::vector< std::string > groups;
    for ( std::sregex_iterator match( text.begin(), text.end(), regex ), end; match != end;
          ++match ) {
        groups.push_back( ( *match )[ 1 ] );
    }
    return groups;
}

/// One chapter: the file that its tests stand in, and the tests of its rows.
struct Chapter
{
    std::string title;
    std::string file;
    std::vector< std::string > tests;
};

std::vector< Chapter > chaptersOf( const std::string& document )
{
    std::vector< Chapter > chapters;
    for ( std::size_t begin = document.find( "\n## " ); begin != std::string::npos; ) {
        const std::size_t end = document.find( "\n## ", begin + 1 );
        const std::string text = document.substr( begin, end - begin );
        const auto files = groupsOf( text, "`(tests/[A-Za-z0-9/]+Test\\.cpp)`" );
        EXPECT_THAT( files, SizeIs( 1 ) ) << text.substr( 0, 80 );
        chapters.push_back( { text.substr( 4, text.find( '\n', 1 ) - 4 ),
                              files.empty() ? "" : files.front(),
                              groupsOf( text, "\n\\| [^\n]*\\| `([A-Za-z0-9_]+)` \\|(?=\n|$)" ) } );
        const auto rows = groupsOf( text, "\n\\|( [^\n|]+)\\|" );
        EXPECT_EQ( chapters.back().tests.size(), rows.size() ) << "a row without a test";
        begin = end;
    }
    return chapters;
}

/// The tests of a file, without their suites.
std::set< std::string > testNamesOf( const std::string& file )
{
    std::set< std::string > names;
    for ( const std::string& test : testsOf( contentOf( file ) ) ) {
        names.insert( test.substr( test.find( '.' ) + 1 ) );
    }
    return names;
}

TEST( TwinsDocumentTest, Rows_OfEachChapter_NameTheTestsOfItsFile )
{
    const std::vector< Chapter > chapters = chaptersOf( contentOf( "docs/twins.md" ) );
    EXPECT_GE( chapters.size(), 3U );
    for ( const Chapter& chapter : chapters ) {
        const std::set< std::string > documented( chapter.tests.begin(), chapter.tests.end() );
        const std::set< std::string > existing = testNamesOf( chapter.file );
        std::vector< std::string > missing;
        std::ranges::set_difference( documented, existing, std::back_inserter( missing ) );
        EXPECT_THAT( missing, IsEmpty() ) << "not in " << chapter.file;
        std::vector< std::string > unnamed;
        std::ranges::set_difference( existing, documented, std::back_inserter( unnamed ) );
        EXPECT_THAT( unnamed, IsEmpty() ) << "not in docs/twins.md, " << chapter.title;
    }
}

TEST( TwinsDocumentTest, Chapters_OfADocument_HaveTitleFileAndTests )
{
    const std::vector< Chapter > chapters = chaptersOf(
        "# Twins\n\nSome.\n\n## Pumps\n\nThe tests are those of\n"
        "`tests/library/PumpTest.cpp`.\n\n| | left | right | test |\n|---|---|---|---|\n"
        "| speed | `slow` | fast | `Run_Speed_Differs` |\n"
        "| noise | none | some | `Run_Noise_Differs` |\n" );
    ASSERT_EQ( chapters.size(), 1U );
    EXPECT_EQ( chapters[ 0 ].title, "Pumps" );
    EXPECT_EQ( chapters[ 0 ].file, "tests/library/PumpTest.cpp" );
    EXPECT_THAT( chapters[ 0 ].tests,
                 ::testing::ElementsAre( "Run_Speed_Differs", "Run_Noise_Differs" ) );
}

} // namespace
} // namespace LibraryTest
