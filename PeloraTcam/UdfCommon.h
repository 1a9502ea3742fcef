#pragma once

/// What all paths to user-defined fields share and no SDK call is traced for: where a field starts,
/// which packet formats are the same, what field entries hold of a field, and ids. Part of
/// `PeloraTcamSdk6UdfEntryHelper.h`, which is what an agent includes.

#include "agent/base/Export.h"
#include "agent/tcam/TcamTypes.h"
#include "agent/tcam/UdfTypes.h"
#include "sdk/SdkTypes.h"

namespace PeloraTcam {

/// The bytes to add to an offset that counts from behind a header: 20 or 40 for an IP header, 20
/// or 8 for a TCP or UDP header, 0 for any other base, EtherType or protocol.
[[nodiscard]] PELORA_TCAM_EXPORT U32 getUdfStart( UdfOffsetBase base,
                                                  unsigned int ethType,
                                                  unsigned char ipProto );

/// Whether two packet formats describe the same packets. Their priority does not count: formats
/// that differ in nothing else are shared.
[[nodiscard]] PELORA_TCAM_EXPORT bool operator==( const bcm_udf_pkt_format_info_s& left,
                                                  const bcm_udf_pkt_format_info_s& right );

/// Qualifies a field entry with `length` bytes of a UDF, read from each of the caller's two
/// buffers. Gives the SDK's return code, which nothing here judges. The locks are left as they are,
/// and nothing is traced.
PELORA_TCAM_EXPORT int setUdfDataAndMask( int unit,
                                          int entry,
                                          int udfId,
                                          unsigned char* data,
                                          unsigned char* mask,
                                          unsigned short length );

/// Reads what a field entry is qualified with for a UDF.
///
/// - Requires: two buffers of `maxLength` bytes; an `actualLength` that is not null.
/// - Gives: up to `maxLength` bytes in each buffer; in `actualLength` the low 16 bits of what the
///   SDK gives, also when it reports an error; and the SDK's return code, which nothing here
///   judges.
/// - Leaves the locks as they are, and traces nothing.
PELORA_TCAM_EXPORT int getUdfDataAndMask( int unit,
                                          int entry,
                                          int udfId,
                                          unsigned short maxLength,
                                          unsigned char* data,
                                          unsigned char* mask,
                                          unsigned short* actualLength );

/// The agent and the SDK number UDFs and packet formats alike. These mark the crossing: each gives
/// its argument's number unchanged, whatever it is, and never fails.
[[nodiscard]] PELORA_TCAM_EXPORT bcm_udf_id_t getBcmUdfId( UdfId udfId );
[[nodiscard]] PELORA_TCAM_EXPORT bcm_udf_id_t getBcmUdfId( int udfId );
[[nodiscard]] PELORA_TCAM_EXPORT bcm_udf_pkt_format_id_t getBcmUdfPktFmtId( PktFmtId pktFmtId );
[[nodiscard]] PELORA_TCAM_EXPORT bcm_udf_pkt_format_id_t getBcmUdfPktFmtId( int pktFmtId );

} // namespace PeloraTcam
