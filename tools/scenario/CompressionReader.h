#pragma once

/// Reads the compression tables and their values: the vocabulary that several steps share.
///
///     table: srcIp
///     key: 192.0.2.0/24

#include "agent/tcam/CompressionHelper.h"
#include "input/YamlDocument.h"

#include <span>
#include <string_view>
#include <utility>

namespace Tool {

/// A name of a table and the table.
using CompressionTableName = std::pair< std::string_view, PeloraTcam::PeloraCompressionTableType >;

/// All tables.
[[nodiscard]] std::span< const CompressionTableName > compressionTableNames();

/// A value of that table: an EtherType, a protocol, a port or a prefix; anything else fails at the
/// node.
[[nodiscard]] PeloraTcam::CompressionKey
readCompressionKey( PeloraTcam::PeloraCompressionTableType table, const Input::YamlNode& node );

} // namespace Tool
