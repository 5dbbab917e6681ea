// SPDX-License-Identifier: Apache-2.0
#include "Characters.h"

#include "TextEncoding/MacRoman.h"

namespace platform {
namespace {

constexpr bool isSurrogate(char32_t code) {
  return code >= 0xD800 && code <= 0xDFFF;
}

// What the first byte of a UTF-8 sequence says; length 0 for a byte that cannot be first.
struct Lead {
  std::size_t length;
  char32_t bits;
  char32_t smallest;  // a smaller code has a shorter form, and this one is malformed
};

Lead readLead(std::uint8_t byte) {
  if (byte < 0x80) return {1, byte, 0};
  if (byte < 0xC0) return {0, 0, 0};
  if (byte < 0xE0) return {2, byte & 0x1FU, 0x80};
  if (byte < 0xF0) return {3, byte & 0x0FU, 0x800};
  if (byte < 0xF8) return {4, byte & 0x07U, 0x10000};
  return {0, 0, 0};
}

Character readUtf8(std::string_view text) {
  constexpr Character kNone{std::nullopt, 1};
  const Lead lead = readLead(static_cast<std::uint8_t>(text.front()));
  if (lead.length == 0 || lead.length > text.size()) return kNone;
  char32_t code = lead.bits;
  for (const char next : text.substr(1, lead.length - 1)) {
    const auto byte = static_cast<std::uint8_t>(next);
    if ((byte & 0xC0U) != 0x80) return kNone;
    code = (code << 6U) | (byte & 0x3FU);
  }
  if (code < lead.smallest || code > 0x10FFFF || isSurrogate(code)) return kNone;
  return {code, lead.length};
}

Encoded encodeUtf8(char32_t code) {
  const auto byte = [](char32_t value) { return static_cast<std::uint8_t>(value); };
  const auto tail = [&](unsigned shift) { return byte(0x80U | ((code >> shift) & 0x3FU)); };
  if (code < 0x80) return {{byte(code)}, 1};
  if (code < 0x800) return {{byte(0xC0U | (code >> 6U)), tail(0)}, 2};
  if (code < 0x10000) return {{byte(0xE0U | (code >> 12U)), tail(6), tail(0)}, 3};
  return {{byte(0xF0U | (code >> 18U)), tail(12), tail(6), tail(0)}, 4};
}

}  // namespace

bool isKnownEncoding(CFStringEncoding encoding) {
  return encoding == kCFStringEncodingUTF8 || encoding == kCFStringEncodingMacRoman ||
         encoding == kCFStringEncodingISOLatin1 || encoding == kCFStringEncodingASCII;
}

Character readCharacter(std::string_view text, CFStringEncoding encoding) {
  const auto byte = static_cast<std::uint8_t>(text.front());
  switch (encoding) {
    case kCFStringEncodingUTF8:
      return readUtf8(text);
    case kCFStringEncodingMacRoman:
      return {macRomanToUnicode(byte), 1};
    case kCFStringEncodingISOLatin1:
      return {byte, 1};
    default:
      if (byte < 0x80) return {byte, 1};
      return {std::nullopt, 1};
  }
}

Encoded encodeCharacter(char32_t code, CFStringEncoding encoding) {
  switch (encoding) {
    case kCFStringEncodingUTF8:
      return encodeUtf8(code);
    case kCFStringEncodingMacRoman:
      if (const auto byte = unicodeToMacRoman(code)) return {{*byte}, 1};
      return {{}, 0};
    case kCFStringEncodingISOLatin1:
      if (code <= 0xFF) return {{static_cast<std::uint8_t>(code)}, 1};
      return {{}, 0};
    default:
      if (code < 0x80) return {{static_cast<std::uint8_t>(code)}, 1};
      return {{}, 0};
  }
}

}  // namespace platform
