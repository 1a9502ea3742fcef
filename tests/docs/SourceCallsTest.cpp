#include "tests/docs/SourceCalls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace DocsTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

TEST( SourceCallsTest, Calls_OverSeveralLines_HaveArgumentsWithSingleBlanks )
{
    const auto calls =
        callsOf( "x; f( a,\n   g( b, c ) &&\n\td, \"e,  \\\" )\" ); of( no );", "f" );
    ASSERT_THAT( calls, SizeIs( 1 ) );
    EXPECT_EQ( calls[ 0 ].position, 3U );
    EXPECT_THAT( calls[ 0 ].arguments, ElementsAre( "a", "g( b, c ) && d", "\"e,  \\\" )\"" ) );
}

TEST( SourceCallsTest, Literal_WithEscapes_IsWhatItStandsFor )
{
    EXPECT_TRUE( isLiteral( "\"a\"" ) );
    EXPECT_FALSE( isLiteral( "a" ) );
    EXPECT_EQ( literalOf( "\"say \\\"a\\\"\"" ), "say \"a\"" );
}

TEST( SourceCallsTest, Literals_ThatFollowEachOther_AreOne )
{
    EXPECT_TRUE( isLiteral( "\"a \" \"b\"" ) );
    EXPECT_EQ( literalOf( "\"a \" \"b\"" ), "a b" );
}

TEST( SourceCallsTest, AssertionTexts_OfASource_AreOfAllKindsAndNoLabels )
{
    const char* source = "AGENT_ASSERT( ( a ==\n    b ) && \"c d\" );\n"
                         "AGENT_ASSERT( f( a, b ) );\n"
                         "AGENT_ASSERT_AS( \"h && \\\"i\\\"\", x( \"y\" ) );\n"
                         "AGENT_FAIL( \"j \"\n    \"k\" );\n"
                         "Agent::assertionFailed( \"e\", __FILE__ );\n"
                         "Agent::assertionFailed( variable, __FILE__ );\n"
                         "Translations::lookUp( map, key, \"m.find( k )\", HERE );\n"
                         "request.fail( \"0 && \\\"g\\\"\" );\n"
                         "classRow( name, \" label\", field, replace, 0xFFFF,\n \"x\" ),\n"
                         "classRow( name, \" label\", field, replace, 0xFFFF ),\n"
                         "refusalRow( name, \"y\" ),\n";
    EXPECT_THAT( assertionTextsOfSource( source ),
                 UnorderedElementsAre( "( a == b ) && \"c d\"", "f( a, b )", "h && \"i\"", "j k",
                                       "e", "m.find( k )", "0 && \"g\"", "x", "y" ) );
}

TEST( SourceCallsTest, AssertionTexts_OfATable_AreTheLiteralsOfItsRows )
{
    const char* table =
        "#define TRANSLATION_ONE_WAY( map, assertion )\n"
        "TRANSLATION_ONE_WAY( map, \"m.find( k )\" )\n"
        "TRANSLATION_BOTH_WAYS( map, back, \"n.find( k )\", \"it != back.end()\" )\n";
    EXPECT_THAT( assertionTextsOfTable( table ),
                 UnorderedElementsAre( "m.find( k )", "n.find( k )", "it != back.end()" ) );
}

TEST( SourceCallsTest, ShortageTraces_OfASource_AreThoseOfLevels0And1 )
{
    const char* source = "Agent::trace( handle(), 0, \"no (room) \", rc );\n"
                         "traceUdf( 1, \"a\", \"b \", x, \" c\" );\n"
                         "traceUdf( 8, \"d\" );\n"
                         "traceUdf( level, \"e\" );\n";
    const auto traces = shortageTracesOf( source );
    ASSERT_THAT( traces, SizeIs( 2 ) );
    EXPECT_EQ( traces[ 0 ].level, "0" );
    EXPECT_TRUE( std::regex_match( "no (room) RC", std::regex( traces[ 0 ].text ) ) );
    EXPECT_FALSE( std::regex_match( "no (room)  RC", std::regex( traces[ 0 ].text ) ) );
    EXPECT_EQ( traces[ 1 ].level, "1" );
    EXPECT_TRUE( std::regex_match( "ab RC c", std::regex( traces[ 1 ].text ) ) );
    EXPECT_FALSE( std::regex_match( "a b RC c", std::regex( traces[ 1 ].text ) ) );
    EXPECT_FALSE( std::regex_match( "ab RC  c", std::regex( traces[ 1 ].text ) ) );
    EXPECT_THAT( shortageTracesOf( "" ), IsEmpty() );
}

} // namespace
} // namespace DocsTest
