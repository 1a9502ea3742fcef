#pragma once

/// The table of step kinds.
///
/// To add a kind: a source file beside this header with a class derived from `Tool::Step` and a
/// function that reads it; the function's declaration here; a row in `StepKinds.cpp`; a section in
/// `docs/scenarios.md`, and in `docs/json.md` if its object has members of its own.

#include "tools/scenario/StepKind.h"

#include <memory>
#include <span>

namespace Tool {

/// All kinds.
[[nodiscard]] std::span< const StepKind > stepKinds();

std::unique_ptr< const Step > readAllocateCounter( const Input::YamlNode& node,
                                                   const ReadContext& context );
std::unique_ptr< const Step > readAllocatePolicer( const Input::YamlNode& node,
                                                   const ReadContext& context );
std::unique_ptr< const Step > readAllocateRangeChecker( const Input::YamlNode& node,
                                                        const ReadContext& context );
std::unique_ptr< const Step > readAudit( const Input::YamlNode& node, const ReadContext& context );
std::unique_ptr< const Step > readChunkPositions( const Input::YamlNode& node,
                                                  const ReadContext& context );
std::unique_ptr< const Step > readClearCounters( const Input::YamlNode& node,
                                                 const ReadContext& context );
std::unique_ptr< const Step > readClearFaults( const Input::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readCompress( const Input::YamlNode& node,
                                            const ReadContext& context );
std::unique_ptr< const Step > readCreateEntry( const Input::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readCreateGroup( const Input::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readCreatePreselector( const Input::YamlNode& node,
                                                     const ReadContext& context );
std::unique_ptr< const Step > readDestroyEntry( const Input::YamlNode& node,
                                                const ReadContext& context );
std::unique_ptr< const Step > readDestroyGroup( const Input::YamlNode& node,
                                                const ReadContext& context );
std::unique_ptr< const Step > readDestroyPreselector( const Input::YamlNode& node,
                                                      const ReadContext& context );
std::unique_ptr< const Step > readFreeCounter( const Input::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readImportRules( const Input::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readInjectFault( const Input::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readListUdfs( const Input::YamlNode& node,
                                            const ReadContext& context );
std::unique_ptr< const Step > readProgramUdf( const Input::YamlNode& node,
                                              const ReadContext& context );
std::unique_ptr< const Step > readReadCounters( const Input::YamlNode& node,
                                                const ReadContext& context );
std::unique_ptr< const Step > readReleaseCompression( const Input::YamlNode& node,
                                                      const ReadContext& context );
std::unique_ptr< const Step > readReleasePolicer( const Input::YamlNode& node,
                                                  const ReadContext& context );
std::unique_ptr< const Step > readReleaseRangeChecker( const Input::YamlNode& node,
                                                       const ReadContext& context );
std::unique_ptr< const Step > readRemoveRules( const Input::YamlNode& node,
                                               const ReadContext& context );
std::unique_ptr< const Step > readRemoveUdf( const Input::YamlNode& node,
                                             const ReadContext& context );
std::unique_ptr< const Step > readShowChunks( const Input::YamlNode& node,
                                              const ReadContext& context );
std::unique_ptr< const Step > readTraffic( const Input::YamlNode& node,
                                           const ReadContext& context );

} // namespace Tool
