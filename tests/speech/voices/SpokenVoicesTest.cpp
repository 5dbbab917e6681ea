// SPDX-License-Identifier: Apache-2.0
//
// The speech of each voice, through all layers: kavrel-say, the Manager, the plug-in, the engine.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include "acoustics/Pitch.h"
#include "languages/Languages.h"
#include "languages/Samples.h"
#include "programs/Program.h"

namespace {

using program::eventsOf;
using program::Folder;
using program::Result;
using program::say;
using program::valuesOf;
using testing::ElementsAreArray;

struct ListedVoice {
  std::string name;
  std::string locale;
  std::string sentence;
};

std::vector<ListedVoice> allListedVoices() {
  std::vector<ListedVoice> voices;
  std::istringstream list(say({"-v", "?"}).out);
  for (std::string line; std::getline(list, line);) {
    ListedVoice& voice = voices.emplace_back();
    std::istringstream(line) >> voice.name >> voice.locale;
    voice.sentence = line.substr(line.find("# ") + 2);
  }
  EXPECT_EQ(voices.size(), 227U);
  return voices;
}

// The voices of the languages that there are longer texts of.
std::vector<ListedVoice> listedVoices() {
  std::vector<ListedVoice> voices = allListedVoices();
  std::erase_if(voices, [](const ListedVoice& voice) {
    return std::ranges::none_of(languages::all(), [&voice](const languages::Language& known) {
      return known.locale == voice.locale;
    });
  });
  EXPECT_EQ(voices.size(), 27U);
  return voices;
}

const languages::Language& languageOf(const ListedVoice& voice) {
  const auto all = languages::all();
  const auto found = std::find_if(all.begin(), all.end(), [&voice](const auto& language) {
    return language.locale == voice.locale;
  });
  if (found == all.end()) throw std::runtime_error("no text for " + voice.locale);
  return *found;
}

std::vector<std::int16_t> samplesOf(const std::string& path) {
  SF_INFO info{};
  SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) return {};
  std::vector<std::int16_t> samples(static_cast<std::size_t>(info.frames));
  sf_read_short(file, samples.data(), info.frames);
  sf_close(file);
  return samples;
}

// The pitch range in Hz that the voice's file states.
struct Reach {
  double lowest = 0;
  double highest = 0;

  // The pitch at this fraction of the range, measured in octaves.
  double at(double share) const { return lowest * std::pow(highest / lowest, share); }
};

Reach reachOf(const std::string& name) {
  Reach reach;
  std::ifstream file(std::string(KAVREL_VOICES_DIR) + "/" + name + ".SpeechVoice/kavrel.voice");
  for (std::string line; std::getline(file, line);) {
    std::sscanf(line.c_str(), "pitch.lowest = %lf", &reach.lowest);
    std::sscanf(line.c_str(), "pitch.highest = %lf", &reach.highest);
  }
  return reach;
}

// The median pitch of `text` spoken after a command for a pitch of `hertz`.
double medianPitchFor(const ListedVoice& voice, double hertz, const std::string& text) {
  const Folder folder;
  const std::string sound = folder.file("sound.aiff");
  const double note = 69 + 12 * std::log2(hertz / 440);
  const Result result =
      say({"-v", voice.name, "-o", sound, "[[pbas " + std::to_string(note) + "]]" + text});
  EXPECT_EQ(result.status, 0) << result.err;
  const std::vector<std::int16_t> samples = samplesOf(sound);
  return acoustics::medianPitch({samples});
}

}  // namespace

TEST(EachVoice, SpeaksAtTheRequestedPitch) {
  for (const ListedVoice& voice : listedVoices()) {
    const Reach reach = reachOf(voice.name);
    ASSERT_GT(reach.highest, 2 * reach.lowest) << voice.name;
    const std::string text(languageOf(voice).plain);
    for (const double share : {0.1, 0.5, 0.9}) {
      const double hertz = reach.at(share);
      EXPECT_NEAR(medianPitchFor(voice, hertz, text), hertz, 0.05 * hertz) << voice.name;
    }
  }
}

