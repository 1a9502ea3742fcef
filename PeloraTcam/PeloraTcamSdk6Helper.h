#pragma once

/// Translation between the agent's enumerations and the SDK's, and the field-processor glue built
/// on it: all three headers in one.

#include "PeloraTcam/GroupGlue.h"
#include "PeloraTcam/Preselectors.h"
#include "PeloraTcam/SdkTranslation.h"
