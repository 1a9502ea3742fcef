#include "sim/SimPolicer.h"

#include "sim/ReturnCode.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace Sim {

namespace {

constexpr uint32_t capacity = 3;

class SimPolicerTest : public testing::TestWithParam< const char* >
{
  protected:
    bcm_policer_config_t config( uint32_t flags = 0x84 ) const
    {
        bcm_policer_config_t policer;
        policer.flags = flags;
        policer.mode = numbering.bcmPolicerModeTrTcm;
        policer.ckbits_sec = 1000;
        policer.ckbits_burst = 64;
        policer.pkbits_sec = 2000;
        policer.pkbits_burst = 128;
        return policer;
    }

    /// Makes a policer whose id the chip chooses, and gives the id.
    bcm_policer_t made()
    {
        const bcm_policer_config_t policer = config();
        bcm_policer_t id = 0;
        EXPECT_EQ( policers.create( &policer, &id ), ReturnCode::BCM_E_NONE );
        return id;
    }

    int createdAs( bcm_policer_t id )
    {
        const bcm_policer_config_t policer = config( 0x85 );
        bcm_policer_t given = id;
        const int rc = policers.create( &policer, &given );
        EXPECT_EQ( given, id );
        return rc;
    }

    ChipSnapshot snapshot() const
    {
        ChipSnapshot now;
        policers.addTo( now );
        return now;
    }

    /// Expects that creating fails, and that nothing changes: the chip, the id.
    void expectRefused( int rc, const bcm_policer_config_t& policer, bcm_policer_t id = 4711 )
    {
        const ChipSnapshot before = snapshot();
        bcm_policer_t given = id;
        EXPECT_EQ( policers.create( &policer, &given ), rc );
        EXPECT_EQ( given, id );
        EXPECT_EQ( snapshot(), before );
    }

