#include "tools/translation/TranslatedNames.h"

#include "agent/tcam/FieldEnumerations.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

namespace Tool {

namespace {

using namespace PeloraTcam;

/// A qualifier of the agent and the SDK's accessor for it.
struct QualifierName
{
    QualifierType qualifier;
    std::string_view sdk;
};

constexpr QualifierName qualifiers[] = {
#define QUALIFIER( type, accessor ) { QualifierType::type, #accessor },
#include "PeloraTcam/Qualifiers.def"
};

constexpr QualifierType currentQualifiers[] = {
#define PRESELECTOR( qualifier ) QualifierType::qualifier,
#include "PeloraTcam/PreselectorNames.def"
};

/// By the SDK's names.
constexpr std::string_view legacyQualifiers[] = {
#define LEGACY_PRESELECTOR( accessor ) #accessor,
#include "PeloraTcam/PreselectorNames.def"
};

/// An action of the agent and the SDK's accessor for it.
struct ActionName
{
    ActionType action;
    std::string_view sdk;
};

constexpr ActionName actions[] = {
#define ACTION( type, accessor ) { ActionType::type, #accessor },
#include "PeloraTcam/Actions.def"
};

template< class List, class Value >
bool has( const List& list, const Value& value )
{
    return std::find( std::begin( list ), std::end( list ), value ) != std::end( list );
}

} // namespace

bool isTranslated( QualifierType qualifier )
{
    return std::ranges::count( qualifiers, qualifier, &QualifierName::qualifier ) != 0;
}

bool isTranslated( ActionType action )
{
    return std::ranges::count( actions, action, &ActionName::action ) != 0;
}

std::string_view sdkNameOf( QualifierType qualifier )
{
    const auto* found = std::ranges::find( qualifiers, qualifier, &QualifierName::qualifier );
    return found == std::end( qualifiers ) ? std::string_view() : found->sdk;
}

std::string_view sdkNameOf( ActionType action )
{
    const auto* found = std::ranges::find( actions, action, &ActionName::action );
    return found == std::end( actions ) ? std::string_view() : found->sdk;
}

std::string_view agentActionName( std::string_view sdkName )
{
    const ActionName* first = nullptr;
    for ( const ActionName& row : actions ) {
        if ( row.sdk == sdkName && ( first == nullptr || row.action < first->action ) ) {
            first = &row;
        }
    }
    return first == nullptr ? sdkName : PeloraTcam::nameOfEnumerator( first->action );
}

bool isForPreselectors( QualifierType qualifier, Reference::PreselectorFunction function )
{
    if ( function == Reference::PreselectorFunction::current ) {
        return has( currentQualifiers, qualifier );
    }
    return std::ranges::any_of( qualifiers, [ qualifier ]( const QualifierName& row ) {
        return row.qualifier == qualifier && has( legacyQualifiers, row.sdk );
    } );
}

namespace {

/// A value of one of the agent's enumerations and the SDK's enumerator for it.
template< class AgentType >
struct TranslatedValue
{
    AgentType value;
    std::string_view sdk;
};

/// The SDK's name for that one of an agent's enumeration; empty if there is none.
template< class AgentType >
std::string_view nameAmong( std::initializer_list< TranslatedValue< AgentType > > translated,
                            std::uint32_t agentValue )
{
    for ( const auto& [ value, sdk ] : translated ) {
        if ( static_cast< std::uint32_t >( value ) == agentValue ) {
            return sdk;
        }
    }
    return {};
}

} // namespace

bool isInMap( std::string_view map, std::uint32_t agentValue )
{
    return !sdkNameOf( map, agentValue ).empty();
}

std::string_view sdkNameOf( std::string_view map, std::uint32_t agentValue )
{
#define TRANSLATION_BOTH_WAYS( forwardMap, reverseMap, builder, agentType, sdkType, forwardLookup, \
                               reverseLookup, forwardAssertion, reverseAssertion, pairs )          \
    if ( map == #forwardMap ) {                                                                    \
        using AgentType = agentType;                                                               \
        return nameAmong< AgentType >( { pairs }, agentValue );                                    \
    }
#define TRANSLATION_ONE_WAY( forwardMap, builder, agentType, sdkType, forwardLookup,               \
                             forwardAssertion, pairs )                                             \
    if ( map == #forwardMap ) {                                                                    \
        using AgentType = agentType;                                                               \
        return nameAmong< AgentType >( { pairs }, agentValue );                                    \
    }
#define TRANSLATION( agentEnumerator, accessor ) { AgentType::agentEnumerator, #accessor },
#include "PeloraTcam/TranslationMaps.def"
    return {};
}

} // namespace Tool
