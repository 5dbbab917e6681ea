// SPDX-License-Identifier: Apache-2.0
//
// kavrel-pitch: measures how the pitch of the voices depends on the synthesiser's settings, and how
// loud the voices are.
//
//   kavrel-pitch TABLE FOLDER [NAME…] >NEW-TABLE
//
// TABLE is voices/voices.tsv, FOLDER has the bundles that the build has written from it. Measures
// the voices with these names, or all, and prints the table with their new figures; other lines are
// printed unchanged. For each voice, a line on standard error has the largest deviation from the
// formula, and the loudness in terms of the median of all voices in the table.
//
// Pitch: speaks statements in the voice's language at the lowest, the middle and the highest
// setting of pitch and of range. Fits a formula to the nine medians by weighted least squares.
//
// Loudness: the RMS level of the demo sentence. A voice that is more than 1.5 times as loud as the
// median gets the level that brings it to the median, others get level 1.
//
// The figures in the voices' files have no influence. Exit status: 0; 1 if a voice cannot be used
// or has no pitch; 2 for wrong usage.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "acoustics/Pitch.h"
#include "languages/Languages.h"
#include "sample_rate.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"
#include "synth/voice_cache.h"

namespace {

constexpr int kMiddle = 50;
constexpr std::size_t kFewestMedians = 6;
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

// A line of the table. CMakeLists.txt in voices/ has the names of the fields.
using Line = std::vector<std::string>;
enum Field : std::size_t {
  kName,
  kLanguage = 5,
  kOffset = 8,
  kRange,
  kScale,
  kSpread,
  kLowest,
  kHighest,
  kLevel,
  kDemo,
  kFields
};

Line fieldsOf(const std::string& line) {
  Line fields;
  std::istringstream rest(line);
  for (std::string field; std::getline(rest, field, '\t');) fields.push_back(field);
  if (fields.size() != kFields) throw std::runtime_error("not a line of a table: " + line);
  return fields;
}

std::string joined(const Line& fields) {
  std::string line;
  for (const std::string& field : fields) line += (line.empty() ? "" : "\t") + field;
  return line;
}

std::string rounded(double value, int decimals) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
  return text.data();
}

// "en" for "en-us".
std::string_view baseLanguage(std::string_view language) {
  return language.substr(0, language.find('-'));
}

// The statements that a voice is measured with: those of its language, else of another area where
// it is spoken, else the demo sentences of all voices of the language.
std::string statementsFor(const Line& voice, const std::vector<Line>& table) {
  const languages::Language* best = nullptr;
  for (const languages::Language& known : languages::all()) {
    if (known.synthesiser == voice[kLanguage]) return std::string(known.plain);
    if (baseLanguage(known.synthesiser) == baseLanguage(voice[kLanguage])) best = &known;
  }
  if (best != nullptr) return std::string(best->plain);
  std::set<std::string> sentences;
  for (const Line& line : table) {
    if (baseLanguage(line[kLanguage]) == baseLanguage(voice[kLanguage])) {
      sentences.insert(line[kDemo]);
    }
  }
  std::string text;
  for (const std::string& sentence : sentences) text += sentence + ' ';
  return text;
}

const kavrel::Voice& voiceOf(const Line& line, const std::filesystem::path& folder) {
  std::string why;
  const kavrel::Voice* const voice =
      kavrel::loadVoice((folder / (line[kName] + ".SpeechVoice")).string(), why);
  if (voice == nullptr) throw std::runtime_error(why);
  return *voice;
}

std::vector<std::int16_t> spoken(const kavrel::Voice& voice, std::string_view text, int pitch,
                                 int range) {
  const std::u32string characters = languages::charactersOf(text);
  kavrel::Synthesiser::Input input;
  input.text.assign(characters.begin(), characters.end());
  input.settings.pitch = pitch;
  input.settings.range = range;
  kavrel::SynthAudio audio;
  std::string why;
  if (!kavrel::Synthesiser::shared().speak(input, voice, {}, audio, why)) {
    throw std::runtime_error(voice.name() + ": " + why);
  }
  return std::move(audio).takeSamples();
}

double loudnessOf(const Line& line, const std::filesystem::path& folder) {
  const auto samples = spoken(voiceOf(line, folder), line[kDemo], kMiddle, kMiddle);
  return acoustics::level(acoustics::trimSilence({samples}));
}

