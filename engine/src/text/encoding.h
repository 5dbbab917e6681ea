// SPDX-License-Identifier: Apache-2.0
//
// The encodings of the texts that are spoken, and of the texts of their events. Pure functions,
// safe on any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kavrel {

enum class Encoding : std::uint8_t { Latin9, Utf8 };

// A character and the bytes that it takes.
struct EncodedCharacter {
  char32_t character = 0;
  std::size_t length = 0;
};

// What a byte that is not part of a character stands for. It separates words.
inline constexpr char32_t kMalformed = 0xFFFD;

// Returns the encoding with this name, "iso-8859-15" or "utf-8"; nullopt for others. Null is the
// name of ISO 8859-15.
std::optional<Encoding> encodingNamed(const char* name);

// Reads the character at the start of `text`, which is not empty. A byte of malformed UTF-8 is
// kMalformed, with a length of 1.
EncodedCharacter firstCharacter(std::string_view text, Encoding encoding);

// Appends `character`, a scalar value. ISO 8859-15 has a customary replacement for some characters
// that it lacks (quotes, dashes, "..."), and "?" for the others and for NUL.
void append(std::string& text, char32_t character, Encoding encoding);

}  // namespace kavrel
