// SPDX-License-Identifier: Apache-2.0
//
// CallerText: a caller's text, and its form for the synthesizer.
//
// A synthesizer takes Mac OS Roman or UTF-8 that ends at a NUL. Bytes from a caller are used
// unchanged, except that each NUL becomes a blank. A string becomes UTF-8. For a synthesizer that
// takes only Mac OS Roman, UTF-8 is converted by base/text/MacRomanEncoder.h: characters that Mac
// OS Roman lacks are replaced by their plain forms. Positions in the text are reported in the
// caller's units: bytes of the buffer, or UTF-16 units of the string. A text may consist of several
// buffers of the caller, the pieces; a position is then one in the piece, and a character may be
// cut between two pieces. The text may be adapted to what the synthesizer understands
// (texts/TextAdapter.h); positions are then mapped back through all steps.
//
// Threads: one thread at a time may use an object. Failure: std::bad_alloc.
#pragma once

#include <CoreFoundation/CFString.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "SpeechSynthesis/texts/Charset.h"
#include "base/text/OriginText.h"

namespace platform {

class CallerText {
 public:
  using String = std::shared_ptr<const __CFString>;

  CallerText() = default;
  explicit CallerText(Charset charset) : m_charset(charset) {}
  // Copies `bytes` bytes.
  CallerText(const void* text, unsigned long bytes, Charset charset);
  // Retains `string`, which must not be null.
  explicit CallerText(CFStringRef string);

  // True if the text has characters, but none with a width, a blank included: nothing of it could
  // be spoken.
  bool hasNoWidth() const;

  // Returns the text for the synthesizer.
  const std::string& bytes() const { return m_isAdapted ? m_adapted.text() : m_text.text(); }
  // Returns the charset of bytes().
  Charset charset() const { return m_charset; }

  // The functions that change the text must not be called once it is adapted.

  // Appends a copy of the bytes. If the text is not empty, they are a piece of their own. They are
  // converted if their charset is another one, which is Mac OS Roman then.
  void append(const void* text, unsigned long bytes, Charset charset);
  // Removes the bytes from `position` on, which is at most the length, and returns them as a text.
  // Positions remain those in the pieces.
  CallerText splitOff(std::size_t position);
  // Converts the text to Mac OS Roman, if it is UTF-8. After that, nothing may be appended but Mac
  // OS Roman.
  void useMacRoman();
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
  // Converts a range in the caller's units, as inCallersUnits() returned it for `position`, into
  // UTF-16 units of stringAt(position). Linear in what lies between two successive ranges.
  CFRange inString(unsigned long position, CFRange range);

  // True if positions in bytes() differ from the caller's, or may.
  bool needsMapping() const { return m_isAdapted || m_isConverted; }

 private:
  // What the caller gave in one call. Units are counted through all pieces.
  struct Piece {
    CFIndex start;      // its first unit
    CFIndex length;     // in units
    std::string bytes;  // empty if the caller gave a string
    Charset charset;    // of `bytes`
    String string;      // null until it is requested
  };

  static String retained(CFStringRef string);
  static String stringOf(const std::string& bytes, Charset charset);
  CFIndex unitAt(std::size_t position) const;
  CFRange inUnits(unsigned long position, unsigned long length) const;
  CFRange convertedInUnits(std::size_t position, std::size_t length) const;
  const Piece* pieceAt(CFIndex unit) const;
  void startPieces();
  void appendConverted(std::string_view macRoman, CFIndex unit);
  CFIndex unitsBefore(const std::string& utf8, std::size_t byte);

  base::OriginText m_text;     // origins in units
  base::OriginText m_adapted;  // origins in m_text
  Charset m_charset = Charset::MacRoman;
  bool m_isAdapted = false;
  bool m_isConverted = false;  // from a string, or to another charset
  CFIndex m_firstUnit = 0;     // of m_text
  // Shared by the texts that a text was split into. Empty while there is only one piece, all of
  // which is in m_text.
  std::vector<std::shared_ptr<Piece>> m_pieces;
  String m_string;               // of the only piece; null until it is requested
  bool m_givenAsString = false;  // the first piece is a string
  // Cache of unitsBefore(): the text, a position in it, and the units before that.
  const std::string* m_countedText = nullptr;
  std::size_t m_countedBytes = 0;
  CFIndex m_countedUnits = 0;
};

}  // namespace platform
