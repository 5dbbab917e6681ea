// SPDX-License-Identifier: Apache-2.0
//
// MacRomanToLatin9: the conversion of Mac OS Roman to ISO 8859-15, byte by byte. A constant table,
// safe on any thread. 209 characters are in both sets; the other 47 take a plain form in ASCII.
#pragma once

#include <array>
#include <cstdint>

namespace base {

// One to fifteen bytes that replace one character.
struct Replacement {
  std::uint8_t length;
  std::array<char, 15> bytes;
};

// By byte of Mac OS Roman. Bytes below 0x80 stay as they are. No plain form contains "<", ">", "&",
// "[" or "]": text that is safe in markup before the conversion is safe after it.
extern const std::array<Replacement, 256> kMacRomanToLatin9;

}  // namespace base
