#include "input/IpPrefixReader.h"

#include <gtest/gtest.h>

namespace Input {
namespace {

using Bytes = std::array< std::uint8_t, 16 >;

IpPrefix prefix( const std::string& text )
{
    return readIpPrefix( YamlDocument::fromText( "test", "'" + text + "'" ).root() );
}

std::string complaintAbout( const std::string& text )
{
    try {
        static_cast< void >( prefix( text ) );
    } catch ( const InputError& error ) {
        return error.message();
    }
    return "none";
}

TEST( IpPrefixReader, Read_Ipv4_IsAddressAndLength )
{
    EXPECT_FALSE( prefix( "192.0.2.0/24" ).isV6 );
    EXPECT_EQ( prefix( "192.0.2.0/24" ).bytes, ( Bytes{ 192, 0, 2, 0 } ) );
    EXPECT_EQ( prefix( "192.0.2.0/24" ).length, 24U );
    EXPECT_EQ( prefix( "192.0.2.1" ).length, 32U );
    EXPECT_EQ( prefix( "0.0.0.0/0" ).length, 0U );
}

TEST( IpPrefixReader, Read_Ipv6_IsAddressAndLength )
{
    EXPECT_TRUE( prefix( "2001:db8::/32" ).isV6 );
    EXPECT_EQ( prefix( "2001:db8::/32" ).bytes, ( Bytes{ 0x20, 0x01, 0x0D, 0xB8 } ) );
    EXPECT_EQ( prefix( "2001:db8::/32" ).length, 32U );
    EXPECT_EQ( prefix( "2001:db8::" ).length, 128U );
}

TEST( IpPrefixReader, Read_AnythingElse_Fails )
{
    for ( const std::string text : { "", "10.0.0", "10.0.0.256", "2001:db8", "host/24", "/24" } ) {
        EXPECT_EQ( complaintAbout( text ),
                   "expected a prefix such as '192.0.2.0/24' or '2001:db8::/32', found '" + text +
                       "'" );
    }
    EXPECT_EQ( complaintAbout( "10.0.0.0/33" ),
               "expected a prefix length from 0 to 32, found '33'" );
    EXPECT_EQ( complaintAbout( "::/129" ), "expected a prefix length from 0 to 128, found '129'" );
    EXPECT_EQ( complaintAbout( "10.0.0.0/" ), "expected a prefix length from 0 to 32, found ''" );
    EXPECT_EQ( complaintAbout( "10.0.0.0/-1" ),
               "expected a prefix length from 0 to 32, found '-1'" );
    EXPECT_EQ( complaintAbout( "10.0.0.0/8x" ),
               "expected a prefix length from 0 to 32, found '8x'" );
    EXPECT_EQ( complaintAbout( "10.0.0.0/08" ),
               "expected a prefix length from 0 to 32, found '08'" );
    EXPECT_EQ( complaintAbout( "010.0.0.0/8" ),
               "expected a prefix such as '192.0.2.0/24' or '2001:db8::/32', found '010.0.0.0/8'" );
}

TEST( IpPrefixReader, Read_BitsBehindTheLength_FailsAndNamesThePrefix )
{
    EXPECT_EQ( complaintAbout( "10.1.2.3/8" ),
               "expected a prefix without host bits, '10.0.0.0/8', found "
               "'10.1.2.3/8'" );
    EXPECT_EQ( complaintAbout( "10.1.2.3/0" ),
               "expected a prefix without host bits, '0.0.0.0/0', found "
               "'10.1.2.3/0'" );
    EXPECT_EQ( complaintAbout( "2001:db8:ffff::1/33" ),
               "expected a prefix without host bits, '2001:db8:8000::/33', found "
               "'2001:db8:ffff::1/33'" );
    EXPECT_EQ( complaintAbout( "10.1.2.3/32" ), "none" );
    EXPECT_EQ( complaintAbout( "2001:db8::1/128" ), "none" );
}

} // namespace
} // namespace Input
