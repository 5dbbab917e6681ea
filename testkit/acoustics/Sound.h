// SPDX-License-Identifier: Apache-2.0
//
// Sound and how loud it is. Sounds are mono, 16 bits a sample.
//
// All functions of this library are free of state and may be called on any thread. Times are
// seconds from the start of the sound; levels are root mean squares in units of a sample, 0 to
// 32767.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace acoustics {

// A view: whoever holds the samples keeps them as long as it is used.
struct Sound {
  std::span<const std::int16_t> samples;
  double rate = 22050;  // samples per second

  double seconds() const { return static_cast<double>(samples.size()) / rate; }
  std::size_t at(double time) const;  // the sample at `time`, no further than the end

  // The part between two samples, or two times; of no length where there is none.
  Sound part(std::size_t begin, std::size_t end) const;
  Sound between(double begin, double end) const;
};

// What is quieter than this, in units of a sample, counts as silence where nothing else is said:
// synthetic silence is no louder than rounding.
constexpr int kSilence = 30;

// 0 for no samples.
double level(Sound sound);
// The level as far as it is reached by the loudest windows of 20 ms, a tenth of them left out.
double peakLevel(Sound sound);
// The level of one window after another; the last, incomplete one is left out.
std::vector<double> envelope(Sound sound, double window);
// How many samples are as loud as a sample can be.
std::size_t clippedCount(Sound sound);

// The sound without the silence at either end.
Sound trimmed(Sound sound, int silence = kSilence);

struct Stretch {
  double begin = 0;
  double end = 0;

  double length() const { return end - begin; }
};

// The silences of at least `shortest` seconds, those at both ends included.
std::vector<Stretch> silences(Sound sound, double shortest, int silence = kSilence);

// The value that `share` (0 to 1) of `values` lie below; 0 for no values.
double quantile(std::vector<double> values, double share);
double median(std::vector<double> values);

}  // namespace acoustics
