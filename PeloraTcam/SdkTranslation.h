#pragma once

/// Translation between the agent's enumerations and the SDK's, and the qualifier and action sets
/// built on it.
///
/// Every translation concept has an exported map from agent to SDK values, for most of them one
/// back, a builder that fills both, and lookups. The SDK's values are asked of the access object
/// when a map is built, so the library runs unchanged against an SDK that numbers differently.
/// The agent calls each builder once, on one thread, after `Shim::sdk_` is set and before the
/// first lookup; after that the maps are only read, by any thread. A lookup that finds nothing is
/// an error of its caller and ends the process.
///
///     PeloraTcam::initializeBcmIpTypeMap();
///     const bcm_field_IpType_t type = PeloraTcam::getBcmIpType( FieldIpType::ipv4Any );

#include "agent/base/Export.h"
#include "agent/tcam/ActionType.h"
#include "agent/tcam/EnumerationSet.h"
#include "agent/tcam/FieldEnumerations.h"
#include "agent/tcam/QualifierType.h"
#include "agent/tcam/StageType.h"
#include "agent/tcam/TcamTypes.h"
#include "sdk/SdkTypes.h"

#include <map>

namespace PeloraTcam {

// ---- Translation maps ------------------------------------------------------------------------
//
// `TranslationMaps.def` lists every concept with the names of its maps, builder and lookups. A
// builder asks the access object for each SDK value once; when its forward map holds anything it
// does nothing. A lookup of a value without an entry, and any lookup before the builder ran, is the
// failed assertion that the list gives.

/// A map from the agent's values to the SDK's, the one back, their builder, and the lookups. A
/// lookup of a value that is not in its map ends the process.
#define TRANSLATION_BOTH_WAYS( forwardMap, reverseMap, builder, agentType, sdkType, forwardLookup, \
                               reverseLookup, ... )                                                \
    extern PELORA_TCAM_EXPORT std::map< agentType, sdkType > forwardMap;                           \
    extern PELORA_TCAM_EXPORT std::map< sdkType, agentType > reverseMap;                           \
    PELORA_TCAM_EXPORT void builder();                                                             \
    [[nodiscard]] PELORA_TCAM_EXPORT sdkType forwardLookup( agentType value );                     \
    [[nodiscard]] PELORA_TCAM_EXPORT agentType reverseLookup( sdkType value );
/// The same for values that are not translated back.
#define TRANSLATION_ONE_WAY( forwardMap, builder, agentType, sdkType, forwardLookup, ... )         \
    extern PELORA_TCAM_EXPORT std::map< agentType, sdkType > forwardMap;                           \
    PELORA_TCAM_EXPORT void builder();                                                             \
    [[nodiscard]] PELORA_TCAM_EXPORT sdkType forwardLookup( agentType value );
#include "PeloraTcam/TranslationMaps.def"

// ---- Qualifiers and actions ------------------------------------------------------------------

/// From qualifier types to the SDK's qualifiers (`Qualifiers.def`) and back; from action types to
/// the SDK's actions (`Actions.def`) and back. Where several types are one for the SDK, it
/// translates back to the one with the smallest number.
extern PELORA_TCAM_EXPORT std::map< QualifierType, bcm_field_qualify_t > qualifierMap;
extern PELORA_TCAM_EXPORT std::map< bcm_field_qualify_t, QualifierType > qualifierReverseMap;
extern PELORA_TCAM_EXPORT std::map< ActionType, bcm_field_action_t > actionMap;
extern PELORA_TCAM_EXPORT std::map< bcm_field_action_t, ActionType > actionReverseMap;

/// Build the maps, as the builders of the translation maps do.
PELORA_TCAM_EXPORT void initializeBcmQualifierMap();
PELORA_TCAM_EXPORT void initializeBcmActionMap();

/// Translate one qualifier. One without an entry is a failed assertion.
[[nodiscard]] PELORA_TCAM_EXPORT bcm_field_qualify_t getBcmQualifier( QualifierType qtype );
[[nodiscard]] PELORA_TCAM_EXPORT QualifierType getBcmQualifier( bcm_field_qualify_t qual );

/// Translate one action. One without an entry is named on standard error, then it is a failed
/// assertion.
[[nodiscard]] PELORA_TCAM_EXPORT bcm_field_action_t getBcmAction( ActionType actionType );
[[nodiscard]] PELORA_TCAM_EXPORT ActionType getBcmAction( bcm_field_action_t action );

/// The SDK's set of the agent's qualifiers. One without an entry is named on standard error, then
/// it is a failed assertion: none is left out.
[[nodiscard]] PELORA_TCAM_EXPORT bcm_field_qset_t getBcmQualifierSet( QualifierSet set );

/// The agent's qualifiers in a set of the SDK's, which is not null. What no qualifier of the agent
/// translates to is left out, and so, as required, is the stage. Never fails.
[[nodiscard]] PELORA_TCAM_EXPORT QualifierSet getBcmQualifierSet( bcm_field_qset_t* qset );

/// The SDK's set of the agent's actions. `noAction` is left out; another one without an entry is
/// named on standard error, then it is a failed assertion.
[[nodiscard]] PELORA_TCAM_EXPORT bcm_field_aset_t getBcmActionSet( ActionSet set );

/// Whether what the action does depends on the packet's colour.
[[nodiscard]] PELORA_TCAM_EXPORT bool isActionColored( ActionType actionType );

} // namespace PeloraTcam
