#pragma once

/// Reads the agent's enumerators, by name or by number.

#include "agent/tcam/EnumeratorNames.h"
#include "input/YamlDocument.h"

#include <cctype>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tool {

/// Whether a value in a scenario is meant as a number.
[[nodiscard]] inline bool looksLikeANumber( const Input::YamlNode& node )
{
    std::string text;
    node.read( text );
    return !text.empty() &&
           ( text.front() == '-' || std::isdigit( static_cast< unsigned char >( text.front() ) ) );
}

/// An enumerator by its name, which is one of those that the library takes: with another one it
/// ends the process. `takes` tells of an enumerator whether it does; a hint names only those.
template< class Enumeration, class Takes >
[[nodiscard]] Enumeration readEnumeratorName( const Input::YamlNode& node, const Takes& takes )
{
    std::vector< std::pair< std::string_view, Enumeration > > names;
    std::string text;
    node.read( text );
    for ( const PeloraTcam::EnumeratorName& row :
          PeloraTcam::EnumeratorNames< Enumeration >::rows ) {
        const auto value = static_cast< Enumeration >( row.number );
        if ( takes( value ) ) {
            names.emplace_back( row.name, value );
        } else if ( row.name == text ) {
            node.fail( "the library does not take '" + text + "' here; to see what it does with " +
                       "it, write its number, " + std::to_string( row.number ) );
        }
    }
    Enumeration value{};
    node.read( value, names );
    return value;
}

/// An enumerator by its name, as above; or by its number, so that one can be tried that the library
/// does not take or that there is not.
template< class Enumeration, class Takes >
[[nodiscard]] Enumeration readEnumerator( const Input::YamlNode& node, const Takes& takes )
{
    if ( !looksLikeANumber( node ) ) {
        return readEnumeratorName< Enumeration >( node, takes );
    }
    Agent::U8 number = 0;
    node.read( number );
    return static_cast< Enumeration >( number );
}

} // namespace Tool
