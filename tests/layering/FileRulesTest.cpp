#include "tests/layering/FileRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Layering {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string guard = "// What the table holds.\n"
                          "#if !defined( ROW ) && !defined( OTHER )\n"
                          "#error \"Define ROW or OTHER\"\n"
                          "#endif\n"
                          "#ifndef OTHER\n"
                          "#define OTHER( name )\n"
                          "#endif\n";
const std::string undefinitions = "#undef ROW\n#undef OTHER\n";

TEST( FileRulesTest, CheckTable_WellFormed_HasNoOffence )
{
    EXPECT_THAT( checkTable( "sdk/A.def",
                             guard + "ROW( one, ( int a ), \"text) (\" ) // why\n\nOTHER( two )\n" +
                                 undefinitions ),
                 IsEmpty() );
}

TEST( FileRulesTest, CheckTable_OtherFile_HasNoOffence )
{
    EXPECT_THAT( checkTable( "sdk/A.h", "int a;\n" ), IsEmpty() );
}

TEST( FileRulesTest, CheckTable_NoError_IsAnOffence )
{
    const std::string text = "does not start with an #error for when no macro is defined";
    EXPECT_THAT( checkTable( "sdk/A.def", "\nROW( one )\n#undef ROW\n" ),
                 ElementsAre( Offence{ "sdk/A.def", 2, text } ) );
    EXPECT_THAT(
        checkTable( "sdk/A.def", "#ifndef ROW\n#define ROW( name )\n#endif\n#undef ROW\n" ),
        ElementsAre( Offence{ "sdk/A.def", 1, text } ) );
    EXPECT_THAT( checkTable( "sdk/A.def", "" ), ElementsAre( Offence{ "sdk/A.def", 0, text } ) );
}

TEST( FileRulesTest, CheckTable_MacroLeftDefined_IsAnOffence )
{
    EXPECT_THAT( checkTable( "sdk/A.def", guard + "ROW( one )\n#undef ROW\n" ),
                 ElementsAre( Offence{ "sdk/A.def", 9, "OTHER is not undefined at the end" } ) );
}

TEST( FileRulesTest, CheckTable_OwnMacroLeftDefined_IsAnOffence )
{
    EXPECT_THAT( checkTable( "sdk/A.def", guard + "#define SHORT( a ) ROW( a )\n" + undefinitions ),
                 ElementsAre( Offence{ "sdk/A.def", 10, "SHORT is not undefined at the end" } ) );
}

TEST( FileRulesTest, CheckTable_UndefinedBeforeTheEnd_IsAnOffence )
{
    EXPECT_THAT( checkTable( "sdk/A.def", guard + "#undef OTHER\nROW( one )\n#undef ROW\n" ),
                 ElementsAre( Offence{ "sdk/A.def", 10, "OTHER is not undefined at the end" } ) );
}

TEST( FileRulesTest, CheckTable_RowOverSeveralLines_HasNoOffence )
{
    EXPECT_THAT(
        checkTable( "sdk/A.def", guard +
                                     "ROW( one,\n    \"text) (\",\n    // why\n    PAIR( a )\n"
                                     "    PAIR( b )\n)\nOTHER( two )\n" +
                                     undefinitions ),
        IsEmpty() );
}

TEST( FileRulesTest, CheckTable_LineThatIsNoRow_IsAnOffence )
{
    const std::string text = "is neither a row nor a comment";
    EXPECT_THAT(
        checkTable( "sdk/A.def",
                    guard + "ROW( one,\n( two ) ) )\nint a;\nROW( b ) ROW( c )\nNONE( d )\n" +
                        undefinitions ),
        ElementsAre( Offence{ "sdk/A.def", 8, text }, Offence{ "sdk/A.def", 10, text },
                     Offence{ "sdk/A.def", 11, text }, Offence{ "sdk/A.def", 12, text } ) );
}

TEST( FileRulesTest, CheckTable_RowThatIsNotClosed_IsAnOffence )
{
    EXPECT_THAT( checkTable( "sdk/A.def", guard + "ROW( one,\nOTHER( two )\n" + undefinitions ),
                 ElementsAre( Offence{ "sdk/A.def", 8, "is neither a row nor a comment" } ) );
}

TEST( FileRulesTest, CheckLength_AtTheLimit_HasNoOffence )
{
    EXPECT_THAT( checkLength( "sim/A.cpp", std::string( 500, '\n' ) ), IsEmpty() );
}

TEST( FileRulesTest, CheckLength_OneLineMore_IsAnOffence )
{
    const std::string text = "has 501 lines; a source has at most 500";
    EXPECT_THAT( checkLength( "sim/A.cpp", std::string( 501, '\n' ) ),
                 ElementsAre( Offence{ "sim/A.cpp", 501, text } ) );
    EXPECT_THAT( checkLength( "sim/A.h", std::string( 501, '\n' ) ),
                 ElementsAre( Offence{ "sim/A.h", 501, text } ) );
}

TEST( FileRulesTest, CheckLength_TableOrTestOrText_MayBeLonger )
{
    const std::string text( 2000, '\n' );
    EXPECT_THAT( checkLength( "sdk/A.def", text ), IsEmpty() );
    EXPECT_THAT( checkLength( "tests/sim/ATest.cpp", text ), IsEmpty() );
    EXPECT_THAT( checkLength( "docs/a.md", text ), IsEmpty() );
}

TEST( FileRulesTest, CheckLength_SourceWithAReason_HasALimitOfItsOwn )
{
    const std::string file = "PeloraTcam/PeloraTcamSdk6UdfEntryHelper.cpp";
    EXPECT_THAT( checkLength( file, std::string( 850, '\n' ) ), IsEmpty() );
    EXPECT_THAT( checkLength( file, std::string( 851, '\n' ) ),
                 ElementsAre( Offence{ file, 851, "has 851 lines; a source has at most 850" } ) );
}

TEST( FileRulesTest, CheckReadmes_FolderWithSourcesAndWithout_IsAnOffenceOnce )
{
    EXPECT_THAT(
        checkReadmes( { "docs/a.md", "sdk/A.h", "sdk/README.md", "sim/A.h", "sim/B.cpp" } ),
        ElementsAre(
            Offence{ "sim/README.md", 0, "is missing: every folder with sources has one" } ) );
}

TEST( FileRulesTest, CheckReadmes_ReadmeOfTheFolderAbove_DoesNotCount )
{
    EXPECT_EQ( checkReadmes( { "agent/README.md", "agent/base/A.def" } ).size(), 1U );
}

} // namespace
} // namespace Layering
