#include "tools/rules/ClassBench.h"

#include "input/InputError.h"
#include "input/TextFile.h"

#include <gtest/gtest.h>

namespace {

using Tool::parseRuleSet;
using Tool::Rule;
using Tool::RuleSet;

TEST( ParseRuleSet, OneRule_AllFields_AreRead )
{
    const RuleSet ruleSet =
        parseRuleSet( "@175.212.181.112/28\t172.105.239.56/30\t88 : 90\t24032 : 65535\t0x2f/0xFF\t"
                      "0x0200/0x1200\t\n",
                      "a.rules" );
    ASSERT_EQ( ruleSet.rules.size(), 1U );
    const Rule& rule = ruleSet.rules[ 0 ];
    EXPECT_EQ( rule.source.address, 0xAFD4B570U );
    EXPECT_EQ( rule.source.length, 28 );
    EXPECT_EQ( rule.destination.address, 0xAC69EF38U );
    EXPECT_EQ( rule.destination.length, 30 );
    EXPECT_EQ( rule.sourcePorts.low, 88 );
    EXPECT_EQ( rule.sourcePorts.high, 90 );
    EXPECT_EQ( rule.destinationPorts.low, 24032 );
    EXPECT_EQ( rule.destinationPorts.high, 65535 );
    EXPECT_EQ( rule.protocol.value, 0x2F );
    EXPECT_EQ( rule.protocol.mask, 0xFF );
    EXPECT_EQ( rule.tcpFlags.value, 0x0200 );
    EXPECT_EQ( rule.tcpFlags.mask, 0x1200 );
    EXPECT_EQ( ruleSet.file, "a.rules" );
}

TEST( ParseRuleSet, Limits_OfEveryField_AreAccepted )
{
    const RuleSet ruleSet = parseRuleSet(
        "@0.0.0.0/0 255.255.255.255/32 0 : 0 65535 : 65535 0x00/0x00 0xFFFF/0xffff", "a" );
    ASSERT_EQ( ruleSet.rules.size(), 1U );
    EXPECT_EQ( ruleSet.rules[ 0 ].source, ( Tool::Ipv4Prefix{ 0, 0 } ) );
    EXPECT_EQ( ruleSet.rules[ 0 ].destination, ( Tool::Ipv4Prefix{ 0xFFFFFFFF, 32 } ) );
    EXPECT_EQ( ruleSet.rules[ 0 ].sourcePorts, ( Tool::PortRange{ 0, 0 } ) );
    EXPECT_EQ( ruleSet.rules[ 0 ].destinationPorts, ( Tool::PortRange{ 65535, 65535 } ) );
    EXPECT_EQ( ruleSet.rules[ 0 ].tcpFlags.value, 0xFFFF );
    EXPECT_EQ( ruleSet.rules[ 0 ].tcpFlags.mask, 0xFFFF );
}

TEST( ParseRuleSet, BlanksTabsCarriageReturnsAndEmptyLines_ArePassedOver )
{
    const std::string rule = "@1.2.3.4/32  5.6.7.8/32 \t0 :\t1  2 : 3 0x06/0xFF 0x0000/0x0000";
    const RuleSet ruleSet = parseRuleSet( rule + "\r\n\n  \t\n" + rule, "a" );
    ASSERT_EQ( ruleSet.rules.size(), 2U );
    EXPECT_EQ( ruleSet.rules[ 0 ], ruleSet.rules[ 1 ] );
    EXPECT_EQ( ruleSet.lines, ( std::vector< int >{ 1, 4 } ) );
}

TEST( ParseRuleSet, BadText_ThrowsWithFileLineAndColumn )
{
    try {
        static_cast< void >( parseRuleSet( "\n@1.2.3.4/32 5.6.7.8/40", "bad.rules" ) );
        FAIL() << "nothing thrown";
    } catch ( const Input::InputError& error ) {
        EXPECT_EQ( error.file(), "bad.rules" );
        EXPECT_EQ( error.line(), 2 );
        EXPECT_EQ( error.column(), 21 );
        EXPECT_EQ( error.message(), "expected a prefix length (0 to 32), found '40'" );
    }
}

TEST( ReadRuleSet, NoSuchFile_ThrowsUnreadable )
{
    EXPECT_THROW( static_cast< void >( Tool::readRuleSet( "/none/none" ) ), Input::UnreadableFile );
}

} // namespace
