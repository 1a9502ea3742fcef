#include "PeloraTcam/PeloraTcamSdk6Helper.h"

#include "PeloraTcam/Translations.h"
#include "agent/base/Assert.h"
#include "agent/base/Trace.h"
#include "sdk/SdkCall.h"

#include <iostream>

namespace PeloraTcam {

namespace {

const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility );

const Agent::TraceHandle& _defaultTraceHandle()
{
    static const Agent::TraceHandle handle( "PeloraTcamSdk6Helper" );
    return handle;
}

} // namespace

// ---- Translation maps ------------------------------------------------------------------------

// The maps, empty until their builders run.
#define TRANSLATION_BOTH_WAYS( forwardMap,                                                         \
                               reverseMap,                                                         \
                               builder,                                                            \
                               agentType,                                                          \
                               sdkType,                                                            \
                               forwardLookup,                                                      \
                               reverseLookup,                                                      \
                               forwardAssertion,                                                   \
                               reverseAssertion )                                                  \
    std::map< agentType, sdkType > forwardMap;                                                     \
    std::map< sdkType, agentType > reverseMap;
#define TRANSLATION_ONE_WAY(                                                                       \
    forwardMap, builder, agentType, sdkType, forwardLookup, forwardAssertion )                     \
    std::map< agentType, sdkType > forwardMap;
#include "PeloraTcam/TranslationMaps.def"

// The builders: each opens with its concept, goes on with its rows, and ends by building.
// clang-format off
#define TRANSLATION_BOTH_WAYS( forwardMap, reverseMap, builder, agentType, sdkType, forwardLookup, \
                               reverseLookup, forwardAssertion, reverseAssertion )                 \
    void builder()                                                                                 \
    {                                                                                              \
        using AgentType = agentType;                                                               \
        using SdkType = sdkType;                                                                   \
        constexpr auto build = []( const auto& rows ) {                                            \
            Translations::build( forwardMap, reverseMap, rows );                                   \
        };                                                                                         \
        static constexpr Translations::Row< AgentType, SdkType > rows[] = {
#define TRANSLATION_ONE_WAY( forwardMap, builder, agentType, sdkType, forwardLookup,               \
                             forwardAssertion )                                                    \
    void builder()                                                                                 \
    {                                                                                              \
        using AgentType = agentType;                                                               \
        using SdkType = sdkType;                                                                   \
        constexpr auto build = []( const auto& rows ) {                                            \
            Translations::build( forwardMap, rows );                                               \
        };                                                                                         \
        static constexpr Translations::Row< AgentType, SdkType > rows[] = {
#define TRANSLATION( agentEnumerator, accessor )                                                   \
            { AgentType::agentEnumerator, []() -> SdkType { return Shim::sdk_->accessor(); } },
#define TRANSLATION_END( forwardMap )                                                              \
        };                                                                                         \
        build( rows );                                                                             \
    }
#include "PeloraTcam/TranslationMaps.def"
// clang-format on

// The lookups.
#define TRANSLATION_BOTH_WAYS( forwardMap,                                                         \
                               reverseMap,                                                         \
                               builder,                                                            \
                               agentType,                                                          \
                               sdkType,                                                            \
                               forwardLookup,                                                      \
                               reverseLookup,                                                      \
                               forwardAssertion,                                                   \
                               reverseAssertion )                                                  \
    sdkType forwardLookup( agentType value )                                                       \
    {                                                                                              \
        return Translations::lookUp( forwardMap, value, forwardAssertion, TRANSLATION_LOCATION );  \
    }                                                                                              \
    agentType reverseLookup( sdkType value )                                                       \
    {                                                                                              \
        return Translations::lookUp( reverseMap, value, reverseAssertion, TRANSLATION_LOCATION );  \
    }
#define TRANSLATION_ONE_WAY(                                                                       \
    forwardMap, builder, agentType, sdkType, forwardLookup, forwardAssertion )                     \
    sdkType forwardLookup( agentType value )                                                       \
    {                                                                                              \
        return Translations::lookUp( forwardMap, value, forwardAssertion, TRANSLATION_LOCATION );  \
    }
#include "PeloraTcam/TranslationMaps.def"

// ---- Qualifiers and actions ------------------------------------------------------------------

std::map< QualifierType, bcm_field_qualify_t > qualifierMap;
std::map< bcm_field_qualify_t, QualifierType > qualifierReverseMap;
std::map< ActionType, bcm_field_action_t > actionMap;
std::map< bcm_field_action_t, ActionType > actionReverseMap;

void initializeBcmQualifierMap()
{
    static constexpr Translations::Row< QualifierType, bcm_field_qualify_t > rows[] = {
#define QUALIFIER( qualifierType, accessor )                                                       \
    { QualifierType::qualifierType, [] { return Shim::sdk_->accessor(); } },
#include "PeloraTcam/Qualifiers.def"
    };
    Translations::build( qualifierMap, qualifierReverseMap, rows );
}

