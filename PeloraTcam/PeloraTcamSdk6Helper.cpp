#include "PeloraTcam/PeloraTcamSdk6Helper.h"

#include "PeloraTcam/PreselectorSteps.h"
#include "PeloraTcam/Translations.h"
#include "agent/base/Assert.h"
#include "agent/base/Trace.h"
#include "sdk/SdkCall.h"

#include <array>
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
            { AgentType::agentEnumerator, []() -> SdkType { return Shim::sdk().accessor(); } },
#define TRANSLATION_END( forwardMap )                                                              \
        };                                                                                         \
        build( rows );                                                                             \
    }
#include "PeloraTcam/TranslationMaps.def"
// clang-format on

// The lookups. A failed one is reported at this place: within the list, `__FILE__` is the list.
constexpr const char* lookupsFile = __FILE__;
constexpr U32 lookupsLine = __LINE__;
#define LOOKUPS_LOCATION                                                                           \
    ::Agent::CallLocation                                                                          \
    {                                                                                              \
        lookupsFile, lookupsLine, __PRETTY_FUNCTION__                                              \
    }
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
        return Translations::lookUp( forwardMap, value, forwardAssertion, LOOKUPS_LOCATION );      \
    }                                                                                              \
    agentType reverseLookup( sdkType value )                                                       \
    {                                                                                              \
        return Translations::lookUp( reverseMap, value, reverseAssertion, LOOKUPS_LOCATION );      \
    }
#define TRANSLATION_ONE_WAY(                                                                       \
    forwardMap, builder, agentType, sdkType, forwardLookup, forwardAssertion )                     \
    sdkType forwardLookup( agentType value )                                                       \
    {                                                                                              \
        return Translations::lookUp( forwardMap, value, forwardAssertion, LOOKUPS_LOCATION );      \
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
    { QualifierType::qualifierType, [] { return Shim::sdk().accessor(); } },
#include "PeloraTcam/Qualifiers.def"
    };
    Translations::build( qualifierMap, qualifierReverseMap, rows );
}

