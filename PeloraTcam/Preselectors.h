#pragma once

/// Preselectors: small field entries that decide which packets a group sees.
///
/// Called on the agent's thread with the activity lock held, which each SDK call releases for its
/// duration. The translation maps must have been built (`SdkTranslation.h`).
///
///     setPeloraTcamPreselectQualifier( unit, entry,
///                                      static_cast< U32 >( QualifierType::drop ), 1, 1,
///                                      &classData, &classMask );

#include "agent/base/Export.h"
#include "agent/tcam/TcamTypes.h"
#include "sdk/SdkTypes.h"

namespace PeloraTcam {

/// Adds one qualifier to a preselector.
///
/// `unit`: the SDK unit; `entry`: the preselector's entry id, to which bit 30 is added for the SDK;
/// `qualifier`: a `QualifierType` as a number; `data` and `mask`: what the packet is compared with,
/// and which of its bits count; `classData` and `classMask`: the caller's class records, not null.
///
/// - Requires: class records that the caller has initialised before the first qualifier. The caller
///   applies them after the last one.
/// - Gives most qualifiers to the SDK at once: translated where the row says so (drop reason and
///   spanning-tree state are passed as they come), and cut to the width of the SDK's qualifier. One
///   whose call takes no mask ignores `mask`, but for the trace.
/// - Adds the four class qualifiers to the class records instead, data to the one and mask to the
///   other. The two 16-bit ones are cut silently.
/// - Fails, which ends the process: for a qualifier that no preselector can have, for data that
///   cannot be translated, and when the SDK fails.
PELORA_TCAM_EXPORT void setPeloraTcamPreselectQualifier( U32 unit,
                                                         U32 entry,
                                                         U32 qualifier,
                                                         U32 data,
                                                         U32 mask,
                                                         bcm_field_src_class_t* classData,
                                                         bcm_field_src_class_t* classMask );

/// The older form. The arguments are the same but for `qualifier`, which is the SDK's number.
///
/// - Gives the data to the SDK as it comes; only the packet type is translated.
/// - Class qualifiers replace what the records hold; the port class is added.
/// - Fails as the newer form does, and with a failed assertion for class data of more than 16 bits
///   where the field has 16.
PELORA_TCAM_EXPORT void setPreselectQualifier( U32 unit,
                                               U32 entry,
                                               U32 qualifier,
                                               U32 data,
                                               U32 mask,
                                               bcm_field_src_class_t* classData,
                                               bcm_field_src_class_t* classMask );

} // namespace PeloraTcam
