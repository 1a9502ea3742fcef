#include "sim/values/SimSets.h"

#include "tests/support/ErrorText.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace Sim {

namespace {

TEST( SimSetsTest, AddToSet_AnyOrder_KeepsCountAndOrder )
{
    SetWords words{};
    addToSet( words, 7 );
    addToSet( words, 0xFFFFFFFF );
    addToSet( words, 0 );
    EXPECT_EQ( words[ 0 ], 3U );
    EXPECT_EQ( words[ 1 ], 0U );
    EXPECT_EQ( words[ 2 ], 7U );
    EXPECT_EQ( words[ 3 ], 0xFFFFFFFFU );
    EXPECT_EQ( words[ 4 ], 0U );
}

TEST( SimSetsTest, AddToSet_MemberTwice_IsThereOnce )
{
    SetWords words{};
    addToSet( words, 7 );
    addToSet( words, 7 );
    EXPECT_EQ( words[ 0 ], 1U );
}

TEST( SimSetsTest, MembersOf_EmptyAndFilledSet_AreTheMembersInRisingOrder )
{
    SetWords words{};
    EXPECT_TRUE( membersOf( words ).empty() );
    addToSet( words, 900000 );
    addToSet( words, 7 );
    addToSet( words, 7 );
    ASSERT_EQ( membersOf( words ).size(), 2U );
    EXPECT_EQ( membersOf( words )[ 0 ], 7U );
    EXPECT_EQ( membersOf( words )[ 1 ], 900000U );
}

TEST( SimSetsTest, IsInSet_MembersAndOthers_TellsThemApart )
{
    SetWords words{};
    EXPECT_FALSE( isInSet( words, 0 ) ) << "an empty set has no member 0";
    addToSet( words, 7 );
    addToSet( words, 9 );
    EXPECT_TRUE( isInSet( words, 7 ) );
    EXPECT_TRUE( isInSet( words, 9 ) );
    EXPECT_FALSE( isInSet( words, 8 ) );
    EXPECT_FALSE( isInSet( words, 2 ) ) << "the count is no member";
}

TEST( SimSetsTest, AddToSet_255Members_FitAnd256DoNot )
{
    SetWords words{};
    for ( uint32_t member = 255; member >= 1; --member ) {
        addToSet( words, member * 1000 );
    }
    EXPECT_EQ( words[ 0 ], 255U );
    EXPECT_EQ( words[ 255 ], 255000U );
    const SetWords before = words;
    addToSet( words, 1000 );
    EXPECT_EQ( TestSupport::errorText< std::length_error >( [ & ] { addToSet( words, 1 ); } ),
               "the set is full" );
    EXPECT_EQ( words, before );
}

TEST( SimSetsTest, IsInSet_CountBeyondTheStorage_StaysInside )
{
    SetWords words{};
    words[ 0 ] = 4000000000U;
    words[ 255 ] = 5;
    EXPECT_TRUE( isInSet( words, 5 ) );
    EXPECT_FALSE( isInSet( words, 6 ) );
}

TEST( SimSetsTest, AddPort_FirstAndLastOfWords_SetTheirBits )
{
    _shr_pbmp ports;
    addPort( ports, 0 );
    addPort( ports, 31 );
    addPort( ports, 32 );
    addPort( ports, 511 );
    EXPECT_EQ( ports.pbits[ 0 ], 0x80000001U );
    EXPECT_EQ( ports.pbits[ 1 ], 1U );
    EXPECT_EQ( ports.pbits[ 15 ], 0x80000000U );
}

TEST( SimSetsTest, AddPort_OutOfTheBitmap_IsRefused )
{
    _shr_pbmp ports;
    EXPECT_EQ( TestSupport::errorText< std::out_of_range >( [ & ] { addPort( ports, 512 ); } ),
               "port 512 is out of the bitmap" );
    EXPECT_EQ( TestSupport::errorText< std::out_of_range >( [ & ] { addPort( ports, -1 ); } ),
               "port -1 is out of the bitmap" );
    EXPECT_EQ( ports.pbits, _shr_pbmp().pbits );
}

TEST( SimSetsTest, WritePortBitmap_SomePorts_IsHexadecimalHighestWordFirst )
{
    _shr_pbmp ports;
    addPort( ports, 0 );
    addPort( ports, 33 );
    addPort( ports, 507 );
    std::string text( portBitmapTextSize + 1, '#' );
    writePortBitmap( ports, text.data() );
    EXPECT_EQ( text, "0x08000000" + std::string( std::size_t{ 13 } * 8, '0' ) + "0000000200000001" +
                         std::string( 1, '\0' ) + "#" );
}

TEST( SimSetsTest, PortBitmapTextSize_CountsPrefixDigitsAndTerminator )
{
    EXPECT_EQ( portBitmapTextSize, 131U );
}

TEST( SimSetsTest, AddChunk_FirstAndLast_AreThere )
{
    bcm_udf_cbmp_t chunks;
    addChunk( chunks, 0 );
    addChunk( chunks, 31 );
    EXPECT_EQ( chunks.w[ 0 ], 0x80000001U );
    EXPECT_TRUE( hasChunk( chunks, 0 ) );
    EXPECT_TRUE( hasChunk( chunks, 31 ) );
    EXPECT_FALSE( hasChunk( chunks, 1 ) );
}

TEST( SimSetsTest, AddChunk_OutOfTheBitmap_IsRefused )
{
    bcm_udf_cbmp_t chunks;
    EXPECT_EQ( TestSupport::errorText< std::out_of_range >( [ & ] { addChunk( chunks, 32 ); } ),
               "chunk 32 is out of the bitmap" );
    EXPECT_EQ( TestSupport::errorText< std::out_of_range >( [ & ] { addChunk( chunks, -1 ); } ),
               "chunk -1 is out of the bitmap" );
    EXPECT_EQ( chunks.w[ 0 ], 0U );
}

TEST( SimSetsTest, HasChunk_OutOfTheBitmap_IsFalse )
{
    bcm_udf_cbmp_t chunks;
    chunks.w[ 0 ] = 0xFFFFFFFF;
    EXPECT_FALSE( hasChunk( chunks, 32 ) );
    EXPECT_FALSE( hasChunk( chunks, -1 ) );
}

} // namespace

} // namespace Sim
