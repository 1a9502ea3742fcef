#include "sdk/SdkAccess.h"

#include "agent/base/Assert.h"

namespace Shim {

SdkAccess* sdk_ = nullptr;

SdkAccess::~SdkAccess() = default;

void sdkIsNotSet( const char* file, unsigned line, const char* function )
{
    Agent::assertionFailed( "Shim::sdk_ && \"SDK access object is not set\"", file, line,
                            function );
}

} // namespace Shim
