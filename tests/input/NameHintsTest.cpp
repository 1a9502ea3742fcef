#include "input/NameHints.h"

#include <gtest/gtest.h>

namespace Input {

namespace {

const std::vector< std::string > keys{ "name", "description", "chip", "range-checkers" };

TEST( NameHintsTest, NearestName_OneLetterWrong_IsFound )
{
    EXPECT_EQ( nearestName( "nane", keys ), "name" );
    EXPECT_EQ( nearestName( "nam", keys ), "name" );
    EXPECT_EQ( nearestName( "names", keys ), "name" );
    EXPECT_EQ( nearestName( "nmae", keys ), "name" );
}

TEST( NameHintsTest, NearestName_LongName_MayHaveMoreWrong )
{
    EXPECT_EQ( nearestName( "range_chekers", keys ), "range-checkers" );
}

TEST( NameHintsTest, NearestName_NothingNear_IsNothing )
{
    EXPECT_EQ( nearestName( "capacity", keys ), std::nullopt );
    EXPECT_EQ( nearestName( "max", { "min" } ), std::nullopt );
    EXPECT_EQ( nearestName( "x", { "y" } ), std::nullopt );
    EXPECT_EQ( nearestName( "", keys ), std::nullopt );
    EXPECT_EQ( nearestName( "name", {} ), std::nullopt );
}

TEST( NameHintsTest, NearestName_SeveralNear_IsTheNearestThenTheFirst )
{
    EXPECT_EQ( nearestName( "sdk6-udx", { "sdk6-uxxf", "sdk6-udf", "sdk6-udy" } ), "sdk6-udf" );
}

TEST( NameHintsTest, QuotedNames_OneTwoThree_ReadsAsText )
{
    EXPECT_EQ( quotedNames( { "a" } ), "'a'" );
    EXPECT_EQ( quotedNames( { "a", "b" } ), "'a' or 'b'" );
    EXPECT_EQ( quotedNames( { "a", "b", "c" } ), "'a', 'b' or 'c'" );
}

TEST( NameHintsTest, NameHint_Near_AsksWhetherItWasMeant )
{
    EXPECT_EQ( nameHint( "chp", keys ), ", did you mean 'chip'?" );
}

TEST( NameHintsTest, NameHint_OtherCase_AsksWhetherItWasMeant )
{
    EXPECT_EQ( nameHint( "CHIP", keys ), ", did you mean 'chip'?" );
    EXPECT_EQ( nameHint( "L4DSTPORT", { "l4SrcPort", "l4DstPort" } ),
               ", did you mean 'l4DstPort'?" );
}

TEST( NameHintsTest, NameHint_BeginningOfNames_NamesThoseBeforeANearerOne )
{
    EXPECT_EQ( nameHint( "sdk6", { "hsdk", "sdk6-udf", "sdk6-flex" } ),
               ", did you mean 'sdk6-udf' or 'sdk6-flex'?" );
    EXPECT_EQ( nameHint( "l4Dst", { "l4SrcPort", "l4DstPort" } ), ", did you mean 'l4DstPort'?" );
    EXPECT_EQ( nameHint( "c", keys ).find( "did you mean" ), std::string::npos );
}

TEST( NameHintsTest, NameHint_NothingNear_ListsTheNames )
{
    EXPECT_EQ( nameHint( "zzz", { "one", "two" } ), ", expected 'one' or 'two'" );
}

TEST( NameHintsTest, NameHint_NothingNearOfNoneOrMany_IsEmpty )
{
    EXPECT_EQ( nameHint( "zzz", {} ), "" );
    EXPECT_EQ( nameHint( "zzz", std::vector< std::string >( 13, "one" ) ), "" );
    EXPECT_NE( nameHint( "zzz", std::vector< std::string >( 12, "one" ) ), "" );
}

} // namespace

} // namespace Input
