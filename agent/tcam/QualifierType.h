#pragma once

/// The qualifiers of a TCAM group: the packet fields that its key can hold.
///
/// Made from `QualifierTypes.def`. A number never changes its meaning. Not every one of them is
/// translated for the SDK: `PeloraTcam/Qualifiers.def` says which are.
///
///     stream << QualifierType::drop;                  // drop
///     enumeratorFromName< QualifierType >( "drop" );  // QualifierType::drop

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/tcam/EnumeratorNames.h"

#include <ostream>
#include <string_view>

namespace PeloraTcam {

/// What a TCAM entry can match: the agent's numbers (`agent/tcam/QualifierTypes.def`).
enum class QualifierType : Agent::U8
{
#define QUALIFIER_TYPE( name, number ) name = number,
#include "agent/tcam/QualifierTypes.def"
};

/// The table of names behind `nameOfEnumerator()`.
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

} // namespace PeloraTcam
