#include "tools/text/TextTable.h"

#include <gtest/gtest.h>

namespace {

using Tool::TextTable;

TEST( TextTableTest, Text_HeadingsOnly_IsOneLine )
{
    EXPECT_EQ( TextTable( { "A", "B" } ).text(), "A  B\n" );
}

TEST( TextTableTest, Text_Columns_AreAsWideAsTheirWidestText )
{
    TextTable table( { "NAME", "N", "LAST" } );
    table.add( { "a", "1000", "x" } );
    table.add( { "longer", "2", "a longer one" } );
    EXPECT_EQ( table.text(), "NAME    N     LAST\n"
                             "a       1000  x\n"
                             "longer  2     a longer one\n" );
}

TEST( TextTableTest, Text_EmptyLastColumn_HasNoBlanksAtTheEnd )
{
    TextTable table( { "A", "B" } );
    table.add( { "x", "" } );
    EXPECT_EQ( table.text(), "A  B\nx\n" );
}

} // namespace
