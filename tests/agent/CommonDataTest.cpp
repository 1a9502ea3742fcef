#include "agent/tcam/CommonData.h"

#include <gtest/gtest.h>

namespace PeloraTcam {
namespace {

TEST( CommonDataTest, PolicerFlags_NewData_AreAbsent )
{
    const PeloraTcamCommonData data;
    EXPECT_EQ( data.policerFlags( stageIfp() ), std::nullopt );
}

TEST( CommonDataTest, PolicerFlags_Set_AreTheStagesOwn )
{
    PeloraTcamCommonData data;
    data.policerFlagsIs( stageIfp(), 0xFFFF );
    data.policerFlagsIs( stageVfp(), 0 );
    EXPECT_EQ( data.policerFlags( stageIfp() ), 0xFFFF );
    EXPECT_EQ( data.policerFlags( stageVfp() ), 0 );
    EXPECT_EQ( data.policerFlags( StageType::efp ), std::nullopt );
    data.policerFlagsIs( stageIfp(), 0x10 );
    EXPECT_EQ( data.policerFlags( stageIfp() ), 0x10 );
}

TEST( CommonDataTest, PolicerFlagsDel_OfAStage_LeavesTheOthers )
{
    PeloraTcamCommonData data;
    data.policerFlagsIs( stageIfp(), 1 );
    data.policerFlagsIs( stageVfp(), 2 );
    data.policerFlagsDel( stageIfp() );
    data.policerFlagsDel( StageType::efp );
    EXPECT_EQ( data.policerFlags( stageIfp() ), std::nullopt );
    EXPECT_EQ( data.policerFlags( stageVfp() ), 2 );
}

TEST( CommonDataTest, Get_AnyTime_IsTheSame )
{
    EXPECT_EQ( &getPeloraTcamCommonData(), &getPeloraTcamCommonData() );
}

} // namespace
} // namespace PeloraTcam
