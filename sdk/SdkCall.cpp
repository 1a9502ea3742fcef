#include "sdk/SdkCall.h"

#include "agent/base/Assert.h"
#include "agent/base/StandardError.h"

namespace Shim {

void writeApiError( const CallSite& site, int rc )
{
    const char* const message = sdkFor( site ).sdkErrorText( rc );
    Agent::writeErrorLine(
        Agent::joinPieces( site.location.file, ":", site.location.line, " ", site.text,
                           " API ERROR:", message == nullptr ? "" : message, " (", rc, ")" ) );
}

void failCheckedCall( CallSite site, int rc )
{
    writeApiError( site, rc );
    sdkFor( site ).onApiError();
    Agent::assertionFailed( "0", site.location.file, site.location.line, site.location.function );
}

void traceCall( const Agent::TraceHandle& handle, CallSite site, int rc )
{
    Agent::writeTraceLine( handle, apiTraceLevel, site.location,
                           Agent::joinPieces( site.location.file, ":", site.location.line, " ",
                                              site.text, " (rc:", rc, ")" ) );
}

} // namespace Shim
