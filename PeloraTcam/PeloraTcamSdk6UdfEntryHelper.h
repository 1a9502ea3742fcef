#pragma once

/// User-defined fields (UDFs) on chips driven through SDK-6: what all UDF paths share, the path
/// through the SDK's UDF module, and the path through the flexible parser.
///
/// A UDF is an SDK object that extracts bytes of the packet; it is attached to a packet format,
/// which says of which packets. Packet formats are scarce, so UDFs share them; the caller's
/// `PktFmtIdToUdfId` records who uses which. Creation undoes what it made when it fails part-way
/// and then gives an empty list; verification ends the process on a mismatch.
///
/// All functions are called on the agent's thread with the activity lock held, which each SDK call
/// releases for its duration. Descriptors, lists and footprints that come by constant reference are
/// read before the first SDK call: from then on other threads may change or free them. What a
/// function writes to must be the caller's own until it returns. The map of packet formats may
/// change during each SDK call.
///
///     PktFmtIdToUdfId::Ptr formats( new PktFmtIdToUdfId );
///     const QualIdList quals = createUdfQualifierUdfModule( unit, udfDesc, formats );
///     if ( quals.qualIds() != 0 ) {
///         udfQualProgrammedInHwUdfModule( unit, udfDesc, quals, formats );
///         destroyUdfQualifierUdfModule( unit, udfDesc, quals, formats );
///     }

#include "PeloraTcam/UdfCommon.h"
#include "agent/base/Bitmap.h"
#include "agent/base/Export.h"
#include "agent/tcam/TcamTypes.h"
#include "agent/tcam/UdfTypes.h"
#include "sdk/SdkTypes.h"

#include <set>

