// SPDX-License-Identifier: Apache-2.0
//
// Charset: what the bytes of a text mean. Commands, blanks and digits are ASCII in both charsets,
// and no byte of a longer character of UTF-8 is ASCII, so they are found byte by byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/text/MacRoman.h"
#include "base/text/Utf8.h"

namespace platform {

enum class Charset : std::uint8_t { MacRoman, Utf8 };

// Returns the first character of `text`, which must not be empty. A byte that is not part of
// well-formed UTF-8 is U+FFFD with the length 1.
inline base::Utf8Character firstCharacterIn(std::string_view text, Charset charset) {
  if (charset == Charset::MacRoman) {
    return {base::fromMacRoman(static_cast<std::uint8_t>(text.front())), 1};
  }
  const base::Utf8Character character = base::firstCharacter(text);
  if (character.length > 0) return character;
  return {0xFFFD, 1};
}

}  // namespace platform
