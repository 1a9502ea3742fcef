#include "tools/text/PrintableText.h"

#include "tools/text/Json.h"

#include <gtest/gtest.h>

namespace {

using Tool::printable;
using Tool::printableLines;

TEST( Printable, OrdinaryText_StaysAsItIs )
{
    EXPECT_EQ( printable( "a b~ \\n \u00a0\u00e9\u20ac\U0001F600" ),
               "a b~ \\n \u00a0\u00e9\u20ac\U0001F600" );
    EXPECT_EQ( printable( "" ), "" );
}

TEST( Printable, ControlCharacters_AreEscaped )
{
    EXPECT_EQ( printable( "a\x1b[31m\r\n\t\x7f" ), "a\\x1b[31m\\x0d\\n\\t\\x7f" );
    EXPECT_EQ( printable( std::string_view( "\0", 1 ) ), "\\x00" );
    EXPECT_EQ( printable( "\u0085\u009b1m" ), "\\u0085\\u009b1m" );
}

TEST( Printable, BytesThatAreNoUtf8_AreEscaped )
{
    EXPECT_EQ( printable( "a\xff\xc3(\xe2\x82" ), "a\\xff\\xc3(\\xe2\\x82" );
}

TEST( PrintableLines, EndsOfLines_Stay )
{
    EXPECT_EQ( printableLines( "a\x1b\nb\r\n\nc\rd" ), "a\\x1b\nb\n\nc\\x0dd" );
}

TEST( PrintableLines, Tabs_Stay )
{
    EXPECT_EQ( printableLines( "\ta\t\x1b\n\t\nb\t" ), "\ta\t\\x1b\n\t\nb\t" );
}

TEST( JsonText, ControlCharactersAndBadBytes_AreValidJsonWithoutThem )
{
    const std::string text = Tool::jsonText( Tool::Json( "\x1b\x7f\u009b\u00e9" ) );
    EXPECT_EQ( text, "\"\\u001b\\u007f\\u009b\u00e9\"" );
    EXPECT_EQ( Tool::Json::parse( text ), "\x1b\x7f\u009b\u00e9" );
    EXPECT_EQ( Tool::jsonText( Tool::Json( "a\xff" ) ), "\"a\ufffd\"" );
}

} // namespace
