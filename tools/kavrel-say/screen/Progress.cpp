// SPDX-License-Identifier: Apache-2.0
#include "screen/Progress.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace say {
namespace {

// No estimate before these: the first words are not representative.
constexpr double kEarlyFraction = 0.02;
constexpr double kEarlySeconds = 0.5;

constexpr std::size_t kNarrowestBar = 6;
constexpr std::size_t kWidestBar = 50;

// Returns 0:07, 12:30 or 1:02:03. Limited so that the number fits into the buffer.
std::string clockTime(double seconds) {
  const long whole = std::lround(std::min(seconds, 3.0e8));
  std::array<char, 32> text{};
  if (whole >= 3600) {
    std::snprintf(text.data(), text.size(), "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60,
                  whole % 60);
  } else {
    std::snprintf(text.data(), text.size(), "%ld:%02ld", whole / 60, whole % 60);
  }
  return text.data();
}

// "[###---]" with `cells` cells between the brackets.
std::string drawBar(double fraction, std::size_t cells) {
  const auto full = static_cast<std::size_t>(fraction * static_cast<double>(cells));
  return '[' + std::string(full, '#') + std::string(cells - full, '-') + ']';
}

}  // namespace

// Only forward: the bar never goes back.
void Progress::reach(std::size_t position, double now) {
  if (m_length == 0) return;
  const double fraction = static_cast<double>(position) / static_cast<double>(m_length);
  if (fraction <= m_fraction) return;
  m_fraction = std::min(fraction, 1.0);
  m_reachedAt = now;
}

void Progress::complete(double now) {
  m_fraction = 1;
  m_reachedAt = now;
  m_isComplete = true;
}

// Assumes that the rest takes as long for each byte as the text so far, and counts down from the
// time of the last word.
std::optional<double> Progress::secondsLeft(double now) const {
  if (m_isComplete) return 0;
  if (m_fraction < kEarlyFraction || m_reachedAt < kEarlySeconds) return std::nullopt;
  const double leftThen = m_reachedAt / m_fraction - m_reachedAt;
  return std::max(leftThen - (now - m_reachedAt), 0.0);
}

// Leaves out the bar first, then the time, then the percentage.
std::string Progress::bar(std::size_t width, double now) const {
  std::array<char, 8> percents{};
  std::snprintf(percents.data(), percents.size(), "%3d%%", static_cast<int>(m_fraction * 100));
  const std::string percent = percents.data();
  std::string time;
  if (m_isComplete) {
    time = "  " + clockTime(m_reachedAt) + " in all";
  } else if (const auto left = secondsLeft(now)) {
    time = "  " + clockTime(*left) + " left";
  }
  // Two brackets and a blank.
  constexpr std::size_t kAround = 3;
  const std::size_t beside = percent.size() + time.size() + kAround;
  if (width >= beside + kNarrowestBar) {
    const std::size_t cells = std::min(width - beside, kWidestBar);
    return drawBar(m_fraction, cells) + ' ' + percent + time;
  }
  if (width >= percent.size() + time.size()) return percent + time;
  return width >= percent.size() ? percent : std::string();
}

}  // namespace say
