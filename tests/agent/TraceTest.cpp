#include "agent/base/Trace.h"

#include "tests/support/AllocationCount.h"
#include "tests/support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace Agent {

namespace {

using ::testing::ElementsAre;
using ::testing::ExitedWithCode;
using ::testing::StrEq;
using TestSupport::RecordedLine;
using TestSupport::TraceRecorder;

/// Counts how often it is written to a stream.
struct CountingPiece
{
    mutable int writings = 0;

    friend std::ostream& operator<<( std::ostream& stream, const CountingPiece& piece )
    {
        ++piece.writings;
        return stream << "counted";
    }
};

TEST( TraceTest, Trace_LevelOff_FormatsAndAllocatesNothing )
{
    const TraceHandle handle( "TraceTest.off" );
    const TraceRecorder traces( "TraceTest.off", ~( 1U << 9 ) );
    const CountingPiece piece;
    const std::size_t before = TestSupport::allocationCount();

    trace( handle, 9, "piece: ", piece, 17, std::string_view( "text" ) );

    EXPECT_EQ( TestSupport::allocationCount(), before );
    EXPECT_EQ( piece.writings, 0 );
    EXPECT_THAT( traces.lines(), ElementsAre() );
}

TEST( TraceTest, Trace_LevelOn_WritesThePiecesOnceAsOneLine )
{
    const TraceHandle handle( "TraceTest.on" );
    const TraceRecorder traces( "TraceTest.on", 1U << 9 );
    const CountingPiece piece;

    const U32 here = __LINE__ + 1;
    trace( handle, 9, "piece: ", piece, ' ', -17 );

    ASSERT_EQ( traces.lines().size(), 1U );
    const RecordedLine line = traces.lines().front();
    EXPECT_EQ( piece.writings, 1 );
    EXPECT_EQ( line.facility, "TraceTest.on" );
    EXPECT_EQ( line.level, 9U );
    EXPECT_EQ( line.file, "tests/agent/TraceTest.cpp" );
    EXPECT_EQ( line.line, here );
    EXPECT_EQ( line.function, "TestBody" );
    EXPECT_EQ( line.text, "piece: counted -17" );
}

TEST( TraceTest, TraceLevelsIs_OneBitALevel_SwitchesThatLevelOnly )
{
    const TraceHandle handle( "TraceTest.bits" );
    const TraceRecorder traces( "TraceTest.bits", 1U << 0 | 1U << 4 | 1U << 31 );

    for ( int level = 0; level < 32; ++level ) {
        trace( handle, level, level );
    }

    EXPECT_THAT( traces.texts(), ElementsAre( "0", "4", "31" ) );
    EXPECT_EQ( handle.mask(), 0x80000011U );
}

TEST( TraceTest, TraceLevelsIs_OfAFacility_SetsAllItsHandlesAndNoOther )
{
    const TraceHandle first( "TraceTest.shared" );
    const TraceHandle second( "TraceTest.shared" );
    const TraceHandle other( "TraceTest.other" );
    TraceRecorder traces( "TraceTest.shared", 1U << 4 );

    EXPECT_TRUE( first.enabled( 4 ) );
    EXPECT_TRUE( second.enabled( 4 ) );
    EXPECT_FALSE( other.enabled( 4 ) );
    EXPECT_EQ( traceLevels( "TraceTest.shared" ), 0x10U );

    traces.levelsIs( "TraceTest.shared", 0 );
    EXPECT_FALSE( first.enabled( 4 ) );
    EXPECT_FALSE( second.enabled( 4 ) );
}

TEST( TraceTest, TraceLevelsIs_BeforeTheHandleIsMade_AppliesToIt )
{
    const TraceRecorder traces( "TraceTest.later", 1U << 7 );

    const TraceHandle handle( "TraceTest.later" );

    EXPECT_EQ( handle.mask(), 0x80U );
    EXPECT_EQ( traceLevels( "TraceTest.later" ), 0x80U );
}

TEST( TraceTest, TraceLevelsIs_OfEveryFacility_SetsPresentAndLaterHandles )
{
    const TraceHandle present( "TraceTest.present" );
    TraceRecorder traces( "TraceTest.present", 1U << 1 );

    traces.levelsIs( "*", 1U << 2 );
    const TraceHandle later( "TraceTest.muchLater" );
    EXPECT_EQ( present.mask(), 4U );
    EXPECT_EQ( later.mask(), 4U );

    // A facility set afterwards has its own levels.
    traces.levelsIs( "TraceTest.present", 1U << 3 );
    EXPECT_EQ( present.mask(), 8U );
    EXPECT_EQ( later.mask(), 4U );
}

TEST( TraceTest, TraceFacilities_OfTheHandlesThatLive_AreSortedAndStandOnce )
{
    // The agent's services have a handle of their own, for their SDK calls.
    {
        const TraceHandle b( "TraceTest.b" );
        const TraceHandle a( "TraceTest.a" );
        const TraceHandle again( "TraceTest.b" );
        EXPECT_THAT( traceFacilities(), ElementsAre( "ApiPelora", "TraceTest.a", "TraceTest.b" ) );
    }

    EXPECT_THAT( traceFacilities(), ElementsAre( "ApiPelora" ) );
}

TEST( TraceTest, TraceMaskFromText_LevelsAndRanges_SetTheirBits )
{
    EXPECT_EQ( traceMaskFromText( "0" ), 1U );
    EXPECT_EQ( traceMaskFromText( "4" ), 0x10U );
    EXPECT_EQ( traceMaskFromText( "0,4,7-9" ), 0x391U );
    EXPECT_EQ( traceMaskFromText( "31" ), 0x80000000U );
    EXPECT_EQ( traceMaskFromText( "0-31" ), 0xFFFFFFFFU );
    EXPECT_EQ( traceMaskFromText( "5-5" ), 0x20U );
    EXPECT_EQ( traceMaskFromText( "all" ), 0xFFFFFFFFU );
    EXPECT_EQ( traceMaskFromText( "none" ), 0U );
}

TEST( TraceTest, TraceMaskFromText_AnythingElse_IsRefused )
{
    for ( const char* text :
          { "",      "32",          "-1",   "4,",   ",4",  "4,,5", "9-7",   "4-",  "-4",
            "4-5-6", " 4",          "4 ",   "four", "0x4", "+4",   "all,4", "4.5", "*",
            "4;5",   "99999999999", "4-32", "04",   "00",  "4,05", "04-9",  "4-09" } ) {
        EXPECT_EQ( traceMaskFromText( text ), std::nullopt ) << '"' << text << '"';
    }
}

TEST( TraceTest, TraceSettingsFromText_SeveralFacilities_GivesTheMaskOfEach )
{
    const auto settings =
        traceSettingsFromText( "ApiPelora=4;PeloraTcamRangeChecker=0,8-9;*=none" );

    ASSERT_TRUE( settings.has_value() );
    EXPECT_EQ( *settings,
               ( std::map< std::string, U32 >{
                   { "*", 0 }, { "ApiPelora", 0x10 }, { "PeloraTcamRangeChecker", 0x301 } } ) );
}

TEST( TraceTest, TraceSettingsFromText_Malformed_IsRefused )
{
    for ( const char* text :
          { "", "A", "=4", "A=", "A=4;", ";A=4", "A=4;;B=5", "A=x", "A=4;B", "A=4 B=5", "A==4" } ) {
        EXPECT_EQ( traceSettingsFromText( text ), std::nullopt ) << '"' << text << '"';
    }
}

TEST( TraceTest, TraceSinkIs_Replaced_GivesBackThePreviousOne )
{
    std::string first;
    std::string second;
    const TraceHandle handle( "TraceTest.sink" );
    const TraceSink original = traceSinkIs( [ & ]( const TraceLine& line ) { first = line.text; } );

    writeTraceLine( handle, 4, {}, "one" );
    const TraceSink back = traceSinkIs( [ & ]( const TraceLine& line ) { second = line.text; } );
    writeTraceLine( handle, 4, {}, "two" );
    back( { "", 0, {}, "three" } );
    traceSinkIs( original );

    EXPECT_EQ( first, "three" );
    EXPECT_EQ( second, "two" );
}

TEST( TraceTest, WriteTraceLine_LevelOff_IsWrittenAllTheSame )
{
    const TraceHandle handle( "TraceTest.unasked" );
    const TraceRecorder traces;

    writeTraceLine( handle, 4, { "a/b.cpp", 12, "f" }, "text" );

    EXPECT_THAT( traces.texts(), ElementsAre( "text" ) );
}

TEST( TraceTest, TraceLineText_OfALine_NamesFacilityLevelAndPlace )
{
    EXPECT_EQ( traceLineText( { "ApiPelora", 4, { "PeloraTcam/X.cpp", 12, "create" }, "made it" } ),
               "ApiPelora 4 PeloraTcam/X.cpp:12 create: made it" );
}

TEST( TraceTest, Trace_WithoutASink_WritesTheLineToStandardError )
{
    const TraceHandle handle( "TraceTest.plain" );
    const TraceRecorder levels( "TraceTest.plain", 1U << 4 );
    const TraceSink previous = traceSinkIs( {} );
    ::testing::internal::CaptureStderr();

    writeTraceLine( handle, 4, { "a/b.cpp", 12, "f" }, "text" );

    EXPECT_EQ( ::testing::internal::GetCapturedStderr(), "TraceTest.plain 4 a/b.cpp:12 f: text\n" );
    traceSinkIs( previous );
}

/// Prints the masks of the facilities A and B of a process with that environment, and ends it.
[[noreturn]] void printMasks()
{
    const TraceHandle a( "A" );
    const TraceHandle b( "B" );
    std::fprintf( stderr, "A=%x B=%x\n", a.mask(), b.mask() );
    std::exit( 0 );
}

/// Each test runs itself again, so that the settings are read from the environment it has set.
class TraceEnvironmentTest : public ::testing::Test
{
  protected:
    TraceEnvironmentTest() { GTEST_FLAG_SET( death_test_style, "threadsafe" ); }

