#pragma once

/// The names of types in the records of the type registry.
///
/// A type record says of what types the arguments of its class's constructor are. A type that can
/// be such an argument has its name beside its definition; one that has none does not compile
/// there:
///
///     template<>
///     struct Agent::TypeName< PeloraTcam::FapId >
///     {
///         static constexpr std::string_view name = "FapId";
///     };

#include "agent/base/BaseTypes.h"

#include <string_view>

namespace Agent {

/// Has the type's name as `name`; not defined for a type that has none.
template< class Type >
struct TypeName;

template<>
struct TypeName< bool >
{
    static constexpr std::string_view name = "bool";
};

template<>
struct TypeName< U8 >
{
    static constexpr std::string_view name = "U8";
};

template<>
struct TypeName< U16 >
{
    static constexpr std::string_view name = "U16";
};

template<>
struct TypeName< U32 >
{
    static constexpr std::string_view name = "U32";
};

} // namespace Agent
