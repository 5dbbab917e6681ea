// SPDX-License-Identifier: Apache-2.0
//
// Wall-clock time. Free of state.
#pragma once

#include <chrono>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double secondsBetween(Clock::time_point from, Clock::time_point to) {
  return std::chrono::duration<double>(to - from).count();
}

}  // namespace bench
