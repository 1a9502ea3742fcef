#pragma once

/// What options of several commands stand for. Each is a `CommandLineError`, with the option's
/// name, if it stands for nothing.

#include "sim/ChipProfile.h"
#include "sim/SdkNumbering.h"
#include "tools/traces/TraceSetting.h"

#include <string>

namespace Tool {

/// `--numbering`: "default" or "shuffled:SEED".
[[nodiscard]] Sim::SdkNumbering numberingFromOption( const std::string& text );

/// `--chip`: a built-in profile, or a file. An `Input::InputError` for a file with something wrong
/// in it.
[[nodiscard]] Sim::ChipProfile profileFromOption( const std::string& chip );

/// `--trace`: FACILITY=LEVELS.
[[nodiscard]] TraceSetting traceSettingFromOption( const std::string& text );

/// `--ring-dump`: the descriptor of the file, opened and emptied.
[[nodiscard]] int ringDumpFromOption( const std::string& path );

} // namespace Tool
