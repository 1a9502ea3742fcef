#pragma once

/// The value of every SDK enumerator and constant that has no fixed one.
///
/// Another build of the SDK may number everything differently. A simulated SDK is given one
/// numbering and keeps it; a program that works under the default numbering and under shuffled
/// ones has no SDK value compiled in.
///
///     const SdkNumbering numbering = SdkNumbering::fromText( "shuffled:7" );
///     numbering.bcmRangeTypeL4SrcPort;                    // the value
///     numbering.nameOf( numbering.bcmRangeTypeL4SrcPort ); // "bcmRangeTypeL4SrcPort"
///
/// A numbering is a plain value; nothing in it changes once it is made.

#include "sdk/SdkTypes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

namespace Sim {

/// What the SDK's enumerators and constants stand for; see the top of this header.
struct SdkNumbering
{
    /// The simulated chip's own numbering.
    [[nodiscard]] static SdkNumbering defaults();

    /// A numbering in which everything has another value than by default: sparse, different from
    /// every default of the same type and from every other value of the same type, and the same
    /// for the same seed on every machine. A count is above all values of what it counts, and a
    /// constant that has bounds is within them.
    [[nodiscard]] static SdkNumbering shuffled( uint32_t seed );

    /// The numbering that a text names: "default" or "shuffled:SEED", with a decimal seed of 32
    /// bits. Throws std::invalid_argument for any other text.
    [[nodiscard]] static SdkNumbering fromText( std::string_view text );

    /// The name of an enumerator; "unknown(NUMBER)" for a value that no enumerator has.
    template< class Enumeration >
    [[nodiscard]] std::string nameOf( Enumeration value ) const
    {
        return nameOf( typeid( Enumeration ), static_cast< uint32_t >( value ) );
    }

    /// Whether an enumerator has that value.
    template< class Enumeration >
    [[nodiscard]] bool has( Enumeration value ) const
    {
        return has( typeid( Enumeration ), static_cast< uint32_t >( value ) );
    }

    /// The value of the enumerator or constant of that name; nothing if there is none.
    [[nodiscard]] std::optional< uint32_t > valueOf( std::string_view wanted ) const;

    /// The names of all enumerators and constants, in the SDK's order.
    [[nodiscard]] static std::vector< std::string > names();

    /// The names of one enumeration's enumerators, in the SDK's order.
    template< class Enumeration >
    [[nodiscard]] static std::vector< std::string > namesOf()
    {
        return namesOf( typeid( Enumeration ) );
    }

    /// What the enumerator or constant of that name stands for.
#define SDK_ENUMERATOR( type, name, value ) type name = static_cast< type >( value );
#include "sdk/SdkEnumerators.def"

  private:
    [[nodiscard]] static std::vector< std::string > namesOf( const std::type_info& wanted );
    [[nodiscard]] std::string nameOf( const std::type_info& wanted, uint32_t number ) const;
    [[nodiscard]] bool has( const std::type_info& wanted, uint32_t number ) const;
};

} // namespace Sim
