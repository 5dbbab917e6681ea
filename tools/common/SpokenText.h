// SPDX-License-Identifier: Apache-2.0
//
// SpokenText: a text as the Manager takes it, and the way back to the bytes it came from.
//
// The text given is UTF-8, the Manager's is Mac OS Roman. Characters that Mac OS Roman lacks take
// their plain forms, and accents join their letters: see base/text/MacRomanEncoder.h. A byte that
// is not part of well-formed UTF-8 is a blank.
//
// Threads: constant once made.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/text/OriginText.h"

namespace tool {

// What "[[" does in a text.
enum class Brackets {
  Command,  // begins a speech command
  Text,     // nothing, like all characters: the second one is passed on as a "("
};

// A range of bytes of the given text.
using Slice = base::OriginText::Range;

class SpokenText {
 public:
  // Throws Failure when the text is longer than the Manager's positions can tell (2 GiB).
  explicit SpokenText(std::string given, Brackets brackets = Brackets::Command);

  const std::string& given() const { return m_given; }
  const std::string& macRoman() const { return m_macRoman.text(); }
  // macRoman() with the position of each byte in given().
  const base::OriginText& converted() const { return m_macRoman; }

  // The bytes of the given text that `length` bytes of the Mac OS Roman text from `position` came
  // from; whole characters, and always inside the text.
  Slice origin(std::size_t position, std::size_t length) const {
    return m_macRoman.sourceOf(position, length);
  }

  std::string_view givenAt(Slice slice) const {
    return std::string_view(m_given).substr(slice.position, slice.length);
  }

 private:
  void disarmBrackets();

  std::string m_given;
  base::OriginText m_macRoman;
};

}  // namespace tool
