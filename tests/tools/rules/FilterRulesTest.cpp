#include "tools/rules/FilterRules.h"

#include <gtest/gtest.h>

namespace {

using PeloraTcam::IpAddress;

TEST( FilterRules, FilterRulesOf_Rules_AreTakenOver )
{
    const Tool::RuleSet ruleSet = Tool::parseRuleSet(
        "@10.0.0.0/8\t192.0.2.1/32\t0 : 65535\t80 : 81\t0x06/0xFF\t0x0200/0x0200\n"
        "@0.0.0.0/0\t5.6.7.8/30\t53 : 53\t0 : 65535\t0x00/0x00\t0x0000/0x0000\n",
        "two.rules" );
    const std::vector< Reference::FilterRule > rules = Tool::filterRulesOf( ruleSet );
    ASSERT_EQ( rules.size(), 2U );
    EXPECT_EQ( rules[ 0 ].source, ( Reference::IpPrefix{ IpAddress::v4( 0x0A000000 ), 8 } ) );
    EXPECT_EQ( rules[ 0 ].destination, ( Reference::IpPrefix{ IpAddress::v4( 0xC0000201 ), 32 } ) );
    EXPECT_EQ( rules[ 0 ].sourcePorts, Reference::PortRange() );
    EXPECT_EQ( rules[ 0 ].destinationPorts, ( Reference::PortRange{ 80, 81 } ) );
    EXPECT_EQ( rules[ 0 ].protocol, ( Reference::Masked< Agent::U8 >{ 6, 0xFF } ) );
    EXPECT_EQ( rules[ 0 ].flags, ( Reference::Masked< Agent::U16 >{ 0x0200, 0x0200 } ) );
    EXPECT_EQ( rules[ 1 ].source, ( Reference::IpPrefix{ IpAddress::v4( 0 ), 0 } ) );
    EXPECT_EQ( rules[ 1 ].destination, ( Reference::IpPrefix{ IpAddress::v4( 0x05060708 ), 30 } ) );
    EXPECT_EQ( rules[ 1 ].sourcePorts, ( Reference::PortRange{ 53, 53 } ) );
    EXPECT_EQ( rules[ 1 ].protocol, ( Reference::Masked< Agent::U8 >{ 0, 0 } ) );
}

} // namespace
