// SPDX-License-Identifier: Apache-2.0
//
// The synthesiser's phone events and their names in the engine: every event of every language that
// is offered, from a list, and the rules by which they are read.
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "text/phones.h"

namespace kavrel {
namespace {

std::string phones(std::string_view event, std::string_view language) {
  std::string names;
  for (const std::string_view phone : phonesOfEvent(event, language)) {
    names += (names.empty() ? "" : " ") + std::string(phone);
  }
  return names;
}

struct ListedEvent {
  std::string name;
  std::string language;
  std::string phones;
};

// Control characters are written as \xHH.
std::string nameIn(std::string field) {
  const std::size_t at = field.find("\\x");
  if (at == std::string::npos) return field;
  const int code = std::stoi(field.substr(at + 2, 2), nullptr, 16);
  return field.replace(at, 4, 1, static_cast<char>(code));
}

std::vector<ListedEvent> listedEvents() {
  std::vector<ListedEvent> events;
  std::ifstream file(KAVREL_PHONE_EVENTS);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("# ")) continue;
    std::istringstream fields(line);
    ListedEvent event;
    std::getline(fields, event.name, '\t');
    std::getline(fields, event.language, '\t');
    std::getline(fields, event.phones);
    event.name = nameIn(event.name);
    events.push_back(event);
  }
  return events;
}

struct Row {
  std::string_view event;
  std::string_view phones;
};

void expectAll(std::string_view language, const std::vector<Row>& rows) {
  for (const auto& [event, names] : rows) {
    EXPECT_EQ(phones(event, language), names) << event << " in " << language;
  }
}

}  // namespace

TEST(PhoneEvents, OfEveryLanguageAreKnownAndHaveTheListedPhones) {
  const std::vector<ListedEvent> events = listedEvents();
  EXPECT_GT(events.size(), 430u);
  for (const ListedEvent& event : events) {
    EXPECT_TRUE(isKnownEvent(event.name)) << event.name << " in " << event.language;
    EXPECT_EQ(phones(event.name, event.language), event.phones)
        << event.name << " in " << event.language;
  }
}

// Tones and modifiers that stand alone belong to the phone before them.
TEST(PhoneEvents, AreSilentForModifiersOnly) {
  const std::set<std::string> kModifiers = {"1", "2", "3", "4", "5", "6", "7", "8", "9",   "ʰ",
                                            "ʲ", "ː", "̃",  "ᵐ", "ᵑ", "ⁿ", "!", "-", "\x01"};
  for (const ListedEvent& event : listedEvents()) {
    EXPECT_EQ(event.phones.empty(), kModifiers.contains(event.name)) << event.name;
  }
}

TEST(PhoneEvents, AreNamedWithPhonesThatCanBeRead) {
  for (const ListedEvent& event : listedEvents()) {
    EXPECT_TRUE(readPhones(event.phones).unknown.empty()) << event.name;
  }
}

TEST(PhoneEvents, OfEnglishAreItsPhones) {
  expectAll("en-us", {{"æ", "ae"},
                      {"ɑː", "aa"},
                      {"ɜː", "ah r"},
                      {"ᵻ", "ih"},
                      {"ɾ", "t"},
                      {"ɑːɹ", "aa r"},
                      {"oːɹ", "ao r"},
                      {"oː", "ao"},
                      {"ɪɹ", "i r"},
                      {"ɛɹ", "eh r"},
                      {"ɚ", "ah r"},
                      {"aɪɚ", "ay ah r"},
                      {"əl", "ah l"},
                      {"ɐ", "ah"},
                      {"x", "k"}});
  expectAll("en", {{"a", "ae"},
                   {"e", "ey"},
                   {"ɒ", "aa"},
                   {"əʊ", "ow"},
                   {"aɪə", "ay ah"},
                   {"eə", "eh r"},
                   {"ʊə", "uh r"},
                   {"iə", "i ah"},
                   {"n̩", "n"}});
  expectAll("en-gb-scotland", {{"oː", "ow"}, {"ɾ", "r"}});
}

TEST(PhoneEvents, OfGermanAreTheNearest) {
  expectAll("de", {{"a", "aa"},
                   {"yː", "uw"},
                   {"øː", "uh"},
                   {"œ", "uh"},
                   {"ɔø", "oy"},
                   {"ɜ", "ah"},
                   {"ç", "h"},
                   {"x", "h"},
                   {"pf", "p f"},
                   {"ts", "t s"},
                   {"ɛː", "eh"},
                   {"eː", "ey"},
                   {"e", "eh"},
                   {"??", "uh r"},
                   {"ɾ", "r"}});
}

TEST(PhoneEvents, OfFrenchAreTheNearest) {
  expectAll("fr", {{"ɑ̃", "aa n"},
                   {"ɛ̃", "ae n"},
                   {"ɔ̃", "ao n"},
                   {"œ̃", "ah n"},
                   {"y", "uw"},
                   {"ø", "uh"},
                   {"ɲ", "n j"},
                   {"ʁ", "r"},
                   {"a-", "aa"},
                   {"w", "w"}});
}

