// SPDX-License-Identifier: Apache-2.0
#include "base/text/Utf8.h"

#include <algorithm>
#include <cstdint>

#include <unicode/utf8.h>

namespace base {

// ASCII is handled first, since it is the usual case.
Utf8Character firstCharacter(std::string_view text) {
  if (static_cast<unsigned char>(text.front()) < 0x80) {
    return {static_cast<unsigned char>(text.front()), 1};
  }
  // U8_NEXT takes 32-bit lengths, so the text is cut to the longest possible character.
  const auto length = static_cast<std::int32_t>(std::min<std::size_t>(text.size(), U8_MAX_LENGTH));
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::int32_t at = 0;
  UChar32 code = 0;
  U8_NEXT(bytes, at, length, code);
  if (code < 0) return {0, 0};
  return {static_cast<char32_t>(code), static_cast<std::size_t>(at)};
}

std::size_t countCharacters(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return !isContinuation(byte); }));
}

void appendUtf8(std::string& text, char32_t character) {
  std::uint8_t bytes[U8_MAX_LENGTH];
  std::int32_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, character);
  text.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

std::string toUtf8(char32_t character) {
  std::string text;
  appendUtf8(text, character);
  return text;
}

}  // namespace base
