// SPDX-License-Identifier: Apache-2.0
//
// Latin9: what stands in ISO 8859-15 for each byte of Mac OS Roman. A constant table.
#pragma once

#include <array>
#include <cstdint>

namespace platform {

// One to fifteen bytes that replace one character.
struct Replacement {
  std::uint8_t length;
  std::array<char, 15> bytes;
};

// By the byte of Mac OS Roman. Bytes below 0x80 stand for themselves. No plain form holds "<", ">",
// "&", "[" or "]": text that was made safe for markup before the conversion is safe after it.
extern const std::array<Replacement, 256> kMacRomanToLatin9;

}  // namespace platform
