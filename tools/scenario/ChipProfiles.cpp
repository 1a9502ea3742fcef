#include "tools/scenario/ChipProfiles.h"

#include "input/NameHints.h"
#include "sim/SimulatedSdk.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace Tool {

bool isBuiltInProfile( const std::string& name )
{
    return std::ranges::count( Sim::builtInProfileNames(), name ) > 0;
}

std::vector< Sim::ChipProfile > builtInProfiles()
{
    std::vector< Sim::ChipProfile > profiles;
    for ( const std::string& name : Sim::builtInProfileNames() ) {
        profiles.push_back( Sim::builtInProfile( name ) );
    }
    return profiles;
}

Sim::ChipProfile profileNamed( const std::string& nameOrFile )
{
    std::error_code unreadable;
    if ( !isBuiltInProfile( nameOrFile ) && !std::filesystem::exists( nameOrFile, unreadable ) ) {
        throw std::invalid_argument( unknownProfileText( nameOrFile ) );
    }
    return Sim::loadChipProfile( nameOrFile );
}

std::string unknownProfileText( const std::string& name )
{
    return "'" + name + "' is neither a built-in chip profile nor a file" +
           Input::nameHint( name, Sim::builtInProfileNames() );
}

std::vector< Sim::Resource > resourcesOf( const Sim::ChipProfile& profile )
{
    Sim::SimulatedSdk sdk;
    return sdk.chipIs( 0, profile ).occupancy();
}

} // namespace Tool
