#include "agent/base/TextPieces.h"

#include "tests/support/AllocationCount.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iomanip>
#include <limits>
#include <locale>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace TextPiecesTesting {

enum class Colour : Agent::U8
{
    red = 65,
};

std::ostream& operator<<( std::ostream& stream, Colour )
{
    return stream << "red";
}

enum Plain : Agent::U32
{
    greatest = 0xFFFFFFFF,
};

/// Leaves its stream in hexadecimal, padded, and with another precision.
struct Untidy
{
    friend std::ostream& operator<<( std::ostream& stream, const Untidy& )
    {
        return stream << std::hex << std::showbase << std::setprecision( 2 ) << std::setfill( '_' )
                      << 255 << std::setw( 9 );
    }
};

/// Writes character by character, then a lot at once.
struct Lengthy
{
    friend std::ostream& operator<<( std::ostream& stream, const Lengthy& )
    {
        for ( int i = 0; i < 700; ++i ) {
            stream.put( 'a' );
        }
        return stream << std::string( 2000, 'b' );
    }
};

/// Cannot be printed.
struct Broken
{
    friend std::ostream& operator<<( std::ostream&, const Broken& )
    {
        throw std::runtime_error( "broken" );
    }
};

/// Prints what other pieces are as a text.
struct Nested
{
    friend std::ostream& operator<<( std::ostream& stream, const Nested& )
    {
        return stream << Agent::joinPieces( "<", Colour::red, 7, ">" );
    }
};

} // namespace TextPiecesTesting

