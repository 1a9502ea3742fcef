#include "tools/report/MapsReport.h"

#include "tools/text/Json.h"
#include "tools/text/TextTable.h"

#include <fmt/format.h>

namespace Tool {

namespace {

using Tables = std::vector< TranslationTable >;

Json headOf( const TranslationTable& table )
{
    return { { "name", table.name },
             { "agentType", table.agentType },
             { "sdkType", table.sdkType },
             { "pairs", table.rows.size() },
             { "pairsBack", table.hasReverse ? Json( table.reversePairs ) : Json() } };
}

Json listJson( const Tables& tables )
{
    Json list = Json::array();
    for ( const TranslationTable& table : tables ) {
        list.push_back( headOf( table ) );
    }
    return { { "maps", list } };
}

Json tableJson( const TranslationTable& table )
{
    Json json = headOf( table );
    json[ "rows" ] = Json::array();
    for ( const TranslationRow& row : table.rows ) {
        json[ "rows" ].push_back( { { "number", row.number },
                                    { "agent", row.agentName },
                                    { "sdk", row.sdkName },
                                    { "value", row.sdkValue },
                                    { "back", row.backToAgent ? Json( *row.backToAgent ) : Json() },
                                    { "manyToOne", row.manyToOne } } );
    }
    json[ "notInTheMap" ] = Json::array();
    for ( const TranslationRow& row : table.withoutValue ) {
        json[ "notInTheMap" ].push_back( { { "number", row.number }, { "agent", row.agentName } } );
    }
    return json;
}

void printJson( const std::string& numbering, const Json& members )
{
    Json json{ { "numbering", numbering } };
    json.update( members );
    fmt::print( "{}\n", jsonDocument( json ) );
}

} // namespace

void printMaps( const Tables& tables )
{
    TextTable text( { "NAME", "PAIRS", "BACK", "AGENT", "SDK" } );
    for ( const TranslationTable& table : tables ) {
        text.add( { table.name, std::to_string( table.rows.size() ),
                    table.hasReverse ? std::to_string( table.reversePairs ) : "-", table.agentType,
                    table.sdkType } );
    }
    fmt::print( "{}", text.text() );
}

void printMap( const TranslationTable& table )
{
    fmt::print( "{}: {} to {}, {} pairs, {}\n\n", table.name, table.agentType, table.sdkType,
                table.rows.size(),
                table.hasReverse ? fmt::format( "{} back", table.reversePairs )
                                 : std::string( "not translated back" ) );
    TextTable text( { "NUMBER", "AGENT", "SDK", "VALUE", "BACK" } );
    bool anyMarked = false;
    for ( const TranslationRow& row : table.rows ) {
        anyMarked = anyMarked || row.manyToOne;
        text.add( { std::to_string( row.number ), row.agentName, row.sdkName,
                    std::to_string( row.sdkValue ),
                    row.backToAgent.value_or( "-" ) + ( row.manyToOne ? " *" : "" ) } );
    }
    fmt::print( "{}", text.text() );
    if ( anyMarked ) {
        fmt::print( "\n* Several agent values are this one for the SDK.\n" );
    }
    if ( !table.withoutValue.empty() ) {
        std::vector< std::string > names;
        for ( const TranslationRow& row : table.withoutValue ) {
            names.push_back( fmt::format( "{} ({})", row.agentName, row.number ) );
        }
        fmt::print( "\nNot in the map: {}\n", fmt::join( names, ", " ) );
    }
}

void printMapsJson( const Tables& tables, const std::string& numbering )
{
    printJson( numbering, listJson( tables ) );
}

void printMapJson( const TranslationTable& table, const std::string& numbering )
{
    printJson( numbering, tableJson( table ) );
}

} // namespace Tool
