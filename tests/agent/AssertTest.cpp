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
