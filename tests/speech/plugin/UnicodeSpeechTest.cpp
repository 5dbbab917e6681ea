// SPDX-License-Identifier: Apache-2.0
//
// Strings in Unicode through the Manager, the plug-in and the engine: texts of Mac OS Roman sound
// as they do as bytes, and each word of each language is reported at its own UTF-16 units.
#include <ApplicationServices/ApplicationServices.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ManagerClient.h"
#include "languages/Samples.h"

namespace {

using Client = speech::ManagerClient;
using languages::Sample;
using speech::TemporaryFolder;
using speech::Word;

CFStringRef stringOf(const std::string& text, CFStringEncoding encoding) {
  return CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                                 static_cast<CFIndex>(text.size()), encoding, false);
}

std::string contentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// What a text sounds like: the words at their positions, and the file.
struct Spoken {
  std::vector<std::pair<unsigned long, unsigned long>> words;
  std::string audio;
  bool operator==(const Spoken&) const = default;
};

class UnicodeSpeech : public testing::Test {
 protected:
  // Speaks with `start`, a call that starts a text on the channel.
  template <typename Start>
  Spoken speak(Start start, const VoiceSpec* voice = nullptr) {
    Client client;
    if (voice != nullptr) {
      EXPECT_EQ(SetSpeechInfo(client.channel(), soCurrentVoice, voice), noErr);
    }
    client.writeTo(m_folder / "text.aiff");
    EXPECT_EQ(start(client.channel()), noErr);
    EXPECT_TRUE(client.waitForEnds(1));
    Spoken spoken;
    for (const Word& word : client.words()) spoken.words.emplace_back(word.position, word.length);
    spoken.audio = contentsOf(m_folder / "text.aiff");
    return spoken;
  }

  Spoken speakBytes(const std::string& macRoman) {
    return speak([&](SpeechChannel channel) {
      return SpeakBuffer(channel, macRoman.data(), macRoman.size(), 0);
    });
  }
  Spoken speakString(const std::string& text, CFStringEncoding encoding,
                     const VoiceSpec* voice = nullptr) {
    const CFStringRef string = stringOf(text, encoding);
    const Spoken spoken = speak(
        [&](SpeechChannel channel) { return SpeakCFString(channel, string, nullptr); }, voice);
    CFRelease(string);
    return spoken;
  }

  TemporaryFolder m_folder;
};

// ---- Mac OS Roman

// The characters that ISO 8859-15 has too. The others are spoken by the voice in a string, and in
// their plain form as bytes.
std::string sharedCharacters() {
  std::string shared;
  for (int byte = 0x80; byte < 0x100; ++byte) {
    const auto character = static_cast<char>(byte);
    const CFStringRef string = stringOf({character}, kCFStringEncodingMacRoman);
    UniChar unit = 0;
    CFStringGetCharacters(string, {0, 1}, &unit);
    CFRelease(string);
    const bool isLatin1 =
        unit < 0x100 && std::u16string_view(u"¤¦¨´¸¼½¾").find(unit) == std::u16string_view::npos;
    const bool isLatin9 = std::u16string_view(u"€ŠšŽžŒœŸ").find(unit) != std::u16string_view::npos;
    if (isLatin1 || isLatin9) shared += character;
  }
  return shared;
}

// One byte is one unit, so the positions are the same too.
TEST_F(UnicodeSpeech, SoundsAsInMacRomanForTextsOfMacRoman) {
  const std::string letters = sharedCharacters();
  ASSERT_GT(letters.size(), 70U);
  const std::vector<std::string> parts = {"the ",       "caf\x8E ",
                                          "OS X ",      "[[rate 300]]",
                                          "[[emph +]]", "5 ",
                                          ". ",         "na\x95ve",
                                          "\xC7",       "[[sync 1]]",
                                          "& ",         "\n\n",
                                          "Z\x9Frich ", "[[char LTRL]]a\x8E[[char NORM]] "};
  std::mt19937 random(11);
  for (int round = 0; round < 12; ++round) {
    std::string text;
    for (int count = 0; count < 12; ++count) {
      text += random() % 3 != 0 ? parts[random() % parts.size()]
                                : std::string(1, letters[random() % letters.size()]) + " ";
    }
    const Spoken bytes = speakBytes(text);
    const Spoken string = speakString(text, kCFStringEncodingMacRoman);
    EXPECT_EQ(string.words, bytes.words) << testing::PrintToString(text);
    EXPECT_TRUE(string.audio == bytes.audio) << testing::PrintToString(text);
  }
}

// ---- All languages

// The first voice of the locale; false if there is none.
bool findVoice(const std::string& locale, VoiceSpec& voice) {
  SInt16 count = 0;
  CountVoices(&count);
  for (SInt16 index = 1; index <= count; ++index) {
    VoiceLocaleName found{};
    if (GetIndVoice(index, &voice) != noErr) continue;
    GetVoiceInfo(&voice, soVoiceLocaleName, &found);
    if (locale == found.identifier) return true;
  }
  return false;
}

// The units of the string, in UTF-8.
std::string partOf(const std::string& text, unsigned long position, unsigned long length) {
  const CFStringRef string = stringOf(text, kCFStringEncodingUTF8);
  const CFStringRef part = CFStringCreateWithSubstring(
      nullptr, string, {static_cast<CFIndex>(position), static_cast<CFIndex>(length)});
  CFRelease(string);
  if (part == nullptr) return "outside";
  std::string utf8(200, '\0');
  CFStringGetCString(part, utf8.data(), 200, kCFStringEncodingUTF8);
  CFRelease(part);
  return utf8.c_str();
}

class SampleSpeech : public UnicodeSpeech {
 protected:
  // Speaks the samples of `locales`, or all. Returns their number.
  int speakSamples(const std::set<std::string>& locales = {}) {
    int spoken = 0;
    for (const Sample& sample : languages::samplesIn(KAVREL_SAMPLES)) {
      VoiceSpec voice{};
      if (!locales.empty() && !locales.contains(sample.locale)) continue;
      if (!findVoice(sample.locale, voice)) ADD_FAILURE() << "no voice for " << sample.locale;
      SCOPED_TRACE(sample.locale);
      checkWords(sample, speakString(sample.text, kCFStringEncodingUTF8, &voice));
      ++spoken;
    }
    return spoken;
  }

 private:
  static void checkWords(const Sample& sample, const Spoken& spoken) {
    std::vector<std::string> words;
    std::string joined;
    for (const auto& [position, length] : spoken.words) {
      words.push_back(partOf(sample.text, position, length));
      joined += words.back();
    }
    if (sample.hasBlanks) {
      EXPECT_EQ(words, sample.words());
    } else {
      EXPECT_EQ(joined + "。", sample.text);
      EXPECT_GT(words.size(), 5U);
    }
    constexpr std::size_t kHalfASecond = 22050;
    EXPECT_GT(spoken.audio.size(), kHalfASecond);
  }
};

TEST_F(SampleSpeech, ReportsEachWordAtItsOwnUnits) {
  EXPECT_EQ(speakSamples({"de_DE", "fr_FR", "ru_RU", "hi_IN", "zh_CN", "ar_001"}), 6);
}

using FullSampleSpeech = SampleSpeech;

TEST_F(FullSampleSpeech, ReportsEachWordInEveryLanguage) {
  EXPECT_EQ(speakSamples(), 113);
}

}  // namespace