TEST(PhoneEvents, OfSpanishAreTheNearest) {
  expectAll("es", {{"a", "aa"},
                   {"e", "eh"},
                   {"o", "ao"},
                   {"u", "uw"},
                   {"ɾ", "r"},
                   {"β", "v"},
                   {"ɣ", "g"},
                   {"x", "h"},
                   {"ʎ", "l j"},
                   {"ʝ", "j"},
                   {"eʊ", "eh uw"}});
}

TEST(PhoneEvents, OfPortugueseAreTheNearest) {
  for (const std::string_view language : {"pt", "pt-br"}) {
    expectAll(language, {{"ɐ", "ah"},
                         {"ɐ̃", "ah n"},
                         {"ɐ̃ʊ̃", "aw n"},
                         {"ẽ", "ey n"},
                         {"ĩ", "i n"},
                         {"õ", "ow n"},
                         {"õɪ̃", "oy n"},
                         {"ũ", "uw n"},
                         {"iʊ", "i uw"},
                         {"ʎ", "l j"}});
  }
  expectAll("pt", {{"æ", "ae"}, {"ʃ", "sh"}});
  expectAll("pt-br", {{"æ", "ah"}});
}

TEST(PhoneEvents, OfDutchAreTheNearest) {
  expectAll("nl", {{"ɵ", "uh"},
                   {"ɛɪ", "ey"},
                   {"ʌʊ", "aw"},
                   {"œy", "uh uw"},
                   {"ɣ", "g"},
                   {"ʋ", "v"},
                   {"!", ""},
                   {"yʊ", "uw"}});
}

TEST(PhoneEvents, OfTheNorthAreTheNearest) {
  expectAll("sv", {{"ʉ", "uw"}, {"ɵ", "uh"}, {"ɕ", "sh"}, {"sx", "sh"}, {"ʂ", "sh"}, {"oː", "ow"}});
  expectAll("da", {{"ʔa", "aa"},
                   {"?ɑ", "aa"},
                   {"ʔi", "i"},
                   {"ʔœ", "uh"},
                   {"ʔy", "uw"},
                   {"ɐ̯", "ah"},
                   {"ɔ", "ao"},
                   {"ʔ", "t"},
                   {"ʁ", "r"}});
  expectAll("fi", {{"æ", "ae"},
                   {"y", "uw"},
                   {"yø", "uw uh"},
                   {"æy", "ae uw"},
                   {"æi", "ae i"},
                   {"ie", "i eh"},
                   {"uo", "uw ao"},
                   {"ai", "ay"},
                   {"ou", "ow"}});
  expectAll("nb", {{"ʉː", "uw"}, {"ʉɪ", "uw i"}, {"ɑɪ", "ay"}, {"øy", "uh uw"}});
}

TEST(PhoneEvents, OfOtherLanguagesFollowFeatures) {
  expectAll("hi", {{"c", "ch"}, {"ɟʰ", "jh"}, {"ʈʰ", "t"}, {"aɪ̃", "ay n"}, {"tʃʰ", "ch"}});
  expectAll("el", {{"c", "k"}, {"ɟ", "g"}});
  expectAll("hu", {{"c", "ch"}, {"ɟ", "jh"}});
  expectAll("ru", {{"ju", "j uw"}, {"tʃʲ", "ch"}, {"ʲ", ""}, {"u\"", "uw"}});
  expectAll("ky", {{"S", "sh"}, {"dZ", "jh"}, {"A", "aa"}, {"X", "h"}, {"oe:", "uh"}});
  expectAll("cmn-latn-pinyin", {{"ts.h", "ch"},
                                {"tsh", "t s"},
                                {"tɕh", "ch"},
                                {"kh", "k"},
                                {"s.", "sh"},
                                {"iɑu", "i aw"},
                                {"uei", "uw ey"},
                                {"onɡ", "ao ng"}});
  expectAll("yue", {{"aau", "aw"}, {"eoi", "uh i"}, {"oenɡ", "uh ng"}});
  expectAll("be", {{"ʈ͡ʂ", "ch"}, {"d̻͡z̪", "d z"}});
}

TEST(PhoneEvents, KeepTheTimeOfUnknownNames) {
  for (const std::string_view event : {"@", "\xFF", "\xE2\x82", "日本", "&$"}) {
    EXPECT_FALSE(isKnownEvent(event)) << event;
    EXPECT_EQ(phones(event, "en"), "pau") << event;
  }
  EXPECT_FALSE(isKnownEvent("日t"));
  EXPECT_EQ(phones("日t", "en"), "t");
}

TEST(PhoneEvents, WithoutANameHaveNoPhones) {
  EXPECT_TRUE(isKnownEvent(""));
  EXPECT_EQ(phones("", "en"), "");
}

TEST(PhoneEvents, HaveNoMorePhonesThanAreRead) {
  EXPECT_EQ(phonesOfEvent(std::string(1000, 'p'), "en").size(), 1u);
  std::string text;
  for (int i = 0; i < 500; ++i) text += "pt";
  EXPECT_EQ(phonesOfEvent(text, "en").size(), 8u);
}

TEST(PhoneEvents, FollowLanguageSwitches) {
  EXPECT_EQ(languageOfEvent("(en)"), "en");
  EXPECT_EQ(languageOfEvent("(pt-br)"), "pt-br");
  EXPECT_EQ(languageOfEvent("("), "");
  EXPECT_EQ(languageOfEvent("a"), "");
}

}  // namespace kavrel
