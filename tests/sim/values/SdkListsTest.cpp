#include "sim/values/SdkLists.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <set>
#include <vector>

namespace Sim {

namespace {

using ::testing::ElementsAre;

const std::vector< int > three = { 4, 5, 6 };

TEST( SdkListsTest, ListInto_RoomForSome_GivesTheFirstOfThem )
{
    std::array< int, 3 > list{};
    int actual = -1;
    EXPECT_EQ( listInto( three, 2, list.data(), &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 2 );
    EXPECT_THAT( list, ElementsAre( 4, 5, 0 ) );
}

TEST( SdkListsTest, ListInto_RoomForMore_GivesAll )
{
    std::array< int, 4 > list{};
    int actual = -1;
    EXPECT_EQ( listInto( three, 4, list.data(), &actual ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 3 );
    EXPECT_THAT( list, ElementsAre( 4, 5, 6, 0 ) );
}

TEST( SdkListsTest, ListInto_NoRoom_Counts )
{
    int actual = -1;
    EXPECT_EQ( listInto( three, 0, static_cast< int* >( nullptr ), &actual ),
               ReturnCode::BCM_E_NONE );
    EXPECT_EQ( actual, 3 );
}

TEST( SdkListsTest, ListInto_BadQuestion_IsRefused )
{
    int element = 7;
    int actual = 8;
    EXPECT_EQ( listInto( three, 1, &element, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( listInto( three, -1, &element, &actual ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( listInto( three, 1, static_cast< int* >( nullptr ), &actual ),
               ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( element, 7 );
    EXPECT_EQ( actual, 8 );
}

TEST( SdkListsTest, NumberList_OfSomeOrNone_IsReadable )
{
    EXPECT_EQ( numberList( std::set< unsigned >{ 7, 1, 12 } ), "1,7,12" );
    EXPECT_EQ( numberList( std::vector< int >{} ), "none" );
}

} // namespace

} // namespace Sim
