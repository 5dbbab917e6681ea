// SPDX-License-Identifier: Apache-2.0
//
// CallerText: a text as its caller gave it, and as the synthesizer gets it.
//
// A synthesizer takes Mac OS Roman up to a NUL. A caller's bytes stay as they are, except for NULs,
// which become blanks. A caller's string is converted by base/text/MacRomanEncoder.h: characters
// that Mac OS Roman lacks take their plain forms. Positions in the converted text are reported in
// the caller's units: bytes of the buffer, UTF-16 units of the string.
//
// Threads: one at a time.
#pragma once

#include <CoreFoundation/CFString.h>

#include <cstddef>
#include <string>

#include "CoreFoundation/CFObject.h"
#include "base/text/OriginText.h"

namespace platform {

class CallerText {
 public:
  CallerText() = default;
  // Copies.
  CallerText(const void* text, unsigned long bytes);
  // Holds a count of `string`, which is not null.
  explicit CallerText(CFStringRef string);

  // What is spoken.
  const std::string& bytes() const { return m_text.text(); }

  bool isString() const { return m_isString; }

  // Appends bytes; to a text of bytes only.
  void append(const void* text, unsigned long bytes);

  // A part of bytes() in the caller's units. Characters without width belong to the character
  // before them. Beyond the end of bytes(), every byte counts as one unit.
  CFRange inCallersUnits(unsigned long position, unsigned long length) const;

  // The caller's string; of a text of bytes, one that holds them. Null when out of memory. The text
  // owns it.
  CFStringRef string();

 private:
  CFIndex unitAt(std::size_t position) const;

  base::OriginText m_text;  // origins are the caller's units
  bool m_isString = false;
  Owned<CFStringRef> m_string;
};

}  // namespace platform
