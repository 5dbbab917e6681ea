// SPDX-License-Identifier: Apache-2.0
//
// The workloads of kavrel-bench, registered by name (see the list in KavrelBench.cpp). Each
// prepares its texts outside of the measured time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>

#include "BenchUtterance.h"

namespace bench {

constexpr std::size_t kMegabyte = 1'000'000;
constexpr std::size_t kLarge = 16 * kMegabyte;

// Counters in which workloads report figures of their own:
inline constexpr char kMedianSeconds[] = "median_seconds";  // the median time per iteration
inline constexpr char kRatio[] = "ratio";                   // for Unit::Times
inline constexpr char kSpeedUp[] = "speed_up";              // for Unit::SpeedUp
inline constexpr char kBytes[] = "bytes";                   // for Unit::Megabytes
// The same of what was measured beside it, in turn.
inline constexpr char kAnchorSeconds[] = "anchor_seconds";
inline constexpr char kAnchorBytes[] = "anchor_bytes";

// The message of a workload that cannot be measured on this machine begins with this. It is then
// reported, but no failure.
inline constexpr char kNotMeasured[] = "not measured: ";

void registerAnchors();
// Defined in the library kavrel-bench-channels.
__attribute__((visibility("default"))) void registerChannels();
void registerConversions();
void registerOffsets();
void registerProcesses();
void registerSpeech();

// Counts `bytes` for each iteration, so that the run reports a speed.
inline void countBytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

}  // namespace bench
