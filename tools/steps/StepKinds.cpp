#include "tools/steps/StepKinds.h"

namespace Tool {

std::span< const StepKind > stepKinds()
{
    // clang-format off
    static constexpr StepKind kinds[] = {
        { "allocate-policer",       readAllocatePolicer      },
        { "allocate-range-checker", readAllocateRangeChecker },
        { "audit",                  readAudit                },
        { "chunk-positions",        readChunkPositions       },
        { "clear-faults",           readClearFaults          },
        { "compress",               readCompress             },
        { "create-group",           readCreateGroup          },
        { "create-preselector",     readCreatePreselector    },
        { "destroy-group",          readDestroyGroup         },
        { "destroy-preselector",    readDestroyPreselector   },
        { "import-rules",           readImportRules          },
        { "inject-fault",           readInjectFault          },
        { "list-udfs",              readListUdfs             },
        { "program-udf",            readProgramUdf           },
        { "release-compression",    readReleaseCompression   },
        { "release-policer",        readReleasePolicer       },
        { "release-range-checker",  readReleaseRangeChecker  },
        { "remove-rules",           readRemoveRules          },
        { "remove-udf",             readRemoveUdf            },
        { "show-chunks",            readShowChunks           },
    };
    // clang-format on
    return kinds;
}

} // namespace Tool
