#include "sdk/SdkCall.h"

#include "sdk/ForwardingSdk.h"
#include "tests/support/AllocationCount.h"
#include "tests/support/LockRecorder.h"
#include "tests/support/RecordingSdk.h"
#include "tests/support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno> // program_invocation_short_name
#include <csignal>
#include <cstdio>
#include <iostream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace SdkCallTesting {

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

} // namespace

// The call sites under test, with the lines they stand on. Each stands on one line, because
// compilers differ in which line a longer one has.

constexpr int checkedLine = __LINE__ + 4;

int destroyChecked( int unit, bcm_range_t rangeId )
{
    return SDK_CHECKED_CALL( bcm_range_destroy, unit, rangeId );
}

constexpr int tracedLine = __LINE__ + 4;

int destroyTraced( int unit, bcm_range_t rangeId )
{
    return SDK_TRACED_CALL( bcm_range_destroy, unit, rangeId );
}

constexpr int givenTextLine = __LINE__ + 4;

int destroyWithTextGiven( int unit, bcm_range_t id )
{
    return SDK_CHECKED_CALL_AS( "bcm_range_destroy( u, ( R )id )", bcm_range_destroy, unit, id );
}

constexpr int tracedGivenTextLine = __LINE__ + 4;

int destroyTracedWithTextGiven( int unit, bcm_range_t id )
{
    return SDK_TRACED_CALL_AS( "bcm_range_destroy( u, ( R )id )", bcm_range_destroy, unit, id );
}

/// A call too long for one line.
int attachChecked( int unitOfTheChip, bcm_field_entry_t entryThatIsToBeCounted, int statisticId )
{
    return SDK_CHECKED_CALL( bcm_field_entry_stat_attach, unitOfTheChip, entryThatIsToBeCounted,
                             statisticId + statisticId );
}

namespace {

using ::testing::ElementsAre;
using ::testing::KilledBySignal;
using ::testing::StrEq;
using TestSupport::LockRecorder;
using TestSupport::RecordingSdk;
using TestSupport::returns;
using TestSupport::TraceRecorder;

constexpr Agent::U32 level4 = 1U << 4;

std::string placeOf( int line )
{
    return "tests/sdk/SdkCallTest.cpp:" + std::to_string( line );
}

std::string assertionLine( int line, const std::string& function )
{
    return std::string( program_invocation_short_name ) + ": " + placeOf( line ) + ": " + function +
           ": Assertion `0' failed.\n";
}

/// A thread of the agent that works on its state: it holds the activity lock.
class SdkCallTest : public ::testing::Test
{
  protected:
    SdkCallTest()
    {
        Shim::sdk_ = &sdk_;
        Agent::activityLock().take();
    }

    ~SdkCallTest() override
    {
        Agent::activityLock().release();
        Shim::sdk_ = nullptr;
    }

    RecordingSdk sdk_;
};

/// The same thread while it runs a script: it holds the interpreter lock too.
class SdkCallFromScriptTest : public SdkCallTest
{
  protected:
    SdkCallFromScriptTest() { Agent::interpreterLock().take(); }

    ~SdkCallFromScriptTest() override { Agent::interpreterLock().release(); }

