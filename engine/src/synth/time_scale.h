// SPDX-License-Identifier: GPL-3.0-or-later
//
// Makes sound faster without making it higher: short frames of it are laid over each other more
// closely than they came, each taken from where it goes on best from the one before. Used by one
// thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kavrel {

class TimeScale {
 public:
  // A speed that holds from a sample on; 1 is the sound's own, and the least.
  struct SpeedChange {
    std::uint64_t begin = 0;
    double speed = 1;
  };

  // `changes` are in order of their samples. In front of the first, the sound has its own speed.
  TimeScale(std::span<const SpeedChange> changes, std::uint64_t length);

  // True when nothing changes.
  bool isIdentity() const {
    return m_breakpoints.size() == 2 && m_breakpoints.back().output == m_breakpoints.back().input;
  }

  // `samples` at their new speeds; they are as many as the constructor was told.
  std::vector<std::int16_t> apply(std::span<const std::int16_t> samples) const;

  // Where a sample comes to stand.
  std::uint64_t positionOf(std::uint64_t sample) const;

 private:
  // A sample and its place in the output; between two, all goes in a straight line.
  struct Breakpoint {
    double input = 0;
    double output = 0;
  };

  double sourceOf(double output) const;

  std::vector<Breakpoint> m_breakpoints;
};

}  // namespace kavrel
