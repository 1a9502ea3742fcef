#pragma once

/// The table of step kinds.
///
/// To add a kind: a source file beside this header with a class derived from `Tool::Step` and a
/// function that reads it; the function's declaration here; a row in `StepKinds.cpp`; a section in
/// `docs/scenarios.md`, and in `docs/json.md` if its object has members of its own.

#include "tools/scenario/StepKind.h"

#include <span>

namespace Tool {

/// All kinds.
[[nodiscard]] std::span< const StepKind > stepKinds();

// Each of these reads a step of its kind.
ReadStep readAllocateCounter;
ReadStep readAllocatePolicer;
ReadStep readAllocateRangeChecker;
ReadStep readAudit;
ReadStep readChunkPositions;
ReadStep readClearCounters;
ReadStep readClearFaults;
ReadStep readCompress;
ReadStep readCreateEntry;
ReadStep readCreateGroup;
ReadStep readCreatePreselector;
ReadStep readDestroyEntry;
ReadStep readDestroyGroup;
ReadStep readDestroyPreselector;
ReadStep readFreeCounter;
ReadStep readImportRules;
ReadStep readInjectFault;
ReadStep readListUdfs;
ReadStep readProgramUdf;
ReadStep readReadCounters;
ReadStep readReleaseCompression;
ReadStep readReleasePolicer;
ReadStep readReleaseRangeChecker;
ReadStep readRemoveRules;
ReadStep readRemoveUdf;
ReadStep readSendCapture;
ReadStep readSendPacket;
ReadStep readShowChunks;
ReadStep readTraffic;

} // namespace Tool
