#include "tools/report/ProfilesReport.h"

#include "tools/scenario/ChipProfiles.h"
#include "tools/text/Json.h"
#include "tools/text/TextTable.h"

#include <fmt/format.h>

namespace Tool {

namespace {

using Sim::ChipProfile;

Json jsonOf( const ChipProfile& profile )
{
    Json capacities = Json::object();
    for ( const Sim::Resource& resource : resourcesOf( profile ) ) {
        capacities[ resource.name ] = resource.capacity;
    }
    return { { "name", profile.name },
             { "description", profile.description },
             { "chip", Sim::nameOf( profile.chip ) },
             { "capacities", capacities } };
}

} // namespace

void printProfiles( const std::vector< ChipProfile >& profiles )
{
    TextTable table( { "NAME", "CHIP", "DESCRIPTION" } );
    for ( const ChipProfile& profile : profiles ) {
        table.add(
            { profile.name, std::string( Sim::nameOf( profile.chip ) ), profile.description } );
    }
    fmt::print( "{}", table.text() );
}

void printProfilesJson( const std::vector< ChipProfile >& profiles )
{
    Json list = Json::array();
    for ( const ChipProfile& profile : profiles ) {
        list.push_back( jsonOf( profile ) );
    }
    fmt::print( "{}\n", jsonDocument( Json{ { "profiles", list } } ) );
}

void printProfileJson( const ChipProfile& profile )
{
    fmt::print( "{}\n", jsonDocument( jsonOf( profile ) ) );
}

} // namespace Tool
