#include "reference/PolicerManager.h"

#include "tests/reference/TcamScene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace Reference {
namespace {

using PeloraTcam::Policer;
using PeloraTcam::PolicerId;
using PeloraTcam::PolicerMode;
using PeloraTcam::stageIfp;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr Policer committed{ 1000, 0, 100, 0, PolicerMode::committed, false };
constexpr Policer twoRates{ 1000, 2000, 100, 200, PolicerMode::trTcm, true };

Sim::ChipProfile profileFor( const std::string& name )
{
    Sim::ChipProfile profile = Sim::builtInProfile( name );
    profile.policers.capacity = 3;
    return profile;
}

class PolicerManagerTest : public ::testing::TestWithParam< const char* >
{
  protected:
    PolicerId acquired( const Policer& policer, PolicerSharing sharing = PolicerSharing::shared )
    {
        const auto id = manager.acquire( policer, stageIfp(), sharing );
        EXPECT_TRUE( id );
        return id.value_or( 0 );
    }

    [[nodiscard]] std::size_t policersOnChip() { return scene.chip().policers().used(); }

    TcamScene scene{ profileFor( GetParam() ) };
    PolicerManager manager{ scene.policerHelper(), 3 };
    Sim::ChipSnapshot before = scene.snapshot();
};

INSTANTIATE_TEST_SUITE_P( Variants,
                          PolicerManagerTest,
                          ::testing::Values( "sdk6-udf", "hsdk" ),
                          []( const auto& test ) {
                              return std::string( test.index == 0 ? "sdk6" : "hsdk" );
                          } );

TEST_P( PolicerManagerTest, AcquireAndRelease_One_StandsInTheChipAndIsGone )
{
    const PolicerId id = acquired( twoRates );
    EXPECT_EQ( id, 1U );
    EXPECT_THAT( scene.text(), HasSubstr( "policer 1:" ) );
    EXPECT_EQ( manager.users( id ), 1U );
    EXPECT_EQ( manager.audit(), 1U );
    EXPECT_TRUE( manager.release( id ) );
    EXPECT_THAT( Sim::difference( before, scene.snapshot() ), ElementsAre() );
    EXPECT_EQ( manager.users( id ), 0U );
}

TEST_P( PolicerManagerTest, Acquire_EqualAndShared_IsOneWithTwoUsers )
{
    const PolicerId id = acquired( committed );
    EXPECT_EQ( acquired( committed ), id );
    EXPECT_EQ( manager.users( id ), 2U );
    EXPECT_EQ( policersOnChip(), 1U );
    EXPECT_TRUE( manager.release( id ) );
    EXPECT_EQ( policersOnChip(), 1U );
    EXPECT_TRUE( manager.release( id ) );
    EXPECT_EQ( policersOnChip(), 0U );
}

TEST_P( PolicerManagerTest, Acquire_OnlyPeaksDifferWithoutPeaks_AreOne )
{
    Policer withPeaks = committed;
    withPeaks.peakRate = 5000;
    withPeaks.peakBurst = 5000;
    EXPECT_EQ( acquired( withPeaks ), acquired( committed ) );
    EXPECT_EQ( manager.audit(), 1U );
}

TEST_P( PolicerManagerTest, Acquire_Own_IsSharedWithNobody )
{
    const std::set< PolicerId > ids = { acquired( committed, PolicerSharing::own ),
                                        acquired( committed ),
                                        acquired( committed, PolicerSharing::own ) };
    EXPECT_EQ( ids.size(), 3U );
    for ( const PolicerId id : ids ) {
        EXPECT_EQ( manager.users( id ), 1U );
        EXPECT_TRUE( manager.release( id ) );
    }
    EXPECT_EQ( policersOnChip(), 0U );
}

TEST( PolicerOrderTest, Acquire_AnyFieldOrStageDiffers_IsAnother )
{
    TcamScene scene( "sdk6-udf" );
    PolicerManager manager( scene.policerHelper(), 100 );
    const Policer base = twoRates;
    std::vector< Policer > different( 7, base );
    different[ 1 ].committedRate = 1;
    different[ 2 ].committedBurst = 1;
    different[ 3 ].peakRate = 1;
    different[ 4 ].peakBurst = 1;
    different[ 5 ].mode = PolicerMode::srTcm;
    different[ 6 ].colorAware = false;
    std::set< PolicerId > ids;
    for ( const Policer& policer : different ) {
        ids.insert( manager.acquire( policer, stageIfp(), PolicerSharing::shared ).value() );
    }
    ids.insert( manager.acquire( base, PeloraTcam::stageVfp(), PolicerSharing::shared ).value() );
    EXPECT_EQ( ids.size(), 8U );
    EXPECT_EQ( manager.audit(), 8U );
}

TEST_P( PolicerManagerTest, Acquire_OnePastTheChip_IsRefusedAndRoomComesBack )
{
    const PolicerId first = acquired( committed, PolicerSharing::own );
    acquired( committed, PolicerSharing::own );
    const PolicerId shared = acquired( committed );
    const Sim::ChipSnapshot full = scene.snapshot();
    EXPECT_EQ( manager.acquire( twoRates, stageIfp(), PolicerSharing::shared ), std::nullopt );
    EXPECT_EQ( manager.acquire( committed, stageIfp(), PolicerSharing::own ), std::nullopt );
    EXPECT_EQ( scene.snapshot(), full );
    EXPECT_EQ( acquired( committed ), shared ) << "sharing takes no room";
    EXPECT_TRUE( manager.release( first ) );
    EXPECT_NE( acquired( twoRates ), 0U );
}

TEST( PolicerIdsTest, Acquire_PoolOfTheStageExhausted_IsRefused )
{
    TcamScene scene( profileFor( "hsdk" ) );
    PolicerManager manager( scene.policerHelper(), 100 );
    for ( int i = 0; i < 3; ++i ) {
        EXPECT_TRUE( manager.acquire( committed, stageIfp(), PolicerSharing::own ) );
    }
    EXPECT_EQ( manager.acquire( committed, stageIfp(), PolicerSharing::own ), std::nullopt );
    EXPECT_EQ( manager.acquire( committed, PeloraTcam::stageVfp(), PolicerSharing::own ),
               std::nullopt )
        << "a stage without a pool";
    EXPECT_EQ( manager.size(), 3U );
}

TEST_P( PolicerManagerTest, Release_UnknownId_IsRefused )
{
    const PolicerId id = acquired( committed );
    EXPECT_FALSE( manager.release( id + 1 ) );
    EXPECT_FALSE( manager.release( PeloraTcam::invalidPolicerId ) );
    EXPECT_TRUE( manager.release( id ) );
    EXPECT_FALSE( manager.release( id ) );
}

TEST_P( PolicerManagerTest, Release_SdkThrows_LeavesTheRecord )
{
    const PolicerId id = acquired( committed );
    scene.nextCallIs( "bcm_policer_destroy", Sim::ThrowFromCall{} );
    EXPECT_THROW( manager.release( id ), std::runtime_error );
    EXPECT_EQ( manager.users( id ), 1U );
    EXPECT_EQ( acquired( committed ), id );
}

TEST_P( PolicerManagerTest, Audit_ReadBackWrong_Dies )
{
    acquired( committed );
    scene.nextCallIs( "bcm_policer_get", Sim::CorruptOutput{ "ckbits_sec", 999 } );
    EXPECT_DEATH( manager.audit(), "PolicerManager::policerData sw collection is out of sync" );
}

TEST_P( PolicerManagerTest, Audit_CreateWasDropped_Dies )
{
    scene.nextCallIs( "bcm_policer_create", Sim::DropCall{} );
    acquired( committed );
    EXPECT_DEATH( manager.audit(), "API ERROR:Entry not found" );
}

TEST_P( PolicerManagerTest, Acquire_UnknownMode_Dies )
{
    Policer unknown = committed;
    unknown.mode = static_cast< PolicerMode >( 3 );
    EXPECT_DEATH(
        static_cast< void >( manager.acquire( unknown, stageIfp(), PolicerSharing::own ) ),
        "Invalid policer mode" );
}

} // namespace
} // namespace Reference
