#include "agent/tcam/CounterTypes.h"

#include "agent/base/TextPieces.h"

#include <gtest/gtest.h>

#include <set>

namespace PeloraTcam {
namespace {

CounterType typeOf( int number )
{
    return static_cast< CounterType >( number );
}

TEST( CounterTypesTest, IsByteType_EveryNumber_IsTheFourOddOnes )
{
    const std::set< int > byteTypes = { 1, 3, 5, 7 };
    const std::set< int > packetTypes = { 2, 4, 6, 8 };
    for ( int number = 0; number < 256; ++number ) {
        EXPECT_EQ( isByteType( typeOf( number ) ), byteTypes.contains( number ) ) << number;
        EXPECT_EQ( isPacketType( typeOf( number ) ), packetTypes.contains( number ) ) << number;
    }
}

TEST( CounterTypesTest, PacketTypeOfPair_EveryType_IsTheNextOfAByteTypeOrItself )
{
    const int pairs[][ 2 ] = { { 0, 0 }, { 1, 2 }, { 2, 2 }, { 3, 4 }, { 4, 4 },    { 5, 6 },
                               { 6, 6 }, { 7, 8 }, { 8, 8 }, { 9, 9 }, { 255, 255 } };
    for ( const auto& [ type, packetType ] : pairs ) {
        EXPECT_EQ( packetTypeOfPair( typeOf( type ) ), typeOf( packetType ) ) << type;
    }
}

TEST( CounterTypesTest, Print_EachType_IsItsNameOrNumber )
{
    const char* names[] = { "invalid",      "bytes",       "packets",
                            "redBytes",     "redPackets",  "greenBytes",
                            "greenPackets", "yellowBytes", "yellowPackets" };
    for ( int number = 0; number <= 8; ++number ) {
        EXPECT_EQ( Agent::joinPieces( typeOf( number ) ), names[ number ] );
    }
    EXPECT_EQ( Agent::joinPieces( typeOf( 9 ) ), "CounterType(9)" );
    EXPECT_EQ( Agent::joinPieces( typeOf( 255 ) ), "CounterType(255)" );
}

TEST( CounterTypesTest, Print_SetsAndStatus_AreLists )
{
    EXPECT_EQ( Agent::joinPieces( CounterSet{} ), "{}" );
    EXPECT_EQ( Agent::joinPieces(
                   CounterSet{ { CounterType::packets, true }, { CounterType::bytes, true } } ),
               "{bytes, packets}" );
    EXPECT_EQ( Agent::joinPieces( CounterStatus{} ), "{}" );
    EXPECT_EQ( Agent::joinPieces(
                   CounterStatus{ { CounterType::bytes, 64 }, { CounterType::packets, 1 } } ),
               "{bytes: 64, packets: 1}" );
}

TEST( CounterTypesTest, CounterInfo_Default_StandsForNone )
{
    const CounterInfo none;
    EXPECT_EQ( none.counterId, 0U );
    EXPECT_EQ( none.stage, StageType::invalid );
    EXPECT_TRUE( none.counterSet.empty() );
    EXPECT_EQ( none.logicalGroupId, 0U );
    EXPECT_EQ( none.statId, 0U );
    EXPECT_EQ( none.entryId, 0U );
}

} // namespace
} // namespace PeloraTcam
