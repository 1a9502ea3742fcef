// traceBoth: statements of the ring-buffer trace and of the text trace

#include "agent/base/RingTrace.h"
#include "tests/agent/RingTraceReading.h"
#include "tests/agent/RingTraceStatements.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace TraceBothTesting {

/// A type of several values, and one that contains it.
struct Range
{
    Agent::U32 low;
    Agent::U8 high;

    friend std::ostream& operator<<( std::ostream& stream, const Range& range )
    {
        return stream << range.low << ".." << static_cast< int >( range.high );
    }
};

void packForRing( Agent::RingPacker& packer, const Range& range )
{
    packForRing( packer, range.low );
    packForRing( packer, range.high );
}

struct NamedRange
{
    const char* name;
    Range range;

    friend std::ostream& operator<<( std::ostream& stream, const NamedRange& named )
    {
        return stream << named.name << '=' << named.range;
    }
};

void packForRing( Agent::RingPacker& packer, const NamedRange& named )
{
    packForRing( packer, named.name );
    packForRing( packer, named.range );
}

/// A type of a text of three characters.
struct Code
{
    Agent::U8 number;

    friend std::ostream& operator<<( std::ostream& stream, Code code )
    {
        return stream << "code" << int{ code.number };
    }
};

std::array< char, 3 > ringText( Code code )
{
    return { 'c', 'd', static_cast< char >( '0' + code.number ) };
}

void packForRing( Agent::RingPacker& packer, Code code )
{
    const auto text = ringText( code );
    packForRing( packer, std::string_view( text.data(), text.size() ) );
}

enum class Colour : Agent::U8
{
    red = 65,
};

std::ostream& operator<<( std::ostream& stream, Colour )
{
    return stream << "red";
}

} // namespace TraceBothTesting

