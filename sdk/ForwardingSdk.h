#pragma once

/// An access object that hands every operation on to another one, unchanged.
///
/// The base for whatever stands between the library and an SDK: recorders, fault injectors,
/// and the class in which an agent plugs in the vendor's SDK. Override what you need and call
/// `next()` for the rest. The next access object is not owned and must outlive this one.
///
///     class CountingSdk : public Shim::ForwardingSdk
///     {
///       public:
///         using ForwardingSdk::ForwardingSdk;
///         int bcm_range_create( int unit, uint32_t flags, bcm_range_config_t* config ) override
///         {
///             ++creations;
///             return next().bcm_range_create( unit, flags, config );
///         }
///         int creations = 0;
///     };

#include "sdk/SdkAccess.h"

namespace Shim {

/// An access object that hands every operation on to another one; see the top of this header.
class ForwardingSdk : public SdkAccess
{
  public:
    /// `next` must outlive this.
    explicit ForwardingSdk( SdkAccess& next )
        : next_( next )
    {}

    /// The access object that operations are handed on to.
    [[nodiscard]] SdkAccess& next() const { return next_; }

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        return next_.name arguments;                                                               \
    }
#define SDK_OPERATION( family, result, name, parameters, arguments )                               \
    result name parameters override                                                                \
    {                                                                                              \
        return next_.name arguments;                                                               \
    }
#include "sdk/SdkFunctions.def"

#define SDK_RETURN_CODE( name, value, text )                                                       \
    [[nodiscard]] int name() const override                                                        \
    {                                                                                              \
        return next_.name();                                                                       \
    }
#define SDK_ENUMERATOR( type, name, value )                                                        \
    [[nodiscard]] type name() const override                                                       \
    {                                                                                              \
        return next_.name();                                                                       \
    }
#include "sdk/SdkEnumerators.def"

  private:
    SdkAccess& next_;
};

} // namespace Shim
