#include "agent/tcam/IpAddress.h"

#include "agent/base/TextPieces.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace PeloraTcam {
namespace {

using Agent::U32;

constexpr IpAddress::Bytes documentation = { 0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0,
                                             0,    0,    0,    0,    0, 0, 0, 1 };

TEST( IpAddressTest, V4_AnAddress_HasItsValueInHostByteOrder )
{
    const IpAddress address = IpAddress::v4( 0xC0000201 );
    EXPECT_FALSE( address.isV6() );
    EXPECT_EQ( address.value(), 0xC0000201U );
    EXPECT_EQ( address.bytes(), IpAddress::Bytes{} );
    EXPECT_EQ( Agent::joinPieces( address ), "192.0.2.1" );
    EXPECT_EQ( Agent::joinPieces( IpAddress::v4( 0 ) ), "0.0.0.0" );
    EXPECT_EQ( Agent::joinPieces( IpAddress::v4( 0xFFFFFFFF ) ), "255.255.255.255" );
}

TEST( IpAddressTest, V6_AnAddress_HasItsBytesInNetworkOrder )
{
    const IpAddress address = IpAddress::v6( documentation );
    EXPECT_TRUE( address.isV6() );
    EXPECT_EQ( address.bytes(), documentation );
    EXPECT_EQ( address.value(), 0U );
    EXPECT_EQ( Agent::joinPieces( address ), "2001:db8:0:0:0:0:0:1" );
}

TEST( IpAddressTest, Equality_FamilyAndValue_Count )
{
    EXPECT_EQ( IpAddress::v4( 7 ), IpAddress::v4( 7 ) );
    EXPECT_NE( IpAddress::v4( 7 ), IpAddress::v4( 8 ) );
    EXPECT_NE( IpAddress::v4( 0 ), IpAddress::v6( {} ) );
    EXPECT_LT( IpAddress::v4( 7 ), IpAddress::v4( 8 ) );
}

TEST( Ip4PrefixMaskTest, EachLength_HasSoManyLeadingOnes )
{
    EXPECT_EQ( ip4PrefixMask( 0 ), 0U );
    EXPECT_EQ( ip4PrefixMask( 1 ), 0x80000000U );
    EXPECT_EQ( ip4PrefixMask( 8 ), 0xFF000000U );
    EXPECT_EQ( ip4PrefixMask( 24 ), 0xFFFFFF00U );
    EXPECT_EQ( ip4PrefixMask( 31 ), 0xFFFFFFFEU );
    EXPECT_EQ( ip4PrefixMask( 32 ), 0xFFFFFFFFU );
    EXPECT_EQ( ip4PrefixMask( 33 ), 0xFFFFFFFFU );
    EXPECT_EQ( ip4PrefixMask( 0xFFFFFFFF ), 0xFFFFFFFFU );
}

/// Whether bit `bit` of the bytes is set, the first bit of the first byte being bit 0.
bool bitIsSet( const bcm_ip6_t& bytes, U32 bit )
{
    return ( bytes[ bit / 8 ] >> ( 7 - bit % 8 ) & 1 ) != 0;
}

TEST( Ip6PrefixMaskTest, EachLength_HasSoManyLeadingOnes )
{
    for ( U32 length = 0; length <= 128; ++length ) {
        bcm_ip6_t mask;
        std::ranges::fill( mask, Agent::U8{ 0x5A } );
        ip6PrefixMask( length, mask );
        for ( U32 bit = 0; bit < 128; ++bit ) {
            ASSERT_EQ( bitIsSet( mask, bit ), bit < length ) << length << ": bit " << bit;
        }
    }
}

TEST( Ip6PrefixMaskDeathTest, Above128_Dies )
{
    bcm_ip6_t mask{};
    EXPECT_DEATH( ip6PrefixMask( 129, mask ), "ip6PrefixMask.*: Assertion `len <= 128' failed\\." );
    EXPECT_DEATH( ip6PrefixMask( 0xFFFFFFFF, mask ), "Assertion `len <= 128' failed\\." );
}

} // namespace
} // namespace PeloraTcam
