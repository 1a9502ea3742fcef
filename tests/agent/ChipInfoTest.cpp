#include "agent/tcam/ChipInfo.h"

#include <gtest/gtest.h>

namespace PeloraCentral {
namespace {

using Agent::Ptr;

TEST( CosQueueMap, ClassifierId_NeverSet_IsZero )
{
    const CosQueueMap queues;
    EXPECT_EQ( queues.classifierId( ClassifierKind::fieldAction, 0 ), 0U );
    EXPECT_EQ( queues.classifierId( ClassifierKind::fieldAction, 255 ), 0U );
}

TEST( CosQueueMap, ClassifierId_OfSeveralKindsAndClasses_IsTheOneSetForBoth )
{
    CosQueueMap queues;
    queues.classifierIdIs( ClassifierKind::fieldAction, 3, 0x12345678 );
    queues.classifierIdIs( ClassifierKind::cpuQueue, 3, 7 );
    queues.classifierIdIs( ClassifierKind::fieldAction, 255, 9 );
    EXPECT_EQ( queues.classifierId( ClassifierKind::fieldAction, 3 ), 0x12345678U );
    EXPECT_EQ( queues.classifierId( ClassifierKind::cpuQueue, 3 ), 7U );
    EXPECT_EQ( queues.classifierId( ClassifierKind::fieldAction, 255 ), 9U );
    EXPECT_EQ( queues.classifierId( ClassifierKind::fieldAction, 4 ), 0U );
}

TEST( CosQueueMap, ClassifierIdIs_SetTwice_TakesTheLast )
{
    CosQueueMap queues;
    queues.classifierIdIs( ClassifierKind::unicastQueue, 1, 5 );
    queues.classifierIdIs( ClassifierKind::unicastQueue, 1, 6 );
    EXPECT_EQ( queues.classifierId( ClassifierKind::unicastQueue, 1 ), 6U );
}

TEST( ClassifierKind, FieldAction_Number_IsFour )
{
    EXPECT_EQ( static_cast< unsigned >( ClassifierKind::fieldAction ), 4U );
}

TEST( ChipProfile, TcamFeatureAttributes_WithAndWithoutARecord_AreTheOnesGiven )
{
    EXPECT_FALSE( ChipProfile().tcamFeatureAttributes().has_value() );
    const ChipProfile profile( TcamFeatureAttributes{ .cosMapBits = 0x80000000 } );
    ASSERT_TRUE( profile.tcamFeatureAttributes().has_value() );
    EXPECT_EQ( profile.tcamFeatureAttributes()->cosMapBits, 0x80000000U );
}

TEST( ChipInfo, Construct_WithNothing_HasAnEmptyMapAndNoProfile )
{
    const ChipInfo chipInfo;
    EXPECT_EQ( chipInfo.cosQueueMap().classifierId( ClassifierKind::fieldAction, 0 ), 0U );
    EXPECT_FALSE( chipInfo.activeChipProfile() );
}

TEST( ChipInfo, Copy_WithMapAndProfile_RefersToTheSameOnes )
{
    const Ptr< CosQueueMap > queues( new CosQueueMap );
    const Ptr< const ChipProfile > profile( new ChipProfile );
    ChipInfo chipInfo( queues );
    chipInfo.activeChipProfileIs( profile );

    const ChipInfo copy = chipInfo;

    EXPECT_EQ( copy, chipInfo );
    EXPECT_EQ( &copy.cosQueueMap(), queues.get() );
    EXPECT_EQ( copy.activeChipProfile(), profile );
}

TEST( ChipInfo, ActiveChipProfileIs_Null_LeavesTheChipWithoutOne )
{
    ChipInfo chipInfo;
    chipInfo.activeChipProfileIs( Ptr< const ChipProfile >( new ChipProfile ) );
    const ChipInfo before = chipInfo;
    chipInfo.activeChipProfileIs( nullptr );
    EXPECT_FALSE( chipInfo.activeChipProfile() );
    EXPECT_FALSE( chipInfo == before );
}

TEST( ChipInfoDeathTest, Construct_WithANullMap_Fails )
{
    EXPECT_DEATH( ChipInfo( Ptr< const CosQueueMap >() ), "Assertion `cosQueueMap_' failed" );
}

} // namespace
} // namespace PeloraCentral
