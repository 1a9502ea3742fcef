#pragma once

/// The qualifiers of a TCAM group: the packet fields that its key can hold.
///
/// Made from `QualifierTypes.def`. A number never changes its meaning. Not every one of them is
/// translated for the SDK: `PeloraTcam/Qualifiers.def` says which are.
///
///     stream << QualifierType::drop;          // drop
///     qualifierTypeFromName( "drop" );        // QualifierType::drop

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/tcam/EnumeratorNames.h"

#include <optional>
#include <ostream>
#include <string_view>
#include <vector>

namespace PeloraTcam {

/// What a TCAM entry can match: the agent's numbers (`agent/tcam/QualifierTypes.def`).
enum class QualifierType : Agent::U8
{
#define QUALIFIER_TYPE( name, number ) name = number,
#include "agent/tcam/QualifierTypes.def"
};

/// The table of names behind `enumeratorName()`.
template<>
struct EnumeratorNames< QualifierType >
{
    static constexpr std::string_view enumeration = "QualifierType"; ///< the name of the type
    /// One row an enumerator.
    static constexpr EnumeratorName rows[] = {
#define QUALIFIER_TYPE( name, number ) { #name, number },
#include "agent/tcam/QualifierTypes.def"
    };
};

/// Prints the name, or "QualifierType(250)" for a number that has none.
AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, QualifierType type );

/// The qualifier type of that name, such as "drop"; nothing if there is none.
[[nodiscard]] AGENT_EXPORT std::optional< QualifierType >
qualifierTypeFromName( std::string_view name );

/// The names of all of them, in the order of their numbers.
[[nodiscard]] AGENT_EXPORT std::vector< std::string_view > qualifierTypeNames();

} // namespace PeloraTcam
