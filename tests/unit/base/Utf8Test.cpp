// SPDX-License-Identifier: Apache-2.0
//
// UTF-8 and UTF-16: every scalar value, and every kind of malformed sequence.
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "base/text/Utf16.h"
#include "base/text/Utf8.h"

namespace {

TEST(Utf8, ReadsEveryCharacterThatItWrites) {
  for (char32_t code = 0; code <= 0x10FFFF; ++code) {
    if (!base::isScalarValue(code)) continue;
    const std::string text = base::toUtf8(code) + "x";
    const base::Utf8Character read = base::firstCharacter(text);
    ASSERT_EQ(read.code, code);
    ASSERT_EQ(read.length, text.size() - 1) << std::uint32_t{code};
  }
}

TEST(Utf8, WritesTheShortestForm) {
  EXPECT_EQ(base::toUtf8(0), std::string(1, '\0'));
  EXPECT_EQ(base::toUtf8(0x7F), "\x7F");
  EXPECT_EQ(base::toUtf8(0x80), "\xC2\x80");
  EXPECT_EQ(base::toUtf8(0x7FF), "\xDF\xBF");
  EXPECT_EQ(base::toUtf8(0x800), "\xE0\xA0\x80");
  EXPECT_EQ(base::toUtf8(0xFFFF), "\xEF\xBF\xBF");
  EXPECT_EQ(base::toUtf8(0x10000), "\xF0\x90\x80\x80");
  EXPECT_EQ(base::toUtf8(0x10FFFF), "\xF4\x8F\xBF\xBF");
}

TEST(Utf8, RejectsMalformedSequences) {
  for (const char* malformed : {
           "\x80",
           "\xBF",
           "\xFE",
           "\xFF",  // never the first byte
           "\xC0\xAF",
           "\xC1\xBF",
           "\xE0\x9F\xBF",
           "\xF0\x8F\xBF\xBF",  // overlong
           "\xED\xA0\x80",
           "\xED\xBF\xBF",  // surrogates
           "\xF4\x90\x80\x80",
           "\xF5\x80\x80\x80",
           "\xF8\x88\x80\x80\x80",
           "\xC3",
           "\xE2\x82",
           "\xF0\x9F\x98",  // truncated at the end
           "\xC3z",
           "\xE2\x82z",
           "\xE2z\x82",
           "\xF0\x9Fz"  // truncated before a character
       }) {
    EXPECT_EQ(base::firstCharacter(malformed).length, 0U) << malformed;
    EXPECT_EQ(base::firstCharacterLength(malformed), 1U) << malformed;
  }
}

TEST(Utf8, DoesNotReadAfterTheEnd) {
  const std::string euro = "\xE2\x82\xAC";
  EXPECT_EQ(base::firstCharacter(std::string_view(euro).substr(0, 2)).length, 0U);
  EXPECT_EQ(base::firstCharacter(euro).code, U'\u20AC');
}

TEST(Utf8, CountsCharacters) {
  EXPECT_EQ(base::countCharacters(""), 0U);
  EXPECT_EQ(base::countCharacters("a\u00E9\u20AC\U0001F600"), 4U);
}

TEST(Utf16, ConvertsEveryPairBack) {
  for (char32_t code = 0x10000; code <= 0x10FFFF; ++code) {
    const char16_t lead = base::leadSurrogate(code);
    const char16_t trail = base::trailSurrogate(code);
    ASSERT_TRUE(base::isLeadSurrogate(lead) && base::isTrailSurrogate(trail))
        << std::uint32_t{code};
    ASSERT_EQ(base::fromSurrogates(lead, trail), code);
  }
}

TEST(Utf16, CountsUnits) {
  EXPECT_EQ(base::utf16Length(0xFFFF), 1U);
  EXPECT_EQ(base::utf16Length(0x10000), 2U);
}

TEST(Utf16, DistinguishesSurrogatesFromCharacters) {
  EXPECT_TRUE(base::isScalarValue(0xD7FF));
  EXPECT_FALSE(base::isScalarValue(0xD800));
  EXPECT_FALSE(base::isScalarValue(0xDFFF));
  EXPECT_TRUE(base::isScalarValue(0xE000));
  EXPECT_TRUE(base::isScalarValue(0x10FFFF));
  EXPECT_FALSE(base::isScalarValue(0x110000));
}

}  // namespace
