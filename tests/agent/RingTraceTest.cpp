#include "agent/base/RingTrace.h"

#include "tests/agent/RingTraceReading.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Agent {

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

/// A ring with one statement, "n:" and a number.
class NumberRing
{
  public:
    explicit NumberRing( U32 recordBytes )
        : ring( recordBytes, 256 )
        , statement_( ring.describe( { "a/b.cpp", 12, "count" }, pieces ) )
    {}

    template< class Number >
    void record( Number number )
    {
        RingPacker packer;
        packForRing( packer, number );
        ring.record( statement_, packer.bytes() );
    }

    RingTrace ring;

  private:
    static constexpr std::array< const char*, 2 > pieces = { "n:", nullptr };
    U32 statement_;
};

std::vector< std::string > numberTexts( int first, int last )
{
    std::vector< std::string > texts;
    for ( int number = first; number <= last; ++number ) {
        texts.push_back( "n:" + std::to_string( number ) );
    }
    return texts;
}

TEST( RingTraceTest, Ring_New_HoldsNothing )
{
    const RingTrace ring( 2048, 256 );

    EXPECT_EQ( ring.count(), 0U );
    EXPECT_EQ( decoded( ring ).written, 0U );
    EXPECT_THAT( textsOf( ring ), ElementsAre() );
}

TEST( RingTraceTest, Ring_TooSmall_IsAnAssertionFailure )
{
    EXPECT_DEATH( RingTrace( 2047, 256 ), "Assertion `recordBytes >= 2048" );
    EXPECT_DEATH( RingTrace( 2048, 15 ), "descriptionRoom >= 16' failed" );
}

TEST( RingTraceTest, Record_OfAStatement_HasPlaceTextAndTime )
{
    NumberRing numbers( 2048 );
    numbers.record( U32{ 1 } );
    numbers.record( U32{ 2 } );

    const DecodedRing ring = decoded( numbers.ring );
    ASSERT_EQ( ring.records.size(), 2U );
    EXPECT_EQ( ring.records[ 0 ].file, "a/b.cpp" );
    EXPECT_EQ( ring.records[ 0 ].line, 12U );
    EXPECT_EQ( ring.records[ 0 ].function, "count" );
    EXPECT_EQ( ring.records[ 0 ].text, "n:1" );
    EXPECT_EQ( ring.records[ 1 ].text, "n:2" );
    EXPECT_LE( ring.records[ 0 ].nanoseconds, ring.records[ 1 ].nanoseconds );
    EXPECT_GT( ring.records[ 0 ].nanoseconds, 0U );
}

U64 clockNow()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast< U64 >( std::chrono::nanoseconds( now ).count() );
}

/// Records for some readings of the clock and expects each record between the times around it. A
/// clock that is being set may be off by 500 millionths of what is counted, a tenth of a second.
void expectTimesOfTheClock( RingTrace& ring )
{
    constexpr U64 inexactness = 100'000;
    constexpr U64 duration = 350'000'000;
    std::vector< std::pair< U64, U64 > > around;
    const U64 start = clockNow();
    for ( U64 before = start; before - start < duration; ) {
        before = clockNow();
        ring.record( 0, {} );
        around.emplace_back( before, clockNow() );
        std::this_thread::sleep_for( std::chrono::microseconds( 100 ) );
    }
    const std::vector< DecodedRecord > records = decoded( ring ).records;
    ASSERT_EQ( records.size(), around.size() );
    for ( std::size_t i = 0; i < records.size(); ++i ) {
        ASSERT_GE( records[ i ].nanoseconds + inexactness, around[ i ].first ) << i;
        ASSERT_LE( records[ i ].nanoseconds, around[ i ].second + inexactness ) << i;
        ASSERT_GE( records[ i ].nanoseconds, i == 0 ? 0 : records[ i - 1 ].nanoseconds ) << i;
    }
}

TEST( RingTraceTest, Record_TicksCounted_HasTheTimeOfTheMonotonicClock )
{
    RingTrace ring( 1U << 20, 256 );
    expectTimesOfTheClock( ring );
}

