#include "sdk/SdkAccess.h"

namespace Shim {

SdkAccess* sdk_ = nullptr;

SdkAccess::~SdkAccess() = default;

} // namespace Shim
