// The numbers that docs/adding-a-qualifier.md takes for its example are free.

#include "tests/docs/Pages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

namespace DocsTest {
namespace {

/// The number in the only line of the page that adds such a row.
int numberInPage( const std::string& row )
{
    const std::string page = contentOf( "docs/adding-a-qualifier.md" );
    std::smatch match;
    EXPECT_TRUE( std::regex_search( page, match, std::regex( "\n    " + row ) ) ) << row;
    return match.empty() ? -1 : std::stoi( match[ 1 ] );
}

/// The numbers of the rows of a table.
std::vector< int > numbersOf( const std::string& file, const std::string& row )
{
    const std::string table = contentOf( file );
    const std::regex expression( "\n" + row );
    std::vector< int > numbers;
    for ( std::sregex_iterator match( table.begin(), table.end(), expression ), end; match != end;
          ++match ) {
        numbers.push_back( std::stoi( ( *match )[ 1 ] ) );
    }
    return numbers;
}

void expectNext( const std::string& file, const std::string& row )
{
    const std::vector< int > numbers = numbersOf( file, row );
    ASSERT_FALSE( numbers.empty() );
    EXPECT_EQ( numberInPage( row ), std::ranges::max( numbers ) + 1 );
}

TEST( AddingAQualifierPageTest, QualifierType_OfTheExample_IsTheNextOne )
{
    expectNext( "agent/tcam/QualifierTypes.def", "QUALIFIER_TYPE\\( \\w+, +(\\d+) \\)" );
}

TEST( AddingAQualifierPageTest, SdkValue_OfTheExample_IsTheNextOne )
{
    expectNext( "sdk/SdkEnumerators.def",
                "SDK_ENUMERATOR\\( bcm_field_qualify_t, \\w+, (\\d+) \\)" );
}

} // namespace
} // namespace DocsTest
