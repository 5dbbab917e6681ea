// SPDX-License-Identifier: Apache-2.0
//
// SpokenText: the user's text converted for the Manager, with the origin of each byte.
//
// The given text is UTF-8; the Manager takes Mac OS Roman. Characters that Mac OS Roman lacks are
// replaced by their plain forms, and accents are combined with their letters: see
// base/text/MacRomanEncoder.h. A byte that is not part of well-formed UTF-8 becomes a blank.
//
// Threads: constant after construction.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/text/OriginText.h"

namespace tool {

// The meaning of "[[" in a text.
enum class Brackets {
  Command,  // begins a speech command
  Text,     // is ordinary text: the second bracket is passed to the Manager as "("
};

// A range of bytes of the given text.
using Slice = base::OriginText::Range;

class SpokenText {
 public:
  // Throws Failure if the text is longer than the Manager's positions can express (2 GiB).
  explicit SpokenText(std::string given, Brackets brackets = Brackets::Command);

  const std::string& given() const { return m_given; }
  const std::string& macRoman() const { return m_macRoman.text(); }
  // Returns macRoman() with the position in given() of each byte.
  const base::OriginText& converted() const { return m_macRoman; }

  // Returns the range of given() that `length` bytes of macRoman() from `position` came from. It
  // consists of whole characters and is always inside the text.
  Slice origin(std::size_t position, std::size_t length) const {
    return m_macRoman.sourceOf(position, length);
  }

  // Returns a range of given(), as a view into it.
  std::string_view givenAt(Slice slice) const {
    return std::string_view(m_given).substr(slice.position, slice.length);
  }

 private:
  void disarmBrackets();

  std::string m_given;
  base::OriginText m_macRoman;
};

}  // namespace tool
