// SPDX-License-Identifier: Apache-2.0
//
// Voice files: the keys about other scripts. The project's voices, as loaded by the engine.
#include "synth/voice.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "languages/Languages.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"
#include "synth/voice_cache.h"

using kavrel::Voice;

namespace {

constexpr int kRanges[] = {0, 25, 50, 75, 99};

// Of many kinds of writing.
constexpr std::array kSomeVoices = {"Corin", "Pelageya", "Rabab", "Weiguo", "Kyungho", "Kamala"};

constexpr std::array kOtherScripts = {"Arab", "Armn", "Beng", "Cyrl", "Deva", "Ethi",
                                      "Geor", "Grek", "Gujr", "Guru", "Hang", "Hani",
                                      "Knda", "Mlym", "Orya", "Sinh", "Taml", "Telu"};

// The fields of the table of voices that the tests use.
struct Line {
  std::string name;
  std::string gender;
  std::string script;  // the first one
  std::string demo;
};

std::map<std::string, Line> voiceTable() {
  std::map<std::string, Line> table;
  std::ifstream file(KAVREL_VOICES_TABLE);
  for (std::string text; std::getline(file, text);) {
    if (text.empty() || text.front() == '#') continue;
    std::istringstream rest(text);
    std::vector<std::string> fields;
    for (std::string field; std::getline(rest, field, '\t');) fields.push_back(field);
    if (fields.size() != 16) throw std::runtime_error(text);
    table[fields[0]] = {fields[0], fields[2], fields[7].substr(0, 4), fields[15]};
  }
  return table;
}

std::string folderOf(const std::string& name) {
  return std::string(KAVREL_VOICES_DIR) + '/' + name + ".SpeechVoice";
}

// The voice's own file, without asking the synthesiser whether it knows the voice.
Voice parsed(const std::string& name) {
  std::ifstream file(folderOf(name) + "/kavrel.voice");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  Voice voice;
  std::string why;
  EXPECT_TRUE(voice.parse(text, why)) << name << ": " << why;
  return voice;
}

// The most phones that a character stands for when it is read, not named.
double mostPhonesIn(const Line& line) {
  if (line.script == "Hani") return 5;
  return line.script == "Hang" ? 4 : 2;
}

// Speaks the demo sentence: with sound, in its own language, and without naming its letters.
void expectToSpeak(const Line& line) {
  SCOPED_TRACE(line.name);
  std::string why;
  const Voice* const voice = kavrel::loadVoice(folderOf(line.name), why);
  ASSERT_NE(voice, nullptr) << why;
  EXPECT_EQ(voice->name(), line.name);
  const std::u32string characters = languages::charactersOf(line.demo);
  kavrel::Synthesiser::Input input;
  input.text.assign(characters.begin(), characters.end());
  kavrel::SynthAudio audio;
  ASSERT_TRUE(kavrel::Synthesiser::shared().speak(input, *voice, {}, audio, why)) << why;
  // A second at least.
  EXPECT_GT(audio.samples().size(), 22050U);
  const auto [low, high] = std::ranges::minmax(audio.samples());
  EXPECT_LT(low, -2000);
  EXPECT_GT(high, 2000);
  for (const auto& event : audio.events()) {
    EXPECT_FALSE(event.phone.starts_with('(')) << event.phone;
  }
  EXPECT_LT(static_cast<double>(audio.events().size()),
            mostPhonesIn(line) * static_cast<double>(characters.size()));
}

// A voice file with these lines added.
std::string withLines(const std::string& lines) {
  return "format = 1\nname = Test\nlanguage = sr\npitch.offset = 19.3\npitch.range = 0.272\n"
         "pitch.scale = 34.7\npitch.spread = 0.54\npitch.lowest = 68\npitch.highest = 170\n" +
         lines;
}

// Returns the message of a file that must be rejected.
std::string problemOf(const std::string& lines) {
  Voice voice;
  std::string why;
  EXPECT_FALSE(voice.parse(withLines(lines), why)) << lines;
  return why;
}

}  // namespace

TEST(VoiceFile, NamesTheScriptsOfItsLanguage) {
  Voice voice;
  std::string why;
  ASSERT_TRUE(voice.parse(withLines("scripts = Cyrl  Latn\n"), why)) << why;
  for (const char* const script : {"Cyrl", "Latn"}) EXPECT_TRUE(voice.writes(script)) << script;
  for (const char* const script : {"Grek", "", " ", "Cyr", "yrl", "Cyrl  Latn", "cyrl"}) {
    EXPECT_FALSE(voice.writes(script)) << script;
  }
}

TEST(VoiceFile, IsOfALanguageInLatinLettersIfItDoesNotNameScripts) {
  Voice voice;
  std::string why;
  ASSERT_TRUE(voice.parse(withLines(""), why)) << why;
  EXPECT_TRUE(voice.writes("Latn"));
  EXPECT_FALSE(voice.writes("Cyrl"));
  EXPECT_EQ(voice.voiceFor("Cyrl"), nullptr);
}

