#pragma once

/// Text from outside, as it may be shown.
///
/// Names and paths that somebody else has chosen must not move the cursor, change colours or make
/// lines of their own in what the tool prints. Everything that may hold such text goes through
/// these functions on its way out; JSON has escapes of its own (`Json.h`).

#include <string>
#include <string_view>

namespace Tool {

/// The text on one line: a control character as "\n", "\t", "\x1b" or, beyond ASCII, "\u009b", and
/// a byte that is no UTF-8 as "\xff". Everything else, a backslash too, as it is.
[[nodiscard]] std::string printable( std::string_view text );

/// The same of a text of several lines, whose ends and tabs stay; a carriage return at the end of a
/// line is left out.
[[nodiscard]] std::string printableLines( std::string_view text );

} // namespace Tool
