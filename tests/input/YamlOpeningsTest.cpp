#include "input/YamlOpenings.h"

#include <gtest/gtest.h>

#include <string>

namespace Input {

namespace {

/// "2:4 [", or "none". No line is the refused one, unless it is said.
std::string unclosedIn( std::string_view text, int refusedLine = 0 )
{
    const std::optional< YamlOpening > opening = unclosedOpening( text, refusedLine );
    return opening ? std::to_string( opening->line ) + ":" + std::to_string( opening->column ) +
                         " " + opening->sign
                   : "none";
}

TEST( YamlOpeningsTest, Unclosed_EndOfTheText_IsTheInnermostBracket )
{
    EXPECT_EQ( unclosedIn( "a: [ 1, { b: 2\n" ), "1:9 {" );
    EXPECT_EQ( unclosedIn( "a: [ { b: 2 }\nc: 1\n" ), "1:4 [" );
    EXPECT_EQ( unclosedIn( "- { a: 1\n- { a: 2 }\n" ), "1:3 {" );
}

TEST( YamlOpeningsTest, Unclosed_AnotherKindCloses_IsTheBracketInside )
{
    EXPECT_EQ( unclosedIn( "a: { b: [ 1, 2 }\n" ), "1:9 [" );
    EXPECT_EQ( unclosedIn( "a: [ { b: 1 ]\nc: ]\n" ), "1:6 {" );
}

TEST( YamlOpeningsTest, Unclosed_Quote_IsReportedWhereItOpens )
{
    EXPECT_EQ( unclosedIn( "a: 1\nb: 'it''s\n" ), "2:4 '" );
    EXPECT_EQ( unclosedIn( "\u00e9: \"x \\\" y\n" ), "1:4 \"" );
    EXPECT_EQ( unclosedIn( "a: \"x\nb: \"y\"\n", 2 ), "1:4 \"" );
}

TEST( YamlOpeningsTest, Unclosed_SignsThatAreLettersThere_AreNone )
{
    EXPECT_EQ( unclosedIn( "a: it's [ fine {\n" ), "none" );
    EXPECT_EQ( unclosedIn( "a: [ it's ] # [ '\n" ), "none" );
    EXPECT_EQ( unclosedIn( "# {\na: x\n" ), "none" );
    EXPECT_EQ( unclosedIn( "a: '[ {'\nb: \"'\"\n" ), "none" );
    EXPECT_EQ( unclosedIn( "a: x]\n" ), "none" );
    EXPECT_EQ( unclosedIn( "a: x\n  'tis [\nb: 1\n" ), "none" );
    EXPECT_EQ( unclosedIn( "a: >-\n  'tis\n\n  [\nb: 1\n" ), "none" );
    EXPECT_EQ( unclosedIn( "a:\n  'tis\n" ), "2:3 '" );
    EXPECT_EQ( unclosedIn( "a: >-\n  'tis\nb: 'x\n" ), "3:4 '" );
}

TEST( YamlOpeningsTest, Unclosed_QuoteOfSeveralLines_IsNoneUnlessRefusedThere )
{
    EXPECT_EQ( unclosedIn( "a: \"x\n  y\"\nb: 1\n", 3 ), "none" );
}

} // namespace

} // namespace Input
