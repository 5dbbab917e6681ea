// SPDX-License-Identifier: GPL-3.0-or-later
//
// Samples as time, and back.
#pragma once

#include <chrono>
#include <cstdint>

#include "base/threads/Clock.h"
#include "synth/synthesiser.h"

namespace kavrel {

constexpr std::uint64_t kNanosecondsInSecond = 1'000'000'000;

// How many samples are over in `time`, which is not negative.
inline std::uint64_t samplesIn(base::Clock::duration time) {
  const auto whole = std::chrono::floor<std::chrono::seconds>(time);
  const auto rest = static_cast<std::uint64_t>(std::chrono::nanoseconds(time - whole).count());
  return static_cast<std::uint64_t>(whole.count()) * kSampleRate +
         rest * kSampleRate / kNanosecondsInSecond;
}

// Rounded up, so that samplesIn() of the result is not less than `samples`.
inline base::Clock::duration timeOf(std::uint64_t samples) {
  const std::uint64_t rest = samples % kSampleRate * kNanosecondsInSecond;
  return std::chrono::seconds(samples / kSampleRate) +
         std::chrono::nanoseconds((rest + kSampleRate - 1) / kSampleRate);
}

}  // namespace kavrel
