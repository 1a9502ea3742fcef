#pragma once

/// User-defined fields (UDFs) through the flexible parser of chips driven through HSDK.
///
/// The twin of the SDK-6 flexible-parser functions in `PeloraTcamSdk6UdfEntryHelper.h`: HSDK
/// describes chunks by opaque bitmaps, reports the free ones directly, and is the one
/// flexible-parser path that raises the UDF resource log message. Called on the agent's thread with
/// the activity lock held, which each SDK call releases for its duration. Descriptors, lists,
/// footprints and bitmaps that are only read are read before the first SDK call: from then on other
/// threads may change or free them. What a function writes to must be the caller's own until it
/// returns.
///
///     const QualIdList quals = createUdfQualifierFlexParserHsdk( unit, udfDesc, apf );
///     if ( quals.qualIds() != 0 ) {
///         destroyUdfQualifierFlexParserHsdk( unit, quals, apf );
///     }

#include "agent/base/Bitmap.h"
#include "agent/base/Export.h"
#include "agent/tcam/TcamTypes.h"
#include "agent/tcam/UdfTypes.h"
#include "sdk/SdkTypes.h"

#include <set>

namespace PeloraTcam {

// Arguments that come again: `unit` is the SDK's number of the chip; `apf` one of the formats of
// `udfAbstractPktFmtHsdk()`; of `udfDesc` only `ethType`, `appType`, `offset` and `length` are
// looked at, the last two in bytes, 0 to 255; `qualIds` are ids of SDK UDFs, as a creation gave
// them, none of them unknown to the SDK. Where nothing else is said, an SDK call that fails ends
// the process.

/// The abstract packet formats that the library programs: read from the SDK on first use, then
/// the same for the life of the process.
[[nodiscard]] PELORA_TCAM_EXPORT const std::set< bcm_udf_abstract_pkt_format_t >&
udfAbstractPktFmtHsdk();

/// The chunks, 0 to 15, that UDFs occupy; a chunk of two UDFs is an assertion failure. No UDFs: no
/// chunks, and no SDK call.
[[nodiscard]] PELORA_TCAM_EXPORT UdfChunkPosList
getUdfChunkPosFlexParserHsdk( U32 unit, const QualIdList& qualIds );

/// Creates a UDF in an abstract packet format.
///
/// - Requires: one chunk for each two bytes.
/// - Gives: the UDF's id as the only one of a list.
/// - Gives an empty list, with nothing left behind, when there are too few chunks or the SDK
///   refuses.
/// - Raises `PELORA_TCAM_UDF_HW_RESOURCE_FULL` each time the SDK is out of resources.
[[nodiscard]] PELORA_TCAM_EXPORT QualIdList createUdfQualifierFlexParserHsdk(
    U32 unit, const UdfDesc& udfDesc, bcm_udf_abstract_pkt_format_t apf );

/// Programs one UDF on the lowest chunk of `chunkBmap`, bit i for chunk i of 16.
///
/// - Requires: a bitmap that is not null, which stays as it is; `rc`, `qualIds` and `hwFootprint`
///   of the caller's own. No other thread reads, changes or frees these three until this returns.
/// - Gives: the SDK's return code in `rc`, whatever it is. On success the UDF goes into the
///   footprint, then into `qualIds`, and otherwise nowhere.
/// - Fails: with an assertion failure for a chunk that is not free, and for a UDF that is in the
///   footprint already.
PELORA_TCAM_EXPORT void program_abstract_pkt_type_hsdk( U32 unit,
                                                        const UdfDesc& udfDesc,
                                                        bcm_udf_abstract_pkt_format_t apf,
                                                        Agent::Bitmap::Ptr chunkBmap,
                                                        int& rc,
                                                        QualIdList& qualIds,
                                                        UdfHwProgrammingFootprint& hwFootprint );

/// Destroys the UDFs of a qualifier. Assertion failures: UDFs on different chunks, and, when all
/// are destroyed, a chunk that was free in `apf` before.
PELORA_TCAM_EXPORT void destroyUdfQualifierFlexParserHsdk( U32 unit,
                                                           const QualIdList& qualIds,
                                                           bcm_udf_abstract_pkt_format_t apf );

/// Undoes what a failed creation has made: destroys the UDFs of the footprint, as
/// `destroyUdfQualifierFlexParserHsdk()` does. Always gives an empty list.
PELORA_TCAM_EXPORT QualIdList cleanupUdfFlexParserFootprintHsdk(
    int unit, const UdfHwProgrammingFootprint& hwFootprint, bcm_udf_abstract_pkt_format_t apf );

/// Returns when the SDK holds the UDFs of a qualifier as described: in a format of the library,
/// with the offset in bits and the width in bytes, all on the same chunks, one for each two bytes.
/// Otherwise it is an assertion failure.
PELORA_TCAM_EXPORT void
udfQualProgrammedInHwFlexHsdk( U32 unit, const UdfDesc& udfDesc, const QualIdList& qualIds );

/// The UDFs that the SDK holds in the formats of `udfAbstractPktFmtHsdk()`, up to 128 of each. A
/// format that cannot be listed is left out, with an error line on standard error; one without
/// UDFs, which the SDK does not find, without.
[[nodiscard]] PELORA_TCAM_EXPORT UdfIdList getAllProgrammedUdfIdsUdfFlexParserHsdk( U32 unit );

} // namespace PeloraTcam
