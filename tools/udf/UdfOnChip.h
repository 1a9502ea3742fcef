#pragma once

/// What the simulated chip was given for a user-defined field, as one line.
///
///     "layer bcmUdfLayerL3OuterHeader, start 32, width 16, chunk 0, packet format 1"
///     "format bcmUdfAbstractPktFormatL3Ipv6, offset 32, width 16, chunk 0"
///
/// Start, offset and width are in bits.

#include "tools/run/RunContext.h"

#include <string>
#include <vector>

namespace Tool {

/// The numbers of the set bits, in rising order.
[[nodiscard]] std::vector< int > chunksIn( std::uint32_t bitmap );

/// "chunk 3", "chunks 0, 1", "no chunk"
[[nodiscard]] std::string chunksText( const std::vector< int >& chunks );

/// "vni (id 4)", or "id 4" for a field that has no name in the scenario.
[[nodiscard]] std::string udfText( bcm_udf_id_t udfId, const RunContext& context );

/// What the chip holds for the field, which it has.
[[nodiscard]] std::string udfOnChipText( bcm_udf_id_t udfId, const RunContext& context );

} // namespace Tool
