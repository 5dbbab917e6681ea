// SPDX-License-Identifier: Apache-2.0
#include "Characters.h"

#include <bit>
#include <cstdint>

#include "base/text/MacRoman.h"
#include "base/text/Utf8.h"

namespace platform {
namespace {

std::string byteOf(char32_t code) {
  return {static_cast<char>(code)};
}

bool isBigEndian(CFStringEncoding encoding) {
  if (encoding == kCFStringEncodingUTF16) return std::endian::native == std::endian::big;
  return encoding == kCFStringEncodingUTF16BE;
}

void appendUnit(std::string& bytes, char16_t unit, bool bigEndian) {
  const auto high = static_cast<char>(unit >> 8U);
  const auto low = static_cast<char>(unit & 0xFFU);
  bytes += bigEndian ? high : low;
  bytes += bigEndian ? low : high;
}

// The unit at the start of `text`, which has two bytes or more.
char32_t firstUnit(std::string_view text, bool bigEndian) {
  const auto first = static_cast<std::uint8_t>(text[0]);
  const auto second = static_cast<std::uint8_t>(text[1]);
  return bigEndian ? first * 256U + second : second * 256U + first;
}

constexpr std::size_t kUnit = 2;  // bytes

}  // namespace

bool isUtf16(CFStringEncoding encoding) {
  return encoding == kCFStringEncodingUTF16 || encoding == kCFStringEncodingUTF16BE ||
         encoding == kCFStringEncodingUTF16LE;
}

bool isAsciiCompatible(CFStringEncoding encoding) {
  return isKnownEncoding(encoding) || encoding == kCFStringEncodingWindowsLatin1 ||
         encoding == kCFStringEncodingNextStepLatin || encoding == kCFStringEncodingNonLossyASCII;
}

std::optional<std::string> utf8FromUtf16(std::string_view text, CFStringEncoding encoding,
                                         bool hasMark) {
  if (text.size() % kUnit != 0) return std::nullopt;
  bool bigEndian = isBigEndian(encoding);
  constexpr char32_t kMark = 0xFEFF;
  constexpr char32_t kSwappedMark = 0xFFFE;
  if (hasMark && !text.empty()) {
    const char32_t first = firstUnit(text, bigEndian);
    const bool isSwapped = first == kSwappedMark && encoding == kCFStringEncodingUTF16;
    if (isSwapped) bigEndian = !bigEndian;
    if (isSwapped || first == kMark) text.remove_prefix(kUnit);
  }
  std::string utf8;
  while (!text.empty()) {
    char32_t code = firstUnit(text, bigEndian);
    text.remove_prefix(kUnit);
    if (base::isLeadSurrogate(code) && !text.empty() &&
        base::isTrailSurrogate(firstUnit(text, bigEndian))) {
      code = base::fromSurrogates(code, firstUnit(text, bigEndian));
      text.remove_prefix(kUnit);
    }
    if (!base::isScalarValue(code)) return std::nullopt;
    base::appendUtf8(utf8, code);
  }
  return utf8;
}

bool isKnownEncoding(CFStringEncoding encoding) {
  return encoding == kCFStringEncodingUTF8 || encoding == kCFStringEncodingMacRoman ||
         encoding == kCFStringEncodingISOLatin1 || encoding == kCFStringEncodingASCII;
}

Character readCharacter(std::string_view text, CFStringEncoding encoding) {
  const auto byte = static_cast<std::uint8_t>(text.front());
  switch (encoding) {
    case kCFStringEncodingUTF8: {
      const base::Utf8Character character = base::firstCharacter(text);
      if (character.length == 0) return {std::nullopt, 1};
      return {character.code, character.length};
    }
    case kCFStringEncodingMacRoman:
      return {base::fromMacRoman(byte), 1};
    case kCFStringEncodingISOLatin1:
      return {byte, 1};
    default:  // ASCII
      if (byte < 0x80) return {byte, 1};
      return {std::nullopt, 1};
  }
}

std::string encodeCharacter(char32_t code, CFStringEncoding encoding) {
  if (isUtf16(encoding)) {
    std::string bytes;
    const bool bigEndian = isBigEndian(encoding);
    if (base::utf16Length(code) == 1) {
      appendUnit(bytes, static_cast<char16_t>(code), bigEndian);
    } else {
      appendUnit(bytes, base::leadSurrogate(code), bigEndian);
      appendUnit(bytes, base::trailSurrogate(code), bigEndian);
    }
    return bytes;
  }
  switch (encoding) {
    case kCFStringEncodingUTF8:
      return base::toUtf8(code);
    case kCFStringEncodingMacRoman:
      if (const auto byte = base::toMacRoman(code)) return byteOf(*byte);
      return {};
    case kCFStringEncodingISOLatin1:
      return code <= 0xFF ? byteOf(code) : std::string();
    default:  // ASCII
      return code < 0x80 ? byteOf(code) : std::string();
  }
}

}  // namespace platform
