// SPDX-License-Identifier: Apache-2.0
//
// How text is spoken, and the stack of elements that set it. Used by one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "text/markup.h"

namespace kavrel {

// How a run of text is spoken. Values that the text does not set are the voice's own.
struct Style {
  static constexpr double kUnset = -1;

  double rate = kUnset;    // words per minute
  double volume = kUnset;  // percent of the voice's own loudness, at least 0
  double pitch = kUnset;   // median in Hz
  double range = kUnset;   // of the pitch, in Hz
  bool spellOut = false;   // letter by letter
  bool digits = false;     // numbers digit by digit
  bool emphasis = false;

  bool operator==(const Style&) const = default;
};

// The stack of open elements at a position in the text, and the style that results.
//
//  prosody   volume: percent; 0 is silence, a negative number counts as 0
//            rate: words per minute, above 0
//            pitch: Hz, above 0; range: Hz, at least 0; the unit "Hz" is optional
//  say-as    type or interpret-as: "spell-out" or "digits"
//  emphasis  strength: "strong"; any other value switches emphasis off
//  phoneme   no style; its content is not spoken
//
// An invalid value leaves the setting as it is outside the element. All other elements and
// attributes are ignored. An end tag closes the nearest open element of its name and all elements
// opened inside it; an end tag without an open element is ignored. Memory grows with the depth. A
// tag takes constant time, plus time for its own length and for the elements that it closes.
class StyleStack {
 public:
  // `tag` is a start tag that is not an empty element.
  void open(const MarkupEvent& tag);
  void close(std::string_view name);

  const Style& style() const { return m_style; }
  bool insidePhoneme() const { return m_counts[static_cast<std::size_t>(Element::Phoneme)] > 0; }

 private:
  enum class Element : std::uint8_t { Prosody, SayAs, Emphasis, Phoneme, Count };
  struct OpenElement {
    Element element;
    Style outside;  // the style before the element, restored when it is closed
  };

  static std::optional<Element> elementOf(std::string_view name);

  Style m_style;
  std::vector<OpenElement> m_open;
  // Number of open elements of each kind, so that an end tag without a start tag needs no search.
  std::array<std::size_t, static_cast<std::size_t>(Element::Count)> m_counts{};
};

// Reads the number at the start of `text`: sign, fraction and exponent are allowed, blanks around
// it are skipped, the locale has no influence. Stores the text after it in `unit`. Returns nullopt
// if there is no finite number.
std::optional<double> readNumber(std::string_view text, std::string_view& unit);

// Reads a break's time ("500ms", "1.5s"). Returns milliseconds, at most `limit`; 0 if it is
// invalid.
std::uint32_t readBreakTime(std::string_view text, std::uint32_t limit);

}  // namespace kavrel
