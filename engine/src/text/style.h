// SPDX-License-Identifier: GPL-3.0-or-later
//
// How text is to be spoken, and the elements that set it. Used by one thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "text/markup.h"

namespace kavrel {

// How a stretch of text is to be spoken. What the text does not set is left to the voice.
struct Style {
  static constexpr double kUnset = -1;

  double rate = kUnset;    // words per minute
  double volume = kUnset;  // percent of the voice's own loudness; 0 and up
  double pitch = kUnset;   // Hz
  double range = kUnset;   // Hz
  bool spellOut = false;   // letter by letter
  bool digits = false;     // numbers digit by digit
  bool emphasis = false;

  bool operator==(const Style&) const = default;
};

// The elements that are open at a place of the text, and the style that they make.
//
//  prosody   volume: percent; 0 is silence, a negative number counts as 0
//            rate: words per minute, above 0
//            pitch: Hz, above 0; range: Hz, 0 and up; "Hz" behind the number may be missing
//  say-as    type or interpret-as: "spell-out" or "digits"
//  emphasis  strength: "strong"; any other switches emphasis off
//  phoneme
//
// A value that cannot be read leaves the setting as it is outside the element. All else that comes
// in tags changes nothing. An end tag closes the nearest open element of its name and what is open
// inside it; one without an open element is left out. Memory grows with the depth, and each tag
// costs constant time, its own length and the elements it closes aside.
class StyleStack {
 public:
  // A start tag that is not empty.
  void open(const MarkupEvent& tag);
  void close(std::string_view name);

  const Style& style() const { return m_style; }
  bool insidePhoneme() const { return m_counts[static_cast<std::size_t>(Element::Phoneme)] > 0; }

 private:
  enum class Element : std::uint8_t { Prosody, SayAs, Emphasis, Phoneme, Count };
  struct Open {
    Element element;
    Style outside;
  };

  static std::optional<Element> elementOf(std::string_view name);

  Style m_style;
  std::vector<Open> m_open;
  // How many of each element are open, so that an end tag without one need not search.
  std::array<std::size_t, static_cast<std::size_t>(Element::Count)> m_counts{};
};

// The number at the start of `text` (sign, fraction and exponent allowed, blanks around it left
// out) and `unit`, what stands behind it; nothing when there is none that is finite.
std::optional<double> readNumber(std::string_view text, std::string_view& unit);

// A break's time ("500ms", "1.5s") in milliseconds, 0 for what cannot be read, `limit` at most.
std::uint32_t readBreakTime(std::string_view text, std::uint32_t limit);

}  // namespace kavrel
