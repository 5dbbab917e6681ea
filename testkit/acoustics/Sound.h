// SPDX-License-Identifier: Apache-2.0
//
// Recorded audio (mono, 16-bit samples) and its level.
//
// All functions of this library are free of state and may be called on any thread. Times are
// seconds from the start of the audio; levels are root mean squares in units of a sample, 0 to
// 32767.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace acoustics {

// A view of audio; the owner of the samples must keep them while the view is used.
struct Sound {
  std::span<const std::int16_t> samples;
  double rate = 22050;  // samples per second

  double seconds() const { return static_cast<double>(samples.size()) / rate; }
  std::size_t at(double time) const;  // index of the sample at `time`, clamped to 0 … the end

  // The part between two sample indices or two times, clamped to the audio; may be empty.
  Sound part(std::size_t begin, std::size_t end) const;
  Sound between(double begin, double end) const;
};

// Default limit of silence, in units of a sample: synthetic silence contains rounding errors only.
constexpr int kSilence = 30;

// The level of the whole audio; 0 for no samples.
double level(Sound sound);
// The 90th percentile of the levels of 20 ms windows.
double peakLevel(Sound sound);
// The levels of successive windows of `window` seconds; an incomplete last window is ignored.
std::vector<double> envelope(Sound sound, double window);
// The number of samples at the smallest or largest value.
std::size_t clippedCount(Sound sound);

// The audio without the silence at either end.
Sound trimSilence(Sound sound, int silence = kSilence);

struct Stretch {
  double begin = 0;
  double end = 0;

  double length() const { return end - begin; }
};

// The silences of at least `shortest` seconds, including those at both ends.
std::vector<Stretch> silences(Sound sound, double shortest, int silence = kSilence);

// The value below which `share` (0 to 1, clamped) of `values` lie; 0 for no values.
double quantile(std::vector<double> values, double share);
double median(std::vector<double> values);

}  // namespace acoustics
