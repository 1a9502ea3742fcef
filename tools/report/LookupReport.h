#pragma once

/// What packets meet on a chip, printed to standard output as it becomes known: text, the bare
/// lines of the rules that win, or one JSON object at the end. Rules that were refused, and how far
/// it is, go to standard error.

#include "tools/lookup/Lookup.h"

#include <cstddef>
#include <memory>
#include <string>

namespace Tool {

/// The text report, which also prints winners. Lines longer than `width` columns are folded; 0
/// stands for any length. `progress` says whether standard error shows how far it is.
[[nodiscard]] std::unique_ptr< LookupListener > makeLookupText( std::size_t width, bool progress );

/// The JSON report. `chip` is the name of the profile.
[[nodiscard]] std::unique_ptr< LookupListener > makeLookupJson( const std::string& chip,
                                                                bool progress );

} // namespace Tool
