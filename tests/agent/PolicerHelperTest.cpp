#include "agent/tcam/PolicerHelper.h"

#include "agent/base/TextPieces.h"

#include <gtest/gtest.h>

namespace PeloraTcam {
namespace {

TEST( PolicerTest, Print_EachMode_IsItsNameOrNumber )
{
    EXPECT_EQ( Agent::joinPieces( PolicerMode::committed ), "committed" );
    EXPECT_EQ( Agent::joinPieces( PolicerMode::trTcm ), "trTcm" );
    EXPECT_EQ( Agent::joinPieces( PolicerMode::srTcm ), "srTcm" );
    EXPECT_EQ( Agent::joinPieces( static_cast< PolicerMode >( 3 ) ), "PolicerMode(3)" );
    EXPECT_EQ( Agent::joinPieces( static_cast< PolicerMode >( 255 ) ), "PolicerMode(255)" );
}

TEST( PolicerTest, Print_APolicer_HasAllFields )
{
    const Policer policer{ .committedRate = 0xFFFFFFFF,
                           .peakRate = 2,
                           .committedBurst = 3,
                           .peakBurst = 4,
                           .mode = PolicerMode::srTcm,
                           .colorAware = true };
    EXPECT_EQ( Agent::joinPieces( policer ),
               "srTcm cir:4294967295 cbs:3 pir:2 pbs:4 colorAware:1" );
}

TEST( PolicerTest, Equality_EachField_Counts )
{
    const Policer policer;
    EXPECT_EQ( policer, Policer{} );
    for ( const auto field : { &Policer::committedRate, &Policer::peakRate,
                               &Policer::committedBurst, &Policer::peakBurst } ) {
        Policer other;
        other.*field = 1;
        EXPECT_NE( policer, other );
    }
    EXPECT_NE( policer, Policer{ .mode = PolicerMode::trTcm } );
    EXPECT_NE( policer, Policer{ .colorAware = true } );
}

TEST( PolicerTest, Data_OfAPolicer_KeepsIdAndPolicer )
{
    const Agent::Ptr< const PolicerData > data( new PolicerData( { .peakRate = 5 }, 6 ) );
    EXPECT_EQ( data->policerId(), 6U );
    EXPECT_EQ( data->policerCfg(), Policer{ .peakRate = 5 } );
}

} // namespace
} // namespace PeloraTcam
