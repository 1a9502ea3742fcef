#pragma once

/// What somebody who describes a user-defined field should know of the outcome: that the chip takes
/// less or more than was asked for, and that the field counts from a header that the packets it
/// describes do not have. The chip takes such a field all the same.

#include "agent/tcam/UdfTypes.h"
#include "tools/run/RunContext.h"

#include <string>
#include <vector>

namespace Tool {

/// How many bytes of packets the chip matches with a field that it holds: those of its width, as
/// far as its chunks have room for them.
[[nodiscard]] int bytesTaken( bcm_udf_id_t udfId, const RunContext& context );

/// The notes on a field that the chip holds, for people; usually none.
[[nodiscard]] std::vector< std::string >
udfNotes( bcm_udf_id_t udfId, const PeloraTcam::UdfDesc& desc, const RunContext& context );

} // namespace Tool
