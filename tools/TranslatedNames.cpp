#include "tools/TranslatedNames.h"

#include "agent/tcam/FieldEnumerations.h"

#include <algorithm>
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
#define PRESELECTOR_CALL( qualifier, label, mask, translation, function, text )                    \
    QualifierType::qualifier,
#define PRESELECTOR_CLASS( qualifier, label, field, update, storedBits, tooWide )                  \
    QualifierType::qualifier,
#include "PeloraTcam/PreselectorQualifiers.def"
};

/// By the SDK's names.
constexpr std::string_view legacyQualifiers[] = {
#define PRESELECTOR_CALL( qualifier, label, mask, translation, function, text ) #qualifier,
#define PRESELECTOR_CLASS( qualifier, label, field, update, storedBits, tooWide ) #qualifier,
#include "PeloraTcam/LegacyPreselectorQualifiers.def"
};

constexpr ActionType actions[] = {
#define ACTION( type, accessor ) ActionType::type,
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
    return has( actions, action );
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

bool isInMap( std::string_view map, std::uint32_t agentValue )
{
    // clang-format off
#define TRANSLATION_BOTH_WAYS( forwardMap, reverseMap, builder, agentType, sdkType, forwardLookup, \
                               reverseLookup, forwardAssertion, reverseAssertion )                 \
    if ( map == #forwardMap ) {                                                                    \
        using AgentType = agentType;                                                               \
        bool found = false;
#define TRANSLATION_ONE_WAY( forwardMap, builder, agentType, sdkType, forwardLookup,               \
                             forwardAssertion )                                                    \
    if ( map == #forwardMap ) {                                                                    \
        using AgentType = agentType;                                                               \
        bool found = false;
#define TRANSLATION( agentEnumerator, accessor )                                                   \
        found = found || agentValue == static_cast< std::uint32_t >( AgentType::agentEnumerator );
#define TRANSLATION_END( forwardMap )                                                              \
        return found;                                                                              \
    }
#include "PeloraTcam/TranslationMaps.def"
    // clang-format on
    return false;
}

} // namespace Tool
