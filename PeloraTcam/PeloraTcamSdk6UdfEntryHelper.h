#pragma once

/// User-defined fields (UDFs) on chips driven through SDK-6: what all UDF paths share, and the path
/// through the SDK's UDF module.
///
/// A UDF is an SDK object that extracts bytes of the packet; it is attached to a packet format,
/// which says of which packets. Packet formats are scarce, so UDFs share them; the caller's
/// `PktFmtIdToUdfId` records who uses which. Creation undoes what it made when it fails part-way
/// and then gives an empty list; verification ends the process on a mismatch.
///
/// All functions are called on the agent's thread with the activity lock held, which each SDK call
/// releases for its duration.
///
///     PktFmtIdToUdfId::Ptr formats( new PktFmtIdToUdfId );
///     const QualIdList quals = createUdfQualifierUdfModule( unit, udfDesc, formats );
///     if ( quals.qualIds() != 0 ) {
///         udfQualProgrammedInHwUdfModule( unit, udfDesc, quals, formats );
///         destroyUdfQualifierUdfModule( unit, udfDesc, quals, formats );
///     }

#include "PeloraTcam/UdfCommon.h"
#include "agent/base/Export.h"
#include "agent/tcam/TcamTypes.h"
#include "agent/tcam/UdfTypes.h"
#include "sdk/SdkTypes.h"

namespace PeloraTcam {

/// The SDK's layer for an offset base; a base outside 1 to 8 is an assertion failure.
[[nodiscard]] PELORA_TCAM_EXPORT bcm_udf_layer_t getUdfLayer( UdfOffsetBase base );

// ---- The UDF module --------------------------------------------------------------------------

/// Creates a UDF, attached to a packet format of its own or a shared one, and gives its id as the
/// only one of a list; an empty list, with nothing left behind, when the SDK refuses. The map is
/// not null and is updated on success.
[[nodiscard]] PELORA_TCAM_EXPORT QualIdList createUdfQualifierUdfModule(
    U32 unit, const UdfDesc& udfDesc, PktFmtIdToUdfId::Ptr pktFmtIdToUdfId );

/// Removes a UDF that was created, and its packet format with the last UDF that uses it.
PELORA_TCAM_EXPORT void destroyUdfQualifierUdfModule( U32 unit,
                                                      const UdfDesc& udfDesc,
                                                      const QualIdList& quals,
                                                      PktFmtIdToUdfId::Ptr pktFmtIdToUdfId );

/// Undoes what a failed creation has made. Always gives an empty list.
PELORA_TCAM_EXPORT QualIdList cleanupUdfModuleFootprint(
    int unit, const UdfHwProgrammingFootprint& hwFootprint, PktFmtIdToUdfId::Ptr pktFmtIdToUdfId );

/// Returns when the SDK and the map hold the UDF as described; otherwise the process ends.
PELORA_TCAM_EXPORT void udfQualProgrammedInHwUdfModule( U32 unit,
                                                        const UdfDesc& udfDesc,
                                                        const QualIdList& quals,
                                                        PktFmtIdToUdfId::PtrConst pktFmtIdToUdfId );

/// The UDFs that the SDK holds, the first 128 of them.
[[nodiscard]] PELORA_TCAM_EXPORT UdfIdList getAllProgrammedUdfIdsUdfModule( U32 unit );

/// The hardware chunks that UDFs occupy; a chunk of two UDFs is an assertion failure.
[[nodiscard]] PELORA_TCAM_EXPORT UdfChunkPosList getUdfChunkPosModule( U32 unit,
                                                                       const QualIdList& quals );

// ---- LAG hashing -----------------------------------------------------------------------------

/// Lets a UDF feed the LAG hash, with the descriptor's mask.
PELORA_TCAM_EXPORT void
createUdfLagHashingModule( U32 unit, bcm_udf_id_t udfId, const UdfDesc& udfDesc );

/// Takes a UDF out of the LAG hash.
PELORA_TCAM_EXPORT void destroyUdfLagHashingModule( U32 unit, bcm_udf_id_t udfId );

/// The UDFs that feed the LAG hash.
[[nodiscard]] PELORA_TCAM_EXPORT UdfIdList getAllProgrammedLagHashingUdfIdsUdfModule( U32 unit );

/// Returns when the SDK hashes the UDF as described; otherwise the process ends.
PELORA_TCAM_EXPORT void
udfLagHashingProgrammedInModule( U32 unit, const QualIdList& quals, const UdfDesc& udfDesc );

} // namespace PeloraTcam
