// SPDX-License-Identifier: Apache-2.0
//
// Voice files: the keys about other scripts. The project's voices, as loaded by the engine.
#include "synth/voice.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "synth/voice.h"
#include "synth/voice_cache.h"

using kavrel::Voice;

namespace {

constexpr int kRanges[] = {0, 25, 50, 75, 99};

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

TEST(SynthVoices, AreAllLoaded) {
  std::string why;
  int count = 0;
  for (const auto& bundle : std::filesystem::directory_iterator(KAVREL_VOICES_DIR)) {
    const Voice* const voice = kavrel::loadVoice(bundle.path().string(), why);
    ASSERT_NE(voice, nullptr) << why;
    EXPECT_EQ(voice->name(), bundle.path().stem());
    ++count;
  }
  EXPECT_GT(count, 20);
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
