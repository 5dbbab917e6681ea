// SPDX-License-Identifier: Apache-2.0
//
// The project's voices, as listed by the Manager.
#include <ApplicationServices/ApplicationServices.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "languages/Languages.h"

namespace {

using testing::IsEmpty;
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
    VoiceLocaleName locale{};
    EXPECT_EQ(GetVoiceInfo(&spec, soVoiceLocaleName, &locale), noErr);
    found.locale = locale.identifier;
    VoiceLocale shorter{};
    EXPECT_EQ(GetVoiceInfo(&spec, soVoiceLocale, &shorter), noErr);
    EXPECT_TRUE(found.locale.starts_with(shorter.identifier)) << found.locale;
    EXPECT_GE(std::string(shorter.identifier).size(), 2U);
  }
  return voices;
}

}  // namespace

TEST(ProjectVoices, AreAManAndAWomanForEachLocale) {
  std::map<std::string, std::multiset<SInt16>> genders;
  for (const Found& voice : allVoices()) genders[voice.locale].insert(voice.description.gender);
  EXPECT_EQ(genders.size(), 113U);
  for (const languages::Language& language : languages::all()) {
    EXPECT_TRUE(genders.contains(std::string(language.locale))) << language.locale;
  }
  for (const auto& [locale, found] : genders) {
    if (locale == "en_US") {
      EXPECT_THAT(found, UnorderedElementsAre(kMale, kFemale, kNeuter));
    } else {
      EXPECT_THAT(found, UnorderedElementsAre(kMale, kFemale)) << locale;
    }
  }
}

TEST(ProjectVoices, HaveTheCodesOfTheirLanguageAndRegion) {
  struct Codes {
    int script;
    int language;
    int region;
  };
  const std::map<std::string, Codes> codes = {
      {"en_US", {0, 0, 0}},     {"en_GB", {0, 0, 2}},    {"fr_FR", {0, 1, 1}},
      {"de_DE", {0, 2, 3}},     {"it_IT", {0, 3, 4}},    {"nl_NL", {0, 4, 5}},
      {"sv_SE", {0, 5, 7}},     {"es_ES", {0, 6, 8}},    {"da_DK", {0, 7, 9}},
      {"pt_PT", {0, 8, 10}},    {"nb_NO", {0, 9, 12}},   {"fi_FI", {0, 13, 17}},
      {"pt_BR", {0, 8, 71}},    {"en_029", {0, 0, -1}},  {"en_GB_x_rp", {0, 0, 2}},
      {"af_ZA", {0, 141, 102}}, {"ar_001", {4, 12, 16}}, {"az_AZ", {0, 150, -1}},
      {"ba_RU", {7, -1, -1}},   {"be_BY", {7, 46, 61}},  {"bg_BG", {7, 44, 72}},
      {"bn_BD", {13, 67, 60}},  {"cs_CZ", {29, 38, 56}}, {"cy_GB", {0, 128, 79}},
      {"el_GR", {6, 14, 20}},   {"eo", {0, 94, 103}},    {"es_419", {0, 6, 86}},
      {"fa_IR", {4, 31, 48}},   {"gu_IN", {11, 69, 94}}, {"hi_IN", {9, 21, 33}},
      {"hy_AM", {24, 51, 84}},  {"is_IS", {0, 15, 21}},  {"ka_GE", {23, 52, 85}},
      {"ko_KR", {3, 23, 51}},   {"pa_IN", {10, 70, 95}}, {"pl_PL", {29, 25, 42}},
      {"ru_RU", {7, 32, 49}},   {"ru_LV", {7, 32, -1}},  {"sd_PK", {31, 62, -1}},
      {"sr_RS", {7, 42, 65}},   {"ta_IN", {14, 74, -1}}, {"tr_TR", {0, 17, 24}},
      {"uk_UA", {7, 45, 62}},   {"ur_PK", {4, 20, 34}},  {"vi_VN", {30, 80, 97}},
      {"yue_HK", {2, 19, -1}},  {"zh_CN", {25, 33, 52}}, {"am_ET", {28, 85, -1}},
  };
  std::set<std::string> missing;
  for (const auto& [locale, expected] : codes) missing.insert(locale);
  for (const Found& voice : allVoices()) {
    const VoiceDescription& description = voice.description;
    missing.erase(voice.locale);
    if (!codes.contains(voice.locale)) continue;
    const Codes& expected = codes.at(voice.locale);
    EXPECT_EQ(SInt16{description.script}, expected.script) << voice.locale;
    EXPECT_EQ(SInt16{description.language}, expected.language) << voice.locale;
    EXPECT_EQ(SInt16{description.region}, expected.region) << voice.locale;
  }
  EXPECT_THAT(missing, IsEmpty());
}

