#include "tools/traces/TraceSetting.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <stdexcept>

namespace {

using Tool::traceSettingFromText;

TEST( TraceSettingFromText, FacilityAndLevels_GivesTheMask )
{
    const Tool::TraceSetting setting = traceSettingFromText( "PeloraTcamRangeChecker=0,8-9" );
    EXPECT_EQ( setting.facility, "PeloraTcamRangeChecker" );
    EXPECT_EQ( setting.mask, 0x301U );
}

TEST( TraceSettingFromText, Star_StandsForEveryFacility )
{
    EXPECT_EQ( traceSettingFromText( "*=all" ).mask, 0xFFFFFFFFU );
    EXPECT_EQ( traceSettingFromText( "*=none" ).mask, 0U );
}

TEST( TraceSettingFromText, NoSuchFacility_Throws )
{
    EXPECT_THROW( static_cast< void >( traceSettingFromText( "Apipelora=4" ) ),
                  std::invalid_argument );
    EXPECT_THROW( static_cast< void >( traceSettingFromText( "=4" ) ), std::invalid_argument );
}

TEST( TraceSettingFromText, NoLevels_Throws )
{
    EXPECT_THROW( static_cast< void >( traceSettingFromText( "ApiPelora=" ) ),
                  std::invalid_argument );
}

TEST( TraceSettingFromText, ZeroBeforeALevel_Throws )
{
    EXPECT_THROW( static_cast< void >( traceSettingFromText( "ApiPelora=0,08" ) ),
                  std::invalid_argument );
}

/// The facilities that the library's sources name.
std::set< std::string > facilitiesInTheSources()
{
    const std::regex handle( "TraceHandle handle\\( \"([A-Za-z0-9]+)\" \\)" );
    std::set< std::string > names = { "ApiPelora" };
    for ( const auto& entry :
          std::filesystem::directory_iterator( PELORA_SOURCE_DIR "/PeloraTcam" ) ) {
        std::ifstream file( entry.path() );
        const std::string text( ( std::istreambuf_iterator< char >( file ) ), {} );
        for ( std::sregex_iterator found( text.begin(), text.end(), handle ), end; found != end;
              ++found ) {
            names.insert( ( *found )[ 1 ] );
        }
    }
    return names;
}

TEST( KnownTraceFacilities, EveryFacilityOfTheLibrary_IsKnown )
{
    const std::set< std::string > names = facilitiesInTheSources();
    EXPECT_THAT( names, testing::Contains( "PeloraTcamRangeChecker" ) );
    EXPECT_THAT( Tool::knownTraceFacilities(), testing::IsSupersetOf( names ) );
}

TEST( KnownTraceFacilities, List_IsSortedAndHasEachOnce )
{
    const std::vector< std::string > names = Tool::knownTraceFacilities();
    EXPECT_TRUE( std::is_sorted( names.begin(), names.end() ) );
    EXPECT_EQ( std::adjacent_find( names.begin(), names.end() ), names.end() );
}

} // namespace
