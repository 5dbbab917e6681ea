// SPDX-License-Identifier: Apache-2.0
//
// DocumentWriter: writes text with styles as well-formed SSML. Opens and closes elements where the
// style changes; no element is empty.
//
// Threads: used by one thread.
#pragma once

#include <string>

#include "base/text/OriginText.h"

namespace ssml {

// The style of a range of text.
struct Style {
  std::string prosody;  // attributes of the prosody element; empty: none
  bool emphasised = false;
  std::string sayAs;  // value of interpret-as; empty: none

  bool operator==(const Style&) const = default;
};

class DocumentWriter {
 public:
  // Writes escaped text. Blanks at its ends can take the style of the neighbouring text, so that an
  // element is not opened or closed for blanks only.
  void text(const base::OriginText& escaped, const Style& style);
  // Writes an element without contents (break, mark), which is not allowed inside say-as. Closes
  // elements that are not part of `style`; opens none.
  void element(const std::string& markup, const Style& style);
  // Writes an element with contents, in `style` without its say-as.
  void element(const std::string& open, const base::OriginText& escaped, const std::string& close,
               const Style& style);

  // Closes all open elements and returns the result. The writer is empty after that.
  base::OriginText finish();

 private:
  // The nesting of elements, outermost first.
  enum Level { kProsody, kEmphasis, kSayAs, kLevels };

  static std::string openingTag(const Style& style, int level);
  static std::string closingTag(int level);
  static int commonLevels(const Style& a, const Style& b);
  void changeStyle(const Style& style);
  void closeDownTo(int level);

  base::OriginText m_out;
  base::OriginText m_blanks;  // blanks whose style is not decided yet
  Style m_style;              // the style of the last text written
};

}  // namespace ssml