void initializeBcmActionMap()
{
    static constexpr Translations::Row< ActionType, bcm_field_action_t > rows[] = {
#define ACTION( actionType, accessor )                                                             \
    { ActionType::actionType, [] { return Shim::sdk().accessor(); } },
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

bcm_field_qset_t getBcmQualifierSet( QualifierSet set )
{
    bcm_field_qset_t qset;
    Shim::sdk().BCM_FIELD_QSET_INIT( &qset );
    for ( const QualifierType type : set ) {
        const auto found = qualifierMap.find( type );
        if ( found == qualifierMap.end() ) {
            std::cerr << "Unsupported qualifier " << type << std::endl;
            AGENT_ASSERT( "false" == nullptr );
        }
        Shim::sdk().BCM_FIELD_QSET_ADD( &qset, found->second );
    }
    return qset;
}

QualifierSet getBcmQualifierSet( bcm_field_qset_t* qset )
{
    QualifierSet set;
    const auto stage = qualifierMap.find( QualifierType::stage );
    for ( U32 number = 0; number < Shim::sdk().BCM_FIELD_QUALIFY_COUNT(); ++number ) {
        const auto qualifier = static_cast< bcm_field_qualify_t >( number );
        if ( !Shim::sdk().BCM_FIELD_QSET_TEST( qset, qualifier ) ) {
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

bcm_field_aset_t getBcmActionSet( ActionSet set )
{
    bcm_field_aset_t aset;
    Shim::sdk().BCM_FIELD_ASET_INIT( &aset );
    for ( const ActionType type : set ) {
        const auto found = actionMap.find( type );
        if ( found != actionMap.end() ) {
            Shim::sdk().BCM_FIELD_ASET_ADD( &aset, found->second );
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

// ---- Group modes, key sizes and small glue ---------------------------------------------------

namespace {

/// The SDK's group mode for a key of that size. The modes are asked of the access object, so
/// that no map need have been built.
bcm_field_group_mode_t
groupModeOfKeySize( TcamKeySize::TcamKeySizeValue keySize, StageType stage, bool narrowWide )
{
    switch ( keySize ) {
    case TcamKeySize::automatic:
        return Shim::sdk().bcmFieldGroupModeAuto();
    case TcamKeySize::single:
        return stage == stageIfp() && narrowWide ? Shim::sdk().bcmFieldGroupModeSingleASetNarrow()
                                                 : Shim::sdk().bcmFieldGroupModeSingle();
    case TcamKeySize::doubleWide:
        return Shim::sdk().bcmFieldGroupModeDouble();
    case TcamKeySize::tripleWide:
        AGENT_ASSERT( stage == stageIfp() );
        return Shim::sdk().bcmFieldGroupModeTriple();
    case TcamKeySize::quadWide:
        AGENT_ASSERT( stage == stageVfp() );
        return Shim::sdk().bcmFieldGroupModeQuad();
    }
    AGENT_ASSERT( 0 && "Invalid vexa tcam key size" );
    return {};
}

} // namespace

bcm_field_group_mode_t getBcmTcamKeySize( TcamKeySize::TcamKeySizeValue keySize,
                                          StageType stage,
                                          bool narrowWideTcamWidthSupport )
{
    Agent::trace( _defaultTraceHandle(),
                  4,
                  "getBcmTcamKeySize",
                  " keySize ",
                  keySize,
                  " stage ",
                  stage,
                  " narrowWideTcamWidthSupport ",
                  narrowWideTcamWidthSupport );
    const bcm_field_group_mode_t mode =
        groupModeOfKeySize( keySize, stage, narrowWideTcamWidthSupport );
    Agent::trace( _defaultTraceHandle(), 4, "getBcmTcamKeySize", " returns: ", mode );
    return mode;
}

U32 getBcmActionParamCosMapNew( U32 trafficClass, const PeloraCentral::ChipInfo& chipInfo )
{
    const U32 classifierId = chipInfo.cosQueueMap().classifierId(
        PeloraCentral::ClassifierKind::fieldAction, static_cast< U8 >( trafficClass ) );
    const auto activeChipProfile = chipInfo.activeChipProfile();
    AGENT_ASSERT( activeChipProfile );
    const auto& attributes = activeChipProfile->tcamFeatureAttributes();
    return ( classifierId & 0xFFFF ) | ( attributes ? attributes->cosMapBits : 0 );
}

// ---- Preselectors ----------------------------------------------------------------------------

namespace {

using PreselectorSteps::asGiven;
using PreselectorSteps::translated;

using PreselectorRow = PreselectorSteps::Row< QualifierType >;

constexpr auto preselectorRows = std::to_array< PreselectorRow >( {
#define PRESELECTOR_CALL( name, ... ) { QualifierType::name, PRESELECTOR_CALL_STEP( __VA_ARGS__ ) },
#define PRESELECTOR_CLASS( name, ... )                                                             \
    { QualifierType::name, PRESELECTOR_CLASS_STEP( __VA_ARGS__ ) },
#include "PeloraTcam/PreselectorQualifiers.def"
} );

/// The access object's accessor of a qualifier.
using QualifierAccessor = bcm_field_qualify_t ( Shim::SdkAccess::* )() const;

using LegacyPreselectorRow = PreselectorSteps::Row< QualifierAccessor >;

constexpr auto legacyPreselectorRows = std::to_array< LegacyPreselectorRow >( {
#define PRESELECTOR_CALL( name, ... )                                                              \
    { &Shim::SdkAccess::name, PRESELECTOR_CALL_STEP( __VA_ARGS__ ) },
#define PRESELECTOR_CLASS( name, ... )                                                             \
    { &Shim::SdkAccess::name, PRESELECTOR_CLASS_STEP( __VA_ARGS__ ) },
#define PRESELECTOR_REFUSED( name, ... )                                                           \
    { &Shim::SdkAccess::name, PRESELECTOR_REFUSAL_STEP( __VA_ARGS__ ) },
#include "PeloraTcam/LegacyPreselectorQualifiers.def"
} );

} // namespace

void setPeloraTcamPreselectQualifier( U32 unit,
                                      U32 entry,
                                      U32 qualifier,
                                      U32 data,
                                      U32 mask,
                                      bcm_field_src_class_t* classData,
                                      bcm_field_src_class_t* classMask )
{
    const PreselectorSteps::Request request{ "setPeloraTcamPreselectQualifier",
                                             { __FILE__, __LINE__, __PRETTY_FUNCTION__ },
                                             _defaultTraceHandle(),
                                             apiTraceHandle_,
                                             unit,
                                             entry,
                                             data,
                                             mask,
                                             classData,
                                             classMask };
    const auto isAsked = [ qualifier ]( QualifierType name ) {
        return static_cast< U32 >( name ) == qualifier;
    };
    PreselectorSteps::runFirstStep< QualifierType >( preselectorRows, isAsked, request );
}

void setPreselectQualifier( U32 unit,
                            U32 entry,
                            U32 qualifier,
                            U32 data,
                            U32 mask,
                            bcm_field_src_class_t* classData,
                            bcm_field_src_class_t* classMask )
{
    const PreselectorSteps::Request request{ "setPreselectQualifier",
                                             { __FILE__, __LINE__, __PRETTY_FUNCTION__ },
                                             _defaultTraceHandle(),
                                             apiTraceHandle_,
                                             unit,
                                             entry,
                                             data,
                                             mask,
                                             classData,
                                             classMask };
    // DIFFERS: the qualifier is the SDK's number, and the SDK is asked for its own, row by row.
    const auto isAsked = [ qualifier ]( QualifierAccessor name ) {
        return ( Shim::sdk().*name )() == qualifier;
    };
    PreselectorSteps::runFirstStep< QualifierAccessor >( legacyPreselectorRows, isAsked, request );
}

} // namespace PeloraTcam
