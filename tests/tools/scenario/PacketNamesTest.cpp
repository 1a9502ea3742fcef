#include "tools/scenario/PacketNames.h"

#include <gtest/gtest.h>
#include <set>

namespace Tool {
namespace {

std::uint16_t etherType( const std::string& text )
{
    return readEtherType( Input::YamlDocument::fromText( "test", text ).root() );
}

std::uint8_t ipProtocol( const std::string& text )
{
    return readIpProtocol( Input::YamlDocument::fromText( "test", text ).root() );
}

TEST( PacketNames, ReadEtherType_NameOrNumber_IsTheNumber )
{
    EXPECT_EQ( etherType( "ipv4" ), 0x0800 );
    EXPECT_EQ( etherType( "ipv6" ), 0x86DD );
    EXPECT_EQ( etherType( "arp" ), 0x0806 );
    EXPECT_EQ( etherType( "mpls" ), 0x8847 );
    EXPECT_EQ( etherType( "vlan" ), 0x8100 );
    EXPECT_EQ( etherType( "lldp" ), 0x88CC );
    EXPECT_EQ( etherType( "none" ), 0 );
    EXPECT_EQ( etherType( "0xFFFF" ), 0xFFFF );
    EXPECT_EQ( etherType( "2048" ), 0x0800 );
}

TEST( PacketNames, ReadIpProtocol_NameOrNumber_IsTheNumber )
{
    EXPECT_EQ( ipProtocol( "tcp" ), 6 );
    EXPECT_EQ( ipProtocol( "udp" ), 17 );
    EXPECT_EQ( ipProtocol( "icmp" ), 1 );
    EXPECT_EQ( ipProtocol( "gre" ), 47 );
    EXPECT_EQ( ipProtocol( "sctp" ), 132 );
    EXPECT_EQ( ipProtocol( "any" ), 0 );
    EXPECT_EQ( ipProtocol( "255" ), 255 );
}

TEST( PacketNames, Read_NeitherNameNorNumber_Fails )
{
    EXPECT_THROW( static_cast< void >( etherType( "ipv7" ) ), Input::InputError );
    EXPECT_THROW( static_cast< void >( etherType( "0x10000" ) ), Input::InputError );
    EXPECT_THROW( static_cast< void >( etherType( "-1" ) ), Input::InputError );
    EXPECT_THROW( static_cast< void >( ipProtocol( "256" ) ), Input::InputError );
    EXPECT_THROW( static_cast< void >( ipProtocol( "" ) ), Input::InputError );
}

TEST( PacketNames, Text_Number_HasItsNameIfThereIsOne )
{
    EXPECT_EQ( etherTypeText( 0x0800 ), "ipv4 (0x0800)" );
    EXPECT_EQ( etherTypeText( 0x1234 ), "0x1234" );
    EXPECT_EQ( ipProtocolText( 6 ), "tcp (6)" );
    EXPECT_EQ( ipProtocolText( 200 ), "200" );
}

TEST( PacketNames, Tables_NamesAndNumbers_AreThereOnce )
{
    for ( const auto table : { etherTypeNames(), ipProtocolNames() } ) {
        std::set< std::string_view > names;
        std::set< std::uint16_t > numbers;
        for ( const auto& [ name, number ] : table ) {
            EXPECT_TRUE( names.insert( name ).second ) << name;
            EXPECT_TRUE( numbers.insert( number ).second ) << number;
        }
    }
}

} // namespace
} // namespace Tool
