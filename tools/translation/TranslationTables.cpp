#include "tools/translation/TranslationTables.h"

#include "PeloraTcam/PeloraTcamSdk6Helper.h"
#include "sim/SimulatedSdk.h"

#include <map>
#include <span>
#include <string_view>

namespace Tool {

namespace {

/// What names an agent value's SDK value.
struct Accessor
{
    uint32_t agentNumber;
    std::string_view name;
};

/// What there is to know of a map before it is read.
struct MapNames
{
    const char* name;
    const char* agentType;
    const char* sdkType;
};

template< class AgentType >
std::string agentName( AgentType value )
{
    return std::string( PeloraTcam::nameOfEnumerator( value ) );
}

std::string accessorOf( uint32_t agentNumber, std::span< const Accessor > accessors )
{
    for ( const Accessor& accessor : accessors ) {
        if ( accessor.agentNumber == agentNumber ) {
            return std::string( accessor.name );
        }
    }
    return {};
}

void markManyToOne( std::vector< TranslationRow >& rows )
{
    std::map< uint32_t, unsigned > users;
    for ( const TranslationRow& row : rows ) {
        ++users[ row.sdkValue ];
    }
    for ( TranslationRow& row : rows ) {
        row.manyToOne = users.at( row.sdkValue ) > 1;
    }
}

template< class AgentType, class SdkType >
TranslationTable tableOf( const MapNames& names,
                          const std::map< AgentType, SdkType >& forward,
                          std::span< const Accessor > accessors )
{
    TranslationTable table{ names.name, names.agentType, names.sdkType, false, 0, {}, {} };
    for ( const auto& [ agentValue, sdkValue ] : forward ) {
        const auto number = static_cast< uint32_t >( agentValue );
        table.rows.push_back( { number,
                                agentName( agentValue ),
                                accessorOf( number, accessors ),
                                static_cast< uint32_t >( sdkValue ),
                                {},
                                false } );
    }
    markManyToOne( table.rows );
    for ( const PeloraTcam::EnumeratorName& row : PeloraTcam::EnumeratorNames< AgentType >::rows ) {
        if ( !forward.contains( static_cast< AgentType >( row.number ) ) ) {
            table.withoutValue.push_back(
                { row.number, std::string( row.name ), {}, 0, {}, false } );
        }
    }
    return table;
}

template< class AgentType, class SdkType >
TranslationTable tableOf( const MapNames& names,
                          const std::map< AgentType, SdkType >& forward,
                          const std::map< SdkType, AgentType >& reverse,
                          std::span< const Accessor > accessors )
{
    TranslationTable table = tableOf( names, forward, accessors );
    table.hasReverse = true;
    table.reversePairs = reverse.size();
    for ( TranslationRow& row : table.rows ) {
        const auto back = reverse.find( static_cast< SdkType >( row.sdkValue ) );
        if ( back != reverse.end() ) {
            row.backToAgent = agentName( back->second );
        }
    }
    return table;
}

TranslationTable readQualifiers()
{
    using PeloraTcam::QualifierType;
    static constexpr Accessor accessors[] = {
#define QUALIFIER( type, accessor ) { static_cast< uint32_t >( QualifierType::type ), #accessor },
#include "PeloraTcam/Qualifiers.def"
    };
    PeloraTcam::initializeBcmQualifierMap();
    return tableOf( { "qualifierMap", "QualifierType", "bcm_field_qualify_t" },
                    PeloraTcam::qualifierMap, PeloraTcam::qualifierReverseMap, accessors );
}

TranslationTable readActions()
{
    using PeloraTcam::ActionType;
    static constexpr Accessor accessors[] = {
#define ACTION( type, accessor ) { static_cast< uint32_t >( ActionType::type ), #accessor },
#include "PeloraTcam/Actions.def"
    };
    PeloraTcam::initializeBcmActionMap();
    return tableOf( { "actionMap", "ActionType", "bcm_field_action_t" }, PeloraTcam::actionMap,
                    PeloraTcam::actionReverseMap, accessors );
}

/// Adds the tables of `TranslationMaps.def`.
void readEnumerations( std::vector< TranslationTable >& tables )
{
    using namespace PeloraTcam;
#define TRANSLATION( agentEnumerator, accessor )                                                   \
    { static_cast< uint32_t >( AgentType::agentEnumerator ), #accessor },
#define TRANSLATION_BOTH_WAYS( forwardMap, reverseMap, builder, agentType, sdkType, forwardLookup, \
                               reverseLookup, forwardAssertion, reverseAssertion, ... )            \
    {                                                                                              \
        using AgentType = agentType;                                                               \
        static constexpr Accessor accessors[] = { __VA_ARGS__ };                                   \
        builder();                                                                                 \
        tables.push_back(                                                                          \
            tableOf( { #forwardMap, #agentType, #sdkType }, forwardMap, reverseMap, accessors ) ); \
    }
#define TRANSLATION_ONE_WAY( forwardMap, builder, agentType, sdkType, forwardLookup,               \
                             forwardAssertion, ... )                                               \
    {                                                                                              \
        using AgentType = agentType;                                                               \
        static constexpr Accessor accessors[] = { __VA_ARGS__ };                                   \
        builder();                                                                                 \
        tables.push_back(                                                                          \
            tableOf( { #forwardMap, #agentType, #sdkType }, forwardMap, accessors ) );             \
    }
#include "PeloraTcam/TranslationMaps.def"
}

} // namespace

std::vector< TranslationTable > readTranslationTables()
{
    std::vector< TranslationTable > tables{ readQualifiers(), readActions() };
    readEnumerations( tables );
    return tables;
}

std::vector< TranslationTable > translationTablesOn( const Sim::SdkNumbering& numbering )
{
    Sim::SimulatedSdk sdk( numbering );
    Shim::sdk_ = &sdk;
    std::vector< TranslationTable > tables = readTranslationTables();
    Shim::sdk_ = nullptr;
    return tables;
}

} // namespace Tool
