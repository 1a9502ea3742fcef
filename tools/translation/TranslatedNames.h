#pragma once

/// Which of the agent's enumerators the library takes, so that the reader of a scenario refuses the
/// names of the others: with one of them the library ends the process.
///
/// All functions are pure.

#include "agent/tcam/ActionType.h"
#include "agent/tcam/QualifierType.h"
#include "reference/PreselectorManager.h"

#include <cstdint>
#include <string_view>

namespace Tool {

/// Whether a group can have the qualifier.
[[nodiscard]] bool isTranslated( PeloraTcam::QualifierType qualifier );

/// Whether a group or an entry can have the action.
[[nodiscard]] bool isTranslated( PeloraTcam::ActionType action );

/// The SDK's accessor of a qualifier, "bcmFieldQualifyVrf"; empty if there is none.
[[nodiscard]] std::string_view sdkNameOf( PeloraTcam::QualifierType qualifier );

/// The SDK's accessor of an action, "bcmFieldActionDrop"; empty if there is none.
[[nodiscard]] std::string_view sdkNameOf( PeloraTcam::ActionType action );

/// The agent's name of an action by the SDK's, of several the one with the smallest number: "drop"
/// for "bcmFieldActionDrop". The SDK's name itself if the agent has none.
[[nodiscard]] std::string_view agentActionName( std::string_view sdkName );

/// Whether a preselector can have the qualifier through that function of the library.
[[nodiscard]] bool isForPreselectors( PeloraTcam::QualifierType qualifier,
                                      Reference::PreselectorFunction function );

/// Whether one of the maps of `TranslationMaps.def`, such as "ipTypeMap", has the agent's value.
[[nodiscard]] bool isInMap( std::string_view map, std::uint32_t agentValue );

/// The name of the SDK's enumerator that the map has for the agent's value:
/// "bcmFieldIpTypeIpv4Any"; empty if it has none.
[[nodiscard]] std::string_view sdkNameOf( std::string_view map, std::uint32_t agentValue );

} // namespace Tool
