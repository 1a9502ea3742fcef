#pragma once

/// Help for whoever wrote a name that does not exist.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Input {

/// The candidate that the name was probably meant to be: the nearest by letters added, left out,
/// replaced or swapped with their neighbour, whatever their case, the first of several. Nothing if
/// none is near.
[[nodiscard]] std::optional< std::string >
nearestName( std::string_view name, const std::vector< std::string >& candidates );

/// The names in quotes: "'a', 'b' or 'c'".
[[nodiscard]] std::string quotedNames( const std::vector< std::string >& names );

/// What to say after "unknown key 'x'": ", did you mean 'y'?", of those that begin with the name or
/// else of the nearest; or, if no candidate is near,
/// ", expected 'a', 'b' or 'c'", or nothing if there are too many to list.
[[nodiscard]] std::string nameHint( std::string_view name,
                                    const std::vector< std::string >& candidates );

} // namespace Input
