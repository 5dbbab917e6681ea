// SPDX-License-Identifier: Apache-2.0
#include "acoustics/Sound.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace acoustics {

namespace {

bool isHeard(std::int16_t sample, int silence) {
  return std::abs(static_cast<int>(sample)) > silence;
}

}  // namespace

std::size_t Sound::at(double time) const {
  const double sample = std::round(std::max(time, 0.0) * rate);
  return std::min(static_cast<std::size_t>(sample), samples.size());
}

Sound Sound::part(std::size_t begin, std::size_t end) const {
  end = std::min(end, samples.size());
  begin = std::min(begin, end);
  return {samples.subspan(begin, end - begin), rate};
}

Sound Sound::between(double begin, double end) const {
  return part(at(begin), at(end));
}

double level(Sound sound) {
  if (sound.samples.empty()) return 0;
  double sum = 0;
  for (const double sample : sound.samples) sum += sample * sample;
  return std::sqrt(sum / static_cast<double>(sound.samples.size()));
}

double peakLevel(Sound sound) {
  constexpr double kWindow = 0.02;
  return quantile(envelope(sound, kWindow), 0.9);
}

std::vector<double> envelope(Sound sound, double window) {
  const std::size_t size = std::max<std::size_t>(sound.at(window), 1);
  std::vector<double> levels;
  for (std::size_t at = 0; at + size <= sound.samples.size(); at += size) {
    levels.push_back(level(sound.part(at, at + size)));
  }
  return levels;
}

std::size_t clippedCount(Sound sound) {
  using Limits = std::numeric_limits<std::int16_t>;
  return static_cast<std::size_t>(std::ranges::count_if(sound.samples, [](std::int16_t sample) {
    return sample == Limits::min() || sample == Limits::max();
  }));
}

Sound trimSilence(Sound sound, int silence) {
  const auto heard = [silence](std::int16_t sample) { return isHeard(sample, silence); };
  const auto first = std::ranges::find_if(sound.samples, heard);
  auto last = sound.samples.end();
  while (last != first && !heard(*(last - 1))) --last;
  return {{first, last}, sound.rate};
}

std::vector<Stretch> silences(Sound sound, double shortest, int silence) {
  std::vector<Stretch> found;
  std::size_t begin = 0;
  for (std::size_t at = 0; at <= sound.samples.size(); ++at) {
    if (at < sound.samples.size() && !isHeard(sound.samples[at], silence)) continue;
    const Stretch stretch{static_cast<double>(begin) / sound.rate,
                          static_cast<double>(at) / sound.rate};
    if (at > begin && stretch.length() >= shortest) found.push_back(stretch);
    begin = at + 1;
  }
  return found;
}

double quantile(std::vector<double> values, double share) {
  if (values.empty()) return 0;
  const double last = static_cast<double>(values.size() - 1);
  const auto index = std::lround(std::clamp(share, 0.0, 1.0) * last);
  const auto at = values.begin() + index;
  std::ranges::nth_element(values, at);
  return *at;
}

double median(std::vector<double> values) {
  return quantile(std::move(values), 0.5);
}

}  // namespace acoustics
