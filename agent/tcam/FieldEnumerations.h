#pragma once

/// The agent's enumerations of what the field processor knows: packet and header types, group
/// modes, parameters of actions.
///
/// They are made from `FieldEnumerations.def`, where each stands with its enumerators. All are one
/// byte wide, except `EgressClassSelect`, which has four. Each has a stream operator that prints
/// the name, or "FieldIpType(200)" for a value that has none, and is found by name:
///
///     stream << FieldIpType::ipv4Any;                      // ipv4Any
///     enumeratorFromName< FieldIpType >( "ipv4Any" );      // FieldIpType::ipv4Any
///
/// Not every enumerator is translated for the SDK: `PeloraTcam/TranslationMaps.def` says which are.

#include "agent/base/BaseTypes.h"
#include "agent/base/Export.h"
#include "agent/tcam/EnumeratorNames.h"

#include <ostream>
#include <string_view>

namespace PeloraTcam {

using Agent::U32;
using Agent::U8;

#define FIELD_ENUMERATION( type, underlyingType, ... )                                             \
    enum class type : underlyingType                                                               \
    {                                                                                              \
        __VA_ARGS__                                                                                \
    };
#define FIELD_ENUMERATOR( name, number ) name = number,
#include "agent/tcam/FieldEnumerations.def"

#define FIELD_ENUMERATION( type, underlyingType, ... )                                             \
    template<>                                                                                     \
    struct EnumeratorNames< type >                                                                 \
    {                                                                                              \
        static constexpr std::string_view enumeration = #type;                                     \
        static constexpr EnumeratorName rows[] = { __VA_ARGS__ };                                  \
    };
#define FIELD_ENUMERATOR( name, number ) { #name, number },
#include "agent/tcam/FieldEnumerations.def"

#define FIELD_ENUMERATION( type, underlyingType, ... )                                             \
    AGENT_EXPORT std::ostream& operator<<( std::ostream& stream, type value );
#include "agent/tcam/FieldEnumerations.def"

} // namespace PeloraTcam
