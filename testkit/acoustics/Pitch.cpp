// SPDX-License-Identifier: Apache-2.0
#include "acoustics/Pitch.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace acoustics {

namespace {

constexpr double kLowest = 50;
constexpr double kHighest = 600;
// Time that is compared with the same time one period later.
constexpr double kWindow = 0.03;
// Samples are joined to about this many a second: what lies above hides the period more than it
// shows it.
constexpr double kJoinedRate = 7000;
// Two stretches less alike than this (1: equal) have no period between them.
constexpr double kVoiced = 0.7;
// Two periods are as alike as one; the shortest that is nearly as good as the best is the period.
constexpr double kNearlyBest = 0.95;
// Quieter than this, against the loudest, is not looked at.
constexpr double kQuiet = 0.05;

// The sound with fewer samples, each the mean of its neighbourhood.
struct Joined {
  std::vector<float> samples;
  double rate = 0;
};

Joined join(Sound sound) {
  const auto step = std::max<std::size_t>(static_cast<std::size_t>(sound.rate / kJoinedRate), 1);
  const std::size_t width = 2 * step + 1;
  Joined joined;
  joined.rate = sound.rate / static_cast<double>(step);
  for (std::size_t at = 0; at + width <= sound.samples.size(); at += step) {
    float sum = 0;
    for (const std::int16_t sample : sound.samples.subspan(at, width)) sum += sample;
    joined.samples.push_back(sum / static_cast<float>(width));
  }
  return joined;
}

// 1 for stretches of the same shape, 0 for unlike ones.
double likeness(const float* one, const float* other, std::size_t count) {
  float product = 0;
  float ofOne = 0;
  float ofOther = 0;
  for (std::size_t i = 0; i < count; ++i) {
    product += one[i] * other[i];
    ofOne += one[i] * one[i];
    ofOther += other[i] * other[i];
  }
  const double norm = std::sqrt(static_cast<double>(ofOne) * ofOther);
  return norm > 0 ? product / norm : 0;
}

// Where a parabola through three points, 1 apart, has its top; from the middle one.
double topOf(double before, double at, double after) {
  const double bend = before - 2 * at + after;
  return bend < 0 ? std::clamp(0.5 * (before - after) / bend, -0.5, 0.5) : 0;
}

// The period in samples at `start`; 0 for none.
double periodAt(const Joined& joined, std::size_t start) {
  const auto window = static_cast<std::size_t>(kWindow * joined.rate);
  const auto shortest = static_cast<std::size_t>(joined.rate / kHighest);
  const auto longest = static_cast<std::size_t>(joined.rate / kLowest);
  std::vector<double> alike(longest + 2);
  for (std::size_t lag = shortest - 1; lag < alike.size(); ++lag) {
    const float* const from = joined.samples.data() + start;
    alike[lag] = likeness(from, from + lag, window);
  }
  const auto isTop = [&alike](std::size_t lag) {
    return alike[lag] >= alike[lag - 1] && alike[lag] >= alike[lag + 1];
  };
  double best = 0;
  for (std::size_t lag = shortest; lag <= longest; ++lag) {
    if (isTop(lag)) best = std::max(best, alike[lag]);
  }
  if (best < kVoiced) return 0;
  std::size_t lag = shortest;
  while (!isTop(lag) || alike[lag] < kNearlyBest * best) ++lag;
  return static_cast<double>(lag) + topOf(alike[lag - 1], alike[lag], alike[lag + 1]);
}

}  // namespace

std::vector<double> pitchTrack(Sound sound) {
  const Joined joined = join(sound);
  const auto reach = static_cast<std::size_t>((kWindow + 1 / kLowest) * joined.rate) + 2;
  const double quiet = kQuiet * peakLevel(sound);
  std::vector<double> track;
  for (double time = 0;; time += kPitchStep) {
    const auto start = static_cast<std::size_t>(time * joined.rate);
    if (start + reach > joined.samples.size()) break;
    const bool heard = quiet > 0 && level(sound.between(time, time + kWindow)) > quiet;
    const double period = heard ? periodAt(joined, start) : 0;
    track.push_back(period > 0 ? joined.rate / period : 0);
  }
  return track;
}

std::vector<double> voiced(const std::vector<double>& track) {
  std::vector<double> values;
  std::ranges::copy_if(track, std::back_inserter(values), [](double hertz) { return hertz > 0; });
  return values;
}

double medianPitch(Sound sound) {
  return median(voiced(pitchTrack(sound)));
}

double pitchSpread(Sound sound) {
  const std::vector<double> values = voiced(pitchTrack(sound));
  return quantile(values, 0.95) - quantile(values, 0.05);
}

}  // namespace acoustics
