// SPDX-License-Identifier: Apache-2.0
//
// Conversion of Mac OS Roman: the table, compared with the system's converter, and the buffer
// protocol.
#include <ApplicationServices/TextEncodingConverter.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <iconv.h>

#include "base/text/MacRoman.h"

namespace {

class Converter : public testing::Test {
 protected:
  void SetUp() override {
    TextEncoding source = 1;
    ASSERT_EQ(UpgradeScriptInfoToTextEncoding(kTextScriptDontCare, kTextLanguageDontCare,
                                              kTextRegionDontCare, nullptr, &source),
              noErr);
    const TextEncoding target = CreateTextEncoding(
        kTextEncodingISOLatin9, kTextEncodingDefaultVariant, kTextEncodingDefaultFormat);
    ASSERT_EQ(TECCreateConverter(&m_converter, source, target), noErr);
  }
  void TearDown() override { EXPECT_EQ(TECDisposeConverter(m_converter), noErr); }

  struct Pass {
    OSStatus status;
    ByteCount consumed;
    std::string output;
  };
  Pass pass(const std::string& input, std::size_t room) {
    // One byte more than the converter may write, to detect an overrun.
    std::vector<UInt8> buffer(room + 1, 0xEE);
    Pass result{};
    ByteCount produced = 99;
    result.status = TECConvertText(m_converter, reinterpret_cast<ConstTextPtr>(input.data()),
                                   input.size(), &result.consumed, buffer.data(), room, &produced);
    EXPECT_LE(produced, room);
    EXPECT_EQ(buffer.back(), 0xEE);
    result.output.assign(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(produced));
    return result;
  }

  // Converts the whole text through a buffer of `room` bytes, as callers do.
  std::string convert(std::string input, std::size_t room) {
    std::string output;
    while (true) {
      const Pass step = pass(input, room);
      output += step.output;
      input.erase(0, step.consumed);
      if (step.status == noErr) break;
      EXPECT_EQ(step.status, kTECOutputBufferFullStatus);
      if (step.consumed == 0) {
        ADD_FAILURE() << "no progress with " << room << " bytes of room";
        break;
      }
    }
    EXPECT_EQ(input, "");
    return output;
  }

  TECObjectRef m_converter = nullptr;
};

// The length of the longest replacement. A smaller buffer may never hold the replaced character.
constexpr std::size_t kLongest = 14;

// Converts one byte with the system's converter; returns nothing if the target encoding lacks the
// character.
class SystemConverter {
 public:
  SystemConverter(const char* to, const char* from) : m_handle(iconv_open(to, from)) {}
  SystemConverter(const SystemConverter&) = delete;
  SystemConverter& operator=(const SystemConverter&) = delete;
  ~SystemConverter() {
    if (isOpen()) iconv_close(m_handle);
  }
  bool isOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

  std::optional<std::string> operator()(std::string input) const {
    std::string output(8, '\0');
    char* from = input.data();
    char* to = output.data();
    std::size_t left = input.size();
    std::size_t room = output.size();
    iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
    if (iconv(m_handle, &from, &left, &to, &room) != 0) return std::nullopt;
    output.resize(output.size() - room);
    return output;
  }

