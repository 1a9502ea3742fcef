#pragma once

/// The ring-buffer traces in a file: a dump of a run, or any other that holds one.

#include "agent/base/RingTraceDecoder.h"

#include <string>
#include <vector>

namespace Tool {

/// The traces of the file, each as far as it can be read, with what is wrong with it. A core also
/// holds the mark by which traces are found where the program keeps it as a constant; such a place
/// is none, unless there is nothing better. Throws an `Input::UnreadableFile`.
[[nodiscard]] std::vector< Agent::DecodedRing > readRingTraces( const std::string& file );

} // namespace Tool
