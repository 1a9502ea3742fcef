#pragma once

/// The actions of a TCAM group: what its entries can do with a packet.
///
/// Made from `ActionTypes.def`. A number never changes its meaning. Not every one of them is
/// translated for the SDK: `PeloraTcam/Actions.def` says which are.
///
///     stream << ActionType::drop;                  // drop
///     enumeratorFromName< ActionType >( "drop" );  // ActionType::drop

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/tcam/EnumeratorNames.h"

#include <ostream>
#include <string_view>

namespace PeloraTcam {

/// What a TCAM entry does with a packet: the agent's numbers (`agent/tcam/ActionTypes.def`).
enum class ActionType : Agent::U8
{
#define ACTION_TYPE( name, number ) name = number,
#include "agent/tcam/ActionTypes.def"
};

/// The table of names behind `nameOfEnumerator()`.
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

} // namespace PeloraTcam
