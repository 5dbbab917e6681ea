// SPDX-License-Identifier: Apache-2.0
//
// The phones of every language: from names to the synthesiser and back.
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "languages/Languages.h"
#include "synth/synthesiser.h"
#include "synth/voice.h"
#include "text/phones.h"

namespace {

// The phones that the synthesiser reports while it speaks `text`, without pauses.
std::vector<std::string> eventsOf(std::wstring_view text, bool hasPhones,
                                  std::string_view language) {
  kavrel::Voice voice;
  std::string why;
  EXPECT_TRUE(voice.parse("format = 1\nname = Test\nlanguage = " + std::string(language) +
                              "\npitch.offset = 19.3\npitch.range = 0.272\npitch.scale = 34.7\n"
                              "pitch.spread = 0.54\npitch.lowest = 68\npitch.highest = 170\n",
                          why))
      << why;
  kavrel::Synthesiser::Input input;
  input.text = text;
  input.hasPhones = hasPhones;
  kavrel::SynthAudio audio;
  EXPECT_TRUE(kavrel::Synthesiser::shared().speak(input, voice, {}, audio, why)) << why;
  std::vector<std::string> names;
  for (const kavrel::SynthAudio::Event& event : audio.events()) {
    if (event.mark == 0 && !event.phone.empty()) names.push_back(event.phone);
  }
  return names;
}

// Our names for the phones that the synthesiser reports for the input `phones`.
std::string spokenPhones(std::string_view phones, std::string_view language) {
  const std::string input = kavrel::synthesiserInput(kavrel::readPhones(phones).phones, language);
  std::string names;
  for (const std::string& event :
       eventsOf(L"[[" + std::wstring(input.begin(), input.end()) + L"]] ", true, language)) {
    for (const std::string_view phone : kavrel::phonesOfEvent(event, language)) {
      names += (names.empty() ? "" : " ") + std::string(phone);
    }
  }
  return names;
}

constexpr std::string_view kVowels[] = {"ae", "ey", "ao", "i",  "eh", "ih", "ay",
                                        "aa", "uw", "uh", "ow", "aw", "oy"};

}  // namespace

TEST(Phones, OfEveryTextAreKnown) {
  for (const languages::Language& language : languages::all()) {
    const std::u32string text =
        languages::charactersOf(std::string(language.text) + " " + std::string(language.plain));
    for (const std::string& event :
         eventsOf(std::wstring(text.begin(), text.end()), false, language.synthesiser)) {
      if (!kavrel::languageOfEvent(event).empty()) continue;
      EXPECT_TRUE(kavrel::isKnownEvent(event)) << event << " in " << language.synthesiser;
    }
  }
}

TEST(Phones, ComeBackInEnglishAtEveryPosition) {
  for (const std::string_view language : {"en-us", "en"}) {
    for (const std::string_view vowel : kVowels) {
      const std::string name(vowel);
      for (const std::string stress : {"0", "1"}) {
        EXPECT_EQ(spokenPhones("s " + name + stress + " p", language), "s " + name + " p");
        EXPECT_EQ(spokenPhones("s ae1 p " + name + stress, language), "s ae p " + name)
            << language << stress;
      }
    }
  }
}

TEST(Phones, AreNotLostInOtherLanguages) {
  for (const languages::Language& language : languages::all()) {
    for (const std::string_view vowel : kVowels) {
      for (const std::string stress : {"0", "1"}) {
        const std::string asked = "s " + std::string(vowel) + stress + " p";
        const std::string came = spokenPhones(asked, language.synthesiser);
        ASSERT_GE(came.size(), 5u) << asked << " in " << language.synthesiser << ": " << came;
        EXPECT_TRUE(came.ends_with(" p")) << came;
        const std::string between = came.substr(2, came.size() - 4);
        EXPECT_TRUE(kavrel::isVowel(between.substr(0, between.find(' '))))
            << asked << " in " << language.synthesiser << ": " << came;
      }
    }
    EXPECT_EQ(spokenPhones("s ah1 p", language.synthesiser).substr(0, 4), "s ah")
        << language.synthesiser;
  }
}
