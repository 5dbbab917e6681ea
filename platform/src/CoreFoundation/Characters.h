// SPDX-License-Identifier: Apache-2.0
//
// Characters: reads and writes single characters in the encodings of CFStrings, with the tables of
// base/text. Pure functions, safe on any thread.
#pragma once

#include <CoreFoundation/CFString.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/text/Utf16.h"

namespace platform {

// Returns whether strings can have the encoding: UTF-8, Mac OS Roman, ISO 8859-1 or ASCII.
bool isKnownEncoding(CFStringEncoding encoding);

// Returns whether the encoding is one of UTF-16. Strings are converted from and to these, but do
// not have them.
bool isUtf16(CFStringEncoding encoding);

// Returns whether text of ASCII characters has the same bytes in the encoding as in ASCII. True for
// all that CFString.h declares, except those of UTF-16.
bool isAsciiCompatible(CFStringEncoding encoding);

// Returns UTF-16 text as UTF-8; empty if it is malformed. `hasMark`: a byte order mark at the start
// is removed, and decides about the byte order of kCFStringEncodingUTF16. Throws std::bad_alloc.
std::optional<std::string> utf8FromUtf16(std::string_view text, CFStringEncoding encoding,
                                         bool hasMark);

// One character of a text: its code and its length in bytes. For a malformed byte, `code` is empty
// and `length` is 1.
struct Character {
  std::optional<char32_t> code;
  std::size_t length;

  // Returns the length in UTF-16 units; 1 for a malformed byte.
  CFIndex units() const { return code ? static_cast<CFIndex>(base::utf16Length(*code)) : 1; }
};

// Returns the first character of `text`, which must not be empty. `encoding` must be known.
Character readCharacter(std::string_view text, CFStringEncoding encoding);

// Returns the bytes of a character in a known encoding or UTF-16; empty if the encoding lacks it.
// Allocates no memory: a character has at most four bytes, which std::string stores in the object.
std::string encodeCharacter(char32_t code, CFStringEncoding encoding);

}  // namespace platform
