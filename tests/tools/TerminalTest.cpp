#include "tools/Terminal.h"

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

TEST( IsTerminal, NoDescriptor_IsNone )
{
    EXPECT_FALSE( Tool::isTerminal( -1 ) );
    EXPECT_FALSE( Tool::mayColour( -1 ) );
}

} // namespace
