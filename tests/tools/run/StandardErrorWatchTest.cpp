#include "tools/run/StandardErrorWatch.h"

#include <cerrno> // program_invocation_short_name
#include <gtest/gtest.h>

namespace {

using Tool::LastWords;
using Tool::StandardErrorWatch;

const std::string apiError = "a.cpp:12 bcm_range_get( unit, &conf ) API ERROR:Table full (-6)";
const std::string assertion = "a.cpp:12: void f(): Assertion `low <= high' failed.";

class Watch : public testing::Test
{
  protected:
    std::string passedOn_;
    StandardErrorWatch watch_{ [ this ]( std::string_view text ) { passedOn_ += text; } };
};

TEST_F( Watch, Take_OtherLines_ArePassedOnAtOnce )
{
    watch_.take( "one\ntwo\n" );
    EXPECT_EQ( passedOn_, "one\ntwo\n" );
    EXPECT_TRUE( watch_.lastWords().empty() );
}

TEST_F( Watch, Take_LineInPieces_IsPassedOnWhole )
{
    watch_.take( "on" );
    EXPECT_EQ( passedOn_, "" );
    watch_.take( "e\ntw" );
    EXPECT_EQ( passedOn_, "one\n" );
    static_cast< void >( watch_.lastWords() );
    EXPECT_EQ( passedOn_, "one\ntw\n" );
}

TEST_F( Watch, Take_ErrorLineAndAssertion_AreHeldBackAsLastWords )
{
    watch_.take( "before\n" + apiError + "\n" + assertion + "\n" );
    EXPECT_EQ( passedOn_, "before\n" );
    const LastWords words = watch_.lastWords();
    EXPECT_EQ( words.apiError, apiError );
    EXPECT_EQ( words.assertion, assertion );
    EXPECT_TRUE( watch_.lastWords().empty() );
}

TEST_F( Watch, Take_AssertionWithTheProgramsName_IsToldWithoutIt )
{
    watch_.take( std::string( program_invocation_short_name ) + ": " + assertion + "\n" );
    EXPECT_EQ( watch_.lastWords().assertion, assertion );
}

TEST_F( Watch, Take_AssertionWithoutLineEnd_IsLastWords )
{
    watch_.take( assertion );
    EXPECT_EQ( watch_.lastWords().assertion, assertion );
}

TEST_F( Watch, PassOnLastWords_HeldBack_ArePassedOnAndForgotten )
{
    watch_.take( apiError + "\n" );
    watch_.passOnLastWords();
    EXPECT_EQ( passedOn_, apiError + "\n" );
    EXPECT_TRUE( watch_.lastWords().empty() );
}

} // namespace