    ~TraceEnvironmentTest() override
    {
        unsetenv( "PELORA_TRACE" );
        GTEST_FLAG_SET( death_test_style, "fast" );
    }
};

TEST_F( TraceEnvironmentTest, Levels_FromTheEnvironment_ApplyFromTheStart )
{
    setenv( "PELORA_TRACE", "A=4;B=0,8-9", 1 );
    EXPECT_EXIT( printMasks(), ExitedWithCode( 0 ), StrEq( "A=10 B=301\n" ) );
}

TEST_F( TraceEnvironmentTest, Levels_OfEveryFacility_ApplyWhereThereAreNoOthers )
{
    setenv( "PELORA_TRACE", "B=1;*=2", 1 );
    EXPECT_EXIT( printMasks(), ExitedWithCode( 0 ), StrEq( "A=4 B=2\n" ) );
}

TEST_F( TraceEnvironmentTest, Levels_EnvironmentNotSet_AreOff )
{
    unsetenv( "PELORA_TRACE" );
    EXPECT_EXIT( printMasks(), ExitedWithCode( 0 ), StrEq( "A=0 B=0\n" ) );
}

TEST_F( TraceEnvironmentTest, Levels_EnvironmentEmpty_AreOff )
{
    setenv( "PELORA_TRACE", "", 1 );
    EXPECT_EXIT( printMasks(), ExitedWithCode( 0 ), StrEq( "A=0 B=0\n" ) );
}

TEST_F( TraceEnvironmentTest, Levels_MalformedEnvironment_AreOffAndItSaysSo )
{
    setenv( "PELORA_TRACE", "A=4;B=nine", 1 );
    EXPECT_EXIT( printMasks(), ExitedWithCode( 0 ),
                 StrEq( "PELORA_TRACE: \"A=4;B=nine\" is not of the form FACILITY=LEVELS;...\n"
                        "A=0 B=0\n" ) );
}

} // namespace

} // namespace Agent
