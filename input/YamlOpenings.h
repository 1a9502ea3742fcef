#pragma once

/// Finds the bracket or the quote of a YAML text that nobody closes. The parser notices a bracket
/// only where the text ends, or where something stands that cannot stand inside; and a quote not at
/// all, if there is no other one behind it. Internal to `YamlDocument`.

#include <optional>
#include <string_view>

namespace Input {

/// Where a bracket or a quote opens.
struct YamlOpening
{
    char sign = 0;  ///< '[', '{', '\'' or '"'
    int line = 1;   ///< from 1
    int column = 1; ///< in letters, from 1
};

/// The innermost bracket that is open where another kind of bracket closes, or where the text ends;
/// or the quote that is still open at the end, or that runs over the end of its line and closes in
/// the line that the parser refused, counted from 1 (0 if it has refused none). Nothing if there is
/// none.
[[nodiscard]] std::optional< YamlOpening > unclosedOpening( std::string_view text,
                                                            int refusedLine );

} // namespace Input