// A sentence has its own melody, so its median pitch is less certain.
TEST(EachVoice, SpeaksAnySentenceNearTheRequestedPitch) {
  for (const ListedVoice& voice : listedVoices()) {
    const double hertz = reachOf(voice.name).at(0.4);
    EXPECT_NEAR(medianPitchFor(voice, hertz, voice.sentence), hertz, 0.1 * hertz) << voice.name;
  }
}

TEST(EachVoice, ReportsEachWordOfItsLanguageOnceAtItsPosition) {
  const Folder folder;
  for (const ListedVoice& voice : listedVoices()) {
    const std::string text(languageOf(voice).text);
    const Result result =
        say({"--events", "-v", voice.name, "-o", folder.file("sound.aiff"), "-f", "-"}, text);
    ASSERT_EQ(result.status, 0) << voice.name << ": " << result.err;
    const auto events = eventsOf(result.out);
    const auto positions = valuesOf<std::size_t>(events, "word", "position");
    const auto lengths = valuesOf<std::size_t>(events, "word", "length");
    std::vector<std::string> words;
    for (std::size_t i = 0; i < positions.size(); ++i) {
      words.push_back(text.substr(positions[i], lengths[i]));
    }
    EXPECT_THAT(words, ElementsAreArray(languages::wordsOf(text))) << voice.name;
    EXPECT_TRUE(std::is_sorted(positions.begin(), positions.end())) << voice.name;
  }
}

TEST(EachVoice, SpeaksItsOwnSentence) {
  const Folder folder;
  for (const ListedVoice& voice : listedVoices()) {
    const std::string sound = folder.file(voice.name + ".aiff");
    const Result result = say({"-v", voice.name, "-o", sound, voice.sentence});
    EXPECT_EQ(result.status, 0) << voice.name << ": " << result.err;
    EXPECT_GT(program::secondsIn(sound), 2) << voice.name;
  }
}

// Speaks the samples of the locales, or all, with the first voice of each locale. Returns their
// number.
static int checkSamples(const std::set<std::string>& locales) {
  const Folder folder;
  const std::vector<ListedVoice> voices = allListedVoices();
  int spoken = 0;
  for (const languages::Sample& sample : languages::samplesIn(KAVREL_SAMPLES)) {
    const auto voice = std::ranges::find(voices, sample.locale, &ListedVoice::locale);
    if (!locales.empty() && !locales.contains(sample.locale)) continue;
    if (voice == voices.end()) {
      ADD_FAILURE() << "no voice for " << sample.locale;
      continue;
    }
    const Result result = say(
        {"--events", "-v", voice->name, "-o", folder.file("sound.aiff"), "-f", "-"}, sample.text);
    EXPECT_EQ(result.status, 0) << sample.locale << ": " << result.err;
    const auto events = eventsOf(result.out);
    const auto positions = valuesOf<std::size_t>(events, "word", "position");
    const auto lengths = valuesOf<std::size_t>(events, "word", "length");
    std::vector<std::string> words;
    std::string joined;
    for (std::size_t i = 0; i < positions.size(); ++i) {
      joined += words.emplace_back(sample.text.substr(positions[i], lengths[i]));
    }
    if (sample.hasBlanks) {
      EXPECT_EQ(words, sample.words()) << sample.locale;
    } else {
      EXPECT_EQ(joined + "。", sample.text);
    }
    ++spoken;
  }
  return spoken;
}

TEST(EachLanguage, ReportsTheWordsOfItsSampleAtTheirBytes) {
  EXPECT_EQ(checkSamples({"de_DE", "fr_FR", "ru_RU", "hi_IN", "zh_CN", "ar_001"}), 6);
}

TEST(FullEachLanguage, ReportsTheWordsOfItsSampleAtTheirBytes) {
  EXPECT_EQ(checkSamples({}), 113);
}
