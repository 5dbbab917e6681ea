// SPDX-License-Identifier: Apache-2.0
//
// Compares the tables of the 8-bit character sets with ICU's converters.
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include "base/text/Latin9.h"
#include "base/text/MacRoman.h"
#include "base/text/MacRomanToLatin9.h"

namespace {

// Returns the character of each byte, according to ICU.
std::u16string charactersOf(const char* encoding) {
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open(encoding, &error),
                                                                     ucnv_close);
  std::string bytes;
  for (unsigned byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  std::u16string characters(512, u'\0');
  const int length =
      ucnv_toUChars(converter.get(), characters.data(), static_cast<int>(characters.size()),
                    bytes.data(), static_cast<int>(bytes.size()), &error);
  EXPECT_TRUE(U_SUCCESS(error)) << encoding;
  characters.resize(static_cast<std::size_t>(length));
  return characters;
}

TEST(Latin9, EqualsIcuInBothDirections) {
  const std::u16string expected = charactersOf("iso-8859-15");
  ASSERT_EQ(expected.size(), 256U);
  for (unsigned i = 0; i < 256; ++i) {
    const auto byte = static_cast<std::uint8_t>(i);
    EXPECT_EQ(base::fromLatin9(byte), char32_t{expected[i]}) << i;
    EXPECT_EQ(base::toLatin9(expected[i]), byte) << i;
  }
}

TEST(Latin9, HasNoByteForAnyOtherCharacter) {
  unsigned found = 0;
  for (char32_t code = 0; code <= 0x10FFFF; ++code) found += base::toLatin9(code) ? 1 : 0;
  EXPECT_EQ(found, 256U);
  for (const char32_t moved : {0xA4U, 0xA6U, 0xA8U, 0xB4U, 0xB8U, 0xBCU, 0xBDU, 0xBEU}) {
    EXPECT_EQ(base::toLatin9(moved), std::nullopt);
  }
}

TEST(MacRoman, EqualsIcuInBothDirections) {
  const std::u16string expected = charactersOf("macintosh");
  ASSERT_EQ(expected.size(), 256U);
  for (unsigned i = 0; i < 256; ++i) {
    const auto byte = static_cast<std::uint8_t>(i);
    EXPECT_EQ(base::fromMacRoman(byte), char32_t{expected[i]}) << i;
    EXPECT_EQ(base::toMacRoman(expected[i]), byte) << i;
  }
}

TEST(MacRoman, HasNoByteForAnyOtherCharacter) {
  unsigned found = 0;
  for (char32_t code = 0; code <= 0x10FFFF; ++code) found += base::toMacRoman(code) ? 1 : 0;
  EXPECT_EQ(found, 256U);
}

TEST(MacRomanToLatin9, KeepsEveryCharacterThatIso8859_15Has) {
  int exact = 0;
  for (unsigned i = 0; i < 256; ++i) {
    const auto latin9 = base::toLatin9(base::fromMacRoman(static_cast<std::uint8_t>(i)));
    if (!latin9) continue;
    const base::Replacement& replacement = base::kMacRomanToLatin9[i];
    EXPECT_EQ(replacement.length, 1) << i;
    EXPECT_EQ(replacement.bytes[0], static_cast<char>(*latin9)) << i;
    ++exact;
  }
  EXPECT_EQ(exact, 209);
}

}  // namespace
