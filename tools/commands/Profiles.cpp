#include "tools/commands/Profiles.h"

#include "input/TextFile.h"
#include "tools/commands/CommandLineError.h"
#include "tools/commands/ExitCodes.h"
#include "tools/report/ProfilesReport.h"
#include "tools/scenario/ChipProfiles.h"
#include "tools/text/PrintableText.h"

#include <fmt/format.h>

namespace Tool {

namespace {

int listProfiles( bool json )
{
    if ( json ) {
        printProfilesJson( builtInProfiles() );
    } else {
        printProfiles( builtInProfiles() );
    }
    return exitAsExpected;
}

Sim::ChipProfile profileFromArgument( const std::string& name )
{
    try {
        return profileNamed( name );
    } catch ( const std::invalid_argument& refusal ) {
        throw CommandLineError( refusal.what() );
    }
}

} // namespace

int showProfiles( const ProfilesOptions& options )
{
    if ( options.name.empty() ) {
        return listProfiles( options.json );
    }
    const Sim::ChipProfile profile = profileFromArgument( options.name );
    if ( options.json ) {
        printProfileJson( profile );
    } else if ( isBuiltInProfile( options.name ) ) {
        fmt::print( "{}", Sim::builtInProfileText( options.name ) );
    } else {
        fmt::print( "{}", printableLines( Input::readTextFile( options.name ) ) );
    }
    return exitAsExpected;
}

} // namespace Tool
