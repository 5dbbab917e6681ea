// SPDX-License-Identifier: Apache-2.0
//
// MacRomanEncoder: converts a text to Mac OS Roman for speech, one character after another, and
// notes where each byte came from.
//
// Characters take the forms of PlainForms.h. Beyond these it does what needs a neighbour: a letter
// and the combining accents after it become one letter, and a fraction or superscript after a digit
// is set off by a blank ("5½" is "5 1/2", not "51/2").
//
// Linear in the length of the text, whatever it contains. Used by one thread at a time. All
// functions may throw std::bad_alloc.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/text/OriginText.h"

namespace base {

class MacRomanEncoder {
 public:
  using Position = OriginText::Position;

  // Makes room for that many bytes.
  void reserve(std::size_t bytes) { m_text.reserve(bytes); }

  // The next character, which is at `origin` in the source. Malformed input is a blank, U+0020.
  void add(char32_t character, Position origin);
  // Several at once: ASCII other than NUL, each character one position after the one before. The
  // fast way for most texts.
  void addAscii(std::string_view ascii, Position first);

  // Number of bytes so far; the last character may not be counted yet.
  std::size_t size() const { return m_text.size(); }

  // The converted text. The source ends at `sourceEnd`. The encoder is empty afterwards.
  OriginText finish(Position sourceEnd);

 private:
  void flush();

  OriginText m_text;
  // The last character, with the accents that it has taken in; accents may follow.
  std::optional<char32_t> m_letter;
  Position m_origin = 0;
  bool m_afterNumberForm = false;
  std::string m_form;  // of one character; here to keep its memory
};

// The length of the ASCII, without NUL, that `text` begins with.
std::size_t asciiLength(std::string_view text);

}  // namespace base
