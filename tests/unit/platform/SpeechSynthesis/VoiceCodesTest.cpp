// SPDX-License-Identifier: Apache-2.0
//
// Locales and the codes of their script, language and region.
#include <string>

#include <gtest/gtest.h>

#include "SpeechSynthesis/bundles/VoiceCodes.h"

namespace {

using platform::codesOf;
using platform::isLocale;
using platform::shortLocaleOf;

struct Row {
  const char* locale;
  int script;
  int language;
  int region;
};

}  // namespace

TEST(VoiceCodes, AreThoseOfTheListedLocale) {
  // By their numbers, since clients may not have the names.
  constexpr Row kRows[] = {
      {"en_US", 0, 0, 0},     {"fr_CA", 0, 1, 11},   {"ru_RU", 7, 32, 49},  {"el_GR", 6, 14, 20},
      {"pl_PL", 29, 25, 42},  {"ar_001", 4, 12, 16}, {"fa_IR", 4, 31, 48},  {"sd_PK", 31, 62, -1},
      {"hi_IN", 9, 21, 33},   {"zh_CN", 25, 33, 52}, {"zh_TW", 2, 19, 53},  {"yue_HK", 2, 19, -1},
      {"ko_KR", 3, 23, 51},   {"vi_VN", 30, 80, 97}, {"am_ET", 28, 85, -1}, {"ka_GE", 23, 52, 85},
      {"hyw_AM", 24, 51, 84}, {"eo", 0, 94, 103},    {"grc", 6, 148, 40},   {"es_419", 0, 6, 86},
      {"ba_RU", 7, -1, -1},   {"jbo", 0, -1, -1},    {"uz_UZ", 0, 47, 99},  {"sr_RS", 7, 42, 65},
  };
  for (const Row& row : kRows) {
    const platform::VoiceCodes codes = codesOf(row.locale);
    EXPECT_EQ(codes.script, row.script) << row.locale;
    EXPECT_EQ(codes.language, row.language) << row.locale;
    EXPECT_EQ(codes.region, row.region) << row.locale;
  }
}

TEST(VoiceCodes, AreThoseOfTheRegionForVariantsAndOfTheLanguageForUnlistedRegions) {
  constexpr Row kRows[] = {
      {"en_GB_x_rp", 0, 0, 2},   {"vi_VN_x_south", 30, 80, 97}, {"en_029", 0, 0, -1},
      {"de_LI", 0, 2, -1},       {"ru_LV", 7, 32, -1},          {"sr_Latn_RS", 0, 42, -1},
      {"zh_Hant", 2, 33, -1},    {"uz_Cyrl_UZ", 7, 47, -1},     {"xx_XX", 0, -1, -1},
      {"xx_Cyrl_XX", 7, -1, -1}, {"xx_Abcd", 0, -1, -1},        {"", 0, -1, -1},
  };
  for (const Row& row : kRows) {
    const platform::VoiceCodes codes = codesOf(row.locale);
    EXPECT_EQ(codes.script, row.script) << row.locale;
    EXPECT_EQ(codes.language, row.language) << row.locale;
    EXPECT_EQ(codes.region, row.region) << row.locale;
  }
}

TEST(VoiceLocales, AreALanguageScriptRegionAndVariantsInThatOrder) {
  for (const char* const locale :
       {"en", "yue", "en_US", "es_419", "zh_Hant", "zh_Hant_TW", "sr_Latn_RS_ekavsk",
        "en_GB_x_gbclan", "en_GB_scotland", "de_1996", "sl_IT_nedis_x_abcdefgh"}) {
    EXPECT_TRUE(isLocale(locale)) << locale;
  }
  for (const char* const locale : {"",
                                   "_",
                                   "e",
                                   "english",
                                   "EN",
                                   "En",
                                   "en-US",
                                   "en_",
                                   "_US",
                                   "en__US",
                                   "en_us_US",
                                   "en_US_",
                                   "en_US_GB",
                                   "en_US_Hant",
                                   "en_Hant_Hans",
                                   "en_abcdefghi",

                                   "e1_US",
                                   "en US",
                                   "en_US_abcdefgh_abcdefgh_abcdefgh",
                                   "\xC3\xA9n"}) {
    EXPECT_FALSE(isLocale(locale)) << locale;
  }
}

TEST(VoiceLocales, HaveAFormOfAtMostFiveCharacters) {
  const struct {
    const char* locale;
    const char* shortForm;
  } table[] = {{"en_US", "en_US"}, {"en_GB_x_rp", "en_GB"}, {"eo", "eo"},   {"yue_HK", "yue"},
               {"es_419", "es"},   {"zh_Hant_TW", "zh"},    {"jbo", "jbo"}, {"de_1996", "de"}};
  for (const auto& row : table) EXPECT_EQ(shortLocaleOf(row.locale), row.shortForm);
}
