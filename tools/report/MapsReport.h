#pragma once

/// The library's translation maps, printed to standard output.

#include "tools/translation/TranslationTables.h"

#include <string>
#include <vector>

namespace Tool {

/// The list of all maps.
void printMaps( const std::vector< TranslationTable >& tables );
/// One map, with all of its pairs.
void printMap( const TranslationTable& table );

/// The same as JSON. `numbering` is the SDK's, as the user wrote it.
void printMapsJson( const std::vector< TranslationTable >& tables, const std::string& numbering );
void printMapJson( const TranslationTable& table, const std::string& numbering );

} // namespace Tool
