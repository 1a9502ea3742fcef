#pragma once

/// How a step of a scenario can end.

#include <array>
#include <optional>
#include <string_view>

namespace Tool {

enum class Outcome
{
    ok,      ///< done
    full,    ///< the chip had no room for all of it
    error,   ///< it could not be done; the run's state is as before
    aborted, ///< the library ended the process
};

/// The names, in the order of the enumerators.
inline constexpr std::array< std::string_view, 4 > outcomeNames = { "ok", "full", "error",
                                                                    "aborted" };

[[nodiscard]] constexpr std::string_view outcomeName( Outcome outcome )
{
    return outcomeNames.at( static_cast< std::size_t >( outcome ) );
}

[[nodiscard]] constexpr std::optional< Outcome > outcomeFromName( std::string_view name )
{
    for ( std::size_t index = 0; index < outcomeNames.size(); ++index ) {
        if ( outcomeNames.at( index ) == name ) {
            return static_cast< Outcome >( index );
        }
    }
    return std::nullopt;
}

} // namespace Tool
