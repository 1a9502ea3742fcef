#include "tests/layering/SourceText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Layering {

void PrintTo( const Line& line, std::ostream* stream )
{
    *stream << line.number << ": " << line.text;
}

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST( SourceTextTest, LogicalLines_BlankLinesAndIndent_AreLeftOut )
{
    EXPECT_THAT( logicalLines( "\n  one \n\t\n two" ),
                 ElementsAre( Line{ 2, "one" }, Line{ 4, "two" } ) );
}

TEST( SourceTextTest, LogicalLines_Comments_AreLeftOutAndCounted )
{
    EXPECT_THAT( logicalLines( "one // more\n/* two\n three */ four\n// five\nsix" ),
                 ElementsAre( Line{ 1, "one" }, Line{ 3, "four" }, Line{ 5, "six" } ) );
}

TEST( SourceTextTest, LogicalLines_UnfinishedComment_EndsTheText )
{
    EXPECT_THAT( logicalLines( "one\n/* two\nthree" ), ElementsAre( Line{ 1, "one" } ) );
}

TEST( SourceTextTest, LogicalLines_SlashesInLiteral_AreNoComment )
{
    EXPECT_THAT( logicalLines( R"(f( "a//b\"//c", '"', 1'000 ) // d)" ),
                 ElementsAre( Line{ 1, R"(f( "a//b\"//c", '"', 1'000 ))" } ) );
}

TEST( SourceTextTest, LogicalLines_RawString_IsLeftOutAndCounted )
{
    EXPECT_THAT( logicalLines( "f( R\"x(\n#include <a>\n)\" )x\" );\ng" ),
                 ElementsAre( Line{ 1, "f(" }, Line{ 3, ");" }, Line{ 4, "g" } ) );
}

TEST( SourceTextTest, LogicalLines_BackslashAtTheEnd_JoinsTheNextLine )
{
    EXPECT_THAT( logicalLines( "#if one || \\\n   two\nthree" ),
                 ElementsAre( Line{ 1, "#if one || two" }, Line{ 3, "three" } ) );
}

TEST( SourceTextTest, NumberOfLines_WithAndWithoutLastLineFeed_IsTheSame )
{
    EXPECT_EQ( numberOfLines( "" ), 0 );
    EXPECT_EQ( numberOfLines( "one" ), 1 );
    EXPECT_EQ( numberOfLines( "one\n" ), 1 );
    EXPECT_EQ( numberOfLines( "one\n\n// three" ), 3 );
}

TEST( SourceTextTest, DirectiveOf_Directive_IsTakenApart )
{
    const Directive directive = directiveOf( " #  include  <vector> " );
    EXPECT_EQ( directive.name, "include" );
    EXPECT_EQ( directive.argument, "<vector>" );
}

TEST( SourceTextTest, DirectiveOf_OtherLine_IsEmpty )
{
    EXPECT_EQ( directiveOf( "include <vector>" ).name, "" );
}

TEST( SourceTextTest, IdentifiersIn_Condition_AreListedInOrder )
{
    EXPECT_THAT( identifiersIn( "!defined( A_1 ) && B > 20" ),
                 ElementsAre( "defined", "A_1", "B" ) );
    EXPECT_THAT( identifiersIn( "" ), IsEmpty() );
}

} // namespace
} // namespace Layering
