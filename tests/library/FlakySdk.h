#pragma once

/// An access object that answers with a code, instead of handing on, the calls of the functions
/// that are to fail. Plans nothing and counts nothing: for tests of a million steps, where a fault
/// plan would be too slow.
///
///     FlakySdk flaky( chips );
///     flaky.failing = { "bcm_udf_create" };
///     flaky.rc = -4;

#include "sdk/ForwardingSdk.h"

#include <array>
#include <string_view>

namespace LibraryTest {

class FlakySdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    std::array< std::string_view, 2 > failing{};
    int rc = 0;

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        return isFailing( #name ) ? rc : next().name arguments;                                    \
    }
#include "sdk/SdkFunctions.def"

  private:
    [[nodiscard]] bool isFailing( std::string_view name ) const
    {
        return name == failing[ 0 ] || name == failing[ 1 ];
    }
};

} // namespace LibraryTest
