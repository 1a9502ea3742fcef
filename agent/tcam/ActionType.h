#pragma once

/// The actions of a TCAM group: what its entries can do with a packet.
///
/// Made from `ActionTypes.def`. A number never changes its meaning. Not every one of them is
/// translated for the SDK: `PeloraTcam/Actions.def` says which are.
///
///     stream << ActionType::drop;             // drop
///     actionTypeFromName( "drop" );           // ActionType::drop

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/tcam/EnumeratorNames.h"

#include <optional>
#include <ostream>
#include <string_view>
#include <vector>

namespace PeloraTcam {

/// What a TCAM entry does with a packet: the agent's numbers (`agent/tcam/ActionTypes.def`).
enum class ActionType : Agent::U8
{
#define ACTION_TYPE( name, number ) name = number,
#include "agent/tcam/ActionTypes.def"
};

/// The table of names behind `enumeratorName()`.
template<>
struct EnumeratorNames< ActionType >
{
    static constexpr std::string_view enumeration = "ActionType"; ///< the name of the type
    /// One row an enumerator.
    static constexpr EnumeratorName rows[] = {
#define ACTION_TYPE( name, number ) { #name, number },
#include "agent/tcam/ActionTypes.def"
    };
};

/// Prints the name, or "ActionType(250)" for a number that has none.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, ActionType type );

/// The action type of that name, such as "drop"; nothing if there is none.
[[nodiscard]] AGENT_EXPORT std::optional< ActionType > actionTypeFromName( std::string_view name );

/// The names of all of them, in the order of their numbers.
[[nodiscard]] AGENT_EXPORT std::vector< std::string_view > actionTypeNames();

} // namespace PeloraTcam
