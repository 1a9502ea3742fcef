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

} // namespace Tool
