// Runs with steps that no scenario file can hold: steps that break out in other ways than the
// library does.

#include "agent/base/Locks.h"
#include "sdk/SdkAccess.h"
#include "tools/commands/ExitCodes.h"
#include "tools/run/ScenarioRun.h"

#include <csignal>
#include <cstdio>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Tool::Outcome;
using Tool::RunContext;
using Tool::Scenario;
using Tool::StepResult;

/// A step that does what a test wants.
class CustomStep : public Tool::Step
{
  public:
    using Action = std::function< StepResult( RunContext& ) >;

    explicit CustomStep( Action action )
        : action_( std::move( action ) )
    {}

    [[nodiscard]] std::string name() const override { return "custom"; }

    [[nodiscard]] StepResult run( RunContext& context ) const override
    {
        return action_( context );
    }

  private:
    Action action_;
};

/// Keeps what is reported.
class KeptReport : public Tool::RunReport
{
  public:
    void runStarts( const Tool::RunHeading& ) override {}

    void stepEnded( const Tool::StepReport& step ) override { steps_.push_back( step ); }

    void runEnded( const Tool::RunSummary& summary ) override { summary_ = summary; }

    void stepProgressed( const Tool::StepHeading&, std::size_t, std::size_t ) override {}

    void standardErrorWritten( std::string_view text ) override { standardError_ += text; }

    std::vector< Tool::StepReport > steps_;
    Tool::RunSummary summary_;
    std::string standardError_;
};

class CustomRun : public testing::Test
{
  protected:
    CustomRun()
    {
        scenario_.file = "none";
        scenario_.profile = Sim::builtInProfile( "sdk6-tiny" );
    }

    void add( CustomStep::Action action, Outcome expected = Outcome::ok )
    {
        scenario_.steps.push_back(
            { "custom-step", expected, std::make_unique< CustomStep >( std::move( action ) ) } );
    }

    int run() { return Tool::exitCodeOf( Tool::runScenario( scenario_, {}, report_ ) ); }

    std::vector< Outcome > outcomes() const
    {
        std::vector< Outcome > all;
        for ( const Tool::StepReport& step : report_.steps_ ) {
            all.push_back( step.result.outcome );
        }
        return all;
    }

    Scenario scenario_;
    KeptReport report_;
};

StepResult nothing( RunContext& )
{
    return {};
}

TEST_F( CustomRun, Run_AnyStep_HoldsTheActivityLock )
{
    add( []( RunContext& ) -> StepResult {
        return { Agent::activityLock().heldByThisThread() ? Outcome::ok : Outcome::error, "", {} };
    } );
    EXPECT_EQ( run(), 0 );
    EXPECT_FALSE( Agent::activityLock().held() );
}

TEST_F( CustomRun, Run_StepCrashes_TellsTheSignal )
{
    add( nothing );
    add( []( RunContext& ) -> StepResult {
        ::signal( SIGSEGV, SIG_DFL ); // A sanitizer may have put its own handler there.
        ::raise( SIGSEGV );
        return {};
    } );
    add( nothing );
    EXPECT_EQ( run(), 3 );
    EXPECT_THAT( outcomes(), ElementsAre( Outcome::ok, Outcome::aborted ) );
    ASSERT_TRUE( report_.summary_.unexpectedEnd.has_value() );
    EXPECT_EQ( report_.summary_.unexpectedEnd->end, "SIGSEGV (Segmentation fault)" );
    EXPECT_EQ( report_.summary_.unexpectedEnd->step->index, 2U );
}

TEST_F( CustomRun, Run_StepCrashesWhereAnAbortIsExpected_IsNotWhatWasExpected )
{
    add(
        []( RunContext& ) -> StepResult {
            ::signal( SIGSEGV, SIG_DFL );
            ::raise( SIGSEGV );
            return {};
        },
        Outcome::aborted );
    EXPECT_EQ( run(), 3 );
    ASSERT_EQ( report_.steps_.size(), 1U );
    EXPECT_FALSE( report_.steps_[ 0 ].asExpected );
    EXPECT_EQ( report_.summary_.unexpectedEnd->end, "SIGSEGV (Segmentation fault)" );
}

TEST_F( CustomRun, Run_StepExits_TellsTheCode )
{
    add( []( RunContext& ) -> StepResult { ::_exit( 5 ); } );
    EXPECT_EQ( run(), 3 );
    EXPECT_EQ( report_.summary_.unexpectedEnd->end, "exit code 5" );
}

TEST_F( CustomRun, Run_StepExitsWithZero_IsStillNoEndOfARun )
{
    add( []( RunContext& ) -> StepResult { ::_exit( 0 ); } );
    EXPECT_EQ( run(), 3 );
    EXPECT_EQ( report_.summary_.unexpectedEnd->end, "exit code 0" );
}

TEST_F( CustomRun, Run_StepExitsWithZeroWhereAnAbortIsExpected_IsStillNoEndOfARun )
{
    add( []( RunContext& ) -> StepResult { ::_exit( 0 ); }, Outcome::aborted );
    EXPECT_EQ( run(), 3 );
    EXPECT_EQ( report_.summary_.unexpectedEnd->end, "exit code 0" );
}

TEST_F( CustomRun, Run_StepThrowsSomethingElse_IsAnError )
{
    add( []( RunContext& ) -> StepResult { throw 7; } );
    add( nothing );
    EXPECT_EQ( run(), 1 );
    EXPECT_THAT( outcomes(), ElementsAre( Outcome::error, Outcome::ok ) );
    EXPECT_EQ( report_.steps_[ 0 ].result.text, "an exception of an unknown kind" );
}

TEST_F( CustomRun, Run_StepKeepsTheLockReleased_IsCaught )
{
    add( []( RunContext& ) -> StepResult {
        Agent::activityLock().release();
        return {};
    } );
    EXPECT_EQ( run(), 3 );
    EXPECT_THAT( report_.summary_.unexpectedEnd->lastWords.assertion,
                 HasSubstr( "the activity lock is held after each step" ) );
}

TEST_F( CustomRun, Run_SomethingLikeLastWordsButTheStepLives_IsPassedOn )
{
    add( []( RunContext& ) -> StepResult {
        std::fprintf( stderr, "a.cpp:1 f() API ERROR:Table full (-6)\n" );
        return {};
    } );
    EXPECT_EQ( run(), 0 );
    EXPECT_EQ( report_.standardError_, "a.cpp:1 f() API ERROR:Table full (-6)\n" );
}

TEST_F( CustomRun, Run_EverythingIsOver_NothingOfItIsLeftHere )
{
    add( nothing );
    EXPECT_EQ( run(), 0 );
    EXPECT_EQ( Shim::sdk_, nullptr );
    EXPECT_EQ( report_.summary_.stepsRun, 1U );
}

} // namespace
