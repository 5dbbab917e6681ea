// SPDX-License-Identifier: Apache-2.0
//
// Utf8: reading and writing UTF-8, character by character. Pure functions, safe on any thread.
// Functions that make or extend strings may throw std::bad_alloc.
//
// "Well-formed" is used as Unicode defines it: no overlong forms, no surrogates, no values above
// U+10FFFF, no truncated sequences.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace base {

struct Utf8Character {
  char32_t code;
  std::size_t length;  // in bytes; 0 if the text does not start with a well-formed character
};

// Returns the first character of `text`, which must not be empty. If the text starts with a
// malformed sequence, the caller decides how to continue; all callers here skip one byte.
Utf8Character firstCharacter(std::string_view text);

// Returns the length of the first character in bytes, or 1 if it is malformed.
inline std::size_t firstCharacterLength(std::string_view text) {
  const std::size_t length = firstCharacter(text).length;
  return length == 0 ? 1 : length;
}

// Returns whether `byte` is a continuation byte: any byte of a character but the first.
constexpr bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

// Returns the number of characters in a well-formed text.
std::size_t countCharacters(std::string_view text);

// Appends `character`, which must be a scalar value (see Utf16.h).
void appendUtf8(std::string& text, char32_t character);

// Returns `character`, which must be a scalar value, in UTF-8.
std::string toUtf8(char32_t character);

}  // namespace base
