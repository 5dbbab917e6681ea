// SPDX-License-Identifier: Apache-2.0
//
// Time-scale modification with WSOLA (waveform similarity overlap-add): makes audio faster without
// raising its pitch. Short frames overlap more closely in the output than in the input. Each frame
// is taken from the position, near its nominal one, where the waveform best continues the frame
// before.
//
// Immutable after construction; may be used by several threads at the same time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kavrel {

class TimeScale {
 public:
  // From sample `begin` on, audio is `speed` times as fast. 1 is the original speed and the
  // minimum.
  struct SpeedChange {
    std::uint64_t begin = 0;
    double speed = 1;
  };

  // `changes` are in order of their samples; audio before the first one keeps its speed. `length`
  // is the number of input samples.
  TimeScale(std::span<const SpeedChange> changes, std::uint64_t length);

  // Returns true if the output is the input.
  bool isIdentity() const {
    return m_breakpoints.size() == 2 && m_breakpoints.back().output == m_breakpoints.back().input;
  }

  // Returns `samples` at the new speeds. They must be as many as the constructor was given.
  std::vector<std::int16_t> apply(std::span<const std::int16_t> samples) const;

  // Returns the position in the output of an input sample.
  std::uint64_t positionOf(std::uint64_t sample) const;

 private:
  // A breakpoint of the piecewise linear map from input samples to output samples.
  struct Breakpoint {
    double input = 0;
    double output = 0;
  };

  // The inverse of positionOf().
  double sourceOf(double output) const;

  std::vector<Breakpoint> m_breakpoints;
};

}  // namespace kavrel