// The pitch at every step of the speech that has one; none if it is too low to be measured.
std::vector<double> pitchesAt(const kavrel::Voice& voice, std::string_view text, int pitch,
                              int range) {
  const auto samples = spoken(voice, text, pitch, range);
  const auto rate = static_cast<double>(kavrel::kSampleRate);
  return acoustics::voicedValues(acoustics::pitchTrack({samples, rate}));
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

double deviation(const Fit& found, const Measurement& at) {
  return std::abs(found.medianAt(at) / at.hertz - 1);
}

// Fits all measurements but those that are far off: octave errors, at settings where the pitch
// falls below what can be measured, as it may in tone languages.
Fit fitWithoutErrors(std::vector<Measurement>& measurements) {
  constexpr double kFar = 0.25;
  for (;;) {
    Fit found = fit(measurements);
    const auto worst = std::ranges::max_element(
        measurements, {}, [&found](const Measurement& at) { return deviation(found, at); });
    if (deviation(found, *worst) < kFar || measurements.size() == kFewestMedians) return found;
    measurements.erase(worst);
  }
}

// Fits the medians at all settings; the spread is measured at the middle ones. Returns the largest
// deviation of a median from the formula.
double measurePitch(Line& line, const std::string& text, const std::filesystem::path& folder) {
  const kavrel::Voice& voice = voiceOf(line, folder);
  std::vector<Measurement> measurements;
  double spread = 0;
  for (const int pitch : kSettings) {
    for (const int range : kSettings) {
      const std::vector<double> pitches = pitchesAt(voice, text, pitch, range);
      if (!pitches.empty()) measurements.push_back({pitch, range, acoustics::median(pitches)});
      if (pitch == kMiddle && range == kMiddle) spread = spreadOf(pitches);
    }
  }
  if (measurements.size() < kFewestMedians)
    throw std::runtime_error(voice.name() + " has no pitch");
  const Fit found = fitWithoutErrors(measurements);
  line[kOffset] = rounded(found.values[0], 1);
  line[kRange] = rounded(found.values[1], 3);
  line[kScale] = rounded(found.values[2], 1);
  line[kSpread] = rounded(spread / kMiddle, 2);
  line[kLowest] = rounded(found.medianAt({kSettings.front(), kMiddle, 0}), 0);
  line[kHighest] = rounded(found.medianAt({kSettings.back(), kMiddle, 0}), 0);
  double worst = 0;
  for (const Measurement& measurement : measurements) {
    worst = std::max(worst, deviation(found, measurement));
  }
  return worst;
}

// `loudness` is that of the voice divided by the median of all.
void setLevel(Line& line, double loudness) {
  constexpr double kMostLoudness = 1.5;
  line[kLevel] = loudness > kMostLoudness ? rounded(1 / loudness, 2) : "1";
}

// Changes the lines of the voices called `names`, or all lines if there are no names. Returns false
// if one of them has no pitch; its line is not changed.
bool measure(std::vector<Line>& table, const std::filesystem::path& folder,
             const std::set<std::string>& names) {
  std::vector<double> loudness;
  loudness.reserve(table.size());
  for (const Line& line : table) loudness.push_back(loudnessOf(line, folder));
  const double usual = acoustics::median(loudness);
  bool isComplete = true;
  for (std::size_t i = 0; i < table.size(); ++i) {
    Line& line = table[i];
    if (!names.empty() && !names.contains(line[kName])) continue;
    try {
      const double worst = measurePitch(line, statementsFor(line, table), folder);
      setLevel(line, loudness[i] / usual);
      std::fprintf(stderr, "%-12s pitch off by %4.1f %%, loudness %.2f\n", line[kName].c_str(),
                   100 * worst, loudness[i] / usual);
    } catch (const std::runtime_error& failure) {
      std::fprintf(stderr, "%s\n", failure.what());
      isComplete = false;
    }
  }
  return isComplete;
}

bool isVoice(const std::string& line) {
  return !line.empty() && line.front() != '#';
}

bool measureTable(const std::string& name, const std::filesystem::path& folder,
                  const std::set<std::string>& names) {
  std::vector<std::string> lines;
  std::ifstream file(name);
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  if (lines.empty()) throw std::runtime_error(name + " cannot be read");
  std::vector<Line> table;
  for (const std::string& line : lines) {
    if (isVoice(line)) table.push_back(fieldsOf(line));
  }
  const bool isComplete = measure(table, folder, names);
  auto voice = table.begin();
  for (const std::string& line : lines) {
    std::printf("%s\n", isVoice(line) ? joined(*voice++).c_str() : line.c_str());
  }
  return isComplete;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("usage: kavrel-pitch TABLE FOLDER [NAME...] >NEW-TABLE\n", stderr);
    return 2;
  }
  try {
    return measureTable(argv[1], argv[2], {argv + 3, argv + argc}) ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "kavrel-pitch: %s\n", failure.what());
    return 1;
  }
}
