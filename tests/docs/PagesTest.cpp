#include "tests/docs/Pages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace DocsTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST( PagesTest, Content_OfAFileThatIsNotThere_Throws )
{
    EXPECT_THROW( static_cast< void >( contentOf( "docs/none.md" ) ), std::runtime_error );
}

TEST( PagesTest, Section_WithDeeperHeadings_EndsAtTheNextOfItsLevel )
{
    const char* page = "# A\none\n## B\ntwo\n### C\nthree\n## D\nfour\n";
    EXPECT_EQ( sectionOf( page, "## B" ), "two\n### C\nthree\n" );
    EXPECT_EQ( sectionOf( page, "## D" ), "four\n" );
    EXPECT_EQ( sectionOf( page, "## E" ), "" );
}

TEST( PagesTest, Headings_OfAPage_AreThoseOutsideCode )
{
    EXPECT_THAT( headingsOf( "# A b\n    # no\n```\n# no\n```\n#no\n### C\n" ),
                 ElementsAre( "A b", "C" ) );
}

TEST( PagesTest, Anchor_OfAHeading_HasLettersDigitsAndDashes )
{
    EXPECT_EQ( anchorOf( "`run`: What, 2 of them?" ), "run-what-2-of-them" );
}

TEST( PagesTest, TableRows_OfTwoTables_AreThoseBelowTheRules )
{
    const char* page = "| a | b |\n|---|---|\n| 1 | `x \\|\\| y` |\n\ntext\n\n"
                       "| c |\n|---|\n| 2 |\n    | no |\n";
    EXPECT_THAT( tableRowsOf( page ),
                 ElementsAre( ElementsAre( "1", "`x || y`" ), ElementsAre( "2" ) ) );
}

TEST( PagesTest, Code_InsideLines_IsFoundAndBlocksAreNot )
{
    EXPECT_THAT( codeOf( "one `two` three `four\nfive`\n    `no`\n" ),
                 ElementsAre( "two", "four\nfive" ) );
}

TEST( PagesTest, Links_OutsideCode_AreFound )
{
    EXPECT_THAT( linksOf( "[a](b.md) ![c](d.svg#e)\n`[no](no.md)`\n    [ & ]( no )\n" ),
                 ElementsAre( "b.md", "d.svg#e" ) );
    EXPECT_THAT( linksOf( "nothing ( here )" ), IsEmpty() );
}

} // namespace
} // namespace DocsTest