 private:
  iconv_t m_handle;
};

std::string byteString(unsigned byte) {
  return {static_cast<char>(byte)};
}

TEST_F(Converter, Converts209BytesLikeTheSystem) {
  const SystemConverter toUnicode("UCS-4BE", "MACINTOSH");
  const SystemConverter toLatin9("ISO-8859-15", "UCS-4BE");
  if (!toUnicode.isOpen() || !toLatin9.isOpen()) GTEST_SKIP() << "the system lacks the encodings";
  int exact = 0;
  for (unsigned byte = 0; byte < 256; ++byte) {
    const auto character = toUnicode(byteString(byte));
    if (!character) continue;
    const auto expected = toLatin9(*character);
    if (!expected) continue;
    EXPECT_EQ(convert(byteString(byte), kLongest), *expected) << byte;
    ++exact;
  }
  EXPECT_EQ(exact, 209);
}

TEST_F(Converter, ConvertsTheOther47BytesToPlainFormsThatAreSafeInMarkup) {
  const SystemConverter toLatin9("ISO-8859-15", "MACINTOSH");
  if (!toLatin9.isOpen()) GTEST_SKIP() << "the system lacks the encodings";
  int plain = 0;
  for (unsigned byte = 0; byte < 256; ++byte) {
    if (toLatin9(byteString(byte))) continue;
    const std::string form = convert(byteString(byte), kLongest);
    EXPECT_FALSE(form.empty()) << byte;
    for (const char c : form) EXPECT_TRUE(c >= ' ' && c <= '~') << byte;
    EXPECT_EQ(form.find_first_of("<>&[]"), std::string::npos) << byte;
    ++plain;
  }
  EXPECT_EQ(plain, 47);
}

TEST_F(Converter, WritesTypographyAsTypedOnAKeyboard) {
  const struct {
    unsigned byte;
    const char* form;
  } table[] = {{0xD2, "\""}, {0xD3, "\""},  {0xD4, "'"},  {0xD5, "'"},  {0xD0, "-"},
               {0xD1, "-"},  {0xC9, "..."}, {0xDE, "fi"}, {0xDF, "fl"}, {0xA5, "-"},
               {0xDA, "/"},  {0xF5, "i"},   {0xF0, " "},  {0xD7, " "}};
  for (const auto& row : table) EXPECT_EQ(convert(byteString(row.byte), kLongest), row.form);
}

TEST_F(Converter, ReadsDBAsTheEuroSign) {
  EXPECT_EQ(convert("\xDB", kLongest), "\xA4");
}

TEST_F(Converter, GivesTheSameResultForEveryBufferSize) {
  std::string text;
  for (unsigned round = 0; round < 40; ++round) {
    text += std::string(round, 'a');
    for (unsigned byte = round; byte < 256; byte += 7) text += byteString(byte);
  }
  const std::string whole = convert(text, text.size() * kLongest);
  for (const std::size_t room : {kLongest, std::size_t{15}, std::size_t{31}, std::size_t{32},
                                 std::size_t{33}, std::size_t{64}, std::size_t{4096}}) {
    EXPECT_EQ(convert(text, room), whole) << room;
  }
}

TEST_F(Converter, ReturnsFullWhileInputIsLeftAndNoErrOnlyWhenAllIsConsumed) {
  const std::string text(10'000, 'x');
  const Pass first = pass(text, 4096);
  EXPECT_EQ(first.status, kTECOutputBufferFullStatus);
  EXPECT_EQ(first.consumed, 4096U);
  EXPECT_EQ(first.output.size(), 4096U);

  const Pass exact = pass(std::string(4096, 'x'), 4096);
  EXPECT_EQ(exact.status, noErr);
  EXPECT_EQ(exact.consumed, 4096U);
}

TEST_F(Converter, NeverSplitsAReplacement) {
  const Pass tight = pass("a\xC9", 3);
  EXPECT_EQ(tight.status, kTECOutputBufferFullStatus);
  EXPECT_EQ(tight.consumed, 1U);
  EXPECT_EQ(tight.output, "a");

  const Pass fitting = pass("a\xC9", 4);
  EXPECT_EQ(fitting.status, noErr);
  EXPECT_EQ(fitting.output, "a...");
}

TEST_F(Converter, AcceptsNulBytesAndEmptyText) {
  EXPECT_EQ(convert(std::string("a\0b", 3), 16), std::string("a\0b", 3));
  EXPECT_EQ(pass("", 0).status, noErr);
  EXPECT_EQ(pass("a", 0).status, kTECOutputBufferFullStatus);
}

TEST_F(Converter, HasNothingToFlush) {
  ByteCount produced = 99;
  std::array<UInt8, 4> buffer{1, 2, 3, 4};
  EXPECT_EQ(TECFlushText(m_converter, buffer.data(), buffer.size(), &produced), noErr);
  EXPECT_EQ(produced, 0U);
  EXPECT_EQ(buffer[0], 1);
}

TEST_F(Converter, RejectsNullArguments) {
  ByteCount count = 0;
  UInt8 byte = 'a';
  EXPECT_EQ(TECConvertText(m_converter, nullptr, 1, &count, &byte, 1, &count), paramErr);
  EXPECT_EQ(TECConvertText(m_converter, &byte, 1, &count, nullptr, 1, &count), paramErr);
  EXPECT_EQ(TECConvertText(m_converter, &byte, 1, nullptr, &byte, 1, &count), paramErr);
  EXPECT_EQ(TECConvertText(m_converter, &byte, 1, &count, &byte, 1, nullptr), paramErr);
  EXPECT_EQ(TECConvertText(nullptr, &byte, 1, &count, &byte, 1, &count), kTECCorruptConverterErr);
  EXPECT_EQ(TECFlushText(m_converter, &byte, 1, nullptr), paramErr);
  EXPECT_EQ(TECFlushText(nullptr, &byte, 1, &count), kTECCorruptConverterErr);
}

TEST(TextEncoding, CreatesOnlyTheSupportedConversion) {
  TECObjectRef converter = reinterpret_cast<TECObjectRef>(&converter);
  EXPECT_EQ(TECCreateConverter(&converter, kTextEncodingISOLatin9, kTextEncodingMacRoman),
            kTECNoConversionPathErr);
  EXPECT_EQ(converter, nullptr);
  EXPECT_EQ(TECCreateConverter(nullptr, kTextEncodingMacRoman, kTextEncodingISOLatin9), paramErr);
  EXPECT_EQ(TECDisposeConverter(nullptr), kTECCorruptConverterErr);
}

TEST(TextEncoding, SupportsOnlyTheRomanScript) {
  TextEncoding encoding = 77;
  EXPECT_EQ(UpgradeScriptInfoToTextEncoding(smRoman, langEnglish, verUS, nullptr, &encoding),
            noErr);
  EXPECT_EQ(encoding, TextEncoding{kTextEncodingMacRoman});
  encoding = 77;
  EXPECT_EQ(UpgradeScriptInfoToTextEncoding(1, kTextLanguageDontCare, kTextRegionDontCare, nullptr,
                                            &encoding),
            kTextUnsupportedEncodingErr);
  EXPECT_EQ(encoding, 77U);
  EXPECT_EQ(UpgradeScriptInfoToTextEncoding(smRoman, 0, 0, nullptr, nullptr), paramErr);
}

TEST(MacRoman, NamesEveryCharacterAsTheSystemDoes) {
  const SystemConverter toUnicode("UCS-4BE", "MACINTOSH");
  if (!toUnicode.isOpen()) GTEST_SKIP() << "the system lacks the encoding";
  for (unsigned byte = 0; byte < 256; ++byte) {
    // Two characters that mapping tables disagree on: the increment sign, which others map to a
    // Greek letter, and the logo, which has no Unicode character.
    if (byte == 0xC6 || byte == 0xF0) continue;
    const auto expected = toUnicode(byteString(byte));
    ASSERT_TRUE(expected && expected->size() == 4) << byte;
    char32_t code = 0;
    for (const char c : *expected) code = (code << 8U) | static_cast<std::uint8_t>(c);
    EXPECT_EQ(base::fromMacRoman(static_cast<std::uint8_t>(byte)), code) << byte;
  }
}

TEST(MacRoman, ConvertsEveryCharacterBack) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const auto original = static_cast<std::uint8_t>(byte);
    EXPECT_EQ(base::toMacRoman(base::fromMacRoman(original)), original);
  }
  EXPECT_EQ(base::toMacRoman(0x80), std::nullopt);
  EXPECT_EQ(base::toMacRoman(0x4E00), std::nullopt);
  EXPECT_EQ(base::toMacRoman(0x1F600), std::nullopt);
}

}  // namespace
