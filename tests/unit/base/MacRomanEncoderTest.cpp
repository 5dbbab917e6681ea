// SPDX-License-Identifier: Apache-2.0
//
// Conversion of whole texts to Mac OS Roman: accents, number forms, origins, ASCII runs.
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/text/MacRomanEncoder.h"

namespace {

using base::MacRomanEncoder;
using base::OriginText;
using testing::ElementsAre;

// Encodes a text; origins count its characters.
OriginText encode(std::u32string_view text) {
  MacRomanEncoder encoder;
  OriginText::Position at = 0;
  for (const char32_t character : text) encoder.add(character, at++);
  return encoder.finish(at);
}

std::string macRoman(std::u32string_view text) {
  return encode(text).text();
}

TEST(MacRomanEncoder, CombinesALetterWithItsAccents) {
  EXPECT_EQ(macRoman(U"cafe\u0301"), "caf\x8E");
  EXPECT_EQ(macRoman(U"a\u0323\u0302"), "\x89");
  EXPECT_EQ(macRoman(U"a\u0302\u0323"), "\x89");
  EXPECT_EQ(macRoman(U"\u1EA1\u0302"), "\x89");
  EXPECT_EQ(macRoman(U"\u0301x\u0301"), "x");
  EXPECT_EQ(macRoman(U"o\u0308\u0304y"), "\x9Ay");
}

TEST(MacRomanEncoder, CombinesAccentsOnlyWithTheCharacterDirectlyBefore) {
  EXPECT_EQ(macRoman(U"e\u200B\u0301"), "e");
  EXPECT_EQ(macRoman(U"e \u0301"), "e ");
}

TEST(MacRomanEncoder, SeparatesNumberFormsFromDigitsBefore) {
  EXPECT_EQ(macRoman(U"5\u00BD cups"), "5 1/2 cups");
  EXPECT_EQ(macRoman(U"10\u00B9\u00B2"), "10 12");
  EXPECT_EQ(macRoman(U"m\u00B2"), "m2");
  EXPECT_EQ(macRoman(U"\u00BD"), "1/2");
  EXPECT_EQ(macRoman(U"\u0661\u0662"), "12");
  EXPECT_EQ(macRoman(U"1\u2473"), "1 20");
}

TEST(MacRomanEncoder, RecordsTheOriginOfEachByte) {
  const OriginText text = encode(U"e\u0301\u00BD\u00ADx");
  ASSERT_EQ(text.text(),
            "\x8E"
            "1/2x");
  EXPECT_THAT(text.origins(), ElementsAre(0, 2, 2, 2, 4));
  EXPECT_EQ(text.originOf(5), 5U);
}

TEST(MacRomanEncoder, EncodesAsciiInRuns) {
  MacRomanEncoder encoder;
  encoder.addAscii("cafe", 0);
  encoder.add(0x301, 4);
  encoder.addAscii("", 6);
  encoder.addAscii(" 5", 6);
  encoder.add(U'\u00BD', 8);
  const OriginText text = encoder.finish(10);
  EXPECT_EQ(text.text(), "caf\x8E 5 1/2");
  EXPECT_THAT(text.origins(), ElementsAre(0, 1, 2, 3, 6, 7, 8, 8, 8, 8));
}

TEST(MacRomanEncoder, IsEmptyAfterEachText) {
  MacRomanEncoder encoder;
  encoder.add(U'5', 0);
  EXPECT_EQ(encoder.finish(1).text(), "5");
  encoder.add(U'\u00BD', 0);
  EXPECT_EQ(encoder.finish(1).text(), "1/2");
  EXPECT_EQ(encoder.finish(0).text(), "");
}

TEST(MacRomanEncoder, EncodesAMillionAccentsOnOneLetter) {
  const std::u32string text = U"e" + std::u32string(1'000'000, char32_t{0x301});
  const OriginText result = encode(text);
  EXPECT_EQ(result.text(), "\x8E");
  EXPECT_EQ(result.sourceOf(0, 1).length, text.size());
}

TEST(AsciiLength, EndsAtTheFirstOtherByte) {
  EXPECT_EQ(base::asciiLength(""), 0U);
  EXPECT_EQ(base::asciiLength("abc"), 3U);
  EXPECT_EQ(base::asciiLength("ab\xC3\xA9"), 2U);
  EXPECT_EQ(base::asciiLength(std::string_view("a\0b", 3)), 1U);
}

}  // namespace
