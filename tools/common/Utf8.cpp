// SPDX-License-Identifier: Apache-2.0
#include "Utf8.h"

#include <cstdint>

namespace tool {
namespace {

constexpr Utf8Character kMalformed{0, 0};

// The length that a first byte announces; 0 for one that begins no character.
std::size_t announcedLength(std::uint8_t first) {
  if (first < 0x80) return 1;
  if (first < 0xC2) return 0;
  if (first < 0xE0) return 2;
  if (first < 0xF0) return 3;
  return first < 0xF5 ? 4 : 0;
}

// The smallest character that needs so many bytes.
char32_t smallest(std::size_t length) {
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  return kSmallest[length];
}

}  // namespace

Utf8Character firstCharacter(std::string_view text) {
  const auto first = static_cast<std::uint8_t>(text.front());
  const std::size_t length = announcedLength(first);
  if (length == 1) return {first, 1};
  if (length == 0 || text.size() < length) return kMalformed;
  char32_t code = first & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = static_cast<std::uint8_t>(text[i]);
    if ((next & 0xC0U) != 0x80) return kMalformed;
    code = (code << 6U) | (next & 0x3FU);
  }
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < smallest(length) || surrogate || code > 0x10FFFF) return kMalformed;
  return {code, length};
}

std::string toUtf8(char32_t character) {
  const auto tail = [character](unsigned shift) {
    return static_cast<char>(0x80U | ((character >> shift) & 0x3FU));
  };
  if (character < 0x80) return {static_cast<char>(character)};
  if (character < 0x800) return {static_cast<char>(0xC0U | (character >> 6U)), tail(0)};
  if (character < 0x10000) {
    return {static_cast<char>(0xE0U | (character >> 12U)), tail(6), tail(0)};
  }
  return {static_cast<char>(0xF0U | (character >> 18U)), tail(12), tail(6), tail(0)};
}

}  // namespace tool
