#include "agent/tcam/EnumeratorNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace PeloraTcam {

enum class Colour : Agent::U8
{
    red = 0,
    green = 3,
};

template<>
struct EnumeratorNames< Colour >
{
    static constexpr std::string_view enumeration = "Colour";
    static constexpr EnumeratorName rows[] = { { "red", 0 }, { "green", 3 } };
};

namespace {

std::string printed( Colour colour )
{
    std::ostringstream stream;
    printEnumerator( stream, colour );
    return stream.str();
}

TEST( EnumeratorNamesTest, PrintEnumerator_NamedValue_PrintsTheName )
{
    EXPECT_EQ( printed( Colour::green ), "green" );
}

TEST( EnumeratorNamesTest, PrintEnumerator_ValueBetweenNames_PrintsTypeAndNumber )
{
    EXPECT_EQ( printed( Colour{ 1 } ), "Colour(1)" );
    EXPECT_EQ( printed( Colour{ 255 } ), "Colour(255)" );
}

TEST( EnumeratorNamesTest, NameOfEnumerator_ValueWithoutName_IsEmpty )
{
    EXPECT_EQ( nameOfEnumerator( Colour::red ), "red" );
    EXPECT_EQ( nameOfEnumerator( Colour{ 2 } ), "" );
}

TEST( EnumeratorNamesTest, EnumeratorFromName_AnotherSpelling_IsNothing )
{
    EXPECT_EQ( enumeratorFromName< Colour >( "green" ), Colour::green );
    EXPECT_EQ( enumeratorFromName< Colour >( "Green" ), std::nullopt );
    EXPECT_EQ( enumeratorFromName< Colour >( "gree" ), std::nullopt );
}

TEST( EnumeratorNamesTest, EnumeratorNames_Always_AreInTheOrderOfTheRows )
{
    EXPECT_THAT( enumeratorNames< Colour >(), ::testing::ElementsAre( "red", "green" ) );
}

} // namespace
} // namespace PeloraTcam
