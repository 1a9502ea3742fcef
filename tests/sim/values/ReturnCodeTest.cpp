#include "sim/ReturnCode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Sim {

namespace {

TEST( ReturnCodeTest, Constants_AreTheSdks )
{
    EXPECT_EQ( ReturnCode::BCM_E_NONE, 0 );
    EXPECT_EQ( ReturnCode::BCM_E_UNIT, -3 );
    EXPECT_EQ( ReturnCode::BCM_E_PARAM, -4 );
    EXPECT_EQ( ReturnCode::BCM_E_FULL, -6 );
    EXPECT_EQ( ReturnCode::BCM_E_NOT_FOUND, -7 );
    EXPECT_EQ( ReturnCode::BCM_E_UNAVAIL, -16 );
}

TEST( ReturnCodeTest, Text_KnownCode_IsTheSdks )
{
    EXPECT_STREQ( ReturnCode::text( 0 ), "Ok" );
    EXPECT_STREQ( ReturnCode::text( -6 ), "Table full" );
    EXPECT_STREQ( ReturnCode::text( -18 ), "Invalid port" );
}

TEST( ReturnCodeTest, Text_UnknownCode_IsUnknownError )
{
    EXPECT_STREQ( ReturnCode::text( 1 ), "Unknown error" );
    EXPECT_STREQ( ReturnCode::text( -1000 ), "Unknown error" );
}

TEST( ReturnCodeTest, Name_KnownAndUnknownCode_IsNameOrNumber )
{
    EXPECT_EQ( ReturnCode::name( -6 ), "BCM_E_FULL" );
    EXPECT_EQ( ReturnCode::name( -1000 ), "-1000" );
}

TEST( ReturnCodeTest, FromName_KnownAndUnknownName_IsCodeOrNothing )
{
    EXPECT_EQ( ReturnCode::fromName( "BCM_E_FULL" ), -6 );
    EXPECT_EQ( ReturnCode::fromName( "BCM_E_FUL" ), std::nullopt );
}

TEST( ReturnCodeTest, Names_HoldFirstAndLast )
{
    const std::vector< std::string > names = ReturnCode::names();
    ASSERT_FALSE( names.empty() );
    EXPECT_EQ( names.front(), "BCM_E_NONE" );
    EXPECT_THAT( names, testing::Contains( "BCM_E_PORT" ) );
}

} // namespace

} // namespace Sim
