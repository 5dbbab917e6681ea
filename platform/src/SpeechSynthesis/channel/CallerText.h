// SPDX-License-Identifier: Apache-2.0
//
// CallerText: a caller's text, and its form for the synthesizer.
//
// A synthesizer takes Mac OS Roman that ends at a NUL. Bytes from a caller are used unchanged,
// except that each NUL becomes a blank. A string is converted by base/text/MacRomanEncoder.h:
// characters that Mac OS Roman lacks are replaced by their plain forms. Positions in the converted
// text are reported in the caller's units: bytes of the buffer, or UTF-16 units of the string. The
// text may be adapted to what the synthesizer understands (texts/TextAdapter.h); positions are then
// mapped back through both steps.
//
// Threads: one thread at a time may use an object. Failure: std::bad_alloc.
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
  // Copies `bytes` bytes.
  CallerText(const void* text, unsigned long bytes);
  // Retains `string`, which must not be null.
  explicit CallerText(CFStringRef string);

  // Returns the text for the synthesizer.
  const std::string& bytes() const { return m_isAdapted ? m_adapted.text() : m_text.text(); }

  bool isString() const { return m_isString; }

  // Appends a copy of the bytes. The text must have been made from bytes, not from a string, and
  // not be adapted.
  void append(const void* text, unsigned long bytes);

  // Converts a range of bytes() into the caller's units. Characters without width belong to the
  // character before them. After the end of bytes(), every byte counts as one unit.
  CFRange inCallersUnits(unsigned long position, unsigned long length) const;

  // Returns the length, in the caller's units, of the text from `position` of bytes() on. From
  // position 0 it is all of the text, whatever of it the synthesizer does not get.
  CFIndex unitsFrom(unsigned long position) const;

  // Replaces bytes(). The origins of `adapted` are positions in bytes() as it was before.
  void adapt(base::OriginText adapted);
  bool isAdapted() const { return m_isAdapted; }

  // Returns the caller's string, or a string made from the caller's bytes. Null when out of memory.
  // This object owns the string.
  CFStringRef string();

 private:
  CFIndex unitAt(std::size_t position) const;
  CFRange convertedInCallersUnits(std::size_t position, std::size_t length) const;

  base::OriginText m_text;     // origins in the caller's units
  base::OriginText m_adapted;  // origins in m_text
  bool m_isAdapted = false;
  bool m_isString = false;
  Owned<CFStringRef> m_string;
};

}  // namespace platform