TEST( RingTraceTest, Record_NoTicksCounted_HasTheTimeOfTheMonotonicClock )
{
    RingTrace ring( 1U << 20, 256, false );
    expectTimesOfTheClock( ring );

    RingHeader header{};
    std::memcpy( &header, ring.image().data(), sizeof( header ) );
    EXPECT_EQ( header.ticks, 0U );
}

TEST( RingTraceTest, Record_RingFull_OverwritesTheOldest )
{
    // Records of 32 bytes: 64 of them fill the room exactly.
    NumberRing numbers( 2048 );
    for ( U32 number = 0; number < 64; ++number ) {
        numbers.record( number );
    }
    EXPECT_THAT( textsOf( numbers.ring ), ElementsAreArray( numberTexts( 0, 63 ) ) );

    numbers.record( U32{ 64 } );
    EXPECT_THAT( textsOf( numbers.ring ), ElementsAreArray( numberTexts( 1, 64 ) ) );

    for ( U32 number = 65; number < 1000; ++number ) {
        numbers.record( number );
    }
    EXPECT_THAT( textsOf( numbers.ring ), ElementsAreArray( numberTexts( 936, 999 ) ) );
    EXPECT_EQ( numbers.ring.count(), 1000U );
    EXPECT_EQ( decoded( numbers.ring ).written, 1000U );
}

TEST( RingTraceTest, Record_NotFittingIntoTheEnd_StartsAtTheFront )
{
    // Records of 40 bytes: 51 of them, and 8 bytes at the end that stay empty.
    NumberRing numbers( 2048 );
    for ( U64 number = 0; number < 51; ++number ) {
        numbers.record( number );
    }
    EXPECT_THAT( textsOf( numbers.ring ), ElementsAreArray( numberTexts( 0, 50 ) ) );

    for ( U64 number = 51; number < 60; ++number ) {
        numbers.record( number );
    }
    EXPECT_THAT( textsOf( numbers.ring ), ElementsAreArray( numberTexts( 9, 59 ) ) );

    // After 100 laps there are as many.
    for ( U64 number = 60; number < 5151; ++number ) {
        numbers.record( number );
    }
    EXPECT_THAT( textsOf( numbers.ring ), ElementsAreArray( numberTexts( 5100, 5150 ) ) );
}

TEST( RingTraceTest, Record_RoomNotAMultipleOfEight_IsRoundedUp )
{
    NumberRing numbers( 2049 );
    for ( U32 number = 0; number < 200; ++number ) {
        numbers.record( number );
    }

    EXPECT_THAT( textsOf( numbers.ring ), ElementsAreArray( numberTexts( 136, 199 ) ) );
}

TEST( RingTraceTest, Record_OfTheLargestSize_IsKeptWhole )
{
    RingTrace ring( 2048, 256 );
    const std::array< const char*, 5 > pieces = { nullptr, nullptr, nullptr, nullptr, "|" };
    const U32 statement = ring.describe( { "a/b.cpp", 1, "f" }, pieces );
    for ( const char letter : { 'a', 'b', 'c' } ) {
        // 4 texts of 2 + 254 bytes: 1024.
        RingPacker packer;
        const std::string text( 254, letter );
        for ( int i = 0; i < 4; ++i ) {
            packForRing( packer, text );
        }
        ASSERT_EQ( packer.bytes().size(), RingPacker::room );
        ring.record( statement, packer.bytes() );
    }

    EXPECT_THAT( textsOf( ring ), ElementsAre( std::string( 4 * 254, 'c' ) + "|" ) );
}

TEST( RingTraceTest, Record_ArgumentsTooLarge_IsAnAssertionFailure )
{
    RingTrace ring( 2048, 256 );
    const std::vector< std::byte > arguments( RingPacker::room + 1 );

    EXPECT_DEATH( ring.record( 0, arguments ), "Assertion `arguments.size\\(\\) <=" );
}

