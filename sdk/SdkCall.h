#pragma once

/// The two ways in which the library calls the SDK.
///
/// - The checked call, for almost every call site: a negative return code is fatal. It writes one
///   line to standard error, tells the access object, and aborts.
/// - The traced call, where the caller judges the return code itself.
///
/// Both release the interpreter lock (if this thread holds it) and the activity lock (which it
/// must hold) for the duration of the SDK operation, and retake them in the opposite order, also
/// when the operation throws. Both write the call's text and return code to the file's "ApiPelora"
/// trace at level 4. With that level off they format and allocate nothing.
///
/// A call names the SDK function and gives its arguments. They are evaluated, and converted to the
/// function's parameters, before the locks are released: what they are read from may be shared.
/// What a pointer argument points at must stay untouched by other threads until the call is over.
///
/// A source file that makes SDK calls has its own handle, named `apiTraceHandle_`:
///
///     namespace { const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility ); }
///
///     SDK_CHECKED_CALL( bcm_range_get, unit, &conf );
///     const int rc = SDK_TRACED_CALL( bcm_range_create, unit, 0, &conf );
///
/// The call's text is part of the program's output. It is made from the call as written, here
/// "bcm_range_get( unit, &conf )". Where a certain text is required it is given with the call, so
/// that variables may be renamed:
///
///     SDK_CHECKED_CALL_AS( "bcm_range_get( unit, &conf )", bcm_range_get, sdkUnit, &range );
///
/// All of them end the process with a failed assertion while `sdk_` is null.

#include "agent/base/CallLocation.h"
#include "agent/base/Locks.h"
#include "agent/base/Trace.h"
#include "sdk/SdkAccess.h"

#include <concepts>
#include <string_view>
#include <type_traits>

namespace Shim {

/// The facility of the trace of SDK calls.
inline constexpr std::string_view apiTraceFacility = "ApiPelora";

/// The level at which SDK calls are traced.
inline constexpr int apiTraceLevel = 4;

/// A call site: the call's text, and where it stands.
struct CallSite
{
    const char* text;             ///< the call as it is traced; a literal
    Agent::CallLocation location; ///< where it stands
};

/// Writes the line of a failed call to standard error, in one piece:
/// FILE:LINE TEXT API ERROR:MESSAGE (RC)
/// MESSAGE is empty where the SDK has none (null).
void writeApiError( const CallSite& site, int rc );

// By value: a call that has nothing to write, as almost all have, never puts its site into memory.

/// Ends the process after a failed checked call: the error line, `onApiError()`, then the failed
/// assertion "0" at the call site.
[[noreturn, gnu::cold]] void failCheckedCall( CallSite site, int rc );

/// Writes the trace line of a call, whatever the handle's levels:
/// FILE:LINE TEXT (rc:RC)
[[gnu::cold]] void traceCall( const Agent::TraceHandle& handle, CallSite site, int rc );

/// Runs an operation with the agent's locks released, and gives its result. What it needs of
/// shared objects is read before.
template< class Operation >
[[gnu::always_inline]] inline decltype( auto ) callWithLocksReleased( Operation&& operation )
{
    const Agent::MaybeGilUnlockAnchor interpreterReleased;
    const Agent::UnlockAnchor activityReleased( Agent::activityLock() );
    return operation();
}

/// Writes the trace line of a call if its level is on.
[[gnu::always_inline]] inline void
maybeTraceCall( const Agent::TraceHandle& handle, const CallSite& site, int rc )
{
    if ( handle.enabled( apiTraceLevel ) ) [[unlikely]] {
        traceCall( handle, site, rc );
    }
}

/// Judges the return code of a call that has been made: a negative one ends the process, any
/// other is traced.
[[gnu::always_inline]] inline void
checkReturnCode( const Agent::TraceHandle& handle, const CallSite& site, int rc )
{
    if ( rc < 0 ) [[unlikely]] {
        failCheckedCall( site, rc );
    }
    maybeTraceCall( handle, site, rc );
}

/// The access object, for a call that is made there.
[[gnu::always_inline]] inline SdkAccess& sdkFor( const CallSite& site )
{
    return sdk( site.location.file, site.location.line, site.location.function );
}

/// A checked call of anything that gives a return code. Gives that code, which is not negative.
template< std::invocable Operation >
[[gnu::always_inline]] inline int
checkedCall( const Agent::TraceHandle& handle, const CallSite& site, Operation&& operation )
{
    sdkFor( site ).preApiCall();
    const int rc = callWithLocksReleased( operation );
    checkReturnCode( handle, site, rc );
    return rc;
}

/// A checked call of an SDK function. Gives the return code, which is not negative.
template< class... Parameters >
[[gnu::always_inline]] inline int checkedCall( const Agent::TraceHandle& handle,
                                               const CallSite& site,
                                               int ( SdkAccess::*function )( Parameters... ),
                                               std::type_identity_t< Parameters >... arguments )
{
    SdkAccess& access = sdkFor( site );
    access.preApiCall();
    const int rc = callWithLocksReleased( [ & ] { return ( access.*function )( arguments... ); } );
    checkReturnCode( handle, site, rc );
    return rc;
}

/// A traced call of anything that gives a return code. Gives that code, whatever it is.
template< std::invocable Operation >
[[gnu::always_inline]] inline int
tracedCall( const Agent::TraceHandle& handle, const CallSite& site, Operation&& operation )
{
    const int rc = callWithLocksReleased( operation );
    maybeTraceCall( handle, site, rc );
    return rc;
}

/// A traced call of an SDK function. Gives the return code, whatever it is.
template< class... Parameters >
[[gnu::always_inline]] inline int tracedCall( const Agent::TraceHandle& handle,
                                              const CallSite& site,
                                              int ( SdkAccess::*function )( Parameters... ),
                                              std::type_identity_t< Parameters >... arguments )
{
    SdkAccess& access = sdkFor( site );
    const int rc = callWithLocksReleased( [ & ] { return ( access.*function )( arguments... ); } );
    maybeTraceCall( handle, site, rc );
    return rc;
}

} // namespace Shim

/// This place in the source, as the site of a call of that text.
#define SDK_CALL_SITE( text )                                                                      \
    ::Shim::CallSite                                                                               \
    {                                                                                              \
        text,                                                                                      \
        {                                                                                          \
            __FILE__, __LINE__, __PRETTY_FUNCTION__                                                \
        }                                                                                          \
    }

/// A checked call of an SDK function, which is traced and reported with the text given.
#define SDK_CHECKED_CALL_AS( text, function, ... )                                                 \
    ::Shim::checkedCall( apiTraceHandle_, SDK_CALL_SITE( text ), &::Shim::SdkAccess::function,     \
                         __VA_ARGS__ )
/// The same; its text is the call as written.
#define SDK_CHECKED_CALL( function, ... )                                                          \
    SDK_CHECKED_CALL_AS( #function "( " #__VA_ARGS__ " )", function, __VA_ARGS__ )

/// A traced call of an SDK function, which is traced with the text given.
#define SDK_TRACED_CALL_AS( text, function, ... )                                                  \
    ::Shim::tracedCall( apiTraceHandle_, SDK_CALL_SITE( text ), &::Shim::SdkAccess::function,      \
                        __VA_ARGS__ )
/// The same; its text is the call as written.
#define SDK_TRACED_CALL( function, ... )                                                           \
    SDK_TRACED_CALL_AS( #function "( " #__VA_ARGS__ " )", function, __VA_ARGS__ )
