// SPDX-License-Identifier: Apache-2.0
//
// Progress: the share of the text that has been spoken, and an estimate of the time left.
//
// Threads: used by one thread at a time. Times are seconds on a clock that stands still while the
// speech is paused.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace say {

class Progress {
 public:
  // `textLength` is in bytes. The speech starts at time 0.
  explicit Progress(std::size_t textLength) : m_length(textLength) {}

  // The byte at `position` of the text is being spoken. Positions before the last one are ignored.
  void reach(std::size_t position, double now);
  // All of the text has been spoken.
  void complete(double now);

  // Returns the share of the text, from 0 to 1.
  double fraction() const { return m_fraction; }
  // Returns the estimated time left; none while it is too early for an estimate.
  std::optional<double> secondsLeft(double now) const;

  // Returns a bar, the percentage and the time left in at most `width` cells; parts that do not fit
  // are left out: "[####----]  50%  0:07 left".
  std::string bar(std::size_t width, double now) const;

 private:
  std::size_t m_length;
  double m_fraction = 0;
  double m_reachedAt = 0;  // the time of m_fraction
  bool m_isComplete = false;
};

}  // namespace say
