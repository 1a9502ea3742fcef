// docs/errors.md has what the library's sources say when something goes wrong, and nothing else.

#include "tests/docs/Pages.h"
#include "tests/docs/SourceCalls.h"
#include "tests/layering/SourceTree.h"
#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

namespace DocsTest {
namespace {

using testing::Contains;
using testing::Not;

const std::string& page()
{
    static const std::string text = contentOf( "docs/errors.md" );
    return text;
}

/// The sources of the library, and of the calls compiled into it, with that ending.
std::vector< std::string > sourcesOfTheLibrary( std::string_view ending )
{
    std::vector< std::string > sources;
    const Layering::SourceTree tree( PELORA_SOURCE_DIR );
    for ( const std::string& file : tree.files() ) {
        const bool isOurs = file.starts_with( "PeloraTcam/" ) || file.starts_with( "sdk/" );
        if ( isOurs && file.ends_with( ending ) ) {
            sources.push_back( file );
        }
    }
    return sources;
}

std::set< std::string > assertionTextsOfTheLibrary()
{
    std::set< std::string > all;
    for ( const char* ending : { ".cpp", ".h" } ) {
        for ( const std::string& file : sourcesOfTheLibrary( ending ) ) {
            all.merge( assertionTextsOfSource( contentOf( file ) ) );
        }
    }
    for ( const std::string& file : sourcesOfTheLibrary( ".def" ) ) {
        all.merge( assertionTextsOfTable( contentOf( file ) ) );
    }
    return all;
}

/// What stands between the backticks of a cell that is nothing but code, blanks included.
std::string codeOfCell( const std::string& cell )
{
    EXPECT_TRUE( cell.size() > 2 && cell.front() == '`' && cell.back() == '`' ) << cell;
    return cell.substr( 1, cell.size() - 2 );
}

std::vector< std::string > assertionTextsOfThePage()
{
    std::vector< std::string > texts;
    for ( const auto& row : tableRowsOf( sectionOf( page(), "## Assertions" ) ) ) {
        texts.push_back( codeOfCell( row.front() ) );
    }
    return texts;
}

TEST( ErrorsPageTest, Assertions_OfTheLibrary_HaveARowEach )
{
    const std::vector< std::string > rows = assertionTextsOfThePage();
    const std::set< std::string > texts = assertionTextsOfTheLibrary();
    ASSERT_GT( texts.size(), 100U );
    for ( const std::string& text : texts ) {
        EXPECT_EQ( std::ranges::count( rows, text ), 1 ) << "rows of: " << text;
    }
}

TEST( ErrorsPageTest, Assertions_OfThePage_StandInASource )
{
    const std::set< std::string > texts = assertionTextsOfTheLibrary();
    const std::vector< std::string > rows = assertionTextsOfThePage();
    ASSERT_GT( rows.size(), 100U );
    for ( const std::string& row : rows ) {
        EXPECT_TRUE( texts.contains( row ) ) << "no source has: " << row;
    }
}

TEST( ErrorsPageTest, Rows_OfAssertions_SayWhatTheyMean )
{
    const auto rows = tableRowsOf( sectionOf( page(), "## Assertions" ) );
    ASSERT_GT( rows.size(), 100U );
    for ( const auto& row : rows ) {
        for ( const std::string& cell : row ) {
            EXPECT_FALSE( cell.empty() ) << row.front();
        }
    }
}

TEST( ErrorsPageTest, Shortages_OfSourcesAndPage_AreTheSame )
{
    std::vector< ShortageTrace > traces;
    for ( const std::string& file : sourcesOfTheLibrary( ".cpp" ) ) {
        std::ranges::copy( shortageTracesOf( contentOf( file ) ), std::back_inserter( traces ) );
    }
    const auto rows = tableRowsOf( sectionOf( page(), "## Shortages in the trace" ) );
    EXPECT_EQ( rows.size(), traces.size() );
    for ( const ShortageTrace& trace : traces ) {
        const std::regex expression( trace.text );
        const auto isTrace = [ & ]( const std::vector< std::string >& row ) {
            return row.at( 1 ) == trace.level &&
                   std::regex_match( codeOfCell( row.at( 2 ) ), expression );
        };
        EXPECT_EQ( std::ranges::count_if( rows, isTrace ), 1 ) << "rows of: " << trace.text;
    }
}

TEST( ErrorsPageTest, LogMessages_OfTheLibrary_AreQuoted )
{
    const std::string source = contentOf( "PeloraTcam/UdfLogMessages.cpp" );
    static const std::regex descriptor( "\\{\\s*\"(\\w+)\",\\s*\"([^\"]+)\"" );
    const auto rows = tableRowsOf( sectionOf( page(), "## Log messages" ) );
    std::size_t messages = 0;
    for ( std::sregex_iterator match( source.begin(), source.end(), descriptor ), end; match != end;
          ++match, ++messages ) {
        const auto isMessage = [ & ]( const std::vector< std::string >& row ) {
            return row.at( 0 ) == "`" + ( *match )[ 1 ].str() + "`" &&
                   row.at( 1 ) == ( *match )[ 2 ].str();
        };
        EXPECT_EQ( std::ranges::count_if( rows, isMessage ), 1 ) << ( *match )[ 1 ];
    }
    EXPECT_EQ( messages, 2U );
    EXPECT_EQ( rows.size(), messages );
}

TEST( ErrorsPageTest, ApiError_InThePage_IsTheLineThatTheLibraryWrites )
{
    const auto result = ToolTest::ToolFolder().runScenario( R"(
chip: sdk6-udf
steps:
  - allocate-range-checker: { name: web, type: l4DstPort, low: 8000, high: 8999 }
  - inject-fault: { function: bcm_range_destroy, call: 1, fail: BCM_E_NOT_FOUND }
  - release-range-checker: { name: web }
    expect: aborted
)",
                                                            { "--json" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    const std::string line = result.json().at( "steps" ).at( 2 ).at( "apiError" );
    const std::string quoted = std::regex_replace( line, std::regex( ".cpp:[0-9]+" ), ".cpp:LINE" );
    EXPECT_THAT( linesOf( page() ), Contains( "       " + quoted ) );
    EXPECT_THAT( linesOf( page() ), Not( Contains( "       " + line ) ) );
}

} // namespace
} // namespace DocsTest
