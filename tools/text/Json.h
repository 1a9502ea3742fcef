#pragma once

/// The tool's JSON values: members keep the order in which they were written.

#include <nlohmann/json.hpp>
#include <string>

namespace Tool {

using Json = nlohmann::ordered_json;

/// The value as text: on one line, or indented. Control characters are escaped, those too that JSON
/// may have as they are; bytes that are no UTF-8 are replaced by U+FFFD.
[[nodiscard]] std::string jsonText( const Json& value, int indent = -1 );

/// The version of the form of all that `--json` prints. Members may be added without a new one.
inline constexpr int jsonFormatVersion = 2;

/// The text of a whole output: the members behind the version.
[[nodiscard]] std::string jsonDocument( const Json& members );

} // namespace Tool
