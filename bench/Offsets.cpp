// SPDX-License-Identifier: Apache-2.0
//
// Measures the offset map: queries, and the derivation of its lists.
#include <algorithm>
#include <random>
#include <vector>

#include "OffsetMap.h"
#include "Workloads.h"

namespace bench {

namespace {

constexpr std::uint32_t kApart = 40;

// A map with `ranges` ranges of removed command text and as many of inserted markup, with gaps
// between them.
OffsetMap mapOf(std::uint32_t ranges) {
  OffsetMap map;
  for (std::uint32_t i = 0; i < ranges; ++i) {
    map.insert(i * kApart, 12, OffsetMap::APPLE_TOKEN, false);
    map.insert(i * kApart + 12, 20, OffsetMap::SSML_TOKEN, true);
  }
  return map;
}

void query(benchmark::State& state, bool random) {
  constexpr std::uint32_t kRanges = 1000;
  OffsetMap map = mapOf(kRanges);
  map.buildFinalLists();
  std::mt19937 dice;
  std::vector<std::uint32_t> positions;
  for (std::uint32_t p = 0; p < kRanges * kApart; p += 7) {
    positions.push_back(random ? static_cast<std::uint32_t>(dice()) % (kRanges * kApart) : p);
  }
  while (state.KeepRunning()) {
    for (const std::uint32_t position : positions) benchmark::DoNotOptimize(map.offset(position));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(positions.size()));
}

void buildLists(benchmark::State& state) {
  const OffsetMap records = mapOf(50'000);
  while (state.KeepRunning()) {
    state.PauseTiming();
    OffsetMap map = records;
    state.ResumeTiming();
    map.buildFinalLists();
    benchmark::DoNotOptimize(map.ssmlRangeList().data());
  }
}

}  // namespace

void registerOffsets() {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("P7/offset-ascending/1000", query, false);
  RegisterBenchmark("P7/offset-random/1000", query, true);
  RegisterBenchmark("P8/derived-lists/100000", buildLists);
}

}  // namespace bench
