// SPDX-License-Identifier: Apache-2.0
//
// The synthesiser's phone events and their names in the engine, language by language.
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "text/phones.h"

namespace kavrel {
namespace {

// The names in a text, separated by blanks.
std::vector<std::string> splitNames(std::string_view text) {
  std::istringstream stream{std::string(text)};
  std::vector<std::string> names;
  for (std::string name; stream >> name;) names.push_back(name);
  return names;
}

std::string phones(std::string_view event, std::string_view language) {
  std::string names;
  for (const std::string_view phone : phonesOfEvent(event, language)) {
    names += (names.empty() ? "" : " ") + std::string(phone);
  }
  return names;
}

// Every event that the synthesiser reports for all syllables of a language's letters, and for
// numbers.
constexpr std::pair<std::string_view, std::string_view> kHeard[] = {
    {"en-us",
     "0 3 3: ; @ @- @L A: A@ D E I I# I2 N O2 O: O@ OI S T U U@ V Z _ _! _: a a# aI aI3 aI@ aU aa "
     "b d dZ e@ eI f g h i i: i@ i@3 j k l m n o@ oU p r r- s t t# t2 tS u: v w z"},
    {"en",
     "0 3 3: ; @ @L A: A@ D E I I2 N O: O@ OI S T U U@ V Z _ _! _: a a# aI aI@ aU aa b d dZ e@ eI "
     "f g h i i: i@ i@3 j k l m n o@ oU p r r- s t tS u: v w z"},
    {"de",
     "0 3 ; @ A A: A~ C E E2 E: I N O OY R S U UR W Y: _ _! _: _| a aI aU b d e: e@ eI f g h i i: "
     "j k l m n o: oU p pF r s t tS ts u: v x y y: z"},
    {"fr",
     "0 3 3: ; @ @- @L A: A@ A~ E E~ I I2 N O O: OI O~ S U U@ V W W~ Y Z _ _! _: _:: _| a a# a- aI "
     "aU aa b d dZ e e@ eI f g h i i: i@ i@3 j k l m n n^ o oU p r r- s t t2 tS u u: v w y z z2"},
    {"es",
     "* ** ; @- B D E J^ N Q R R2 T _ _: a aI aU b d dZ e eI eU f g i j k l l^ m n n^ o oI p r s t "
     "tS u w x"},
    {"it",
     "* ; @- E I N O R S U V _ _: _| a aI b d dZ d[ dz e eI f g h i j k l l^ m n n^ o p s ss t tS "
     "t[ ts ts2 u v w w2"},
    {"pt",
     "& &U~ &~ * ; @- A E N O OI R S U Z _ _: _| a aI aU b d e eI eU f g i iU j k l l^ m n n^ o oI "
     "o~ p r r- s s# t tS u uI u~ v w x y z"},
    {"pt-br",
     "& &U~ &~ * ; @- E EU N O OI R S U Z _ _: _| a aI aU b d dZ e eI eU f g i iU j k l m n n^ o "
     "oI o~ p r s s# t tS u uI u~ v w x y z"},
    {"nl",
     "! * 8 ; @ @- A E EI I N O O: Q S V VU Wy Y: Z _ _! _: _| a a: b d dZ e: eU f g h i j k l m n "
     "o: p r s t u v v# w x y yU z"},
    {"sv",
     "8 ; @ @L A: E E- E: I N O R S S; U W Y: _ _: a b d e: f g h i: j k l m n o: p s s. sx t u- "
     "u: v w y y: z"},
    {"da",
     "& 0 3 3- ?& ?&# ?0 ?A ?E ?O ?V ?W ?W# ?e ?i ?o ?u ?y @ @- A D E I N O O: R S V W W# _ _! _: "
     "_| a aI aU b d dZ e f g h i j k l m n o p r s t tS u v w y"},
    {"fi",
     "& &i &y ; I N S Y Yi Yy Z _ _: a ai au b d e ei eu ey f g h i ie iu iy j k l m n o oi ou p q "
     "r s s2 t u ui uo v y yY yi"},
    {"nb",
     "; @ A A: AI E E: I N O OI R S U W Y: Yy _ _! _: a a# a: aI aU b d e: f g h i: j k l m n o: p "
     "s s; t u- u-: u-I u: v w x y y:"},
};

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

TEST(PhoneEvents, AreKnownInEveryLanguage) {
  for (const auto& [language, events] : kHeard) {
    for (const std::string& event : splitNames(events)) {
      EXPECT_TRUE(isKnownEvent(event, language)) << event << " in " << language;
    }
  }
}

TEST(PhoneEvents, AreNamedWithPhonesThatCanBeRead) {
  for (const auto& [language, events] : kHeard) {
    for (const std::string& event : splitNames(events)) {
      const PhoneText read = readPhones(phones(event, language));
      EXPECT_TRUE(read.unknown.empty()) << event << " in " << language;
    }
  }
}

TEST(PhoneEvents, OfEnglishAreItsPhones) {
  expectAll("en-us", {{"a", "ae"}, {"A:", "aa"}, {"3:", "ah r"}, {"I#", "ih"}, {"x", "k"}});
  expectAll("en", {{"a", "ae"}, {"e", "ey"}, {"aI@", "ay ah"}, {"r-", "r"}});
}

TEST(PhoneEvents, OfGermanAreTheNearest) {
  expectAll("de", {{"a", "aa"},
                   {"y:", "uw"},
                   {"Y:", "uh"},
                   {"W", "uh"},
                   {"OY", "oy"},
                   {"3", "ah"},
                   {"C", "h"},
                   {"x", "h"},
                   {"pF", "p f"},
                   {"ts", "t s"},
                   {"E:", "eh"},
                   {"R", "r"}});
}

TEST(PhoneEvents, OfFrenchAreTheNearest) {
  expectAll("fr", {{"A~", "aa n"},
                   {"E~", "ae n"},
                   {"O~", "ao n"},
                   {"W~", "ah n"},
                   {"y", "uw"},
                   {"Y", "uh"},
                   {"n^", "n j"},
                   {"z2", "z"},
                   {"a", "aa"},
                   {"w", "w"}});
}

TEST(PhoneEvents, OfSpanishAreTheNearest) {
  expectAll("es", {{"a", "aa"},
                   {"e", "eh"},
                   {"o", "ao"},
                   {"u", "uw"},
                   {"**", "r"},
                   {"R2", "r"},
                   {"B", "v"},
                   {"Q", "g"},
                   {"x", "h"},
                   {"l^", "l j"},
                   {"J^", "j"},
                   {"eU", "eh uw"}});
}

TEST(PhoneEvents, OfItalianAreTheNearest) {
  expectAll("it",
            {{"ss", "s"}, {"ts2", "t s"}, {"dz", "d z"}, {"n^", "n j"}, {"w2", "w"}, {"*", "r"}});
}

TEST(PhoneEvents, OfPortugueseAreTheNearest) {
  for (const std::string_view language : {"pt", "pt-br"}) {
    expectAll(language, {{"&", "ah"},
                         {"&~", "ah n"},
                         {"&U~", "aw n"},
                         {"e~", "ey n"},
                         {"i~", "i n"},
                         {"o~", "ow n"},
                         {"u~", "uw n"},
                         {"s#", "sh"},
                         {"iU", "i uw"},
                         {"l^", "l j"}});
  }
}

TEST(PhoneEvents, OfDutchAreTheNearest) {
  expectAll("nl", {{"8", "uh"},
                   {"EI", "ey"},
                   {"VU", "aw"},
                   {"Wy", "uh uw"},
                   {"Y:", "uh"},
                   {"Q", "g"},
                   {"v#", "v"},
                   {"x", "h"},
                   {"!", ""},
                   {"y", "uw"}});
}

TEST(PhoneEvents, OfSwedishAreTheNearest) {
  expectAll("sv", {{"u-", "uw"},
                   {"8", "uh"},
                   {"E-", "eh"},
                   {"S;", "sh"},
                   {"sx", "sh"},
                   {"s.", "sh"},
                   {"Y:", "uh"},
                   {"y:", "uw"},
                   {"R", "r"}});
}

TEST(PhoneEvents, OfDanishAreTheNearest) {
  expectAll("da", {{"?&", "ae"},
                   {"?A", "aa"},
                   {"?e", "eh"},
                   {"?i", "i"},
                   {"?W#", "uh"},
                   {"?y", "uw"},
                   {"3-", "ah"},
                   {"0", "ao"},
                   {"?", "t"},
                   {"R", "r"}});
}

TEST(PhoneEvents, OfFinnishAreTheNearest) {
  expectAll("fi", {{"&", "ae"},
                   {"y", "uw"},
                   {"Y", "uh"},
                   {"yY", "uw uh"},
                   {"&y", "ae uw"},
                   {"ie", "i eh"},
                   {"uo", "uw ao"},
                   {"s2", "s"},
                   {"ai", "ay"},
                   {"ou", "ow"}});
}

TEST(PhoneEvents, OfNorwegianAreTheNearest) {
  expectAll(
      "nb",
      {{"u-:", "uw"}, {"u-I", "uw i"}, {"AI", "ay"}, {"Yy", "uh uw"}, {"s;", "sh"}, {"x", "h"}});
}

TEST(PhoneEvents, FollowLanguageSwitches) {
  EXPECT_EQ(languageOfEvent("(en)"), "en");
  EXPECT_EQ(languageOfEvent("(pt-br)"), "pt-br");
  EXPECT_EQ(languageOfEvent("("), "");
  EXPECT_EQ(languageOfEvent("a"), "");
}

}  // namespace kavrel
