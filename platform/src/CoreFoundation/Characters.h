// SPDX-License-Identifier: Apache-2.0
//
// Characters: reading and writing single characters in the encodings that strings have. Pure
// functions.
#pragma once

#include <CoreFoundation/CFString.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace platform {

bool isKnownEncoding(CFStringEncoding encoding);

// One character of a text: its code, and how many bytes it takes there. `code` is empty for a byte
// that is no part of a character; it takes one.
struct Character {
  std::optional<char32_t> code;
  std::size_t length;

  // The number of UTF-16 units; one for a byte without a code.
  CFIndex units() const { return code > char32_t{0xFFFF} ? 2 : 1; }
};

// The character at the front of `text`, which is not empty; `encoding` is a known one.
Character readCharacter(std::string_view text, CFStringEncoding encoding);

// The bytes of a character in an encoding; none when the encoding lacks it.
struct Encoded {
  std::array<std::uint8_t, 4> bytes;
  std::size_t length;
};
Encoded encodeCharacter(char32_t code, CFStringEncoding encoding);

}  // namespace platform
