// docs/chip-profiles.md has the keys that the reader of chip profiles knows, with their ranges.

#include "tests/docs/Pages.h"
#include "tests/docs/SourceCalls.h"
#include "tests/tools/ToolRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>

namespace DocsTest {
namespace {

/// A key of a profile with that of its section, "field.groups", and its range, "0 to 1024"; empty
/// for what is no number.
using Keys = std::map< std::string, std::string >;

const std::string& reader()
{
    static const std::string source = contentOf( "sim/profiles/ChipProfile.cpp" );
    return source;
}

/// The function of the reader that a place in it belongs to.
std::string functionAt( std::size_t position )
{
    static const std::regex head( "(read\\w+)\\( const YamlNode& node \\)" );
    std::string function;
    for ( std::sregex_iterator match( reader().begin(), reader().end(), head ), end;
          match != end && static_cast< std::size_t >( match->position() ) < position; ++match ) {
        function = ( *match )[ 1 ];
    }
    return function;
}

/// The range of a key's arguments: "capacity", where it goes, 0U, 4096U.
std::string rangeOf( const std::vector< std::string >& arguments )
{
    if ( arguments.size() != 4 ) {
        return "";
    }
    const auto number = []( std::string text ) {
        text.pop_back(); // the U
        return text;
    };
    return number( arguments[ 2 ] ) + " to " + number( arguments[ 3 ] );
}

/// The sections of a profile, by the function that reads them.
std::map< std::string, std::string > sectionsOfTheReader()
{
    static const std::regex inner( "(read\\w+)\\( value \\)" );
    std::map< std::string, std::string > sections;
    for ( const SourceCall& call : callsOf( reader(), "members.required" ) ) {
        std::smatch match;
        if ( std::regex_search( call.arguments.at( 1 ), match, inner ) ) {
            sections[ match[ 1 ] ] = literalOf( call.arguments[ 0 ] ) + ".";
        }
    }
    return sections;
}

Keys keysOfTheReader()
{
    std::map< std::string, std::string > sections = sectionsOfTheReader();
    Keys keys;
    for ( const SourceCall& call : callsOf( reader(), "members.required" ) ) {
        const std::string key = literalOf( call.arguments.at( 0 ) );
        const bool isSection = std::ranges::any_of(
            sections, [ & ]( const auto& s ) { return s.second == key + "."; } );
        if ( !isSection ) {
            keys[ sections[ functionAt( call.position ) ] + key ] = rangeOf( call.arguments );
        }
    }
    return keys;
}

std::string withoutBackticks( std::string cell )
{
    std::erase( cell, '`' );
    return cell;
}

TEST( ChipProfilesPageTest, Capacities_OfThePage_AreThoseOfTheReaderWithTheirRanges )
{
    Keys expected = keysOfTheReader();
    std::erase_if( expected, []( const auto& key ) { return key.second.empty(); } );
    EXPECT_EQ( expected.size(), 17U );
    Keys found;
    for ( const auto& row :
          tableRowsOf( sectionOf( contentOf( "docs/chip-profiles.md" ), "## Capacities" ) ) ) {
        found[ withoutBackticks( row.at( 0 ) ) ] = row.at( 1 );
    }
    EXPECT_EQ( found, expected );
}

TEST( ChipProfilesPageTest, Keys_ThatAreNoNumbers_AreNamed )
{
    const auto code = codeOf( contentOf( "docs/chip-profiles.md" ) );
    const Keys keys = keysOfTheReader();
    ASSERT_GT( keys.size(), 17U );
    for ( const auto& [ key, range ] : keys ) {
        EXPECT_THAT( code, testing::Contains( key ) );
    }
}

TEST( ChipProfilesPageTest, KindsAndPacketFormats_OfTheSources_AreNamed )
{
    const auto code = codeOf( contentOf( "docs/chip-profiles.md" ) );
    static const std::regex kind( "\\{ \"([a-z0-9-]+)\", ChipKind::" );
    static const std::regex format( "SDK_ENUMERATOR\\( bcm_udf_abstract_pkt_format_t, (\\w+)" );
    const std::string enumerators = contentOf( "sdk/SdkEnumerators.def" );
    std::size_t names = 0;
    for ( const auto& [ source, expression ] :
          { std::pair( &reader(), &kind ), std::pair( &enumerators, &format ) } ) {
        for ( std::sregex_iterator match( source->begin(), source->end(), *expression ), end;
              match != end; ++match, ++names ) {
            EXPECT_THAT( code, testing::Contains( ( *match )[ 1 ].str() ) );
        }
    }
    EXPECT_EQ( names, 9U );
}

TEST( ChipProfilesPageTest, Error_InThePage_IsWhatTheToolWrites )
{
    const ToolTest::ToolFolder folder;
    std::string profile = folder.run( { "profiles", "sdk6-udf" } ).output;
    const std::string capacity = "capacity: 24\n";
    ASSERT_NE( profile.find( capacity ), std::string::npos ) << profile;
    profile.replace( profile.find( capacity ), capacity.size(), "capacity: 5000\n" );
    folder.write( "my-chip.yaml", profile );
    const auto result = folder.run( { "profiles", "my-chip.yaml" } );
    EXPECT_EQ( result.exitCode, 2 );
    EXPECT_THAT( linesOf( contentOf( "docs/chip-profiles.md" ) ),
                 testing::Contains( "    " + linesOf( result.errors ).at( 0 ) ) );
}

} // namespace
} // namespace DocsTest
