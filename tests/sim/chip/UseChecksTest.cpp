#include "sim/UseChecks.h"

#include <gtest/gtest.h>

namespace Sim {

namespace {

TEST( UseChecksTest, IsInUse_NobodyAsked_IsFalse )
{
    EXPECT_FALSE( UseChecks< int >().isInUse( 1 ) );
}

TEST( UseChecksTest, IsInUse_AnyOfSeveralUsesIt_IsTrue )
{
    UseChecks< int > checks;
    checks.add( []( int id ) { return id == 1; } );
    checks.add( []( int id ) { return id == 2; } );
    EXPECT_TRUE( checks.isInUse( 1 ) );
    EXPECT_TRUE( checks.isInUse( 2 ) );
    EXPECT_FALSE( checks.isInUse( 3 ) );
}

} // namespace

} // namespace Sim
