#include "tools/text/Terminal.h"

#include <gtest/gtest.h>

namespace {

using Tool::Colour;
using Tool::Painter;

TEST( Painter, Coloured_PutsColoursAround )
{
    EXPECT_EQ( Painter( true )( Colour::good, "ok" ), "\033[32mok\033[0m" );
    EXPECT_EQ( Painter( true )( Colour::warning, "full" ), "\033[33mfull\033[0m" );
    EXPECT_EQ( Painter( true )( Colour::bad, "error" ), "\033[1;31merror\033[0m" );
    EXPECT_EQ( Painter( true )( Colour::quiet, "text" ), "\033[2mtext\033[0m" );
}

TEST( Painter, NotColoured_LeavesTheText )
{
    EXPECT_EQ( Painter( false )( Colour::bad, "error" ), "error" );
}

using Lines = std::vector< std::string >;

TEST( Folded, TextFits_IsOneLine )
{
    EXPECT_EQ( Tool::folded( "three short words", 17 ), Lines( { "three short words" } ) );
    EXPECT_EQ( Tool::folded( "", 5 ), Lines( { "" } ) );
}

TEST( Folded, TextDoesNotFit_BreaksAtTheLastBlankThatFits )
{
    EXPECT_EQ( Tool::folded( "three short words", 16 ), Lines( { "three short", "words" } ) );
    EXPECT_EQ( Tool::folded( "three short words", 11 ), Lines( { "three short", "words" } ) );
    EXPECT_EQ( Tool::folded( "three short words", 10 ), Lines( { "three", "short", "words" } ) );
}

TEST( Folded, WordIsLongerThanTheWidth_HasALineOfItsOwn )
{
    EXPECT_EQ( Tool::folded( "a very-long-word b", 6 ), Lines( { "a", "very-long-word", "b" } ) );
    EXPECT_EQ( Tool::folded( "very-long-word", 6 ), Lines( { "very-long-word" } ) );
}

TEST( Folded, NoWidth_IsOneLine )
{
    EXPECT_EQ( Tool::folded( "three short words", 0 ), Lines( { "three short words" } ) );
}

TEST( TerminalWidth, NoTerminal_IsZero )
{
    EXPECT_EQ( Tool::terminalWidth( -1 ), 0U );
}

TEST( IsTerminal, NoDescriptor_IsNone )
{
    EXPECT_FALSE( Tool::isTerminal( -1 ) );
    EXPECT_FALSE( Tool::mayColour( -1 ) );
}

} // namespace
