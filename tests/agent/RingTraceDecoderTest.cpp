#include "agent/base/RingTraceDecoder.h"

#include "agent/base/RingTrace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Agent {

namespace {

using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr U32 recordRoom = 2048;
constexpr U32 descriptionRoom = 256;
constexpr std::size_t descriptionsStart = sizeof( RingHeader );
constexpr std::size_t recordsStart = descriptionsStart + descriptionRoom;
constexpr std::size_t imageSize = recordsStart + recordRoom;
/// The unknown statement takes the first 16 bytes.
constexpr U32 statement = 16;
/// A record of one 32-bit number.
constexpr U32 numberRecord = 32;

/// The image of a ring with so many records; the argument of each comes from its number.
template< class ArgumentOf >
std::string imageOf( U32 records, ArgumentOf argumentOf )
{
    RingTrace ring( recordRoom, descriptionRoom );
    const std::array< const char*, 3 > pieces = { "n:", nullptr, "|" };
    EXPECT_EQ( ring.describe( { "a/b.cpp", 12, "f" }, pieces ), statement );
    for ( U32 number = 0; number < records; ++number ) {
        RingPacker packer;
        packForRing( packer, argumentOf( number ) );
        ring.record( statement, packer.bytes() );
    }
    const std::span< const std::byte > image = ring.image();
    EXPECT_EQ( image.size(), imageSize );
    return { reinterpret_cast< const char* >( image.data() ), image.size() };
}

/// The image of a ring with records "n:0|", "n:1|", and so on.
std::string imageOf( U32 records )
{
    return imageOf( records, []( U32 number ) { return number; } );
}

/// The same image with other bytes in a place.
template< class Value >
std::string patched( std::string image, std::size_t offset, Value value )
{
    std::memcpy( image.data() + offset, &value, sizeof( value ) );
    return image;
}

/// The image of a ring whose one record has those arguments.
std::string imageWithArguments( const std::vector< U8 >& arguments )
{
    RingTrace ring( recordRoom, descriptionRoom );
    const std::array< const char*, 3 > pieces = { "n:", nullptr, "|" };
    const U32 described = ring.describe( { "a/b.cpp", 12, "f" }, pieces );
    ring.record( described, std::as_bytes( std::span( arguments ) ) );
    const std::span< const std::byte > image = ring.image();
    return { reinterpret_cast< const char* >( image.data() ), image.size() };
}

DecodedRing decodedOne( const std::string& image )
{
    const std::vector< DecodedRing > rings = decodeRings( image );
    EXPECT_THAT( rings, SizeIs( 1 ) );
    return rings.empty() ? DecodedRing() : rings.front();
}

std::vector< std::string > textsOf( const DecodedRing& ring )
{
    std::vector< std::string > texts;
    for ( const DecodedRecord& record : ring.records ) {
        texts.push_back( record.text );
    }
    return texts;
}

TEST( RingTraceDecoderTest, DecodeRings_WholeImage_GivesItsRecords )
{
    const DecodedRing ring = decodedOne( imageOf( 3 ) );

    EXPECT_EQ( ring.problem, "" );
    EXPECT_EQ( ring.written, 3U );
    EXPECT_THAT( textsOf( ring ), ElementsAre( "n:0|", "n:1|", "n:2|" ) );
    EXPECT_EQ( ring.records[ 2 ].file, "a/b.cpp" );
    EXPECT_EQ( ring.records[ 2 ].line, 12U );
    EXPECT_EQ( ring.records[ 2 ].function, "f" );
}

TEST( RingTraceDecoderTest, DecodeRings_NothingThere_GivesNone )
{
    EXPECT_THAT( decodeRings( "" ), SizeIs( 0 ) );
    EXPECT_THAT( decodeRings( "PELORA-RING-V1" ), SizeIs( 0 ) );
    EXPECT_THAT( decodeRings( std::string( 10000, 'x' ) ), SizeIs( 0 ) );
}

TEST( RingTraceDecoderTest, DecodeRings_ImageWithinABiggerFile_IsFound )
{
    // As in a core: at an odd offset, and not the only one.
    const std::string core = std::string( 4097, '\x7F' ) + imageOf( 2 ) + "PELORA-RING-V" +
                             imageOf( 1 ) + std::string( 33, '\0' );

    const std::vector< DecodedRing > rings = decodeRings( core );

    ASSERT_THAT( rings, SizeIs( 2 ) );
    EXPECT_THAT( textsOf( rings[ 0 ] ), ElementsAre( "n:0|", "n:1|" ) );
    EXPECT_EQ( rings[ 0 ].problem, "" );
    EXPECT_THAT( textsOf( rings[ 1 ] ), ElementsAre( "n:0|" ) );
    EXPECT_EQ( rings[ 1 ].problem, "" );
}

TEST( RingTraceDecoderTest, DecodeRings_ImageAfterADamagedOne_IsFound )
{
    const std::string core =
        std::string( ringMagic.data(), ringMagic.size() ) + std::string( 200, '\0' ) + imageOf( 1 );

    const std::vector< DecodedRing > rings = decodeRings( core );

    ASSERT_THAT( rings, SizeIs( 2 ) );
    EXPECT_EQ( rings[ 0 ].problem, "the header is damaged" );
    EXPECT_EQ( rings[ 1 ].problem, "" );
    EXPECT_THAT( textsOf( rings[ 1 ] ), ElementsAre( "n:0|" ) );
}

TEST( RingTraceDecoderTest, DecodeRings_CutOffAtAnyLength_SaysSo )
{
    const std::string image = imageOf( 80 );
    for ( std::size_t length = 0; length < image.size(); ++length ) {
        const std::vector< DecodedRing > rings = decodeRings( image.substr( 0, length ) );
        if ( length < ringMagic.size() ) {
            EXPECT_THAT( rings, SizeIs( 0 ) );
            continue;
        }
        ASSERT_THAT( rings, SizeIs( 1 ) );
        EXPECT_EQ( rings[ 0 ].problem, length < sizeof( RingHeader ) ? "the header is cut off"
                                                                     : "the header is damaged" );
        EXPECT_THAT( rings[ 0 ].records, SizeIs( 0 ) );
    }
}

TEST( RingTraceDecoderTest, DecodeRings_HeaderThatDoesNotAddUp_IsDamaged )
{
    const std::string image = imageOf( 80 );
    const std::vector< std::string > damaged = {
        patched( image, offsetof( RingHeader, headerSize ), U32{ sizeof( RingHeader ) + 8 } ),
        patched( image, offsetof( RingHeader, headerSize ), U32{ 0 } ),
        patched( image, offsetof( RingHeader, descriptionsSize ), U32{ 0xFFFFFFFF } ),
        patched( image, offsetof( RingHeader, descriptionsSize ), descriptionRoom + 8 ),
        patched( image, offsetof( RingHeader, descriptionsUsed ), descriptionRoom + 8 ),
        patched( image, offsetof( RingHeader, recordsSize ), U32{ 0 } ),
        patched( imageOf( 0 ), offsetof( RingHeader, recordsSize ), U32{ 0 } ),
        patched( image, offsetof( RingHeader, recordsSize ), recordRoom + 8 ),
        patched( image, offsetof( RingHeader, recordsSize ), U32{ 0xFFFFFFF8 } ),
        patched( image, offsetof( RingHeader, oldest ), U64{ 80 * numberRecord + 8 } ),
        patched( image, offsetof( RingHeader, oldest ), ~U64{ 0 } ),
        patched( image, offsetof( RingHeader, next ), U64{ 0 } ),
        patched( image, offsetof( RingHeader, next ), ~U64{ 0 } ),
    };
    for ( std::size_t i = 0; i < damaged.size(); ++i ) {
        EXPECT_EQ( decodedOne( damaged[ i ] ).problem, "the header is damaged" ) << i;
        EXPECT_THAT( decodedOne( damaged[ i ] ).records, SizeIs( 0 ) ) << i;
    }
}

TEST( RingTraceDecoderTest, DecodeRings_RecordThatDoesNotAddUp_GivesThoseBeforeIt )
{
    const std::string image = imageOf( 4 );
    constexpr std::size_t third = recordsStart + 2 * numberRecord;
    const std::vector< std::string > damaged = {
        patched( image, third + offsetof( RingRecord, size ), U32{ 0 } ),
        patched( image, third + offsetof( RingRecord, size ), U32{ 33 } ),
        patched( image, third + offsetof( RingRecord, size ), U32{ 16 } ),
        patched( image, third + offsetof( RingRecord, size ), U32{ 0xFFFFFFF8 } ),
        // Beyond the last record.
        patched( image, third + offsetof( RingRecord, size ), U32{ 3 * numberRecord } ),
        patched( image, third + offsetof( RingRecord, argumentsSize ), U32{ 9 } ),
        patched( image, third + offsetof( RingRecord, argumentsSize ), U32{ 0xFFFFFFFF } ),
    };
    for ( std::size_t i = 0; i < damaged.size(); ++i ) {
        EXPECT_EQ( decodedOne( damaged[ i ] ).problem, "a record is damaged" ) << i;
        EXPECT_THAT( textsOf( decodedOne( damaged[ i ] ) ), ElementsAre( "n:0|", "n:1|" ) ) << i;
    }
}

TEST( RingTraceDecoderTest, DecodeRings_RecordOfNoStatement_SaysSo )
{
    const std::string image =
        patched( imageOf( 4 ), recordsStart + numberRecord + offsetof( RingRecord, description ),
                 U32{ 999 } );

    EXPECT_EQ( decodedOne( image ).problem, "a record has no description" );
    EXPECT_THAT( textsOf( decodedOne( image ) ), ElementsAre( "n:0|" ) );
}

TEST( RingTraceDecoderTest, DecodeRings_DescriptionThatDoesNotAddUp_SaysSo )
{
    const std::string image = imageOf( 1 );
    constexpr std::size_t description = descriptionsStart + statement;
    std::string unterminated = image;
    unterminated.replace( description + 8, 24, std::string( 24, 'x' ) );
    const std::vector< std::string > damaged = {
        patched( image, description, U32{ 0 } ),
        patched( image, description, U32{ 7 } ),
        patched( image, description, U32{ 0xFFFFFFFF } ),
        patched( image, description, descriptionRoom ),
        unterminated,
    };
    for ( std::size_t i = 0; i < damaged.size(); ++i ) {
        EXPECT_EQ( decodedOne( damaged[ i ] ).problem, "a description is damaged" ) << i;
        EXPECT_THAT( decodedOne( damaged[ i ] ).records, SizeIs( 0 ) ) << i;
    }
}

TEST( RingTraceDecoderTest, DecodeRings_PositionsAtTheEndOfTheirRange_EndsWithTheLastRecord )
{
    // A record that reaches beyond the last position would start all over again.
    std::string image = imageOf( 64 );
    image = patched( image, offsetof( RingHeader, oldest ), ~U64{ 0 } - 63 );
    image = patched( image, offsetof( RingHeader, next ), ~U64{ 0 } - 31 );
    image = patched( image, recordsStart + recordRoom - 64, U32{ 64 } );

    EXPECT_EQ( decodedOne( image ).problem, "a record is damaged" );
}

TEST( RingTraceDecoderTest, DecodeRings_AnyByteChanged_EndsWithWhatCanBeRead )
{
    const std::string image = imageOf( 20, []( U32 ) { return std::string( 100, 'x' ); } );
    constexpr std::size_t mostRecords = recordRoom / sizeof( RingRecord );
    for ( std::size_t offset = 0; offset < image.size(); ++offset ) {
        for ( const int flip : { 0x01, 0x80, 0xFF } ) {
            const std::string damaged =
                patched( image, offset, static_cast< char >( image[ offset ] ^ flip ) );
            const std::vector< DecodedRing > rings = decodeRings( damaged );
            const bool isMagic = offset >= ringMagic.size() || damaged[ offset ] == '3';
            ASSERT_EQ( rings.size(), isMagic ? 1U : 0U ) << offset;
            if ( !rings.empty() ) {
                EXPECT_LE( rings[ 0 ].records.size(), mostRecords );
                EXPECT_THAT( rings[ 0 ].problem,
                             AnyOf( "", "its format is of an unknown version",
                                    "the header is damaged", "a record is damaged",
                                    "a record has no description", "a description is damaged" ) );
            }
        }
    }
}

/// Where the digit of the version stands in a magic.
constexpr std::size_t versionPlace = 13;
/// What a header of version 1 has not.
constexpr std::size_t versionOneHeader = offsetof( RingHeader, ticks );

/// The same image in version 1, all records at that time.
std::string inVersionOne( std::string image, U64 nanoseconds )
{
    RingHeader header{};
    std::memcpy( &header, image.data(), sizeof( header ) );
    for ( std::size_t at = recordsStart; at < recordsStart + header.next; at += numberRecord ) {
        image = patched( image, at + offsetof( RingRecord, nanoseconds ), nanoseconds );
        image = patched( image, at + offsetof( RingRecord, ticks ), U32{ 0 } );
    }
    image = patched( image, versionPlace, '1' );
    image = patched( image, offsetof( RingHeader, headerSize ), U32{ versionOneHeader } );
    return image.erase( versionOneHeader, sizeof( RingHeader ) - versionOneHeader );
}

/// The decoded time of each record of a ring whose records were so many ticks after that time.
std::vector< U64 >
timesOf( U64 ticks, U64 nanoseconds, const std::vector< std::pair< U64, U32 > >& records )
{
    std::string image = imageOf( static_cast< U32 >( records.size() ) );
    image = patched( image, offsetof( RingHeader, ticks ), ticks );
    image = patched( image, offsetof( RingHeader, nanoseconds ), nanoseconds );
    std::size_t at = recordsStart;
    for ( const auto& [ reading, since ] : records ) {
        image = patched( image, at + offsetof( RingRecord, nanoseconds ), reading );
        image = patched( image, at + offsetof( RingRecord, ticks ), since );
        at += numberRecord;
    }
    std::vector< U64 > times;
    for ( const DecodedRecord& record : decodedOne( image ).records ) {
        times.push_back( record.nanoseconds );
    }
    return times;
}

TEST( RingTraceDecoderTest, DecodeRings_TicksSinceAReading_AreAddedToItsTime )
{
    // Five ticks are two nanoseconds.
    EXPECT_THAT( timesOf( 1'000'000, 400'000, { { 7000, 0 }, { 7000, 5 }, { 7000, 5000 } } ),
                 ElementsAre( 7000U, 7002U, 9000U ) );
    // As long as nothing has been measured, a tick is a nanosecond.
    EXPECT_THAT( timesOf( 0, 0, { { 7000, 100 } } ), ElementsAre( 7100U ) );
    // Of a damaged header the times are wrong, and no worse.
    EXPECT_THAT( timesOf( 1, ~U64{ 0 }, { { 7000, 3 } } ), ElementsAre( 10000U ) );
}

TEST( RingTraceDecoderTest, DecodeRings_TimeALittleLessThanTheOneBefore_StandsStill )
{
    EXPECT_THAT( timesOf( 1000, 1000, { { 7000, 500 }, { 7450, 0 }, { 7450, 100 } } ),
                 ElementsAre( 7500U, 7500U, 7550U ) );
    // So much less is none of the conversion's doing: a record is damaged.
    EXPECT_THAT( timesOf( 1000, 1000, { { 9'000'000, 0 }, { 7000, 0 }, { 7000, 1 } } ),
                 ElementsAre( 9'000'000U, 7000U, 7001U ) );
}

TEST( RingTraceDecoderTest, DecodeRings_ImageOfVersionOne_IsReadToo )
{
    const std::string image = inVersionOne( imageOf( 3 ), 5'000'000'123 );

    const DecodedRing ring = decodedOne( image );

    EXPECT_EQ( ring.problem, "" );
    EXPECT_EQ( ring.written, 3U );
    EXPECT_THAT( textsOf( ring ), ElementsAre( "n:0|", "n:1|", "n:2|" ) );
    EXPECT_EQ( ring.records[ 2 ].nanoseconds, 5'000'000'123U );
    EXPECT_EQ( decodedOne( image.substr( 0, versionOneHeader - 1 ) ).problem,
               "the header is cut off" );
    EXPECT_EQ( decodedOne( patched( imageOf( 3 ), versionPlace, '1' ) ).problem,
               "the header is damaged" );
}

TEST( RingTraceDecoderTest, DecodeRings_ImageOfAnUnknownVersion_SaysSo )
{
    for ( const char version : { '0', '3', '9' } ) {
        const DecodedRing ring = decodedOne( patched( imageOf( 3 ), versionPlace, version ) );

        EXPECT_EQ( ring.problem, "its format is of an unknown version" );
        EXPECT_THAT( ring.records, SizeIs( 0 ) );
    }
}

TEST( RingTraceDecoderTest, DecodeRings_ArgumentsThatCannotBeRead_LeaveAQuestionMark )
{
    constexpr U8 text = static_cast< U8 >( RingKind::text );
    constexpr U8 number = static_cast< U8 >( RingKind::unsigned8 );
    constexpr U8 wide = static_cast< U8 >( RingKind::unsigned64 );
    constexpr U8 group = static_cast< U8 >( RingKind::group );
    const auto textOf = []( const std::vector< U8 >& arguments ) {
        const DecodedRing ring = decodedOne( imageWithArguments( arguments ) );
        EXPECT_EQ( ring.problem, "" );
        EXPECT_THAT( ring.records, SizeIs( 1 ) );
        return ring.records.at( 0 ).text;
    };

    EXPECT_EQ( textOf( { number, 200 } ), "n:200|" );
    EXPECT_EQ( textOf( { text, 2, 'o', 'k' } ), "n:ok|" );
    EXPECT_EQ( textOf( { group, 4, 0, number, 1, number, 2 } ), "n:1 2|" );
    EXPECT_EQ( textOf( { group, 0, 0 } ), "n:|" );

    // What follows such an argument cannot be read either.
    EXPECT_EQ( textOf( { number, 1, 99, number, 2 } ), "n:1| ?" );
    EXPECT_EQ( textOf( {} ), "n:?|" );
    EXPECT_EQ( textOf( { 0 } ), "n:?|" );
    EXPECT_EQ( textOf( { 99 } ), "n:?|" );
    EXPECT_EQ( textOf( { number } ), "n:?|" );
    EXPECT_EQ( textOf( { wide, 1, 2, 3, 4, 5, 6, 7 } ), "n:?|" );
    EXPECT_EQ( textOf( { text } ), "n:?|" );
    EXPECT_EQ( textOf( { text, 3, 'o', 'k' } ), "n:?|" );
    EXPECT_EQ( textOf( { group, 4 } ), "n:?|" );
    EXPECT_EQ( textOf( { group, 5, 0, number, 1, number, 2 } ), "n:?|" );
    EXPECT_EQ( textOf( { group, 3, 0, number, 1, number } ), "n:?|" );
    // Groups do not nest.
    EXPECT_EQ( textOf( { group, 5, 0, group, 2, 0, number, 1 } ), "n:?|" );
}

TEST( RingTraceDecoderTest, DecodeRings_MoreArgumentsThanPlaces_FollowTheText )
{
    constexpr U8 number = static_cast< U8 >( RingKind::unsigned8 );

    const DecodedRing ring =
        decodedOne( imageWithArguments( { number, 1, number, 2, number, 3 } ) );

    EXPECT_THAT( textsOf( ring ), ElementsAre( "n:1| 2 3" ) );
}

TEST( RingTraceDecoderTest, DecodedRecordText_OfARecord_HasTimePlaceAndText )
{
    EXPECT_EQ( decodedRecordText( { 12'000'000'345, "a/b.cpp", 12, "create", "made it" } ),
               "12.000000345 a/b.cpp:12 create: made it" );
    EXPECT_EQ( decodedRecordText( { 999'999'999, "a/b.cpp", 1, "f", "" } ),
               "0.999999999 a/b.cpp:1 f: " );
}

} // namespace

} // namespace Agent
