// SPDX-License-Identifier: Apache-2.0
//
// CallerText: a caller's text, and its form for the synthesizer.
//
// A synthesizer takes Mac OS Roman that ends at a NUL. Bytes from a caller are used unchanged,
// except that each NUL becomes a blank. A string is converted by base/text/MacRomanEncoder.h:
// characters that Mac OS Roman lacks are replaced by their plain forms. Positions in the converted
// text are reported in the caller's units: bytes of the buffer, or UTF-16 units of the string. A
// text may consist of several buffers of the caller, the pieces; a position is then one in the
// piece. The text may be adapted to what the synthesizer understands (texts/TextAdapter.h);
// positions are then mapped back through both steps.
//
// Threads: one thread at a time may use an object. Failure: std::bad_alloc.
#pragma once

#include <CoreFoundation/CFString.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/text/OriginText.h"

namespace platform {

class CallerText {
 public:
  using String = std::shared_ptr<const __CFString>;

  CallerText() = default;
  // Copies `bytes` bytes.
  CallerText(const void* text, unsigned long bytes);
  // Retains `string`, which must not be null.
  explicit CallerText(CFStringRef string);

  // Returns the text for the synthesizer.
  const std::string& bytes() const { return m_isAdapted ? m_adapted.text() : m_text.text(); }

  // The functions that change the text must not be called once it is adapted.

  // Appends a copy of the bytes. If the text is not empty, they are a piece of their own.
  void append(const void* text, unsigned long bytes);
  // Removes the bytes from `position` on, which is at most the length, and returns them as a text.
  // Positions remain those in the pieces.
  CallerText splitOff(std::size_t position);
  // Puts bytes before the text; their origin is that of its first byte.
  void insertAtStart(std::string_view bytes);

  // Converts a range of bytes() into the caller's units. Characters without width belong to the
  // character before them. After the end of bytes(), every byte counts as one unit. The range ends
  // at the latest with the piece that it begins in.
  CFRange inCallersUnits(unsigned long position, unsigned long length) const;

  // Returns the length, in the caller's units, of the text from `position` of bytes() on. From
  // position 0 it is all of the text, whatever of it the synthesizer does not get.
  CFIndex unitsFrom(unsigned long position) const;

  // Replaces bytes(). The origins of `adapted` are positions in bytes() as it was before.
  void adapt(base::OriginText adapted);
  bool isAdapted() const { return m_isAdapted; }

  // Returns the piece that `position` of bytes() lies in: the caller's string, or a string made
  // from the caller's bytes. Null when out of memory.
  String stringAt(unsigned long position);

 private:
  // What the caller gave in one call. Units are counted through all pieces.
  struct Piece {
    CFIndex start;   // its first unit
    CFIndex length;  // in units
    std::string bytes;
    String string;  // null until it is requested
  };

  static String retained(CFStringRef string);
  static String stringOf(const std::string& bytes);
  CFIndex unitAt(std::size_t position) const;
  CFRange inUnits(unsigned long position, unsigned long length) const;
  CFRange convertedInUnits(std::size_t position, std::size_t length) const;
  const Piece* pieceAt(CFIndex unit) const;
  void startPieces();

  base::OriginText m_text;     // origins in units
  base::OriginText m_adapted;  // origins in m_text
  bool m_isAdapted = false;
  CFIndex m_firstUnit = 0;  // of m_text
  // Shared by the texts that a text was split into. Empty while there is only one piece, all of
  // which is in m_text.
  std::vector<std::shared_ptr<Piece>> m_pieces;
  String m_string;  // of the only piece
};

}  // namespace platform