TEST( RingTraceTest, Describe_SameStatementAgain_IsStoredOnce )
{
    RingTrace ring( 2048, 256 );
    const std::array< const char*, 1 > pieces = { "text" };
    const std::array< const char*, 1 > otherPieces = { "texts" };

    const U32 statement = ring.describe( { "a/b.cpp", 1, "f" }, pieces );

    EXPECT_EQ( ring.describe( { "a/b.cpp", 1, "f" }, pieces ), statement );
    EXPECT_NE( ring.describe( { "a/b.cpp", 2, "f" }, pieces ), statement );
    EXPECT_NE( ring.describe( { "a/b.cpp", 1, "g" }, pieces ), statement );
    EXPECT_NE( ring.describe( { "a/b.cpp", 1, "f" }, otherPieces ), statement );
    EXPECT_EQ( ring.describe( { "a/b.cpp", 1, "f" }, pieces ), statement );
}

TEST( RingTraceTest, Describe_RoomExhausted_GivesTheUnknownStatement )
{
    // Room for the unknown statement, 16 bytes, and one of 8 bytes and 12 characters: 24.
    RingTrace ring( 2048, 40 );
    const std::array< const char*, 1 > pieces = { "x" };
    const U32 known = ring.describe( { "a/b.cpp", 1, "f" }, pieces );
    const U32 unknown = ring.describe( { "a/b.cpp", 2, "f" }, pieces );
    EXPECT_EQ( known, 16U );
    EXPECT_EQ( unknown, 0U );

    RingPacker packer;
    packForRing( packer, 17 );
    packForRing( packer, 18 );
    ring.record( unknown, packer.bytes() );
    ring.record( known, {} );

    const std::vector< DecodedRecord > records = decoded( ring ).records;
    ASSERT_EQ( records.size(), 2U );
    EXPECT_EQ( records[ 0 ].file, "?" );
    EXPECT_EQ( records[ 0 ].line, 0U );
    EXPECT_EQ( records[ 0 ].function, "?" );
    // What it was given is kept, although nothing says what it is.
    EXPECT_EQ( records[ 0 ].text, " 17 18" );
    EXPECT_EQ( records[ 1 ].text, "x" );
}

TEST( RingPackerTest, Pack_BeyondTheRoom_CutsOffEverythingFromThereOn )
{
    RingTrace ring( 2048, 256 );
    const std::array< const char*, 9 > pieces = { nullptr, "|",     nullptr, "|",    nullptr,
                                                  "|",     nullptr, "|",     nullptr };
    RingPacker packer;
    for ( int i = 0; i < 3; ++i ) {
        packForRing( packer, std::string( 255, 'x' ) );
    }
    // Does not fit any more; the number would, but would stand in its place.
    packForRing( packer, std::string( 252, 'y' ) );
    packForRing( packer, U8{ 1 } );
    EXPECT_EQ( packer.bytes().size(), 3 * 257U );

    ring.record( ring.describe( { "a/b.cpp", 1, "f" }, pieces ), packer.bytes() );
    const std::string xs( 255, 'x' );
    EXPECT_THAT( textsOf( ring ), ElementsAre( xs + "|" + xs + "|" + xs + "|?|?" ) );
}

TEST( RingPackerTest, PackText_LongText_IsCutTo255Characters )
{
    RingPacker packer;
    packForRing( packer, std::string( 300, 'x' ) );

    EXPECT_EQ( packer.bytes().size(), 257U );
}

TEST( RingPackerTest, PackGroup_BeyondTheRoom_KeepsTheValuesThatFit )
{
    RingTrace ring( 2048, 256 );
    const std::array< const char*, 2 > pieces = { nullptr, "|" };
    RingPacker packer;
    packer.packGroup( [ &packer ] {
        for ( int i = 0; i < 1000; ++i ) {
            packForRing( packer, U16{ 7 } );
        }
    } );

    // 3 bytes, then 3 for each value.
    EXPECT_EQ( packer.bytes().size(), 3 + 340 * 3U );
    ring.record( ring.describe( { "a/b.cpp", 1, "f" }, pieces ), packer.bytes() );
    std::string sevens = "7";
    for ( int i = 1; i < 340; ++i ) {
        sevens += " 7";
    }
    EXPECT_THAT( textsOf( ring ), ElementsAre( sevens + "|" ) );
}

} // namespace

} // namespace Agent
