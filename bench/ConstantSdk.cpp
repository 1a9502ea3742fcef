#include "bench/ConstantSdk.h"

#include <tuple>
#include <type_traits>

namespace Bench {

// The arguments are named so that no parameter is unused; nothing is made of them.
#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int ConstantSdk::name parameters                                                               \
    {                                                                                              \
        static_cast< void >( std::forward_as_tuple arguments );                                    \
        return 0;                                                                                  \
    }
#define SDK_OPERATION( family, result, name, parameters, arguments )                               \
    result ConstantSdk::name parameters                                                            \
    {                                                                                              \
        static_cast< void >( std::forward_as_tuple arguments );                                    \
        return std::type_identity_t< result >();                                                   \
    }
#define SDK_INITIALISER( family, name, structure )                                                 \
    void ConstantSdk::name( structure* record )                                                    \
    {                                                                                              \
        *record = {};                                                                              \
    }
#include "sdk/SdkFunctions.def"

#define SDK_RETURN_CODE( name, value, text )                                                       \
    int ConstantSdk::name() const                                                                  \
    {                                                                                              \
        return value;                                                                              \
    }
#define SDK_ENUMERATOR( type, name, value )                                                        \
    type ConstantSdk::name() const                                                                 \
    {                                                                                              \
        return static_cast< type >( value );                                                       \
    }
#include "sdk/SdkEnumerators.def"

} // namespace Bench
