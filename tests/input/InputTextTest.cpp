#include "input/InputText.h"

#include <gtest/gtest.h>

namespace Input {

namespace {

TEST( InputTextTest, WithoutByteOrderMark_OneOrNone_IsTheTextBehindIt )
{
    EXPECT_EQ( withoutByteOrderMark( "\xEF\xBB\xBF"
                                     "a\xEF\xBB\xBF" ),
               "a\xEF\xBB\xBF" );
    EXPECT_EQ( withoutByteOrderMark( "\xEF\xBB" ), "\xEF\xBB" );
    EXPECT_EQ( withoutByteOrderMark( "" ), "" );
}

TEST( InputTextTest, LetterSize_LettersOfEachSize_IsTheirBytes )
{
    EXPECT_EQ( letterSize( "a", 0 ), 1U );
    EXPECT_EQ( letterSize( "\u00e9", 0 ), 2U );
    EXPECT_EQ( letterSize( "\u20ac", 0 ), 3U );
    EXPECT_EQ( letterSize( "\U0001F600", 0 ), 4U );
    EXPECT_EQ( letterSize( "x\u20acy", 1 ), 3U );
}

TEST( InputTextTest, LetterSize_NoLetter_IsNone )
{
    const std::string_view texts[] = {
        "\x80",             // a continuation
        "\xE2\x82",         // cut off
        "\xC3(",            // not continued
        "\xC0\xAF",         // longer than it need be
        "\xE0\x80\xAF",     // the same
        "\xED\xA0\x80",     // a surrogate
        "\xF4\x90\x80\x80", // above the last letter
        "\xFE",
    };
    for ( const std::string_view text : texts ) {
        EXPECT_EQ( letterSize( text, 0 ), 0U );
    }
}

TEST( InputTextTest, ControlCharacter_EachKind_IsItsNumber )
{
    EXPECT_EQ( controlCharacter( "\x1b" ), 0x1BU );
    EXPECT_EQ( controlCharacter( "\t" ), 0x09U );
    EXPECT_EQ( controlCharacter( "\x7f" ), 0x7FU );
    EXPECT_EQ( controlCharacter( "\u0080" ), 0x80U );
    EXPECT_EQ( controlCharacter( "\u009f" ), 0x9FU );
    for ( const std::string_view letter : { "a", "\n", " ", "~", "\u00a0", "\u0100", "\u20ac" } ) {
        EXPECT_EQ( controlCharacter( letter ), std::nullopt );
    }
}

TEST( InputTextTest, HasLeadingZero_DecimalNumbers_AreLookedAt )
{
    for ( const std::string_view text :
          { "010", "00", "-01", "4,08", "1-02", "010Mbps", "00.5" } ) {
        EXPECT_TRUE( hasLeadingZero( text ) ) << text;
    }
    for ( const std::string_view text :
          { "", "0", "10", "0x010", "0.5", "1.05", "a01", "0-8,10" } ) {
        EXPECT_FALSE( hasLeadingZero( text ) ) << text;
    }
}

TEST( InputTextTest, FirstNotUtf8_SomeByte_IsToldInLetters )
{
    const auto bad = firstNotUtf8( "a\n\u00e9\u20ac\xE9z\xFF" );
    ASSERT_TRUE( bad );
    EXPECT_EQ( bad->line, 2 );
    EXPECT_EQ( bad->column, 3 );
    EXPECT_EQ( bad->what, "not UTF-8: the byte 0xe9" );
    EXPECT_FALSE( firstNotUtf8( "a\n\u00e9\u20ac\x1b" ) );
}

TEST( InputTextTest, FirstControl_LineEndsAndTabs_AreNone )
{
    EXPECT_FALSE( firstControl( "a\tb\r\nc\n" ) );
    EXPECT_EQ( firstControl( "a\rb" )->what, "a carriage return without a line feed" );
}

} // namespace

} // namespace Input
