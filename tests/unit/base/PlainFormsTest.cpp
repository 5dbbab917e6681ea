// SPDX-License-Identifier: Apache-2.0
//
// Forms of single characters, for all of Unicode and by examples of each kind.
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "base/text/MacRoman.h"
#include "base/text/PlainForms.h"
#include "base/text/Utf16.h"

namespace {

std::string form(char32_t character) {
  std::string macRoman;
  base::appendPlainForm(macRoman, character);
  return macRoman;
}

TEST(PlainForms, AreShortAndWithoutControlCharacters) {
  for (char32_t code = 0; code <= 0x110000; ++code) {
    if (code != 0 && base::toMacRoman(code)) continue;
    const std::string text = form(code);
    ASSERT_LE(text.size(), 32U) << std::uint32_t{code};
    if (code == 0x85 || code == 0x2028 || code == 0x2029) {
      EXPECT_EQ(text, "\n") << std::uint32_t{code};  // line separators become a line feed
      continue;
    }
    for (const char c : text) {
      ASSERT_GE(static_cast<unsigned char>(c), 0x20) << std::uint32_t{code};
      ASSERT_NE(c, '\x7F') << std::uint32_t{code};
    }
  }
}

TEST(PlainForms, AreAppended) {
  std::string text = "a";
  base::appendPlainForm(text, U'\u65E5');
  base::appendPlainForm(text, U'\u00BD');
  EXPECT_EQ(text, "a 1/2");
}

TEST(PlainForms, AreTheCharacterItselfIfMacOsRomanHasIt) {
  for (unsigned byte = 1; byte < 256; ++byte) {
    EXPECT_EQ(form(base::fromMacRoman(static_cast<std::uint8_t>(byte))),
              std::string(1, static_cast<char>(byte)));
  }
}

TEST(PlainForms, AreEmptyForCharactersWithoutWidth) {
  for (const char32_t code :
       {0xADU, 0x300U, 0x34FU, 0x36FU, 0x591U, 0x61CU, 0x180BU, 0x200BU, 0x200DU, 0x200EU, 0x202EU,
        0x2060U, 0x2069U, 0x20DDU, 0x3164U, 0xFE0FU, 0xFEFFU, 0xFFF9U, 0xE0041U}) {
    EXPECT_EQ(form(code), "") << std::uint32_t{code};
  }
}

TEST(PlainForms, AreABlankForCharactersWithoutAForm) {
  for (const char32_t code :
       {0x0U, 0x80U, 0xA4U, 0x3B1U, 0x416U, 0x5D0U, 0xAC01U, 0x65E5U, 0x3220U, 0xFDFAU, 0xD800U,
        0xDFFFU, 0xE000U, 0xFFFFU, 0x1F600U, 0x110000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(form(code), " ") << std::uint32_t{code};
  }
}

TEST(PlainForms, AreTheCustomaryOnes) {
  const struct {
    char32_t character;
    const char* form;
  } table[] = {
      {U'\u0141', "L"},
      {U'\u0151', "o"},
      {U'\u0111', "d"},  // letters
      {U'\u1E69', "s"},
      {U'\u1EAD', "\x89"},
      {U'\u1EA5', "\x89"},  // several accents
      {U'\u01D6', "\x9F"},
      {U'\u0180', "b"},
      {U'\u0262', "g"},  //
      {U'\u01C4', "DZ"},
      {U'\u01FD', "\xBE"},
      {U'\u1E9E', "SS"},  // letter pairs
      {U'\uFB03', "ffi"},
      {U'\uFB05', "st"},
      {U'\u0149', "\xD5n"},  //
      {U'\u2010', "-"},
      {U'\u2011', "-"},
      {U'\u2015', "-"},  // dashes
      {U'\u2212', "-"},
      {U'\uFF0D', "-"},
      {U'\u2E3A', "-"},  //
      {U'\u201F', "\""},
      {U'\u300C', "\""},
      {U'\u201B', "'"},  // quotation marks
      {U'\u2003', " "},
      {U'\u3000', " "},
      {U'\u2028', "\n"},  // spaces
      {U'\u00BD', "1/2"},
      {U'\u2153', "1/3"},
      {U'\u00B2', "2"},  // numbers
      {U'\u2168', "IX"},
      {U'\u246A', "11"},
      {U'\u2475', "(2)"},  //
      {U'\u0663', "3"},
      {U'\u0967', "1"},
      {U'\U0001D7D9', "1"},  //
      {U'\u2192', "->"},
      {U'\u21D0', "<="},
      {U'\u2194', "<->"},  // arrows
      {U'\u2116', "No"},
      {U'\u2120', "SM"},
      {U'\u2117', "(P)"},  // signs
      {U'\u2103',
       "\xA1"
       "C"},
      {U'\u33A1', "m2"},
      {U'\u339B', "\xB5m"},  //
      {U'\uFF21', "A"},
      {U'\uFF3B', "["},
      {U'\uFFE5', "\xB4"},  // fullwidth
      {U'\u2126', "\xBD"},
      {U'\u212B', "\x81"},
      {U'\u0394', "\xC6"},  // doubles
      {U'\u20B9', "INR"},
      {U'\u3002', "."},
      {U'\u061F', "?"},  //
  };
  for (const auto& row : table)
    EXPECT_EQ(form(row.character), row.form) << std::hex << std::uint32_t{row.character};
}

TEST(PlainForms, CombineAccentsIfMacOsRomanHasTheResult) {
  EXPECT_EQ(base::withAccent(U'e', 0x301), U'\u00E9');
  EXPECT_EQ(base::withAccent(U'x', 0x301), U'x');
  EXPECT_EQ(base::withAccent(U'=', 0x338), U'\u2260');
  EXPECT_EQ(base::withAccent(U'\u1EA1', 0x302), U'\u00E2');  // a with a dot below
  EXPECT_EQ(base::withAccent(U'\u00E4', 0x304), U'\u00E4');
  EXPECT_EQ(base::withAccent(U'i', 0x344), U'\u00EF');  // one mark of diaeresis and acute
  EXPECT_EQ(base::withAccent(0, 0x301), 0U);
}

TEST(PlainForms, DistinguishMarksAndNumbers) {
  EXPECT_TRUE(base::isCombiningMark(0x301));
  EXPECT_FALSE(base::isCombiningMark('e'));
  EXPECT_FALSE(base::isCombiningMark(0xFFFFFFFF));
  EXPECT_TRUE(base::isNumberForm(U'\u00BD'));
  EXPECT_TRUE(base::isNumberForm(U'\u00B2'));
  EXPECT_FALSE(base::isNumberForm(U'2'));
  EXPECT_FALSE(base::isNumberForm(U'\u0663'));
}

}  // namespace
