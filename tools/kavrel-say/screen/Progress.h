// SPDX-License-Identifier: Apache-2.0
//
// Progress: how far the speech is, and how long it will take.
//
// Threads: one at a time. Times are seconds on a clock that stands still while the speech does.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace say {

class Progress {
 public:
  // Of a text of so many bytes, whose speech begins at 0.
  explicit Progress(std::size_t textLength) : m_length(textLength) {}

  // The speech has come to that byte of the text.
  void reach(std::size_t position, double now);
  // The speech is over, and all of the text was spoken.
  void complete(double now);

  // From 0 to 1.
  double fraction() const { return m_fraction; }
  // None as long as nothing can be said.
  std::optional<double> secondsLeft(double now) const;

  // A bar, percents and the time left in at most `width` cells, as many of these as there is room
  // for: "[####----]  50%  0:07 left".
  std::string bar(std::size_t width, double now) const;

 private:
  std::size_t m_length;
  double m_fraction = 0;
  double m_reachedAt = 0;  // when m_fraction was
  bool m_isComplete = false;
};

}  // namespace say
