#include "PeloraTcam/UdfLogMessages.h"

namespace PeloraTcam {

AGENT_LOG_MESSAGE const Agent::LogDescriptor PELORA_TCAM_UDF_HW_RESOURCE_NORMAL{
    "PELORA_TCAM_UDF_HW_RESOURCE_NORMAL",
    "All UDFs are programmed in hardware",
    "The switch was able to program all the UDFs in the hardware.",
    "",
    3,
};

AGENT_LOG_MESSAGE const Agent::LogDescriptor PELORA_TCAM_UDF_HW_RESOURCE_FULL{
    "PELORA_TCAM_UDF_HW_RESOURCE_FULL",
    "Hardware resources insufficient to program UDF",
    "The switch is unable to program UDF due to insufficient hardware resources. ",
    "Reconfigure other ACLs or features that use UDF to free up UDF hardware resources.",
    3,
};

} // namespace PeloraTcam
