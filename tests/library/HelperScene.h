#pragma once

/// What the tests of the helper classes share: a simulated chip of unit 5, a fault injector and a
/// recorder of SDK calls in front of it, the agent's activity lock held, and ways to say what a
/// helper writes: a trace line, the trace line of an SDK call, its last words.

#include "agent/base/Locks.h"
#include "agent/base/Trace.h"
#include "sdk/SdkAccess.h"
#include "sim/FaultInjectingSdk.h"
#include "tests/library/ChildRun.h"
#include "tests/support/AssertionText.h"
#include "tests/support/EnvironmentNumbering.h"
#include "tests/support/RecordingSdk.h"
#include "tests/support/TraceRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace LibraryTest {

constexpr Agent::U32 allTraceLevels = 0xFFFFFFFF;
constexpr const char* apiFacility = "ApiPelora";

/// A return code of failure, with the SDK's text.
struct SdkFailure
{
    const char* name;
    int rc;
    const char* text;

    friend void PrintTo( const SdkFailure& failure, std::ostream* stream )
    {
        *stream << failure.name;
    }
};

inline std::vector< SdkFailure > allSdkFailures()
{
    std::vector< SdkFailure > all;
#define SDK_RETURN_CODE( name, value, text ) all.push_back( { #name, value, text } );
#include "sdk/SdkEnumerators.def"
    std::erase_if( all, []( const SdkFailure& failure ) { return failure.rc == 0; } );
    return all;
}

/// Expects that the operation ends the process with exactly these words on standard error, given
/// as a regular expression.
inline void expectDies( const std::function< void() >& operation, const std::string& lastWords )
{
    const ChildRun run = runInChild( operation );
    EXPECT_TRUE( run.aborted );
    EXPECT_THAT( run.errors, ::testing::MatchesRegex( lastWords ) );
}

/// One SDK call as a helper's source has it: where it stands, and its text.
struct SdkCallSite
{
    const char* source;
    const char* function; ///< the name of the operation that makes it
    const char* text;
};

class HelperScene : public ::testing::Test
{
  protected:
    static constexpr int unit = 5;

    explicit HelperScene( std::string_view profile = "sdk6-tiny" )
    {
        chips.chipIs( unit, Sim::builtInProfile( profile ) );
        Shim::sdk_ = &sdk;
    }

    ~HelperScene() override { Shim::sdk_ = nullptr; }

    /// The names of the operations called, in their order.
    [[nodiscard]] std::vector< std::string > names() const
    {
        std::vector< std::string > all;
        for ( const TestSupport::RecordedCall& call : sdk.records() ) {
            all.push_back( call.name );
        }
        return all;
    }

    [[nodiscard]] std::string chipText() const { return chips.chip( unit )->snapshot().text(); }

    /// The SDK's value of an enumerator, by the accessor's name.
    template< class Enumeration >
    [[nodiscard]] Enumeration valueOf( std::string_view accessor ) const
    {
        return static_cast< Enumeration >( chips.numbering().valueOf( accessor ).value() );
    }

    static void say( const std::string& text ) { std::fprintf( stderr, "%s\n", text.c_str() ); }

    /// Expects that the operation ends the process with a failed assertion and no other word.
    static void expectAssertion( const SdkCallSite& site,
                                 const std::string& assertion,
                                 const std::function< void() >& operation )
    {
        expectDies( operation,
                    TestSupport::assertionLine( site.source, functionOf( site ), assertion ) );
    }

    /// Expects that the operation writes these lines to the facility's trace, each as "LEVEL
    /// TEXT", and then ends the process with a failed assertion.
    static void expectTracesThenAssertion( const char* facility,
                                           const std::vector< std::string >& lines,
                                           const SdkCallSite& site,
                                           const std::string& assertion,
                                           const std::function< void() >& operation )
    {
        std::string lastWords;
        for ( const std::string& line : lines ) {
            lastWords += TestSupport::literally( line ) + "\n";
        }
        expectDies(
            [ & ] {
                Agent::traceSinkIs( []( const Agent::TraceLine& line ) {
                    say( std::to_string( line.level ) + " " + std::string( line.text ) );
                } );
                Agent::traceLevelsIs( facility, allTraceLevels );
                operation();
            },
            lastWords + TestSupport::assertionLine( site.source, functionOf( site ), assertion ) );
    }

