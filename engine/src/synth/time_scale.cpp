// SPDX-License-Identifier: Apache-2.0
#include "synth/time_scale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace kavrel {

namespace {

// In the output, a frame begins every kHop samples (10 ms) and is twice as long.
constexpr std::size_t kHop = 220;
constexpr std::size_t kFrame = 2 * kHop;
// How far from its nominal position a frame may be taken, in either direction: together the longest
// pitch period of a voice.
constexpr std::ptrdiff_t kReach = 160;
// The search first looks at every kCoarse-th position, then at all positions near the best one.
constexpr std::ptrdiff_t kCoarse = 4;

using Samples = std::span<const std::int16_t>;

// A raised cosine from 0 to 1. It and its mirror image add up to 1, so overlapped frames keep their
// level.
const std::array<float, kHop>& fadeIn() {
  static const std::array<float, kHop> rise = [] {
    std::array<float, kHop> values{};
    for (std::size_t i = 0; i < kHop; ++i) {
      const double turn = (static_cast<double>(i) + 0.5) / kHop;
      values[i] = static_cast<float>(0.5 - 0.5 * std::cos(std::numbers::pi * turn));
    }
    return values;
  }();
  return rise;
}

// Cross-correlation of kHop samples, normalised by the energy of `other`, using every `step`-th
// sample. Only its order matters: `one` is the same for all candidates.
double similarity(const std::int16_t* one, const std::int16_t* other, std::size_t step) {
  std::int64_t product = 0;
  std::int64_t square = 0;
  for (std::size_t i = 0; i < kHop; i += step) {
    product += std::int64_t{one[i]} * other[i];
    square += std::int64_t{other[i]} * other[i];
  }
  return square > 0 ? static_cast<double>(product) / std::sqrt(static_cast<double>(square)) : 0;
}

// Returns the position within kReach of `wanted` where the samples are most similar to those at
// `model`, the natural continuation of the frame before. All positions are clamped to the audio.
std::ptrdiff_t bestMatch(Samples audio, std::ptrdiff_t model, std::ptrdiff_t wanted) {
  const auto last = static_cast<std::ptrdiff_t>(audio.size() - kHop);
  const std::int16_t* const like = audio.data() + std::min(model, last);
  std::ptrdiff_t best = std::clamp(wanted, std::ptrdiff_t{0}, last);
  double most = 0;
  const auto search = [&](std::ptrdiff_t from, std::ptrdiff_t to, std::ptrdiff_t by) {
    from = std::max(from, std::ptrdiff_t{0});
    to = std::min(to, last);
    for (std::ptrdiff_t position = from; position <= to; position += by) {
      const double found =
          similarity(like, audio.data() + position, static_cast<std::size_t>(by > 1 ? 2 : 1));
      if (found > most) {
        most = found;
        best = position;
      }
    }
  };
  search(wanted - kReach, wanted + kReach, kCoarse);
  const std::ptrdiff_t near = best;
  most = 0;
  search(near - kCoarse + 1, near + kCoarse - 1, 1);
  return best;
}

}  // namespace

// Adds a breakpoint where the speed changes, and one at the end.
TimeScale::TimeScale(std::span<const SpeedChange> changes, std::uint64_t length) {
  double speed = 1;
  m_breakpoints.push_back({0, 0});
  const auto advance = [&](std::uint64_t to) {
    const double sample = static_cast<double>(std::min(to, length));
    const Breakpoint& last = m_breakpoints.back();
    if (sample <= last.input) return;
    m_breakpoints.push_back({sample, last.output + (sample - last.input) / speed});
  };
  for (const SpeedChange& change : changes) {
    if (change.speed == speed) continue;
    advance(change.begin);
    speed = std::max(change.speed, 1.0);
  }
  advance(length);
}

std::uint64_t TimeScale::positionOf(std::uint64_t sample) const {
  const auto at = static_cast<double>(sample);
  const auto upper = std::ranges::lower_bound(m_breakpoints, at, {}, &Breakpoint::input);
  if (upper == m_breakpoints.begin()) return 0;
  if (upper == m_breakpoints.end()) return static_cast<std::uint64_t>(m_breakpoints.back().output);
  const Breakpoint& from = *(upper - 1);
  const double share = (at - from.input) / (upper->input - from.input);
  return static_cast<std::uint64_t>(std::lerp(from.output, upper->output, share));
}

double TimeScale::sourceOf(double output) const {
  const auto upper = std::ranges::lower_bound(m_breakpoints, output, {}, &Breakpoint::output);
  if (upper == m_breakpoints.begin()) return 0;
  if (upper == m_breakpoints.end()) return m_breakpoints.back().input;
  const Breakpoint& from = *(upper - 1);
  return std::lerp(from.input, upper->input,
                   (output - from.output) / (upper->output - from.output));
}

// Audio shorter than a frame is truncated: there is nothing to search in.
std::vector<std::int16_t> TimeScale::apply(std::span<const std::int16_t> samples) const {
  std::vector<std::int16_t> output(positionOf(samples.size()));
  if (samples.size() < kFrame) {
    std::copy_n(samples.begin(), output.size(), output.begin());
    return output;
  }
  // Overlap-add: at each hop, the continuation of the frame before fades out while the new frame
  // fades in.
  std::ptrdiff_t before = -static_cast<std::ptrdiff_t>(kHop);
  const std::array<float, kHop>& rise = fadeIn();
  for (std::size_t at = 0; at < output.size(); at += kHop) {
    const auto wanted =
        static_cast<std::ptrdiff_t>(std::llround(sourceOf(static_cast<double>(at))));
    const std::ptrdiff_t model = before + static_cast<std::ptrdiff_t>(kHop);
    const std::ptrdiff_t position = bestMatch(samples, model, wanted);
    for (std::size_t i = 0; i < kHop && at + i < output.size(); ++i) {
      const auto from = static_cast<std::size_t>(model) + i;
      const auto to = static_cast<std::size_t>(position) + i;
      const float leaving = from < samples.size() ? samples[from] : 0;
      output[at + i] = static_cast<std::int16_t>(
          std::lround(leaving + (static_cast<float>(samples[to]) - leaving) * rise[i]));
    }
    before = position;
  }
  return output;
}

}  // namespace kavrel
