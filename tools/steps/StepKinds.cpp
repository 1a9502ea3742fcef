#include "tools/steps/StepKinds.h"

#include <array>

namespace Tool {

std::span< const StepKind > stepKinds()
{
    // clang-format off
    static constexpr std::array< StepKind, 10 > kinds{ {
        { "allocate-range-checker", readAllocateRangeChecker },
        { "audit",                  readAudit                },
        { "clear-faults",           readClearFaults          },
        { "create-group",           readCreateGroup          },
        { "create-preselector",     readCreatePreselector    },
        { "destroy-group",          readDestroyGroup         },
        { "destroy-preselector",    readDestroyPreselector   },
        { "import-rules",           readImportRules          },
        { "inject-fault",           readInjectFault          },
        { "release-range-checker",  readReleaseRangeChecker  },
    } };
    // clang-format on
    return kinds;
}

} // namespace Tool
