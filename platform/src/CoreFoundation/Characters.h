// SPDX-License-Identifier: Apache-2.0
//
// Characters: reading and writing single characters in the encodings that strings have. Pure
// functions; base/text knows the encodings themselves.
#pragma once

#include <CoreFoundation/CFString.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/text/Utf16.h"

namespace platform {

bool isKnownEncoding(CFStringEncoding encoding);

// One character of a text: its code, and the number of bytes that it takes there. `code` is empty
// for a byte that is not part of a character; it takes one byte.
struct Character {
  std::optional<char32_t> code;
  std::size_t length;

  // The number of UTF-16 units; one for a byte without a code.
  CFIndex units() const { return code ? static_cast<CFIndex>(base::utf16Length(*code)) : 1; }
};

// The first character of `text`, which is not empty; `encoding` is a known one.
Character readCharacter(std::string_view text, CFStringEncoding encoding);

// The bytes of a character in an encoding; empty if the encoding lacks it. Allocates no memory: no
// character is longer than four bytes, which every string has room for.
std::string encodeCharacter(char32_t code, CFStringEncoding encoding);

}  // namespace platform
