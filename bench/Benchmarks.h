#pragma once

/// What each source of benchmarks registers. All of them run with `Shim::sdk_` set to an
/// `AnsweringSdk`, or to what their scene says.

namespace Bench {

void registerFlexParserBenchmarks();
void registerSdkCallBenchmarks();
void registerRangeCheckerBenchmarks();
void registerUdfBenchmarks();
void registerCounterBenchmarks();
void registerEntryBenchmarks();
void registerRingTraceBenchmarks();
void registerTraceLineBenchmarks();
void registerTranslationBenchmarks();

} // namespace Bench
