// SPDX-License-Identifier: Apache-2.0
//
// Utf16: UTF-16 code units and surrogate pairs. Pure functions, safe on any thread.
#pragma once

#include <cstddef>

namespace base {

constexpr bool isLeadSurrogate(char32_t code) {
  return code >= 0xD800 && code < 0xDC00;
}

constexpr bool isTrailSurrogate(char32_t code) {
  return code >= 0xDC00 && code < 0xE000;
}

// Returns whether `code` is a Unicode scalar value: at most U+10FFFF, and not a surrogate.
constexpr bool isScalarValue(char32_t code) {
  return code <= 0x10FFFF && !isLeadSurrogate(code) && !isTrailSurrogate(code);
}

// Returns the number of code units of a scalar value: 1 or 2.
constexpr std::size_t utf16Length(char32_t character) {
  return character > 0xFFFF ? 2 : 1;
}

// Return the surrogates of a character, which must be above U+FFFF.
constexpr char16_t leadSurrogate(char32_t character) {
  return static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10U));
}
constexpr char16_t trailSurrogate(char32_t character) {
  return static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FFU));
}

// Returns the character that a lead and a trail surrogate encode.
constexpr char32_t fromSurrogates(char32_t lead, char32_t trail) {
  return 0x10000 + ((lead - 0xD800) << 10U) + (trail - 0xDC00);
}

}  // namespace base
