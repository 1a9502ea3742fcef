#include "agent/tcam/CounterSum.h"

#include <gtest/gtest.h>

namespace PeloraTcam {
namespace {

using Agent::U64;

constexpr U64 allOnes = ~U64{ 0 };

TEST( CounterMaskTest, EachWidth_IsTheGreatestValue )
{
    EXPECT_EQ( counterMask( 1 ), 1U );
    EXPECT_EQ( counterMask( 8 ), 255U );
    EXPECT_EQ( counterMask( 36 ), 0xFFFFFFFFFU );
    EXPECT_EQ( counterMask( 64 ), allOnes );
}

TEST( CounterMaskDeathTest, NoWidthOrTooWide_Dies )
{
    EXPECT_DEATH( counterMask( 0 ),
                  "Assertion `counterBits >= 1 && counterBits <= widestCounter'" );
    EXPECT_DEATH( counterMask( 65 ), "Assertion `counterBits >= 1" );
}

TEST( CounterSumTest, ReadingIs_FirstOne_CountsFromZero )
{
    CounterSum sum;
    EXPECT_EQ( sum.value(), 0U );
    EXPECT_EQ( sum.readingIs( 250, counterMask( 8 ) ), 250U );
    EXPECT_EQ( sum.value(), 250U );
}

TEST( CounterSumTest, ReadingIs_Unchanged_AddsNothing )
{
    CounterSum sum;
    sum.readingIs( 250, counterMask( 8 ) );
    EXPECT_EQ( sum.readingIs( 250, counterMask( 8 ) ), 250U );
}

TEST( CounterSumTest, ReadingIs_AfterAWrap_AddsAcrossIt )
{
    CounterSum sum;
    sum.readingIs( 250, counterMask( 8 ) );
    EXPECT_EQ( sum.readingIs( 4, counterMask( 8 ) ), 260U );
    EXPECT_EQ( sum.readingIs( 3, counterMask( 8 ) ), 515U ) << "one less than a wrap";
}

TEST( CounterSumTest, ReadingIs_OneBit_CountsOnes )
{
    CounterSum sum;
    for ( U64 n = 1; n <= 1000; ++n ) {
        ASSERT_EQ( sum.readingIs( n % 2, counterMask( 1 ) ), n );
    }
}

TEST( CounterSumTest, ReadingIs_SixtyFourBits_WrapsWithTheSum )
{
    CounterSum sum;
    EXPECT_EQ( sum.readingIs( allOnes, counterMask( 64 ) ), allOnes );
    EXPECT_EQ( sum.readingIs( 4, counterMask( 64 ) ), 4U );
}

TEST( CounterSumTest, Clear_AfterAReading_StartsWithACounterAtZero )
{
    CounterSum sum;
    sum.readingIs( 250, counterMask( 8 ) );
    sum.clear();
    EXPECT_EQ( sum.value(), 0U );
    EXPECT_EQ( sum.readingIs( 4, counterMask( 8 ) ), 4U );
}

TEST( CounterSumTest, CounterIsSetTo_AValue_GoesOnFromThere )
{
    CounterSum sum;
    sum.readingIs( 250, counterMask( 8 ) );
    sum.counterIsSetTo( 0 );
    EXPECT_EQ( sum.value(), 250U );
    EXPECT_EQ( sum.readingIs( 4, counterMask( 8 ) ), 254U );
}

TEST( CounterSumTest, Restart_AfterAReading_StartsWithTheCounterAsItIs )
{
    CounterSum sum;
    sum.readingIs( 250, counterMask( 8 ) );
    sum.restart();
    EXPECT_EQ( sum.value(), 0U );
    EXPECT_EQ( sum.readingIs( 4, counterMask( 8 ) ), 10U );
}

} // namespace
} // namespace PeloraTcam
