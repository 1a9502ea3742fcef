#pragma once

/// What a descriptor asks of the SDK's UDF module, put into the SDK's structures. The structures
/// come initialised; only what the descriptor asks for is set.

#include "agent/tcam/TcamTypes.h"
#include "agent/tcam/UdfTypes.h"
#include "sdk/SdkTypes.h"

namespace PeloraTcam {

/// The offset in bytes from where the UDF's layer starts.
[[nodiscard]] U32 normalizedOffset( const UdfDesc& udfDesc );

/// The UDF: start, width and layer.
void describeUdf( const UdfDesc& udfDesc, bcm_udf_t& udf );

/// The tunnel of the packets, and what it carries. An inner EtherType that is neither 0 nor IPv4's
/// nor IPv6's is an assertion failure.
void describeTunnel( const UdfDesc& udfDesc, bcm_udf_pkt_format_info_t& pktFmt );

/// The outer headers of the packets, whose EtherType is not 0, and their protocol; the priority.
void describeHeaders( const UdfDesc& udfDesc, bcm_udf_pkt_format_info_t& pktFmt );

/// The hints: that the UDF is for the LAG hash, if it is. `qset` is empty.
void describeHints( const UdfDesc& udfDesc, bcm_udf_alloc_hints_t& hints, bcm_field_qset_t& qset );

/// The hash configuration of a UDF: every mask byte that the SDK knows.
void describeHash( const UdfDesc& udfDesc, bcm_udf_id_t udfId, bcm_udf_hash_config_t& config );

/// The mask bytes 0 to 3 as one number, packed like `UdfDesc::packedLagHashingMask()`.
[[nodiscard]] U32 packedHashMask( const bcm_udf_hash_config_t& config );

} // namespace PeloraTcam
