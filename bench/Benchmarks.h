#pragma once

/// What each source of benchmarks registers. All of them run with `Shim::sdk_` set to a
/// `ConstantSdk`.

namespace Bench {

void registerSdkCallBenchmarks();
void registerRangeCheckerBenchmarks();
void registerRingTraceBenchmarks();
void registerTranslationBenchmarks();

} // namespace Bench
