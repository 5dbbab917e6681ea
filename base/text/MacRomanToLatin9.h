// SPDX-License-Identifier: Apache-2.0
//
// MacRomanToLatin9: conversion of Mac OS Roman to ISO 8859-15, byte by byte. A constant table, safe
// on any thread. Both sets have 209 characters in common; the other 47 are replaced by plain forms
// in ASCII.
#pragma once

#include <array>
#include <cstdint>

namespace base {

// The 1 to 15 bytes that replace one character.
struct Replacement {
  std::uint8_t length;
  std::array<char, 15> bytes;
};

// Maps each byte of Mac OS Roman to its replacement. Bytes below 0x80 are unchanged. No plain form
// contains "<", ">", "&", "[" or "]", so text that is safe in markup is still safe after the
// conversion.
extern const std::array<Replacement, 256> kMacRomanToLatin9;

}  // namespace base
