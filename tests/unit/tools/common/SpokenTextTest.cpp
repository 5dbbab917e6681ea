// SPDX-License-Identifier: Apache-2.0
//
// The user's text for the Manager, and the mapping of positions back to the user's bytes; and what
// the Manager makes of the text for a synthesizer that takes only Mac OS Roman.
#include <string>

#include <gtest/gtest.h>

#include "SpeechSynthesis/channel/CallerText.h"
#include "SpokenText.h"
#include "base/text/MacRoman.h"
#include "base/text/Utf8.h"

namespace {

using tool::Brackets;
using tool::Slice;
using tool::SpokenText;

// Returns the Manager's text for a synthesizer that takes only Mac OS Roman.
platform::CallerText converted(const std::string& given, Brackets brackets = Brackets::Command) {
  const std::string spoken = SpokenText(given, brackets).spoken();
  platform::CallerText text(spoken.data(), spoken.size(), platform::Charset::Utf8);
  text.useMacRoman();
  return text;
}

std::string macRoman(const std::string& given) {
  return converted(given).bytes();
}

// Returns the user's text from which `length` bytes of the synthesizer's text at `position` came.
std::string userText(const std::string& given, std::size_t position, std::size_t length) {
  const CFRange range = converted(given).inCallersUnits(position, length);
  const SpokenText text(given);
  return std::string(text.givenAt(text.origin(static_cast<std::size_t>(range.location),
                                              static_cast<std::size_t>(range.length))));
}

TEST(SpokenText, IsTheGivenText) {
  for (const std::string given :
       {"", "a", "Привет [[rate 200]]", "世界", "\xFF\xC3", "[[x", "［［"}) {
    EXPECT_EQ(SpokenText(given).spoken(), given);
  }
}

TEST(SpokenText, HasNoCommandsIfBracketsAreText) {
  const auto plain = [](const std::string& given) {
    return SpokenText(given, Brackets::Text).spoken();
  };
  EXPECT_EQ(plain("[[rate 90]]"), "[(rate 90]]");
  EXPECT_EQ(plain("[[[[["), "[([([ ");
  EXPECT_EQ(plain("ж["), "ж[ ");
  EXPECT_EQ(plain("ж［x［［"), "ж［x［(");
  for (const std::string given : {"［［rate", "[［rate", "［[rate", "[\u200B[rate", "[\u0301[rate",
                                  "⟦rate", "[⟦rate", "[["}) {
    EXPECT_EQ(plain(given).find("[["), std::string::npos) << given;
    EXPECT_EQ(converted(given, Brackets::Text).bytes().find("[["), std::string::npos) << given;
  }
}

TEST(SpokenText, EncodesEveryCharacterOfMacOsRomanAsItsByte) {
  for (unsigned byte = 1; byte < 256; ++byte) {
    const char32_t character = base::fromMacRoman(static_cast<std::uint8_t>(byte));
    EXPECT_EQ(macRoman(base::toUtf8(character)), std::string(1, static_cast<char>(byte)))
        << "byte " << byte;
  }
}

struct PlainForm {
  const char* given;
  const char* expected;
};

class PlainForms : public testing::TestWithParam<PlainForm> {};

TEST_P(PlainForms, ReplaceCharactersThatMacOsRomanLacks) {
  EXPECT_EQ(macRoman(GetParam().given), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(SpokenText, PlainForms,
                         testing::Values(PlainForm{"\u0142", "l"},         // crossed l
                                         PlainForm{"\u0151", "o"},         // double accent
                                         PlainForm{"\u2192", "->"},        // arrow
                                         PlainForm{"\u2116", "No"},        // numero
                                         PlainForm{"\u2011", "-"},         // hard hyphen
                                         PlainForm{"\u65E5\u672C", "  "},  // no form
                                         PlainForm{"\U0001F600", " "},     // no form
                                         PlainForm{"\u00A4", " "},         // its byte is the euro's
                                         PlainForm{"co\u00ADop", "coop"},  // soft hyphen
                                         PlainForm{"\uFEFFx\u200By", "xy"},  // no width
                                         PlainForm{"e\u0301",
                                                   "\x8E"},  // letter and accent: one letter
                                         PlainForm{"x\u0301", "x"},  // no such letter
                                         PlainForm{"?", "?"}));

TEST(SpokenText, HasABlankForEveryByteThatIsNotUtf8) {
  EXPECT_EQ(macRoman("a\xFFz"), "a z");
  EXPECT_EQ(macRoman("a\xC3"), "a ");
  EXPECT_EQ(macRoman("\xE2\x82z"), "  z");
  EXPECT_EQ(macRoman("\xC0\xAF"), "  ");            // overlong
  EXPECT_EQ(macRoman("\xED\xA0\x80"), "   ");       // surrogate
  EXPECT_EQ(macRoman("\xF4\x90\x80\x80"), "    ");  // above U+10FFFF
}

TEST(SpokenText, HasABlankForNul) {
  EXPECT_EQ(macRoman(std::string("a\0b", 3)), "a b");
}

TEST(SpokenText, FindsTheBytesThatEachWordCameFrom) {
  const std::string text = "caf\u00E9 \U0001F600 d\u00E9j\u00E0";
  ASSERT_EQ(macRoman(text).size(), 11U);
  EXPECT_EQ(userText(text, 0, 4), "caf\u00E9");
  EXPECT_EQ(userText(text, 5, 1), "\U0001F600");
  EXPECT_EQ(userText(text, 7, 4), "d\u00E9j\u00E0");
}

TEST(SpokenText, FindsTheWholeCharacterOfAnyPartOfItsPlainForm) {
  const std::string text = "a\u2192b";
  ASSERT_EQ(macRoman(text), "a->b");
  EXPECT_EQ(userText(text, 1, 1), "\u2192");
  EXPECT_EQ(userText(text, 2, 1), "\u2192");
  EXPECT_EQ(userText(text, 0, 2), "a\u2192");
  EXPECT_EQ(userText(text, 3, 1), "b");
}

TEST(SpokenText, AssignsVanishedTextToTheCharacterBefore) {
  const std::string text = "x\u0301y";
  EXPECT_EQ(userText(text, 0, 1), "x\u0301");
  EXPECT_EQ(userText(text, 1, 1), "y");
}

TEST(SpokenText, NeverPointsOutsideTheText) {
  const SpokenText text("ab");
  for (const std::size_t position : {0U, 1U, 2U, 3U, 70000U}) {
    for (const std::size_t length : {0U, 1U, 2U, 65535U}) {
      const Slice slice = text.origin(position, length);
      EXPECT_LE(slice.position + slice.length, 2U) << position << ", " << length;
    }
  }
}

TEST(SpokenText, IsEmptyForAnEmptyText) {
  EXPECT_EQ(macRoman(""), "");
  EXPECT_EQ(SpokenText("").origin(0, 5).length, 0U);
}

}  // namespace
