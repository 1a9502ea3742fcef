#pragma once

/// Remembers the first and the last SDK call that failed.
///
/// A helper that may run out of hardware tells its caller only that it did. The observer stands
/// between the helpers and the SDK, and tells why: by the last failure, or by the first one where
/// the helper makes more calls to undo what it had done.
///
///     CallObserver observer( sdk );
///     Shim::sdk_ = &observer;
///     ...
///     if ( !id && observer.lastFailure() ) { ... observer.lastFailure()->rc ... }

#include "sdk/ForwardingSdk.h"

#include <optional>
#include <string>

namespace Tool {

/// An SDK call that answered with a failure.
struct FailedCall
{
    std::string function;
    int rc = 0;

    /// Whether the chip had no room.
    [[nodiscard]] bool isForLackOfRoom() const;

    /// "bcm_range_create: BCM_E_FULL (-6), Table full"
    [[nodiscard]] std::string text() const;
};

class CallObserver : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    [[nodiscard]] const std::optional< FailedCall >& firstFailure() const { return firstFailure_; }

    [[nodiscard]] const std::optional< FailedCall >& lastFailure() const { return lastFailure_; }

    void forgetFailure()
    {
        firstFailure_.reset();
        lastFailure_.reset();
    }

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        return observed( #name, next().name arguments );                                           \
    }
#include "sdk/SdkFunctions.def"

  private:
    int observed( const char* function, int rc );

    std::optional< FailedCall > firstFailure_;
    std::optional< FailedCall > lastFailure_;
};

} // namespace Tool
