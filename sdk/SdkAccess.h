#pragma once

/// The SDK access object: the only way from the library to the chip.
///
/// One virtual operation for each SDK function, initialiser and set operation
/// (`SdkFunctions.def`), one argument-less accessor for each SDK enumerator and constant
/// (`SdkEnumerators.def`), and the three operations that the call wrappers use:
///
/// - `preApiCall()` is called before every checked call, with the agent's locks still held;
/// - `sdkErrorText( rc )` gives the SDK's text for a return code; the SDK owns the string;
/// - `onApiError()` is called when a checked call has failed, after its error line is written
///   and before the process aborts.
///
/// The agent makes one access object, points `Shim::sdk_` to it before the first helper
/// operation, and keeps it alive until after the last one. SDK functions are called on the
/// agent's threads with the activity lock and the interpreter lock released
/// (`sdk/SdkCall.h`); an access object that is used from several threads guards itself.
///
///     class VendorSdk : public Shim::SdkAccess { ... };
///     VendorSdk vendorSdk;
///     Shim::sdk_ = &vendorSdk;

#include "agent/base/Export.h"
#include "sdk/SdkTypes.h"

namespace Shim {

/// The access object; see the top of this header.
class AGENT_EXPORT SdkAccess
{
  public:
    SdkAccess() = default;
    SdkAccess( const SdkAccess& ) = delete;
    SdkAccess& operator=( const SdkAccess& ) = delete;
    virtual ~SdkAccess();

    /// An SDK function: gives the SDK's return code, 0 for success, negative for a failure.
#define SDK_FUNCTION( family, name, parameters, arguments ) virtual int name parameters = 0;
    /// An operation beside the SDK functions; it cannot fail.
#define SDK_OPERATION( family, result, name, parameters, arguments )                               \
    virtual result name parameters = 0;
#include "sdk/SdkFunctions.def"

    /// A return code: 0 for success, negative for a failure.
#define SDK_RETURN_CODE( name, value, text ) [[nodiscard]] virtual int name() const = 0;
    /// The value of an enumerator or constant in this build of the SDK.
#define SDK_ENUMERATOR( type, name, value ) [[nodiscard]] virtual type name() const = 0;
#include "sdk/SdkEnumerators.def"
};

/// The access object in use; null until the agent sets it. The library never changes it.
extern AGENT_EXPORT SdkAccess* sdk_;

/// Ends the process: the SDK is used before the agent has set `sdk_`.
[[noreturn, gnu::cold]] AGENT_EXPORT void
sdkIsNotSet( const char* file, unsigned line, const char* function );

/// The access object in use. While there is none it is a failed assertion at the place that asks:
/// its path, its line (from 1) and its function, which are never given.
[[gnu::always_inline]] inline SdkAccess& sdk( const char* file = __builtin_FILE(),
                                              unsigned line = __builtin_LINE(),
                                              const char* function = __builtin_FUNCTION() )
{
    SdkAccess* const access = sdk_;
    if ( access == nullptr ) [[unlikely]] {
        sdkIsNotSet( file, line, function );
    }
    return *access;
}

} // namespace Shim
