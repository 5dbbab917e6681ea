// SPDX-License-Identifier: Apache-2.0
//
// Latin9: conversion between ISO 8859-15 ("Latin 9") and Unicode, character by character. Constant
// tables and pure functions, safe on any thread. All is inline, since the engine decodes its text
// byte by byte.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace base {

// ISO 8859-15 differs in these eight bytes from ISO 8859-1, whose bytes are the first 256
// characters of Unicode.
struct Latin9Assignment {
  std::uint8_t byte;
  char16_t character;
};
inline constexpr std::array<Latin9Assignment, 8> kLatin9Own = {{
    {0xA4, 0x20AC},  // euro sign
    {0xA6, 0x0160},  // S, s with caron
    {0xA8, 0x0161},  //
    {0xB4, 0x017D},  // Z, z with caron
    {0xB8, 0x017E},  //
    {0xBC, 0x0152},  // OE, oe
    {0xBD, 0x0153},  //
    {0xBE, 0x0178},  // Y with diaeresis
}};

// Maps each byte to its character.
inline constexpr auto kLatin9Characters = [] {
  std::array<char16_t, 256> characters{};
  for (std::size_t byte = 0; byte < characters.size(); ++byte) {
    characters[byte] = static_cast<char16_t>(byte);
  }
  for (const Latin9Assignment& own : kLatin9Own) characters[own.byte] = own.character;
  return characters;
}();

// Returns the character of a byte. Every byte has one.
constexpr char32_t fromLatin9(std::uint8_t byte) {
  return kLatin9Characters[byte];
}

// Returns the byte of a character, or nothing if ISO 8859-15 lacks the character.
constexpr std::optional<std::uint8_t> toLatin9(char32_t character) {
  if (character <= 0xFF) {
    const auto byte = static_cast<std::uint8_t>(character);
    if (kLatin9Characters[byte] == character) return byte;
    return std::nullopt;
  }
  for (const Latin9Assignment& own : kLatin9Own) {
    if (own.character == character) return own.byte;
  }
  return std::nullopt;
}

}  // namespace base
