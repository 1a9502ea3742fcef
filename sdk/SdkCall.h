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
/// A source file that makes SDK calls has its own handle, named `apiTraceHandle_`:
///
///     namespace { const Agent::TraceHandle apiTraceHandle_( Shim::apiTraceFacility ); }
///
///     SDK_CHECKED_CALL( bcm_range_get( unit, &conf ) );
///     const int rc = SDK_TRACED_CALL( bcm_range_create( unit, 0, &conf ) );
///
/// The call's text is part of the program's output: it is the call as written, with the blanks
/// that the formatter leaves. Where another text is required it is given beside the call, with
/// `SDK_CHECKED_CALL_AS` and `SDK_TRACED_CALL_AS`.

#include "agent/base/CallLocation.h"
#include "agent/base/Locks.h"
#include "agent/base/Trace.h"
#include "sdk/SdkAccess.h"

#include <string_view>

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

/// Writes the line of a failed call to standard error, with a flush:
/// FILE:LINE TEXT API ERROR:MESSAGE (RC)
void writeApiError( const CallSite& site, int rc );

/// Ends the process after a failed checked call: the error line, `onApiError()`, then the failed
/// assertion "0" at the call site.
[[noreturn]] void failCheckedCall( const CallSite& site, int rc );

/// Writes the trace line of a call, whatever the handle's levels:
/// FILE:LINE TEXT (rc:RC)
void traceCall( const Agent::TraceHandle& handle, const CallSite& site, int rc );

/// Runs an SDK operation with the agent's locks released, and gives its return code.
template< class Operation >
int callWithLocksReleased( Operation&& operation )
{
    const Agent::MaybeGilUnlockAnchor interpreterReleased;
    const Agent::UnlockAnchor activityReleased( Agent::activityLock() );
    return operation();
}

/// `failCheckedCall()` and `traceCall()` with the site in pieces. In this form a call that has
/// nothing to write, as almost all have, never puts its site into memory.
[[noreturn, gnu::cold]] void failCheckedCallAt(
    const char* text, const char* file, Agent::U32 line, const char* function, int rc );
[[gnu::cold]] void traceCallAt( const Agent::TraceHandle& handle,
                                const char* text,
                                const char* file,
                                Agent::U32 line,
                                const char* function,
                                int rc );

/// Writes the trace line of a call if its level is on.
[[gnu::always_inline]] inline void
maybeTraceCall( const Agent::TraceHandle& handle, const CallSite& site, int rc )
{
    if ( handle.enabled( apiTraceLevel ) ) [[unlikely]] {
        const Agent::CallLocation& location = site.location;
        traceCallAt( handle, site.text, location.file, location.line, location.function, rc );
    }
}

/// Judges the return code of a call that has been made: a negative one ends the process, any
/// other is traced.
[[gnu::always_inline]] inline void
checkReturnCode( const Agent::TraceHandle& handle, const CallSite& site, int rc )
{
    if ( rc < 0 ) [[unlikely]] {
        const Agent::CallLocation& location = site.location;
        failCheckedCallAt( site.text, location.file, location.line, location.function, rc );
    }
    maybeTraceCall( handle, site, rc );
}

/// The checked call. Gives the return code, which is not negative.
template< class Operation >
[[gnu::always_inline]] inline int
checkedCall( const Agent::TraceHandle& handle, const CallSite& site, Operation&& operation )
{
    sdk_->preApiCall();
    const int rc = callWithLocksReleased( operation );
    checkReturnCode( handle, site, rc );
    return rc;
}

/// The traced call. Gives the return code, whatever it is.
template< class Operation >
[[gnu::always_inline]] inline int
tracedCall( const Agent::TraceHandle& handle, const CallSite& site, Operation&& operation )
{
    const int rc = callWithLocksReleased( operation );
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
#define SDK_CHECKED_CALL_AS( text, ... )                                                           \
    ::Shim::checkedCall(                                                                           \
        apiTraceHandle_, SDK_CALL_SITE( text ), [ & ] { return ::Shim::sdk_->__VA_ARGS__; } )
/// The same; its text is the call as written.
#define SDK_CHECKED_CALL( ... ) SDK_CHECKED_CALL_AS( #__VA_ARGS__, __VA_ARGS__ )

/// A traced call of an SDK function, which is traced with the text given.
#define SDK_TRACED_CALL_AS( text, ... )                                                            \
    ::Shim::tracedCall(                                                                            \
        apiTraceHandle_, SDK_CALL_SITE( text ), [ & ] { return ::Shim::sdk_->__VA_ARGS__; } )
/// The same; its text is the call as written.
#define SDK_TRACED_CALL( ... ) SDK_TRACED_CALL_AS( #__VA_ARGS__, __VA_ARGS__ )