    /// Expects that the operation ends the process because that checked call answers `rc`: with
    /// the error line, `onApiError()` and the failed assertion, in this order.
    void expectFatalCall( const SdkCallSite& site,
                          int rc,
                          const std::string& message,
                          const std::function< void() >& operation )
    {
        const auto outer = sdk.on.onApiError;
        sdk.on.onApiError = [] { say( "onApiError" ); };
        expectDies( operation,
                    TestSupport::apiErrorLine( site.source, site.text, message, rc ) +
                        "onApiError\n" +
                        TestSupport::assertionLine( site.source, functionOf( site ), "0" ) );
        sdk.on.onApiError = outer;
    }

    /// Expects the same for every return code of failure. `answer` makes the SDK answer with it.
    void expectEveryFailureFatal( const SdkCallSite& site,
                                  const std::function< void( int rc ) >& answer,
                                  const std::function< void() >& operation )
    {
        for ( const SdkFailure& failure : allSdkFailures() ) {
            SCOPED_TRACE( failure.name );
            answer( failure.rc );
            expectFatalCall( site, failure.rc, failure.text, operation );
        }
    }

    /// Expects that the operation writes that line at that level of the facility, and no other
    /// there, and does not write it at any other level.
    template< class Operation >
    void expectLine( const SdkCallSite& site,
                     const char* facility,
                     Agent::U32 level,
                     const std::string& text,
                     const Operation& operation )
    {
        {
            TestSupport::TraceRecorder traces( facility, 1U << level );
            operation();
            ASSERT_EQ( traces.lines().size(), 1U ) << text;
            EXPECT_EQ( traces.lines()[ 0 ].facility, facility );
            EXPECT_EQ( traces.lines()[ 0 ].level, level );
            EXPECT_EQ( traces.lines()[ 0 ].file, site.source );
            EXPECT_EQ( traces.lines()[ 0 ].text, text );
        }
        const TestSupport::TraceRecorder without( facility, allTraceLevels & ~( 1U << level ) );
        operation();
        EXPECT_THAT( without.texts(), ::testing::Not( ::testing::Contains( text ) ) );
    }

    /// The lines of the trace of SDK calls that an operation writes, each as "CALL (rc:RC)". That
    /// each starts with its own file and line, and stands at level 4 only, is expected here.
    template< class Operation >
    static std::vector< std::string > apiLines( const char* source, const Operation& operation )
    {
        std::vector< std::string > calls;
        const TestSupport::TraceRecorder traces( apiFacility, allTraceLevels );
        operation();
        for ( const TestSupport::RecordedLine& line : traces.lines() ) {
            const std::string place = std::string( source ) + ":" + std::to_string( line.line );
            EXPECT_EQ( line.level, 4U );
            EXPECT_EQ( line.file, source );
            EXPECT_EQ( line.text.substr( 0, place.size() + 1 ), place + " " );
            calls.push_back( line.text.substr( std::min( place.size() + 1, line.text.size() ) ) );
        }
        return calls;
    }

    Sim::SimulatedSdk chips{ TestSupport::environmentNumbering() };
    Sim::FaultInjectingSdk faulty{ chips };
    TestSupport::RecordingSdk sdk{ faulty };
    Agent::LockAnchor activity{ Agent::activityLock() };

  private:
    /// The function of a place in the source, as a regular expression.
    static std::string functionOf( const SdkCallSite& site )
    {
        return "[^\n]*" + TestSupport::literally( site.function ) + "\\([^\n]*";
    }
};

} // namespace LibraryTest
