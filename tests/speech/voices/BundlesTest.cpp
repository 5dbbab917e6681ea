// SPDX-License-Identifier: Apache-2.0
//
// The project's voices, as listed by the Manager.
#include <ApplicationServices/ApplicationServices.h>

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "languages/Languages.h"

namespace {

using testing::UnorderedElementsAre;

struct Found {
  VoiceDescription description{};
  std::string locale;
};

std::string textOf(const unsigned char* string) {
  return {reinterpret_cast<const char*>(string + 1), string[0]};
}

std::vector<Found> allVoices() {
  SInt16 count = 0;
  EXPECT_EQ(CountVoices(&count), noErr);
  std::vector<Found> voices;
  for (SInt16 index = 1; index <= count; ++index) {
    VoiceSpec spec{};
    EXPECT_EQ(GetIndVoice(index, &spec), noErr);
    Found& found = voices.emplace_back();
    EXPECT_EQ(GetVoiceDescription(&spec, &found.description, sizeof found.description), noErr);
    VoiceLocale locale{};
    EXPECT_EQ(GetVoiceInfo(&spec, soVoiceLocale, &locale), noErr);
    found.locale = locale.identifier;
  }
  return voices;
}

}  // namespace

TEST(ProjectVoices, AreAManAndAWomanForEachLocale) {
  std::map<std::string, std::multiset<SInt16>> genders;
  for (const Found& voice : allVoices()) genders[voice.locale].insert(voice.description.gender);
  EXPECT_EQ(genders.size(), languages::all().size());
  for (const languages::Language& language : languages::all()) {
    const std::string locale(language.locale);
    if (locale == "en_US") {
      EXPECT_THAT(genders[locale], UnorderedElementsAre(kMale, kFemale, kNeuter));
    } else {
      EXPECT_THAT(genders[locale], UnorderedElementsAre(kMale, kFemale)) << locale;
    }
  }
}

TEST(ProjectVoices, HaveTheCodesOfTheirLanguageAndRegion) {
  const std::map<std::string, std::pair<int, int>> codes = {
      {"en_US", {0, 0}},  {"en_GB", {0, 2}},  {"fr_FR", {1, 1}},  {"de_DE", {2, 3}},
      {"it_IT", {3, 4}},  {"nl_NL", {4, 5}},  {"sv_SE", {5, 7}},  {"es_ES", {6, 8}},
      {"da_DK", {7, 9}},  {"pt_PT", {8, 10}}, {"nb_NO", {9, 12}}, {"fi_FI", {13, 17}},
      {"pt_BR", {8, 71}},
  };
  for (const Found& voice : allVoices()) {
    const VoiceDescription& description = voice.description;
    ASSERT_TRUE(codes.contains(voice.locale)) << voice.locale;
    const auto& [language, region] = codes.at(voice.locale);
    EXPECT_EQ(SInt16{description.language}, language) << voice.locale;
    EXPECT_EQ(SInt16{description.region}, region) << voice.locale;
    EXPECT_EQ(SInt16{description.script}, smRoman) << voice.locale;
  }
}

TEST(ProjectVoices, HaveNumbersDerivedFromTheirRegionAndGender) {
  for (const Found& voice : allVoices()) {
    const VoiceDescription& description = voice.description;
    const int digit = description.gender == kMale ? 1 : description.gender == kFemale ? 2 : 3;
    EXPECT_EQ(OSType{description.voice.id},
              static_cast<OSType>(100 + 10 * description.region + digit))
        << textOf(description.name);
    EXPECT_EQ(OSType{description.voice.creator}, 0x4B56524CU);
  }
}

TEST(ProjectVoices, HaveNamesAndSentencesOfTheirOwn) {
  std::set<std::string> names;
  std::set<std::string> sentences;
  for (const Found& voice : allVoices()) {
    names.insert(textOf(voice.description.name));
    sentences.insert(textOf(voice.description.comment));
    EXPECT_GT(voice.description.comment[0], 40) << textOf(voice.description.name);
  }
  EXPECT_EQ(names.size(), allVoices().size());
  EXPECT_EQ(sentences.size(), allVoices().size());
}

TEST(ProjectVoices, HaveSentencesInMacOSRoman) {
  for (const Found& voice : allVoices()) {
    if (textOf(voice.description.name) != "Roswitha") continue;
    EXPECT_EQ(textOf(voice.description.comment).substr(0, 18), "Stell die Sch\x9Fssel");
    return;
  }
  ADD_FAILURE() << "the voice Roswitha is missing";
}

TEST(ProjectVoices, DefaultToAnAmericanMan) {
  VoiceDescription description{};
  ASSERT_EQ(GetVoiceDescription(nullptr, &description, sizeof description), noErr);
  EXPECT_EQ(textOf(description.name), "Corin");
}
