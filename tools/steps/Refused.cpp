#include "tools/steps/Refused.h"

namespace Tool {

StepResult refused( const std::optional< FailedCall >& failure )
{
    const FailedCall why = failure.value_or( FailedCall{} );
    return { why.isForLackOfRoom() ? Outcome::full : Outcome::error,
             why.text(),
             { { "sdkFunction", why.function }, { "returnCode", why.rc } } };
}

} // namespace Tool
