#include "tools/steps/StepKinds.h"

namespace Tool {

std::span< const StepKind > stepKinds()
{
    static constexpr StepKind kinds[] = {
        { "allocate-counter", readAllocateCounter },
        { "allocate-policer", readAllocatePolicer },
        { "allocate-range-checker", readAllocateRangeChecker },
        { "audit", readAudit },
        { "chunk-positions", readChunkPositions },
        { "clear-counters", readClearCounters },
        { "clear-faults", readClearFaults },
        { "compress", readCompress },
        { "create-entry", readCreateEntry },
        { "create-group", readCreateGroup },
        { "create-preselector", readCreatePreselector },
        { "destroy-entry", readDestroyEntry },
        { "destroy-group", readDestroyGroup },
        { "destroy-preselector", readDestroyPreselector },
        { "free-counter", readFreeCounter },
        { "import-rules", readImportRules },
        { "inject-fault", readInjectFault },
        { "list-udfs", readListUdfs },
        { "program-udf", readProgramUdf },
        { "read-counters", readReadCounters },
        { "release-compression", readReleaseCompression },
        { "release-policer", readReleasePolicer },
        { "release-range-checker", readReleaseRangeChecker },
        { "remove-rules", readRemoveRules },
        { "remove-udf", readRemoveUdf },
        { "send-capture", readSendCapture },
        { "send-packet", readSendPacket },
        { "show-chunks", readShowChunks },
        { "traffic", readTraffic },
    };
    return kinds;
}

} // namespace Tool
