#include "tools/run/ChildProcess.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using Tool::ChildEnd;
using Tool::EventSender;
using Tool::Json;

/// Runs a child and writes down what comes from it, in its order.
class Child : public testing::Test
{
  protected:
    ChildEnd run( const Tool::ChildBody& body )
    {
        return Tool::runInChild(
            body, [ this ]( const Json& event ) { heard_ += "<" + event.dump() + ">"; },
            [ this ]( std::string_view text ) { heard_ += text; } );
    }

    std::string heard_;
};

TEST_F( Child, RunInChild_BodyReturns_EndsWithZero )
{
    const ChildEnd end = run( []( EventSender& ) {} );
    EXPECT_TRUE( end.succeeded() );
    EXPECT_EQ( heard_, "" );
}

TEST_F( Child, RunInChild_EventsAndStandardError_ComeInTheirOrder )
{
    static_cast< void >( run( []( EventSender& events ) {
        for ( int i = 0; i < 50; ++i ) {
            std::fprintf( stderr, "a" );
            events.send( i );
        }
        std::fprintf( stderr, "end" );
    } ) );
    std::string expected;
    for ( int i = 0; i < 50; ++i ) {
        expected += "a<" + std::to_string( i ) + ">";
    }
    EXPECT_EQ( heard_, expected + "end" );
}

TEST_F( Child, RunInChild_MoreStandardErrorThanAPipeHolds_AllComes )
{
    static_cast< void >( run( []( EventSender& events ) {
        const std::string much( 1'000'000, 'x' );
        std::fputs( much.c_str(), stderr );
        events.send( "done" );
    } ) );
    EXPECT_EQ( heard_.size(), 1'000'000U + 8 );
    EXPECT_EQ( heard_.substr( 1'000'000 ), "<\"done\">" );
}

TEST_F( Child, RunInChild_LargeEvent_ComesWhole )
{
    static_cast< void >(
        run( []( EventSender& events ) { events.send( std::string( 1'000'000, 'x' ) ); } ) );
    EXPECT_EQ( heard_, "<\"" + std::string( 1'000'000, 'x' ) + "\">" );
}

TEST_F( Child, RunInChild_BodyAborts_TellsTheSignalAfterAllThatWasWritten )
{
    const ChildEnd end = run( []( EventSender& events ) {
        events.send( 1 );
        std::fprintf( stderr, "last words" );
        std::abort();
    } );
    EXPECT_TRUE( end.bySignal );
    EXPECT_EQ( end.number, SIGABRT );
    EXPECT_EQ( Tool::childEndText( end ), "SIGABRT (Aborted)" );
    EXPECT_EQ( heard_, "<1>last words" );
}

TEST_F( Child, RunInChild_BodyExits_TellsTheCode )
{
    const ChildEnd end = run( []( EventSender& ) { ::_exit( 7 ); } );
    EXPECT_FALSE( end.succeeded() );
    EXPECT_EQ( Tool::childEndText( end ), "exit code 7" );
}

TEST_F( Child, RunInChild_BodyThrows_IsAnAbort )
{
    const ChildEnd end = run( []( EventSender& ) { throw 1; } );
    EXPECT_EQ( Tool::childEndText( end ), "SIGABRT (Aborted)" );
}

TEST_F( Child, RunInChild_WhatIsBufferedHere_IsWrittenOnce )
{
    testing::internal::CaptureStdout();
    std::printf( "once" );
    static_cast< void >( run( []( EventSender& ) {} ) );
    EXPECT_EQ( testing::internal::GetCapturedStdout(), "once" );
}

TEST( TryInChild, BodyReturns_GivesItsResult )
{
    Json result;
    int here = 1;
    const ChildEnd end = Tool::tryInChild(
        [ &here ] {
            here = 2;
            return Json{ { "a", here } };
        },
        result );
    EXPECT_TRUE( end.succeeded() );
    EXPECT_EQ( result.at( "a" ), 2 );
    EXPECT_EQ( here, 1 );
}

TEST( TryInChild, BodyAborts_GivesTheSignal )
{
    Json result;
    const ChildEnd end = Tool::tryInChild( []() -> Json { std::abort(); }, result );
    EXPECT_EQ( Tool::childEndText( end ), "SIGABRT (Aborted)" );
    EXPECT_TRUE( result.is_null() );
}

TEST( EndLikeDeathTest, SignalOrCode_IsTheEndOfThisProcess )
{
    EXPECT_EXIT( Tool::endLike( { true, SIGTERM } ), testing::KilledBySignal( SIGTERM ), "" );
    EXPECT_EXIT( Tool::endLike( { false, 9 } ), testing::ExitedWithCode( 9 ), "" );
}

} // namespace
