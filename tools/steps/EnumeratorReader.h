#pragma once

/// Reads the agent's enumerators, by name or by number.

#include "agent/tcam/EnumeratorNames.h"
#include "sim/YamlDocument.h"

#include <cctype>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tool {

/// Whether a value in a scenario is meant as a number.
[[nodiscard]] inline bool looksLikeANumber( const Sim::YamlNode& node )
{
    std::string text;
    node.read( text );
    return !text.empty() &&
           ( text.front() == '-' || std::isdigit( static_cast< unsigned char >( text.front() ) ) );
}

/// An enumerator by its name.
template< class Enumeration >
[[nodiscard]] Enumeration readEnumeratorName( const Sim::YamlNode& node )
{
    std::vector< std::pair< std::string_view, Enumeration > > names;
    for ( const PeloraTcam::EnumeratorName& row :
          PeloraTcam::EnumeratorNames< Enumeration >::rows ) {
        names.emplace_back( row.name, static_cast< Enumeration >( row.number ) );
    }
    Enumeration value{};
    node.read( value, names );
    return value;
}

/// An enumerator by its name; or by its number, so that one can be tried that there is not.
template< class Enumeration >
[[nodiscard]] Enumeration readEnumerator( const Sim::YamlNode& node )
{
    if ( !looksLikeANumber( node ) ) {
        return readEnumeratorName< Enumeration >( node );
    }
    Agent::U8 number = 0;
    node.read( number );
    return static_cast< Enumeration >( number );
}

} // namespace Tool