namespace Agent {

namespace {

using ::testing::ElementsAre;
using TraceBothTesting::Code;
using TraceBothTesting::Colour;
using TraceBothTesting::NamedRange;
using TraceBothTesting::Range;

/// The last records of the agent's ring-buffer trace, the oldest first.
std::vector< DecodedRecord > lastRecords( std::size_t count )
{
    std::vector< DecodedRecord > records = decoded( ringTrace() ).records;
    records.erase( records.begin(), records.end() - static_cast< std::ptrdiff_t >( count ) );
    return records;
}

std::string lastText()
{
    return lastRecords( 1 ).front().text;
}

class TraceBothTest : public ::testing::Test
{
  protected:
    TraceHandle handle_{ "TraceBothTest" };
};

TEST_F( TraceBothTest, TraceBoth_AllKindsOfPieces_StandInTheirPlaces )
{
    const std::string string = "string";
    const char* pointer = "pointer";

    traceBoth( handle_, 4, "u8:", U8{ 255 }, " u16:", U16{ 65535 }, " u32:", U32{ 4294967295 } );
    EXPECT_EQ( lastText(), "u8:255 u16:65535 u32:4294967295" );
    traceBoth( handle_, 4, "u64:", ~U64{ 0 }, " s8:", std::int8_t{ -128 }, " s32:", -14 );
    EXPECT_EQ( lastText(), "u64:18446744073709551615 s8:-128 s32:-14" );
    traceBoth( handle_, 4, "hex:", hex( 0xBEEF ), " bool:", true, false, " real:", 1.5 );
    EXPECT_EQ( lastText(), "hex:beef bool:10 real:1.5" );
    traceBoth( handle_, 4, string, ' ', pointer, " ", std::string_view( "view" ) );
    EXPECT_EQ( lastText(), "string pointer view" );
    traceBoth( handle_, 4, "colour:", Colour::red );
    EXPECT_EQ( lastText(), "colour:65" );
    traceBoth( handle_, 4 );
    EXPECT_EQ( lastText(), "" );
}

TEST_F( TraceBothTest, TraceBoth_PieceOfSeveralValues_StandsAtOnePlace )
{
    traceBoth( handle_, 4, "range:", Range{ 80, 90 }, " mod:", 3 );
    EXPECT_EQ( lastText(), "range:80 90 mod:3" );

    traceBoth( handle_, 4, NamedRange{ "ports", { 1, 2 } }, "|", NamedRange{ "", { 3, 4 } } );
    EXPECT_EQ( lastText(), "ports 1 2| 3 4" );
}

TEST_F( TraceBothTest, TraceBoth_TypeOfAFixedText_StandsAsItsText )
{
    traceBoth( handle_, 4, "code:", Code{ 7 }, " mod:", 3 );
    EXPECT_EQ( lastText(), "code:cd7 mod:3" );

    // Among pieces that are packed in the other way.
    traceBoth( handle_, 4, Range{ 1, 2 }, "|", Code{ 8 }, "|", Code{ 9 } );
    EXPECT_EQ( lastText(), "1 2|cd8|cd9" );
}

// The one goes straight into the ring, the other by way of a packer.
static_assert( Agent::Detail::DirectPiece< const Code > );
static_assert( !Agent::Detail::DirectPiece< const Range > );

TEST_F( TraceBothTest, TraceBoth_NullString_StandsAsNoText )
{
    const char* const none = nullptr;
    traceBoth( handle_, 4, "before ", none, " behind" );
    EXPECT_EQ( lastText(), "before  behind" );
    traceBoth( handle_, 4, Range{ 1, 2 }, "|", none, "|" );
    EXPECT_EQ( lastText(), "1 2||" );
}

TEST_F( TraceBothTest, TraceBoth_TextsLongerThanARecord_AreCutOff )
{
    const std::string text( 254, 'x' );
    const std::string longer( 300, 'y' );

    traceBoth( handle_, 4, text, text, text, text );
    EXPECT_EQ( lastText(), text + text + text + text );
    traceBoth( handle_, 4, text, text, text, longer, "|", 7 );
    EXPECT_EQ( lastText(), text + text + text + "?|?" );
    traceBoth( handle_, 4, longer, "|", U8{ 7 } );
    EXPECT_EQ( lastText(), longer.substr( 0, 255 ) + "|7" );
}

TEST_F( TraceBothTest, TraceBoth_ArrayThatMayChange_IsAnArgument )
{
    char text[ 8 ] = "one";
    for ( const char* next : { "two", "three" } ) {
        traceBoth( handle_, 4, "text:", text );
        std::strncpy( text, next, sizeof( text ) - 1 );
    }

    const std::vector< DecodedRecord > records = lastRecords( 2 );
    EXPECT_EQ( records[ 0 ].text, "text:one" );
    EXPECT_EQ( records[ 1 ].text, "text:two" );
}

TEST_F( TraceBothTest, TraceBoth_LevelOn_WritesTheTextToo )
{
    const TestSupport::TraceRecorder traces( "TraceBothTest", 1U << 4 );

    const U32 here = __LINE__ + 1;
    traceBoth( handle_, 4, "colour:", Colour::red, " range:", Range{ 80, 90 } );

    ASSERT_EQ( traces.lines().size(), 1U );
    EXPECT_EQ( traces.lines().front().text, "colour:red range:80..90" );
    EXPECT_EQ( traces.lines().front().line, here );
    const DecodedRecord record = lastRecords( 1 ).front();
    EXPECT_EQ( record.text, "colour:65 range:80 90" );
    EXPECT_EQ( record.file, "tests/agent/TraceBothTest.cpp" );
    EXPECT_EQ( record.line, here );
    EXPECT_EQ( record.function, "TestBody" );
}

TEST_F( TraceBothTest, TraceBoth_LevelOff_WritesTheRingOnly )
{
    const TestSupport::TraceRecorder traces;
    const U64 before = ringTrace().count();

    traceBoth( handle_, 4, "quiet" );

    EXPECT_THAT( traces.lines(), ElementsAre() );
    EXPECT_EQ( ringTrace().count(), before + 1 );
    EXPECT_EQ( lastText(), "quiet" );
}

TEST_F( TraceBothTest, TraceBoth_StatementDescribedBefore_AllocatesNothing )
{
    const std::string text = "a text that is too long for the string itself";
    const auto statement = [ & ]( int number ) {
        traceBoth( handle_, 4, "number:", number, text, Range{ 1, 2 } );
    };
    statement( 1 );
    const std::size_t before = TestSupport::allocationCount();

    for ( int number = 2; number < 100; ++number ) {
        statement( number );
    }

    EXPECT_EQ( TestSupport::allocationCount(), before );
    EXPECT_EQ( lastText(), "number:99" + text + "1 2" );
}

TEST_F( TraceBothTest, TraceBoth_TwoStatementsOnOneLine_AreToldApart )
{
    // clang-format off
    for ( int i = 0; i < 2; ++i ) { traceBoth( handle_, 4, "left ", 1 ); traceBoth( handle_, 4, "right", 2 ); }
    // clang-format on

    std::vector< std::string > texts;
    for ( const DecodedRecord& record : lastRecords( 4 ) ) {
        texts.push_back( record.text );
    }
    EXPECT_THAT( texts, ElementsAre( "left 1", "right2", "left 1", "right2" ) );
}

/// Has a namesake in the other unit.
void writeStatement( const TraceHandle& handle )
{
    traceBoth( handle, 4, "unit one: ", 1 );
}

TEST_F( TraceBothTest, TraceBoth_StatementsOfTwoUnits_AreToldApart )
{
    writeStatement( handle_ );
    EXPECT_EQ( lastText(), "unit one: 1" );
    RingTraceStatements::writeFromUnitTwo();
    EXPECT_EQ( lastText(), "unit two: 2" );
    writeStatement( handle_ );
    EXPECT_EQ( lastText(), "unit one: 1" );
}

TEST_F( TraceBothTest, TraceBoth_StatementInALoop_IsDescribedOnce )
{
    const auto statement = [ this ]( int number ) { traceBoth( handle_, 4, "again ", number ); };
    statement( 1 );
    RingHeader before{};
    std::memcpy( &before, ringTrace().image().data(), sizeof( before ) );

    statement( 2 );

    RingHeader after{};
    std::memcpy( &after, ringTrace().image().data(), sizeof( after ) );
    EXPECT_EQ( after.descriptionsUsed, before.descriptionsUsed );
    EXPECT_EQ( after.count, before.count + 1 );
}

} // namespace

} // namespace Agent
