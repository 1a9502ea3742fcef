#include "sim/ChipSnapshot.h"

#include "tests/support/ErrorText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

namespace Sim {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

bool inOrder( std::string_view first, std::string_view second )
{
    return NaturalOrder()( first, second ) && !NaturalOrder()( second, first );
}

TEST( NaturalOrderTest, Less_Numbers_OrderByValue )
{
    EXPECT_TRUE( inOrder( "entry 2", "entry 10" ) );
    EXPECT_TRUE( inOrder( "entry 9 stat 10", "entry 10 stat 9" ) );
    EXPECT_TRUE( inOrder( "entry 10 stat 9", "entry 10 stat 10" ) );
    EXPECT_TRUE( inOrder( "x18446744073709551616", "x18446744073709551617" ) );
}

TEST( NaturalOrderTest, Less_Texts_OrderByLetter )
{
    EXPECT_TRUE( inOrder( "entry 10", "group 2" ) );
    EXPECT_TRUE( inOrder( "entry", "entry 1" ) );
    EXPECT_TRUE( inOrder( "", "a" ) );
}

TEST( NaturalOrderTest, Less_LeadingZeros_AreNotTheSameName )
{
    EXPECT_TRUE( inOrder( "entry 01", "entry 1" ) );
    EXPECT_TRUE( inOrder( "entry 01", "entry 2" ) );
}

TEST( NaturalOrderTest, Less_SameName_IsFalse )
{
    EXPECT_FALSE( NaturalOrder()( "entry 10", "entry 10" ) );
}

ChipSnapshot twoPolicers()
{
    ChipSnapshot snapshot;
    snapshot.add( "policer 10", { { "rate", "5" }, { "burst", "6" } } );
    snapshot.add( "policer 2", { { "rate", "7" }, { "burst", "8" } } );
    return snapshot;
}

TEST( ChipSnapshotTest, Text_Objects_AreSortedLines )
{
    EXPECT_EQ( twoPolicers().text(), "policer 2: rate=7 burst=8\n"
                                     "policer 10: rate=5 burst=6\n" );
}

TEST( ChipSnapshotTest, Text_Nothing_IsEmpty )
{
    EXPECT_EQ( ChipSnapshot().text(), "" );
}

TEST( ChipSnapshotTest, Print_IsTheText )
{
    std::ostringstream stream;
    stream << twoPolicers();
    EXPECT_EQ( stream.str(), twoPolicers().text() );
}

TEST( ChipSnapshotTest, Add_NameTwice_IsRefused )
{
    ChipSnapshot snapshot = twoPolicers();
    EXPECT_EQ(
        TestSupport::errorText< std::logic_error >( [ & ] { snapshot.add( "policer 2", {} ); } ),
        "policer 2 is in the snapshot already" );
}

TEST( ChipSnapshotTest, Equality_OneFieldDiffers_IsUnequal )
{
    ChipSnapshot other;
    other.add( "policer 2", { { "rate", "7" }, { "burst", "8" } } );
    EXPECT_NE( other, twoPolicers() );
    other.add( "policer 10", { { "rate", "5" }, { "burst", "7" } } );
    EXPECT_NE( other, twoPolicers() );
    EXPECT_EQ( twoPolicers(), twoPolicers() );
}

TEST( DifferenceTest, SameSnapshots_IsEmpty )
{
    EXPECT_THAT( difference( twoPolicers(), twoPolicers() ), IsEmpty() );
}

TEST( DifferenceTest, AddedRemovedChanged_AreLinesInOrderOfNames )
{
    ChipSnapshot after;
    after.add( "policer 3", { { "rate", "1" } } );
    after.add( "policer 10", { { "rate", "5" }, { "burst", "9" } } );
    EXPECT_THAT( difference( twoPolicers(), after ),
                 ElementsAre( "- policer 2: rate=7 burst=8", "+ policer 3: rate=1",
                              "- policer 10: rate=5 burst=6", "+ policer 10: rate=5 burst=9" ) );
}

} // namespace

} // namespace Sim