namespace PeloraTcam {

// Of all functions here: `unit` is the SDK's unit. Unless the text says otherwise, an SDK call that
// fails ends the process; so does an assertion failure.

/// The SDK's layer for an offset base; a base outside 1 to 8 is an assertion failure.
[[nodiscard]] PELORA_TCAM_EXPORT bcm_udf_layer_t getUdfLayer( UdfOffsetBase base );

// ---- The UDF module --------------------------------------------------------------------------

/// Creates a UDF, attached to a packet format of its own or to a shared one.
///
/// - Requires: a map that is not null; a base of 1 to 8; an inner EtherType that is 0, or IPv4's or
///   IPv6's inside one of these two. Anything else is an assertion failure.
/// - Gives: the UDF's id as the only one of a list, and enters it into the map.
/// - Gives an empty list, with nothing left behind, when the EtherType is 0, and when the SDK
///   refuses the UDF, its packet format, or the attachment of the one to the other.
/// - Raises `PELORA_TCAM_UDF_HW_RESOURCE_FULL` when there is no room for the UDF or the format.
[[nodiscard]] PELORA_TCAM_EXPORT QualIdList createUdfQualifierUdfModule(
    U32 unit, const UdfDesc& udfDesc, PktFmtIdToUdfId::Ptr pktFmtIdToUdfId );

/// Removes a UDF that was created, and its packet format with the last UDF that uses it.
///
/// `udfDesc` is what it was created from, `quals` what that gave; of several ids the first one
/// counts.
///
/// - Requires: an id; a UDF that is attached to exactly one packet format; a map that lists it
///   there.
/// - Fails: with an assertion failure where one of these is not so.
PELORA_TCAM_EXPORT void destroyUdfQualifierUdfModule( U32 unit,
                                                      const UdfDesc& udfDesc,
                                                      const QualIdList& quals,
                                                      PktFmtIdToUdfId::Ptr pktFmtIdToUdfId );

/// Undoes what a failed creation has made: at most one UDF, and a packet format that the map does
/// not know. Always gives an empty list and leaves the map as it is. Assertion failures: a
/// footprint with several UDFs, with the UDF -1, or with a packet format and no UDF; and a UDF that
/// is attached to the packet format, as only a failed attachment leads here.
PELORA_TCAM_EXPORT QualIdList cleanupUdfModuleFootprint(
    int unit, const UdfHwProgrammingFootprint& hwFootprint, PktFmtIdToUdfId::Ptr pktFmtIdToUdfId );

/// Returns when the SDK and the map hold the UDF as described: the first id of `quals`, of which
/// there is one, with the length and the raw offset of the descriptor, one of the known layers,
/// and one packet format, under which the map lists it. Anything else is an assertion failure, as
/// is therefore every UDF whose offset was corrected because it counts from behind a header.
PELORA_TCAM_EXPORT void udfQualProgrammedInHwUdfModule( U32 unit,
                                                        const UdfDesc& udfDesc,
                                                        const QualIdList& quals,
                                                        PktFmtIdToUdfId::PtrConst pktFmtIdToUdfId );

/// The UDFs that the SDK holds, whoever made them: the first 128 of them.
[[nodiscard]] PELORA_TCAM_EXPORT UdfIdList getAllProgrammedUdfIdsUdfModule( U32 unit );

/// The hardware chunks, 0 to 15, that UDFs occupy; a chunk of two UDFs is an assertion failure.
[[nodiscard]] PELORA_TCAM_EXPORT UdfChunkPosList getUdfChunkPosModule( U32 unit,
                                                                       const QualIdList& quals );

// ---- LAG hashing -----------------------------------------------------------------------------

/// Lets a UDF feed the LAG hash, with the descriptor's length and mask; bytes without a mask do not
/// take part. A chip without room for another hash configuration ends the process.
PELORA_TCAM_EXPORT void
createUdfLagHashingModule( U32 unit, bcm_udf_id_t udfId, const UdfDesc& udfDesc );

/// Takes a UDF out of the LAG hash. One that does not feed it ends the process.
PELORA_TCAM_EXPORT void destroyUdfLagHashingModule( U32 unit, bcm_udf_id_t udfId );

/// The UDFs that feed the LAG hash, however many.
[[nodiscard]] PELORA_TCAM_EXPORT UdfIdList getAllProgrammedLagHashingUdfIdsUdfModule( U32 unit );

/// Returns when the SDK hashes the UDF, the first id of `quals`, as described: the first four bytes
/// of the mask are compared, and the length. A difference is an assertion failure, and a UDF
/// that does not feed the hash ends the process.
PELORA_TCAM_EXPORT void
udfLagHashingProgrammedInModule( U32 unit, const QualIdList& quals, const UdfDesc& udfDesc );

// ---- The flexible parser ---------------------------------------------------------------------
//
// Arguments that come again: `unit` is the SDK's number of the chip; `apf` one of the formats of
// `udfAbstractPktFmt()`; of `udfDesc` only `ethType`, `appType`, `offset` and `length` are looked
// at, the last two in bytes, 0 to 255; `qualIds` are ids of SDK UDFs, as a creation gave them, none
// of them unknown to the SDK. Where nothing else is said, an SDK call that fails ends the process.

/// The abstract packet formats that the library programs: read from the SDK on first use, then
/// the same for the life of the process.
[[nodiscard]] PELORA_TCAM_EXPORT const std::set< bcm_udf_abstract_pkt_format_t >&
udfAbstractPktFmt();

/// The chunks of an abstract packet format that a new UDF cannot have, used or unavailable: bit i
/// for chunk i of 16.
[[nodiscard]] PELORA_TCAM_EXPORT Agent::Bitmap::Ptr
getUdfReservedBitmap( U32 unit, bcm_udf_abstract_pkt_format_t apf );

/// The chunks, 0 to 15, that UDFs occupy; a chunk of two UDFs is an assertion failure. No UDFs: no
/// chunks, and no SDK call.
[[nodiscard]] PELORA_TCAM_EXPORT UdfChunkPosList
getUdfChunkPosFlexParser( U32 unit, const QualIdList& qualIds );

/// Creates a UDF in an abstract packet format.
///
/// - Requires: one chunk for each two bytes.
/// - Gives: the UDF's id as the only one of a list.
/// - Gives an empty list, with nothing left behind and no log message, when there are too few
///   chunks or the SDK refuses.
[[nodiscard]] PELORA_TCAM_EXPORT QualIdList
createUdfQualifierFlexParser( U32 unit, const UdfDesc& udfDesc, bcm_udf_abstract_pkt_format_t apf );

/// Programs one UDF on the chunks of `chunkBmap`, bit i for chunk i of 16.
///
/// - Requires: `rc`, `qualIds` and `hwFootprint` of the caller's own. No other thread reads,
///   changes or frees them until this returns.
/// - Gives: the SDK's return code in `rc`, whatever it is. On success the UDF goes into the
///   footprint, then into `qualIds`, and otherwise nowhere.
/// - Fails: with an assertion failure for a chunk that is used already, and for a UDF that is in
///   the footprint already.
PELORA_TCAM_EXPORT void program_abstract_pkt_type( U32 unit,
                                                   const UdfDesc& udfDesc,
                                                   bcm_udf_abstract_pkt_format_t apf,
                                                   U32 chunkBmap,
                                                   int& rc,
                                                   QualIdList& qualIds,
                                                   UdfHwProgrammingFootprint& hwFootprint );

/// Destroys the UDFs of a qualifier. Assertion failures: UDFs on different chunks, and, when all
/// are destroyed, a chunk that was not reserved in `apf` before.
PELORA_TCAM_EXPORT void destroyUdfQualifierFlexParser( U32 unit,
                                                       const QualIdList& qualIds,
                                                       bcm_udf_abstract_pkt_format_t apf );

/// Undoes what a failed creation has made: destroys the UDFs of the footprint, as
/// `destroyUdfQualifierFlexParser()` does. Always gives an empty list.
PELORA_TCAM_EXPORT QualIdList cleanupUdfFlexParserFootprint(
    int unit, const UdfHwProgrammingFootprint& hwFootprint, bcm_udf_abstract_pkt_format_t apf );

/// Returns when the SDK holds the UDFs of a qualifier as described: in a format of the library,
/// with the offset and width in bytes, all on the same chunks, one for each two bytes. Otherwise it
/// is an assertion failure.
PELORA_TCAM_EXPORT void
udfQualProgrammedInHwFlex( U32 unit, const UdfDesc& udfDesc, const QualIdList& qualIds );

/// The UDFs that the SDK holds in the formats of `udfAbstractPktFmt()`, up to 128 of each. A
/// format that cannot be listed is left out, with an error line on standard error; one without
/// UDFs, which the SDK does not find, without.
[[nodiscard]] PELORA_TCAM_EXPORT UdfIdList getAllProgrammedUdfIdsUdfFlexParser( U32 unit );

} // namespace PeloraTcam
