#include "input/RateUnits.h"

#include <gtest/gtest.h>

namespace Input {
namespace {

using Reader = std::uint32_t ( * )( const YamlNode& node );

std::uint32_t valueOf( Reader reader, const std::string& text )
{
    return reader( YamlDocument::fromText( "test", text ).root() );
}

std::string complaintAbout( Reader reader, const std::string& text )
{
    try {
        static_cast< void >( valueOf( reader, text ) );
    } catch ( const InputError& error ) {
        return error.message();
    }
    return "none";
}

TEST( RateUnits, ReadRate_Unit_IsInKilobitsASecond )
{
    EXPECT_EQ( valueOf( readRate, "10Mbps" ), 10000U );
    EXPECT_EQ( valueOf( readRate, "1Gbps" ), 1000000U );
    EXPECT_EQ( valueOf( readRate, "500kbps" ), 500U );
    EXPECT_EQ( valueOf( readRate, "2000bps" ), 2U );
    EXPECT_EQ( valueOf( readRate, "1Tbps" ), 1000000000U );
    EXPECT_EQ( valueOf( readRate, "1.5Gbps" ), 1500000U );
    EXPECT_EQ( valueOf( readRate, "0.064Mbps" ), 64U );
    EXPECT_EQ( valueOf( readRate, "0" ), 0U );
    EXPECT_EQ( valueOf( readRate, "64" ), 64U );
}

TEST( RateUnits, ReadBurst_Unit_IsInKilobits )
{
    EXPECT_EQ( valueOf( readBurst, "64KB" ), 512U );
    EXPECT_EQ( valueOf( readBurst, "1MB" ), 8000U );
    EXPECT_EQ( valueOf( readBurst, "0.5GB" ), 4000000U );
    EXPECT_EQ( valueOf( readBurst, "125B" ), 1U );
    EXPECT_EQ( valueOf( readBurst, "8000bit" ), 8U );
    EXPECT_EQ( valueOf( readBurst, "8kbit" ), 8U );
    EXPECT_EQ( valueOf( readBurst, "2Mbit" ), 2000U );
    EXPECT_EQ( valueOf( readBurst, "1Gbit" ), 1000000U );
    EXPECT_EQ( valueOf( readBurst, "4294967295" ), 4294967295U );
}

TEST( RateUnits, Read_NoNumber_SaysWhatIsExpected )
{
    for ( const std::string text :
          { "fast", "Mbps", "-1Mbps", ".5Mbps", "5.Mbps", "1.2.3Mbps", "1234567890123bps" } ) {
        EXPECT_EQ( complaintAbout( readRate, text ),
                   "expected a rate such as '10Mbps', found '" + text + "'" );
    }
    EXPECT_EQ( complaintAbout( readBurst, "''" ), "expected a burst such as '64KB', found ''" );
}

TEST( RateUnits, Read_UnknownUnit_HasAHint )
{
    EXPECT_EQ( complaintAbout( readRate, "10mbps" ), "unknown unit 'mbps', did you mean 'Mbps'?" );
    EXPECT_EQ( complaintAbout( readBurst, "64kb" ), "unknown unit 'kb', did you mean 'KB'?" );
    EXPECT_EQ( complaintAbout( readRate, "10Mbs" ), "unknown unit 'Mbs', did you mean 'Mbps'?" );
    EXPECT_EQ( complaintAbout( readBurst, "64KiB" ), "unknown unit 'KiB', did you mean 'KB'?" );
    EXPECT_EQ( complaintAbout( readRate, "10KB/h/a" ),
               "unknown unit 'KB/h/a', expected 'bps', 'kbps', 'Mbps', 'Gbps' or 'Tbps'" );
}

TEST( RateUnits, Read_ZeroBeforeTheNumber_Fails )
{
    for ( const std::string text : { "010Mbps", "010", "00.5Mbps" } ) {
        EXPECT_EQ( complaintAbout( readRate, text ),
                   "expected a number without a leading zero, found '" + text + "'" );
    }
    EXPECT_EQ( complaintAbout( readRate, "0.5Mbps" ), "none" );
}

TEST( RateUnits, Read_NotAWholeNumberOfKilobits_Fails )
{
    EXPECT_EQ( complaintAbout( readRate, "1500bps" ),
               "expected a whole number of kilobits a second, found '1500bps'" );
    EXPECT_EQ( complaintAbout( readRate, "1.5" ),
               "expected a whole number of kilobits a second, found '1.5'" );
    EXPECT_EQ( complaintAbout( readBurst, "124B" ),
               "expected a whole number of kilobits, found '124B'" );
}

TEST( RateUnits, Read_TooMuch_Fails )
{
    EXPECT_EQ( complaintAbout( readRate, "5Tbps" ),
               "expected at most 4294967295 kilobits a second, found '5Tbps'" );
    EXPECT_EQ( complaintAbout( readRate, "999999999999Tbps" ),
               "expected at most 4294967295 kilobits a second, found '999999999999Tbps'" );
    EXPECT_EQ( complaintAbout( readBurst, "4294967296" ),
               "expected at most 4294967295 kilobits, found '4294967296'" );
}

TEST( RateUnits, Text_Kilobits_IsInTheGreatestWholeUnit )
{
    EXPECT_EQ( rateText( 10000 ), "10Mbps" );
    EXPECT_EQ( rateText( 1500000 ), "1500Mbps" );
    EXPECT_EQ( rateText( 1000000000 ), "1Tbps" );
    EXPECT_EQ( rateText( 64 ), "64kbps" );
    EXPECT_EQ( rateText( 0 ), "0kbps" );
    EXPECT_EQ( burstText( 512 ), "512kbit" );
    EXPECT_EQ( burstText( 8000 ), "8Mbit" );
    EXPECT_EQ( burstText( 1000000 ), "1Gbit" );
}

} // namespace
} // namespace Input
