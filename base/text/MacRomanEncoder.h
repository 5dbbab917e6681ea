// SPDX-License-Identifier: Apache-2.0
//
// MacRomanEncoder: converts a text to Mac OS Roman for speech, character by character, and records
// the origin of each byte.
//
// Each character is replaced by its form in PlainForms.h. Two rules depend on the character before:
//   - A letter and the combining accents after it become one letter.
//   - A blank separates a fraction or superscript from a digit before it: "5½" becomes "5 1/2".
//
// Time is linear in the length of the text. One thread at a time may use an object. All functions
// that change the object may throw std::bad_alloc.
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

  // Reserves memory for a text of `bytes` bytes.
  void reserve(std::size_t bytes) { m_text.reserve(bytes); }

  // Adds the next character; `origin` is its position in the source. For malformed input, callers
  // pass a blank (U+0020).
  void add(char32_t character, Position origin);
  // Adds ASCII characters other than NUL. The first one is at `first` in the source, and each takes
  // one position. Faster than add().
  void addAscii(std::string_view ascii, Position first);

  // Returns the number of bytes so far, without those of the last character if it is still kept.
  std::size_t size() const { return m_text.size(); }

  // Returns the converted text. `sourceEnd` is the length of the source. The encoder is empty after
  // this and can be used for another text.
  OriginText finish(Position sourceEnd);

 private:
  void flush();

  OriginText m_text;
  // The last character, combined with the accents added so far; more accents may follow.
  std::optional<char32_t> m_letter;
  Position m_origin = 0;
  bool m_afterNumberForm = false;
  std::string m_form;  // of one character; a member to reuse its memory
};

// Returns the number of ASCII characters other than NUL at the start of `text`.
std::size_t asciiLength(std::string_view text);

}  // namespace base
