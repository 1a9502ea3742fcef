#include "tools/Profiles.h"

#include "sim/NameHints.h"
#include "sim/SimulatedSdk.h"
#include "tools/ExitCodes.h"
#include "tools/Json.h"
#include "tools/PrintableText.h"
#include "tools/TextFile.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <vector>

namespace Tool {

namespace {

using Sim::ChipProfile;

std::vector< ChipProfile > builtInProfiles()
{
    std::vector< ChipProfile > profiles;
    for ( const std::string& name : Sim::builtInProfileNames() ) {
        profiles.push_back( Sim::builtInProfile( name ) );
    }
    return profiles;
}

bool isBuiltIn( const std::string& name )
{
    return std::ranges::count( Sim::builtInProfileNames(), name ) > 0;
}

/// What a new chip of that profile has room for.
Json capacitiesOf( const ChipProfile& profile )
{
    Sim::SimulatedSdk sdk;
    Json capacities = Json::object();
    for ( const Sim::Resource& resource : sdk.chipIs( 0, profile ).occupancy() ) {
        capacities[ resource.name ] = resource.capacity;
    }
    return capacities;
}

Json jsonOf( const ChipProfile& profile )
{
    return { { "name", profile.name },
             { "description", profile.description },
             { "chip", Sim::nameOf( profile.chip ) },
             { "capacities", capacitiesOf( profile ) } };
}

void printTable( const std::vector< ChipProfile >& profiles )
{
    std::size_t nameWidth = 0;
    std::size_t chipWidth = 0;
    for ( const ChipProfile& profile : profiles ) {
        nameWidth = std::max( nameWidth, profile.name.size() );
        chipWidth = std::max( chipWidth, Sim::nameOf( profile.chip ).size() );
    }
    fmt::print( "{:<{}}  {:<{}}  {}\n", "NAME", nameWidth, "CHIP", chipWidth, "DESCRIPTION" );
    for ( const ChipProfile& profile : profiles ) {
        fmt::print( "{:<{}}  {:<{}}  {}\n", profile.name, nameWidth, Sim::nameOf( profile.chip ),
                    chipWidth, profile.description );
    }
}

int listProfiles( bool json )
{
    const std::vector< ChipProfile > profiles = builtInProfiles();
    if ( !json ) {
        printTable( profiles );
        return exitAsExpected;
    }
    Json list = Json::array();
    for ( const ChipProfile& profile : profiles ) {
        list.push_back( jsonOf( profile ) );
    }
    fmt::print( "{}\n", jsonDocument( Json{ { "profiles", list } } ) );
    return exitAsExpected;
}

} // namespace

int showProfiles( const ProfilesOptions& options )
{
    if ( options.name.empty() ) {
        return listProfiles( options.json );
    }
    std::error_code unreadable;
    if ( !isBuiltIn( options.name ) && !std::filesystem::exists( options.name, unreadable ) ) {
        throw CommandLineError( "'" + options.name +
                                "' is neither a built-in chip profile nor a file" +
                                Sim::nameHint( options.name, Sim::builtInProfileNames() ) );
    }
    const ChipProfile profile = Sim::loadChipProfile( options.name );
    if ( options.json ) {
        fmt::print( "{}\n", jsonDocument( jsonOf( profile ) ) );
    } else if ( isBuiltIn( options.name ) ) {
        fmt::print( "{}", Sim::builtInProfileText( options.name ) );
    } else {
        fmt::print( "{}", printableLines( readTextFile( options.name ) ) );
    }
    return exitAsExpected;
}

} // namespace Tool
