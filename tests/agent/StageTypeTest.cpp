#include "agent/tcam/StageType.h"

#include "agent/base/TextPieces.h"

#include <gtest/gtest.h>

namespace PeloraTcam {
namespace {

TEST( StageType, Stages_AllOfThem_AreNumberedInThePacketsOrder )
{
    EXPECT_EQ( sizeof( StageType ), 1U );
    EXPECT_EQ( static_cast< unsigned >( stageVfp() ), 1U );
    EXPECT_EQ( static_cast< unsigned >( stageIfp() ), 2U );
    EXPECT_EQ( static_cast< unsigned >( StageType::efp ), 3U );
}

TEST( StageType, Print_NamedValue_GivesTheName )
{
    EXPECT_EQ( Agent::joinPieces( StageType::invalid ), "invalid" );
    EXPECT_EQ( Agent::joinPieces( StageType::vfp ), "vfp" );
    EXPECT_EQ( Agent::joinPieces( StageType::ifp ), "ifp" );
    EXPECT_EQ( Agent::joinPieces( StageType::efp ), "efp" );
}

TEST( StageType, Print_ValueWithoutName_GivesTheNumber )
{
    EXPECT_EQ( Agent::joinPieces( static_cast< StageType >( 4 ) ), "StageType(4)" );
    EXPECT_EQ( Agent::joinPieces( static_cast< StageType >( 255 ) ), "StageType(255)" );
}

} // namespace
} // namespace PeloraTcam
