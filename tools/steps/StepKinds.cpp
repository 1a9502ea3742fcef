#include "tools/steps/StepKinds.h"

#include <array>

namespace Tool {

std::span< const StepKind > stepKinds()
{
    // clang-format off
    static constexpr std::array< StepKind, 14 > kinds{ {
        { "allocate-range-checker", readAllocateRangeChecker },
        { "audit",                  readAudit                },
        { "chunk-positions",        readChunkPositions       },
        { "clear-faults",           readClearFaults          },
        { "create-group",           readCreateGroup          },
        { "create-preselector",     readCreatePreselector    },
        { "destroy-group",          readDestroyGroup         },
        { "destroy-preselector",    readDestroyPreselector   },
        { "import-rules",           readImportRules          },
        { "inject-fault",           readInjectFault          },
        { "list-udfs",              readListUdfs             },
        { "program-udf",            readProgramUdf           },
        { "release-range-checker",  readReleaseRangeChecker  },
        { "remove-udf",             readRemoveUdf            },
    } };
    // clang-format on
    return kinds;
}

} // namespace Tool
