#pragma once

/// What agents need around a TCAM group: its mode and id, port bitmaps, one action parameter.
///
/// Called on the agent's thread, once `Shim::sdk_` is set. Nothing is kept between calls, and
/// nothing on the chip changes.
///
///     const bcm_field_group_mode_t mode =
///         PeloraTcam::getBcmTcamKeySize( TcamKeySize::single, stageIfp(), false );

#include "agent/base/Bitmap.h"
#include "agent/base/Export.h"
#include "agent/base/Ptr.h"
#include "agent/tcam/ChipInfo.h"
#include "agent/tcam/StageType.h"
#include "agent/tcam/TcamGroup.h"
#include "agent/tcam/TcamTypes.h"
#include "sdk/SdkTypes.h"

#include <string>

namespace PeloraTcam {

/// The SDK's mode of a group whose keys have that size, in bits, on that stage.
///
/// - Requires: 480-bit keys on the ingress stage, 640-bit keys on the lookup stage; no map.
/// - Gives: the narrow mode to 160-bit keys of the ingress stage if `narrowWideTcamWidthSupport`.
/// - Fails: with a failed assertion for another stage or another size.
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

/// The parameter of the CoS-map action.
///
/// - Requires: a chip with an active profile.
/// - Gives: the chip's classifier id for the low byte of `trafficClass`, cut to 16 bits, with the
///   bits that the active profile adds.
/// - Fails: with a failed assertion if there is no active profile.
[[nodiscard]] PELORA_TCAM_EXPORT U32
getBcmActionParamCosMapNew( U32 trafficClass, const PeloraCentral::ChipInfo& chipInfo );

} // namespace PeloraTcam
