#pragma once

/// An access object for measuring: every SDK function succeeds at once, every accessor gives its
/// default value, nothing is remembered. What a benchmark then measures is the way to the SDK.
/// Where that is not enough of an answer, a benchmark derives its own.

#include "sdk/SdkAccess.h"

namespace Bench {

class ConstantSdk : public Shim::SdkAccess
{
  public:
#define SDK_FUNCTION( family, name, parameters, arguments ) int name parameters override;
#define SDK_OPERATION( family, result, name, parameters, arguments )                               \
    result name parameters override;
#include "sdk/SdkFunctions.def"

#define SDK_RETURN_CODE( name, value, text ) [[nodiscard]] int name() const override;
#define SDK_ENUMERATOR( type, name, value ) [[nodiscard]] type name() const override;
#include "sdk/SdkEnumerators.def"
};

} // namespace Bench
