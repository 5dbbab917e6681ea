// SPDX-License-Identifier: Apache-2.0
//
// Conversion between samples and time. Integer arithmetic without overflow for any length of a job.
#pragma once

#include <chrono>
#include <cstdint>

#include "base/threads/Clock.h"
#include "sample_rate.h"

namespace kavrel {

constexpr std::uint64_t kNanosecondsInSecond = 1'000'000'000;

// Returns how many samples have passed in `time`, which must not be negative. Rounded down.
inline std::uint64_t samplesIn(base::Clock::duration time) {
  const auto whole = std::chrono::floor<std::chrono::seconds>(time);
  const auto rest = static_cast<std::uint64_t>(std::chrono::nanoseconds(time - whole).count());
  return static_cast<std::uint64_t>(whole.count()) * kSampleRate +
         rest * kSampleRate / kNanosecondsInSecond;
}

// Returns the time of `samples`. Rounded up, so that samplesIn() of the result is not less.
inline base::Clock::duration timeOf(std::uint64_t samples) {
  const std::uint64_t rest = samples % kSampleRate * kNanosecondsInSecond;
  return std::chrono::seconds(samples / kSampleRate) +
         std::chrono::nanoseconds((rest + kSampleRate - 1) / kSampleRate);
}

}  // namespace kavrel
