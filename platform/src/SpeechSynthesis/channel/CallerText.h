// SPDX-License-Identifier: Apache-2.0
//
// CallerText: a text as its caller gave it, and as the synthesizer gets it.
//
// A synthesizer takes Mac OS Roman up to a NUL. A caller's bytes stay as they are, but for NULs,
// which become blanks. A caller's string is converted: what Mac OS Roman lacks takes its plain form
// (a letter without its accent, "-" for every dash), nothing for what has no width, one blank
// where there is no form. Places in the converted text are told in the caller's units: bytes of the
// buffer, UTF-16 units of the string.
//
// Threads: one at a time.
#pragma once

#include <CoreFoundation/CFString.h>

#include <cstdint>
#include <string>
#include <vector>

#include "CoreFoundation/CFObject.h"

namespace platform {

class CallerText {
 public:
  CallerText() = default;
  // Copies.
  CallerText(const void* text, unsigned long bytes);
  // Holds a count of `string`, which is not null.
  explicit CallerText(CFStringRef string);

  // What is spoken.
  const std::string& bytes() const { return m_bytes; }

  bool isString() const { return m_isString; }

  // More bytes behind the end; of a text of bytes only.
  void append(const void* text, unsigned long bytes);

  // A part of bytes(), `position` + `length` at most its size, in the caller's units. What has no
  // width belongs to the character in front of it.
  CFRange inCallersUnits(unsigned long position, unsigned long length) const;

  // The caller's string; of a text of bytes, one that holds them. Null when memory is out. The text
  // owns it.
  CFStringRef string();

 private:
  CFIndex unitAt(unsigned long position) const;

  std::string m_bytes;
  bool m_isString = false;
  Owned<CFStringRef> m_string;
  // Of a caller's string: the unit that each converted byte comes from, and the number of units.
  std::vector<std::uint32_t> m_units;
  CFIndex m_unitCount = 0;
};

}  // namespace platform
