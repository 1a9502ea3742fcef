#pragma once

/// An access object that counts which SDK functions are called with the activity lock released, as
/// all should be, and which while this thread holds it.

#include "agent/base/Locks.h"
#include "sdk/ForwardingSdk.h"

#include <map>
#include <string>

namespace LibraryTest {

class LockWatchingSdk final : public Shim::ForwardingSdk
{
  public:
    using ForwardingSdk::ForwardingSdk;

    std::map< std::string, unsigned > free;
    std::map< std::string, unsigned > held;

#define SDK_FUNCTION( family, name, parameters, arguments )                                        \
    int name parameters override                                                                   \
    {                                                                                              \
        ++( Agent::activityLock().heldByThisThread() ? held : free )[ #name ];                     \
        return next().name arguments;                                                              \
    }
#include "sdk/SdkFunctions.def"
};

} // namespace LibraryTest
