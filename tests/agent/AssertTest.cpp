// Assertions are on in release builds too, so this test is compiled as one.
#ifndef NDEBUG
#define NDEBUG 1
#endif

#include "agent/base/Assert.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno> // program_invocation_short_name
#include <csignal>
#include <string>
#include <type_traits>

namespace AssertTesting {

using ::testing::KilledBySignal;
using ::testing::StrEq;

constexpr int checkLine = __LINE__ + 4;

void checkOrder( int low, int high )
{
    AGENT_ASSERT( low <= high && "range is upside down" );
}

template< class Left, class Right >
constexpr bool isSame()
{
    return std::is_same_v< Left, Right >;
}

constexpr int listLine = __LINE__ + 4;

void checkList()
{
    AGENT_ASSERT( isSame< int, long >() );
}

constexpr int givenTextLine = __LINE__ + 4;

void checkPort( unsigned port )
{
    AGENT_ASSERT_AS( "low <= high && \"range is upside down\"", port == 80U );
}

constexpr int failLine = __LINE__ + 4;

int failAlways()
{
    AGENT_FAIL( "0 && \"Invalid port\"" ); // It needs no result behind it: it never returns.
}

#define NAME_THAT_IS_A_MACRO 1

void checkMacro()
{
    AGENT_ASSERT( NAME_THAT_IS_A_MACRO == 2 );
}

std::string program()
{
    return program_invocation_short_name;
}

TEST( AssertTest, Assert_ThatIsFalse_WritesTheLineAndAborts )
{
    const std::string line = program() +
                             ": tests/agent/AssertTest.cpp:" + std::to_string( checkLine ) +
                             ": void AssertTesting::checkOrder(int, int): Assertion "
                             "`low <= high && \"range is upside down\"' failed.\n";

    EXPECT_EXIT( checkOrder( 2, 1 ), KilledBySignal( SIGABRT ), StrEq( line ) );
}

TEST( AssertTest, Assert_ExpressionWithACommaOfItsOwn_IsTakenWhole )
{
    const std::string line = program() +
                             ": tests/agent/AssertTest.cpp:" + std::to_string( listLine ) +
                             ": void AssertTesting::checkList(): Assertion "
                             "`isSame< int, long >()' failed.\n";

    EXPECT_EXIT( checkList(), KilledBySignal( SIGABRT ), StrEq( line ) );
}

TEST( AssertTest, Assert_ExpressionWithAMacro_WritesItsName )
{
    EXPECT_DEATH( checkMacro(), "Assertion `NAME_THAT_IS_A_MACRO == 2' failed" );
}

TEST( AssertTest, AssertAs_ThatIsFalse_WritesTheGivenText )
{
    const std::string line = program() +
                             ": tests/agent/AssertTest.cpp:" + std::to_string( givenTextLine ) +
                             ": void AssertTesting::checkPort(unsigned int): Assertion "
                             "`low <= high && \"range is upside down\"' failed.\n";

    EXPECT_EXIT( checkPort( 81 ), KilledBySignal( SIGABRT ), StrEq( line ) );
}

TEST( AssertTest, AssertAs_ConditionWithACommaOfItsOwn_IsTakenWhole )
{
    AGENT_ASSERT_AS( "same", isSame< int, int >() );

    EXPECT_DEATH( AGENT_ASSERT_AS( "same", isSame< int, long >() ), "Assertion `same' failed" );
}

TEST( AssertTest, AssertAs_ThatIsTrue_EvaluatesTheConditionOnce )
{
    int evaluations = 0;

    AGENT_ASSERT_AS( "evaluated", ++evaluations > 0 );

    EXPECT_EQ( evaluations, 1 );
}

TEST( AssertTest, Fail_WritesTheTextAndAborts )
{
    const std::string line = program() +
                             ": tests/agent/AssertTest.cpp:" + std::to_string( failLine ) +
                             ": int AssertTesting::failAlways(): Assertion "
                             "`0 && \"Invalid port\"' failed.\n";

    EXPECT_EXIT( failAlways(), KilledBySignal( SIGABRT ), StrEq( line ) );
}

TEST( AssertTest, Assert_ThatIsTrue_EvaluatesTheExpressionOnce )
{
    int evaluations = 0;

    AGENT_ASSERT( ++evaluations > 0 );

    EXPECT_EQ( evaluations, 1 );
}

TEST( AssertTest, Assert_ThatIsFalse_EvaluatesTheExpressionOnce )
{
    const auto failOnce = [] {
        int evaluations = 0;
        AGENT_ASSERT( ++evaluations > 1 );
    };

    // A second evaluation would have let it pass.
    EXPECT_DEATH( failOnce(), "Assertion `\\+\\+evaluations > 1' failed" );
}

TEST( AssertTest, AssertionFailed_GivenItsPlace_WritesThat )
{
    EXPECT_EXIT( Agent::assertionFailed( "0", "PeloraTcam/X.cpp", 12, "int X::f(unsigned)" ),
                 KilledBySignal( SIGABRT ),
                 StrEq( program() + ": PeloraTcam/X.cpp:12: int X::f(unsigned): "
                                    "Assertion `0' failed.\n" ) );
}

} // namespace AssertTesting
