// SPDX-License-Identifier: Apache-2.0
//
// The workloads of kavrel-bench, registered by name (see the list in KavrelBench.cpp). Each
// prepares its texts outside of the measured time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>

namespace bench {

constexpr std::size_t kMegabyte = 1'000'000;
constexpr std::size_t kLarge = 16 * kMegabyte;

// The utterance of workload P6: 56 bytes, three commands.
inline constexpr char kUtterance[] = "[[rate 200]]Hello [[emph +]]world[[slnc 300]] again now.";
static_assert(sizeof kUtterance - 1 == 56);

// The counter in which a workload reports its own median time per iteration.
inline constexpr char kMedianSeconds[] = "median_seconds";

void registerAnchors();
// Defined in the library kavrel-bench-channels.
__attribute__((visibility("default"))) void registerChannels();
void registerConversions();
void registerOffsets();
void registerSpeech();

// Counts `bytes` for each iteration, so that the run reports a speed.
inline void countBytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

}  // namespace bench
