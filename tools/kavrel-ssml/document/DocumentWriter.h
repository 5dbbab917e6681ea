// SPDX-License-Identifier: Apache-2.0
//
// DocumentWriter: writes text, each stretch in its style, as well-formed SSML: elements are opened
// and closed as the styles want it, and none is empty.
#pragma once

#include <string>

#include "base/text/OriginText.h"

namespace ssml {

// How a stretch of text is spoken.
struct Style {
  std::string prosody;  // attributes of the prosody element; empty: none
  bool emphasised = false;
  std::string sayAs;  // value of interpret-as; empty: none

  bool operator==(const Style&) const = default;
};

class DocumentWriter {
 public:
  // Text with escapes. Blanks at its ends take the style that saves an element.
  void text(const base::OriginText& escaped, const Style& style);
  // An element without contents that may stand in any element but say-as. What is open beyond the
  // style is closed; nothing is opened for it.
  void element(const std::string& markup, const Style& style);
  // An element with contents, in the style, say-as aside.
  void element(const std::string& open, const base::OriginText& escaped, const std::string& close,
               const Style& style);

  // Closes what is open, and hands out what was written.
  base::OriginText finish();

 private:
  enum Level { kProsody, kEmphasis, kSayAs, kLevels };

  static std::string opening(const Style& style, int level);
  static std::string closing(int level);
  static int commonLevels(const Style& a, const Style& b);
  void change(const Style& style);
  void closeDownTo(int level);

  base::OriginText m_out;
  base::OriginText m_blanks;  // read, not yet written
  Style m_style;              // in which the text so far ends
};

}  // namespace ssml
