#pragma once

/// What the library said before it ended the process, as text.

#include "tools/run/RunReport.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Tool {

/// Adds a text behind a label, in lines of at most `width` columns (0: of any length).
void addLabelled( std::vector< std::string >& lines,
                  const std::string& label,
                  const std::string& text,
                  std::size_t width );

/// The lines of what the library said before it ended, and how the process ended.
[[nodiscard]] std::vector< std::string >
lastWordLines( const LastWords& lastWords, const std::string& end, std::size_t width = 0 );

/// The text that tells an unexpected end, of several lines.
[[nodiscard]] std::string unexpectedEndText( const UnexpectedEnd& unexpected );

} // namespace Tool
