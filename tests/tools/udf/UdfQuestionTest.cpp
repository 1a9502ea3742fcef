// What a user-defined field means on a chip, asked without a command line.

#include "tools/udf/UdfQuestion.h"

#include <gtest/gtest.h>

namespace {

using PeloraTcam::UdfDesc;
using Tool::Json;
using Tool::UdfQuestion;

/// The source address of IPv4 packets.
UdfDesc sourceAddress()
{
    UdfDesc desc;
    desc.baseIs( PeloraTcam::UdfBaseL3Header_ );
    desc.ethTypeIs( 0x0800 );
    desc.offsetIs( 12 );
    desc.lengthIs( 4 );
    return desc;
}

UdfQuestion questionOn( const std::string& chip )
{
    UdfQuestion question;
    question.scenario.profile = Sim::builtInProfile( chip );
    question.desc = sourceAddress();
    question.numbering = Sim::SdkNumbering::defaults();
    return question;
}

Json answerTo( const UdfQuestion& question )
{
    return Tool::answerTo( question, []( std::string_view ) {} );
}

TEST( UdfQuestionTest, AnswerTo_FieldThatTheChipTakes_SaysWhatItHolds )
{
    const Json answer = answerTo( questionOn( "sdk6-udf" ) );
    EXPECT_EQ( answer.at( "outcome" ), "ok" );
    EXPECT_EQ( answer.at( "users" ), 1 );
    EXPECT_EQ( answer.at( "udf" ).at( "width" ), 32 );
}

TEST( UdfQuestionTest, AnswerTo_FieldThatExistsAlready_CountsItsUsers )
{
    UdfQuestion question = questionOn( "sdk6-udf" );
    question.existing.push_back( { "source", sourceAddress() } );
    EXPECT_EQ( answerTo( question ).at( "users" ), 2 );
}

TEST( UdfQuestionTest, AnswerTo_FieldThatCannotBe_SaysWhy )
{
    UdfQuestion question = questionOn( "hsdk" );
    question.desc.lagHashingIs( true );
    question.desc.lagHashingMaskIs( {} );
    const Json answer = answerTo( question );
    EXPECT_EQ( answer.at( "outcome" ), "error" );
    EXPECT_EQ( answer.at( "why" ), "this chip cannot hash over user-defined fields" );
}

} // namespace
