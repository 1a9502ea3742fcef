#include "tools/commands/Maps.h"

#include "input/NameHints.h"
#include "tools/commands/CommandLineError.h"
#include "tools/commands/ExitCodes.h"
#include "tools/commands/Options.h"
#include "tools/report/MapsReport.h"

#include <algorithm>

namespace Tool {

namespace {

using Tables = std::vector< TranslationTable >;

const TranslationTable& tableNamed( const std::string& name, const Tables& tables )
{
    const auto found = std::ranges::find( tables, name, &TranslationTable::name );
    if ( found == tables.end() ) {
        std::vector< std::string > names;
        for ( const TranslationTable& table : tables ) {
            names.push_back( table.name );
        }
        throw CommandLineError( "there is no translation map '" + name + "'" +
                                Input::nameHint( name, names ) );
    }
    return *found;
}

void showList( const Tables& tables, const MapsOptions& options )
{
    if ( options.json ) {
        printMapsJson( tables, options.numbering );
    } else {
        printMaps( tables );
    }
}

void showOne( const TranslationTable& table, const MapsOptions& options )
{
    if ( options.json ) {
        printMapJson( table, options.numbering );
    } else {
        printMap( table );
    }
}

} // namespace

int showMaps( const MapsOptions& options )
{
    const Tables tables = translationTablesOn( numberingFromOption( options.numbering ) );
    if ( options.name.empty() ) {
        showList( tables, options );
    } else {
        showOne( tableNamed( options.name, tables ), options );
    }
    return exitAsExpected;
}

} // namespace Tool
