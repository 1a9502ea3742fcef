#pragma once

/// The table of step kinds.
///
/// To add a kind: a source file beside this header with a class derived from `Tool::Step` and a
/// function that reads it; the function's declaration here; a row in `StepKinds.cpp`; a section in
/// `docs/scenarios.md`, and in `docs/json.md` if its object has members of its own.

#include "sim/YamlDocument.h"
#include "tools/ReadContext.h"
#include "tools/Step.h"

#include <memory>
#include <span>
#include <string_view>

namespace Tool {

/// Reads a step from the value of its key. Whatever is wrong fails at the node concerned.
using StepReader = std::unique_ptr< const Step > ( * )( const Sim::YamlNode& node,
                                                        const ReadContext& context );

struct StepKind
{
    std::string_view name; ///< the key of the step in a scenario
    StepReader read;
};

[[nodiscard]] std::span< const StepKind > stepKinds();

std::unique_ptr< const Step > readAllocateCounter( const Sim::YamlNode& node,
                                                   const ReadContext& context );
std::unique_ptr< const Step > readAllocatePolicer( const Sim::YamlNode& node,
                                                   const ReadContext& context );
std::unique_ptr< const Step > readAllocateRangeChecker( const Sim::YamlNode& node,
                                                        const ReadContext& context );
std::unique_ptr< const Step > readAudit( const Sim::YamlNode& node, const ReadContext& context );
std::unique_ptr< const Step > readChunkPositions( const Sim::YamlNode& node,
                                                  const ReadContext& context );
std::unique_ptr< const Step > readClearCounters( const Sim::YamlNode& node,
                                                 const ReadContext& context );
std::unique_ptr< const Step > readClearFaults( const Sim::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readCompress( const Sim::YamlNode& node, const ReadContext& context );
std::unique_ptr< const Step > readCreateEntry( const Sim::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readCreateGroup( const Sim::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readCreatePreselector( const Sim::YamlNode& node,
                                                     const ReadContext& context );
std::unique_ptr< const Step > readDestroyEntry( const Sim::YamlNode& node,
                                                const ReadContext& context );
std::unique_ptr< const Step > readDestroyGroup( const Sim::YamlNode& node,
                                                const ReadContext& context );
std::unique_ptr< const Step > readDestroyPreselector( const Sim::YamlNode& node,
                                                      const ReadContext& context );
std::unique_ptr< const Step > readFreeCounter( const Sim::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readImportRules( const Sim::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readInjectFault( const Sim::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readListUdfs( const Sim::YamlNode& node, const ReadContext& context );
std::unique_ptr< const Step > readProgramUdf( const Sim::YamlNode& node,
                                              const ReadContext& context );
std::unique_ptr< const Step > readReadCounters( const Sim::YamlNode& node,
                                                const ReadContext& context );
std::unique_ptr< const Step > readReleaseCompression( const Sim::YamlNode& node,
                                                      const ReadContext& context );
std::unique_ptr< const Step > readReleasePolicer( const Sim::YamlNode& node,
                                                  const ReadContext& context );
std::unique_ptr< const Step > readReleaseRangeChecker( const Sim::YamlNode& node,
                                                       const ReadContext& context );
std::unique_ptr< const Step > readRemoveRules( const Sim::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readRemoveUdf( const Sim::YamlNode& node,
                                             const ReadContext& context );
std::unique_ptr< const Step > readShowChunks( const Sim::YamlNode& node,
                                              const ReadContext& context );
std::unique_ptr< const Step > readTraffic( const Sim::YamlNode& node, const ReadContext& context );

} // namespace Tool
