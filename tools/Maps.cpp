#include "tools/Maps.h"

#include "sim/NameHints.h"
#include "sim/SimulatedSdk.h"
#include "tools/ExitCodes.h"
#include "tools/Json.h"
#include "tools/TranslationTables.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

namespace Tool {

namespace {

using Tables = std::vector< TranslationTable >;

Tables readTables( const Sim::SdkNumbering& numbering )
{
    Sim::SimulatedSdk sdk( numbering );
    Shim::sdk_ = &sdk;
    Tables tables = readTranslationTables();
    Shim::sdk_ = nullptr;
    return tables;
}

const TranslationTable& tableNamed( const std::string& name, const Tables& tables )
{
    const auto found = std::ranges::find( tables, name, &TranslationTable::name );
    if ( found == tables.end() ) {
        std::vector< std::string > names;
        for ( const TranslationTable& table : tables ) {
            names.push_back( table.name );
        }
        throw CommandLineError( "there is no translation map '" + name + "'" +
                                Sim::nameHint( name, names ) );
    }
    return *found;
}

/// Lines of texts, printed in columns as wide as their widest text; the last one is not filled up.
class TextTable
{
  public:
    using Line = std::vector< std::string >;

    explicit TextTable( Line headings ) { add( std::move( headings ) ); }

    void add( Line line ) { lines_.push_back( std::move( line ) ); }

    void print() const
    {
        for ( const Line& line : lines_ ) {
            std::string text;
            for ( std::size_t column = 0; column < line.size(); ++column ) {
                text += fmt::format( "{:<{}}  ", line[ column ], widthOf( column ) );
            }
            fmt::print( "{}\n", text.substr( 0, text.find_last_not_of( ' ' ) + 1 ) );
        }
    }

  private:
    [[nodiscard]] std::size_t widthOf( std::size_t column ) const
    {
        std::size_t width = 0;
        for ( const Line& line : lines_ ) {
            width = std::max( width, line[ column ].size() );
        }
        return width;
    }

    std::vector< Line > lines_;
};

// ---- The list --------------------------------------------------------------------------------

void printList( const Tables& tables )
{
    TextTable text( { "NAME", "PAIRS", "BACK", "AGENT", "SDK" } );
    for ( const TranslationTable& table : tables ) {
        text.add( { table.name, std::to_string( table.rows.size() ),
                    table.hasReverse ? std::to_string( table.reversePairs ) : "-", table.agentType,
                    table.sdkType } );
    }
    text.print();
}

Json headOf( const TranslationTable& table )
{
    return { { "name", table.name },
             { "agentType", table.agentType },
             { "sdkType", table.sdkType },
             { "pairs", table.rows.size() },
             { "pairsBack", table.hasReverse ? Json( table.reversePairs ) : Json() } };
}

Json jsonOf( const Tables& tables )
{
    Json list = Json::array();
    for ( const TranslationTable& table : tables ) {
        list.push_back( headOf( table ) );
    }
    return { { "maps", list } };
}

// ---- One map ---------------------------------------------------------------------------------

void printTable( const TranslationTable& table )
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
    text.print();
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

Json jsonOf( const TranslationTable& table )
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

} // namespace

int showMaps( const MapsOptions& options, const Sim::SdkNumbering& numbering )
{
    const Tables tables = readTables( numbering );
    const TranslationTable* table =
        options.name.empty() ? nullptr : &tableNamed( options.name, tables );
    if ( options.json ) {
        Json json{ { "numbering", options.numbering } };
        json.update( table == nullptr ? jsonOf( tables ) : jsonOf( *table ) );
        fmt::print( "{}\n", jsonDocument( json ) );
    } else if ( table == nullptr ) {
        printList( tables );
    } else {
        printTable( *table );
    }
    return exitAsExpected;
}

} // namespace Tool
