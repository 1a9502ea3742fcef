#include "agent/base/Bitmap.h"

#include <gtest/gtest.h>

#include <optional>

namespace Agent {

namespace {

TEST( BitmapTest, Bitmap_New_IsClear )
{
    const Bitmap bitmap( 70 );

    EXPECT_EQ( bitmap.size(), 70U );
    EXPECT_TRUE( bitmap.empty() );
    EXPECT_EQ( bitmap.numBitsInSetState(), 0U );
    for ( U32 bit = 0; bit < 70; ++bit ) {
        EXPECT_FALSE( bitmap.isBitSet( bit ) ) << bit;
    }
}

TEST( BitmapTest, BitIs_SetAndCleared_ChangesThatBitOnly )
{
    Bitmap bitmap( 130 );
    for ( const U32 bit : { 0U, 63U, 64U, 129U } ) {
        bitmap.bitIs( bit, true );
        bitmap.bitIs( bit, true );
    }

    EXPECT_EQ( bitmap.numBitsInSetState(), 4U );
    EXPECT_TRUE( bitmap.isBitSet( 63 ) );
    EXPECT_FALSE( bitmap.isBitSet( 62 ) );
    EXPECT_FALSE( bitmap.isBitSet( 128 ) );

    bitmap.bitIs( 64, false );
    EXPECT_FALSE( bitmap.isBitSet( 64 ) );
    EXPECT_EQ( bitmap.numBitsInSetState(), 3U );
    EXPECT_FALSE( bitmap.empty() );
}

TEST( BitmapTest, FirstSetBit_InARange_IsTheLowestOfIt )
{
    Bitmap bitmap( 130 );
    bitmap.bitIs( 3, true );
    bitmap.bitIs( 100, true );

    EXPECT_EQ( bitmap.firstSetBit( 0, 129 ), 3U );
    EXPECT_EQ( bitmap.firstSetBit( 3, 3 ), 3U );
    EXPECT_EQ( bitmap.firstSetBit( 4, 129 ), 100U );
    EXPECT_EQ( bitmap.firstSetBit( 4, 100 ), 100U );
    EXPECT_EQ( bitmap.firstSetBit( 4, 99 ), std::nullopt );
    EXPECT_EQ( bitmap.firstSetBit( 101, 129 ), std::nullopt );
    EXPECT_EQ( bitmap.firstSetBit( 5, 3 ), std::nullopt );
}

TEST( BitmapTest, FirstClearBit_InARange_IsTheLowestOfIt )
{
    Bitmap bitmap( 70 );
    for ( U32 bit = 0; bit < 70; ++bit ) {
        bitmap.bitIs( bit, true );
    }
    EXPECT_EQ( bitmap.firstClearBit( 0, 69 ), std::nullopt );

    bitmap.bitIs( 2, false );
    bitmap.bitIs( 69, false );

    EXPECT_EQ( bitmap.firstClearBit( 0, 69 ), 2U );
    EXPECT_EQ( bitmap.firstClearBit( 2, 2 ), 2U );
    EXPECT_EQ( bitmap.firstClearBit( 3, 69 ), 69U );
    EXPECT_EQ( bitmap.firstClearBit( 3, 68 ), std::nullopt );
}

TEST( BitmapTest, Comparison_OfBitsAndSize_TellsThemApart )
{
    Bitmap left( 16 );
    Bitmap right( 16 );
    EXPECT_TRUE( left == right );

    left.bitIs( 4, true );
    EXPECT_FALSE( left == right );

    right.bitIs( 4, true );
    EXPECT_TRUE( left == right );
    EXPECT_FALSE( Bitmap( 16 ) == Bitmap( 17 ) );
}

TEST( BitmapTest, AreBitmapEqual_BehindPtrs_ComparesTheBits )
{
    const Bitmap::Ptr left( new Bitmap( 16 ) );
    const Bitmap::Ptr right( new Bitmap( 16 ) );
    EXPECT_TRUE( areBitmapEqual( left, right ) );
    left->bitIs( 7, true );
    EXPECT_FALSE( areBitmapEqual( left, right ) );
    right->bitIs( 7, true );
    EXPECT_TRUE( areBitmapEqual( left, right ) );
    EXPECT_FALSE( areBitmapEqual( left, Bitmap::Ptr( new Bitmap( 17 ) ) ) );
}

TEST( BitmapTest, Bitmap_HeldByPtr_GoesWithTheLastOne )
{
    const Ptr< Bitmap > bitmap( new Bitmap( 16 ) );
    const Ptr< const Bitmap > readOnly = bitmap;

    bitmap->bitIs( 3, true );

    EXPECT_EQ( readOnly->firstSetBit( 0, 15 ), 3U );
    EXPECT_EQ( bitmap->references(), 2U );
}

TEST( BitmapTest, AnyOperation_OutsideTheBitmap_IsAnAssertionFailure )
{
    Bitmap bitmap( 16 );

    EXPECT_DEATH( static_cast< void >( bitmap.isBitSet( 16 ) ), "Assertion `bit < size_' failed" );
    EXPECT_DEATH( bitmap.bitIs( 16, true ), "Assertion `bit < size_' failed" );
    EXPECT_DEATH( static_cast< void >( bitmap.firstSetBit( 0, 16 ) ),
                  "Assertion `last < size_' failed" );
    EXPECT_DEATH( static_cast< void >( bitmap.firstClearBit( 0, 16 ) ),
                  "Assertion `last < size_' failed" );
}

} // namespace

} // namespace Agent
