#pragma once

/// The enumerators of an SDK type, by the place at which the SDK declares them.

#include <string>
#include <string_view>
#include <vector>

namespace LibraryTest {

/// The names of a type's enumerators, in the order in which the SDK declares them.
inline std::vector< std::string > declaredEnumerators( std::string_view type )
{
    std::vector< std::string > names;
#define SDK_ENUMERATOR( ofType, name, value )                                                      \
    if ( type == #ofType ) {                                                                       \
        names.push_back( #name );                                                                  \
    }
#include "sdk/SdkEnumerators.def"
    return names;
}

} // namespace LibraryTest
