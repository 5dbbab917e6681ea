// SPDX-License-Identifier: Apache-2.0
//
// The wall-clock times of a workload in which threads or processes work together.
//
// Threads: one.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "WallClock.h"
#include "Workloads.h"

namespace bench {

// The wall-clock times of a run's iterations. The destructor reports their median as the run's
// figure, since single iterations are delayed by other threads.
class ClockTimes {
 public:
  explicit ClockTimes(benchmark::State& state) : m_state(state) {}
  ~ClockTimes() {
    if (m_seconds.empty()) return;
    const auto middle = m_seconds.begin() + static_cast<std::ptrdiff_t>(m_seconds.size() / 2);
    std::nth_element(m_seconds.begin(), middle, m_seconds.end());
    m_state.counters[kMedianSeconds] = *middle;
  }
  ClockTimes(const ClockTimes&) = delete;
  ClockTimes& operator=(const ClockTimes&) = delete;

  void add(double seconds) {
    m_state.SetIterationTime(seconds);
    m_seconds.push_back(seconds);
  }

 private:
  benchmark::State& m_state;
  std::vector<double> m_seconds;
};

}  // namespace bench
