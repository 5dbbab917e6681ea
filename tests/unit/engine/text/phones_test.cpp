// SPDX-License-Identifier: Apache-2.0
//
// Phone names: from the synthesiser's events, and to its input.
#include "text/phones.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace kavrel {
namespace {

using Names = std::vector<std::string>;

Names ofEvent(std::string_view event) {
  const auto phones = phonesOfEvent(event);
  return {phones.begin(), phones.end()};
}

std::vector<Phone> phonesOf(std::string_view text) {
  return readPhones(text).phones;
}

std::string input(std::string_view text) {
  return synthesiserInput(phonesOf(text));
}

constexpr const char* kNames =
    "pau ae ey ao ah i eh ih ay aa uw uh ow aw oy b ch d dh f g h jh k l m n ng p r s sh t th v w "
    "j z zh .";

TEST(PhonesOfEvents, AreNamedAfterTheirSound) {
  const std::pair<const char*, Names> rows[] = {
      {"a", {"ae"}},       {"@", {"ah"}},       {"V", {"ah"}},
      {"tS", {"ch"}},      {"D", {"dh"}},       {"t#", {"t"}},
      {"?", {"t"}},        {"N", {"ng"}},       {"b", {"b"}},
      {"_:", {"pau"}},     {"_", {"pau"}},      {"3:", {"ah", "r"}},
      {"@L", {"ah", "l"}}, {"i@3", {"i", "r"}}, {"aI3", {"ay", "ah", "r"}},
      {"O~", {"ao", "n"}}, {"i:", {"i"}},       {"I2", {"ih"}},
      {"u:", {"uw"}},      {"U@", {"uh", "r"}},
  };
  for (const auto& [event, names] : rows) EXPECT_EQ(ofEvent(event), names) << event;
}

TEST(PhonesOfEvents, AreEmptyForWhatHasNoSound) {
  for (const char* event : {";", "_!", "_|"}) EXPECT_EQ(ofEvent(event), Names{}) << event;
}

TEST(PhonesOfEvents, UseTheNearestNameWhenUnknown) {
  EXPECT_EQ(ofEvent("tS;"), Names{"ch"});
  EXPECT_EQ(ofEvent("E#2"), Names{"eh"});
  EXPECT_EQ(ofEvent("R"), Names{"r"});
  EXPECT_EQ(ofEvent("#X1"), Names{"pau"});
  EXPECT_EQ(ofEvent(""), Names{"pau"});
  EXPECT_EQ(ofEvent("\xFF"), Names{"pau"});
}

TEST(PhonesOfEvents, AreAllNamesThatCanBeRead) {
  for (int c = 1; c < 256; ++c) {
    for (const std::string& name : ofEvent(std::string(1, static_cast<char>(c)))) {
      EXPECT_EQ(phonesOf(name), (std::vector<Phone>{{name, -1}}));
    }
  }
}

TEST(ReadPhones, ReadsEveryName) {
  const PhoneText read = readPhones(kNames);
  EXPECT_EQ(read.phones.size(), 40u);
  EXPECT_TRUE(read.unknown.empty());
  std::set<std::string> names;
  for (const Phone& phone : read.phones) {
    EXPECT_EQ(phone.stress, -1);
    names.insert(phone.name);
  }
  EXPECT_EQ(names.size(), 40u);
}

TEST(ReadPhones, ReadsStress) {
  EXPECT_EQ(phonesOf("d ae1 t"), (std::vector<Phone>{{"d", -1}, {"ae", 1}, {"t", -1}}));
  EXPECT_EQ(phonesOf(" ah0\tuw1\r\n"), (std::vector<Phone>{{"ah", 0}, {"uw", 1}}));
  EXPECT_EQ(phonesOf("ey2 b1"), (std::vector<Phone>{{"ey", 0}, {"b", -1}}));
}

TEST(ReadPhones, SplitsRunsByTheLongestName) {
  EXPECT_EQ(phonesOf("ae1b"), (std::vector<Phone>{{"ae", 1}, {"b", -1}}));
  EXPECT_EQ(phonesOf("dhah0pau"), (std::vector<Phone>{{"dh", -1}, {"ah", 0}, {"pau", -1}}));
  EXPECT_EQ(phonesOf("ih1ngzh"), (std::vector<Phone>{{"ih", 1}, {"ng", -1}, {"zh", -1}}));
  EXPECT_EQ(phonesOf("th"), (std::vector<Phone>{{"th", -1}}));
}

TEST(ReadPhones, SkipsAndReportsUnknownNames) {
  const PhoneText read = readPhones("b foo ae1 AE x1 d");
  EXPECT_EQ(read.phones, (std::vector<Phone>{{"b", -1}, {"ae", 1}, {"d", -1}}));
  EXPECT_EQ(read.unknown, (Names{"foo", "AE", "x1"}));
}

TEST(ReadPhones, ReportsNoMoreThanALineHolds) {
  std::string text(100, 'q');
  for (int i = 0; i < 1000; ++i) text += " ?";
  const PhoneText read = readPhones(text);
  EXPECT_TRUE(read.phones.empty());
  ASSERT_EQ(read.unknown.size(), PhoneText::kMaxUnknown);
  EXPECT_EQ(read.unknown[0], std::string(32, 'q'));
}

TEST(ReadPhones, ReadsAMegabyteWithoutABlank) {
  std::string text;
  while (text.size() < (1u << 20)) text += "ae1b";
  EXPECT_EQ(readPhones(text).phones.size(), text.size() / 2);
  text += "$";
  EXPECT_TRUE(readPhones(text).phones.empty());
}

TEST(SynthesiserInput, JoinsAndStresses) {
  EXPECT_EQ(input("d ae1 t"), "d|'a|t");
  EXPECT_EQ(input("h ah0 l ow1"), "h|%@|l|'oU");
  EXPECT_EQ(input("ah1"), "'V");
  EXPECT_EQ(input("ah"), "@");
  EXPECT_EQ(input("pau dh ih0 s"), "_:|D|%I#|s");
  EXPECT_EQ(input("ch jh sh zh th dh ng j"), "tS|dZ|S|Z|T|D|N|j");
}

TEST(SynthesiserInput, UsesTheNearestVowelOfALanguage) {
  const std::vector<Phone> phones = phonesOf("ah1 aa1 uh1");
  EXPECT_EQ(synthesiserInput(phones, "en-us"), "'V|'A:|'U");
  EXPECT_EQ(synthesiserInput(phones, "de"), "'@|'A:|'U");
  EXPECT_EQ(synthesiserInput(phones, "pt-br"), "'@|'A:|'U");
  EXPECT_EQ(synthesiserInput(phones, "fr"), "'@|'a|'u");
}

TEST(SynthesiserInput, OmitsWhatHasNoSound) {
  EXPECT_EQ(input(". b . d ."), "b|d");
  EXPECT_EQ(input("."), "");
  EXPECT_EQ(synthesiserInput({}), "");
  const std::vector<Phone> unknown = {{"qq", -1}, {"b", -1}};
  EXPECT_EQ(synthesiserInput(unknown), "b");
}

// Phones given to the synthesiser come back under the same names in its events.
TEST(SynthesiserInput, ComesBackUnderTheSameName) {
  for (const Phone& phone : phonesOf(kNames)) {
    if (phone.name == ".") continue;
    EXPECT_EQ(ofEvent(synthesiserInput(std::span(&phone, 1))), Names{phone.name});
  }
}

TEST(Phones, RecognisesVowels) {
  for (const char* vowel : {"ae", "i", "oy", "ah"}) EXPECT_TRUE(isVowel(vowel)) << vowel;
  for (const char* other : {"b", "pau", ".", "zh", "qq", ""}) EXPECT_FALSE(isVowel(other)) << other;
}

}  // namespace
}  // namespace kavrel