void initializeBcmActionMap()
{
    static constexpr Translations::Row< ActionType, bcm_field_action_t > rows[] = {
#define ACTION( actionType, accessor )                                                             \
    { ActionType::actionType, [] { return Shim::sdk_->accessor(); } },
#include "PeloraTcam/Actions.def"
    };
    Translations::build( actionMap, actionReverseMap, rows );
}

bcm_field_qualify_t getBcmQualifier( QualifierType qtype )
{
    return Translations::lookUp( qualifierMap,
                                 qtype,
                                 "qualifierMap.find( qtype ) != qualifierMap.end()",
                                 TRANSLATION_LOCATION );
}

QualifierType getBcmQualifier( bcm_field_qualify_t qual )
{
    return Translations::lookUp( qualifierReverseMap,
                                 qual,
                                 "qualifierReverseMap.find( qual ) != qualifierReverseMap.end()",
                                 TRANSLATION_LOCATION );
}

bcm_field_action_t getBcmAction( ActionType actionType )
{
    Agent::trace( _defaultTraceHandle(), 8, "getBcmAction", " actionType: ", actionType );
    const auto found = actionMap.find( actionType );
    if ( found != actionMap.end() ) {
        return found->second;
    }
    std::cerr << "Unmapped actionType: " << actionType << std::endl;
    AGENT_ASSERT( ( actionMap.find( actionType ) != actionMap.end() ) );
    return {};
}

ActionType getBcmAction( bcm_field_action_t action )
{
    const auto found = actionReverseMap.find( action );
    if ( found != actionReverseMap.end() ) {
        return found->second;
    }
    std::cerr << "Unmapped action: " << action << std::endl;
    AGENT_ASSERT( actionReverseMap.find( action ) != actionReverseMap.end() );
    return {};
}

bcm_field_qset_t getBcmQualifierSet( const QualifierSet& set )
{
    bcm_field_qset_t qset;
    Shim::sdk_->BCM_FIELD_QSET_INIT( &qset );
    for ( const QualifierType type : set ) {
        const auto found = qualifierMap.find( type );
        if ( found == qualifierMap.end() ) {
            std::cerr << "Unsupported qualifier " << type << std::endl;
            AGENT_ASSERT( "false" == nullptr );
        }
        Shim::sdk_->BCM_FIELD_QSET_ADD( &qset, found->second );
    }
    return qset;
}

QualifierSet getBcmQualifierSet( bcm_field_qset_t* qset )
{
    QualifierSet set;
    const auto stage = qualifierMap.find( QualifierType::stage );
    for ( U32 number = 0; number < Shim::sdk_->BCM_FIELD_QUALIFY_COUNT(); ++number ) {
        const auto qualifier = static_cast< bcm_field_qualify_t >( number );
        if ( !Shim::sdk_->BCM_FIELD_QSET_TEST( qset, qualifier ) ) {
            continue;
        }
        // KEPT: the stage is never reported. It is no field of the key: the SDK takes the group's
        // stage from it, and the agent's records hold the stage beside the qualifiers.
        if ( stage != qualifierMap.end() && stage->second == qualifier ) {
            continue;
        }
        const auto found = qualifierReverseMap.find( qualifier );
        if ( found != qualifierReverseMap.end() ) {
            set.insert( found->second );
        }
    }
    return set;
}

bcm_field_aset_t getBcmActionSet( const ActionSet& set )
{
    bcm_field_aset_t aset;
    Shim::sdk_->BCM_FIELD_ASET_INIT( &aset );
    for ( const ActionType type : set ) {
        const auto found = actionMap.find( type );
        if ( found != actionMap.end() ) {
            Shim::sdk_->BCM_FIELD_ASET_ADD( &aset, found->second );
        } else if ( type != ActionType::noAction ) {
            std::cerr << " Unsupported action: " << type << std::endl;
            AGENT_ASSERT( "false" == nullptr );
        }
    }
    return aset;
}

bool isActionColored( ActionType actionType )
{
    switch ( actionType ) {
    case ActionType::dropColorAware:
    case ActionType::dropGreen:
    case ActionType::dropNonGreen:
    case ActionType::dropRed:
    case ActionType::dropYellow:
    case ActionType::prioIntGreen:
    case ActionType::prioIntRed:
    case ActionType::prioIntYellow:
    case ActionType::remarkDscpGreen:
    case ActionType::remarkDscpRed:
    case ActionType::remarkDscpYellow:
    case ActionType::switchToCpuColorAware:
    case ActionType::switchToCpuGreen:
    case ActionType::switchToCpuNonGreen:
    case ActionType::switchToCpuRed:
    case ActionType::switchToCpuYellow:
        return true;
    default:
        return false;
    }
}

} // namespace PeloraTcam
