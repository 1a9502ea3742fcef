#include "sdk/SdkCall.h"

#include "agent/base/Assert.h"

#include <iostream>

namespace Shim {

void writeApiError( const CallSite& site, int rc )
{
    const char* message = sdk_->sdkErrorText( rc );
    std::cerr << Agent::joinPieces( site.location.file,
                                    ":",
                                    site.location.line,
                                    " ",
                                    site.text,
                                    " API ERROR:",
                                    message,
                                    " (",
                                    rc,
                                    ")" )
              << std::endl;
}

void failCheckedCall( const CallSite& site, int rc )
{
    writeApiError( site, rc );
    sdk_->onApiError();
    Agent::assertionFailed( "0", site.location.file, site.location.line, site.location.function );
}

void traceCall( const Agent::TraceHandle& handle, const CallSite& site, int rc )
{
    Agent::writeTraceLine(
        handle,
        apiTraceLevel,
        site.location,
        Agent::joinPieces(
            site.location.file, ":", site.location.line, " ", site.text, " (rc:", rc, ")" ) );
}

void failCheckedCallAt(
    const char* text, const char* file, Agent::U32 line, const char* function, int rc )
{
    failCheckedCall( { text, { file, line, function } }, rc );
}

void traceCallAt( const Agent::TraceHandle& handle,
                  const char* text,
                  const char* file,
                  Agent::U32 line,
                  const char* function,
                  int rc )
{
    traceCall( handle, { text, { file, line, function } }, rc );
}

} // namespace Shim
