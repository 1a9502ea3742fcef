#pragma once

/// The library's translation maps as tables for a reader: what the built library translates each
/// agent value to, and back.
///
///     for ( const TranslationTable& table : translationTablesOn( numbering ) ) { ... }

#include "sim/SdkNumbering.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tool {

/// An agent value that a map has.
struct TranslationRow
{
    uint32_t number = 0;                      ///< of the agent value
    std::string agentName;                    ///< of the agent value
    std::string sdkName;                      ///< the SDK's enumerator
    uint32_t sdkValue = 0;                    ///< its value in the SDK build in use
    std::optional< std::string > backToAgent; ///< what it translates back to, if it does
    bool manyToOne = false; ///< whether other agent values have the same SDK value
};

struct TranslationTable
{
    std::string name;      ///< of the forward map
    std::string agentType; ///< its key
    std::string sdkType;   ///< its value
    bool hasReverse = false;
    std::size_t reversePairs = 0;
    std::vector< TranslationRow > rows;         ///< by rising number
    std::vector< TranslationRow > withoutValue; ///< the agent values that are not in the map
};

/// Builds all maps of the library, if they are not built yet, and reads them. `Shim::sdk_` must be
/// set. The library builds a map once, so a process sees one numbering only.
[[nodiscard]] std::vector< TranslationTable > readTranslationTables();

/// The same on a simulated SDK of that numbering. Afterwards `Shim::sdk_` is not set.
[[nodiscard]] std::vector< TranslationTable >
translationTablesOn( const Sim::SdkNumbering& numbering );

} // namespace Tool
