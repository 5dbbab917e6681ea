// SPDX-License-Identifier: Apache-2.0
//
// Normalised autocorrelation of the decimated signal; the period is the shortest lag whose peak is
// nearly the highest, refined by parabolic interpolation.
#include "acoustics/Pitch.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace acoustics {

namespace {

// The range of the pitch, in Hz.
constexpr double kLowest = 50;
constexpr double kHighest = 600;
// Length in seconds of the window that is compared with itself one period later.
constexpr double kWindow = 0.03;
// Sample rate after decimation, approximately: higher frequencies hide the period.
constexpr double kDecimatedRate = 7000;
// Minimum correlation of two windows one period apart (1: equal).
constexpr double kVoiced = 0.7;
// Multiples of the period correlate as well as the period itself, so the shortest lag with at least
// this share of the highest correlation is the period.
constexpr double kNearlyBest = 0.95;
// Windows below this share of the peak level have no pitch.
constexpr double kQuiet = 0.05;

// The audio at a lower sample rate; each sample is the mean of its neighbourhood.
struct Decimated {
  std::vector<float> samples;
  double rate = 0;
};

Decimated decimate(Sound sound) {
  const auto step = std::max<std::size_t>(static_cast<std::size_t>(sound.rate / kDecimatedRate), 1);
  const std::size_t width = 2 * step + 1;
  Decimated decimated;
  decimated.rate = sound.rate / static_cast<double>(step);
  for (std::size_t at = 0; at + width <= sound.samples.size(); at += step) {
    float sum = 0;
    for (const std::int16_t sample : sound.samples.subspan(at, width)) sum += sample;
    decimated.samples.push_back(sum / static_cast<float>(width));
  }
  return decimated;
}

// Normalised cross-correlation of two windows: 1 for the same shape, 0 for unrelated ones.
double correlation(const float* one, const float* other, std::size_t count) {
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

// The position of the maximum of the parabola through three points at distance 1, relative to the
// middle one.
double peakOffset(double before, double at, double after) {
  const double bend = before - 2 * at + after;
  return bend < 0 ? std::clamp(0.5 * (before - after) / bend, -0.5, 0.5) : 0;
}

// The period in samples at `start`; 0 if the audio there is not periodic.
double periodAt(const Decimated& decimated, std::size_t start) {
  const auto window = static_cast<std::size_t>(kWindow * decimated.rate);
  const auto shortest = static_cast<std::size_t>(decimated.rate / kHighest);
  const auto longest = static_cast<std::size_t>(decimated.rate / kLowest);
  std::vector<double> correlations(longest + 2);
  for (std::size_t lag = shortest - 1; lag < correlations.size(); ++lag) {
    const float* const from = decimated.samples.data() + start;
    correlations[lag] = correlation(from, from + lag, window);
  }
  const auto isPeak = [&correlations](std::size_t lag) {
    return correlations[lag] >= correlations[lag - 1] && correlations[lag] >= correlations[lag + 1];
  };
  double best = 0;
  for (std::size_t lag = shortest; lag <= longest; ++lag) {
    if (isPeak(lag)) best = std::max(best, correlations[lag]);
  }
  if (best < kVoiced) return 0;
  std::size_t lag = shortest;
  while (!isPeak(lag) || correlations[lag] < kNearlyBest * best) ++lag;
  return static_cast<double>(lag) +
         peakOffset(correlations[lag - 1], correlations[lag], correlations[lag + 1]);
}

}  // namespace

std::vector<double> pitchTrack(Sound sound) {
  const Decimated decimated = decimate(sound);
  const auto reach = static_cast<std::size_t>((kWindow + 1 / kLowest) * decimated.rate) + 2;
  const double quiet = kQuiet * peakLevel(sound);
  std::vector<double> track;
  for (double time = 0;; time += kPitchStep) {
    const auto start = static_cast<std::size_t>(time * decimated.rate);
    if (start + reach > decimated.samples.size()) break;
    const bool heard = quiet > 0 && level(sound.between(time, time + kWindow)) > quiet;
    const double period = heard ? periodAt(decimated, start) : 0;
    track.push_back(period > 0 ? decimated.rate / period : 0);
  }
  return track;
}

std::vector<double> voicedValues(const std::vector<double>& track) {
  std::vector<double> values;
  std::ranges::copy_if(track, std::back_inserter(values), [](double hertz) { return hertz > 0; });
  return values;
}

double medianPitch(Sound sound) {
  return median(voicedValues(pitchTrack(sound)));
}

double pitchSpread(Sound sound) {
  const std::vector<double> values = voicedValues(pitchTrack(sound));
  return quantile(values, 0.95) - quantile(values, 0.05);
}

}  // namespace acoustics
