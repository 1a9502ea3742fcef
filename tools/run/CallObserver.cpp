#include "tools/run/CallObserver.h"

#include "sim/ReturnCode.h"

#include <fmt/format.h>

namespace Tool {

bool FailedCall::isForLackOfRoom() const
{
    return rc == Sim::ReturnCode::BCM_E_FULL || rc == Sim::ReturnCode::BCM_E_RESOURCE;
}

std::string FailedCall::text() const
{
    return fmt::format( "{}: {} ({}), {}", function, Sim::ReturnCode::name( rc ), rc,
                        Sim::ReturnCode::text( rc ) );
}

int CallObserver::observed( const char* function, int rc )
{
    if ( rc < 0 ) {
        lastFailure_ = FailedCall{ function, rc };
        if ( !firstFailure_ ) {
            firstFailure_ = lastFailure_;
        }
    }
    return rc;
}

} // namespace Tool
