#pragma once

/// Names of enumerators: printing them, and finding an enumerator by its name.
///
/// A header that defines an enumeration specialises `EnumeratorNames` for it; the functions here
/// then work for it. They are pure, so any thread may call them.
///
///     template<>
///     struct EnumeratorNames< Colour >
///     {
///         static constexpr std::string_view enumeration = "Colour";
///         static constexpr EnumeratorName rows[] = { { "red", 0 }, { "green", 1 } };
///     };
///
///     printEnumerator( stream, Colour::green );         // green
///     printEnumerator( stream, Colour{ 7 } );           // Colour(7)
///     enumeratorFromName< Colour >( "red" );            // Colour::red
///     enumeratorFromName< Colour >( "blue" );           // nothing

#include "agent/base/BaseTypes.h"

#include <optional>
#include <ostream>
#include <string_view>
#include <vector>

namespace PeloraTcam {

/// A row of an enumeration's table of names.
struct EnumeratorName
{
    std::string_view name; ///< as it is written in the source
    Agent::U32 number;     ///< its value
};

/// The name of an enumeration and those of its enumerators: `enumeration` and `rows`.
template< class Enumeration >
struct EnumeratorNames;

/// The enumerator with that name, as it is written in the source; nothing if there is none.
template< class Enumeration >
[[nodiscard]] std::optional< Enumeration > enumeratorFromName( std::string_view name )
{
    for ( const EnumeratorName& row : EnumeratorNames< Enumeration >::rows ) {
        if ( row.name == name ) {
            return static_cast< Enumeration >( row.number );
        }
    }
    return std::nullopt;
}

/// The name of a value; empty if it has none.
template< class Enumeration >
[[nodiscard]] std::string_view nameOfEnumerator( Enumeration value )
{
    for ( const EnumeratorName& row : EnumeratorNames< Enumeration >::rows ) {
        if ( row.number == static_cast< Agent::U32 >( value ) ) {
            return row.name;
        }
    }
    return {};
}

/// The names of all enumerators, in the order of their numbers.
template< class Enumeration >
[[nodiscard]] std::vector< std::string_view > enumeratorNames()
{
    std::vector< std::string_view > names;
    for ( const EnumeratorName& row : EnumeratorNames< Enumeration >::rows ) {
        names.push_back( row.name );
    }
    return names;
}

/// Prints the name of a value, or "FieldIpType(200)" for one that has none.
template< class Enumeration >
std::ostream& printEnumerator( std::ostream& stream, Enumeration value )
{
    const std::string_view name = nameOfEnumerator( value );
    if ( !name.empty() ) {
        return stream << name;
    }
    return stream << EnumeratorNames< Enumeration >::enumeration << '('
                  << static_cast< Agent::U32 >( value ) << ')';
}

} // namespace PeloraTcam
