// SPDX-License-Identifier: Apache-2.0
//
// Phone names: as they are written, and to the synthesiser's input.
#include "text/phones.h"

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace kavrel {
namespace {

using Names = std::vector<std::string>;

std::vector<Phone> phonesOf(std::string_view text) {
  return readPhones(text).phones;
}

std::string input(std::string_view text) {
  return synthesiserInput(phonesOf(text));
}

constexpr const char* kNames =
    "pau ae ey ao ah i eh ih ay aa uw uh ow aw oy b ch d dh f g h jh k l m n ng p r s sh t th v w "
    "j z zh .";

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

TEST(SynthesiserInput, UsesTheNearestSoundOfALanguage) {
  const std::vector<Phone> phones = phonesOf("ah1 aa1 uh1");
  EXPECT_EQ(synthesiserInput(phones, "en-us"), "'V|'A:|'U");
  EXPECT_EQ(synthesiserInput(phones, "de"), "'@|'A:|'U");
  EXPECT_EQ(synthesiserInput(phones, "pt-br"), "'@|'A:|'U");
  EXPECT_EQ(synthesiserInput(phones, "it"), "'@|'a|'U");
  EXPECT_EQ(synthesiserInput(phones, "eo"), "'@|'a|'u");
}

TEST(SynthesiserInput, OfALanguageThatIsNotOfferedIsThatOfItsFirstPart) {
  const std::vector<Phone> phones = phonesOf("ah1 aa1 uh1");
  EXPECT_EQ(synthesiserInput(phones, "it-ch"), synthesiserInput(phones, "it"));
  EXPECT_EQ(synthesiserInput(phones, "tlh"), "'V|'A:|'U");
  EXPECT_EQ(synthesiserInput(phones, ""), "'V|'A:|'U");
}

TEST(SynthesiserInput, IsUsualWithoutALanguage) {
  EXPECT_EQ(usualInput("ah", 1), "V");
  EXPECT_EQ(usualInput("ah", 0), "@");
  EXPECT_EQ(usualInput("ch", -1), "tS");
  EXPECT_EQ(usualInput(".", -1), "");
  EXPECT_EQ(usualInput("qq", -1), "");
}

TEST(SynthesiserInput, OmitsWhatHasNoSound) {
  EXPECT_EQ(input(". b . d ."), "b|d");
  EXPECT_EQ(input("."), "");
  EXPECT_EQ(synthesiserInput({}), "");
  const std::vector<Phone> unknown = {{"qq", -1}, {"b", -1}};
  EXPECT_EQ(synthesiserInput(unknown), "b");
}

TEST(Phones, RecognisesVowels) {
  for (const char* vowel : {"ae", "i", "oy", "ah"}) EXPECT_TRUE(isVowel(vowel)) << vowel;
  for (const char* other : {"b", "pau", ".", "zh", "qq", ""}) EXPECT_FALSE(isVowel(other)) << other;
}

}  // namespace
}  // namespace kavrel
