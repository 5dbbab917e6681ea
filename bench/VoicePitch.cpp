// SPDX-License-Identifier: Apache-2.0
//
// kavrel-pitch: measures how the pitch of the voices depends on the synthesiser's settings.
//
//   kavrel-pitch FOLDER
//
// Speaks plain statements in its language with every voice in the folder, at the lowest, the middle
// and the highest setting of pitch and of range. Fits a formula to the nine medians by weighted
// least squares. Prints a line for each voice: the values of PITCH and REACH for
// voices/voices.tsv, and the largest deviation of a median from the formula. The pitch in the
// voice's own file is ignored. Exit status: 0; 1 if a voice cannot be used or has no pitch; 2 for
// wrong usage.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "acoustics/Pitch.h"
#include "languages/Languages.h"
#include "sample_rate.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"
#include "synth/voice_cache.h"

namespace {

constexpr int kMiddle = 50;
constexpr std::array kSettings = {0, kMiddle, 99};

struct Measurement {
  int pitch = 0;
  int range = 0;
  double hertz = 0;
};

// median = values[0] + values[1] * range + values[2] * 2^(pitch / 50)
struct Fit {
  static constexpr std::size_t kCount = 3;
  using Row = std::array<double, kCount>;

  Row values{};

  static Row factorsOf(const Measurement& at) {
    return {1, static_cast<double>(at.range), std::exp2(at.pitch / 50.0)};
  }
  double medianAt(const Measurement& at) const {
    const Row factors = factorsOf(at);
    return values[0] * factors[0] + values[1] * factors[1] + values[2] * factors[2];
  }
};

std::wstring statementsFor(const kavrel::Voice& voice) {
  const std::string name = voice.synthesiserName();
  const std::string_view language = std::string_view(name).substr(0, name.find('+'));
  for (const languages::Language& known : languages::all()) {
    if (known.synthesiser != language) continue;
    const std::u32string characters = languages::charactersOf(known.plain);
    return {characters.begin(), characters.end()};
  }
  throw std::runtime_error("no text in the language of " + voice.name());
}

// The pitch at every step of the speech that has one.
std::vector<double> pitchesAt(const kavrel::Voice& voice, int pitch, int range) {
  kavrel::Synthesiser::Input input;
  input.text = statementsFor(voice);
  input.settings.pitch = pitch;
  input.settings.range = range;
  kavrel::SynthAudio audio;
  std::string why;
  if (!kavrel::Synthesiser::shared().speak(input, voice, {}, audio, why)) {
    throw std::runtime_error(voice.name() + ": " + why);
  }
  const auto rate = static_cast<double>(kavrel::kSampleRate);
  std::vector<double> pitches =
      acoustics::voicedValues(acoustics::pitchTrack({audio.samples(), rate}));
  if (pitches.empty()) throw std::runtime_error(voice.name() + " has no pitch");
  return pitches;
}

// The distance from the 5th to the 95th percentile.
double spreadOf(std::vector<double> pitches) {
  // Values more than this factor from the median are octave errors: an overtone was taken for the
  // pitch, or the other way round.
  constexpr double kNear = 1.6;
  const double median = acoustics::median(pitches);
  std::erase_if(
      pitches, [median](double hertz) { return hertz > kNear * median || kNear * hertz < median; });
  return acoustics::quantile(pitches, 0.95) - acoustics::quantile(pitches, 0.05);
}

// Minimises the sum of the squared relative errors: builds the normal equations and solves them by
// Gauss-Jordan elimination.
Fit fit(std::span<const Measurement> measurements) {
  constexpr std::size_t kCount = Fit::kCount;
  std::array<std::array<double, kCount + 1>, kCount> rows{};
  for (const Measurement& measurement : measurements) {
    const Fit::Row factors = Fit::factorsOf(measurement);
    const double weight = 1 / (measurement.hertz * measurement.hertz);
    for (std::size_t i = 0; i < kCount; ++i) {
      for (std::size_t j = 0; j < kCount; ++j) rows[i][j] += weight * factors[i] * factors[j];
      rows[i][kCount] += weight * factors[i] * measurement.hertz;
    }
  }
  for (std::size_t i = 0; i < kCount; ++i) {
    for (std::size_t other = 0; other < kCount; ++other) {
      if (other == i) continue;
      const double times = rows[other][i] / rows[i][i];
      for (std::size_t j = i; j <= kCount; ++j) rows[other][j] -= times * rows[i][j];
    }
  }
  Fit found;
  for (std::size_t i = 0; i < kCount; ++i) found.values[i] = rows[i][kCount] / rows[i][i];
  return found;
}

// Fits the medians at all settings; the spread is measured at the middle ones.
void measure(const kavrel::Voice& voice) {
  std::vector<Measurement> measurements;
  double spread = 0;
  for (const int pitch : kSettings) {
    for (const int range : kSettings) {
      const std::vector<double> pitches = pitchesAt(voice, pitch, range);
      measurements.push_back({pitch, range, acoustics::median(pitches)});
      if (pitch == kMiddle && range == kMiddle) spread = spreadOf(pitches);
    }
  }
  const Fit found = fit(measurements);
  double worst = 0;
  for (const Measurement& measurement : measurements) {
    worst = std::max(worst, std::abs(found.medianAt(measurement) / measurement.hertz - 1));
  }
  std::printf("%-10s PITCH %.1f %.3f %.1f %.2f REACH %.0f %.0f  off by %.1f %%\n",
              voice.name().c_str(), found.values[0], found.values[1], found.values[2],
              spread / kMiddle, found.medianAt({kSettings.front(), kMiddle, 0}),
              found.medianAt({kSettings.back(), kMiddle, 0}), 100 * worst);
}

void measureAll(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> bundles;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) bundles.push_back(entry);
  std::sort(bundles.begin(), bundles.end());
  for (const auto& bundle : bundles) {
    std::string why;
    const kavrel::Voice* const voice = kavrel::loadVoice(bundle.string(), why);
    if (voice == nullptr) throw std::runtime_error(why);
    measure(*voice);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: kavrel-pitch FOLDER\n", stderr);
    return 2;
  }
  try {
    measureAll(argv[1]);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "kavrel-pitch: %s\n", failure.what());
    return 1;
  }
}
