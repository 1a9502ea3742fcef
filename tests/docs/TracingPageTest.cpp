// docs/tracing.md quotes what its scenarios write.

#include "tests/docs/Pages.h"
#include "tests/tools/ToolRunner.h"

#include <gtest/gtest.h>

#include <regex>

namespace DocsTest {
namespace {

using Lines = std::vector< std::string >;

/// The blocks of code of the page, each as its lines without their indent.
std::vector< Lines > blocks()
{
    std::vector< Lines > all;
    bool inside = false;
    for ( const std::string& line : linesOf( contentOf( "docs/tracing.md" ) ) ) {
        const bool isCode = line.starts_with( "    " );
        if ( isCode && !inside ) {
            all.emplace_back();
        }
        if ( isCode ) {
            all.back().push_back( line.substr( 4 ) );
        }
        inside = isCode;
    }
    return all;
}

/// The place among the blocks of the first one that begins so.
std::size_t blockThatBegins( const std::string& start )
{
    const auto all = blocks();
    for ( std::size_t n = 0; n < all.size(); ++n ) {
        if ( all[ n ].front().starts_with( start ) ) {
            return n;
        }
    }
    throw std::runtime_error( "no block of the page begins with " + start );
}

std::string textOf( const Lines& lines )
{
    std::string text;
    for ( const std::string& line : lines ) {
        text += line + "\n";
    }
    return text;
}

/// A line without what differs from run to run and from compiler to compiler.
std::string withoutPlace( const std::string& line )
{
    static const std::regex time( "^\\d+\\.\\d{9} " );
    static const std::regex place( "(\\S+\\.cpp):\\d+" );
    static const std::regex function( "(\\.cpp:N) [^ ].*?: (?=\\S* ?)" );
    // What a statement that prints its own function says, which is the compiler's too.
    static const std::regex whole( "virtual void PeloraTcam::\\S+::handleInitialized\\(\\)$" );
    std::string text = std::regex_replace( line, time, "" );
    text = std::regex_replace( text, place, "$1:N" );
    text = std::regex_replace( text, function, "$1 ", std::regex_constants::format_first_only );
    return std::regex_replace( text, whole, "FUNCTION" );
}

Lines withoutPlaces( const Lines& lines )
{
    Lines all;
    for ( const std::string& line : lines ) {
        all.push_back( withoutPlace( line ) );
    }
    return all;
}

TEST( TracingPageTest, TextTrace_OfTheScenario_IsWhatThePageQuotes )
{
    const auto all = blocks();
    const auto result = ToolTest::ToolFolder().runScenario(
        textOf( all.at( blockThatBegins( "chip: sdk6-tiny" ) ) ),
        { "--trace", "ApiPelora=4", "--trace", "PeloraTcamRangeChecker=0,8-9" } );
    EXPECT_EQ( result.exitCode, 0 );
    EXPECT_EQ( withoutPlaces( linesOf( result.errors ) ),
               withoutPlaces( all.at( blockThatBegins( "PeloraTcamRangeChecker 9 " ) ) ) );
}

TEST( TracingPageTest, RingTrace_OfTheScenario_IsWhatThePageQuotes )
{
    const auto all = blocks();
    const ToolTest::ToolFolder folder;
    static_cast< void >( folder.runScenario(
        textOf( all.at( blockThatBegins( "chip: sdk6-udf" ) ) ), { "--ring-dump", "ring" } ) );
    const auto decoded = folder.run( { "decode-trace", "ring" } );
    EXPECT_EQ( decoded.exitCode, 0 );
    EXPECT_EQ( withoutPlaces( linesOf( decoded.output ) ),
               withoutPlaces( all.at( blockThatBegins( "Trace of " ) ) ) );
}

} // namespace
} // namespace DocsTest
