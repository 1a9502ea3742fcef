#pragma once

/// How the SDK answers a question for many objects: it is given a list with room for `max`
/// elements, and tells how many elements it has written.

#include "sim/values/ReturnCode.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Sim {

/// Whether such a question can be answered: there is a place for the number of elements, `max` is
/// not negative, and there is a list if there should be room in it.
template< class Element >
[[nodiscard]] bool isValidQuestion( int max, const Element* list, const int* actual )
{
    return actual != nullptr && max >= 0 && ( max == 0 || list != nullptr );
}

/// Writes the first `max` of the elements and how many these are; with a `max` of 0, how many
/// elements there are. Answers BCM_E_PARAM for a question that is not valid.
template< class Element >
[[nodiscard]] int
listInto( const std::vector< Element >& elements, int max, Element* list, int* actual )
{
    if ( !isValidQuestion( max, list, actual ) ) {
        return ReturnCode::BCM_E_PARAM;
    }
    const int count = static_cast< int >( elements.size() );
    *actual = max == 0 || count < max ? count : max;
    for ( int i = 0; i < *actual && max != 0; ++i ) {
        list[ i ] = elements[ static_cast< size_t >( i ) ];
    }
    return ReturnCode::BCM_E_NONE;
}

/// Numbers for a snapshot: "1,2,7", or "none".
template< class Numbers >
[[nodiscard]] std::string numberList( const Numbers& numbers )
{
    std::string text;
    for ( const auto number : numbers ) {
        text += ( text.empty() ? "" : "," ) + std::to_string( number );
    }
    return text.empty() ? "none" : text;
}

} // namespace Sim