    const SdkNumbering numbering = SdkNumbering::fromText( GetParam() );
    SimPolicer policers{ numbering, capacity };
};

INSTANTIATE_TEST_SUITE_P( Numberings,
                          SimPolicerTest,
                          testing::Values( "default", "shuffled:1", "shuffled:2" ) );

TEST_P( SimPolicerTest, Create_NoIdGiven_GivesIdFromOne )
{
    EXPECT_EQ( made(), 1 );
    EXPECT_EQ( made(), 2 );
    EXPECT_EQ( policers.used(), 2U );
    EXPECT_TRUE( policers.has( 2 ) );
    EXPECT_FALSE( policers.has( 3 ) );
}

TEST_P( SimPolicerTest, Create_IdGiven_HasThatId )
{
    EXPECT_EQ( createdAs( 700 ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( policers.has( 700 ) );
    EXPECT_EQ( createdAs( 0x7FFFFFFF ), ReturnCode::BCM_E_NONE );
    EXPECT_TRUE( policers.has( 0x7FFFFFFF ) );
}

TEST_P( SimPolicerTest, Create_GivenIdIsTaken_Exists )
{
    const bcm_policer_t id = made();
    expectRefused( ReturnCode::BCM_E_EXISTS, config( 1 ), id );
}

TEST_P( SimPolicerTest, Create_GivenIdIsTakenAndChipIsFull_Exists )
{
    made();
    made();
    const bcm_policer_t id = made();
    expectRefused( ReturnCode::BCM_E_EXISTS, config( 1 ), id );
}

TEST_P( SimPolicerTest, Create_GivenIdIsNotPositive_IsBadParameter )
{
    expectRefused( ReturnCode::BCM_E_PARAM, config( 1 ), 0 );
    expectRefused( ReturnCode::BCM_E_PARAM, config( 1 ), -1 );
}

TEST_P( SimPolicerTest, Create_ChosenIdWouldBeAGivenOne_LeavesItOut )
{
    EXPECT_EQ( createdAs( 1 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( createdAs( 2 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( made(), 3 );
}

TEST_P( SimPolicerTest, Create_Null_IsBadParameter )
{
    const bcm_policer_config_t policer = config();
    bcm_policer_t id = 4711;
    EXPECT_EQ( policers.create( nullptr, &id ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( policers.create( &policer, nullptr ), ReturnCode::BCM_E_PARAM );
    EXPECT_EQ( id, 4711 );
    EXPECT_EQ( policers.used(), 0U );
}

TEST_P( SimPolicerTest, Create_UnknownMode_IsBadParameter )
{
    bcm_policer_config_t policer = config();
    policer.mode = {};
    expectRefused( ReturnCode::BCM_E_PARAM, policer );
    policer.mode = static_cast< bcm_policer_mode_t >( 4 );
    expectRefused( ReturnCode::BCM_E_PARAM, policer );
}

TEST_P( SimPolicerTest, Create_EachMode_IsAccepted )
{
    for ( const bcm_policer_mode_t mode :
          { numbering.bcmPolicerModeCommitted, numbering.bcmPolicerModeSrTcm,
            numbering.bcmPolicerModeTrTcm } ) {
        bcm_policer_config_t policer = config();
        policer.mode = mode;
        bcm_policer_t id = 0;
        EXPECT_EQ( policers.create( &policer, &id ), ReturnCode::BCM_E_NONE );
    }
}

TEST_P( SimPolicerTest, Create_AtCapacityAndOnePast_IsMadeThenFull )
{
    made();
    made();
    EXPECT_EQ( createdAs( 10 ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( policers.used(), capacity );
    expectRefused( ReturnCode::BCM_E_FULL, config() );
    expectRefused( ReturnCode::BCM_E_FULL, config( 1 ), 11 );
}

TEST_P( SimPolicerTest, Create_AfterDestroyWhenFull_IsMadeWithAnUnusedId )
{
    std::set< bcm_policer_t > live{ made(), made(), made() };
    for ( int i = 0; i < 100; ++i ) {
        EXPECT_EQ( policers.destroy( *live.begin() ), ReturnCode::BCM_E_NONE );
        live.erase( live.begin() );
        const bcm_policer_t id = made();
        EXPECT_GT( id, 0 );
        EXPECT_TRUE( live.insert( id ).second ) << id << " is live twice";
    }
}

TEST_P( SimPolicerTest, Destroy_UnknownId_IsNotFound )
{
    made();
    const ChipSnapshot before = snapshot();
    for ( const bcm_policer_t id : { 0, 2, -1 } ) {
        EXPECT_EQ( policers.destroy( id ), ReturnCode::BCM_E_NOT_FOUND );
    }
    EXPECT_EQ( snapshot(), before );
}

TEST_P( SimPolicerTest, Destroy_Twice_IsNotFoundTheSecondTime )
{
    const bcm_policer_t id = made();
    EXPECT_EQ( policers.destroy( id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( policers.destroy( id ), ReturnCode::BCM_E_NOT_FOUND );
}

TEST_P( SimPolicerTest, Destroy_InUse_IsBusyUntilItIsNot )
{
    const bcm_policer_t inUse = made();
    const bcm_policer_t other = made();
    bool used = true;
    policers.useChecks().add( [ & ]( bcm_policer_t id ) { return used && id == inUse; } );
    EXPECT_EQ( policers.destroy( inUse ), ReturnCode::BCM_E_BUSY );
    EXPECT_TRUE( policers.has( inUse ) );
    EXPECT_EQ( policers.destroy( other ), ReturnCode::BCM_E_NONE );
    used = false;
    EXPECT_EQ( policers.destroy( inUse ), ReturnCode::BCM_E_NONE );
}

TEST_P( SimPolicerTest, Get_LiveId_FillsAllButTheFlagOfTheGivenId )
{
    EXPECT_EQ( createdAs( 9 ), ReturnCode::BCM_E_NONE );
    bcm_policer_config_t policer;
    EXPECT_EQ( policers.get( 9, &policer ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( policer.flags, 0x84U );
    EXPECT_EQ( policer.mode, numbering.bcmPolicerModeTrTcm );
    EXPECT_EQ( policer.ckbits_sec, 1000U );
    EXPECT_EQ( policer.ckbits_burst, 64U );
    EXPECT_EQ( policer.pkbits_sec, 2000U );
    EXPECT_EQ( policer.pkbits_burst, 128U );
}

TEST_P( SimPolicerTest, Get_UnknownId_IsNotFoundAndFillsNothing )
{
    bcm_policer_config_t policer;
    policer.ckbits_sec = 77;
    EXPECT_EQ( policers.get( 9, &policer ), ReturnCode::BCM_E_NOT_FOUND );
    EXPECT_EQ( policer.ckbits_sec, 77U );
}

TEST_P( SimPolicerTest, Get_NullConfiguration_IsBadParameter )
{
    EXPECT_EQ( policers.get( made(), nullptr ), ReturnCode::BCM_E_PARAM );
}

TEST_P( SimPolicerTest, AddTo_SomePolicers_NamesThemIndependentlyOfTheNumbering )
{
    made();
    bcm_policer_config_t policer = config( 0 );
    policer.mode = numbering.bcmPolicerModeCommitted;
    bcm_policer_t id = 0;
    ASSERT_EQ( policers.create( &policer, &id ), ReturnCode::BCM_E_NONE );
    EXPECT_EQ( snapshot().text(),
               "policer 1: mode=bcmPolicerModeTrTcm flags=0x84 ckbits_sec=1000 ckbits_burst=64 "
               "pkbits_sec=2000 pkbits_burst=128\n"
               "policer 2: mode=bcmPolicerModeCommitted flags=0x0 ckbits_sec=1000 ckbits_burst=64 "
               "pkbits_sec=2000 pkbits_burst=128\n" );
}

TEST_P( SimPolicerTest, StateIs_EarlierState_PutsPolicersBackButNotIds )
{
    made();
    const SimPolicer::State earlier = policers.state();
    const ChipSnapshot before = snapshot();
    EXPECT_EQ( made(), 2 );
    policers.stateIs( earlier );
    EXPECT_EQ( snapshot(), before );
    EXPECT_EQ( made(), 3 );
}

} // namespace

} // namespace Sim