TEST(VoiceFile, NamesVoicesForOtherScripts) {
  Voice voice;
  std::string why;
  ASSERT_TRUE(voice.parse(withLines("voice.Grek = ../A b.SpeechVoice/kavrel.voice\n"
                                    "voice.Hani = more/x/kavrel.voice # of Chinese\n"
                                    "voice.Arab = kavrel.voice\n"),
                          why))
      << why;
  ASSERT_NE(voice.voiceFor("Grek"), nullptr);
  EXPECT_EQ(*voice.voiceFor("Grek"), "../A b.SpeechVoice/kavrel.voice");
  ASSERT_NE(voice.voiceFor("Hani"), nullptr);
  EXPECT_EQ(*voice.voiceFor("Hani"), "more/x/kavrel.voice");
  ASSERT_NE(voice.voiceFor("Arab"), nullptr);
  EXPECT_EQ(*voice.voiceFor("Arab"), "kavrel.voice");
  EXPECT_EQ(voice.voiceFor("Cyrl"), nullptr);
}

TEST(VoiceFile, NamesNoVoiceOutsideTheFolderOfItsNeighbours) {
  const std::string folder(250, 'a');
  for (const std::string& path :
       {std::string(), std::string("/v/kavrel.voice"), std::string("../../v/kavrel.voice"),
        std::string("../v/../kavrel.voice"), std::string("v/../kavrel.voice"),
        std::string(".././kavrel.voice"), std::string("..//v/kavrel.voice"), std::string("../v"),
        std::string("../v/other.voice"), std::string("../v/kavrel.voice/"),
        std::string("v\x01/kavrel.voice"), folder + "/kavrel.voice"}) {
    EXPECT_EQ(problemOf("voice.Cyrl = " + path),
              "line 10: voice.Cyrl is not a relative path to a file kavrel.voice")
        << path;
  }
}

TEST(SynthVoices, HaveValidFiles) {
  const auto table = voiceTable();
  EXPECT_EQ(table.size(), 227U);
  std::size_t bundles = 0;
  for (const auto& bundle : std::filesystem::directory_iterator(KAVREL_VOICES_DIR)) {
    EXPECT_TRUE(table.contains(bundle.path().stem().string())) << bundle.path();
    ++bundles;
  }
  EXPECT_EQ(bundles, table.size());
  for (const auto& [name, line] : table) {
    const Voice voice = parsed(name);
    EXPECT_EQ(voice.name(), name);
    EXPECT_TRUE(voice.writes(line.script)) << name;
    EXPECT_GT(voice.ownPitch(), line.gender == "male" ? 75 : 150) << name;
    EXPECT_LT(voice.ownPitch(), line.gender == "male" ? 130 : 260) << name;
  }
}

TEST(SynthVoices, NameVoicesOfTheirGenderForTheScriptsThatTheyDoNotWrite) {
  const auto table = voiceTable();
  for (const auto& [name, line] : table) {
    const Voice voice = parsed(name);
    EXPECT_EQ(voice.voiceFor("Latn"), nullptr) << name;
    for (const char* const script : kOtherScripts) {
      const std::string* const path = voice.voiceFor(script);
      EXPECT_EQ(path == nullptr, voice.writes(script)) << name << ' ' << script;
      if (path == nullptr) continue;
      const std::filesystem::path file = std::filesystem::path(folderOf(name)) / *path;
      EXPECT_TRUE(std::filesystem::exists(file)) << file;
      const Line& other = table.at(file.parent_path().stem().string());
      EXPECT_EQ(other.script, script) << name;
      EXPECT_EQ(other.gender, line.gender == "male" ? "male" : "female") << name;
    }
  }
}

TEST(SynthVoices, SpeakTheirDemoSentenceInTheirOwnLanguage) {
  const auto table = voiceTable();
  for (const char* const name : kSomeVoices) expectToSpeak(table.at(name));
}

TEST(FullSynthVoices, SpeakTheirDemoSentenceInTheirOwnLanguage) {
  for (const auto& [name, line] : voiceTable()) expectToSpeak(line);
}

TEST(SynthVoices, AreLikeCorinByDefault) {
  std::string why;
  const Voice* const corin = kavrel::loadVoice(KAVREL_VOICES_DIR "/Corin.SpeechVoice", why);
  ASSERT_NE(corin, nullptr) << why;
  const Voice& plain = kavrel::defaultVoice();
  EXPECT_EQ(plain.synthesiserName(), corin->synthesiserName());
  for (int hertz = 0; hertz < 250; ++hertz) {
    EXPECT_EQ(plain.rangeFor(hertz), corin->rangeFor(hertz)) << hertz;
    for (const int range : kRanges) {
      EXPECT_EQ(plain.pitchFor(hertz, range), corin->pitchFor(hertz, range)) << hertz;
    }
  }
}
