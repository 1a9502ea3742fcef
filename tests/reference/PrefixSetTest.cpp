#include "reference/PrefixSet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace Reference {
namespace {

using PeloraTcam::IpAddress;
using Prefix = PrefixSet::Prefix;

Prefix v4( Agent::U32 address, Agent::U32 length )
{
    return { IpAddress::v4( address ), length };
}

TEST( PrefixSetTest, OverlapsAnother_BitsBehindTheLength_DoNotCount )
{
    PrefixSet prefixes;
    prefixes.insert( v4( 0x0A0102FF, 24 ) );
    EXPECT_FALSE( prefixes.overlapsAnother( v4( 0x0A010200, 24 ) ) ) << "the same";
    EXPECT_TRUE( prefixes.overlapsAnother( v4( 0x0AFFFFFF, 8 ) ) );
    EXPECT_TRUE( prefixes.overlapsAnother( v4( 0, 0 ) ) );
    EXPECT_TRUE( prefixes.overlapsAnother( v4( 0x0A010203, 32 ) ) );
}

TEST( PrefixSetTest, Erase_InsertedTwice_IsThereUntilTheSecond )
{
    PrefixSet prefixes;
    prefixes.insert( v4( 0x0A000000, 8 ) );
    prefixes.insert( v4( 0x0A000000, 8 ) );
    prefixes.erase( v4( 0x0A000000, 8 ) );
    EXPECT_TRUE( prefixes.overlapsAnother( v4( 0x0A000000, 9 ) ) );
    prefixes.erase( v4( 0x0A000000, 8 ) );
    EXPECT_FALSE( prefixes.overlapsAnother( v4( 0x0A000000, 9 ) ) );
    EXPECT_DEATH( prefixes.erase( v4( 0x0A000000, 8 ) ), "the prefix is there" );
}

TEST( PrefixSetTest, OverlapsAnother_BothHalvesOfIpv6_Count )
{
    IpAddress::Bytes bytes{ 0x20, 1 };
    bytes[ 15 ] = 1;
    PrefixSet prefixes;
    prefixes.insert( { IpAddress::v6( bytes ), 128 } );
    EXPECT_TRUE( prefixes.overlapsAnother( { IpAddress::v6( bytes ), 127 } ) );
    EXPECT_TRUE( prefixes.overlapsAnother( { IpAddress::v6( bytes ), 16 } ) );
    EXPECT_FALSE( prefixes.overlapsAnother( v4( 0x20010000, 16 ) ) ) << "of the other family";
    bytes[ 15 ] = 2;
    EXPECT_FALSE( prefixes.overlapsAnother( { IpAddress::v6( bytes ), 127 } ) );
}

/// The plainest form of the question.
bool overlap( const Prefix& left, const Prefix& right )
{
    const Agent::U32 bits = std::min( left.length, right.length );
    return bits == 0 || ( left.high ^ right.high ) >> ( 64 - bits ) == 0;
}

TEST( PrefixSetTest, OverlapsAnother_ManyRandomSets_AgreesWithEachComparedToEach )
{
    std::mt19937 random( 20240229 );
    std::size_t overlaps = 0;
    std::size_t questions = 0;
    for ( int round = 0; round < 300; ++round ) {
        PrefixSet prefixes;
        std::vector< Prefix > all;
        for ( int i = 0; i < 6; ++i ) {
            const Prefix prefix =
                v4( Agent::U32( random() ) & 0xE0E00000, Agent::U32( random() % 13 ) );
            prefixes.insert( prefix );
            all.push_back( prefix );
        }
        for ( int i = 0; i < 30; ++i ) {
            const Prefix asked =
                v4( Agent::U32( random() ) & 0xE0E00000, Agent::U32( random() % 13 ) );
            const bool expected = std::ranges::any_of( all, [ & ]( const Prefix& other ) {
                return other != asked && overlap( other, asked );
            } );
            EXPECT_EQ( prefixes.overlapsAnother( asked ), expected );
            overlaps += expected ? 1 : 0;
            ++questions;
        }
    }
    EXPECT_GT( overlaps, questions / 10 );
    EXPECT_LT( overlaps, questions * 9 / 10 ) << "both answers are wanted often";
}

} // namespace
} // namespace Reference
