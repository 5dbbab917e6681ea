// SPDX-License-Identifier: Apache-2.0
#include "Characters.h"

#include <cstdint>

#include "base/text/MacRoman.h"
#include "base/text/Utf8.h"

namespace platform {
namespace {

std::string byteOf(char32_t code) {
  return {static_cast<char>(code)};
}

}  // namespace

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
