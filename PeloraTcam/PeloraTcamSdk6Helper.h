#pragma once

/// Translation between the agent's enumerations and the SDK's, and the field-processor glue built
/// on it: qualifier and action sets, group modes and key sizes, preselectors.
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

#include "agent/base/Bitmap.h"
#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/tcam/ActionType.h"
#include "agent/tcam/ChipInfo.h"
#include "agent/tcam/EnumerationSet.h"
#include "agent/tcam/FieldEnumerations.h"
#include "agent/tcam/QualifierType.h"
#include "agent/tcam/StageType.h"
#include "agent/tcam/TcamGroup.h"
#include "agent/tcam/TcamTypes.h"
#include "sdk/SdkTypes.h"

#include <map>
#include <string>

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

// ---- Group modes, key sizes and small glue ---------------------------------------------------

/// The SDK's mode of a group whose keys have that size, in bits, on that stage.
///
/// `narrowWideTcamWidthSupport`: whether 160-bit keys of the ingress stage get the narrow mode.
/// 480-bit keys belong to the ingress stage, 640-bit keys to the lookup stage; another stage, or
/// another size, is a failed assertion. Needs no map.
[[nodiscard]] PELORA_TCAM_EXPORT bcm_field_group_mode_t getBcmTcamKeySize(
    TcamKeySize::TcamKeySizeValue keySize, StageType stage, bool narrowWideTcamWidthSupport );

/// The SDK's id of a group: bits 0 to 7 are those of `groupId`, bits 24 to 26 the low three of
/// `subId`, bit 27 is bit 24 of `groupId`; all others are zero.
[[nodiscard]] PELORA_TCAM_EXPORT U32 generateSdk6GroupIdFormat( LogicalGroupId groupId, U8 subId );

/// The SDK's bitmap of the ports whose bits are set; the empty one if there are none or `ports`
/// is null.
[[nodiscard]] PELORA_TCAM_EXPORT _shr_pbmp getPbmp( Agent::Ptr< const Agent::Bitmap > ports );

/// The SDK's text of a port bitmap.
[[nodiscard]] PELORA_TCAM_EXPORT std::string pbmpToStr( const _shr_pbmp& pbmp );

/// Whether the data of that group is left out when its action set is empty.
[[nodiscard]] PELORA_TCAM_EXPORT bool skipGroupDataWithNullAset( TcamGroupId groupId );

/// The parameter of the CoS-map action: the chip's classifier id for the low byte of
/// `trafficClass`, cut to 16 bits, and the bits that the active profile adds. A chip without an
/// active profile is a failed assertion.
[[nodiscard]] PELORA_TCAM_EXPORT U32
getBcmActionParamCosMapNew( U32 trafficClass, const PeloraCentral::ChipInfo& chipInfo );

// ---- Preselectors ----------------------------------------------------------------------------

/// Adds one qualifier to a preselector.
///
/// `unit`: the SDK unit; `entry`: the preselector's entry id, to which bit 30 is added for the SDK;
/// `qualifier`: a `QualifierType` as a number; `data` and `mask`: what the packet is compared with,
/// and which of its bits count; `classData` and `classMask`: the caller's class records, not null.
///
/// Most qualifiers are told to the SDK at once,
/// translated where the row says so (drop reason and spanning-tree state are passed as they come),
/// and cut to the width of the SDK's qualifier.
/// A qualifier whose call takes no mask ignores `mask`, but for the trace.
/// The four class qualifiers are added to the class records instead, data to the one and mask to
/// the other; the caller initialises both before the first qualifier and applies them after the
/// last. The two 16-bit ones are cut silently.
/// A qualifier that no preselector can have, data that cannot be translated, and a failure of the
/// SDK end the process. `setPreselectQualifier` is the older form.
PELORA_TCAM_EXPORT void setPeloraTcamPreselectQualifier( U32 unit,
                                                         U32 entry,
                                                         U32 qualifier,
                                                         U32 data,
                                                         U32 mask,
                                                         bcm_field_src_class_t* classData,
                                                         bcm_field_src_class_t* classMask );

/// The older form, for callers that still use it. The arguments are the same but for `qualifier`,
/// which is the SDK's number. Only the packet type is translated, class qualifiers replace what the
/// records hold (the port class is added), and class data of more than 16 bits is a failed
/// assertion where the field has 16.
PELORA_TCAM_EXPORT void setPreselectQualifier( U32 unit,
                                               U32 entry,
                                               U32 qualifier,
                                               U32 data,
                                               U32 mask,
                                               bcm_field_src_class_t* classData,
                                               bcm_field_src_class_t* classMask );

} // namespace PeloraTcam
