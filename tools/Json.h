#pragma once

/// The tool's JSON values: members keep the order in which they were written.

#include <nlohmann/json.hpp>
#include <string>

namespace Tool {

using Json = nlohmann::ordered_json;

/// The value as text: on one line, or indented. Bytes that are no UTF-8 are replaced.
[[nodiscard]] inline std::string jsonText( const Json& value, int indent = -1 )
{
    return value.dump( indent, ' ', false, Json::error_handler_t::replace );
}

/// The version of the form of all that `--json` prints. Members may be added without a new one.
inline constexpr int jsonFormatVersion = 1;

/// The text of a whole output: the members behind the version.
[[nodiscard]] inline std::string jsonDocument( const Json& members )
{
    Json document = { { "formatVersion", jsonFormatVersion } };
    document.update( members );
    return jsonText( document, 2 );
}

} // namespace Tool
