// SPDX-License-Identifier: Apache-2.0
//
// Utf8: UTF-8, one character at a time. Pure functions, safe on any thread.
//
// Well-formed UTF-8 is what Unicode calls so: no overlong forms, no surrogates, nothing above
// U+10FFFF, no truncated sequences.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace base {

struct Utf8Character {
  char32_t code;
  std::size_t length;  // in bytes; 0: the text does not begin with a well-formed character
};

// The first character of `text`, which must not be empty. What to do with a malformed byte is the
// caller's choice; all of ours skip one byte.
Utf8Character firstCharacter(std::string_view text);

// Number of bytes that firstCharacter() has looked at: 1 for a malformed byte.
inline std::size_t firstCharacterLength(std::string_view text) {
  const std::size_t length = firstCharacter(text).length;
  return length == 0 ? 1 : length;
}

// Whether `byte` continues a character that an earlier byte began.
constexpr bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

// The number of characters of a well-formed text.
std::size_t countCharacters(std::string_view text);

// Appends `character`, which must be a scalar value (see Utf16.h).
void appendUtf8(std::string& text, char32_t character);

std::string toUtf8(char32_t character);

}  // namespace base
