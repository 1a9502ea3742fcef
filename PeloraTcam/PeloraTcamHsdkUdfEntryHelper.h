#pragma once

/// User-defined fields (UDFs) through the flexible parser of chips driven through HSDK.
///
/// The twin of the SDK-6 flexible-parser functions in `PeloraTcamSdk6UdfEntryHelper.h`: HSDK
/// describes chunks by opaque bitmaps, reports the free ones directly, and is the one
/// flexible-parser path that raises the UDF resource log message. Called on the agent's thread with
/// the activity lock held, which each SDK call releases for its duration.
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

/// The abstract packet formats that the library programs.
[[nodiscard]] PELORA_TCAM_EXPORT const std::set< bcm_udf_abstract_pkt_format_t >&
udfAbstractPktFmtHsdk();

/// The chunks that UDFs occupy; a chunk of two UDFs is an assertion failure.
[[nodiscard]] PELORA_TCAM_EXPORT UdfChunkPosList
getUdfChunkPosFlexParserHsdk( U32 unit, const QualIdList& qualIds );

/// Creates a UDF in an abstract packet format and gives its id as the only one of a list; an
/// empty list, with nothing left behind, when there are too few chunks or the SDK refuses.
[[nodiscard]] PELORA_TCAM_EXPORT QualIdList createUdfQualifierFlexParserHsdk(
    U32 unit, const UdfDesc& udfDesc, bcm_udf_abstract_pkt_format_t apf );

/// Programs one UDF on the chunks of a bitmap, which must be free. The SDK's return code goes to
/// `rc`; on success the UDF goes into the footprint and the list.
PELORA_TCAM_EXPORT void program_abstract_pkt_type_hsdk( U32 unit,
                                                        const UdfDesc& udfDesc,
                                                        bcm_udf_abstract_pkt_format_t apf,
                                                        Agent::Bitmap::Ptr chunkBmap,
                                                        int& rc,
                                                        QualIdList& qualIds,
                                                        UdfHwProgrammingFootprint& hwFootprint );

/// Destroys the UDFs of a qualifier, and checks their chunks against the format's.
PELORA_TCAM_EXPORT void destroyUdfQualifierFlexParserHsdk( U32 unit,
                                                           const QualIdList& qualIds,
                                                           bcm_udf_abstract_pkt_format_t apf );

/// Undoes what a failed creation has made. Always gives an empty list.
PELORA_TCAM_EXPORT QualIdList cleanupUdfFlexParserFootprintHsdk(
    int unit, const UdfHwProgrammingFootprint& hwFootprint, bcm_udf_abstract_pkt_format_t apf );

/// Returns when the SDK holds the UDFs of a qualifier as described; otherwise the process ends.
PELORA_TCAM_EXPORT void
udfQualProgrammedInHwFlexHsdk( U32 unit, const UdfDesc& udfDesc, const QualIdList& qualIds );

/// The UDFs that the SDK holds in the formats of `udfAbstractPktFmtHsdk()`, up to 128 of each. A
/// format that cannot be listed is left out, with an error line on standard error.
[[nodiscard]] PELORA_TCAM_EXPORT UdfIdList getAllProgrammedUdfIdsUdfFlexParserHsdk( U32 unit );

} // namespace PeloraTcam