    /// Puts the calls that the access object gets between the events of the locks.
    void recordCallsAmong( LockRecorder& locks )
    {
        sdk_.on.preApiCall = [ &locks ] { locks.eventIs( "preApiCall" ); };
        sdk_.on.bcm_range_destroy = [ &locks ]( int, bcm_range_t ) {
            locks.eventIs( "bcm_range_destroy" );
            return 0;
        };
    }
};

// ---- The call itself ---------------------------------------------------------------------------

TEST_F( SdkCallTest, CheckedCall_Succeeding_MakesTheCallOnceAfterPreApiCall )
{
    EXPECT_EQ( destroyChecked( 2, 7 ), 0 );

    EXPECT_THAT( sdk_.allCalls(), ElementsAre( "preApiCall()", "bcm_range_destroy( 2, 7 )" ) );
}

TEST_F( SdkCallTest, CheckedCall_PositiveReturnCode_CountsAsSuccess )
{
    const TraceRecorder traces( Shim::apiTraceFacility, level4 );
    sdk_.on.bcm_range_destroy = returns( 5 );

    EXPECT_EQ( destroyChecked( 2, 7 ), 5 );

    EXPECT_THAT( traces.texts(), ElementsAre( placeOf( checkedLine ) +
                                              " bcm_range_destroy( unit, rangeId ) (rc:5)" ) );
    EXPECT_EQ( sdk_.countOf( "onApiError" ), 0U );
}

TEST_F( SdkCallTest, TracedCall_AnyReturnCode_GivesItWithoutPreApiCall )
{
    sdk_.on.bcm_range_destroy = TestSupport::returnsInTurn( { 0, -7, 3 } );
    ::testing::internal::CaptureStderr();

    EXPECT_EQ( destroyTraced( 2, 7 ), 0 );
    EXPECT_EQ( destroyTraced( 2, 7 ), -7 );
    EXPECT_EQ( destroyTraced( 2, 7 ), 3 );

    EXPECT_THAT( sdk_.allCalls(),
                 ElementsAre( "bcm_range_destroy( 2, 7 )", "bcm_range_destroy( 2, 7 )",
                              "bcm_range_destroy( 2, 7 )" ) );
    EXPECT_EQ( ::testing::internal::GetCapturedStderr(), "" );
}

TEST_F( SdkCallTest, PlainCall_OfAnInitialiser_TouchesNeitherLocksNorPreApiCall )
{
    const LockRecorder locks;
    bcm_range_config_t config;

    Shim::sdk_->bcm_range_config_t_init( &config );

    EXPECT_THAT( locks.events(), ElementsAre() );
    EXPECT_EQ( sdk_.countOf( "preApiCall" ), 0U );
}

// ---- Locks -------------------------------------------------------------------------------------

TEST_F( SdkCallFromScriptTest, CheckedCall_BothLocksHeld_ReleasesAndRetakesThemInReverse )
{
    LockRecorder locks;
    recordCallsAmong( locks );

    destroyChecked( 0, 1 );

    EXPECT_THAT( locks.events(), ElementsAre( "preApiCall", "interpreter lock released",
                                              "activity lock released", "bcm_range_destroy",
                                              "activity lock taken", "interpreter lock taken" ) );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
    EXPECT_TRUE( Agent::interpreterLock().heldByThisThread() );
}

TEST_F( SdkCallFromScriptTest, TracedCall_BothLocksHeld_ReleasesAndRetakesThemInReverse )
{
    LockRecorder locks;
    recordCallsAmong( locks );

    destroyTraced( 0, 1 );

    EXPECT_THAT( locks.events(), ElementsAre( "interpreter lock released", "activity lock released",
                                              "bcm_range_destroy", "activity lock taken",
                                              "interpreter lock taken" ) );
}

TEST_F( SdkCallTest, AnyCall_InterpreterLockNotHeld_LeavesItAlone )
{
    const LockRecorder locks;

    destroyChecked( 0, 1 );
    destroyTraced( 0, 1 );

    EXPECT_THAT( locks.events(), ElementsAre( "activity lock released", "activity lock taken",
                                              "activity lock released", "activity lock taken" ) );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
    EXPECT_FALSE( Agent::interpreterLock().held() );
}

TEST_F( SdkCallFromScriptTest, PreApiCall_OfACheckedCall_RunsWithBothLocksHeld )
{
    bool bothHeld = false;
    sdk_.on.preApiCall = [ &bothHeld ] {
        bothHeld =
            Agent::activityLock().heldByThisThread() && Agent::interpreterLock().heldByThisThread();
    };

    destroyChecked( 0, 1 );

    EXPECT_TRUE( bothHeld );
}

TEST_F( SdkCallFromScriptTest, Operation_OfEitherCall_RunsWithNeitherLockHeld )
{
    int othersTurns = 0;
    sdk_.on.bcm_range_destroy = [ &othersTurns ]( int, bcm_range_t ) {
        EXPECT_FALSE( Agent::activityLock().held() );
        EXPECT_FALSE( Agent::interpreterLock().held() );
        // Another thread gets its turn meanwhile.
        std::thread( [ &othersTurns ] {
            const Agent::LockAnchor activityHeld( Agent::activityLock() );
            const Agent::LockAnchor interpreterHeld( Agent::interpreterLock() );
            ++othersTurns;
        } ).join();
        return 0;
    };

    destroyChecked( 0, 1 );
    destroyTraced( 0, 1 );

    EXPECT_EQ( othersTurns, 2 );
}

TEST_F( SdkCallFromScriptTest, Operation_Throwing_LeavesTheLocksAsBefore )
{
    const TraceRecorder traces( Shim::apiTraceFacility, level4 );
    const LockRecorder locks;
    sdk_.on.bcm_range_destroy = []( int, bcm_range_t ) -> int {
        throw std::runtime_error( "from the SDK" );
    };
    ::testing::internal::CaptureStderr();

    EXPECT_THROW( destroyChecked( 0, 1 ), std::runtime_error );
    EXPECT_THROW( destroyTraced( 0, 1 ), std::runtime_error );

    const std::vector< std::string > once = { "interpreter lock released", "activity lock released",
                                              "activity lock taken", "interpreter lock taken" };
    std::vector< std::string > twice = once;
    twice.insert( twice.end(), once.begin(), once.end() );
    EXPECT_EQ( locks.events(), twice );
    EXPECT_TRUE( Agent::activityLock().heldByThisThread() );
    EXPECT_TRUE( Agent::interpreterLock().heldByThisThread() );
    EXPECT_EQ( sdk_.countOf( "preApiCall" ), 1U );
    EXPECT_EQ( sdk_.countOf( "onApiError" ), 0U );
    EXPECT_THAT( traces.lines(), ElementsAre() );
    EXPECT_EQ( ::testing::internal::GetCapturedStderr(), "" );
}

TEST_F( SdkCallTest, AnyCall_ActivityLockNotHeld_IsAnAssertionFailure )
{
    Agent::activityLock().release();

    EXPECT_DEATH( destroyChecked( 0, 1 ), "\"lock is not held by this thread\"' failed" );
    EXPECT_DEATH( destroyTraced( 0, 1 ), "\"lock is not held by this thread\"' failed" );
    Agent::activityLock().take();
}

// ---- Failure of a checked call -----------------------------------------------------------------

/// Puts what happens on the way to the abort into standard error, between the lines there.
void reportFailureSteps( RecordingSdk& sdk )
{
    sdk.on.onApiError = [] {
        std::fprintf( stderr, "[onApiError, activity lock %d, interpreter lock %d]\n",
                      Agent::activityLock().heldByThisThread(),
                      Agent::interpreterLock().heldByThisThread() );
    };
    Agent::traceSinkIs( []( const Agent::TraceLine& line ) {
        std::fprintf( stderr, "[trace %s]\n", std::string( line.text ).c_str() );
    } );
    Agent::traceLevelsIs( Shim::apiTraceFacility, 0xFFFFFFFF );
}

TEST_F( SdkCallTest, CheckedCall_Failing_WritesItsLineThenTellsThenAborts )
{
    sdk_.on.bcm_range_destroy = returns( -1 );
    sdk_.on.sdkErrorText = []( int rc ) { return rc == -1 ? "Internal error" : "another code"; };
    const auto fail = [ this ] {
        reportFailureSteps( sdk_ );
        destroyChecked( 0, 7 );
    };

    EXPECT_EXIT( fail(), KilledBySignal( SIGABRT ),
                 StrEq( placeOf( checkedLine ) +
                        " bcm_range_destroy( unit, rangeId ) API ERROR:Internal error (-1)\n"
                        "[onApiError, activity lock 1, interpreter lock 0]\n" +
                        assertionLine( checkedLine,
                                       "int SdkCallTesting::destroyChecked(int, bcm_range_t)" ) ) );
}

TEST_F( SdkCallFromScriptTest, CheckedCall_Failing_HasRetakenBothLocks )
{
    sdk_.on.bcm_range_destroy = returns( std::numeric_limits< int >::min() );
    sdk_.on.sdkErrorText = []( int ) { return ""; };
    const auto fail = [ this ] {
        reportFailureSteps( sdk_ );
        destroyChecked( 0, 7 );
    };

    EXPECT_EXIT( fail(), KilledBySignal( SIGABRT ),
                 StrEq( placeOf( checkedLine ) +
                        " bcm_range_destroy( unit, rangeId ) API ERROR: (-2147483648)\n"
                        "[onApiError, activity lock 1, interpreter lock 1]\n" +
                        assertionLine( checkedLine,
                                       "int SdkCallTesting::destroyChecked(int, bcm_range_t)" ) ) );
}

TEST_F( SdkCallTest, CheckedCall_FailingWithTextGiven_WritesThatText )
{
    sdk_.on.bcm_range_destroy = returns( -7 );

    EXPECT_EXIT(
        destroyWithTextGiven( 0, 7 ), KilledBySignal( SIGABRT ),
        StrEq( placeOf( givenTextLine ) +
               " bcm_range_destroy( u, ( R )id ) API ERROR:Entry not found (-7)\n" +
               assertionLine( givenTextLine,
                              "int SdkCallTesting::destroyWithTextGiven(int, bcm_range_t)" ) ) );
}

TEST_F( SdkCallTest, WriteApiError_OfACall_FlushesTheLine )
{
    struct CountingBuffer : std::stringbuf
    {
        int sync() override
        {
            ++syncs;
            return 0;
        }

        int syncs = 0;
    };

    CountingBuffer buffer;
    std::streambuf* previous = std::cerr.rdbuf( &buffer );
    std::cerr << std::nounitbuf;
    Shim::writeApiError( { "call()", { "a/b.cpp", 12, "void f()" } }, -6 );
    std::cerr << std::unitbuf;
    std::cerr.rdbuf( previous );

    EXPECT_EQ( buffer.str(), "a/b.cpp:12 call() API ERROR:Table full (-6)\n" );
    EXPECT_EQ( buffer.syncs, 1 );
}

// ---- Trace -------------------------------------------------------------------------------------

TEST_F( SdkCallTest, CheckedCall_Level4On_WritesTheTraceLine )
{
    const TraceRecorder traces( Shim::apiTraceFacility, level4 );
    ::testing::internal::CaptureStderr();

    destroyChecked( 0, 7 );

    EXPECT_THAT( traces.texts(), ElementsAre( placeOf( checkedLine ) +
                                              " bcm_range_destroy( unit, rangeId ) (rc:0)" ) );
    const TestSupport::RecordedLine line = traces.lines().front();
    EXPECT_EQ( line.facility, "ApiPelora" );
    EXPECT_EQ( line.level, 4U );
    EXPECT_EQ( line.file, "tests/sdk/SdkCallTest.cpp" );
    EXPECT_EQ( line.line, static_cast< Agent::U32 >( checkedLine ) );
    EXPECT_EQ( line.function, "int SdkCallTesting::destroyChecked(int, bcm_range_t)" );
    EXPECT_EQ( ::testing::internal::GetCapturedStderr(), "" );
}

TEST_F( SdkCallTest, TracedCall_AnyReturnCode_IsTraced )
{
    const TraceRecorder traces( Shim::apiTraceFacility, level4 );
    sdk_.on.bcm_range_destroy = TestSupport::returnsInTurn( { 0, -14, 3 } );

    destroyTraced( 0, 7 );
    destroyTraced( 0, 7 );
    destroyTraced( 0, 7 );

    const std::string call = placeOf( tracedLine ) + " bcm_range_destroy( unit, rangeId ) (rc:";
    EXPECT_THAT( traces.texts(), ElementsAre( call + "0)", call + "-14)", call + "3)" ) );
}

TEST_F( SdkCallTest, AnyCall_WithTextGiven_TracesThatText )
{
    const TraceRecorder traces( Shim::apiTraceFacility, level4 );
    sdk_.on.bcm_range_destroy = TestSupport::returnsInTurn( { 0, -7 } );

    destroyWithTextGiven( 1, 7 );
    EXPECT_EQ( destroyTracedWithTextGiven( 1, 7 ), -7 );

    const std::string call = " bcm_range_destroy( u, ( R )id ) (rc:";
    EXPECT_THAT( traces.texts(), ElementsAre( placeOf( givenTextLine ) + call + "0)",
                                              placeOf( tracedGivenTextLine ) + call + "-7)" ) );
    EXPECT_THAT( sdk_.calls(),
                 ElementsAre( "bcm_range_destroy( 1, 7 )", "bcm_range_destroy( 1, 7 )" ) );
}

TEST_F( SdkCallTest, CheckedCall_WrittenOverSeveralLines_HasOneBlankBetween )
{
    const TraceRecorder traces( Shim::apiTraceFacility, level4 );

    attachChecked( 0, 1, 2 );

    ASSERT_EQ( traces.texts().size(), 1U );
    EXPECT_THAT( traces.texts().front(),
                 ::testing::EndsWith( " bcm_field_entry_stat_attach( unitOfTheChip, "
                                      "entryThatIsToBeCounted, statisticId + statisticId ) "
                                      "(rc:0)" ) );
}

TEST_F( SdkCallTest, AnyCall_Level4Off_WritesNothing )
{
    const TraceRecorder traces( Shim::apiTraceFacility, ~level4 );
    ::testing::internal::CaptureStderr();

    destroyChecked( 0, 7 );
    destroyTraced( 0, 7 );

    EXPECT_THAT( traces.lines(), ElementsAre() );
    EXPECT_EQ( ::testing::internal::GetCapturedStderr(), "" );
}

/// Does nothing and allocates nothing.
class QuietSdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    void preApiCall() override {}

    int bcm_range_destroy( int, bcm_range_t ) override { return rc; }

    int rc = 0;
};

TEST_F( SdkCallFromScriptTest, AnyCall_Level4Off_AllocatesNothing )
{
    QuietSdk quiet( sdk_ );
    Shim::sdk_ = &quiet;
    const std::size_t before = TestSupport::allocationCount();

    destroyChecked( 0, 7 );
    destroyTraced( 0, 7 );
    quiet.rc = -7;
    destroyTraced( 0, 7 );

    EXPECT_EQ( TestSupport::allocationCount(), before );
}

} // namespace

} // namespace SdkCallTesting
