#include "tools/scenario/PrefixReader.h"

#include <gtest/gtest.h>

namespace Tool {
namespace {

using PeloraTcam::IpAddress;

Reference::IpPrefix prefix( const std::string& text )
{
    return readPrefix( Input::YamlDocument::fromText( "test", "'" + text + "'" ).root() );
}

TEST( PrefixReader, Read_Ipv4_IsInHostOrder )
{
    EXPECT_EQ( prefix( "192.0.2.0/24" ),
               ( Reference::IpPrefix{ IpAddress::v4( 0xC0000200 ), 24 } ) );
}

TEST( PrefixReader, Read_Ipv6_IsInNetworkOrder )
{
    IpAddress::Bytes bytes{};
    bytes[ 0 ] = 0x20;
    bytes[ 1 ] = 0x01;
    bytes[ 2 ] = 0x0D;
    bytes[ 3 ] = 0xB8;
    EXPECT_EQ( prefix( "2001:db8::/32" ), ( Reference::IpPrefix{ IpAddress::v6( bytes ), 32 } ) );
}

} // namespace
} // namespace Tool