namespace Agent {

namespace {

using namespace TextPiecesTesting;

/// What an output stream prints.
template< class Piece >
std::string printed( const Piece& piece )
{
    std::ostringstream stream;
    stream << piece;
    return stream.str();
}

/// An integer prints as a stream prints it, at both ends of its range and around 0.
template< class Integer >
void expectAsPrinted()
{
    using Limits = std::numeric_limits< Integer >;
    for ( const Integer value :
          { Limits::min(), static_cast< Integer >( Limits::min() + 1 ),
            static_cast< Integer >( -1 ), Integer{ 0 }, Integer{ 1 }, Integer{ 99 }, Integer{ 100 },
            static_cast< Integer >( Limits::max() - 1 ), Limits::max() } ) {
        EXPECT_EQ( joinPieces( value ), printed( value ) );
    }
}

TEST( TextPiecesTest, JoinPieces_OneByteIntegers_PrintAsNumbers )
{
    EXPECT_EQ( joinPieces( U8{ 65 }, " ", static_cast< signed char >( -3 ), " ", 'A' ), "65 -3 A" );
    EXPECT_EQ( joinPieces( U8{ 0 }, " ", U8{ 255 } ), "0 255" );
    EXPECT_EQ( joinPieces( std::int8_t{ -128 }, " ", std::int8_t{ 127 } ), "-128 127" );
}

TEST( TextPiecesTest, JoinPieces_Integers_PrintAsAStreamPrintsThem )
{
    expectAsPrinted< short >();
    expectAsPrinted< unsigned short >();
    expectAsPrinted< int >();
    expectAsPrinted< unsigned >();
    expectAsPrinted< long >();
    expectAsPrinted< unsigned long >();
    expectAsPrinted< long long >();
    expectAsPrinted< unsigned long long >();
    EXPECT_EQ( joinPieces( std::numeric_limits< std::int64_t >::min() ), "-9223372036854775808" );
    EXPECT_EQ( joinPieces( ~U64{ 0 } ), "18446744073709551615" );
}

TEST( TextPiecesTest, JoinPieces_ManyKinds_StandsAsAStreamPrintsThem )
{
    EXPECT_EQ(
        joinPieces( "unit: ", 0U, " rc:", -14, ' ', true, std::string( " s" ), U64{ 1 } << 40 ),
        "unit: 0 rc:-14 1 s1099511627776" );
    EXPECT_EQ( joinPieces(), "" );
    EXPECT_EQ( joinPieces( true, false, Colour::red, greatest ), "10red4294967295" );
    for ( const double number : { 0.0, -0.0, 1.5, 1e6, 1e-7, 123456789.0, 1.0 / 3 } ) {
        EXPECT_EQ( joinPieces( number ), printed( number ) );
    }
}

TEST( TextPiecesTest, JoinPieces_Pointers_StandAsAStreamPrintsThem )
{
    const int number = 0;
    const int* const pointer = &number;
    const void* const none = nullptr;

    EXPECT_EQ( joinPieces( pointer ), printed( pointer ) );
    EXPECT_EQ( joinPieces( none ), "0" );
    EXPECT_EQ( joinPieces( nullptr ), "nullptr" );
}

TEST( TextPiecesTest, JoinPieces_StringsOfAnyType_StandAsTheyAre )
{
    char changing[ 8 ] = "array";
    char* pointer = changing;
    const unsigned char bytes[] = "bytes";
    const std::string withNull( "a\0b", 3 );

    EXPECT_EQ( joinPieces( changing, ' ', pointer, ' ', bytes, ' ', std::string_view( "view" ) ),
               "array array bytes view" );
    EXPECT_EQ( joinPieces( withNull, '\0' ), std::string( "a\0b\0", 4 ) );
    EXPECT_EQ( joinPieces( "", std::string(), std::string_view() ), "" );
}

TEST( TextPiecesTest, JoinPieces_NullString_PrintsNothing )
{
    const char* const none = nullptr;

    EXPECT_EQ( joinPieces( "a", none, "b" ), "ab" );
}

TEST( TextPiecesTest, JoinPieces_AfterAPieceThatChangesItsStream_PrintAsEver )
{
    EXPECT_EQ( joinPieces( Untidy(), 255, true, ' ', Colour::red, 0.125, Untidy() ),
               "0xff2551 red0.1250xff" );
}

TEST( TextPiecesTest, JoinPieces_PieceThatThrows_PassesItOn )
{
    EXPECT_THROW( static_cast< void >( joinPieces( "a", Broken() ) ), std::runtime_error );
}

TEST( TextPiecesTest, JoinPieces_PieceThatJoinsPieces_StandsInItsPlace )
{
    EXPECT_EQ( joinPieces( "a", Nested(), Colour::red ), "a<red7>red" );
}

TEST( TextPiecesTest, JoinPieces_LongText_IsWhole )
{
    // Around the length from which a text is on the heap, with each kind of piece at the end.
    for ( std::size_t length = 480; length < 1040; ++length ) {
        const std::string start( length, 'x' );
        EXPECT_EQ( joinPieces( start, -1234567, 'y' ), start + "-1234567y" );
        EXPECT_EQ( joinPieces( start, Colour::red, start ), start + "red" + start );
        EXPECT_EQ( joinPieces( start, hex( ~U64{ 0 } ) ), start + "ffffffffffffffff" );
    }
    EXPECT_EQ( joinPieces( "x", Lengthy(), 1 ),
               "x" + std::string( 700, 'a' ) + std::string( 2000, 'b' ) + "1" );
}

TEST( TextPiecesTest, JoinPieces_AnotherLocaleSet_PrintsAsInTheClassicOne )
{
    struct Grouping : std::numpunct< char >
    {
        char do_thousands_sep() const override { return '.'; }

        std::string do_grouping() const override { return "\3"; }

        char do_decimal_point() const override { return ','; }
    };

    const std::locale previous =
        std::locale::global( std::locale( std::locale::classic(), new Grouping ) );

    EXPECT_EQ( joinPieces( 1234567, ' ', 1.5, ' ', hex( 0x1234567 ), ' ', greatest ),
               "1234567 1.5 1234567 4294967295" );

    std::locale::global( previous );
}

TEST( TextPiecesTest, AppendPiece_TextOfUsualLength_AllocatesNothing )
{
    const std::string string = "a string that is too long to be kept without the heap";
    const std::size_t before = TestSupport::allocationCount();

    TextBuffer text;
    appendPiece( text, string );
    appendPiece( text, -17 );
    appendPiece( text, Colour::red );
    appendPiece( text, hex( 255 ) );

    EXPECT_EQ( TestSupport::allocationCount(), before );
    EXPECT_EQ( text.view(), string + "-17redff" );
}

TEST( TextPiecesTest, Hex_OfANumber_PrintsLowerCaseDigitsWithoutPrefix )
{
    EXPECT_EQ( joinPieces( hex( 0xABCDEFU ), " ", hex( U8{ 200 } ), " ", hex( 0 ) ),
               "abcdef c8 0" );
    // A negative number as wide as its type; the next number is in decimal again.
    EXPECT_EQ( joinPieces( hex( S32{ -1 } ), " ", 10 ), "ffffffff 10" );
    EXPECT_EQ( joinPieces( hex( ~U64{ 0 } ), " ", hex( std::int8_t{ -128 } ) ),
               "ffffffffffffffff 80" );
}

TEST( TextPiecesTest, Hex_InAStream_PrintsTheSameAndLeavesTheFlags )
{
    std::ostringstream stream;

    stream << hex( 0xABCDEFU ) << ' ' << 10;

    EXPECT_EQ( stream.str(), "abcdef 10" );
}

} // namespace

} // namespace Agent