// Numbers of voices are stored by clients, so the first 27 have those of their region, and the
// others those of their locale in the order of addition.
TEST(ProjectVoices, HaveNumbersDerivedFromTheirRegionOrLocaleAndGender) {
  std::map<std::string, std::set<OSType>> numbers;
  std::set<OSType> all;
  for (const Found& voice : allVoices()) {
    const VoiceDescription& description = voice.description;
    const OSType id = description.voice.id;
    const int digit = description.gender == kMale ? 1 : description.gender == kFemale ? 2 : 3;
    const auto isThisLocale = [&voice](const auto& known) { return known.locale == voice.locale; };
    if (std::ranges::any_of(languages::all(), isThisLocale)) {
      EXPECT_EQ(id, static_cast<OSType>(100 + 10 * description.region + digit)) << voice.locale;
    } else {
      EXPECT_GT(id, 10000U) << voice.locale;
      EXPECT_EQ(id % 10, static_cast<OSType>(digit)) << voice.locale;
    }
    numbers[voice.locale].insert(id / 10);
    all.insert(id);
    EXPECT_EQ(OSType{description.voice.creator}, 0x4B56524CU);
  }
  for (const auto& [locale, found] : numbers) EXPECT_EQ(found.size(), 1U) << locale;
  EXPECT_EQ(all.size(), allVoices().size());
}

TEST(ProjectVoices, HaveNamesAndSentencesOfTheirOwn) {
  std::set<std::string> names;
  std::set<std::string> sentences;
  for (const Found& voice : allVoices()) {
    names.insert(textOf(voice.description.name));
    sentences.insert(textOf(voice.description.comment));
    EXPECT_GT(voice.description.comment[0], 36) << textOf(voice.description.name);
  }
  EXPECT_EQ(names.size(), allVoices().size());
  // Two voices may have the same sentence, as may close languages.
  EXPECT_GE(sentences.size(), 160U);
}

TEST(ProjectVoices, HaveSentencesInMacOSRoman) {
  for (const Found& voice : allVoices()) {
    if (textOf(voice.description.name) != "Roswitha") continue;
    EXPECT_EQ(textOf(voice.description.comment).substr(0, 18), "Stell die Sch\x9Fssel");
    return;
  }
  ADD_FAILURE() << "the voice Roswitha is missing";
}

TEST(ProjectVoices, HaveSentencesInUtf8WhereMacOSRomanLacksTheirLetters) {
  for (const Found& voice : allVoices()) {
    if (textOf(voice.description.name) != "Pelageya") continue;
    EXPECT_EQ(textOf(voice.description.comment).substr(0, 13),
              "\u041D\u0430 \u0441\u0442\u043E\u043B");
    return;
  }
  ADD_FAILURE() << "the voice Pelageya is missing";
}

TEST(ProjectVoices, DefaultToAnAmericanMan) {
  VoiceDescription description{};
  ASSERT_EQ(GetVoiceDescription(nullptr, &description, sizeof description), noErr);
  EXPECT_EQ(textOf(description.name), "Corin");
}
