#include "sim/IdSequence.h"

#include <gtest/gtest.h>

#include <set>

namespace Sim {

namespace {

bool nothingIsLive( uint32_t )
{
    return false;
}

TEST( IdSequenceTest, Next_FirstIds_CountFromOne )
{
    IdSequence ids;
    EXPECT_EQ( ids.next( nothingIsLive ), 1U );
    EXPECT_EQ( ids.next( nothingIsLive ), 2U );
}

TEST( IdSequenceTest, Next_AfterTheGreatest_StartsAgainAtOne )
{
    IdSequence ids( 2 );
    ids.next( nothingIsLive );
    EXPECT_EQ( ids.next( nothingIsLive ), 2U );
    EXPECT_EQ( ids.next( nothingIsLive ), 1U );
}

TEST( IdSequenceTest, Next_LiveIds_AreLeftOut )
{
    IdSequence ids( 4 );
    const std::set< uint32_t > live{ 1, 2, 4 };
    const auto isLive = [ & ]( uint32_t id ) { return live.contains( id ); };
    EXPECT_EQ( ids.next( isLive ), 3U );
    EXPECT_EQ( ids.next( isLive ), 3U ) << "4, 1 and 2 are live";
}

TEST( IdSequenceTest, GreatestId_IsNoNegativeNumber )
{
    EXPECT_GT( static_cast< int32_t >( IdSequence::greatestId ), 0 );
}

} // namespace

} // namespace Sim
