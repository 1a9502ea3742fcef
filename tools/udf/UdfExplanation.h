#pragma once

/// What the library makes of a description of a user-defined field on a certain chip, in words.
///
/// Nothing here repeats the library's rules: the field is programmed through the library into the
/// simulated chip, and what is told is what the chip then holds. Called in a child process, because
/// the library may end it.

#include "tools/run/RunContext.h"
#include "tools/text/Json.h"

namespace Tool {

/// Programs the field and tells what came of it: an object with `outcome` and `lines`, a list of
/// pairs of a heading and a text, and for programs `why`, or `ids`, `users`, `udf`,
/// `packetFormat` and `lagHashing`.
[[nodiscard]] Json explainUdf( RunContext& context, const PeloraTcam::UdfDesc& desc );

} // namespace Tool
