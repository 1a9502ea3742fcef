// docs/life-of-a-udf.md quotes the trace of its example, all of it, in its order.

#include "tests/docs/Pages.h"
#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace DocsTest {
namespace {

/// The facilities whose lines the page quotes.
bool isQuoted( const std::string& facility )
{
    return facility == "ApiPelora" || facility == "PeloraTcamUdfSdk6Helper" ||
           facility == "PeloraTcamUdfProgramHelper";
}

/// "FACILITY LEVEL ... TEXT" of a line as the tool writes it, or empty if the page leaves it out.
/// The place is left out, and the function, which each compiler writes in its own way.
std::string asQuoted( const std::string& line )
{
    static const std::regex whole( "(\\S+) (\\d+) \\S+:\\d+ .*?: (?:PeloraTcam/\\S+:\\d+ )?(.*)" );
    std::smatch parts;
    if ( !std::regex_match( line, parts, whole ) || !isQuoted( parts[ 1 ] ) ) {
        return "";
    }
    return parts[ 1 ].str() + ' ' + parts[ 2 ].str() + " ... " + parts[ 3 ].str();
}

std::vector< std::string > linesOfThePage()
{
    static const std::regex quoted( " {4,}(\\w+ \\d+ \\.\\.\\. .*)" );
    std::vector< std::string > lines;
    for ( const std::string& line : linesOf( contentOf( "docs/life-of-a-udf.md" ) ) ) {
        std::smatch parts;
        if ( std::regex_match( line, parts, quoted ) ) {
            lines.push_back( parts[ 1 ] );
        }
    }
    return lines;
}

TEST( LifeOfAUdfPageTest, Trace_OfTheExample_IsAllThatThePageQuotes )
{
    const auto result = ToolTest::ToolFolder().run(
        { "run", "--trace", "*=all", PELORA_SOURCE_DIR "/examples/life-of-a-udf.yaml" } );
    ASSERT_EQ( result.exitCode, 0 ) << result.output << result.errors;
    std::vector< std::string > written;
    for ( const std::string& line : linesOf( result.errors ) ) {
        if ( const std::string text = asQuoted( line ); !text.empty() ) {
            written.push_back( text );
        }
    }
    EXPECT_GT( written.size(), 30U );
    EXPECT_EQ( linesOfThePage(), written );
}

} // namespace
} // namespace DocsTest
